// Hypergeometric and negative binomial laws on MT19937 against GSL's
// gsl_ran_hypergeometric and gsl_ran_negative_binomial on gsl_rng_mt19937,
// in the same run (paired timing, see paired.h).  GSL's hypergeometric
// draws one uniform per item of the sample, so it fills fewer values than
// ours: "ours_ns" and "peer_ns" are times per value, and "ratio" is ours
// over GSL's per value (0.5 means twice as fast).  numpy's Generator is
// timed on the same cases in its own process by numpy_hypergeometric_negbinomial.py.
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>

#include <vector>

#include "paired.h"
#include "xebruk/xebruk.h"

namespace {

constexpr int kCount = 100000;

// law(stream, n, r) fills kCount values; peer(rng) gives one of peer_count.
template <class Law, class Peer>
void against_gsl(benchmark::State& state, Law law, Peer peer, int peer_count) {
    RukStream* s = nullptr;
    const uint32_t key[4] = {0x123, 0x234, 0x345, 0x456};
    rukNewStreamEx(&s, RUK_BRNG_MT19937, 4, key);
    gsl_rng* rng = gsl_rng_alloc(gsl_rng_mt19937);
    std::vector<int32_t> r(kCount);
    std::vector<unsigned> p(static_cast<std::size_t>(peer_count));
    xbench::paired(
        state,
        [&] {
            law(s, kCount, r.data());
            benchmark::DoNotOptimize(r.data());
        },
        [&] {
            for (auto& v : p) v = peer(rng);
            benchmark::DoNotOptimize(p.data());
        });
    const double ours = state.counters["ours_ns"] / kCount,
                 theirs = state.counters["peer_ns"] / peer_count;
    state.counters["ours_ns"] = ours;
    state.counters["peer_ns"] = theirs;
    state.counters["ratio"] = ours / theirs;
    gsl_rng_free(rng);
    rukDeleteStream(&s);
}

// (lot, sample, marked): inversion (mode 1); H2PE's ratio tests (mode 40);
// its squeeze (mode 150,000, GSL at one value in ten thousand of ours); a
// sample and a marked set both above half the lot.
template <int32_t L, int32_t S, int32_t M, int PeerCount>
void Hypergeometric(benchmark::State& state) {
    against_gsl(
        state, [](RukStream* s, int n, int32_t* r) { rukiRngHypergeometric(0, s, n, r, L, S, M); },
        [](gsl_rng* g) { return gsl_ran_hypergeometric(g, M, L - M, S); }, PeerCount);
}
BENCHMARK_TEMPLATE(Hypergeometric, 20, 5, 7, kCount)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(Hypergeometric, 1000, 100, 400, kCount / 10)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(Hypergeometric, 1000000, 500000, 300000, kCount / 10000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(Hypergeometric, 100, 90, 95, kCount)->Unit(benchmark::kMillisecond);

// (a, p) as a / 10 and p / 1000: inversion (three cases), the hat, and the
// long walk past the inversion table of a mean near 1,000.
template <int A10, int P1000>
void Negbinomial(benchmark::State& state) {
    constexpr double a = A10 / 10.0, p = P1000 / 1000.0;
    against_gsl(
        state, [](RukStream* s, int n, int32_t* r) { rukiRngNegbinomial(0, s, n, r, a, p); },
        [](gsl_rng* g) { return gsl_ran_negative_binomial(g, p, a); }, kCount);
}
BENCHMARK_TEMPLATE(Negbinomial, 5, 500)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(Negbinomial, 30, 300)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(Negbinomial, 100, 900)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(Negbinomial, 10000, 10)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(Negbinomial, 10, 1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
