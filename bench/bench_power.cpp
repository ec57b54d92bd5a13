// Power against glibc's pow and powf in a loop compiled at -O2.
#include <cmath>
#include <random>
#include <vector>

#include "paired.h"
#include "xebruk/vm_power.h"

namespace {

template <class T>
struct Data {
    std::vector<T> a, b, r;
    explicit Data(int n) : a(n), b(n), r(n) {
        std::mt19937 g(7);
        std::uniform_real_distribution<T> base(T(0.5), T(1000)), exponent(T(-20), T(20));
        for (int i = 0; i < n; ++i) {
            a[i] = base(g);
            b[i] = exponent(g);
        }
    }
};

template <class T>
__attribute__((noinline)) void libm_pow(int n, const T* a, const T* b, T* r) {
    for (int i = 0; i < n; ++i) r[i] = std::pow(a[i], b[i]);
}
template <class T>
__attribute__((noinline)) void libm_powx(int n, const T* a, T b, T* r) {
    for (int i = 0; i < n; ++i) r[i] = std::pow(a[i], b);
}

template <class T, void (*Ours)(int, const T*, const T*, T*)>
void BM_Pow(benchmark::State& st) {
    const int n = static_cast<int>(st.range(0));
    Data<T> d(n);
    xbench::paired(
        st, [&] { Ours(n, d.a.data(), d.b.data(), d.r.data()); benchmark::ClobberMemory(); },
        [&] { libm_pow(n, d.a.data(), d.b.data(), d.r.data()); benchmark::ClobberMemory(); });
}

template <class T, void (*Ours)(int, const T*, T, T*)>
void BM_Powx(benchmark::State& st) {
    const int n = static_cast<int>(st.range(0));
    Data<T> d(n);
    const T b = T(2.718);
    xbench::paired(
        st, [&] { Ours(n, d.a.data(), b, d.r.data()); benchmark::ClobberMemory(); },
        [&] { libm_powx(n, d.a.data(), b, d.r.data()); benchmark::ClobberMemory(); });
}

BENCHMARK(BM_Pow<double, xebdPow_HA>)->Name("xebdPow_HA_vs_pow")->Arg(1000);
BENCHMARK(BM_Pow<double, xebdPow_50>)->Name("xebdPow_50_vs_pow")->Arg(1000);
BENCHMARK(BM_Powx<double, xebdPowx_HA>)->Name("xebdPowx_HA_vs_pow")->Arg(1000);
BENCHMARK(BM_Pow<float, xebsPow_HA>)->Name("xebsPow_HA_vs_powf")->Arg(1000);
BENCHMARK(BM_Pow<float, xebsPow_21>)->Name("xebsPow_21_vs_powf")->Arg(1000);
BENCHMARK(BM_Powx<float, xebsPowx_HA>)->Name("xebsPowx_HA_vs_powf")->Arg(1000);

}  // namespace

BENCHMARK_MAIN();
