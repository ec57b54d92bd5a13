// The whole complex transform of the real FFT for n = 2^k points,
// k = 5, 6, 7 and 9 (real lengths 2^6, 2^7, 2^8 and 2^10; see
// sig::small_transform_order), in a SIMD class: (real,
// imaginary) pairs in natural order in, pairs in natural order out, no
// bit reversal, no block layout, no pass through memory but one scratch
// array of registers' worth.
//
// Four-step factorisation n = n1 n2 (n1 = 8, or 4 for n = 32), the input
// seen as n1 rows of n2 consecutive points, x[j + n2 r]:
//   1. per column j, an n1-point transform over the rows, lanes over j
//      (each row's run of eight pairs is one register pair once split into
//      real and imaginary parts): Y[k1][j] = sum_r x[j + n2 r] w_n1^(r k1);
//   2. Y[k1][j] times w_n^(j k1);
//   3. a transpose of each 8 by n1 tile, lanes now over k1;
//   4. per k1, an n2-point transform over j with lanes over k1, which
//      gives X[k1 + n1 k2] in lane k1 of register k2: natural order.
// The transforms of 4 and 8 points are written out; 16 and 64 points
// factor again (4 x 4, 8 x 8) over the registers, where all the
// indexing is fixed at compile time.  Twiddles are the roots of unity of
// order 512 rounded once from double, exact on the axes and the
// diagonals' symmetry; each twiddle product is fused (one rounding per
// part).
//
// Both classes run this code on 8-float registers, so AVX2 and AVX-512
// give the same bits.  Error: log2(n) radix-2 layers' worth of single
// roundings relative to the largest value, rms of order
// 2^-24 sqrt(log2 n) of max|X|, the budget of signal/fft_core.cpp.
#include <cmath>
#include <cstdint>
#include <utility>

#include "frame/simd.h"
#include "signal/fft_class.h"

#define XEB_AI [[gnu::always_inline]] inline

namespace xeb {
inline namespace XEB_ISA {
namespace {

constexpr int kMinOrder = sig::kSmallMinOrder, kMaxOrder = sig::kSmallMaxOrder, kRootOrder = 1 << kMaxOrder;

template <int L>
using V = simd::Vec<float, L>;

template <int L>
struct Cx {
    V<L> re, im;
};

// Roots w_512^m = exp(-2 pi i m / 512) as cos and -sin; and per order k
// the step-2 factors w_n^(j k1) of the four-step, per k1 the n2 cosines
// then the n2 negated sines, so that eight consecutive j load as one
// register.
struct Tables {
    alignas(64) float cos[kRootOrder];
    alignas(64) float nsin[kRootOrder];
    alignas(64) float step[2 * ((2 << kMaxOrder) - (1 << kMinOrder))];
};
Tables tables;

constexpr int step_offset(int k) { return 2 * ((1 << k) - (1 << kMinOrder)); }

// cos and -sin of 2 pi m / 512: the first quadrant from double, the others
// by exact quarter turns.
void root(int m, float& c, float& ns) {
    const int t = m & (kRootOrder - 1), q = t / (kRootOrder / 4), r = t % (kRootOrder / 4);
    const double a = 2 * M_PI * r / kRootOrder;
    const double co = std::cos(a), si = std::sin(a);
    const double qc[4] = {co, -si, -co, si}, qs[4] = {si, co, -si, -co};
    c = static_cast<float>(qc[q]);
    ns = static_cast<float>(-qs[q]);
}

void fill_tables() {
    for (int m = 0; m < kRootOrder; ++m) root(m, tables.cos[m], tables.nsin[m]);
    for (int k = kMinOrder; k <= kMaxOrder; ++k) {
        if (!sig::small_transform_order(k)) continue;
        const int n = 1 << k, n1 = k == 5 ? 4 : 8, n2 = n / n1;
        float* s = tables.step + step_offset(k);
        for (int k1 = 0; k1 < n1; ++k1)
            for (int j = 0; j < n2; ++j) {
                const int m = (j * k1) * (kRootOrder / n);
                s[2 * n2 * k1 + j] = tables.cos[m % kRootOrder];
                s[2 * n2 * k1 + n2 + j] = tables.nsin[m % kRootOrder];
            }
    }
}

template <int L>
XEB_AI Cx<L> add(Cx<L> a, Cx<L> b) { return {a.re + b.re, a.im + b.im}; }
template <int L>
XEB_AI Cx<L> sub(Cx<L> a, Cx<L> b) { return {a.re - b.re, a.im - b.im}; }

// Times w = c + i ns (ns holds -sin), or times conj(w) for the inverse.
template <bool Inv, int L>
XEB_AI Cx<L> twiddle(Cx<L> a, V<L> c, V<L> ns) {
    if (!Inv) return {simd::fms(a.re, c, a.im * ns), simd::fma(a.re, ns, a.im * c)};
    return {simd::fma(a.re, c, a.im * ns), simd::fms(a.im, c, a.re * ns)};
}

// Times -i (forward) or +i (inverse).
template <bool Inv, int L>
XEB_AI Cx<L> rotate(Cx<L> d) {
    return Inv ? Cx<L>{-d.im, d.re} : Cx<L>{d.im, -d.re};
}

// In-place transform of R registers x[0..R), natural order in and out,
// one independent transform per lane.
template <bool Inv, int L, int R>
XEB_AI void dft(Cx<L>* x) {
    if constexpr (R == 2) {
        const Cx<L> a = x[0], b = x[1];
        x[0] = add(a, b);
        x[1] = sub(a, b);
    } else if constexpr (R == 4) {
        const Cx<L> b0 = add(x[0], x[2]), b1 = sub(x[0], x[2]), b2 = add(x[1], x[3]);
        const Cx<L> r = rotate<Inv>(sub(x[1], x[3]));
        x[0] = add(b0, b2);
        x[2] = sub(b0, b2);
        x[1] = add(b1, r);
        x[3] = sub(b1, r);
    } else if constexpr (R == 8) {
        Cx<L> e[4] = {x[0], x[2], x[4], x[6]}, o[4] = {x[1], x[3], x[5], x[7]};
        dft<Inv, L, 4>(e);
        dft<Inv, L, 4>(o);
        // o[k] times w_8^k: sqrt(1/2) (1 - i), -i, sqrt(1/2) (-1 - i), or
        // their conjugates.
        const V<L> h = simd::broadcast<V<L>>(0x1.6a09e6p-1f);
        const V<L> s1 = o[1].re + o[1].im, d1 = o[1].im - o[1].re;
        const V<L> s3 = o[3].re + o[3].im, d3 = o[3].im - o[3].re;
        const Cx<L> w1 = Inv ? Cx<L>{-d1 * h, s1 * h} : Cx<L>{s1 * h, d1 * h};
        const Cx<L> w3 = Inv ? Cx<L>{-s3 * h, -d3 * h} : Cx<L>{d3 * h, -s3 * h};
        const Cx<L> w[4] = {o[0], w1, rotate<Inv>(o[2]), w3};
        for (int k = 0; k < 4; ++k) {
            x[k] = add(e[k], w[k]);
            x[k + 4] = sub(e[k], w[k]);
        }
    } else {
        constexpr int R1 = R >= 64 ? 8 : 4, R2 = R / R1;
        Cx<L> u[R];  // u[k1 R2 + j2]
#pragma GCC unroll 16
        for (int j2 = 0; j2 < R2; ++j2) {
            Cx<L> t[R1];
#pragma GCC unroll 16
            for (int r1 = 0; r1 < R1; ++r1) t[r1] = x[j2 + R2 * r1];
            dft<Inv, L, R1>(t);
            u[j2] = t[0];
#pragma GCC unroll 16
            for (int k1 = 1; k1 < R1; ++k1) {
                const int m = j2 * k1 * (kRootOrder / R);
                u[k1 * R2 + j2] = j2 == 0 ? t[k1]
                                          : twiddle<Inv>(t[k1], simd::broadcast<V<L>>(tables.cos[m]),
                                                         simd::broadcast<V<L>>(tables.nsin[m]));
            }
        }
#pragma GCC unroll 16
        for (int k1 = 0; k1 < R1; ++k1) {
            dft<Inv, L, R2>(u + k1 * R2);
#pragma GCC unroll 16
            for (int k2 = 0; k2 < R2; ++k2) x[k1 + R1 * k2] = u[k1 * R2 + k2];
        }
    }
}

// Eight (real, imaginary) pairs as eight real and eight imaginary parts,
// and L parts back to L pairs.
XEB_AI Cx<8> load_pairs(const float* p) {
    const auto lo = simd::load<V<8>>(p).v, hi = simd::load<V<8>>(p + 8).v;
    return {{__builtin_shufflevector(lo, hi, 0, 2, 4, 6, 8, 10, 12, 14)},
            {__builtin_shufflevector(lo, hi, 1, 3, 5, 7, 9, 11, 13, 15)}};
}
XEB_AI void store_pairs(float* p, Cx<8> x) {
    simd::store(p, V<8>{__builtin_shufflevector(x.re.v, x.im.v, 0, 8, 1, 9, 2, 10, 3, 11)});
    simd::store(p + 8, V<8>{__builtin_shufflevector(x.re.v, x.im.v, 4, 12, 5, 13, 6, 14, 7, 15)});
}
XEB_AI void store_pairs(float* p, Cx<4> x) {
    simd::store(p, V<4>{__builtin_shufflevector(x.re.v, x.im.v, 0, 4, 1, 5)});
    simd::store(p + 4, V<4>{__builtin_shufflevector(x.re.v, x.im.v, 2, 6, 3, 7)});
}

// Rows r of 8 lanes into columns: out[j] lane r = v[r] lane j, for 8 or
// 4 rows (then out[j] has 4 lanes).  Four rows at a time first: u[j]
// holds column j of the four rows, then column j + 4.
using Raw8 = V<8>::Raw;
XEB_AI void transpose_quad(const V<8>* v, Raw8* u) {
    Raw8 t[4];
    for (int i = 0; i < 4; i += 2) {
        t[i] = __builtin_shufflevector(v[i].v, v[i + 1].v, 0, 8, 1, 9, 4, 12, 5, 13);
        t[i + 1] = __builtin_shufflevector(v[i].v, v[i + 1].v, 2, 10, 3, 11, 6, 14, 7, 15);
    }
    u[0] = __builtin_shufflevector(t[0], t[2], 0, 1, 8, 9, 4, 5, 12, 13);
    u[1] = __builtin_shufflevector(t[0], t[2], 2, 3, 10, 11, 6, 7, 14, 15);
    u[2] = __builtin_shufflevector(t[1], t[3], 0, 1, 8, 9, 4, 5, 12, 13);
    u[3] = __builtin_shufflevector(t[1], t[3], 2, 3, 10, 11, 6, 7, 14, 15);
}
XEB_AI void transpose(const V<8>* v, V<8>* out) {
    Raw8 u[8];
    transpose_quad(v, u);
    transpose_quad(v + 4, u + 4);
    for (int j = 0; j < 4; ++j) {
        out[j] = {__builtin_shufflevector(u[j], u[j + 4], 0, 1, 2, 3, 8, 9, 10, 11)};
        out[j + 4] = {__builtin_shufflevector(u[j], u[j + 4], 4, 5, 6, 7, 12, 13, 14, 15)};
    }
}
XEB_AI void transpose(const V<8>* v, V<4>* out) {
    Raw8 u[4];
    transpose_quad(v, u);
    for (int j = 0; j < 4; ++j) {
        out[j] = {__builtin_shufflevector(u[j], u[j], 0, 1, 2, 3)};
        out[j + 4] = {__builtin_shufflevector(u[j], u[j], 4, 5, 6, 7)};
    }
}

template <bool Inv, int K>
void small_transform(const float* src, float* dst) {
    constexpr int n = 1 << K, n1 = K == 5 ? 4 : 8, n2 = n / n1;
    const float* step = tables.step + step_offset(K);
    Cx<n1> cols[n2];  // after step 3: cols[j] lane k1
    for (int b = 0; b < n2 / 8; ++b) {
        Cx<8> rows[n1];
#pragma GCC unroll 8
        for (int r = 0; r < n1; ++r) rows[r] = load_pairs(src + 2 * (8 * b + n2 * r));
        dft<Inv, 8, n1>(rows);
#pragma GCC unroll 8
        for (int k1 = 1; k1 < n1; ++k1) {
            const float* t = step + 2 * n2 * k1 + 8 * b;
            rows[k1] = twiddle<Inv>(rows[k1], simd::load<V<8>>(t), simd::load<V<8>>(t + n2));
        }
        V<8> re[8], im[8];
        for (int r = 0; r < n1; ++r) {
            re[r] = rows[r].re;
            im[r] = rows[r].im;
        }
        V<n1> cre[8], cim[8];
        transpose(re, cre);
        transpose(im, cim);
        for (int j = 0; j < 8; ++j) cols[8 * b + j] = {cre[j], cim[j]};
    }
    dft<Inv, n1, n2>(cols);
    for (int k2 = 0; k2 < n2; ++k2) store_pairs(dst + 2 * n1 * k2, cols[k2]);
}

template <bool Inv>
void small_complex(const float* src, float* dst, int32_t k) {
    switch (k) {
        case 5: return small_transform<Inv, 5>(src, dst);
        case 6: return small_transform<Inv, 6>(src, dst);
        case 7: return small_transform<Inv, 7>(src, dst);
        default: return small_transform<Inv, 9>(src, dst);
    }
}

}  // namespace

void fill_fft_small(sig::FftClassTable& t) {
    fill_tables();
    t.small[0] = small_complex<false>;
    t.small[1] = small_complex<true>;
}

}  // namespace XEB_ISA
}  // namespace xeb

#undef XEB_AI
