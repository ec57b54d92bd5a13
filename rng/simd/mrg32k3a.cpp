// MRG32K3A in the widest registers of one kernel class: 2 registers of
// chains side by side (16 chains with AVX-512, 8 with AVX2), each chain
// one lane and one stretch of the output, started by the baseline from the
// state jumped to its first element (rng/mrg32k3a.cpp).  The numbers are
// the sequence itself, the same in every class and for every split.
//
// Arithmetic in doubles.  AVX-512 rounds the quotient down in the fused
// multiply-add itself, so residues come out in 0 .. m - 1 and the
// combination takes one conditional add; AVX2 rounds it to nearest and
// takes three.
//
// AVX-512.  y is kept in 0 .. m2 - 1, and its step forms t = a21 y[n-1] +
// a23 (m2 - y[n-3]) (two fused multiply-adds from the constant a23 m2 <
// 2^53), an integer from 0 to below 1.9 2^52, exact.  With w the double
// 1/m2 rounded up, w = (1 + e)/m2 with 0 <= e < 1.07 2^-53, the fused
// multiply-add of t by w and 1.5 2^52 rounded down is 1.5 2^52 +
// floor(t w) (t w is below 2^21, where the doubles' spacing is 1).  For t
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
// AVX2.  A component's value is kept as a residue r with |r| <= m/2 + 2.
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
// skip the conversion: z + 2^52 (exact; AVX2 adds the 2^52 in the
// combination's constants) holds z in the low 32 bits of its double, and
// the transpose's first shuffle picks those halves.
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
using Words = simd::Vec<uint32_t, kLanes>;

constexpr double kRoundingShift = 0x1.8p52;  // x + 1.5 2^52 - 1.5 2^52: x to the nearest integer
constexpr double kNearMidpoint = 1 + 0x1p-10;  // the doubles' test, at the top

// t - round(t / m) m for |t| < 2^53, as argued at the top (AVX2).
template <uint32_t M>
[[gnu::always_inline]] inline D reduce(D t) {
    constexpr double kInverse = 1.0 / M;
    const D q = simd::fma(t, kInverse, kRoundingShift) - kRoundingShift;
    return simd::fnma(q, simd::broadcast<D>(double(M)), t);
}

// r + k in the lanes of m, r elsewhere: one masked add (AVX-512), or the
// constant's bits kept where m holds and added (AVX2).
[[gnu::always_inline]] inline D add_where(simd::MaskOf<double, kLanes> m, D r, double k) {
#if XEB_ISA_AVX512
    return D{_mm512_mask_add_pd(r.v, m.m, r.v, _mm512_set1_pd(k))};
#else
    return r + simd::select(m, simd::broadcast<D>(k), simd::broadcast<D>(0.0));
#endif
}

#if XEB_ISA_AVX512
// 1/m1 and 1/m2 rounded up: (1 + delta)/m with delta below 0.68 2^-53 and
// 1.07 2^-53.
constexpr double kInverseUp1 = 0x1.000000d10000bp-32, kInverseUp2 = 0x1.000059451f212p-32;

// t - floor(t (1/m rounded up)) m, the quotient rounded down in the fused
// multiply-add itself, as argued at the top.
template <uint32_t M>
[[gnu::always_inline]] inline D floor_reduce(D t, double inverse_up) {
    const D shifted = D{_mm512_fmadd_round_pd(t.v, _mm512_set1_pd(inverse_up), _mm512_set1_pd(kRoundingShift),
                                              _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC)};
    return simd::fnma(shifted - kRoundingShift, simd::broadcast<D>(double(M)), t);
}
#endif

struct Chains {
    D x[3], y[3];  // oldest first
#if XEB_ISA_AVX512
    // x in 0 .. m1 (m1 standing for 0), y in 0 .. m2 - 1.
    // A step's p and q: d = p - q, from 1 - m2 to m1, is z, or z - m1
    // where p <= q.
    [[gnu::always_inline]] inline void step_components(D& p, D& q) {
        p = floor_reduce<kM1>(simd::fma(x[0], -double(kA13), x[1] * double(kA12)), kInverseUp1);
        const D y_part = simd::fma(y[0], -double(kA23), double(uint64_t{kA23} * kM2));
        q = floor_reduce<kM2>(simd::fma(y[2], double(kA21), y_part), kInverseUp2);
        push(x, p);
        push(y, q);
    }
    [[gnu::always_inline]] inline D step() {
        D p, q;
        step_components(p, q);
        return add_where(simd::compare<simd::Cmp::Le>(p, q), p - q, double(kM1));
    }
#else
    // z + shift, shift 0 or 2^52 (exact either way).
    [[gnu::always_inline]] inline D step(double shift = 0) {
        const D p = reduce<kM1>(simd::fma(x[0], -double(kA13), x[1] * double(kA12)));
        const D q = reduce<kM2>(simd::fma(y[2], double(kA21), y[0] * -double(kA23)));  // y[n-1] last: its latency only
        push(x, p);
        push(y, q);
        // d = p - (q in 0 .. m2 - 1), from -m1/2 - m2 - 1 to m1/2 + 2, is
        // z less 0, 1 or 2 times m1; here with the shift added.
        const D q_less_shift = q + simd::select(simd::compare<simd::Cmp::Lt>(q, 0.0),
                                                simd::broadcast<D>(double(kM2) - shift), simd::broadcast<D>(0.0 - shift));
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
// The next step's z + 2^52, from 2^52 + 1 to 2^52 + m1 (exact): its low 32
// bits are z, so no conversion is needed.
[[gnu::always_inline]] inline __m512i next_word_bits(Chains& c) {
    constexpr double kWordShift = 0x1p52;
    D p, q;
    c.step_components(p, q);
    const D d = p - q;
    const __mmask8 wraps = _mm512_cmp_pd_mask(p.v, q.v, _CMP_LE_OQ);
    return _mm512_castpd_si512(_mm512_mask_add_pd(_mm512_add_pd(d.v, _mm512_set1_pd(kWordShift)), wraps, d.v,
                                                  _mm512_set1_pd(kWordShift + kM1)));
}

// Words with the transpose taking the low halves of z + 2^52 as it goes:
// steps 2j and 2j + 1 of a register's 8 chains make one register of 8
// pairs (one two-source permute), and two rounds of two-source permutes
// on the 4 pair registers leave each 256-bit half holding 8 consecutive
// words of one chain.  12 permutes and no conversion for 64 words, and 4
// registers of pairs live instead of 8 of words.
void words(const uint32_t (*start)[6], int32_t steps, uint32_t* out) {
    Chains c[kRegisters];
    load_chains(start, c);
    uint32_t* row[kChainCount];
    for (int j = 0; j < kChainCount; ++j) row[j] = out + static_cast<int64_t>(j) * steps;
    const __m512i low_words = _mm512_setr_epi32(0, 16, 2, 18, 4, 20, 6, 22, 8, 24, 10, 26, 12, 28, 14, 30);
    const __m512i pairs_low = _mm512_setr_epi64(0, 8, 1, 9, 2, 10, 3, 11);
    const __m512i pairs_high = _mm512_setr_epi64(4, 12, 5, 13, 6, 14, 7, 15);
    const __m512i rows_low = _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11);
    const __m512i rows_high = _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15);
    for (int32_t i = 0; i < steps; i += kLanes) {
        __m512i pairs[kRegisters][4];  // lane l of pairs[h][j]: steps 2j, 2j + 1 of chain l
#pragma GCC unroll 4
        for (int j = 0; j < 4; ++j) {
            __m512i even[kRegisters];
            for (int h = 0; h < kRegisters; ++h) even[h] = next_word_bits(c[h]);
            for (int h = 0; h < kRegisters; ++h)
                pairs[h][j] = _mm512_permutex2var_epi32(even[h], low_words, next_word_bits(c[h]));
        }
        for (int h = 0; h < kRegisters; ++h) {
            // chains 0 .. 3 and 4 .. 7, steps 0 .. 3 and 4 .. 7, by 128-bit pairs of pairs
            const __m512i a = _mm512_permutex2var_epi64(pairs[h][0], pairs_low, pairs[h][1]);
            const __m512i b = _mm512_permutex2var_epi64(pairs[h][0], pairs_high, pairs[h][1]);
            const __m512i e = _mm512_permutex2var_epi64(pairs[h][2], pairs_low, pairs[h][3]);
            const __m512i f = _mm512_permutex2var_epi64(pairs[h][2], pairs_high, pairs[h][3]);
            const __m512i two_rows[4] = {
                _mm512_permutex2var_epi64(a, rows_low, e), _mm512_permutex2var_epi64(a, rows_high, e),
                _mm512_permutex2var_epi64(b, rows_low, f), _mm512_permutex2var_epi64(b, rows_high, f)};
            for (int k = 0; k < 4; ++k) {
                uint32_t* const* r = row + h * kLanes + 2 * k;
                const __m512i v = two_rows[k];
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(r[0] + i), __m256i(__builtin_shufflevector(v, v, 0, 1, 2, 3)));
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(r[1] + i), __m256i(__builtin_shufflevector(v, v, 4, 5, 6, 7)));
            }
        }
    }
}
#else
// Words from z + 2^52 likewise: two rounds of in-lane shuffles of 4 steps
// of a register's 4 chains pick the low halves and leave each 128-bit half
// holding 4 consecutive words of one chain.  4 shuffles for 16 words.
void words(const uint32_t (*start)[6], int32_t steps, uint32_t* out) {
    Chains c[kRegisters];
    load_chains(start, c);
    uint32_t* row[kChainCount];
    for (int j = 0; j < kChainCount; ++j) row[j] = out + static_cast<int64_t>(j) * steps;
    constexpr int kLowHalves = _MM_SHUFFLE(2, 0, 2, 0), kHighHalves = _MM_SHUFFLE(3, 1, 3, 1);
    for (int32_t i = 0; i < steps; i += kLanes) {
        __m256 z[kRegisters][kLanes];  // lane l of z[h][s] (as two words): step s of chain l
#pragma GCC unroll 4
        for (int s = 0; s < kLanes; ++s)
            for (int h = 0; h < kRegisters; ++h) z[h][s] = _mm256_castpd_ps(__m256d(c[h].step(0x1p52).v));
        for (int h = 0; h < kRegisters; ++h) {
            // steps 0, 1 and 2, 3 of chains 0, 1 | 2, 3
            const __m256 a = _mm256_shuffle_ps(z[h][0], z[h][1], kLowHalves);
            const __m256 b = _mm256_shuffle_ps(z[h][2], z[h][3], kLowHalves);
            const __m256 even = _mm256_shuffle_ps(a, b, kLowHalves);  // chains 0 | 2
            const __m256 odd = _mm256_shuffle_ps(a, b, kHighHalves);  // chains 1 | 3
            const __m128 quarters[4] = {_mm256_castps256_ps128(even), _mm256_castps256_ps128(odd),
                                        _mm256_extractf128_ps(even, 1), _mm256_extractf128_ps(odd, 1)};
            for (int l = 0; l < kLanes; ++l)
                _mm_storeu_si128(reinterpret_cast<__m128i*>(row[h * kLanes + l] + i), _mm_castps_si128(quarters[l]));
        }
    }
}
#endif

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

// Floats from a = 0 (the argument is in rng/mrg32k3a.cpp): v = z hi + z lo,
// here in one fused multiply-add, within two ulps of double of z c; lanes
// whose v lies from 4 ulps below a midpoint of the float grid to 3 above
// (the low 29 bits of its significand, plus 2^28 + 4, below 8 modulo
// 2^29: an add and a test), about one in 2^26, get z again by a jump of
// their chain's start and the baseline's formula.
void scaled_floats(const uint32_t (*start)[6], int32_t steps, float* out, double hi, double lo, long double c) {
    run_chains(
        start, steps, out,
        [hi, lo](D z, unsigned& flags) {
            const D v = simd::fma(z, hi, z * lo);
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
