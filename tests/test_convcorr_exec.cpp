// Running tasks: the driver's choice of kernel by job, rank, method,
// decimation and types; default strides, starts and decimation; the sticky
// status; the FFT kernels' checks, buffers and allocation failures; and
// random tasks of every type pair and rank 1 to 3 against a long double
// reference of the defining sums.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "convcorr/exec.h"
#include "convcorr/fft_kernels.h"
#include "support/signals.h"

namespace {

using xeb::convcorr::kernel_name;
using xeb::convcorr::select_kernel;

// ---- reference ------------------------------------------------------------

// An array of any rank at positive strides (or, in one dimension, any
// nonzero stride, logical element 0 then at the far end) in a buffer
// filled with a sentinel that no kernel writes.
template <class T>
struct Strided {
    std::vector<int32_t> shape, stride;
    std::vector<T> buffer;

    Strided(std::vector<int32_t> n, std::vector<int32_t> s, std::size_t min_size = 0)
        : shape(std::move(n)), stride(std::move(s)) {
        std::size_t span = 1;
        for (std::size_t d = 0; d < shape.size(); ++d)
            span += static_cast<std::size_t>(shape[d] - 1) * static_cast<std::size_t>(std::abs(stride[d]));
        buffer.assign(std::max(span, min_size), static_cast<T>(-1234.5));
    }
    std::size_t offset(const std::vector<int64_t>& i) const {
        int64_t o = 0;
        for (std::size_t d = 0; d < shape.size(); ++d)
            o += stride[d] > 0 ? i[d] * stride[d] : (i[d] - shape[d] + 1) * stride[d];
        return static_cast<std::size_t>(o);
    }
    T& at(const std::vector<int64_t>& i) { return buffer[offset(i)]; }
    int64_t count() const {
        int64_t c = 1;
        for (int32_t n : shape) c *= n;
        return c;
    }
};

// Multi-index number k of a shape, dimension 0 fastest.
std::vector<int64_t> unravel(int64_t k, const std::vector<int32_t>& shape) {
    std::vector<int64_t> i(shape.size());
    for (std::size_t d = 0; d < shape.size(); ++d) {
        i[d] = k % shape[d];
        k /= shape[d];
    }
    return i;
}

struct Reference {
    std::vector<long double> value, magnitude;  // the sum and sum |x y| per output
};

// Output j is the sum at position p = start + j * decimation: convolution
// sum over i of x[i] y[p - i], correlation sum over i of x[i] y[i + p],
// over the box of i where both indices are inside their arrays.
template <class T>
Reference reference(bool conv, Strided<T>& x, Strided<T>& y, const std::vector<int32_t>& zShape,
                    const std::vector<int32_t>& start, const std::vector<int32_t>& dec) {
    const std::size_t rank = zShape.size();
    Reference r;
    int64_t nz = 1;
    for (int32_t n : zShape) nz *= n;
    std::vector<int64_t> lo(rank), hi(rank), p(rank), i(rank), iy(rank);
    for (int64_t k = 0; k < nz; ++k) {
        const auto j = unravel(k, zShape);
        bool empty = false;
        for (std::size_t d = 0; d < rank; ++d) {
            p[d] = start[d] + j[d] * int64_t{dec[d]};
            lo[d] = std::max<int64_t>(0, conv ? p[d] - y.shape[d] + 1 : -p[d]);
            hi[d] = std::min<int64_t>(x.shape[d] - 1, conv ? p[d] : y.shape[d] - 1 - p[d]);
            empty = empty || lo[d] > hi[d];
            i[d] = lo[d];
        }
        long double sum = 0, mag = 0;
        while (!empty) {
            for (std::size_t d = 0; d < rank; ++d) iy[d] = conv ? p[d] - i[d] : i[d] + p[d];
            const long double t = static_cast<long double>(x.at(i)) * y.at(iy);
            sum += t;
            mag += std::fabs(t);
            std::size_t d = 0;
            for (; d < rank && ++i[d] > hi[d]; ++d) i[d] = lo[d];
            empty = d == rank;
        }
        r.value.push_back(sum);
        r.magnitude.push_back(mag);
    }
    return r;
}

template <class T>
void fill_random(Strided<T>& a, std::mt19937& gen) {
    std::uniform_real_distribution<double> u(-1, 1);
    for (int64_t m = 0; m < a.count(); ++m) a.at(unravel(m, a.shape)) = static_cast<T>(u(gen));
}

// Largest error over the outputs relative to the largest sum |x y|.
template <class T>
double relative_error(const Reference& r, Strided<T>& z) {
    long double worst = 0, scale = 0;
    for (std::size_t k = 0; k < r.value.size(); ++k) {
        const auto j = unravel(static_cast<int64_t>(k), z.shape);
        worst = std::max(worst, std::fabs(static_cast<long double>(z.at(j)) - r.value[k]));
        scale = std::max(scale, r.magnitude[k]);
    }
    return static_cast<double>(scale > 0 ? worst / scale : worst);
}

// ---- task helpers ---------------------------------------------------------

struct TaskOwner {
    RukTask* t = nullptr;
    ~TaskOwner() { rukDeleteTask(&t); }
    RukTask* operator->() const { return t; }
};

void make_task(TaskOwner& task, int32_t job, int32_t method, int32_t dataType,
               const std::vector<int32_t>& nx, const std::vector<int32_t>& ny,
               const std::vector<int32_t>& nz, int32_t rank = -1) {
    if (rank < 0) rank = static_cast<int32_t>(nx.size());
    ASSERT_EQ(rukNewTask(&task.t, job, 0, method, 0, dataType, rank, nx.data(), ny.data(), nz.data()),
              RUK_OK);
}

// ---- kernel choice --------------------------------------------------------

// The kernel chosen by job, rank, method, decimation and types, seen from
// outside: by the statuses only one kernel gives, and by where the sums are
// kept.
TEST(ExecChoice, StatusesTellTheKernels) {
    const std::vector<int32_t> n1 = {4}, n2 = {4, 4}, zero = {0}, zero2 = {0, 0};
    float f[16] = {}, g[64] = {};
    {  // method 2 (set by an edit), single, undecimated: FFT, which refuses a zero stride with its own code
        TaskOwner t;
        make_task(t, RUK_JOB_CONV, RUK_METHOD_DIRECT, RUK_TYPE_SINGLE, n1, n1, {7});
        const int32_t fft = RUK_METHOD_FFT;
        ASSERT_EQ(rukEditTask(t.t, RUK_EDIT_METHOD, &fft), RUK_OK);
        EXPECT_EQ(rukExec(t.t, f, zero.data(), f, nullptr, g, nullptr), RUK_CONVFFT_ERROR_X_STRIDE_ZERO);
    }
    // Single data with double sums, whatever the method and decimation:
    // 2^30 + 2^-30 - 2^30 keeps its 2^-30 (single sums lose it).
    for (int32_t method : {RUK_METHOD_AUTO, RUK_METHOD_DIRECT})
        for (int32_t job : {RUK_JOB_CONV, RUK_JOB_CORR})
            for (bool decimated : {false, true}) {
                const float ones[3] = {1, 1, 1}, y[3] = {0x1p30f, 0x1p-30f, -0x1p30f};
                TaskOwner t;
                make_task(t, job, method, RUK_TYPE_SINGLE, {3}, {3}, {1});
                const int32_t sums = RUK_TYPE_DOUBLE, start = job == RUK_JOB_CONV ? 2 : 0, one = 1;
                rukEditTask(t.t, RUK_EDIT_INTERNAL_PRECISION, &sums);
                rukEditTask(t.t, RUK_EDIT_START, &start);
                if (decimated) rukEditTask(t.t, RUK_EDIT_DECIMATION, &one);
                float z = -1;
                ASSERT_EQ(rukExec(t.t, ones, nullptr, y, nullptr, &z, nullptr), RUK_OK);
                EXPECT_EQ(z, 0x1p-30f) << method << " " << job << " " << decimated;
            }
    {  // method 2 with decimation: no kernel, and the task is poisoned
        TaskOwner t;
        make_task(t, RUK_JOB_CORR, RUK_METHOD_FFT, RUK_TYPE_SINGLE, n1, n1, {7});
        const int32_t one = 1;
        ASSERT_EQ(rukEditTask(t.t, RUK_EDIT_DECIMATION, &one), RUK_OK);
        EXPECT_EQ(rukExec(t.t, f, nullptr, f, nullptr, g, nullptr), RUK_TASK_ERROR_UNSUPPORTED);
        EXPECT_EQ(rukccGetStatus(t.t), RUK_TASK_ERROR_UNSUPPORTED);
    }
    {  // method 2 at rank 2: none; method 5 at rank 2: direct of any rank
        TaskOwner t2, t5;
        make_task(t2, RUK_JOB_CONV, RUK_METHOD_FFT, RUK_TYPE_SINGLE, n2, n2, {7, 7});
        make_task(t5, RUK_JOB_CONV, 5, RUK_TYPE_SINGLE, n2, n2, {7, 7});
        EXPECT_EQ(rukExec(t2.t, f, nullptr, f, nullptr, g, nullptr), RUK_TASK_ERROR_UNSUPPORTED);
        EXPECT_EQ(rukExec(t5.t, f, nullptr, f, nullptr, g, zero2.data()), RUK_ALL_ERROR_Z_STRIDE);
    }
    {  // double data, single sums: none at rank 1
        TaskOwner t;
        make_task(t, RUK_JOB_CONV, RUK_METHOD_AUTO, RUK_TYPE_DOUBLE, n1, n1, {7});
        const int32_t single = RUK_TYPE_SINGLE;
        rukEditTask(t.t, RUK_EDIT_INTERNAL_PRECISION, &single);
        double d[16] = {};
        EXPECT_EQ(rukExec(t.t, d, nullptr, d, nullptr, d, nullptr), RUK_TASK_ERROR_UNSUPPORTED);
    }
    {  // automatic: a negative stride reaches the FFT kernel and fails there
        TaskOwner c, r;
        make_task(c, RUK_JOB_CONV, RUK_METHOD_AUTO, RUK_TYPE_SINGLE, n1, n1, {7});
        make_task(r, RUK_JOB_CORR, RUK_METHOD_AUTO, RUK_TYPE_SINGLE, n1, n1, {7});
        const int32_t minus[1] = {-1};
        EXPECT_EQ(rukExec(c.t, f, minus, f, nullptr, g, nullptr), RUK_CONVFFT_ERROR_X_STRIDE_NEGATIVE);
        EXPECT_EQ(rukExec(r.t, f, nullptr, f, minus, g, nullptr), RUK_CORRFFT_ERROR_Y_STRIDE_NEGATIVE);
    }
    {  // rank 0 and 8 reach the kernels of any rank, which refuse them
        TaskOwner t0, t8;
        const std::vector<int32_t> n7(7, 2);
        make_task(t0, RUK_JOB_CONV, RUK_METHOD_AUTO, RUK_TYPE_SINGLE, n7, n7, n7, 0);
        make_task(t8, RUK_JOB_CORR, RUK_METHOD_AUTO, RUK_TYPE_DOUBLE, n7, n7, n7, 8);
        EXPECT_EQ(rukExec(t0.t, f, nullptr, f, nullptr, g, nullptr), RUK_ALL_ERROR_RANK);
        EXPECT_EQ(rukExec(t8.t, f, nullptr, f, nullptr, g, nullptr), RUK_ALL_ERROR_RANK);
    }
}

// ---- defaults and the sticky status ----------------------------------------

TEST(ExecDefaults, StartsByJobAndEditsAfterExecution) {
    const std::vector<int32_t> nx = {3}, ny = {4}, nz = {6};
    const float x[3] = {1, 2, 3}, y[4] = {1, 10, 100, 1000};
    {  // correlation from lag 1 - xShape = -2: the first lag is x[2] y[0]
        TaskOwner t;
        make_task(t, RUK_JOB_CORR, RUK_METHOD_DIRECT, RUK_TYPE_SINGLE, nx, ny, {4});
        float z[4] = {};
        ASSERT_EQ(rukExec(t.t, x, nullptr, y, nullptr, z, nullptr), RUK_OK);
        const float want[4] = {3, 32, 321, 3210};
        for (int j = 0; j < 4; ++j) EXPECT_EQ(z[j], want[j]) << j;
        // A new start takes effect in the next run; the commit the edit
        // cleared is made again.
        const int32_t start = 0;
        ASSERT_EQ(rukEditTask(t.t, RUK_EDIT_START, &start), RUK_OK);
        ASSERT_EQ(rukExec(t.t, x, nullptr, y, nullptr, z, nullptr), RUK_OK);
        const float lags0[4] = {321, 3210, 2100, 1000};
        for (int j = 0; j < 4; ++j) EXPECT_EQ(z[j], lags0[j]) << j;
    }
}

TEST(ExecStatus, FailedTaskKeepsItsFirstFailureAndTouchesNothing) {
    TaskOwner t;
    const std::vector<int32_t> n = {4};
    make_task(t, RUK_JOB_CONV, RUK_METHOD_DIRECT, RUK_TYPE_DOUBLE, n, n, {7});
    double x[4] = {1, 2, 3, 4}, z[7];
    std::fill(z, z + 7, -9.0);
    const int32_t zero[1] = {0};
    EXPECT_EQ(rukExec(t.t, x, nullptr, x, zero, z, nullptr), RUK_CONV_ERROR_Y_STRIDE);
    EXPECT_EQ(rukExec(t.t, x, nullptr, x, nullptr, z, nullptr), RUK_CONV_ERROR_Y_STRIDE);
    EXPECT_EQ(rukExecX(t.t, x, nullptr, z, nullptr), RUK_CONV_ERROR_Y_STRIDE);
    for (double v : z) EXPECT_EQ(v, -9.0);
    rukccSetStatus(t.t, RUK_OK);
    EXPECT_EQ(rukExec(t.t, x, nullptr, x, nullptr, z, nullptr), RUK_OK);
    EXPECT_EQ(z[6], 16.0);
    EXPECT_EQ(rukExec(nullptr, x, nullptr, x, nullptr, z, nullptr), RUK_ERROR_NULL_ARG);
    EXPECT_EQ(rukExecX(nullptr, x, nullptr, z, nullptr), RUK_ERROR_NULL_ARG);
}

TEST(ExecStatus, ExecXUsesTheTasksDataAndANullXFailsInTheEngine) {
    const std::vector<int32_t> nx = {3}, ny = {2}, nz = {2};
    const float x[6] = {1, 0, 2, 0, 3, 0}, y[2] = {1, 1};
    const int32_t two[1] = {2};
    RukTask* raw = nullptr;
    ASSERT_EQ(rukNewTaskX(&raw, RUK_JOB_CONV, 0, RUK_METHOD_AUTO, 0, RUK_TYPE_SINGLE, 1, nx.data(),
                          ny.data(), nz.data(), x, two),
              RUK_OK);
    TaskOwner withX{raw};
    const int32_t start = 1;
    rukEditTask(withX.t, RUK_EDIT_START, &start);
    float z[4] = {};
    ASSERT_EQ(rukExecX(withX.t, y, nullptr, z, nullptr), RUK_OK);
    EXPECT_EQ(z[0], 3);
    EXPECT_EQ(z[1], 5);

    for (int32_t job : {RUK_JOB_CONV, RUK_JOB_CORR}) {
        TaskOwner t;  // rukNewTask holds a null x
        make_task(t, job, RUK_METHOD_AUTO, RUK_TYPE_SINGLE, nx, ny, {1});
        EXPECT_EQ(rukExecX(t.t, y, nullptr, z, nullptr),
                  job == RUK_JOB_CONV ? RUK_CONVFFT_ERROR_ENGINE : RUK_CORRFFT_ERROR_ENGINE);
        TaskOwner direct;  // the direct kernels would read it: refused
        make_task(direct, job, RUK_METHOD_DIRECT, RUK_TYPE_SINGLE, nx, ny, {1});
        EXPECT_EQ(rukExecX(direct.t, y, nullptr, z, nullptr), RUK_ERROR_NULL_ARG);
    }
    TaskOwner noShape;
    ASSERT_EQ(rukNewTask(&noShape.t, RUK_JOB_CONV, 0, 0, 0, 1, 1, nx.data(), ny.data(), nullptr), RUK_OK);
    EXPECT_EQ(rukExec(noShape.t, x, nullptr, y, nullptr, z, nullptr), RUK_ERROR_NULL_ARG);
}

// ---- FFT kernels -------------------------------------------------------------
int32_t conv_fft(const float* x, int32_t xs, const float* y, int32_t ys, float* z, int32_t zs, int32_t nx, int32_t ny,
                 int32_t start, int32_t nz) {
    return rukConvSSFft1D_nodec(0, x, xs, y, ys, 1, z, zs, 1, nx, ny, 1, start, nz, 0, 0, 0, 0);
}
int32_t corr_fft(const float* x, int32_t xs, const float* y, int32_t ys, float* z, int32_t zs, int32_t nx, int32_t ny,
                 int32_t start, int32_t nz) {
    return rukCorrSSFft1D_nodec(0, x, xs, y, ys, 1, z, zs, 1, nx, ny, 1, start, nz, 0, 0, 0, 0);
}

TEST(FftKernel, StatusesInOrder) {
    float a[64] = {}, z[64];
    std::fill(z, z + 64, 7.0f);
    struct Case {
        int32_t xs, ys, zs, nx, ny, start, nz, conv, corr;
    } cases[] = {
        {-1, -1, -1, 0, 0, 0, 0, -2801, -2901},  // negative before zero and shapes
        {0, -1, 0, 4, 4, 0, 1, -2803, -2903},
        {0, 0, -2, 4, 4, 0, 1, -2805, -2905},
        {0, 0, 0, 4, 4, 0, 1, -2800, -2900},
        {1, 0, 0, 4, 4, 0, 1, -2802, -2902},
        {1, 1, 0, 4, 4, 0, 1, -2804, -2904},
        {1, 1, 1, 0, 0, 0, 0, -2806, -2906},
        {1, 1, 1, 4, 0, 0, 0, -2807, -2907},
        {1, 1, 1, 4, 4, 0, 0, -2808, -2908},
        {1, 1, 1, 4, 4, -4, 1, -2809, -2909},  // corr: below 1 - xShape = -3
        {1, 1, 1, 4, 4, -3, 1, -2809, 0},
        {1, 1, 1, 4, 4, 7, 1, -2810, -2910},   // conv: above 6; corr: above 4
        {1, 1, 1, 4, 4, 4, 1, 0, -2911},       // corr start yShape passes, then its end fails
        {1, 1, 1, 4, 4, 6, 2, -2811, -2910},
        {1, 1, 1, 4, 4, 0, 8, -2811, -2911},
        {1, 1, 1, 4, 4, -3, 7, -2809, 0},      // corr's default span ends at yShape exactly
        {1, 1, 1, 4, 4, 0, 7, 0, -2911},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(conv_fft(a, c.xs, a, c.ys, z, c.zs, c.nx, c.ny, c.start, c.nz), c.conv)
            << c.start << " " << c.nz;
        EXPECT_EQ(corr_fft(a, c.xs, a, c.ys, z, c.zs, c.nx, c.ny, c.start, c.nz), c.corr)
            << c.start << " " << c.nz;
    }
}
int g_allocations = 0, g_fail_at = -1;  // the allocation number that fails, or -1
void* counting_malloc(std::size_t bytes) { return g_allocations++ == g_fail_at ? nullptr : std::malloc(bytes); }

struct CountAllocations {
    CountAllocations(int fail_at = -1) {
        g_allocations = 0;
        g_fail_at = fail_at;
        xeb::convcorr::fft_kernel_malloc = counting_malloc;
    }
    ~CountAllocations() { xeb::convcorr::fft_kernel_malloc = std::malloc; }
};

TEST(FftKernel, EachBufferThatFailsLeavesZUntouched) {
    std::vector<float> x(3 * 50), y(2 * 40);
    for (std::size_t i = 0; i < x.size(); ++i) x[i] = static_cast<float>(i % 7) - 3;
    for (std::size_t i = 0; i < y.size(); ++i) y[i] = static_cast<float>(i % 5) - 2;
    // Each buffer a strided x, y or z needs can fail: -4, z untouched, the
    // others freed again (the leak sanitizer checks).
    for (int32_t job : {0, 1}) {
        auto run = job == 0 ? conv_fft : corr_fft;
        const int32_t start = job == 0 ? 0 : -49;
        for (int fail = 0; fail < 3; ++fail) {
            std::vector<float> w(200, -1.0f);
            CountAllocations count(fail);
            EXPECT_EQ(run(x.data(), 3, y.data(), 2, w.data(), 2, 50, 40, start, 89), RUK_ERROR_NO_MEMORY);
            EXPECT_EQ(g_allocations, fail + 1);
            EXPECT_TRUE(std::all_of(w.begin(), w.end(), [](float v) { return v == -1.0f; }));
        }
    }
}

TEST(FftKernel, ConvolutionFillsZWithTheWholeResultAtStrideOne) {
    const float x[4] = {1, 2, 3, 4}, y[3] = {1, 10, 100};
    const float full[6] = {1, 12, 123, 234, 340, 400};
    // zStride 1: the whole result is written, then outputs 2 and 3 moved to
    // the front; the rest of z keeps the full result.
    float z[6] = {};
    ASSERT_EQ(conv_fft(x, 1, y, 1, z, 1, 4, 3, 2, 2), RUK_OK);
    const float want1[6] = {123, 234, 123, 234, 340, 400};
    for (int j = 0; j < 6; ++j) EXPECT_EQ(z[j], want1[j]) << j;
    // zStride 2: only the zShape outputs are stored.
    float w[6];
    std::fill(w, w + 6, -1.0f);
    ASSERT_EQ(conv_fft(x, 1, y, 1, w, 2, 4, 3, 2, 3), RUK_OK);
    const float want2[6] = {123, -1, 234, -1, 340, -1};
    for (int j = 0; j < 6; ++j) EXPECT_EQ(w[j], want2[j]) << j;
    // start 0, stride 1: the result as it stands.
    ASSERT_EQ(conv_fft(x, 1, y, 1, z, 1, 4, 3, 0, 1), RUK_OK);
    for (int j = 0; j < 6; ++j) EXPECT_EQ(z[j], full[j]) << j;
}

// A convolution task keeps the engine's transform state as its private
// data: each run gives the plain kernel's bits, also after a tap changed,
// through a copy (which starts without state) and with strided data.  A
// task holding someone else's private data, a direct correlation and a
// direct convolution leave the private data as they found it; an FFT
// correlation keeps its plan too.
int32_t keep_block(RukTask*, void*) { return 0; }
TEST(FftKernel, TaskKeepsItsTransformStateBetweenRuns) {
    struct Run {
        int32_t job, nx, ny, xs, tap;  // tap: index changed before the run, or -1
        bool foreign, state;           // someone else's private data; state expected
    };
    const Run runs[] = {
        {RUK_JOB_CONV, 3000, 100, 1, -1, false, true}, {RUK_JOB_CONV, 3000, 100, 1, 7, false, true},
        {RUK_JOB_CONV, 80, 200, 2, 150, false, true},  {RUK_JOB_CONV, 3000, 100, 1, -1, true, false},
        {RUK_JOB_CORR, 3000, 500, 1, -1, false, false}, {RUK_JOB_CONV, 3000, 31, 1, -1, false, false},
        {RUK_JOB_CORR, 3000, 2000, 1, 9, false, true},  {RUK_JOB_CORR, 700, 2000, 3, -1, true, false},
    };
    for (const Run& r : runs) {
        std::vector<float> x = xt::uniform_signal(r.nx * r.xs, 1), y = xt::uniform_signal(r.ny, 2);
        const int32_t nz = r.job == RUK_JOB_CONV ? r.nx + r.ny - 1 : r.ny;
        TaskOwner t;
        make_task(t, r.job, RUK_METHOD_AUTO, RUK_TYPE_SINGLE, {r.nx}, {r.ny}, {nz});
        unsigned char foreign[64];
        std::memset(foreign, 0x5a, sizeof foreign);
        if (r.foreign) {
            t->privateData = std::malloc(sizeof foreign);
            std::memcpy(t->privateData, foreign, sizeof foreign);
            t->privateDelete = keep_block;
        }
        const int32_t xs[1] = {r.xs}, start = r.job == RUK_JOB_CONV ? 0 : 1 - r.nx;
        auto plain = r.job == RUK_JOB_CONV ? conv_fft : corr_fft;
        TaskOwner copy;
        for (int pass = 0; pass < 3; ++pass) {  // first run, second run, the copy's first
            if (pass == 1 && r.tap >= 0) y[r.tap] = std::nextafter(y[r.tap], 2.0f);
            if (pass == 2) {
                ASSERT_EQ(rukCopyTask(&copy.t, t.t), r.foreign ? RUK_TASK_ERROR_COPY_HOOK : RUK_OK);
                if (r.foreign) break;
                EXPECT_EQ(copy->privateData, nullptr);
            }
            std::vector<float> want(r.nx + r.ny, 9.0f), got(want);
            ASSERT_EQ(plain(x.data(), r.xs, y.data(), 1, want.data(), 1, r.nx, r.ny, start, nz), RUK_OK);
            ASSERT_EQ(rukExec(pass == 2 ? copy.t : t.t, x.data(), xs, y.data(), nullptr, got.data(), nullptr),
                      RUK_OK);
            EXPECT_EQ(std::memcmp(want.data(), got.data(), want.size() * sizeof(float)), 0)
                << r.nx << " x " << r.ny << " pass " << pass;
        }
        EXPECT_EQ(t->privateData != nullptr, r.state || r.foreign) << r.nx << " x " << r.ny;
        if (r.foreign) {
            EXPECT_EQ(std::memcmp(t->privateData, foreign, sizeof foreign), 0);
            EXPECT_EQ(t->privateCopy, nullptr);
        }
    }
}

// ---- end to end against the reference ----------------------------------------

struct Types {
    int32_t data, sums;
    double bound;
};
const Types kTypes[] = {{1, 1, 1e-5}, {1, 2, 1e-5}, {2, 2, 1e-12}, {2, 1, 1e-12}};

template <class T>
void run_case(std::mt19937& gen, int32_t job, int32_t method, const Types& ty,
              const std::vector<int32_t>& nx, const std::vector<int32_t>& ny, bool decimate,
              int stride_kind) {
    const std::size_t rank = nx.size();
    std::vector<int32_t> nz(rank), start(rank), dec(rank, 1);
    for (std::size_t d = 0; d < rank; ++d) {
        const int32_t first = job == RUK_JOB_CONV ? 0 : 1 - nx[d];
        const int32_t last = job == RUK_JOB_CONV ? nx[d] + ny[d] - 2 : ny[d] - 1;
        if (decimate) dec[d] = std::uniform_int_distribution<int32_t>(1, 3)(gen);
        start[d] = std::uniform_int_distribution<int32_t>(first, first + (last - first) / 3)(gen);
        // Outputs up to the last defined one; the decimated kernels of one
        // dimension also want start + nz * dec at most last + 2.
        nz[d] = (last - start[d]) / dec[d] + 1;
        if (rank == 1 && decimate) {
            if ((last + 2 - start[d]) / dec[d] < 1) dec[d] = 1;
            nz[d] = std::min((last - start[d]) / dec[d] + 1, (last + 2 - start[d]) / dec[d]);
        }
    }
    auto strides = [&](const std::vector<int32_t>& n, int kind) {
        std::vector<int32_t> s(rank);
        int32_t dense = 1;
        for (std::size_t d = 0; d < rank; ++d) {
            s[d] = kind == 0 ? dense : dense * 2 + (kind == 2 && rank == 1 ? -3 * dense : 0);
            dense *= n[d] * (kind == 0 ? 1 : 2);
        }
        return s;
    };
    // stride_kind 0: dense (null strides); 1: gaps; 2: gaps, and in one
    // dimension a negative x stride.
    Strided<T> x(nx, strides(nx, stride_kind)), y(ny, strides(ny, stride_kind == 2 ? 1 : stride_kind));
    const std::size_t full = static_cast<std::size_t>(nx[0] + ny[0] - 1);
    Strided<T> z(nz, strides(nz, stride_kind == 0 ? 0 : 1), full);  // room for the FFT's whole result
    fill_random(x, gen);
    fill_random(y, gen);
    TaskOwner t;
    make_task(t, job, method, ty.data, nx, ny, nz);
    rukEditTask(t.t, RUK_EDIT_INTERNAL_PRECISION, &ty.sums);
    if (job != RUK_JOB_CONV || start[0] != 0 || rank > 1) rukEditTask(t.t, RUK_EDIT_START, start.data());
    if (decimate) rukEditTask(t.t, RUK_EDIT_DECIMATION, dec.data());
    const bool dense = stride_kind == 0;
    const int32_t status = rukExec(t.t, x.buffer.data(), dense ? nullptr : x.stride.data(), y.buffer.data(),
                                   dense ? nullptr : y.stride.data(), z.buffer.data(),
                                   dense ? nullptr : z.stride.data());
    const std::string what = kernel_name(select_kernel(*t.t)) + " nx " + std::to_string(nx[0]) + " ny " +
                             std::to_string(ny[0]) + " start " + std::to_string(start[0]) + " dec " +
                             std::to_string(dec[0]) + " strides " + std::to_string(stride_kind);
    ASSERT_EQ(status, RUK_OK) << what;
    const Reference r = reference(job == RUK_JOB_CONV, x, y, nz, start, dec);
    EXPECT_LT(relative_error(r, z), ty.bound) << what;
}
TEST(ExecEndToEnd, AgainstReference) {
    std::mt19937 gen(12);
    // One dimension: lengths that take every path of the engine: direct,
    // one-shot FFT, overlap-save, and long direct correlations.
    const std::vector<std::pair<int32_t, int32_t>> sizes = {
        {1, 1}, {7, 3}, {3, 7}, {157, 100}, {300, 100}, {40, 900}, {2500, 33}, {600, 500}};
    const std::vector<std::pair<std::vector<int32_t>, std::vector<int32_t>>> shapes = {
        {{5, 4}, {3, 6}}, {{9, 7}, {4, 2}}, {{1, 6}, {5, 1}}, {{4, 3, 5}, {2, 4, 3}}, {{6, 2, 3}, {3, 3, 2}}};
    auto run = [&](int32_t job, int32_t method, const Types& ty, const std::vector<int32_t>& a,
                   const std::vector<int32_t>& b, bool dec, int kind) {
        if (ty.data == 1)
            run_case<float>(gen, job, method, ty, a, b, dec, kind);
        else
            run_case<double>(gen, job, method, ty, a, b, dec, kind);
    };
    for (const Types& ty : kTypes)
        for (int32_t job : {RUK_JOB_CONV, RUK_JOB_CORR})
            for (bool dec : {false, true}) {
                // No kernel in one dimension for double data with single
                // sums; a negative stride (kind 2) would fail the FFT: direct.
                for (auto [a, b] : sizes)
                    for (int kind : {0, 1, 2})
                        if (!(ty.data == 2 && ty.sums == 1))
                            run(job, kind == 2 ? RUK_METHOD_DIRECT : RUK_METHOD_AUTO, ty, {a}, {b}, dec, kind);
                for (const auto& [a, b] : shapes)
                    for (int kind : {0, 1}) run(job, RUK_METHOD_AUTO, ty, a, b, dec, kind);
            }
}

}  // namespace