// The pieces of the real FFT and of the spectrum products that the SIMD
// kernel classes take over: one table of entry points per class, filled
// when the library loads (signal/simd/fft_passes.cpp, compiled once per
// class), null entries in the baseline class, whose own loops then run.
//
// A class's radix-4 pass computes the same butterflies as the baseline's
// on the same block layout and stage tables, several blocks per register;
// its products may be fused, so its bits may differ from the baseline's
// within the error budget of signal/fft_core.cpp.  A class's spectrum
// product rounds each product before the sum, as the baseline does, and so
// gives the baseline's bits.
#pragma once

#include <cstdint>

namespace xeb::sig {

struct FftClassTable {
    // One radix-4 pass over groups of 2^s points (s >= 5) of n points in
    // block layout, tab the stage's table; [0] forward, [1] inverse.
    void (*radix4[2])(float* data, int64_t n, int32_t s, const float* tab);
    // The first pass of the core (radix 8 or 16 over groups of 8 or 16
    // points, pairs in, block layout out, tab the stage table): the
    // leading groups in whole registers of groups; returns how many it did
    // (the baseline does the rest).  [0] forward, [1] inverse.
    int64_t (*first8[2])(const float* src, float* out, int64_t groups, const float* tab);
    int64_t (*first16[2])(const float* src, float* out, int64_t groups, const float* tab);
    // b := a * b ([0]) or a * conj(b) ([1]) on `pairs` complex pairs.
    void (*product[2])(const float* a, float* b, int64_t pairs);
};

// The table of the class in use.
const FftClassTable& fft_class_table();

}  // namespace xeb::sig
