// The continuous laws offered by `xebruk rng`.
#include <cmath>

#include "rng_choices.h"
#include "xebruk/rng_continuous.h"

namespace cli {
namespace {

// Gamma's shape and scale must be positive and, like the shift, finite in
// the precision drawn; otherwise RUK_ERROR_BAD_ARGUMENT, nothing drawn.
template <class T, int32_t (*F)(int32_t, RukStream*, int32_t, T*, T, T, T)>
int32_t gamma(int32_t m, RukStream* s, int32_t n, T* r, const double* p) {
    const T alpha = static_cast<T>(p[0]), a = static_cast<T>(p[1]), beta = static_cast<T>(p[2]);
    if (!(alpha > 0 && beta > 0 && std::isfinite(alpha) && std::isfinite(a) && std::isfinite(beta)))
        return RUK_ERROR_BAD_ARGUMENT;
    return F(m, s, n, r, alpha, a, beta);
}

const RngRegistration continuous_laws(std::vector<LawChoice>{
    {"uniform", {"a", "b"}, {0.0, 1.0}, "uniform on the interval from a to b",
     law2<double, rukdRngUniform>, law2<float, ruksRngUniform>},
    {"exponential", {"a", "beta"}, {0.0, 1.0}, "a - beta ln U",
     law2<double, rukdRngExponential>, law2<float, ruksRngExponential>},
    {"laplace", {"a", "beta"}, {0.0, 1.0}, "a -+ beta ln U, sign by a second uniform",
     law2<double, rukdRngLaplace>, law2<float, ruksRngLaplace>},
    {"weibull", {"alpha", "a", "beta"}, {1.0, 0.0, 1.0}, "a + beta (-ln U)^(1/alpha)",
     law3<double, rukdRngWeibull>, law3<float, ruksRngWeibull>},
    {"cauchy", {"a", "beta"}, {0.0, 1.0}, "a + beta tan(pi (U - 1/2))",
     law2<double, rukdRngCauchy>, law2<float, ruksRngCauchy>},
    {"rayleigh", {"a", "beta"}, {0.0, 1.0}, "a + beta sqrt(-ln U)",
     law2<double, rukdRngRayleigh>, law2<float, ruksRngRayleigh>},
    {"gumbel", {"a", "beta"}, {0.0, 1.0}, "a + beta ln(-ln U), long tail low",
     law2<double, rukdRngGumbel>, law2<float, ruksRngGumbel>},
    {"gaussian", {"a", "sigma"}, {0.0, 1.0}, "mean a, deviation sigma (--method 0 or 1)",
     law2<double, rukdRngGaussian>, law2<float, ruksRngGaussian>},
    {"lognormal", {"a", "sigma", "b", "beta"}, {0.0, 1.0, 0.0, 1.0},
     "b + beta exp(Gaussian(a, sigma))", law4<double, rukdRngLognormal>,
     law4<float, ruksRngLognormal>},
    {"gamma", {"alpha", "a", "beta"}, {1.0, 0.0, 1.0}, "a + beta G, G of density x^(alpha-1) e^-x / Gamma(alpha)",
     gamma<double, rukdRngGamma>, gamma<float, ruksRngGamma>},
});

}  // namespace
}  // namespace cli
