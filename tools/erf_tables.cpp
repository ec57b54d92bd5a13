// Writes vecmath/erf_tables.inc: the rows of the error function kernels,
// their exponential table and the coefficient sets they use as given.
//
//   erfRows         22 rows about the midpoints c of |x| in [0.125, 0.15625),
//                   [0.15625, 0.1875), ... four a binade, the last from 5 to
//                   the limit 5.921587195794508: erf(c), erf'(c), erf''(c)/2
//                   as pairs, and the orders 3 to 14 of a polynomial in
//                   t = |x| - c whose three lowest orders are those values.
//   erfcRows        20 rows, floor(4 log2(1 + |x|)) = i, about the points c
//                   listed below: rows 0 to 5 expand erfc(x), rows 6 to 19
//                   exp(x^2) erfc(x); orders 0 to 5 as pairs, 6 to 15 plain.
//   erfcRowsSingle  the same for the single kernel, fitted on the rows'
//                   intervals up to its own upper limit (rows wholly beyond
//                   it are never reached and hold zeros).
//   erfcExp2        2^(j/64) as pairs, j = 0 to 63.
//   erfSeries, erfcExpPoly   the series of erf below 0.125 and the
//                   polynomial of e^r - 1 on |r| <= ln 2/128: fixed inputs,
//                   measured here.
//
// Why the orders 3 to 14 of erfRows are fitted, not Taylor coefficients:
// erf(c + t) varies as e^(-2ct), and a Taylor polynomial of degree 14 about
// the midpoint leaves a relative error of 2^-46 in row 20 (|x| from 4 to 5,
// 2ct up to 4.5: over a hundred ulp) and 2^-50 in row 16.  The fit keeps
// erf, erf' and erf''/2 at c as the pairs say; below 1, where the Taylor
// polynomial is as good, the two differ by nothing the kernel can see (the
// rounding of the order-3 coefficient to a double decides both errors).
// The tool writes the Taylor error beside the fitted one in every row.
//
// Every value is computed with MPFR at 320 bits.  The fits interpolate at
// the Chebyshev nodes of their interval (within a small factor of the
// minimax error, and far below a double's resolution here); each interval
// is widened by 2^-30 of its ends, as the kernel's index may fall a few
// ulps on either side of a boundary.  Errors are measured on 2001 points
// per row, relative to the function, with the coefficients as rounded.
//
// usage: erf_tables --out|--check <source dir>
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "mpfr_big.h"
#include "table_output.h"

namespace {

using Fn = std::function<Big(const Big&)>;

constexpr double kErfLimit = 0x1.7afb48dc96628p+2;     // 5.921587195794508
constexpr double kErfcLimit = 0x1.b39dc41e48bfdp+4;    // 27.226017111108366
constexpr double kErfcLimitSingle = 0x1.41bbf700dc3fbp+3;  // 10.054194928818097
constexpr double kErfcCentres[20] = {0.125, 0.3125, 0.625, 1.25, 1.5, 1.5, 2.5, 3, 3, 5,
                                     6,     6,      10,    12,   12,  12,  20,  24, 24, 24};
constexpr int kErfcLastDirectRow = 5;  // rows up to here expand erfc itself
constexpr double kWiden = 0x1p-30;
constexpr int kMeasurePoints = 513;

// Series of erf below 0.125, as the kernel takes them: 2/sqrt(pi) x and
// -2/(3 sqrt(pi)) x^3 as pairs, then x^3 z (S5 + z (S7 + ... + z S13)),
// z = x^2.
constexpr double kTwoOverRootPi[2] = {0x1.20dd75p+0, 0x1.0a6db446b8ea4p-30};
constexpr double kMinusTwoOverThreeRootPi[2] = {-0x1.8127468p-2, -0x1.81bcf35cfdb21p-29};
constexpr double kErfSeries[5] = {0x1.ce2f21a042b41p-4, -0x1.b82ce31247c36p-6, 0x1.565bcc4d1d139p-8,
                                  -0x1.c02b6e14edcedp-11, 0x1.f644dd9e75958p-14};
// e^r - 1 ~ r + r^2 (P2 + r (P3 + r (P4 + r (P5 + r P6)))).
constexpr double kExpPoly[5] = {0x1p-1, 0x1.55555555548f8p-3, 0x1.5555555558fccp-5, 0x1.111123aaf20d3p-7,
                                0x1.6c16a1c2a3ffdp-10};

Big big_erf(const Big& x) { return apply(mpfr_erf, x); }
Big big_erfc(const Big& x) { return apply(mpfr_erfc, x); }
Big big_exp(const Big& x) { return apply(mpfr_exp, x); }
Big scaled_erfc(const Big& x) { return big_exp(x * x) * big_erfc(x); }
Big abs_of(const Big& x) { return apply(mpfr_abs, x); }
Big ratio(long num, long den) { return Big(static_cast<double>(num)) / Big(static_cast<double>(den)); }
Big two_over_root_pi() { return Big(2.0) / sqrt_of(pi()); }

// A value as the pair {hi, lo}: hi rounded to 53 bits, lo the rest rounded.
struct Pair {
    double hi, lo;
};
Pair split(const Big& x) {
    const double hi = x.d();
    return {hi, (x - Big(hi)).d()};
}
Big value(const Pair& p) { return Big(p.hi) + Big(p.lo); }
std::string text(const Pair& p) { return "{" + hex(p.hi) + ", " + hex(p.lo) + "}"; }

// log2 of a relative error, for the comments ("2^-71.3"); exact zeros say so.
std::string log2_text(const Big& e) {
    if (mpfr_zero_p(e.v)) return "0";
    char buf[32];
    std::snprintf(buf, sizeof buf, "2^%.1f", std::log2(e.d()));
    return buf;
}

// sum_k coef[k] t^k
Big polynomial(const std::vector<Big>& coef, const Big& t) {
    Big acc;
    for (std::size_t k = coef.size(); k-- > 0;) acc = acc * t + coef[k];
    return acc;
}

// The k-th Chebyshev node of [lo, hi] among n.
Big chebyshev_node(const Big& lo, const Big& hi, int k, int n) {
    const Big half = Big(0.5);
    return (lo + hi) * half + (hi - lo) * half * cos_of(pi() * ratio(2 * k + 1, 2 * n));
}

// Coefficients of the polynomial of degree n - 1 in t through f at the
// Chebyshev nodes of t in [lo, hi].
std::vector<Big> interpolate(const Fn& f, const Big& lo, const Big& hi, int n) {
    std::vector<std::vector<Big>> m(n, std::vector<Big>(n));
    std::vector<Big> rhs(n);
    for (int i = 0; i < n; ++i) {
        const Big t = chebyshev_node(lo, hi, i, n);
        rhs[i] = f(t);
        Big power(1.0);
        for (int k = 0; k < n; ++k, power = power * t) m[i][k] = power;
    }
    return solve(m, rhs);
}

// Largest |p(t) / f(t) - 1| on kMeasurePoints points of [lo, hi].
Big relative_error(const Fn& p, const Fn& f, const Big& lo, const Big& hi) {
    Big worst;
    for (int i = 0; i < kMeasurePoints; ++i) {
        const Big t = lo + (hi - lo) * ratio(i, kMeasurePoints - 1);
        const Big e = abs_of(p(t) / f(t) - Big(1.0));
        if (mpfr_cmp(e.v, worst.v) > 0) worst = e;
    }
    return worst;
}

// ---------------------------------------------------------------- erf

// Row i covers [lo, hi): four rows a binade from 0.125, the last cut at
// the limit.
void erf_interval(int i, double& lo, double& hi) {
    lo = std::ldexp(0.125, i / 4) * (1 + (i % 4) / 4.0);
    hi = i == 21 ? kErfLimit : std::ldexp(0.125, i / 4) * (1 + (i % 4 + 1) / 4.0);
}

void write_erf_rows(std::FILE* out) {
    std::fprintf(out,
                 "// erfRows[i]: erf(c + t) ~ value + slope t + curve t^2 + t^3 (higher[0] + higher[1] t\n"
                 "// + ... + higher[11] t^11) for |x| = c + t in the row's interval, c its midpoint:\n"
                 "// value, slope, curve are erf(c), erf'(c), erf''(c)/2 as pairs (hi to 53 bits,\n"
                 "// lo the rest); higher[] is fitted with those three fixed.  Each row's comment\n"
                 "// gives its interval, the fit's relative error and, for comparison, that of\n"
                 "// the Taylor polynomial of the same degree.\n");
    std::fprintf(out, "constexpr ErfRow erfRows[22] = {\n");
    for (int i = 0; i < 22; ++i) {
        double lo_d, hi_d;
        erf_interval(i, lo_d, hi_d);
        const Big c = (Big(lo_d) + Big(hi_d)) * Big(0.5);
        const double c_d = c.d();
        const Big cb(c_d);
        const Big slope_exact = two_over_root_pi() * big_exp(Big(0.0) - cb * cb);
        const Pair value_pair = split(big_erf(cb)), slope_pair = split(slope_exact);
        const Pair curve_pair = split(Big(0.0) - cb * slope_exact);
        const Big v = value(value_pair), s = value(slope_pair), q = value(curve_pair);
        const Big t_lo = Big(lo_d * (1 - kWiden)) - cb, t_hi = Big(hi_d * (1 + kWiden)) - cb;
        const Fn rest = [&](const Big& t) { return (big_erf(cb + t) - (v + t * (s + t * q))) / (t * t * t); };
        const std::vector<Big> fitted = interpolate(rest, t_lo, t_hi, 12);
        std::vector<double> higher;
        for (const Big& a : fitted) higher.push_back(a.d());
        // The Taylor coefficients of orders 3 to 14, for the comparison:
        // erf^(k)(c) / k! = 2/sqrt(pi) (-1)^(k-1) H_(k-1)(c) e^(-c^2) / k!.
        std::vector<Big> hermite{Big(1.0), Big(2.0) * cb};
        for (int n = 1; n < 14; ++n)
            hermite.push_back(Big(2.0) * cb * hermite[n] - Big(2.0 * n) * hermite[n - 1]);
        std::vector<Big> taylor;
        Big factorial(6.0);
        for (int k = 3; k <= 14; ++k) {
            if (k > 3) factorial = factorial * Big(static_cast<double>(k));
            const Big a = slope_exact * hermite[k - 1] / factorial;
            taylor.push_back((k - 1) % 2 ? Big(0.0) - a : a);
        }
        auto with = [&](const std::vector<Big>& h) {
            return [&, h](const Big& t) { return v + t * (s + t * q) + t * t * t * polynomial(h, t); };
        };
        std::vector<Big> rounded;
        for (double a : higher) rounded.push_back(Big(a));
        const Fn f = [&](const Big& t) { return big_erf(cb + t); };
        const Big fit_error = relative_error(with(rounded), f, t_lo, t_hi);
        std::vector<Big> taylor_rounded;
        for (const Big& a : taylor) taylor_rounded.push_back(Big(a.d()));
        const Big taylor_error = relative_error(with(taylor_rounded), f, t_lo, t_hi);
        std::fprintf(out, "    // row %d: [%.17g, %.17g), c = %.17g; error %s (Taylor: %s)\n", i, lo_d, hi_d, c_d,
                     log2_text(fit_error).c_str(), log2_text(taylor_error).c_str());
        std::fprintf(out, "    {%s,\n     %s, %s, %s,\n     {", hex(-c_d).c_str(), text(value_pair).c_str(),
                     text(slope_pair).c_str(), text(curve_pair).c_str());
        for (std::size_t k = 0; k < higher.size(); ++k)
            std::fprintf(out, "%s%s", k ? (k % 4 ? ", " : ",\n      ") : "", hex(higher[k]).c_str());
        std::fprintf(out, "}},\n");
    }
    std::fprintf(out, "};\n\n");
}

// ---------------------------------------------------------------- erfc

// Row i covers |x| with floor(4 log2(1 + |x|)) = i.
void erfc_interval(int i, double& lo, double& hi) {
    lo = std::exp2(i / 4.0) - 1;
    hi = std::exp2((i + 1) / 4.0) - 1;
}

void write_erfc_rows(std::FILE* out, const char* name, double limit) {
    std::fprintf(out, "constexpr ErfcRow %s[20] = {\n", name);
    for (int i = 0; i < 20; ++i) {
        double lo_d, hi_d;
        erfc_interval(i, lo_d, hi_d);
        const double c_d = kErfcCentres[i];
        if (lo_d >= limit) {
            std::fprintf(out, "    // row %d: [%.17g, %.17g): beyond the limit, never reached\n    {},\n", i, lo_d,
                         hi_d);
            continue;
        }
        hi_d = std::min(hi_d, limit);
        const Big cb(c_d);
        const bool direct = i <= kErfcLastDirectRow;
        const Fn f = [&](const Big& t) { return direct ? big_erfc(cb + t) : scaled_erfc(cb + t); };
        const Big t_lo = Big(lo_d * (1 - kWiden)) - cb, t_hi = Big(hi_d * (1 + kWiden)) - cb;
        const std::vector<Big> fitted = interpolate(f, t_lo, t_hi, 16);
        std::vector<Pair> low;
        std::vector<double> high;
        std::vector<Big> rounded;
        for (int k = 0; k < 16; ++k) {
            if (k < 6) {
                low.push_back(split(fitted[k]));
                rounded.push_back(value(low.back()));
            } else {
                high.push_back(fitted[k].d());
                rounded.push_back(Big(high.back()));
            }
        }
        const Fn p = [&](const Big& t) { return polynomial(rounded, t); };
        const Big error = relative_error(p, f, t_lo, t_hi);
        std::fprintf(out, "    // row %d: [%.17g, %.17g), c = %g, %s; error %s\n", i, lo_d, hi_d, c_d,
                     direct ? "erfc(x)" : "exp(x^2) erfc(x)", log2_text(error).c_str());
        std::fprintf(out, "    {%s,\n     {", hex(-c_d).c_str());
        for (int k = 0; k < 6; ++k) std::fprintf(out, "%s%s", k ? (k % 2 ? ", " : ",\n      ") : "", text(low[k]).c_str());
        std::fprintf(out, "},\n     {");
        for (int k = 0; k < 10; ++k)
            std::fprintf(out, "%s%s", k ? (k % 4 ? ", " : ",\n      ") : "", hex(high[k]).c_str());
        std::fprintf(out, "}},\n");
    }
    std::fprintf(out, "};\n\n");
}

// ---------------------------------------------------------------- fixed sets

// erf(x) against the series on (0, 0.125], relative.
Big series_error() {
    const Big a = value({kTwoOverRootPi[0], kTwoOverRootPi[1]});
    const Big b = value({kMinusTwoOverThreeRootPi[0], kMinusTwoOverThreeRootPi[1]});
    std::vector<Big> s;
    for (double c : kErfSeries) s.push_back(Big(c));
    const Fn p = [&](const Big& x) {
        const Big z = x * x;
        return a * x + b * x * z + x * z * z * polynomial(s, z);
    };
    return relative_error(p, big_erf, Big(0x1p-40), Big(0.125));
}

// 1 + (e^r - 1 by the polynomial) against e^r on |r| <= ln 2 / 128.
Big exp_poly_error() {
    std::vector<Big> c;
    for (double k : kExpPoly) c.push_back(Big(k));
    const Fn p = [&](const Big& r) { return Big(1.0) + r + r * r * polynomial(c, r); };
    const Big bound = apply(mpfr_log, Big(2.0)) / Big(128.0);
    return relative_error(p, big_exp, Big(0.0) - bound, bound);
}

void write_fixed_sets(std::FILE* out) {
    std::fprintf(out,
                 "// erfSeriesLead: 2/sqrt(pi) (bits 0x3FF20DD750000000, 0x3E10A6DB446B8EA4) and\n"
                 "// -2/(3 sqrt(pi)) (0xBFD8127468000000, 0xBE281BCF35CFDB21) as pairs whose\n"
                 "// high parts have 26 significant bits at most, so that their products with\n"
                 "// the 27-bit halves of a split are exact.\n");
    std::fprintf(out, "constexpr Pair erfSeriesLead[2] = {%s, %s};\n\n",
                 text({kTwoOverRootPi[0], kTwoOverRootPi[1]}).c_str(),
                 text({kMinusTwoOverThreeRootPi[0], kMinusTwoOverThreeRootPi[1]}).c_str());
    std::fprintf(out,
                 "// erfSeries: erf(x) ~ 2/sqrt(pi) x - 2/(3 sqrt(pi)) x^3 + x^3 z (S5 + z (S7 + z (S9\n"
                 "// + z (S11 + z S13)))), z = x^2, for |x| below 0.125: S5 to S13; relative\n"
                 "// error %s.\n",
                 log2_text(series_error()).c_str());
    std::fprintf(out, "constexpr double erfSeries[5] = {");
    for (int k = 0; k < 5; ++k) std::fprintf(out, "%s%s", k ? ", " : "", hex(kErfSeries[k]).c_str());
    std::fprintf(out, "};\n\n");
    std::fprintf(out,
                 "// erfcExpPoly: e^r - 1 ~ r + r^2 (P2 + r (P3 + r (P4 + r (P5 + r P6)))) on |r| <=\n"
                 "// ln 2/128: P2 to P6; relative error of e^r %s.\n",
                 log2_text(exp_poly_error()).c_str());
    std::fprintf(out, "constexpr double erfcExpPoly[5] = {");
    for (int k = 0; k < 5; ++k) std::fprintf(out, "%s%s", k ? ", " : "", hex(kExpPoly[k]).c_str());
    std::fprintf(out, "};\n\n");
}

void write_exp2(std::FILE* out) {
    std::fprintf(out, "// erfcExp2[j] = 2^(j/64) as a pair (hi to 53 bits, lo the rest).\n");
    std::fprintf(out, "constexpr Pair erfcExp2[64] = {\n");
    for (int j = 0; j < 64; ++j) {
        const Pair p = split(apply(mpfr_exp2, ratio(j, 64)));
        std::fprintf(out, "    %s,\n", text(p).c_str());
    }
    std::fprintf(out, "};\n");
}

void generate(std::FILE* out) {
    std::fprintf(out, "\n");
    write_erf_rows(out);
    write_fixed_sets(out);
    std::fprintf(out,
                 "// erfcRows[i], for |x| with floor(4 log2(1 + |x|)) = i: sum of coefficient k\n"
                 "// times t^k, t = |x| - c, k = 0 to 15, orders 0 to 5 as pairs; rows 0 to 5\n"
                 "// approximate erfc(|x|), rows 6 to 19 exp(x^2) erfc(|x|).  Each row's comment\n"
                 "// gives its interval and the relative error of the rounded coefficients.\n");
    write_erfc_rows(out, "erfcRows", kErfcLimit);
    std::fprintf(out, "// erfcRowsSingle: the same for the single kernel, up to its limit %.17g.\n",
                 kErfcLimitSingle);
    write_erfc_rows(out, "erfcRowsSingle", kErfcLimitSingle);
    write_exp2(out);
}

}  // namespace

int main(int argc, char** argv) {
    return write_or_check(argc, argv, "erf_tables", {{"vecmath/erf_tables.inc", generate}});
}
