// Hypergeometric(l, s, m): the number of marked items in a sample of s drawn
// without replacement from a lot of l items of which m are marked.
//
// Folding.  The law is symmetric in the roles of marked and unmarked items
// and of sampled and unsampled ones, so the draw works on
//   na = min(m, l - m), nb = l - na, k = s if l > 2s else l - s,
// which puts the sample and the counted set in the lower half of the lot:
// the folded count X lies in [0, hi], hi = min(na, k), with the mode
//   M = trunc((k + 1)(na + 1) / (l + 2)).
// A pass over the whole array at the end maps X back (s - X, X + s - na or
// m - X, by which of the two folds applied).
//
// Then, by the mode:
//   M < 40    inversion.  A table of 64 cumulative probabilities from 0,
//             one uniform per result, searched upward by comparison.  The
//             chance of 0, C(nb, k) / C(l, k), comes from log-factorials;
//             the others by the recurrence of successive ratios.  Beyond
//             entry 63 the terms go on by the same recurrence.
//   M >= 40   H2PE (Kachitvichyanukul and Schmeiser, "Computer generation
//             of hypergeometric random variates", J. Statist. Comput.
//             Simul. 22, 1985): a flat centre of half-width d = 1.5 sd over
//             the mode and two exponential tails, two uniforms per trial.
//             Candidates within 32 of the mode are tested against cached
//             ratios f(M +- j) / f(M); when M >= 100, candidates above 200
//             go through the squeeze of the paper and, between its bounds,
//             the exact test by Stirling's series.
//
// Either set-up is kept on the stream as chunk 6 (648 bytes, 81 doubles),
// keyed by (l, m, s) and rebuilt when any of them differs.
//
// Accuracy.  Arithmetic is double; logarithms, exponentials, reciprocals and
// the root come from the high-accuracy vector kernels (below 1 ulp each).
// Log-factorials below 16 are the table's correctly rounded values; from 16
// on Stirling's series to the 1/(360 x^3) term, whose omitted remainder is
// below 1/(1260 x^5) < 1e-9.  A log-weight of the four factorials at a lot
// near 2^31 is a sum of terms near 5e10, so its absolute error there is
// about 1e-5: the acceptance test is exact to that relative error, as is
// the chance of 0 from which the inversion table starts.  The hat
// constants only shape the proposal.
//
// Kept features of the method, part of its acceptance region: a candidate
// more than 32 below the mode is tested against f(M - 33) / f(M), one
// factor past the table, whatever its distance; the squeeze's fourth-order
// terms x rr^4 ... are never negative, so they enter as they are.
//
// Stream use: one uniform per result (inversion) or two per trial (H2PE),
// drawn in blocks of at most 512 that are always used up, so a call of n
// gives the same results as any calls whose counts add up to n.
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
#include "xebruk/vm_div.h"
#include "xebruk/vm_explog.h"
#include "xebruk/vm_roots.h"

namespace xeb::laws {
namespace {

#include "laws/log_factorial_table.inc"

constexpr int32_t kRejectionFrom = 40;  // M - lo from which H2PE is used
constexpr int kTableTerms = 64;         // cumulative probabilities of 0..63
constexpr int kRatioSteps = 32;         // cached ratios on each side of the mode
constexpr int32_t kBuffer = 512;        // uniforms per draw

// H2PE's constants: the centre's half-width in standard deviations, the
// squeeze margins, and where the squeeze replaces the ratio test.
constexpr double kCentreWidth = 1.5;
constexpr double kSqueezeUpper = 0.0034;
constexpr double kSqueezeLower = 0.0078;
constexpr int32_t kSqueezeModeFrom = 100;
constexpr int32_t kSqueezeFrom = 200;

constexpr double kStirling1 = 1.0 / 12.0, kStirling3 = 1.0 / 360.0;

struct InversionTable {
    double cum[kTableTerms];  // P(X <= j), written for j <= min(hi, 63)
};

struct RejectionTable {
    double p1, p2, p3;          // cumulative areas: centre, left tail, right tail
    double xl, xr;              // edges of the centre
    double x1, x2, x3, x4;      // M + 0.5, na - M + 0.5, k - M + 0.5, nb - k + M + 0.5
    double lambda_l, lambda_r;  // rates of the exponential tails
    double inv_lambda_l, inv_lambda_r;
    double a;                        // the log-weight at the mode, f(M)
    double ratio_down[kRatioSteps];  // entry j - 1: w(M - j) / w(M)
    double ratio_up[kRatioSteps];    // entry j - 1: w(M + j) / w(M)
};

struct HypergeometricCache {
    double l, m, s;  // key: the caller's arguments
    union {
        InversionTable inv;
        RejectionTable rej;
    };
};
static_assert(sizeof(HypergeometricCache) == 648, "the chunk holds 81 doubles");

// The folded arguments of a call.
struct Folded {
    int32_t na, nb, k;  // counted set, the rest, sample
    int32_t M, hi;      // mode, largest value (the smallest is 0)
};

Folded fold(int32_t l, int32_t s, int32_t m) {
    Folded f;
    f.na = m < l - m ? m : l - m;
    f.nb = l - f.na;
    f.k = int64_t{l} > 2 * int64_t{s} ? s : l - s;
    f.M = truncate_to_int32((f.k + 1.0) * (f.na + 1.0) / (l + 2.0));
    f.hi = f.na < f.k ? f.na : f.k;
    return f;
}

double ln1(double x) {
    xebdLn_HA(1, &x, &x);
    return x;
}
double exp1(double x) {
    xebdExp_HA(1, &x, &x);
    return x;
}

// ln(x!) for whole x >= 0: the table below 16, Stirling's series above.
double ln_factorial(double x) {
    if (x < kLnFactorialTerms) return kLnFactorial[truncate_to_int32(x)];
    return (x + 0.5) * ln1(x) + kLnSqrt2Pi - x + (1.0 / x) * (kStirling1 - kStirling3 / (x * x));
}

// f(K) = ln(K! (na - K)! (k - K)! (nb - k + K)!): minus the log-weight of
// K, up to a constant.  The four numbers add up to l.  When all are 16 or
// more, the four series share one logarithm call and one reciprocal call.
double ln_weight(double K, const Folded& f, double l) {
    const double x[4] = {K, f.na - K, f.k - K, K + (f.nb - f.k)};
    if (x[0] >= kLnFactorialTerms && x[1] >= kLnFactorialTerms && x[2] >= kLnFactorialTerms &&
        x[3] >= kLnFactorialTerms) {
        double logs[4], inv[8];  // 1 / x, then 1 / x^3
        for (int i = 0; i < 4; ++i) {
            inv[i] = x[i];
            inv[4 + i] = x[i] * x[i] * x[i];
        }
        xebdLn_HA(4, x, logs);
        xebdInv_HA(8, inv, inv);
        double sum = 0.0;
        for (int i = 0; i < 4; ++i) sum += (x[i] + 0.5) * logs[i];
        return sum + kFourLnSqrt2Pi + kStirling1 * (inv[0] + inv[1] + inv[2] + inv[3]) - l -
               kStirling3 * (inv[4] + inv[5] + inv[6] + inv[7]);
    }
    return ln_factorial(x[0]) + ln_factorial(x[1]) + ln_factorial(x[2]) + ln_factorial(x[3]);
}

// ---------------------------------------------------------------------------
// Inversion

int table_top(const Folded& f) { return f.hi < kTableTerms - 1 ? f.hi : kTableTerms - 1; }

void build_inversion(InversionTable& t, const Folded& f, double l) {
    const double na = f.na, nb = f.nb, k = f.k;
    double term = exp1(ln_factorial(nb) + ln_factorial(l - k) - ln_factorial(nb - k) - ln_factorial(l));
    double sum = term;
    t.cum[0] = sum;
    for (int x = 0; x < table_top(f); ++x) {
        term = term * ((na - x) * (k - x)) / ((x + 1.0) * (1.0 + nb - k + x));
        t.cum[x + 1] = sum += term;
    }
}

// u at or above the last entry.  Below 63 entries the table already ends
// at hi, which no result exceeds.  Beyond, the terms go on by their
// recurrence from the last one until the sum passes u; the walk stops at
// hi, and when the sum no longer grows (a u in the rounding gap between the
// summed probabilities and 1 would walk for ever: the terms fall beyond the
// mode, so a sum that stops growing never grows again).
int32_t beyond_table(double u, const InversionTable& t, const Folded& f) {
    if (f.hi < kTableTerms) return f.hi;
    const double na = f.na, k = f.k, nb_k = f.nb - f.k;
    double term = t.cum[kTableTerms - 1] - t.cum[kTableTerms - 2];
    double sum = t.cum[kTableTerms - 1];
    for (int32_t x = kTableTerms; x < f.hi; ++x) {
        term = term * ((na - x + 1.0) * (k - x + 1.0)) / (x * (x + nb_k));
        const double next = sum + term;
        if (u < next) return x;
        if (next == sum) return x;
        sum = next;
    }
    return f.hi;
}

int32_t sample_inversion(RukStream* stream, int32_t n, int32_t* r, const InversionTable& t,
                         const Folded& f) {
    return run_table<kBuffer>(stream, n, r, t.cum, table_top(f) + 1,
                              [&](double u) { return beyond_table(u, t, f); });
}

// ---------------------------------------------------------------------------
// H2PE

void build_rejection(RejectionTable& t, const Folded& f, double l) {
    const double na = f.na, nb = f.nb, k = f.k, M = f.M, nb_k = nb - k;
    double sd = (l - k) * k * na * nb / (l - 1.0);
    xebdSqrt_HA(1, &sd, &sd);
    sd /= l;
    const double d = truncate_to_int32(kCentreWidth * sd) + 0.5;
    t.xl = (M + 0.5) - d;
    t.xr = d + (M + 0.5);
    t.a = ln_weight(M, f, l);
    const double kl = exp1(t.a - ln_weight(truncate_to_int32(t.xl), f, l));
    const double kr = exp1(t.a - ln_weight(truncate_to_int32(t.xr) - 1.0, f, l));
    double rates[2] = {t.xl * (nb_k + t.xl) / ((1.0 + na - t.xl) * (1.0 + k - t.xl)),
                       (1.0 + na - t.xr) * (1.0 + k - t.xr) / (t.xr * (nb_k + t.xr))};
    xebdLn_HA(2, rates, rates);
    t.lambda_l = -rates[0];
    t.lambda_r = -rates[1];
    t.inv_lambda_l = 1.0 / t.lambda_l;
    t.inv_lambda_r = 1.0 / t.lambda_r;
    t.p1 = d + d;
    t.p2 = kl * t.inv_lambda_l + t.p1;
    t.p3 = t.p2 + kr * t.inv_lambda_r;
    t.x1 = M + 0.5;
    t.x2 = na - M + 0.5;
    t.x3 = k - M + 0.5;
    t.x4 = nb_k + M + 0.5;
    t.ratio_up[0] = (na - M) * (k - M) / ((1.0 + M) * (1.0 + nb_k + M));
    for (int j = 2; j <= kRatioSteps; ++j)
        t.ratio_up[j - 1] =
            t.ratio_up[j - 2] * (na - M - j + 1.0) * (k - M - j + 1.0) / ((M + j) * (nb_k + M + j));
    t.ratio_down[0] = (nb_k + M) * M / ((na + 1.0 - M) * (k + 1.0 - M));
    for (int j = 2; j <= kRatioSteps; ++j) {
        const double x = M - j + 1.0;
        t.ratio_down[j - 1] = t.ratio_down[j - 2] * (nb_k + x) * x / ((na + 1.0 - x) * (k + 1.0 - x));
    }
}

// V against w(K) / w(M) by the cached ratios; beyond them, upward the
// product goes on to K, downward it takes one factor more.
bool ratio_test(int32_t K, double V, const RejectionTable& t, const Folded& f) {
    const int32_t D = K > f.M ? K - f.M : f.M - K;
    if (D <= kRatioSteps) return V <= (K > f.M ? t.ratio_up : t.ratio_down)[D - 1];
    if (K > f.M) {
        double F = t.ratio_up[kRatioSteps - 1];
        for (int32_t x = f.M + kRatioSteps; x < K; ++x) {
            F = F * (f.na - x) * (f.k - x) / ((1.0 + x) * (1.0 + (f.nb - f.k) + x));
            if (V > F) return false;
        }
        return true;
    }
    const double x = f.M - kRatioSteps;
    return V <=
           t.ratio_down[kRatioSteps - 1] * ((f.nb - f.k) + x) * x / ((f.na + 1.0 - x) * (f.k + 1.0 - x));
}

double h_series(double y) { return y * (y / 3.0 - 0.5) + 1.0; }

// Far from a large mode: the squeeze on L = ln V, then the exact test.
bool squeeze_test(int32_t K, double L, const RejectionTable& t, const Folded& f, double l) {
    const double Kd = K, M = f.M, na = f.na, k = f.k, nb_k = f.nb - f.k;
    const double Q = Kd - M;
    const double rr = -Q / (Kd + 1.0), ss = Q / (na - Kd + 1.0), tt = Q / (k - Kd + 1.0),
                 ee = -Q / (nb_k + Kd + 1.0);
    const double g = (na - Kd + 1.0) * (k - Kd + 1.0) / ((Kd + 1.0) * (nb_k + Kd + 1.0)) - 1.0;
    const double gu = g * (1.0 - 0.5 * g + g * g / 3.0);
    const double g2 = g * g;
    const double gl = gu - 0.25 * (g2 * g2) / (g < 0.0 ? 1.0 + g : 1.0);
    const double ub = Kd * gu - M * gl + kSqueezeUpper + t.x1 * rr * h_series(rr) +
                      t.x2 * ss * h_series(ss) + t.x3 * tt * h_series(tt) + t.x4 * ee * h_series(ee);
    if (L > ub) return false;
    const double r2 = rr * rr, s2 = ss * ss, t2 = tt * tt, e2 = ee * ee;
    const double fourth = t.x1 * (r2 * r2) + t.x2 * (s2 * s2) + t.x3 * (t2 * t2) + t.x4 * (e2 * e2);
    if (L < (Kd + M) * (gl - gu) - kSqueezeLower + ub - 0.25 * fourth) return true;
    return L <= t.a - ln_weight(Kd, f, l);
}

// Whether a trial's candidate goes to the squeeze.
bool squeezed(int32_t K, const Folded& f) { return f.M >= kSqueezeModeFrom && K > kSqueezeFrom; }

// One trial on the uniforms u1, u2, with ln u2 when the trial needs it
// (see sample_rejection): true with the result in K.  Tail candidates are
// range-checked as doubles, before truncation, so that a logarithm of 0 (a
// generator that can return 0) is rejected and not truncated.
bool h2pe_trial(double u1, double u2, double ln_u2, const RejectionTable& t, const Folded& f, double l,
                int32_t& K) {
    const double U = u1 * t.p3;
    double V = u2;
    if (U <= t.p1) {
        K = truncate_to_int32(U + t.xl);
        if (squeezed(K, f)) return squeeze_test(K, ln_u2, t, f, l);
    } else {
        double x;
        if (U <= t.p2) {
            x = ln_u2 * t.inv_lambda_l + t.xl;
            if (!(x > -1.0)) return false;  // below 0
            V = (U - t.p1) * t.lambda_l * V;
        } else {
            x = -ln_u2 * t.inv_lambda_r + t.xr;
            if (!(x < f.hi + 1.0)) return false;  // above hi
            V = (U - t.p2) * t.lambda_r * V;
        }
        K = truncate_to_int32(x);
        if (squeezed(K, f)) return squeeze_test(K, ln1(V), t, f, l);
    }
    if (K == f.M) return true;
    return ratio_test(K, V, t, f);
}

// ln u2 of the trials that take it (the tails', and the squeezed centre
// candidates'), for a whole block in one call: the kernel gives an element
// the same bits in any grouping.
int32_t sample_rejection(RukStream* stream, int32_t n, int32_t* r, const RejectionTable& t,
                         const Folded& f, double l) {
    double ln_u2[kBuffer / 2];
    const auto prepare = [&](const double* u, int32_t pairs) {
        double gathered[kBuffer / 2];
        int32_t which[kBuffer / 2], count = 0;
        for (int32_t i = 0; i < pairs; ++i) {
            const double U = u[2 * i] * t.p3;
            ln_u2[i] = 0.0;
            if (U > t.p1 || squeezed(truncate_to_int32(U + t.xl), f)) {
                which[count] = i;
                gathered[count++] = u[2 * i + 1];
            }
        }
        xebdLn_HA(count, gathered, gathered);
        for (int32_t j = 0; j < count; ++j) ln_u2[which[j]] = gathered[j];
    };
    return run_trials<kBuffer>(stream, n, r, prepare, [&](double u1, double u2, int32_t i, int32_t& K) {
        return h2pe_trial(u1, u2, ln_u2[i], t, f, l, K);
    });
}

// ---------------------------------------------------------------------------

// The folded counts back to counts of marked items in the sample.
void map_back(int32_t n, int32_t* r, int32_t l, int32_t s, int32_t m, const Folded& f) {
    const bool sample_folded = !(int64_t{l} > 2 * int64_t{s});
    const bool marked_folded = m > l - m;
    if (!sample_folded && !marked_folded) return;
    const int32_t base = sample_folded ? (marked_folded ? s - f.na : m) : s;
    const int32_t sign = sample_folded && marked_folded ? 1 : -1;
    for (int32_t i = 0; i < n; ++i) r[i] = base + sign * r[i];
}

bool arguments_taken(int32_t l, int32_t s, int32_t m) {
    return l >= 0 && s >= 0 && m >= 0 && s <= l && m <= l;
}

// The set-up of a key whose values are not certain.
void build(HypergeometricCache& cache, const Folded& f) {
    if (f.M < kRejectionFrom) build_inversion(cache.inv, f, cache.l);
    else build_rejection(cache.rej, f, cache.l);
}

// A loaded chunk 6.  Its key must be arguments the law takes, or the zeros
// of a fresh record, whose tables are zeros too.  The tables are then built
// anew from the key: nothing of them is taken from the file.
bool check_loaded_cache(void* data) {
    const frame::StreamControlWords words;
    auto& cache = *static_cast<HypergeometricCache*>(data);
    if (cache.l == 0.0 && cache.m == 0.0 && cache.s == 0.0) {
        static const HypergeometricCache kFresh{};
        return std::memcmp(&cache, &kFresh, sizeof cache) == 0;
    }
    const auto whole = [](double x) { return x >= 0.0 && x <= 2147483647.0 && std::floor(x) == x; };
    if (!(whole(cache.l) && whole(cache.m) && whole(cache.s))) return false;
    const auto l = static_cast<int32_t>(cache.l), m = static_cast<int32_t>(cache.m),
               s = static_cast<int32_t>(cache.s);
    if (!arguments_taken(l, s, m)) return false;
    const Folded f = fold(l, s, m);
    if (f.hi > 0) build(cache, f);
    return true;
}
const rng::ChunkCheckRegistration kLoadCheck{RUK_CHUNK_HYPERGEOMETRIC, sizeof(HypergeometricCache),
                                             check_loaded_cache};

int32_t hypergeometric(RukStream* stream, int32_t n, int32_t* r, int32_t l, int32_t s, int32_t m) {
    if (!arguments_taken(l, s, m)) return RUK_ERROR_BAD_ARGUMENT;
    int32_t status = RUK_OK;
    HypergeometricCache* cache =
        stream_cache<HypergeometricCache>(stream, RUK_CHUNK_HYPERGEOMETRIC, &status);
    if (!cache) return status;
    const Folded f = fold(l, s, m);
    if (f.hi == 0) {  // lo = hi: a certain value, nothing drawn
        for (int32_t i = 0; i < n; ++i) r[i] = 0;
    } else {
        if (cache->l != l || cache->m != m || cache->s != s) {
            cache->l = l;
            cache->m = m;
            cache->s = s;
            build(*cache, f);
        }
        status = f.M < kRejectionFrom ? sample_inversion(stream, n, r, cache->inv, f)
                                      : sample_rejection(stream, n, r, cache->rej, f, l);
        if (status < 0) return status;
    }
    map_back(n, r, l, s, m, f);
    return status;
}

}  // namespace
}  // namespace xeb::laws

int32_t rukiRngHypergeometric(int32_t, RukStream* stream, int32_t n, int32_t* r, int32_t l, int32_t s,
                              int32_t m) {
    const xeb::frame::StreamControlWords words;
    return xeb::laws::hypergeometric(stream, n, r, l, s, m);
}
