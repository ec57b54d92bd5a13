// How far the law of a count made from a standard Gaussian z is from the
// Poisson law: the total variation distance, computed from the z at which
// the count changes (not from a sample).  Shared by tools/poisson_map_tables,
// which records it for every row of its maps, and the Poisson tests, which
// measure the library's own maps with it.  Long double throughout.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace count_distance {

using ld = long double;

inline ld normal_cdf(ld z) { return 0.5L * std::erfc(-z * 0.707106781186547524400844362104849039L); }

// P(X = k) for k = lo..hi, X Poisson of mean l, from logarithms.
inline std::vector<ld> poisson_pmf(ld l, int64_t lo, int64_t hi) {
    std::vector<ld> p;
    for (int64_t k = lo; k <= hi; ++k)
        p.push_back(l == 0 ? (k == 0) : std::exp(k * std::log(l) - l - std::lgamma(static_cast<ld>(k) + 1)));
    return p;
}

// The Gaussian's range that counts: beyond it lies a mass below 1e-17,
// given to the counts at its ends.
constexpr ld kZ = 8.5;

// The z at which count(z) changes: the range is walked in steps of 1/100
// and each step whose ends differ is halved until its pieces hold one
// change each, found to 1e-13.  The count need not increase with z.
template <class Count>
struct Changes {
    const Count& count;
    std::vector<std::pair<ld, int64_t>> from;  // (z, the count from z on)

    void piece(ld a, ld b, int64_t ka, int64_t kb) {
        if (ka == kb) return;
        const ld m = (a + b) / 2;
        if (b - a < 1e-13L) {
            from.push_back({m, kb});
            return;
        }
        const int64_t km = count(m);
        piece(a, m, ka, km);
        piece(m, b, km, kb);
    }
    explicit Changes(const Count& c) : count(c) {
        int64_t k = count(-kZ);
        from.push_back({-HUGE_VALL, k});
        for (int i = 0; i < 1700; ++i) {
            const ld a = -kZ + i / 100.0L, b = -kZ + (i + 1) / 100.0L;
            const int64_t kb = count(b);
            piece(a, b, k, kb);
            k = kb;
        }
    }
};

// The total variation distance between the law of count(z) and
// Poisson(l), over the counts within 14 standard deviations of the mean
// (the Poisson mass beyond is below 1e-40).
template <class Count>
ld to_poisson(ld l, const Count& count) {
    const ld sd = std::sqrt(l);
    const int64_t lo = static_cast<int64_t>(std::max<ld>(0, l - 14 * sd - 10));
    const int64_t hi = static_cast<int64_t>(l + 14 * sd + 30);
    const std::vector<ld> pmf = poisson_pmf(l, lo, hi);
    std::vector<ld> mass(pmf.size(), 0);
    ld total = 0;  // the count's mass outside [lo, hi], whose Poisson mass is nil
    const Changes<Count> changes(count);
    ld start = 0;  // Phi at the change
    for (std::size_t i = 0; i < changes.from.size(); ++i) {
        const int64_t k = changes.from[i].second;
        const ld end = i + 1 < changes.from.size() ? normal_cdf(changes.from[i + 1].first) : 1;
        if (k >= lo && k <= hi) mass[static_cast<std::size_t>(k - lo)] += end - start;
        else total += end - start;
        start = end;
    }
    for (std::size_t i = 0; i < pmf.size(); ++i) total += std::fabs(mass[i] - pmf[i]);
    return total / 2;
}

}  // namespace count_distance
