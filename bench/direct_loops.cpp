// The plain loops of bench/direct_loops.h, compiled for AVX-512.
#include "direct_loops.h"

namespace xbench {
namespace {

// Vectors of one width (GCC vector extensions: this object is built for
// AVX-512, so 64-byte vectors are single zmm instructions).
template <class Lane, int Bytes>
struct Width {
    using T = Lane;
    typedef Lane V __attribute__((vector_size(Bytes)));
    static constexpr int64_t kLanes = Bytes / sizeof(Lane);
    // Every lane v: one broadcast.
    static V set1(T v) {
        V r;
        for (int64_t i = 0; i < kLanes; ++i) r[i] = v;
        return r;
    }
    static V load(const T* p) {
        V r;
        __builtin_memcpy(&r, p, sizeof r);
        return r;
    }
    static void store(T* p, V v) { __builtin_memcpy(p, &v, sizeof v); }
};
using Pd8 = Width<double, 64>;
using Ps16 = Width<float, 64>;
using Ps8 = Width<float, 32>;
using Ps4 = Width<float, 16>;

// Output (c, r): terms x[r - k + 1 + a1][c - k + 1 + a0] y[k-1-a1][k-1-a0],
// a1 outer, a0 inner, ascending.
template <class I>
void plain_2d(const Padded<typename I::T>& xp, const typename I::T* y, int64_t k, int64_t nz0, int64_t nz1,
              typename I::T* z) {
    using T = typename I::T;
    using V = typename I::V;
    constexpr int64_t kLanes = I::kLanes;
    for (int64_t r = 0; r < nz1; ++r)
        for (int64_t c = 0; c < nz0; c += 4 * kLanes) {
            V acc0 = V{}, acc1 = V{}, acc2 = V{}, acc3 = V{};
            for (int64_t a1 = 0; a1 < k; ++a1) {
                const T* row = xp.data.data() + (r + a1) * xp.width + c;
                const T* taps = y + (k - 1 - a1) * k + k - 1;
                for (int64_t a0 = 0; a0 < k; ++a0) {
                    const V w = I::set1(taps[-a0]);
                    acc0 = acc0 + w * I::load(row + a0);
                    acc1 = acc1 + w * I::load(row + a0 + kLanes);
                    acc2 = acc2 + w * I::load(row + a0 + 2 * kLanes);
                    acc3 = acc3 + w * I::load(row + a0 + 3 * kLanes);
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
    constexpr int64_t kLanes = I::kLanes;
    for (int64_t k = 0; k < nz; k += 4 * kLanes) {
        V acc0 = V{}, acc1 = V{}, acc2 = V{}, acc3 = V{};
        for (int64_t i = 0; i < ny; ++i) {
            const V w = I::set1(y[i]);
            const float* at = xp + k + ny - 1 - i;
            acc0 = acc0 + w * I::load(at);
            acc1 = acc1 + w * I::load(at + kLanes);
            acc2 = acc2 + w * I::load(at + 2 * kLanes);
            acc3 = acc3 + w * I::load(at + 3 * kLanes);
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
