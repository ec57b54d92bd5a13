// Quasi-random points: 10-dimensional SOBOL and Niederr points on (0, 1)
// in double, 10^6 per run, against GSL's gsl_qrng (sobol, niederreiter_2)
// in the same process.  Ours fill a block of 1000 points per call, GSL a
// point per call, both into a buffer that stays in cache.  Reported per
// point; "ours/gsl" is our time over GSL's (0.5 means twice as fast).
// scipy.stats.qmc.Sobol is timed on the same job in its own process by
// scipy_qmc_sobol.py.
#include <gsl/gsl_qrng.h>

#include <vector>

#include "paired.h"
#include "xebruk/xebruk.h"

namespace {

constexpr int kPoints = 1000000, kDim = 10, kBlockPoints = 1000;

template <int32_t Id, int32_t (*Kernel)(RukStream*, int32_t, double*, double, double)>
void BM_QuasiPoints10(benchmark::State& state, const gsl_qrng_type* peer_type) {
    RukStream* s = nullptr;
    const uint32_t dim = kDim;
    rukNewStreamEx(&s, Id, 1, &dim);
    gsl_qrng* peer = gsl_qrng_alloc(peer_type, kDim);
    std::vector<double> ours_block(kBlockPoints * kDim), peer_point(kDim);
    xbench::rounds(state, kPoints,
                   {{"ours",
                     [&] {
                         for (int i = 0; i < kPoints / kBlockPoints; ++i)
                             Kernel(s, kBlockPoints * kDim, ours_block.data(), 0.0, 1.0);
                         benchmark::DoNotOptimize(ours_block.data());
                     }},
                    {"gsl", [&] {
                         for (int i = 0; i < kPoints; ++i) gsl_qrng_get(peer, peer_point.data());
                         benchmark::DoNotOptimize(peer_point.data());
                     }}});
    gsl_qrng_free(peer);
    rukDeleteStream(&s);
}

void BM_SobolPoints10(benchmark::State& state) {
    BM_QuasiPoints10<RUK_BRNG_SOBOL, rukdBRngSobol>(state, gsl_qrng_sobol);
}
void BM_NiederrPoints10(benchmark::State& state) {
    BM_QuasiPoints10<RUK_BRNG_NIEDERR, rukdBRngNiederr>(state, gsl_qrng_niederreiter_2);
}
BENCHMARK(BM_SobolPoints10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NiederrPoints10)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
