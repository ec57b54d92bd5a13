// Exponential and logarithms against glibc's exp, log, log10, expf, logf,
// log10f in a plain loop over the same arrays (paired timing, see paired.h).
#include <cmath>
#include <random>
#include <vector>

#include "paired.h"
#include "xebruk/vm_explog.h"

namespace {

// Arguments uniform in [lo, hi], or e^u for u uniform in [lo, hi] (every
// binade of the logarithms' domain in between).
template <class T>
std::vector<T> arguments(int n, double lo, double hi, bool spread) {
    std::mt19937_64 rng(12345);
    std::uniform_real_distribution<double> u(lo, hi);
    std::vector<T> a(static_cast<std::size_t>(n));
    for (T& v : a) v = static_cast<T>(spread ? std::exp(u(rng)) : u(rng));
    return a;
}

template <class T, T (*F)(T)>
__attribute__((noinline)) void glibc_loop(int n, const T* a, T* r) {
    for (int i = 0; i < n; ++i) r[i] = F(a[i]);
}

double exp_d(double x) { return std::exp(x); }
double log_d(double x) { return std::log(x); }
double log10_d(double x) { return std::log10(x); }
float exp_s(float x) { return std::exp(x); }
float log_s(float x) { return std::log(x); }
float log10_s(float x) { return std::log10(x); }

template <class T, void (*Kernel)(int, const T*, T*), T (*Peer)(T), bool Spread>
void BM_Pair(benchmark::State& st) {
    const int n = static_cast<int>(st.range(0));
    // Exp: the whole range without overflow; logs: e^-700 to e^700 (e^-87 to e^87 single).
    const double edge = sizeof(T) == 8 ? 700 : 87;
    const std::vector<T> a = arguments<T>(n, -edge, edge, Spread);
    std::vector<T> r(a.size());
    xbench::paired(
        st, [&] { Kernel(n, a.data(), r.data()); benchmark::ClobberMemory(); },
        [&] { glibc_loop<T, Peer>(n, a.data(), r.data()); benchmark::ClobberMemory(); });
}

BENCHMARK(BM_Pair<double, xebdExp_HA, exp_d, false>)->Name("xebdExp_HA_vs_exp")->Arg(1000)->Arg(1000000);
BENCHMARK(BM_Pair<double, xebdLn_HA, log_d, true>)->Name("xebdLn_HA_vs_log")->Arg(1000)->Arg(1000000);
BENCHMARK(BM_Pair<double, xebdLog10_HA, log10_d, true>)->Name("xebdLog10_HA_vs_log10")->Arg(1000)->Arg(1000000);
BENCHMARK(BM_Pair<float, xebsExp_HA, exp_s, false>)->Name("xebsExp_HA_vs_expf")->Arg(1000)->Arg(1000000);
BENCHMARK(BM_Pair<float, xebsLn_HA, log_s, true>)->Name("xebsLn_HA_vs_logf")->Arg(1000)->Arg(1000000);
BENCHMARK(BM_Pair<float, xebsLog10_HA, log10_s, true>)->Name("xebsLog10_HA_vs_log10f")->Arg(1000)->Arg(1000000);

}  // namespace

BENCHMARK_MAIN();
