// Binomial(N, p): successes in N independent trials of probability p.
//
// p is folded to the lower half first: pp = min(p, 1 - p), qq = 1 - pp,
// and when p >= 0.5 every result X becomes N - X at the end (a pass over
// the whole array after all results are made).  Then, by the mean N pp:
//
//   N pp < 30   inversion.  A table of 64 cumulative probabilities, one
//               uniform per result, searched upward from 0 by comparison:
//               the mean lies below 30, so the scan is short and needs no
//               logarithm.  Beyond entry 63 the terms go on by the same
//               recurrence.
//   N pp >= 30  BTPE (Kachitvichyanukul and Schmeiser, 1988): a hat of a
//               triangle, a parallelogram and two exponential tails over
//               the mode, two uniforms per trial.  Candidates within 32 of
//               the mode are tested against cached ratios f(m +- j)/f(m);
//               far ones (beyond 20, where the squeeze is valid) by the
//               squeeze and then by Stirling's series.
//
// The set-up of either route is kept on the stream as chunk 5 (680 bytes,
// 85 doubles) and rebuilt only when N or p (the caller's p, unfolded)
// differs from its key by exact comparison.  A key fixes the route, so the
// two layouts after the key never meet.
//
// Arithmetic is in double; logarithms, the root and the power come from the
// high-accuracy vector kernels on single elements (below 1 ulp each).  The
// table's sums add the small terms first.  The hat constants only shape the
// proposal: their rounding moves which uniforms are rejected, not the law.
// The acceptance tests compare with f(K) / f(m) as a product of ratios
// (relative error about 1e-16 per factor) or, far from the mode, by
// Stirling's series (its terms beyond 1/1188 are below 1e-14 there).
//
// Deliberate features of the method kept as they stand: the downward ratio
// product beyond entry 32 takes its factors from m - 33 down to K itself,
// one place lower than the upward rule would; all four Stirling corrections
// are added.  Both are part of the acceptance region.
//
// Stream use: exactly one uniform per result (inversion) or two per trial
// (BTPE), drawn in blocks of at most 512 that are always used up, so a call
// of n gives the same results as any calls whose counts add up to n.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "frame/kernel_frame.h"
#include "laws/chunk_cache.h"
#include "laws/trial_loop.h"
#include "laws/truncate.h"
#include "rng/load_checks.h"
#include "xebruk/rng_continuous.h"
#include "xebruk/rng_discrete.h"
#include "xebruk/vm_explog.h"
#include "xebruk/vm_power.h"
#include "xebruk/vm_roots.h"

namespace xeb::laws {
namespace {

constexpr double kRejectionFrom = 30.0;  // N pp from which BTPE is used
constexpr int kTableTerms = 64;          // cumulative probabilities of 0..63
constexpr int kRatioSteps = 32;          // cached ratios on each side of the mode
constexpr int kSqueezeFrom = 20;         // |K - m| beyond which the squeeze applies
constexpr int32_t kBuffer = 512;         // uniforms per draw
// Trials for one result after which BTPE gives up.  A trial accepts with
// probability above one half (at most about 1.75 trials a result, measured
// from N pp = 30 to N = 2^31 - 1), so 10,000 failures in a row have a
// probability below 10^-3000 on a uniform stream: they come only from a
// stream whose numbers are not uniform (MCG31M1 with multiplier 1, a
// constant caller's buffer, a broken registered generator).
constexpr int32_t kTrialLimit = 10000;

// The published constants of BTPE's hat.
constexpr double kTriangleWidth = 2.195;   // p1 ~ 2.195 sqrt(npq) - 4.6 qq
constexpr double kTriangleShift = 4.6;
constexpr double kParallelogramBase = 0.134;  // c = 0.134 + 20.5 / (15.3 + m)
constexpr double kParallelogramNum = 20.5;
constexpr double kParallelogramDen = 15.3;
constexpr double kSqueezeCubic = 0.625;

struct InversionTable {
    double g;                 // s (N + 1)
    double s;                 // pp / qq
    double cum[kTableTerms];  // P(X <= k)
};

struct RejectionTable {
    double npq, fm, m;            // N pp qq, N pp + pp, trunc(fm): the mode
    double p1, p2, p3, p4;        // cumulative areas of triangle, parallelogram, tails
    double xm, xl, xr;            // m + 0.5, xm - p1, xm + p1
    double lambda_l, lambda_r;    // rates of the exponential tails
    double inv_lambda_l, inv_lambda_r;
    double c, inv_c, inv_p1, inv_npq;
    double ratio;                 // pp / qq
    double ratio_down[kRatioSteps];  // entry j - 1: f(m - j) / f(m)
    double ratio_up[kRatioSteps];    // entry j - 1: f(m + j) / f(m)
};

struct BinomialCache {
    double trials, p;  // key: the caller's arguments
    union {
        InversionTable inv;
        RejectionTable rej;
    };
};
static_assert(sizeof(BinomialCache) == 680, "the chunk holds 85 doubles");

double ln1(double x) {
    xebdLn_HA(1, &x, &x);
    return x;
}

// ---------------------------------------------------------------------------
// Inversion

void build_inversion(InversionTable& t, double N, double pp, double qq) {
    t.s = pp / qq;
    t.g = t.s * (N + 1.0);
    double term[kTableTerms];
    xebdPowx_HA(1, &qq, N, &term[0]);
    for (int k = 1; k < kTableTerms; ++k) term[k] = term[k - 1] * (t.g / k - t.s);
    // Suffix sums t(k) = term[k] + ... + term[63], smallest terms first,
    // held in cum for now; then cum[k] = T - t(k + 1), T = t(0).
    double suffix = 0.0;
    for (int k = kTableTerms - 1; k >= 0; --k) t.cum[k] = suffix += term[k];
    const double total = t.cum[0];
    for (int k = 0; k < kTableTerms - 1; ++k) t.cum[k] = total - t.cum[k + 1];
    t.cum[kTableTerms - 1] = total;
}

// u at or above cum[63]: the terms go on by their recurrence from the last
// one in the table until the sum passes u.  The walk stops at trials (no
// count exceeds it), and when the term no longer adds anything positive: a
// u in the rounding gap between the summed probabilities and 1 would
// otherwise walk for ever.
int32_t beyond_table(double u, const InversionTable& t, int32_t trials) {
    double term = t.cum[kTableTerms - 1] - t.cum[kTableTerms - 2];
    double sum = t.cum[kTableTerms - 1];
    int32_t k = kTableTerms - 1;
    for (;;) {
        if (k >= trials) return trials;
        if (!(term > 0.0)) return k;
        ++k;
        term *= t.g / k - t.s;
        sum += term;
        if (u < sum) return k;
    }
}

// ---------------------------------------------------------------------------
// BTPE

void build_rejection(RejectionTable& t, double N, double pp, double qq) {
    t.npq = N * pp * qq;
    t.inv_npq = 1.0 / t.npq;
    t.ratio = pp / qq;
    t.fm = N * pp + pp;
    t.m = truncate_to_int32(t.fm);
    double root = t.npq;
    xebdSqrt_HA(1, &root, &root);
    t.p1 = truncate_to_int32(kTriangleWidth * root - kTriangleShift * qq) + 0.5;
    t.inv_p1 = 1.0 / t.p1;
    t.xm = t.m + 0.5;
    t.xl = t.xm - t.p1;
    t.xr = t.xm + t.p1;
    t.c = kParallelogramBase + kParallelogramNum / (kParallelogramDen + t.m);
    t.inv_c = 1.0 / t.c;
    double a = (t.fm - t.xl) / (t.fm - t.xl * pp);
    t.lambda_l = a * (1.0 + 0.5 * a);
    t.inv_lambda_l = 1.0 / t.lambda_l;
    a = (t.xr - t.fm) / (t.xr * qq);
    t.lambda_r = a * (1.0 + 0.5 * a);
    t.inv_lambda_r = 1.0 / t.lambda_r;
    t.p2 = t.p1 * (1.0 + t.c + t.c);
    t.p3 = t.p2 + t.c * t.inv_lambda_l;
    t.p4 = t.p3 + t.c * t.inv_lambda_r;
    // f(k + 1) / f(k) = (G - ratio (k + 1)) / (k + 1) with G = (N + 1) ratio.
    const double G = (N + 1.0) * t.ratio;
    t.ratio_up[0] = G / (t.m + 1.0) - t.ratio;
    for (int j = 2; j <= kRatioSteps; ++j)
        t.ratio_up[j - 1] = t.ratio_up[j - 2] * (G / (t.m + j) - t.ratio);
    t.ratio_down[0] = t.m / (G - t.ratio * t.m);
    for (int j = 2; j <= kRatioSteps; ++j) {
        const double x = t.m - j + 1.0;
        t.ratio_down[j - 1] = t.ratio_down[j - 2] * (x / (G - t.ratio * x));
    }
}

// The triangle accepts with probability min(1, p1 / p4) per trial, so
// sampling ends when that is positive.  Only arguments the caller must not
// pass (p NaN or infinite, or outside [0, 1] with negative trials) fail.
bool rejection_ends(const RejectionTable& t) { return t.p1 > 0.0 && std::isfinite(t.p4); }

// Values of a call that the cache does not keep.
struct CallValues {
    double N, G;
    double f1, z, inv_f1, inv_z, inv_f1_sq, inv_z_sq;
    double n_half_m;  // N + 0.5 - m
    int64_t m;
    int32_t trials;
};

CallValues call_values(const RejectionTable& t, int32_t trials) {
    CallValues v;
    v.N = trials;
    v.G = (v.N + 1.0) * t.ratio;
    v.f1 = t.m + 1.0;
    v.z = v.N + 1.0 - t.m;
    v.inv_f1 = 1.0 / v.f1;
    v.inv_z = 1.0 / v.z;
    v.inv_f1_sq = v.inv_f1 * v.inv_f1;
    v.inv_z_sq = v.inv_z * v.inv_z;
    v.n_half_m = v.N + 0.5 - t.m;
    v.m = static_cast<int64_t>(t.m);
    v.trials = trials;
    return v;
}

// Stirling's correction ln(y!) - [ (y + 1/2) ln y - y + ln sqrt(2 pi) ]
// ~ 1/(12y) - 1/(360y^3) + ..., in the nested form with sq = 1/y^2 and
// inv = 1/y.
double stirling(double sq, double inv) {
    constexpr double k12 = 1.0 / 12.0, k360 = 1.0 / 360.0, k1260 = 1.0 / 1260.0,
                     k1680 = 1.0 / 1680.0, k1188 = 1.0 / 1188.0;
    return (k12 - sq * (k360 - sq * (k1260 - sq * (k1680 - sq * k1188)))) * inv;
}

// f(K) / f(m) against V, from the cached ratios and, beyond them, the
// recurrence.
bool ratio_test(int32_t K, int64_t d, double V, const RejectionTable& t, const CallValues& v) {
    const int64_t j = d < 0 ? -d : d;
    const double* side = d > 0 ? t.ratio_up : t.ratio_down;
    if (j <= kRatioSteps) return V <= side[j - 1];
    double F = side[kRatioSteps - 1];
    if (F < V) return false;  // the ratios fall away from the mode
    if (d > 0) {
        for (int64_t x = v.m + kRatioSteps + 1; x <= K; ++x)
            F *= v.G / static_cast<double>(x) - t.ratio;
    } else {
        for (int64_t x = v.m - kRatioSteps - 1; x >= K; --x) {
            const double xd = static_cast<double>(x);
            F *= xd / (v.G - t.ratio * xd);
        }
    }
    return V <= F;
}

// Far from the mode: the squeeze on ln V, then the exact test by Stirling's
// series.
bool far_test(int32_t K, int64_t j, double V, const RejectionTable& t, const CallValues& v) {
    const double L = ln1(V);
    const double k = static_cast<double>(j);
    const double rho = k * t.inv_npq * (((k / 3.0 + kSqueezeCubic) * k + 1.0 / 6.0) * t.inv_npq + 0.5);
    const double tail = -k * k * t.inv_npq * 0.5;
    if (L < tail - rho) return true;
    if (L > tail + rho) return false;
    const double x1 = K + 1.0;
    const double w = v.N + 1.0 - K;
    const double inv_x1 = 1.0 / x1, inv_w = 1.0 / w;
    double logs[3] = {v.z / w, v.f1 / x1, w * t.ratio / x1};
    xebdLn_HA(3, logs, logs);
    const double bound = stirling(v.inv_f1_sq, v.inv_f1) + stirling(v.inv_z_sq, v.inv_z) +
                         v.n_half_m * logs[0] + stirling(inv_x1 * inv_x1, inv_x1) +
                         stirling(inv_w * inv_w, inv_w) + t.xm * logs[1] + (K - t.m) * logs[2];
    return L <= bound;
}

// One trial on the uniforms u1, u2: true with the result in K.
bool btpe_trial(double u1, double u2, const RejectionTable& t, const CallValues& v, int32_t& K) {
    const double U = u1 * t.p4;
    double V = u2;
    if (U <= t.p1) {  // triangle: accepted outright
        K = truncate_to_int32(U + t.xm - t.p1 * V);
        return true;
    }
    if (U <= t.p2) {  // parallelogram
        const double X = (U - t.p1) * t.inv_c + t.xl;
        const double W = V * t.c + 1.0 - std::fabs(t.xm - X) * t.inv_p1;
        if (W > 1.0) return false;
        K = truncate_to_int32(X);
        V = W;
    } else if (U <= t.p3) {  // left exponential tail
        K = truncate_to_int32(ln1(V) * t.inv_lambda_l + t.xl);
        if (K < 0) return false;
        V = V * (U - t.p2) * t.lambda_l;
    } else {  // right exponential tail
        K = truncate_to_int32(-ln1(V) * t.inv_lambda_r + t.xr);
        if (K > v.trials) return false;
        V = V * (U - t.p3) * t.lambda_r;
    }
    const int64_t d = int64_t{K} - v.m;
    if (d == 0) return true;
    const int64_t j = d < 0 ? -d : d;
    if (j > kSqueezeFrom && static_cast<double>(j) < 0.5 * t.npq - 1.0) return far_test(K, j, V, t, v);
    return ratio_test(K, d, V, t, v);
}

int32_t sample_rejection(RukStream* stream, int32_t n, int32_t* r, const RejectionTable& t,
                         int32_t trials) {
    const CallValues v = call_values(t, trials);
    double u[kBuffer];
    int32_t status = RUK_OK;
    int32_t have = 0, next = 0, failures = 0;
    for (int32_t done = 0; done < n;) {
        if (next == have) {
            // Twice the results missing: no uniform is left over at the end.
            const int64_t want = 2 * int64_t{n - done};
            have = want < kBuffer ? static_cast<int32_t>(want) : kBuffer;
            status = rukdRngUniform(0, stream, have, u, 0.0, 1.0);
            if (status < 0) return status;
            next = 0;
        }
        int32_t K;
        if (btpe_trial(u[next], u[next + 1], t, v, K)) {
            r[done++] = K;
            failures = 0;
        } else if (++failures == kTrialLimit) {
            return RUK_ERROR_BAD_ARGUMENT;
        }
        next += 2;
    }
    return status;
}

// The set-up for the key (N, p): the route by N pp, then its table.
void build(BinomialCache& cache, double N, double p) {
    const bool flip = !(p < 0.5);  // p = 0.5 flips
    const double pp = flip ? 1.0 - p : p;
    const double qq = flip ? p : 1.0 - p;
    if (N * pp < kRejectionFrom) build_inversion(cache.inv, N, pp, qq);
    else build_rejection(cache.rej, N, pp, qq);
}

// A loaded chunk 5.  Its key must be one the law takes (trials a whole
// number from 0 to 2^31 - 1, p in [0, 1]) or the zeros of a fresh record,
// whose table is zeros too.  The table is then built anew from the key: it
// is a function of the key alone, and nothing of it is taken from the file.
bool check_loaded_cache(void* data) {
    const frame::StreamControlWords words;
    auto& cache = *static_cast<BinomialCache*>(data);
    const double N = cache.trials, p = cache.p;
    if (N == 0.0 && p == 0.0) {
        static const BinomialCache kFresh{};
        return std::memcmp(&cache, &kFresh, sizeof cache) == 0;
    }
    if (!(N >= 0.0 && N <= 2147483647.0 && std::floor(N) == N && p >= 0.0 && p <= 1.0))
        return false;
    build(cache, N, p);
    return true;
}
const rng::ChunkCheckRegistration kLoadCheck{RUK_CHUNK_BINOMIAL, sizeof(BinomialCache),
                                             check_loaded_cache};

int32_t binomial(RukStream* stream, int32_t n, int32_t* r, int32_t trials, double p) {
    int32_t status = RUK_OK;
    BinomialCache* cache = stream_cache<BinomialCache>(stream, RUK_CHUNK_BINOMIAL, &status);
    if (!cache) return status;
    const bool flip = !(p < 0.5);  // p = 0.5 flips
    const double pp = flip ? 1.0 - p : p;
    const double N = trials;
    if (cache->trials != N || cache->p != p) {
        cache->trials = N;
        cache->p = p;
        build(*cache, N, p);
    }
    if (N * pp < kRejectionFrom) {
        const InversionTable& t = cache->inv;
        status = run_table<kBuffer>(stream, n, r, t.cum, kTableTerms, [&](double u) { return beyond_table(u, t, trials); });
    } else {
        if (!rejection_ends(cache->rej)) return RUK_ERROR_BAD_ARGUMENT;
        status = sample_rejection(stream, n, r, cache->rej, trials);
    }
    if (status < 0 || !flip) return status;
    // Unsigned, so that results of arguments the caller must not pass
    // wrap instead of overflowing.
    for (int32_t i = 0; i < n; ++i)
        r[i] = static_cast<int32_t>(static_cast<uint32_t>(trials) - static_cast<uint32_t>(r[i]));
    return status;
}

}  // namespace
}  // namespace xeb::laws

int32_t rukiRngBinomial(int32_t, RukStream* stream, int32_t n, int32_t* r, int32_t trials,
                        double p) {
    const xeb::frame::StreamControlWords words;
    return xeb::laws::binomial(stream, n, r, trials, p);
}
