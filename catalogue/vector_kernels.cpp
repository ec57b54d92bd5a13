// The rows of the catalogue (see vector_kernels.h), family by family.  A
// new family adds its section here: one row per export, each either
// forwarding to another export or giving its bound (the one its error
// budget states) and the intervals it is measured on.
#include "catalogue/vector_kernels.h"

#include <algorithm>
#include <cctype>
#include <cfloat>
#include <cstdio>
#include <cstdlib>

#include "xebruk/vm_div.h"
#include "xebruk/vm_explog.h"
#include "xebruk/vm_power.h"
#include "xebruk/vm_roots.h"
#include "xebruk/vm_trig.h"

namespace xeb::catalogue {

namespace {

using K = VectorKernel;

// Every finite nonzero magnitude, both signs; the positive ones.
const Interval kAllDoubles{kDoubleTrueMin, DBL_MAX, true};
const Interval kAllFloats{FLT_TRUE_MIN, FLT_MAX, true};
const Interval kPositiveDoubles{kDoubleTrueMin, DBL_MAX, false};
const Interval kPositiveFloats{FLT_TRUE_MIN, FLT_MAX, false};

// Reciprocal and division.  Double: 64-bit intermediates and one rounding
// at the store (bound 0.51 ulp, see vecmath/divide.cpp); single: correctly
// rounded SSE division.
std::vector<K> divide() {
    const Interval near_one{0.5, 2.0, true};
    return {
        K("Inv", "HA", xebdInv_HA).ulp(0.51).on({kAllDoubles, near_one}),
        K("Inv", "50", xebdInv_50).forwards(xebdInv_HA),
        K("Inv", "HA", xebsInv_HA).ulp(0.5).on({kAllFloats}),
        K("Inv", "21", xebsInv_21).forwards(xebsInv_HA),
        K("Inv", "11", xebsInv_11).forwards(xebsInv_HA),
        K("Div", "HA", xebdDiv_HA).ulp(0.51).on({kAllDoubles, near_one}, {kAllDoubles, near_one}),
        K("Div", "50", xebdDiv_50).forwards(xebdDiv_HA),
        K("Div", "HA", xebsDiv_HA).ulp(0.5).on({kAllFloats}, {kAllFloats}),
        K("Div", "21", xebsDiv_21).forwards(xebsDiv_HA),
        K("Div", "11", xebsDiv_11).forwards(xebsDiv_HA),
    };
}

// Exponential and logarithms (vecmath/exp.cpp, vecmath/log.cpp).  Exp:
// every binade up to past both ends (beyond them the reference leaves the
// format and an infinity or a zero is what the measure accepts), the
// working range, the band near overflow and the denormal results.  Logs:
// all positive numbers including denormals, and close to 1 on both sides,
// where the result is smallest.
std::vector<K> exp_log() {
    const std::vector<Interval> exp_d = {{kDoubleTrueMin, 745.2, true}, {0.5, 745.2, true},
                                         {700.0, 745.2, true}, {0x1p-30, 1.0, true}};
    const std::vector<Interval> exp_s = {{FLT_TRUE_MIN, 104.0f, true}, {0.5f, 104.0f, true},
                                         {85.0f, 104.0f, true}};
    const std::vector<Interval> log_d = {{kDoubleTrueMin, DBL_MAX, false}, {0.5, 2.0, false},
                                         {0.99, 1.01, false}, {0.998046875, 1.0, false}};
    const std::vector<Interval> log_s = {{FLT_TRUE_MIN, FLT_MAX, false}, {0.5f, 2.0f, false},
                                         {0.99f, 1.01f, false}};
    return {
        K("Exp", "HA", xebdExp_HA).ulp(0.82).on(exp_d),
        K("Exp", "50", xebdExp_50).forwards(xebdExp_HA),
        K("Exp", "HA", xebsExp_HA).ulp(0.65).on(exp_s),
        K("Exp", "21", xebsExp_21).forwards(xebsExp_HA),
        K("Exp", "11", xebsExp_11).forwards(xebsExp_HA),
        K("Ln", "HA", xebdLn_HA).ulp(0.8).on(log_d),
        K("Ln", "50", xebdLn_50).forwards(xebdLn_HA),
        K("Ln", "HA", xebsLn_HA).ulp(0.8).on(log_s),
        K("Ln", "21", xebsLn_21).forwards(xebsLn_HA),
        K("Ln", "11", xebsLn_11).forwards(xebsLn_HA),
        K("Log10", "HA", xebdLog10_HA).ulp(0.95).on(log_d),
        K("Log10", "50", xebdLog10_50).forwards(xebdLog10_HA),
        K("Log10", "HA", xebsLog10_HA).ulp(0.8).on(log_s),
        K("Log10", "21", xebsLog10_21).forwards(xebsLog10_HA),
        K("Log10", "11", xebsLog10_11).forwards(xebsLog10_HA),
    };
}

// Power (vecmath/power.cpp): bases over every positive binade against
// exponents that keep x^y in range, bases near 1 (down to a few ulps from
// it, where log2 x is carried mostly in its low part) against large
// exponents, and pairs whose results fall across the denormal range.
std::vector<K> power() {
    const Interval half_to_two{0.5, 2.0, false};
    const std::vector<Interval> d_a{kPositiveDoubles, half_to_two, {1.0 - 0x1p-20, 1.0 + 0x1p-20, false},
                                    {kDoubleTrueMin, 0x1p-1000, false}, {1.0 - 0x1p-40, 1.0 + 0x1p-40, false}};
    const std::vector<Interval> d_b{{0x1p-12, 1.0, true}, {1.0, 1074.0, true}, {1e3, 1e9, true},
                                    {0.9, 1.1, false}, {0x1p30, 0x1p56, true}};
    const std::vector<Interval> s_a{kPositiveFloats, half_to_two, {1.0 - 0x1p-20, 1.0 + 0x1p-20, false}};
    const std::vector<Interval> s_b{{0x1p-12, 1.0, true}, {1.0, 149.0, true}, {1e3, 1e9, true}};
    const std::vector<double> d_scalars{-1074.5, -3.25, -0.5, 0x1p-9, 1.0 / 3, 2.5, 17.0, 700.125};
    const std::vector<double> s_scalars{-149.5, -3.25, -0.5, 0x1p-9, 1.0 / 3, 2.5, 17.0, 90.125};
    return {
        K("Pow", "HA", xebdPow_HA).ulp(0.52).on(d_a, d_b),
        K("Pow", "50", xebdPow_50).ulp(4.0).on(d_a, d_b),
        K("Pow", "HA", xebsPow_HA).ulp(0.51).on(s_a, s_b),
        K("Pow", "21", xebsPow_21).ulp(4.0).on(s_a, s_b),
        K("Pow", "11", xebsPow_11).forwards(xebsPow_21),
        K("Powx", "HA", xebdPowx_HA).ulp(0.52).on({kPositiveDoubles, half_to_two}).with_scalars(d_scalars),
        K("Powx", "50", xebdPowx_50).forwards(xebdPowx_HA),
        K("Powx", "HA", xebsPowx_HA).ulp(0.51).on({kPositiveFloats, half_to_two}).with_scalars(s_scalars),
        K("Powx", "21", xebsPowx_21).forwards(xebsPowx_HA),
        K("Powx", "11", xebsPowx_11).forwards(xebsPowx_HA),
    };
}

// Square and cube roots and their reciprocals (vecmath/roots.cpp), over
// every positive binade (and the negative ones for the cube roots),
// denormals included.
std::vector<K> roots() {
    const Interval denormal_d{kDoubleTrueMin, DBL_MIN, true}, denormal_s{FLT_TRUE_MIN, FLT_MIN, true};
    const std::vector<Interval> d_pos{kPositiveDoubles, denormal_d, {1.0, 4.0, false}};
    const std::vector<Interval> s_pos{kPositiveFloats, denormal_s, {1.0, 4.0, false}};
    const std::vector<Interval> d_all{kAllDoubles, denormal_d, {1.0, 8.0, true}};
    const std::vector<Interval> s_all{kAllFloats, denormal_s, {1.0, 8.0, true}};
    return {
        K("Sqrt", "HA", xebdSqrt_HA).ulp(0.51).on(d_pos),
        K("Sqrt", "50", xebdSqrt_50).forwards(xebdSqrt_HA),
        K("Sqrt", "HA", xebsSqrt_HA).ulp(0.55).on(s_pos),
        K("Sqrt", "21", xebsSqrt_21).forwards(xebsSqrt_HA),
        K("Sqrt", "11", xebsSqrt_11).forwards(xebsSqrt_HA),
        K("InvSqrt", "HA", xebdInvSqrt_HA).ulp(0.51).on(d_pos),
        K("InvSqrt", "50", xebdInvSqrt_50).forwards(xebdInvSqrt_HA),
        K("InvSqrt", "HA", xebsInvSqrt_HA).ulp(0.55).on(s_pos),
        K("InvSqrt", "21", xebsInvSqrt_21).forwards(xebsInvSqrt_HA),
        K("InvSqrt", "11", xebsInvSqrt_11).forwards(xebsInvSqrt_HA),
        K("Cbrt", "HA", xebdCbrt_HA).ulp(0.51).on(d_all),
        K("Cbrt", "50", xebdCbrt_50).forwards(xebdCbrt_HA),
        K("Cbrt", "HA", xebsCbrt_HA).ulp(0.65).on(s_all),
        K("Cbrt", "21", xebsCbrt_21).forwards(xebsCbrt_HA),
        K("Cbrt", "11", xebsCbrt_11).forwards(xebsCbrt_HA),
        K("InvCbrt", "HA", xebdInvCbrt_HA).ulp(0.51).on(d_all),
        K("InvCbrt", "50", xebdInvCbrt_50).forwards(xebdInvCbrt_HA),
        K("InvCbrt", "HA", xebsInvCbrt_HA).ulp(0.9).on(s_all),
        K("InvCbrt", "21", xebsInvCbrt_21).forwards(xebsInvCbrt_HA),
        K("InvCbrt", "11", xebsInvCbrt_11).forwards(xebsInvCbrt_HA),
    };
}

// Sine, cosine, sine-cosine and tangent (vecmath/trig.cpp): all finite
// magnitudes (most of them beyond the kernels' bounds, on the scalar
// forms), the fast range and a few periods.
std::vector<K> trig() {
    const Interval periods{0.25, 64.0, true};
    const std::vector<Interval> d{kAllDoubles, {0x1p-30, 127999.0, true}, periods};
    const Interval fast_10048{0x1p-30, 10048.0, true}, fast_128k{0x1p-30, 128000.0, true};
    const Interval fast_500k{0x1p-30, 500000.0, true}, fast_1m{0x1p-30, 1000000.0, true};
    return {
        K("Sin", "HA", xebdSin_HA).ulp(0.7).on(d),
        K("Sin", "50", xebdSin_50).forwards(xebdSin_HA),
        K("Cos", "HA", xebdCos_HA).ulp(0.7).on(d),
        K("Cos", "50", xebdCos_50).forwards(xebdCos_HA),
        K("SinCos", "HA", xebdSinCos_HA).ulp(0.6).on(d),
        K("SinCos", "50", xebdSinCos_50).forwards(xebdSinCos_HA),
        K("Tan", "HA", xebdTan_HA).ulp(1).on(d),
        K("Tan", "50", xebdTan_50).ulp(3).on(d),
        K("Sin", "HA", xebsSin_HA).ulp(0.85).on({kAllFloats, fast_500k, periods}),
        K("Sin", "21", xebsSin_21).ulp(4).on({kAllFloats, fast_1m, periods}),
        K("Sin", "11", xebsSin_11).forwards(xebsSin_21),
        K("Cos", "HA", xebsCos_HA).ulp(0.85).on({kAllFloats, fast_500k, periods}),
        K("Cos", "21", xebsCos_21).ulp(4).on({kAllFloats, fast_10048, periods}),
        K("Cos", "11", xebsCos_11).forwards(xebsCos_21),
        K("SinCos", "HA", xebsSinCos_HA).ulp(1).on({kAllFloats, fast_1m, periods}),
        K("SinCos", "21", xebsSinCos_21).ulp(4).on({kAllFloats, fast_1m, periods}),
        K("SinCos", "11", xebsSinCos_11).forwards(xebsSinCos_21),
        K("Tan", "HA", xebsTan_HA).ulp(1).on({kAllFloats, fast_128k, periods}),
        K("Tan", "21", xebsTan_21).ulp(4).on({kAllFloats, fast_500k, periods}),
        K("Tan", "11", xebsTan_11).forwards(xebsTan_21),
    };
}

// A malformed row is a mistake in this file: say which and stop.
[[noreturn]] void malformed(const VectorKernel& k, const char* what) {
    std::fprintf(stderr, "vector kernel catalogue: %s: %s\n", k.name.c_str(), what);
    std::abort();
}

std::vector<VectorKernel> build() {
    std::vector<VectorKernel> rows;
    for (auto family : {divide, exp_log, power, roots, trig}) {
        const std::vector<VectorKernel> family_rows = family();
        rows.insert(rows.end(), family_rows.begin(), family_rows.end());
    }
    std::sort(rows.begin(), rows.end(),
              [](const VectorKernel& x, const VectorKernel& y) { return x.name < y.name; });
    for (std::size_t i = 0; i + 1 < rows.size(); ++i)
        if (rows[i].name == rows[i + 1].name) malformed(rows[i], "two rows");
    for (const VectorKernel& k : rows) {
        if (k.forwards_to != nullptr) {
            const auto t = std::find_if(rows.begin(), rows.end(),
                                        [&](const VectorKernel& r) { return r.function == k.forwards_to; });
            if (t == rows.end() || t->forwards_to != nullptr || t->shape != k.shape ||
                t->precision != k.precision || k.bound_ulp != 0 || !k.a.empty())
                malformed(k, "forwards to no row of its own with the same shape, or states its accuracy");
        } else if (!(k.bound_ulp > 0) || k.a.empty() || (k.shape == Shape::TwoInputs) == k.b.empty() ||
                   (k.shape == Shape::ScalarArgument) == k.scalars.empty()) {
            malformed(k, "needs a bound and the intervals (and scalars) of its shape");
        }
    }
    return rows;
}

}  // namespace

VectorKernel::VectorKernel(const char* family_name, const char* form_name, char p, Shape s, void (*f)())
    : name(std::string("xeb") + p + family_name + "_" + form_name),
      family(family_name),
      precision(p),
      form(form_name),
      shape(s),
      function(f) {}

std::string VectorKernel::short_name() const {
    std::string s = family + "_" + form;
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

const std::vector<VectorKernel>& vector_kernels() {
    static const std::vector<VectorKernel> rows = build();
    return rows;
}

const VectorKernel* find_kernel(const std::string& name) {
    for (const VectorKernel& k : vector_kernels())
        if (k.name == name) return &k;
    return nullptr;
}

const VectorKernel* forward_target(const VectorKernel& k) {
    if (k.forwards_to == nullptr) return nullptr;
    for (const VectorKernel& t : vector_kernels())
        if (t.function == k.forwards_to) return &t;
    return nullptr;
}

const VectorKernel* find_short(const std::string& short_name, char precision) {
    for (const VectorKernel& k : vector_kernels())
        if (k.precision == precision && k.short_name() == short_name) return &k;
    return nullptr;
}

}  // namespace xeb::catalogue
