// The continuous laws on MT19937, 10^6 doubles per call, against the same
// law from <random> and Boost (boost/random; its normal and exponential are
// ziggurats) on std::mt19937 and from GSL on its own MT19937, one element
// per call.  Rotating rounds on the thread's CPU clock (paired.h): per
// element "<name>_ns", and "ours/<name>" our time over the peer's (0.5:
// twice as fast).  "mt32" is one std::mt19937 draw times 2^-32, the floor
// of a uniform double.  numpy's Generator runs in its own process:
// bench/numpy_laws_continuous.py.
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>

#include <boost/random/cauchy_distribution.hpp>
#include <boost/random/exponential_distribution.hpp>
#include <boost/random/extreme_value_distribution.hpp>
#include <boost/random/laplace_distribution.hpp>
#include <boost/random/lognormal_distribution.hpp>
#include <boost/random/normal_distribution.hpp>
#include <boost/random/uniform_real_distribution.hpp>
#include <boost/random/weibull_distribution.hpp>
#include <random>
#include <vector>

#include "paired.h"
#include "xebruk/xebruk.h"

namespace {

constexpr int kCount = 1000000;

// The peers' generators and the result arrays, shared by every case.
struct Bench {
    RukStream* stream = nullptr;
    std::mt19937 engine{1};
    gsl_rng* gsl = gsl_rng_alloc(gsl_rng_mt19937);
    std::vector<double> r = std::vector<double>(kCount);
    Bench() {
        const uint32_t key[4] = {0x123, 0x234, 0x345, 0x456};
        rukNewStreamEx(&stream, RUK_BRNG_MT19937, 4, key);
    }
    ~Bench() {
        rukDeleteStream(&stream);
        gsl_rng_free(gsl);
    }
    // A contender that fills r one element per call of draw().
    template <class Draw>
    xbench::Contender each(const char* name, Draw draw) {
        return {name, [this, draw]() mutable {
                    for (double& v : r) v = draw();
                    benchmark::DoNotOptimize(r.data());
                }};
    }
    template <class Dist>
    xbench::Contender dist(const char* name, Dist d) {
        return each(name, [this, d]() mutable { return d(engine); });
    }
    template <class Law>
    xbench::Contender ours(Law law) {
        return {"ours", [this, law] {
                    law(stream, kCount, r.data());
                    benchmark::DoNotOptimize(r.data());
                }};
    }
    template <class G>
    xbench::Contender gsl_law(G g) {
        return each("gsl", [this, g] { return g(gsl); });
    }
};

void BM_Uniform(benchmark::State& state) {
    Bench b;
    xbench::rounds(state, kCount,
                   {b.ours([](RukStream* s, int n, double* r) { rukdRngUniform(0, s, n, r, 0.0, 1.0); }),
                    b.each("mt32", [&b] { return static_cast<double>(b.engine()) * 0x1p-32; }),
                    b.dist("std", std::uniform_real_distribution<double>(0.0, 1.0)),
                    b.dist("boost", boost::random::uniform_real_distribution<double>(0.0, 1.0)),
                    b.gsl_law(gsl_rng_uniform)});
}

template <int Method>
void BM_Gaussian(benchmark::State& state) {
    Bench b;
    xbench::rounds(
        state, kCount,
        {b.ours([](RukStream* s, int n, double* r) { rukdRngGaussian(Method, s, n, r, 0.0, 1.0); }),
         b.dist("std", std::normal_distribution<double>(0.0, 1.0)),
         b.dist("boost", boost::random::normal_distribution<double>(0.0, 1.0)),
         b.gsl_law([](gsl_rng* g) { return gsl_ran_gaussian_ziggurat(g, 1.0); })});
}

void BM_Exponential(benchmark::State& state) {
    Bench b;
    xbench::rounds(
        state, kCount,
        {b.ours([](RukStream* s, int n, double* r) { rukdRngExponential(0, s, n, r, 0.0, 1.0); }),
         b.dist("std", std::exponential_distribution<double>(1.0)),
         b.dist("boost", boost::random::exponential_distribution<double>(1.0)),
         b.gsl_law([](gsl_rng* g) { return gsl_ran_exponential(g, 1.0); })});
}

void BM_Laplace(benchmark::State& state) {
    Bench b;
    xbench::rounds(state, kCount,
                   {b.ours([](RukStream* s, int n, double* r) { rukdRngLaplace(0, s, n, r, 0.0, 1.0); }),
                    b.dist("boost", boost::random::laplace_distribution<double>(0.0, 1.0)),
                    b.gsl_law([](gsl_rng* g) { return gsl_ran_laplace(g, 1.0); })});
}

void BM_Weibull(benchmark::State& state) {
    Bench b;
    xbench::rounds(
        state, kCount,
        {b.ours([](RukStream* s, int n, double* r) { rukdRngWeibull(0, s, n, r, 1.5, 0.0, 1.0); }),
         b.dist("std", std::weibull_distribution<double>(1.5, 1.0)),
         b.dist("boost", boost::random::weibull_distribution<double>(1.5, 1.0)),
         b.gsl_law([](gsl_rng* g) { return gsl_ran_weibull(g, 1.0, 1.5); })});
}

void BM_Cauchy(benchmark::State& state) {
    Bench b;
    xbench::rounds(state, kCount,
                   {b.ours([](RukStream* s, int n, double* r) { rukdRngCauchy(0, s, n, r, 0.0, 1.0); }),
                    b.dist("std", std::cauchy_distribution<double>(0.0, 1.0)),
                    b.dist("boost", boost::random::cauchy_distribution<double>(0.0, 1.0)),
                    b.gsl_law([](gsl_rng* g) { return gsl_ran_cauchy(g, 1.0); })});
}

void BM_Rayleigh(benchmark::State& state) {
    Bench b;
    xbench::rounds(state, kCount,
                   {b.ours([](RukStream* s, int n, double* r) { rukdRngRayleigh(0, s, n, r, 0.0, 1.0); }),
                    b.gsl_law([](gsl_rng* g) { return gsl_ran_rayleigh(g, 1.0); })});
}

void BM_Lognormal(benchmark::State& state) {
    Bench b;
    xbench::rounds(
        state, kCount,
        {b.ours([](RukStream* s, int n, double* r) { rukdRngLognormal(0, s, n, r, 0.0, 1.0, 0.0, 1.0); }),
         b.dist("std", std::lognormal_distribution<double>(0.0, 1.0)),
         b.dist("boost", boost::random::lognormal_distribution<double>(0.0, 1.0)),
         b.gsl_law([](gsl_rng* g) { return gsl_ran_lognormal(g, 0.0, 1.0); })});
}

// Our Gumbel's long tail is on the low side: the peers' extreme value law
// mirrored, the same cost.
void BM_Gumbel(benchmark::State& state) {
    Bench b;
    xbench::rounds(state, kCount,
                   {b.ours([](RukStream* s, int n, double* r) { rukdRngGumbel(0, s, n, r, 0.0, 1.0); }),
                    b.dist("std", std::extreme_value_distribution<double>(0.0, 1.0)),
                    b.dist("boost", boost::random::extreme_value_distribution<double>(0.0, 1.0)),
                    b.gsl_law([](gsl_rng* g) { return gsl_ran_gumbel1(g, 1.0, 1.0); })});
}

BENCHMARK(BM_Uniform)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Gaussian<RUK_METHOD_GAUSSIAN_SINGLE>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Gaussian<RUK_METHOD_GAUSSIAN_PAIRED>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Exponential)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Laplace)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Weibull)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Cauchy)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rayleigh)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Lognormal)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Gumbel)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
