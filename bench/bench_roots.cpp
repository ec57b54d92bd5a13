// Roots against glibc's sqrt, 1/sqrt and cbrt in a loop compiled at -O2.
#include <cmath>
#include <random>
#include <vector>

#include "paired.h"
#include "xebruk/vm_roots.h"

namespace {

template <class T>
struct Data {
    std::vector<T> a, r;
    explicit Data(int n) : a(n), r(n) {
        std::mt19937 g(7);
        std::uniform_real_distribution<T> u(T(0.5), T(1000));
        for (auto& v : a) v = u(g);
    }
};

template <class T>
__attribute__((noinline)) void libm_sqrt(int n, const T* a, T* r) {
    for (int i = 0; i < n; ++i) r[i] = std::sqrt(a[i]);
}
template <class T>
__attribute__((noinline)) void libm_inv_sqrt(int n, const T* a, T* r) {
    for (int i = 0; i < n; ++i) r[i] = T(1) / std::sqrt(a[i]);
}
template <class T>
__attribute__((noinline)) void libm_cbrt(int n, const T* a, T* r) {
    for (int i = 0; i < n; ++i) r[i] = std::cbrt(a[i]);
}
template <class T>
__attribute__((noinline)) void libm_inv_cbrt(int n, const T* a, T* r) {
    for (int i = 0; i < n; ++i) r[i] = T(1) / std::cbrt(a[i]);
}

template <class T, void (*Ours)(int, const T*, T*), void (*Peer)(int, const T*, T*)>
void BM_Root(benchmark::State& st) {
    const int n = static_cast<int>(st.range(0));
    Data<T> d(n);
    xbench::paired(
        st, [&] { Ours(n, d.a.data(), d.r.data()); benchmark::ClobberMemory(); },
        [&] { Peer(n, d.a.data(), d.r.data()); benchmark::ClobberMemory(); });
}

BENCHMARK(BM_Root<double, xebdSqrt_HA, libm_sqrt<double>>)->Name("xebdSqrt_HA_vs_sqrt")->Arg(1000);
BENCHMARK(BM_Root<double, xebdInvSqrt_HA, libm_inv_sqrt<double>>)->Name("xebdInvSqrt_HA_vs_1/sqrt")->Arg(1000);
BENCHMARK(BM_Root<double, xebdCbrt_HA, libm_cbrt<double>>)->Name("xebdCbrt_HA_vs_cbrt")->Arg(1000);
BENCHMARK(BM_Root<double, xebdInvCbrt_HA, libm_inv_cbrt<double>>)->Name("xebdInvCbrt_HA_vs_1/cbrt")->Arg(1000);
BENCHMARK(BM_Root<float, xebsSqrt_HA, libm_sqrt<float>>)->Name("xebsSqrt_HA_vs_sqrtf")->Arg(1000);
BENCHMARK(BM_Root<float, xebsInvSqrt_HA, libm_inv_sqrt<float>>)->Name("xebsInvSqrt_HA_vs_1/sqrtf")->Arg(1000);
BENCHMARK(BM_Root<float, xebsCbrt_HA, libm_cbrt<float>>)->Name("xebsCbrt_HA_vs_cbrtf")->Arg(1000);
BENCHMARK(BM_Root<float, xebsInvCbrt_HA, libm_inv_cbrt<float>>)->Name("xebsInvCbrt_HA_vs_1/cbrtf")->Arg(1000);

}  // namespace

BENCHMARK_MAIN();
