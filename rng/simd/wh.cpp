// WH's real fills in the widest double registers of one kernel class: one
// element per lane, the lanes of a register consecutive elements (two
// registers of chains, 8 with AVX2, 16 with AVX-512), the
// 64-bit-significand sum of rng/wh.cpp reproduced bit for bit: a cheap
// exact sum that decides nearly every element, and the pairs of
// rng/wide_pair.h, rounding as the x87 does, for the elements it cannot
// decide, gathered a register at a time.
//
// Components.  x <- a x mod m with x, a below m < 2^24: y = x a is exact,
// and y/m has its fractional part in [2^-24, 1 - 2^-24] (y is no multiple
// of the prime m).  t = y (1/m) - 0.5, one fused operation with the double
// 1/m, is within 2^-28 of y/m - 0.5, so its nearest integer (adding and
// taking off 1.5 2^52) is the quotient q, and y - q m the remainder, exact.
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
// bits and is exact too.  With d0 = T + L rounded and W = trunc(d0),
// T - W is exact (52 bits) and TwoSum gives (d, r) with d + r = S - W
// exactly, d = S - W rounded to double.
//
// How far s lies from S: each product is below 1 (x <= m - 1 and
// c <= (1 + 2^-53)/m), so its rounding to 64 bits moves it by at most
// 2^-65; the partial sums lie below 2, 3 and 4, so their roundings move by
// at most 2^-64, 2^-63 and 2^-63.  |s - S| <= 4 2^-65 + 2^-64 + 2 2^-63 =
// 7 2^-64 < B = 2^-61; the bound's spare 2^-64 covers the roundings of the
// few additions in the tests below (each below 2^-77).
//
// A lane is decided when
//  - d lies in [2^-36, 1 - 2^-36]: then s lies strictly between W + 2^-37
//    and W + 1 - 2^-37, so trunc(double(s)) = W, and the fraction
//    u = s - W the x87 forms is within B of S - W = d + r;
//  - double: |r| + B < ulp/2, the half-spacing of the doubles between d and
//    its neighbour towards the midpoint (that of the double below d, a
//    power of two's smaller one); the interval d + r +- B then holds no
//    midpoint, and u rounds to d;
//  - float (outputs in the normal floats, |w| >= 2^-88): with f = float(d),
//    |d - f| + |r| + B < the half-spacing of the floats below f: u lies
//    strictly nearer to f than to any midpoint, and rounds to f.
// Then u w, w a power of two, rounds to d w, or f w.  The other elements
// (about one in 30 for the double grid: the interval 2B against the
// spacing of u's binade, summed over the binades above 2^-8; the float
// grid, 2^29 times coarser, almost never) wait, their components kept,
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
// Independent registers of chains side by side: one element's sum is a
// chain of dependent operations, and the processor overlaps those of
// different registers within one step.
constexpr int kRegisters = 2;
static_assert(kLanes * kRegisters <= rng::kWhMostLanes, "chains of a WhLanes");

using D = simd::Vec<double, kLanes>;
using U = simd::Vec<uint64_t, kLanes>;
using Pair = wide::Pair<kLanes>;
using Flags = simd::MaskOf<double, kLanes>;
using Components = D[4];

constexpr double kSumBound = 0x1p-61;  // B above
constexpr double kFractionMargin = 0x1p-36;

// Per lane constants: multipliers, moduli, reciprocals c and their parts.
struct Constants {
    D a[4], m[4], c[4], c_head[4], c_tail[4];
};

[[gnu::always_inline]] inline D next(D x, D a, D m, D inverse) {
    constexpr double kRoundingShift = 0x1.8p52;
    const D y = x * a;
    const D q = (simd::fma(y, inverse, simd::broadcast<D>(-0.5)) + kRoundingShift) - kRoundingShift;
    return simd::fnma(q, m, y);
}

D magnitude(D v) {
    return simd::bitcast<double>(simd::bitcast<uint64_t>(v) & 0x7FFFFFFFFFFFFFFFull);
}

// Half the spacing of a grid of `bits` significant bits between v > 0 and
// the number below it (for a power of two, that of the binade below, the
// smaller of v's two spacings).
template <int Bits>
D half_spacing_below(D v) {
    const U below = simd::bitcast<uint64_t>(v) - uint64_t{1};
    return simd::bitcast<double>((below & wide::kExponentBits) - (uint64_t{Bits} << 52));
}

// The cheap path: S - W = d + r exactly, and the lanes whose fraction
// might not lie in [2^-36, 1 - 2^-36].
struct Cheap {
    D d, r;
    Flags undecided;
};

[[gnu::always_inline]] inline Cheap cheap_fraction(const Components& x, const Constants& k) {
    D head = x[3] * k.c_head[3], tail = x[3] * k.c_tail[3];
    for (int i = 2; i >= 0; --i) {
        head = simd::fma(x[i], k.c_head[i], head);
        tail = simd::fma(x[i], k.c_tail[i], tail);
    }
    const D whole = simd::convert<double>(simd::convert<int32_t>(head + tail));
    const Pair u = wide::two_sum(head - whole, tail);
    const Flags off = simd::compare<simd::Cmp::Gt>(magnitude(u.hi - 0.5), 0.5 - kFractionMargin);
    return {u.hi, u.lo, off};
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
struct DoubleOutput {
    using Out = double;
    static constexpr bool kGather = true;  // about one lane in 30 undecided
    double* out;
    D w;
    double a;
    unsigned store_cheap(int64_t i, const Cheap& c) const {
        const D slack = magnitude(c.r) + kSumBound;
        const Flags near = simd::compare<simd::Cmp::Ge>(slack, half_spacing_below<53>(c.d));
        simd::store(out + i, c.d * w);
        return simd::bits(near | c.undecided);
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
        const simd::Vec<float, kLanes> f = simd::convert<float>(c.d);
        const D back = simd::convert<double>(f);
        const D slack = (magnitude(c.d - back) + magnitude(c.r)) + kSumBound;
        const Flags near = simd::compare<simd::Cmp::Ge>(slack, half_spacing_below<24>(back));
        simd::store(out + i, f * w_float);
        return simd::bits(near | c.undecided);
    }
    simd::Vec<float, kLanes> exact(Pair u) const { return wide::to_float(u) + a; }
};

// A few steps' components, kept so that the undecided lanes among them
// are taken up after the steps: one branch per block, taken nearly always
// and so rarely mispredicted, where a branch per register is taken for
// about one register in four and its mispredictions cost more than the
// exact path itself.
constexpr int kBlockSteps = 4;
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
    [[gnu::noinline]] void add(const Block& b, int64_t base, uint64_t lanes, const Output& output, const Constants& k) {
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
            xs[i] = simd::load<D>(x[i]);
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
