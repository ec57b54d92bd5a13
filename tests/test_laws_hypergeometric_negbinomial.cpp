// Hypergeometric and negative binomial laws: samples against the exact
// probability mass computed here from log-gamma (chi-square) on every route,
// folded and unfolded; block splits and hostile control words; draw counts
// and statuses through a scripted generator; the set-up kept on the stream
// (reuse, rebuild, files, copies); refused, certain and extreme arguments.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/chi_square.h"
#include "support/control_words.h"
#include "support/law_draws.h"
#include "support/scale.h"
#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace {

using xt::Ints;
using xt::reset_script;
using xt::script;
using xt::StreamHandle;

const std::size_t kSample = xt::scaled(1000000, 20000);
constexpr int32_t kMax = std::numeric_limits<int32_t>::max();

// One law with its arguments: its call, its exact mass function and a
// point near its mode.
struct Law {
    std::string name;
    std::function<int32_t(RukStream*, int32_t, int32_t*)> call;
    std::function<long double(int64_t)> pmf;
    int64_t mode;
};

Law hyp(int32_t l, int32_t s, int32_t m) {
    const int64_t mode = static_cast<int64_t>((s + 1.0) * (m + 1.0) / (l + 2.0));
    return {"hypergeometric(" + std::to_string(l) + ", " + std::to_string(s) + ", " + std::to_string(m) + ")",
            [=](RukStream* st, int32_t n, int32_t* r) { return rukiRngHypergeometric(0, st, n, r, l, s, m); },
            [=](int64_t k) { return xt::hypergeometric_pmf(l, s, m, k); }, mode};
}

Law nb(double a, double p) {
    const double h = (a - 1) * (1 - p) / p;
    return {"negbinomial(" + std::to_string(a) + ", " + std::to_string(p) + ")",
            [=](RukStream* st, int32_t n, int32_t* r) { return rukiRngNegbinomial(0, st, n, r, a, p); },
            [=](int64_t k) { return xt::negbinomial_pmf(a, p, k); }, h > 0 ? static_cast<int64_t>(h) : 0};
}

Ints draw(const Law& law, int32_t id, uint32_t seed, std::size_t n) {
    StreamHandle h;
    xt::new_stream(h, id, seed);
    Ints r(n);
    EXPECT_EQ(law.call(h.get(), static_cast<int32_t>(n), r.data()), RUK_OK) << law.name;
    return r;
}

// The chi-square test of a sample over the values it can reach: out from
// the mode on each side until the mass falls below 1e-22 (the law's mass
// beyond is then far below one value in a sample).
void expect_follows(const Law& law, const Ints& r, const std::string& where) {
    const auto reach = [&](int64_t step) {
        int64_t k = law.mode;
        while (k + step >= 0 && law.pmf(k + step) > 1e-22L) k += step;
        return k;
    };
    const int64_t lo = reach(-1), hi = reach(1);
    std::vector<long double> mass;
    for (int64_t k = lo - 1; k <= hi + 1; ++k) mass.push_back(law.pmf(k));
    xt::expect_passes(xt::chi_square(r, lo, hi, [&](int64_t k) { return mass[k - lo + 1]; }), law.name + where);
}

TEST(Hypergeometric, SampleFollowsTheLawInEveryRegime) {
    const Law cases[] = {
        // Inversion (mode below 40) under each fold: none; the marked set
        // (m > l - m); the sample (l <= 2s, at l = 2s exactly); both.
        hyp(20, 5, 7), hyp(61, 20, 40), hyp(60, 30, 25), hyp(100, 90, 95),
        // The mode at 39 (inversion, values past the table's 63 at 4 sd)
        // and at 40 (H2PE) in a large lot; ratio tests about modes of 48
        // and 120 (folded sample), the squeeze above 200; lots near 2^31.
        // (The modes below 250 have standard deviations under 6: see
        // FarLeftCandidatesMeetOneFactorBeyondTheTable.)
        hyp(1000000, 395, 100000), hyp(1000, 100, 400), hyp(5000, 120, 2000), hyp(500, 250, 240),
        hyp(1000000, 500000, 300000), hyp(kMax, 1 << 30, 1 << 30), hyp(kMax, 100, (1 << 30) - 1),
    };
    uint32_t seed = 40;
    for (const Law& law : cases)
        for (int32_t id : {RUK_BRNG_MT19937, RUK_BRNG_MCG31M1})
            expect_follows(law, draw(law, id, ++seed, kSample), " on " + std::to_string(id));
}

TEST(Negbinomial, SampleFollowsTheLawInEveryRegime) {
    const Law cases[] = {
        // Inversion: a below 1, small modes, the walk beyond 127 (a mean
        // near 1000), the mode at 99.99.
        nb(0.5, 0.5), nb(0.05, 0.01), nb(3, 0.3), nb(10, 0.9), nb(1, 0.001), nb(100.99, 0.5),
        // A mode of 500 about which the hat cannot be built: inversion.
        nb(1.5, 0.001),
        // The hat: the mode at 100 exactly, near the smallest a it takes,
        // large modes (the series), p near 1 with a large a.
        nb(101, 0.5), nb(2.5, 0.001), nb(1000, 0.01), nb(1e6, 0.5), nb(1e9, 0.999),
    };
    uint32_t seed = 60;
    for (const Law& law : cases)
        for (int32_t id : {RUK_BRNG_MT19937, RUK_BRNG_MCG31M1})
            expect_follows(law, draw(law, id, ++seed, kSample), " on " + std::to_string(id));
}

// Every route of both laws: any split of a count, and any control words of
// the caller, give the numbers of one call.
TEST(HypergeometricNegbinomial, ResultsDoNotDependOnSplitsOrControlWords) {
    const Law cases[] = {hyp(20, 5, 7),   hyp(100, 90, 95), hyp(1000, 100, 400), hyp(1000000, 500000, 300000),
                         nb(3, 0.3),      nb(1, 0.001),     nb(1.5, 0.001),      nb(1000, 0.01)};
    for (const Law& law : cases) {
        const auto in_calls = [&](const std::vector<int32_t>& counts) {
            StreamHandle h;
            xt::new_stream(h, RUK_BRNG_MT19937, 3);
            Ints r;
            for (int32_t k : counts) {
                Ints part(k);
                EXPECT_EQ(law.call(h.get(), k, part.data()), RUK_OK) << law.name;
                r.insert(r.end(), part.begin(), part.end());
            }
            return r;
        };
        const Ints whole = in_calls({3000});
        EXPECT_EQ(in_calls({1, 127, 128, 129, 255, 256, 257, 511, 512, 513, 311}), whole) << law.name;
        EXPECT_EQ(in_calls({0, 2999, 1}), whole) << law.name;
        Ints odd;
        xt::under_odd_control_words([&] { odd = in_calls({3000}); });
        EXPECT_EQ(odd, whole) << law.name;
    }
}

TEST(HypergeometricNegbinomial, DrawCountsAndStatuses) {
    StreamHandle h;
    xt::new_script_stream(h);
    Ints r(1000, -1);
    // Inversion: one uniform a result, in blocks of 512 (hypergeometric) or
    // 256 (negbinomial).  (100, 90, 95) folds both ways: the folded count
    // is 0 for this small u, and 90 - 5 + 0 = 85 after the map back.
    reset_script({0.001});
    ASSERT_EQ(rukiRngHypergeometric(0, h.get(), 1000, r.data(), 100, 90, 95), RUK_OK);
    EXPECT_EQ(script.calls, (std::vector<int32_t>{512, 488}));
    EXPECT_EQ(r, Ints(1000, 85));
    reset_script({0.001});
    ASSERT_EQ(rukiRngNegbinomial(0, h.get(), 1000, r.data(), 3, 0.3), RUK_OK);
    EXPECT_EQ(script.calls, (std::vector<int32_t>{256, 256, 256, 232}));
    EXPECT_EQ(r, Ints(1000, 0));
    // Rejection: two uniforms a trial, twice the results missing per
    // draw; a centre candidate under a tiny ordinate is accepted.
    reset_script({0.3, 1e-9});
    ASSERT_EQ(rukiRngHypergeometric(0, h.get(), 300, r.data(), 1000, 100, 400), RUK_OK);
    EXPECT_EQ(script.calls, (std::vector<int32_t>{512, 88}));
    reset_script({0.3, 1e-9});
    ASSERT_EQ(rukiRngNegbinomial(0, h.get(), 300, r.data(), 1000, 0.01), RUK_OK);
    EXPECT_EQ(script.calls, (std::vector<int32_t>{256, 256, 88}));
    // A failed draw ends the call with its status; results already made
    // stay folded.  A positive status is the result; n = 0 draws nothing.
    r.assign(1000, -1);
    reset_script({0.001}, {0, -5});
    EXPECT_EQ(rukiRngHypergeometric(0, h.get(), 1000, r.data(), 100, 90, 95), -5);
    EXPECT_EQ(r[0], 0);
    EXPECT_EQ(r[600], -1);
    reset_script({0.001}, {0, 0, -6});
    EXPECT_EQ(rukiRngNegbinomial(0, h.get(), 1000, r.data(), 3, 0.3), -6);
    for (int32_t status : {3, 0}) {
        reset_script({0.001}, {status});
        EXPECT_EQ(rukiRngHypergeometric(0, h.get(), 10, r.data(), 100, 90, 95), status);
        reset_script({0.001}, {status});
        EXPECT_EQ(rukiRngNegbinomial(0, h.get(), 10, r.data(), 3, 0.3), status);
    }
    reset_script({0.001});
    EXPECT_EQ(rukiRngHypergeometric(0, h.get(), 0, r.data(), 100, 90, 95), RUK_OK);
    EXPECT_EQ(rukiRngNegbinomial(0, h.get(), 0, r.data(), 3, 0.3), RUK_OK);
    EXPECT_TRUE(script.calls.empty());
}

TEST(HypergeometricNegbinomial, TailCandidatesOutOfRangeAreRejected) {
    StreamHandle h;
    xt::new_script_stream(h);
    Ints want(1), got(1);
    // A tail trial whose V is 0 (a generator may return it: ln V is
    // infinite) or tiny (its candidate beyond every possible value) is
    // rejected, and the next trial decides.
    for (double V : {0.0, 1e-300}) {
        reset_script({0.3, 1e-9});
        ASSERT_EQ(rukiRngHypergeometric(0, h.get(), 1, want.data(), 1000, 100, 400), RUK_OK);
        reset_script({0.99999, V, 0.3, 1e-9});
        ASSERT_EQ(rukiRngHypergeometric(0, h.get(), 1, got.data(), 1000, 100, 400), RUK_OK);
        EXPECT_EQ(got, want) << V;
        EXPECT_EQ(script.calls, (std::vector<int32_t>{2, 2})) << V;
        reset_script({0.3, 1e-9});
        ASSERT_EQ(rukiRngNegbinomial(0, h.get(), 1, want.data(), 101, 0.5), RUK_OK);
        for (double U : {0.9999999, 0.96}) {  // left tail, right tail
            reset_script({U, V, 0.3, 1e-9});
            ASSERT_EQ(rukiRngNegbinomial(0, h.get(), 1, got.data(), 101, 0.5), RUK_OK);
            EXPECT_EQ(got, want) << U << " " << V;
            EXPECT_EQ(script.calls, (std::vector<int32_t>{2, 2})) << U << " " << V;
        }
    }
    // Numbers that are never accepted: the rejection gives up after a
    // million trials, with the result not written.
    got[0] = -1;
    reset_script({0.99999, 1e-300});
    EXPECT_EQ(rukiRngHypergeometric(0, h.get(), 1, got.data(), 1000, 100, 400), RUK_ERROR_BAD_ARGUMENT);
    reset_script({0.9999999, 1e-300});
    EXPECT_EQ(rukiRngNegbinomial(0, h.get(), 1, got.data(), 101, 0.5), RUK_ERROR_BAD_ARGUMENT);
    EXPECT_EQ(got[0], -1);
}

TEST(HypergeometricNegbinomial, RefusedArgumentsDrawAndWriteNothing) {
    StreamHandle h;
    xt::new_script_stream(h);
    reset_script({0.5});
    Ints r(8, -7);
    const int32_t bad_urns[][3] = {{10, 11, 5}, {10, 5, 11}, {-1, 0, 0}, {10, -1, 5},
                                   {10, 5, -1}, {std::numeric_limits<int32_t>::min(), 0, 0}};
    for (const auto& u : bad_urns)
        EXPECT_EQ(rukiRngHypergeometric(0, h.get(), 8, r.data(), u[0], u[1], u[2]), RUK_ERROR_BAD_ARGUMENT)
            << u[0] << " " << u[1] << " " << u[2];
    const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
    // a must be finite and positive, p in (0, 1]; and the law's mass from
    // 2^31 on, which no result can hold, negligible: a mean of 2^31, a
    // geometric law of mean 10^8, a small a with p = 10^-9.
    const double bad_laws[][2] = {{0, 0.5},   {-1, 0.5},  {nan, 0.5},    {inf, 0.5},   {1, 0},
                                  {1, -0.1},  {1, 1.5},   {1, nan},      {1, -inf},    {2147483648.0, 0.5},
                                  {1, 1e-8},  {0.01, 1e-9}};
    for (const auto& b : bad_laws)
        EXPECT_EQ(rukiRngNegbinomial(0, h.get(), 8, r.data(), b[0], b[1]), RUK_ERROR_BAD_ARGUMENT)
            << b[0] << " " << b[1];
    EXPECT_TRUE(script.calls.empty());
    EXPECT_EQ(r, Ints(8, -7));
}

// Certain results: nothing is drawn, and the set-up record is made but its
// key is not touched.
TEST(Hypergeometric, CertainResultsDrawNothing) {
    StreamHandle h;
    xt::new_script_stream(h);
    reset_script({0.5});
    const int32_t cases[][4] = {// l, s, m, the certain count
                                {50, 0, 20, 0},  {50, 20, 0, 0},  {50, 50, 20, 20},   {50, 20, 50, 20},
                                {0, 0, 0, 0},    {7, 7, 7, 7},    {kMax, kMax, 5, 5}, {kMax, 3, kMax, 3}};
    for (const auto& c : cases) {
        Ints r(5, -1);
        EXPECT_EQ(rukiRngHypergeometric(0, h.get(), 5, r.data(), c[0], c[1], c[2]), RUK_OK);
        EXPECT_EQ(r, Ints(5, c[3])) << c[0] << " " << c[1] << " " << c[2];
    }
    EXPECT_TRUE(script.calls.empty());
    ASSERT_EQ(rukGetNumChunks(h.get()), 1);
    const auto* key = static_cast<const double*>(rukSearchChunk(h.get(), RUK_CHUNK_HYPERGEOMETRIC));
    EXPECT_EQ(key[0] + key[1] + key[2], 0.0);
}

// Arguments at the ends of the ranges end, in bounded time, with every
// result a possible value.
TEST(HypergeometricNegbinomial, ExtremeArgumentsEndWithPossibleValues) {
    const int32_t urns[][3] = {{kMax, kMax / 2, kMax / 2 + 1}, {kMax, 1, 1},      {kMax, kMax - 1, kMax / 3},
                               {kMax, 1 << 30, 45},           {kMax, 45, 1 << 30}, {kMax - 1, kMax / 2, kMax - 2}};
    for (const auto& u : urns) {
        const Ints r = draw(hyp(u[0], u[1], u[2]), RUK_BRNG_MT19937, 5, 2000);
        const int64_t least = std::max<int64_t>(0, int64_t{u[1]} + u[2] - u[0]), most = std::min(u[1], u[2]);
        for (int32_t x : r) ASSERT_TRUE(x >= least && x <= most) << x << " from " << u[0] << " " << u[1] << " " << u[2];
    }
    // (a, p, lowest, highest): no failures at p = 1 or a near 0; a mean of
    // 1.5e9, 12 standard deviations below 2^31; a long walk; a large a.
    const double laws[][4] = {{3, 1, 0, 0},                   {1e-300, 0.5, 0, 0},
                              {1.5e9, 0.5, 1.49e9, 1.51e9},   {1, 1e-6, 0, 1e8},
                              {1e15, 1 - 1e-8, 9.9e6, 1.01e7}};
    for (const auto& c : laws) {
        const Ints r = draw(nb(c[0], c[1]), RUK_BRNG_MT19937, 6, 512);
        for (int32_t x : r) ASSERT_TRUE(x >= c[2] && x <= c[3]) << x << " from " << c[0] << " " << c[1];
    }
}

// Every trial is accepted exactly when its ordinate v lies under the mass
// at its candidate K relative to the mode's, whichever test decides: the
// squeezes, the ratio tables and their products, or the series.  Trials
// are scripted over the whole hat, each followed by one that is accepted
// (a centre trial under a tiny ordinate), so one draw of 2 means accepted;
// the test maps the two uniforms to (K, v) from the set-up record as the
// hat does.  Ordinates within 1e-6 of the mass, and candidates off the
// range or within 1e-9 of a whole number, are skipped, and so are those
// that meet the single factor below (the urns here fold no value).
TEST(HypergeometricNegbinomial, TrialsAcceptExactlyUnderTheMass) {
    struct Trial {
        double x, v;  // candidate before truncation, ordinate
    };
    struct Probe {
        Law law;
        int32_t chunk;
        std::function<Trial(const double* t, double u1, double V)> trial;
        std::function<std::vector<double>(const double* t)> regions;  // bounds of u1
    };
    const auto urn = [](const double* t, double u1, double V) {  // H2PE
        const double U = u1 * t[5], p1 = t[3], p2 = t[4], xl = t[6], xr = t[7], ll = t[12], lr = t[13];
        if (U <= p1) return Trial{U + xl, V};
        if (U <= p2) return Trial{std::log(V) / ll + xl, (U - p1) * ll * V};
        return Trial{-std::log(V) / lr + xr, (U - p2) * lr * V};
    };
    const auto counts = [](const double* t, double U, double V) {  // the five regions
        const double *t1 = t + 3, *flank = U <= t1[1] ? t + 143 : t + 150, *tail = U > t1[3] ? t + 160 : t + 157;
        if (U <= t1[0]) return Trial{t[137] * U + t[138], V};
        if (U <= t1[2]) {
            const double y = std::sqrt(flank[0] * U + flank[1]);
            return Trial{flank[2] - y * flank[3], V * flank[4] * y};
        }
        return Trial{tail[0] * std::log(V) + tail[1], (U - t1[U > t1[3] ? 3 : 2]) * V * tail[2]};
    };
    const auto urn_regions = [](const double* t) { return std::vector<double>{0, t[3] / t[5], t[4] / t[5], 1}; };
    const auto count_regions = [](const double* t) { return std::vector<double>{0, t[3], t[4], t[5], t[6], 1}; };
    const Probe probes[] = {{hyp(1000, 100, 400), 6, urn, urn_regions},
                            {hyp(1000000, 500000, 300000), 6, urn, urn_regions},
                            {nb(101, 0.5), 4, counts, count_regions},
                            {nb(2.5, 0.001), 4, counts, count_regions},
                            {nb(1000, 0.01), 4, counts, count_regions}};
    auto rng = std::mt19937_64(17);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    StreamHandle h;
    xt::new_script_stream(h);
    Ints r(1);
    for (const Probe& probe : probes) {
        reset_script({0.3, 1e-9});
        ASSERT_EQ(probe.law.call(h.get(), 1, r.data()), RUK_OK);
        const auto* t = static_cast<const double*>(rukSearchChunk(h.get(), probe.chunk));
        const std::vector<double> bounds = probe.regions(t);
        int decided = 0;
        for (int i = 0; i < 4000; ++i) {
            const std::size_t region = static_cast<std::size_t>(i) % (bounds.size() - 1);
            const double u1 = bounds[region] + (bounds[region + 1] - bounds[region]) * uniform(rng), V = uniform(rng);
            const Trial c = probe.trial(t, u1, V);
            const int64_t K = static_cast<int64_t>(std::floor(c.x));
            const long double mass = probe.law.pmf(K) / probe.law.pmf(probe.law.mode);
            const bool one_factor = probe.chunk == RUK_CHUNK_HYPERGEOMETRIC && K < probe.law.mode - 32 && K <= 200;
            if (!(mass > 0 && mass < 1) || one_factor || std::fabs(c.x - std::round(c.x)) < 1e-9 ||
                std::fabs(std::log(c.v) - std::log(static_cast<double>(mass))) < 1e-6)
                continue;
            reset_script({u1, V, 0.3, 1e-9});
            ASSERT_EQ(probe.law.call(h.get(), 1, r.data()), RUK_OK);
            EXPECT_EQ(script.calls.size() == 1, c.v <= mass) << probe.law.name << ": K " << K << ", v " << c.v;
            ++decided;
        }
        EXPECT_GT(decided, 2000) << probe.law.name;
    }
}

// The set-up tables against the exact mass: inversion tables hold the
// distribution function (to 1e-8: Stirling's series from 16 on leaves
// 1e-10, and a lot of 10^6 log-factorials near 10^7 that cancel to 2e-9),
// ratio tables the mass relative to the mode's (to 1e-12).  And the
// walks past the inversion tables land on the value whose cumulative range
// holds u; several u of one block, out of order, each on its own.
TEST(HypergeometricNegbinomial, SetUpTablesAndWalksMatchTheExactMass) {
    struct Table {
        Law law;
        int32_t chunk, first, count;  // doubles of the record holding the table
        std::function<long double(int64_t)> want;  // entry i
    };
    const auto cdf = [](const Law& law) {
        return [law](int64_t j) {
            long double sum = 0;
            for (int64_t k = 0; k <= j; ++k) sum += law.pmf(k);
            return sum;
        };
    };
    const auto ratio = [](const Law& law, int64_t step) {  // entries j = 1.. as f(mode + step j)
        return [law, step](int64_t i) { return law.pmf(law.mode + step * (i + 1)) / law.pmf(law.mode); };
    };
    const Law urn_small = hyp(20, 5, 7), urn_wide = hyp(1000000, 395, 100000), urn_h2pe = hyp(1000, 100, 400);
    const Law nb_small = nb(3, 0.3), nb_walk = nb(1, 0.001), nb_hat = nb(1000, 0.01);
    const Table tables[] = {{urn_small, 6, 3, 6, cdf(urn_small)},      {urn_wide, 6, 3, 64, cdf(urn_wide)},
                            {urn_h2pe, 6, 17, 32, ratio(urn_h2pe, -1)}, {urn_h2pe, 6, 49, 32, ratio(urn_h2pe, 1)},
                            {nb_small, 4, 2, 128, cdf(nb_small)},       {nb_walk, 4, 2, 128, cdf(nb_walk)},
                            {nb_hat, 4, 8, 64, ratio(nb_hat, -1)},      {nb_hat, 4, 72, 64, ratio(nb_hat, 1)}};
    for (const Table& c : tables) {
        StreamHandle h;
        xt::new_stream(h, RUK_BRNG_MT19937, 1);
        Ints r(1);
        ASSERT_EQ(c.law.call(h.get(), 1, r.data()), RUK_OK);
        const auto* t = static_cast<const double*>(rukSearchChunk(h.get(), c.chunk));
        const double tolerance = c.first == 2 || c.first == 3 ? 1e-8 : 1e-12;
        for (int32_t i = 0; i < c.count; ++i) {
            const long double want = c.want(i);
            EXPECT_LE(std::fabs(t[c.first + i] / want - 1), tolerance) << c.law.name << " entry " << i;
        }
    }
    // (mapped value, folded values to land on): past 63, and past 127 by
    // up to 40 times the table.
    const std::pair<Law, std::vector<int64_t>> walks[] = {{urn_wide, {64, 70, 66}}, {nb_walk, {5000, 150, 1000, 128}}};
    StreamHandle h;
    xt::new_script_stream(h);
    for (const auto& [law, targets] : walks) {
        std::vector<double> us;
        for (int64_t x : targets) {
            const long double below = cdf(law)(x - 1), at = below + law.pmf(x);
            us.push_back(static_cast<double>((below + at) / 2));
        }
        reset_script(us);
        Ints r(us.size());
        ASSERT_EQ(law.call(h.get(), static_cast<int32_t>(r.size()), r.data()), RUK_OK);
        EXPECT_EQ(r, Ints(targets.begin(), targets.end())) << law.name;
    }
}

// Features of the acceptance regions that are part of the methods,
// reached by trials built from the set-up records (layouts below).
TEST(Hypergeometric, FarLeftCandidatesMeetOneFactorBeyondTheTable) {
    // (1000, 500, 300) folds to a sample of k = 500 with na = 300 marked:
    // mode 150, sd 7.3.  A left-tail trial at K = 110, 40 below the mode,
    // is tested against w(117) / w(150), one factor past the 32 ratios, and
    // not against w(110) / w(150): an ordinate between the two accepts.
    // Such candidates are accepted more often than the law would have
    // them (docs/behaviour.md).
    StreamHandle h;
    xt::new_script_stream(h);
    Ints r(1);
    reset_script({0.3, 1e-9});
    ASSERT_EQ(rukiRngHypergeometric(0, h.get(), 1, r.data(), 1000, 500, 300), RUK_OK);
    const double* t = static_cast<const double*>(rukSearchChunk(h.get(), RUK_CHUNK_HYPERGEOMETRIC));
    const double p1 = t[3], p2 = t[4], p3 = t[5], xl = t[6], lambda_l = t[12];
    const auto weight = [](int64_t K) { return xt::hypergeometric_pmf(1000, 500, 300, 300 - K); };
    const double exact = static_cast<double>(weight(110) / weight(150));
    const double one_factor = static_cast<double>(weight(117) / weight(150));
    const double V = std::exp((110.5 - xl) * lambda_l), ordinate = std::sqrt(exact * one_factor);
    const double U = p1 + ordinate / (lambda_l * V);
    ASSERT_LT(U, p2);
    reset_script({U / p3, V, 0.3, 1e-9});
    ASSERT_EQ(rukiRngHypergeometric(0, h.get(), 1, r.data(), 1000, 500, 300), RUK_OK);
    EXPECT_EQ(r[0], 300 - 110);
    EXPECT_EQ(script.calls, (std::vector<int32_t>{2}));
}

TEST(Negbinomial, ModeFromTheRightHalfMeetsTheEntryBeforeTheTable) {
    // (101, 0.5): mode 100.  A centre trial at x = 100.75 gives K = 100
    // from the right half; above the squeeze line it is tested against
    // f(36) / f(100), the double stored before f(101) / f(100), and
    // rejected; below the line it is accepted.
    StreamHandle h;
    xt::new_script_stream(h);
    Ints r(1);
    reset_script({0.3, 1e-9});
    ASSERT_EQ(rukiRngNegbinomial(0, h.get(), 1, r.data(), 101, 0.5), RUK_OK);
    const double* t = static_cast<const double*>(rukSearchChunk(h.get(), RUK_CHUNK_NEGBINOMIAL));
    const double c_scale = t[137], c_start = t[138], slope = t[139], offset = t[140];
    const double x = 100.75, line = slope * x + offset, U = (x - c_start) / c_scale;
    for (double V : {(line + 1) / 2, line / 2}) {
        reset_script({U, V, 0.3, 1e-9});
        ASSERT_EQ(rukiRngNegbinomial(0, h.get(), 1, r.data(), 101, 0.5), RUK_OK);
        EXPECT_EQ(script.calls.size(), V > line ? 2u : 1u) << V;
        if (V < line) {
            EXPECT_EQ(r[0], 100);
        }
    }
}

// The set-up records: chunk 6 (81 doubles: l, m, s, then the route's
// table) and chunk 4 (163 doubles: a, p, then the table).
const double* record(const StreamHandle& h, int32_t chunk) {
    return static_cast<const double*>(rukSearchChunk(h.get(), chunk));
}

struct CacheCase {
    Law law;
    int32_t chunk;
    std::size_t doubles;  // key and the table its route writes
};

TEST(HypergeometricNegbinomial, SetUpIsKeptOnTheStreamWhileTheArgumentsStay) {
    const std::vector<std::vector<CacheCase>> runs = {
        // The same l and m with another s rebuild; so does the way back.
        {{hyp(1000, 100, 400), 6, 81}, {hyp(20, 5, 7), 6, 3 + 6}, {hyp(20, 6, 7), 6, 3 + 7},
         {hyp(1000, 100, 400), 6, 81}},
        {{nb(1000, 0.01), 4, 163}, {nb(3, 0.3), 4, 2 + 128}, {nb(3, 0.31), 4, 2 + 128},
         {nb(1000, 0.01), 4, 163}},
    };
    for (const auto& run : runs) {
        StreamHandle h;
        xt::new_stream(h, RUK_BRNG_MT19937, 7);
        Ints r(10);
        ASSERT_EQ(run[0].law.call(h.get(), 10, r.data()), RUK_OK);
        const double* kept = record(h, run[0].chunk);
        for (const CacheCase& c : run) {
            StreamHandle fresh, moved;
            xt::new_stream(fresh, RUK_BRNG_MT19937, 8);
            xt::new_stream(moved, RUK_BRNG_MT19937, 8);
            Ints want(1000), got(1000);
            ASSERT_EQ(c.law.call(fresh.get(), 1000, want.data()), RUK_OK);
            // h's record, carried by a copy (which shares the chunk list)
            // to fresh numbers: rebuilt in place, it gives a fresh stream's
            // results and equals its record.
            RukStream* shared = nullptr;
            ASSERT_EQ(rukCopyStream(&shared, h.get()), RUK_OK);
            ASSERT_EQ(rukCopyStreamState(shared, moved.get()), static_cast<int32_t>(RUK_BRNG_MT19937));
            ASSERT_EQ(c.law.call(shared, 1000, got.data()), RUK_OK);
            std::free(shared);  // the chunks stay with h
            EXPECT_EQ(got, want) << c.law.name;
            ASSERT_EQ(rukGetNumChunks(h.get()), 1);
            EXPECT_EQ(record(h, c.chunk), kept);
            EXPECT_EQ(std::memcmp(kept, record(fresh, c.chunk), c.doubles * sizeof(double)), 0) << c.law.name;
            // The same arguments again use the record as it stands: a mark
            // in its last double survives the call.
            auto* last = const_cast<double*>(kept) + c.doubles - 1;
            const double saved = *last;
            *last = 123.25;
            ASSERT_EQ(c.law.call(h.get(), 10, r.data()), RUK_OK);
            EXPECT_EQ(*last, 123.25) << c.law.name;
            *last = saved;
        }
    }
}

TEST(HypergeometricNegbinomial, StreamFilesAndCopiesCarryTheSetUp) {
    const std::string path = ::testing::TempDir() + "urn_stream.bin";
    for (const Law& law : {hyp(100, 90, 95), hyp(1000000, 500000, 300000), nb(3, 0.3), nb(1000, 0.01)}) {
        StreamHandle h, loaded;
        xt::new_stream(h, RUK_BRNG_MT19937, 11);
        Ints r(777), want(1500), got(1500), copied(1500);
        ASSERT_EQ(law.call(h.get(), 777, r.data()), RUK_OK);
        ASSERT_EQ(rukSaveStreamF(h.get(), path.c_str(), -1), RUK_OK);
        RukStream* copy = nullptr;
        ASSERT_EQ(rukCopyStream(&copy, h.get()), RUK_OK);
        ASSERT_EQ(law.call(h.get(), 1500, want.data()), RUK_OK);
        ASSERT_EQ(law.call(copy, 1500, copied.data()), RUK_OK);
        std::free(copy);  // the chunks stay with h
        ASSERT_EQ(rukLoadStreamF(loaded.out(), path.c_str()), RUK_OK);
        std::remove(path.c_str());
        ASSERT_EQ(rukGetNumChunks(loaded.get()), 1);
        ASSERT_EQ(law.call(loaded.get(), 1500, got.data()), RUK_OK);
        EXPECT_EQ(got, want) << law.name;
        EXPECT_EQ(copied, want) << law.name;
        EXPECT_EQ(rukGetNumChunks(loaded.get()), 1);
    }
}

}  // namespace
