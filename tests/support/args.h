// Argument generators of the tests: every binade of a range (shared with
// the accuracy measurement), and the special values.
#pragma once

#include <vector>

#include "accuracy/sampling.h"

namespace xt {

// Zeros, denormal edges, normal edges, ones, large, infinities, NaNs.
std::vector<double> special_doubles();
std::vector<float> special_floats();

}  // namespace xt
