// Negbinomial(a, p): failures before the a-th success of probability p, for
// a real a > 0, on the integers from 0.  With q = 1 - p and b = a - 1, the
// weights satisfy f(k + 1) / f(k) = (a + k) q / (k + 1), and the real mode
// is h = b q / p (negative for a < 1, where the mode is 0).
//
// By the mode:
//   h < 100   inversion.  A table of 128 cumulative probabilities from 0,
//             one uniform per result, searched upward by comparison;
//             f(0) = p^a and the others by the ratio recurrence.  Beyond
//             entry 127 the terms go on by the same recurrence.
//   h >= 100  rejection from a hat of five regions over the weights
//             relative to the mode's: a flat centre [A2, B] about one
//             standard deviation s each side of the mode; two flanks out
//             to L0 and R0, where the secant of the weights from the
//             centre's edge reaches zero, whose hat is that secant raised
//             by the weight next to the flank's far end; and two geometric
//             tails beyond, decaying by the ratio of the weights at the
//             flank's far end.  The negative binomial is log-concave for
//             a >= 1 (b >= 0), so the secants lie below the weights (they
//             are the squeezes: most centre and flank trials end there,
//             with no function call) and the geometric tails above them.
//             Candidates the squeezes do not accept are tested against
//             f(K) / f(m) from ratio tables of 64 entries on each side of
//             the mode, beyond them by Stirling's series w(k) or, on the
//             left below 150, by a product of ratios down from the table.
//             Where the hat cannot be built (the centre's left edge or the
//             left flank's end below 1: a mode of at most about two
//             standard deviations, which happens for a below about 5 and
//             small p), the law is drawn by inversion instead.
//
// Either set-up is kept on the stream as chunk 4 (1,304 bytes, 163 doubles),
// keyed by (a, p) and rebuilt when either differs.
//
// Accuracy.  Arithmetic is double; logarithms, the power, exponentials and
// roots come from the high-accuracy vector kernels (below 1 ulp each).  The
// ratio tables hold products of up to 64 factors (relative error about 64
// ulp); Stirling's series w(k) to its u^5 term is used only 64 or more
// away from a mode of 100 or more, where its omitted terms are below 1e-11.
// Its second correction enters with all signs positive, a deliberate
// feature of the method: the two corrections differ from the exact ones by
// about 1/(6k) at most, 1e-3 at k = 150, which only moves acceptance there
// by that relative amount.  The hat constants only shape the proposal.
//
// Kept features of the method, part of its acceptance region: a centre
// candidate K = m from the right half that its squeeze does not accept is
// tested against f(m - 64) / f(m), the table entry stored just before
// f(m + 1) / f(m), rather than against 1.
//
// Stream use: one uniform per result (inversion) or two per trial
// (rejection), drawn in blocks of at most 256 that are always used up, so a
// call of n gives the same results as any calls whose counts add up to n.
#include <algorithm>
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

constexpr double kRejectionFrom = 100.0;  // the mode h from which the hat is used
constexpr int kTableTerms = 128;          // cumulative probabilities of 0..127
constexpr int kRatioSteps = 64;           // cached ratios on each side of the mode
constexpr int32_t kBuffer = 256;          // uniforms per draw
constexpr int32_t kSeriesFloor = 150;     // left of the table: the series from here up
// 32-bit results end below 2^31.  The law is refused unless its mass from
// there on is below e^-40 (a Chernoff bound), so candidates beyond are
// rejected, and an inversion walk that reaches it fails.
constexpr double kResultLimit = 2147483648.0;
constexpr double kNegligibleLogMass = -40.0;

struct InversionTable {
    double cum[kTableTerms];  // P(X <= j)
};

// A flank: the hat over [edge, far end) is height * z + height * e, with z
// running from 1 at the centre's edge to 0 at the far end and e = g / height
// (g the weight next to the far end); the squeeze is height * z.  U in the
// flank's share maps to y = sqrt(gain U + bias) in (e, 1 + e], and
// x = origin - y width.
struct Flank {
    double gain, bias, origin, width, height, slope, offset;
};
// A tail: x = scale ln V + start, under the hat height (U - t) V.
struct Tail {
    double scale, start, height;
};

// t5 stands right before ratio_down, and ratio_down's last entry right
// before ratio_up: the ratio lookups read those neighbours at distance 0.
struct RejectionTable {
    double m;                              // trunc(h): the mode
    double t1, t2, t3, t4, t5;             // cumulative shares: centre, right flank, left flank,
                                           // right tail, left tail; t5 = 1
    double ratio_down[kRatioSteps];        // entry j - 1: f(m - j) / f(m)
    double ratio_up[kRatioSteps];          // entry j - 1: f(m + j) / f(m)
    double w_mode;                         // w(m)
    double c_scale, c_start;               // centre: x = c_scale U + c_start
    double c_right_slope, c_right_offset;  // squeeze from (m, 1) to (B, f(B))
    double c_left_slope, c_left_offset;    // squeeze from (A2, f(A1)) to (m + 1, 1)
    Flank right, left;
    Tail right_tail, left_tail;
};

struct NegbinomialCache {
    double a, p;  // key: the caller's arguments
    union {
        InversionTable inv;
        RejectionTable rej;
    };
};
static_assert(sizeof(NegbinomialCache) == 1304, "the chunk holds 163 doubles");

struct Law {
    double a, p, q, b, h;
};

Law law_of(double a, double p) {
    Law L;
    L.a = a;
    L.p = p;
    L.q = 1.0 - p;
    L.b = a - 1.0;
    L.h = L.b * L.q / p;
    return L;
}

// The whole numbers that place the hat's regions.
struct HatFrame {
    double s;       // about one standard deviation
    double A1, A2;  // A2 = A1 + 1: the centre's left edge
    double B;       // the centre's right edge
    double L0, R0;  // far ends of the flanks
    int32_t Li, Ri;
};

HatFrame hat_frame(const Law& L) {
    HatFrame F;
    F.s = L.h / L.p + 0.25;
    xebdSqrt_HA(1, &F.s, &F.s);
    F.A1 = truncate_to_int32(L.h - (0.5 + F.s));
    F.A2 = F.A1 + 1.0;
    F.B = std::ceil((F.s - 0.5) + L.h);
    F.L0 = (L.b + F.A1) * L.q / (F.A1 - (L.b + F.A1) * L.q) + F.A2;
    F.R0 = F.B + (1.0 + F.B) / ((L.a + F.B) * (-L.q) + 1.0 + F.B);
    F.Li = truncate_to_int32(F.L0);
    F.Ri = truncate_to_int32(F.R0);
    return F;
}

// The hat stands when the left flank lies between 1 and the centre (so
// that its end's ratio rL = f(Li) / f(Li - 1) exists) and the right one
// ends below 2^31.
bool hat_fits(const HatFrame& F) {
    return F.A1 >= 1.0 && F.L0 >= 1.0 && F.L0 < F.A2 && F.R0 > F.B && F.R0 < kResultLimit;
}

// The hat's frame when the law is drawn by rejection.
bool uses_rejection(const Law& L, HatFrame& F) {
    if (!(L.h >= kRejectionFrom)) return false;
    F = hat_frame(L);
    return hat_fits(F);
}

double exp1(double x) {
    xebdExp_HA(1, &x, &x);
    return x;
}

// Whether 32-bit results can hold the law: its mass at 2^31 and above is
// below e^-40 by the Chernoff bound
//   P(X >= x) <= (p (a + x) / a)^a (q (a + x) / x)^x   for x above the mean,
// its logarithms taken apart so that neither a tiny a nor a huge one
// overflows.
bool results_fit(const Law& L) {
    if (L.q == 0.0) return true;
    const double x = kResultLimit;
    if (!(L.a * L.q / L.p < x)) return false;
    double logs[5] = {L.p, L.q, L.a, L.a + x, x};
    xebdLn_HA(5, logs, logs);
    const double bound = L.a * (logs[0] + logs[3] - logs[2]) + x * (logs[1] + logs[3] - logs[4]);
    return bound < kNegligibleLogMass;
}

// ---------------------------------------------------------------------------
// Inversion

void build_inversion(InversionTable& t, const Law& L) {
    double term;
    xebdPowx_HA(1, &L.p, L.a, &term);
    double sum = term;
    t.cum[0] = sum;
    for (int j = 0; j < kTableTerms - 1; ++j) {
        term = (L.a + j) * L.q * term / (j + 1.0);
        t.cum[j + 1] = sum += term;
    }
}

// The uniforms at or above cum[127], u[far[0..count)]: the terms go on by
// their recurrence until the sum passes each u; the result is the count
// reached.  Every u meets the same partial sums, so they are taken in
// ascending order along one walk (NaN last, with infinity: neither is ever
// passed), which gives each the result of its own walk at the cost of the
// longest.  A sum that stops growing (a u in the rounding gap between the
// summed probabilities and 1) has passed the mode, after which the terms
// only fall: the walk ends there, and the u's still waiting get the count
// reached.  False when the count would leave 32 bits.
bool beyond_table(const double* u, int32_t* far, int32_t count, const InversionTable& t, const Law& L,
                  int32_t* r) {
    const auto key = [u](int32_t i) { return std::isnan(u[i]) ? INFINITY : u[i]; };
    std::sort(far, far + count, [&key](int32_t i, int32_t j) { return key(i) < key(j); });
    double term = t.cum[kTableTerms - 1] - t.cum[kTableTerms - 2];
    double sum = t.cum[kTableTerms - 1];
    int32_t x = kTableTerms - 1, next = 0;
    while (next < count) {
        if (x == INT32_MAX) return false;
        term = (L.a + x) * L.q * term / (x + 1.0);
        ++x;
        const double grown = sum + term;
        if (grown == sum) break;
        sum = grown;
        while (next < count && sum > u[far[next]]) r[far[next++]] = x;
    }
    while (next < count) r[far[next++]] = x;
    return true;
}

int32_t sample_inversion(RukStream* stream, int32_t n, int32_t* r, const InversionTable& t,
                         const Law& L) {
    return run_blocks<kBuffer>(stream, n, r, [&](const double* u, int32_t count, int32_t* out) {
        int32_t far[kBuffer], far_count = 0;
        for (int32_t i = 0; i < count; ++i) {
            // The table rises, so a u not below its last entry passes it all.
            int32_t j = u[i] < t.cum[kTableTerms - 1] ? 0 : kTableTerms;
            while (j < kTableTerms && !(u[i] < t.cum[j])) ++j;
            if (j == kTableTerms) far[far_count++] = i;
            out[i] = j;
        }
        return far_count == 0 || beyond_table(u, far, far_count, t, L, out);
    });
}

// ---------------------------------------------------------------------------
// Rejection

// w(k): the log-weight of k by Stirling's series, up to a constant that
// cancels in w(k) - w(m), from logs = {ln(b q / k + q), ln(b + k)}.
double series(double k, const double* logs, const Law& L) {
    const double u = 1.0 / k, v = 1.0 / (L.b + k);
    const double u2 = u * u, v2 = v * v;
    return (1.0 / 12.0 - (1.0 / 360.0 - u2 / 1260.0) * u2) * u + (k + 0.5) * logs[0] + L.b * logs[1] -
           (1.0 / 12.0 + (1.0 / 360.0 + v2 / 1260.0) * v2) * v;
}
double log_weight(double k, const Law& L) {
    double logs[2] = {L.b * L.q * (1.0 / k) + L.q, L.b + k};
    xebdLn_HA(2, logs, logs);
    return series(k, logs, L);
}

// f(m - d) / f(m) from the table when 1 <= d <= 64, else by the series.
double weight_below(double d, double k, const RejectionTable& t, const Law& L) {
    if (d >= 1.0 && d <= kRatioSteps) return t.ratio_down[truncate_to_int32(d) - 1];
    return exp1(log_weight(k, L) - t.w_mode);
}
double weight_above(double d, double k, const RejectionTable& t, const Law& L) {
    if (d >= 1.0 && d <= kRatioSteps) return t.ratio_up[truncate_to_int32(d) - 1];
    return exp1(log_weight(k, L) - t.w_mode);
}

// A flank from the centre's edge (weight height there) to its far end,
// after the shares t_before and t_after around it, with g the weight next
// to the far end.
Flank make_flank(double edge, double far_end, double height, double g, double t_before, double t_after) {
    Flank fl;
    const double e = g / height;
    fl.gain = (1.0 + 2.0 * e) / (t_after - t_before);
    fl.bias = e * e - t_before * fl.gain;
    fl.origin = e * (far_end - edge) + far_end;
    fl.width = far_end - edge;
    fl.height = height;
    fl.slope = height / (edge - far_end);
    fl.offset = -far_end * fl.slope;
    return fl;
}

void build_rejection(RejectionTable& t, const Law& L, const HatFrame& F) {
    const double a = L.a, b = L.b, q = L.q;
    t.m = truncate_to_int32(L.h);
    const double m = t.m;
    t.ratio_up[0] = (b + (m + 1.0)) * q / (m + 1.0);
    t.ratio_down[0] = m / ((b + m) * q);
    for (int j = 2; j <= kRatioSteps; ++j) {
        const double up = m + j, down = m - j + 1.0;
        t.ratio_up[j - 1] = t.ratio_up[j - 2] * ((b + up) * q / up);
        t.ratio_down[j - 1] = t.ratio_down[j - 2] * (down / ((b + down) * q));
    }
    t.w_mode = log_weight(m, L);
    const double j_left = truncate_to_int32(m - F.A2);
    const double fL = j_left < kRatioSteps ? t.ratio_down[truncate_to_int32(j_left)]
                                           : exp1(log_weight(F.A1, L) - t.w_mode);
    const double fR = weight_above(F.B - m, F.B, t, L);
    const double fLi = weight_below(m - F.Li, F.Li, t, L);
    const double fRi = weight_above(F.Ri - m, F.Ri, t, L);
    const double Li = F.Li, Ri = F.Ri;
    const double gR = fRi * Ri / ((b + Ri) * q);        // f(Ri - 1)
    const double gL = (a + Li) * fLi * q / (1.0 + Li);  // f(Li + 1)
    const double rR = (a + Ri) * q / (1.0 + Ri);        // f(Ri + 1) / f(Ri)
    const double rL = (b + Li) * q / Li;                // f(Li) / f(Li - 1)
    const double bases[2] = {rR, rL}, powers[2] = {(F.R0 - 1.0) - Ri, F.L0 - Li};
    double tail[2];
    xebdPow_HA(2, bases, powers, tail);
    const double PR = fRi * tail[0], PL = fLi * tail[1];
    double logs[2] = {rR, rL};
    xebdLn_HA(2, logs, logs);
    const double area[5] = {F.B - F.A2, (0.5 * fR + gR) * (F.R0 - F.B), (0.5 * fL + gL) * (F.A2 - F.L0),
                            -PR / logs[0], PL / logs[1]};
    const double total = area[0] + area[1] + area[2] + area[3] + area[4];
    double running = area[0];
    t.t1 = running / total;
    t.t2 = (running += area[1]) / total;
    t.t3 = (running += area[2]) / total;
    t.t4 = (running += area[3]) / total;
    t.t5 = (running += area[4]) / total;  // exactly 1
    t.c_scale = (F.B - F.A2) / t.t1;
    t.c_start = F.A2;
    t.c_right_slope = (1.0 - fR) / (m - F.B);
    t.c_right_offset = 1.0 - t.c_right_slope * m;
    t.c_left_slope = (1.0 - fL) / (m - F.A1);
    t.c_left_offset = 1.0 - t.c_left_slope * (m + 1.0);
    t.right = make_flank(F.B, F.R0, fR, gR, t.t1, t.t2);
    t.left = make_flank(F.A2, F.L0, fL, gL, t.t2, t.t3);
    t.right_tail = {1.0 / logs[0], F.R0, PR / (t.t4 - t.t3)};
    t.left_tail = {1.0 / logs[1], F.L0, PL / (t.t5 - t.t4)};
}

// Whether w(K) - w(m) < ln v: the series' two logarithms and ln v in one
// call.
bool series_below(int32_t K, double v, const RejectionTable& t, const Law& L) {
    const double k = K;
    double logs[3] = {L.b * L.q * (1.0 / k) + L.q, L.b + k, v};
    xebdLn_HA(3, logs, logs);
    return series(k, logs, L) - t.w_mode < logs[2];
}

// Values a call needs beside the table.
struct CallValues {
    Law law;
    int64_t m;
    double mid;  // m + 0.5
};

// K at or right of the mode, against v.
bool accept_right(int32_t K, double v, const RejectionTable& t, const CallValues& c) {
    const int64_t j = K - c.m;
    if (j <= kRatioSteps) {
        // j = 0 reads the entry stored before ratio_up[0]: f(m - 64) / f(m).
        const double F = j == 0 ? t.ratio_down[kRatioSteps - 1] : t.ratio_up[j - 1];
        return !(F < v);
    }
    return !series_below(K, v, t, c.law);
}

// K at or left of the mode, against v.
bool accept_left(int32_t K, double v, const RejectionTable& t, const CallValues& c) {
    const int64_t j = c.m - K;
    if (j <= kRatioSteps) return !((j == 0 ? t.t5 : t.ratio_down[j - 1]) < v);
    if (K >= kSeriesFloor) return !series_below(K, v, t, c.law);
    double F = t.ratio_down[kRatioSteps - 1];
    const double b = c.law.b, q = c.law.q;
    for (int64_t x = c.m - kRatioSteps; x > K; --x) {
        const double xd = static_cast<double>(x);
        F = F * xd / ((xd + b) * q);
        if (F < v) return false;
    }
    return true;
}

// A flank candidate from y = sqrt(gain U + bias): true when accepted, else
// false with the candidate and its ordinate for the ratio test.
bool flank_trial(const Flank& fl, double y, double V, int32_t& K, double& v) {
    const double x = fl.origin - y * fl.width;
    v = V * fl.height * y;
    K = truncate_to_int32(x);
    return v <= fl.slope * x + fl.offset;
}

// One trial on the uniforms U, V, with pre = y for a flank trial and ln V
// for a tail trial (see sample_rejection): true with the result in K.
// Tail candidates are range-checked as doubles before truncation, so that
// the logarithm of a zero V (infinite x) and counts beyond 32 bits are
// rejected.
bool trial(double U, double V, double pre, const RejectionTable& t, const CallValues& c, int32_t& K) {
    double v;
    if (U <= t.t1) {
        const double x = t.c_scale * U + t.c_start;
        K = truncate_to_int32(x);
        if (x <= c.mid) return V <= t.c_left_slope * x + t.c_left_offset || accept_left(K, V, t, c);
        return V <= t.c_right_slope * x + t.c_right_offset || accept_right(K, V, t, c);
    }
    if (U <= t.t2) return flank_trial(t.right, pre, V, K, v) || accept_right(K, v, t, c);
    if (U <= t.t3) return flank_trial(t.left, pre, V, K, v) || accept_left(K, v, t, c);
    if (U > t.t4) {
        const double x = t.left_tail.scale * pre + t.left_tail.start;
        if (!(x > -1.0)) return false;  // below 0
        K = truncate_to_int32(x);
        return accept_left(K, (U - t.t4) * V * t.left_tail.height, t, c);
    }
    const double x = t.right_tail.scale * pre + t.right_tail.start;
    if (!(x < kResultLimit)) return false;
    K = truncate_to_int32(x);
    return accept_right(K, (U - t.t3) * V * t.right_tail.height, t, c);
}

// The flank trials' square roots and the tail trials' logarithms depend on
// the uniforms alone: they are taken for a whole block, one kernel call
// each (the kernels give an element the same bits in any grouping).
void block_roots_and_logs(const double* u, int32_t trials, const RejectionTable& t, double* pre) {
    double roots[kBuffer / 2], logs[kBuffer / 2];
    int32_t root_of[kBuffer / 2], log_of[kBuffer / 2];
    int32_t n_roots = 0, n_logs = 0;
    for (int32_t i = 0; i < trials; ++i) {
        const double U = u[2 * i];
        pre[i] = 0.0;
        if (U <= t.t1) continue;
        if (U <= t.t3) {
            const Flank& fl = U <= t.t2 ? t.right : t.left;
            root_of[n_roots] = i;
            roots[n_roots++] = fl.gain * U + fl.bias;
        } else {
            log_of[n_logs] = i;
            logs[n_logs++] = u[2 * i + 1];
        }
    }
    xebdSqrt_HA(n_roots, roots, roots);
    xebdLn_HA(n_logs, logs, logs);
    for (int32_t j = 0; j < n_roots; ++j) pre[root_of[j]] = roots[j];
    for (int32_t j = 0; j < n_logs; ++j) pre[log_of[j]] = logs[j];
}

int32_t sample_rejection(RukStream* stream, int32_t n, int32_t* r, const RejectionTable& t,
                         const Law& L) {
    const CallValues c{L, static_cast<int64_t>(t.m), t.m + 0.5};
    double pre[kBuffer / 2];
    return run_trials<kBuffer>(
        stream, n, r, [&](const double* u, int32_t pairs) { block_roots_and_logs(u, pairs, t, pre); },
        [&](double U, double V, int32_t i, int32_t& K) { return trial(U, V, pre[i], t, c, K); });
}

// ---------------------------------------------------------------------------

bool arguments_taken(double a, double p) { return a > 0.0 && a < INFINITY && p > 0.0 && p <= 1.0; }

// The set-up of the record's key, by its route.
void build(NegbinomialCache& cache) {
    const Law L = law_of(cache.a, cache.p);
    HatFrame frame;
    if (uses_rejection(L, frame)) build_rejection(cache.rej, L, frame);
    else build_inversion(cache.inv, L);
}

// A loaded chunk 4.  Its key must be arguments the law takes, or the zeros
// of a fresh record, whose tables are zeros too.  The tables are then built
// anew from the key: nothing of them is taken from the file.
bool check_loaded_cache(void* data) {
    const frame::StreamControlWords words;
    auto& cache = *static_cast<NegbinomialCache*>(data);
    if (cache.a == 0.0 && cache.p == 0.0) {
        static const NegbinomialCache kFresh{};
        return std::memcmp(&cache, &kFresh, sizeof cache) == 0;
    }
    if (!arguments_taken(cache.a, cache.p) || !results_fit(law_of(cache.a, cache.p))) return false;
    build(cache);
    return true;
}
const rng::ChunkCheckRegistration kLoadCheck{RUK_CHUNK_NEGBINOMIAL, sizeof(NegbinomialCache),
                                             check_loaded_cache};

int32_t negbinomial(RukStream* stream, int32_t n, int32_t* r, double a, double p) {
    if (!arguments_taken(a, p)) return RUK_ERROR_BAD_ARGUMENT;
    const Law L = law_of(a, p);
    int32_t status = RUK_OK;
    NegbinomialCache* cache = stream_cache<NegbinomialCache>(stream, RUK_CHUNK_NEGBINOMIAL, &status);
    if (!cache) return status;
    if (cache->a != a || cache->p != p) {
        if (!results_fit(L)) return RUK_ERROR_BAD_ARGUMENT;
        cache->a = a;
        cache->p = p;
        build(*cache);
    }
    HatFrame frame;
    return uses_rejection(L, frame) ? sample_rejection(stream, n, r, cache->rej, L)
                                    : sample_inversion(stream, n, r, cache->inv, L);
}

}  // namespace
}  // namespace xeb::laws

int32_t rukiRngNegbinomial(int32_t, RukStream* stream, int32_t n, int32_t* r, double a, double p) {
    const xeb::frame::StreamControlWords words;
    return xeb::laws::negbinomial(stream, n, r, a, p);
}
