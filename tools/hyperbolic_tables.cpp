// Writes vecmath/hyperbolic_tables.inc: the tables of the hyperbolic and
// inverse hyperbolic kernels that the exponential and logarithm tables do
// not already hold, and the coefficient sets of the single kernels' SSE
// arithmetic.
//
//   sinhFine    2^(i/16384), 80-bit (the double Sinh and Cosh; their other
//               two tables are expMid and expCoarse)
//   tanhPow2    2^(j/64), 80-bit (the double Tanh; its hi parts serve the
//               single Sinh and Cosh)
//   tanhSingle  tanh(k/16), double (the single Tanh)
//   kSinhSingleEven, kSinhSingleOdd   cosh(r ln 2) and sinh(r ln 2) on
//               |r| <= 1/128, the even and odd parts of 2^r
//   kLogSingle  log(1 + r) on [0, 1/256], the single inverse hyperbolics
//
// Every table entry is computed with MPFR at 320 bits and rounded once to
// its format.  The coefficient sets interpolate at the Chebyshev nodes of
// their interval (within a small factor of the minimax error), one
// coefficient at a time: the lowest is rounded to double and the others
// are refitted against what it leaves.  The tool measures each rounded set
// on a grid of 4096 points and writes its error beside it.
//
// usage: hyperbolic_tables --out|--check <source dir>
#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "mpfr_big.h"
#include "table_output.h"

namespace {

using Fn = std::function<Big(const Big&)>;

Big ratio(long num, long den) { return Big(static_cast<double>(num)) / Big(static_cast<double>(den)); }
Big exp2_of(const Big& x) { return apply(mpfr_exp2, x); }

// An 80-bit value as the pair {hi, lo} of doubles whose sum it is exactly.
std::string extended_pair(const Big& x) {
    const long double v = mpfr_get_ld(x.v, MPFR_RNDN);
    const double hi = static_cast<double>(v);
    const double lo = static_cast<double>(v - hi);
    if (static_cast<long double>(hi) + lo != v) throw "80-bit value does not split";
    return "{" + hex(hi) + ", " + hex(lo) + "}";
}

void extended_table(std::FILE* out, const char* name, int rows, long den) {
    std::fprintf(out, "inline constexpr Extended %s[%d] = {\n", name, rows);
    for (int i = 0; i < rows; ++i) std::fprintf(out, "    %s,\n", extended_pair(exp2_of(ratio(i, den))).c_str());
    std::fprintf(out, "};\n\n");
}

// sum_k coef[k] s^(first + k)
Big polynomial(const std::vector<double>& coef, int first, const Big& s) {
    Big acc;
    for (std::size_t k = coef.size(); k-- > 0;) acc = acc * s + Big(coef[k]);
    return acc * pow_of(s, first);
}

// f(s) ~ sum_k coef[k] s^(first + k) on [lo, hi], every coefficient a
// double: interpolation at Chebyshev nodes, fixing one coefficient at a time.
std::vector<double> fit(const Fn& f, double lo, double hi, int first, int count) {
    std::vector<double> coef;
    while (static_cast<int>(coef.size()) < count) {
        const int free = count - static_cast<int>(coef.size());
        std::vector<std::vector<Big>> m(free, std::vector<Big>(free));
        std::vector<Big> rhs(free);
        for (int i = 0; i < free; ++i) {
            const Big node = cos_of(pi() * ratio(2 * i + 1, 2 * free));
            const Big s = Big((lo + hi) / 2) + Big((hi - lo) / 2) * node;
            rhs[i] = f(s) - polynomial(coef, first, s);
            for (int k = 0; k < free; ++k) m[i][k] = pow_of(s, first + static_cast<long>(coef.size()) + k);
        }
        coef.push_back(solve(m, rhs)[0].d());
    }
    return coef;
}

// Largest |approx(s) / f(s) - 1| on a grid of [lo, hi] (f nonzero there).
double relative_error(const Fn& f, const Fn& approx, double lo, double hi) {
    double worst = 0;
    for (int i = 0; i <= 4096; ++i) {
        const Big s = Big(lo) + Big(hi - lo) * ratio(i, 4096);
        if (mpfr_zero_p(s.v)) continue;
        worst = std::fmax(worst, std::fabs((approx(s) / f(s) - Big(1.0)).d()));
    }
    return worst;
}

void coefficients(std::FILE* out, const char* name, const std::vector<double>& c) {
    std::fprintf(out, "inline constexpr double %s[%zu] = {", name, c.size());
    for (std::size_t k = 0; k < c.size(); ++k) std::fprintf(out, "%s%s", k ? ", " : "", hex(c[k]).c_str());
    std::fprintf(out, "};\n");
}

void generate(std::FILE* out) {
    std::fprintf(out,
                 "// Each entry is the value named below rounded once to nearest in its format;\n"
                 "// an 80-bit entry is written as two doubles whose sum it is exactly.\n\n");
    std::fprintf(out, "// sinhFine[i] = 2^(i/16384).  80-bit.\n");
    extended_table(out, "sinhFine", 16, 16384);
    std::fprintf(out, "// tanhPow2[j] = 2^(j/64).  80-bit.\n");
    extended_table(out, "tanhPow2", 64, 64);
    std::fprintf(out, "// tanhSingle[k] = tanh(k/16).  Double.\n");
    std::fprintf(out, "inline constexpr double tanhSingle[256] = {\n");
    for (int k = 0; k < 256; ++k) std::fprintf(out, "    %s,\n", hex(apply(mpfr_tanh, ratio(k, 16)).d()).c_str());
    std::fprintf(out, "};\n\n");

    // 2^r = cosh(r ln 2) + sinh(r ln 2), as functions of s = r^2.
    const double r_max = 1.0 / 128;
    Big ln2;
    mpfr_const_log2(ln2.v, MPFR_RNDN);
    const Fn even = [ln2](const Big& s) { return apply(mpfr_cosh, sqrt_of(s) * ln2); };
    const Fn odd_ratio = [ln2](const Big& s) {  // sinh(r ln 2) / r
        if (mpfr_zero_p(s.v)) return ln2;
        const Big r = sqrt_of(s);
        return apply(mpfr_sinh, r * ln2) / r;
    };
    const Fn even_less_one = [&](const Big& s) {  // (cosh(r ln 2) - 1) / s
        if (mpfr_zero_p(s.v)) return ln2 * ln2 * Big(0.5);
        return (even(s) - Big(1.0)) / s;
    };
    const std::vector<double> e = fit(even_less_one, 0, r_max * r_max, 0, 1);
    const std::vector<double> o = fit(odd_ratio, 0, r_max * r_max, 0, 2);
    const double e_err = relative_error(even, [&](const Big& s) { return Big(1.0) + polynomial(e, 1, s); }, 0,
                                        r_max * r_max);
    const double o_err = relative_error(odd_ratio, [&](const Big& s) { return polynomial(o, 0, s); }, 0,
                                        r_max * r_max);
    std::fprintf(out,
                 "// Single Sinh and Cosh: 2^r = cosh(r ln 2) + sinh(r ln 2) on |r| <= 1/128,\n"
                 "//   cosh(r ln 2) ~ 1 + E0 r^2               relative error 2^%.1f\n"
                 "//   sinh(r ln 2) ~ r (O0 + O1 r^2)          relative error 2^%.1f\n",
                 std::log2(e_err), std::log2(o_err));
    coefficients(out, "kSinhSingleEven", e);
    coefficients(out, "kSinhSingleOdd", o);

    // log(1 + r) = r + r^2 q(r) on [0, 1/256].
    const double q_max = 1.0 / 256;
    const Fn log1p_of = [](const Big& r) { return apply(mpfr_log1p, r); };
    const Fn tail = [&](const Big& r) {  // (log(1 + r) - r) / r^2
        if (mpfr_zero_p(r.v)) return Big(-0.5);
        return (log1p_of(r) - r) / (r * r);
    };
    const std::vector<double> q = fit(tail, 0, q_max, 0, 3);
    const double q_err =
        relative_error(log1p_of, [&](const Big& r) { return r + polynomial(q, 2, r); }, 0, q_max);
    std::fprintf(out,
                 "\n// Single inverse hyperbolics: log(1 + r) ~ r + r^2 (L0 + L1 r + L2 r^2) on\n"
                 "// [0, 1/256], relative error 2^%.1f.\n",
                 std::log2(q_err));
    coefficients(out, "kLogSingle", q);
}

}  // namespace

int main(int argc, char** argv) {
    return write_or_check(argc, argv, "hyperbolic_tables", {{"vecmath/hyperbolic_tables.inc", generate}});
}
