// Poisson counts from Gaussian numbers: rukiRngPoisson method 1 (one mean)
// and rukiRngPoissonV (a mean per element).  Each result costs one number
// from the stream, drawn for the whole array in one call, and a polynomial:
// no rejection, no state of their own (the paired Gaussian's half pair
// stays in the stream as usual).
//
// Method 1, by the mean:
//   below 1     a float uniform U on (0, E), E ~ e^lambda (a degree-7 fit,
//               rounded to float); the count is the number of the partial
//               sums S(k) = sum of lambda^j / j! for j <= k, k = 0..10, that
//               U exceeds: P(count = k) = lambda^k / k! / E, cut at 11.
//   1 to 100    a standard Gaussian z, count trunc(max(A + 1 + B z (C + z
//               (D + z (G + z H))), 0)), A to H polynomials in the mean's
//               significand from the row of its binade.
//   from 100    a Gaussian g of mean mu ~ lambda - 2/3 and deviation
//               sigma ~ sqrt(lambda), count trunc(max(g + 1 + P d + Q d^2 +
//               R d^3, 0)), d = g - mu, P, Q, R in 1/lambda.
// The polynomials are evaluated in double and rounded to float once per
// call; the per-element arithmetic is in float, and the float becomes an
// integer by the truncating conversion (2^31 and more give 0x80000000).
//
// Vector form: below a mean of 1/16, u = |erf(z / sqrt 2)|, uniform on
// (0, 1), is scaled by P ~ e^l and compared with the sums S(k) as above;
// from 1/16, x = l + 1 + c0 + c1 t + (sqrt(l) + c2 + c3 t) z (a + z (b +
// z (c + z d))) in double from the row of l's binade (a to d cubics in the
// significand t; one row serves all means from 2^13), and the count is x
// truncated when positive, else 0.
//
// Error.  The maps are approximations of the quantile function: the total
// variation distance between each row's law and Poisson is measured by
// tools/poisson_map_tables and written beside the row in
// poisson_map_tables.inc (at most 0.0012, and below 0.0008 for means from
// 1/4); below a mean of 1 the law is exact but for the cut at 11 and the
// polynomial for e^lambda (1e-9).  The float and double roundings of the
// evaluation move a count only where x lies within a few ulp of an
// integer.
//
// Guards.  A negative or NaN mean (any element's, in the vector form) is
// refused before anything is drawn or written.  Any other mean gives a
// defined count, infinities included.
#include <cmath>
#include <cstdint>

#include "frame/bits.h"
#include "frame/kernel_frame.h"
#include "laws/guards.h"
#include "laws/poisson.h"
#include "laws/truncate.h"
#include "xebruk/rng_continuous.h"
#include "xebruk/vm_erf.h"
#include "xebruk/vm_roots.h"

namespace xeb::laws {
namespace {

#include "laws/poisson_map_tables.inc"

constexpr int kThresholds = 11;  // S(0) to S(10)
constexpr double kTableFrom = 1.0, kAsymptoticFrom = 100.0;
constexpr double kVectorTableFrom = 0.0625;
constexpr int kVectorRowOfMeanOne = 4;  // means [1, 2)
constexpr int kLastVectorRow = 17;

// exp(lambda) on [0, 1): c0 + c1 lambda + ... + c7 lambda^7.
constexpr double kExp[8] = {0.9999999978976929,  1.000000235204182,      0.49999555884885266,
                            0.16669916415448055, 0.0415487961378904,     0.008565930750590653,
                            0.0011369805324212754, 0.0003351641595394528};

// The asymptotic form's mean and variance corrections in w = 1/lambda.
constexpr double kMuShift = -0x1.55592431d92e1p-1;  // -0.6666957198
constexpr double kMuW1 = -0x1.3e0450cecfde6p-6;     // -0.01941020862
constexpr double kMuW2 = -0x1.51d47d20577dbp-10;    // -0.001288719308
constexpr double kMuW3 = 0x1.af44658218e5cp-10;     // 0.001645153709
constexpr double kVarShift = -0.05580667628;
constexpr double kVarW1 = -0.000975814817, kVarW2 = -0.005534854444, kVarW3 = 0.00519830812;

// x / sqrt(2) and the error function, for the vector form's small means.
constexpr double kSqrtHalf = 0.7071067811865476;
// erf in single precision: the library's kernel, on one element.
float erf_single(float x) {
    float r;
    xebsErf_HA(1, &x, &r);
    return r;
}

// S(0) = 1, S(k) = S(k-1) + lambda^k / k!, the sum kept in double and
// each S(k) rounded to float.
void partial_sums(double lambda, float* s) {
    double term = lambda, sum = 1.0;
    s[0] = 1.0f;
    for (int k = 1; k < kThresholds; ++k) {
        if (k > 1) term = term * (lambda / k);
        sum += term;
        s[k] = static_cast<float>(sum);
    }
}

// The truncating conversion of a float of at least 0 (or NaN): 2^31 and
// above, and NaN, give 0x80000000, as the processor's conversion does.
int32_t truncate_float(float x) {
    return x < 0x1p31f ? static_cast<int32_t>(x) : INT32_MIN;
}

float non_negative(float x) { return x > 0.0f ? x : 0.0f; }

// The significand of x, in [1, 2), less 1.
inline double significand_less_one(double x) {
    return double_from_bits((bits(x) & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull) - 1.0;
}
inline float significand_less_one(float x) {
    return float_from_bits((bits(x) & 0x007FFFFFu) | 0x3F800000u) - 1.0f;
}
inline int biased_exponent(double x) { return static_cast<int>((bits(x) >> 52) & 0x7FF); }

}  // namespace

PoissonMap poisson_map(double lambda) {
    PoissonMap map{};
    if (lambda < kTableFrom) {
        map.regime = PoissonMap::Regime::BelowOne;
        double e = kExp[7];
        for (int k = 6; k >= 0; --k) e = e * lambda + kExp[k];
        map.upper = static_cast<float>(e);
        partial_sums(lambda, map.thresholds);
    } else if (lambda < kAsymptoticFrom) {
        map.regime = PoissonMap::Regime::Table;
        const double* r = kMethod1Rows[biased_exponent(lambda) - biased_exponent(kTableFrom)];
        const double t = significand_less_one(static_cast<float>(lambda));
        map.a = static_cast<float>((r[2] * t + r[1]) * t + r[0]);
        map.b = static_cast<float>(((r[6] * t + r[5]) * t + r[4]) * t + r[3]);
        map.c = static_cast<float>(((r[10] * t + r[9]) * t + r[8]) * t + r[7]);
        map.d = static_cast<float>(((r[14] * t + r[13]) * t + r[12]) * t + r[11]);
        map.g = static_cast<float>(((r[18] * t + r[17]) * t + r[16]) * t + r[15]);
        map.h = static_cast<float>(t * ((r[22] * t + r[21]) * t + r[20]) + r[19]);
    } else {
        map.regime = PoissonMap::Regime::Asymptotic;
        const double w = 1.0 / lambda;
        map.mu = static_cast<float>(kMuShift + lambda + ((kMuW3 * w + kMuW2) * w + kMuW1) * w);
        double variance = lambda + kVarShift + w * ((kVarW3 * w + kVarW2) * w + kVarW1);
        xebdSqrt_HA(1, &variance, &variance);
        map.sigma = static_cast<float>(variance);
        map.p = static_cast<float>(((((2.02847035732762 * w - 3.85841212878712) * w + 2.29098262740971) * w -
                                     0.443911391797447) * w + 0.00774710541609) * w);
        map.q = static_cast<float>(((((-0.185436433294704 * w + 0.358642226989579) * w - 0.228162379800275) * w +
                                     0.0472242348292688) * w + 0.168577008904505) * w);
        map.r = static_cast<float>(w * ((((0.014389264627966 * w - 0.0291113093667918) * w + 0.0232257954288354) * w -
                                         0.0126559989233446) * w - 0.0001145865551857));
    }
    return map;
}

int32_t poisson_map_count(const PoissonMap& m, float x) {
    switch (m.regime) {
        case PoissonMap::Regime::BelowOne: {
            int32_t count = 0;
            for (float s : m.thresholds) count += x > s;
            return count;
        }
        case PoissonMap::Regime::Table:
            return truncate_float(non_negative(x * (((x * m.h + m.g) * x + m.d) * x + m.c) * m.b + 1.0f + m.a));
        case PoissonMap::Regime::Asymptotic: {
            const float d = x - m.mu;
            return truncate_float(non_negative(((d * m.r + m.q) * d + m.p) * d + x + 1.0f));
        }
    }
    return 0;
}

int32_t poissonv_count(double l, double root, float z) {
    if (l < kVectorTableFrom) {
        const double u = std::fabs(erf_single(static_cast<float>(z * kSqrtHalf)));
        // No cubic term and l^2 in the quartic's place: at these means a
        // difference of no account, and the law's own.
        const double v = u * (((kExp[3] * l * l + kExp[2]) * l + kExp[1]) * l + kExp[0]);
        if (v <= 1.0) return 0;
        float s[kThresholds];
        partial_sums(l, s);
        for (int32_t k = 1; k < kThresholds; ++k)
            if (v <= s[k]) return k;
        return kThresholds;
    }
    const int e = biased_exponent(l) - biased_exponent(1.0) + kVectorRowOfMeanOne;
    const double* c = kVectorRows[e < kLastVectorRow ? e : kLastVectorRow];
    const double t = significand_less_one(l);
    const double base = l + c[0] + c[1] * t;
    const double s = root + c[2] + c[3] * t;
    const double a = ((c[7] * t + c[6]) * t + c[5]) * t + c[4];
    const double b = ((c[11] * t + c[10]) * t + c[9]) * t + c[8];
    const double cc = ((c[15] * t + c[14]) * t + c[13]) * t + c[12];
    const double d = t * ((c[19] * t + c[18]) * t + c[17]) + c[16];
    const double x = z * (a + z * (b + z * (cc + z * d))) * s + (1.0 + base);
    return x > 0.0 ? truncate_to_int32(x) : 0;
}

int32_t poisson_gaussian_map(RukStream* stream, int32_t n, int32_t* r, double lambda) {
    if (negative_or_nan(lambda)) return RUK_ERROR_BAD_ARGUMENT;
    const PoissonMap map = poisson_map(lambda);
    float* x = reinterpret_cast<float*>(r);
    const bool shifted = map.regime == PoissonMap::Regime::Asymptotic;
    const int32_t status = map.regime == PoissonMap::Regime::BelowOne
                               ? ruksRngUniform(0, stream, n, x, 0.0f, map.upper)
                               : ruksRngGaussian(RUK_METHOD_GAUSSIAN_PAIRED, stream, n, x,
                                                 shifted ? map.mu : 0.0f, shifted ? map.sigma : 1.0f);
    if (status < 0) return status;
    for (int32_t i = 0; i < n; ++i) r[i] = poisson_map_count(map, float_at(r, i));
    return status;
}

}  // namespace xeb::laws

using namespace xeb::laws;

int32_t rukiRngPoissonV(int32_t, RukStream* stream, int32_t n, int32_t* r, const double* lambda) {
    for (int32_t i = 0; i < n; ++i)
        if (negative_or_nan(lambda[i])) return RUK_ERROR_BAD_ARGUMENT;
    const xeb::frame::StreamControlWords words;
    const int32_t status = ruksRngGaussian(RUK_METHOD_GAUSSIAN_PAIRED, stream, n, reinterpret_cast<float*>(r), 0.0f, 1.0f);
    if (status < 0 || n < 1) return status;
    // The roots of a block of means in one call.
    constexpr int32_t kBlock = 512;
    double roots[kBlock];
    for (int32_t done = 0; done < n; done += kBlock) {
        const int32_t k = n - done < kBlock ? n - done : kBlock;
        xebdSqrt_HA(k, lambda + done, roots);
        for (int32_t i = 0; i < k; ++i) r[done + i] = poissonv_count(lambda[done + i], roots[i], float_at(r, done + i));
    }
    return status;
}
