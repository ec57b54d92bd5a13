// MCG31M1 kernels against the same generator written with <random>:
// std::linear_congruential_engine with multiplier 1132489760 and modulus
// 2^31 - 1, filling the same array.  Paired timing: "ratio" is our time
// over the peer's (0.5 means twice as fast).
#include <random>

#include "paired.h"
#include "xebruk/xebruk.h"

namespace {

constexpr int kCount = 1000000;
using Peer = std::linear_congruential_engine<uint32_t, 1132489760u, 0u, 2147483647u>;

RukStream* new_stream() {
    RukStream* s = nullptr;
    const uint32_t seed = 1;
    rukNewStreamEx(&s, RUK_BRNG_MCG31M1, 1, &seed);
    return s;
}

void BM_IntegerMcg31m1(benchmark::State& state) {
    RukStream* s = new_stream();
    Peer peer(1);
    xbench::paired_fill<uint32_t>(
        state, kCount, [&](uint32_t* r, int n) { rukiBRngMCG31M1(s, n, r); },
        [&] { return static_cast<uint32_t>(peer()); });
    rukDeleteStream(&s);
}

// Numbers on (0, 1); the peer scales each word by 1/M in the same type.
template <class T, int32_t (*Kernel)(RukStream*, int32_t, T*, T, T)>
void BM_RealMcg31m1(benchmark::State& state) {
    RukStream* s = new_stream();
    Peer peer(1);
    const T c = static_cast<T>(1.0 / 2147483647.0);
    xbench::paired_fill<T>(
        state, kCount, [&](T* r, int n) { Kernel(s, n, r, T(0), T(1)); },
        [&] { return static_cast<T>(peer()) * c; });
    rukDeleteStream(&s);
}

BENCHMARK(BM_IntegerMcg31m1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RealMcg31m1<double, rukdBRngMCG31M1>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RealMcg31m1<float, ruksBRngMCG31M1>)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
