// Reciprocal and division against a plain loop compiled at -O2.
#include <random>
#include <vector>

#include "paired.h"
#include "xebruk/vm_div.h"

namespace {

template <class T>
struct Data {
    std::vector<T> a, b, r;
    explicit Data(int n) : a(n), b(n), r(n) {
        std::mt19937 g(7);
        std::uniform_real_distribution<T> u(T(0.5), T(1000));
        for (int i = 0; i < n; ++i) {
            a[i] = u(g);
            b[i] = u(g);
        }
    }
};

template <class T>
__attribute__((noinline)) void plain_inv(int n, const T* a, T* r) {
    for (int i = 0; i < n; ++i) r[i] = T(1) / a[i];
}
template <class T>
__attribute__((noinline)) void plain_div(int n, const T* a, const T* b, T* r) {
    for (int i = 0; i < n; ++i) r[i] = a[i] / b[i];
}

template <class T, void (*Inv)(int, const T*, T*)>
void BM_Inv(benchmark::State& st) {
    const int n = static_cast<int>(st.range(0));
    Data<T> d(n);
    xbench::paired(
        st, [&] { Inv(n, d.a.data(), d.r.data()); benchmark::ClobberMemory(); },
        [&] { plain_inv(n, d.a.data(), d.r.data()); benchmark::ClobberMemory(); });
}

template <class T, void (*Div)(int, const T*, const T*, T*)>
void BM_Div(benchmark::State& st) {
    const int n = static_cast<int>(st.range(0));
    Data<T> d(n);
    xbench::paired(
        st, [&] { Div(n, d.a.data(), d.b.data(), d.r.data()); benchmark::ClobberMemory(); },
        [&] { plain_div(n, d.a.data(), d.b.data(), d.r.data()); benchmark::ClobberMemory(); });
}

BENCHMARK(BM_Inv<double, xebdInv_HA>)->Name("xebdInv_HA_vs_loop")->Arg(1000)->Arg(1000000);
BENCHMARK(BM_Div<double, xebdDiv_HA>)->Name("xebdDiv_HA_vs_loop")->Arg(1000)->Arg(1000000);
BENCHMARK(BM_Inv<float, xebsInv_HA>)->Name("xebsInv_HA_vs_loop")->Arg(1000)->Arg(1000000);
BENCHMARK(BM_Div<float, xebsDiv_HA>)->Name("xebsDiv_HA_vs_loop")->Arg(1000)->Arg(1000000);

}  // namespace

BENCHMARK_MAIN();
