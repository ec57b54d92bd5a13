// SLEEF over arrays: whole registers, then the tail through a padded copy.
// Built with -mavx2 -mfma; called only after a check of the processor.
#include "sleef_invtrig.h"

#include <immintrin.h>
#include <sleef.h>

#include <cstring>

namespace xbench {
namespace {

// One register of W lanes from n - i < W elements (the rest zero), and back.
template <class T, class R, int W>
R load(const T* a, int count) {
    T in[W] = {};
    std::memcpy(in, a, sizeof(T) * count);
    R v;
    std::memcpy(&v, in, sizeof v);
    return v;
}
template <class T, class R, int W>
void store(T* r, R v, int count) {
    T out[W];
    std::memcpy(out, &v, sizeof v);
    std::memcpy(r, out, sizeof(T) * count);
}

template <class T, class R, int W, auto F>
void over_array(int n, const T* a, T* r) {
    for (int i = 0; i < n; i += W) {
        const int count = n - i < W ? n - i : W;
        store<T, R, W>(r + i, F(load<T, R, W>(a + i, count)), count);
    }
}

template <class T, class R, int W, auto F>
void over_arrays(int n, const T* a, const T* b, T* r) {
    for (int i = 0; i < n; i += W) {
        const int count = n - i < W ? n - i : W;
        store<T, R, W>(r + i, F(load<T, R, W>(a + i, count), load<T, R, W>(b + i, count)), count);
    }
}

bool avx2() { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"); }

}  // namespace

SleefInvTrig<double> sleef_invtrig_d() {
    if (!avx2()) return {};
    return {over_array<double, __m256d, 4, Sleef_asind4_u10avx2>, over_array<double, __m256d, 4, Sleef_acosd4_u10avx2>,
            over_array<double, __m256d, 4, Sleef_atand4_u10avx2>,
            over_arrays<double, __m256d, 4, Sleef_atan2d4_u10avx2>};
}

SleefInvTrig<float> sleef_invtrig_s() {
    if (!avx2()) return {};
    return {over_array<float, __m256, 8, Sleef_asinf8_u10avx2>, over_array<float, __m256, 8, Sleef_acosf8_u10avx2>,
            over_array<float, __m256, 8, Sleef_atanf8_u10avx2>, over_arrays<float, __m256, 8, Sleef_atan2f8_u10avx2>};
}

}  // namespace xbench
