// Exponential and Gumbel by inverse transform: uniforms straight into r,
// whole-array vector kernels in place, one final affine pass.  U is
// uniform on (0, 1) as the generator gives it.
//
//   Exponential(a, beta)      a - beta ln U   (single: then max(., a))
//   Gumbel(a, beta)           a + beta ln E, E the standard Exponential
//
// Gumbel's long tail lies on the low side (beta ln(-ln U)): that is the
// law of this library.
//
// Errors: each value goes through one kernel of at most 1 ulp per step and
// the final pass, rounded once (double) or twice (single).  A U of exactly 0 takes the
// logarithm's error path, and its value (an infinity) flows on.
#include "dist/continuous.h"

namespace xeb::dist {
namespace {

// Draws n numbers on (lo, hi) into r and, unless the draw failed, runs
// steps over them.  The status is the draw's.
template <class T, class Steps>
int32_t draw_then(RukStream* stream, int32_t n, T* r, T lo, T hi, Steps steps) {
    const int32_t status = Precision<T>::uniform(stream, n, r, lo, hi);
    if (status >= 0) steps();
    return status;
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

// Through the standard Exponential, so the single form's clamp at 0 comes
// before the second logarithm.
template <class T>
int32_t gumbel(RukStream* stream, int32_t n, T* r, T a, T beta) {
    const int32_t status = exponential(stream, n, r, T(0), T(1));
    if (status < 0) return status;
    Precision<T>::ln(n, r);
    affine(n, r, beta, a);
    return status;
}

}  // namespace
}  // namespace xeb::dist

using namespace xeb::dist;

int32_t rukdRngExponential(int32_t, RukStream* stream, int32_t n, double* r, double a,
                           double beta) {
    return exponential(stream, n, r, a, beta);
}
int32_t ruksRngExponential(int32_t, RukStream* stream, int32_t n, float* r, float a, float beta) {
    return exponential(stream, n, r, a, beta);
}
int32_t rukdRngGumbel(int32_t, RukStream* stream, int32_t n, double* r, double a, double beta) {
    return gumbel(stream, n, r, a, beta);
}
int32_t ruksRngGumbel(int32_t, RukStream* stream, int32_t n, float* r, float a, float beta) {
    return gumbel(stream, n, r, a, beta);
}
