// The radix-4 passes of the real FFT's complex core and the spectrum
// products in a SIMD class, written once over the vector type.
//
// Radix-4 pass: the butterflies of signal/fft_core.cpp on the same block
// layout (four real parts, then four imaginary parts) and the same stage
// table, W consecutive blocks per register (W = 2 in AVX2, 4 in AVX-512;
// the blocks of a quarter number m/4 >= 2 from s = 5 on, so a stage too
// short for the widest registers takes half-width ones).  Two registers
// of data hold W blocks; one permute each way splits them into real and
// imaginary parts and joins them again.  The twiddles of W blocks sit 24
// floats apart in the table: they are joined from W loads once per block
// index j and serve every group of the stage (the whole core is at most
// 2^10 points, 8 KB, so visiting the groups in the inner loop stays in L1).
//
// Error: the twiddle products are fused (one rounding where the baseline
// has two), so each pass adds at most the baseline's few roundings
// relative to the largest value: the budget of signal/fft_core.cpp,
// rms error of order 2^-24 sqrt(log2 n) of max|X|, holds unchanged.
//
// Spectrum products: four real products, each rounded, then one sum or
// difference per part, exactly as the baseline loop, so the bits are the
// baseline's in every class; the split pass runs the baseline's steps
// (signal/fft_split.h) on wider lanes, and so gives its bits too.
#include <cstring>

#include "frame/simd.h"
#include "signal/fft_class.h"
#include "signal/fft_split.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

template <int W>
using V = simd::Vec<float, 4 * W>;

// Float f of a run of W blocks: its lane in the real (f % 8 < 4) or the
// imaginary register, counted over both registers side by side.
constexpr int block_lane(int f, int w) {
    return f % 8 < 4 ? 4 * (f / 8) + f % 8 : 4 * w + 4 * (f / 8) + f % 8 - 4;
}

template <int W>
struct Cx {
    V<W> re, im;
};

template <int W, int... I>
[[gnu::always_inline]] inline Cx<W> load_blocks(const float* p, std::integer_sequence<int, I...>) {
    const auto lo = simd::load<V<W>>(p).v, hi = simd::load<V<W>>(p + 4 * W).v;
    return {{__builtin_shufflevector(lo, hi, (8 * (I / 4) + I % 4)...)},
            {__builtin_shufflevector(lo, hi, (8 * (I / 4) + 4 + I % 4)...)}};
}
template <int W>
[[gnu::always_inline]] inline Cx<W> load_blocks(const float* p) {
    return load_blocks<W>(p, std::make_integer_sequence<int, 4 * W>{});
}

template <int W, int... I>
[[gnu::always_inline]] inline void store_blocks(float* p, Cx<W> x, std::integer_sequence<int, I...>) {
    simd::store(p, V<W>{__builtin_shufflevector(x.re.v, x.im.v, block_lane(I, W)...)});
    simd::store(p + 4 * W, V<W>{__builtin_shufflevector(x.re.v, x.im.v, block_lane(4 * W + I, W)...)});
}
template <int W>
[[gnu::always_inline]] inline void store_blocks(float* p, Cx<W> x) {
    store_blocks<W>(p, x, std::make_integer_sequence<int, 4 * W>{});
}

// Four floats from each of W places `stride` floats apart.
template <int W>
[[gnu::always_inline]] inline V<W> load_spread(const float* p, int64_t stride) {
    if constexpr (W == 1) return simd::load<V<1>>(p);
    else return simd::join(load_spread<W / 2>(p, stride), load_spread<W / 2>(p + W / 2 * stride, stride));
}

template <int W>
[[gnu::always_inline]] inline Cx<W> add(Cx<W> a, Cx<W> b) { return {a.re + b.re, a.im + b.im}; }
template <int W>
[[gnu::always_inline]] inline Cx<W> sub(Cx<W> a, Cx<W> b) { return {a.re - b.re, a.im - b.im}; }

// Times w = c + i ns (ns holds -sin), or times conj(w) for the inverse.
template <bool Inv, int W>
[[gnu::always_inline]] inline Cx<W> twiddle(Cx<W> a, V<W> c, V<W> ns) {
    if (!Inv) return {simd::fms(a.re, c, a.im * ns), simd::fma(a.re, ns, a.im * c)};
    return {simd::fma(a.re, c, a.im * ns), simd::fms(a.im, c, a.re * ns)};
}

template <bool Inv, int W>
[[gnu::always_inline]] inline void butterfly4(Cx<W> a0, Cx<W> a1, Cx<W> a2, Cx<W> a3, Cx<W>& x0, Cx<W>& x1,
                                              Cx<W>& x2, Cx<W>& x3) {
    const Cx<W> b0 = add(a0, a1), b1 = sub(a0, a1), b2 = add(a2, a3), d = sub(a2, a3);
    // d times -i (forward) or +i (inverse).
    const Cx<W> r = Inv ? Cx<W>{-d.im, d.re} : Cx<W>{d.im, -d.re};
    x0 = add(b0, b2);
    x2 = sub(b0, b2);
    x1 = add(b1, r);
    x3 = sub(b1, r);
}

template <bool Inv, int W>
void radix4_blocks(float* d, int64_t n, int32_t s, const float* tab) {
    const int64_t group = int64_t{1} << s, m = group / 4;
    for (int64_t jb = 0; jb < m / 4; jb += W) {
        const float* t = tab + 24 * jb;
        const V<W> c2 = load_spread<W>(t, 24), s2 = load_spread<W>(t + 4, 24);
        const V<W> c1 = load_spread<W>(t + 8, 24), s1 = load_spread<W>(t + 12, 24);
        const V<W> c3 = load_spread<W>(t + 16, 24), s3 = load_spread<W>(t + 20, 24);
        for (float* p0 = d + 8 * jb; p0 < d + 2 * n; p0 += 2 * group) {
            float* p1 = p0 + 2 * m;
            float* p2 = p0 + 4 * m;
            float* p3 = p0 + 6 * m;
            const Cx<W> a1 = twiddle<Inv>(load_blocks<W>(p1), c1, s1);
            const Cx<W> a2 = twiddle<Inv>(load_blocks<W>(p2), c2, s2);
            const Cx<W> a3 = twiddle<Inv>(load_blocks<W>(p3), c3, s3);
            Cx<W> x0, x1, x2, x3;
            butterfly4<Inv>(load_blocks<W>(p0), a1, a2, a3, x0, x1, x2, x3);
            store_blocks(p0, x0);
            store_blocks(p1, x1);
            store_blocks(p2, x2);
            store_blocks(p3, x3);
        }
    }
}

// The widest run of blocks the stage's quarters allow.
template <bool Inv, int W = simd::kNative<float> / 4>
void radix4_pass(float* d, int64_t n, int32_t s, const float* tab) {
    if constexpr (W > 2) {
        if ((int64_t{1} << s) / 16 < W) return radix4_pass<Inv, W / 2>(d, n, s, tab);
    }
    radix4_blocks<Inv, W>(d, n, s, tab);
}

// ---- first passes: N = 4W groups at a time, one group per lane ---------
//
// A register's lanes come in W runs of four, run q holding groups 4q to
// 4q + 3 of the N; the 4x4 transposes of the baseline then run within each
// run of four (the in-run forms of unpack and move), so that lane l ends
// up holding group l.

// Lane i of the in-run shuffles of two registers of n lanes (second
// operand from n on): unpack low and high, join low halves, join high ones.
enum class Pick { UnpackLo, UnpackHi, LowHalves, HighHalves };
constexpr int pick_lane(Pick k, int i, int n) {
    const int run = i - i % 4, j = i % 4;
    switch (k) {
        case Pick::UnpackLo: return run + j / 2 + j % 2 * n;
        case Pick::UnpackHi: return run + 2 + j / 2 + j % 2 * n;
        case Pick::LowHalves: return run + j % 2 + j / 2 * n;
        default: return run + 2 + j % 2 + j / 2 * n;
    }
}
template <Pick K, int W, int... I>
[[gnu::always_inline]] inline V<W> pick(V<W> a, V<W> b, std::integer_sequence<int, I...>) {
    return {__builtin_shufflevector(a.v, b.v, pick_lane(K, I, 4 * W)...)};
}
template <Pick K, int W>
[[gnu::always_inline]] inline V<W> pick(V<W> a, V<W> b) {
    return pick<K, W>(a, b, std::make_integer_sequence<int, 4 * W>{});
}

// Within every run of four lanes, v[j][l] becomes v[l][j].
template <int W>
[[gnu::always_inline]] inline void transpose_runs(V<W>* v) {
    const V<W> t0 = pick<Pick::UnpackLo, W>(v[0], v[1]), t1 = pick<Pick::UnpackLo, W>(v[2], v[3]);
    const V<W> t2 = pick<Pick::UnpackHi, W>(v[0], v[1]), t3 = pick<Pick::UnpackHi, W>(v[2], v[3]);
    v[0] = pick<Pick::LowHalves, W>(t0, t1);
    v[1] = pick<Pick::HighHalves, W>(t0, t1);
    v[2] = pick<Pick::LowHalves, W>(t2, t3);
    v[3] = pick<Pick::HighHalves, W>(t2, t3);
}

// Points p of N consecutive groups of Size (real, imaginary) pairs from
// `data` (group 0 first) into pts[p], lane l holding group l.
template <int W, int Size>
[[gnu::always_inline]] inline void load_groups(const float* data, Cx<W>* pts) {
    for (int p = 0; p < Size; p += 2) {
        // (re_p, im_p, re_p+1, im_p+1) of groups r, r + 4, r + 8, ...
        V<W> v[4];
        for (int r = 0; r < 4; ++r) v[r] = load_spread<W>(data + 2 * (r * Size + p), 8 * Size);
        transpose_runs<W>(v);
        pts[p] = {v[0], v[1]};
        pts[p + 1] = {v[2], v[3]};
    }
}

// The first pass's inputs: groups of Size consecutive pairs, or (Indexed)
// positions read through the index table, position 4q + r of group g at
// float table[g Size/4 + q] + stream[r] of the data (fft_core.cpp).
struct Sources {
    const float* data;
    const int32_t* table;  // null: consecutive pairs
    const int32_t* stream;
};

// Pairs at lanes' own places: run by run of four lanes, two 64-bit loads
// per half, the halves split into real and imaginary parts.
template <int W>
[[gnu::always_inline]] inline Cx<W> load_scattered(const float* const* at) {
    if constexpr (W == 1) {
        V<1> lo, hi;
        __builtin_memcpy(&lo.v, at[0], 8);
        __builtin_memcpy(reinterpret_cast<char*>(&lo.v) + 8, at[1], 8);
        __builtin_memcpy(&hi.v, at[2], 8);
        __builtin_memcpy(reinterpret_cast<char*>(&hi.v) + 8, at[3], 8);
        return {{__builtin_shufflevector(lo.v, hi.v, 0, 2, 4, 6)}, {__builtin_shufflevector(lo.v, hi.v, 1, 3, 5, 7)}};
    } else {
        const Cx<W / 2> a = load_scattered<W / 2>(at), b = load_scattered<W / 2>(at + 2 * W);
        return {simd::join(a.re, b.re), simd::join(a.im, b.im)};
    }
}

template <int W, int Size>
[[gnu::always_inline]] inline void load_sources(const Sources& src, int64_t g0, Cx<W>* pts) {
    if (src.table == nullptr) {
        load_groups<W, Size>(src.data + 2 * Size * g0, pts);
        return;
    }
    constexpr int quads = Size / 4;
    for (int q = 0; q < quads; ++q) {
        const float* base[4 * W];
        for (int l = 0; l < 4 * W; ++l) base[l] = src.data + src.table[(g0 + l) * quads + q];
        for (int r = 0; r < 4; ++r) {
            const float* at[4 * W];
            for (int l = 0; l < 4 * W; ++l) at[l] = base[l] + src.stream[r];
            pts[4 * q + r] = load_scattered<W>(at);
        }
    }
}

// Run Q of four lanes stored at p.
template <int W, int... Q>
[[gnu::always_inline]] inline void store_runs(float* p, int64_t stride, V<W> v, std::integer_sequence<int, Q...>) {
    (simd::store(p + Q * stride, V<1>{__builtin_shufflevector(v.v, v.v, 4 * Q, 4 * Q + 1, 4 * Q + 2, 4 * Q + 3)}),
     ...);
}

// Outputs x[0..Size) of N groups (lanes) into the groups at `out` in block
// layout: per block of four points, the transposes turn group lanes into
// point lanes, and run q of register l is then group 4q + l's block.
template <int W, int Size>
[[gnu::always_inline]] inline void store_groups(float* out, Cx<W>* x) {
    for (int b = 0; b < Size / 4; ++b) {
        V<W> re[4] = {x[4 * b].re, x[4 * b + 1].re, x[4 * b + 2].re, x[4 * b + 3].re};
        V<W> im[4] = {x[4 * b].im, x[4 * b + 1].im, x[4 * b + 2].im, x[4 * b + 3].im};
        transpose_runs<W>(re);
        transpose_runs<W>(im);
        for (int l = 0; l < 4; ++l) {
            float* g = out + 2 * (l * Size) + 8 * b;
            store_runs<W>(g, 8 * Size, re[l], std::make_integer_sequence<int, W>{});
            store_runs<W>(g + 4, 8 * Size, im[l], std::make_integer_sequence<int, W>{});
        }
    }
}

// Radix 16: two radix-4 layers with one rotation between, the rotations
// the first 24 floats of the stage table (s = 4).
template <bool Inv, int W>
int64_t first_pass16(const Sources& src, float* out, int64_t groups, const float* tw) {
    constexpr int N = 4 * W;
    int64_t g0 = 0;
    for (; g0 + N <= groups; g0 += N) {
        Cx<W> pt[16], y[16], x[16];
        load_sources<W, 16>(src, g0, pt);
        for (int q = 0; q < 4; ++q)
            butterfly4<Inv>(pt[4 * q], pt[4 * q + 1], pt[4 * q + 2], pt[4 * q + 3], y[4 * q], y[4 * q + 1],
                            y[4 * q + 2], y[4 * q + 3]);
        for (int j = 0; j < 4; ++j) {
            const auto b = [](float f) { return simd::broadcast<V<W>>(f); };
            const Cx<W> a1 = twiddle<Inv>(y[4 + j], b(tw[8 + j]), b(tw[12 + j]));
            const Cx<W> a2 = twiddle<Inv>(y[8 + j], b(tw[j]), b(tw[4 + j]));
            const Cx<W> a3 = twiddle<Inv>(y[12 + j], b(tw[16 + j]), b(tw[20 + j]));
            butterfly4<Inv>(y[j], a1, a2, a3, x[j], x[j + 4], x[j + 8], x[j + 12]);
        }
        store_groups<W, 16>(out + 32 * g0, x);
    }
    return g0;
}

// Radix 8: two 4-point transforms and one radix-2 layer, the rotations
// cos and -sin of 2 pi j / 8.
constexpr float kR8 = 0x1.6a09e6p-1f;  // sqrt(1/2) rounded to float
constexpr float kCos8[4] = {1.0f, kR8, 0.0f, -kR8};
constexpr float kNegSin8[4] = {0.0f, -kR8, -1.0f, -kR8};

template <bool Inv, int W>
int64_t first_pass8(const Sources& src, float* out, int64_t groups) {
    constexpr int N = 4 * W;
    int64_t g0 = 0;
    for (; g0 + N <= groups; g0 += N) {
        Cx<W> pt[8], e[4], o[4], x[8];
        load_sources<W, 8>(src, g0, pt);
        butterfly4<Inv>(pt[0], pt[1], pt[2], pt[3], e[0], e[1], e[2], e[3]);
        butterfly4<Inv>(pt[4], pt[5], pt[6], pt[7], o[0], o[1], o[2], o[3]);
        for (int j = 0; j < 4; ++j) {
            const Cx<W> t = twiddle<Inv>(o[j], simd::broadcast<V<W>>(kCos8[j]), simd::broadcast<V<W>>(kNegSin8[j]));
            x[j] = add(e[j], t);
            x[j + 4] = sub(e[j], t);
        }
        store_groups<W, 8>(out + 16 * g0, x);
    }
    return g0;
}

// N (real, imaginary) pairs as N real and N imaginary parts, and back.
template <int N>
struct Parts {
    simd::Vec<float, N> re, im;
};
template <int N, int... I>
[[gnu::always_inline]] inline Parts<N> load_pairs(const float* p, std::integer_sequence<int, I...>) {
    const auto lo = simd::load<simd::Vec<float, N>>(p).v, hi = simd::load<simd::Vec<float, N>>(p + N).v;
    return {{__builtin_shufflevector(lo, hi, (2 * I)...)}, {__builtin_shufflevector(lo, hi, (2 * I + 1)...)}};
}
template <int N>
[[gnu::always_inline]] inline Parts<N> load_pairs(const float* p) {
    return load_pairs<N>(p, std::make_integer_sequence<int, N>{});
}
template <int N, int... I>
[[gnu::always_inline]] inline void store_pairs(float* p, simd::Vec<float, N> re, simd::Vec<float, N> im,
                                               std::integer_sequence<int, I...>) {
    // Float f of the pairs is part f % 2 of pair f / 2.
    simd::store(p, simd::Vec<float, N>{__builtin_shufflevector(re.v, im.v, (I / 2 + I % 2 * N)...)});
    simd::store(p + N, simd::Vec<float, N>{__builtin_shufflevector(re.v, im.v, ((N + I) / 2 + I % 2 * N)...)});
}
template <int N>
[[gnu::always_inline]] inline void store_pairs(float* p, simd::Vec<float, N> re, simd::Vec<float, N> im) {
    store_pairs<N>(p, re, im, std::make_integer_sequence<int, N>{});
}

// b := a * b, or a * conj(b) with Conj, on complex pairs, N pairs a
// register.  From N pairs on, the last register ends at the last pair: it
// is computed first, from the values as they stand, and stored last, so
// that the pairs it shares with the loop get the same values twice.
// Fewer pairs take narrower registers, and the last three or fewer go
// through the same vector code on a padded copy: written as scalar complex
// products, GCC's vectoriser turns them into fused multiply-add-subtract
// instructions at -O3, even with contraction off, and they would no longer
// give the baseline's bits.
template <bool Conj, int N = simd::kNative<float>>
void spectrum_product(const float* a, float* b, int64_t pairs) {
    using VN = simd::Vec<float, N>;
    struct Product {
        VN re, im;
    };
    const auto product = [](const float* x, const float* y) {
        // N pairs as two registers, split into real and imaginary parts.
        const auto pa = load_pairs<N>(x), pb = load_pairs<N>(y);
        const VN rr = pa.re * pb.re, ii = pa.im * pb.im, ri = pa.re * pb.im, ir = pa.im * pb.re;
        return Product{Conj ? rr + ii : rr - ii, Conj ? ir - ri : ri + ir};
    };
    if (pairs >= N) {
        const int64_t last = pairs - N;
        const Product tail = product(a + 2 * last, b + 2 * last);
        for (int64_t i = 0; i < last; i += N) {
            const Product p = product(a + 2 * i, b + 2 * i);
            store_pairs<N>(b + 2 * i, p.re, p.im);
        }
        store_pairs<N>(b + 2 * last, tail.re, tail.im);
    } else if constexpr (N > 4) {
        spectrum_product<Conj, N / 2>(a, b, pairs);
    } else if (pairs > 0) {
        const std::size_t bytes = static_cast<std::size_t>(pairs) * 2 * sizeof(float);
        float pa[2 * N] = {}, pb[2 * N] = {};
        std::memcpy(pa, a, bytes);
        std::memcpy(pb, b, bytes);
        const Product p = product(pa, pb);
        store_pairs<N>(pb, p.re, p.im);
        std::memcpy(b, pb, bytes);
    }
}

// The split pass (signal/fft_split.h) on N = 4W values of k' a register:
// the pairs from k' up as they stand, the pairs from n - k' down reversed,
// the table's blocks (four A, four B) split like data blocks.
template <int W, int... I>
[[gnu::always_inline]] inline V<W> reversed(V<W> v, std::integer_sequence<int, I...>) {
    return {__builtin_shufflevector(v.v, v.v, (4 * W - 1 - I)...)};
}
template <int W>
[[gnu::always_inline]] inline V<W> reversed(V<W> v) {
    return reversed<W>(v, std::make_integer_sequence<int, 4 * W>{});
}

// Registers of W blocks while they fit, then one of each narrower width.
template <bool Inv, int W = simd::kNative<float> / 4>
int64_t split_pass(const float* in, float* out, int64_t n, const float* tab, int64_t kk = 1) {
    constexpr int N = 4 * W;
    for (; kk + N - 1 <= n / 2 - 1; kk += N) {
        const Cx<W> t = load_blocks<W>(tab + 2 * (kk - 1));
        const auto a = load_pairs<N>(in + 2 * kk), b = load_pairs<N>(in + 2 * (n - kk - N + 1));
        V<W> xr, xi, yr, yi;
        if (Inv)
            sig::split_inverse_step(t.re, t.im, a.re, a.im, reversed<W>(b.re), reversed<W>(b.im), xr, xi, yr, yi);
        else
            sig::split_forward_step(t.re, t.im, a.re, a.im, reversed<W>(b.re), reversed<W>(b.im), xr, xi, yr, yi);
        store_pairs<N>(out + 2 * kk, xr, xi);
        store_pairs<N>(out + 2 * (n - kk - N + 1), reversed<W>(yr), reversed<W>(yi));
    }
    if constexpr (W > 1) return split_pass<Inv, W / 2>(in, out, n, tab, kk);
    return kk;
}

// ---- column steps of the blocked recursion ----------------------------
//
// A row's block of four columns is one 8-float register (four real parts,
// four imaginary parts), so a complex product takes the halves swapped and
// a sign per half (exact): (re c - im ns | im c + re ns), or the conjugate's
// (re c + im ns | im c - re ns), each product rounded once as in the
// baseline.  Four rows' pairs then make a 4x4 transpose of 64-bit pairs.
using F8 = float __attribute__((vector_size(32)));
using D4 = double __attribute__((vector_size(32)));

[[gnu::always_inline]] inline F8 load8(const float* p) {
    F8 v;
    __builtin_memcpy(&v, p, 32);
    return v;
}
[[gnu::always_inline]] inline void store8(float* p, F8 v) { __builtin_memcpy(p, &v, 32); }
[[gnu::always_inline]] inline D4 as_pairs(F8 v) { return reinterpret_cast<D4>(v); }
[[gnu::always_inline]] inline F8 as_floats(D4 v) { return reinterpret_cast<F8>(v); }

// Block (4 real | 4 imaginary) to pairs and back.
[[gnu::always_inline]] inline F8 block_to_pairs(F8 v) { return __builtin_shufflevector(v, v, 0, 4, 1, 5, 2, 6, 3, 7); }
[[gnu::always_inline]] inline F8 pairs_to_block(F8 v) { return __builtin_shufflevector(v, v, 0, 2, 4, 6, 1, 3, 5, 7); }

// x[j][l] := x[l][j] on four registers of four pairs.
[[gnu::always_inline]] inline void transpose_pairs(D4* x) {
    const D4 t0 = __builtin_shufflevector(x[0], x[1], 0, 4, 2, 6), t1 = __builtin_shufflevector(x[0], x[1], 1, 5, 3, 7);
    const D4 t2 = __builtin_shufflevector(x[2], x[3], 0, 4, 2, 6), t3 = __builtin_shufflevector(x[2], x[3], 1, 5, 3, 7);
    x[0] = __builtin_shufflevector(t0, t2, 0, 1, 4, 5);
    x[1] = __builtin_shufflevector(t1, t3, 0, 1, 4, 5);
    x[2] = __builtin_shufflevector(t0, t2, 2, 3, 6, 7);
    x[3] = __builtin_shufflevector(t1, t3, 2, 3, 6, 7);
}

// Blocks 0 .. Blocks - 1 of the rows (adjacent, so two make a whole cache
// line of each row), block b's four columns into out[b].
template <bool Inv, int Blocks>
void gather_blocks(const float* block0, int64_t row_floats, int32_t rows, const float* tw, float* const* out) {
    constexpr float lo = Inv ? 1.0f : -1.0f, hi = -lo;
    const F8 sign = {lo, lo, lo, lo, hi, hi, hi, hi};
    for (int32_t q = 0; q < rows; q += 4) {
        for (int b = 0; b < Blocks; ++b) {
            D4 x[4];
            for (int j = 0; j < 4; ++j) {
                const F8 v = load8(block0 + (q + j) * row_floats + 8 * b);
                const F8 t = load8(tw + 8 * int64_t{rows} * b + 8 * (q + j));
                const F8 c = __builtin_shufflevector(t, t, 0, 1, 2, 3, 0, 1, 2, 3);
                const F8 ns = __builtin_shufflevector(t, t, 4, 5, 6, 7, 4, 5, 6, 7);
                const F8 swapped = __builtin_shufflevector(v, v, 4, 5, 6, 7, 0, 1, 2, 3);
                x[j] = as_pairs(block_to_pairs(v * c + sign * (swapped * ns)));
            }
            transpose_pairs(x);
            for (int l = 0; l < 4; ++l) store8(out[b] + 2 * rows * l + 2 * q, as_floats(x[l]));
        }
    }
}

template <bool Inv>
void column_gather(const float* block0, int64_t row_floats, int32_t rows, const float* tw, float* cols,
                   float* cols_next) {
    float* const out[2] = {cols, cols_next};
    if (cols_next) gather_blocks<Inv, 2>(block0, row_floats, rows, tw, out);
    else gather_blocks<Inv, 1>(block0, row_floats, rows, tw, out);
}

template <int Blocks>
void scatter_blocks(float* block0, int64_t row_floats, int32_t rows, const float* const* in, bool pairs) {
    for (int32_t q = 0; q < rows; q += 4) {
        for (int b = 0; b < Blocks; ++b) {
            D4 x[4];
            for (int l = 0; l < 4; ++l) x[l] = as_pairs(block_to_pairs(load8(in[b] + 2 * rows * l + 2 * q)));
            transpose_pairs(x);
            for (int j = 0; j < 4; ++j) {
                const F8 v = as_floats(x[j]);
                store8(block0 + (q + j) * row_floats + 8 * b, pairs ? v : pairs_to_block(v));
            }
        }
    }
}

void column_scatter(float* block0, int64_t row_floats, int32_t rows, const float* cols, const float* cols_next,
                    bool pairs) {
    const float* const in[2] = {cols, cols_next};
    if (cols_next) scatter_blocks<2>(block0, row_floats, rows, in, pairs);
    else scatter_blocks<1>(block0, row_floats, rows, in, pairs);
}

// Points 0..7 of eight runs of pairs into eight leaves: four 4x4
// transposes of 64-bit pairs.
void move8x8(const float* const* lines, float* const* leaves, int64_t at) {
    for (int b0 = 0; b0 < 8; b0 += 4) {
        for (int i0 = 0; i0 < 8; i0 += 4) {
            D4 x[4];
            for (int j = 0; j < 4; ++j) x[j] = as_pairs(load8(lines[b0 + j] + 2 * i0));
            transpose_pairs(x);
            for (int l = 0; l < 4; ++l) store8(leaves[i0 + l] + 2 * (at + b0), as_floats(x[l]));
        }
    }
}

// Two 16 by 16 tiles of pairs reversed on both indices into each other's
// place.  Four source rows whose reversed indices are 4c .. 4c + 3
// (rev4(4c + j) = 4 rev2(j) + rev2(c)), four adjacent pairs l0 .. l0 + 3
// of each, make a 4x4 transpose of 64-bit pairs that lands as pairs 4c ..
// 4c + 3 of the rows rev4(l0 + i): exactly the place of the chunk (c' =
// l0/4, l0' = 4c) of the other tile, which goes the other way.  The two
// chunks are read before either is written, so the exchange runs in place
// without a copy; within one tile, each pair of chunks is taken once.
void reverse_tiles(const float* src, float* dst, int64_t row, int64_t a, int64_t b) {
    static constexpr int rev2[4] = {0, 2, 1, 3};
    const auto load = [row](const float* tile, int c, int l0, D4* x) {
        for (int j = 0; j < 4; ++j) x[j] = as_pairs(load8(tile + (4 * rev2[j] + rev2[c]) * row + 2 * l0));
        transpose_pairs(x);
    };
    const auto store = [row](float* tile, int c, int l0, const D4* x) {
        for (int i = 0; i < 4; ++i) store8(tile + (4 * rev2[i] + rev2[l0 / 4]) * row + 8 * c, as_floats(x[i]));
    };
    // Chunks by squares of four, whose chunks of either tile share eight
    // whole cache lines: the rows of a tile lie a power of two apart (of
    // at least 4 KB from 2^13 points), in one set of the first-level
    // cache, which holds eight.
    for (int c2 = 0; c2 < 4; c2 += 2) {
        for (int l8 = 0; l8 < 16; l8 += 8) {
            for (int c = c2; c < c2 + 2; ++c) {
                for (int l0 = l8; l0 < l8 + 8; l0 += 4) {
                    if (a == b && l0 < 4 * c) continue;
                    D4 x[4], y[4];
                    load(src + a, c, l0, x);
                    load(src + b, l0 / 4, 4 * c, y);
                    store(dst + b, c, l0, x);
                    store(dst + a, l0 / 4, 4 * c, y);
                }
            }
        }
    }
}

template <bool Inv, int W>
int64_t first_pass(const float* data, const int32_t* table, const int32_t* stream, float* out, int64_t n,
                   const float* tab, bool radix16) {
    const Sources src{data, table, stream};
    return radix16 ? first_pass16<Inv, W>(src, out, n / 16, tab) : first_pass8<Inv, W>(src, out, n / 8);
}

}  // namespace

void fill_fft_table(sig::FftClassTable& t) {
    t.radix4[0] = radix4_pass<false>;
    t.radix4[1] = radix4_pass<true>;
    // The first passes take 256-bit registers in either class: the column
    // transforms of the blocked recursion have too few groups to fill
    // registers of sixteen, and 512-bit ones gain nothing on the rest.
    constexpr int W = 2;
    t.first[0] = first_pass<false, W>;
    t.first[1] = first_pass<true, W>;
    t.product[0] = spectrum_product<false>;
    t.product[1] = spectrum_product<true>;
    t.split[0] = [](const float* in, float* out, int64_t n, const float* tab) { return split_pass<false>(in, out, n, tab); };
    t.split[1] = [](const float* in, float* out, int64_t n, const float* tab) { return split_pass<true>(in, out, n, tab); };
    t.column_gather[0] = column_gather<false>;
    t.column_gather[1] = column_gather<true>;
    t.column_scatter = column_scatter;
    t.move8x8 = move8x8;
    t.reverse_tiles = reverse_tiles;
}

}  // namespace XEB_ISA
}  // namespace xeb
