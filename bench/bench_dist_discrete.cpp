// Discrete laws on MT19937 against <random> distributions on std::mt19937,
// filling the same array of 10^6 integers.  Paired timing: "ratio" is our
// time over the peer's (0.5 means twice as fast).
#include <random>

#include "paired.h"
#include "xebruk/xebruk.h"

namespace {

constexpr int kCount = 1000000;

// law(stream, n, r) against peer(engine), one element per call.
template <class Law, class Peer>
void against(benchmark::State& state, Law law, Peer peer) {
    RukStream* s = nullptr;
    const uint32_t key[4] = {0x123, 0x234, 0x345, 0x456};
    rukNewStreamEx(&s, RUK_BRNG_MT19937, 4, key);
    std::mt19937 engine(1);
    xbench::paired_fill<int32_t>(
        state, kCount, [&](int32_t* r, int n) { law(s, n, r); },
        [&] { return static_cast<int32_t>(peer(engine)); });
    rukDeleteStream(&s);
}

void BM_Binomial_100_0_3(benchmark::State& state) {
    against(
        state, [](RukStream* s, int n, int32_t* r) { rukiRngBinomial(0, s, n, r, 100, 0.3); },
        std::binomial_distribution<int>(100, 0.3));
}

void BM_Binomial_1e6_0_4(benchmark::State& state) {
    against(
        state, [](RukStream* s, int n, int32_t* r) { rukiRngBinomial(0, s, n, r, 1000000, 0.4); },
        std::binomial_distribution<int>(1000000, 0.4));
}

// The inversion route (trials p below 30).
void BM_Binomial_20_0_3(benchmark::State& state) {
    against(
        state, [](RukStream* s, int n, int32_t* r) { rukiRngBinomial(0, s, n, r, 20, 0.3); },
        std::binomial_distribution<int>(20, 0.3));
}

void BM_Geometric_0_1(benchmark::State& state) {
    against(
        state, [](RukStream* s, int n, int32_t* r) { rukiRngGeometric(0, s, n, r, 0.1); },
        std::geometric_distribution<int>(0.1));
}

void BM_Bernoulli_0_3(benchmark::State& state) {
    against(
        state, [](RukStream* s, int n, int32_t* r) { rukiRngBernoulli(0, s, n, r, 0.3); },
        std::bernoulli_distribution(0.3));
}

void BM_Uniform_0_1000(benchmark::State& state) {
    against(
        state, [](RukStream* s, int n, int32_t* r) { rukiRngUniform(0, s, n, r, 0, 1000); },
        std::uniform_int_distribution<int>(0, 999));
}

BENCHMARK(BM_Binomial_100_0_3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Binomial_1e6_0_4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Binomial_20_0_3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Geometric_0_1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Bernoulli_0_3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Uniform_0_1000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
