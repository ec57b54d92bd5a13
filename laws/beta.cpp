// Beta(p, q) shifted by a and scaled by beta: a + beta X, with X of density
// x^(p-1) (1-x)^(q-1) / B(p, q) on (0, 1).  The shapes pick the generator,
// tested in this order:
//
//   p < 1, q < 1, K(p) + q <= 0   Johnk
//   p < 1, q < 1                  switching rejection, both below 1
//   p < 1 < q                     switching rejection, one above 1
//   q < 1 < p                     the same on (q, p), the result 1 - X
//   p > 1, q > 1                  Cheng's BB
//   p = 1                         1 - U^(1/q)
//   q = 1                         U^(1/p)
//   otherwise (a NaN shape)       uniform on the interval from a to a + beta
//
// with K(p) = 0.8522552176537243 p^2 - 0.9562409713408151, the line where
// Johnk's acceptance falls below that of the switching method.
//
// Johnk (1964): X = U^(1/p), Y = V^(1/q); accept X / (X + Y) when
// 0 < X + Y <= 1.
//
// Switching (Atkinson and Whittaker, 1976): the hat is x^(p-1) (1-t)^(q-1)
// left of t and t^(p-1) (1-x)^(q-1) right of it (both below 1; with q above
// 1 the left part is x^(p-1)), rr the mass of its left part, so that a
// proposal is x = t (u/rr)^(1/p) for u <= rr and 1 - (1-t) ((1-u)/(1-rr))^(1/q)
// above (A u^(1/p) and 1 - B (1-u)^(1/q) with A = t (1/rr)^(1/p) and B alike,
// but A overflows for p below about 1e-7 with q near 1).  It is
// accepted with the ratio of density to hat, ((1-x)/(1-t))^(q-1) (left;
// (1-x)^(q-1) with q above 1) or (x/t)^(p-1) (right), tested as
// ln V + (1-q) ln((1-x)/(1-t)) <= 0 and so on.  t = s1 / (s1 + s2) with
// s1 = sqrt(p(1-p)), s2 = sqrt(q(1-q)) (both below 1), or (1-p) / (1-p+q).
//
// Cheng's BB (1978): v = be ln(U1 / (1-U1)), w = p e^v, accepted when
// al ln(al / (w + q)) - ln 4 + ga v >= ln(U1^2 U2); the result is
// w / (w + q).  al = p + q, be = sqrt((al-2) / (2pq - al)), ga = p + 1/be.
//
// Trials go in blocks of up to 512 (two uniforms each, never more trials
// than results are missing), and every transcendental step runs over the
// whole block through the vector kernels, rejected trials included: the
// logarithms and exponentials at high accuracy, the per-trial power of the
// switching proposal at low accuracy (it only shapes the proposal).  What
// is left of a block when the results are complete is dropped.  The
// arithmetic between the kernels is that of the element type, each
// operation rounded (SSE double or single; the x87's 64-bit significand,
// with its unpipelined division and 10-byte loads and stores, made the
// double form a third slower), and the final pass is the laws' affine pass.
//
// Error: the values are exact functions of the uniforms up to the kernels'
// errors (below 1 ulp each, the low-accuracy power below 4), a few ulp of
// X; the acceptance decisions near their boundaries move with them, which
// changes which trials are kept but not the law.
//
// Refusals.  A shape of 0 or below (including -0) returns
// RUK_ERROR_BAD_ARGUMENT before any draw, and so do Johnk's shapes below
// its floor (p + q below 1.5e-5 in double, 1e-4 in single, where U^(1/p)
// and V^(1/q) both underflow to 0 in more than 99% of trials, each a
// rejection) and a set-up whose constants come out NaN (an infinite shape
// in a rejection route).  A run of kTrialLimit rejected trials in a row (a
// stream that is not uniform) returns it too, with the results made so far
// in r and no final pass.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "laws/continuous.h"

namespace xeb::laws {
namespace {

constexpr int32_t kTrials = kBlock / 2;  // trials of a block, two uniforms each
// Every route accepts at least 1% of its trials (Johnk's shapes are held
// above the floor below; the others accept more than half), so 10,000
// failures in a row (a chance below e^-100) mean a stream that is not
// uniform.
constexpr int64_t kTrialLimit = 10000;

template <class T>
struct BetaConstants;
// kExpZero: below it the exponential kernel gives 0 (ln 2^-1075 = -745.13
// in double, ln 2^-150 = -103.97 in single) through its underflow event,
// which costs hundreds of nanoseconds an element; -inf gives the same 0
// without one.  kJohnkFloor: the least p + q Johnk accepts, so that a trial
// has X or Y above 0 with probability 1 - e^(-745 (p + q)) (single: 104)
// of at least 1%.
template <>
struct BetaConstants<double> {
    static constexpr double kK2 = 0x1.b45acbbf56123p-1;  // 0.8522552176537243
    static constexpr double kK0 = 0x1.e9986aa602160p-1;  // 0.9562409713408151
    static constexpr double kLn4 = 0x1.62e42fefa39efp+0;  // 0x3FF62E42FEFA39EF
    static constexpr double kExpZero = -745.25;
    static constexpr double kJohnkFloor = 1.5e-5;
};
template <>
struct BetaConstants<float> {
    static constexpr float kK2 = 0x1.b45accp-1f;  // 0x3F5A2D66
    static constexpr float kK0 = 0x1.e9986ap-1f;  // 0xBF74CC35, negated
    static constexpr float kLn4 = 0x1.62e430p+0f;  // 0x3FB17218
    static constexpr float kExpZero = -104.0f;
    static constexpr float kJohnkFloor = 1e-4f;
};

template <class T>
struct BetaLaw {
    using P = Precision<T>;
    using C = BetaConstants<T>;

    struct Scratch {
        T u[kBlock];               // the block's draws, then the kernels' work
        T x[kTrials], y[kTrials], z[kTrials];
        T w[kTrials], f[kTrials];  // Cheng's w and 1 / (w + q); the switching test's factor
    };

    static bool nan(T v) { return v != v; }

    // Johnk: X, Y are the draws' logarithms scaled by 1/p, 1/q, exponentiated.
    struct Johnk {
        T inv_p, inv_q;
        bool wide_enough;
        static Johnk set_up(T p, T q) {
            return {1 / p, 1 / q, p + q >= C::kJohnkFloor};
        }
        bool usable() const { return wide_enough && !nan(inv_p) && !nan(inv_q); }
        void prepare(int32_t m, Scratch& s) const {
            P::ln(2 * m, s.u);
            for (int32_t i = 0; i < m; ++i) {
                s.u[2 * i] *= inv_p;
                s.u[2 * i + 1] *= inv_q;
            }
            for (int32_t i = 0; i < 2 * m; ++i)
                if (s.u[i] < C::kExpZero) s.u[i] = -std::numeric_limits<T>::infinity();
            P::exp(2 * m, s.u);
        }
        bool accept(int32_t i, const Scratch& s, T& out) const {
            const T x = s.u[2 * i], sum = x + s.u[2 * i + 1];
            if (!(sum > 0 && sum <= 1)) return false;
            out = x / sum;
            return true;
        }
    };

    // The two switching forms: one trial is a proposal u (its side by
    // u <= rr) and an acceptance uniform V.
    struct Switching {
        T rr, inv_rr, inv_1mrr, t, one_minus_t, inv_p, inv_q, inv_t, left_scale, one_minus_p,
            one_minus_q;

        // Both shapes below 1: left_scale = 1 / (1 - t).
        static Switching both_below(T p, T q) {
            T s[2] = {p * (1 - p), q * (1 - q)};
            P::sqrt(2, s);
            const T t = s[0] / (s[0] + s[1]);
            const T rr = q * t / ((1 - t) * p + q * t);
            return finish(p, q, t, rr, 1 / (1 - t));
        }
        // p < 1 < q: the left test has no 1 / (1 - t).
        static Switching one_above(T p, T q) {
            const T t = (1 - p) / ((1 - p) + q);
            T power = 1 - t;
            P::powx(1, &power, q);  // (1 - t)^q
            const T rr = q * t / (p * power + q * t);
            return finish(p, q, t, rr, T(1));
        }
        static Switching finish(T p, T q, T t, T rr, T left_scale) {
            return {rr, 1 / rr, 1 / (1 - rr), t, 1 - t, 1 / p, 1 / q, 1 / t, left_scale, 1 - p, 1 - q};
        }
        bool usable() const {
            for (T c : {rr, t, one_minus_t, inv_p, inv_q, inv_t, left_scale, one_minus_p, one_minus_q})
                if (nan(c)) return false;
            return true;
        }
        // x = t (u/rr)^(1/p) left, 1 - (1-t) ((1-u)/(1-rr))^(1/q) right: the
        // proposal A u^(1/p), 1 - B (1-u)^(1/q) of the method, with the
        // constants' powers taken on the bases of the trial, where they
        // cannot overflow for tiny shapes.  z is the argument of the test's
        // logarithm, y = ln V.
        void prepare(int32_t m, Scratch& s) const {
            P::pack(m, s.u, 2, s.x);
            P::pack(m, s.u + 1, 2, s.y);
            P::ln(m, s.y);
            T* exponent = s.u;  // the draws are gathered: the block is free
            T* power = s.u + m;
            for (int32_t i = 0; i < m; ++i) {
                const bool left = s.x[i] <= rr;
                s.z[i] = left ? s.x[i] * inv_rr : (1 - s.x[i]) * inv_1mrr;
                exponent[i] = left ? inv_p : inv_q;
                s.f[i] = left ? one_minus_q : one_minus_p;
            }
            P::pow_low(m, s.z, exponent, power);
            for (int32_t i = 0; i < m; ++i) {
                const bool left = s.x[i] <= rr;
                const T x = left ? t * power[i] : 1 - one_minus_t * power[i];
                s.z[i] = left ? (1 - x) * left_scale : x * inv_t;
                s.x[i] = x;
            }
            P::ln(m, s.z);
        }
        bool accept(int32_t i, const Scratch& s, T& out) const {
            if (!(s.z[i] * s.f[i] + s.y[i] <= 0)) return false;
            out = s.x[i];
            return true;
        }
    };

    struct ChengBB {
        T p, q, al, be, ga;
        static ChengBB set_up(T p, T q) {
            const T al = p + q;
            T be = (al - 2) / (2 * p * q - al);
            P::sqrt(1, &be);
            return {p, q, al, be, p + 1 / be};
        }
        bool usable() const { return !nan(al) && !nan(be) && !nan(ga); }
        // x = v, y = e^v; w and f; u[2i] = ln(al f), u[2i+1] = ln(U1^2 U2).
        void prepare(int32_t m, Scratch& s) const {
            for (int32_t i = 0; i < m; ++i) s.x[i] = s.u[2 * i] / (1 - s.u[2 * i]);
            P::ln(m, s.x);
            for (int32_t i = 0; i < m; ++i) s.y[i] = s.x[i] *= be;
            P::exp(m, s.y);
            for (int32_t i = 0; i < m; ++i) {
                s.w[i] = p * s.y[i];
                s.f[i] = 1 / (s.w[i] + q);
                const T u1 = s.u[2 * i], u2 = s.u[2 * i + 1];
                s.u[2 * i] = al * s.f[i];
                s.u[2 * i + 1] = u1 * u1 * u2;
            }
            P::ln(2 * m, s.u);
        }
        bool accept(int32_t i, const Scratch& s, T& out) const {
            if (!(al * s.u[2 * i] - C::kLn4 + ga * s.x[i] >= s.u[2 * i + 1])) return false;
            out = s.w[i] * s.f[i];
            return true;
        }
    };

    // n results of a rejection route into r.  The status is that of the
    // last draw, 0 when n < 1.
    template <class Route>
    static int32_t run(RukStream* stream, int32_t n, T* r, const Route& route) {
        if (!route.usable()) return RUK_ERROR_BAD_ARGUMENT;
        int32_t status = RUK_OK, done = 0;
        int64_t rejected = 0;  // in a row
        Scratch s;
        while (done < n) {
            const int32_t m = std::min(n - done, kTrials);
            status = P::uniform(stream, 2 * m, s.u, T(0), T(1));
            if (status < 0) return status;
            route.prepare(m, s);
            for (int32_t i = 0; i < m && done < n; ++i) {
                if (route.accept(i, s, r[done])) {
                    ++done;
                    rejected = 0;
                } else if (++rejected == kTrialLimit) {
                    return RUK_ERROR_BAD_ARGUMENT;
                }
            }
        }
        return status;
    }

    // U^e for every element, drawn straight into r.
    static int32_t power_row(RukStream* stream, int32_t n, T* r, T exponent) {
        const int32_t status = P::uniform(stream, n, r, T(0), T(1));
        if (status >= 0) P::powx(n, r, exponent);
        return status;
    }

    static int32_t draw(RukStream* stream, int32_t n, T* r, T p, T q, T a, T beta) {
        if (p <= 0 || q <= 0) return RUK_ERROR_BAD_ARGUMENT;  // NaN passes
        const T k = C::kK2 * p * p - C::kK0;
        bool flip = false;
        int32_t status;
        if (p < 1 && q < 1 && k + q <= 0) {
            status = run(stream, n, r, Johnk::set_up(p, q));
        } else if (p < 1 && q < 1) {
            status = run(stream, n, r, Switching::both_below(p, q));
        } else if (p < 1 && q > 1) {
            status = run(stream, n, r, Switching::one_above(p, q));
        } else if (p > 1 && q < 1) {
            status = run(stream, n, r, Switching::one_above(q, p));
            flip = true;
        } else if (p > 1 && q > 1) {
            status = run(stream, n, r, ChengBB::set_up(p, q));
        } else if (p == 1) {
            status = power_row(stream, n, r, 1 / q);
            flip = true;
        } else if (q == 1) {
            status = power_row(stream, n, r, 1 / p);
        } else {
            return P::uniform(stream, n, r, a, a + beta);
        }
        if (status < 0) return status;
        if (flip)
            for (int32_t i = 0; i < n; ++i) r[i] = (1 - r[i]) * beta + a;
        else
            affine(n, r, beta, a);
        return status;
    }
};

}  // namespace
}  // namespace xeb::laws

using namespace xeb::laws;

int32_t rukdRngBeta(int32_t, RukStream* stream, int32_t n, double* r, double p, double q, double a,
                    double beta) {
    const xeb::frame::StreamControlWords words;
    return BetaLaw<double>::draw(stream, n, r, p, q, a, beta);
}
int32_t ruksRngBeta(int32_t, RukStream* stream, int32_t n, float* r, float p, float q, float a,
                    float beta) {
    const xeb::frame::StreamControlWords words;
    return BetaLaw<float>::draw(stream, n, r, p, q, a, beta);
}
