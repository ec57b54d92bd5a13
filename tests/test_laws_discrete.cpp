// Discrete laws: the bit truncation against the compiler's conversion,
// values against the same uniforms drawn on a twin stream, Binomial's sample
// against its probability mass function (chi-square) on two generators, draw
// counts and statuses through a scripted generator, block-split
// independence, and the Binomial set-up kept on the stream (reuse and
// rebuild).
#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "laws/truncate.h"
#include "frame/fpu.h"
#include "support/args.h"
#include "support/chi_square.h"
#include "support/events.h"
#include "support/law_draws.h"
#include "support/scale.h"
#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace {

using xt::draw;
using xt::expect_passes;
using xt::Ints;
using xt::new_script_stream;
using xt::new_stream;
using xt::reset_script;
using xt::script;
using xt::StreamHandle;
const int32_t kGens[] = {RUK_BRNG_MT19937, RUK_BRNG_MCG31M1};
const std::size_t kSample = xt::scaled(1000000, 20000);

TEST(Truncation, MatchesTheConversionTowardZeroBelowTwoTo31) {
    auto rng = xt::seeded(9);
    std::vector<double> xs = xt::sample({xt::kDoubleTrueMin, 0x1.fffffffffffffp+30, true},
                                        xt::scaled(2000000), rng);
    // Zeros, denormals, each power of two with its neighbours and the halves
    // beside it, the ends of the range; then all of them negated.
    for (double x : {0.0, -0.0, xt::kDoubleTrueMin, 0x1p-1022, 0.5, 0x1.fffffffffffffp-1,
                     0x1.fffffffffffffp+30, 2147483647.0, 2147483646.5})
        xs.push_back(x);
    for (int k = 0; k <= 30; ++k) {
        const double p = std::ldexp(1.0, k);
        for (double x : {p, std::nextafter(p, 0.0), std::nextafter(p, 1e300), p + 0.5, p - 0.5}) xs.push_back(x);
    }
    for (std::size_t i = 0, base = xs.size(); i < base; ++i) xs.push_back(-xs[i]);
    xs.push_back(-2147483648.0);
    // Any rounding mode: the helper does no rounding of its own.
    for (int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD}) {
        std::fesetround(mode);
        const uint16_t x87_before = xeb::fpu::x87_control();
        std::size_t bad = 0;
        for (double x : xs)
            if ((xeb::laws::truncate_to_int32(x) != static_cast<int32_t>(static_cast<int64_t>(x)) ||
                 xeb::laws::floor_to_int32(x) != static_cast<int32_t>(static_cast<int64_t>(std::floor(x)))) &&
                ++bad < 5)
                ADD_FAILURE() << std::hexfloat << x << " mode " << mode;
        EXPECT_EQ(xeb::fpu::x87_control(), x87_before);
        std::fesetround(FE_TONEAREST);
        EXPECT_EQ(bad, 0u) << "of " << xs.size();
    }
}

TEST(DiscreteUniform, IsTheFloorOfTheGeneratorsDoubles) {
    // Both routes (2,049: buffered only; 2,050 and more: half in bulk), on an
    // array at an 8-byte boundary and one at a 4-byte boundary only; the
    // stream moves by exactly n numbers.
    for (int32_t n : {1, 1023, 2049, 2050, 5001, 100000})
        for (int offset : {0, 1})
            for (auto [a, b] : {std::pair<int32_t, int32_t>{-3, 4}, {INT32_MIN, INT32_MAX}, {-100, -90}}) {
                StreamHandle h, twin;
                new_stream(h, RUK_BRNG_MT19937, 5);
                new_stream(twin, RUK_BRNG_MT19937, 5);
                std::vector<double> storage(n / 2 + 2), x(n + 1);
                int32_t* r = reinterpret_cast<int32_t*>(storage.data()) + offset;
                ASSERT_EQ(rukiRngUniform(0, h.get(), n, r, a, b), RUK_OK);
                ASSERT_EQ(rukdRngUniform(0, twin.get(), n, x.data(), a, b), RUK_OK);
                int bad = 0;
                for (int32_t i = 0; i < n; ++i)
                    if (r[i] != static_cast<int32_t>(std::floor(x[i])) && ++bad < 4)
                        ADD_FAILURE() << "n " << n << " offset " << offset << " [" << a << ", " << b << ") at " << i
                                      << ": " << r[i] << " for " << x[i];
                rukdRngUniform(0, h.get(), 1, &x[0], 0, 1);
                rukdRngUniform(0, twin.get(), 1, &x[n], 0, 1);
                EXPECT_EQ(x[0], x[n]) << "n " << n;
            }
}

TEST(DiscreteUniform, FloorsNegativesDownwardAndPassesStatuses) {
    StreamHandle h;
    new_script_stream(h);
    reset_script({-0.5, -1.0, -0x1p-60, -0.0, 0.0, 0x1.fffffffffffffp-1, -2.9999, 1.5, -2147483647.5});
    Ints r(9);
    ASSERT_EQ(rukiRngUniform(0, h.get(), 9, r.data(), -3, 2), RUK_OK);
    EXPECT_EQ(r, (Ints{-1, -1, -1, 0, 0, 0, -3, 1, INT32_MIN}));
    struct Case {
        int32_t n;
        int offset;  // in 32-bit words from an 8-byte boundary
        std::vector<int32_t> statuses, calls;
        int32_t result;
    };
    const Case cases[] = {
        {0, 0, {}, {}, RUK_OK},
        {1, 0, {5}, {1}, 5},
        {2049, 0, {}, {1024, 1024, 1}, RUK_OK},              // half = 1,024: not above a block
        {2050, 0, {}, {1025, 1024, 1}, RUK_OK},              // half = 1,025: bulk, then the rest
        {2050, 1, {}, {1024, 1024, 2}, RUK_OK},              // no bulk at a 4-byte boundary
        {5000, 0, {3, 0, 0, 7}, {2500, 1024, 1024, 452}, 7},  // the last status counts
        {5000, 0, {0, -9}, {2500, 1024}, -9},                // a failure ends the call
        {5000, 0, {-9}, {2500}, -9},
    };
    for (const Case& c : cases) {
        reset_script({0.25}, c.statuses);
        std::vector<double> storage(c.n / 2 + 2, -7.0);
        EXPECT_EQ(rukiRngUniform(0, h.get(), c.n, reinterpret_cast<int32_t*>(storage.data()) + c.offset, 0, 10),
                  c.result) << c.n;
        EXPECT_EQ(script.calls, c.calls) << c.n;
    }
}

// Float uniforms on (0, 1) of a twin stream, for the value tests.
std::vector<float> twin_floats(int32_t id, uint32_t seed, int32_t n) {
    StreamHandle h;
    new_stream(h, id, seed);
    std::vector<float> u(n);
    EXPECT_EQ(ruksRngUniform(0, h.get(), n, u.data(), 0.0f, 1.0f), RUK_OK);
    return u;
}

// Each value: U < p on the same float.
TEST(Bernoulli, ValuesAreTheComparisonOfTheSameUniform) {
    uint32_t seed = 40;
    for (int32_t id : kGens)
        for (double p : {0.3, 0.5, 0.999, 1e-3}) {
            const Ints r = draw(id, ++seed, 5000, rukiRngBernoulli, p);
            const auto u = twin_floats(id, seed, 5000);
            for (std::size_t i = 0; i < u.size(); ++i)
                ASSERT_EQ(r[i], static_cast<double>(u[i]) < p ? 1 : 0) << id << " at " << i;
        }
}

TEST(Bernoulli, ProbabilitiesZeroAndOne) {
    StreamHandle h;
    new_script_stream(h);
    // U = 1.0 is not below 1; the threshold compares in double, so a p
    // between two floats splits them as the floats' exact values do.
    reset_script({0.0, 0x1p-24, 0.5, 0x1.fffffep-1, 1.0, 0.3f});
    Ints r(6);
    const std::pair<double, Ints> cases[] = {
        {0.0, {0, 0, 0, 0, 0, 0}}, {1.0, {1, 1, 1, 1, 0, 1}}, {static_cast<double>(0.3f), {1, 1, 0, 0, 0, 0}}};
    for (const auto& [p, want] : cases) {
        ASSERT_EQ(rukiRngBernoulli(0, h.get(), 6, r.data(), p), RUK_OK);
        EXPECT_EQ(r, want) << p;
    }
    reset_script({0.5}, {-4});
    EXPECT_EQ(rukiRngBernoulli(0, h.get(), 6, r.data(), 0.5), -4);
}

TEST(Geometric, ValuesAreTheTruncatedQuotientOfLogarithms) {
    // Against ln(U) / ln(1 - p) in long double on the same floats: equal,
    // except where the quotient lies so near an integer that the float
    // logarithm (below 1 ulp) may fall on either side.
    const int32_t n = 200000;
    for (double p : {0.1, 0.37, 0.9, 1e-3}) {
        const Ints r = draw(RUK_BRNG_MT19937, 61, n, rukiRngGeometric, p);
        const auto u = twin_floats(RUK_BRNG_MT19937, 61, n);
        int near = 0;
        for (int32_t i = 0; i < n; ++i) {
            const long double q = std::log(static_cast<long double>(u[i])) / std::log1p(-static_cast<long double>(p));
            if (std::fabs(q - std::round(q)) < 1e-6L * std::max(q, 1.0L)) {
                ++near;
                EXPECT_LE(std::fabs(r[i] - std::round(q)), 1) << i;
            } else {
                ASSERT_EQ(r[i], static_cast<int32_t>(std::trunc(q))) << "p " << p << " at " << i << " U " << u[i];
            }
        }
        EXPECT_LT(near, n / 100) << p;
    }
}

TEST(Geometric, ProbabilityOneGivesZeroThroughThePoleOfTheLogarithm) {
    // c = 1 / ln(0) = -0: every U in (0, 1) gives 0.  ln(0) raises the
    // logarithm's pole event once, for element 0, before the draw.
    StreamHandle h;
    new_script_stream(h);
    reset_script({0x1p-24, 0.5, 0x1.fffffep-1});
    Ints r(3, -1);
    xt::EventRecorder rec;
    ASSERT_EQ(rukiRngGeometric(0, h.get(), 3, r.data(), 1.0), RUK_OK);
    EXPECT_EQ(r, (Ints{0, 0, 0}));
    ASSERT_EQ(rec.events().size(), 1u);
    EXPECT_EQ(rec.events()[0].code, XEB_STATUS_POLE);
    EXPECT_EQ(rec.events()[0].index, 0);
    EXPECT_EQ(rec.events()[0].name, "_xebdLn_HA");
    // The law counts failures: a quotient below 1 is 0.
    reset_script({0.95f, 0.9f, 0.8f});
    ASSERT_EQ(rukiRngGeometric(0, h.get(), 3, r.data(), 0.1), RUK_OK);
    EXPECT_EQ(r, (Ints{0, 1, 2}));
    reset_script({0.5}, {-6});
    EXPECT_EQ(rukiRngGeometric(0, h.get(), 3, r.data(), 0.1), -6);
}

struct BinomialCase {
    int32_t trials;
    double p;
};

TEST(Binomial, SampleFollowsTheLawInEveryRegime) {
    const BinomialCase cases[] = {
        // Inversion (trials p below 30), p on both sides of 1/2.
        {10, 0.3}, {10, 0.7}, {59, 0.5}, {1000, 0.02}, {5000, 0.995}, {100000, 1e-4},
        // BTPE: 60 at 1/2 is exactly 30, with the flip; moderate and large
        // variances, where the squeeze and Stirling's test decide.
        {60, 0.5}, {100, 0.3}, {100, 0.7}, {1000, 0.45}, {20000, 0.6}, {1000000, 0.4}, {2000000000, 0.25},
    };
    uint32_t seed = 80;
    for (const BinomialCase& c : cases) {
        // Where a sample of a million can fall: the mean +- 9 standard
        // deviations (beyond: below 1e-18), clipped to [0, trials]; the mass
        // function once per case, one place beyond each end.
        const double mean = c.trials * c.p, sd = std::sqrt(c.trials * c.p * (1 - c.p));
        const auto lo = static_cast<int64_t>(std::max(0.0, std::floor(mean - 9 * sd - 5)));
        const auto hi = static_cast<int64_t>(std::min<double>(c.trials, std::ceil(mean + 9 * sd + 5)));
        std::vector<long double> pmf;
        for (int64_t k = lo - 1; k <= hi + 1; ++k) pmf.push_back(xt::binomial_pmf(c.trials, c.p, k));
        for (int32_t id : kGens) {
            const Ints r = draw(id, ++seed, kSample, rukiRngBinomial, c.trials, c.p);
            expect_passes(xt::chi_square(r, lo, hi, [&](int64_t k) { return pmf[k - lo + 1]; }),
                          "binomial " + std::to_string(c.trials) + ", " + std::to_string(c.p) + " on " +
                              std::to_string(id));
        }
    }
}

TEST(Binomial, DegenerateArguments) {
    StreamHandle h;
    new_stream(h, RUK_BRNG_MT19937, 90);
    Ints r(3000, -1);
    // p = 0 and p = 1, by inversion (the table is all ones) for any trials.
    for (int32_t trials : {0, 7, 1000000})
        for (double p : {0.0, 1.0}) {
            ASSERT_EQ(rukiRngBinomial(0, h.get(), 3000, r.data(), trials, p), RUK_OK);
            EXPECT_EQ(r, Ints(3000, p == 0 ? 0 : trials)) << trials;
        }
    // No trials: 0 whatever p; (0, 0.0) equals the key of a fresh record.
    for (double p : {0.0, 0.3, 0.5, 0.9}) EXPECT_EQ(draw(RUK_BRNG_MT19937, 91, 3000, rukiRngBinomial, 0, p), Ints(3000, 0));
    // Arguments under which the rejection method could not end are refused
    // before any draw.
    StreamHandle s;
    new_script_stream(s);
    reset_script({0.5});
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(rukiRngBinomial(0, s.get(), 10, r.data(), 100, std::nan("")), RUK_ERROR_BAD_ARGUMENT);
    EXPECT_EQ(rukiRngBinomial(0, s.get(), 10, r.data(), 0, inf), RUK_ERROR_BAD_ARGUMENT);
    EXPECT_EQ(rukiRngBinomial(0, s.get(), 10, r.data(), -100, inf), RUK_ERROR_BAD_ARGUMENT);
    EXPECT_TRUE(script.calls.empty());
    // A stream whose pairs never fall under the hat (right tail past the
    // trials, for ever) is given up after 10,000 trials for one result.
    reset_script({0.999999, 1e-300});
    EXPECT_EQ(rukiRngBinomial(0, s.get(), 256, r.data(), 100, 0.3), RUK_ERROR_BAD_ARGUMENT);
    int64_t drawn = 0;
    for (int32_t c : script.calls) drawn += c;
    EXPECT_EQ(drawn, (2 * 10000 + 511) / 512 * 512);  // in blocks of 512
}

TEST(Binomial, ResultsDoNotDependOnHowTheCountIsSplit) {
    const auto in_calls = [](const BinomialCase& c, const std::vector<int32_t>& counts) {
        StreamHandle h;
        new_stream(h, RUK_BRNG_MT19937, 3);
        Ints r;
        for (int32_t k : counts) {
            Ints part(k);
            EXPECT_EQ(rukiRngBinomial(0, h.get(), k, part.data(), c.trials, c.p), RUK_OK);
            r.insert(r.end(), part.begin(), part.end());
        }
        return r;
    };
    for (const BinomialCase& c : {BinomialCase{30, 0.4}, {30, 0.6}, {500, 0.3}, {500, 0.7}, {100000, 0.5}}) {
        const Ints whole = in_calls(c, {3000});
        EXPECT_EQ(in_calls(c, {1, 255, 256, 257, 511, 512, 513, 695}), whole) << c.trials << ", " << c.p;
        EXPECT_EQ(in_calls(c, {0, 2999, 1}), whole) << c.trials << ", " << c.p;
    }
}

TEST(Binomial, DrawCountsAndStatuses) {
    StreamHandle h;
    new_script_stream(h);
    Ints r(1000, -1);
    // Inversion: one uniform per result, at most 512 per draw.
    reset_script({0.01});
    ASSERT_EQ(rukiRngBinomial(0, h.get(), 1000, r.data(), 10, 0.3), RUK_OK);
    EXPECT_EQ(script.calls, (std::vector<int32_t>{512, 488}));
    EXPECT_EQ(r, Ints(1000, 0));  // 0.01 < P(0) = 0.7^10
    // BTPE: two per trial, twice the results missing (at most 512); a
    // first uniform this small falls in the triangle and is accepted.
    reset_script({0.001, 0.5});
    ASSERT_EQ(rukiRngBinomial(0, h.get(), 300, r.data(), 1000, 0.5), RUK_OK);
    EXPECT_EQ(script.calls, (std::vector<int32_t>{512, 88}));
    // Every other trial rejected (right tail far beyond trials): the buffer
    // runs dry and is refilled for the results still missing.
    reset_script({0.001, 0.5, 0.999999, 1e-300});
    ASSERT_EQ(rukiRngBinomial(0, h.get(), 300, r.data(), 1000, 0.5), RUK_OK);
    std::vector<int32_t> want;
    for (int32_t missing = 300, pair = 0; missing > 0;) {
        want.push_back(std::min(512, 2 * missing));
        for (int32_t j = want.back() / 2; j > 0; --j) missing -= pair++ % 2 == 0;
    }
    EXPECT_EQ(script.calls, want);
    // A failure ends the call; a positive status is the result, after the
    // flip (10 - 0); n = 0 draws nothing.
    reset_script({0.01}, {0, -5});
    EXPECT_EQ(rukiRngBinomial(0, h.get(), 1000, r.data(), 10, 0.7), -5);
    reset_script({0.01}, {3});
    EXPECT_EQ(rukiRngBinomial(0, h.get(), 10, r.data(), 10, 0.7), 3);
    EXPECT_EQ(r[0], 10);
    reset_script({0.01});
    EXPECT_EQ(rukiRngBinomial(0, h.get(), 0, r.data(), 10, 0.7), RUK_OK);
    EXPECT_TRUE(script.calls.empty());
}

// One result on chosen uniforms u1, u2 (then 0.001, 0.5, which BTPE's
// triangle accepts): the fold at p = 0.5, the route at N pp = 30, and two
// pairs found by search on the narrowest margins of the acceptance tests.
TEST(Binomial, ChosenUniformsMeetTheEdgesOfTheMethod) {
    struct Row {
        int32_t trials;
        double p, u1, u2;
        int32_t result, drawn;
        const char* what;
    };
    const Row rows[] = {
        {10, 0.5, 0.01, 0.5, 9, 1, "inversion gives 1; p = 0.5 is folded: 10 - 1"},
        {60, 0.5, 0.3, 0.5, 28, 2, "N pp = 30 takes BTPE: two uniforms for one result"},
        {100, 0.5, 0.85569315, 3e-4, 54, 4, "K = 17, 33 below the mode: the ratio product down to K itself rejects"},
        {1000, 0.5, 0.7, 0.705, 532, 2, "K = 468: within Stirling's bound with all four corrections"},
    };
    StreamHandle h;
    new_script_stream(h);
    for (const Row& row : rows) {
        reset_script({row.u1, row.u2, 0.001, 0.5});
        int32_t r = -1;
        ASSERT_EQ(rukiRngBinomial(0, h.get(), 1, &r, row.trials, row.p), RUK_OK);
        EXPECT_EQ(r, row.result) << row.what;
        int32_t drawn = 0;
        for (int32_t c : script.calls) drawn += c;
        EXPECT_EQ(drawn, row.drawn) << row.what;
    }
}

// The set-up record: one chunk of id 5, reused while the arguments stay.
const double* binomial_record(const StreamHandle& h) {
    return static_cast<const double*>(rukSearchChunk(h.get(), RUK_CHUNK_BINOMIAL));
}

TEST(Binomial, SetUpIsKeptOnTheStream) {
    StreamHandle h;
    new_stream(h, RUK_BRNG_MT19937, 7);
    Ints r(1000);
    EXPECT_EQ(rukGetNumChunks(h.get()), 0);
    ASSERT_EQ(rukiRngBinomial(0, h.get(), 1000, r.data(), 40, 0.25), RUK_OK);
    const double* record = binomial_record(h);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record[0], 40.0);
    EXPECT_EQ(record[1], 0.25);
    // Same arguments: the same record, no new chunk.
    ASSERT_EQ(rukiRngBinomial(0, h.get(), 1000, r.data(), 40, 0.25), RUK_OK);
    EXPECT_EQ(rukGetNumChunks(h.get()), 1);
    EXPECT_EQ(binomial_record(h), record);
    // New arguments rebuild it in place: afterwards it equals the record a
    // fresh stream builds for them (key + layout of their route: 85 or 68
    // doubles), and the results equal a fresh stream's from the same place.
    for (const BinomialCase& c : {BinomialCase{500, 0.3}, {40, 0.75}, {40, 0.25}, {500, 0.7}, {500, 0.3}}) {
        StreamHandle fresh, moved;
        new_stream(fresh, RUK_BRNG_MT19937, 8);
        new_stream(moved, RUK_BRNG_MT19937, 8);
        Ints want(1000), got(1000);
        ASSERT_EQ(rukiRngBinomial(0, fresh.get(), 1000, want.data(), c.trials, c.p), RUK_OK);
        // The moved stream carries h's record (a copy shares the chunk list).
        RukStream* shared = nullptr;
        ASSERT_EQ(rukCopyStream(&shared, h.get()), RUK_OK);
        ASSERT_EQ(rukCopyStreamState(shared, moved.get()), static_cast<int32_t>(RUK_BRNG_MT19937));
        ASSERT_EQ(rukiRngBinomial(0, shared, 1000, got.data(), c.trials, c.p), RUK_OK);
        rukDeleteStream(&shared);  // the shared chunks stay with h
        EXPECT_EQ(got, want) << c.trials << ", " << c.p;
        EXPECT_EQ(rukGetNumChunks(h.get()), 1);
        EXPECT_EQ(binomial_record(h), record);
        const std::size_t doubles = c.trials == 500 ? 85 : 68;
        EXPECT_EQ(std::memcmp(record, binomial_record(fresh), doubles * sizeof(double)), 0) << c.trials << ", " << c.p;
    }
}

TEST(Binomial, ARecordTooShortIsPassedOver) {
    // A chunk 5 of 16 bytes (as a stream file could bring) is not read as
    // the set-up: a full record is added in front of it.
    StreamHandle h;
    new_stream(h, RUK_BRNG_MT19937, 9);
    void* small = std::calloc(2, sizeof(double));
    ASSERT_EQ(rukAddChunk(h.get(), RUK_CHUNK_BINOMIAL, small, 16), RUK_OK);
    Ints r(2000);
    ASSERT_EQ(rukiRngBinomial(0, h.get(), 2000, r.data(), 200, 0.4), RUK_OK);
    EXPECT_EQ(r, draw(RUK_BRNG_MT19937, 9, 2000, rukiRngBinomial, 200, 0.4));
    EXPECT_EQ(rukGetNumChunks(h.get()), 2);
    EXPECT_NE(binomial_record(h), small);
}

}  // namespace
