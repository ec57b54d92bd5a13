// The loops of the discrete laws over a stream's uniforms.
//
// run_blocks: one uniform per result (inversion), drawn on (0, 1) in blocks
// of at most Buffer; fill(u, count, r) makes the count results of a block,
// or answers false to end the call with RUK_ERROR_BAD_ARGUMENT.
//
// run_table: inversion by a table of cumulative probabilities cum[0] to
// cum[terms - 1], one uniform per result through run_blocks: the result for
// u is the first k with u < cum[k], found by comparisons upward from 0 (the
// laws use it for small means, so the scan is short), and beyond(u) past
// the table.
//
// run_trials: the rejection methods.  Trials run on pairs of
// uniforms drawn on (0, 1), doubles or floats (T), in blocks of at most
// Buffer numbers; each block
// asks twice the results still missing, so that no uniform is left over
// when the last result is made, every trial of a block runs, and a call of
// n gives the results of any calls whose counts add up to n.
//
// prepare(u, pairs) sees each block before its trials (for work that
// depends on the uniforms alone); trial(u1, u2, i, K) runs pair i of the
// block and says whether it made the result K.  A trial accepts with
// probability above 1/2 for every argument the laws take, so after a
// million rejections in a row (a stream whose numbers are not uniform) the
// loop gives up with RUK_ERROR_BAD_ARGUMENT.  Otherwise the result is the
// status of the last draw, 0 if none.
#pragma once

#include <cstdint>

#include "xebruk/rng_continuous.h"

namespace xeb::laws {

constexpr int32_t kTrialLimit = 1000000;

template <int32_t Buffer, class Fill>
int32_t run_blocks(RukStream* stream, int32_t n, int32_t* r, Fill fill) {
    double u[Buffer];
    int32_t status = 0;
    for (int32_t done = 0; done < n;) {
        const int32_t count = n - done < Buffer ? n - done : Buffer;
        status = rukdRngUniform(0, stream, count, u, 0.0, 1.0);
        if (status < 0) return status;
        if (!fill(static_cast<const double*>(u), count, r + done)) return RUK_ERROR_BAD_ARGUMENT;
        done += count;
    }
    return status;
}

template <int32_t Buffer, class Beyond>
int32_t run_table(RukStream* stream, int32_t n, int32_t* r, const double* cum, int32_t terms, Beyond beyond) {
    return run_blocks<Buffer>(stream, n, r, [&](const double* u, int32_t count, int32_t* out) {
        for (int32_t i = 0; i < count; ++i) {
            int32_t k = 0;
            while (k < terms && !(u[i] < cum[k])) ++k;
            out[i] = k < terms ? k : beyond(u[i]);
        }
        return true;
    });
}

// Uniforms on (0, 1) in the precision of u.
inline int32_t draw_uniforms(RukStream* stream, int32_t n, double* u) {
    return rukdRngUniform(0, stream, n, u, 0.0, 1.0);
}
inline int32_t draw_uniforms(RukStream* stream, int32_t n, float* u) {
    return ruksRngUniform(0, stream, n, u, 0.0f, 1.0f);
}

template <int32_t Buffer, class T = double, class Prepare, class Trial>
int32_t run_trials(RukStream* stream, int32_t n, int32_t* r, Prepare prepare, Trial trial) {
    T u[Buffer];
    int32_t status = 0, have = 0, next = 0, failures = 0;
    for (int32_t done = 0; done < n;) {
        if (next == have) {
            const int64_t want = 2 * int64_t{n - done};
            have = want < Buffer ? static_cast<int32_t>(want) : Buffer;
            status = draw_uniforms(stream, have, u);
            if (status < 0) return status;
            next = 0;
            prepare(static_cast<const T*>(u), have / 2);
        }
        int32_t K;
        if (trial(u[next], u[next + 1], next / 2, K)) {
            r[done++] = K;
            failures = 0;
        } else if (++failures == kTrialLimit) {
            return RUK_ERROR_BAD_ARGUMENT;
        }
        next += 2;
    }
    return status;
}

}  // namespace xeb::laws
