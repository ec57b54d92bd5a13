// Poisson(lambda), method 0: exact sampling with its set-up kept on the
// stream.
//
//   lambda < 27   inversion.  A table of the cumulative probabilities of 0
//                 to 31, one double uniform per result, searched upward
//                 from 0 by comparison (the mean is small, so the scan is
//                 short); beyond 31 the terms go on by their recurrence.
//   lambda >= 27  PTPE (Schmeiser and Kachitvichyanukul, "Poisson random
//                 variates", 1981): a hat of a triangle and a
//                 parallelogram over the mode and two exponential tails,
//                 two float uniforms per trial.  A candidate K is tested
//                 against f(K) / f(M), M = trunc(lambda): from cached
//                 ratios within 16 of the mode, by their products beyond,
//                 and, for M >= 100 and K > 50, by a squeeze on logarithms
//                 and then Stirling's series for ln K!.
//
// The set-up is chunk 3 of the stream (RukPoissonCache, 84 doubles): the
// PTPE half and the table half each keep their own mean and are rebuilt
// only when a call's mean differs from it (exact comparison), so calls that
// alternate a small and a large mean rebuild neither.  A fresh record holds
// the table of mean 0 (every cumulative probability 1), so a mean of 0,
// which equals the key of a fresh record, gives 0 for every uniform.
//
// Arithmetic is in double, under the laws' fixed control words; the
// exponential, logarithms and root come from the high-accuracy vector
// kernels on single elements (below 1 ulp each).  Most of PTPE's tests on
// a logarithm are settled without calling the kernel, by a quick logarithm
// or, in calls of 1024 results or more, by levels of W kept for the call
// (see ln_near and SqueezeLevels): each answers only where the kernel's
// logarithm could not answer otherwise, so results do not change.
// The table's sums add the small terms first: cum[k] is within a few ulp
// of P(X <= k).  The hat constants only shape the proposal.  The
// acceptance tests compare W with f(K) / f(M) as a product of ratios
// (about 1e-16 relative per factor) or by Stirling's series to 1/(360 K^3)
// (truncation below 1/(1260 K^5), under 4e-12 for K > 50), so the law is
// exact to about 1e-12 relative per value.  The trial's uniforms are floats
// and W is rounded to float, as in the published method: the acceptance
// probability of each candidate is then quantised to 2^-24 relative, a
// change of the law below 1e-7 relative.
//
// Stream use: exactly one double per result (table) or two floats per
// trial (PTPE), drawn in blocks of at most 512 that are always used up, so
// that a call of n gives the results of any calls whose counts add up to n.
//
// Guards.  A negative or NaN mean, or one above RUK_POISSON_MAX_MEAN (where
// counts could pass 2^31), is refused before the record is touched or
// anything is drawn.  The walk beyond 31 stops where the sum no longer
// grows (a uniform in the rounding gap below 1, or a NaN) and returns the
// count reached; the PTPE products stop at the first factor that takes F
// below W (each factor is below 1 there, so the outcome is the same); a run
// of a million rejected trials (trial_loop.h) returns RUK_ERROR_BAD_ARGUMENT.  A
// record a stream file brings must hold keys its halves take, and both
// halves are built anew from them at load.
#include "laws/poisson.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "frame/bits.h"
#include "frame/kernel_frame.h"
#include "laws/chunk_cache.h"
#include "laws/guards.h"
#include "laws/trial_loop.h"
#include "laws/truncate.h"
#include "rng/load_checks.h"
#include "xebruk/rng_continuous.h"
#include "xebruk/vm_explog.h"
#include "xebruk/vm_roots.h"

namespace xeb::laws {
namespace {

constexpr double kLargeFrom = 27.0;   // means from here on take PTPE
constexpr int32_t kBuffer = 512;      // uniforms per draw
constexpr int64_t kSqueezeFromMode = 100;  // M from which far K take the squeeze
constexpr int32_t kSqueezeFromK = 50;      // ... when K is above this

// The published constants of PTPE's hat.
constexpr double kTriangleWidth = 2.195;  // p1 ~ 2.195 sqrt(M) - 2.2
constexpr double kTriangleShift = 2.2;
constexpr double kParallelogramBase = 0.133;  // c = 0.133 + 8.56 / (6.83 + lambda)
constexpr double kParallelogramNum = 8.56;
constexpr double kParallelogramDen = 6.83;
constexpr double kLeftTailBase = 0.109;  // left tail area 0.109 + 8.25 / (10.86 + lambda)
constexpr double kLeftTailNum = 8.25;
constexpr double kLeftTailDen = 10.86;
// The squeeze's: 1/(12 M) for M >= 100 and the band around ln f(K)/f(M).
constexpr double kSqueezeShift = 0.00084;
constexpr double kSqueezeBand = 0.004;

double ln1(double x) {
    xebdLn_HA(1, &x, &x);
    return x;
}

// ln_near (poisson.h) settles most of PTPE's tests without the vector
// kernel.  ln_near(w), for a positive normal w = 2^e m with m in
// [sqrt(1/2), sqrt(2)), is e ln 2 + 2 atanh(s), s = (m - 1)/(m + 1), by the
// series to s^17: |s| <= 0.1716, truncation below 2 |s|^19 / 19 < 4e-16.
// The roundings of s, the Horner sum, ln 2 and the last sums add below
// 1e-12 absolute for |ln w| < 710, and ln1 is within 1 ulp of ln w (below
// 2e-13 there), so ln1(w) lies within kLnMargin of ln_near(w).  A test on
// ln1(w) is decided from ln_near(w) where its threshold is further away
// than the margin (the margin's own rounding is far below the slack);
// nearer, ln1 itself decides.
constexpr double kLn2 = 0x1.62e42fefa39efp-1;
constexpr double kSqrt2 = 0x1.6a09e667f3bcdp+0;
constexpr double kAtanhSeries[8] = {1.0 / 3,  1.0 / 5,  1.0 / 7,  1.0 / 9,
                                    1.0 / 11, 1.0 / 13, 1.0 / 15, 1.0 / 17};
constexpr uint64_t kSmallestNormalBits = 0x0010000000000000ull;
constexpr uint64_t kInfinityBits = 0x7FF0000000000000ull;
constexpr uint64_t kFractionMask = 0x000FFFFFFFFFFFFFull;
constexpr uint64_t kOneBits = 0x3FF0000000000000ull;
constexpr double kTwo31 = 0x1p31;

// w positive, finite and normal.
bool in_ln_near_domain(double w) { return bits(w) - kSmallestNormalBits < kInfinityBits - kSmallestNormalBits; }

}  // namespace

double ln_near(double w) {
    const uint64_t u = bits(w);
    int e = static_cast<int>(u >> 52) - 1023;
    double m = double_from_bits((u & kFractionMask) | kOneBits);  // [1, 2)
    const bool high = m > kSqrt2;
    m = high ? 0.5 * m : m;  // exact
    e += high;
    const double s = (m - 1.0) / (m + 1.0);
    const double z = s * s;
    const double* c = kAtanhSeries;
    double q = c[7];
    for (int k = 6; k >= 0; --k) q = q * z + c[k];
    return e * kLn2 + (s + s * (z * q)) * 2.0;
}

PoissonCache fresh_poisson_cache() {
    PoissonCache c{};
    for (double& p : c.small.cum) p = 1.0;  // the table of mean 0
    return c;
}

void build_poisson_table(PoissonTable& t, double lambda) {
    t.mean_small = lambda;
    double term[kPoissonTableTerms];
    term[0] = -lambda;
    xebdExp_HA(1, &term[0], &term[0]);
    for (int k = 1; k < kPoissonTableTerms; ++k) term[k] = term[k - 1] * (lambda / k);
    // Suffix sums S(k) = term[k] + ... + term[31], smallest terms first,
    // held in cum for now; then cum[k] = T - S(k + 1), T = term[0] + S(1).
    double suffix = 0.0;
    for (int k = kPoissonTableTerms - 1; k >= 1; --k) t.cum[k] = suffix += term[k];
    const double total = term[0] + t.cum[1];
    for (int k = 0; k < kPoissonTableTerms - 1; ++k) t.cum[k] = total - t.cum[k + 1];
    t.cum[kPoissonTableTerms - 1] = total;
}

void build_poisson_ptpe(PoissonPtpe& t, double lambda) {
    t.mean_large = lambda;
    const double M = truncate_to_int32(lambda);
    t.m = M;
    t.inv_m = 1.0 / M;
    t.inv_m3 = t.inv_m * (t.inv_m * t.inv_m);
    t.ln_m_over_mean = ln1(M / lambda);
    double root = M;
    xebdSqrt_HA(1, &root, &root);
    t.p1 = truncate_to_int32(kTriangleWidth * root - kTriangleShift) + 0.5;
    t.c = kParallelogramBase + kParallelogramNum / (kParallelogramDen + lambda);
    t.inv_c = 1.0 / t.c;
    t.inv_p1 = 1.0 / t.p1;
    t.xm = M + 0.5;
    t.xl = t.xm - t.p1;
    t.xr = t.xm + t.p1;
    const double a = (lambda - t.xl) / lambda;
    t.lambda_l = a * (1.0 + 0.5 * a);
    const double b = (t.xr - lambda) / t.xr;
    t.lambda_r = b * (1.0 + 0.5 * b);
    t.inv_lambda_l = 1.0 / t.lambda_l;
    t.inv_lambda_r = 1.0 / t.lambda_r;
    t.p2 = t.p1 * (1.0 + 2.0 * t.c);
    t.p3 = t.p2 + (kLeftTailBase + kLeftTailNum / (kLeftTailDen + lambda)) * t.inv_lambda_l;
    t.p4 = t.p3 + t.c * t.inv_lambda_r;
    // f(M - j) / f(M - j + 1) = (M - j + 1) / lambda; f(M + j) / f(M + j - 1) = lambda / (M + j).
    t.ratio_down[0] = M / lambda;
    t.ratio_up[0] = lambda / (M + 1.0);
    for (int j = 2; j <= kPoissonRatioSteps; ++j) {
        t.ratio_down[j - 1] = t.ratio_down[j - 2] * (M - j + 1.0) / lambda;
        t.ratio_up[j - 1] = t.ratio_up[j - 2] * lambda / (M + j);
    }
}

namespace {

// ---------------------------------------------------------------------------
// Inversion

// u at or above cum[31]: the terms go on by their recurrence from the last
// one in the table until the sum passes u, or no longer grows.
int32_t beyond_table(double u, const PoissonTable& t, double lambda) {
    double term = t.cum[kPoissonTableTerms - 1] - t.cum[kPoissonTableTerms - 2];
    double sum = t.cum[kPoissonTableTerms - 1];
    for (int32_t k = kPoissonTableTerms - 1;;) {
        ++k;
        term = term * lambda / k;
        const double next = sum + term;
        if (u < next || !(next > sum)) return k;
        sum = next;
    }
}

// ---------------------------------------------------------------------------
// PTPE

// f(K) / f(M) against W from the cached ratios and, beyond them, their
// products; true when K is accepted.
bool ratio_test(int64_t K, int64_t M, double W, const PoissonPtpe& t, double lambda) {
    if (K == M) return W <= 1.0;
    const int64_t j = K < M ? M - K : K - M;
    const double* side = K < M ? t.ratio_down : t.ratio_up;
    if (j <= kPoissonRatioSteps) return W <= side[j - 1];
    double F = side[kPoissonRatioSteps - 1];
    if (F < W) return false;
    // Every factor is below 1 here (x < lambda below the mode, x > lambda
    // above), so once F is below W it stays there.
    if (K < M) {
        for (int64_t x = M - kPoissonRatioSteps; x > K && !(F < W); --x) F = F * static_cast<double>(x) / lambda;
    } else {
        for (int64_t x = M + kPoissonRatioSteps + 1; x <= K && !(F < W); ++x) F = F * lambda / static_cast<double>(x);
    }
    return W <= F;
}

// K > 50 with M >= 100: ln W against ln f(K)/f(M) by a squeeze and then
// Stirling's series.  Its levels depend on K alone: reject where ln W is
// above A, accept below `below` (at most A, as E >= 0), and in between
// accept up to the series' value.
struct Squeeze {
    double k, w, A, below;
};

Squeeze squeeze_levels(int32_t K, double lambda) {
    const double k = K;
    const double w = 1.0 / k;
    const double x = w * (lambda - k);
    const double A = (1.0 + (x / 3.0 - 0.5) * x) * ((k + 0.5) * x) + (k + (kSqueezeShift - lambda));
    double E = 0.25 * (x * x * x * x) * (k + 0.5);
    if (x < 0.0) E = E / (1.0 + x);
    return {k, w, A, A - kSqueezeBand - E};
}

double stirling_level(const Squeeze& q, const PoissonPtpe& t, double lambda) {
    const double k = q.k, w = q.w;
    return (k + 0.5) * ln1(lambda * w) + k + (t.m + 0.5) * t.ln_m_over_mean - t.m + (t.inv_m - w) / 12.0 +
           (w * w * w - t.inv_m3) / 360.0;
}

bool squeeze_test(int32_t K, double W, const PoissonPtpe& t, double lambda) {
    const Squeeze q = squeeze_levels(K, lambda);
    if (in_ln_near_domain(W)) {
        const double near = ln_near(W);
        if (near - kLnMargin > q.A) return false;
        if (near + kLnMargin < q.below) return true;
    }
    const double L = ln1(W);
    if (L > q.A) return false;
    if (L < q.below) return true;
    return L <= stirling_level(q, t, lambda);
}

// The squeeze's outcome as levels of W, for the K a long call meets most:
// those of the parallelogram, each computed at its first use.  With
// T = max(below, min(A, series)) the squeeze accepts exactly where
// ln1(W) < T or ln1(W) <= T, depending on which level T is; below
// exp(T - kLevelMargin) (as xebdExp_HA rounds it, within 1 ulp) ln1(W) is
// surely below T, above exp(T + kLevelMargin) surely above it (ln1 is
// within 1e-12 of ln), and between the two the squeeze itself decides.
constexpr double kLevelMargin = 0x1p-28;
constexpr int32_t kLevelSlots = 1024;  // K the cache covers, at most
constexpr int32_t kLevelsFromCount = 1024;  // calls of fewer results go without

struct SqueezeLevels {
    int32_t first = 0, count = 0;  // K from first, count of them; 0: none
    double accept_below[kLevelSlots];  // NaN until computed
    double reject_above[kLevelSlots];
};

void start_levels(SqueezeLevels& c, const PoissonPtpe& t, double lambda, int32_t n) {
    c.count = 0;
    if (n < kLevelsFromCount || truncate_to_int32(lambda) < kSqueezeFromMode) return;
    const int32_t first = truncate_to_int32(t.xl), last = truncate_to_int32(t.xr);
    if (first <= kSqueezeFromK || last - first >= kLevelSlots) return;
    c.first = first;
    c.count = last - first + 1;
    for (int32_t i = 0; i < c.count; ++i) c.accept_below[i] = NAN;
}

// The squeeze's outcome for K > 50 with M >= 100, from the levels where
// they settle it.
bool squeeze_decision(int32_t K, double W, SqueezeLevels& c, const PoissonPtpe& t, double lambda) {
    const uint32_t i = static_cast<uint32_t>(K - c.first);
    if (i < static_cast<uint32_t>(c.count) && W > 0.0) {
        if (std::isnan(c.accept_below[i])) {
            const Squeeze q = squeeze_levels(K, lambda);
            const double T = std::max(q.below, std::min(q.A, stirling_level(q, t, lambda)));
            double ends[2] = {T - kLevelMargin, T + kLevelMargin};
            xebdExp_HA(2, ends, ends);
            c.accept_below[i] = ends[0];
            c.reject_above[i] = ends[1];
        }
        if (W < c.accept_below[i]) return true;
        if (W > c.reject_above[i]) return false;
    }
    return squeeze_test(K, W, t, lambda);
}

// An exponential tail's point y(ln1(v)), y a rounded affine map, or a
// stand-in with the same sign and the same integer part, which is all the
// trial reads of it.  The rounded map is monotone, so y(ln1(v)) lies
// between its values at the ends of ln_near(v) -+ kLnMargin; where those
// agree in sign and integer part (below 2^31), so does it.
template <class Map>
double tail_point(double v, Map y) {
    if (in_ln_near_domain(v)) {
        const double near = ln_near(v);
        const double a = y(near - kLnMargin), b = y(near + kLnMargin);
        if ((a < 0.0) == (b < 0.0) && std::trunc(a) == std::trunc(b) && std::fabs(a) < kTwo31) return a;
    }
    return y(ln1(v));
}

// One trial on the floats u1, u2: true with the result in K.
bool ptpe_trial(float u1, float u2, const PoissonPtpe& t, double lambda, SqueezeLevels& levels, int32_t& K) {
    const double U = static_cast<float>(u1 * t.p4);
    const double V = u2;
    if (U <= t.p1) {  // triangle: accepted outright
        K = truncate_to_int32((U + t.xm) - t.p1 * V);
        return true;
    }
    double W;
    if (U <= t.p2) {  // parallelogram
        const double X = (U - t.p1) * t.inv_c + t.xl;
        W = static_cast<float>(1.0 + t.c * V - std::fabs(t.xm - X) * t.inv_p1);
        if (W > 1.0) return false;
        K = truncate_to_int32(X);
    } else if (U <= t.p3) {  // left exponential tail
        const double Y = tail_point(V, [&](double L) { return L * t.inv_lambda_l + t.xl; });
        if (Y < 0.0) return false;
        K = truncate_to_int32(Y);
        W = static_cast<float>((U - t.p2) * V * t.lambda_l);
    } else {  // right exponential tail
        K = truncate_to_int32(tail_point(V, [&](double L) { return -L * t.inv_lambda_r + t.xr; }));
        W = static_cast<float>((U - t.p3) * V * t.lambda_r);
    }
    // M from the mean, not the record: the ratio products below then run
    // over factors below 1 whatever a record read from a file holds.
    const int64_t M = truncate_to_int32(lambda);
    if (M >= kSqueezeFromMode && K > kSqueezeFromK) return squeeze_decision(K, W, levels, t, lambda);
    return ratio_test(K, M, W, t, lambda);
}

int32_t sample_ptpe(RukStream* stream, int32_t n, int32_t* r, const PoissonPtpe& t, double lambda) {
    SqueezeLevels levels;
    start_levels(levels, t, lambda, n);
    return run_trials<kBuffer, float>(
        stream, n, r, [](const float*, int32_t) {},
        [&](float u1, float u2, int32_t, int32_t& K) { return ptpe_trial(u1, u2, t, lambda, levels, K); });
}

}  // namespace

int32_t poisson_exact(RukStream* stream, int32_t n, int32_t* r, double lambda) {
    if (negative_or_nan(lambda) || lambda > RUK_POISSON_MAX_MEAN) return RUK_ERROR_BAD_ARGUMENT;
    int32_t status = RUK_OK;
    bool made = false;
    PoissonCache* cache = stream_cache<PoissonCache>(stream, RUK_CHUNK_POISSON, &status, &made);
    if (!cache) return status;
    if (made) *cache = fresh_poisson_cache();
    if (lambda < kLargeFrom) {
        if (cache->small.mean_small != lambda) build_poisson_table(cache->small, lambda);
        const PoissonTable& t = cache->small;
        return run_table<kBuffer>(stream, n, r, t.cum, kPoissonTableTerms,
                                  [&](double u) { return beyond_table(u, t, lambda); });
    }
    if (cache->large.mean_large != lambda) build_poisson_ptpe(cache->large, lambda);
    return sample_ptpe(stream, n, r, cache->large, lambda);
}

namespace {

// A loaded chunk 3.  Each half's key must be one the law takes (the table's
// from 0 up to 27, PTPE's from 27 to the largest mean, or 0 for none); both
// halves are then built anew from their keys, so that nothing the law reads
// later comes from the file.
bool check_loaded_cache(void* data) {
    const frame::StreamControlWords words;
    auto& cache = *static_cast<PoissonCache*>(data);
    const double small = cache.small.mean_small, large = cache.large.mean_large;
    if (!(small >= 0.0 && small < kLargeFrom)) return false;
    if (!(large == 0.0 || (large >= kLargeFrom && large <= RUK_POISSON_MAX_MEAN))) return false;
    const PoissonCache fresh = fresh_poisson_cache();
    if (small == 0.0) cache.small = fresh.small;
    else build_poisson_table(cache.small, small);
    if (large == 0.0) cache.large = fresh.large;
    else build_poisson_ptpe(cache.large, large);
    return true;
}
const rng::ChunkCheckRegistration kLoadCheck{RUK_CHUNK_POISSON, sizeof(PoissonCache), check_loaded_cache};

}  // namespace

}  // namespace xeb::laws

int32_t rukiRngPoisson(int32_t method, RukStream* stream, int32_t n, int32_t* r, double lambda) {
    using Method = int32_t (*)(RukStream*, int32_t, int32_t*, double);
    static constexpr Method kMethods[2] = {xeb::laws::poisson_exact, xeb::laws::poisson_gaussian_map};
    // An index outside the table is refused rather than followed.
    if (method < 0 || method > 1) return RUK_ERROR_UNKNOWN_METHOD;
    const xeb::frame::StreamControlWords words;
    return kMethods[method](stream, n, r, lambda);
}
