// Error function and its complement in the SIMD kernel classes (see
// frame/class_frame.h for the frame and the recipe), on the baseline's
// rows (vecmath/erf_tables.inc, through vecmath/erf_shared.h): each lane's
// row is loaded whole and the rows of a register transposed into columns
// (read_rows), which costs a few shuffles per coefficient where a gather
// costs tens of cycles.  Pairs are formed with fused products (a b -
// round(a b) exact) where the baseline splits.  The single forms run the
// double code on their widened arguments and round once to float.
//
// Erf, |x| in [2^-40, 5.921587195794508):
//   below 0.125   2/sqrt(pi) x as an exact pair (the constant's high part)
//                 + (-2/(3 sqrt(pi)) x^3 + x^5 S(x^2));
//   above         the row of |x| (four a binade): value + t (slope + t
//                 curve) in pairs, t = |x| - c exact, + t^3 Q(t).
//   Both are computed for every lane and one is kept.
// Error budget (relative): the rows' fits below 2^-57.2, the series'
// 2^-69.9; the roundings of t^3 Q(t) (below 0.02 of the result), of x^3
// in the series (a term below 0.0053 of it) and of the pair steps: below
// 0.012 ulp together; with the rounding at the store 0.52 ulp, bound 0.6.
// Single: one more rounding of that double: below 0.51 ulp of a float.
//
// Erfc, |x| in [2^-70, 26.54325845425098) (double) or [2^-70,
// 10.054194928818097) (single, its own rows): row i = floor(4 log2(1 +
// |x|)) from the exponent of (1 + |x|)^4; P(t) of degree 15, t = |x| - c
// as a pair; the double kernel sums orders 0 to 4 as pairs (with order 4
// plain it reaches 0.68 ulp at the top of row 5), the single one none.  Rows 6 to 19
// approximate exp(x^2) erfc(|x|) and are multiplied by exp(-x^2) as a
// pair: x^2 = h + l exactly, n = round(-h 16/ln 2), r = -x^2 - n ln 2/16
// as a pair (n times the 38-bit high part exact, n below 2^15), the class
// exponential's 2^(i/16) = H (1 + tail) by register permutes, e^r - 1 = r
// + r^2 E(r) with E Taylor's to r^9 (2^-77 on |r| <= ln 2/32), and
// 2^(n >> 4) applied last so that nothing before leaves the normal range.
// Rows 0 to 5 multiply by the pair (1, 0), which changes nothing.
// Negative x: 2 - that, with |x| taken at most 6 (double) or 4 (single),
// where 2 - erfc(|x|) already rounds to 2.
// Error budget (relative to erfc(|x|)): fits below 2^-62.3; the low part
// of the exponential rounded once, 2^-53 of a part below 0.022 of it:
// 2^-58.5; the plain orders' roundings, largest at the top of row 5; with
// the rounding at the store: bound 0.6, measured 0.55 (docs/accuracy.md).
// Single: the sum in doubles (2^-45 relative) rounded once to float:
// below 0.51 ulp.  Outside these domains (zeros, tiny, beyond the limits,
// double denormal results, infinities, NaNs) the one-element path hands
// the value to the baseline's routine, which also decides event 4.
#include <cstdint>
#include <utility>

#include "frame/class_frame.h"
#include "vecmath/erf_shared.h"
#include "vecmath/explog_shared.h"
#include "vecmath/kernel_table.h"
#include "vecmath/simd/lanes.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

using namespace simd;
using namespace lanes;
using class_frame::Arrays;
namespace ed = erfdata;
namespace ex = explog;

constexpr uint64_t kAbs = 0x7FFFFFFFFFFFFFFFull;
constexpr uint64_t kSign = 0x8000000000000000ull;
constexpr uint64_t kInfBits = 0x7FF0000000000000ull;
constexpr uint32_t kAbsF = 0x7FFFFFFFu;
constexpr uint32_t kInfF = 0x7F800000u;

// Fast domains, as bits of |x|: [from, below).
constexpr uint64_t kErfFrom = 0x3D70000000000000ull;   // 2^-40
constexpr uint64_t kErfBelow = 0x4017AFB48DC96628ull;  // 5.921587195794508: +-1 from here
constexpr uint32_t kErfFromF = 0x2B800000u;            // 2^-40
constexpr uint32_t kErfBelowF = 0x40BD7DA5u;           // the least float from that limit
constexpr uint64_t kErfcFrom = 0x3B90000000000000ull;  // 2^-70: 1 + x below
constexpr uint64_t kErfcBelow = 0x403A8B12FC6E4892ull; // 26.54325845425098: denormal results from here
constexpr uint32_t kErfcFromF = 0x1C800000u;           // 2^-70
constexpr uint32_t kErfcBelowF = 0x4120DDFCu;          // the least float from 10.054194928818097: event 4

constexpr double kSeriesBelow = 0.125;
constexpr double kErfLimit = 0x1.7afb48dc96628p+2;              // 5.921587195794508
constexpr double kErfcRowsEnd = 0x1.a8b12fc6e4892p+4;           // 26.54325845425098
constexpr double kErfcRowsEndSingle = 0x1.41bbf700dc3fbp+3;     // 10.054194928818097
constexpr uint64_t kFirstRowHigh = 0x3FC00000;  // high word of 0.125; 2^18 of it per row
constexpr int kErfRowSize = 19, kErfcRowSize = 23;  // doubles
constexpr int kErfcRowStride = sizeof(ed::ErfcRow) / sizeof(double);
constexpr uint64_t kLastDirectRow = 5;
constexpr int kPairOrders = 5, kPairOrdersSingle = 0;  // Erfc's orders summed as pairs              // Erfc rows up to here expand erfc itself

constexpr double kShifter = 0x1.8p52;  // its low bits take n
constexpr uint64_t kExponentField = 0xFFF0000000000000ull;
constexpr uint64_t kOneBits = 0x3FF0000000000000ull;
// 1/2!, 1/3!, ..., 1/9!: e^r - 1 - r - r^2 E(r) below 2^-77 |r| on
// |r| <= ln 2/32.
constexpr double kExpTaylor[8] = {0x1p-1, 0x1.5555555555555p-3, 0x1.5555555555555p-5, 0x1.1111111111111p-7,
                                  0x1.6c16c16c16c17p-10, 0x1.a01a01a01a01ap-13, 0x1.a01a01a01a01ap-16,
                                  0x1.71de3a556c734p-19};

// Lanes whose |x| lies outside [from, below), bounds as bits: one
// unsigned compare.
template <class T, int N, class B>
MaskOf<T, N> outside(Vec<T, N> x, B from, B below) {
    return compare<Cmp::Ge>((bitcast<B>(x) & (~B{0} >> 1)) - from, below - from);
}

// a + b = hi + lo exactly.
template <int N>
struct PairV {
    D<N> hi, lo;
};
template <int N>
XEB_INLINE PairV<N> two_sum(D<N> a, D<N> b) {
    const D<N> s = a + b;
    const D<N> bb = s - a;
    return {s, (a - (s - bb)) + (b - bb)};
}

// c + (hi + lo) t for a pair c and t = th + tl: the product's head exact
// by a fused product, the low parts' product left out.
template <int N>
XEB_INLINE PairV<N> add_times(D<N> c_hi, D<N> c_lo, PairV<N> s, D<N> th, D<N> tl) {
    const D<N> m = s.hi * th;
    const D<N> me = fma(s.hi, tl, fma(s.lo, th, fms(s.hi, th, m)));
    const PairV<N> sum = two_sum(c_hi, m);
    return {sum.hi, sum.lo + (c_lo + me)};
}

// c + p t for a pair c, the sum so far p and t, as a pair: the same terms
// as add_times, but every piece of the low part that does not involve p.lo
// is summed first, so that p.lo waits for one fused product per order
// rather than for the whole two_sum.
template <int N>
XEB_INLINE PairV<N> horner_pair_step(D<N> c_hi, D<N> c_lo, PairV<N> p, PairV<N> t) {
    const D<N> m = p.hi * t.hi;
    const PairV<N> sum = two_sum(c_hi, m);
    const D<N> side = sum.lo + (c_lo + fma(p.hi, t.lo, fms(p.hi, t.hi, m)));
    return {sum.hi, fma(p.lo, t.hi, side)};
}

// ---------------------------------------------------------------- rows

// The rows of N lanes as columns: rows are loaded whole, N doubles at a
// time, and transposed by log2(N) rounds of two-register shuffles (round
// `Bit` exchanges bit Bit of the lane with bit Bit of the column), which
// costs a few instructions per column where a gather costs tens.  The
// loops over lanes, columns and coefficients are unrolled whole (the
// pragmas): GCC at -O2 would otherwise keep these arrays of registers in
// memory and lose the gain.
template <int Bit, int N, int... K>
XEB_INLINE void exchange(D<N>& a, D<N>& b, std::integer_sequence<int, K...>) {
    const auto low = __builtin_shufflevector(a.v, b.v, ((K & Bit) ? N + (K ^ Bit) : K)...);
    const auto high = __builtin_shufflevector(a.v, b.v, ((K & Bit) ? N + K : (K ^ Bit))...);
    a.v = low;
    b.v = high;
}
template <int Bit, int N>
XEB_INLINE void transpose_from(D<N> (&r)[N]) {
    if constexpr (Bit < N) {
        #pragma GCC unroll 32
        for (int i = 0; i < N; ++i)
            if ((i & Bit) == 0) exchange<Bit>(r[i], r[i | Bit], std::make_integer_sequence<int, N>{});
        transpose_from<2 * Bit>(r);
    }
}

// col[k][l] = base[row[l] Stride + k]: the Cols doubles of each lane's row
// (Cols at least N; the last block overlaps the one before it, so nothing
// past a row is read).
template <int Stride, int Cols, int N>
XEB_INLINE void read_rows(const double* base, U<N> row, D<N> (&col)[Cols]) {
    static_assert(Cols >= N, "rows at least a register long");
    #pragma GCC unroll 32
    for (int first = 0; first < Cols; first += N) {
        const int j = first + N <= Cols ? first : Cols - N;
        D<N> r[N];
        #pragma GCC unroll 32
        for (int l = 0; l < N; ++l) r[l] = load<D<N>>(base + lane(row, l) * Stride + j);
        transpose_from<1>(r);
        #pragma GCC unroll 32
        for (int k = 0; k < N; ++k) col[j + k] = r[k];
    }
}

// ---------------------------------------------------------------- erf

// erf(ax) for ax in [2^-40, the limit).
template <int N>
XEB_INLINE D<N> erf_magnitude(D<N> ax) {
    // The series.
    const ed::Pair& lead = ed::erfSeriesLead[0];
    const ed::Pair& cubic = ed::erfSeriesLead[1];
    const double* s = ed::erfSeries;
    const D<N> z = ax * ax, x3 = ax * z;
    const D<N> p = x3 * z * fma(z, fma(z, fma(z, fma(z, s[4], s[3]), s[2]), s[1]), s[0]);
    const D<N> linear = ax * lead.hi;
    const D<N> small = fma(ax, D<N>{} + lead.lo, fma(x3, D<N>{} + cubic.lo, p)) + fms(ax, D<N>{} + lead.hi, linear);
    const D<N> series = linear + fma(x3, D<N>{} + cubic.hi, small);

    // The rows.
    // Lanes of the series, and those bound for the one-element path (NaNs
    // too), read row 0.
    const MaskOf<double, N> in_series = compare<Cmp::Lt>(ax, kSeriesBelow);
    const MaskOf<double, N> elsewhere = in_series | ~compare<Cmp::Lt>(ax, kErfLimit);
    const U<N> b = bitcast<uint64_t>(select(elsewhere, broadcast<D<N>>(kSeriesBelow), ax));
    D<N> c[kErfRowSize];  // ErfRow's fields in order
    read_rows<kErfRowSize>(&ed::erfRows[0].minus_c, ((b >> 32) - kFirstRowHigh) >> 18, c);
    const D<N> t = ax + c[0];  // exact: ax and c within a factor of 2
    D<N> q = c[18];
    #pragma GCC unroll 32
    for (int k = 17; k >= 7; --k) q = fma(q, t, c[k]);
    const D<N> higher = q * (t * t * t);
    const D<N> zero{};
    PairV<N> v = add_times(c[3], c[4], {c[5], c[6]}, t, zero);
    v = add_times(c[1], c[2], v, t, zero);
    const D<N> rows = v.hi + (v.lo + higher);
    return select(in_series, series, rows);
}

XEB_INLINE double erf_outside(double a) {
    const uint64_t magnitude = bits(a) & kAbs;
    if (magnitude > kInfBits) return a + a;
    if (magnitude == kInfBits) return a < 0 ? -1.0 : 1.0;
    if (magnitude == 0) return a;
    return ed::erf_scalar(a);
}

struct ErfD {
    using V = D<kNative<double>>;
    [[maybe_unused]] static constexpr const char* name = "_xebdErf_HA";  // raises no event
    static constexpr double filler = 1.0;

    template <int N>
    static MaskOf<double, N> special(D<N> x) {
        return outside(x, kErfFrom, kErfBelow);
    }
    template <int N>
    XEB_INLINE static D<N> compute(D<N> x) {
        const U<N> b = bitcast<uint64_t>(x);
        const D<N> r = erf_magnitude(bitcast<double>(b & kAbs));
        return bitcast<double>(bitcast<uint64_t>(r) | (b & kSign));
    }
    static void one(double a, int i, const Arrays<double>& x) { x.y[i] = erf_outside(a); }
};

// The double code on each half of a register of floats, rounded once.
template <class K, int N>
XEB_INLINE F<N> on_halves(F<N> x) {
    if constexpr (N == 1) {
        return convert<float>(K::compute(convert<double>(x)));
    } else {
        return join(convert<float>(K::compute(convert<double>(half<0>(x)))),
                    convert<float>(K::compute(convert<double>(half<1>(x)))));
    }
}

struct ErfS {
    using V = F<kNative<float>>;
    [[maybe_unused]] static constexpr const char* name = "_xebsErf_HA";  // raises no event
    static constexpr float filler = 1.0f;

    template <int N>
    static MaskOf<float, N> special(F<N> x) {
        return outside(x, kErfFromF, kErfBelowF);
    }
    template <int N>
    XEB_INLINE static F<N> compute(F<N> x) {
        return on_halves<ErfD>(x);
    }
    static void one(float a, int i, const Arrays<float>& x) {
        x.y[i] = (bits(a) & kAbsF) > kInfF ? a + a : static_cast<float>(erf_outside(a));
    }
};

// ---------------------------------------------------------------- erfc

// erfc(x) for |x| in the fast domain of the rows given; negative x take
// |x| at most `clamp`.
// Lanes bound for the one-element path (from `rows_end`, NaNs) take 1 and
// read the rows in bounds.
template <int PairOrders, int N>
XEB_INLINE D<N> erfc_value(D<N> x, const ed::ErfcRow* rows, double clamp, double rows_end) {
    const U<N> b = bitcast<uint64_t>(x);
    const MaskOf<double, N> negative = compare<Cmp::Lt>(x, 0.0);
    D<N> ax = bitcast<double>(b & kAbs);
    ax = select(negative & compare<Cmp::Gt>(ax, clamp), broadcast<D<N>>(clamp), ax);
    ax = select(compare<Cmp::Lt>(ax, rows_end), ax, broadcast<D<N>>(1.0));

    // The row, from the exponent of (1 + |x|)^4.
    D<N> y = 1.0 + ax;
    y = y * y;
    const U<N> row = (bitcast<uint64_t>(y * y) >> 52) - uint64_t{1023};
    D<N> c[kErfcRowSize];  // ErfcRow's fields in order
    read_rows<kErfcRowStride>(&rows[0].minus_c, row, c);
    const PairV<N> t = two_sum(ax, c[0]);
    // Orders 6 to 15 by Estrin's scheme, which halves the chain of Horner's:
    // their sum is below 2^-8.7 of P in the double rows, so its roundings,
    // in either order, stay below 2^-58 of the result.
    const D<N> t2 = t.hi * t.hi, t4 = t2 * t2;
    const D<N> q01 = fma(c[14], t.hi, c[13]), q23 = fma(c[16], t.hi, c[15]), q45 = fma(c[18], t.hi, c[17]);
    const D<N> q67 = fma(c[20], t.hi, c[19]), q89 = fma(c[22], t.hi, c[21]);
    const D<N> q03 = fma(q23, t2, q01), q47 = fma(q67, t2, q45);
    D<N> q = fma(fma(q89, t4, q47), t4, q03);
    #pragma GCC unroll 32
    for (int k = 5; k >= PairOrders; --k) q = fma(q, t.hi, c[1 + 2 * k]);
    PairV<N> p{q, D<N>{}};
    #pragma GCC unroll 32
    for (int k = PairOrders - 1; k >= 0; --k) p = horner_pair_step(c[1 + 2 * k], c[2 + 2 * k], p, t);

    // exp(-x^2) = 2^(n/16) e^r as eh + el, n = round(-x^2 16/ln 2): the
    // exponential's 16 rows of the class kernels, H (1 + tail) = 2^(i/16)
    // and its scale bits, and e^r - 1 = r + r^2 E(r), E from Taylor.
    const D<N> square = ax * ax;
    const D<N> square_lo = fms(ax, ax, square);
    const D<N> shifted = fnma(square, broadcast<D<N>>(ex::expInvLn2N), broadcast<D<N>>(kShifter));
    const D<N> nf = shifted - kShifter;
    const PairV<N> r = two_sum(fnma(nf, broadcast<D<N>>(ex::expLn2HiN), -square),
                               fnma(nf, broadcast<D<N>>(ex::expLn2LoN), -square_lo));
    const D<N> r2 = r.hi * r.hi;
    const double* E = kExpTaylor;
    const D<N> poly = fma(r2 * r2, fma(r2, fma(r.hi, E[7], E[6]), fma(r.hi, E[5], E[4])),
                          fma(r2, fma(r.hi, E[3], E[2]), fma(r.hi, E[1], E[0])));
    const D<N> beyond = fma(r2, poly, r.lo);  // e^r - 1 - r.hi
    const U<N> k = bitcast<uint64_t>(shifted);
    // 2^(n >> 4) apart, so that nothing before the last product leaves
    // the normal range.
    const D<N> h = bitcast<double>(lookup<16>(ex::expScaleBits, k) + ((k & uint64_t{15}) << 48));
    const D<N> tail = lookup<16>(ex::expTail, k);
    const MaskOf<double, N> scaled = compare<Cmp::Gt>(row, kLastDirectRow);
    const D<N> eh = select(scaled, h, broadcast<D<N>>(1.0));
    // H (1 + tail) e^r - H = H r.hi + H (beyond + tail (1 + r.hi)), rounded once.
    const D<N> el = select(scaled, fma(h, r.hi, h * (beyond + fma(tail, r.hi, tail))), D<N>{});
    const U<N> exponent = ((k << 48) & kExponentField) + kOneBits;
    const D<N> scale = bitcast<double>(select(scaled, exponent, U<N>{} + kOneBits));

    // P times it, as a pair.
    const D<N> m = p.hi * eh;
    const D<N> ml = fma(p.hi, el, fma(p.lo, eh, fms(p.hi, eh, m)));
    const D<N> positive = (m + ml) * scale;
    const PairV<N> two_less = two_sum(broadcast<D<N>>(2.0), -(m * scale));
    const D<N> below = two_less.hi + (two_less.lo - ml * scale);
    return select(negative, below, positive);
}

// Erfc of an element outside the fast domain: NaNs, infinities here, the
// rest by the baseline's routine, then event 4 past the upper limit.
template <class T>
void erfc_one(T a, int i, const Arrays<T>& x, const char* name) {
    constexpr bool single = sizeof(T) == sizeof(float);
    const bool finite = single ? (bits(a) & kAbsF) < kInfF : (bits(a) & kAbs) < kInfBits;
    if (!finite) {
        x.y[i] = a != a ? a + a : (a < 0 ? T(2) : T(0));
        return;
    }
    double r;
    const bool underflow = ed::erfc_scalar(a, single, r);
    x.y[i] = static_cast<T>(r);
    if (underflow) class_frame::raise(XEB_STATUS_TOOSMALL, i, x, name);
}

struct ErfcD {
    using V = D<kNative<double>>;
    static constexpr const char* name = "_xebdErfc_HA";
    static constexpr double filler = 1.0;

    template <int N>
    static MaskOf<double, N> special(D<N> x) {
        return outside(x, kErfcFrom, kErfcBelow);
    }
    template <int N>
    XEB_INLINE static D<N> compute(D<N> x) {
        return erfc_value<kPairOrders>(x, ed::erfcRows, 6.0, kErfcRowsEnd);
    }
    static void one(double a, int i, const Arrays<double>& x) { erfc_one(a, i, x, name); }
};

// The single kernel's rows on doubles.
struct ErfcSingleRows {
    template <int N>
    XEB_INLINE static D<N> compute(D<N> x) {
        return erfc_value<kPairOrdersSingle>(x, ed::erfcRowsSingle, 4.0, kErfcRowsEndSingle);
    }
};

struct ErfcS {
    using V = F<kNative<float>>;
    static constexpr const char* name = "_xebsErfc_HA";
    static constexpr float filler = 1.0f;

    template <int N>
    static MaskOf<float, N> special(F<N> x) {
        return outside(x, kErfcFromF, kErfcBelowF);
    }
    template <int N>
    XEB_INLINE static F<N> compute(F<N> x) {
        return on_halves<ErfcSingleRows>(x);
    }
    static void one(float a, int i, const Arrays<float>& x) { erfc_one(a, i, x, name); }
};

}  // namespace

// No lower form has code of its own: each is its precision's _HA entry.
void erf_entries(vm::KernelTable& t) {
    t.dErf_HA = t.dErf_50 = class_frame::unary<ErfD>;
    t.sErf_HA = t.sErf_21 = t.sErf_11 = class_frame::unary<ErfS>;
    t.dErfc_HA = t.dErfc_50 = class_frame::unary<ErfcD>;
    t.sErfc_HA = t.sErfc_21 = t.sErfc_11 = class_frame::unary<ErfcS>;
}

}  // namespace XEB_ISA
}  // namespace xeb
