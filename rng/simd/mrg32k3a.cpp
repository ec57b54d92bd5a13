// MRG32K3A in the widest registers of one kernel class: 2 registers of
// chains side by side (16 chains with AVX-512, 8 with AVX2), each chain
// one lane and one stretch of the output, started by the baseline from the
// state jumped to its first element (rng/mrg32k3a.cpp).  The numbers are
// the sequence itself, the same in every class and for every split.
//
// Arithmetic in doubles.  The floor step rounds the quotient down, so
// residues come out in 0 .. m - 1 and the combination takes one
// conditional add: AVX-512 always (the product rounded down in the
// instruction), AVX2 for words (under MXCSR rounding down, which changes
// nothing else: every other operation of the step is exact).  AVX2's
// doubles and floats, whose conversions round to nearest, take the
// nearest step: the quotient rounded to nearest, three conditional adds.
//
// Floor step.  y is kept in 0 .. m2 - 1, and its step forms t = a21 y[n-1] +
// a23 (m2 - y[n-3]) (two fused multiply-adds from the constant a23 m2 <
// 2^53), an integer from 0 to below 1.9 2^52, exact.  With w the double
// 1/m2 rounded up, w = (1 + e)/m2 with 0 <= e < 1.07 2^-53, the product
// t w rounded down, then rounded down to an integer, is floor(t w): the
// first rounding never passes the integer floor(t w), a double, below t w.
// (Neither step writes over t, which the residue needs, nor takes a
// constant shift: fewer register copies and constants.)  For t
// = k m2 + r with 0 <= r < m2, t w = k + r/m2 + e t/m2 lies in [k, k + 1)
// because e t < 0.97 < 1 <= m2 - r: the quotient is k, and t - k m2 (one
// fused multiply-add, exact) is r.  x's step forms t = a12 x[n-2] - a13
// x[n-3] (a product and a fused multiply-add; |t| < 1.4 2^52, exact; the
// form with m1 - x[n-3] could exceed 2^53) with x in 0 .. m1, and reduces
// it the same way by 1/m1 rounded up (e < 0.68 2^-53): for t >= 0 as
// above (e t < 0.45); for t < 0 with r > 0, t w >= k as e |t| < 0.26 < 1
// <= r; for t = k m1 < 0, t w falls just below k and the residue is m1,
// which stands for 0.  Then d = x - y, from 1 - m2 to m1, is z = x - y
// mod m1 in 1 .. m1 or that less m1 (d <= 0): one compare and one masked
// add, as the integer code does.
//
// Nearest step (AVX2's reals).  A component's value is kept as a residue r with |r| <= m/2 + 2.
// A step forms t = a u + b v (the two coefficients of its recurrence,
// below 2^21, against values below 2^32 in magnitude): one product, one
// fused multiply-add, |t| < 2^53, exact.  The quotient q = round(t (1/m))
// is one fused multiply-add of t by the double 1/m (relative error 2^-53
// on a quotient below 2^21) and 1.5 2^52, which rounds it to an integer,
// less 1.5 2^52: q is the nearest integer to t/m or, within 2^-31 of a
// half, its neighbour.  t - q m, formed by one fused multiply-add, is
// exact (an integer below 2^33) and within m/2 + 2 of zero.  The
// combination takes y's residue to 0 .. m2 - 1 and x - y to 1 .. m1 by
// adding m1 once or twice: z = x - y + (m1 where x <= y), exactly as the
// integer code does.  Each conditional add is one compare and one masked
// add.
//
// Output.  N steps of N chains make N registers, one per step; transposed,
// each holds N consecutive outputs of one chain: one whole store.  Words
// skip the conversion: z + 2^52 (exact, the 2^52 added to the floor
// step's difference) holds z in the low 32 bits of its double, and the
// transpose's first shuffle picks those halves.
//
// Doubles on (0, 1) and other intervals with a = 0: the baseline rounds
// the exact product z c (z below 2^32, c a double) to the 64-bit
// significand and then to double.  That equals the product rounded once,
// h = z c in double, except where the first rounding lands on the midpoint
// between h and its neighbour on the side of the exact remainder
// l = z c - h (a fused multiply-subtract).  With s the spacing of doubles
// on that side (an ulp u of h, or u/2 below a power of two), the 64-bit
// grid there has spacing at most s 2^-11, so that needs |l| >= s/2 (1 -
// 2^-11).  Every such lane has h + l (1 + 2^-10) beyond the midpoint, as
// (1 - 2^-11)(1 + 2^-10) > 1, so that sum, rounded once in a fused
// multiply-add, differs from h: those lanes, and the few others with
// |l| > s/2 / (1 + 2^-10) (about one output in 2^10), take the baseline's
// formula one by one.  The caller keeps c and m1 c inside the normal range
// of doubles and runs this under its control words (x87 at 64 bits, MXCSR
// rounding to nearest).  Floats from a = 0 likewise, at scaled_floats.
#include <cmath>
#include <cstring>

#include "frame/simd.h"
#include "rng/mrg32k3a_class.h"
#include "rng/mrg32k3a_lanes.h"
#include "xebruk/rng_modular.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

using namespace mrg32k3a;
constexpr int kLanes = simd::kNative<double>;
constexpr int kRegisters = 2;
constexpr int kChainCount = kLanes * kRegisters;

using D = simd::Vec<double, kLanes>;

constexpr double kRoundingShift = 0x1.8p52;  // x + 1.5 2^52 - 1.5 2^52: x to the nearest integer
constexpr double kNearMidpoint = 1 + 0x1p-10;  // the doubles' test, at the top

// t - round(t / m) m for |t| < 2^53, as argued at the top (AVX2).
template <uint32_t M>
[[gnu::always_inline]] inline D reduce(D t) {
    constexpr double kInverse = 1.0 / M;
    const D q = simd::fma(t, kInverse, kRoundingShift) - kRoundingShift;
    return simd::fnma(q, simd::broadcast<D>(double(M)), t);
}

// r + k in the lanes of m, r elsewhere: AVX-512 masks the add itself;
// AVX2 keeps the constant's bits where m holds, and adds.
[[gnu::always_inline]] inline D add_where(simd::MaskOf<double, kLanes> m, D r, double k) {
#if XEB_ISA_AVX512
    return D{_mm512_mask_add_pd(r.v, m.m, r.v, _mm512_set1_pd(k))};
#else
    return r + simd::select(m, simd::broadcast<D>(k), simd::broadcast<D>(0.0));
#endif
}

// 1/m1 and 1/m2 rounded up: (1 + delta)/m with delta below 0.68 2^-53 and
// 1.07 2^-53.
constexpr double kInverseUp1 = 0x1.000000d10000bp-32, kInverseUp2 = 0x1.000059451f212p-32;

// t w rounded down, and that rounded down to an integer: AVX-512 rounds
// the product down in the instruction; AVX2 under MXCSR rounding down,
// which words() sets (every other operation of the floor step is exact,
// so that mode changes nothing else).  The masked forms with every lane
// set are the plain instructions, without the unmasked intrinsics'
// undefined operand.
[[gnu::always_inline]] inline D floor_of_product(D t, double w) {
    constexpr int kDown = _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC;
#if XEB_ISA_AVX512
    constexpr __mmask8 kAll = 0xFF;
    const __m512d below = _mm512_mask_mul_round_pd(t.v, kAll, t.v, _mm512_set1_pd(w), kDown);
    return D{_mm512_mask_roundscale_pd(below, kAll, below, kDown)};
#else
    return D{_mm256_round_pd((t * w).v, kDown)};
#endif
}

// t - floor(t (1/m rounded up)) m, as argued at the top.
template <uint32_t M>
[[gnu::always_inline]] inline D floor_reduce(D t, double inverse_up) {
    return simd::fnma(floor_of_product(t, inverse_up), simd::broadcast<D>(double(M)), t);
}

struct Chains {
    D x[3], y[3];  // oldest first
    // x in 0 .. m1 (m1 standing for 0), y in 0 .. m2 - 1.  z + shift,
    // shift 0 or 2^52 (exact either way).
    [[gnu::always_inline]] inline D floor_step(double shift) {
        const D p = floor_reduce<kM1>(simd::fma(x[0], -double(kA13), x[1] * double(kA12)), kInverseUp1);
        const D y_part = simd::fma(y[0], -double(kA23), double(uint64_t{kA23} * kM2));
        const D q = floor_reduce<kM2>(simd::fma(y[2], double(kA21), y_part), kInverseUp2);
        push(x, p);
        push(y, q);
        // d = p - q, from 1 - m2 to m1, is z, or z - m1 where p <= q (that
        // mask beside the subtraction, not after it); m1 is added to d +
        // shift, exact, a constant the reduction already holds.
        const D d = p - q;
        const auto wraps = simd::compare<simd::Cmp::Le>(p, q);
        return add_where(wraps, shift == 0 ? d : d + shift, double(kM1));
    }
#if XEB_ISA_AVX512
    [[gnu::always_inline]] inline D step(double shift = 0) { return floor_step(shift); }
#else
    // z + shift, shift 0 or 2^52 (exact either way), rounding to nearest.
    [[gnu::always_inline]] inline D step(double shift = 0) {
        const D p = reduce<kM1>(simd::fma(x[0], -double(kA13), x[1] * double(kA12)));
        // y[n-1]'s product last: the step waits on one fused multiply-add.
        const D q = reduce<kM2>(simd::fma(y[2], double(kA21), y[0] * -double(kA23)));
        push(x, p);
        push(y, q);
        // d = p - (q in 0 .. m2 - 1), from -m1/2 - m2 - 1 to m1/2 + 2, is
        // z less 0, 1 or 2 times m1; here with the shift added.
        const auto negative = simd::compare<simd::Cmp::Lt>(q, 0.0);
        const D q_less_shift =
            q + simd::select(negative, simd::broadcast<D>(kM2 - shift), simd::broadcast<D>(0.0 - shift));
        const D d = p - q_less_shift;
        const auto once = simd::compare<simd::Cmp::Le>(d, shift);
        const auto twice = simd::compare<simd::Cmp::Le>(d, shift - double(kM1));
        return add_where(twice, add_where(once, d, double(kM1)), double(kM1));
    }
#endif
};

// Chain j = h kLanes + l, lane l of register h, from start[j].
inline void load_chains(const uint32_t (*start)[6], Chains (&c)[kRegisters]) {
    for (int h = 0; h < kRegisters; ++h)
        for (int k = 0; k < 3; ++k)
            for (int l = 0; l < kLanes; ++l) {
                c[h].x[k].v[l] = start[h * kLanes + l][k];
                c[h].y[k].v[l] = start[h * kLanes + l][3 + k];
            }
}

// Chains j = 0 .. kChainCount - 1 from start[j], `steps` (a multiple of
// kLanes) each: out[j steps + i] = convert(step i of chain j, flags), a
// register of kLanes chains at a time.  convert sets in flags the lanes
// it leaves to repair(stored value, start[j], step), run after the
// register's stores; the test stays free of branches, which would break up
// the unrolled steps.
template <class T, class Convert, class Repair>
void run_chains(const uint32_t (*start)[6], int32_t steps, T* out, Convert convert, Repair repair) {
    using Out = decltype(convert(D{}, std::declval<unsigned&>()));
    Chains c[kRegisters];
    load_chains(start, c);
    T* row[kChainCount];
    for (int j = 0; j < kChainCount; ++j) row[j] = out + static_cast<int64_t>(j) * steps;
    for (int32_t i = 0; i < steps; i += kLanes) {
        Out z[kRegisters][kLanes];
        uint64_t flagged[kRegisters] = {};  // bit s kLanes + l: step s of lane l
#pragma GCC unroll 8
        for (int s = 0; s < kLanes; ++s)
#pragma GCC unroll 4
            for (int h = 0; h < kRegisters; ++h) {
                unsigned flags = 0;
                z[h][s] = convert(c[h].step(), flags);
                flagged[h] |= uint64_t{flags} << (s * kLanes);
            }
        for (int h = 0; h < kRegisters; ++h) {
            simd::transpose(z[h]);
            for (int l = 0; l < kLanes; ++l) simd::store(row[h * kLanes + l] + i, z[h][l]);
        }
        for (int h = 0; h < kRegisters; ++h)
            for (uint64_t m = flagged[h]; m != 0; m &= m - 1) {
                const int k = __builtin_ctzll(m);
                const int j = h * kLanes + k % kLanes;
                repair(row[j][i + k / kLanes], start[j], i + k / kLanes);
            }
    }
}

#if XEB_ISA_AVX512
using Halves = __m512;  // the step's lanes as pairs of 32-bit halves
template <int Order>
[[gnu::always_inline]] inline Halves shuffle_in_lanes(Halves a, Halves b) {
    return _mm512_shuffle_ps(a, b, Order);
}
#else
using Halves = __m256;
template <int Order>
[[gnu::always_inline]] inline Halves shuffle_in_lanes(Halves a, Halves b) {
    return _mm256_shuffle_ps(a, b, Order);
}
#endif
// The next step's z + 2^52, from 2^52 + 1 to 2^52 + m1 (exact): its low 32
// bits are z, so no conversion is needed.
[[gnu::always_inline]] inline Halves next_word_bits(Chains& c) {
    return __builtin_bit_cast(Halves, c.floor_step(0x1p52).v);
}

// MXCSR rounding down while it lives (the floor step on AVX2), restored
// after.
struct RoundingDown {
#if XEB_ISA_AVX512
    RoundingDown() = default;
#else
    const unsigned saved = _mm_getcsr();
    RoundingDown() { _mm_setcsr((saved & ~unsigned{_MM_ROUND_MASK}) | _MM_ROUND_DOWN); }
    ~RoundingDown() { _mm_setcsr(saved); }
#endif
};

// Words from z + 2^52, the transpose picking the low halves as it goes.
// In each 128-bit lane (chains 2L and 2L + 1), two rounds of in-lane
// shuffles of 4 steps leave the 4 words of chain 2L (`even`) and of chain
// 2L + 1 (`odd`): with AVX2 those lanes are stored as they are; AVX-512
// joins the lanes of steps 0 .. 3 and 4 .. 7 by one two-source permute
// per two chains, each 256-bit half then holding 8 words of one chain.
// 8 in-lane shuffles and 4 permutes for 64 words (AVX2: 4 shuffles for
// 16), no conversion.
void words(const uint32_t (*start)[6], int32_t steps, uint32_t* out) {
    constexpr int kLowHalves = _MM_SHUFFLE(2, 0, 2, 0), kHighHalves = _MM_SHUFFLE(3, 1, 3, 1);
    constexpr int kQuads = kLanes / 4;  // runs of 4 steps per register of words
    [[maybe_unused]] const RoundingDown rounding_down;
    Chains c[kRegisters];
    load_chains(start, c);
    uint32_t* row[kChainCount];
    for (int j = 0; j < kChainCount; ++j) row[j] = out + static_cast<int64_t>(j) * steps;
    const auto store = [](uint32_t* to, auto words) { std::memcpy(to, &words, sizeof words); };
    for (int32_t i = 0; i < steps; i += kLanes) {
        Halves even[kRegisters][kQuads], odd[kRegisters][kQuads];  // steps 4k .. 4k + 3 in each lane
#pragma GCC unroll 2
        for (int k = 0; k < kQuads; ++k) {
            Halves z[kRegisters][4];
#pragma GCC unroll 4
            for (int s = 0; s < 4; ++s)
                for (int h = 0; h < kRegisters; ++h) z[h][s] = next_word_bits(c[h]);
            for (int h = 0; h < kRegisters; ++h) {
                // steps 0, 1 and 2, 3 of chains 2L, 2L + 1
                const Halves a = shuffle_in_lanes<kLowHalves>(z[h][0], z[h][1]);
                const Halves b = shuffle_in_lanes<kLowHalves>(z[h][2], z[h][3]);
                even[h][k] = shuffle_in_lanes<kLowHalves>(a, b);
                odd[h][k] = shuffle_in_lanes<kHighHalves>(a, b);
            }
        }
        for (int h = 0; h < kRegisters; ++h) {
            uint32_t* const* r = row + h * kLanes;
#if XEB_ISA_AVX512
            const __m512i rows_low = _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11);
            const __m512i rows_high = _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15);
            for (int parity = 0; parity < 2; ++parity) {
                const __m512i lanes_0_1 = _mm512_castps_si512(parity ? odd[h][0] : even[h][0]);
                const __m512i lanes_2_3 = _mm512_castps_si512(parity ? odd[h][1] : even[h][1]);
                // chains 2L + parity for L = 0, 1 and L = 2, 3
                const __m512i low = _mm512_permutex2var_epi64(lanes_0_1, rows_low, lanes_2_3);
                const __m512i high = _mm512_permutex2var_epi64(lanes_0_1, rows_high, lanes_2_3);
                store(r[parity] + i, __builtin_shufflevector(low, low, 0, 1, 2, 3));
                store(r[2 + parity] + i, __builtin_shufflevector(low, low, 4, 5, 6, 7));
                store(r[4 + parity] + i, __builtin_shufflevector(high, high, 0, 1, 2, 3));
                store(r[6 + parity] + i, __builtin_shufflevector(high, high, 4, 5, 6, 7));
            }
#else
            store(r[0] + i, _mm256_castps256_ps128(even[h][0]));
            store(r[1] + i, _mm256_castps256_ps128(odd[h][0]));
            store(r[2] + i, _mm256_extractf128_ps(even[h][0], 1));
            store(r[3] + i, _mm256_extractf128_ps(odd[h][0], 1));
#endif
        }
    }
}

// A flagged lane's z is the nearest integer to h/c, within z 2^-53 < 2^-21
// of it; the baseline's formula then gives the value.
void scaled_doubles(const uint32_t (*start)[6], int32_t steps, double* out, double c) {
    const long double wide_c = c;
    run_chains(
        start, steps, out,
        [c](D z, unsigned& flags) {
            const D h = z * c;
            const D l = simd::fms(z, simd::broadcast<D>(c), h);
            flags = simd::bits(simd::compare<simd::Cmp::Ne>(simd::fma(l, kNearMidpoint, h), h));
            return h;
        },
        [wide_c](double& h, const uint32_t*, int32_t) {
            h = static_cast<double>(nearbyintl(static_cast<long double>(h) / wide_c) * wide_c);
        });
}

// Floats from a = 0 (the argument is in rng/mrg32k3a.cpp): v = z hi, one
// product, within 1.5 ulps of double of z c; lanes whose v lies from 4
// ulps below a midpoint of the float grid to 3 above (the low 29 bits of
// its significand, plus 2^28 + 4, below 8 modulo 2^29: an add and a
// test), about one in 2^26, get z again by a jump of their chain's start
// and the baseline's formula.
void scaled_floats(const uint32_t (*start)[6], int32_t steps, float* out, double hi, long double c) {
    run_chains(
        start, steps, out,
        [hi](D z, unsigned& flags) {
            const D v = z * hi;
            const auto moved = simd::bitcast<uint64_t>(v) + uint64_t{0x10000004};
#if XEB_ISA_AVX512
            flags = _mm512_testn_epi64_mask(__m512i(moved.v), _mm512_set1_epi64(0x1FFFFFF8));
#else
            flags = simd::bits(simd::compare<simd::Cmp::Eq>(moved & uint64_t{0x1FFFFFF8}, uint64_t{0}));
#endif
            return simd::convert<float>(v);
        },
        [c](float& f, const uint32_t* chain_start, int32_t step) {
            uint32_t x[3] = {chain_start[0], chain_start[1], chain_start[2]};
            uint32_t y[3] = {chain_start[3], chain_start[4], chain_start[5]};
            rukiVect3PowMod(x, kCoefficients1, kM1, step + 1);
            rukiVect3PowMod(y, kCoefficients2, kM2, step + 1);
            const uint64_t z = x[2] > y[2] ? x[2] - y[2] : uint64_t{x[2]} + kM1 - y[2];
            f = static_cast<float>(z * c);
        });
}

}  // namespace

void fill_mrg32k3a_table(rng::Mrg32k3aTable& t) {
    t.chains = kChainCount;
    t.words = words;
    t.scaled_doubles = scaled_doubles;
    t.scaled_floats = scaled_floats;
}

}  // namespace XEB_ISA
}  // namespace xeb
