// Hypergeometric and negative binomial laws against their exact mass,
// computed here from log-gamma: samples (chi-square) on every route, folded
// and unfolded; single scripted trials over the whole hat; the set-up
// tables.  Then block splits and hostile control words, draw counts and
// statuses, the set-up kept on the stream (reuse, rebuild, files, copies),
// and refused, certain and extreme arguments.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/chi_square.h"
#include "support/law_draws.h"
#include "support/scale.h"
#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace {

using xt::Ints;
using xt::reset_script;
using xt::script;
using xt::StreamHandle;

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();

// One law with its arguments: its call, exact mass function, a value near
// its mode, and the chunk of its set-up record.
struct Law {
    std::string name;
    std::function<int32_t(RukStream*, int32_t, int32_t*)> call;
    std::function<long double(int64_t)> pmf;
    int64_t mode;
    int32_t chunk;
    // The record (chunk 6: l, m, s, then p1, p2, p3, xl, xr, x1-x4, the two
    // rates and their reciprocals, a, ratio_down, ratio_up; chunk 4: a, p,
    // then m, t1-t5, ratio_down, ratio_up, w_mode, the centre's six values,
    // the flanks' seven, the tails' three).
    const double* record(RukStream* s) const {
        return static_cast<const double*>(rukSearchChunk(s, chunk));
    }
};

Law hyp(int32_t l, int32_t s, int32_t m) {
    return {"hypergeometric(" + std::to_string(l) + ", " + std::to_string(s) + ", " + std::to_string(m) +
                ")",
            [=](RukStream* st, int32_t n, int32_t* r) {
                return rukiRngHypergeometric(0, st, n, r, l, s, m);
            },
            [=](int64_t k) { return xt::hypergeometric_pmf(l, s, m, k); },
            static_cast<int64_t>((s + 1.0) * (m + 1.0) / (l + 2.0)), RUK_CHUNK_HYPERGEOMETRIC};
}

Law nb(double a, double p) {
    const double h = (a - 1) * (1 - p) / p;
    return {"negbinomial(" + std::to_string(a) + ", " + std::to_string(p) + ")",
            [=](RukStream* st, int32_t n, int32_t* r) { return rukiRngNegbinomial(0, st, n, r, a, p); },
            [=](int64_t k) { return xt::negbinomial_pmf(a, p, k); }, h > 0 ? static_cast<int64_t>(h) : 0,
            RUK_CHUNK_NEGBINOMIAL};
}

// n values drawn in calls of the given counts on a fresh stream.
Ints draw(const Law& law, uint32_t seed, const std::vector<int32_t>& counts,
          int32_t id = RUK_BRNG_MT19937) {
    StreamHandle h;
    xt::new_stream(h, id, seed);
    Ints r;
    for (int32_t k : counts) {
        Ints part(k);
        EXPECT_EQ(law.call(h.get(), k, part.data()), RUK_OK) << law.name;
        r.insert(r.end(), part.begin(), part.end());
    }
    return r;
}

// One result on a scripted stream whose first trial takes u1, u2 and whose
// next trials are all accepted (a centre candidate under a tiny ordinate):
// whether the first trial was accepted.
bool first_accepted(const Law& law, RukStream* s, double u1, double u2, int32_t* result) {
    reset_script({u1, u2, 0.3, 1e-9});
    EXPECT_EQ(law.call(s, 1, result), RUK_OK) << law.name;
    return script.calls.size() == 1;
}

// The chi-square test of a sample over the values it can reach: out from
// the mode on each side until the mass falls below 1e-22.
void expect_samples_follow(const std::vector<Law>& laws, uint32_t seed) {
    const std::size_t n = xt::scaled(1000000, 20000);
    for (const Law& law : laws) {
        const auto reach = [&](int64_t step) {
            int64_t k = law.mode;
            while (k + step >= 0 && law.pmf(k + step) > 1e-22L) k += step;
            return k;
        };
        const int64_t lo = reach(-1), hi = reach(1);
        std::vector<long double> mass;
        for (int64_t k = lo - 1; k <= hi + 1; ++k) mass.push_back(law.pmf(k));
        for (int32_t id : {RUK_BRNG_MT19937, RUK_BRNG_MCG31M1})
            xt::expect_passes(xt::chi_square(draw(law, ++seed, {static_cast<int32_t>(n)}, id), lo, hi,
                                             [&](int64_t k) { return mass[k - lo + 1]; }),
                              law.name + " on " + std::to_string(id));
    }
}

TEST(Hypergeometric, SampleFollowsTheLawInEveryRegime) {
    expect_samples_follow(
        {// Inversion (mode below 40) under each fold: none; the marked set
         // (m > l - m); the sample (l <= 2s, at l = 2s exactly); both.
         hyp(20, 5, 7), hyp(61, 20, 40), hyp(60, 30, 25), hyp(100, 90, 95),
         // The mode at 39 (values past the table's 63 at 4 sd) and at 40
         // (H2PE) in a large lot; ratio tests about modes of 48 and 120
         // (folded sample; modes below 250 with standard deviations under
         // 6, see KeptFeaturesOfTheAcceptanceRegions); the
         // squeeze above 200; lots near 2^31.
         hyp(1000000, 395, 100000), hyp(1000, 100, 400), hyp(5000, 120, 2000), hyp(500, 250, 240),
         hyp(1000000, 500000, 300000), hyp(kMax, 1 << 30, 1 << 30), hyp(kMax, 100, (1 << 30) - 1)},
        40);
}

TEST(Negbinomial, SampleFollowsTheLawInEveryRegime) {
    expect_samples_follow(
        {// Inversion: a below 1, small modes, the walk past 127 (a mean of
         // 1000), the mode at 99.99; a mode of 500 whose hat cannot be built.
         nb(0.5, 0.5), nb(0.05, 0.01), nb(3, 0.3), nb(10, 0.9), nb(1, 0.001), nb(100.99, 0.5),
         nb(1.5, 0.001),
         // The hat: the mode at 100, near the smallest a it takes, large
         // modes (the series), p near 1 with a large a.
         nb(101, 0.5), nb(2.5, 0.001), nb(1000, 0.01), nb(1e6, 0.5), nb(1e9, 0.999)},
        60);
}

// Every trial is accepted exactly when its ordinate v lies under the mass
// at its candidate K relative to the mode's, whichever test decides: the
// squeezes, the ratio tables and their products, or the series.  The test
// maps the two uniforms to (x, v) from the record as the hat does, over
// each region in turn.  Ordinates within 1e-6 of the mass, candidates
// within 1e-9 of a whole number, the mode, and the hypergeometric values
// that meet the single factor below are skipped (these urns fold nothing).
TEST(HypergeometricNegbinomial, TrialsAcceptExactlyUnderTheMass) {
    struct Trial {
        double x, v;
    };
    using Hat = std::function<Trial(const double* t, double u1, double V)>;
    using Regions = std::function<std::vector<double>(const double* t)>;
    const Hat urn = [](const double* t, double u1, double V) {
        const double U = u1 * t[5], p1 = t[3], p2 = t[4], xl = t[6], xr = t[7], ll = t[12], lr = t[13];
        if (U <= p1) return Trial{U + xl, V};
        if (U <= p2) return Trial{std::log(V) / ll + xl, (U - p1) * ll * V};
        return Trial{-std::log(V) / lr + xr, (U - p2) * lr * V};
    };
    const Hat counts = [](const double* t, double U, double V) {
        const double *ts = t + 3, *flank = U <= ts[1] ? t + 143 : t + 150,
                     *tail = U > ts[3] ? t + 160 : t + 157;
        if (U <= ts[0]) return Trial{t[137] * U + t[138], V};
        if (U <= ts[2]) {
            const double y = std::sqrt(flank[0] * U + flank[1]);
            return Trial{flank[2] - y * flank[3], V * flank[4] * y};
        }
        return Trial{tail[0] * std::log(V) + tail[1], (U - ts[U > ts[3] ? 3 : 2]) * V * tail[2]};
    };
    const Regions urn_regions = [](const double* t) {
        return std::vector<double>{0, t[3] / t[5], t[4] / t[5], 1};
    };
    const Regions count_regions = [](const double* t) {
        return std::vector<double>{0, t[3], t[4], t[5], t[6], 1};
    };
    const std::tuple<Law, Hat, Regions> probes[] = {{hyp(1000, 100, 400), urn, urn_regions},
                                                    {hyp(1000000, 500000, 300000), urn, urn_regions},
                                                    {nb(101, 0.5), counts, count_regions},
                                                    {nb(2.5, 0.001), counts, count_regions},
                                                    {nb(1000, 0.01), counts, count_regions}};
    auto rng = std::mt19937_64(17);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    StreamHandle h;
    xt::new_script_stream(h);
    int32_t result;
    for (const auto& [law, hat, regions] : probes) {
        first_accepted(law, h.get(), 0.3, 1e-9, &result);
        const double* t = law.record(h.get());
        const std::vector<double> bounds = regions(t);
        int decided = 0;
        for (int i = 0; i < 4000; ++i) {
            const std::size_t j = static_cast<std::size_t>(i) % (bounds.size() - 1);
            const double u1 = bounds[j] + (bounds[j + 1] - bounds[j]) * uniform(rng), V = uniform(rng);
            const Trial c = hat(t, u1, V);
            const auto K = static_cast<int64_t>(std::floor(c.x));
            const long double mass = law.pmf(K) / law.pmf(law.mode);
            const bool one_factor =
                law.chunk == RUK_CHUNK_HYPERGEOMETRIC && K < law.mode - 32 && K <= 200;
            if (!(mass > 0 && mass < 1) || one_factor || std::fabs(c.x - std::round(c.x)) < 1e-9 ||
                std::fabs(std::log(c.v) - std::log(static_cast<double>(mass))) < 1e-6)
                continue;
            EXPECT_EQ(first_accepted(law, h.get(), u1, V, &result), c.v <= mass)
                << law.name << ": K " << K;
            ++decided;
        }
        EXPECT_GT(decided, 2000) << law.name;
    }
}

// The set-up tables against the exact mass: inversion tables hold the
// distribution function (to 1e-8: Stirling's series from 16 on leaves
// 1e-10, and a lot of 10^6 log-factorials near 10^7 that cancel to 2e-9),
// ratio tables the mass relative to the mode's (to 1e-12).  The walks past
// the inversion tables land on the value whose cumulative range holds u;
// several u of one block, out of order, each on its own.
TEST(HypergeometricNegbinomial, SetUpTablesAndWalksMatchTheExactMass) {
    const auto cdf = [](const Law& law) {
        return [law](int64_t j) {
            long double sum = 0;
            for (int64_t k = 0; k <= j; ++k) sum += law.pmf(k);
            return sum;
        };
    };
    const auto ratio = [](const Law& law, int64_t step) {  // entry i: f(mode + step (i + 1)) / f(mode)
        return [law, step](int64_t i) { return law.pmf(law.mode + step * (i + 1)) / law.pmf(law.mode); };
    };
    const Law urn_small = hyp(20, 5, 7), urn_wide = hyp(1000000, 395, 100000),
              urn_h2pe = hyp(1000, 100, 400);
    const Law nb_small = nb(3, 0.3), nb_walk = nb(1, 0.001), nb_hat = nb(1000, 0.01);
    // (law, first double and count of the table, its entries, tolerance)
    const std::tuple<Law, int, int, std::function<long double(int64_t)>, double> tables[] = {
        {urn_small, 3, 6, cdf(urn_small), 1e-8},        {urn_wide, 3, 64, cdf(urn_wide), 1e-8},
        {urn_h2pe, 17, 32, ratio(urn_h2pe, -1), 1e-12}, {urn_h2pe, 49, 32, ratio(urn_h2pe, 1), 1e-12},
        {nb_small, 2, 128, cdf(nb_small), 1e-8},        {nb_walk, 2, 128, cdf(nb_walk), 1e-8},
        {nb_hat, 8, 64, ratio(nb_hat, -1), 1e-12},      {nb_hat, 72, 64, ratio(nb_hat, 1), 1e-12}};
    for (const auto& [law, first, count, want, tolerance] : tables) {
        StreamHandle h;
        xt::new_stream(h, RUK_BRNG_MT19937, 1);
        int32_t r;
        ASSERT_EQ(law.call(h.get(), 1, &r), RUK_OK);
        for (int i = 0; i < count; ++i)
            EXPECT_LE(std::fabs(law.record(h.get())[first + i] / want(i) - 1), tolerance)
                << law.name << " " << i;
    }
    const std::pair<Law, Ints> walks[] = {{urn_wide, {64, 70, 66}}, {nb_walk, {5000, 150, 1000, 128}}};
    StreamHandle h;
    xt::new_script_stream(h);
    for (const auto& [law, targets] : walks) {
        std::vector<double> us;
        for (int32_t x : targets) us.push_back(static_cast<double>(cdf(law)(x - 1) + law.pmf(x) / 2));
        reset_script(us);
        Ints r(us.size());
        ASSERT_EQ(law.call(h.get(), static_cast<int32_t>(r.size()), r.data()), RUK_OK);
        EXPECT_EQ(r, targets) << law.name;
    }
}

// Features of the acceptance regions that are part of the methods, reached
// by trials built from the records.
TEST(HypergeometricNegbinomial, KeptFeaturesOfTheAcceptanceRegions) {
    StreamHandle h;
    xt::new_script_stream(h);
    int32_t r;
    // (10^6, 1500, 10^5): mode 150, sd 11.6.  A left-tail trial at K = 110,
    // 40 below the mode, is tested against w(117) / w(150), one factor past
    // the 32 ratios, not against w(110) / w(150): an ordinate between the
    // two is accepted (docs/behaviour.md tells what this does to the law).
    const Law urn = hyp(1000000, 1500, 100000);
    first_accepted(urn, h.get(), 0.3, 1e-9, &r);
    const double* t = urn.record(h.get());
    const double p1 = t[3], p2 = t[4], p3 = t[5], xl = t[6], lambda_l = t[12];
    const double exact = static_cast<double>(urn.pmf(110) / urn.pmf(150));
    const double one_factor = static_cast<double>(urn.pmf(117) / urn.pmf(150));
    const double V = std::exp((110.5 - xl) * lambda_l),
                 U = p1 + std::sqrt(exact * one_factor) / (lambda_l * V);
    ASSERT_LT(U, p2);
    EXPECT_TRUE(first_accepted(urn, h.get(), U / p3, V, &r));
    EXPECT_EQ(r, 110);
    // (101, 0.5): mode 100.  A centre trial at x = 100.75 (K = 100 from the
    // right half) above the squeeze line is tested against f(36) / f(100),
    // the double stored before f(101) / f(100), and rejected; below the
    // line it is accepted.
    const Law count = nb(101, 0.5);
    first_accepted(count, h.get(), 0.3, 1e-9, &r);
    t = count.record(h.get());
    const double x = 100.75, line = t[139] * x + t[140], u1 = (x - t[138]) / t[137];
    EXPECT_FALSE(first_accepted(count, h.get(), u1, (line + 1) / 2, &r));
    EXPECT_TRUE(first_accepted(count, h.get(), u1, line / 2, &r));
    EXPECT_EQ(r, 100);
}

// Every route of both laws: any split of a count, and any control words of
// the caller, give the numbers of one call.
TEST(HypergeometricNegbinomial, ResultsDoNotDependOnSplits) {
    for (const Law& law :
         {hyp(20, 5, 7), hyp(100, 90, 95), hyp(1000, 100, 400), hyp(1000000, 500000, 300000), nb(3, 0.3),
          nb(1, 0.001), nb(1.5, 0.001), nb(1000, 0.01)}) {
        const Ints whole = draw(law, 3, {3000});
        EXPECT_EQ(draw(law, 3, {1, 127, 128, 129, 255, 256, 257, 511, 512, 513, 311}), whole)
            << law.name;
        EXPECT_EQ(draw(law, 3, {0, 2999, 1}), whole) << law.name;
    }
}

TEST(HypergeometricNegbinomial, DrawCountsAndStatuses) {
    StreamHandle h;
    xt::new_script_stream(h);
    Ints r(1000, -1);
    const Law folded = hyp(100, 90, 95), small = nb(3, 0.3), urn = hyp(1000, 100, 400),
              count = nb(101, 0.5);
    // Inversion: one uniform a result, in blocks of 512 (hypergeometric) or
    // 256.  (100, 90, 95) folds both ways: the folded 0 is 90 - 5 + 0 = 85.
    // Rejection: two a trial, twice the results missing per block.
    const std::tuple<Law, int32_t, std::vector<double>, std::vector<int32_t>, int32_t> runs[] = {
        {folded, 1000, {0.001}, {512, 488}, 85},
        {small, 1000, {0.001}, {256, 256, 256, 232}, 0},
        {urn, 300, {0.3, 1e-9}, {512, 88}, -1},
        {nb(1000, 0.01), 300, {0.3, 1e-9}, {256, 256, 88}, -1}};
    for (const auto& [law, n, values, calls, every] : runs) {
        reset_script(values);
        ASSERT_EQ(law.call(h.get(), n, r.data()), RUK_OK);
        EXPECT_EQ(script.calls, calls) << law.name;
        EXPECT_TRUE(every < 0 || r == Ints(1000, every)) << law.name;
    }
    // A failed draw ends the call with its status, results already made
    // still folded; a positive status is the result; n = 0 draws nothing.
    for (const Law& law : {folded, small}) {
        r.assign(1000, -1);
        reset_script({0.001}, {0, -6});
        EXPECT_EQ(law.call(h.get(), 1000, r.data()), -6);
        EXPECT_EQ(r[0], 0);
        EXPECT_EQ(r[600], -1);
        reset_script({0.001}, {3});
        EXPECT_EQ(law.call(h.get(), 10, r.data()), 3);
        reset_script({0.001});
        EXPECT_EQ(law.call(h.get(), 0, r.data()), RUK_OK);
        EXPECT_TRUE(script.calls.empty());
    }
    // A tail trial whose V is 0 (ln V infinite) or tiny (a candidate beyond
    // every value) is rejected; the next decides.  Trials that are never
    // accepted end the call after a million, the result not written.
    const std::pair<Law, double> tails[] = {{urn, 0.99999}, {count, 0.9999999}, {count, 0.96}};
    for (double V : {0.0, 1e-300}) {
        for (const auto& [law, U] : tails) {
            int32_t want, got;
            first_accepted(law, h.get(), 0.3, 1e-9, &want);
            EXPECT_FALSE(first_accepted(law, h.get(), U, V, &got)) << law.name << " " << U << " " << V;
            EXPECT_EQ(got, want) << law.name;
        }
    }
    r[0] = -1;
    for (const auto& [law, U] : {tails[0], tails[1]}) {
        reset_script({U, 1e-300});
        EXPECT_EQ(law.call(h.get(), 1, r.data()), RUK_ERROR_BAD_ARGUMENT);
    }
    EXPECT_EQ(r[0], -1);
}

// Arguments outside the laws are refused before any draw and write
// nothing; certain hypergeometric results draw nothing and leave the
// record's key alone.
TEST(HypergeometricNegbinomial, RefusedAndCertainArgumentsDrawNothing) {
    StreamHandle h;
    xt::new_script_stream(h);
    reset_script({0.5});
    Ints r(8, -7);
    const int32_t bad_urns[][3] = {{10, 11, 5}, {10, 5, 11}, {-1, 0, 0},
                                   {10, -1, 5}, {10, 5, -1}, {INT32_MIN, 0, 0}};
    for (const auto& u : bad_urns)
        EXPECT_EQ(rukiRngHypergeometric(0, h.get(), 8, r.data(), u[0], u[1], u[2]),
                  RUK_ERROR_BAD_ARGUMENT)
            << u[0];
    // a finite and positive, p in (0, 1], and the law's mass from 2^31 on
    // negligible: not at a mean of 2^31, a geometric mean of 10^8, or a
    // small a with p = 10^-9.
    const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
    const double bad_laws[][2] = {{0, 0.5},  {-1, 0.5},           {nan, 0.5}, {inf, 0.5},
                                  {1, 0},    {1, -0.1},           {1, 1.5},   {1, nan},
                                  {1, -inf}, {2147483648.0, 0.5}, {1, 1e-8},  {0.01, 1e-9}};
    for (const auto& b : bad_laws)
        EXPECT_EQ(rukiRngNegbinomial(0, h.get(), 8, r.data(), b[0], b[1]), RUK_ERROR_BAD_ARGUMENT)
            << b[0] << " " << b[1];
    EXPECT_EQ(r, Ints(8, -7));
    const int32_t certain[][4] = {// l, s, m, the count
                                  {50, 0, 20, 0},     {50, 20, 0, 0},    {50, 50, 20, 20},
                                  {50, 20, 50, 20},   {0, 0, 0, 0},      {7, 7, 7, 7},
                                  {kMax, kMax, 5, 5}, {kMax, 3, kMax, 3}};
    for (const auto& c : certain) {
        EXPECT_EQ(rukiRngHypergeometric(0, h.get(), 8, r.data(), c[0], c[1], c[2]), RUK_OK);
        EXPECT_EQ(r, Ints(8, c[3])) << c[0] << " " << c[1] << " " << c[2];
    }
    EXPECT_TRUE(script.calls.empty());
    const auto* key = static_cast<const double*>(rukSearchChunk(h.get(), RUK_CHUNK_HYPERGEOMETRIC));
    EXPECT_EQ(key[0] + key[1] + key[2], 0.0);
}

// Arguments at the ends of the ranges end, in bounded time, with every
// result a possible value.
TEST(HypergeometricNegbinomial, ExtremeArgumentsEndWithPossibleValues) {
    const int32_t urns[][3] = {{kMax, kMax / 2, kMax / 2 + 1},
                               {kMax, 1, 1},
                               {kMax, kMax - 1, kMax / 3},
                               {kMax, 1 << 30, 45},
                               {kMax, 45, 1 << 30},
                               {kMax - 1, kMax / 2, kMax - 2}};
    for (const auto& u : urns) {
        const int64_t least = std::max<int64_t>(0, int64_t{u[1]} + u[2] - u[0]),
                      most = std::min(u[1], u[2]);
        for (int32_t x : draw(hyp(u[0], u[1], u[2]), 5, {2000}))
            ASSERT_TRUE(x >= least && x <= most) << x << " from " << u[0] << " " << u[1] << " " << u[2];
    }
    // (a, p, least, most): p = 1 and a near 0 give 0; a mean of 1.5e9, 12
    // standard deviations below 2^31; a long walk; a large a.
    const double laws[][4] = {{3, 1, 0, 0},
                              {1e-300, 0.5, 0, 0},
                              {1.5e9, 0.5, 1.49e9, 1.51e9},
                              {1, 1e-6, 0, 1e8},
                              {1e15, 1 - 1e-8, 9.9e6, 1.01e7}};
    for (const auto& c : laws)
        for (int32_t x : draw(nb(c[0], c[1]), 6, {512}))
            ASSERT_TRUE(x >= c[2] && x <= c[3]) << x << " from " << c[0];
}

// The set-up records: one chunk, reused as it stands while the arguments
// stay (a mark in its last double survives a call), rebuilt in place to a
// fresh stream's record when any argument changes (the same l and m with
// another s included, and the way back); stream files and copies carry it.
// (Files holding records a law refuses: StreamFile.StatesAndChunksDrawsCannotUseAreRefused.)
TEST(HypergeometricNegbinomial, SetUpIsKeptOnTheStreamInFilesAndCopies) {
    const std::string path = ::testing::TempDir() + "urn_counts_stream.bin";
    // (law, doubles of the key and the table its route writes)
    const std::vector<std::vector<std::pair<Law, std::size_t>>> runs = {
        {{hyp(1000, 100, 400), 81},
         {hyp(20, 5, 7), 3 + 6},
         {hyp(20, 6, 7), 3 + 7},
         {hyp(1000, 100, 400), 81}},
        {{nb(1000, 0.01), 163}, {nb(3, 0.3), 2 + 128}, {nb(3, 0.31), 2 + 128}, {nb(1000, 0.01), 163}}};
    for (const auto& run : runs) {
        StreamHandle h;
        xt::new_stream(h, RUK_BRNG_MT19937, 7);
        Ints r(777);
        const double* kept = nullptr;
        for (const auto& [law, doubles] : run) {
            StreamHandle fresh, loaded;
            xt::new_stream(fresh, RUK_BRNG_MT19937, 8);
            ASSERT_EQ(law.call(fresh.get(), 10, r.data()), RUK_OK);
            ASSERT_EQ(law.call(h.get(), 777, r.data()), RUK_OK);
            if (!kept) kept = law.record(h.get());
            ASSERT_EQ(rukGetNumChunks(h.get()), 1);
            EXPECT_EQ(law.record(h.get()), kept);
            EXPECT_EQ(std::memcmp(kept, law.record(fresh.get()), doubles * sizeof(double)), 0)
                << law.name;
            auto* last = const_cast<double*>(kept) + doubles - 1;
            const double saved = *last;
            *last = 123.25;
            ASSERT_EQ(law.call(h.get(), 10, r.data()), RUK_OK);
            EXPECT_EQ(*last, 123.25) << law.name;
            *last = saved;
            // Saved (its tables then spoilt in the file: a load rebuilds
            // them from the key), copied and drawn on: the loaded stream and
            // the copy go on with the same numbers.
            ASSERT_EQ(rukSaveStreamF(h.get(), path.c_str(), -1), RUK_OK);
            {
                std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
                const bool urn = law.chunk == RUK_CHUNK_HYPERGEOMETRIC;
                file.seekp(urn ? -648 + 24 : -1304 + 16, std::ios::end);
                const std::string spoilt(urn ? 648 - 24 : 1304 - 16, '\xA5');
                file.write(spoilt.data(), static_cast<std::streamsize>(spoilt.size()));
            }
            RukStream* copy = nullptr;
            ASSERT_EQ(rukCopyStream(&copy, h.get()), RUK_OK);
            // (No lambda here: a structured binding cannot be captured in C++17.)
            Ints ours(1500), copied(1500);
            EXPECT_EQ(law.call(h.get(), 1500, ours.data()), RUK_OK);
            EXPECT_EQ(law.call(copy, 1500, copied.data()), RUK_OK);
            EXPECT_EQ(copied, ours) << law.name;
            rukDeleteStream(&copy);
            ASSERT_EQ(rukLoadStreamF(loaded.out(), path.c_str()), RUK_OK);
            std::remove(path.c_str());
            ASSERT_EQ(rukGetNumChunks(loaded.get()), 1);
            Ints got(1500);
            ASSERT_EQ(law.call(loaded.get(), 1500, got.data()), RUK_OK);
            EXPECT_EQ(got, ours) << law.name;
        }
    }
}

}  // namespace
