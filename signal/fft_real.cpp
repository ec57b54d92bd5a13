// Real transforms of 2^order floats and the spectrum products.
//
// Forward: the values taken as n = N/2 complex points z[m] = x[2m] + i x[2m+1]
// go through the complex transform, then the split pass separates the two
// interleaved spectra: with a = Z[k'], b = Z[n-k'], A = cos(t)/2,
// B = (1 - sin t)/2, t = 2 pi k'/N, d = a.re - b.re, s = a.im + b.im,
//   t1 = B s - A d, t2 = A s + B d,
//   X[k'] = (b.re + t2, t1 - b.im),  X[n-k'] = (a.re - t2, t1 - a.im).
// The inverse pre-pass yields twice the Z of the forward direction, the
// unscaled inverse therefore N times the input.
//
// Error: the split pass adds about two roundings relative to max|X| to the
// complex transform's error; tests bound the rms error by 1e-6 and the
// largest by 1e-5 of max|X| for every order up to 2^20.
#include <xmmintrin.h>

#include <cstring>

#include "signal/fft_class.h"
#include "signal/fft_core.h"
#include "signal/fft_split.h"

namespace xeb::sig {
namespace {

// Four complex numbers from pairs, lanes in order or reversed.
inline void load_pairs(const float* p, __m128& re, __m128& im) {
    const __m128 lo = _mm_loadu_ps(p), hi = _mm_loadu_ps(p + 4);
    re = _mm_shuffle_ps(lo, hi, _MM_SHUFFLE(2, 0, 2, 0));
    im = _mm_shuffle_ps(lo, hi, _MM_SHUFFLE(3, 1, 3, 1));
}
inline __m128 reversed(__m128 v) { return _mm_shuffle_ps(v, v, _MM_SHUFFLE(0, 1, 2, 3)); }
inline void store_pairs(float* p, __m128 re, __m128 im) {
    _mm_storeu_ps(p, _mm_unpacklo_ps(re, im));
    _mm_storeu_ps(p + 4, _mm_unpackhi_ps(re, im));
}

// A split pass over the pairs a = Z[k'] (from the low end, going up) and
// b = Z[n - k'] (from the high end, going down), k' = 1 .. n/2 - 1: `op`
// maps a, b and the table's two values for k' to the new values at k' and
// n - k' (signal/fft_split.h).  The class in use takes the leading k' in
// whole registers; then four k' run at a time in the lanes, with the
// table's blocks loaded as they stand, then one at a time.
template <bool Inv, class Op>
void split_pass(const float* in, float* out, int64_t n, const float* tab, Op op) {
    int64_t kk = 1;
    if (const auto in_class = fft_class_table().split[Inv ? 1 : 0]) kk = in_class(in, out, n, tab);
    for (; kk + 3 <= n / 2 - 1; kk += 4) {
        const float* t = tab + 8 * ((kk - 1) / 4);
        __m128 are, aim, bre, bim, xr, xi, yr, yi;
        load_pairs(in + 2 * kk, are, aim);
        load_pairs(in + 2 * (n - kk - 3), bre, bim);
        op(_mm_load_ps(t), _mm_load_ps(t + 4), are, aim, reversed(bre), reversed(bim), xr, xi, yr, yi);
        store_pairs(out + 2 * kk, xr, xi);
        store_pairs(out + 2 * (n - kk - 3), reversed(yr), reversed(yi));
    }
    for (; kk <= n / 2 - 1; ++kk) {
        const int64_t at = 8 * ((kk - 1) / 4) + (kk - 1) % 4;
        const float* a = in + 2 * kk;
        const float* b = in + 2 * (n - kk);
        float xr, xi, yr, yi;
        op(tab[at], tab[at + 4], a[0], a[1], b[0], b[1], xr, xi, yr, yi);
        out[2 * kk] = xr;
        out[2 * kk + 1] = xi;
        out[2 * (n - kk)] = yr;
        out[2 * (n - kk) + 1] = yi;
    }
}

void real_post(float* z, int64_t n, const float* tab) {
    split_pass<false>(z, z, n, tab, [](auto&&... v) { split_forward_step(v...); });
    z[n + 1] = -z[n + 1];  // Z[n/2] is its own partner
}

void real_pre(const float* x, float* z, int64_t n, const float* tab) {
    split_pass<true>(x, z, n, tab, [](auto&&... v) { split_inverse_step(v...); });
    z[n] = 2 * x[n];
    z[n + 1] = -2 * x[n + 1];
}

// ---- straight-line transforms of 1, 2, 4 and 8 values (edge-first) ------

using Fixed = void (*)(const float*, float*, float);

void fwd0(const float* x, float* y, float) { y[0] = x[0]; }
void fwd0s(const float* x, float* y, float sc) { y[0] = x[0] * sc; }
void fwd1(const float* x, float* y, float) {
    const float a = x[0], b = x[1];
    y[0] = a + b;
    y[1] = a - b;
}
void fwd1s(const float* x, float* y, float sc) {
    const float a = x[0], b = x[1];
    y[0] = (a + b) * sc;
    y[1] = (a - b) * sc;
}

template <bool Scaled>
void fwd2(const float* x, float* y, float sc) {
    const float s02 = x[0] + x[2], s13 = x[1] + x[3];
    const float d02 = x[0] - x[2], d31 = x[3] - x[1];
    const float m = Scaled ? sc : 1.0f;
    y[0] = (s02 + s13) * m;
    y[1] = (s02 - s13) * m;
    y[2] = d02 * m;
    y[3] = d31 * m;
}

template <bool Scaled>
void inv2(const float* x, float* y, float sc) {
    const float p = x[0] + x[1], q = x[0] - x[1], r = 2 * x[2], i = 2 * x[3];
    const float m = Scaled ? sc : 1.0f;
    y[0] = (p + r) * m;
    y[1] = (q - i) * m;
    y[2] = (p - r) * m;
    y[3] = (q + i) * m;
}

// Eight values with the intermediate sums in the x87's wide format.
constexpr long double kHalfRoot2 = 0.70710677L;  // float sqrt(1/2), as written
constexpr long double kRoot2 = 1.4142135L;

template <bool Scaled>
void fwd3(const float* x, float* y, float sc) {
    const long double a = (long double)x[0] + x[4], b = (long double)x[0] - x[4];
    const long double c = (long double)x[2] + x[6], d = (long double)x[2] - x[6];
    const long double e = (long double)x[1] + x[5], f = (long double)x[1] - x[5];
    const long double g = (long double)x[3] + x[7], h = (long double)x[3] - x[7];
    const long double fh = kHalfRoot2 * (f - h), fs = kHalfRoot2 * (f + h);
    const long double m = Scaled ? sc : 1.0L;
    y[0] = static_cast<float>(((a + c) + (e + g)) * m);
    y[1] = static_cast<float>(((a + c) - (e + g)) * m);
    y[2] = static_cast<float>((b + fh) * m);
    y[3] = static_cast<float>((-d - fs) * m);
    y[4] = static_cast<float>((a - c) * m);
    y[5] = static_cast<float>((g - e) * m);
    y[6] = static_cast<float>((b - fh) * m);
    y[7] = static_cast<float>((d - fs) * m);
}

template <bool Scaled>
void inv3(const float* x, float* y, float sc) {
    const long double X0 = x[0], X4 = x[1], R1 = x[2], I1 = x[3], R2 = x[4], I2 = x[5], R3 = x[6], I3 = x[7];
    const long double a = X0 + X4 + 2 * R2, c = X0 + X4 - 2 * R2;
    const long double g = X0 - X4 + 2 * I2, e = X0 - X4 - 2 * I2;
    const long double b = 2 * (R1 + R3), d = 2 * (I3 - I1);
    const long double f = kRoot2 * ((R1 - R3) - (I1 + I3));
    const long double h = kRoot2 * (-(I1 + I3) - (R1 - R3));
    const long double m = Scaled ? sc : 1.0L;
    y[0] = static_cast<float>((a + b) * m);
    y[4] = static_cast<float>((a - b) * m);
    y[2] = static_cast<float>((c + d) * m);
    y[6] = static_cast<float>((c - d) * m);
    y[1] = static_cast<float>((e + f) * m);
    y[5] = static_cast<float>((e - f) * m);
    y[3] = static_cast<float>((g + h) * m);
    y[7] = static_cast<float>((g - h) * m);
}

// Indexed by order: forward, forward scaled, inverse, inverse scaled.
constexpr Fixed kFixed[4][4] = {
    {fwd0, fwd0s, fwd0, fwd0s},
    {fwd1, fwd1s, fwd1, fwd1s},
    {fwd2<false>, fwd2<true>, inv2<false>, inv2<true>},
    {fwd3<false>, fwd3<true>, inv3<false>, inv3<true>},
};

int32_t check(const float* src, const float* dst, const sigFftPlan* plan) {
    if (!plan) return SIG_ERR_NULL;
    if (plan->id != SIG_PLAN_ID) return SIG_ERR_PLAN;
    if (!src || !dst) return SIG_ERR_NULL;
    return SIG_OK;
}

// The caller's work raised to 16 bytes, or an own block freed on exit.
struct Work {
    float* p = nullptr;
    void* owned = nullptr;
    int32_t acquire(const sigFftPlan* plan, void* work) {
        if (plan->workBytes < 1) return SIG_OK;
        if (work) {
            p = reinterpret_cast<float*>((reinterpret_cast<std::uintptr_t>(work) + 15) & ~std::uintptr_t{15});
            return SIG_OK;
        }
        owned = sigAllocBytes(plan->workBytes);
        if (!owned) return SIG_ERR_MEMORY;
        p = static_cast<float*>(owned);
        return SIG_OK;
    }
    ~Work() { sigFree(owned); }
};

template <bool Inv>
void scale_if(const sigFftPlan* p, float* d, int64_t n) {
    if (Inv ? p->scaleInverse : p->scaleForward) sigScale32f(p->scale, d, n);
}

// The complex transform of n = 2^k points: from src into dst (forward), or
// in place in dst (inverse).
template <bool Inv>
void complex_transform(const float* src, float* dst, const sigFftPlan* p, float* work) {
    const int32_t k = p->order - 1;
    const int64_t n = int64_t{1} << k;
    if (k <= 9) {
        const auto small = fft_class_table().small[Inv ? 1 : 0];
        if (small && small_transform_order(k))
            small(src, dst, k);
        else if (Inv)
            sigCplxIfftReorderCore(src, dst, static_cast<int32_t>(n), p->twiddles, p->reverseTable, work);
        else
            sigCplxFftReorderCore(src, dst, static_cast<int32_t>(n), p->twiddles, p->reverseTable, work);
        scale_if<Inv>(p, dst, 2 * n);
        return;
    }
    if (!Inv && src != dst && sigFftReadsNatural(k)) {
        sigFftBlockedForwardFrom(p, src, dst, k, work);
        return;
    }
    if (src == dst)
        sigBitReverseInPlace(dst, n, p->reverseTable);
    else
        sigBitReverseCopy(src, dst, n, p->reverseTable);
    if (k == 10) {
        if (Inv)
            sigCplxIfftCore(dst, static_cast<int32_t>(n), p->twiddles, work, true);
        else
            sigCplxFftCore(dst, static_cast<int32_t>(n), p->twiddles, work, true);
        scale_if<Inv>(p, dst, 2 * n);
    } else if (Inv) {
        sigFftBlockedInverse(p, dst, k, work);
    } else {
        sigFftBlockedForward(p, dst, k, work);
    }
}

int32_t forward_edge(const float* src, float* dst, const sigFftPlan* plan, void* work) {
    if (plan->order < 4) {
        kFixed[plan->order][plan->scaleForward ? 1 : 0](src, dst, plan->scale);
        return SIG_OK;
    }
    Work w;
    if (const int32_t st = w.acquire(plan, work); st != SIG_OK) return st;
    complex_transform<false>(src, dst, plan, w.p);
    const int64_t n = int64_t{1} << (plan->order - 1);
    const float z0 = dst[0], z1 = dst[1];
    dst[0] = z0 + z1;
    dst[1] = z0 - z1;
    real_post(dst, n, plan->realForward);
    return SIG_OK;
}

int32_t inverse_edge(const float* src, float* dst, const sigFftPlan* plan, void* work) {
    if (plan->order < 4) {
        kFixed[plan->order][plan->scaleInverse ? 3 : 2](src, dst, plan->scale);
        return SIG_OK;
    }
    Work w;
    if (const int32_t st = w.acquire(plan, work); st != SIG_OK) return st;
    const int64_t n = int64_t{1} << (plan->order - 1);
    const float x0 = src[0], xh = src[1];
    real_pre(src, dst, n, plan->realInverse);
    dst[0] = x0 + xh;
    dst[1] = x0 - xh;
    complex_transform<true>(dst, dst, plan, w.p);
    return SIG_OK;
}

// In-order spectrum into edge-first order: the last float moves to index 1.
void ordered_to_edge(const float* src, float* dst, int64_t n) {
    if (n < 3) {
        if (src != dst) std::memcpy(dst, src, static_cast<std::size_t>(n) * 4);
        return;
    }
    const float last = src[n - 1], first = src[0];
    std::memmove(dst + 2, src + 1, static_cast<std::size_t>(n - 2) * 4);
    dst[1] = last;
    dst[0] = first;
}

}  // namespace

int32_t sigFftForwardEdge(const float* src, float* dst, const sigFftPlan* plan, void* work) {
    if (const int32_t st = check(src, dst, plan); st != SIG_OK) return st;
    return forward_edge(src, dst, plan, work);
}

int32_t sigFftInverseEdge(const float* src, float* dst, const sigFftPlan* plan, void* work) {
    if (const int32_t st = check(src, dst, plan); st != SIG_OK) return st;
    return inverse_edge(src, dst, plan, work);
}

int32_t sigFftForwardOrdered(const float* src, float* dst, const sigFftPlan* plan, void* work) {
    if (const int32_t st = check(src, dst, plan); st != SIG_OK) return st;
    const int32_t st = forward_edge(src, dst, plan, work);
    const int64_t n = int64_t{1} << plan->order;
    if (st == SIG_OK && n > 2) {
        const float edge = dst[1];
        std::memmove(dst + 1, dst + 2, static_cast<std::size_t>(n - 2) * 4);
        dst[n - 1] = edge;
    }
    return st;
}

int32_t sigFftInverseOrdered(const float* src, float* dst, const sigFftPlan* plan, void* work) {
    if (const int32_t st = check(src, dst, plan); st != SIG_OK) return st;
    ordered_to_edge(src, dst, int64_t{1} << plan->order);
    return inverse_edge(dst, dst, plan, work);
}

// ---- spectrum products ------------------------------------------------------

namespace {

// b := a * b, or a * conj(b) with Conj, on complex pairs, four a pass:
// (a.re b.re - a.im b.im, a.re b.im + a.im b.re), or
// (a.re b.re + a.im b.im, a.im b.re - a.re b.im).
template <bool Conj>
void spectrum_product(const float* a, float* b, int64_t pairs) {
    if (const auto class_product = fft_class_table().product[Conj ? 1 : 0]) {
        class_product(a, b, pairs);
        return;
    }
    int64_t i = 0;
    for (; i + 4 <= pairs; i += 4) {
        __m128 are, aim, bre, bim;
        load_pairs(a + 2 * i, are, aim);
        load_pairs(b + 2 * i, bre, bim);
        const __m128 rr = _mm_mul_ps(are, bre), ii = _mm_mul_ps(aim, bim);
        const __m128 ri = _mm_mul_ps(are, bim), ir = _mm_mul_ps(aim, bre);
        if (Conj)
            store_pairs(b + 2 * i, _mm_add_ps(rr, ii), _mm_sub_ps(ir, ri));
        else
            store_pairs(b + 2 * i, _mm_sub_ps(rr, ii), _mm_add_ps(ri, ir));
    }
    for (; i < pairs; ++i) {
        const float ar = a[2 * i], ai = a[2 * i + 1], br = b[2 * i], bi = b[2 * i + 1];
        b[2 * i] = Conj ? ar * br + ai * bi : ar * br - ai * bi;
        b[2 * i + 1] = Conj ? ai * br - ar * bi : ar * bi + ai * br;
    }
}

}  // namespace

int32_t sigMulSpectrumEdge(const float* a, float* b, int32_t n) {
    if (!a || !b) return SIG_ERR_NULL;
    if (n < 1) return SIG_ERR_SIZE;
    b[0] *= a[0];
    if (n % 2 == 1) {
        spectrum_product<false>(a + 1, b + 1, (n - 1) / 2);
        return SIG_OK;
    }
    b[1] *= a[1];
    spectrum_product<false>(a + 2, b + 2, (n - 2) / 2);
    return SIG_OK;
}

int32_t sigMulConjSpectrumOrdered(const float* a, float* b, int32_t n) {
    if (!a || !b) return SIG_ERR_NULL;
    if (n < 1) return SIG_ERR_SIZE;
    b[0] *= a[0];
    if (n % 2 == 0 && n > 1) b[n - 1] *= a[n - 1];
    spectrum_product<true>(a + 1, b + 1, (n - 1) / 2);
    return SIG_OK;
}

}  // namespace xeb::sig
