// The simplest integer laws: Uniform on [a, b), the generator's raw words,
// Bernoulli and Geometric.  None allocates or keeps state between calls;
// each draws exactly n numbers (UniformBits: whatever the integer kernel
// takes for n words).
//
// A float and a 32-bit integer have the same size, and a double is two
// integers wide, so the laws draw into r itself and convert in place.  The
// array is read and written through memcpy: its elements change type under
// the same address.
//
// Exactness.  Uniform is floor(X) of the generator's double X, exact for
// |X| < 2^31.  Bernoulli compares the float U, widened exactly, with p in
// double.  Geometric truncates ln(U) * c, c = 1 / ln(1 - p): ln(1 - p) in
// double and ln(U) in single precision by the high-accuracy kernels (below
// 1 ulp each), the product rounded once to double; near an integer boundary
// those errors may move a result by one, as they would any implementation
// in these precisions.
#include <cstdint>
#include <cstring>

#include "laws/continuous.h"
#include "laws/truncate.h"
#include "xebruk/rng_discrete.h"

namespace xeb::laws {
namespace {

// floor of the k doubles at d into k integers at r.  r may start at d
// itself: element i is written at byte 4i after double i was read from
// byte 8i, so no write overtakes a read.
inline void floor_doubles(int32_t k, const unsigned char* d, int32_t* r) {
    for (int32_t i = 0; i < k; ++i) {
        double x;
        std::memcpy(&x, d + 8 * static_cast<std::size_t>(i), sizeof x);
        r[i] = floor_to_int32(x);
    }
}

}  // namespace
}  // namespace xeb::laws

using namespace xeb::laws;

// Large arrays are half filled by one call of the double kernel into r
// itself (the first h = n/2 results, when h exceeds a block), the rest in
// blocks of 1,024 through a stack buffer.  The double kernel needs r on an
// 8-byte boundary for that; an r on a 4-byte boundary only takes the
// buffered route for all n, which draws the same numbers in other counts.
int32_t rukiRngUniform(int32_t, RukStream* stream, int32_t n, int32_t* r, int32_t a, int32_t b) {
    const double lo = a, hi = b;
    int32_t status = 0;
    int32_t done = 0;
    const int32_t half = n >> 1;
    if (half > kBlock && reinterpret_cast<uintptr_t>(r) % alignof(double) == 0) {
        status = rukdRngUniform(0, stream, half, reinterpret_cast<double*>(r), lo, hi);
        if (status < 0) return status;
        floor_doubles(half, reinterpret_cast<const unsigned char*>(r), r);
        done = half;
    }
    double buffer[kBlock];
    while (done < n) {
        const int32_t k = n - done < kBlock ? n - done : kBlock;
        status = rukdRngUniform(0, stream, k, buffer, lo, hi);
        if (status < 0) return status;
        floor_doubles(k, reinterpret_cast<const unsigned char*>(buffer), r + done);
        done += k;
    }
    return status;
}

int32_t rukiRngUniformBits(int32_t, RukStream* stream, int32_t n, uint32_t* r) {
    return row_of(stream).iKernel(stream, n, r);
}

// p finer than the float grid of U is not honoured exactly: U takes only
// float values.  p = 0 gives 0 everywhere, p = 1 gives 1 for every U < 1.
int32_t rukiRngBernoulli(int32_t, RukStream* stream, int32_t n, int32_t* r, double p) {
    const int32_t status = ruksRngUniform(0, stream, n, reinterpret_cast<float*>(r), 0.0f, 1.0f);
    if (status < 0 || n < 1) return status;
    for (int32_t i = 0; i < n; ++i) r[i] = static_cast<double>(float_at(r, i)) < p ? 1 : 0;
    return status;
}

// Counts failures, so the law starts at 0.  c is formed once per call,
// before the draw: for p = 1, ln(0) = -inf (through the logarithm's error
// path) and c = -0, so every U in (0, 1) gives 0.
int32_t rukiRngGeometric(int32_t, RukStream* stream, int32_t n, int32_t* r, double p) {
    const xeb::frame::StreamControlWords words;
    double c = 1.0 - p;
    xebdLn_HA(1, &c, &c);
    c = 1.0 / c;
    float* f = reinterpret_cast<float*>(r);
    const int32_t status = ruksRngUniform(0, stream, n, f, 0.0f, 1.0f);
    if (status < 0) return status;
    xebsLn_HA(n, f, f);
    for (int32_t i = 0; i < n; ++i) r[i] = truncate_to_int32(static_cast<double>(float_at(r, i)) * c);
    return status;
}
