// Laplace(a, beta): a - beta ln U1 when U2 <= 0.5, else a + beta ln U1.
//
// Each result takes two uniforms, alternately a size and a side: even
// draws are sizes, odd draws sides.  Results come in blocks of 1,024 through
// a stack buffer of 2,048 draws, so stack use is bounded for any n: the
// sizes are gathered into r, the sides to the front of the buffer, the
// logarithm taken in place in r, and the side picks the sign of beta.
// A side of exactly 0.5 takes the minus branch (a value at or above a for a
// positive beta).
//
// Error: the logarithm (below 1 ulp) and the final step x * (+-beta) + a,
// rounded once (double) or twice (single): within 2 ulp of the larger of
// |a| and beta |ln U1|.
#include "laws/continuous.h"

namespace xeb::laws {
namespace {

template <class T>
int32_t laplace_block(RukStream* stream, int32_t k, T* r, T* buffer, T a, T beta) {
    using P = Precision<T>;
    const int32_t status = P::uniform(stream, 2 * k, buffer, T(0), T(1));
    if (status < 0) return status;
    P::pack(k, buffer, 2, r);
    P::pack(k, buffer + 1, 2, buffer);  // in place: reads stay ahead of writes
    P::ln(k, r);
    const T minus_beta = -beta;
    for (int32_t i = 0; i < k; ++i) r[i] = mul_add(r[i], buffer[i] <= T(0.5) ? minus_beta : beta, a);
    return status;
}

template <class T>
int32_t laplace(RukStream* stream, int32_t n, T* r, T a, T beta) {
    T buffer[2 * kBlock];
    const int32_t blocks = n >= kBlock ? n / kBlock : 0;
    for (int32_t b = 0; b < blocks; ++b) {
        const int32_t status = laplace_block(stream, kBlock, r + b * kBlock, buffer, a, beta);
        if (status < 0) return status;
    }
    // The rest, drawn even when it is empty: its status is the result.  A
    // negative n draws nothing.
    const int32_t rest = n - blocks * kBlock;
    return laplace_block(stream, rest > 0 ? rest : 0, r + blocks * kBlock, buffer, a, beta);
}

}  // namespace
}  // namespace xeb::laws

using namespace xeb::laws;

int32_t rukdRngLaplace(int32_t, RukStream* stream, int32_t n, double* r, double a, double beta) {
    const xeb::frame::StreamControlWords words;
    return laplace(stream, n, r, a, beta);
}
int32_t ruksRngLaplace(int32_t, RukStream* stream, int32_t n, float* r, float a, float beta) {
    const xeb::frame::StreamControlWords words;
    return laplace(stream, n, r, a, beta);
}
