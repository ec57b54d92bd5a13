// What Gamma and Poisson share in checking their arguments, and the bound
// that keeps Gamma's rejection loops finite.
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
// up with RUK_ERROR_BAD_ARGUMENT, as BTPE does.  Each of Gamma's samplers
// accepts a candidate with probability above 0.5 for every argument it
// admits, so a run of 10,000 rejections has probability below 2^-10000: it
// happens only with a stream whose numbers are not uniform (a constant, a
// NaN).
constexpr int64_t kRejectionsInARow = 10000;

}  // namespace xeb::laws
