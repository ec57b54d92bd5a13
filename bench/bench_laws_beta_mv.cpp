// Beta against GSL's gsl_ran_beta and Boost's beta_distribution, and
// GaussianMV of dimension 10 against drawing the normals and multiplying
// by the factor in a plain loop.  Every peer draws from an MT19937 of its
// own (GSL's; std::mt19937 for Boost), ours from the library's; paired
// timing, "ratio" is our time over the peer's (0.5: twice as fast).  The
// single-precision Beta is timed against GSL's double one, rounded.
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>

#include <boost/random/beta_distribution.hpp>
#include <cmath>
#include <vector>

#include "law_pair.h"
#include "xebruk/xebruk.h"

namespace {

constexpr int kCount = 100000;

// Beta(p, q) with p = state.range(0) / 10, q = state.range(1) / 10, on
// the library's MT19937 (law_pair.h); GSL draws from its own MT19937.
template <class T>
auto beta_law(double p, double q) {
    return [=](RukStream* s, int n, T* r) {
        if constexpr (sizeof(T) == 8)
            rukdRngBeta(0, s, n, r, p, q, 0.0, 1.0);
        else
            ruksRngBeta(0, s, n, r, static_cast<float>(p), static_cast<float>(q), 0.0f, 1.0f);
    };
}

template <class T>
void BM_BetaAgainstGsl(benchmark::State& state) {
    const double p = state.range(0) / 10.0, q = state.range(1) / 10.0;
    gsl_rng* g = gsl_rng_alloc(gsl_rng_mt19937);
    xbench::law_against<T>(state, kCount, beta_law<T>(p, q), [&](std::mt19937&) { return gsl_ran_beta(g, p, q); });
    gsl_rng_free(g);
}

void BM_BetaAgainstBoost(benchmark::State& state) {
    const double p = state.range(0) / 10.0, q = state.range(1) / 10.0;
    xbench::law_against<double>(state, kCount, beta_law<double>(p, q), boost::random::beta_distribution<double>(p, q));
}

// 10^4 vectors of dimension 10 with a full lower factor: ours in one call
// against the same normals (rukdRngGaussian) and y = T z + a by a plain
// loop over the square storage.
void BM_GaussianMV10(benchmark::State& state) {
    constexpr int d = 10, vectors = kCount / d;
    std::vector<double> t(d * d, 0.0), a(d);
    for (int j = 0; j < d; ++j) {
        a[j] = j;
        for (int k = 0; k <= j; ++k) t[j * d + k] = j == k ? 1.0 + j : 0.1 * std::sin(j + 3.0 * k);
    }
    RukStream *ours = nullptr, *plain = nullptr;
    const uint32_t seed = 1;
    rukNewStreamEx(&ours, RUK_BRNG_MT19937, 1, &seed);
    rukNewStreamEx(&plain, RUK_BRNG_MT19937, 1, &seed);
    std::vector<double> r(kCount), z(kCount), y(d);
    xbench::paired(
        state,
        [&] {
            rukdRngGaussianMV(RUK_METHOD_GAUSSIAN_PAIRED, ours, vectors, r.data(), d, RUK_FACTOR_SQUARE,
                              a.data(), t.data());
            benchmark::DoNotOptimize(r.data());
        },
        [&] {
            rukdRngGaussian(RUK_METHOD_GAUSSIAN_PAIRED, plain, kCount, z.data(), 0.0, 1.0);
            for (int v = 0; v < vectors; ++v) {
                double* x = z.data() + v * d;
                for (int j = 0; j < d; ++j) {
                    double sum = a[j];
                    for (int k = 0; k <= j; ++k) sum += t[j * d + k] * x[k];
                    y[j] = sum;
                }
                for (int j = 0; j < d; ++j) x[j] = y[j];
            }
            benchmark::DoNotOptimize(z.data());
        });
    state.SetItemsProcessed(state.iterations() * vectors);
    rukDeleteStream(&ours);
    rukDeleteStream(&plain);
}

BENCHMARK(BM_BetaAgainstGsl<double>)->Args({20, 30})->Args({5, 5})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BetaAgainstBoost)->Args({20, 30})->Args({5, 5})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BetaAgainstGsl<float>)->Args({20, 30})->Args({5, 5})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GaussianMV10)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
