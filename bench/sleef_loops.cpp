// SLEEF over arrays: whole registers, then the tail through a padded copy.
#include "sleef_loops.h"

#if XEBRUK_HAVE_SLEEF
#include <immintrin.h>
#include <sleef.h>

#include <cstring>

namespace xbench {
namespace {

template <class T, class R, int W, auto F>
void over_array(int n, const T* a, T* r) {
    int i = 0;
    for (; i + W <= n; i += W) {
        R v;
        std::memcpy(&v, a + i, sizeof v);
        v = F(v);
        std::memcpy(r + i, &v, sizeof v);
    }
    if (i == n) return;
    T in[W] = {}, out[W];
    std::memcpy(in, a + i, sizeof(T) * (n - i));
    R v;
    std::memcpy(&v, in, sizeof v);
    v = F(v);
    std::memcpy(out, &v, sizeof v);
    std::memcpy(r + i, out, sizeof(T) * (n - i));
}

bool avx512() { return __builtin_cpu_supports("avx512f"); }
bool avx2() { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"); }

SleefFamily exp_family(bool wide) {
    if (wide && avx512())
        return {&over_array<double, __m512d, 8, Sleef_expd8_u10avx512f>, nullptr,
                &over_array<float, __m512, 16, Sleef_expf16_u10avx512f>, nullptr};
    if (avx2())
        return {&over_array<double, __m256d, 4, Sleef_expd4_u10avx2>, nullptr,
                &over_array<float, __m256, 8, Sleef_expf8_u10avx2>, nullptr};
    return {};
}

SleefFamily ln_family(bool wide) {
    if (wide && avx512())
        return {&over_array<double, __m512d, 8, Sleef_logd8_u10avx512f>,
                &over_array<double, __m512d, 8, Sleef_logd8_u35avx512f>,
                &over_array<float, __m512, 16, Sleef_logf16_u10avx512f>,
                &over_array<float, __m512, 16, Sleef_logf16_u35avx512f>};
    if (avx2())
        return {&over_array<double, __m256d, 4, Sleef_logd4_u10avx2>, &over_array<double, __m256d, 4, Sleef_logd4_u35avx2>,
                &over_array<float, __m256, 8, Sleef_logf8_u10avx2>, &over_array<float, __m256, 8, Sleef_logf8_u35avx2>};
    return {};
}

SleefFamily log10_family(bool wide) {
    if (wide && avx512())
        return {&over_array<double, __m512d, 8, Sleef_log10d8_u10avx512f>, nullptr,
                &over_array<float, __m512, 16, Sleef_log10f16_u10avx512f>, nullptr};
    if (avx2())
        return {&over_array<double, __m256d, 4, Sleef_log10d4_u10avx2>, nullptr,
                &over_array<float, __m256, 8, Sleef_log10f8_u10avx2>, nullptr};
    return {};
}

}  // namespace

SleefFamily sleef_family(const std::string& family, bool wide) {
    if (family == "Exp") return exp_family(wide);
    if (family == "Ln") return ln_family(wide);
    if (family == "Log10") return log10_family(wide);
    return {};
}

}  // namespace xbench

#else

xbench::SleefFamily xbench::sleef_family(const std::string&, bool) { return {}; }

#endif
