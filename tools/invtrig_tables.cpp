// Writes the coefficient sets of the arcsine, arccosine and arctangent
// kernels, each with its error measured here in 113-bit __float128 on a
// grid of 4097 points over the interval the kernel uses it on:
//
//   vecmath/invtrig_tables.inc         the vector kernels (vecmath/invtrig.cpp)
//   vecmath/scalar_helpers_tables.inc  the scalar arctangents (vecmath/scalar_helpers.cpp)
//
// Most sets are fixed inputs (the bits below), fitted once: the tool checks
// them and writes their error beside them.  The set of the single _21 arcsine
// is fitted here: a minimax polynomial by the Remez exchange (relative error
// of the arcsine, 5 coefficients), rounded to float.  The centre tables are
// checked too: atan(c) as a high and a low part must be atan(c) to within
// the precision of the pair.
//
// usage: invtrig_tables --out|--check <source dir>
#include <quadmath.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>

#include "table_output.h"

namespace {

using quad = __float128;
using Approx = std::function<quad(quad)>;

const quad kPi = 4 * atanq(1);  // no Q literals in standard C++

double from_bits(uint64_t u) {
    double d;
    std::memcpy(&d, &u, sizeof d);
    return d;
}

std::vector<double> from_bits(const std::vector<uint64_t>& v) {
    std::vector<double> out;
    for (uint64_t u : v) out.push_back(from_bits(u));
    return out;
}

// Horner from the first (highest) coefficient.
quad horner(const std::vector<double>& c, quad x) {
    quad acc = 0;
    for (double v : c) acc = acc * x + v;
    return acc;
}

// c[0] + c[1] x + ... (lowest first).
quad ascending(const std::vector<double>& c, quad x) {
    quad acc = 0;
    for (std::size_t k = c.size(); k-- > 0;) acc = acc * x + c[k];
    return acc;
}

// Largest |approx / f - 1| on a grid of [lo, hi] (f nonzero on it but maybe at lo).
double relative_error(const Approx& approx, const Approx& f, quad lo, quad hi) {
    quad worst = 0;
    for (int k = 0; k <= 4096; ++k) {
        const quad x = lo + (hi - lo) * k / 4096;
        const quad ref = f(x);
        if (ref == 0) continue;
        const quad e = fabsq(approx(x) / ref - 1);
        if (e > worst) worst = e;
    }
    return static_cast<double>(worst);
}

void print_array(std::FILE* out, const char* type, const char* name, const std::vector<double>& c) {
    std::fprintf(out, "inline constexpr %s %s[%zu] = {", type, name, c.size());
    for (std::size_t k = 0; k < c.size(); ++k)
        std::fprintf(out, "%s%a%s", k ? ", " : "", c[k], std::strcmp(type, "float") == 0 ? "f" : "");
    std::fprintf(out, "};\n");
}

// A comment (lines without the leading "// "), the measured error, the arrays.
void coefficient_set(std::FILE* out, const char* comment, double error,
                     std::initializer_list<std::pair<const char*, std::vector<double>>> arrays,
                     const char* type = "double") {
    std::fprintf(out, "\n");
    for (const char* p = comment; *p;) {
        const char* end = std::strchr(p, '\n');
        const std::size_t len = end ? static_cast<std::size_t>(end - p) : std::strlen(p);
        std::fprintf(out, "// %.*s\n", static_cast<int>(len), p);
        p += len + (end ? 1 : 0);
    }
    std::fprintf(out, "// Largest relative error 2^%.1f.\n", std::log2(error));
    for (const auto& [name, c] : arrays) print_array(out, type, name, c);
}

std::vector<double> to_float(std::vector<double> c) {
    for (double& v : c) v = static_cast<float>(v);
    return c;
}

// Solves m x = b (Gaussian elimination, partial pivoting).
std::vector<quad> solve(std::vector<std::vector<quad>> m, std::vector<quad> b) {
    const std::size_t n = b.size();
    for (std::size_t c = 0; c < n; ++c) {
        std::size_t p = c;
        for (std::size_t r = c + 1; r < n; ++r)
            if (fabsq(m[r][c]) > fabsq(m[p][c])) p = r;
        std::swap(m[c], m[p]);
        std::swap(b[c], b[p]);
        for (std::size_t r = c + 1; r < n; ++r) {
            const quad f = m[r][c] / m[c][c];
            for (std::size_t k = c; k < n; ++k) m[r][k] -= f * m[c][k];
            b[r] -= f * b[c];
        }
    }
    std::vector<quad> x(n);
    for (std::size_t c = n; c-- > 0;) {
        quad acc = b[c];
        for (std::size_t k = c + 1; k < n; ++k) acc -= m[c][k] * x[k];
        x[c] = acc / m[c][c];
    }
    return x;
}

// Minimax fit of g(z) ~ sum_k c[k] z^(k+1), k < count, on [lo, hi] with the
// error weighted by w(z), by the Remez exchange on a grid: solve for the
// equioscillating error at count+1 reference points, move the reference to
// the extrema of the error (one per sign run, trimmed at the weaker end),
// repeat.  Coefficients lowest power first.
std::vector<double> remez(const Approx& g, const Approx& w, quad lo, quad hi, int count) {
    const int refs = count + 1, grid = 8192;
    std::vector<quad> ref(refs);
    for (int i = 0; i < refs; ++i)  // Chebyshev extrema, lo excluded (the error vanishes there)
        ref[i] = lo + (hi - lo) * (1 - cosq(kPi * (i + 1) / refs)) / 2;
    std::vector<quad> c(count);
    for (int iteration = 0; iteration < 30; ++iteration) {
        std::vector<std::vector<quad>> m(refs, std::vector<quad>(refs));
        std::vector<quad> b(refs);
        for (int i = 0; i < refs; ++i) {
            for (int k = 0; k < count; ++k) m[i][k] = powq(ref[i], k + 1);
            m[i][count] = (i % 2 ? -1 : 1) / w(ref[i]);
            b[i] = g(ref[i]);
        }
        const std::vector<quad> x = solve(m, b);
        std::copy(x.begin(), x.begin() + count, c.begin());
        auto error = [&](quad z) {
            quad p = 0;
            for (int k = count; k-- > 0;) p = (p + c[k]) * z;
            return (p - g(z)) * w(z);
        };
        std::vector<quad> peaks;  // the extremum of each sign run
        quad best = 0, best_z = 0;
        int sign = 0;
        for (int k = 1; k <= grid; ++k) {
            const quad z = lo + (hi - lo) * k / grid, e = error(z);
            const int s = e > 0 ? 1 : -1;
            if (s != sign && sign != 0) peaks.push_back(best_z), best = 0;
            sign = s;
            if (fabsq(e) >= best) best = fabsq(e), best_z = z;
        }
        peaks.push_back(best_z);
        while (static_cast<int>(peaks.size()) > refs) {
            if (fabsq(error(peaks.front())) < fabsq(error(peaks.back()))) peaks.erase(peaks.begin());
            else peaks.pop_back();
        }
        if (static_cast<int>(peaks.size()) < refs) break;  // converged as far as the grid sees
        ref = peaks;
    }
    return std::vector<double>(c.begin(), c.end());
}

// ---- fixed inputs -------------------------------------------------------

// Double arcsine and arccosine: Horner chains from the highest coefficient.
const std::vector<uint64_t> kAsinA = {0x3FA0D60D1986AEC6, 0x3F96825C16316F03, 0x3F8622CB270118B0, 0x3F8CA247EB6664E5,
                                      0x3F96E8BE19F6199D, 0x3FA6DB6DB724FE19, 0x3FC5555555555579};
const std::vector<uint64_t> kAsinB = {0xBF95E9019191BE85, 0x3F6D768B20A865AC, 0x3F8755BDEFC292C9, 0x3F91C49BD43E63F7,
                                      0x3F9F1C71A7CEDD43, 0x3FB333333332DC42};
const std::vector<uint64_t> kAsinC = {0x3EE752D6D7B6A76A, 0x3EFCB7B004104341, 0x3F11AA10C6C1972D, 0x3F3923EA17042897,
                                      0x3F65FFB73B0E316F, 0x3F9B27247B05BFC1};
const std::vector<uint64_t> kAsinD = {0xBEE826EBF7639956, 0x3EF291F6E4E3284A, 0x3F2419E6B35C530E, 0x3F5032E82C4C12C0,
                                      0x3F802995B4ADA56E};
const uint64_t kAsinE = 0x3FBE2B7DDDFEF685;
// The 80-bit square root of 2 (sign and exponent 0x3FFF, significand 0xB504F333F9DE6544).
const long double kRoot2 = 0xb.504f333f9de6544p-3L;

// Double arctangent: the polynomial, ascending (t - t z (p0 + p1 z + ...)),
// and the centres c, 1 + c^2, atan(c) high and low; row 4 is the far class.
const std::vector<uint64_t> kAtanPoly = {0x3FD5555555555509, 0xBFC999999998E492, 0x3FC2492491FDFC9C,
                                         0xBFBC71C6FD40E520, 0x3FB745CDAE905490, 0xBFB3B0F1459B9FD4,
                                         0x3FB10D58403897A0, 0xBFADDD7216B6A1B8, 0x3FA9785816AC714D,
                                         0xBFA2AD8F0C29B3CB, 0x3F90A0140B247B6E};
struct Centre {
    double c, one_plus_c2;
    uint64_t hi, lo;
};
const Centre kAtanCentres[5] = {{0.0, 1.0, 0, 0},
                                {0.5, 1.25, 0x3FDDAC670561BB4F, 0x3C7A2B7F222F65E2},
                                {1.0, 2.0, 0x3FE921FB54442D18, 0x3C81A62633145C07},
                                {1.5, 3.25, 0x3FEF730BD281F69B, 0x3C7007887AF0CBBD},
                                {0.0, 0.0, 0x3FF921FB54442D18, 0x3C91A62633145C07}};

// Single arcsine, ascending p1..p5: asin y ~ y + y (p1 z + ... + p5 z^5), z = y^2.
const std::vector<double> kAsinSingle = {0.16666752099990845, 0.07495297491550446, 0.04547037556767464,
                                         0.02417951636016369, 0.04216630756855011};
// Single arctangent, ascending a0..a4: atan t ~ t + t z (a0 + a1 z + ... + a4 z^4).
const std::vector<double> kAtanSingle = {-0.3333330452442169, 0.1999773383140564, -0.14229515194892883,
                                         0.10490341484546661, -0.05817991867661476};
// Its centres 0, 0.53125, 1 and the far class, atan(c) as a pair of floats.
const double kAtanSingleCentre[4] = {0.0, 0.53125, 1.0, 0.0};
const std::vector<double> kAtanSinglePairs = {0.0, 0.0, 0.484375, 0.003958951216191053,
                                              0.75, 0.03539816290140152, 1.5625, 0.008296326734125614};

// Scalar arctangent of a float: atan z ~ z + z s q(s), q from the highest
// coefficient; its band centres and bases.
const std::vector<uint64_t> kScalarAtan = {0x3FB5C9F1C79AA128, 0xBFC1EAAE8E4CEF8F, 0x3FC995576336FFC8,
                                           0xBFD5554D99939DA6};
// Scalar two-argument arctangent: atan z ~ z p(s), p from the highest coefficient.
const std::vector<uint64_t> kScalarAtan2 = {0x3F6758A6ECE26A15, 0xBF90744B79FA4C68, 0x3FA5DBA9B6416141,
                                            0xBFB33603B7747C3C, 0x3FBB3DA47DC4BC7A, 0xBFC22E400E7F97E8,
                                            0x3FC9972E7842A425, 0xBFD5554A6DBB1614, 0x3FEFFFFFF7D2397A};

// ---- checks -------------------------------------------------------------

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "invtrig_tables: %s\n", what);
    std::exit(1);
}

// |hi + lo - atan(c)| relative, which must be below `tolerance`.
void check_pair(double c, double hi, double lo, double tolerance, const char* what) {
    const quad ref = atanq(c), pair = static_cast<quad>(hi) + lo;
    if (ref == 0 ? pair != 0 : fabsq(pair / ref - 1) > tolerance) fail(what);
}

quad asin_over_y_less_one(quad z) { return z == 0 ? 0 : asinq(sqrtq(z)) / sqrtq(z) - 1; }

void kernel_sets(std::FILE* out) {
    std::fprintf(out, "// Coefficient sets of vecmath/invtrig.cpp, with the error of each as a\n"
                      "// function (exact arithmetic on the coefficients as stored).\n");
    const std::vector<double> a = from_bits(kAsinA), b = from_bits(kAsinB);
    const double asin_small = relative_error(
        [&](quad x) {
            const quad z = x * x, w = z * z;
            return x + x * (horner(a, w) * z + horner(b, w) * w);
        },
        [](quad x) { return asinq(x); }, 0, 0.5);
    coefficient_set(out,
                    "Double arcsine, |x| < 0.5: asin x ~ x + x (z A(w) + w B(w)), z = x^2, w = z^2;\n"
                    "A and B in Horner order from the highest coefficient.",
                    asin_small, {{"asinA", a}, {"asinB", b}});
    const std::vector<double> c = from_bits(kAsinC), d = from_bits(kAsinD);
    const double e = from_bits(kAsinE);
    const double asin_large = relative_error(
        [&](quad u) {
            const quad v = u * u;
            return sqrtq(u) * (static_cast<quad>(kRoot2) + horner(c, v) * v + u * (e + horner(d, v) * v));
        },
        [](quad u) { return acosq(1 - u); }, 0, 0.5);
    coefficient_set(out,
                    "Double arcsine, |x| >= 0.5, u = 1 - |x|, v = u^2: acos |x| ~ sqrt(u) Q with\n"
                    "Q = sqrt 2 + v C(v) + u (E + v D(v)) (sqrt 2 in 80 bits); error of sqrt(u) Q.",
                    asin_large, {{"asinC", c}, {"asinD", d}, {"asinE", {e}}});

    const std::vector<double> p = from_bits(kAtanPoly);
    const double atan_error = relative_error([&](quad t) { return t - t * t * t * ascending(p, t * t); },
                                             [](quad t) { return atanq(t); }, 0, 0.4375 + 0x1p-21);
    coefficient_set(out,
                    "Double arctangent of the reduced t, |t| <= 0.4375 (a hair more: the classes\n"
                    "act on high words): atan t ~ t - t z (p0 + p1 z + ... + p10 z^10), z = t^2.",
                    atan_error, {{"atanPoly", p}});
    std::fprintf(out, "\n// Centres of the double arctangent: c, 1 + c^2, atan(c) = hi + lo; row 4 is\n"
                      "// the far class, t = -1/|x| and atan = pi/2 less atan(-t).\n"
                      "inline constexpr AtanCentre atanCentres[5] = {\n");
    for (int k = 0; k < 5; ++k) {
        const Centre& r = kAtanCentres[k];
        const double hi = from_bits(r.hi), lo = from_bits(r.lo);
        if (k < 4) check_pair(r.c, hi, lo, 0x1p-104, "a double arctangent centre is not atan(c)");
        else if (fabsq(static_cast<quad>(hi) + lo - kPi / 2) > 0x1p-104) fail("the far centre is not pi/2");
        std::fprintf(out, "    {%a, %a, %a, %a},\n", r.c, r.one_plus_c2, hi, lo);
    }
    std::fprintf(out, "};\n");

    coefficient_set(out,
                    "Single arcsine (and arccosine) of the _HA forms, ascending p1..p5:\n"
                    "asin y ~ y + y (p1 z + p2 z^2 + ... + p5 z^5), z = y^2, |y| <= 0.5.",
                    relative_error([&](quad y) { return y + y * y * y * ascending(kAsinSingle, y * y) ; },
                                   [](quad y) { return asinq(y); }, 0, 0.5),
                    {{"asinSingle", kAsinSingle}}, "float");
    const std::vector<double> fitted = to_float(remez(
        asin_over_y_less_one, [](quad z) { return z == 0 ? 1 : sqrtq(z) / asinq(sqrtq(z)); }, 0, 0.25, 5));
    coefficient_set(out,
                    "The same fitted here for the _21 forms: minimax of the relative error of the\n"
                    "arcsine, coefficients rounded to float.",
                    relative_error([&](quad y) { return y + y * y * y * ascending(fitted, y * y); },
                                   [](quad y) { return asinq(y); }, 0, 0.5),
                    {{"asinSingle21", fitted}}, "float");

    coefficient_set(out,
                    "Single arctangent of the reduced t, |t| <= 0.4375, ascending a0..a4:\n"
                    "atan t ~ t + t z (a0 + a1 z + ... + a4 z^4), z = t^2.",
                    relative_error([&](quad t) { return t + t * t * t * ascending(kAtanSingle, t * t); },
                                   [](quad t) { return atanq(t); }, 0, 0.4375),
                    {{"atanSingle", kAtanSingle}}, "float");
    for (int k = 0; k < 3; ++k)
        check_pair(kAtanSingleCentre[k], kAtanSinglePairs[2 * k], kAtanSinglePairs[2 * k + 1], 0x1p-30,
                   "a single arctangent centre is not atan(c)");
    std::fprintf(out, "\n// Single arctangent classes (centres 0, 0.53125, 1, far): atan(c) as a high\n"
                      "// part and a low part, each a float; the far class holds pi/2.\n");
    print_array(out, "float", "atanSinglePairs", kAtanSinglePairs);
    std::fprintf(out, "\n// The same centres in double for the double stage of the single\n"
                      "// two-argument arctangent: atan(0), atan(0.53125), atan(1).\n");
    print_array(out, "double", "atanSingleCentresD",
                {0.0, static_cast<double>(atanq(0.53125)), static_cast<double>(kPi / 4)});
}

void scalar_sets(std::FILE* out) {
    std::fprintf(out, "// Coefficient sets of the scalar arctangents of vecmath/scalar_helpers.cpp,\n"
                      "// with the error of each as a function.\n");
    const std::vector<double> q = from_bits(kScalarAtan);
    coefficient_set(out,
                    "Arctangent of a float, |z| <= 0.375 in every band: atan z ~ z + z s q(s), s = z^2,\n"
                    "q from the highest coefficient.",
                    relative_error([&](quad z) { return z + z * z * z * horner(q, z * z); },
                                   [](quad z) { return atanq(z); }, 0, 0.375),
                    {{"scalarAtan", q}});
    const std::vector<double> p = from_bits(kScalarAtan2);
    coefficient_set(out,
                    "Two-argument arctangent of floats, |z| <= 1: atan z ~ z p(s), s = z^2, p from\n"
                    "the highest coefficient.",
                    relative_error([&](quad z) { return z * horner(p, z * z); }, [](quad z) { return atanq(z); },
                                   0, 1),
                    {{"scalarAtan2", p}});
}

}  // namespace

int main(int argc, char** argv) {
    return write_or_check(argc, argv, "invtrig_tables",
                          {{"vecmath/invtrig_tables.inc", kernel_sets},
                           {"vecmath/scalar_helpers_tables.inc", scalar_sets}});
}
