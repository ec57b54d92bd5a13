// What the direct kernels share: the two jobs, the three type pairs, the
// status codes by job, and the stride convention of one dimension.
#pragma once

#include <cstddef>
#include <cstdint>

#include "xebruk/convcorr.h"

namespace xeb::convcorr {

enum class Job { Conv, Corr };

// Statuses of the one-dimensional kernels: the same meanings for both
// jobs, correlation's 100 lower.
enum Check : int32_t {
    kYStride = 3,
    kXStride = 4,
    kZStride = 5,
    kXShape = 6,
    kYShape = 7,
    kZShape = 8,
    kDecimation = 9,
    kStartLow = 10,
    kStartHigh = 11,
    kEndHigh = 12,
    kInplace = 13,
};

constexpr int32_t status_of(Job job, Check check) {
    return (job == Job::Conv ? RUK_CONV_ERROR_Y_STRIDE + 3 : RUK_CORR_ERROR_Y_STRIDE + 3) - check;
}

// Type pairs: the element type of x, y and z; the precision of products
// and sums (Wide); and the cell the kernels of any rank keep the running
// sum in between terms.  long double is the x87 register: its precision is
// what the x87 control word holds when the kernel is entered.
struct PairDD {
    using Data = double;
    using Wide = long double;
    using Cell = double;
};
struct PairSD {
    using Data = float;
    using Wide = long double;
    using Cell = double;
};
struct PairSS {
    using Data = float;
    using Wide = float;
    using Cell = float;
};

// Offset of logical element i of an array of n elements at stride s from
// the array pointer: a negative stride visits the array from its highest
// address, so logical element 0 is the one furthest from the pointer and
// every offset is at least 0.
constexpr std::ptrdiff_t logical_offset(int64_t i, int64_t n, int64_t s) {
    return static_cast<std::ptrdiff_t>(s > 0 ? i * s : (i - n + 1) * s);
}

}  // namespace xeb::convcorr
