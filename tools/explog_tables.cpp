// Writes the tables of the exponential and logarithm kernels:
//   vecmath/exp_tables.inc  expFine, expMid, expCoarse (80-bit), expSingle (double)
//   vecmath/log_tables.inc  lnTable, log10Table (hi, lo, rcp), lnCubic, log10Cubic
//
// Every value is computed with MPFR at 256 bits and rounded once to its
// format, so each entry is the correctly rounded value of what its comment
// says (the ln cubics are interpolants, see below).
//
//   explog_tables --out <source dir>     regenerate the files in place
//   explog_tables --check <source dir>   exit 1 if the committed files differ
#include <mpfr.h>

#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>

#include "table_output.h"

namespace {

constexpr mpfr_prec_t kWork = 256;

// A working MPFR number with its own lifetime.
struct Big {
    mpfr_t v;
    Big() { mpfr_init2(v, kWork); }
    explicit Big(long double x) : Big() { mpfr_set_ld(v, x, MPFR_RNDN); }
    ~Big() { mpfr_clear(v); }
    Big(const Big&) = delete;
    Big& operator=(const Big&) = delete;
};

// Monic cubic of the double exponential, 2^r ~ C (((r + C2) r + C1) r + C0),
// 80-bit bits 0x40018A7FAC5F0DF14283, 0x4002C7CFB95CAC480639,
// 0x400390222B58DB3C8E05.  Its scale C = 1 / C0 is folded into expFine.
constexpr long double kExpC2 = 0x8.A7FAC5F0DF14283p-1L;
constexpr long double kExpC1 = 0xC.7CFB95CAC480639p+0L;
constexpr long double kExpC0 = 0x9.0222B58DB3C8E05p+1L;
// Scale D of the single exponential, folded into expSingle.
constexpr double kExpSingleScale = 0x1.ebfba4e02d234p-3;

long double round_ld(const Big& x) { return mpfr_get_ld(x.v, MPFR_RNDN); }
double round_d(const Big& x) { return mpfr_get_d(x.v, MPFR_RNDN); }

// 2^(num / den) at working precision.
void exp2_ratio(Big& out, long num, long den) {
    mpfr_set_si(out.v, num, MPFR_RNDN);
    mpfr_div_si(out.v, out.v, den, MPFR_RNDN);
    mpfr_exp2(out.v, out.v, MPFR_RNDN);
}

std::string hex(double x) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%a", x);
    return buf;
}

// An 80-bit value as the pair of doubles {hi, lo} whose sum it is exactly:
// hi is the value rounded to double, lo the remaining 11 bits.
std::string pair(long double x) {
    const double hi = static_cast<double>(x);
    const double lo = static_cast<double>(x - hi);
    if (static_cast<long double>(hi) + lo != x) throw "80-bit value does not split";
    return "{" + hex(hi) + ", " + hex(lo) + "}";
}

void ld_table(std::ostream& o, const char* name, int rows, long num_scale, long den,
              bool divide_by_c0) {
    o << "const Extended " << name << "[" << rows << "] = {\n";
    Big v, c0(kExpC0);
    for (int i = 0; i < rows; ++i) {
        exp2_ratio(v, i * num_scale, den);
        if (divide_by_c0) mpfr_div(v.v, v.v, c0.v, MPFR_RNDN);
        o << "    " << pair(round_ld(v)) << ",\n";
    }
    o << "};\n\n";
}

std::string exp_tables() {
    std::ostringstream o;
    o << "// Each entry is the value named below rounded once to nearest in its format;\n"
         "// an 80-bit entry is written as two doubles whose sum it is exactly.\n\n";
    o << "// expCubic = {C2, C1, C0}: 2^r ~ C (((r + C2) r + C1) r + C0) on |r| <= 2^-15,\n"
         "// 80-bit 0x40018A7FAC5F0DF14283, 0x4002C7CFB95CAC480639, 0x400390222B58DB3C8E05.\n";
    o << "const Extended expCubic[3] = {\n";
    for (long double c : {kExpC2, kExpC1, kExpC0}) o << "    " << pair(c) << ",\n";
    o << "};\n\n";
    o << "// expFine[i] = C * 2^(i/16384), C = 1/C0 (about 0.05550410867227228, close to\n"
         "// (ln 2)^3/6): the scale of the monic cubic.  80-bit.\n";
    ld_table(o, "expFine", 16, 1, 16384, true);
    o << "// expMid[i] = 2^(i/1024).  80-bit.\n";
    ld_table(o, "expMid", 32, 1, 1024, false);
    o << "// expCoarse[i] = 2^(i/32).  80-bit.\n";
    ld_table(o, "expCoarse", 32, 1, 32, false);
    o << "// expSingle[j] = D * 2^(j/64), D = " << hex(kExpSingleScale)
      << " (0.24022606667644342,\n// close to (ln 2)^2/2): the scale of the monic quadratic.  Double.\n";
    o << "const double expSingle[64] = {\n";
    Big v, d(kExpSingleScale);
    for (int j = 0; j < 64; ++j) {
        exp2_ratio(v, j, 64);
        mpfr_mul(v.v, v.v, d.v, MPFR_RNDN);
        o << "    " << hex(round_d(v)) << ",\n";
    }
    o << "};\n";
    return o.str();
}

// log of x at working precision, natural or decimal.
void log_of(Big& out, const Big& x, bool decimal) {
    if (decimal) mpfr_log10(out.v, x.v, MPFR_RNDN);
    else mpfr_log(out.v, x.v, MPFR_RNDN);
}

// Rows (hi, lo, rcp) for c = 1 + i/256: hi is log(c) rounded toward zero to
// double, lo is the remainder rounded to nearest, so hi + lo carries about
// 106 bits; rcp is 1/c rounded to nearest.
void log_pairs(std::ostream& o, const char* name, bool decimal) {
    o << "const LogRow " << name << "[256] = {\n";
    Big c, l, hi, rest, rcp;
    for (int i = 0; i < 256; ++i) {
        mpfr_set_si(c.v, 256 + i, MPFR_RNDN);
        mpfr_div_si(c.v, c.v, 256, MPFR_RNDN);
        log_of(l, c, decimal);
        const double h = mpfr_get_d(l.v, MPFR_RNDZ);
        mpfr_set_d(hi.v, h, MPFR_RNDN);
        mpfr_sub(rest.v, l.v, hi.v, MPFR_RNDN);
        mpfr_ui_div(rcp.v, 1, c.v, MPFR_RNDN);
        o << "    {" << hex(h) << ", " << hex(round_d(rest)) << ", " << hex(round_d(rcp)) << "},\n";
    }
    o << "};\n\n";
}

// Coefficients (c0, c1, c2, c3) in powers of m of a cubic through log(m) at
// the four points m[k]: Newton's divided differences, then expanded.
void interpolate(const Big (&m)[4], const Big (&f)[4], Big (&c)[4]) {
    Big d[4], t;
    for (int k = 0; k < 4; ++k) mpfr_set(d[k].v, f[k].v, MPFR_RNDN);
    for (int level = 1; level < 4; ++level)
        for (int k = 3; k >= level; --k) {
            mpfr_sub(d[k].v, d[k].v, d[k - 1].v, MPFR_RNDN);
            mpfr_sub(t.v, m[k].v, m[k - level].v, MPFR_RNDN);
            mpfr_div(d[k].v, d[k].v, t.v, MPFR_RNDN);
        }
    // p(m) = d0 + (m - m0)(d1 + (m - m1)(d2 + (m - m2) d3)); expand by Horner
    // on the coefficient vector.
    for (int k = 0; k < 4; ++k) mpfr_set_zero(c[k].v, 1);
    mpfr_set(c[0].v, d[3].v, MPFR_RNDN);
    for (int level = 2; level >= 0; --level) {
        // c(m) <- c(m) * (m - m[level]) + d[level]
        for (int k = 3; k >= 1; --k) {
            mpfr_mul(t.v, c[k].v, m[level].v, MPFR_RNDN);
            mpfr_sub(c[k].v, c[k - 1].v, t.v, MPFR_RNDN);
        }
        mpfr_mul(t.v, c[0].v, m[level].v, MPFR_RNDN);
        mpfr_neg(c[0].v, t.v, MPFR_RNDN);
        mpfr_add(c[0].v, c[0].v, d[level].v, MPFR_RNDN);
    }
}

// Taylor cubic of ln about a, in powers of m:
// ln a + (m-a)/a - (m-a)^2/(2a^2) + (m-a)^3/(3a^3).
void taylor(long a, Big (&c)[4]) {
    Big av, la, s, t;
    mpfr_set_si(av.v, a, MPFR_RNDN);
    mpfr_log(la.v, av.v, MPFR_RNDN);
    // Derivative coefficients g1 = 1/a, g2 = -1/(2a^2), g3 = 1/(3a^3).
    Big g[4];
    mpfr_set(g[0].v, la.v, MPFR_RNDN);
    mpfr_set_si(g[1].v, 1, MPFR_RNDN);
    mpfr_div_si(g[1].v, g[1].v, a, MPFR_RNDN);
    mpfr_set_si(g[2].v, -1, MPFR_RNDN);
    mpfr_div_si(g[2].v, g[2].v, 2 * a * a, MPFR_RNDN);
    mpfr_set_si(g[3].v, 1, MPFR_RNDN);
    mpfr_div_si(g[3].v, g[3].v, 3 * a * a * a, MPFR_RNDN);
    // sum g_k (m - a)^k; binomial expansion, (m - a)^k = sum C(k,j) m^j (-a)^(k-j).
    static const int binom[4][4] = {{1, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 1, 0}, {1, 3, 3, 1}};
    for (int j = 0; j < 4; ++j) mpfr_set_zero(c[j].v, 1);
    for (int k = 0; k < 4; ++k)
        for (int j = 0; j <= k; ++j) {
            mpfr_set_si(s.v, binom[k][j], MPFR_RNDN);
            mpfr_set_si(t.v, -a, MPFR_RNDN);
            mpfr_pow_ui(t.v, t.v, static_cast<unsigned long>(k - j), MPFR_RNDN);
            mpfr_mul(s.v, s.v, t.v, MPFR_RNDN);
            mpfr_mul(s.v, s.v, g[k].v, MPFR_RNDN);
            mpfr_add(c[j].v, c[j].v, s.v, MPFR_RNDN);
        }
}

// Cubics in m for m in [1 + i/256, 1 + (i+1)/256) approximating ln(m).
// The end rows are Taylor cubics about 1 and 2, so that ln(1) comes out
// exactly 0 and the sum with -ln 2 just below 1 keeps its relative accuracy;
// the others interpolate at the Chebyshev points of their interval (within
// a factor of two of the minimax error, about 2^-41 absolute).
void ln_cubic_row(int i, Big (&c)[4]) {
    if (i == 0 || i == 255) {
        taylor(i == 0 ? 1 : 2, c);
        return;
    }
    Big m[4], f[4], mid, half, t;
    mpfr_set_si(mid.v, 512 + 2 * i + 1, MPFR_RNDN);
    mpfr_div_si(mid.v, mid.v, 512, MPFR_RNDN);
    mpfr_set_si(half.v, 1, MPFR_RNDN);
    mpfr_div_si(half.v, half.v, 512, MPFR_RNDN);
    for (int k = 0; k < 4; ++k) {
        mpfr_const_pi(t.v, MPFR_RNDN);
        mpfr_mul_si(t.v, t.v, 2 * k + 1, MPFR_RNDN);
        mpfr_div_si(t.v, t.v, 8, MPFR_RNDN);
        mpfr_cos(t.v, t.v, MPFR_RNDN);
        mpfr_mul(t.v, t.v, half.v, MPFR_RNDN);
        mpfr_add(m[k].v, mid.v, t.v, MPFR_RNDN);
        mpfr_log(f[k].v, m[k].v, MPFR_RNDN);
    }
    interpolate(m, f, c);
}

// log10(e) rounded to double, 0x3FDBCB7B1526E50E.
constexpr double kLog10E = 0x1.bcb7b1526e50ep-2;

// The natural cubics rounded to double; the decimal ones are those doubles
// times the double log10(e), each product rounded once, so that row 0 still
// sums to exactly 0 at m = 1.
void log_cubics(std::ostream& o, const char* name, bool decimal) {
    o << "const CubicRow " << name << "[256] = {\n";
    Big c[4];
    for (int i = 0; i < 256; ++i) {
        ln_cubic_row(i, c);
        double d[4];
        for (int k = 0; k < 4; ++k) {
            d[k] = round_d(c[k]);
            if (decimal) {
                mpfr_set_d(c[k].v, d[k], MPFR_RNDN);
                mpfr_mul_d(c[k].v, c[k].v, kLog10E, MPFR_RNDN);
                d[k] = round_d(c[k]);
            }
        }
        o << "    {" << hex(d[0]) << ", " << hex(d[1]) << ", " << hex(d[2]) << ", " << hex(d[3])
          << "},\n";
    }
    o << "};\n\n";
}

std::string log_tables() {
    std::ostringstream o;
    o << "\n";
    o << "// lnTable[i], c = 1 + i/256: hi + lo = ln(c) to about 2^-106 relative (hi is\n"
         "// ln(c) rounded toward zero to double), rcp = 1/c rounded to nearest.\n";
    log_pairs(o, "lnTable", false);
    o << "// log10Table[i]: the same with hi + lo = log10(c).\n";
    log_pairs(o, "log10Table", true);
    o << "// lnCubic[i]: c0 + c1 m + c2 m^2 + c3 m^3 approximates ln(m) on\n"
         "// [1 + i/256, 1 + (i+1)/256): Taylor about 1 (row 0) and 2 (row 255),\n"
         "// interpolation at the Chebyshev points elsewhere; below 2^-40 absolute.\n";
    log_cubics(o, "lnCubic", false);
    o << "// log10Cubic[i]: lnCubic[i] times log10(e), both doubles, each product rounded.\n";
    log_cubics(o, "log10Cubic", true);
    return o.str();
}

}  // namespace

int main(int argc, char** argv) {
    return write_or_check(argc, argv, "explog_tables",
                          {{"vecmath/exp_tables.inc", [](FILE* f) { std::fputs(exp_tables().c_str(), f); }},
                           {"vecmath/log_tables.inc", [](FILE* f) { std::fputs(log_tables().c_str(), f); }}});
}
