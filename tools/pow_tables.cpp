// Writes vecmath/pow_tables.inc: the tables of the power kernels, computed in
// 113-bit arithmetic (libquadmath) and rounded once.
//
// Usage: pow_tables --out <source dir>     writes vecmath/pow_tables.inc
//        pow_tables --check <source dir>   exit 1 if the committed file differs
#include <quadmath.h>

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
    for (const Steps& s : {Steps{"powFine", 16, 16384}, Steps{"powMid", 32, 1024}, Steps{"powCoarse", 32, 32}}) {
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

void generate() {
    std::fprintf(out, "// generated by tools/pow_tables; do not edit.\n");
    pow_ha_tables();
    pow_50_tables();
    pow_single_tables();
}

}  // namespace

int main(int argc, char** argv) {
    return write_or_check(argc, argv, "pow_tables", "vecmath/pow_tables.inc", [](FILE* f) {
        out = f;
        generate();
    });
}
