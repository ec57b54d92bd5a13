// Continuous laws on MT19937 against <random> distributions on
// std::mt19937, filling the same array of 10^6 doubles.  Paired timing:
// "ratio" is our time over the peer's (0.5 means twice as fast).
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
    xbench::paired_fill<double>(
        state, kCount, [&](double* r, int n) { law(s, n, r); }, [&] { return peer(engine); });
    rukDeleteStream(&s);
}

void BM_Uniform(benchmark::State& state) {
    against(
        state, [](RukStream* s, int n, double* r) { rukdRngUniform(0, s, n, r, 0.0, 1.0); },
        std::uniform_real_distribution<double>(0.0, 1.0));
}

void BM_Exponential(benchmark::State& state) {
    against(
        state, [](RukStream* s, int n, double* r) { rukdRngExponential(0, s, n, r, 0.0, 1.0); },
        std::exponential_distribution<double>(1.0));
}

// Both Box-Muller methods against <random>'s normal (two values per pair
// of uniforms, the second kept for the next call).
template <int Method>
void BM_Gaussian(benchmark::State& state) {
    against(
        state, [](RukStream* s, int n, double* r) { rukdRngGaussian(Method, s, n, r, 0.0, 1.0); },
        std::normal_distribution<double>(0.0, 1.0));
}

BENCHMARK(BM_Uniform)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Exponential)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Gaussian<RUK_METHOD_GAUSSIAN_SINGLE>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Gaussian<RUK_METHOD_GAUSSIAN_PAIRED>)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
