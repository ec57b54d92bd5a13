// Lognormal(a, sigma, b, beta): b + beta exp(G), G Gaussian of mean a and
// standard deviation sigma.  G always comes from the paired Gaussian
// method, whatever method the caller names, so that an odd count leaves
// its half pair in the stream for the next call of either law.
//
// Error: that of G (a few ulp of its size, see gaussian.cpp) becomes a
// relative error of exp(G) magnified by |G|, plus the exponential (below
// 1 ulp) and the final pass: within 10 ulp (double) and 12 ulp (single)
// of the larger of |b| and beta exp(G) for |G| up to about 4.
#include "laws/continuous.h"

namespace xeb::laws {
namespace {

inline int32_t gaussian(RukStream* s, int32_t n, double* r, double a, double sigma) {
    return rukdRngGaussian(RUK_METHOD_GAUSSIAN_PAIRED, s, n, r, a, sigma);
}
inline int32_t gaussian(RukStream* s, int32_t n, float* r, float a, float sigma) {
    return ruksRngGaussian(RUK_METHOD_GAUSSIAN_PAIRED, s, n, r, a, sigma);
}

template <class T>
int32_t lognormal(RukStream* stream, int32_t n, T* r, T a, T sigma, T b, T beta) {
    return then_step(gaussian(stream, n, r, a, sigma), n, r, Precision<T>::exp, beta, b);
}

}  // namespace
}  // namespace xeb::laws

using namespace xeb::laws;

int32_t rukdRngLognormal(int32_t, RukStream* stream, int32_t n, double* r, double a,
                         double sigma, double b, double beta) {
    const xeb::frame::StreamControlWords words;
    return lognormal(stream, n, r, a, sigma, b, beta);
}
int32_t ruksRngLognormal(int32_t, RukStream* stream, int32_t n, float* r, float a, float sigma,
                         float b, float beta) {
    const xeb::frame::StreamControlWords words;
    return lognormal(stream, n, r, a, sigma, b, beta);
}
