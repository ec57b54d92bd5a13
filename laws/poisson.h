// The Poisson law's internal pieces: the set-up record of method 0 (chunk 3
// of a stream), its builders and check, and the Gaussian maps of method 1
// and the vector form, which the tests measure against the law.
#pragma once

#include <cstdint>

#include "xebruk/rng_discrete.h"

namespace xeb::laws {

constexpr int kPoissonTableTerms = 32;  // cumulative probabilities of 0..31
constexpr int kPoissonRatioSteps = 16;  // cached ratios on each side of the mode

// PTPE's set-up for mean_large (0: none).
struct PoissonPtpe {
    double mean_large;
    double m;                       // trunc(mean)
    double inv_m, inv_m3;           // 1/m, 1/m^3
    double ln_m_over_mean;          // ln(m / mean)
    double p1, p2, p3, p4;          // cumulative areas of triangle, parallelogram, tails
    double c;                       // the parallelogram's slope constant
    double inv_c, inv_p1;
    double xm, xl, xr;              // m + 0.5, xm - p1, xm + p1
    double lambda_l, lambda_r;      // rates of the exponential tails
    double inv_lambda_l, inv_lambda_r;
    double ratio_down[kPoissonRatioSteps];  // entry j - 1: f(m - j) / f(m)
    double ratio_up[kPoissonRatioSteps];    // entry j - 1: f(m + j) / f(m)
};

// The inversion table for mean_small.
struct PoissonTable {
    double mean_small;
    double cum[kPoissonTableTerms];  // P(X <= k)
};

// RukPoissonCache: 84 doubles.
struct PoissonCache {
    PoissonPtpe large;
    PoissonTable small;
};
static_assert(sizeof(PoissonCache) == 672, "the chunk holds 84 doubles");
constexpr int kPoissonPtpeDoubles = sizeof(PoissonPtpe) / sizeof(double);
constexpr int kPoissonTableDoubles = sizeof(PoissonTable) / sizeof(double);

// PTPE's quick logarithm of a positive normal w: within kLnMargin of what
// xebdLn_HA gives (below 1e-12 from ln w), so that a test on the kernel's
// logarithm whose threshold lies further than the margin is decided
// without it.
constexpr double kLnMargin = 0x1p-30;
double ln_near(double w);

// A new record: no PTPE set-up, and the table of mean 0.
PoissonCache fresh_poisson_cache();
void build_poisson_table(PoissonTable& t, double lambda);
void build_poisson_ptpe(PoissonPtpe& t, double lambda);

// Method 0 and method 1 of rukiRngPoisson, arguments unchecked.
int32_t poisson_exact(RukStream* stream, int32_t n, int32_t* r, double lambda);
int32_t poisson_gaussian_map(RukStream* stream, int32_t n, int32_t* r, double lambda);

// Method 1's map for one mean.  Below a mean of 1 it takes a float uniform
// on (0, upper) to the count of thresholds it exceeds; from 1 it takes a
// standard Gaussian (below 100) or a Gaussian of mean mu and deviation
// sigma (from 100) to a count by a polynomial of the quantile function.
struct PoissonMap {
    enum class Regime { BelowOne, Table, Asymptotic } regime;
    float upper;                       // below 1: the uniform's upper bound, ~e^lambda
    float thresholds[11];              // below 1: S(0..10), partial sums of lambda^k/k!
    float a, b, c, d, g, h;            // table: the row's polynomials at the mean
    float mu, sigma, p, q, r;          // asymptotic
};
PoissonMap poisson_map(double lambda);
int32_t poisson_map_count(const PoissonMap& map, float x);

// The vector form's count for mean l, its square root and a standard
// Gaussian z.
int32_t poissonv_count(double l, double root, float z);

}  // namespace xeb::laws
