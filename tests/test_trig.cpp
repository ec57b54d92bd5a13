// Trigonometric kernels, their scalar forms and the reduction modulo pi/2:
// accuracy where the reduction is hardest (MPFR reference), the reduction's
// error in every binade, events, signed zeros, bounds, fallbacks and the
// x87 control word, block-size independence.  Sweeps over all binades are
// rows of the kernel catalogue; the tables are checked by their generator.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "support/args.h"
#include "support/events.h"
#include "support/scale.h"
#include "accuracy/ulp.h"
#include "vecmath/trig_tables.h"
#include "xebruk/vm_trig.h"

namespace {

using xeb::bits;
using xeb::double_from_bits;
using xeb::float_from_bits;

// ---- MPFR references ----------------------------------------------------

// Enough bits to reduce the largest double with 200 bits to spare.
constexpr mpfr_prec_t kRefPrec = 1400;

struct Mp {
    mpfr_t v;
    explicit Mp(mpfr_prec_t p = kRefPrec) { mpfr_init2(v, p); }
    ~Mp() { mpfr_clear(v); }
};

enum class Fn { Sin, Cos, Tan };

long double mp_eval(Fn f, double x) {
    Mp a(53), r(128);  // the result to 128 bits; MPFR reduces with what it needs
    mpfr_set_d(a.v, x, MPFR_RNDN);
    (f == Fn::Sin ? mpfr_sin : f == Fn::Cos ? mpfr_cos : mpfr_tan)(r.v, a.v, MPFR_RNDN);
    return mpfr_get_ld(r.v, MPFR_RNDN);
}

// |out[0] + out[1] - (x - n pi/2 reduced into (-pi, pi])| as a share of the
// allowance: 2^-100 absolute or 2^-58 of the reference remainder, whichever
// is larger.
double reduction_share(double x, int n, const double out[2]) {
    Mp pi, r, t, got;
    mpfr_const_pi(pi.v, MPFR_RNDN);
    mpfr_set_d(r.v, x, MPFR_RNDN);
    mpfr_mul_si(t.v, pi.v, n, MPFR_RNDN);
    mpfr_div_2ui(t.v, t.v, 1, MPFR_RNDN);
    mpfr_sub(r.v, r.v, t.v, MPFR_RNDN);  // x - n pi/2
    mpfr_mul_2ui(t.v, pi.v, 1, MPFR_RNDN);
    mpfr_remainder(r.v, r.v, t.v, MPFR_RNDN);  // into (-pi, pi]
    mpfr_set_d(got.v, out[0], MPFR_RNDN);
    mpfr_add_d(got.v, got.v, out[1], MPFR_RNDN);
    mpfr_sub(got.v, got.v, r.v, MPFR_RNDN);
    const double allowed = std::max(0x1p-100, 0x1p-58 * std::fabs(mpfr_get_d(r.v, MPFR_RNDN)));
    return std::fabs(mpfr_get_d(got.v, MPFR_RNDN)) / allowed;
}

// For each binade 2^(e+52) <= x < 2^(e+53) (floats: 2^(e+23) <= x < 2^(e+24))
// the argument closest to a multiple of pi/2 relative to its size: the
// last convergent p/q of the continued fraction of pi/2 / 2^e whose p has
// the format's significand width, x = p 2^e.  Among them are the hardest
// doubles for reduction, such as 6381956970095103 * 2^797.
std::vector<double> hard_cases(int digits, int e_lo, int e_hi) {
    std::vector<double> v;
    mpfr_t alpha, a, p0, p1, p2, limit;
    for (mpfr_t* m : {&alpha, &a, &p0, &p1, &p2, &limit}) mpfr_init2(*m, 2600);
    mpfr_set_ui_2exp(limit, 1, digits, MPFR_RNDN);
    for (int e = e_lo; e <= e_hi; ++e) {
        mpfr_const_pi(alpha, MPFR_RNDN);
        mpfr_mul_2si(alpha, alpha, -1 - e, MPFR_RNDN);
        mpfr_set_ui(p0, 1, MPFR_RNDN);  // p(-1)
        mpfr_set_ui(p1, 0, MPFR_RNDN);  // p(-2)
        for (int n = 0; n < 200; ++n) {
            mpfr_floor(a, alpha);
            mpfr_mul(p2, a, p0, MPFR_RNDN);
            mpfr_add(p2, p2, p1, MPFR_RNDN);  // p(n) = a(n) p(n-1) + p(n-2)
            if (mpfr_cmp(p2, limit) >= 0) break;
            mpfr_set(p1, p0, MPFR_RNDN);
            mpfr_set(p0, p2, MPFR_RNDN);
            mpfr_sub(alpha, alpha, a, MPFR_RNDN);
            if (mpfr_zero_p(alpha)) break;
            mpfr_ui_div(alpha, 1, alpha, MPFR_RNDN);
        }
        mpfr_div_2ui(limit, limit, 1, MPFR_RNDN);
        if (mpfr_cmp(p0, limit) >= 0) v.push_back(std::ldexp(mpfr_get_d(p0, MPFR_RNDN), e));
        mpfr_mul_2ui(limit, limit, 1, MPFR_RNDN);
    }
    for (mpfr_t* m : {&alpha, &a, &p0, &p1, &p2, &limit}) mpfr_clear(*m);
    return v;
}

// Hard cases of every binade up to `limit`, the nearest doubles to k pi/2
// for k spread over the binades and their neighbours, both signs.
std::vector<double> near_multiples(double limit, std::size_t count) {
    std::vector<double> v;
    const int top = std::min(1023, std::ilogb(limit));
    for (double x : hard_cases(53, -52, top - 52)) {
        v.push_back(x);
        v.push_back(-x);
    }
    auto rng = xt::seeded(77);
    Mp pi, t;
    mpfr_const_pi(pi.v, MPFR_RNDN);
    for (std::size_t i = 0; i < count; ++i) {
        const int e = static_cast<int>(rng() % static_cast<uint64_t>(top + 1));
        const double kd = std::floor(std::ldexp(1.0 + static_cast<double>(rng() >> 12) * 0x1p-52, e));
        mpfr_mul_d(t.v, pi.v, kd, MPFR_RNDN);
        mpfr_div_2ui(t.v, t.v, 1, MPFR_RNDN);
        const double x = mpfr_get_d(t.v, MPFR_RNDN);
        if (!(x < limit)) continue;
        for (double y : {x, std::nextafter(x, 0.0), std::nextafter(x, DBL_MAX)})
            v.push_back((rng() & 1) ? -y : y);
    }
    return v;
}

// ---- xebreduce_pio2d --------------------------------------------------------

// The error must stay within its allowance over random arguments in every
// binade, the hard cases and the edges of the case split at 2^30 and of
// the format.
TEST(ReducePio2, ErrorInEveryBinadeAndAtHardCases) {
    auto rng = xt::seeded(5);
    std::vector<double> xs = xt::sample(xt::Range{0x1p-20, DBL_MAX, true}, xt::scaled(20000), rng);
    const std::vector<double> hard = near_multiples(DBL_MAX, xt::scaled(4000));
    ASSERT_NE(std::find(hard.begin(), hard.end(), std::ldexp(6381956970095103.0, 797)), hard.end());
    xs.insert(xs.end(), hard.begin(), hard.end());
    xs.insert(xs.end(), {std::nextafter(0x1p30, 0.0), 0x1p30, std::nextafter(0x1p30, 2e9), 0x1p23,
                         std::nextafter(0x1p23, 0.0), DBL_MAX, std::nextafter(DBL_MAX, 0.0)});
    for (double x : xs) {
        double out[2];
        const int n = xebreduce_pio2d(x, out);
        ASSERT_GE(n, 0);
        ASSERT_LE(n, 3);
        ASSERT_LE(std::fabs(out[0]), 0.7853981634 * (1 + 0x1p-20)) << x;
        EXPECT_EQ(out[0] + out[1], out[0]) << "not normalised at " << x;
        ASSERT_LT(reduction_share(x, n, out), 1.0) << std::hexfloat << x;
    }
    // The two sides of 2^30 lie 2^-22 apart: the same quadrant and
    // remainders that differ by that much.
    double below[2], above[2];
    EXPECT_EQ(xebreduce_pio2d(std::nextafter(0x1p30, 0.0), below), xebreduce_pio2d(0x1p30, above));
    EXPECT_NEAR(above[0] - below[0], 0x1p-23, 0x1p-60);
}

TEST(ReducePio2, OddInSignAndExactForSmallArguments) {
    auto rng = xt::seeded(6);
    for (double x : xt::sample(xt::Range{DBL_TRUE_MIN, DBL_MAX, false}, xt::scaled(5000), rng)) {
        double p[2], m[2];
        const int np = xebreduce_pio2d(x, p);
        EXPECT_EQ(xebreduce_pio2d(-x, m), (4 - np) & 3) << x;
        EXPECT_EQ(bits(m[0]), bits(-p[0])) << x;
        EXPECT_EQ(m[1], -p[1]) << x;  // a zero low part may have either sign
    }
    for (double x : {0.0, -0.0, 1e-300, -0.75, 0.785}) {
        double out[2];
        EXPECT_EQ(xebreduce_pio2d(x, out), 0);
        EXPECT_EQ(bits(out[0]), bits(x));
    }
}

// ---- the twenty kernels as one list -----------------------------------------

struct Kernel {
    const char* name;
    const char* event_name;
    uint64_t bound;  // the smallest |x| that leaves the fast path, as bits
    void (*d1)(int, const double*, double*) = nullptr;
    void (*d2)(int, const double*, double*, double*) = nullptr;
    void (*s1)(int, const float*, float*) = nullptr;
    void (*s2)(int, const float*, float*, float*) = nullptr;

    bool is_double() const { return d1 || d2; }
    bool two() const { return d2 || s2; }
    bool has(const char* s) const { return std::string(name).find(s) != std::string::npos; }
    // Whether the kernel class in use runs code of its own for this kernel
    // (the SIMD classes', whose lower forms are _HA's).
    bool class_code() const { return xebGetKernelClass() != XEB_KERNEL_BASELINE; }
    double class_bound() const { return has("Tan") ? 0.8 : 0.6; }
    Fn fn() const { return has("Tan") ? Fn::Tan : has("Cos_") && !two() ? Fn::Cos : Fn::Sin; }
    double ulps(double got, long double ref) const {
        return is_double() ? xt::ulp_error(got, ref) : xt::ulp_error(static_cast<float>(got), ref);
    }
    // Runs on a double array (converted for single kernels); z is filled
    // for two-output kernels only.  In place when `in_place`.
    void run(const std::vector<double>& a, std::vector<double>& y, std::vector<double>& z,
             bool in_place = false) const {
        const int n = static_cast<int>(a.size());
        y = a;
        z.assign(n, 0);
        if (is_double()) {
            const double* in = in_place ? y.data() : a.data();
            d1 ? d1(n, in, y.data()) : d2(n, in, y.data(), z.data());
            return;
        }
        std::vector<float> af(a.begin(), a.end()), yf(af), zf(n);
        const float* in = in_place ? yf.data() : af.data();
        s1 ? s1(n, in, yf.data()) : s2(n, in, yf.data(), zf.data());
        y.assign(yf.begin(), yf.end());
        z.assign(zf.begin(), zf.end());
    }
};

// The first |x| off the fast path: high word 0x40FF4000 for the double
// kernels; for the single ones the bits just above their bound.
const std::vector<Kernel>& kernels() {
    using D1 = void (*)(int, const double*, double*);
    using D2 = void (*)(int, const double*, double*, double*);
    using S1 = void (*)(int, const float*, float*);
    const uint64_t d = 0x40FF4000;
    static const std::vector<Kernel> list = {
        {"xebdSin_HA", "dSin_HA", d, xebdSin_HA}, {"xebdSin_50", "dSin_HA", d, xebdSin_50},
        {"xebdCos_HA", "dCos_HA", d, xebdCos_HA}, {"xebdCos_50", "dCos_HA", d, xebdCos_50},
        {"xebdSinCos_HA", "dSinCos_HA", d, D1{}, xebdSinCos_HA},
        {"xebdSinCos_50", "dSinCos_HA", d, D1{}, xebdSinCos_50},
        {"xebdTan_HA", "dTan_HA", d, xebdTan_HA}, {"xebdTan_50", "dTan_HA", d, xebdTan_50},
        {"xebsSin_HA", "sSin_HA", 0x48F42401, D1{}, D2{}, xebsSin_HA},
        {"xebsSin_21", "sSin_LA", 0x49742401, D1{}, D2{}, xebsSin_21},
        {"xebsSin_11", "sSin_LA", 0x49742401, D1{}, D2{}, xebsSin_11},
        {"xebsCos_HA", "sCos_HA", 0x48F42401, D1{}, D2{}, xebsCos_HA},
        {"xebsCos_21", "sCos_LA", 0x461D0001, D1{}, D2{}, xebsCos_21},
        {"xebsCos_11", "sCos_LA", 0x461D0001, D1{}, D2{}, xebsCos_11},
        {"xebsSinCos_HA", "sSinCos_HA", 0x49742401, D1{}, D2{}, S1{}, xebsSinCos_HA},
        {"xebsSinCos_21", "sSinCos_LA", 0x49742401, D1{}, D2{}, S1{}, xebsSinCos_21},
        {"xebsSinCos_11", "sSinCos_LA", 0x49742401, D1{}, D2{}, S1{}, xebsSinCos_11},
        {"xebsTan_HA", "sTan_HA", 0x47FA0001, D1{}, D2{}, xebsTan_HA},
        {"xebsTan_21", "sTan_LA", 0x48F42401, D1{}, D2{}, xebsTan_21},
        {"xebsTan_11", "sTan_LA", 0x48F42401, D1{}, D2{}, xebsTan_11},
    };
    return list;
}

// The scalar form of kernel k's _HA at x (z for the pair).
void scalar_form(const Kernel& k, double x, std::vector<double>& y, std::vector<double>& z) {
    y.assign(1, 0);
    z.assign(1, 0);
    const bool sin = k.fn() == Fn::Sin && !k.two(), cos = k.fn() == Fn::Cos;
    if (k.is_double()) {
        if (k.two()) xebdSinCos_SC_HA(0, &x, y.data(), z.data(), nullptr);
        else (sin ? xebdSin_SC_HA : cos ? xebdCos_SC_HA : xebdTan_SC_HA)(0, &x, y.data(), nullptr);
        return;
    }
    const float f = static_cast<float>(x);
    float fy = 0, fz = 0;
    if (k.two()) xebsSinCos_SC_HA(0, &f, &fy, &fz, nullptr);
    else (sin ? xebsSin_SC_HA : cos ? xebsCos_SC_HA : xebsTan_SC_HA)(0, &f, &fy, nullptr);
    y[0] = fy;
    z[0] = fz;
}

class EachKernel : public ::testing::TestWithParam<std::size_t> {
protected:
    const Kernel& k() const { return kernels()[GetParam()]; }
};

INSTANTIATE_TEST_SUITE_P(Trig, EachKernel, ::testing::Range<std::size_t>(0, 20),
                         [](const ::testing::TestParamInfo<std::size_t>& i) { return kernels()[i.param].name; });

// ---- accuracy at the hard arguments ---------------------------------------

// Near multiples of pi/2, where the result is smallest: below 1 ulp for the
// double and single HA kernels, 3 for xebdTan_50 and 4 for _21, on the fast
// paths and on the scalar forms.  A lower form that gives its sibling's
// results (_50 of _HA, _11 of _21) has no code of its own to measure.  Single arguments add the hard cases of the float binades
// and many multiples where the reduction's products need more than 53 bits
// (the HA kernels' fast paths reach 1e6 with 35-bit parts of pi).
std::vector<double> single_near_multiples() {
    std::vector<double> xs, candidates = near_multiples(FLT_MAX, xt::scaled(3000));
    for (double x : hard_cases(24, -23, 104)) candidates.push_back(x);
    for (int k = 250000; k < 640000; k += 397) candidates.push_back(k * 1.5707963267948966);
    for (double x : candidates) {
        const float f = static_cast<float>(x);
        for (float g : {f, std::nextafter(f, 0.0f), std::nextafter(f, FLT_MAX)})
            if (g != 0 && std::isfinite(g)) xs.push_back(g);
    }
    return xs;
}

TEST_P(EachKernel, NearMultiplesOfPiOver2) {
    static const std::vector<double> dxs = near_multiples(DBL_MAX, xt::scaled(3000));
    static const std::vector<double> sxs = single_near_multiples();
    const std::vector<double>& xs = k().is_double() ? dxs : sxs;
    std::vector<double> y, z;
    k().run(xs, y, z);
    std::string sibling = k().name;
    if (k().has("_50") || k().has("_11")) {
        sibling.replace(sibling.size() - 2, 2, k().has("_50") ? "HA" : "21");
        for (const Kernel& s : kernels()) {
            std::vector<double> ys, zs;
            if (s.name == sibling) s.run(xs, ys, zs);
            if (s.name == sibling && ys == y && zs == z) GTEST_SKIP() << "the code of " << sibling;
        }
    }
    const double bound = k().has("_21") || k().has("_11") ? 4 : k().has("_50") ? 3 : k().class_code() ? k().class_bound() : 1;
    for (std::size_t i = 0; i < xs.size(); ++i) {
        ASSERT_LT(k().ulps(y[i], mp_eval(k().fn(), xs[i])), bound) << std::hexfloat << xs[i];
        if (k().two()) { ASSERT_LT(k().ulps(z[i], mp_eval(Fn::Cos, xs[i])), bound) << std::hexfloat << xs[i]; }
    }
}

// Infinities give the default NaN and event 1 under the scalar form's name,
// in element order, from a group and from the tail; NaNs pass silently.
TEST_P(EachKernel, EventsOfInfinitiesAndNaNs) {
    const double inf = std::numeric_limits<double>::infinity();
    const std::vector<double> a = {1.0, -inf, 2.0, std::nan(""), 0.5, 3.0, inf};  // group of 4, tail of 3
    std::vector<double> y, z;
    xt::EventRecorder rec;
    k().run(a, y, z);
    ASSERT_EQ(rec.events().size(), 2u);
    for (std::size_t e = 0; e < 2; ++e) {
        EXPECT_EQ(rec.events()[e].code, XEB_STATUS_DOMAINFAULT);
        EXPECT_EQ(rec.events()[e].name, k().event_name);
        EXPECT_EQ(rec.events()[e].index, e == 0 ? 1 : 6);
    }
    for (int i : {1, 3, 6}) EXPECT_TRUE(std::isnan(y[i]) && (!k().two() || std::isnan(z[i]))) << i;
    for (int i : {1, 3})
        if (k().is_double()) { EXPECT_EQ(bits(y[i]), 0xFFF8000000000000ull) << i; }
    EXPECT_EQ(xebGetErrStatus(), XEB_STATUS_DOMAINFAULT);
}

// -0 keeps its sign (sine and tangent), cos(-0) = 1, and +0 stays +0, in a
// group and in the tail.
TEST_P(EachKernel, SignedZeros) {
    const std::vector<double> a = {-0.0, 0.0, -0.0, 1.0, -0.0, 0.0};
    std::vector<double> y, z;
    k().run(a, y, z);
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i] != 0) continue;
        if (k().fn() == Fn::Cos) {  // exactly 1 in the high-accuracy forms, within 4 ulp in _21
            EXPECT_NEAR(y[i], 1.0, k().has("_HA") ? 0 : 0x1p-22) << i;
            continue;
        }
        EXPECT_EQ(bits(y[i]), bits(a[i])) << i;
        if (k().two()) { EXPECT_EQ(z[i], 1.0) << i; }
    }
}

class ControlWordGuard {
    uint16_t saved_ = xeb::fpu::x87_control();

public:
    ~ControlWordGuard() { xeb::fpu::set_x87_control(saved_); }
};

// The route a group of four took: a double kernel resets the x87 before a
// fallback, which shows in the control word (entered with 64-bit precision
// and the ignored bit 12 set, so that nothing is restored on exit); a single
// kernel's fallback shows in a probe element whose two routes differ.
bool group_fell_back(const Kernel& k, double first, double probe) {
    std::vector<double> y, z, y_fast, z_fast;
    if (k.is_double()) {
        ControlWordGuard guard;
        xeb::fpu::set_x87_control(0x137F);
        k.run({first, 1.0, 2.0, 3.0}, y, z);
        return xeb::fpu::x87_control() == xeb::fpu::kX87Default;
    }
    k.run({probe, probe, probe, probe}, y_fast, z_fast);
    k.run({first, probe, probe, probe}, y, z);
    return y[1] != y_fast[1] || z[1] != z_fast[1];
}

// The bound switches exactly: the last value inside keeps its group on the
// fast path, the first outside sends the whole group to the scalar form,
// whose result is accurate.
TEST_P(EachKernel, BoundSwitchesTheWholeGroup) {
    if (xebGetKernelClass() != XEB_KERNEL_BASELINE) GTEST_SKIP() << "the baseline's groups of four";
    const double outside = k().is_double() ? double_from_bits(k().bound << 32)
                                           : float_from_bits(static_cast<uint32_t>(k().bound));
    const double inside = k().is_double() ? std::nextafter(outside, 0.0)
                                          : std::nextafter(static_cast<float>(outside), 0.0f);
    xt::EventRecorder quiet;
    double probe = 0;  // near `inside`, where the fast path and the scalar form differ
    for (int i = 1; i < 20000 && !k().is_double() && probe == 0; ++i) {
        const double p = static_cast<float>(inside - i * 0.0137);
        if (group_fell_back(k(), std::numeric_limits<double>::infinity(), p)) probe = p;
    }
    ASSERT_TRUE(k().is_double() || probe != 0) << "no argument found where the two routes differ";
    EXPECT_FALSE(group_fell_back(k(), inside, probe));
    EXPECT_FALSE(group_fell_back(k(), -inside, probe));
    EXPECT_TRUE(group_fell_back(k(), outside, probe));
    EXPECT_TRUE(group_fell_back(k(), -outside, probe));
    std::vector<double> y, z;
    k().run({1.0, outside, 2.0, 3.0}, y, z);
    EXPECT_LT(k().ulps(y[1], mp_eval(k().fn(), outside)), 1.0);
}

// One call over n equals calls over any split of n, except where the
// baseline's tail divides one element at a time (Tan): there both routes
// stay accurate.
// In place (r = a, and y = a for SinCos), huge and special values
// included, the results are those of separate arrays.
TEST_P(EachKernel, BlockSizeIndependenceAndInPlace) {
    auto rng = xt::seeded(40 + GetParam());
    const std::vector<double> a = xt::sample(xt::Range{0x1p-8, 100.0, true}, 37, rng);
    std::vector<double> y_all, z_all, y_parts, z_parts, y, z;
    k().run(a, y_all, z_all);
    for (std::size_t start = 0, len = 1; start < a.size(); start += len, len = len % 5 + 1) {
        k().run(std::vector<double>(a.begin() + start, a.begin() + std::min(a.size(), start + len)), y, z);
        y_parts.insert(y_parts.end(), y.begin(), y.end());
        z_parts.insert(z_parts.end(), z.begin(), z.end());
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (k().fn() == Fn::Tan && !k().class_code()) {
            EXPECT_LE(k().ulps(y_parts[i], y_all[i]), 1.0) << i;
        } else {
            EXPECT_EQ(bits(y_all[i]), bits(y_parts[i])) << i;
            EXPECT_EQ(bits(z_all[i]), bits(z_parts[i])) << i;
        }
    }
    rng = xt::seeded(60 + GetParam());
    std::vector<double> b = xt::sample(xt::Range{0x1p-8, 1e6, true}, 23, rng);
    b[5] = std::numeric_limits<double>::infinity();
    b[9] = 1e300;
    xt::EventRecorder quiet;
    k().run(b, y_all, z_all);
    k().run(b, y, z, true);
    for (std::size_t i = 0; i < b.size(); ++i) EXPECT_EQ(bits(y[i]), bits(y_all[i])) << i;
}

// The SIMD classes' fast path ends at 2^30: from there, and for zeros,
// each lane gets the scalar form's bits, whatever its neighbours; lanes
// just below stay accurate, and so do the single sine-cosine's lanes on both
// sides of 2^17 (float lanes below, doubles from there) in one register.
TEST_P(EachKernel, ClassLanesBeyondTheFastPathTakeTheScalarForm) {
    if (!k().class_code()) GTEST_SKIP() << "no class code for this kernel here";
    const double edge = k().is_double() ? 0x1p30 : 0x1p30f;
    const double below = k().is_double() ? std::nextafter(edge, 0.0) : std::nextafter(0x1p30f, 0.0f);
    std::vector<double> a = {1.5, edge, -below, 0.0, 3e38, below, -edge, -0.0, 0x1.8p-149, 2.5, 0x1p17, -0x1.fffffep16};
    if (!k().is_double()) std::transform(a.begin(), a.end(), a.begin(), [](double v) { return float(v); });
    std::vector<double> y, z, y1, z1;
    k().run(a, y, z);
    for (std::size_t i = 0; i < a.size(); ++i) {
        k().run({a[i]}, y1, z1);  // alone: the tail's padded register
        EXPECT_EQ(bits(y[i]), bits(y1[0])) << i;
        EXPECT_EQ(bits(z[i]), bits(z1[0])) << i;
        EXPECT_LT(k().ulps(y[i], mp_eval(k().fn(), a[i])), k().class_bound()) << i;
        if (std::fabs(a[i]) < edge && a[i] != 0) continue;
        std::vector<double> ys, zs;
        scalar_form(k(), a[i], ys, zs);
        EXPECT_EQ(bits(y[i]), bits(ys[0])) << i;
        EXPECT_EQ(bits(z[i]), bits(zs[0])) << i;
    }
}

// ---- scalar forms -----------------------------------------------------------

// The double form looks only at the high word: a NaN whose high word is
// that of an infinity raises event 1 too; other NaNs lose their payload.
// The single form passes NaNs to the core and keeps their payload.
TEST(TrigScalar, NaNsAndTheirEvents) {
    const double a[2] = {double_from_bits(0x7FF0000000000001ull), double_from_bits(0x7FF8000000001234ull)};
    double r[2], z[2];
    xt::EventRecorder rec;
    xebdSin_SC(0, a, r, nullptr, "mySin");
    xebdTan_SC(1, a, r, nullptr, "myTan");
    xebdSinCos_SC_LA(0, a, r, z, nullptr);
    ASSERT_EQ(rec.events().size(), 2u);
    EXPECT_EQ(rec.events()[0].name, "mySin");
    EXPECT_EQ(rec.events()[0].index, 0);
    EXPECT_EQ(rec.events()[1].name, "dSinCos_LA");
    for (double v : {r[0], z[0], r[1]}) EXPECT_EQ(bits(v), 0xFFF8000000000000ull);

    const float fa[2] = {float_from_bits(0x7FC01234u), float_from_bits(0xFF800000u)};
    float fr[2], fz[2];
    rec.clear();
    xebsCos_SC_A11(0, fa, fr, nullptr);
    xebsSinCos_SC_HA(0, fa, fr, fz, nullptr);
    EXPECT_TRUE(rec.events().empty());
    EXPECT_EQ(bits(fr[0]) & 0x7FFFFFFFu, 0x7FC01234u);
    EXPECT_EQ(bits(fz[0]) & 0x7FFFFFFFu, 0x7FC01234u);
    xebsTan_SC_LA(1, fa, fr, nullptr);
    ASSERT_EQ(rec.events().size(), 1u);
    EXPECT_EQ(rec.events()[0].name, "sTan_LA");
    EXPECT_EQ(rec.events()[0].index, 1);
    EXPECT_EQ(bits(fr[1]), 0xFFC00000u);
}

// Tiny arguments: sin and tan return x, cos returns 1 - |x|; huge ones are
// within 0.6 ulp of a correctly rounded reference.
TEST(TrigScalar, TinyAndHugeArguments) {
    const double a[4] = {1e-300, -1e-300, 1e300, -0x1p-1022};
    double r[4];
    for (int i = 0; i < 4; ++i) xebdSin_SC_HA(i, a, r, nullptr);
    EXPECT_EQ(r[0], 1e-300);
    EXPECT_EQ(r[1], -1e-300);
    EXPECT_EQ(r[3], -0x1p-1022);
    EXPECT_LT(xt::ulp_error(r[2], mp_eval(Fn::Sin, 1e300)), 0.6);
    xebdCos_SC_HA(0, a, r, nullptr);
    xebdCos_SC_HA(2, a, r, nullptr);
    EXPECT_EQ(r[0], 1.0);
    EXPECT_LT(xt::ulp_error(r[2], mp_eval(Fn::Cos, 1e300)), 0.6);
    xebdTan_SC_HA(1, a, r, nullptr);
    EXPECT_EQ(r[1], -1e-300);
}

// ---- control words and the tables' independent values ------------------------

// A double kernel resets the x87 before a fallback: entered with the
// precision it wants (no restore needed) and bit 12 set, it returns with the
// default word; entered at 53 bits it restores the caller's word.  A call
// that needs no fallback leaves the word alone, and so do the scalar forms.
TEST(TrigControlWords, AfterAFallback) {
    if (xebGetKernelClass() != XEB_KERNEL_BASELINE) GTEST_SKIP() << "the baseline's x87 code";
    ControlWordGuard guard;
    const double inf = std::numeric_limits<double>::infinity();
    const double in_range[4] = {1, 2, 3, 4}, with_huge[4] = {1, 2, 1e10, 4};
    double y[4], z[4];
    xt::EventRecorder quiet;
    xeb::fpu::set_x87_control(0x137F);
    xebdSin_HA(4, in_range, y);
    EXPECT_EQ(xeb::fpu::x87_control(), 0x137F);
    xebdSinCos_HA(4, with_huge, y, z);
    EXPECT_EQ(xeb::fpu::x87_control(), xeb::fpu::kX87Default);
    xeb::fpu::set_x87_control(0x137F);
    xebdTan_HA(1, &inf, y);  // the tail falls back too
    EXPECT_EQ(xeb::fpu::x87_control(), xeb::fpu::kX87Default);
    xeb::fpu::set_x87_control(0x027F);
    xebdCos_HA(4, with_huge, y);
    EXPECT_EQ(xeb::fpu::x87_control(), 0x027F);
    const float single_huge[4] = {1, 2, 1e10f, 4};
    float fy[4];
    xeb::fpu::set_x87_control(0x137F);
    xebsSin_21(4, single_huge, fy);  // wants 64 bits as well: nothing to restore, no reset
    EXPECT_EQ(xeb::fpu::x87_control(), 0x137F);
    xebdCos_SC_HA(2, with_huge, y, nullptr);
    xebdCos_SC_HA(0, &inf, y, nullptr);
    EXPECT_EQ(xeb::fpu::x87_control(), 0x137F);
}

// Row i of the bits of 4/pi holds a 25-bit integer at weight 2^(201 - 25i);
// rows 1 to 3 make 4/pi to 75 bits.  Row 0 of the tangent and the leading
// coefficients of the first sine bands are Taylor's; tangent rows j and
// 32 - j mirror (odd degrees and the derivative equal, the others negated).
TEST(TrigTables, IndependentValues) {
    long double four_over_pi = 0;
    EXPECT_EQ(xeb::pi_bits[0], 0.0);
    for (int i = 1; i < 50; ++i) {
        const double piece = std::ldexp(xeb::pi_bits[i], 25 * i - 201);
        EXPECT_TRUE(piece == std::floor(piece) && piece < 0x1p25) << i;
        if (i <= 3) four_over_pi += std::ldexp(static_cast<long double>(xeb::pi_bits[i]), -200);
    }
    EXPECT_NEAR(static_cast<double>(four_over_pi - 4 / 3.14159265358979323846264338327950288L), 0, 0x1p-63);
    const auto& t0 = xeb::tan_rows[0].c;
    EXPECT_EQ(t0[5], 1.0 / 3);
    EXPECT_EQ(t0[9], 2.0 / 15);
    EXPECT_EQ(t0[13], 17.0 / 315);
    EXPECT_EQ(xeb::sin_cos_rows[0][3], 1.0);
    EXPECT_EQ(xeb::sin_cos_rows[16][3], 0.0);
    EXPECT_EQ(xeb::sin_cos_rows[32][3], -1.0);
    const int mirror[18] = {-1, 1, -1, -1, 1, 1, -1, -1, 1, 1, -1, -1, 1, 1, -1, 0, 1, 1};  // 15: neither
    for (int j = 1; j < 16; ++j)
        for (int c = 0; c < 18; ++c)
            if (mirror[c]) { EXPECT_EQ(xeb::tan_rows[j].c[c], mirror[c] * xeb::tan_rows[32 - j].c[c]) << j << ':' << c; }
    const double taylor[6] = {-1.0 / 6, 1.0 / 120, -1.0 / 5040, 1.0 / 24, -1.0 / 720, 1.0 / 40320};
    for (int c = 0; c < 3; ++c) {
        EXPECT_NEAR(xeb::sin_bands[0][c], taylor[c], std::fabs(taylor[c]) * 1e-14) << c;
        EXPECT_NEAR(xeb::sin_cos_bands[0][c], taylor[c], std::fabs(taylor[c]) * 1e-6) << c;
        EXPECT_NEAR(xeb::sin_cos_bands[0][c + 4], taylor[c + 3], std::fabs(taylor[c + 3]) * 1e-6) << c;
    }
}

}  // namespace
