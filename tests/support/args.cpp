#include "support/args.h"

#include <cfloat>
#include <cmath>
#include <limits>

#include "frame/bits.h"

namespace xt {

namespace {

template <class T, class U>
std::vector<T> sample_bits(const Range& r, std::size_t count, std::mt19937_64& rng) {
    const U lo = xeb::bits(static_cast<T>(r.lo));
    const U hi = xeb::bits(static_cast<T>(r.hi));
    std::uniform_int_distribution<U> pick(lo, hi);
    std::vector<T> out(count);
    for (auto& v : out) {
        U u = pick(rng);
        if (r.both_signs && (rng() & 1)) u |= U(1) << (sizeof(U) * 8 - 1);
        std::memcpy(&v, &u, sizeof v);
    }
    return out;
}

}  // namespace

std::vector<double> sample(const Range& r, std::size_t count, std::mt19937_64& rng) {
    return sample_bits<double, uint64_t>(r, count, rng);
}

std::vector<float> sample_float(const Range& r, std::size_t count, std::mt19937_64& rng) {
    return sample_bits<float, uint32_t>(r, count, rng);
}

std::vector<double> special_doubles() {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<double> v = {0.0, kDoubleTrueMin, 2 * kDoubleTrueMin, DBL_MIN - kDoubleTrueMin,
                             DBL_MIN, 2 * DBL_MIN, 0.5, 1.0 - DBL_EPSILON / 2, 1.0,
                             1.0 + DBL_EPSILON, 2.0, 1e300, DBL_MAX / 2, DBL_MAX, inf, nan};
    const std::size_t n = v.size();
    for (std::size_t i = 0; i < n; ++i) v.push_back(-v[i]);
    return v;
}

std::vector<float> special_floats() {
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    std::vector<float> v = {0.0f, FLT_TRUE_MIN, 2 * FLT_TRUE_MIN, FLT_MIN - FLT_TRUE_MIN,
                            FLT_MIN, 2 * FLT_MIN, 0.5f, 1.0f - FLT_EPSILON / 2, 1.0f,
                            1.0f + FLT_EPSILON, 2.0f, 1e30f, FLT_MAX / 2, FLT_MAX, inf, nan};
    const std::size_t n = v.size();
    for (std::size_t i = 0; i < n; ++i) v.push_back(-v[i]);
    return v;
}

std::mt19937_64 seeded(uint64_t salt) { return std::mt19937_64(0x5EB0C0FFEEull ^ (salt * 0x9E3779B97F4A7C15ull)); }

}  // namespace xt
