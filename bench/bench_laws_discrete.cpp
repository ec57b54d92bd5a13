// Discrete laws on MT19937 against <random> distributions on std::mt19937,
// filling the same array of 10^6 integers.  Paired timing: "ratio" is our
// time over the peer's (0.5 means twice as fast).
#include <random>

#include "law_pair.h"

namespace {

constexpr int kCount = 1000000;

template <class Law, class Peer>
void against(benchmark::State& state, Law law, Peer peer) {
    xbench::law_against<int32_t>(state, kCount, law, peer);
}

// Binomial: BTPE at (100, 0.3) (mean exactly 30) and (10^6, 0.4), the
// table inversion at (20, 0.3).
BENCHMARK_CAPTURE(against, Binomial_100_0_3,
                  [](RukStream* s, int n, int32_t* r) { rukiRngBinomial(0, s, n, r, 100, 0.3); },
                  std::binomial_distribution<int>(100, 0.3))
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(against, Binomial_1e6_0_4,
                  [](RukStream* s, int n, int32_t* r) { rukiRngBinomial(0, s, n, r, 1000000, 0.4); },
                  std::binomial_distribution<int>(1000000, 0.4))
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(against, Binomial_20_0_3,
                  [](RukStream* s, int n, int32_t* r) { rukiRngBinomial(0, s, n, r, 20, 0.3); },
                  std::binomial_distribution<int>(20, 0.3))
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(against, Geometric_0_1,
                  [](RukStream* s, int n, int32_t* r) { rukiRngGeometric(0, s, n, r, 0.1); },
                  std::geometric_distribution<int>(0.1))
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(against, Bernoulli_0_3,
                  [](RukStream* s, int n, int32_t* r) { rukiRngBernoulli(0, s, n, r, 0.3); },
                  std::bernoulli_distribution(0.3))
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(against, Uniform_0_1000,
                  [](RukStream* s, int n, int32_t* r) { rukiRngUniform(0, s, n, r, 0, 1000); },
                  std::uniform_int_distribution<int>(0, 999))
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
