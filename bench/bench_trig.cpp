// Sine, cosine, sine-cosine and tangent against glibc's libm in a loop,
// n = 1000, on [-10, 10] and on [-1e5, 1e5] (both inside the double
// kernels' bound of 128000).  The counter "ratio" is ours / glibc.
#include <cmath>
#include <random>
#include <vector>

#include "paired.h"
#include "xebruk/vm_trig.h"

namespace {

template <class T>
struct Data {
    std::vector<T> a, y, z;
    Data(int n, double range) : a(n), y(n), z(n) {
        std::mt19937 g(11);
        std::uniform_real_distribution<double> u(-range, range);
        for (T& v : a) v = static_cast<T>(u(g));
    }
};

// glibc in a loop, kept out of line so that the loop is what is measured.
template <class T, T (*F)(T)>
__attribute__((noinline)) void glibc_loop(int n, const T* a, T* r) {
    for (int i = 0; i < n; ++i) r[i] = F(a[i]);
}
template <class T>
__attribute__((noinline)) void glibc_sincos_loop(int n, const T* a, T* y, T* z) {
    for (int i = 0; i < n; ++i) {
        if constexpr (sizeof(T) == sizeof(double)) sincos(a[i], &y[i], &z[i]);
        else sincosf(a[i], &y[i], &z[i]);
    }
}

double c_sin(double x) { return std::sin(x); }
double c_cos(double x) { return std::cos(x); }
double c_tan(double x) { return std::tan(x); }
float c_sinf(float x) { return std::sin(x); }
float c_cosf(float x) { return std::cos(x); }
float c_tanf(float x) { return std::tan(x); }

template <class T, void (*Ours)(int, const T*, T*), T (*Peer)(T)>
void BM_Unary(benchmark::State& st) {
    const int n = static_cast<int>(st.range(0));
    Data<T> d(n, static_cast<double>(st.range(1)));
    xbench::paired(
        st, [&] { Ours(n, d.a.data(), d.y.data()); benchmark::ClobberMemory(); },
        [&] { glibc_loop<T, Peer>(n, d.a.data(), d.z.data()); benchmark::ClobberMemory(); });
}

template <class T, void (*Ours)(int, const T*, T*, T*)>
void BM_SinCos(benchmark::State& st) {
    const int n = static_cast<int>(st.range(0));
    Data<T> d(n, static_cast<double>(st.range(1)));
    std::vector<T> y2(n), z2(n);
    xbench::paired(
        st, [&] { Ours(n, d.a.data(), d.y.data(), d.z.data()); benchmark::ClobberMemory(); },
        [&] { glibc_sincos_loop<T>(n, d.a.data(), y2.data(), z2.data()); benchmark::ClobberMemory(); });
}

void ranges(benchmark::internal::Benchmark* b) { b->Args({1000, 10})->Args({1000, 100000}); }

BENCHMARK(BM_Unary<double, xebdSin_HA, c_sin>)->Name("xebdSin_HA_vs_sin")->Apply(ranges);
BENCHMARK(BM_Unary<double, xebdCos_HA, c_cos>)->Name("xebdCos_HA_vs_cos")->Apply(ranges);
BENCHMARK(BM_SinCos<double, xebdSinCos_HA>)->Name("xebdSinCos_HA_vs_sincos")->Apply(ranges);
BENCHMARK(BM_Unary<double, xebdTan_HA, c_tan>)->Name("xebdTan_HA_vs_tan")->Apply(ranges);
BENCHMARK(BM_Unary<double, xebdTan_50, c_tan>)->Name("xebdTan_50_vs_tan")->Apply(ranges);
BENCHMARK(BM_Unary<float, xebsSin_HA, c_sinf>)->Name("xebsSin_HA_vs_sinf")->Apply(ranges);
BENCHMARK(BM_Unary<float, xebsSin_21, c_sinf>)->Name("xebsSin_21_vs_sinf")->Apply(ranges);
BENCHMARK(BM_Unary<float, xebsCos_HA, c_cosf>)->Name("xebsCos_HA_vs_cosf")->Apply(ranges);
BENCHMARK(BM_Unary<float, xebsCos_21, c_cosf>)->Name("xebsCos_21_vs_cosf")->Apply(ranges);
BENCHMARK(BM_SinCos<float, xebsSinCos_HA>)->Name("xebsSinCos_HA_vs_sincosf")->Apply(ranges);
BENCHMARK(BM_SinCos<float, xebsSinCos_21>)->Name("xebsSinCos_21_vs_sincosf")->Apply(ranges);
BENCHMARK(BM_Unary<float, xebsTan_HA, c_tanf>)->Name("xebsTan_HA_vs_tanf")->Apply(ranges);
BENCHMARK(BM_Unary<float, xebsTan_21, c_tanf>)->Name("xebsTan_21_vs_tanf")->Apply(ranges);

}  // namespace

BENCHMARK_MAIN();
