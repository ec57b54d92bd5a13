// MCG59's real fills in the widest registers of one kernel class: two
// registers of 64-bit lanes, one chain per lane (16 chains with AVX-512, 8
// with AVX2), the chains of a register consecutive elements.  A step is
// x <- x a^lanes mod 2^59: the low 64 bits of the product (the compiler's
// 64-bit lane multiply) with the top 5 cleared.
//
// A word w < 2^59 is h 2^32 + l with h, l below 2^32, each exact as a
// double.  With AVX-512 the double or float nearest w is one conversion
// (of the signed 64-bit lane, rounded once); in AVX2 the double
// is the sum h 2^32 + l rounded once, the terms made from their bits (the
// double 2^84 + h 2^32 less 2^84 + 2^52 is exact, and so is 2^52 + l, whose
// sum is the rounded one), and the float that of the exact pair
// (h 2^32, l) (rng/wide_pair.h: no double rounding).  Then the scaling by a
// power of two and the addition of a zero are exact in T, as in
// rng/mcg59.cpp: the same bits.
#include "frame/simd.h"
#include "rng/mcg59_class.h"
#include "rng/wide_pair.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

constexpr int kLanes = simd::kNative<double>;
constexpr int kRegisters = 2;
static_assert(kLanes * kRegisters <= rng::kMcg59MostLanes, "chains of an entry");

using D = simd::Vec<double, kLanes>;
using W = simd::Vec<uint64_t, kLanes>;
using F = simd::Vec<float, kLanes>;

constexpr uint64_t kMask59 = (uint64_t{1} << 59) - 1;

#if !XEB_ISA_AVX512  // AVX-512 converts 64-bit lanes directly
[[gnu::always_inline]] inline D high_part(W w) {  // h 2^32, exact
    return simd::bitcast<double>((w >> 32) | 0x4530000000000000ull) - 0x1p84;
}
[[gnu::always_inline]] inline D low_part(W w) {  // l, exact
    return simd::bitcast<double>((w & 0xFFFFFFFFull) | 0x4330000000000000ull) - 0x1p52;
}
#endif

[[gnu::always_inline]] inline D nearest_double(W w) {
#if XEB_ISA_AVX512
    return {__builtin_convertvector(simd::bitcast<int64_t>(w).v, D::Raw)};
#else
    const D high = simd::bitcast<double>((w >> 32) | 0x4530000000000000ull) - (0x1p84 + 0x1p52);
    return high + simd::bitcast<double>((w & 0xFFFFFFFFull) | 0x4330000000000000ull);
#endif
}

template <class T, class Store>
void run(uint64_t* x, uint64_t stride, int32_t steps, Store store) {
    W c[kRegisters];
    for (int h = 0; h < kRegisters; ++h) c[h] = simd::load<W>(x + h * kLanes);
    for (int32_t k = 0; k < steps; ++k)
#pragma GCC unroll 2
        for (int h = 0; h < kRegisters; ++h) {
            store(static_cast<int64_t>(k) * kRegisters * kLanes + h * kLanes, c[h]);
            c[h] = (c[h] * stride) & kMask59;
        }
    x[0] = simd::lane(c[0], 0);
}

void doubles(uint64_t* x, uint64_t stride, int32_t steps, double* out, double scale, double a) {
    run<double>(x, stride, steps, [out, scale, a](int64_t i, W w) {
        simd::store(out + i, nearest_double(w) * scale + a);
    });
}

[[gnu::always_inline]] inline F nearest_float(W w) {
#if XEB_ISA_AVX512
    return {__builtin_convertvector(simd::bitcast<int64_t>(w).v, F::Raw)};
#else
    return wide::to_float(wide::Pair<kLanes>{high_part(w), low_part(w)});
#endif
}

void floats(uint64_t* x, uint64_t stride, int32_t steps, float* out, float scale, float a) {
    run<float>(x, stride, steps, [out, scale, a](int64_t i, W w) {
        simd::store(out + i, nearest_float(w) * scale + a);
    });
}

}  // namespace

void fill_mcg59_table(rng::Mcg59Table& t) {
    t.lanes = kLanes * kRegisters;
    t.doubles = doubles;
    t.floats = floats;
}

}  // namespace XEB_ISA
}  // namespace xeb
