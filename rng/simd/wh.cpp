// WH's real fills in the widest double registers of one kernel class: one
// element per lane, the lanes of a register consecutive elements (8
// chains: two registers with AVX2, one with AVX-512, whose constants then
// all stay in registers), the
// 64-bit-significand sum of rng/wh.cpp reproduced bit for bit: a cheap
// exact sum that decides nearly every element, and the pairs of
// rng/wide_pair.h, rounding as the x87 does, for the elements it cannot
// decide, gathered a register at a time.
//
// Components.  x <- a x mod m with x, a from 1 to m - 1, m < 2^24 prime:
// y = x a < m^2 < 2^48 is exact, y = k m + r with 1 <= r <= m - 1 (y is
// no multiple of m).  With c the double nearest 1/m, c = (1 + e)/m with
// |e| <= 2^-53, y c = k + r/m + e y/m, and |e y/m| < 2^-53 m < 2^-29 is
// less than both r/m and 1 - r/m, which are at least 1/m > 2^-24: y c lies
// strictly between k and k + 1, 2^-24 - 2^-29 away from each, and so does
// its rounding to double (an error of at most 2^-30 below 2^24).  Its
// floor is the quotient k, and y - k m (one fused operation) the remainder
// r, exact: a product, a product, a rounding down and a fused
// multiply-add.  (1/m rounded up or down instead would serve as well: the
// argument needs only |e| < 2^-49.)
//
// The reference sum s = ((x4 c4 + x3 c3) + x2 c2) + x1 c1, each product
// and each sum rounded to the 64-bit significand.  The c_i = 1/m_i are
// doubles in [2^-24, 2^-23), multiples of 2^-76.
//
// Cheap path: the exact sum S = x1 c1 + x2 c2 + x3 c3 + x4 c4 as T + L,
// both exact.  Split c = h + l with h = c rounded to a multiple of 2^-50
// ((c + 6) - 6) and |l| <= 2^-51 a multiple of 2^-76.  Each x h (x below
// 2^24) is a multiple of 2^-50 below 1, so T = sum x_i h_i, a multiple of
// 2^-50 below 4, has 52 bits and every fused step is exact; each x l is a
// multiple of 2^-76 below 2^-27, so L = sum x_i l_i, below 2^-25, has 51
// bits and is exact too.  With W = trunc(T), t = T - W is exact (a
// multiple of 2^-50 in [0, 1)), and Fast2Sum gives (d, r) with d + r =
// S - W exactly, d = S - W rounded to double: d = t + L rounded is a
// multiple of 2^-76 (exact below 2^-24; a double above, whose spacing is
// at least 2^-76), so d - t, a multiple of 2^-76 within 2 |L| < 2^-24, is
// exact, and so is r = L - (d - t), the rounding error.  r is a multiple
// of 2^-76 with |r| <= ulp(d)/2.
//
// How far s lies from S: each product is below 1 (x <= m - 1 and
// c <= (1 + 2^-53)/m), so its rounding to 64 bits moves it by at most
// 2^-65; the partial sums lie below 2, 3 and 4, so their roundings move by
// at most 2^-64, 2^-63 and 2^-63.  |s - S| <= 4 2^-65 + 2^-64 + 2 2^-63 =
// 7 2^-64 < B = 2^-61.
//
// A lane is decided when
//  - d lies in [2^-36, 1 - 2^-36] (where T lies within 2^-25 of an
//    integer, W may not be the integer part of S, but then d is outside):
//    then s lies strictly between W + 2^-37
//    and W + 1 - 2^-37, so trunc(double(s)) = W, and the fraction
//    u = s - W the x87 forms is within B of S - W = d + r;
//  - double: |r| + B (exact: multiples of 2^-76 below 2^-53) < the
//    half-spacing of the doubles below d (a power of two's smaller one);
//    the interval d + r +- B then holds no midpoint, and u rounds to d.
//    One unsigned compare of d's bits less one tests 0 < d <= 1 - 2^-36;
//    the spacing test fails below 2^-36 (a half-spacing under 2^-89);
//  - float (outputs in the normal floats, |w| >= 2^-88): float(d - C) =
//    float(d + C) with C = 2^-52.  The two sums, rounded to double, lie
//    below and above every value u may take (|r| + B + 2^-54 < C with
//    d < 1), and rounding to float is monotonic, so u rounds to that same
//    float: two conversions and one compare, no r.
// Then u w, w a power of two, rounds to d w, or f w.  The other elements
// (9/256, one in 28.4 for the double grid, as measured over 10^6: B
// against the half-spacing in u's binade gives 2^-8 from each of the 8
// binades from 2^-8 to 1 and from all below; the float grid, 2^29 times
// coarser, almost never) wait, their
// components kept,
// until a register of them can go through the exact path together.
//
// Exact path: every product x c (x an integer from 1 to 2^24) lies in
// [2^-24, 1), so its 64-bit rounding is a multiple of 2^(-24-63) = 2^-87,
// and so is every sum of such values.  The sum of two rounded pairs
// (sh, sl) + (th, tl), all values positive and below 4: TwoSum gives
// S' + E = sh + th exactly; |E| <= ulp(S')/2 <= 2^-52 and |sl|, |tl| <= 2^-52,
// so E + (sl + tl) is a multiple of 2^-87 below 2^-50 in magnitude: 37
// bits, exact in one double.  S' >= 2^-24 exceeds it, so Fast2Sum
// renormalises exactly before the rounding to 64 bits.
//
// No product rounds to a power of two 2^k from below, so its rounding needs
// no look at the binade below: with c = (1 + e)/m, |e| <= 2^-53, that
// would put x/m within 2^(k-51) of 2^k, and the integer x within
// m 2^(k-51) < 2^-27 of m 2^k, which for -24 <= k < 0 is no integer (m is
// odd) and for k = 0 is m itself, above every component.
//
// Output.  With d = s rounded to double (hi + lo), the integer part is
// trunc(d) in 0 .. 3, and u = s - trunc(d) is (hi - trunc(d)) + lo, the
// head exact (both on hi's grid, the difference below 1, or Sterbenz's
// lemma where d rounded up to an integer).  u w and u w + a (a a zero) are
// exact in the x87 too, so the result is u w rounded once: to double
// by hi + lo, to float through rounding to odd (rng/wide_pair.h).
#include "frame/simd.h"
#include "rng/wh_class.h"
#include "rng/wide_pair.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

constexpr int kLanes = simd::kNative<double>;
// 8 chains: with AVX-512 one register, whose 20 constants and the
// working registers fit the 32 without spilling (two registers spilled and
// ran 7% slower); with AVX2 two registers side by side, whose steps the
// processor overlaps (one ran 15% slower).
constexpr int kRegisters = 8 / kLanes;
static_assert(kLanes * kRegisters <= rng::kWhMostLanes, "chains of a WhLanes");

using D = simd::Vec<double, kLanes>;
using U = simd::Vec<uint64_t, kLanes>;
using Pair = wide::Pair<kLanes>;
using Flags = simd::MaskOf<double, kLanes>;
using Components = D[4];

constexpr double kSumBound = 0x1p-61;  // B above
constexpr double kFractionMargin = 0x1p-36;
constexpr double kFloatSlack = 0x1p-52;

// Per lane constants: multipliers, moduli, reciprocals c and their parts.
struct Constants {
    D a[4], m[4], c[4], c_head[4], c_tail[4];
};

// v rounded down (Mode: floor) or towards zero (truncation) to an
// integer, one instruction.
template <int Mode>
[[gnu::always_inline]] inline D round_lanes(D v) {
#if XEB_ISA_AVX512
    return D{_mm512_maskz_roundscale_pd(0xFF, v.v, Mode | _MM_FROUND_NO_EXC)};
#else
    return D{_mm256_round_pd(v.v, Mode | _MM_FROUND_NO_EXC)};
#endif
}

[[gnu::always_inline]] inline D next(D x, D a, D m, D inverse) {
    const D y = x * a;
    return simd::fnma(round_lanes<_MM_FROUND_TO_NEG_INF>(y * inverse), m, y);
}

D magnitude(D v) {
    return simd::bitcast<double>(simd::bitcast<uint64_t>(v) & 0x7FFFFFFFFFFFFFFFull);
}

// The cheap path: S - W = d + r exactly, and the lanes whose fraction
// might not lie in [2^-36, 1 - 2^-36].
struct Cheap {
    D d, r;
};

[[gnu::always_inline]] inline Cheap cheap_fraction(const Components& x, const Constants& k) {
    D head = x[3] * k.c_head[3], tail = x[3] * k.c_tail[3];
    for (int i = 2; i >= 0; --i) {
        head = simd::fma(x[i], k.c_head[i], head);
        tail = simd::fma(x[i], k.c_tail[i], tail);
    }
    const Pair u = wide::fast_two_sum(head - round_lanes<_MM_FROUND_TO_ZERO>(head), tail);
    return {u.hi, u.lo};
}

// The exact path: u (the sum less its integer part) times w, as an
// unrounded pair.
[[gnu::always_inline]] inline Pair exact_fraction(const Components& x, const Constants& k, D w) {
    Pair s = wide::round_to_64<false>(wide::exact_product(x[3], k.c[3]));
    for (int i = 2; i >= 0; --i) s = wide::sum_to_64(s, wide::round_to_64<false>(wide::exact_product(x[i], k.c[i])));
    const D whole = simd::convert<double>(simd::convert<int32_t>(s.hi + s.lo));
    return {(s.hi - whole) * w, s.lo * w};
}

// An output writes the decided lanes' values (and, to be overwritten, the
// others') and answers the undecided ones as bits; and forms a register's
// values from the exact path.
constexpr unsigned kAllLanes = (1u << kLanes) - 1;

// The lanes whose d lies in (0, 1 - 2^-36], and the bits of d less one.
[[gnu::always_inline]] inline U bits_below(D d) { return simd::bitcast<uint64_t>(d) - uint64_t{1}; }
[[gnu::always_inline]] inline Flags below_top(U below) {
    return simd::compare<simd::Cmp::Lt>(below, __builtin_bit_cast(uint64_t, 1 - kFractionMargin));
}

struct DoubleOutput {
    using Out = double;
    static constexpr bool kGather = true;  // one lane in 28 undecided
    double* out;
    D w;
    double a;
    unsigned store_cheap(int64_t i, const Cheap& c) const {
        const U below = bits_below(c.d);
        const D half_spacing = simd::bitcast<double>((below & wide::kExponentBits) - (uint64_t{53} << 52));
        const Flags clear = simd::compare<simd::Cmp::Lt>(magnitude(c.r) + kSumBound, half_spacing);
        simd::store(out + i, c.d * w);
        return ~simd::bits(below_top(below) & clear) & kAllLanes;
    }
    D exact(Pair u) const { return (u.hi + u.lo) + a; }
};

struct FloatOutput {
    using Out = float;
    static constexpr bool kGather = false;  // next to none undecided
    float* out;
    D w;
    float a;
    bool cheap;  // f w a normal float for every f = float(u), u >= 2^-37
    simd::Vec<float, kLanes> w_float;
    unsigned store_cheap(int64_t i, const Cheap& c) const {
        const simd::Vec<float, kLanes> low = simd::convert<float>(c.d - kFloatSlack);
        const simd::Vec<float, kLanes> high = simd::convert<float>(c.d + kFloatSlack);
        const U from_bottom = simd::bitcast<uint64_t>(c.d) - __builtin_bit_cast(uint64_t, kFractionMargin);
        const Flags in_range = simd::compare<simd::Cmp::Le>(
            from_bottom, __builtin_bit_cast(uint64_t, 1 - kFractionMargin) - __builtin_bit_cast(uint64_t, kFractionMargin));
        simd::store(out + i, low * w_float);
        return ~(simd::bits(in_range) & simd::bits(simd::compare<simd::Cmp::Eq>(low, high))) & kAllLanes;
    }
    simd::Vec<float, kLanes> exact(Pair u) const { return wide::to_float(u) + a; }
};

// A few steps' components, kept so that the undecided lanes among them
// are taken up after the steps: one branch per block, taken nearly always
// and so rarely mispredicted, where a branch per register is taken for
// about one register in four and its mispredictions cost more than the
// exact path itself.  64 lanes a block; the gathering inlined in the loop
// (a call made it reload every constant register after it: 4% slower).
// Without the undecided lanes the AVX-512 double fill would take 0.7 of
// its time; most of the rest is the 20 multiplications and fused
// operations per register, the multiplier units' limit.
constexpr int kBlockSteps = 64 / (kRegisters * kLanes);
constexpr int kBlockRegisters = kBlockSteps * kRegisters;
static_assert(kBlockRegisters * kLanes <= 64, "a block's lanes in one word");

struct Block {
    double x[kBlockRegisters][4][kLanes];
};

// The elements the cheap path left, gathered until they fill a register
// for the exact path: their components and places.
struct Undecided {
    double x[4][kLanes];
    int64_t at[kLanes];
    int count = 0;

    // Lane j of the block (set in `lanes`) is element base + j.
    template <class Output>
    void add(const Block& b, int64_t base, uint64_t lanes, const Output& output, const Constants& k) {
        for (; lanes != 0; lanes &= lanes - 1) {
            const int j = __builtin_ctzll(lanes);
            for (int i = 0; i < 4; ++i) x[i][count] = b.x[j / kLanes][i][j % kLanes];
            at[count] = base + j;
            if (++count == kLanes) settle(output, k);
        }
    }

    template <class Output>
    void settle(const Output& output, const Constants& k) {
        Components xs;
        for (int i = 0; i < 4; ++i) {
            for (int j = count; j < kLanes; ++j) x[i][j] = x[i][0];  // a partial register's spare lanes
            xs[i] = simd::from_lanes<D>(x[i]);
        }
        typename Output::Out values[kLanes];
        simd::store(values, output.exact(exact_fraction(xs, k, output.w)));
        for (int j = 0; j < count; ++j) output.out[at[j]] = values[j];
        count = 0;
    }
};

template <class Output>
void run(rng::WhLanes& st, int32_t steps, const Output& output) {
    Components x[kRegisters];
    Constants k;
    for (int i = 0; i < 4; ++i) {
        for (int h = 0; h < kRegisters; ++h) x[h][i] = simd::load<D>(st.x[i] + h * kLanes);
        const double c = st.reciprocal[i], c_head = (c + 6.0) - 6.0;
        k.c[i] = simd::broadcast<D>(c);
        k.c_head[i] = simd::broadcast<D>(c_head);
        k.c_tail[i] = simd::broadcast<D>(c - c_head);
        k.a[i] = simd::broadcast<D>(st.stride[i]);
        k.m[i] = simd::broadcast<D>(st.modulus[i]);
    }
    auto advance = [&x, &k] {
        for (int h = 0; h < kRegisters; ++h)
            for (int i = 0; i < 4; ++i) x[h][i] = next(x[h][i], k.a[i], k.m[i], k.c[i]);
    };
    if constexpr (!Output::kGather) {
        // A register with an undecided lane again by the exact path.
        for (int32_t step = 0; step < steps; ++step) {
            for (int h = 0; h < kRegisters; ++h) {
                const int64_t at = (static_cast<int64_t>(step) * kRegisters + h) * kLanes;
                if (!output.cheap || output.store_cheap(at, cheap_fraction(x[h], k)) != 0) [[unlikely]]
                    simd::store(output.out + at, output.exact(exact_fraction(x[h], k, output.w)));
            }
            advance();
        }
    } else {
        Undecided undecided;
        Block block;
        for (int32_t first = 0; first < steps; first += kBlockSteps) {
            const int block_steps = steps - first < kBlockSteps ? steps - first : kBlockSteps;
            const int64_t base = static_cast<int64_t>(first) * kRegisters * kLanes;
            uint64_t left = 0;
            for (int step = 0; step < block_steps; ++step) {
                for (int h = 0; h < kRegisters; ++h) {
                    const int r = step * kRegisters + h;
                    left |= uint64_t{output.store_cheap(base + r * kLanes, cheap_fraction(x[h], k))} << (r * kLanes);
                    for (int i = 0; i < 4; ++i) simd::store(block.x[r][i], x[h][i]);
                }
                advance();
            }
            if (left != 0) undecided.add(block, base, left, output, k);
        }
        if (undecided.count > 0) undecided.settle(output, k);
    }
    for (int i = 0; i < 4; ++i) st.x[i][0] = simd::lane(x[0][i], 0);
}

void doubles(rng::WhLanes& st, int32_t steps, double* out, double w, double a) {
    run(st, steps, DoubleOutput{out, simd::broadcast<D>(w), a});
}

void floats(rng::WhLanes& st, int32_t steps, float* out, double w, float a) {
    const bool normal = w >= 0x1p-88 || w <= -0x1p-88;
    run(st, steps, FloatOutput{out, simd::broadcast<D>(w), a, normal, simd::broadcast<simd::Vec<float, kLanes>>(static_cast<float>(w))});
}

}  // namespace

void fill_wh_table(rng::WhTable& t) {
    t.lanes = kLanes * kRegisters;
    t.doubles = doubles;
    t.floats = floats;
}

}  // namespace XEB_ISA
}  // namespace xeb
