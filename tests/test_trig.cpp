// Trigonometric kernels, their scalar forms and the reduction modulo pi/2:
// accuracy where the reduction is hardest (MPFR reference), the reduction's
// error in every binade, events, signed zeros, bounds, fallbacks and the
// x87 control word, block-size independence, and the printed table rows.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "support/args.h"
#include "support/events.h"
#include "support/scale.h"
#include "support/ulp.h"
#include "vecmath/trig_tables.inc"
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
    Mp() { mpfr_init2(v, kRefPrec); }
    ~Mp() { mpfr_clear(v); }
    Mp(const Mp&) = delete;
    Mp& operator=(const Mp&) = delete;
};

enum class Fn { Sin, Cos, Tan };

long double mp_eval(Fn f, double x) {
    mpfr_t a, r;  // the result to 128 bits; MPFR reduces with what it needs
    mpfr_init2(a, 53);
    mpfr_init2(r, 128);
    mpfr_set_d(a, x, MPFR_RNDN);
    switch (f) {
    case Fn::Sin: mpfr_sin(r, a, MPFR_RNDN); break;
    case Fn::Cos: mpfr_cos(r, a, MPFR_RNDN); break;
    case Fn::Tan: mpfr_tan(r, a, MPFR_RNDN); break;
    }
    const long double v = mpfr_get_ld(r, MPFR_RNDN);
    mpfr_clear(a);
    mpfr_clear(r);
    return v;
}

struct ReductionError {
    double abs_error;  // |out[0] + out[1] - (x - n pi/2 reduced into (-pi, pi])|
    double remainder;  // |the reference remainder|
};

ReductionError reduction_error(double x, int n, const double out[2]) {
    Mp pi, r, k, t;
    mpfr_const_pi(pi.v, MPFR_RNDN);
    mpfr_set_d(r.v, x, MPFR_RNDN);
    mpfr_mul_si(t.v, pi.v, n, MPFR_RNDN);
    mpfr_div_2ui(t.v, t.v, 1, MPFR_RNDN);
    mpfr_sub(r.v, r.v, t.v, MPFR_RNDN);  // x - n pi/2
    mpfr_mul_2ui(t.v, pi.v, 1, MPFR_RNDN);
    mpfr_div(k.v, r.v, t.v, MPFR_RNDN);
    mpfr_round(k.v, k.v);
    mpfr_mul(t.v, t.v, k.v, MPFR_RNDN);
    mpfr_sub(r.v, r.v, t.v, MPFR_RNDN);  // into (-pi, pi]
    Mp got;
    mpfr_set_d(got.v, out[0], MPFR_RNDN);
    mpfr_add_d(got.v, got.v, out[1], MPFR_RNDN);
    mpfr_sub(got.v, got.v, r.v, MPFR_RNDN);
    return {std::fabs(mpfr_get_d(got.v, MPFR_RNDN)), std::fabs(mpfr_get_d(r.v, MPFR_RNDN))};
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

// The error must stay below 2^-100 absolute or 2^-58 relative, whichever
// is larger, over random arguments in every binade and the hard cases.
TEST(ReducePio2, ErrorInEveryBinadeAndAtHardCases) {
    auto rng = xt::seeded(5);
    std::vector<double> xs = xt::sample(xt::Range{0x1p-20, DBL_MAX, true}, xt::scaled(20000), rng);
    const std::vector<double> hard = near_multiples(DBL_MAX, xt::scaled(4000));
    ASSERT_NE(std::find(hard.begin(), hard.end(), std::ldexp(6381956970095103.0, 797)), hard.end());
    xs.insert(xs.end(), hard.begin(), hard.end());
    double worst_ratio = 0, worst_x = 0;
    double worst_rel[2] = {0, 0}, worst_rel_x[2] = {0, 0};  // below 2^30, from 2^30
    for (double x : xs) {
        double out[2];
        const int n = xebreduce_pio2d(x, out);
        ASSERT_GE(n, 0);
        ASSERT_LE(n, 3);
        ASSERT_LE(std::fabs(out[0]), 0.7853981634 * (1 + 0x1p-20)) << x;
        EXPECT_EQ(out[0] + out[1], out[0]) << "not normalised at " << x;
        const ReductionError e = reduction_error(x, n, out);
        const double allowed = std::max(0x1p-100, 0x1p-58 * e.remainder);
        ASSERT_LT(e.abs_error, allowed) << std::hexfloat << x;
        if (e.abs_error / allowed > worst_ratio) worst_ratio = e.abs_error / allowed, worst_x = x;
        const int big = std::fabs(x) >= 0x1p30;
        if (e.abs_error / e.remainder > worst_rel[big])
            worst_rel[big] = e.abs_error / e.remainder, worst_rel_x[big] = x;
    }
    RecordProperty("worst_x", std::to_string(worst_x));
    RecordProperty("worst_share_of_allowance", std::to_string(worst_ratio));
    std::printf("reduce_pio2d: worst %.3g of the allowance at %a; relative error below 2^30 "
                "2^%.1f (at %a), from 2^30 2^%.1f (at %a)\n",
                worst_ratio, worst_x, std::log2(worst_rel[0]), worst_rel_x[0], std::log2(worst_rel[1]),
                worst_rel_x[1]);
}

TEST(ReducePio2, CaseSplitAtTwoTo30AndLargestDouble) {
    for (double x : {std::nextafter(0x1p30, 0.0), 0x1p30, std::nextafter(0x1p30, 2e9), 0x1p23,
                     std::nextafter(0x1p23, 0.0), DBL_MAX, std::nextafter(DBL_MAX, 0.0)}) {
        double out[2];
        const int n = xebreduce_pio2d(x, out);
        const ReductionError e = reduction_error(x, n, out);
        EXPECT_LT(e.abs_error, std::max(0x1p-100, 0x1p-58 * e.remainder)) << std::hexfloat << x;
    }
    // The two sides of 2^30 lie 2^-22 apart: the same quadrant and
    // remainders that differ by that much.
    double below[2], above[2];
    const int nb = xebreduce_pio2d(std::nextafter(0x1p30, 0.0), below);
    const int na = xebreduce_pio2d(0x1p30, above);
    EXPECT_EQ(nb, na);
    EXPECT_NEAR(above[0] - below[0], 0x1p-23, 0x1p-60);
}

TEST(ReducePio2, OddInSignAndExactForSmallArguments) {
    auto rng = xt::seeded(6);
    for (double x : xt::sample(xt::Range{DBL_TRUE_MIN, DBL_MAX, false}, xt::scaled(5000), rng)) {
        double p[2], m[2];
        const int np = xebreduce_pio2d(x, p);
        const int nm = xebreduce_pio2d(-x, m);
        EXPECT_EQ(nm, (4 - np) & 3) << x;
        EXPECT_EQ(bits(m[0]), bits(-p[0])) << x;
        EXPECT_EQ(m[1], -p[1]) << x;  // a zero low part may have either sign
    }
    for (double x : {0.0, -0.0, 1e-300, -0.75, 0.785}) {
        double out[2];
        EXPECT_EQ(xebreduce_pio2d(x, out), 0);
        EXPECT_EQ(bits(out[0]), bits(x));
    }
}

// ---- accuracy at the hard arguments ---------------------------------------

struct DoubleKernel {
    const char* name;
    std::function<void(int, const double*, double*, double*)> run;  // y, z (z may be unused)
    Fn y_fn;
    bool two;
};

std::vector<DoubleKernel> double_kernels() {
    auto one = [](void (*f)(int, const double*, double*)) {
        return [f](int n, const double* a, double* y, double*) { f(n, a, y); };
    };
    return {
        {"xebdSin_HA", one(xebdSin_HA), Fn::Sin, false},
        {"xebdCos_HA", one(xebdCos_HA), Fn::Cos, false},
        {"xebdTan_HA", one(xebdTan_HA), Fn::Tan, false},
        {"xebdSinCos_HA", xebdSinCos_HA, Fn::Sin, true},
    };
}

// Below 1 ulp everywhere, on the fast paths (below 128000) and on the
// scalar forms (above), where the result is smallest.
TEST(TrigAccuracy, DoubleNearMultiplesOfPiOver2) {
    const std::vector<double> xs = near_multiples(DBL_MAX, xt::scaled(3000));
    const int n = static_cast<int>(xs.size());
    for (const DoubleKernel& k : double_kernels()) {
        std::vector<double> y(n), z(n);
        k.run(n, xs.data(), y.data(), z.data());
        double worst = 0, worst_x = 0;
        for (int i = 0; i < n; ++i) {
            double e = xt::ulp_error(y[i], mp_eval(k.y_fn, xs[i]));
            if (k.two) e = std::max(e, xt::ulp_error(z[i], mp_eval(Fn::Cos, xs[i])));
            if (e > worst) worst = e, worst_x = xs[i];
        }
        EXPECT_LT(worst, 1.0) << k.name << " at " << std::hexfloat << worst_x;
        RecordProperty(std::string(k.name) + "_max_ulp", std::to_string(worst));
    }
}

TEST(TrigAccuracy, SingleNearMultiplesOfPiOver2) {
    std::vector<float> xs;
    std::vector<double> candidates = near_multiples(FLT_MAX, xt::scaled(3000));
    for (double x : hard_cases(24, -23, 104)) candidates.push_back(x);
    // Many multiples where the reduction's products need more than 53 bits
    // (the HA kernels' fast paths reach 1e6 with 35-bit parts of pi).
    for (int k = 250000; k < 640000; k += 397) candidates.push_back(k * 1.5707963267948966);
    for (double x : candidates) {
        const float f = static_cast<float>(x);
        for (float g : {f, std::nextafter(f, 0.0f), std::nextafter(f, FLT_MAX)})
            if (g != 0 && std::isfinite(g)) xs.push_back(g);
    }
    const int n = static_cast<int>(xs.size());
    struct Case {
        void (*f)(int, const float*, float*);
        Fn fn;
        double bound;
    } cases[] = {{xebsSin_HA, Fn::Sin, 1}, {xebsCos_HA, Fn::Cos, 1}, {xebsTan_HA, Fn::Tan, 1},
                 {xebsSin_21, Fn::Sin, 4}, {xebsCos_21, Fn::Cos, 4}, {xebsTan_21, Fn::Tan, 4}};
    for (const Case& c : cases) {
        std::vector<float> r(n);
        c.f(n, xs.data(), r.data());
        for (int i = 0; i < n; ++i)
            ASSERT_LT(xt::ulp_error(r[i], mp_eval(c.fn, xs[i])), c.bound) << std::hexfloat << xs[i];
    }
    for (auto f : {xebsSinCos_HA, xebsSinCos_21}) {
        std::vector<float> y(n), z(n);
        f(n, xs.data(), y.data(), z.data());
        const double bound = f == xebsSinCos_HA ? 1 : 4;
        for (int i = 0; i < n; ++i) {
            ASSERT_LT(xt::ulp_error(y[i], mp_eval(Fn::Sin, xs[i])), bound) << xs[i];
            ASSERT_LT(xt::ulp_error(z[i], mp_eval(Fn::Cos, xs[i])), bound) << xs[i];
        }
    }
}

// ---- the twenty kernels as one list -----------------------------------------

struct Kernel {
    const char* name;
    bool is_double;
    bool two;
    const char* event_name;
    uint64_t bound;  // the smallest |x| that leaves the fast path, as bits
    void (*d1)(int, const double*, double*);
    void (*d2)(int, const double*, double*, double*);
    void (*s1)(int, const float*, float*);
    void (*s2)(int, const float*, float*, float*);

    // Runs on a double array (converted for single kernels); z is filled
    // for two-output kernels only.
    void run(const std::vector<double>& a, std::vector<double>& y, std::vector<double>& z) const {
        const int n = static_cast<int>(a.size());
        y.assign(n, 0);
        z.assign(n, 0);
        if (is_double) {
            if (two) d2(n, a.data(), y.data(), z.data());
            else d1(n, a.data(), y.data());
            return;
        }
        std::vector<float> af(a.begin(), a.end()), yf(n), zf(n);
        if (two) s2(n, af.data(), yf.data(), zf.data());
        else s1(n, af.data(), yf.data());
        y.assign(yf.begin(), yf.end());
        z.assign(zf.begin(), zf.end());
    }
    double first_outside() const {
        return is_double ? double_from_bits(bound << 32) : float_from_bits(static_cast<uint32_t>(bound));
    }
    double last_inside() const {
        return is_double ? std::nextafter(first_outside(), 0.0)
                         : std::nextafter(static_cast<float>(first_outside()), 0.0f);
    }
};

Kernel dk(const char* name, const char* ev, void (*f)(int, const double*, double*)) {
    return {name, true, false, ev, 0x40FF4000, f, nullptr, nullptr, nullptr};
}
Kernel dk2(const char* name, const char* ev, void (*f)(int, const double*, double*, double*)) {
    return {name, true, true, ev, 0x40FF4000, nullptr, f, nullptr, nullptr};
}
// Single kernels leave the fast path above their bound: the first bits outside are bound + 1.
Kernel sk(const char* name, const char* ev, uint32_t bound, void (*f)(int, const float*, float*)) {
    return {name, false, false, ev, bound + 1u, nullptr, nullptr, f, nullptr};
}
Kernel sk2(const char* name, const char* ev, uint32_t bound, void (*f)(int, const float*, float*, float*)) {
    return {name, false, true, ev, bound + 1u, nullptr, nullptr, nullptr, f};
}

const std::vector<Kernel>& kernels() {
    static const std::vector<Kernel> list = {
        dk("xebdSin_HA", "dSin_HA", xebdSin_HA),
        dk("xebdSin_50", "dSin_HA", xebdSin_50),
        dk("xebdCos_HA", "dCos_HA", xebdCos_HA),
        dk("xebdCos_50", "dCos_HA", xebdCos_50),
        dk2("xebdSinCos_HA", "dSinCos_HA", xebdSinCos_HA),
        dk2("xebdSinCos_50", "dSinCos_HA", xebdSinCos_50),
        dk("xebdTan_HA", "dTan_HA", xebdTan_HA),
        dk("xebdTan_50", "dTan_HA", xebdTan_50),
        sk("xebsSin_HA", "sSin_HA", 0x48F42400, xebsSin_HA),
        sk("xebsSin_21", "sSin_LA", 0x49742400, xebsSin_21),
        sk("xebsSin_11", "sSin_LA", 0x49742400, xebsSin_11),
        sk("xebsCos_HA", "sCos_HA", 0x48F42400, xebsCos_HA),
        sk("xebsCos_21", "sCos_LA", 0x461D0000, xebsCos_21),
        sk("xebsCos_11", "sCos_LA", 0x461D0000, xebsCos_11),
        sk2("xebsSinCos_HA", "sSinCos_HA", 0x49742400, xebsSinCos_HA),
        sk2("xebsSinCos_21", "sSinCos_LA", 0x49742400, xebsSinCos_21),
        sk2("xebsSinCos_11", "sSinCos_LA", 0x49742400, xebsSinCos_11),
        sk("xebsTan_HA", "sTan_HA", 0x47FA0000, xebsTan_HA),
        sk("xebsTan_21", "sTan_LA", 0x48F42400, xebsTan_21),
        sk("xebsTan_11", "sTan_LA", 0x48F42400, xebsTan_11),
    };
    return list;
}

class EachKernel : public ::testing::TestWithParam<std::size_t> {
protected:
    const Kernel& k() const { return kernels()[GetParam()]; }
};

std::string kernel_name(const ::testing::TestParamInfo<std::size_t>& info) {
    return kernels()[info.param].name;
}

INSTANTIATE_TEST_SUITE_P(Trig, EachKernel, ::testing::Range<std::size_t>(0, 20), kernel_name);

// Infinities give the default NaN and event 1 under the scalar form's name,
// in element order, from a group and from the tail; NaNs pass silently.
TEST_P(EachKernel, EventsOfInfinitiesAndNaNs) {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<double> a = {1.0, -inf, 2.0, nan, 0.5, 3.0, inf};  // group of 4, tail of 3
    std::vector<double> y, z;
    xt::EventRecorder rec;
    k().run(a, y, z);
    ASSERT_EQ(rec.events().size(), 2u);
    for (std::size_t e = 0; e < 2; ++e) {
        EXPECT_EQ(rec.events()[e].code, XEB_STATUS_DOMAINFAULT);
        EXPECT_EQ(rec.events()[e].name, k().event_name);
    }
    EXPECT_EQ(rec.events()[0].index, 1);
    EXPECT_EQ(rec.events()[1].index, 6);
    for (int i : {1, 3, 6}) {
        EXPECT_TRUE(std::isnan(y[i])) << i;
        if (k().two) {
            EXPECT_TRUE(std::isnan(z[i])) << i;
        }
    }
    if (k().is_double) {
        EXPECT_EQ(bits(y[1]), 0xFFF8000000000000ull);
        EXPECT_EQ(bits(y[3]), 0xFFF8000000000000ull);
    }
    EXPECT_EQ(xebGetErrStatus(), XEB_STATUS_DOMAINFAULT);
}

// -0 keeps its sign (sine and tangent), cos(-0) = 1, and +0 stays +0, in a
// group and in the tail.
TEST_P(EachKernel, SignedZeros) {
    const std::vector<double> a = {-0.0, 0.0, -0.0, 1.0, -0.0, 0.0};
    std::vector<double> y, z;
    k().run(a, y, z);
    const bool cosine = std::string(k().name).find("Cos") != std::string::npos &&
                        std::string(k().name).find("SinCos") == std::string::npos;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i] != 0) continue;
        if (cosine) {  // exactly 1 in the high-accuracy forms, within 4 ulp in _21
            EXPECT_NEAR(y[i], 1.0, std::string(k().name).find("_HA") != std::string::npos ? 0 : 0x1p-22) << i;
        } else {
            EXPECT_EQ(bits(y[i]), bits(a[i])) << i;
            if (k().two) {
                EXPECT_EQ(z[i], 1.0) << i;
            }
        }
    }
}

// Finds an argument near x whose fast-path result differs from the
// scalar form's, so that the route a group took can be seen.
double probe_near(const Kernel& k, double x) {
    for (int i = 1; i < 20000; ++i) {
        const double p = static_cast<float>(x - i * 0.0137);
        std::vector<double> y1, z1, y2, z2;
        k.run({p, p, p, p}, y1, z1);
        xt::EventRecorder quiet;
        k.run({std::numeric_limits<double>::infinity(), p, p, p}, y2, z2);
        if (y1[1] != y2[1] || z1[1] != z2[1]) return p;
    }
    return 0;
}

class ControlWordGuard {
public:
    ControlWordGuard() : saved_(xeb::fpu::x87_control()) {}
    ~ControlWordGuard() { xeb::fpu::set_x87_control(saved_); }

private:
    uint16_t saved_;
};

// The route a group of four took: a double kernel resets the x87 before a
// fallback, which shows in the control word (entered with 64-bit precision
// and the ignored bit 12 set, so that nothing is restored on exit); a single
// kernel's fallback shows in a probe element whose two routes differ.
bool group_fell_back(const Kernel& k, double first, double probe) {
    std::vector<double> y, z;
    if (k.is_double) {
        ControlWordGuard guard;
        xeb::fpu::set_x87_control(0x137F);
        k.run({first, 1.0, 2.0, 3.0}, y, z);
        return xeb::fpu::x87_control() == xeb::fpu::kX87Default;
    }
    std::vector<double> y_fast, z_fast;
    k.run({probe, probe, probe, probe}, y_fast, z_fast);
    k.run({first, probe, probe, probe}, y, z);
    return y[1] != y_fast[1] || z[1] != z_fast[1];
}

// The bound switches exactly: the last value inside keeps its group on the
// fast path, the first outside sends the whole group to the scalar form,
// whose result is accurate.
TEST_P(EachKernel, BoundSwitchesTheWholeGroup) {
    const double inside = k().last_inside(), outside = k().first_outside();
    const double probe = k().is_double ? 0 : probe_near(k(), inside);
    ASSERT_TRUE(k().is_double || probe != 0) << "no argument found where the two routes differ";
    EXPECT_FALSE(group_fell_back(k(), inside, probe));
    EXPECT_FALSE(group_fell_back(k(), -inside, probe));
    EXPECT_TRUE(group_fell_back(k(), outside, probe));
    EXPECT_TRUE(group_fell_back(k(), -outside, probe));
    std::vector<double> y, z;
    k().run({1.0, outside, 2.0, 3.0}, y, z);
    const std::string name = k().name;
    const Fn fn = name.find("Tan") != std::string::npos                   ? Fn::Tan
                  : name.find("Cos_") != std::string::npos && !k().two ? Fn::Cos
                                                                         : Fn::Sin;
    const long double ref = mp_eval(fn, outside);
    EXPECT_LT(k().is_double ? xt::ulp_error(y[1], ref) : xt::ulp_error(static_cast<float>(y[1]), ref), 1.0);
}

// One call over n equals calls over any split of n, except where the tail
// divides one element at a time (Tan): there both routes stay accurate.
TEST_P(EachKernel, BlockSizeIndependence) {
    auto rng = xt::seeded(40 + GetParam());
    const std::vector<double> a = xt::sample(xt::Range{0x1p-8, 100.0, true}, 37, rng);
    std::vector<double> y_all, z_all;
    k().run(a, y_all, z_all);
    std::vector<double> y_parts, z_parts;
    for (std::size_t start = 0, len = 1; start < a.size(); start += len, len = len % 5 + 1) {
        const std::size_t end = std::min(a.size(), start + len);
        std::vector<double> part(a.begin() + start, a.begin() + end), y, z;
        k().run(part, y, z);
        y_parts.insert(y_parts.end(), y.begin(), y.end());
        z_parts.insert(z_parts.end(), z.begin(), z.end());
    }
    const bool tan = std::string(k().name).find("Tan") != std::string::npos;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (tan) {
            const double e = k().is_double ? xt::ulp_error(y_parts[i], y_all[i])
                                           : xt::ulp_error(static_cast<float>(y_parts[i]), y_all[i]);
            EXPECT_LE(e, 1.0) << i;
        } else {
            EXPECT_EQ(bits(y_all[i]), bits(y_parts[i])) << i;
            EXPECT_EQ(bits(z_all[i]), bits(z_parts[i])) << i;
        }
    }
}

// In place (r = a, and y = a for SinCos): the same results, a group being
// read whole before any store, huge and special values included.
TEST_P(EachKernel, InPlace) {
    auto rng = xt::seeded(60 + GetParam());
    std::vector<double> a = xt::sample(xt::Range{0x1p-8, 1e6, true}, 23, rng);
    a[5] = std::numeric_limits<double>::infinity();
    a[9] = 1e300;
    std::vector<double> y, z;
    xt::EventRecorder quiet;
    k().run(a, y, z);
    const int n = static_cast<int>(a.size());
    std::vector<double> d(a);
    std::vector<float> f(a.begin(), a.end()), fz(n);
    std::vector<double> dz(n);
    if (k().is_double) {
        if (k().two) k().d2(n, d.data(), d.data(), dz.data());
        else k().d1(n, d.data(), d.data());
    } else {
        if (k().two) k().s2(n, f.data(), f.data(), fz.data());
        else k().s1(n, f.data(), f.data());
        d.assign(f.begin(), f.end());
    }
    for (int i = 0; i < n; ++i) {
        EXPECT_EQ(bits(d[i]), bits(y[i])) << i;
    }
}

// ---- scalar forms -----------------------------------------------------------

// The double form looks only at the high word: a NaN whose high word is
// that of an infinity raises event 1 too; other NaNs lose their payload.
// The single form passes NaNs to the core and keeps their payload.
TEST(TrigScalar, NaNsAndTheirEvents) {
    const double quirk = double_from_bits(0x7FF0000000000001ull);
    const double payload = double_from_bits(0x7FF8000000001234ull);
    const double a[2] = {quirk, payload};
    double r[2], z[2];
    xt::EventRecorder rec;
    xebdSin_SC(0, a, r, nullptr, "mySin");
    xebdTan_SC(1, a, r, nullptr, "myTan");
    xebdSinCos_SC_LA(0, a, r, z, nullptr);
    ASSERT_EQ(rec.events().size(), 2u);
    EXPECT_EQ(rec.events()[0].name, "mySin");
    EXPECT_EQ(rec.events()[0].index, 0);
    EXPECT_EQ(rec.events()[1].name, "dSinCos_LA");
    EXPECT_EQ(bits(r[0]), 0xFFF8000000000000ull);
    EXPECT_EQ(bits(z[0]), 0xFFF8000000000000ull);
    EXPECT_EQ(bits(r[1]), 0xFFF8000000000000ull);

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
// exact to the last bit of a correctly rounded reference most of the time
// and within 1 ulp always (checked in the sweeps).
TEST(TrigScalar, TinyAndHugeArguments) {
    const double a[4] = {1e-300, -1e-300, 1e300, -0x1p-1022};
    double r[4];
    for (int i = 0; i < 4; ++i) xebdSin_SC_HA(i, a, r, nullptr);
    EXPECT_EQ(r[0], 1e-300);
    EXPECT_EQ(r[1], -1e-300);
    EXPECT_EQ(r[3], -0x1p-1022);
    EXPECT_LT(xt::ulp_error(r[2], mp_eval(Fn::Sin, 1e300)), 0.6);
    xebdCos_SC_HA(0, a, r, nullptr);
    EXPECT_EQ(r[0], 1.0);
    xebdCos_SC_HA(2, a, r, nullptr);
    EXPECT_LT(xt::ulp_error(r[2], mp_eval(Fn::Cos, 1e300)), 0.6);
    xebdTan_SC_HA(1, a, r, nullptr);
    EXPECT_EQ(r[1], -1e-300);
}

// ---- control words ----------------------------------------------------------

// A double kernel resets the x87 before a fallback: entered with the
// precision it wants (no restore needed) and bit 12 set, it returns with the
// default word; entered at 53 bits it restores the caller's word.  A call
// that needs no fallback leaves the word alone, and so do the scalar forms.
TEST(TrigControlWords, AfterAFallback) {
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

// ---- tables -------------------------------------------------------------------

TEST(TrigTables, PrintedRows) {
    const uint64_t pi_rows[8] = {0x4C745F3060000000, 0x4AEB939100000000, 0x494529FC20000000,
                                 0x47AD5F47C0000000, 0x4624D37700000000, 0x447B6C5280000000,
                                 0x430993C420000000, 0x4189041FE0000000};
    EXPECT_EQ(xeb::pi_bits[0], 0.0);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(bits(xeb::pi_bits[i + 1]), pi_rows[i]) << i + 1;
    // Row i holds a 25-bit integer at weight 2^(201 - 25i); rows 1 to 3 make
    // 4/pi to 75 bits.
    long double four_over_pi = 0;
    for (int i = 1; i < 50; ++i) {
        const double piece = std::ldexp(xeb::pi_bits[i], 25 * i - 201);
        EXPECT_EQ(piece, std::floor(piece)) << i;
        EXPECT_LT(piece, 0x1p25) << i;
        if (i <= 3) four_over_pi += std::ldexp(static_cast<long double>(xeb::pi_bits[i]), -200);
    }
    EXPECT_NEAR(static_cast<double>(four_over_pi - 4 / 3.14159265358979323846264338327950288L), 0, 0x1p-63);

    EXPECT_EQ(xeb::sin_cos_rows[1][3], 1.0);
    EXPECT_EQ(xeb::sin_cos_rows[1][0], -0.004815273327803114);
    EXPECT_EQ(xeb::sin_cos_rows[1][1], 0.0980171403295606);
    // The printed low part was formed with an error of about 2^-84 of its own.
    EXPECT_NEAR(xeb::sin_cos_rows[1][2], -1.6345824060817233e-18, 0x1p-83);
    EXPECT_EQ(xeb::sin_cos_rows[0][3], 1.0);
    EXPECT_EQ(xeb::sin_cos_rows[16][3], 0.0);
    EXPECT_EQ(xeb::sin_cos_rows[32][3], -1.0);

    const auto& t0 = xeb::tan_rows[0].c;
    EXPECT_EQ(t0[5], 1.0 / 3);
    EXPECT_EQ(t0[9], 2.0 / 15);
    EXPECT_EQ(t0[13], 17.0 / 315);
    EXPECT_EQ(t0[16], 1.0);
    EXPECT_EQ(t0[17], 0.0);
    EXPECT_EQ(xeb::tan_rows[1].c[14], 0.09849140335716425);
    EXPECT_EQ(xeb::tan_rows[1].c[16], 1.0);
    EXPECT_EQ(xeb::tan_rows[1].c[17], 0.009700556535263626);
    const auto& t16 = xeb::tan_rows[16].c;
    EXPECT_EQ(t16[14], 0.0);
    EXPECT_EQ(t16[16], 0.0);
    EXPECT_EQ(t16[17], 1.0 / 3);
    EXPECT_EQ(t16[5], 1.0 / 45);
    EXPECT_EQ(xeb::tan_rows[16].mask, 0xFFFFFFF800000000ull);
    EXPECT_EQ(xeb::tan_rows[8].mask, 0u);
    // Rows j and 32 - j mirror: odd degrees and the derivative equal, the others negated.
    const int odd_columns[] = {5, 9, 13, 1, 4, 8, 12, 16, 17};
    const int even_columns[] = {3, 7, 11, 0, 2, 6, 10, 14};
    for (int j = 1; j < 16; ++j) {
        for (int c : odd_columns) EXPECT_EQ(xeb::tan_rows[j].c[c], xeb::tan_rows[32 - j].c[c]) << j << " " << c;
        for (int c : even_columns) EXPECT_EQ(xeb::tan_rows[j].c[c], -xeb::tan_rows[32 - j].c[c]) << j << " " << c;
    }

    const double sin_row0[5] = {-0.16666666666666666, 0.008333333333333333, -0.00019841269841269836,
                                2.755731922210186e-06, -2.5051823200351557e-08};
    const double sin_row32[5] = {-0.166666667, 0.0083333332, -0.00019841229, 2.75508925e-06, -2.45456556e-08};
    const double sin_row64[5] = {-0.166666652, 0.00833330342, -0.00019838874, 2.74611443e-06, -2.31101638e-08};
    for (int c = 0; c < 5; ++c) {
        // Row 0 to its fit: Taylor's first three, the last two within 1e-4.
        EXPECT_NEAR(xeb::sin_bands[0][c], sin_row0[c], std::fabs(sin_row0[c]) * (c < 3 ? 1e-14 : 1e-4));
        EXPECT_NEAR(xeb::sin_bands[32][c], sin_row32[c], std::fabs(sin_row32[c]) * 5e-3);
        EXPECT_NEAR(xeb::sin_bands[64][c], sin_row64[c], std::fabs(sin_row64[c]) * 5e-3);
    }
    const double sincos_row0[8] = {-0.16666666666666666, 0.008333333333333333, -0.000198412698412653,
                                   2.7557301060236224e-06, 0.041666666666666664, -0.001388888888888887,
                                   2.4801587296847332e-05, -2.755680352867429e-07};
    // The highest coefficient of each polynomial is barely determined on a
    // band this narrow (it moves the result by 2^-90): 1e-4 there.
    for (int c = 0; c < 8; ++c)
        EXPECT_NEAR(xeb::sin_cos_bands[0][c], sincos_row0[c],
                    std::fabs(sincos_row0[c]) * (c == 3 || c == 7 ? 1e-4 : 1e-6))
            << c;
}

}  // namespace
