// Single-precision convolution and correlation in one dimension through the
// linear convolution engine (signal/convolve.h), which picks direct sums or
// overlapped real FFTs by itself.  These kernels only check arguments,
// gather strided input into dense buffers, call the engine and scatter its
// output; they are the only kernels of tasks that allocate.
//
// Error: that of the engine.  Its direct paths sum the products of each
// output in single precision (below m 2^-24 of sum |x y| for m terms); its
// FFT paths are accurate relative to the largest sum |x y| over all
// outputs, about 2^-24 log2 N times it.  Gathering and scattering copy
// values unchanged.
//
// Output buffer of convolution: with zStride 1 the engine writes the whole
// result, xShape + yShape - 1 values, into z itself, whatever zShape says,
// and the requested outputs are then moved forward within z; the caller
// must provide that room.  With a larger stride the whole result goes to a
// private buffer and only zShape values reach z.
#include <cstdlib>
#include <new>

#include "convcorr/fft_kernels.h"
#include "signal/convolve.h"

namespace xeb::convcorr {

void* (*fft_kernel_malloc)(std::size_t bytes) = std::malloc;

namespace {

// The engine's transform state as a task's private data: the hooks free
// what it holds (rukDeleteTask frees the record itself) and give a copy of
// the task none, so that two tasks never share a plan or buffers.
int32_t release_workspace(RukTask*, void* data) {
    sig::sigConvWorkspaceRelease(static_cast<sig::sigConvWorkspace*>(data));
    return 0;
}
int32_t copy_without_workspace(RukTask*, void** newData, void*) {
    *newData = nullptr;
    return 0;
}

// The task's workspace for a run through the engine's FFT paths, made at
// the first such run; null when the engine computes directly (`fft`
// false), when the private data belong to another owner, or when the
// record cannot be allocated.
sig::sigConvWorkspace* task_workspace(RukTask* t, bool fft) {
    if (t == nullptr || !fft) return nullptr;
    if (t->privateData != nullptr)
        return t->privateDelete == release_workspace ? static_cast<sig::sigConvWorkspace*>(t->privateData)
                                                     : nullptr;
    const bool foreign_hooks = (t->privateDelete != nullptr && t->privateDelete != release_workspace) ||
                               (t->privateCopy != nullptr && t->privateCopy != copy_without_workspace);
    if (foreign_hooks) return nullptr;
    void* block = std::malloc(sizeof(sig::sigConvWorkspace));
    if (block == nullptr) return nullptr;
    t->privateData = block;
    t->privateDelete = release_workspace;
    t->privateCopy = copy_without_workspace;
    return new (block) sig::sigConvWorkspace{};
}

// The status of correlation is that of convolution, 100 lower.
constexpr int32_t fft_status(Job job, int32_t conv_status) {
    return job == Job::Conv ? conv_status : conv_status - 100;
}

// Checks in their order; every negative stride is reported before any zero
// one.  Sums are formed in 64 bits, so no extreme length wraps a test.
template <Job J>
int32_t check(int64_t xs, int64_t ys, int64_t zs, int64_t nx, int64_t ny, int64_t start,
              int64_t nz) {
    if (xs < 0) return fft_status(J, RUK_CONVFFT_ERROR_X_STRIDE_NEGATIVE);
    if (ys < 0) return fft_status(J, RUK_CONVFFT_ERROR_Y_STRIDE_NEGATIVE);
    if (zs < 0) return fft_status(J, RUK_CONVFFT_ERROR_Z_STRIDE_NEGATIVE);
    if (xs == 0) return fft_status(J, RUK_CONVFFT_ERROR_X_STRIDE_ZERO);
    if (ys == 0) return fft_status(J, RUK_CONVFFT_ERROR_Y_STRIDE_ZERO);
    if (zs == 0) return fft_status(J, RUK_CONVFFT_ERROR_Z_STRIDE_ZERO);
    if (nx < 1) return fft_status(J, RUK_CONVFFT_ERROR_X_SHAPE);
    if (ny < 1) return fft_status(J, RUK_CONVFFT_ERROR_Y_SHAPE);
    if (nz < 1) return fft_status(J, RUK_CONVFFT_ERROR_Z_SHAPE);
    // Convolution: outputs 0 .. nx+ny-2.  Correlation stops at the length
    // of y: a start of ny is let through (and fails the end test).
    const int64_t first = J == Job::Conv ? 0 : 1 - nx;
    const int64_t start_max = J == Job::Conv ? nx + ny - 2 : ny;
    const int64_t end_max = J == Job::Conv ? nx + ny - 1 : ny;
    if (start < first) return fft_status(J, RUK_CONVFFT_ERROR_START_LOW);
    if (start > start_max) return fft_status(J, RUK_CONVFFT_ERROR_START_HIGH);
    if (start + nz > end_max) return fft_status(J, RUK_CONVFFT_ERROR_END_HIGH);
    return RUK_OK;
}

// Buffers a kernel allocates, released in the reverse order of allocation.
struct Buffers {
    float* block[3] = {};
    int count = 0;
    float* get(int64_t n) {
        auto* p = static_cast<float*>(fft_kernel_malloc(static_cast<std::size_t>(n) * sizeof(float)));
        if (p != nullptr) block[count++] = p;
        return p;
    }
    ~Buffers() {
        while (count > 0) std::free(block[--count]);
    }
};

// Strided input as a dense array: the array itself at stride 1, otherwise a
// gathered copy.  A null array stays null, so the engine refuses it.
bool dense_input(const float* a, int32_t stride, int32_t n, Buffers& buffers, const float*& out) {
    out = a;
    if (stride <= 1 || a == nullptr) return true;
    float* d = buffers.get(n);
    if (d == nullptr) return false;
    for (int64_t i = 0; i < n; ++i) d[i] = a[i * stride];
    out = d;
    return true;
}

// n values of src to dst at stride s, in ascending order: with s 1 and dst
// below src inside one array, each value is read before it is overwritten.
void scatter(const float* src, float* dst, int32_t s, int32_t n) {
    for (int64_t j = 0; j < n; ++j) dst[j * s] = src[j];
}

template <Job J>
int32_t fft_kernel(const float* x, int32_t xs, const float* y, int32_t ys, float* z, int32_t zs,
                   int32_t nx, int32_t ny, int32_t start, int32_t nz, RukTask* owner) {
    if (const int32_t st = check<J>(xs, ys, zs, nx, ny, start, nz); st != RUK_OK) return st;
    Buffers buffers;
    const float* dx = nullptr;
    const float* dy = nullptr;
    if (!dense_input(x, xs, nx, buffers, dx) || !dense_input(y, ys, ny, buffers, dy))
        return RUK_ERROR_NO_MEMORY;
    const bool private_out = zs > 1 && z != nullptr;
    float* out = z;
    if (private_out) {
        out = buffers.get(J == Job::Conv ? int64_t{nx} + ny - 1 : nz);
        if (out == nullptr) return RUK_ERROR_NO_MEMORY;
    }
    if (J == Job::Conv) {
        const sig::sigConvPath path = sig::sigConvolveChoice(nx, ny).path;
        const bool fft = path == sig::sigConvPath::OneShot || path == sig::sigConvPath::OverlapSave;
        if (sig::sigConvolve32fWith(dx, nx, dy, ny, out, task_workspace(owner, fft)) != 0)
            return fft_status(J, RUK_CONVFFT_ERROR_ENGINE);
        if (private_out || start > 0) scatter(out + start, z, zs, nz);
    } else {
        sig::sigConvWorkspace* ws = task_workspace(owner, sig::sigCrossCorrUsesFft(nx, ny, nz, start));
        if (sig::sigCrossCorr32fWith(dx, nx, dy, ny, out, nz, start, ws) != 0)
            return fft_status(J, RUK_CONVFFT_ERROR_ENGINE);
        if (private_out) scatter(out, z, zs, nz);
    }
    return RUK_OK;
}

}  // namespace

int32_t conv_fft_for_task(RukTask& task, const float* x, int32_t xs, const float* y, int32_t ys, float* z,
                          int32_t zs, int32_t nx, int32_t ny, int32_t start, int32_t nz) {
    return fft_kernel<Job::Conv>(x, xs, y, ys, z, zs, nx, ny, start, nz, &task);
}

int32_t corr_fft_for_task(RukTask& task, const float* x, int32_t xs, const float* y, int32_t ys, float* z,
                          int32_t zs, int32_t nx, int32_t ny, int32_t start, int32_t nz) {
    return fft_kernel<Job::Corr>(x, xs, y, ys, z, zs, nx, ny, start, nz, &task);
}

}  // namespace xeb::convcorr

extern "C" {

using xeb::convcorr::Job;

int32_t rukConvSSFft1D_nodec(int32_t, const float* x, int32_t xStride, const float* y,
                             int32_t yStride, int32_t, float* z, int32_t zStride, int32_t,
                             int32_t xShape, int32_t yShape, int32_t, int32_t start,
                             int32_t zShape, int32_t, int32_t, int32_t, int32_t) {
    return xeb::convcorr::fft_kernel<Job::Conv>(x, xStride, y, yStride, z, zStride, xShape, yShape,
                                                start, zShape, nullptr);
}

int32_t rukCorrSSFft1D_nodec(int32_t, const float* x, int32_t xStride, const float* y,
                             int32_t yStride, int32_t, float* z, int32_t zStride, int32_t,
                             int32_t xShape, int32_t yShape, int32_t, int32_t start,
                             int32_t zShape, int32_t, int32_t, int32_t, int32_t) {
    return xeb::convcorr::fft_kernel<Job::Corr>(x, xStride, y, yStride, z, zStride, xShape, yShape,
                                                start, zShape, nullptr);
}

}  // extern "C"
