// Direct convolution and correlation in one dimension.
//
//   Conv: value(k) = sum_{i = max(0, k-nx+1)}^{min(ny-1, k)} y[i] x[k-i],  k = 0 .. nx+ny-2
//   Corr: value(k) = sum_{i = max(0, k)}^{min(nx+k, ny)-1}   y[i] x[i-k],  k = 1-nx .. ny-1
//   z[j] = value(start + j * decimation)
//
// Summation order: ascending i, one accumulator per output starting from
// 0, no reassociation; a pass of four terms runs while at least five
// remain, so a range of four is summed by the one-term loop alone.
// Results are thus those of the plain loop in the same precision, bit for
// bit.  The loop is bound by the latency of one addition per term; where
// four consecutive outputs have the same range of i and z shares no memory
// with x or y, their four sums run side by side (scalar operations, each
// sum in its own order), which leaves the bound to the throughput of the
// unit.
//
// Error budget for m terms (u = unit roundoff of the sum's precision,
// bounds relative to sum |y[i] x[i']|):
//   DD: products and sums in the x87 register, u = 2^-64 at the default
//       64-bit precision control: at most m 2^-64, then one rounding to
//       double.  For terms of one sign: below 0.5 + (m+1) 2^-11 ulp.
//   SD: single products are exact in 64 bits; sums m 2^-64, one rounding
//       to single: below 0.5 + m 2^-40 ulp.
//   SS: products and sums rounded to single, u = 2^-24: for terms of one
//       sign below (m+1) ulp.
// With cancellation the absolute bounds hold and no ulp bound exists.
// The x87 kernels neither set nor restore the control word: a caller that
// runs them at 53-bit precision gets double sums (u = 2^-53).
#include <type_traits>

#include "convcorr/direct.h"
#include "convcorr/direct_table.h"

namespace xeb::convcorr {
namespace {

// What the members of one family do differently; these are kept as they
// stand, since callers rely on each member's statuses.
template <class Pair, Job J, bool Decimated>
struct Member {
    static constexpr bool conv = J == Job::Conv;
    static constexpr bool dd = std::is_same_v<Pair, PairDD>;
    static constexpr bool sd = std::is_same_v<Pair, PairSD>;
    static constexpr bool ss = std::is_same_v<Pair, PairSS>;
    // Double convolution reports a z length below 1 with the x-length code.
    static constexpr int32_t z_shape_status =
        conv && dd ? status_of(J, kXShape) : status_of(J, kZShape);
    // Smallest decimation accepted: single convolution alone refuses 0.
    static constexpr int32_t min_decimation = conv && ss ? 1 : 0;
    // Upper limit of the start: the last defined output, and one past it
    // in mixed-precision convolution.
    static constexpr int64_t start_slack = conv && sd ? 1 : 0;
    // Undecimated single convolution makes no in-place test.
    static constexpr bool inplace_test = !(conv && ss && !Decimated);
};

// Checks in their order; the first failure is the status.  All products
// are formed in 64 bits, so no shape or decimation can overflow a test.
template <class Pair, Job J, bool Decimated>
int32_t check(const void* y, const void* z, int64_t xStride, int64_t yStride, int64_t zStride,
              int64_t nx, int64_t ny, int64_t start, int64_t nz, int64_t decimation) {
    using M = Member<Pair, J, Decimated>;
    if (xStride == 0) return status_of(J, kXStride);
    if (yStride == 0) return status_of(J, kYStride);
    if (zStride == 0) return status_of(J, kZStride);
    if (nx < 1) return status_of(J, kXShape);
    if (ny < 1) return status_of(J, kYShape);
    if (nz < 1) return M::z_shape_status;
    if (Decimated && decimation < M::min_decimation) return status_of(J, kDecimation);
    // Defined outputs: conv 0 .. nx+ny-2, corr 1-nx .. ny-1.
    const int64_t first = M::conv ? 0 : 1 - nx;
    const int64_t last = M::conv ? nx + ny - 2 : ny - 1;
    if (start < first) return status_of(J, kStartLow);
    if (start > last + M::start_slack) return status_of(J, kStartHigh);
    // A decimated kernel lets one output past the last defined one through
    // (it sums to 0): start + nz*dec may reach last + 2.
    if (start + nz * decimation > last + 1 + (Decimated ? 1 : 0)) return status_of(J, kEndHigh);
    if (M::inplace_test && y == z) {
        // In place, output j is stored over y[j].  That is safe when output
        // j reads only y[i] with i >= j: equal positive strides, step 1,
        // and a start past the rising edge (conv: the first output of
        // full overlap, nx - 1; corr: lag 0).
        const bool safe = yStride == zStride && yStride >= 1 && (!Decimated || decimation == 1) &&
                          start >= (M::conv ? nx - 1 : 0);
        if (!safe) return status_of(J, kInplace);
    }
    return RUK_OK;
}

// Strides of four consecutive taps, so that the loop of four terms needs
// no multiplication.
struct Steps {
    std::ptrdiff_t s1, s2, s3, s4;
    explicit Steps(std::ptrdiff_t s) : s1(s), s2(2 * s), s3(3 * s), s4(4 * s) {}
};

// sum_{t < m} y[oy + t sy] * x[ox + t sx], ascending t, from 0.
template <class Wide, class T>
inline Wide tap_sum(const T* y, std::ptrdiff_t oy, const Steps& sy, const T* x, std::ptrdiff_t ox,
                    const Steps& sx, int64_t m) {
    Wide sum = 0;
    for (; m >= 5; m -= 4, oy += sy.s4, ox += sx.s4) {
        sum = sum + static_cast<Wide>(y[oy]) * static_cast<Wide>(x[ox]);
        sum = sum + static_cast<Wide>(y[oy + sy.s1]) * static_cast<Wide>(x[ox + sx.s1]);
        sum = sum + static_cast<Wide>(y[oy + sy.s2]) * static_cast<Wide>(x[ox + sx.s2]);
        sum = sum + static_cast<Wide>(y[oy + sy.s3]) * static_cast<Wide>(x[ox + sx.s3]);
    }
    for (; m > 0; --m, oy += sy.s1, ox += sx.s1)
        sum = sum + static_cast<Wide>(y[oy]) * static_cast<Wide>(x[ox]);
    return sum;
}

// Four outputs at once over one common range of i, stored at z[oz + g sz]:
// independent running sums, each the same ascending single-accumulator sum
// as tap_sum gives (so results are identical), whose additions overlap in
// time instead of waiting on one another.  dx steps from one output's x to
// the next's.
template <class Wide, class T>
inline void tap_sum4(const T* y, std::ptrdiff_t oy, std::ptrdiff_t sy, const T* x,
                     std::ptrdiff_t ox, std::ptrdiff_t sx, std::ptrdiff_t dx, int64_t m, T* z,
                     std::ptrdiff_t oz, std::ptrdiff_t sz) {
    Wide s0 = 0, s1 = 0, s2 = 0, s3 = 0;
    const std::ptrdiff_t dx2 = 2 * dx, dx3 = 3 * dx;
    for (; m > 0; --m, oy += sy, ox += sx) {
        const Wide yi = static_cast<Wide>(y[oy]);
        s0 = s0 + yi * static_cast<Wide>(x[ox]);
        s1 = s1 + yi * static_cast<Wide>(x[ox + dx]);
        s2 = s2 + yi * static_cast<Wide>(x[ox + dx2]);
        s3 = s3 + yi * static_cast<Wide>(x[ox + dx3]);
    }
    z[oz] = static_cast<T>(s0);
    z[oz + sz] = static_cast<T>(s1);
    z[oz + 2 * sz] = static_cast<T>(s2);
    z[oz + 3 * sz] = static_cast<T>(s3);
}

// The terms of output k: i over [lo, end), x index xi at i = lo.  Both ends
// never decrease as k grows.
struct Range {
    int64_t lo, end, xi;
};

template <Job J>
inline Range range_of(int64_t k, int64_t nx, int64_t ny) {
    if (J == Job::Conv) {
        const int64_t lo = k + 1 - nx > 0 ? k + 1 - nx : 0;
        return {lo, k + 1 - ny > 0 ? ny : k + 1, k - lo};
    }
    const int64_t lo = k > 0 ? k : 0;
    return {lo, nx + k < ny ? nx + k : ny, lo - k};
}

// True when the elements of two strided arrays (pointer at the lowest
// address) share any byte range.
template <class T>
bool overlap(const T* a, int64_t na, int64_t sa, const T* b, int64_t nb, int64_t sb) {
    const auto a0 = reinterpret_cast<std::uintptr_t>(a);
    const auto b0 = reinterpret_cast<std::uintptr_t>(b);
    const auto a1 = a0 + static_cast<std::uintptr_t>((na - 1) * (sa < 0 ? -sa : sa)) * sizeof(T);
    const auto b1 = b0 + static_cast<std::uintptr_t>((nb - 1) * (sb < 0 ? -sb : sb)) * sizeof(T);
    return a0 <= b1 && b0 <= a1;
}

template <class Pair, Job J, bool Decimated>
int32_t direct_1d(const typename Pair::Data* x, int32_t xStride, const typename Pair::Data* y,
                  int32_t yStride, typename Pair::Data* z, int32_t zStride, int32_t xShape,
                  int32_t yShape, int32_t start, int32_t zShape, int32_t decimation) {
    using Data = typename Pair::Data;
    using Wide = typename Pair::Wide;
    const int32_t status = check<Pair, J, Decimated>(y, z, xStride, yStride, zStride, xShape,
                                                     yShape, start, zShape, decimation);
    if (status != RUK_OK) return status;
    const int64_t nx = xShape, ny = yShape, nz = zShape, step = decimation;
    // Decimation 0 passes the checks of most members and writes nothing.
    if (start >= start + nz * step) return RUK_OK;

    // Rebased arrays: element i at base[i * stride] for either sign.
    const Data* xb = x + logical_offset(0, nx, xStride);
    const Data* yb = y + logical_offset(0, ny, yStride);
    Data* zb = z + logical_offset(0, nz, zStride);
    // The class in use, where it may: conv sums over y ascending (y is the
    // first operand), corr over x.
    BoxSum<Data> box{};
    box.rank = 1;
    box.job = J;
    box.from_zero = true;
    box.first = J == Job::Conv ? yb : xb;
    box.second = J == Job::Conv ? xb : yb;
    box.nf[0] = J == Job::Conv ? ny : nx;
    box.ns[0] = J == Job::Conv ? nx : ny;
    box.sf[0] = J == Job::Conv ? yStride : xStride;
    box.ss[0] = J == Job::Conv ? xStride : yStride;
    box.z = zb;
    box.nz[0] = nz;
    box.sz[0] = zStride;
    box.start[0] = start;
    box.dec[0] = step;
    if (run_in_class<Pair>(box)) return RUK_OK;

    const Steps sy(yStride);
    // Convolution walks x against y, correlation with it.
    const Steps sx(J == Job::Conv ? -std::ptrdiff_t{xStride} : std::ptrdiff_t{xStride});
    // From one output's x to the next one's.
    const auto dx = static_cast<std::ptrdiff_t>((J == Job::Conv ? step : -step) * xStride);
    // Outputs are stored one by one in order, and a later one reads what an
    // earlier one stored where z shares memory with x or y.  Four outputs
    // are computed together only where it does not.
    const bool grouped = !overlap(z, nz, zStride, x, nx, xStride) &&
                         !overlap(z, nz, zStride, y, ny, yStride);

    std::ptrdiff_t oz = 0;
    int64_t k = start;
    for (int64_t j = 0; j < nz;) {
        const Range r = range_of<J>(k, nx, ny);
        if (grouped && j + 4 <= nz) {
            const Range r3 = range_of<J>(k + 3 * step, nx, ny);
            if (r3.lo == r.lo && r3.end == r.end) {
                tap_sum4<Wide>(yb, static_cast<std::ptrdiff_t>(r.lo * yStride), sy.s1, xb,
                               static_cast<std::ptrdiff_t>(r.xi * xStride), sx.s1, dx,
                               r.end - r.lo, zb, oz, zStride);
                j += 4;
                oz += 4 * std::ptrdiff_t{zStride};
                k += 4 * step;
                continue;
            }
        }
        const Wide sum = tap_sum<Wide>(yb, static_cast<std::ptrdiff_t>(r.lo * yStride), sy, xb,
                                       static_cast<std::ptrdiff_t>(r.xi * xStride), sx,
                                       r.end - r.lo);
        zb[oz] = static_cast<Data>(sum);
        ++j;
        k += step;
        oz += zStride;
    }
    return RUK_OK;
}

}  // namespace
}  // namespace xeb::convcorr

using xeb::convcorr::direct_1d;
using xeb::convcorr::Job;
using xeb::convcorr::PairDD;
using xeb::convcorr::PairSD;
using xeb::convcorr::PairSS;

// The exported members.
extern "C" {

int32_t rukConvDDDirect1D_dec(const double* x, int32_t xs, const double* y, int32_t ys, double* z,
                              int32_t zs, int32_t nx, int32_t ny, int32_t start, int32_t nz,
                              int32_t dec) {
    return direct_1d<PairDD, Job::Conv, true>(x, xs, y, ys, z, zs, nx, ny, start, nz, dec);
}
int32_t rukCorrDDDirect1D_dec(const double* x, int32_t xs, const double* y, int32_t ys, double* z,
                              int32_t zs, int32_t nx, int32_t ny, int32_t start, int32_t nz,
                              int32_t dec) {
    return direct_1d<PairDD, Job::Corr, true>(x, xs, y, ys, z, zs, nx, ny, start, nz, dec);
}
int32_t rukConvSDDirect1D_dec(const float* x, int32_t xs, const float* y, int32_t ys, float* z,
                              int32_t zs, int32_t nx, int32_t ny, int32_t start, int32_t nz,
                              int32_t dec) {
    return direct_1d<PairSD, Job::Conv, true>(x, xs, y, ys, z, zs, nx, ny, start, nz, dec);
}
int32_t rukCorrSDDirect1D_dec(const float* x, int32_t xs, const float* y, int32_t ys, float* z,
                              int32_t zs, int32_t nx, int32_t ny, int32_t start, int32_t nz,
                              int32_t dec) {
    return direct_1d<PairSD, Job::Corr, true>(x, xs, y, ys, z, zs, nx, ny, start, nz, dec);
}
int32_t rukConvSSDirect1D_dec(const float* x, int32_t xs, const float* y, int32_t ys, float* z,
                              int32_t zs, int32_t nx, int32_t ny, int32_t start, int32_t nz,
                              int32_t dec) {
    return direct_1d<PairSS, Job::Conv, true>(x, xs, y, ys, z, zs, nx, ny, start, nz, dec);
}
int32_t rukCorrSSDirect1D_dec(const float* x, int32_t xs, const float* y, int32_t ys, float* z,
                              int32_t zs, int32_t nx, int32_t ny, int32_t start, int32_t nz,
                              int32_t dec) {
    return direct_1d<PairSS, Job::Corr, true>(x, xs, y, ys, z, zs, nx, ny, start, nz, dec);
}
int32_t rukConvSSDirect1D_nodec(const float* x, int32_t xs, const float* y, int32_t ys, float* z,
                                int32_t zs, int32_t nx, int32_t ny, int32_t start, int32_t nz) {
    return direct_1d<PairSS, Job::Conv, false>(x, xs, y, ys, z, zs, nx, ny, start, nz, 1);
}
int32_t rukCorrSSDirect1D_nodec(const float* x, int32_t xs, const float* y, int32_t ys, float* z,
                                int32_t zs, int32_t nx, int32_t ny, int32_t start, int32_t nz) {
    return direct_1d<PairSS, Job::Corr, false>(x, xs, y, ys, z, zs, nx, ny, start, nz, 1);
}

}  // extern "C"
