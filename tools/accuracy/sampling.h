// Arguments for measurements: every binade of an interval, from a seeded
// generator so that a failure repeats.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "catalogue/vector_kernels.h"

namespace xt {

using Range = xeb::catalogue::Interval;
using xeb::catalogue::kDoubleTrueMin;

// Uniform over the bit patterns between r.lo and r.hi (in the format of the
// result), with a random sign when r.both_signs.
std::vector<double> sample(const Range& r, std::size_t count, std::mt19937_64& rng);
std::vector<float> sample_float(const Range& r, std::size_t count, std::mt19937_64& rng);

// Fixed-seed generator for a named test or measurement.
std::mt19937_64 seeded(uint64_t salt);

}  // namespace xt
