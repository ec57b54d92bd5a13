// SLEEF's 256-bit error functions over arrays, for bench_vm: whole
// registers, then the tail through a padded copy.  This file alone is
// built for AVX2 (sleef.h declares the 256-bit forms only there, and the
// vectors then pass in registers); SLEEF's dispatcher picks its own code.
#include <immintrin.h>
#include <sleef.h>

#include <cstring>

#include "sleef_loops.h"

namespace {

// f(in, out) evaluates one register of w lanes.
template <int w, class T, class F>
void over_array(int n, const T* a, T* r, F f) {
    int i = 0;
    for (; i + w <= n; i += w) f(a + i, r + i);
    if (i >= n) return;
    T in[w] = {}, out[w];
    std::memcpy(in, a + i, sizeof(T) * static_cast<std::size_t>(n - i));
    f(in, out);
    std::memcpy(r + i, out, sizeof(T) * static_cast<std::size_t>(n - i));
}

}  // namespace

void sleef_erf_u10(int n, const double* a, double* r) {
    over_array<4>(n, a, r, [](const double* x, double* y) { _mm256_storeu_pd(y, Sleef_erfd4_u10(_mm256_loadu_pd(x))); });
}
void sleef_erf_u10(int n, const float* a, float* r) {
    over_array<8>(n, a, r, [](const float* x, float* y) { _mm256_storeu_ps(y, Sleef_erff8_u10(_mm256_loadu_ps(x))); });
}
void sleef_erfc_u15(int n, const double* a, double* r) {
    over_array<4>(n, a, r, [](const double* x, double* y) { _mm256_storeu_pd(y, Sleef_erfcd4_u15(_mm256_loadu_pd(x))); });
}
void sleef_erfc_u15(int n, const float* a, float* r) {
    over_array<8>(n, a, r, [](const float* x, float* y) { _mm256_storeu_ps(y, Sleef_erfcf8_u15(_mm256_loadu_ps(x))); });
}
