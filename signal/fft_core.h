// Pieces of the real FFT shared by the plan builder and the transforms:
// the complex transforms in the four-lane block layout, the reversal, the
// halving and blocked recursion for long lengths, and the table layouts.
//
// Block layout: complex data run in blocks of four numbers, four real parts
// then four imaginary parts (32 bytes), so SSE lanes take four consecutive
// points without a shuffle per butterfly.  Complex number p of an array in
// block layout lies at floats 8*(p/4) + p%4 (real) and 4 more (imaginary).
#pragma once

#include <cstdint>

#include "signal/fft_plan.h"

namespace xeb::sig {

// Floats of the stage twiddle table of a complex transform of 2^k points,
// and the offset of the stage of group size 2^s within it.  Stages run
// s = k%2 + 4, s + 2, ..., k; a stage holds, per group of four j below
// 2^s/4 and per t in 1, 2, 3, four cos(2 pi t j / 2^s) then four
// -sin(2 pi t j / 2^s): 1.5 * 2^s floats.
int64_t sigStageTableFloats(int32_t k);
int64_t sigStageOffset(int32_t k, int32_t s);

// The complex core for n = 2^k points, 8 <= n <= 1024, on (real, imaginary)
// pairs already in bit-reversed order.  Passes run in data when it is
// 16-byte aligned, else in work (8n bytes, 16-byte aligned).  The result is
// left in block layout, or as pairs when interleave is set.
void sigCplxFftCore(float* data, int32_t n, const float* twiddles, float* work, bool interleave);
void sigCplxIfftCore(float* data, int32_t n, const float* twiddles, float* work, bool interleave);
// The same for n up to 2^9 with the bit reversal folded into the first pass
// through the index table; the result always leaves as pairs.
void sigCplxFftReorderCore(const float* src, float* dst, int32_t n, const float* twiddles,
                           const int32_t* indexTable, float* work);
void sigCplxIfftReorderCore(const float* src, float* dst, int32_t n, const float* twiddles,
                            const int32_t* indexTable, float* work);

// Bit reversal of n complex pairs through the swap table.
void sigBitReverseInPlace(float* data, int64_t n, const int32_t* swapTable);
void sigBitReverseCopy(const float* src, float* dst, int64_t n, const int32_t* swapTable);

// Complex transform of 2^k points, k >= 11, bit-reversed pairs in, pairs
// out: blocked recursion or halving as the blocking table says.  Rows
// scale by the plan's factor when its flag for the direction is set.
void sigFftBlockedForward(const sigFftPlan* plan, float* data, int32_t k, float* work);
void sigFftBlockedInverse(const sigFftPlan* plan, float* data, int32_t k, float* work);
// Whether the forward transform of 2^k points (k >= 11) reads its input in
// natural order, the reversal folded into the filling of its leaves;
// sigFftBlockedForwardFrom then does so from src into data (apart), with
// the bits sigFftBlockedForward gives on the reversed copy.
bool sigFftReadsNatural(int32_t k);
void sigFftBlockedForwardFrom(const sigFftPlan* plan, const float* src, float* data, int32_t k, float* work);

// n floats times scale, in place.
void sigScale32f(float scale, float* data, int64_t n);

// Reversal tables over the middle k-2 bits of a k-bit index; both have
// 2^(k-2) + 1 entries.
void sigFillIndexTable(int32_t* table, int32_t k);
void sigFillSwapTable(int32_t* table, int32_t k);

}  // namespace xeb::sig
