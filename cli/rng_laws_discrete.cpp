// The discrete laws offered by `xebruk rng`: 32-bit integer results.  The
// library trusts most arguments; the command line does not, so each draw
// here first checks that integer parameters are integers of 32 bits,
// probabilities lie in [0, 1] and means are finite and not negative, and
// answers RUK_ERROR_BAD_ARGUMENT (drawing nothing) otherwise.
#include <cmath>
#include <cstdint>
#include <vector>

#include "rng_choices.h"
#include "xebruk/rng_discrete.h"

namespace cli {
namespace {

bool is_int32(double x) {
    return std::floor(x) == x && x >= INT32_MIN && x <= INT32_MAX;
}
bool is_probability(double p) { return p >= 0.0 && p <= 1.0; }

int32_t uniform(int32_t m, RukStream* s, int32_t n, int32_t* r, const double* p) {
    if (!is_int32(p[0]) || !is_int32(p[1]) || !(p[0] < p[1])) return RUK_ERROR_BAD_ARGUMENT;
    return rukiRngUniform(m, s, n, r, static_cast<int32_t>(p[0]), static_cast<int32_t>(p[1]));
}

// Words of 4 bytes only: the block holds n 32-bit integers.
int32_t bits(int32_t m, RukStream* s, int32_t n, int32_t* r, const double*) {
    RukBrngEntry row;
    if (rukGetBrngProperties(s->brngId, &row) < 0 || row.wordSize != 4) return RUK_ERROR_BAD_ARGUMENT;
    return rukiRngUniformBits(m, s, n, reinterpret_cast<uint32_t*>(r));
}

template <int32_t (*F)(int32_t, RukStream*, int32_t, int32_t*, double)>
int32_t with_probability(int32_t m, RukStream* s, int32_t n, int32_t* r, const double* p) {
    if (!is_probability(p[0])) return RUK_ERROR_BAD_ARGUMENT;
    return F(m, s, n, r, p[0]);
}

int32_t binomial(int32_t m, RukStream* s, int32_t n, int32_t* r, const double* p) {
    if (!is_int32(p[0]) || p[0] < 0 || !is_probability(p[1])) return RUK_ERROR_BAD_ARGUMENT;
    return rukiRngBinomial(m, s, n, r, static_cast<int32_t>(p[0]), p[1]);
}

// A Poisson mean must be finite and at least 0, and for method 0 at most
// RUK_POISSON_MAX_MEAN.
bool is_mean(double lambda, int32_t method) {
    return lambda >= 0 && std::isfinite(lambda) && (method != 0 || lambda <= RUK_POISSON_MAX_MEAN);
}

int32_t poisson(int32_t m, RukStream* s, int32_t n, int32_t* r, const double* p) {
    if (!is_mean(p[0], m)) return RUK_ERROR_BAD_ARGUMENT;
    return rukiRngPoisson(m, s, n, r, p[0]);
}

// The vector form with one mean for every element.
int32_t poisson_vector(int32_t m, RukStream* s, int32_t n, int32_t* r, const double* p) {
    if (!is_mean(p[0], 1)) return RUK_ERROR_BAD_ARGUMENT;
    const std::vector<double> means(static_cast<std::size_t>(n > 0 ? n : 0), p[0]);
    return rukiRngPoissonV(m, s, n, r, means.data());
}

const RngRegistration discrete_laws(std::vector<LawChoice>{
    {"uniform_int", {"a", "b"}, {0.0, 10.0}, "floor of a uniform on [a, b): integers a to b - 1",
     nullptr, nullptr, uniform},
    {"bits", {}, {}, "the generator's 32-bit words, read as signed integers", nullptr, nullptr,
     bits},
    {"bernoulli", {"p"}, {0.5}, "1 with probability p, else 0", nullptr, nullptr,
     with_probability<rukiRngBernoulli>},
    {"geometric", {"p"}, {0.5}, "failures before the first success of probability p", nullptr,
     nullptr, with_probability<rukiRngGeometric>},
    {"binomial", {"trials", "p"}, {10.0, 0.5}, "successes in trials trials of probability p",
     nullptr, nullptr, binomial},
    {"poisson", {"lambda"}, {1.0}, "counts of mean lambda (--method 0 exact, 1 from Gaussians)", nullptr,
     nullptr, poisson},
    {"poissonv", {"lambda"}, {1.0}, "the per-element Poisson form, every element of mean lambda", nullptr,
     nullptr, poisson_vector},
});

}  // namespace
}  // namespace cli
