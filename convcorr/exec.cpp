// The execution driver: rukExec and rukExecX run a task on the caller's
// arrays.  They fill in what the task and the call leave open (dense
// strides, the job's default start, a decimation of ones), choose one of
// the sixteen kernels, and store the kernel's status in the task, so that
// any failure poisons it.  No arithmetic on the data happens here, and no
// validation of lengths, starts or strides: the kernels do that.
//
// Choice of kernel in one dimension: single data with single sums and no
// decimation go to the FFT kernels (whose engine chooses between direct
// sums and transforms) under the automatic method and under any method
// number but 1; everything else goes to the direct kernels under the
// automatic or direct method, and is refused (-2000) under the others.
// Other ranks, including invalid ones, go to the direct kernels of any
// rank unless the method is exactly 2.  The two rank branches test
// different method values on purpose: method 5 is FFT in one dimension
// and direct in several.
#include "convcorr/exec.h"

#include "convcorr/fft_kernels.h"

namespace xeb::convcorr {
namespace {

constexpr int kMaxRank = RUK_TASK_MAX_RANK;
constexpr int32_t kOnes[kMaxRank] = {1, 1, 1, 1, 1, 1, 1};
constexpr int32_t kZeros[kMaxRank] = {};

// Dense strides of a shape, dimension 0 fastest: 1, n0, n0 n1, ...
// Products are formed in 64 bits and kept to their low 32 bits.
void dense_strides(const int32_t* shape, int entries, int32_t* stride) {
    int64_t s = 1;
    for (int d = 0; d < entries; ++d) {
        stride[d] = static_cast<int32_t>(s);
        s *= shape[d];
    }
}

// Everything a kernel is called with, as the driver has filled it in.
struct Call {
    RukTask* task;
    int32_t rank;
    const void* x;
    const int32_t* xStride;
    const void* y;
    const int32_t* yStride;
    void* z;
    const int32_t* zStride;
    const int32_t* xShape;
    const int32_t* yShape;
    const int32_t* zShape;
    const int32_t* start;
    const int32_t* decimation;
};

// Kernels by [SD rather than SS][correlation rather than convolution], and
// the double ones by job.
constexpr RukDirect1DDecS* kDec1DS[2][2] = {{rukConvSSDirect1D_dec, rukCorrSSDirect1D_dec},
                                            {rukConvSDDirect1D_dec, rukCorrSDDirect1D_dec}};
constexpr RukDirect1DDecD* kDec1DD[2] = {rukConvDDDirect1D_dec, rukCorrDDDirect1D_dec};
constexpr RukDirect1DNodecS* kNodec1DS[2] = {rukConvSSDirect1D_nodec, rukCorrSSDirect1D_nodec};
constexpr RukDirectAllDecS* kAllS[2][2] = {{rukConvSSDirectAll_dec, rukCorrSSDirectAll_dec},
                                           {rukConvSDDirectAll_dec, rukCorrSDDirectAll_dec}};
constexpr RukDirectAllDecD* kAllD[2] = {rukConvDDDirectAll_dec, rukCorrDDDirectAll_dec};

int32_t run(const Selection& s, const Call& c) {
    const int job = s.job == Job::Corr ? 1 : 0;
    const int sd = s.types == Types::SD ? 1 : 0;
    const auto* xf = static_cast<const float*>(c.x);
    const auto* yf = static_cast<const float*>(c.y);
    auto* zf = static_cast<float*>(c.z);
    const auto* xd = static_cast<const double*>(c.x);
    const auto* yd = static_cast<const double*>(c.y);
    auto* zd = static_cast<double*>(c.z);
    switch (s.form) {
    case Form::Fft:
        return (s.job == Job::Conv ? conv_fft_for_task : corr_fft_for_task)(
            *c.task, xf, c.xStride[0], yf, c.yStride[0], zf, c.zStride[0], c.xShape[0], c.yShape[0], c.start[0],
            c.zShape[0]);
    case Form::Direct1DNodec:
        return kNodec1DS[job](xf, c.xStride[0], yf, c.yStride[0], zf, c.zStride[0], c.xShape[0],
                              c.yShape[0], c.start[0], c.zShape[0]);
    case Form::Direct1DDec:
        if (s.types == Types::DD)
            return kDec1DD[job](xd, c.xStride[0], yd, c.yStride[0], zd, c.zStride[0], c.xShape[0],
                                c.yShape[0], c.start[0], c.zShape[0], c.decimation[0]);
        return kDec1DS[sd][job](xf, c.xStride[0], yf, c.yStride[0], zf, c.zStride[0], c.xShape[0],
                                c.yShape[0], c.start[0], c.zShape[0], c.decimation[0]);
    case Form::DirectAll:
        if (s.types == Types::DD)
            return kAllD[job](c.rank, xd, c.xShape, c.xStride, yd, c.yShape, c.yStride, zd,
                              c.zShape, c.zStride, c.start, c.decimation);
        return kAllS[sd][job](c.rank, xf, c.xShape, c.xStride, yf, c.yShape, c.yStride, zf,
                              c.zShape, c.zStride, c.start, c.decimation);
    case Form::None: break;
    }
    return RUK_TASK_ERROR_UNSUPPORTED;
}

// Pointers the kernels would read although the caller left them null: a
// shape of a task of rank 1 to 7, and the data of a direct kernel (which
// reads every element of x and y).  The FFT kernels hand null data to the
// engine, which refuses it, so they are left to report it themselves.
bool missing_pointer(const Selection& s, const Call& c) {
    if (c.rank < 1 || c.rank > kMaxRank) return false;  // refused before any read
    if (c.xShape == nullptr || c.yShape == nullptr || c.zShape == nullptr) return true;
    return s.form != Form::Fft && (c.x == nullptr || c.y == nullptr || c.z == nullptr);
}

}  // namespace

Selection select_kernel(const RukTask& t) {
    const Job job = t.job == RUK_JOB_CONV ? Job::Conv : Job::Corr;
    const bool single_data = t.dataType == RUK_TYPE_SINGLE;
    const bool single_sums = t.internalType == RUK_TYPE_SINGLE;
    const bool decimated = t.decimation != nullptr;
    if (t.rank != 1) {
        if (t.method == RUK_METHOD_FFT) return {Form::None, Types::DD, job};
        const Types types = !single_data ? Types::DD : single_sums ? Types::SS : Types::SD;
        return {Form::DirectAll, types, job};
    }
    const Types types = single_data ? (single_sums ? Types::SS : Types::SD)
                                    : (single_sums ? Types::DS : Types::DD);
    const bool fft = types == Types::SS && !decimated;
    if (t.method != RUK_METHOD_AUTO && t.method != RUK_METHOD_DIRECT)
        return {fft ? Form::Fft : Form::None, types, job};
    if (t.method == RUK_METHOD_AUTO && fft) return {Form::Fft, types, job};
    if (types == Types::DS) return {Form::None, types, job};
    return {fft ? Form::Direct1DNodec : Form::Direct1DDec, types, job};
}

std::string kernel_name(const Selection& s) {
    if (s.form == Form::None) return "";
    static const char* const kTypes[] = {"SS", "SD", "DD", "DS"};
    std::string name = s.job == Job::Conv ? "rukConv" : "rukCorr";
    name += kTypes[static_cast<int>(s.types)];
    switch (s.form) {
    case Form::Fft: name += "Fft1D_nodec"; break;
    case Form::Direct1DDec: name += "Direct1D_dec"; break;
    case Form::Direct1DNodec: name += "Direct1D_nodec"; break;
    case Form::DirectAll: name += "DirectAll_dec"; break;
    case Form::None: break;
    }
    return name;
}

}  // namespace xeb::convcorr

extern "C" {

int32_t rukExec(RukTask* task, const void* x, const int32_t* xStride, const void* y,
                const int32_t* yStride, void* z, const int32_t* zStride) {
    using namespace xeb::convcorr;
    if (task == nullptr) return RUK_ERROR_NULL_ARG;
    if (task->status != RUK_OK) return task->status;
    if (task->committed == 0) rukCommitTask(task);

    const int entries = stored_entries(task->rank);
    int32_t xDense[kMaxRank], yDense[kMaxRank], zDense[kMaxRank], corrStart[kMaxRank];
    if (xStride == nullptr && task->xShape != nullptr) {
        dense_strides(task->xShape, entries, xDense);
        xStride = xDense;
    }
    if (yStride == nullptr && task->yShape != nullptr) {
        dense_strides(task->yShape, entries, yDense);
        yStride = yDense;
    }
    if (zStride == nullptr && task->zShape != nullptr) {
        dense_strides(task->zShape, entries, zDense);
        zStride = zDense;
    }
    // Whether decimation is set is told by the task's pointer alone: an
    // array of ones still selects the decimated kernels.
    const int32_t* decimation = task->decimation != nullptr ? task->decimation : kOnes;
    const int32_t* start = task->start;
    if (start == nullptr && task->job == RUK_JOB_CORR && task->xShape != nullptr) {
        // The first lag at which x and y overlap.
        for (int d = 0; d < entries; ++d)
            corrStart[d] = static_cast<int32_t>(1 - int64_t{task->xShape[d]});
        start = corrStart;
    } else if (start == nullptr) {
        start = kZeros;
    }

    const Selection s = select_kernel(*task);
    const Call call{task, task->rank,    x,  xStride, y,  yStride,    z,         zStride,
                    task->xShape, task->yShape, task->zShape, start, decimation};
    int32_t status = RUK_TASK_ERROR_UNSUPPORTED;
    if (s.form != Form::None) status = missing_pointer(s, call) ? RUK_ERROR_NULL_ARG : run(s, call);
    rukccSetStatus(task, status);
    return status;
}

int32_t rukExecX(RukTask* task, const void* y, const int32_t* yStride, void* z,
                 const int32_t* zStride) {
    if (task == nullptr) return RUK_ERROR_NULL_ARG;
    return rukExec(task, task->x, task->xStride, y, yStride, z, zStride);
}

}  // extern "C"
