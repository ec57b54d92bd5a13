// Gamma and Poisson on MT19937 against <random> and Boost.Random, each
// distribution on std::mt19937, filling the same array of 10^6 values.
// Paired timing: "ratio" is our time over the peer's (0.5 means twice as
// fast); every case runs once against each peer.
#include <boost/random/gamma_distribution.hpp>
#include <boost/random/poisson_distribution.hpp>
#include <random>
#include <string>

#include "law_pair.h"

namespace {

constexpr int kCount = 1000000;

template <class T, class Law, class Peer>
void against(benchmark::State& state, Law law, Peer peer) {
    xbench::law_against<T>(state, kCount, law, peer);
}

void gamma(const std::string& name, double alpha) {
    const auto ours = [alpha](RukStream* s, int n, double* r) { rukdRngGamma(0, s, n, r, alpha, 0.0, 1.0); };
    benchmark::RegisterBenchmark((name + "_std").c_str(), [=](benchmark::State& state) {
        against<double>(state, ours, std::gamma_distribution<double>(alpha));
    })->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((name + "_boost").c_str(), [=](benchmark::State& state) {
        against<double>(state, ours, boost::random::gamma_distribution<double>(alpha));
    })->Unit(benchmark::kMillisecond);
}

void poisson(const std::string& name, int32_t method, double mean) {
    const auto ours = [=](RukStream* s, int n, int32_t* r) { rukiRngPoisson(method, s, n, r, mean); };
    benchmark::RegisterBenchmark((name + "_std").c_str(), [=](benchmark::State& state) {
        against<int32_t>(state, ours, std::poisson_distribution<int>(mean));
    })->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((name + "_boost").c_str(), [=](benchmark::State& state) {
        against<int32_t>(state, ours, boost::random::poisson_distribution<int>(mean));
    })->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
    gamma("Gamma_0_5", 0.5);
    gamma("Gamma_2", 2.0);
    gamma("Gamma_10", 10.0);
    poisson("Poisson_3", 0, 3.0);
    poisson("Poisson_100", 0, 100.0);
    poisson("Poisson_1e4", 0, 1e4);
    // Method 1, for comparison: one Gaussian per count.
    poisson("PoissonMap_100", 1, 100.0);
    poisson("PoissonMap_1e4", 1, 1e4);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
