#include "support/chi_square.h"

#include <algorithm>
#include <cmath>

namespace xt {

ChiSquare chi_square(const std::vector<int32_t>& sample, int64_t lo, int64_t hi,
                     const std::function<long double(int64_t)>& pmf) {
    const std::size_t span = static_cast<std::size_t>(hi - lo + 1);
    std::vector<double> observed(span, 0.0);
    std::size_t outside = 0;
    for (int32_t x : sample) {
        if (x < lo || x > hi)
            ++outside;
        else
            observed[static_cast<std::size_t>(x - lo)] += 1;
    }
    const long double n = static_cast<long double>(sample.size());
    std::vector<long double> expected(span);
    long double inside = 0;
    for (std::size_t i = 0; i < span; ++i) inside += expected[i] = pmf(lo + static_cast<int64_t>(i));
    // Mass beyond the range, split between the end cells by which side
    // holds it (the pmf is evaluated one step past each end to tell).
    const long double below = pmf(lo - 1) > 0 ? 1 : 0, above = pmf(hi + 1) > 0 ? 1 : 0;
    const long double rest = std::max(1 - inside, 0.0L);
    if (below + above > 0) {
        expected.front() += rest * below / (below + above);
        expected.back() += rest * above / (below + above);
    }
    std::vector<long double> cell_e;
    std::vector<double> cell_o;
    long double e = 0;
    double o = 0;
    for (std::size_t i = 0; i < span; ++i) {
        e += expected[i] * n;
        o += observed[i];
        if (e >= 5) {
            cell_e.push_back(e);
            cell_o.push_back(o);
            e = 0;
            o = 0;
        }
    }
    if (cell_e.empty()) {
        cell_e.push_back(e);
        cell_o.push_back(o);
    } else {
        cell_e.back() += e;
        cell_o.back() += o;
    }
    long double stat = 0;
    for (std::size_t i = 0; i < cell_e.size(); ++i) {
        const long double d = cell_o[i] - cell_e[i];
        stat += d * d / cell_e[i];
    }
    const int cells = static_cast<int>(cell_e.size());
    const double dof = cells > 1 ? cells - 1 : 1;
    const double z = 3.0902;  // upper 0.1% point of the normal law
    const double h = 2.0 / (9.0 * dof);
    const double critical = dof * std::pow(1 - h + z * std::sqrt(h), 3);
    return {static_cast<double>(stat), critical, cells, outside};
}

long double binomial_pmf(int64_t trials, long double p, int64_t k) {
    if (k < 0 || k > trials) return 0;
    if (p == 0) return k == 0 ? 1 : 0;
    if (p == 1) return k == trials ? 1 : 0;
    const long double t = static_cast<long double>(trials), x = static_cast<long double>(k);
    return std::exp(std::lgamma(t + 1) - std::lgamma(x + 1) - std::lgamma(t - x + 1) +
                    x * std::log(p) + (t - x) * std::log1p(-p));
}

long double geometric_pmf(long double p, int64_t k) {
    if (k < 0) return 0;
    if (p == 1) return k == 0 ? 1 : 0;
    return p * std::exp(static_cast<long double>(k) * std::log1p(-p));
}

long double poisson_pmf(long double mean, int64_t k) {
    if (k < 0) return 0;
    if (mean == 0) return k == 0 ? 1 : 0;
    return std::exp(static_cast<long double>(k) * std::log(mean) - mean - std::lgamma(static_cast<long double>(k) + 1));
}

long double hypergeometric_pmf(int64_t l, int64_t s, int64_t m, int64_t k) {
    if (k < 0 || k > s || k > m || s - k > l - m) return 0;
    const auto ln_choose = [](int64_t n, int64_t r) {
        const long double nn = static_cast<long double>(n), rr = static_cast<long double>(r);
        return std::lgamma(nn + 1) - std::lgamma(rr + 1) - std::lgamma(nn - rr + 1);
    };
    return std::exp(ln_choose(m, k) + ln_choose(l - m, s - k) - ln_choose(l, s));
}

long double negbinomial_pmf(long double a, long double p, int64_t k) {
    if (k < 0) return 0;
    if (p == 1) return k == 0 ? 1 : 0;
    const long double x = static_cast<long double>(k);
    return std::exp(std::lgamma(a + x) - std::lgamma(a) - std::lgamma(x + 1) + a * std::log(p) +
                    x * std::log1p(-p));
}

}  // namespace xt
