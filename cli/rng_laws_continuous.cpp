// The continuous laws offered by `xebruk rng`.
#include "rng_choices.h"

#include "xebruk/rng_continuous.h"

namespace cli {
namespace {

// a and beta of the location-scale laws.
std::string scale_at_1(const double* p) { return above_zero("beta", p[1]); }

const RngRegistration continuous_laws(std::vector<LawChoice>{
    {"uniform", {"a", "b"}, {0.0, 1.0}, "uniform on the interval from a to b",
     law2<double, rukdRngUniform>, law2<float, ruksRngUniform>, nullptr,
     [](const double* p) { return below("a", p[0], "b", p[1]); }},
    {"exponential", {"a", "beta"}, {0.0, 1.0}, "a - beta ln U",
     law2<double, rukdRngExponential>, law2<float, ruksRngExponential>, nullptr, scale_at_1},
    {"laplace", {"a", "beta"}, {0.0, 1.0}, "a -+ beta ln U, sign by a second uniform",
     law2<double, rukdRngLaplace>, law2<float, ruksRngLaplace>, nullptr, scale_at_1},
    {"weibull", {"alpha", "a", "beta"}, {1.0, 0.0, 1.0}, "a + beta (-ln U)^(1/alpha)",
     law3<double, rukdRngWeibull>, law3<float, ruksRngWeibull>, nullptr,
     [](const double* p) { return first_of({above_zero("alpha", p[0]), above_zero("beta", p[2])}); }},
    {"cauchy", {"a", "beta"}, {0.0, 1.0}, "a + beta tan(pi (U - 1/2))",
     law2<double, rukdRngCauchy>, law2<float, ruksRngCauchy>, nullptr, scale_at_1},
    {"rayleigh", {"a", "beta"}, {0.0, 1.0}, "a + beta sqrt(-ln U)",
     law2<double, rukdRngRayleigh>, law2<float, ruksRngRayleigh>, nullptr, scale_at_1},
    {"gumbel", {"a", "beta"}, {0.0, 1.0}, "a + beta ln(-ln U), long tail low",
     law2<double, rukdRngGumbel>, law2<float, ruksRngGumbel>, nullptr, scale_at_1},
    {"gaussian", {"a", "sigma"}, {0.0, 1.0}, "mean a, deviation sigma (--method 0 or 1)",
     law2<double, rukdRngGaussian>, law2<float, ruksRngGaussian>, nullptr,
     [](const double* p) { return above_zero("sigma", p[1]); }},
    {"lognormal", {"a", "sigma", "b", "beta"}, {0.0, 1.0, 0.0, 1.0},
     "b + beta exp(Gaussian(a, sigma))", law4<double, rukdRngLognormal>,
     law4<float, ruksRngLognormal>, nullptr,
     [](const double* p) { return first_of({above_zero("sigma", p[1]), above_zero("beta", p[3])}); }},
    {"gamma", {"alpha", "a", "beta"}, {1.0, 0.0, 1.0}, "a + beta G, G of density x^(alpha-1) e^-x / Gamma(alpha)",
     law3<double, rukdRngGamma>, law3<float, ruksRngGamma>, nullptr,
     [](const double* p) { return first_of({above_zero("alpha", p[0]), above_zero("beta", p[2])}); }},
    {"beta", {"p", "q", "a", "beta"}, {2.0, 3.0, 0.0, 1.0}, "a + beta X, X of density x^(p-1) (1-x)^(q-1)",
     law4<double, rukdRngBeta>, law4<float, ruksRngBeta>, nullptr,
     [](const double* p) {
         return first_of({above_zero("p", p[0]), above_zero("q", p[1]), above_zero("beta", p[3])});
     }},
});

}  // namespace
}  // namespace cli
