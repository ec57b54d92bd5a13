// The discrete laws offered by `xebruk rng`: 32-bit integer results.  The
// library trusts its arguments; the command line does not, so each law
// checks its parameters (integers of 32 bits, probabilities and means in
// their range) before anything is drawn.
#include <cstdint>
#include <string>
#include <vector>

#include "rng_choices.h"
#include "xebruk/rng_discrete.h"

namespace cli {
namespace {

int32_t uniform(int32_t m, RukStream* s, int32_t n, int32_t* r, const double* p) {
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
    return F(m, s, n, r, p[0]);
}

int32_t binomial(int32_t m, RukStream* s, int32_t n, int32_t* r, const double* p) {
    return rukiRngBinomial(m, s, n, r, static_cast<int32_t>(p[0]), p[1]);
}

int32_t poisson(int32_t m, RukStream* s, int32_t n, int32_t* r, const double* p) {
    return rukiRngPoisson(m, s, n, r, p[0]);
}

// The vector form with one mean for every element.
int32_t poisson_vector(int32_t m, RukStream* s, int32_t n, int32_t* r, const double* p) {
    const std::vector<double> means(static_cast<std::size_t>(n > 0 ? n : 0), p[0]);
    return rukiRngPoissonV(m, s, n, r, means.data());
}

// Means from 0 to the largest method 0 takes (counts beyond 2^31 - 1 would
// not fit).
std::string mean(const double* p) {
    return p[0] >= 0 && p[0] <= RUK_POISSON_MAX_MEAN ? "" : "lambda must lie in [0, 2143289344]";
}

int32_t hypergeometric(int32_t m, RukStream* s, int32_t n, int32_t* r, const double* p) {
    return rukiRngHypergeometric(m, s, n, r, static_cast<int32_t>(p[0]), static_cast<int32_t>(p[1]),
                                 static_cast<int32_t>(p[2]));
}

std::string at_most_lot(const char* name, double v, double lot) {
    return v <= lot ? "" : std::string(name) + " must be at most lot";
}

// The library refuses negative binomial laws that 32-bit results cannot
// hold, with its status.
int32_t negbinomial(int32_t m, RukStream* s, int32_t n, int32_t* r, const double* p) {
    return rukiRngNegbinomial(m, s, n, r, p[0], p[1]);
}

const RngRegistration discrete_laws(std::vector<LawChoice>{
    {"uniform_int", {"a", "b"}, {0.0, 10.0}, "floor of a uniform on [a, b): integers a to b - 1",
     nullptr, nullptr, uniform, [](const double* p) {
         return first_of({whole_number("a", p[0], INT32_MIN), whole_number("b", p[1], INT32_MIN),
                          below("a", p[0], "b", p[1])});
     }},
    {"bits", {}, {}, "the generator's 32-bit words, read as signed integers", nullptr, nullptr,
     bits},
    {"bernoulli", {"p"}, {0.5}, "1 with probability p, else 0", nullptr, nullptr,
     with_probability<rukiRngBernoulli>, [](const double* p) { return probability("p", p[0]); }},
    {"geometric", {"p"}, {0.5}, "failures before the first success of probability p", nullptr,
     nullptr, with_probability<rukiRngGeometric>, [](const double* p) { return probability("p", p[0], false); }},
    {"binomial", {"trials", "p"}, {10.0, 0.5}, "successes in trials trials of probability p",
     nullptr, nullptr, binomial, [](const double* p) {
         return first_of({whole_number("trials", p[0], 0), probability("p", p[1])});
     }},
    {"poisson", {"lambda"}, {1.0}, "counts of mean lambda (--method 0 exact, 1 from Gaussians)", nullptr,
     nullptr, poisson, mean},
    {"poissonv", {"lambda"}, {1.0}, "the per-element Poisson form, every element of mean lambda", nullptr,
     nullptr, poisson_vector, mean},
    {"hypergeometric", {"lot", "sample", "marked"}, {20.0, 5.0, 7.0},
     "marked items in a sample drawn without replacement from a lot", nullptr, nullptr,
     hypergeometric, [](const double* p) {
         return first_of({whole_number("lot", p[0], 0), whole_number("sample", p[1], 0),
                          whole_number("marked", p[2], 0), at_most_lot("sample", p[1], p[0]),
                          at_most_lot("marked", p[2], p[0])});
     }},
    {"negbinomial", {"a", "p"}, {3.0, 0.3},
     "failures before the a-th success of probability p (a real)", nullptr, nullptr, negbinomial,
     [](const double* p) { return first_of({above_zero("a", p[0]), probability("p", p[1], false)}); }},
});

}  // namespace
}  // namespace cli
