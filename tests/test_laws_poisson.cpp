// Poisson: method 0's samples against the law (chi-square) in both routes,
// its splits and its set-up kept on the stream (the rebuild rule, copies,
// stream files; the loader's checks of the record are test_rng_file's);
// the Gaussian maps of method 1 and the
// vector form against the law by their exact distance, and the library's
// values against those maps on the same Gaussians; draw counts, statuses
// and the arguments and numbers refused.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "frame/bits.h"
#include "laws/poisson.h"
#include "support/chi_square.h"
#include "support/law_draws.h"
#include "support/scale.h"
#include "tools/count_distance.h"
#include "xebruk/xebruk.h"

namespace {

using xt::Ints;
using xt::new_script_stream;
using xt::new_stream;
using xt::reset_script;
using xt::script;
using xt::StreamHandle;
using xeb::laws::PoissonCache;

// n counts of one method on a fresh MT19937 stream.
Ints draw(int32_t method, double mean, std::size_t n, uint32_t seed = 3, int32_t id = RUK_BRNG_MT19937) {
    StreamHandle h;
    new_stream(h, id, seed);
    Ints r(n);
    EXPECT_EQ(rukiRngPoisson(method, h.get(), static_cast<int32_t>(n), r.data(), mean), RUK_OK) << mean;
    return r;
}

TEST(Poisson, ExactMethodFollowsTheLaw) {
    // Both routes, on both sides of 27, and PTPE's ratio tables (27, 100)
    // and squeeze (from 100).
    const std::size_t n = xt::scaled(1000000, 20000);
    uint32_t seed = 20;
    for (const double mean : {0.01, 1.0, 26.99, 27.0, 100.0, 1e4, 1e7}) {
        const double sd = std::sqrt(mean);
        const auto lo = static_cast<int64_t>(std::max(0.0, std::floor(mean - 9 * sd - 5)));
        const auto hi = static_cast<int64_t>(std::ceil(mean + 9 * sd + 5));
        std::vector<long double> pmf;
        for (int64_t k = lo - 1; k <= hi + 1; ++k) pmf.push_back(xt::poisson_pmf(mean, k));
        for (int32_t id : {RUK_BRNG_MT19937, RUK_BRNG_MCG31M1}) {
            xt::expect_passes(xt::chi_square(draw(0, mean, n, ++seed, id), lo, hi,
                                             [&](int64_t k) { return pmf[static_cast<std::size_t>(k - lo + 1)]; }),
                              "poisson " + std::to_string(mean) + " on " + std::to_string(id));
        }
    }
}

// PTPE decides from its quick logarithm only where the kernel's cannot
// decide otherwise: that rests on ln_near staying within 1e-12 of ln w,
// far inside kLnMargin, for the uniforms and acceptance levels it sees
// (floats in (0, 1]) and for any positive normal double.
TEST(Poisson, QuickLogarithmIsWithinItsBound) {
    std::mt19937_64 bitsource(11);
    const std::size_t n = xt::scaled(2000000);
    long double worst = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const uint64_t b = bitsource();
        const double w = i % 2 ? static_cast<double>(xeb::float_from_bits(0x00800000u + static_cast<uint32_t>(b) % 0x3F000000u))
                               : xeb::double_from_bits(0x0010000000000000ull + b % 0x7FE0000000000000ull);
        worst = std::max(worst, std::fabs(xeb::laws::ln_near(w) - std::log(static_cast<long double>(w))));
    }
    EXPECT_LT(worst, 1e-12L);
}

TEST(Poisson, ExactMethodSplitsGiveOneCallsCounts) {
    for (const double mean : {5.0, 27.0, 100.0, 1e4}) {
        StreamHandle whole;
        new_stream(whole, RUK_BRNG_MT19937, 4);
        Ints one(1200);
        ASSERT_EQ(rukiRngPoisson(0, whole.get(), 1200, one.data(), mean), RUK_OK);
        for (const Ints& counts : {Ints(1200, 1), Ints{511, 689}, Ints{512, 688}, Ints{513, 0, 687}}) {
            StreamHandle h;
            new_stream(h, RUK_BRNG_MT19937, 4);
            Ints parts(1200);
            int32_t at = 0;
            for (int32_t k : counts) {
                ASSERT_EQ(rukiRngPoisson(0, h.get(), k, parts.data() + at, mean), RUK_OK);
                at += k;
            }
            EXPECT_EQ(parts, one) << mean << " in " << counts.size() << " calls";
        }
    }
    // Long calls settle most squeezes from levels of W kept for the call;
    // calls of 1000 decide each by logarithms: the same counts.
    const int32_t n = static_cast<int32_t>(xt::scaled(400000, 4000) / 1000 * 1000);
    for (const double mean : {100.0, 2345.6, 5e4}) {
        const Ints one = draw(0, mean, static_cast<std::size_t>(n));
        StreamHandle h;
        new_stream(h, RUK_BRNG_MT19937, 3);
        Ints parts(one.size());
        for (int32_t at = 0; at < n; at += 1000) ASSERT_EQ(rukiRngPoisson(0, h.get(), 1000, parts.data() + at, mean), RUK_OK);
        EXPECT_EQ(parts, one) << mean;
    }
}

// The law of a map's count for a standard Gaussian against Poisson.
TEST(Poisson, GaussianMapsAreCloseToTheLaw) {
    // Method 1: below 1 a uniform on (0, E), here E Phi(z); from 100 the
    // Gaussian of mean mu and deviation sigma, here mu + sigma z in float.
    for (const double mean : {0.02, 0.5, 0.99, 1.0, 1.7, 3.0, 7.5, 12.0, 31.0, 50.0, 64.0, 99.99, 100.0, 3e3, 2e5}) {
        const xeb::laws::PoissonMap map = xeb::laws::poisson_map(mean);
        const double distance = count_distance::to_poisson(mean, [&](long double z) {
            using Regime = xeb::laws::PoissonMap::Regime;
            const float x = map.regime == Regime::BelowOne     ? static_cast<float>(map.upper * count_distance::normal_cdf(z))
                            : map.regime == Regime::Asymptotic ? static_cast<float>(map.mu + map.sigma * z)
                                                               : static_cast<float>(z);
            return int64_t{xeb::laws::poisson_map_count(map, x)};
        });
        EXPECT_LT(distance, 1e-3) << "method 1, mean " << mean;
    }
    // The vector form, in every row and through the error function.
    for (const double mean : {0.001, 0.05, 0.0625, 0.1, 0.2, 0.3, 0.7, 1.5, 3.3, 6.0, 10.0, 20.0, 45.0, 90.0, 200.0,
                              700.0, 1500.0, 3000.0, 6000.0, 8192.0, 1e5}) {
        double root = mean;
        xebdSqrt_HA(1, &root, &root);
        const double distance = count_distance::to_poisson(mean, [&](long double z) {
            return int64_t{xeb::laws::poissonv_count(mean, root, static_cast<float>(z))};
        });
        EXPECT_LT(distance, 1.5e-3) << "vector form, mean " << mean;
    }
}

TEST(Poisson, GaussianMapsAreAppliedToTheStreamsNumbers) {
    const int32_t n = 2001;
    // Method 1: the map of the uniforms or Gaussians a twin stream gives.
    for (const double mean : {0.3, 2.5, 99.99, 100.0, 4e4}) {
        StreamHandle h, twin;
        new_stream(h, RUK_BRNG_MT19937, 6);
        new_stream(twin, RUK_BRNG_MT19937, 6);
        Ints r(n);
        std::vector<float> x(n);
        ASSERT_EQ(rukiRngPoisson(1, h.get(), n, r.data(), mean), RUK_OK);
        const xeb::laws::PoissonMap map = xeb::laws::poisson_map(mean);
        switch (map.regime) {
            case xeb::laws::PoissonMap::Regime::BelowOne:
                ASSERT_EQ(ruksRngUniform(0, twin.get(), n, x.data(), 0.0f, map.upper), RUK_OK);
                break;
            case xeb::laws::PoissonMap::Regime::Table:
                ASSERT_EQ(ruksRngGaussian(1, twin.get(), n, x.data(), 0.0f, 1.0f), RUK_OK);
                break;
            case xeb::laws::PoissonMap::Regime::Asymptotic:
                ASSERT_EQ(ruksRngGaussian(1, twin.get(), n, x.data(), map.mu, map.sigma), RUK_OK);
        }
        for (int32_t i = 0; i < n; ++i) ASSERT_EQ(r[i], xeb::laws::poisson_map_count(map, x[i])) << mean << " at " << i;
    }
    // The vector form with a mean of its own at every place: each count is
    // the map of its mean on the Gaussian at its place.
    std::vector<double> means(n);
    for (int32_t i = 0; i < n; ++i) means[i] = std::ldexp(1.0 + (i % 7) / 7.0, i % 23 - 6);
    StreamHandle h, twin;
    new_stream(h, RUK_BRNG_MCG31M1, 8);
    new_stream(twin, RUK_BRNG_MCG31M1, 8);
    Ints r(n);
    std::vector<float> z(n);
    ASSERT_EQ(rukiRngPoissonV(0, h.get(), n, r.data(), means.data()), RUK_OK);
    ASSERT_EQ(ruksRngGaussian(1, twin.get(), n, z.data(), 0.0f, 1.0f), RUK_OK);
    for (int32_t i = 0; i < n; ++i)
        ASSERT_EQ(r[i], xeb::laws::poissonv_count(means[i], std::sqrt(means[i]), z[i])) << means[i] << " at " << i;
}

TEST(Poisson, DrawsAndStatuses) {
    StreamHandle h;
    new_script_stream(h);
    const std::vector<double> mean(1000, 5.0);
    Ints r(1000, -1);
    struct Case {
        const char* what;
        int32_t method;
        double mean;
        int32_t n;
        std::vector<int32_t> calls;
        std::vector<int> sizes;
    } cases[] = {
        {"table: a double per count", 0, 26.99, 1000, {512, 488}, {8, 8}},
        {"PTPE: two floats per trial", 0, 27.0, 300, {512, 88}, {4, 4}},
        {"mean 0", 0, 0.0, 7, {7}, {8}},
        {"method 1 below 1: a float per count", 1, 0.5, 1000, {1000}, {4}},
        {"method 1: paired Gaussians", 1, 5.0, 1000, {1000}, {4}},
    };
    for (const Case& c : cases) {
        reset_script({0.001, 0.5});  // a PTPE trial of these falls in the triangle
        EXPECT_EQ(rukiRngPoisson(c.method, h.get(), c.n, r.data(), c.mean), RUK_OK) << c.what;
        EXPECT_EQ(script.calls, c.calls) << c.what;
        EXPECT_EQ(script.element_sizes, c.sizes) << c.what;
    }
    reset_script({0.3, 0.6});
    EXPECT_EQ(rukiRngPoissonV(0, h.get(), 1000, r.data(), mean.data()), RUK_OK);
    EXPECT_EQ(script.calls, (std::vector<int32_t>{1000}));
    // Mean 0 gives 0 in every form.
    for (int32_t method : {0, 1}) {
        ASSERT_EQ(rukiRngPoisson(method, h.get(), 1000, r.data(), 0.0), RUK_OK);
        EXPECT_EQ(r, Ints(1000, 0)) << method;
    }
    const std::vector<double> zeros(1000, 0.0);
    ASSERT_EQ(rukiRngPoissonV(0, h.get(), 1000, r.data(), zeros.data()), RUK_OK);
    EXPECT_EQ(r, Ints(1000, 0));
    // The last draw's status is the result; a failure ends the call.
    reset_script({0.01}, {0, 6});
    EXPECT_EQ(rukiRngPoisson(0, h.get(), 1000, r.data(), 3.0), 6);
    reset_script({0.01}, {0, -6});
    r.assign(1000, -1);
    EXPECT_EQ(rukiRngPoisson(0, h.get(), 1000, r.data(), 3.0), -6);
    EXPECT_EQ(r[511], 0);
    EXPECT_EQ(r[512], -1);
    for (int32_t method : {0, 1}) {
        reset_script({0.01}, {-6});
        EXPECT_EQ(rukiRngPoisson(method, h.get(), 10, r.data(), 50.0), -6) << method;
    }
    // Counts of 2^31 and more (method 1 only reaches them) come out as
    // 0x80000000, as the conversion gives them.
    const xeb::laws::PoissonMap huge = xeb::laws::poisson_map(1e10);
    EXPECT_EQ(xeb::laws::poisson_map_count(huge, huge.mu), INT32_MIN);
}

TEST(Poisson, BadArgumentsAreRefusedAndNothingHangs) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    StreamHandle h;
    new_script_stream(h);
    reset_script({0.5});
    Ints r(4, -1);
    for (const double mean : {-1.0, -0.0, nan, -inf}) {
        for (int32_t method : {0, 1}) EXPECT_EQ(rukiRngPoisson(method, h.get(), 4, r.data(), mean), RUK_ERROR_BAD_ARGUMENT);
        const std::vector<double> means{1.0, 2.0, mean, 3.0};
        EXPECT_EQ(rukiRngPoissonV(0, h.get(), 4, r.data(), means.data()), RUK_ERROR_BAD_ARGUMENT);
    }
    // Method 0 counts to 2^31 - 1: means whose counts could pass it are refused.
    EXPECT_EQ(rukiRngPoisson(0, h.get(), 4, r.data(), std::nextafter(RUK_POISSON_MAX_MEAN, inf)), RUK_ERROR_BAD_ARGUMENT);
    EXPECT_EQ(rukiRngPoisson(0, h.get(), 4, r.data(), inf), RUK_ERROR_BAD_ARGUMENT);
    EXPECT_EQ(rukiRngPoisson(2, h.get(), 4, r.data(), 1.0), RUK_ERROR_UNKNOWN_METHOD);
    EXPECT_EQ(rukiRngPoisson(-1, h.get(), 4, r.data(), 1.0), RUK_ERROR_UNKNOWN_METHOD);
    EXPECT_TRUE(script.calls.empty());
    EXPECT_EQ(rukGetNumChunks(h.get()), 0);
    EXPECT_EQ(r, Ints(4, -1));
    // The largest mean works (its counts stay below 2^31).
    EXPECT_EQ(rukiRngPoisson(0, h.get(), 4, r.data(), RUK_POISSON_MAX_MEAN), RUK_OK);
    // A uniform at or above the whole table's sum (1 within rounding, or a
    // NaN) ends the walk beyond it where the sum stops growing; PTPE
    // rejects NaNs, and gives up after a million in a row.
    reset_script({0x1.fffffffffffffp-1, nan});
    ASSERT_EQ(rukiRngPoisson(0, h.get(), 2, r.data(), 20.0), RUK_OK);
    EXPECT_GT(r[0], 40);
    EXPECT_LT(r[0], 200);
    EXPECT_GT(r[1], 40);
    reset_script({nan});
    EXPECT_EQ(rukiRngPoisson(0, h.get(), 2, r.data(), 50.0), RUK_ERROR_BAD_ARGUMENT);
}

// The set-up record: one chunk of id 3.
PoissonCache& record_of(const StreamHandle& h) {
    return *static_cast<PoissonCache*>(rukSearchChunk(h.get(), RUK_CHUNK_POISSON));
}

TEST(Poisson, EachHalfOfTheSetUpIsBuiltOncePerMean) {
    // Marks in fields the sampling of these means does not read (1/m^3 is
    // used from 100 on; the last cumulative probability only for a uniform
    // above the one before) show whether a set-up ran again.
    StreamHandle h;
    new_stream(h, RUK_BRNG_MT19937, 7);
    Ints r(500);
    ASSERT_EQ(rukiRngPoisson(0, h.get(), 500, r.data(), 30.0), RUK_OK);
    PoissonCache& c = record_of(h);
    c.large.inv_m3 = -7;
    ASSERT_EQ(rukiRngPoisson(0, h.get(), 500, r.data(), 5.0), RUK_OK);
    c.small.cum[31] = 2;
    for (const double mean : {30.0, 5.0, 30.0}) ASSERT_EQ(rukiRngPoisson(0, h.get(), 500, r.data(), mean), RUK_OK);
    EXPECT_EQ(rukGetNumChunks(h.get()), 1);
    EXPECT_EQ(c.large.mean_large, 30.0);
    EXPECT_EQ(c.large.inv_m3, -7);
    EXPECT_EQ(c.small.mean_small, 5.0);
    EXPECT_EQ(c.small.cum[31], 2);
    // Another mean rebuilds its half in place, to what a fresh stream
    // builds, and the counts are a fresh stream's from the same place.
    for (const double mean : {31.0, 6.0}) {
        StreamHandle fresh, moved;
        new_stream(fresh, RUK_BRNG_MT19937, 8);
        new_stream(moved, RUK_BRNG_MT19937, 8);
        Ints want(900), got(900);
        ASSERT_EQ(rukiRngPoisson(0, fresh.get(), 900, want.data(), mean), RUK_OK);
        RukStream* shared = nullptr;  // h's record on moved's state
        ASSERT_EQ(rukCopyStream(&shared, h.get()), RUK_OK);
        ASSERT_EQ(rukCopyStreamState(shared, moved.get()), static_cast<int32_t>(RUK_BRNG_MT19937));
        ASSERT_EQ(rukiRngPoisson(0, shared, 900, got.data(), mean), RUK_OK);
        rukDeleteStream(&shared);
        EXPECT_EQ(got, want) << mean;
        const bool large = mean > 27;
        const void* mine = large ? static_cast<const void*>(&c.large) : &c.small;
        const void* theirs = large ? static_cast<const void*>(&record_of(fresh).large) : &record_of(fresh).small;
        EXPECT_EQ(std::memcmp(mine, theirs, large ? sizeof c.large : sizeof c.small), 0) << mean;
    }
}

TEST(Poisson, TheSetUpTravelsInStreamFiles) {
    const std::string path = ::testing::TempDir() + "poisson_stream.bin";
    StreamHandle h, loaded;
    new_stream(h, RUK_BRNG_MT19937, 11);
    Ints r(777);
    ASSERT_EQ(rukiRngPoisson(0, h.get(), 777, r.data(), 12.5), RUK_OK);
    ASSERT_EQ(rukiRngPoisson(0, h.get(), 777, r.data(), 400.0), RUK_OK);
    ASSERT_EQ(rukSaveStreamF(h.get(), path.c_str(), -1), RUK_OK);
    ASSERT_EQ(rukLoadStreamF(loaded.out(), path.c_str()), RUK_OK);
    std::remove(path.c_str());
    for (const double mean : {12.5, 400.0}) {
        Ints want(750), got(750);
        ASSERT_EQ(rukiRngPoisson(0, h.get(), 750, want.data(), mean), RUK_OK);
        ASSERT_EQ(rukiRngPoisson(0, loaded.get(), 750, got.data(), mean), RUK_OK);
        EXPECT_EQ(got, want) << mean;
    }
    EXPECT_EQ(rukGetNumChunks(loaded.get()), 1);
}

}  // namespace
