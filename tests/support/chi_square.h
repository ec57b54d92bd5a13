// Pearson's chi-square test of an integer sample against a probability mass
// function, for the discrete laws.
//
// Values from lo to hi are counted; neighbouring values are pooled from the
// low end until each cell expects at least 5 (the remainder joins the last
// cell), and the mass outside [lo, hi] joins the end cells, so lo and hi
// need only cover where the sample can fall.  The critical value is the
// 0.1% upper point of the chi-square law with cells - 1 degrees of freedom
// (Wilson-Hilferty), so that one run in a thousand fails by chance; seeds
// are fixed, so a failure repeats.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace xt {

struct ChiSquare {
    double statistic;
    double critical;
    int cells;
    std::size_t outside;  // sample values below lo or above hi
    bool passes() const { return outside == 0 && statistic < critical; }
};

ChiSquare chi_square(const std::vector<int32_t>& sample, int64_t lo, int64_t hi,
                     const std::function<long double(int64_t)>& pmf);

// Probability mass functions evaluated in long double.
long double binomial_pmf(int64_t trials, long double p, int64_t k);
long double geometric_pmf(long double p, int64_t k);  // failures before the first success
long double poisson_pmf(long double mean, int64_t k);
// Marked items in a sample of s from a lot of l with m marked.
long double hypergeometric_pmf(int64_t l, int64_t s, int64_t m, int64_t k);
// Failures before the a-th success of probability p, for real a > 0.
long double negbinomial_pmf(long double a, long double p, int64_t k);

}  // namespace xt
