// Writes vecmath/explog_vector_tables.inc: the tables and polynomial
// coefficients of the exponential and logarithms of the SIMD kernel
// classes (vecmath/simd/explog.cpp), and vecmath/pow_vector_tables.inc,
// the logarithm of their double power (vecmath/simd/power.cpp).  Every value is computed with MPFR at
// 256 bits and rounded once to its format; each polynomial interpolates
// its function at the Chebyshev points of its interval (within a small
// factor of the minimax error) and its measured error, with the
// coefficients as rounded, is written beside it.
//
//   explog_vector_tables --out <source dir>     regenerate the file in place
//   explog_vector_tables --check <source dir>   exit 1 if the committed file differs
#include <mpfr.h>

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <type_traits>
#include <vector>

#include "table_output.h"

namespace {

constexpr mpfr_prec_t kWork = 256;

struct Big {
    mpfr_t v;
    Big() { mpfr_init2(v, kWork); }
    explicit Big(double x) : Big() { mpfr_set_d(v, x, MPFR_RNDN); }
    ~Big() { mpfr_clear(v); }
    Big(const Big& o) : Big() { mpfr_set(v, o.v, MPFR_RNDN); }
    Big& operator=(const Big& o) {
        mpfr_set(v, o.v, MPFR_RNDN);
        return *this;
    }
};

double to_double(const Big& x) { return mpfr_get_d(x.v, MPFR_RNDN); }
float to_float(const Big& x) { return mpfr_get_flt(x.v, MPFR_RNDN); }
uint64_t bits_of(double x) {
    uint64_t u;
    std::memcpy(&u, &x, 8);
    return u;
}
uint32_t bits_of(float x) {
    uint32_t u;
    std::memcpy(&u, &x, 4);
    return u;
}
double from_bits(uint64_t u) {
    double x;
    std::memcpy(&x, &u, 8);
    return x;
}

Big ln2() {
    Big r;
    mpfr_const_log2(r.v, MPFR_RNDN);
    return r;
}

// x rounded to `bits` significant bits.
double round_bits(const Big& x, int bits) {
    mpfr_t t;
    mpfr_init2(t, bits);
    mpfr_set(t, x.v, MPFR_RNDN);
    const double d = mpfr_get_d(t, MPFR_RNDN);
    mpfr_clear(t);
    return d;
}

// ---------------------------------------------------------------- fits

using Function = std::function<void(Big& out, const Big& r)>;

// Coefficients of the degree-(n-1) polynomial through f at the n Chebyshev
// points of [lo, hi], in powers of r (Gaussian elimination at working
// precision on the Vandermonde system).
std::vector<Big> chebyshev_fit(const Function& f, double lo, double hi, int n) {
    std::vector<std::vector<Big>> m(n, std::vector<Big>(n + 1));
    const double pi = 3.14159265358979323846;
    for (int k = 0; k < n; ++k) {
        Big x(0.5 * (lo + hi) + 0.5 * (hi - lo) * std::cos(pi * (k + 0.5) / n));
        Big p(1.0);
        for (int j = 0; j < n; ++j) {
            m[k][j] = p;
            mpfr_mul(p.v, p.v, x.v, MPFR_RNDN);
        }
        f(m[k][n], x);
    }
    Big t;
    for (int col = 0; col < n; ++col) {
        int pivot = col;
        for (int k = col + 1; k < n; ++k)
            if (mpfr_cmpabs(m[k][col].v, m[pivot][col].v) > 0) pivot = k;
        std::swap(m[col], m[pivot]);
        for (int k = 0; k < n; ++k) {
            if (k == col) continue;
            Big factor;
            mpfr_div(factor.v, m[k][col].v, m[col][col].v, MPFR_RNDN);
            for (int j = col; j <= n; ++j) {
                mpfr_mul(t.v, factor.v, m[col][j].v, MPFR_RNDN);
                mpfr_sub(m[k][j].v, m[k][j].v, t.v, MPFR_RNDN);
            }
        }
    }
    std::vector<Big> c(n);
    for (int k = 0; k < n; ++k) mpfr_div(c[k].v, m[k][n].v, m[k][k].v, MPFR_RNDN);
    return c;
}

// max |f(r) - sum c_k r^k| over [lo, hi] (a fine grid), the coefficients as given.
double fit_error(const Function& f, const std::vector<double>& c, double lo, double hi) {
    Big x, fx, p, t, worst(0.0);
    for (int s = 0; s <= 4000; ++s) {
        mpfr_set_d(x.v, lo + (hi - lo) * s / 4000.0, MPFR_RNDN);
        if (mpfr_zero_p(x.v)) continue;
        f(fx, x);
        mpfr_set_d(p.v, c.back(), MPFR_RNDN);
        for (int k = static_cast<int>(c.size()) - 2; k >= 0; --k) {
            mpfr_mul(p.v, p.v, x.v, MPFR_RNDN);
            mpfr_add_d(p.v, p.v, c[k], MPFR_RNDN);
        }
        mpfr_sub(t.v, p.v, fx.v, MPFR_RNDN);
        mpfr_abs(t.v, t.v, MPFR_RNDN);
        if (mpfr_cmp(t.v, worst.v) > 0) worst = t;
    }
    return to_double(worst);
}

// (f(r) - r) / r^2 for f = expm1 (e^r - 1) and log1p.
template <int (*F)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)>
void quotient(Big& out, const Big& r) {
    Big t;
    F(out.v, r.v, MPFR_RNDN);
    mpfr_sub(out.v, out.v, r.v, MPFR_RNDN);
    mpfr_sqr(t.v, r.v, MPFR_RNDN);
    mpfr_div(out.v, out.v, t.v, MPFR_RNDN);
}
const Function exp_quotient = quotient<mpfr_expm1>, log_quotient = quotient<mpfr_log1p>;

// ---------------------------------------------------------------- output


template <class T>
void row(FILE* o, const char* type, const char* name, const std::vector<T>& v, int per_line) {
    std::fprintf(o, "const %s %s[%zu] = {", type, name, v.size());
    for (std::size_t i = 0; i < v.size(); ++i) {
        std::fprintf(o, "%s", i % per_line == 0 ? "\n   " : "");
        if constexpr (std::is_same_v<T, double>) std::fprintf(o, " %a,", v[i]);
        else if constexpr (std::is_same_v<T, float>) std::fprintf(o, " %af,", static_cast<double>(v[i]));
        else if constexpr (sizeof(T) == 8) std::fprintf(o, " 0x%016" PRIX64 "u,", static_cast<uint64_t>(v[i]));
        else std::fprintf(o, " 0x%08" PRIX32 "u,", static_cast<uint32_t>(v[i]));
    }
    std::fprintf(o, "\n};\n\n");
}

void scalar(FILE* o, const char* type, const char* name, double v, const char* comment) {
    std::fprintf(o, "const %s %s = %a%s;  // %s\n", type, name, v, type[0] == 'f' ? "f" : "", comment);
}

// A polynomial fitted in working precision and rounded to doubles (or floats).
template <class T>
std::vector<double> fitted(FILE* o, const char* name, const Function& f, double lo, double hi, int n,
                           const char* what) {
    const std::vector<Big> big = chebyshev_fit(f, lo, hi, n);
    std::vector<double> c;
    std::vector<T> out;
    for (const Big& b : big) {
        out.push_back(static_cast<T>(std::is_same_v<T, float> ? to_float(b) : to_double(b)));
        c.push_back(out.back());
    }
    std::fprintf(o, "// %s on [%a, %a];\n// max error %.3g (2^%.1f).\n", what, lo, hi, fit_error(f, c, lo, hi),
                 std::log2(fit_error(f, c, lo, hi)));
    row(o, std::is_same_v<T, float> ? "float" : "double", name, out, 2);
    return c;
}

void exponential(FILE* o) {
    const Big l2 = ln2();
    Big t, e, v;
    std::fprintf(o,
                 "// ---- exponential: e^x = 2^(k/16) e^r, k = round(16 x / ln 2), r = x - k ln2/16\n\n");
    mpfr_ui_div(t.v, 16, l2.v, MPFR_RNDN);
    scalar(o, "double", "expInvLn2N", to_double(t), "16 / ln 2");
    mpfr_div_ui(t.v, l2.v, 16, MPFR_RNDN);
    const double hi = round_bits(t, 38);
    mpfr_sub_d(e.v, t.v, hi, MPFR_RNDN);
    scalar(o, "double", "expLn2HiN", hi, "ln 2 / 16 to 38 bits: k * it is exact for |k| < 2^15");
    scalar(o, "double", "expLn2LoN", to_double(e), "ln 2 / 16 - expLn2HiN");
    const float hif = static_cast<float>(round_bits(t, 12));
    mpfr_sub_d(e.v, t.v, hif, MPFR_RNDN);
    mpfr_ui_div(v.v, 16, l2.v, MPFR_RNDN);
    scalar(o, "float", "expInvLn2NF", to_float(v), "16 / ln 2");
    scalar(o, "float", "expLn2HiNF", hif, "ln 2 / 16 to 12 bits: k * it is exact for |k| < 2^12");
    scalar(o, "float", "expLn2LoNF", to_float(e), "ln 2 / 16 - expLn2HiNF");
    std::fprintf(o, "\n");

    const double reach = to_double(t) / 2 * (1 + 0x1p-20);  // |r| <= ln 2 / 32, and a margin
    fitted<double>(o, "expPoly", exp_quotient, -reach, reach, 6,
                   "(e^r - 1 - r) / r^2 ~ expPoly[0] + expPoly[1] r + ... + expPoly[5] r^5");
    // A float k can be one off the nearest (16/ln 2 as a float is 2^-24 off,
    // times |x| up to 104): a wider margin.
    const double reach_f = to_double(t) / 2 * (1 + 0x1p-12);
    fitted<float>(o, "expPolyF", exp_quotient, -reach_f, reach_f, 3,
                  "(e^r - 1 - r) / r^2 ~ expPolyF[0] + expPolyF[1] r + expPolyF[2] r^2, floats");

    // 2^(i/16) = H (1 + tail), H the value rounded; the scale bits are H's
    // less i << 48 (<< 19 for floats), so that adding k << 48 to them puts
    // k's low four bits back and k >> 4 into the exponent.
    std::vector<double> tail;
    std::vector<uint64_t> scale;
    std::vector<float> tail_f;
    std::vector<uint32_t> scale_f;
    for (int i = 0; i < 16; ++i) {
        mpfr_set_si(t.v, i, MPFR_RNDN);
        mpfr_div_ui(t.v, t.v, 16, MPFR_RNDN);
        mpfr_exp2(t.v, t.v, MPFR_RNDN);
        const double h = to_double(t);
        mpfr_sub_d(e.v, t.v, h, MPFR_RNDN);
        mpfr_div_d(e.v, e.v, h, MPFR_RNDN);
        tail.push_back(to_double(e));
        scale.push_back(bits_of(h) - (static_cast<uint64_t>(i) << 48));
        const float hf = to_float(t);
        mpfr_sub_d(e.v, t.v, hf, MPFR_RNDN);
        mpfr_div_d(e.v, e.v, hf, MPFR_RNDN);
        tail_f.push_back(to_float(e));
        scale_f.push_back(bits_of(hf) - (static_cast<uint32_t>(i) << 19));
    }
    std::fprintf(o, "// 2^(i/16) = H_i (1 + expTail[i]), H_i the double nearest; expScaleBits[i] is\n"
                    "// H_i's bits less i << 48.\n");
    row(o, "double", "expTail", tail, 4);
    row(o, "uint64_t", "expScaleBits", scale, 4);
    std::fprintf(o, "// The same for floats: H_i the float nearest, bits less i << 19.\n");
    row(o, "float", "expTailF", tail_f, 4);
    row(o, "uint32_t", "expScaleBitsF", scale_f, 4);
}

// Widens [rmin, rmax] to the values of r = z invc - 1 at a row's ends.
void widen_reach(double zlo, double zhi, double invc, double& rmin, double& rmax) {
    Big r;
    for (double z : {zlo, zhi}) {
        mpfr_set_d(r.v, z, MPFR_RNDN);
        mpfr_mul_d(r.v, r.v, invc, MPFR_RNDN);
        mpfr_sub_ui(r.v, r.v, 1, MPFR_RNDN);
        rmin = std::min(rmin, to_double(r));
        rmax = std::max(rmax, to_double(r));
    }
}

// Row j of the logarithms covers the significands whose bit patterns lie
// in [kOffset + j 2^48, kOffset + (j + 1) 2^48): [0.703125, 1.40625) in 16
// rows, half of row 9 on each side of 1.
constexpr uint64_t kOffset = 0x3FE6800000000000ull;
constexpr int kOneRow = 9;
constexpr double kReachF = 0x1.001p-5;  // |r| of the float rows

void logarithms(FILE* o) {
    std::fprintf(o, "// ---- logarithms: x = 2^k z, z in [0.703125, 1.40625) in row j (the top four\n"
                    "// bits of the significand's offset pattern), log x = k ln 2 + log c + log1p(r),\n"
                    "// r = z / c - 1 = z logInvC[j] - 1 (exact product, one rounding), log c = logLogC[j].\n"
                    "// Row 9, the one around 1, has c = 1.  Elsewhere 1/c is the double near 1/(row centre)\n"
                    "// for which log c lies within 2^-68 of a multiple of 2^-42, logLogC[j]: the table adds\n"
                    "// no error of its own and k logLn2Hi + log c is exact; then |r| < 2^-5.\n\n");
    const Big l2 = ln2();
    const double ln2hi = round_bits(l2, 42);
    Big t;
    mpfr_sub_d(t.v, l2.v, ln2hi, MPFR_RNDN);
    scalar(o, "double", "logLn2Hi", ln2hi, "ln 2 to 42 bits: k * it is exact for |k| < 2^11");
    scalar(o, "double", "logLn2Lo", to_double(t), "ln 2 - logLn2Hi");
    Big l10e;
    mpfr_set_ui(t.v, 10, MPFR_RNDN);
    mpfr_log(t.v, t.v, MPFR_RNDN);
    mpfr_ui_div(l10e.v, 1, t.v, MPFR_RNDN);
    const double l10hi = to_double(l10e);
    mpfr_sub_d(t.v, l10e.v, l10hi, MPFR_RNDN);
    scalar(o, "double", "log10eHi", l10hi, "log10(e)");
    scalar(o, "double", "log10eLo", to_double(t), "log10(e) - log10eHi");
    std::fprintf(o, "\n");

    std::vector<double> inv, logc;
    double rmin = 0, rmax = 0;
    Big c, lc;
    for (int j = 0; j < 16; ++j) {
        const double zlo = from_bits(kOffset + (static_cast<uint64_t>(j) << 48));
        const double zhi = from_bits(kOffset + (static_cast<uint64_t>(j + 1) << 48));
        double invc = 1.0, best = 0.0;
        if (j != kOneRow) {
            // Candidates within 2^-20 of 1/centre, drawn by a fixed
            // sequence.  About one in 2^26 has log c within 2^-69 of the
            // grid of 2^-42, so a long double screen goes first:
            // -log invc = -log start - log1p(d), d = invc / start - 1
            // (invc - start exact), with -log start = grid + f, |f| <= 2^-43,
            // is on the grid's error to 2^-80; MPFR confirms each find.
            const double start = 2.0 / (zlo + zhi);
            mpfr_set_d(c.v, start, MPFR_RNDN);
            mpfr_log(lc.v, c.v, MPFR_RNDN);
            mpfr_neg(lc.v, lc.v, MPFR_RNDN);
            mpfr_mul_2si(t.v, lc.v, 42, MPFR_RNDN);
            mpfr_rint(t.v, t.v, MPFR_RNDN);
            mpfr_mul_2si(t.v, t.v, -42, MPFR_RNDN);
            const double grid = to_double(t);  // a multiple of 2^-42 below 1: exact
            mpfr_sub_d(t.v, lc.v, grid, MPFR_RNDN);
            const long double f = mpfr_get_ld(t.v, MPFR_RNDN);
            uint64_t state = 0x9E3779B97F4A7C15ull * (j + 1);
            for (;;) {
                state = state * 6364136223846793005ull + 1442695040888963407ull;
                const double u = (static_cast<double>(state >> 11) * 0x1p-53 - 0.5) * 0x1p-19;
                invc = start * (1 + u);
                const long double d = static_cast<long double>(invc - start) / start;
                const long double frac = f - d * (1 - d * (0.5L - d * (1.0L / 3 - d * 0.25L)));
                const long double scaled = frac * 0x1p42L;
                const long double steps = (scaled + 0x1.8p63L) - 0x1.8p63L;  // nearest integer
                if (std::fabs(scaled - steps) > 0x1p-27L) continue;  // 2^-69 off the grid
                best = grid + static_cast<double>(steps) * 0x1p-42;
                mpfr_set_d(c.v, invc, MPFR_RNDN);
                mpfr_log(lc.v, c.v, MPFR_RNDN);
                mpfr_neg(lc.v, lc.v, MPFR_RNDN);
                mpfr_sub_d(t.v, lc.v, best, MPFR_RNDN);
                if (std::fabs(to_double(t)) <= 0x1p-68) break;
            }
        }
        inv.push_back(invc);
        logc.push_back(best);
        widen_reach(zlo, zhi, invc, rmin, rmax);
    }
    row(o, "double", "logInvC", inv, 4);
    row(o, "double", "logLogC", logc, 4);
    // The float rows (every single form): for each row the float 1/c, among
    // those that keep r within [-kReachF, kReachF] over the row, that makes
    // the least error at the row's ends in ulps of log z there (k = 0; the
    // results are larger elsewhere): the distance of log c from the nearest
    // multiple of 2^-17 (the place of logLn2HiF's last bit), which the
    // kernels drop, and the terms in q^2 (the fit of g and lo's roundings,
    // below 2^-22 q^2), which grow as c moves off the row's centre.  log c is
    // then that multiple: k logLn2HiF + log c is exact in floats and one
    // table value holds it.  A full scan of the candidates in doubles (log c
    // to 2^-54, the distances sought are above 2^-40), the winner's distance
    // measured again with MPFR.
    std::vector<float> inv_f, logc_f;
    double worst_relative = 0, rmin_f = 0, rmax_f = 0;
    for (int j = 0; j < 16; ++j) {
        const double zlo = from_bits(kOffset + (static_cast<uint64_t>(j) << 48));
        const double zhi = from_bits(kOffset + (static_cast<uint64_t>(j + 1) << 48));
        float best_inv = 1.0f;
        if (j != kOneRow) {
            auto ulp_at = [](double z) { return std::ldexp(1.0, std::ilogb(std::fabs(std::log(z))) - 23); };
            const double ulp_lo = ulp_at(zlo), ulp_hi = ulp_at(zhi);
            double best = 1e300;
            const float first = std::nextafter(static_cast<float>((1 - kReachF) / zlo), 2.0f);
            for (float invc = first; zhi * invc - 1 <= kReachF && zlo * invc - 1 >= -kReachF;
                 invc = std::nextafter(invc, 2.0f)) {
                const double lc = -std::log(static_cast<double>(invc));
                const double off = std::fabs(lc - std::nearbyint(lc * 0x1p17) * 0x1p-17);
                const double qlo = zlo * invc - 1, qhi = zhi * invc - 1;
                const double cost = std::max((off + 0x1p-22 * qlo * qlo) / ulp_lo, (off + 0x1p-22 * qhi * qhi) / ulp_hi);
                if (cost < best) best = cost, best_inv = invc;
            }
        }
        mpfr_set_flt(c.v, best_inv, MPFR_RNDN);
        mpfr_log(lc.v, c.v, MPFR_RNDN);
        mpfr_neg(lc.v, lc.v, MPFR_RNDN);
        const float grid = j == kOneRow ? 0.0f : static_cast<float>(std::nearbyint(to_double(lc) * 0x1p17) * 0x1p-17);
        mpfr_sub_d(t.v, lc.v, grid, MPFR_RNDN);
        // Against the smallest |log x| of the row (k = 0; elsewhere |log x| > 1/4).
        const double smallest = std::min(std::fabs(std::log(zlo)), std::fabs(std::log(zhi)));
        if (j != kOneRow) worst_relative = std::max(worst_relative, std::fabs(to_double(t)) / smallest);
        inv_f.push_back(best_inv);
        logc_f.push_back(grid);
        widen_reach(zlo, zhi, best_inv, rmin_f, rmax_f);
    }
    std::fprintf(o, "// The float rows: for each the float 1/c, keeping |r| <= %a, of least error at\n"
                    "// the row's ends (log c's distance from the nearest multiple of 2^-17, and\n"
                    "// 2^-22 q^2), and that multiple as log c: k logLn2HiF + log c is exact\n"
                    "// for |k| < 2^8, and logLogCF is log c within 2^%.1f times the smallest\n"
                    "// |log x| of its row (c = 1 in row 9).  Stored from the top row down: entry i\n"
                    "// is row 15 - i, as the kernels index by the row's bits complemented.\n",
                 kReachF, std::log2(worst_relative));
    std::reverse(inv_f.begin(), inv_f.end());
    std::reverse(logc_f.begin(), logc_f.end());
    row(o, "float", "logInvCF", inv_f, 4);
    row(o, "float", "logLogCF", logc_f, 4);
    std::fprintf(o, "// r lies in [%a, %a].\n\n", rmin, rmax);
    const double lo = rmin * (1 + 0x1p-12), hi = rmax * (1 + 0x1p-12);
    fitted<double>(o, "lnPoly", log_quotient, lo, hi, 9,
                   "(log1p(r) - r) / r^2 ~ lnPoly[0] + lnPoly[1] r + ... + lnPoly[8] r^8");
    fitted<double>(o, "lnPoly50", log_quotient, lo, hi, 8,
                   "The same for the _50 forms: lnPoly50[0] + ... + lnPoly50[7] r^7");
    std::fprintf(o, "// The float rows' r lies in [%a, %a].\n\n", rmin_f, rmax_f);
    const double lo_f = rmin_f * (1 + 0x1p-12), hi_f = rmax_f * (1 + 0x1p-12);
    fitted<float>(o, "lnPolyS", log_quotient, lo_f, hi_f, 4,
                  "The same for the single _HA forms: lnPolyS[0] + ... + lnPolyS[3] r^3, floats");
    fitted<float>(o, "lnPolyF", log_quotient, lo_f, hi_f, 3,
                  "The same for the float forms: lnPolyF[0] + lnPolyF[1] r + lnPolyF[2] r^2, floats");
    mpfr_set_ui(t.v, 2, MPFR_RNDN);
    mpfr_log(t.v, t.v, MPFR_RNDN);
    scalar(o, "float", "logLn2F", to_float(t), "ln 2");
    const float ln2hi_f = static_cast<float>(round_bits(t, 16));
    mpfr_sub_d(t.v, t.v, ln2hi_f, MPFR_RNDN);
    scalar(o, "float", "logLn2HiF", ln2hi_f, "ln 2 to 16 bits: k * it is exact for |k| < 2^8");
    scalar(o, "float", "logLn2LoF", to_float(t), "ln 2 - logLn2HiF");
    scalar(o, "float", "log10eF", to_float(l10e), "log10(e)");
    mpfr_sub_d(t.v, l10e.v, to_float(l10e), MPFR_RNDN);
    scalar(o, "float", "log10eLoF", to_float(t), "log10(e) - log10eF");
}


// ---------------------------------------------------------------- double power

// Row j of the power's logarithm covers the significands whose patterns lie
// in [kPowOffset + j 2^45, kPowOffset + (j + 1) 2^45): 128 rows over
// [0.7012, 1.4023), row 76 from 1 - 2^-9 to 1 + 2^-8 (c = 1 there).
constexpr uint64_t kPowOffset = 0x3FF0000000000000ull - (uint64_t{76} << 45) - (uint64_t{1} << 44);
constexpr int kPowOneRow = 76;

// (log1p(r) - r + r^2/2) / r^3.
void log_cubic(Big& out, const Big& r) {
    Big t;
    mpfr_log1p(out.v, r.v, MPFR_RNDN);
    mpfr_sub(out.v, out.v, r.v, MPFR_RNDN);
    mpfr_sqr(t.v, r.v, MPFR_RNDN);
    mpfr_div_2ui(t.v, t.v, 1, MPFR_RNDN);
    mpfr_add(out.v, out.v, t.v, MPFR_RNDN);
    mpfr_pow_ui(t.v, r.v, 3, MPFR_RNDN);
    mpfr_div(out.v, out.v, t.v, MPFR_RNDN);
}

void power(FILE* o) {
    std::fprintf(o, "// Tables and coefficients of the double power of the SIMD kernel classes\n"
                    "// (vecmath/simd/power.cpp), declared in vecmath/power.h.\n\n");
    Big t, e, lc;
    std::fprintf(o, "// ---- log x = k ln 2 + log c + log1p(r), x = 2^k z, z in row j (bits 45 to 51 of\n"
                    "// the offset pattern), r = z powInvC[j] - 1, log c = powLogC[j] + powLogCLo[j]\n"
                    "// (together within 2^-106 of it); 1/c the double nearest 1/(row centre), c = 1\n"
                    "// in row 76, around 1.\n\n");
    std::vector<double> inv, logc, logc_lo;
    double rmin = 0, rmax = 0;
    for (int j = 0; j < 128; ++j) {
        const double zlo = from_bits(kPowOffset + (static_cast<uint64_t>(j) << 45));
        const double zhi = from_bits(kPowOffset + (static_cast<uint64_t>(j + 1) << 45));
        const double invc = j == kPowOneRow ? 1.0 : 2.0 / (zlo + zhi);
        mpfr_set_d(t.v, invc, MPFR_RNDN);
        mpfr_log(lc.v, t.v, MPFR_RNDN);
        mpfr_neg(lc.v, lc.v, MPFR_RNDN);
        const double hi = to_double(lc);
        mpfr_sub_d(e.v, lc.v, hi, MPFR_RNDN);
        inv.push_back(invc);
        logc.push_back(hi);
        logc_lo.push_back(to_double(e));
        widen_reach(zlo, zhi, invc, rmin, rmax);
    }
    row(o, "double", "powInvC", inv, 4);
    row(o, "double", "powLogC", logc, 4);
    row(o, "double", "powLogCLo", logc_lo, 4);
    std::fprintf(o, "// r lies in [%a, %a].\n", rmin, rmax);
    const double lo = rmin * (1 + 0x1p-12), hi = rmax * (1 + 0x1p-12);
    fitted<double>(o, "powLogPoly", log_cubic, lo, hi, 6,
                   "(log1p(r) - r + r^2/2) / r^3 ~ powLogPoly[0] + ... + powLogPoly[5] r^5");
}

void generate(FILE* o) {
    std::fprintf(o, "// Tables and coefficients of the exponential and logarithms of the SIMD kernel\n"
                    "// classes (vecmath/simd/explog.cpp), declared in vecmath/explog_shared.h.\n\n");
    exponential(o);
    logarithms(o);
}

}  // namespace

int main(int argc, char** argv) {
    return write_or_check(argc, argv, "explog_vector_tables", {{"vecmath/explog_vector_tables.inc", generate}, {"vecmath/pow_vector_tables.inc", power}});
}
