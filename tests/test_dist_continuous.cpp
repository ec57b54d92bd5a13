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

struct Law {
    const char* name;
    std::function<int32_t(RukStream*, int32_t, double*)> draw_d;
    std::function<int32_t(RukStream*, int32_t, float*)> draw_s;
    std::function<long double(long double)> cdf;
    // Uniforms per value (2 for Laplace and the Gaussians), the value and
    // the size of its largest term (for the error measure) from them.
    int uniforms_per_value;
    std::function<long double(const long double* u, std::size_t i, long double* scale, bool single)> formula;
};




std::vector<Law> laws() {
    std::vector<Law> v;
    v.push_back({"uniform(-2, 5)",
                 [](RukStream* s, int32_t n, double* r) { return rukdRngUniform(0, s, n, r, -2, 5); },
                 [](RukStream* s, int32_t n, float* r) { return ruksRngUniform(0, s, n, r, -2, 5); },
                 [](long double x) { return (x + 2) / 7; }, 1, nullptr});
    v.push_back({"exponential(1.5, 2)",
                 [](RukStream* s, int32_t n, double* r) { return rukdRngExponential(0, s, n, r, 1.5, 2); },
                 [](RukStream* s, int32_t n, float* r) { return ruksRngExponential(0, s, n, r, 1.5f, 2); },
                 [](long double x) { return x < 1.5L ? 0 : -std::expm1(-(x - 1.5L) / 2); }, 1,
                 [](const long double* u, std::size_t i, long double* scale, bool) {
                     *scale = std::fabs(2 * std::log(u[i]));
                     return 1.5L - 2 * std::log(u[i]);
                 }});
    v.push_back({"gumbel(1, 1.5)",
                 [](RukStream* s, int32_t n, double* r) { return rukdRngGumbel(0, s, n, r, 1, 1.5); },
                 [](RukStream* s, int32_t n, float* r) { return ruksRngGumbel(0, s, n, r, 1, 1.5f); },
                 // Long tail low: P(X <= x) = 1 - exp(-exp((x - a)/beta)).
                 [](long double x) { return -std::expm1(-std::exp((x - 1) / 1.5L)); }, 1,
                 [](const long double* u, std::size_t i, long double* scale, bool) {
                     const long double l = 1.5L * std::log(-std::log(u[i]));
                     *scale = std::max(std::fabs(l), 1.0L);
                     return 1 + l;
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
        ASSERT_EQ(law.draw_d(hd.get(), static_cast<int32_t>(n), d.data()), RUK_OK) << law.name;
        ASSERT_EQ(law.draw_s(hs.get(), static_cast<int32_t>(n), f.data()), RUK_OK) << law.name;
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
    // The same uniforms, by the law's own interval (Cauchy draws angles).
    const bool cauchy = std::strncmp(law.name, "cauchy", 6) == 0;
    const std::size_t count = static_cast<std::size_t>(n + 1) * law.uniforms_per_value;
    std::vector<T> u(count);
    const T lo = cauchy ? static_cast<T>(-1.5707963267948966) : T(0);
    const T hi = cauchy ? static_cast<T>(1.5707963267948966) : T(1);
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
                check_formula<double>(law, law.draw_d, b.d);
                check_formula<float>(law, law.draw_s, b.s);
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
    auto gumbel = [](RukStream* s, int32_t n, double* r) { return rukdRngGumbel(0, s, n, r, 0, 1); };
    const Case cases[] = {
        {"gumbel 7", gumbel, 7, {7}},
    };
    for (const Case& c : cases) {
        StreamHandle h;
        new_script_stream(h);
        script.reset(kSomeUniforms);
        std::vector<double> r(static_cast<std::size_t>(c.n) + 1);
        EXPECT_EQ(c.law(h.get(), c.n, r.data()), RUK_OK) << c.name;
        EXPECT_EQ(script.calls, c.calls) << c.name;
    }
}

TEST(ContinuousLaws, GeneratorStatusPassesThrough) {
    // A positive status is the result; a negative one is returned at once,
    // with r as the generator left it.
    struct Case {
        const char* name;
        std::function<int32_t(RukStream*, int32_t, double*)> law;
    };
    const Case cases[] = {
        {"uniform", [](RukStream* s, int32_t n, double* r) { return rukdRngUniform(0, s, n, r, 0, 1); }},
        {"exponential", [](RukStream* s, int32_t n, double* r) { return rukdRngExponential(0, s, n, r, 0, 1); }},
        {"gumbel", [](RukStream* s, int32_t n, double* r) { return rukdRngGumbel(0, s, n, r, 0, 1); }},
    };
    for (const Case& c : cases) {
        StreamHandle h;
        new_script_stream(h);
        std::vector<double> r(6);
        script.reset(kSomeUniforms, {7, 7, 7});
        EXPECT_EQ(c.law(h.get(), 6, r.data()), 7) << c.name;
        script.reset({0.25}, {-77});
        std::vector<double> f(6, 9.0);
        EXPECT_EQ(c.law(h.get(), 6, f.data()), -77) << c.name;
        // The inverse-transform laws draw into r: it keeps the raw draws.
        const bool direct = std::strcmp(c.name, "laplace") && std::strncmp(c.name, "gauss", 5) &&
                            std::strcmp(c.name, "lognormal");
        // (Cauchy's interval is (-pi/2, pi/2).)
        const double raw = std::strcmp(c.name, "cauchy") ? 0.25 : -0x1.921fb54442d18p+0 + (2 * 0x1.921fb54442d18p+0) * 0.25;
        for (double x : f) EXPECT_EQ(x, direct ? raw : 9.0) << c.name;
    }
}

TEST(ContinuousLaws, SingleExponentialClamp) {
    StreamHandle h;
    new_script_stream(h);
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

}  // namespace
