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

template <class T, class R, int W, auto F>
void over_arrays(int n, const T* a, const T* b, T* r) {
    int i = 0;
    for (; i + W <= n; i += W) {
        R u, v;
        std::memcpy(&u, a + i, sizeof u);
        std::memcpy(&v, b + i, sizeof v);
        u = F(u, v);
        std::memcpy(r + i, &u, sizeof u);
    }
    if (i == n) return;
    T x[W] = {}, y[W] = {}, out[W];
    std::memcpy(x, a + i, sizeof(T) * (n - i));
    std::memcpy(y, b + i, sizeof(T) * (n - i));
    R u, v;
    std::memcpy(&u, x, sizeof u);
    std::memcpy(&v, y, sizeof v);
    u = F(u, v);
    std::memcpy(out, &u, sizeof u);
    std::memcpy(r + i, out, sizeof(T) * (n - i));
}

template <class R>
R divide(R a, R b) {
    return a / b;
}

bool avx512() { return __builtin_cpu_supports("avx512f"); }
bool avx2() { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"); }

// A family's u10 and u35 forms in both precisions, in the class's
// instruction set: the AVX-512 functions first, then the AVX2 ones.
template <auto D8, auto D8Low, auto F16, auto F16Low, auto D4, auto D4Low, auto F8, auto F8Low>
SleefFamily in_class(bool wide) {
    if (wide && avx512())
        return {&over_array<double, __m512d, 8, D8>, &over_array<double, __m512d, 8, D8Low>,
                &over_array<float, __m512, 16, F16>, &over_array<float, __m512, 16, F16Low>};
    if (avx2())
        return {&over_array<double, __m256d, 4, D4>, &over_array<double, __m256d, 4, D4Low>,
                &over_array<float, __m256, 8, F8>, &over_array<float, __m256, 8, F8Low>};
    return {};
}

// A family SLEEF has in u10 only (as taken here): the hyperbolic ones.
template <auto D8, auto F16, auto D4, auto F8>
SleefFamily u10_family(bool wide) {
    if (wide && avx512())
        return {&over_array<double, __m512d, 8, D8>, nullptr, &over_array<float, __m512, 16, F16>, nullptr};
    if (avx2()) return {&over_array<double, __m256d, 4, D4>, nullptr, &over_array<float, __m256, 8, F8>, nullptr};
    return {};
}

SleefFamily exp_family(bool wide) {
    return u10_family<Sleef_expd8_u10avx512f, Sleef_expf16_u10avx512f, Sleef_expd4_u10avx2, Sleef_expf8_u10avx2>(wide);
}

SleefFamily sin_family(bool wide) {
    return in_class<Sleef_sind8_u10avx512f, Sleef_sind8_u35avx512f, Sleef_sinf16_u10avx512f, Sleef_sinf16_u35avx512f,
                    Sleef_sind4_u10avx2, Sleef_sind4_u35avx2, Sleef_sinf8_u10avx2, Sleef_sinf8_u35avx2>(wide);
}

SleefFamily cos_family(bool wide) {
    return in_class<Sleef_cosd8_u10avx512f, Sleef_cosd8_u35avx512f, Sleef_cosf16_u10avx512f, Sleef_cosf16_u35avx512f,
                    Sleef_cosd4_u10avx2, Sleef_cosd4_u35avx2, Sleef_cosf8_u10avx2, Sleef_cosf8_u35avx2>(wide);
}

SleefFamily tan_family(bool wide) {
    return in_class<Sleef_tand8_u10avx512f, Sleef_tand8_u35avx512f, Sleef_tanf16_u10avx512f, Sleef_tanf16_u35avx512f,
                    Sleef_tand4_u10avx2, Sleef_tand4_u35avx2, Sleef_tanf8_u10avx2, Sleef_tanf8_u35avx2>(wide);
}

SleefFamily ln_family(bool wide) {
    return in_class<Sleef_logd8_u10avx512f, Sleef_logd8_u35avx512f, Sleef_logf16_u10avx512f, Sleef_logf16_u35avx512f,
                    Sleef_logd4_u10avx2, Sleef_logd4_u35avx2, Sleef_logf8_u10avx2, Sleef_logf8_u35avx2>(wide);
}

SleefFamily log10_family(bool wide) {
    return u10_family<Sleef_log10d8_u10avx512f, Sleef_log10f16_u10avx512f, Sleef_log10d4_u10avx2, Sleef_log10f8_u10avx2>(wide);
}

SleefFamily sqrt_family(bool wide) {
    return in_class<Sleef_sqrtd8_u05avx512f, Sleef_sqrtd8_u35avx512f, Sleef_sqrtf16_u05avx512f, Sleef_sqrtf16_u35avx512f,
                    Sleef_sqrtd4_u05avx2, Sleef_sqrtd4_u35avx2, Sleef_sqrtf8_u05avx2, Sleef_sqrtf8_u35avx2>(wide);
}

SleefFamily cbrt_family(bool wide) {
    return in_class<Sleef_cbrtd8_u10avx512f, Sleef_cbrtd8_u35avx512f, Sleef_cbrtf16_u10avx512f, Sleef_cbrtf16_u35avx512f,
                    Sleef_cbrtd4_u10avx2, Sleef_cbrtd4_u35avx2, Sleef_cbrtf8_u10avx2, Sleef_cbrtf8_u35avx2>(wide);
}

// The native operations, one register at a time.
__m512d inv_d8(__m512d x) { return _mm512_div_pd(_mm512_set1_pd(1), x); }
__m512 inv_f16(__m512 x) { return _mm512_div_ps(_mm512_set1_ps(1), x); }
__m256d inv_d4(__m256d x) { return _mm256_div_pd(_mm256_set1_pd(1), x); }
__m256 inv_f8(__m256 x) { return _mm256_div_ps(_mm256_set1_ps(1), x); }
// (maskz: gcc 12 warns on the plain AVX-512 square roots)
__m512d sqrt_d8(__m512d x) { return _mm512_maskz_sqrt_pd(0xFF, x); }
__m512 sqrt_f16(__m512 x) { return _mm512_maskz_sqrt_ps(0xFFFF, x); }
__m512d inv_sqrt_d8(__m512d x) { return inv_d8(sqrt_d8(x)); }
__m512 inv_sqrt_f16(__m512 x) { return inv_f16(sqrt_f16(x)); }
__m256d inv_sqrt_d4(__m256d x) { return inv_d4(_mm256_sqrt_pd(x)); }
__m256 inv_sqrt_f8(__m256 x) { return inv_f8(_mm256_sqrt_ps(x)); }

SleefBinary pow_family(bool wide) {
    if (wide && avx512())
        return {&over_arrays<double, __m512d, 8, Sleef_powd8_u10avx512f>,
                &over_arrays<float, __m512, 16, Sleef_powf16_u10avx512f>};
    if (avx2())
        return {&over_arrays<double, __m256d, 4, Sleef_powd4_u10avx2>, &over_arrays<float, __m256, 8, Sleef_powf8_u10avx2>};
    return {};
}

SleefBinary atan2_family(bool wide) {
    if (wide && avx512())
        return {&over_arrays<double, __m512d, 8, Sleef_atan2d8_u10avx512f>,
                &over_arrays<float, __m512, 16, Sleef_atan2f16_u10avx512f>};
    if (avx2())
        return {&over_arrays<double, __m256d, 4, Sleef_atan2d4_u10avx2>,
                &over_arrays<float, __m256, 8, Sleef_atan2f8_u10avx2>};
    return {};
}

SleefBinary divide_family(bool wide) {
    if (wide && avx512())
        return {&over_arrays<double, __m512d, 8, divide<__m512d>>, &over_arrays<float, __m512, 16, divide<__m512>>};
    if (avx2())
        return {&over_arrays<double, __m256d, 4, divide<__m256d>>, &over_arrays<float, __m256, 8, divide<__m256>>};
    return {};
}

// SLEEF has erf in u10 and erfc in u15 only: both in the u10 place.
SleefFamily erf_family(bool wide, bool complement) {
    if (wide && avx512())
        return complement ? SleefFamily{&over_array<double, __m512d, 8, Sleef_erfcd8_u15avx512f>, nullptr,
                                        &over_array<float, __m512, 16, Sleef_erfcf16_u15avx512f>, nullptr}
                          : SleefFamily{&over_array<double, __m512d, 8, Sleef_erfd8_u10avx512f>, nullptr,
                                        &over_array<float, __m512, 16, Sleef_erff16_u10avx512f>, nullptr};
    if (avx2())
        return complement ? SleefFamily{&over_array<double, __m256d, 4, Sleef_erfcd4_u15avx2>, nullptr,
                                        &over_array<float, __m256, 8, Sleef_erfcf8_u15avx2>, nullptr}
                          : SleefFamily{&over_array<double, __m256d, 4, Sleef_erfd4_u10avx2>, nullptr,
                                        &over_array<float, __m256, 8, Sleef_erff8_u10avx2>, nullptr};
    return {};
}

SleefFamily invtrig_family(const std::string& family, bool wide) {
    if (family == "Asin")
        return in_class<Sleef_asind8_u10avx512f, Sleef_asind8_u35avx512f, Sleef_asinf16_u10avx512f,
                        Sleef_asinf16_u35avx512f, Sleef_asind4_u10avx2, Sleef_asind4_u35avx2,
                        Sleef_asinf8_u10avx2, Sleef_asinf8_u35avx2>(wide);
    if (family == "Acos")
        return in_class<Sleef_acosd8_u10avx512f, Sleef_acosd8_u35avx512f, Sleef_acosf16_u10avx512f,
                        Sleef_acosf16_u35avx512f, Sleef_acosd4_u10avx2, Sleef_acosd4_u35avx2,
                        Sleef_acosf8_u10avx2, Sleef_acosf8_u35avx2>(wide);
    if (family == "Atan")
        return in_class<Sleef_atand8_u10avx512f, Sleef_atand8_u35avx512f, Sleef_atanf16_u10avx512f,
                        Sleef_atanf16_u35avx512f, Sleef_atand4_u10avx2, Sleef_atand4_u35avx2,
                        Sleef_atanf8_u10avx2, Sleef_atanf8_u35avx2>(wide);
    return {};
}

}  // namespace

SleefBinary sleef_binary(const std::string& family, bool wide) {
    if (family == "Pow" || family == "Powx") return pow_family(wide);
    if (family == "Div") return divide_family(wide);
    if (family == "Atan2") return atan2_family(wide);
    return {};
}

SleefFamily sleef_family(const std::string& family, bool wide) {
    if (family == "Exp") return exp_family(wide);
    if (family == "Ln") return ln_family(wide);
    if (family == "Sin") return sin_family(wide);
    if (family == "Cos") return cos_family(wide);
    if (family == "Tan") return tan_family(wide);
    if (family == "Log10") return log10_family(wide);
    if (family == "Sqrt") return sqrt_family(wide);
    if (family == "Cbrt") return cbrt_family(wide);
    if (family == "Erf" || family == "Erfc") return erf_family(wide, family == "Erfc");
    if (family == "Asin" || family == "Acos" || family == "Atan") return invtrig_family(family, wide);
    if (family == "Sinh")
        return u10_family<Sleef_sinhd8_u10avx512f, Sleef_sinhf16_u10avx512f, Sleef_sinhd4_u10avx2, Sleef_sinhf8_u10avx2>(wide);
    if (family == "Cosh")
        return u10_family<Sleef_coshd8_u10avx512f, Sleef_coshf16_u10avx512f, Sleef_coshd4_u10avx2, Sleef_coshf8_u10avx2>(wide);
    if (family == "Tanh")
        return u10_family<Sleef_tanhd8_u10avx512f, Sleef_tanhf16_u10avx512f, Sleef_tanhd4_u10avx2, Sleef_tanhf8_u10avx2>(wide);
    if (family == "Asinh")
        return u10_family<Sleef_asinhd8_u10avx512f, Sleef_asinhf16_u10avx512f, Sleef_asinhd4_u10avx2, Sleef_asinhf8_u10avx2>(wide);
    if (family == "Acosh")
        return u10_family<Sleef_acoshd8_u10avx512f, Sleef_acoshf16_u10avx512f, Sleef_acoshd4_u10avx2, Sleef_acoshf8_u10avx2>(wide);
    if (family == "Atanh")
        return u10_family<Sleef_atanhd8_u10avx512f, Sleef_atanhf16_u10avx512f, Sleef_atanhd4_u10avx2, Sleef_atanhf8_u10avx2>(wide);
    return {};
}

NativeLoops native_loops(const std::string& family, bool wide) {
    const bool w = wide && avx512();
    if (!w && !avx2()) return {};
    if (family == "Inv")
        return w ? NativeLoops{&over_array<double, __m512d, 8, inv_d8>, &over_array<float, __m512, 16, inv_f16>}
                 : NativeLoops{&over_array<double, __m256d, 4, inv_d4>, &over_array<float, __m256, 8, inv_f8>};
    if (family == "Sqrt")
        return w ? NativeLoops{&over_array<double, __m512d, 8, sqrt_d8>, &over_array<float, __m512, 16, sqrt_f16>}
                 : NativeLoops{&over_array<double, __m256d, 4, _mm256_sqrt_pd>, &over_array<float, __m256, 8, _mm256_sqrt_ps>};
    if (family == "InvSqrt")
        return w ? NativeLoops{&over_array<double, __m512d, 8, inv_sqrt_d8>, &over_array<float, __m512, 16, inv_sqrt_f16>}
                 : NativeLoops{&over_array<double, __m256d, 4, inv_sqrt_d4>, &over_array<float, __m256, 8, inv_sqrt_f8>};
    return {};
}

SleefInvTrig<double> sleef_invtrig_d() {
    if (!avx2()) return {};
    return {&over_array<double, __m256d, 4, Sleef_asind4_u10avx2>, &over_array<double, __m256d, 4, Sleef_acosd4_u10avx2>,
            &over_array<double, __m256d, 4, Sleef_atand4_u10avx2>,
            &over_arrays<double, __m256d, 4, Sleef_atan2d4_u10avx2>};
}

SleefInvTrig<float> sleef_invtrig_s() {
    if (!avx2()) return {};
    return {&over_array<float, __m256, 8, Sleef_asinf8_u10avx2>, &over_array<float, __m256, 8, Sleef_acosf8_u10avx2>,
            &over_array<float, __m256, 8, Sleef_atanf8_u10avx2>, &over_arrays<float, __m256, 8, Sleef_atan2f8_u10avx2>};
}

}  // namespace xbench

#else

xbench::SleefFamily xbench::sleef_family(const std::string&, bool) { return {}; }
xbench::NativeLoops xbench::native_loops(const std::string&, bool) { return {}; }
xbench::SleefBinary xbench::sleef_binary(const std::string&, bool) { return {}; }
xbench::SleefInvTrig<double> xbench::sleef_invtrig_d() { return {}; }
xbench::SleefInvTrig<float> xbench::sleef_invtrig_s() { return {}; }

#endif
