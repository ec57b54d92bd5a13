// Argument generators: every binade of a range, and the special values.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace xt {

// The smallest denormal double.  Use this, not DBL_TRUE_MIN: g++ 12 with
// -frounding-math turns that macro (a long double literal cast to double)
// into garbage in constant initializers of aggregates (-0.0, or the long
// double's own bytes).
constexpr double kDoubleTrueMin = 0x1p-1074;

// A range of magnitudes [lo, hi] (both positive, denormals allowed), taken
// with positive sign only or with both signs.  Sampling is uniform over the
// bit patterns between lo and hi, so every binade gets its share.
struct Range {
    double lo;
    double hi;
    bool both_signs;
};

std::vector<double> sample(const Range& r, std::size_t count, std::mt19937_64& rng);
std::vector<float> sample_float(const Range& r, std::size_t count, std::mt19937_64& rng);

// Zeros, denormal edges, normal edges, ones, large, infinities, NaNs.
std::vector<double> special_doubles();
std::vector<float> special_floats();

// Fixed-seed generator for a named test, so failures repeat.
std::mt19937_64 seeded(uint64_t salt);

}  // namespace xt
