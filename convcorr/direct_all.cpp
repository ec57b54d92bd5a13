// Direct convolution and correlation of any rank up to RUK_TASK_MAX_RANK.
//
// Per dimension d, with p[d] = start[d] + j[d] * decimation[d]:
//   Conv: z[j] = sum over the box a[d] in [max(p-ny+1, 0), min(nx-1, p)]
//               of x[a] y[p - a]
//   Corr: z[j] = sum over the box a[d] in [max(-p, 0), min(nx-1, ny-p-1)]
//               of x[a] y[p + a]
// Dimension 0 varies fastest, in the outputs and in the box.  Strides of x
// and y follow the one-dimensional convention per dimension (a negative
// stride counts from the far end); z is not rebased: z points at output 0
// and a negative stride walks below it.
//
// Summation order: the box in odometer order (a[0] fastest, ascending),
// the sum starting as the first product.  Between terms the running sum is
// a memory cell: a double for DD and SD, a single for SS.  Each term is
// product and sum in the x87 register (DD, SD) or in single (SS), then a
// store to the cell.
//
// Error budget for m terms, relative to sum |x y|:
//   DD: each step rounds the product and the sum to 64 bits, then the
//       sum to 53: below m (2^-53 + 2^-63); for terms of one sign below
//       (m+1)(1 + 2^-10) ulp.
//   SD: single products are exact; sums m 2^-53, then one rounding to
//       single: below 0.5 + m 2^-29 ulp.
//   SS: as in one dimension, below (m+1) ulp for terms of one sign.
#include "convcorr/direct.h"
#include "convcorr/direct_table.h"

namespace xeb::convcorr {
namespace {

constexpr int kMaxRank = RUK_TASK_MAX_RANK;

// Checks in their order, dimension by dimension; strides of x and y are
// not checked and may be 0.
template <Job J>
int32_t check_all(int32_t rank, const int32_t* xShape, const int32_t* yShape,
                  const int32_t* zShape, const int32_t* zStride, const int32_t* start,
                  const int32_t* decimation) {
    if (rank < 1 || rank > kMaxRank) return RUK_ALL_ERROR_RANK;
    for (int d = 0; d < rank; ++d) {
        const int64_t nx = xShape[d], ny = yShape[d], nz = zShape[d];
        if (nx < 1) return RUK_ALL_ERROR_X_SHAPE;
        if (ny < 1) return RUK_ALL_ERROR_Y_SHAPE;
        if (nz < 1) return RUK_ALL_ERROR_Z_SHAPE;
        const int64_t first = J == Job::Conv ? 0 : 1 - nx;
        const int64_t last = J == Job::Conv ? nx + ny - 2 : ny - 1;
        if (start[d] < first || start[d] > last) return RUK_ALL_ERROR_START;
        const int64_t dec = decimation[d];
        if (dec < 1 || start[d] + (nz - 1) * dec > last) return RUK_ALL_ERROR_SPAN;
        if (zStride[d] == 0) return RUK_ALL_ERROR_Z_STRIDE;
    }
    return RUK_OK;
}

template <class Pair, Job J>
int32_t direct_all(int32_t rank, const typename Pair::Data* x, const int32_t* xShape,
                   const int32_t* xStride, const typename Pair::Data* y, const int32_t* yShape,
                   const int32_t* yStride, typename Pair::Data* z, const int32_t* zShape,
                   const int32_t* zStride, const int32_t* start, const int32_t* decimation) {
    using Data = typename Pair::Data;
    using Wide = typename Pair::Wide;
    using Cell = typename Pair::Cell;
    const int32_t status = check_all<J>(rank, xShape, yShape, zShape, zStride, start, decimation);
    if (status != RUK_OK) return status;

    // The class in use, where it may: x is the operand the box runs over.
    BoxSum<Data> box{};
    box.rank = rank;
    box.job = J;
    box.from_zero = false;
    box.first = x;
    box.second = y;
    box.z = z;
    for (int d = 0; d < rank; ++d) {
        box.first += logical_offset(0, xShape[d], xStride[d]);
        box.second += logical_offset(0, yShape[d], yStride[d]);
        box.nf[d] = xShape[d];
        box.ns[d] = yShape[d];
        box.nz[d] = zShape[d];
        box.sf[d] = xStride[d];
        box.ss[d] = yStride[d];
        box.sz[d] = zStride[d];
        box.start[d] = start[d];
        box.dec[d] = decimation[d];
    }
    if (run_in_class<Pair>(box)) return RUK_OK;

    // y moves against x in convolution, with it in correlation.
    std::ptrdiff_t yStep[kMaxRank];
    int64_t p[kMaxRank], count[kMaxRank];
    for (int d = 0; d < rank; ++d) {
        yStep[d] = J == Job::Conv ? -std::ptrdiff_t{yStride[d]} : std::ptrdiff_t{yStride[d]};
        p[d] = start[d];
        count[d] = 0;
    }
    std::ptrdiff_t oz = 0;
    for (;;) {
        // The box of this output and the offsets of its first term.
        int64_t lo[kMaxRank], hi[kMaxRank], a[kMaxRank];
        std::ptrdiff_t ox = 0, oy = 0;
        for (int d = 0; d < rank; ++d) {
            const int64_t nx = xShape[d], ny = yShape[d];
            int64_t yFirst;
            if (J == Job::Conv) {
                lo[d] = p[d] - ny + 1 > 0 ? p[d] - ny + 1 : 0;
                hi[d] = nx - 1 < p[d] ? nx - 1 : p[d];
                yFirst = p[d] - lo[d];
            } else {
                lo[d] = -p[d] > 0 ? -p[d] : 0;
                hi[d] = nx - 1 < ny - p[d] - 1 ? nx - 1 : ny - p[d] - 1;
                yFirst = p[d] + lo[d];
            }
            a[d] = lo[d];
            ox += logical_offset(lo[d], nx, xStride[d]);
            oy += logical_offset(yFirst, ny, yStride[d]);
        }
        // Valid outputs have a non-empty box in every dimension.
        Cell sum = static_cast<Cell>(static_cast<Wide>(y[oy]) * static_cast<Wide>(x[ox]));
        for (int d = 0; d < rank;) {
            ox += xStride[d];
            oy += yStep[d];
            if (++a[d] <= hi[d]) {
                sum = static_cast<Cell>(static_cast<Wide>(sum) +
                                        static_cast<Wide>(y[oy]) * static_cast<Wide>(x[ox]));
                d = 0;
                continue;
            }
            const int64_t walked = a[d] - lo[d];
            ox -= static_cast<std::ptrdiff_t>(walked * xStride[d]);
            oy -= static_cast<std::ptrdiff_t>(walked * yStep[d]);
            a[d] = lo[d];
            ++d;
        }
        z[oz] = static_cast<Data>(sum);

        // Next output, dimension 0 fastest.
        int d = 0;
        for (; d < rank; ++d) {
            oz += zStride[d];
            p[d] += decimation[d];
            if (++count[d] < zShape[d]) break;
            p[d] = start[d];
            count[d] = 0;
            oz -= static_cast<std::ptrdiff_t>(int64_t{zShape[d]} * zStride[d]);
        }
        if (d == rank) return RUK_OK;
    }
}

}  // namespace
}  // namespace xeb::convcorr

using xeb::convcorr::direct_all;
using xeb::convcorr::Job;
using xeb::convcorr::PairDD;
using xeb::convcorr::PairSD;
using xeb::convcorr::PairSS;

// The exported members.
extern "C" {

int32_t rukConvDDDirectAll_dec(int32_t rank, const double* x, const int32_t* nx,
                               const int32_t* xs, const double* y, const int32_t* ny,
                               const int32_t* ys, double* z, const int32_t* nz,
                               const int32_t* zs, const int32_t* start, const int32_t* dec) {
    return direct_all<PairDD, Job::Conv>(rank, x, nx, xs, y, ny, ys, z, nz, zs, start, dec);
}
int32_t rukCorrDDDirectAll_dec(int32_t rank, const double* x, const int32_t* nx,
                               const int32_t* xs, const double* y, const int32_t* ny,
                               const int32_t* ys, double* z, const int32_t* nz,
                               const int32_t* zs, const int32_t* start, const int32_t* dec) {
    return direct_all<PairDD, Job::Corr>(rank, x, nx, xs, y, ny, ys, z, nz, zs, start, dec);
}
int32_t rukConvSDDirectAll_dec(int32_t rank, const float* x, const int32_t* nx,
                               const int32_t* xs, const float* y, const int32_t* ny,
                               const int32_t* ys, float* z, const int32_t* nz, const int32_t* zs,
                               const int32_t* start, const int32_t* dec) {
    return direct_all<PairSD, Job::Conv>(rank, x, nx, xs, y, ny, ys, z, nz, zs, start, dec);
}
int32_t rukCorrSDDirectAll_dec(int32_t rank, const float* x, const int32_t* nx,
                               const int32_t* xs, const float* y, const int32_t* ny,
                               const int32_t* ys, float* z, const int32_t* nz, const int32_t* zs,
                               const int32_t* start, const int32_t* dec) {
    return direct_all<PairSD, Job::Corr>(rank, x, nx, xs, y, ny, ys, z, nz, zs, start, dec);
}
int32_t rukConvSSDirectAll_dec(int32_t rank, const float* x, const int32_t* nx,
                               const int32_t* xs, const float* y, const int32_t* ny,
                               const int32_t* ys, float* z, const int32_t* nz, const int32_t* zs,
                               const int32_t* start, const int32_t* dec) {
    return direct_all<PairSS, Job::Conv>(rank, x, nx, xs, y, ny, ys, z, nz, zs, start, dec);
}
int32_t rukCorrSSDirectAll_dec(int32_t rank, const float* x, const int32_t* nx,
                               const int32_t* xs, const float* y, const int32_t* ny,
                               const int32_t* ys, float* z, const int32_t* nz, const int32_t* zs,
                               const int32_t* start, const int32_t* dec) {
    return direct_all<PairSS, Job::Corr>(rank, x, nx, xs, y, ny, ys, z, nz, zs, start, dec);
}

}  // extern "C"
