// Continuous laws: each value against the law's formula evaluated in long
// double on the same uniforms, the draw counts and block boundaries seen by
// a scripted generator, statuses passed through, and the Gaussian pending
// pair across calls, copies and stream files.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/scale.h"
#include "support/law_draws.h"
#include "xebruk/xebruk.h"

namespace {

using xt::StreamHandle;
using Calls = std::vector<int32_t>;

// The scripted generator of tests/support, its numbers taken as uniforms
// on (0, 1) and scaled to the interval of each call.
using xt::new_script_stream;
using xt::script;
void reset_script(std::vector<double> values, std::vector<int32_t> statuses = {}) {
    xt::reset_script(std::move(values), std::move(statuses), true);
}

void new_mt(StreamHandle& h, uint32_t seed) { ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MT19937, 1, &seed), RUK_OK); }

// Every law of both precisions behind one call form, with the parameters of
// the tests, its distribution function, and the formula from uniforms.
struct Forms {
    std::function<int32_t(RukStream*, int32_t, double*)> d;
    std::function<int32_t(RukStream*, int32_t, float*)> s;
};
template <class... Dp, class... Sp, class... P>
Forms forms(int32_t (*d)(int32_t, RukStream*, int32_t, double*, Dp...),
            int32_t (*s)(int32_t, RukStream*, int32_t, float*, Sp...), int32_t method, P... p) {
    return {[=](RukStream* st, int32_t n, double* r) { return d(method, st, n, r, static_cast<double>(p)...); },
            [=](RukStream* st, int32_t n, float* r) { return s(method, st, n, r, static_cast<float>(p)...); }};
}

using LD = long double;
const LD kPi = 3.141592653589793238462643383279502884L;
constexpr double kHalfPi = 0x1.921fb54442d18p+0;
// A value from uniforms and the size of its largest term (for the error measure).
struct Value {
    LD x, scale;
};
using Formula = std::function<Value(const LD* u, std::size_t i, bool single)>;

struct Law {
    const char* name;
    Forms draw;
    int uniforms_per_value;   // 2 for Laplace and the Gaussians
    Formula formula;          // value i from the uniforms
    double bound_d, bound_s;  // of the formula check, in ulps of the largest term
    double lo = 0, hi = 1;    // the interval the law draws its uniforms on
};

// Sine or cosine (odd i) of pair i / 2 (of pair i with one value a pair), and the radius.
Value box_muller(const LD* u, std::size_t i, bool one_per_pair) {
    const std::size_t pair = one_per_pair ? i : i / 2;
    const LD radius = std::sqrt(-2 * std::log(u[2 * pair])), angle = 2 * kPi * u[2 * pair + 1];
    return {radius * (!one_per_pair && i % 2 ? std::cos(angle) : std::sin(angle)), radius};
}

// Formula bounds: the kernels' errors (below 1 ulp; the Cauchy tangent and
// the single Gaussian's sine and cosine below 4) plus the roundings of the
// steps.  The Gaussian angle 2 pi U2 is rounded to the working type before
// the sine: up to half an ulp of 2 pi, which moves sigma R sin T by up to
// 4 ulp of its largest term 2R.  Lognormal turns G's absolute error into a
// relative one of exp(G).
std::vector<Law> laws() {
    std::vector<Law> v;
    v.push_back({"uniform(-2, 5)", forms(rukdRngUniform, ruksRngUniform, 0, -2, 5),
                 1, nullptr, 0, 0, -2, 5});
    v.push_back({"exponential(1.5, 2)", forms(rukdRngExponential, ruksRngExponential, 0, 1.5, 2),
                 1,
                 [](const LD* u, std::size_t i, bool) {
                     return Value{1.5L - 2 * std::log(u[i]), std::fabs(2 * std::log(u[i]))};
                 }, 2, 2});
    v.push_back({"laplace(-1, 0.5)", forms(rukdRngLaplace, ruksRngLaplace, 0, -1, 0.5),
                 2,
                 [](const LD* u, std::size_t i, bool) {
                     const LD l = 0.5L * std::log(u[2 * i]);
                     return Value{u[2 * i + 1] <= 0.5L ? -1 - l : -1 + l, std::fabs(l)};
                 }, 2, 2});
    v.push_back({"weibull(1.7, 0.5, 3)", forms(rukdRngWeibull, ruksRngWeibull, 0, 1.7, 0.5, 3),
                 1,
                 [](const LD* u, std::size_t i, bool single) {
                     const LD alpha = single ? 1.7f : 1.7;  // as the law receives it
                     const LD term = 3 * std::pow(-std::log(u[i]), 1 / alpha);
                     return Value{0.5L + term, term};
                 }, 2, 3});
    v.push_back({"cauchy(2, 0.5)", forms(rukdRngCauchy, ruksRngCauchy, 0, 2, 0.5),
                 1,
                 [](const LD* u, std::size_t i, bool) {  // u is the angle here
                     return Value{2 + 0.5L * std::tan(u[i]), std::fabs(0.5L * std::tan(u[i]))};
                 }, 4, 5, -kHalfPi, kHalfPi});
    v.push_back({"rayleigh(1, 2)", forms(rukdRngRayleigh, ruksRngRayleigh, 0, 1, 2),
                 // No factor 2 under the root.
                 1,
                 [](const LD* u, std::size_t i, bool) {
                     return Value{1 + 2 * std::sqrt(-std::log(u[i])), 2 * std::sqrt(-std::log(u[i]))};
                 }, 2, 2});
    v.push_back({"gumbel(1, 1.5)", forms(rukdRngGumbel, ruksRngGumbel, 0, 1, 1.5),
                 // Long tail low: a + beta ln(-ln U).
                 1,
                 [](const LD* u, std::size_t i, bool) {
                     const LD l = 1.5L * std::log(-std::log(u[i]));
                     return Value{1 + l, std::max(std::fabs(l), 1.0L)};
                 }, 3, 3});
    // Method 0: pair i gives value i; method 1: pair i/2 its sine then cosine.
    for (int method : {0, 1})
        v.push_back({method ? "gaussian method 1 (3, 2)" : "gaussian method 0 (3, 2)",
                     forms(rukdRngGaussian, ruksRngGaussian, method, 3, 2),
                     2,
                     [method](const LD* u, std::size_t i, bool) {
                         const Value g = box_muller(u, i, method == 0);
                         return Value{3 + 2 * g.x, std::max(2 * g.scale, 3.0L)};
                     }, 6, 8});
    v.push_back({"lognormal(0.3, 0.6, -1, 2)", forms(rukdRngLognormal, ruksRngLognormal, 0, 0.3, 0.6, -1, 2),
                 2,
                 [](const LD* u, std::size_t i, bool single) {
                     const LD a = single ? 0.3f : 0.3, sigma = single ? 0.6f : 0.6;
                     const LD e = 2 * std::exp(a + sigma * box_muller(u, i, false).x);
                     return Value{-1 + e, std::max(e, 1.0L)};
                 }, 10, 12});
    // Gamma at shape 1 gives the Exponential's values (its other shapes
    // reject: their distributions are checked in test_laws_gamma).
    v.push_back({"gamma 1 (0, 2)", forms(rukdRngGamma, ruksRngGamma, 0, 1, 0, 2),
                 1,
                 [](const LD* u, std::size_t i, bool) { return Value{-2 * std::log(u[i]), -2 * std::log(u[i])}; },
                 2, 3});
    return v;
}

template <class T>
void check_formula(const Law& law, const std::function<int32_t(RukStream*, int32_t, T*)>& draw, double bound) {
    // 3,001 values: Laplace and both Gaussian methods cross their blocks.
    const int32_t n = 3001;
    StreamHandle h, twin;
    new_mt(h, 77);
    new_mt(twin, 77);
    std::vector<T> got(n);
    ASSERT_EQ(draw(h.get(), n, got.data()), RUK_OK);
    // The same uniforms, on the law's own interval (Cauchy draws angles).
    const int32_t count = (n + 1) * law.uniforms_per_value;
    std::vector<T> u(count);
    if constexpr (sizeof(T) == 8)
        rukdRngUniform(0, twin.get(), count, u.data(), law.lo, law.hi);
    else
        ruksRngUniform(0, twin.get(), count, u.data(), static_cast<float>(law.lo), static_cast<float>(law.hi));
    const std::vector<long double> ul(u.begin(), u.end());
    double worst = 0;
    std::size_t worst_at = 0;
    for (std::size_t i = 0; i < got.size(); ++i) {
        // |got - want| in ulps of the value's largest term (so that
        // cancellation in a + beta x is not charged to the law).
        const Value want = law.formula(ul.data(), i, sizeof(T) == 4);
        const int exp = std::ilogb(static_cast<double>(std::max(std::fabs(want.x), want.scale)));
        const double e = static_cast<double>(std::fabs(got[i] - want.x) /
                                             std::ldexp(1.0L, exp - std::numeric_limits<T>::digits + 1));
        if (e > worst) worst = e, worst_at = i;
    }
    EXPECT_LE(worst, bound) << law.name << (sizeof(T) == 8 ? " double" : " single") << " at " << worst_at;
}

TEST(ContinuousLaws, ValuesMatchTheFormulaOnTheSameUniforms) {
    for (const Law& law : laws())
        if (law.formula) {
            check_formula<double>(law, law.draw.d, law.bound_d);
            check_formula<float>(law, law.draw.s, law.bound_s);
        }
}

const std::vector<double> kSomeUniforms{0.3, 0.7, 0.05, 0.95, 0.5001, 0.25, 0.6, 0.125};

TEST(ContinuousLaws, DrawCountsAtBlockBoundaries) {
    using Draw = std::function<int32_t(RukStream*, int32_t, double*)>;
    auto gauss = [](int m) -> Draw {
        return [m](RukStream* s, int32_t n, double* r) { return rukdRngGaussian(m, s, n, r, 0, 1); };
    };
    const Draw laplace = [](RukStream* s, int32_t n, double* r) { return rukdRngLaplace(0, s, n, r, 0, 1); };
    const Draw gumbel = [](RukStream* s, int32_t n, double* r) { return rukdRngGumbel(0, s, n, r, 0, 1); };
    const struct {
        const char* name;
        Draw law;
        int32_t n;
        Calls calls;
    } cases[] = {
        {"laplace", laplace, 1024, {2048, 0}},          {"laplace", laplace, 1025, {2048, 2}},
        {"laplace", laplace, 0, {0}},                   {"laplace", laplace, -5, {0}},
        {"gaussian0", gauss(0), 512, {1024, 0}},        {"gaussian0", gauss(0), 1024, {1024, 1024, 0}},
        {"gaussian0", gauss(0), 1025, {1024, 1024, 2}}, {"gaussian0", gauss(0), 0, {0}},
        {"gaussian0", gauss(0), -5, {0}},               {"gaussian1", gauss(1), 512, {512}},
        {"gaussian1", gauss(1), 1024, {1024}},          {"gaussian1", gauss(1), 1025, {1024, 2}},
        {"gaussian1", gauss(1), 2050, {1024, 1024, 2}}, {"gumbel", gumbel, 7, {7}},
    };
    for (const auto& c : cases) {
        StreamHandle h;
        new_script_stream(h);
        reset_script(kSomeUniforms);
        std::vector<double> r(std::max(c.n, 0) + 1);
        EXPECT_EQ(c.law(h.get(), c.n, r.data()), RUK_OK) << c.name << " " << c.n;
        EXPECT_EQ(script.calls, c.calls) << c.name << " " << c.n;
    }
    // Method 1: n = 1 draws a pair and keeps it; the next n = 1 draws none;
    // after a pending pair n = 3 takes the cosine and draws one pair.
    StreamHandle h;
    new_script_stream(h);
    reset_script(kSomeUniforms);
    double r[4];
    for (int32_t n : {1, 1, 1, 3}) rukdRngGaussian(1, h.get(), n, r, 0, 1);
    EXPECT_EQ(script.calls, (Calls{2, 2, 2}));
}

TEST(ContinuousLaws, GeneratorStatusPassesThrough) {
    // A positive status is the result; a negative one is returned at once,
    // with r as the generator left it: the raw draws for the laws that draw
    // into r, untouched for those that draw into a buffer.
    for (const Law& law : laws()) {
        StreamHandle h;
        new_script_stream(h);
        std::vector<double> r(6, 9.0);
        reset_script(kSomeUniforms, {7, 7, 7});
        EXPECT_EQ(law.draw.d(h.get(), 6, r.data()), 7) << law.name;
        reset_script({0.25}, {-77});
        r.assign(6, 9.0);
        EXPECT_EQ(law.draw.d(h.get(), 6, r.data()), -77) << law.name;
        const double raw = law.lo + (law.hi - law.lo) * 0.25;
        for (double x : r) EXPECT_EQ(x, law.uniforms_per_value == 1 ? raw : 9.0) << law.name;
    }
    // Laplace: blocks finished before a failure stay final.
    StreamHandle h;
    new_script_stream(h);
    reset_script({0.25, 0.75}, {0, -77});
    std::vector<double> r(1030, 9.0);
    EXPECT_EQ(rukdRngLaplace(0, h.get(), 1030, r.data(), 0, 1), -77);
    EXPECT_NEAR(r[1023], std::log(0.25), 1e-15);
    EXPECT_EQ(r[1024], 9.0);
}

TEST(ContinuousLaws, LaplaceSideOfOneHalfAndTheSingleClamps) {
    StreamHandle h;
    new_script_stream(h);
    // Sizes 0.25; sides exactly 0.5 (at or above a), then just above.
    reset_script({0.25, 0.5, 0.25, 0.5001});
    double d[2];
    float f[2];
    rukdRngLaplace(0, h.get(), 2, d, 1, 2);
    EXPECT_DOUBLE_EQ(d[0], 1 - 2 * std::log(0.25));
    EXPECT_DOUBLE_EQ(d[1], 1 + 2 * std::log(0.25));
    reset_script({0.25, 0.5, 0.25, 0.5001});
    ruksRngLaplace(0, h.get(), 2, f, 1, 2);
    EXPECT_GT(f[0], 1.0f);
    EXPECT_LT(f[1], 1.0f);
    // beta < 0: the single form clamps every value to a, the double form
    // goes below a.
    reset_script(kSomeUniforms);
    std::vector<float> fs(8);
    std::vector<double> ds(8);
    ruksRngExponential(0, h.get(), 8, fs.data(), 3, -1);
    for (float x : fs) EXPECT_EQ(x, 3.0f);
    reset_script(kSomeUniforms);
    rukdRngExponential(0, h.get(), 8, ds.data(), 3, -1);
    for (std::size_t i = 0; i < 8; ++i) EXPECT_NEAR(ds[i], 3 + std::log(kSomeUniforms[i]), 1e-15);
    // Gumbel: in single the clamp at 0 comes before the second logarithm,
    // so a draw above 1 gives ln 0 = -inf there and ln of a negative (NaN)
    // in double.
    reset_script({1.5});
    ruksRngGumbel(0, h.get(), 1, f, 0, 1);
    rukdRngGumbel(0, h.get(), 1, d, 0, 1);
    EXPECT_EQ(f[0], -INFINITY);
    EXPECT_TRUE(std::isnan(d[0]));
}

// The pending pair of the paired Gaussian method.
template <class T>
int32_t gaussian(int32_t method, RukStream* s, int32_t n, T* r, T a, T sigma) {
    if constexpr (sizeof(T) == 8)
        return rukdRngGaussian(method, s, n, r, a, sigma);
    else
        return ruksRngGaussian(method, s, n, r, a, sigma);
}

template <class T>
void check_split_calls() {
    const int n = 3000;
    StreamHandle whole;
    new_mt(whole, 5);
    std::vector<T> one(n + 2);
    gaussian<T>(1, whole.get(), n, one.data(), 1, 2);
    gaussian<T>(1, whole.get(), 2, &one[n], 1, 2);  // the pair after
    // Odd splits, with sigma changing between calls (the record keeps raw
    // uniforms, so each call scales with its own parameters).
    std::mt19937 pick(9);
    for (int trial = 0; trial < 4; ++trial) {
        StreamHandle h;
        new_mt(h, 5);
        std::vector<T> parts(n + 2);
        double worst = 0;
        for (int done = 0; done < n;) {
            const int k = std::min(n - done, trial == 0 ? 3 : 1 + static_cast<int>(pick() % (trial * 700)));
            const T sigma = T(0.5) * static_cast<T>(1 + done % 3);
            ASSERT_EQ(gaussian<T>(1, h.get(), k, &parts[done], 1, sigma), RUK_OK);
            for (int i = done; i < done + k; ++i)
                worst = std::max(worst, static_cast<double>(std::fabs((static_cast<long double>(parts[i]) - 1) / sigma -
                                                                      (static_cast<long double>(one[i]) - 1) / 2)));
            done += k;
        }
        // Up to the rounding of the separate sine or cosine kernel against
        // the paired one: a few ulps of a value below 8.
        EXPECT_LT(worst, sizeof(T) == 8 ? 1e-14 : 1e-5) << trial;
        // The stream is where one call leaves it: the next pair agrees.
        gaussian<T>(1, h.get(), 2, &parts[n], 1, 2);
        EXPECT_EQ(parts[n], one[n]);
        EXPECT_EQ(parts[n + 1], one[n + 1]);
    }
}

TEST(GaussianPaired, SplitCallsContinueOneSequence) {
    check_split_calls<double>();
    check_split_calls<float>();
}

TEST(GaussianPaired, PendingPairTravelsInStreamFiles) {
    StreamHandle h, loaded;
    new_mt(h, 21);
    double r[3], a[5], b[5];
    float f[3], fb[3];
    rukdRngGaussian(1, h.get(), 3, r, 0, 1);  // a pair pending
    ruksRngGaussian(1, h.get(), 1, f, 0, 1);  // and one in single
    EXPECT_EQ(rukGetNumChunks(h.get()), 2);
    const std::string path = ::testing::TempDir() + "gaussian_pending.bin";
    ASSERT_EQ(rukSaveStreamF(h.get(), path.c_str(), -1), RUK_OK);
    ASSERT_EQ(rukLoadStreamF(loaded.out(), path.c_str()), RUK_OK);
    std::remove(path.c_str());
    rukdRngGaussian(1, h.get(), 5, a, 2, 3);
    rukdRngGaussian(1, loaded.get(), 5, b, 2, 3);
    ruksRngGaussian(1, h.get(), 3, f, 2, 3);
    ruksRngGaussian(1, loaded.get(), 3, fb, 2, 3);
    EXPECT_EQ(0, std::memcmp(a, b, sizeof a));
    EXPECT_EQ(0, std::memcmp(f, fb, sizeof f));
}

TEST(GaussianPaired, EmptyCountsAndUnknownMethods) {
    StreamHandle h, twin;
    new_mt(h, 8);
    new_mt(twin, 8);
    double r[2] = {5, 5}, t[2];
    float f;
    rukdRngGaussian(1, h.get(), 1, r, 0, 1);
    // n = 0 with a pair pending: nothing written, the pair still pending.
    EXPECT_EQ(rukdRngGaussian(1, h.get(), 0, r + 1, 0, 1), RUK_OK);
    EXPECT_EQ(rukdRngGaussian(1, h.get(), -3, r + 1, 0, 1), RUK_OK);
    EXPECT_EQ(r[1], 5.0);
    rukdRngGaussian(1, h.get(), 1, r + 1, 0, 1);
    rukdRngGaussian(1, twin.get(), 2, t, 0, 1);
    EXPECT_NEAR(r[0], t[0], 1e-15);
    EXPECT_NEAR(r[1], t[1], 1e-15);
    for (int32_t m : {2, -1, 1000}) {
        EXPECT_EQ(rukdRngGaussian(m, h.get(), 2, r, 0, 1), RUK_ERROR_UNKNOWN_METHOD) << m;
        EXPECT_EQ(ruksRngGaussian(m, h.get(), 1, &f, 0, 1), RUK_ERROR_UNKNOWN_METHOD) << m;
    }
}

}  // namespace
