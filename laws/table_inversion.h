// Sampling by inversion of a table of cumulative probabilities, shared by
// the discrete laws with a small mean (Binomial, Poisson): one double
// uniform per result, drawn in blocks of at most 512 that are always used
// up; the result is the first k with u < cum[k], found by comparisons
// upward from 0 (the mean is small, so the scan is short), and beyond the
// table whatever beyond(u) gives.  The status is that of the last draw,
// 0 when there is none; a negative one ends the call.
#pragma once

#include <cstdint>

#include "xebruk/rng_continuous.h"

namespace xeb::laws {

template <int Terms, class Beyond>
int32_t sample_by_table(RukStream* stream, int32_t n, int32_t* r, const double (&cum)[Terms], Beyond beyond) {
    constexpr int32_t kBlock = 512;
    double u[kBlock];
    int32_t status = RUK_OK;
    for (int32_t done = 0; done < n;) {
        const int32_t count = n - done < kBlock ? n - done : kBlock;
        status = rukdRngUniform(0, stream, count, u, 0.0, 1.0);
        if (status < 0) return status;
        for (int32_t i = 0; i < count; ++i) {
            int32_t k = 0;
            while (k < Terms && !(u[i] < cum[k])) ++k;
            r[done + i] = k < Terms ? k : beyond(u[i]);
        }
        done += count;
    }
    return status;
}

}  // namespace xeb::laws
