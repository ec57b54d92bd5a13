// The plain loops of bench/direct_loops.h, compiled for AVX-512.
#include "direct_loops.h"

#include <immintrin.h>

namespace xbench {
namespace {

// The instructions of one vector width.
struct Pd8 {
    using V = __m512d;
    using T = double;
    static V set1(T v) { return _mm512_set1_pd(v); }
    static V load(const T* p) { return _mm512_loadu_pd(p); }
    static V mul(V a, V b) { return _mm512_mul_pd(a, b); }
    static V add(V a, V b) { return _mm512_add_pd(a, b); }
    static void store(T* p, V v) { _mm512_storeu_pd(p, v); }
    static V zero() { return _mm512_setzero_pd(); }
};
struct Ps16 {
    using V = __m512;
    using T = float;
    static V set1(T v) { return _mm512_set1_ps(v); }
    static V load(const T* p) { return _mm512_loadu_ps(p); }
    static V mul(V a, V b) { return _mm512_mul_ps(a, b); }
    static V add(V a, V b) { return _mm512_add_ps(a, b); }
    static void store(T* p, V v) { _mm512_storeu_ps(p, v); }
    static V zero() { return _mm512_setzero_ps(); }
};
struct Ps8 {
    using V = __m256;
    using T = float;
    static V set1(T v) { return _mm256_set1_ps(v); }
    static V load(const T* p) { return _mm256_loadu_ps(p); }
    static V mul(V a, V b) { return _mm256_mul_ps(a, b); }
    static V add(V a, V b) { return _mm256_add_ps(a, b); }
    static void store(T* p, V v) { _mm256_storeu_ps(p, v); }
    static V zero() { return _mm256_setzero_ps(); }
};
struct Ps4 {
    using V = __m128;
    using T = float;
    static V set1(T v) { return _mm_set1_ps(v); }
    static V load(const T* p) { return _mm_loadu_ps(p); }
    static V mul(V a, V b) { return _mm_mul_ps(a, b); }
    static V add(V a, V b) { return _mm_add_ps(a, b); }
    static void store(T* p, V v) { _mm_storeu_ps(p, v); }
    static V zero() { return _mm_setzero_ps(); }
};

// Output (c, r): terms x[r - k + 1 + a1][c - k + 1 + a0] y[k-1-a1][k-1-a0],
// a1 outer, a0 inner, ascending.
template <class I>
void plain_2d(const Padded<typename I::T>& xp, const typename I::T* y, int64_t k, int64_t nz0, int64_t nz1,
              typename I::T* z) {
    using T = typename I::T;
    using V = typename I::V;
    constexpr int64_t kLanes = sizeof(V) / sizeof(T);
    for (int64_t r = 0; r < nz1; ++r)
        for (int64_t c = 0; c < nz0; c += 4 * kLanes) {
            V acc0 = I::zero(), acc1 = I::zero(), acc2 = I::zero(), acc3 = I::zero();
            for (int64_t a1 = 0; a1 < k; ++a1) {
                const T* row = xp.data.data() + (r + a1) * xp.width + c;
                const T* taps = y + (k - 1 - a1) * k + k - 1;
                for (int64_t a0 = 0; a0 < k; ++a0) {
                    const V w = I::set1(taps[-a0]);
                    acc0 = I::add(acc0, I::mul(w, I::load(row + a0)));
                    acc1 = I::add(acc1, I::mul(w, I::load(row + a0 + kLanes)));
                    acc2 = I::add(acc2, I::mul(w, I::load(row + a0 + 2 * kLanes)));
                    acc3 = I::add(acc3, I::mul(w, I::load(row + a0 + 3 * kLanes)));
                }
            }
            T* out = z + r * xp.width + c;
            I::store(out, acc0);
            I::store(out + kLanes, acc1);
            I::store(out + 2 * kLanes, acc2);
            I::store(out + 3 * kLanes, acc3);
        }
}

// z[k] = sum_i y[i] x[k-i], ascending i.
template <class I>
void plain_1d(const float* xp, const float* y, int64_t ny, int64_t nz, float* z) {
    using V = typename I::V;
    constexpr int64_t kLanes = sizeof(V) / sizeof(float);
    for (int64_t k = 0; k < nz; k += 4 * kLanes) {
        V acc0 = I::zero(), acc1 = I::zero(), acc2 = I::zero(), acc3 = I::zero();
        for (int64_t i = 0; i < ny; ++i) {
            const V w = I::set1(y[i]);
            const float* at = xp + k + ny - 1 - i;
            acc0 = I::add(acc0, I::mul(w, I::load(at)));
            acc1 = I::add(acc1, I::mul(w, I::load(at + kLanes)));
            acc2 = I::add(acc2, I::mul(w, I::load(at + 2 * kLanes)));
            acc3 = I::add(acc3, I::mul(w, I::load(at + 3 * kLanes)));
        }
        I::store(z + k, acc0);
        I::store(z + k + kLanes, acc1);
        I::store(z + k + 2 * kLanes, acc2);
        I::store(z + k + 3 * kLanes, acc3);
    }
}

}  // namespace

void avx512_2d(const Padded<double>& xp, const double* y, int64_t k, int64_t nz0, int64_t nz1, double* z) {
    plain_2d<Pd8>(xp, y, k, nz0, nz1, z);
}
void avx512_2d(const Padded<float>& xp, const float* y, int64_t k, int64_t nz0, int64_t nz1, float* z) {
    plain_2d<Ps16>(xp, y, k, nz0, nz1, z);
}
void sse_1d(const float* xp, const float* y, int64_t ny, int64_t nz, float* z) { plain_1d<Ps4>(xp, y, ny, nz, z); }
void avx_1d(const float* xp, const float* y, int64_t ny, int64_t nz, float* z) { plain_1d<Ps8>(xp, y, ny, nz, z); }

}  // namespace xbench
