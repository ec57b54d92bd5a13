// Writes vecmath/trig_tables.inc: the constant tables of the trigonometric
// family, computed with MPFR at 320 bits (4/pi at 1600) and rounded once to double.
//
//   pi_bits        4/pi in 25-bit pieces scaled by 2^200 (reduction of huge x)
//   sin_cos_rows   sin and cos of j*pi/32, each as a high and a low double
//   tan_rows       Taylor expansions of tan (or of tan less its pole) at j*pi/32
//   sin_bands      per-band fits of sin t / t - 1 for the double Sin and Cos
//   sin_cos_bands  per-band fits of sin and cos for the double SinCos
//   kTan..., kSin...  the kernels' coefficient sets, with their measured errors
//   kClass...      the series of the SIMD classes' sine and cosine, with their fit errors
//
// The band fits are made one coefficient at a time: fit the remaining
// coefficients by interpolation at Chebyshev nodes of the band, round the
// lowest one to double, and refit the rest against what the rounded ones
// leave.  The later coefficients so absorb the rounding of the earlier ones.
// Near zero the bands reach 2^-64 and better; towards pi/2 the degree of the
// polynomial limits them (2^-57 for sin_bands, 2^-59 for sin_cos_bands, a
// few hundredths of an ulp); each table's comment gives its measured worst.
//
// The coefficient sets of the fast paths (the rational tangents, the single
// sine and the short sine-cosine pair) are fixed inputs here, fitted once;
// the tool measures each one's error over its interval on a fine grid at
// full precision and writes it beside the set.  The single _21 forms use
// the same sets rounded to float.
//
// usage: trig_tables --out|--check <source dir>
#include <mpfr.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "mpfr_big.h"
#include "table_output.h"

namespace {

// Largest fit error of the table being built, for its comment.
double worst_fit = 0;

Big eval_fit(const std::vector<double>& coef, int first_power, const Big& s) {
    Big acc;
    for (std::size_t k = 0; k < coef.size(); ++k)
        acc = acc + Big(coef[k]) * pow_of(s, first_power + static_cast<long>(k));
    return acc;
}

// Largest |fit(s) - f(s)| over a grid of the band.
double fit_error(const std::function<Big(const Big&)>& f, const std::vector<double>& coef,
                 int first_power, const Big& s_lo, const Big& s_hi) {
    Big worst;
    for (int i = 0; i <= 256; ++i) {
        const Big s = s_lo + (s_hi - s_lo) * Big(i / 256.0);
        Big e = eval_fit(coef, first_power, s) - f(s);
        mpfr_abs(e.v, e.v, MPFR_RNDN);
        if (mpfr_cmp(e.v, worst.v) > 0) worst = e;
    }
    return worst.d();
}

// Fits f(s) ~ sum_k coef[k] * s^(first_power + k) on [s_lo, s_hi] with
// every coefficient a double, lowest power first.  Two candidates: the
// interpolant at Chebyshev nodes rounded as a whole, and the one-at-a-time
// fit of the file comment; the second is kept only where the first is not
// already below 2^-66 (bands far from zero, where the rounding of B1 alone
// costs a quarter of an ulp), and only where it measures better: near zero
// it would bend the higher coefficients to absorb an error the basis cannot
// express.
std::vector<double> fit_band(const std::function<Big(const Big&)>& f, const Big& s_lo,
                             const Big& s_hi, int first_power, int count) {
    const Big half_width = (s_hi - s_lo) * Big(0.5), mid = (s_hi + s_lo) * Big(0.5);
    auto interpolate = [&](const std::vector<double>& fixed) {
        const int free = count - static_cast<int>(fixed.size());
        std::vector<std::vector<Big>> m(free, std::vector<Big>(free));
        std::vector<Big> rhs(free);
        for (int i = 0; i < free; ++i) {
            const Big angle = pi() * Big(2.0 * i + 1) / Big(2.0 * free);
            const Big s = mid + half_width * cos_of(angle);
            rhs[i] = f(s) - eval_fit(fixed, first_power, s);
            for (int k = 0; k < free; ++k)
                m[i][k] = pow_of(s, first_power + static_cast<long>(fixed.size()) + k);
        }
        return solve(m, rhs);
    };
    std::vector<double> whole;
    for (const Big& c : interpolate({})) whole.push_back(c.d());
    const double whole_error = fit_error(f, whole, first_power, s_lo, s_hi);
    if (whole_error < 0x1p-66) {
        worst_fit = std::max(worst_fit, whole_error);
        return whole;
    }
    std::vector<double> coef;
    while (static_cast<int>(coef.size()) < count) coef.push_back(interpolate(coef)[0].d());
    const double coef_error = fit_error(f, coef, first_power, s_lo, s_hi);
    worst_fit = std::max(worst_fit, std::min(coef_error, whole_error));
    return coef_error < whole_error ? coef : whole;
}

// sin t / t - 1 as a function of s = t^2.
Big sin_ratio_less_one(const Big& s) {
    if (mpfr_zero_p(s.v)) return Big(0.0);
    const Big t = sqrt_of(s);
    return sin_of(t) / t - Big(1.0);
}

// cos t - 1 + s/2 as a function of s = t^2.
Big cos_less_two_terms(const Big& s) {
    return cos_of(sqrt_of(s)) - Big(1.0) + s * Big(0.5);
}

void band_table(std::FILE* out, const char* name, const char* what, int rows, int filler,
                double bands_per_unit,
                const std::vector<std::function<std::vector<double>(const Big&, const Big&)>>& fits) {
    int columns = 0;
    worst_fit = 0;
    std::vector<std::vector<double>> table;
    for (int k = 0; k < rows; ++k) {
        Big t_lo = Big(k - 0.5) / Big(bands_per_unit), t_hi = Big(k + 0.5) / Big(bands_per_unit);
        if (k == 0) t_lo = Big(0.0);
        std::vector<double> row;
        for (const auto& fit : fits) {
            const std::vector<double> c = fit(t_lo * t_lo, t_hi * t_hi);
            row.insert(row.end(), c.begin(), c.end());
        }
        columns = static_cast<int>(row.size());
        table.push_back(row);
    }
    for (int k = 0; k < filler; ++k) table.push_back(table.back());
    std::fprintf(out, "// %s\n// Largest fit error over all bands, relative to sin and to cos: 2^%.1f.\n", what,
                 std::log2(worst_fit));
    std::fprintf(out, "inline constexpr double %s[%d][%d] = {\n", name, rows + filler, columns);
    for (std::size_t k = 0; k < table.size(); ++k) {
        std::fprintf(out, "    {");
        for (int c = 0; c < columns; ++c)
            std::fprintf(out, "%s%s", hex(table[k][c]).c_str(), c + 1 < columns ? ", " : "");
        std::fprintf(out, "},%s\n", static_cast<int>(k) >= rows ? "  // filler" : "");
    }
    std::fprintf(out, "};\n\n");
}

// Pieces of 4/pi: row i (1..49) holds bits 25(i-1) to 25i-1 of the binary
// expansion after the leading one, times 2^200; row 0 is zero.
void pi_bits(std::FILE* out) {
    mpfr_t four_over_pi, upto, before;
    for (mpfr_t* m : {&four_over_pi, &upto, &before}) mpfr_init2(*m, 1600);
    mpfr_const_pi(four_over_pi, MPFR_RNDN);
    mpfr_ui_div(four_over_pi, 4, four_over_pi, MPFR_RNDN);
    std::fprintf(out,
                 "// 4/pi in 25-bit pieces: row i (i >= 1) holds bits 25(i-1)+1 to 25i of its\n"
                 "// binary expansion (the first bit being the leading one), at weight 2^200\n"
                 "// times their true weight; row 0 is zero.\n"
                 "inline constexpr double pi_bits[50] = {\n    0x0p+0,\n");
    for (int i = 1; i < 50; ++i) {
        mpfr_mul_2si(upto, four_over_pi, 25 * i - 1, MPFR_RNDN);
        mpfr_floor(upto, upto);
        mpfr_mul_2si(before, four_over_pi, 25 * (i - 1) - 1, MPFR_RNDN);
        mpfr_floor(before, before);
        mpfr_mul_2si(before, before, 25, MPFR_RNDN);
        mpfr_sub(upto, upto, before, MPFR_RNDN);  // the piece as an integer, exact
        mpfr_mul_2si(upto, upto, 200 - 25 * i + 1, MPFR_RNDN);
        std::fprintf(out, "    %s,\n", hex(mpfr_get_d(upto, MPFR_RNDN)).c_str());
    }
    std::fprintf(out, "};\n\n");
    for (mpfr_t* m : {&four_over_pi, &upto, &before}) mpfr_clear(*m);
}

void sin_cos_rows(std::FILE* out) {
    std::fprintf(out,
                 "// Row j: cos(j*pi/32) = cos_hi + cos_lo with cos_hi in {-1, 0, 1} (so that\n"
                 "// cos_hi * r is exact), sin(j*pi/32) = sin_hi + sin_lo, sin_hi the nearest\n"
                 "// double.  Columns: cos_lo, sin_hi, sin_lo, cos_hi.\n"
                 "inline constexpr double sin_cos_rows[64][4] = {\n");
    for (int j = 0; j < 64; ++j) {
        double c_hi = 0, c_lo = 0, s_hi = 0, s_lo = 0;
        if (j % 16 != 0) {  // rows on the axes are exact
            const Big th = pi() * Big(j) / Big(32.0);
            const Big c = cos_of(th), s = sin_of(th);
            c_hi = mpfr_cmp_d(c.v, 0.5) > 0 ? 1.0 : mpfr_cmp_d(c.v, -0.5) < 0 ? -1.0 : 0.0;
            c_lo = (c - Big(c_hi)).d();
            s_hi = s.d();
            s_lo = (s - Big(s_hi)).d();
        } else {
            c_hi = (j == 0) ? 1.0 : (j == 32) ? -1.0 : 0.0;
            s_hi = (j == 16) ? 1.0 : (j == 48) ? -1.0 : 0.0;
        }
        std::fprintf(out, "    {%s, %s, %s, %s},\n", hex(c_lo).c_str(), hex(s_hi).c_str(),
                     hex(s_lo).c_str(), hex(c_hi).c_str());
    }
    std::fprintf(out, "};\n\n");
}

// Taylor coefficients (degrees 0..15) of tan(th + r) at th = j*pi/32 for
// plain rows, and of h(d + r) = 1/(d + r) - cot(d + r), which equals
// tan(th + r) + 1/(th + r - pi/2) with d = th - pi/2, for pole rows.
std::vector<Big> tan_taylor(int j, bool pole) {
    std::vector<Big> a(16);
    if (!pole) {
        // tan' = 1 + tan^2 gives (k+1) a[k+1] = [k == 0] + sum a[i] a[k-i].
        const Big th = pi() * Big(j < 16 ? j : j - 32) / Big(32.0);
        a[0] = tan_of(th);
        for (int k = 0; k + 1 < 16; ++k) {
            Big acc(k == 0 ? 1.0 : 0.0);
            for (int i = 0; i <= k; ++i) acc = acc + a[i] * a[k - i];
            a[k + 1] = acc / Big(k + 1.0);
        }
        return a;
    }
    // h(z) = sum_{n>=1} 2 zeta(2n) z^(2n-1) / pi^(2n), for |z| < pi.
    const Big d = pi() * Big(j - 16) / Big(32.0);
    for (int n = 1; n <= 400; ++n) {
        Big zeta;
        mpfr_zeta_ui(zeta.v, 2 * n, MPFR_RNDN);
        const Big an = Big(2.0) * zeta / pow_of(pi(), 2 * n);
        const int p = 2 * n - 1;
        Big binom(1.0);  // C(p, k)
        for (int k = 0; k <= p && k < 16; ++k) {
            a[k] = a[k] + an * binom * pow_of(d, p - k);
            binom = binom * Big(p - k) / Big(k + 1.0);
        }
    }
    return a;
}

void tan_rows(std::FILE* out) {
    std::fprintf(out,
                 "// Row j, th = j*pi/32.  Plain rows (j <= 8, j >= 24) expand tan(th + r);\n"
                 "// pole rows (9..23) expand tan(th + r) + 1/(th + r - pi/2), smooth there.\n"
                 "// c[3,5,7,9,11,13]: degrees 2..7; c[0,1,2,4,6,8,10,12]: degrees 8..15;\n"
                 "// c[14] + c[15]: value at r = 0; c[16] + c[17]: first derivative, c[16]\n"
                 "// short (1 or 2 in plain rows, 0 in pole rows); c[18]: 1 in pole rows;\n"
                 "// mask: keeps the top 18 significand bits of 1/w in pole rows.\n"
                 "inline constexpr TanRow tan_rows[32] = {\n");
    const int degree_column[16] = {14, 16, 3, 5, 7, 9, 11, 13, 0, 1, 2, 4, 6, 8, 10, 12};
    for (int j = 0; j < 32; ++j) {
        const bool pole = j >= 9 && j <= 23;
        const std::vector<Big> a = tan_taylor(j, pole);
        double c[19] = {};
        for (int k = 2; k < 16; ++k) c[degree_column[k]] = a[k].d();
        c[14] = a[0].d();
        c[15] = (a[0] - Big(c[14])).d();
        if (pole) {
            c[16] = 0.0;
        } else {
            c[16] = mpfr_cmp_d(a[1].v, 1.5) < 0 ? 1.0 : 2.0;
        }
        c[17] = (a[1] - Big(c[16])).d();
        c[18] = pole ? 1.0 : 0.0;
        std::fprintf(out, "    {{");
        for (int k = 0; k < 19; ++k) std::fprintf(out, "%s%s", hex(c[k]).c_str(), k < 18 ? ", " : "");
        std::fprintf(out, "}, %s},\n", pole ? "0xFFFFFFF800000000u" : "0u");
    }
    std::fprintf(out, "};\n\n");
}

// ---- coefficient sets of the fast paths

// A set of coefficients as the kernel evaluates it: approx(c, t) at full
// precision from the stored values, against f(t), over t in [0, hi] (the
// functions are odd or even); relative error.
struct CoefficientSet {
    const char* comment;
    std::function<Big(const std::vector<double>&, const Big&)> approx;
    std::function<Big(const Big&)> f;
    double hi;
};

double relative_error(const CoefficientSet& set, const std::vector<double>& c) {
    Big worst;
    const int steps = 4096;
    for (int i = 1; i <= steps; ++i) {
        const Big t = Big(set.hi) * Big(static_cast<double>(i) / steps);
        const Big want = set.f(t);
        Big e = (set.approx(c, t) - want) / want;
        mpfr_abs(e.v, e.v, MPFR_RNDN);
        if (mpfr_cmp(e.v, worst.v) > 0) worst = e;
    }
    return worst.d();
}

float to_float(double x) { return static_cast<float>(x); }

std::string list(const std::vector<double>& c, bool single) {
    std::string s;
    for (std::size_t k = 0; k < c.size(); ++k)
        s += (k ? ", " : "") + hex(single ? static_cast<double>(to_float(c[k])) : c[k]) + (single ? "f" : "");
    return s;
}

// Writes `name` (one or more arrays: names[i] holds coefficients
// [first[i], first[i+1])) of the set in double, or rounded to float.
void coefficient_set(std::FILE* out, const CoefficientSet& set, const std::vector<const char*>& names,
                     const std::vector<std::vector<double>>& parts, bool single) {
    std::vector<double> all;
    for (const auto& p : parts)
        for (double c : p) all.push_back(single ? static_cast<double>(to_float(c)) : c);
    std::fprintf(out, "// %s\n// Measured relative error 2^%.1f.\n", set.comment, std::log2(relative_error(set, all)));
    for (std::size_t i = 0; i < names.size(); ++i) {
        const char* type = single ? "float" : "double";
        if (parts[i].size() == 1)
            std::fprintf(out, "inline constexpr %s %s = %s;\n", type, names[i], list(parts[i], single).c_str());
        else
            std::fprintf(out, "inline constexpr %s %s[%zu] = {%s};\n", type, names[i], parts[i].size(),
                         list(parts[i], single).c_str());
    }
    std::fprintf(out, "\n");
}

Big poly(const std::vector<double>& c, std::size_t from, std::size_t count, const Big& s) {
    Big acc;
    for (std::size_t k = count; k-- > 0;) acc = acc * s + Big(c[from + k]);
    return acc;
}

// The sets as fitted: double kernels' tangent; single HA sine, tangent and
// sine-cosine pair (the last three rounded to float for the _21 forms).
const std::vector<double> kTanN = {-0x1.06b97bf03648ap-3, 0x1.6fc6fe2982a7bp-9, -0x1.f637dea7c0b2cp-18};
const std::vector<double> kTanD = {-0x1.d8b2134d70767p-2, 0x1.7e7b68d9a55f3p-6, -0x1.b525b10d0a168p-13};
const std::vector<double> kSinS = {0x1.000000089705fp+0, -0x1.55554ae8ba1bdp-3, 0x1.110ee64cd0933p-7,
                                   -0x1.9f75e2c166f94p-13, 0x1.5e0a329a17541p-19};
const std::vector<double> kTanSN = {-0x1.8867706ed6612p-4};
const std::vector<double> kTanSD = {-0x1.b76f5e7f08c11p-2, 0x1.3e66ea6aa37f2p-7};
const std::vector<double> kSinCosA = {-0x1.55554527af34p-3, 0x1.11073afce563fp-7, -0x1.9943e0fbea90ap-13};
const std::vector<double> kSinCosB = {0x1.55554a115b568p-5, -0x1.6c0c33a81bd97p-10, 0x1.99eb9c49f772ep-16};

void coefficient_sets(std::FILE* out) {
    const double pio4 = 0x1.921fb54442d18p-1, pio2 = 0x1.921fb54442d18p+0;
    // N = t + t s (n0 + n1 s + n2 s^2), D = 1 + s (d0 + d1 s + d2 s^2): coefficients n0..n2, d0..d2.
    const CoefficientSet tan_double{
        "Double tangent on [-pi/4, pi/4], s = t^2: tan t ~ N/D with\n"
        "// N = t + t s (kTanN[0] + kTanN[1] s + kTanN[2] s^2), D = 1 + s (kTanD[0] + kTanD[1] s + kTanD[2] s^2).",
        [](const std::vector<double>& c, const Big& t) {
            const Big s = t * t;
            return (t + t * s * poly(c, 0, 3, s)) / (Big(1.0) + s * poly(c, 3, 3, s));
        },
        tan_of, pio4};
    coefficient_set(out, tan_double, {"kTanN", "kTanD"}, {kTanN, kTanD}, false);
    const CoefficientSet sin_single{
        "Single HA sine on [-pi/2, pi/2]: sin t ~ t (c0 + c1 s + c2 s^2 + c3 s^3 + c4 s^4), s = t^2.",
        [](const std::vector<double>& c, const Big& t) { return t * poly(c, 0, c.size(), t * t); }, sin_of,
        pio2};
    coefficient_set(out, sin_single, {"kSinS"}, {kSinS}, false);
    // The _21 sine keeps c0 = 1 and takes c1..c4 in float.
    const CoefficientSet sin_21{
        "Single _21 sine: the same with c0 = 1 and c1..c4 rounded to float, kSinF[k] = c(k+1).",
        [](const std::vector<double>& c, const Big& t) {
            return t * (Big(1.0) + t * t * poly(c, 0, c.size(), t * t));
        },
        sin_of, pio2};
    coefficient_set(out, sin_21, {"kSinF"}, {std::vector<double>(kSinS.begin() + 1, kSinS.end())}, true);
    const CoefficientSet tan_single{
        "Single tangent on [-pi/4, pi/4]: tan t ~ t (1 + s n1) / (1 + s (d1 + s d2)), s = t^2,\n"
        "// n1 = kTanSN, (d1, d2) = kTanSD.",
        [](const std::vector<double>& c, const Big& t) {
            const Big s = t * t;
            return t * (Big(1.0) + s * Big(c[0])) / (Big(1.0) + s * poly(c, 1, 2, s));
        },
        tan_of, pio4};
    coefficient_set(out, tan_single, {"kTanSN", "kTanSD"}, {kTanSN, kTanSD}, false);
    coefficient_set(out, {"The same in float for the _21 tangent.", tan_single.approx, tan_of, pio4},
                    {"kTanNF", "kTanDF"}, {kTanSN, kTanSD}, true);
    // The sine-cosine pair: one error for both functions, the worse.
    const CoefficientSet sin_of_pair{
        "Single sine-cosine on [-pi/4, pi/4], s = t^2: sin t ~ t + t s (a0 + a1 s + a2 s^2),\n"
        "// cos t ~ 1 - s/2 + s^2 (b0 + b1 s + b2 s^2); the error given is the sine's, then the cosine's.",
        [](const std::vector<double>& c, const Big& t) {
            const Big s = t * t;
            return t + t * s * poly(c, 0, 3, s);
        },
        sin_of, pio4};
    const CoefficientSet cos_of_pair{
        "", [](const std::vector<double>& c, const Big& t) {
            const Big s = t * t;
            return Big(1.0) - Big(0.5) * s + s * s * poly(c, 3, 3, s);
        },
        cos_of, pio4};
    for (bool single : {false, true}) {
        std::vector<double> both = kSinCosA;
        both.insert(both.end(), kSinCosB.begin(), kSinCosB.end());
        if (single)
            for (double& c : both) c = to_float(c);
        std::fprintf(out, "// %s\n// Measured relative errors 2^%.1f and 2^%.1f.\n",
                     single ? "The same in float for the _21 sine-cosine." : sin_of_pair.comment,
                     std::log2(relative_error(sin_of_pair, both)), std::log2(relative_error(cos_of_pair, both)));
        const char* type = single ? "float" : "double";
        std::fprintf(out, "inline constexpr %s %s[3] = {%s};\n", type, single ? "kSinCosAF" : "kSinCosA",
                     list(kSinCosA, single).c_str());
        std::fprintf(out, "inline constexpr %s %s[3] = {%s};\n%s", type, single ? "kSinCosBF" : "kSinCosB",
                     list(kSinCosB, single).c_str(), single ? "" : "\n");
    }
}

// ---- the series of the SIMD classes (vecmath/simd/trig.cpp)

// sin t / t - 1 + s/6 and cos t - 1 + s/2 as functions of s = t^2: the
// parts the classes' series carry beyond their exact leading terms.
Big sin_rest(const Big& s) {
    if (mpfr_zero_p(s.v)) return Big(0.0);
    const Big t = sqrt_of(s);
    return sin_of(t) / t - Big(1.0) + s / Big(6.0);
}
Big sin_ratio(const Big& s) {
    if (mpfr_zero_p(s.v)) return Big(1.0);
    const Big t = sqrt_of(s);
    return sin_of(t) / t;
}

// f(s) ~ s^2 (c0 + c1 s + ...) on [0, s_hi], s_hi = (t_hi and a hair, q
// at a tie)^2, interpolated at Chebyshev nodes (within a small factor of the minimax error) and each coefficient
// rounded to float or double; the error written is that of the rounded
// set, relative to `scale`(s) (sin t / t or cos t), on a grid of 4096.
void class_series(std::FILE* out, const char* name, const char* what, const std::function<Big(const Big&)>& f,
                  const std::function<Big(const Big&)>& scale, int count, bool single,
                  float t_hi = 0x1.921fb6p-1f) {
    const Big s_hi = pow_of(Big(t_hi) * Big(1.0 + 0x1p-20), 2);
    std::vector<std::vector<Big>> m(count, std::vector<Big>(count));
    std::vector<Big> rhs(count);
    for (int i = 0; i < count; ++i) {
        const Big s = s_hi * Big(0.5) * (Big(1.0) + cos_of(pi() * Big(2.0 * i + 1) / Big(2.0 * count)));
        rhs[i] = f(s);
        for (int k = 0; k < count; ++k) m[i][k] = pow_of(s, 2 + k);
    }
    std::vector<double> c;
    for (const Big& x : solve(m, rhs)) c.push_back(single ? static_cast<double>(to_float(x.d())) : x.d());
    Big worst;
    for (int i = 1; i <= 4096; ++i) {
        const Big s = s_hi * Big(i / 4096.0);
        Big e = (s * s * poly(c, 0, c.size(), s) - f(s)) / scale(s);
        mpfr_abs(e.v, e.v, MPFR_RNDN);
        if (mpfr_cmp(e.v, worst.v) > 0) worst = e;
    }
    std::fprintf(out, "// %s\n// Fit error relative to the function, |t| <= pi/%d: 2^%.1f.\n", what,
                 t_hi < 1 ? 4 : 2, std::log2(worst.d()));
    std::fprintf(out, "inline constexpr %s %s[%d] = {%s};\n\n", single ? "float" : "double", name, count,
                 list(c, single).c_str());
}

void class_sets(std::FILE* out) {
    std::fprintf(out, "\n");
    const auto cos_rest = [](const Big& s) { return cos_of(sqrt_of(s)) - Big(1.0) + s * Big(0.5); };
    const auto cos_t = [](const Big& s) { return cos_of(sqrt_of(s)); };
    class_series(out, "kClassSinD",
                 "SIMD classes, double: sin t = t - t^3/6 + t^5 P(s), s = t^2, P = kClassSinD.", sin_rest,
                 sin_ratio, 6, false);
    class_series(out, "kClassCosD", "SIMD classes, double: cos t = 1 - s/2 + s^2 Q(s), Q = kClassCosD.", cos_rest,
                 cos_t, 6, false);
    class_series(out, "kClassSinF", "SIMD classes, single: the same P in float lanes.", sin_rest, sin_ratio, 3,
                 true);
    class_series(out, "kClassCosF", "SIMD classes, single: the same Q in float lanes.", cos_rest, cos_t, 3, true);
    class_series(out, "kClassSinS", "SIMD classes, single tangent in double lanes: the same P.", sin_rest, sin_ratio,
                 3, false);
    class_series(out, "kClassCosS", "SIMD classes, single tangent in double lanes: the same Q.", cos_rest, cos_t, 3,
                 false);
    class_series(out, "kClassSinPi",
                 "SIMD classes, single sine and cosine in double lanes, reduced by pi: the same P on |t| <= pi/2.",
                 sin_rest, sin_ratio, 4, false, 0x1.921fb6p+0f);
}

void generate(std::FILE* out) {
    std::fprintf(out, "// Tables and coefficient sets of vecmath/trig.cpp, trig_scalar.cpp and\n"
                      "// trig_reduce.cpp (included by vecmath/trig_tables.h).\n\n");
    pi_bits(out);
    sin_cos_rows(out);
    tan_rows(out);
    using Fit = std::function<std::vector<double>(const Big&, const Big&)>;
    // Band k of sin_bands serves |t| * 127/pi rounded to k: width pi/127 over [0, pi/2].
    const Fit sin_fit = [](const Big& lo, const Big& hi) {
        return fit_band(sin_ratio_less_one, lo, hi, 1, 5);
    };
    band_table(out, "sin_bands",
               "Band k, |t| in [(k-1/2), (k+1/2)] * pi/127: (B1..B5) with\n"
               "// sin t = t + t*s*(B1 + B2 s + B3 s^2 + B4 s^3 + B5 s^4), s = t^2.\n"
               "// Rows 65 to 67 repeat row 64.",
               65, 3, 0x1.436720cee34f2p+5, {sin_fit});  // 127/pi as the kernel rounds it
    const Fit sin4 = [](const Big& lo, const Big& hi) {
        return fit_band(sin_ratio_less_one, lo, hi, 1, 4);
    };
    const Fit cos4 = [](const Big& lo, const Big& hi) {
        return fit_band(cos_less_two_terms, lo, hi, 2, 4);
    };
    band_table(out, "sin_cos_bands",
               "Band k, |t| in [(k-1/2), (k+1/2)] * pi/576: (S1..S4, C2..C5) with\n"
               "// sin t = t + t*s*(S1 + S2 s + S3 s^2 + S4 s^3),\n"
               "// cos t = 1 + s*(-1/2 + s*(C2 + C3 s + C4 s^2 + C5 s^3)), s = t^2.",
               145, 0, 0x1.6eb167b830193p+7, {sin4, cos4});  // 576/pi
    coefficient_sets(out);
    class_sets(out);
}

}  // namespace

int main(int argc, char** argv) {
    return write_or_check(argc, argv, "trig_tables", {{"vecmath/trig_tables.inc", generate}});
}
