// The discrete laws offered by `xebruk rng`: 32-bit integer results.  The
// library trusts its arguments; the command line does not, so each law
// checks its parameters (integers of 32 bits, probabilities in their
// range) before anything is drawn.
#include <cstdint>

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
});

}  // namespace
}  // namespace cli
