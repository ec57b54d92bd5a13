// The continuous laws offered by `xebruk rng`.
#include "rng_choices.h"

#include "xebruk/rng_continuous.h"

namespace cli {
namespace {

const RngRegistration continuous_laws(std::vector<LawChoice>{
    {"uniform", {"a", "b"}, {0.0, 1.0}, "uniform on the interval from a to b",
     law2<double, rukdRngUniform>, law2<float, ruksRngUniform>},
    {"exponential", {"a", "beta"}, {0.0, 1.0}, "a - beta ln U",
     law2<double, rukdRngExponential>, law2<float, ruksRngExponential>},
    {"gumbel", {"a", "beta"}, {0.0, 1.0}, "a + beta ln(-ln U), long tail low",
     law2<double, rukdRngGumbel>, law2<float, ruksRngGumbel>},
});

}  // namespace
}  // namespace cli
