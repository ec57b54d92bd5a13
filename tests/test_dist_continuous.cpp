// Continuous laws: each sample against its distribution function
// (Kolmogorov-Smirnov), each value against the law's formula evaluated in
// long double on the same uniforms, the draw counts and block boundaries
// seen by a scripted generator, statuses passed through, and the Gaussian
// pending pair across calls, copies and stream files.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/scale.h"
#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace {

using xt::StreamHandle;

// ---------------------------------------------------------------------------
// A registered generator that hands out a script: the uniforms to return
// (scaled to the interval asked for) and the status of each call; it logs
// the count of every call.

struct Script {
    std::vector<double> values;  // on (0, 1); used cyclically
    std::vector<int32_t> statuses;  // per call; missing entries are 0
    std::vector<int32_t> calls;
    std::size_t next = 0;
    void reset(std::vector<double> v, std::vector<int32_t> s = {}) {
        values = std::move(v);
        statuses = std::move(s);
        calls.clear();
        next = 0;
    }
    template <class T>
    int32_t fill(int32_t n, T* r, T a, T b) {
        const std::size_t call = calls.size();
        calls.push_back(n);
        for (int32_t i = 0; i < n; ++i) {
            const double u = values[next++ % values.size()];
            r[i] = static_cast<T>(a + (b - a) * u);
        }
        return call < statuses.size() ? statuses[call] : 0;
    }
};
Script script;

int32_t script_init(int32_t, RukStream*, int32_t, const uint32_t*) { return RUK_OK; }
int32_t script_d(RukStream*, int32_t n, double* r, double a, double b) { return script.fill(n, r, a, b); }
int32_t script_s(RukStream*, int32_t n, float* r, float a, float b) { return script.fill(n, r, a, b); }
int32_t script_i(RukStream*, int32_t, void*) { return RUK_OK; }

int32_t script_id() {
    static const int32_t id = [] {
        const RukBrngEntry row{24, 1, 1, 4, 32, script_init, script_s, script_d, script_i};
        return rukRegisterBrng(&row);
    }();
    return id;
}

void new_script_stream(StreamHandle& h) {
    ASSERT_EQ(rukNewStreamEx(h.out(), script_id(), 0, nullptr), RUK_OK);
}

void new_mt(StreamHandle& h, uint32_t seed) {
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MT19937, 1, &seed), RUK_OK);
}

// ---------------------------------------------------------------------------
// Every law of both precisions behind one call form, with the parameters of
// the tests, its distribution function, and the formula from uniforms.

struct Forms {
    std::function<int32_t(RukStream*, int32_t, double*)> d;
    std::function<int32_t(RukStream*, int32_t, float*)> s;
};

// The double and single function of a law with one method and parameters.
template <class... Dp, class... Sp, class... P>
Forms forms(int32_t (*d)(int32_t, RukStream*, int32_t, double*, Dp...),
            int32_t (*s)(int32_t, RukStream*, int32_t, float*, Sp...), int32_t method, P... p) {
    return {[=](RukStream* st, int32_t n, double* r) { return d(method, st, n, r, static_cast<double>(p)...); },
            [=](RukStream* st, int32_t n, float* r) { return s(method, st, n, r, static_cast<float>(p)...); }};
}

const long double kPi = 3.141592653589793238462643383279502884L;
constexpr double kHalfPi = 0x1.921fb54442d18p+0;

struct Law {
    const char* name;
    Forms draw;
    std::function<long double(long double)> cdf;
    // Uniforms per value (2 for Laplace and the Gaussians), the value and
    // the size of its largest term (for the error measure) from them.
    int uniforms_per_value;
    std::function<long double(const long double* u, std::size_t i, long double* scale, bool single)> formula;
    double lo = 0, hi = 1;  // the interval the law draws its uniforms on
};

long double normal_cdf(long double z) { return 0.5L * std::erfc(-z / std::sqrt(2.0L)); }

std::vector<Law> laws() {
    std::vector<Law> v;
    v.push_back({"uniform(-2, 5)",
                 forms(rukdRngUniform, ruksRngUniform, 0, -2, 5),
                 [](long double x) { return (x + 2) / 7; }, 1, nullptr, -2, 5});
    v.push_back({"exponential(1.5, 2)",
                 forms(rukdRngExponential, ruksRngExponential, 0, 1.5, 2),
                 [](long double x) { return x < 1.5L ? 0 : -std::expm1(-(x - 1.5L) / 2); }, 1,
                 [](const long double* u, std::size_t i, long double* scale, bool) {
                     *scale = std::fabs(2 * std::log(u[i]));
                     return 1.5L - 2 * std::log(u[i]);
                 }});
    v.push_back({"laplace(-1, 0.5)",
                 forms(rukdRngLaplace, ruksRngLaplace, 0, -1, 0.5),
                 [](long double x) {
                     const long double z = (x + 1) / 0.5L;
                     return z < 0 ? 0.5L * std::exp(z) : 1 - 0.5L * std::exp(-z);
                 },
                 2,
                 [](const long double* u, std::size_t i, long double* scale, bool) {
                     const long double l = 0.5L * std::log(u[2 * i]);
                     *scale = std::fabs(l);
                     return u[2 * i + 1] <= 0.5L ? -1 - l : -1 + l;
                 }});
    v.push_back({"weibull(1.7, 0.5, 3)",
                 forms(rukdRngWeibull, ruksRngWeibull, 0, 1.7, 0.5, 3),
                 [](long double x) {
                     return x <= 0.5L ? 0 : -std::expm1(-std::pow((x - 0.5L) / 3, 1.7L));
                 },
                 1,
                 [](const long double* u, std::size_t i, long double* scale, bool single) {
                     // alpha as the law receives it.
                     const long double alpha = single ? 1.7f : 1.7;
                     *scale = 3 * std::pow(-std::log(u[i]), 1 / alpha);
                     return 0.5L + *scale;
                 }});
    v.push_back({"cauchy(2, 0.5)",
                 forms(rukdRngCauchy, ruksRngCauchy, 0, 2, 0.5),
                 [](long double x) { return 0.5L + std::atan((x - 2) / 0.5L) / kPi; }, 1,
                 [](const long double* u, std::size_t i, long double* scale, bool) {
                     *scale = std::fabs(0.5L * std::tan(u[i]));  // u is the angle here
                     return 2 + 0.5L * std::tan(u[i]);
                 },
                 -kHalfPi, kHalfPi});
    v.push_back({"rayleigh(1, 2)",
                 forms(rukdRngRayleigh, ruksRngRayleigh, 0, 1, 2),
                 // No factor 2: P(X <= x) = 1 - exp(-((x - a)/beta)^2).
                 [](long double x) { return x <= 1 ? 0 : -std::expm1(-((x - 1) / 2) * ((x - 1) / 2)); }, 1,
                 [](const long double* u, std::size_t i, long double* scale, bool) {
                     *scale = 2 * std::sqrt(-std::log(u[i]));
                     return 1 + *scale;
                 }});
    v.push_back({"gumbel(1, 1.5)",
                 forms(rukdRngGumbel, ruksRngGumbel, 0, 1, 1.5),
                 // Long tail low: P(X <= x) = 1 - exp(-exp((x - a)/beta)).
                 [](long double x) { return -std::expm1(-std::exp((x - 1) / 1.5L)); }, 1,
                 [](const long double* u, std::size_t i, long double* scale, bool) {
                     const long double l = 1.5L * std::log(-std::log(u[i]));
                     *scale = std::max(std::fabs(l), 1.0L);
                     return 1 + l;
                 }});
    for (int method : {0, 1}) {
        v.push_back({method ? "gaussian method 1 (3, 2)" : "gaussian method 0 (3, 2)",
                     forms(rukdRngGaussian, ruksRngGaussian, method, 3, 2),
                     [](long double x) { return normal_cdf((x - 3) / 2); }, 2,
                     [method](const long double* u, std::size_t i, long double* scale, bool) {
                         // Method 0: pair i gives value i; method 1: pair i/2
                         // gives its sine then its cosine.
                         const std::size_t pair = method ? i / 2 : i;
                         const long double radius = std::sqrt(-2 * std::log(u[2 * pair]));
                         const long double angle = 2 * kPi * u[2 * pair + 1];
                         *scale = std::max(2 * radius, 3.0L);
                         const bool cosine = method && i % 2;
                         return 3 + 2 * radius * (cosine ? std::cos(angle) : std::sin(angle));
                     }});
    }
    v.push_back({"lognormal(0.3, 0.6, -1, 2)",
                 forms(rukdRngLognormal, ruksRngLognormal, 0, 0.3, 0.6, -1, 2),
                 [](long double x) { return x <= -1 ? 0 : normal_cdf((std::log((x + 1) / 2) - 0.3L) / 0.6L); }, 2,
                 [](const long double* u, std::size_t i, long double* scale, bool single) {
                     const std::size_t pair = i / 2;
                     const long double radius = std::sqrt(-2 * std::log(u[2 * pair]));
                     const long double angle = 2 * kPi * u[2 * pair + 1];
                     const long double a = single ? 0.3f : 0.3, sigma = single ? 0.6f : 0.6;
                     const long double g = a + sigma * radius * (i % 2 ? std::cos(angle) : std::sin(angle));
                     *scale = std::max(2 * std::exp(g), 1.0L);
                     return -1 + 2 * std::exp(g);
                 }});
    return v;
}

// sqrt(n) times the Kolmogorov-Smirnov distance of the sample to cdf.
template <class T>
double ks_statistic(std::vector<T> x, const std::function<long double(long double)>& cdf) {
    std::sort(x.begin(), x.end());
    const long double n = static_cast<long double>(x.size());
    long double d = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const long double f = cdf(x[i]);
        d = std::max({d, f - i / n, (i + 1) / n - f});
    }
    return static_cast<double>(d * std::sqrt(n));
}

TEST(ContinuousLaws, SamplesFollowTheirDistributions) {
    // 1.95: the 0.1% point of the Kolmogorov distribution.  Fixed seeds, so
    // a failure repeats.
    const std::size_t n = xt::scaled(1000000, 20000);
    uint32_t seed = 1000;
    for (const Law& law : laws()) {
        StreamHandle hd, hs;
        new_mt(hd, ++seed);
        new_mt(hs, ++seed);
        std::vector<double> d(n);
        std::vector<float> f(n);
        ASSERT_EQ(law.draw.d(hd.get(), static_cast<int32_t>(n), d.data()), RUK_OK) << law.name;
        ASSERT_EQ(law.draw.s(hs.get(), static_cast<int32_t>(n), f.data()), RUK_OK) << law.name;
        EXPECT_LT(ks_statistic(d, law.cdf), 1.95) << law.name << " double";
        EXPECT_LT(ks_statistic(f, law.cdf), 1.95) << law.name << " single";
    }
}

// |got - want| in ulps of the value's largest term (so that cancellation
// in a + beta x is not charged to the law).
template <class T>
double term_ulps(T got, long double want, long double scale) {
    const int digits = std::numeric_limits<T>::digits;
    const long double ulp = std::ldexp(1.0L, std::ilogb(static_cast<double>(std::max(std::fabs(want), scale))) - digits + 1);
    return static_cast<double>(std::fabs(got - want) / ulp);
}

template <class T>
void check_formula(const Law& law, const std::function<int32_t(RukStream*, int32_t, T*)>& draw,
                   double bound) {
    // 3,001 values: Laplace and both Gaussian methods cross their blocks.
    const int32_t n = 3001;
    StreamHandle h, twin;
    new_mt(h, 77);
    new_mt(twin, 77);
    std::vector<T> got(n);
    ASSERT_EQ(draw(h.get(), n, got.data()), RUK_OK);
    // The same uniforms, on the law's own interval (Cauchy draws angles).
    const std::size_t count = static_cast<std::size_t>(n + 1) * law.uniforms_per_value;
    std::vector<T> u(count);
    const T lo = static_cast<T>(law.lo), hi = static_cast<T>(law.hi);
    if constexpr (sizeof(T) == 8)
        rukdRngUniform(0, twin.get(), static_cast<int32_t>(count), u.data(), lo, hi);
    else
        ruksRngUniform(0, twin.get(), static_cast<int32_t>(count), u.data(), lo, hi);
    const std::vector<long double> ul(u.begin(), u.end());
    double worst = 0;
    std::size_t worst_at = 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(n); ++i) {
        long double scale;
        const long double want = law.formula(ul.data(), i, &scale, sizeof(T) == 4);
        const double e = term_ulps(got[i], want, scale);
        if (e > worst) worst = e, worst_at = i;
    }
    EXPECT_LE(worst, bound) << law.name << (sizeof(T) == 8 ? " double" : " single") << " at "
                            << worst_at;
    std::printf("%-28s %-6s max %.3f ulp of the largest term\n", law.name,
                sizeof(T) == 8 ? "double" : "single", worst);
}

TEST(ContinuousLaws, ValuesMatchTheFormulaOnTheSameUniforms) {
    // Bounds: the kernels' errors (below 1 ulp; the Cauchy tangent and the
    // single Gaussian's sine and cosine below 4) plus the roundings of the
    // steps.  The Gaussian angle 2 pi U2 is rounded to the working type
    // before the sine: up to half an ulp of 2 pi, which moves sigma R sin T
    // by up to 4 ulp of its largest term 2R.  Lognormal turns G's absolute
    // error into a relative one of exp(G).
    struct Bound {
        const char* prefix;
        double d, s;
    };
    const Bound bounds[] = {{"exponential", 2, 2},   {"laplace", 2, 2},  {"weibull", 2, 3},
                            {"cauchy", 4, 5},        {"rayleigh", 2, 2}, {"gumbel", 3, 3},
                            {"gaussian", 6, 8},      {"lognormal", 10, 12}};
    for (const Law& law : laws()) {
        if (!law.formula) continue;
        for (const Bound& b : bounds)
            if (std::strncmp(law.name, b.prefix, std::strlen(b.prefix)) == 0) {
                check_formula<double>(law, law.draw.d, b.d);
                check_formula<float>(law, law.draw.s, b.s);
            }
    }
}

// ---------------------------------------------------------------------------
// Draw counts, statuses and boundaries through the scripted generator.

const std::vector<double> kSomeUniforms{0.3, 0.7, 0.05, 0.95, 0.5001, 0.25, 0.6, 0.125};

TEST(ContinuousLaws, DrawCountsAtBlockBoundaries) {
    struct Case {
        const char* name;
        std::function<int32_t(RukStream*, int32_t, double*)> law;
        int32_t n;
        std::vector<int32_t> calls;
    };
    auto gauss = [](int m) {
        return [m](RukStream* s, int32_t n, double* r) { return rukdRngGaussian(m, s, n, r, 0, 1); };
    };
    auto laplace = [](RukStream* s, int32_t n, double* r) { return rukdRngLaplace(0, s, n, r, 0, 1); };
    auto gumbel = [](RukStream* s, int32_t n, double* r) { return rukdRngGumbel(0, s, n, r, 0, 1); };
    const Case cases[] = {
        {"laplace 1024", laplace, 1024, {2048, 0}},
        {"laplace 1025", laplace, 1025, {2048, 2}},
        {"laplace 0", laplace, 0, {0}},
        {"laplace -5", laplace, -5, {0}},
        {"gaussian0 512", gauss(0), 512, {1024, 0}},
        {"gaussian0 1024", gauss(0), 1024, {1024, 1024, 0}},
        {"gaussian0 1025", gauss(0), 1025, {1024, 1024, 2}},
        {"gaussian0 0", gauss(0), 0, {0}},
        {"gaussian0 -5", gauss(0), -5, {0}},
        {"gaussian1 512", gauss(1), 512, {512}},
        {"gaussian1 1024", gauss(1), 1024, {1024}},
        {"gaussian1 1025", gauss(1), 1025, {1024, 2}},
        {"gaussian1 2050", gauss(1), 2050, {1024, 1024, 2}},
        {"gumbel 7", gumbel, 7, {7}},
    };
    for (const Case& c : cases) {
        StreamHandle h;
        new_script_stream(h);
        script.reset(kSomeUniforms);
        std::vector<double> r(static_cast<std::size_t>(std::max(c.n, 0)) + 1);
        EXPECT_EQ(c.law(h.get(), c.n, r.data()), RUK_OK) << c.name;
        EXPECT_EQ(script.calls, c.calls) << c.name;
    }
    // Method 1: n = 1 draws a pair and keeps it; the next n = 1 draws none;
    // after a pending pair n = 3 takes the cosine and draws one pair.
    StreamHandle h;
    new_script_stream(h);
    script.reset(kSomeUniforms);
    double r[4];
    rukdRngGaussian(1, h.get(), 1, r, 0, 1);
    rukdRngGaussian(1, h.get(), 1, r, 0, 1);
    EXPECT_EQ(script.calls, std::vector<int32_t>{2});
    rukdRngGaussian(1, h.get(), 1, r, 0, 1);
    rukdRngGaussian(1, h.get(), 3, r, 0, 1);
    EXPECT_EQ(script.calls, (std::vector<int32_t>{2, 2, 2}));
}

TEST(ContinuousLaws, GeneratorStatusPassesThrough) {
    // A positive status is the result; a negative one is returned at once,
    // with r as the generator left it: the raw draws for the laws that draw
    // into r, untouched for those that draw into a buffer.
    for (const Law& law : laws()) {
        StreamHandle h;
        new_script_stream(h);
        std::vector<double> r(6);
        script.reset(kSomeUniforms, {7, 7, 7});
        EXPECT_EQ(law.draw.d(h.get(), 6, r.data()), 7) << law.name;
        script.reset({0.25}, {-77});
        std::vector<double> f(6, 9.0);
        EXPECT_EQ(law.draw.d(h.get(), 6, f.data()), -77) << law.name;
        const double raw = law.lo + (law.hi - law.lo) * 0.25;
        for (double x : f) EXPECT_EQ(x, law.uniforms_per_value == 1 ? raw : 9.0) << law.name;
    }
    // Laplace: blocks finished before a failure stay final.
    StreamHandle h;
    new_script_stream(h);
    script.reset({0.25, 0.75}, {0, -77});
    std::vector<double> r(1030, 9.0);
    EXPECT_EQ(rukdRngLaplace(0, h.get(), 1030, r.data(), 0, 1), -77);
    EXPECT_NEAR(r[1023], std::log(0.25), 1e-15);
    EXPECT_EQ(r[1024], 9.0);
}

TEST(ContinuousLaws, LaplaceSideOfOneHalfAndTheSingleExponentialClamp) {
    StreamHandle h;
    new_script_stream(h);
    // Sizes 0.25; sides exactly 0.5, then just above.
    script.reset({0.25, 0.5, 0.25, 0.5001});
    double d[2];
    float f[2];
    rukdRngLaplace(0, h.get(), 2, d, 1, 2);
    EXPECT_DOUBLE_EQ(d[0], 1 - 2 * std::log(0.25));  // at or above a
    EXPECT_DOUBLE_EQ(d[1], 1 + 2 * std::log(0.25));
    script.reset({0.25, 0.5, 0.25, 0.5001});
    ruksRngLaplace(0, h.get(), 2, f, 1, 2);
    EXPECT_GT(f[0], 1.0f);
    EXPECT_LT(f[1], 1.0f);

    // beta < 0: the single form clamps every value to a, the double form
    // goes below a.
    script.reset(kSomeUniforms);
    std::vector<float> fs(8);
    ruksRngExponential(0, h.get(), 8, fs.data(), 3, -1);
    for (float x : fs) EXPECT_EQ(x, 3.0f);
    script.reset(kSomeUniforms);
    std::vector<double> ds(8);
    rukdRngExponential(0, h.get(), 8, ds.data(), 3, -1);
    for (std::size_t i = 0; i < 8; ++i) EXPECT_NEAR(ds[i], 3 + std::log(kSomeUniforms[i]), 1e-15);
    // Gumbel: in single the clamp at 0 comes before the second logarithm,
    // so a draw above 1 gives ln 0 = -inf there and ln of a negative (NaN)
    // in double.
    script.reset({1.5});
    float g;
    ruksRngGumbel(0, h.get(), 1, &g, 0, 1);
    EXPECT_EQ(g, -INFINITY);
    double gd;
    rukdRngGumbel(0, h.get(), 1, &gd, 0, 1);
    EXPECT_TRUE(std::isnan(gd));
}

// ---------------------------------------------------------------------------
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
    const int chunk = sizeof(T) == 8 ? 2 : 1;
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
            for (int i = done; i < done + k; ++i) {
                const long double x = (static_cast<long double>(parts[i]) - 1) / sigma;
                const long double want = (static_cast<long double>(one[i]) - 1) / 2;
                worst = std::max(worst, static_cast<double>(std::fabs(x - want)));
            }
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
    // 3 then 3 against 6: the first call keeps the second pair's uniforms.
    StreamHandle s6, s33, twin;
    new_mt(s6, 11);
    new_mt(s33, 11);
    new_mt(twin, 11);
    T six[6], a3[3], b3[3], u[4];
    gaussian<T>(1, s6.get(), 6, six, 0, 1);
    gaussian<T>(1, s33.get(), 3, a3, 0, 1);
    const T* record = static_cast<const T*>(rukSearchChunk(s33.get(), chunk));
    ASSERT_NE(record, nullptr);
    if constexpr (sizeof(T) == 8)
        rukdRngUniform(0, twin.get(), 4, u, 0, 1);
    else
        ruksRngUniform(0, twin.get(), 4, u, 0, 1);
    EXPECT_EQ(record[0], u[2]);
    EXPECT_EQ(record[1], u[3]);
    gaussian<T>(1, s33.get(), 3, b3, 0, 1);
    EXPECT_EQ(record[0], T(-1));  // empty again
    EXPECT_EQ(record[1], T(-1));
    const T tol = sizeof(T) == 8 ? T(1e-15) : T(1e-6);
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(a3[i], six[i], tol * 8) << i;
        EXPECT_NEAR(b3[i], six[3 + i], tol * 8) << i;
    }
    // The other precision keeps its own record.
    EXPECT_EQ(rukSearchChunk(s33.get(), 3 - chunk), nullptr);
}

TEST(GaussianPaired, SplitCallsContinueOneSequence) {
    check_split_calls<double>();
    check_split_calls<float>();
}

TEST(GaussianPaired, PendingPairTravelsInStreamFiles) {
    StreamHandle h;
    new_mt(h, 21);
    double r[3];
    rukdRngGaussian(1, h.get(), 3, r, 0, 1);  // a pair pending
    float f;
    ruksRngGaussian(1, h.get(), 1, &f, 0, 1);  // and one in single
    EXPECT_EQ(rukGetNumChunks(h.get()), 2);
    const std::string path = ::testing::TempDir() + "gaussian_pending.bin";
    ASSERT_EQ(rukSaveStreamF(h.get(), path.c_str(), -1), RUK_OK);
    StreamHandle loaded;
    ASSERT_EQ(rukLoadStreamF(loaded.out(), path.c_str()), RUK_OK);
    std::remove(path.c_str());
    double a[5], b[5];
    float fa[3], fb[3];
    rukdRngGaussian(1, h.get(), 5, a, 2, 3);
    rukdRngGaussian(1, loaded.get(), 5, b, 2, 3);
    ruksRngGaussian(1, h.get(), 3, fa, 2, 3);
    ruksRngGaussian(1, loaded.get(), 3, fb, 2, 3);
    EXPECT_EQ(0, std::memcmp(a, b, sizeof a));
    EXPECT_EQ(0, std::memcmp(fa, fb, sizeof fa));
}

TEST(GaussianPaired, LognormalSharesThePairAndIgnoresItsMethod) {
    StreamHandle m0, m1, g;
    new_mt(m0, 3);
    new_mt(m1, 3);
    new_mt(g, 3);
    double x0[3], x1[3], y0[3], y1[3], gs[6];
    rukdRngLognormal(0, m0.get(), 3, x0, 0.5, 0.25, 1, 2);
    rukdRngLognormal(1, m1.get(), 3, x1, 0.5, 0.25, 1, 2);
    EXPECT_EQ(0, std::memcmp(x0, x1, sizeof x0));
    ASSERT_NE(rukSearchChunk(m0.get(), 2), nullptr);  // the half pair waits
    rukdRngLognormal(0, m0.get(), 3, y0, 0.5, 0.25, 1, 2);
    rukdRngLognormal(1, m1.get(), 3, y1, 0.5, 0.25, 1, 2);
    EXPECT_EQ(0, std::memcmp(y0, y1, sizeof y0));
    // The same as b + beta exp of one Gaussian call of 6.
    rukdRngGaussian(1, g.get(), 6, gs, 0.5, 0.25);
    for (int i = 0; i < 6; ++i)
        EXPECT_NEAR(i < 3 ? x0[i] : y0[i - 3], 1 + 2 * std::exp(gs[i]), 1e-13) << i;
}

TEST(GaussianPaired, EmptyCountsAndUnknownMethods) {
    StreamHandle h, twin;
    new_mt(h, 8);
    new_mt(twin, 8);
    double r[2] = {5, 5}, t[2];
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
        float f;
        EXPECT_EQ(ruksRngGaussian(m, h.get(), 1, &f, 0, 1), RUK_ERROR_UNKNOWN_METHOD) << m;
    }
}

}  // namespace
