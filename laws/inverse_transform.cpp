// Exponential, Cauchy, Rayleigh, Weibull and Gumbel by inverse transform:
// uniforms straight into r, whole-array vector kernels in place, one final
// affine pass.  U is uniform on (0, 1) as the generator gives it.
//
//   Exponential(a, beta)      a - beta ln U   (single: then max(., a))
//   Cauchy(a, beta)           a + beta tan V, V uniform on (-pi/2, pi/2)
//   Rayleigh(a, beta)         a + beta sqrt(-ln U)
//   Weibull(alpha, a, beta)   a + beta (-ln U)^(1/alpha)
//   Gumbel(a, beta)           a + beta ln E, E the standard Exponential
//
// Rayleigh has no factor 2 under the root, and Gumbel's long tail lies on
// the low side (beta ln(-ln U)); both are the laws of this library.
//
// Errors: each value goes through kernels of below 1 ulp each (the
// tangent of Cauchy: below 4 ulp) and the final pass, rounded once
// (double) or twice (single).  Bounds against the exact formula on the
// same uniforms, in ulps of the larger of |a| and the term beta x, double
// and single: Exponential 2 and 2, Rayleigh 2 and 2, Weibull 2 and 3
// (the power's error grows with 1/alpha), Gumbel 3 and 3 (two
// logarithms), Cauchy 4 and 5.  A U of exactly 0 takes the
// logarithm's error path, and its value (an infinity) flows on.
#include "laws/continuous.h"

namespace xeb::laws {
namespace {

// Draws n numbers on (lo, hi) into r and, unless the draw failed, runs
// steps over them.  The status is the draw's.
template <class T, class Steps>
int32_t draw_then(RukStream* stream, int32_t n, T* r, T lo, T hi, Steps steps) {
    const int32_t status = Precision<T>::uniform(stream, n, r, lo, hi);
    if (status >= 0) steps();
    return status;
}

template <class T>
void negate_all(int32_t n, T* r) {
    for (int32_t i = 0; i < n; ++i) r[i] = negate(r[i]);
}

// a - beta x.  The single form clamps at a (the second operand of the
// maximum wins when the first is a NaN); the double form has no clamp, so
// that a negative beta gives values below a there and a alone here.
inline void exponential_pass(int32_t n, double* r, double a, double beta) {
    affine(n, r, -beta, a);
}
inline void exponential_pass(int32_t n, float* r, float a, float beta) {
    const float m = 0.0f - beta;
    for (int32_t i = 0; i < n; ++i) {
        const float x = r[i] * m + a;
        r[i] = x > a ? x : a;
    }
}

template <class T>
int32_t exponential(RukStream* stream, int32_t n, T* r, T a, T beta) {
    return draw_then(stream, n, r, T(0), T(1), [&] {
        Precision<T>::ln(n, r);
        exponential_pass(n, r, a, beta);
    });
}

template <class T>
int32_t cauchy(RukStream* stream, int32_t n, T* r, T a, T beta) {
    using P = Precision<T>;
    return draw_then(stream, n, r, -P::kHalfPi, P::kHalfPi, [&] {
        P::tan(n, r);
        affine(n, r, beta, a);
    });
}

template <class T>
int32_t rayleigh(RukStream* stream, int32_t n, T* r, T a, T beta) {
    using P = Precision<T>;
    return draw_then(stream, n, r, T(0), T(1), [&] {
        P::ln(n, r);
        negate_all(n, r);
        P::sqrt(n, r);
        affine(n, r, beta, a);
    });
}

// 1/alpha, once per call: in double, or in the 64-bit significand and then
// rounded to single.
inline double reciprocal(double alpha) { return 1.0 / alpha; }
inline float reciprocal(float alpha) { return static_cast<float>(1.0L / alpha); }

template <class T>
int32_t weibull(RukStream* stream, int32_t n, T* r, T alpha, T a, T beta) {
    using P = Precision<T>;
    const T exponent = reciprocal(alpha);
    return draw_then(stream, n, r, T(0), T(1), [&] {
        P::ln(n, r);
        negate_all(n, r);
        P::powx(n, r, exponent);
        affine(n, r, beta, a);
    });
}

// Through the standard Exponential, so the single form's clamp at 0 comes
// before the second logarithm.
template <class T>
int32_t gumbel(RukStream* stream, int32_t n, T* r, T a, T beta) {
    return then_step(exponential(stream, n, r, T(0), T(1)), n, r, Precision<T>::ln, beta, a);
}

}  // namespace
}  // namespace xeb::laws

using namespace xeb::laws;

int32_t rukdRngExponential(int32_t, RukStream* stream, int32_t n, double* r, double a,
                           double beta) {
    const xeb::frame::StreamControlWords words;
    return exponential(stream, n, r, a, beta);
}
int32_t ruksRngExponential(int32_t, RukStream* stream, int32_t n, float* r, float a, float beta) {
    const xeb::frame::StreamControlWords words;
    return exponential(stream, n, r, a, beta);
}
int32_t rukdRngCauchy(int32_t, RukStream* stream, int32_t n, double* r, double a, double beta) {
    const xeb::frame::StreamControlWords words;
    return cauchy(stream, n, r, a, beta);
}
int32_t ruksRngCauchy(int32_t, RukStream* stream, int32_t n, float* r, float a, float beta) {
    const xeb::frame::StreamControlWords words;
    return cauchy(stream, n, r, a, beta);
}
int32_t rukdRngRayleigh(int32_t, RukStream* stream, int32_t n, double* r, double a,
                        double beta) {
    const xeb::frame::StreamControlWords words;
    return rayleigh(stream, n, r, a, beta);
}
int32_t ruksRngRayleigh(int32_t, RukStream* stream, int32_t n, float* r, float a, float beta) {
    const xeb::frame::StreamControlWords words;
    return rayleigh(stream, n, r, a, beta);
}
int32_t rukdRngWeibull(int32_t, RukStream* stream, int32_t n, double* r, double alpha, double a,
                       double beta) {
    const xeb::frame::StreamControlWords words;
    return weibull(stream, n, r, alpha, a, beta);
}
int32_t ruksRngWeibull(int32_t, RukStream* stream, int32_t n, float* r, float alpha, float a,
                       float beta) {
    const xeb::frame::StreamControlWords words;
    return weibull(stream, n, r, alpha, a, beta);
}
int32_t rukdRngGumbel(int32_t, RukStream* stream, int32_t n, double* r, double a, double beta) {
    const xeb::frame::StreamControlWords words;
    return gumbel(stream, n, r, a, beta);
}
int32_t ruksRngGumbel(int32_t, RukStream* stream, int32_t n, float* r, float a, float beta) {
    const xeb::frame::StreamControlWords words;
    return gumbel(stream, n, r, a, beta);
}
