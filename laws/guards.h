// What the laws that check their own arguments share: the test of a
// parameter that must not be negative, and the bound that keeps every
// rejection loop finite.
#pragma once

#include <cmath>
#include <cstdint>

namespace xeb::laws {

// A shape, scale or mean with its sign bit set (-0 included) or a NaN.
template <class T>
inline bool negative_or_nan(T x) {
    return std::signbit(x) || std::isnan(x);
}

// Candidates rejected one after another before a rejection sampler gives
// up with RUK_ERROR_BAD_ARGUMENT.  Every sampler that uses it accepts a
// candidate with probability above 0.5 for every argument it admits, so a
// run of 2^20 rejections has probability below 2^-(2^20): it happens only
// with a generator whose numbers are not uniform (a constant, a NaN) or a
// set-up record that a stream file has corrupted.
constexpr int64_t kRejectionsInARow = int64_t{1} << 20;

}  // namespace xeb::laws
