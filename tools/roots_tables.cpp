// Writes vecmath/roots_tables.inc: the band quadratics of the square and
// cube root kernels and their scale constants.
//
// Each band [1 + i/N, 1 + (i+1)/N) of the significand gets the quadratic
// that interpolates the function at the three Chebyshev nodes of the band,
// computed in 113-bit arithmetic and rounded to double.  On a band this
// narrow the Chebyshev interpolant is within a few percent of the minimax
// quadratic.  Rows whose values are already fixed (the first and last of
// each table) are kept as fixed, after checking that they are the same
// polynomial as the fit to well inside the fit's own error.
//
// It also writes vecmath/roots_vector_tables.inc, the start of the cube
// roots of the SIMD kernel classes: one polynomial in t = m - 3/2 for
// m^(-1/3) on [1, 2), interpolating at the Chebyshev nodes, with its
// measured relative error, and the powers 2^(-r/3) of the exponent's
// remainder.
//
// Usage: roots_tables --out <source dir>     writes both files
//        roots_tables --check <source dir>   exit 1 if a committed file differs
#include <quadmath.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "table_output.h"

namespace {

using quad = __float128;

FILE* out = nullptr;  // the text being built

struct Row {
    double a, b, c;
};

struct Fixed {
    int index;
    Row row;
};

quad square_root(quad m) { return sqrtq(m); }
quad inv_sqrt(quad m) { return 1 / sqrtq(m); }
quad cube_root(quad m) { return cbrtq(m); }
quad inv_cube_root(quad m) { return 1 / cbrtq(m); }

quad eval(const Row& r, quad m) { return (r.a * m + r.b) * m + r.c; }

Row chebyshev_quadratic(quad (*f)(quad), quad lo, quad hi) {
    const quad mid = (lo + hi) / 2, half = (hi - lo) / 2;
    quad x[3], y[3];
    for (int k = 0; k < 3; ++k) {
        x[k] = mid - half * cosq(4 * atanq(1) * (2 * k + 1) / 6);
        y[k] = f(x[k]);
    }
    quad a = 0, b = 0, c = 0;
    for (int k = 0; k < 3; ++k) {
        const quad p = x[(k + 1) % 3], q = x[(k + 2) % 3];
        const quad w = y[k] / ((x[k] - p) * (x[k] - q));
        a += w;
        b -= w * (p + q);
        c += w * p * q;
    }
    return {static_cast<double>(a), static_cast<double>(b), static_cast<double>(c)};
}

// Largest relative error of the row against f on [lo, hi], sampled densely.
double fit_error(const Row& r, quad (*f)(quad), quad lo, quad hi) {
    quad worst = 0;
    for (int k = 0; k <= 512; ++k) {
        const quad m = lo + (hi - lo) * k / 512;
        const quad e = fabsq(eval(r, m) / f(m) - 1);
        if (e > worst) worst = e;
    }
    return static_cast<double>(worst);
}

double max_difference(const Row& r, const Row& s, quad (*f)(quad), quad lo, quad hi) {
    quad worst = 0;
    for (int k = 0; k <= 512; ++k) {
        const quad m = lo + (hi - lo) * k / 512;
        const quad e = fabsq((eval(r, m) - eval(s, m)) / f(m));
        if (e > worst) worst = e;
    }
    return static_cast<double>(worst);
}

void table(const char* name, const char* what, int rows, quad (*f)(quad),
           const Fixed* fixed, int nfixed) {
    Row fitted[128];
    double worst = 0;
    for (int i = 0; i < rows; ++i) {
        const quad lo = 1 + static_cast<quad>(i) / rows, hi = 1 + static_cast<quad>(i + 1) / rows;
        fitted[i] = chebyshev_quadratic(f, lo, hi);
        const double err = fit_error(fitted[i], f, lo, hi);
        for (int k = 0; k < nfixed; ++k) {
            if (fixed[k].index != i) continue;
            // The fixed row must be the fitted polynomial up to a small
            // fraction of the fit error; otherwise the fit method is wrong.
            if (max_difference(fixed[k].row, fitted[i], f, lo, hi) > err / 100) {
                std::fprintf(stderr, "%s row %d: fixed row is not the fitted quadratic\n", name, i);
                std::exit(1);
            }
            fitted[i] = fixed[k].row;
        }
        const double e = fit_error(fitted[i], f, lo, hi);
        if (e > worst) worst = e;
    }
    std::fprintf(out, "\n// %s: row i holds (A, B, C) with (A*m + B)*m + C ~ %s for m in\n"
                "// [1 + i/%d, 1 + (i+1)/%d); largest relative error %.3g.\n",
                name, what, rows, rows, worst);
    std::fprintf(out, "constexpr BandQuadratic %s[%d] = {\n", name, rows);
    for (int i = 0; i < rows; ++i)
        std::fprintf(out, "    {%a, %a, %a},\n", fitted[i].a, fitted[i].b, fitted[i].c);
    std::fprintf(out, "};\n");
}

void double_row(const char* name, quad scale, int a, int b, int c) {
    std::fprintf(out, "constexpr double %s[3] = {%a, %a, %a};\n", name,
                static_cast<double>(cbrtq(static_cast<quad>(1 << a)) * scale),
                static_cast<double>(cbrtq(static_cast<quad>(1 << b)) * scale),
                static_cast<double>(cbrtq(static_cast<quad>(1 << c)) * scale));
}

void long_double_constant(const char* name, quad v) {
    char buf[64];
    quadmath_snprintf(buf, sizeof buf, "%.25Qe", v);
    const long double x = static_cast<long double>(v);
    std::fprintf(out, "constexpr long double %s = %LaL;  // %s\n", name, x, buf);
}

void generate() {
    const Fixed root_fixed[] = {
        {0, {0.3713658535287034, -1.242721083338007, 1.8713552252000643}},
        {127, {0.06661619765428384, -0.4432405329094947, 1.3271230568021104}}};
    const Fixed cbrt_fixed[] = {
        {0, {0.2202114925761644, -0.7737504398981617, 1.5535389447714492}},
        {127, {0.04429616349519705, -0.3094674834747907, 1.2354508392096681}}};
    const Fixed cbrt_float_fixed[] = {
        {0, {-0.1096811105113981, 0.5526872031967194, 0.5569939145597629}},
        {63, {-0.03522700014147991, 0.3508934970465587, 0.6990420551996561}}};
    const Fixed inv_cbrt_float_fixed[] = {
        {0, {0.2182298285260913, -0.7697696942924318, 1.551539845558644}},
        {63, {0.04449934047960132, -0.3102784057038237, 1.2362599775376406}}};
    const Fixed ssqrt_fixed[] = {
        {0, {-0.12355107224720996, 0.747093681044062, 0.3764573985459165}},
        {63, {-0.04445455448962813, 0.531370080498454, 0.5292916180079041}}};
    table("rootQuad", "m^(-1/2)", 128, inv_sqrt, root_fixed, 2);
    table("ssqrtQuad", "m^(1/2)", 64, square_root, ssqrt_fixed, 2);
    table("cbrtQuad", "m^(-1/3)", 128, inv_cube_root, cbrt_fixed, 2);
    table("cbrtFloat", "m^(1/3)", 64, cube_root, cbrt_float_fixed, 2);
    table("invCbrtFloat", "m^(-1/3)", 64, inv_cube_root, inv_cbrt_float_fixed, 2);

    std::fprintf(out, "\n// Powers of two by thirds in the 64-bit significand, for the remainder\n"
                "// of the exponent divided by 3.\n");
    long_double_constant("kTwoToTwoThirds", cbrtq(4));
    long_double_constant("kTwoToOneThird", cbrtq(2));
    std::fprintf(out, "\n// The same in doubles, in the row order of the single kernels, and scaled\n"
                "// for the denormal paths, whose inputs are first multiplied by 1e39 (cube\n"
                "// root 1e13) and 1e45 (cube root 1e15).\n");
    std::fprintf(out, "\n// 2^(-(r+1)/3) for r = 0, 1, 2: the start of the double cube root on\n"
                      "// M = m * 2^(r+1).\n");
    std::fprintf(out, "constexpr double cbrtInvSteps[3] = {%a, %a, %a};\n", static_cast<double>(1 / cbrtq(2)),
                 static_cast<double>(1 / cbrtq(4)), 0.5);
    double_row("cbrtRows", 1, 2, 0, 1);
    double_row("cbrtRowsDenormal", 1 / static_cast<quad>(1e13), 2, 0, 1);
    double_row("invCbrtRows", 1, 2, 1, 0);
    double_row("invCbrtRowsDenormal", static_cast<quad>(1e15), 2, 1, 0);
}

// Degree of the vector kernels' start; the relative error it leaves, d,
// becomes 2 d^2 after their Newton step (see vecmath/simd/roots.cpp).
constexpr int kStartDegree = 6;

void vector_tables() {
    constexpr int n = kStartDegree + 1;
    const quad pi = 4 * atanq(1);
    quad t[n], c[n];
    for (int k = 0; k < n; ++k) {
        t[k] = -cosq(pi * (2 * k + 1) / (2 * n)) / 2;  // nodes of [-1/2, 1/2]
        c[k] = inv_cube_root(t[k] + static_cast<quad>(1.5));
    }
    // Newton's divided differences, then the monomial coefficients in t.
    for (int j = 1; j < n; ++j)
        for (int k = n - 1; k >= j; --k) c[k] = (c[k] - c[k - 1]) / (t[k] - t[k - j]);
    quad p[n] = {};
    for (int k = n - 1; k >= 0; --k) {  // p = p * (t - t[k]) + c[k]
        for (int j = n - 1; j > 0; --j) p[j] = p[j - 1] - t[k] * p[j];
        p[0] = c[k] - t[k] * p[0];
    }
    double rounded[n];
    for (int k = 0; k < n; ++k) rounded[k] = static_cast<double>(p[k]);
    quad worst = 0;
    for (int k = 0; k <= 4096; ++k) {
        const quad x = static_cast<quad>(k) / 4096 - static_cast<quad>(0.5);
        quad v = 0;
        for (int j = n - 1; j >= 0; --j) v = v * x + rounded[j];
        const quad e = fabsq(v / inv_cube_root(x + static_cast<quad>(1.5)) - 1);
        if (e > worst) worst = e;
    }
    std::fprintf(out, "\n// cbrtStart[k]: coefficient of t^k, t = m - 3/2, in a polynomial for m^(-1/3)\n"
                      "// on [1, 2); largest relative error %.3g (2^%.1f).\n",
                 static_cast<double>(worst), static_cast<double>(log2q(worst)));
    std::fprintf(out, "const double cbrtStart[%d] = {", n);
    for (int k = 0; k < n; ++k) std::fprintf(out, "%s%a", k ? ", " : "", rounded[k]);
    std::fprintf(out, "};\n");
    std::fprintf(out, "\n// 2^(-r/3) for the remainder r = 0, 1, 2 of the exponent divided by 3\n"
                      "// (the rest 1, for a 16-entry lookup).\n");
    std::fprintf(out, "const double cbrtThirds[16] = {1, %a, %a, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};\n",
                 static_cast<double>(1 / cbrtq(2)), static_cast<double>(1 / cbrtq(4)));
}

}  // namespace

int main(int argc, char** argv) {
    return write_or_check(argc, argv, "roots_tables",
                          {{"vecmath/roots_tables.inc",
                            [](FILE* f) {
                                out = f;
                                generate();
                            }},
                           {"vecmath/roots_vector_tables.inc", [](FILE* f) {
                                out = f;
                                vector_tables();
                            }}});
}
