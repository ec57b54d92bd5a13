// MCG31M1 kernels against the same generator written with <random>:
// std::linear_congruential_engine with multiplier 1132489760 and modulus
// 2^31 - 1, filling the same array.  Each benchmark times both in the same
// iterations and reports the ratio peer time / our time ("speedup").
#include <benchmark/benchmark.h>

#include <chrono>
#include <random>
#include <vector>

#include "xebruk/xebruk.h"

namespace {

constexpr int kCount = 1000000;
using Peer = std::linear_congruential_engine<uint32_t, 1132489760u, 0u, 2147483647u>;

template <class Ours, class Theirs>
void paired(benchmark::State& state, Ours ours, Theirs theirs) {
    using Clock = std::chrono::steady_clock;
    double t_ours = 0, t_theirs = 0;
    for (auto _ : state) {
        auto t0 = Clock::now();
        ours();
        auto t1 = Clock::now();
        theirs();
        auto t2 = Clock::now();
        t_ours += std::chrono::duration<double>(t1 - t0).count();
        t_theirs += std::chrono::duration<double>(t2 - t1).count();
    }
    const double iters = static_cast<double>(state.iterations());
    state.counters["ns_per_number"] = 1e9 * t_ours / iters / kCount;
    state.counters["peer_ns_per_number"] = 1e9 * t_theirs / iters / kCount;
    state.counters["speedup"] = t_theirs / t_ours;
    state.SetItemsProcessed(state.iterations() * kCount);
}

RukStream* new_stream() {
    RukStream* s = nullptr;
    const uint32_t seed = 1;
    rukNewStreamEx(&s, RUK_BRNG_MCG31M1, 1, &seed);
    return s;
}

void BM_IntegerMcg31m1(benchmark::State& state) {
    RukStream* s = new_stream();
    Peer peer(1);
    std::vector<uint32_t> r(kCount), p(kCount);
    paired(
        state,
        [&] {
            rukiBRngMCG31M1(s, kCount, r.data());
            benchmark::DoNotOptimize(r.data());
        },
        [&] {
            for (auto& v : p) v = peer();
            benchmark::DoNotOptimize(p.data());
        });
    rukDeleteStream(&s);
}

// Numbers on (0, 1); the peer scales each word by 1/M in the same type.
template <class T, int32_t (*Kernel)(RukStream*, int32_t, T*, T, T)>
void BM_RealMcg31m1(benchmark::State& state) {
    RukStream* s = new_stream();
    Peer peer(1);
    std::vector<T> r(kCount), p(kCount);
    const T c = static_cast<T>(1.0 / 2147483647.0);
    paired(
        state,
        [&] {
            Kernel(s, kCount, r.data(), T(0), T(1));
            benchmark::DoNotOptimize(r.data());
        },
        [&] {
            for (auto& v : p) v = static_cast<T>(peer()) * c;
            benchmark::DoNotOptimize(p.data());
        });
    rukDeleteStream(&s);
}

BENCHMARK(BM_IntegerMcg31m1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RealMcg31m1<double, rukdBRngMCG31M1>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RealMcg31m1<float, ruksBRngMCG31M1>)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
