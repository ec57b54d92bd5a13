// Writes vecmath/pow_tables.inc: the tables of the power kernels, computed in
// 113-bit arithmetic (libquadmath) and rounded once, and their coefficient
// sets.  Sets that are Taylor coefficients are computed here; the fitted
// ones are fixed inputs, fitted once, and the tool measures each one's
// error over its interval on a fine grid and writes it beside the set.
//
// Usage: pow_tables --out <source dir>     writes vecmath/pow_tables.inc
//        pow_tables --check <source dir>   exit 1 if the committed file differs
#include <quadmath.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "table_output.h"

namespace {

using quad = __float128;

FILE* out = nullptr;  // the text being built

// x rounded to `frac` fraction bits at its own binade (to nearest, or toward
// zero when `truncate`).
quad round_bits(quad x, int frac, bool truncate) {
    int e = 0;
    frexpq(x, &e);  // x = f * 2^e, f in [0.5, 1)
    const quad scale = ldexpq(1, frac - (e - 1));
    const quad s = x * scale;
    return (truncate ? truncq(s) : roundq(s)) / scale;
}

// A double with its low 32 bits cleared, toward zero: 20 fraction bits.
double short_double(quad x) { return static_cast<double>(round_bits(static_cast<double>(x), 20, true)); }

void begin(const char* decl, const char* comment) {
    std::fprintf(out, "\n%s\n%s = {\n", comment, decl);
}
void end() { std::fprintf(out, "};\n"); }

void long_double_row(quad v) {
    char buf[48];
    quadmath_snprintf(buf, sizeof buf, "%.21Qe", v);
    std::fprintf(out, "    %LaL,  // %s\n", static_cast<long double>(v), buf);
}

// The reciprocals of the double HA logarithm: 1/ln 2 cut toward zero to 22
// fraction bits, and R0 / c for the rows j >= 1, c = 1 + j/512, rounded to
// 22 fraction bits, so that m * R is exact in two pieces of 26 and 27 bits.
quad rcp_row(int j) {
    static const quad r0 = round_bits(1 / logq(2), 22, true);
    return j == 0 ? r0 : round_bits(r0 / (1 + static_cast<quad>(j) / 512), 22, false);
}

void pow_ha_tables() {
    begin("constexpr double powRcpHi[513]",
          "// powRcpHi: row j is a 23-bit value near 1/(c ln 2), c = 1 + j/512 (see\n"
          "// tools/pow_tables.cpp for the rounding).");
    for (int j = 0; j <= 512; ++j) std::fprintf(out, "    %a,\n", static_cast<double>(rcp_row(j)));
    end();
    begin("constexpr double powLogPair[513][2]",
          "// powLogPair: row j is log2(R0 / R_j) as (hi, lo), less 1 on the rows\n"
          "// j >= 256 whose arguments take the next exponent; hi has 20 fraction bits\n"
          "// (so n + hi is exact), lo the rest.  Then log2(x) = n + hi + lo +\n"
          "// log2(1 + v / R0) with v = m * R_j - R0.");
    for (int j = 0; j <= 512; ++j) {
        const quad t = log2q(rcp_row(0) / rcp_row(j)) - (j >= 256 ? 1 : 0);
        const double hi = short_double(t);
        std::fprintf(out, "    {%a, %a},\n", hi, static_cast<double>(t - hi));
    }
    end();
    begin("constexpr double powExp2Pair[128][2]",
          "// powExp2Pair: row i is 2^(i/128) as (hi, lo), hi rounded to double.");
    for (int i = 0; i < 128; ++i) {
        const quad v = exp2q(static_cast<quad>(i) / 128);
        const double hi = static_cast<double>(v);
        std::fprintf(out, "    {%a, %a},\n", hi, static_cast<double>(v - hi));
    }
    end();
}

void pow_50_tables() {
    begin("constexpr double powLog50[256][3]",
          "// powLog50: row i is (hi, lo, rcp) for c = 1 + i/256: hi + lo = log2(c),\n"
          "// hi rounded to double, and rcp = 1/c rounded to double.");
    for (int i = 0; i < 256; ++i) {
        const quad c = 1 + static_cast<quad>(i) / 256;
        const quad l = log2q(c);
        const double hi = static_cast<double>(l);
        std::fprintf(out, "    {%a, %a, %a},\n", hi, static_cast<double>(l - hi), static_cast<double>(1 / c));
    }
    end();
    struct Steps {
        const char* name;
        int rows;
        int denominator;
    };
    // 2^(i/1024) and 2^(i/32) are the exponential's expMid and expCoarse
    // (vecmath/exp_tables.inc), which the 50 form shares.
    for (const Steps& s : {Steps{"powFine", 16, 16384}}) {
        char decl[64], comment[96];
        std::snprintf(decl, sizeof decl, "constexpr long double %s[%d]", s.name, s.rows);
        std::snprintf(comment, sizeof comment, "// %s: row i is 2^(i/%d) in the 64-bit significand.", s.name,
                      s.denominator);
        begin(decl, comment);
        for (int i = 0; i < s.rows; ++i) long_double_row(exp2q(static_cast<quad>(i) / s.denominator));
        end();
    }
}

// Cubic a0 + a1 m + a2 m^2 + a3 m^3 interpolating log2 at the four Chebyshev
// nodes of [lo, hi].
void cubic_fit(quad lo, quad hi, quad c[4]) {
    const quad mid = (lo + hi) / 2, half = (hi - lo) / 2;
    quad x[4], y[4];
    for (int k = 0; k < 4; ++k) {
        x[k] = mid - half * cosq(4 * atanq(1) * (2 * k + 1) / 8);
        y[k] = log2q(x[k]);
    }
    for (int k = 0; k < 4; ++k) c[k] = 0;
    for (int k = 0; k < 4; ++k) {
        // Lagrange basis polynomial of node k, expanded into powers of m.
        quad p[4] = {1, 0, 0, 0};
        quad denom = 1;
        int deg = 0;
        for (int l = 0; l < 4; ++l) {
            if (l == k) continue;
            for (int d = deg + 1; d > 0; --d) p[d] = p[d - 1] - x[l] * p[d];
            p[0] = -x[l] * p[0];
            ++deg;
            denom *= x[k] - x[l];
        }
        for (int d = 0; d < 4; ++d) c[d] += y[k] * p[d] / denom;
    }
}

quad cubic_at(const double c[4], quad m) { return ((c[3] * m + c[2]) * m + c[1]) * m + c[0]; }

void pow_single_tables() {
    // Row 0 is fixed so that log2(1) comes out as exactly 0; it must agree
    // with the fit to well inside what the single kernel can see.
    const double row0[4] = {-2.642832113567301, 4.321761820781038, -2.157722341080857, 0.47879263386711995};
    double rows[256][4];
    double worst = 0;
    for (int i = 0; i < 256; ++i) {
        const quad lo = 1 + static_cast<quad>(i) / 256, hi = 1 + static_cast<quad>(i + 1) / 256;
        quad c[4];
        cubic_fit(lo, hi, c);
        for (int d = 0; d < 4; ++d) rows[i][d] = static_cast<double>(c[d]);
        if (i == 0) {
            for (int k = 0; k <= 64; ++k) {
                const quad m = lo + (hi - lo) * k / 64;
                if (fabsq(cubic_at(row0, m) - cubic_at(rows[0], m)) > 1e-10) {
                    std::fprintf(stderr, "powCubic row 0: fixed row is not the fitted cubic\n");
                    std::exit(1);
                }
            }
            std::memcpy(rows[0], row0, sizeof row0);
        }
        for (int k = 0; k <= 64; ++k) {
            const quad m = lo + (hi - lo) * k / 64;
            const double e = static_cast<double>(fabsq(cubic_at(rows[i], m) - log2q(m)));
            if (e > worst) worst = e;
        }
    }
    char comment[256];
    std::snprintf(comment, sizeof comment,
                  "// powCubic: row i is (c0, c1, c2, c3) with c0 + c1 m + c2 m^2 + c3 m^3 ~ log2(m)\n"
                  "// for m in [1 + i/256, 1 + (i+1)/256); largest absolute error %.3g.",
                  worst);
    begin("constexpr double powCubic[256][4]", comment);
    for (auto& r : rows) std::fprintf(out, "    {%a, %a, %a, %a},\n", r[0], r[1], r[2], r[3]);
    end();
    begin("constexpr double powExp2Single[64]", "// powExp2Single: row j is 2^(j/64).");
    for (int j = 0; j < 64; ++j) std::fprintf(out, "    %a,\n", static_cast<double>(exp2q(static_cast<quad>(j) / 64)));
    end();
}

// ---- coefficient sets

// Largest error of approx against f on [lo, hi], relative to f (or to
// `scale(x)` when given), on a grid of 2^14 steps.
template <class Approx, class F>
double fit_error(Approx approx, F f, quad lo, quad hi, quad (*scale)(quad) = nullptr) {
    quad worst = 0;
    const int steps = 1 << 14;
    for (int i = 0; i <= steps; ++i) {
        const quad x = lo + (hi - lo) * i / steps;
        const quad want = f(x);
        const quad d = scale ? scale(x) : want;
        if (d == 0) continue;
        const quad e = fabsq((approx(x) - want) / d);
        if (e > worst) worst = e;
    }
    return static_cast<double>(worst);
}

// c[0] + c[1] x + ... in 113 bits, from the stored doubles.
quad poly(const double* c, int count, quad x) {
    quad acc = 0;
    for (int k = count; k-- > 0;) acc = acc * x + c[k];
    return acc;
}

void coefficients(const char* name, const double* c, int count, const char* comment, double error) {
    std::fprintf(out, "\n// %s\n// Measured error 2^%.1f.\nconstexpr double %s[%d] = {", comment, std::log2(error),
                 name, count);
    for (int k = 0; k < count; ++k) std::fprintf(out, "%s%a", k ? ", " : "", c[k]);
    std::fprintf(out, "};\n");
}

// The fitted sets.
const double kLogTail[7] = {0x1.9c3a6966457eep-24, -0x1.62e4346694107p-2, 0x1.47fd462b3b816p-3,
                            -0x1.550472a8bb463p-4, 0x1.7a334ddfc9f86p-5, -0x1.b4ea0e9419f52p-6,
                            0x1.03950cf599c56p-6};
const double kExp2Tail[5] = {0x1.62e42fefa39efp-1, 0x1.ebfbdff82c58ep-3, 0x1.c6b08d704a0bfp-5,
                             0x1.3b2ab6fba4e77p-7, 0x1.5d87fe78a6731p-10};
const double kLog50[6] = {0x1.71547652b82fep+0, -0x1.71547652b82c4p-1, 0x1.ec709dc34a930p-2,
                          -0x1.715474e4f14c2p-2, 0x1.277402e171679p-2, -0x1.e7867dbf08784p-3};
const double kExp2Cubic50[3] = {0x1.62e42fefa39efp-1, 0x1.ebfbdff96783ap-3, 0x1.c6b08d715031fp-5};
const double kExp2Quadratic21[3] = {0x1.ffffffffec4d5p-1, 0x1.62e48530c4cc0p-1, 0x1.ebfc42758c920p-3};

double log_series21[4];  // computed below

quad r0() { return rcp_row(0); }

void pow_coefficients() {
    const quad ln2 = logq(2);
    // Double HA: log2(1 + v/R0) - v on |v| <= 2^-9.4, relative to log2(1 + v/R0).
    const quad v_max = exp2q(quad(-9.4));
    coefficients("powLogTail", kLogTail, 7,
                 "powLogTail (double HA): log2(1 + v/R0) - v ~ v (W1 + W2 v + ... + W7 v^6) on\n"
                 "// |v| <= 2^-9.4, R0 = powRcpHi[0]; error relative to log2(1 + v/R0).",
                 fit_error([](quad v) { return v * poly(kLogTail, 7, v); },
                           [](quad v) { return log2q(1 + v / r0()) - v; }, -v_max, v_max,
                           [](quad v) { return log2q(1 + v / r0()); }));
    coefficients("powExp2Tail", kExp2Tail, 5,
                 "powExp2Tail (double HA): 2^f - 1 ~ f (E1 + E2 f + ... + E5 f^4) on |f| <= 2^-8;\n"
                 "// error relative to 2^f.",
                 fit_error([](quad f) { return f * poly(kExp2Tail, 5, f); }, [](quad f) { return exp2q(f) - 1; },
                           -quad(0x1p-8), quad(0x1p-8), [](quad f) { return exp2q(f); }));
    coefficients("powLogSeries50", kLog50, 6,
                 "powLogSeries50 (double 50): log2(1 + r) ~ r (Q1 + Q2 r + ... + Q6 r^5) on [0, 2^-8);\n"
                 "// error relative to log2(1 + r).",
                 fit_error([](quad r) { return r * poly(kLog50, 6, r); }, [](quad r) { return log2q(1 + r); },
                           quad(0x1p-40), quad(0x1p-8)));
    coefficients("powExp2Cubic50", kExp2Cubic50, 3,
                 "powExp2Cubic50 (double 50): 2^f ~ 1 + f (C1 + C2 f + C3 f^2) on |f| <= 2^-15.",
                 fit_error([](quad f) { return 1 + f * poly(kExp2Cubic50, 3, f); }, exp2q, -quad(0x1p-15), quad(0x1p-15)));
    // Single 21: the series of log2(1 + s), (-1)^(k+1) / (k ln 2) rounded to
    // double, for s in [-2^-9, 2^-8).
    for (int k = 1; k <= 4; ++k) log_series21[k - 1] = static_cast<double>((k % 2 ? 1 : -1) / (k * ln2));
    coefficients("powLog2Series21", log_series21, 4,
                 "powLog2Series21 (single 21): log2(1 + s) ~ s (L1 + L2 s + L3 s^2 + L4 s^3), the\n"
                 "// series rounded to double, on [-2^-9, 2^-8); error relative to log2(1 + s).",
                 fit_error([](quad s) { return s * poly(log_series21, 4, s); }, [](quad s) { return log2q(1 + s); },
                           -quad(0x1p-9), quad(0x1p-8)));
    coefficients("powExp2Quadratic21", kExp2Quadratic21, 3,
                 "powExp2Quadratic21 (single 21): 2^f ~ P0 + P1 f + P2 f^2 on |f| <= 2^-7.",
                 fit_error([](quad f) { return poly(kExp2Quadratic21, 3, f); }, exp2q, -quad(0x1p-7), quad(0x1p-7)));
}

void generate() {
    pow_ha_tables();
    pow_50_tables();
    pow_single_tables();
    pow_coefficients();
}

}  // namespace

int main(int argc, char** argv) {
    return write_or_check(argc, argv, "pow_tables", {{"vecmath/pow_tables.inc", [](FILE* f) {
                                                         out = f;
                                                         generate();
                                                     }}});
}
