// The pieces of the real FFT and of the spectrum products that the SIMD
// kernel classes take over: one table of entry points per class, filled
// when the library loads (signal/simd/fft_passes.cpp, compiled once per
// class), null entries in the baseline class, whose own loops then run.
//
// A class's radix-4 pass computes the same butterflies as the baseline's
// on the same block layout and stage tables, several blocks per register;
// its products may be fused, so its bits may differ from the baseline's
// within the error budget of signal/fft_core.cpp.  A class's spectrum
// product and split pass round each product before the sum, as the
// baseline does, and so give the baseline's bits.
#pragma once

#include <cstdint>

namespace xeb::sig {

struct FftClassTable {
    // One radix-4 pass over groups of 2^s points (s >= 5) of n points in
    // block layout, tab the stage's table; [0] forward, [1] inverse.
    void (*radix4[2])(float* data, int64_t n, int32_t s, const float* tab);
    // The first pass of the core over n points (radix 16, or 8 when
    // radix16 is false, tab the stage table), block layout out: from
    // consecutive pairs (table null) or from the positions the index
    // table and the four stream offsets give (signal/fft_core.cpp).  It
    // does the leading groups in whole registers of groups and returns how
    // many it did; the baseline does the rest.  [0] forward, [1] inverse.
    int64_t (*first[2])(const float* data, const int32_t* table, const int32_t* stream, float* out, int64_t n,
                        const float* tab, bool radix16);
    // b := a * b ([0]) or a * conj(b) ([1]) on `pairs` complex pairs.
    void (*product[2])(const float* a, float* b, int64_t pairs);
    // The split pass of the real transform of 2n values over n complex
    // pairs (signal/fft_real.cpp), [0] forward, [1] inverse, from k' = 1 on
    // in whole registers; returns the first k' it left to the baseline.
    // Its steps round as the baseline's and give the same bits.
    int64_t (*split[2])(const float* in, float* out, int64_t n, const float* tab);
    // The column steps of the blocked recursion (signal/fft_core.cpp) on
    // four rows a step: four adjacent columns, block cb of every row, times
    // their gather factors tw (the block's own, [0] forward, [1] conjugate
    // for the inverse) into cols as four columns of pairs; and back, as
    // pairs or as blocks.  With cols_next, block cb + 1 (its factors next in
    // tw) goes the same way into cols_next in the same sweep over the rows,
    // which then read and write whole cache lines.  Products rounded as the
    // baseline's: same bits.
    void (*column_gather[2])(const float* block0, int64_t row_floats, int32_t rows, const float* tw, float* cols,
                             float* cols_next);
    void (*column_scatter)(float* block0, int64_t row_floats, int32_t rows, const float* cols,
                           const float* cols_next, bool pairs);
    // The reversal's 8x8 move of the natural-order leaf fill
    // (signal/fft_core.cpp): point i of each of the eight pair runs
    // lines[b] goes to leaves[i] at point `at` + b.  A plain copy: the
    // baseline's bits.
    void (*move8x8)(const float* const* lines, float* const* leaves, int64_t at);
    // The tiled reversal's exchange of two tiles (signal/fft_core.cpp):
    // the 16 by 16 pairs at src + a (rows `row` floats apart), pair l of
    // row h, go to pair rev4(h) of row rev4(l) at dst + b, and those at
    // src + b to dst + a; a == b reverses one tile onto itself.  src may be
    // dst.  A plain copy: the baseline's bits.
    void (*reverse_tiles)(const float* src, float* dst, int64_t row, int64_t a, int64_t b);
    // The whole complex transform of 2^k points for the k of
    // small_transform_order, pairs in natural order in and out, src may be
    // dst (signal/simd/fft_small.cpp); [0] forward, [1] inverse.  Its own
    // factorisation: bits differ from the core's, within its budget.
    void (*small[2])(const float* src, float* dst, int32_t k);
};
constexpr int32_t kSmallMinOrder = 5, kSmallMaxOrder = 9;
// The orders the classes' small transforms take: at 2^8 points the core's
// radix-4 passes are faster than an 8 by 32 four-step (measured, AVX-512).
// Static: the class objects, built for other instruction sets, keep their
// own copies instead of sharing one weak definition with the baseline.
static constexpr bool small_transform_order(int32_t k) { return k >= kSmallMinOrder && k <= kSmallMaxOrder && k != 8; }

// The table of the class in use.
const FftClassTable& fft_class_table();

}  // namespace xeb::sig
