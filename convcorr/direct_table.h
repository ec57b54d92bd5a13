// The direct kernels of the SIMD classes: one table of entry points per
// kernel class, filled when the library loads (convcorr/simd/direct.cpp,
// compiled once per class), and the rule that says when a call may take
// them.  The exported kernels make their checks, describe the call as a
// BoxSum and offer it to the class in use; the baseline's own loops run
// when it declines.
//
// A class kernel computes every output as the baseline does: the same
// terms in the same order, one accumulator per output in the baseline's
// precision, products rounded before they are added (no fused
// multiply-add).  Its vectors run across outputs, one output per lane, so
// the bits are the baseline's.  The x87 sums of DD and SD equal double
// sums only when the x87 runs at 53-bit precision with rounding to
// nearest, and DD's only while no product or sum leaves the double range
// (the x87's exponent is wider); the gate below and the class kernels'
// own test of MXCSR's overflow and underflow flags hold them to that.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "convcorr/direct.h"

namespace xeb::convcorr {

constexpr int kBoxMaxRank = RUK_TASK_MAX_RANK;

// One call of a direct kernel after its checks.  Per dimension d, output j
// is at position p = start + j dec; its terms run over a in the box
//   Conv: [max(p - ns + 1, 0), min(nf - 1, p)], the second operand at p - a
//   Corr: [max(-p, 0), min(nf - 1, ns - p - 1)], the second operand at p + a
// in odometer order (dimension 0 fastest, ascending).  Element a of an
// operand is at base + sum a[d] stride[d] (negative strides rebased), and
// output j at z + sum j[d] zStride[d].  An empty box (one-dimensional
// decimated kernels only) gives 0.
template <class T>
struct BoxSum {
    int rank;
    Job job;
    bool from_zero;  // the sum starts at 0 (1-D kernels), else at its first product
    const T* first;
    const T* second;
    T* z;
    int64_t nf[kBoxMaxRank], ns[kBoxMaxRank], nz[kBoxMaxRank];
    std::ptrdiff_t sf[kBoxMaxRank], ss[kBoxMaxRank], sz[kBoxMaxRank];
    int64_t start[kBoxMaxRank], dec[kBoxMaxRank];
};

// Precision of the sums: single (SS), or double (the x87 sums of SD and DD).
// A kernel returns false, having written nothing, when it declines.
struct DirectTable {
    bool (*ss)(const BoxSum<float>&);
    bool (*sd)(const BoxSum<float>&);
    bool (*dd)(const BoxSum<double>&);
};

// The table of the class in use (entries null in the baseline class).
const DirectTable& direct_table();

// Runs b through the class in use where it may, true when done: z shares
// no memory with the operands (outputs are then independent of the order
// in which they are stored) and, for the x87 pairs, the control words give
// the x87 sums the bits of double sums.
bool run_in_class(const BoxSum<float>& b, bool single_sums);
bool run_in_class(const BoxSum<double>& b);

template <class Pair>
bool run_in_class(const BoxSum<typename Pair::Data>& b) {
    if constexpr (std::is_same_v<Pair, PairDD>) return run_in_class(b);
    else return run_in_class(b, std::is_same_v<Pair, PairSS>);
}

}  // namespace xeb::convcorr
