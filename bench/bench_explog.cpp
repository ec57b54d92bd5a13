// Exponential and logarithms against glibc's exp, log, log10, expf, logf,
// log10f in a plain loop over the same arrays, in the same run.  Each
// benchmark times the xebruk kernel (the reported time) and then the glibc
// loop for as many rounds; the counter `ratio` is xebruk / glibc (below 1:
// xebruk is faster) and `glibc_ns` the glibc time per element.
#include <benchmark/benchmark.h>

#include <time.h>

#include <cmath>
#include <random>
#include <vector>

#include "xebruk/vm_explog.h"

namespace {

template <class T>
using Kernel = void (*)(int, const T*, T*);

template <class T>
struct Case {
    Kernel<T> kernel;
    T (*peer)(T);
    T lo, hi;   // arguments uniform in [lo, hi], or e^[lo, hi] when log_spread
    bool log_spread;
};

template <class T>
std::vector<T> arguments(const Case<T>& c, std::size_t n) {
    std::mt19937_64 rng(12345);
    std::uniform_real_distribution<double> u(c.lo, c.hi);
    std::vector<T> a(n);
    for (T& v : a) v = static_cast<T>(c.log_spread ? std::exp(u(rng)) : u(rng));
    return a;
}

// CPU time of this thread: the machine may be shared, wall time is not fair.
double thread_seconds() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

template <class T>
void run(benchmark::State& state, const Case<T>& c) {
    const auto n = static_cast<std::size_t>(state.range(0));
    const std::vector<T> a = arguments(c, n);
    std::vector<T> r(n);
    const double t0 = thread_seconds();
    for (auto _ : state) {
        c.kernel(static_cast<int>(n), a.data(), r.data());
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
    }
    const double t1 = thread_seconds();
    for (benchmark::IterationCount k = 0; k < state.iterations(); ++k) {
        for (std::size_t i = 0; i < n; ++i) r[i] = c.peer(a[i]);
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
    }
    const double t2 = thread_seconds();
    const double ours = t1 - t0;
    const double theirs = t2 - t1;
    const double elements = static_cast<double>(state.iterations()) * static_cast<double>(n);
    state.counters["ratio"] = ours / theirs;
    state.counters["glibc_ns"] = theirs / elements * 1e9;
    state.SetItemsProcessed(static_cast<int64_t>(elements));
}

double exp_d(double x) { return std::exp(x); }
double log_d(double x) { return std::log(x); }
double log10_d(double x) { return std::log10(x); }
float exp_s(float x) { return std::exp(x); }
float log_s(float x) { return std::log(x); }
float log10_s(float x) { return std::log10(x); }

void BM_xebdExp_HA(benchmark::State& s) { run<double>(s, {xebdExp_HA, exp_d, -700, 700, false}); }
void BM_xebdLn_HA(benchmark::State& s) { run<double>(s, {xebdLn_HA, log_d, -700, 700, true}); }
void BM_xebdLog10_HA(benchmark::State& s) { run<double>(s, {xebdLog10_HA, log10_d, -700, 700, true}); }
void BM_xebsExp_HA(benchmark::State& s) { run<float>(s, {xebsExp_HA, exp_s, -87, 87, false}); }
void BM_xebsLn_HA(benchmark::State& s) { run<float>(s, {xebsLn_HA, log_s, -87, 87, true}); }
void BM_xebsLog10_HA(benchmark::State& s) { run<float>(s, {xebsLog10_HA, log10_s, -87, 87, true}); }

}  // namespace

BENCHMARK(BM_xebdExp_HA)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_xebdLn_HA)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_xebdLog10_HA)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_xebsExp_HA)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_xebsLn_HA)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_xebsLog10_HA)->Arg(1000)->Arg(1000000);

BENCHMARK_MAIN();
