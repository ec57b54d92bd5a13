// Gamma(alpha) shifted by a and scaled by beta: r = a + beta G, where G
// has the density x^(alpha-1) e^(-x) / Gamma(alpha).  The shape picks one
// of four generators of G, each working in blocks of at most 512
// candidates with whole-block vector kernels:
//
//   alpha > 1          Marsaglia and Tsang (2000), "A simple method for
//                      generating gamma variables": G = d v^3 with
//                      d = alpha - 1/3, v = 1 + c z, c = 1/sqrt(9 d), z
//                      normal; squeeze 1 - 0.0331 z^4, then the exact test
//                      on logarithms.  One acceptance uniform per candidate
//                      and normals from pairs by Box-Muller.
//   alpha = 1          the standard Exponential (rukdRngExponential).
//   0.6 <= alpha < 1   rejection from the Weibull law: X = E1^(1/alpha),
//                      accepted when d + X <= E1 + E2, d the maximum of
//                      x^alpha - x.  Acceptance Gamma(alpha + 1) e^(-d),
//                      at least 0.74.
//   alpha < 0.6        a two-part proposal on (0, w^(1/alpha)] and beyond,
//                      w = 1 - alpha: u^(1/alpha) accepted when below an
//                      exponential E, or (alpha y + w)^(1/alpha) with y
//                      exponential, accepted when below E + y.  Acceptance
//                      Gamma(alpha + 1), at least 0.88.
//
// Above 1 a block holds an even number of candidates (the normals come in
// pairs); a candidate not tried when the call has its results is kept on
// the stream (chunk 7 in double, 8 in single: the acceptance uniform, then
// the normal; both -1 when empty) and tried first by the next call
// of any shape above 1, so that calls of any split give the sequence of
// one call.  The other shapes use every candidate they draw and keep
// nothing; below 0.6 the trials of a block are split by branch, and each
// branch's powers and logarithms come from one vector call over its list.
// Double forms compute in double, single forms in single, under the laws'
// fixed control words.  A record a stream file brings must be empty or
// hold a uniform in [0, 1] and a finite normal.
//
// Error.  Accepted values are exact functions of the candidate: d v^3 (a
// product of four roundings, within 3 ulp of d (1 + c z)^3 on the computed
// z), the Weibull power (the power kernel, below 1 ulp, of an exponential
// carrying the logarithm's error, below 1 ulp: relative error about
// (1/alpha) (1 + 1/|ln E|) ulp), and u^(1/alpha) likewise.  The normals
// are Box-Muller's (gaussian.cpp: 6 ulp double, 8 single, of R).  The
// acceptance tests decide with those same rounded values, so a candidate
// within a few ulp of the boundary may fall either way: a change in the
// law of about 1e-15 (double) and 1e-6 (single) relative, far below what
// any sample can see.  The final pass adds two roundings.
//
// Arguments.  A negative or NaN alpha or beta is refused before anything
// is drawn or written.  alpha = 0 takes the small shape and gives G = 0.
// A count below 1 returns 0 and leaves the stream and its record as they
// are.  A run of 10,000 rejections (see guards.h) returns
// RUK_ERROR_BAD_ARGUMENT; results made before it stay in r, unscaled.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "laws/chunk_cache.h"
#include "laws/continuous.h"
#include "laws/guards.h"
#include "rng/load_checks.h"

namespace xeb::laws {
namespace {

constexpr int32_t kCandidates = 512;  // candidates of one block

template <class T>
struct GammaConstants;

template <>
struct GammaConstants<double> {
    static constexpr double kMiddleFrom = 0x1.3333333333333p-1;  // 0.6, 0x3FE3333333333333
    static constexpr double kThird = 0x1.5555555555555p-2;       // 1/3
    static constexpr double kSqueeze = 0x1.0f27bb2fec56dp-5;     // 0.0331
    static constexpr int32_t kChunk = RUK_CHUNK_GAMMA_DOUBLE_PAIR;
    static int32_t exponential(RukStream* s, int32_t n, double* r) {
        return rukdRngExponential(0, s, n, r, 0.0, 1.0);
    }
    static void powx(int n, const double* a, double b, double* r) { xebdPowx_HA(n, a, b, r); }
};

template <>
struct GammaConstants<float> {
    static constexpr float kMiddleFrom = 0x1.333334p-1f;  // 0.6, 0x3F19999A
    static constexpr float kThird = 0x1.555556p-2f;       // 1/3, 0x3EAAAAAB
    static constexpr float kSqueeze = 0x1.0f27bcp-5f;     // 0.0331, 0x3D0793DE
    static constexpr int32_t kChunk = RUK_CHUNK_GAMMA_SINGLE_PAIR;
    static int32_t exponential(RukStream* s, int32_t n, float* r) {
        return ruksRngExponential(0, s, n, r, 0.0f, 1.0f);
    }
    static void powx(int n, const float* a, float b, float* r) { xebsPowx_HA(n, a, b, r); }
};

// The candidate kept on the stream between calls of the large shape.
template <class T>
struct Leftover {
    T u;  // acceptance uniform; -1 when there is none
    T z;  // normal
};
static_assert(sizeof(Leftover<double>) == 16 && sizeof(Leftover<float>) == 8);

// Counts rejections in a row; false once the limit is passed.
struct RejectionRun {
    int64_t count = 0;
    void accepted() { count = 0; }
    bool rejected() { return ++count <= kRejectionsInARow; }
};

template <class T>
struct Gamma {
    using P = Precision<T>;
    using C = GammaConstants<T>;

    static T one(void (*kernel)(int, T*), T x) {
        kernel(1, &x);
        return x;
    }
    static T powx1(T x, T b) {
        C::powx(1, &x, b, &x);
        return x;
    }

    // ---- large shape -------------------------------------------------------
    struct Block {
        T u[1 + 2 * kCandidates];  // the carried candidate's, then 2b draws
        T z[1 + kCandidates];
        T x[kCandidates / 2 + 1], y[kCandidates / 2], sine[kCandidates / 2], cosine[kCandidates / 2];
    };

    // b candidates at place `at`: 2b uniforms, of which draws 0, 4, 8, ...
    // and 2, 6, 10, ... make b normals by Box-Muller, and the odd draws are
    // the acceptance uniforms.
    static int32_t draw_candidates(RukStream* stream, int32_t at, int32_t b, Block& s) {
        T* drawn = s.u + at;
        const int32_t status = P::uniform(stream, 2 * b, drawn, T(0), T(1));
        if (status < 0) return status;
        const int32_t h = b / 2;
        P::pack(h, drawn, 4, s.x);
        P::pack(h, drawn + 2, 4, s.y);
        P::pack(b, drawn + 1, 2, drawn);  // in place: reads stay ahead of writes
        for (int32_t i = 0; i < h; ++i) s.y[i] = s.y[i] * P::kTwoPi;
        P::sincos(h, s.y, s.sine, s.cosine);
        ln_in_pairs(h, s.x);
        for (int32_t i = 0; i < h; ++i) s.x[i] = minus_twice(s.x[i]);
        P::sqrt(h, s.x);
        T* z = s.z + at;
        for (int32_t i = 0; i < h; ++i) {
            z[2 * i] = s.x[i] * s.sine[i];
            z[2 * i + 1] = s.x[i] * s.cosine[i];
        }
        return status;
    }

    // The squeeze and, when it does not settle, the test on logarithms.
    static bool accept(T u, T z, T c, T d, T& g) {
        const T v = T(1) + c * z;
        if (v <= T(0)) return false;
        const T vc = v * v * v, x2 = z * z;
        g = d * vc;
        if (u < T(1) - C::kSqueeze * x2 * x2) return true;
        T logs[2] = {u, vc};
        P::ln(2, logs);
        return logs[0] < T(0.5) * x2 + d * (T(1) + logs[1] - vc);
    }

    static int32_t large(RukStream* stream, int32_t n, T* r, T alpha) {
        const T d = alpha - C::kThird;
        const T c = one(P::sqrt, T(1) / (T(9) * alpha - T(3)));
        int32_t status = RUK_OK;
        bool made = false;
        Leftover<T>* record = stream_cache<Leftover<T>>(stream, C::kChunk, &status, &made);
        if (!record) return status;
        if (made) *record = {T(-1), T(-1)};
        Block s;
        int32_t carried = 0;
        if (record->u >= T(0)) {
            s.u[0] = record->u;
            s.z[0] = record->z;
            *record = {T(-1), T(-1)};
            carried = 1;
        }
        RejectionRun run;
        for (int32_t done = 0; done < n;) {
            const int32_t missing = n - done, want = missing - carried;
            int32_t b = 0, take = missing;  // want = 0: the carried candidate alone
            if (want > 0) {
                b = std::min(want, kCandidates);
                b += b & 1;
                take = want < kCandidates ? missing : kCandidates;
                status = draw_candidates(stream, carried, b, s);
                if (status < 0) return status;
            }
            for (int32_t i = 0; i < take; ++i) {
                T g;
                if (accept(s.u[i], s.z[i], c, d, g)) {
                    r[done++] = g;
                    run.accepted();
                } else if (!run.rejected()) {
                    return RUK_ERROR_BAD_ARGUMENT;
                }
            }
            // At most one candidate is left untried: the last.
            carried = take < carried + b ? 1 : 0;
            if (carried) {
                s.u[0] = s.u[take];
                s.z[0] = s.z[take];
            }
        }
        if (carried) *record = {s.u[0], s.z[0]};
        return status;
    }

    // ---- shapes below 1 ----------------------------------------------------
    struct Pairs {
        T draws[2 * kCandidates + 1];
        T first[kCandidates + 1], second[kCandidates + 1], power[kCandidates];
    };

    // Blocks of the smaller of the results missing and 512 trials, two
    // uniforms each: the even draws to s.first, the odd to s.second, after
    // `prepare` has run over all of them.  try_one(i, g) tries trial i.
    template <class Prepare, class Try>
    static int32_t in_blocks(RukStream* stream, int32_t n, T* r, Pairs& s, Prepare prepare,
                             Try try_one) {
        int32_t status = RUK_OK;
        RejectionRun run;
        for (int32_t done = 0; done < n;) {
            const int32_t m = std::min(n - done, kCandidates);
            status = P::uniform(stream, 2 * m, s.draws, T(0), T(1));
            if (status < 0) return status;
            prepare(m);
            for (int32_t i = 0; i < m; ++i) {
                T g;
                if (try_one(i, g)) {
                    r[done++] = g;
                    run.accepted();
                } else if (!run.rejected()) {
                    return RUK_ERROR_BAD_ARGUMENT;
                }
            }
        }
        return status;
    }

    // The logarithm of k values in place, over an even count: x[k] must be
    // writable.  The single kernel takes a lone last element by another
    // route than a pair (its values may differ in the last bit), so an odd
    // count would make a value depend on where a call's blocks begin, and
    // thus on how the results are split into calls.
    static void ln_in_pairs(int32_t k, T* x) {
        if (k % 2) x[k] = T(1);
        P::ln(k + k % 2, x);
    }
    static void negate_all(int32_t k, T* x) {
        for (int32_t i = 0; i < k; ++i) x[i] = negate(x[i]);
    }

    // Weibull proposal: E1, E2 exponential, X = E1^(1/alpha).
    static int32_t middle(RukStream* stream, int32_t n, T* r, T alpha) {
        const T t = T(1) / alpha;
        const T d = (T(1) - alpha) * one(P::exp, alpha / (T(1) - alpha) * one(P::ln, alpha));
        Pairs s;
        return in_blocks(
            stream, n, r, s,
            [&](int32_t m) {
                P::ln(2 * m, s.draws);
                negate_all(2 * m, s.draws);
                P::pack(m, s.draws, 2, s.first);
                P::pack(m, s.draws + 1, 2, s.second);
                C::powx(m, s.first, t, s.power);
            },
            [&](int32_t i, T& g) {
                g = s.power[i];
                return d + g <= s.first[i] + s.second[i];
            });
    }

    // Uniform u and exponential e per trial.  The trials of a block are
    // split by branch and each branch's powers and logarithms are taken in
    // one vector call over its list (the kernels work element by element,
    // so each value is the one a call for that element alone would give
    // in double; see ln_in_pairs for single).
    static int32_t small(RukStream* stream, int32_t n, T* r, T alpha) {
        const T t = T(1) / alpha, w = T(1) - alpha;
        Pairs s;
        T* const low = s.draws;                // u^t of the trials u <= w
        T* const high = s.draws + kCandidates;  // y of the others
        int32_t next_low = 0, next_high = 0;
        return in_blocks(
            stream, n, r, s,
            [&](int32_t m) {
                P::pack(m, s.draws, 2, s.first);
                P::pack(m, s.draws + 1, 2, s.second);
                ln_in_pairs(m, s.second);
                negate_all(m, s.second);
                int32_t lows = 0, highs = 0;
                for (int32_t i = 0; i < m; ++i) {
                    const T u = s.first[i];
                    if (u <= w) low[lows++] = u;
                    else high[highs++] = (T(1) - u) * t;
                }
                C::powx(lows, low, t, low);
                ln_in_pairs(highs, high);
                negate_all(highs, high);
                for (int32_t j = 0; j < highs; ++j) s.power[j] = high[j] * alpha + w;
                C::powx(highs, s.power, t, s.power);
                next_low = next_high = 0;
            },
            [&](int32_t i, T& g) {
                if (s.first[i] <= w) {
                    g = low[next_low++];
                    return g <= s.second[i];
                }
                g = s.power[next_high];
                return g <= s.second[i] + high[next_high++];
            });
    }

    static int32_t draw(RukStream* stream, int32_t n, T* r, T alpha, T a, T beta) {
        if (negative_or_nan(alpha) || negative_or_nan(beta)) return RUK_ERROR_BAD_ARGUMENT;
        if (n < 1) return RUK_OK;
        const int32_t status = alpha > T(1)           ? large(stream, n, r, alpha)
                               : alpha == T(1)         ? C::exponential(stream, n, r)
                               : alpha >= C::kMiddleFrom ? middle(stream, n, r, alpha)
                                                       : small(stream, n, r, alpha);
        if (status < 0) return status;
        for (int32_t i = 0; i < n; ++i) r[i] = r[i] * beta + a;
        return status;
    }
};

// A loaded record: empty (-1 in both), or a uniform in [0, 1] with a
// finite normal.
template <class T>
bool valid_leftover(void* data) {
    const auto* c = static_cast<const Leftover<T>*>(data);
    const bool empty = c->u == T(-1) && c->z == T(-1);
    return empty || (c->u >= T(0) && c->u <= T(1) && std::isfinite(c->z));
}
const rng::ChunkCheckRegistration kDoubleLeftoverCheck{RUK_CHUNK_GAMMA_DOUBLE_PAIR, sizeof(Leftover<double>),
                                                       valid_leftover<double>};
const rng::ChunkCheckRegistration kSingleLeftoverCheck{RUK_CHUNK_GAMMA_SINGLE_PAIR, sizeof(Leftover<float>),
                                                       valid_leftover<float>};

}  // namespace
}  // namespace xeb::laws

int32_t rukdRngGamma(int32_t, RukStream* stream, int32_t n, double* r, double alpha, double a,
                     double beta) {
    const xeb::frame::StreamControlWords words;
    return xeb::laws::Gamma<double>::draw(stream, n, r, alpha, a, beta);
}
int32_t ruksRngGamma(int32_t, RukStream* stream, int32_t n, float* r, float alpha, float a,
                     float beta) {
    const xeb::frame::StreamControlWords words;
    return xeb::laws::Gamma<float>::draw(stream, n, r, alpha, a, beta);
}
