// MCG31M1 against a plain 64-bit computation of the recurrence and the
// committed reference sequence; block splits, leapfrog and skip-ahead
// against drawing.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "support/scale.h"
#include "support/streams.h"
#include "accuracy/ulp.h"
#include "xebruk/xebruk.h"

namespace {

using xt::mcg31m1_sequence;
using xt::StreamHandle;
using Words = std::vector<uint32_t>;

void new_stream(StreamHandle& h, uint32_t seed) {
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MCG31M1, 1, &seed), RUK_OK);
}

Words draw_ints(RukStream* s, int n) {
    Words r(static_cast<std::size_t>(n));
    rukiBRngMCG31M1(s, n, r.data());
    return r;
}

uint32_t next_x(RukStream* s) { return draw_ints(s, 1)[0]; }

// Nearest double to x (2^31 + 1) 2^-62, that is x times the double 1/M,
// by an integer route: the product fits 62 bits and converts with one rounding.
double scaled_by_inverse_modulus(uint32_t x) {
    return std::ldexp(static_cast<double>(uint64_t{x} * 0x80000001u), -62);
}

TEST(Mcg31m1, MatchesReferenceSequence) {
    std::ifstream in(xt::source_dir() + "/tests/data/mcg31m1_x0_1_n100.txt");
    ASSERT_TRUE(in) << "reference file missing";
    std::string line;
    std::getline(in, line);  // header, ends with x[10^6] = ...
    const uint32_t x_million = static_cast<uint32_t>(std::stoul(line.substr(line.rfind('=') + 1)));
    Words expected{1};
    std::vector<double> expected_u{0.0};
    for (unsigned n, x; in >> n >> x;) {
        ASSERT_EQ(n, expected.size());
        expected.push_back(x);
        expected_u.push_back(0);
        in >> expected_u.back();
    }
    ASSERT_EQ(expected.size(), 101u);

    StreamHandle h, d, skip;
    new_stream(h, 1);
    EXPECT_EQ(draw_ints(h.get(), 101), expected);
    // The doubles on (0, 1) lie within an ulp of x / (2^31 - 1); the
    // first is the double 1/M.
    new_stream(d, 1);
    std::vector<double> u(101);
    rukdBRngMCG31M1(d.get(), 101, u.data(), 0.0, 1.0);
    uint64_t bits;
    std::memcpy(&bits, &u[0], 8);
    EXPECT_EQ(bits, 0x3E00000000200000u);
    for (std::size_t i = 1; i < u.size(); ++i) EXPECT_LE(xt::ulp_error(u[i], expected_u[i]), 1.0) << i;

    // x[10^6] by skipping.
    new_stream(skip, 1);
    ASSERT_EQ(rukSkipAheadStream(skip.get(), 1000000), RUK_OK);
    EXPECT_EQ(next_x(skip.get()), x_million);
}

TEST(Mcg31m1, SeedsAreReducedIntoTheCycle) {
    struct Case {
        int32_t id, n;
        uint32_t seed[2];
        uint32_t x;
    };
    // The older table's id (0) serves the same generator.
    const Case cases[] = {
        {RUK_BRNG_MCG31M1, 1, {0, 0}, 1}, {RUK_BRNG_MCG31M1, 1, {0x7FFFFFFF, 0}, 1},
        {RUK_BRNG_MCG31M1, 1, {0xFFFFFFFF, 0}, 1}, {RUK_BRNG_MCG31M1, 0, {77, 0}, 1},
        {RUK_BRNG_MCG31M1, -3, {77, 0}, 1}, {RUK_BRNG_MCG31M1, 2, {77, 99}, 77},
        {RUK_BRNG_MCG31M1, 1, {0x80000005, 0}, 6}, {RUK_BRNG_MCG31M1, 1, {0x7FFFFFFE, 0}, 0x7FFFFFFE},
        {0, 1, {12345, 0}, 12345},
    };
    for (const Case& c : cases) {
        StreamHandle h;
        ASSERT_EQ(rukNewStreamEx(h.out(), c.id, c.n, c.seed), RUK_OK);
        EXPECT_EQ(draw_ints(h.get(), 5), mcg31m1_sequence(c.x, 5)) << c.seed[0] << " n=" << c.n;
    }
}

TEST(Mcg31m1, RealOutputScalesEachValue) {
    const std::size_t n = xt::scaled(20000);
    const auto x = mcg31m1_sequence(987654321, n);
    struct Interval {
        double a, b;
    };
    for (const Interval iv : {Interval{0.0, 1.0}, Interval{-3.0, 5.0}, Interval{1e6, 1e6 + 0.5},
                              Interval{-1.0, -0.25}}) {
        StreamHandle d, s;
        new_stream(d, 987654321);
        new_stream(s, 987654321);
        std::vector<double> rd(n);
        std::vector<float> rs(n);
        rukdBRngMCG31M1(d.get(), static_cast<int>(n), rd.data(), iv.a, iv.b);
        ruksBRngMCG31M1(s.get(), static_cast<int>(n), rs.data(), static_cast<float>(iv.a), static_cast<float>(iv.b));
        // x c is exact and rounded once; c itself is off by 2^-62 relative,
        // which matters only where a + x c cancels: allow it as an absolute
        // 2^-59 max(|a|, |b|).
        const long double slack = std::ldexp(std::max(std::fabs(iv.a), std::fabs(iv.b)), -59);
        // Single precision: c, the product and the sum each round to single.
        const float c = static_cast<float>(static_cast<float>(iv.b - iv.a) * static_cast<long double>(0x1.00000002p-31));
        double worst_d = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const long double exact = static_cast<long double>(x[i]) * (iv.b - iv.a) / 0x7FFFFFFF + iv.a;
            const long double err = std::max(0.0L, std::fabs(rd[i] - exact) - slack);
            worst_d = std::max(worst_d, static_cast<double>(err / xt::ulp_of_double(exact)));
            if (iv.a == 0.0) {
                ASSERT_EQ(rd[i], scaled_by_inverse_modulus(x[i])) << i;
            }
            volatile float p = static_cast<float>(x[i]) * c;
            ASSERT_EQ(rs[i], p + static_cast<float>(iv.a)) << i;
        }
        EXPECT_LE(worst_d, 0.51) << iv.a << " " << iv.b;
    }
}

TEST(Mcg31m1, OneCallEqualsAnySplit) {
    const int n = static_cast<int>(xt::scaled(5000));
    std::mt19937 rng(4);
    const Words ints = mcg31m1_sequence(42, static_cast<std::size_t>(n) + 1);
    std::vector<double> dbl;
    std::vector<float> flt;
    for (int trial = 0; trial < 6; ++trial) {
        StreamHandle pi, pd, ps;
        for (StreamHandle* h : {&pi, &pd, &ps}) new_stream(*h, 42);
        Words ri(static_cast<std::size_t>(n));
        std::vector<double> rd(ri.size());
        std::vector<float> rf(ri.size());
        // One call; blocks of 1 to 13 (around the rounds of five and the
        // pairs); some large.  The real kernels also get empty calls.
        for (int done = 0, take; done < n; done += take) {
            take = std::min(trial == 0 ? n : trial == 5 ? 1 + static_cast<int>(rng() % 700)
                                                        : 1 + static_cast<int>(rng() % 13), n - done);
            rukiBRngMCG31M1(pi.get(), take, &ri[done]);
            rukdBRngMCG31M1(pd.get(), 0, nullptr, -2.0, 3.0);
            rukdBRngMCG31M1(pd.get(), take, &rd[done], -2.0, 3.0);
            ruksBRngMCG31M1(ps.get(), take, &rf[done], -2.0f, 3.0f);
        }
        if (trial == 0) {
            dbl = rd;
            flt = rf;
        }
        EXPECT_EQ(ri, Words(ints.begin(), ints.end() - 1)) << trial;
        EXPECT_EQ(0, std::memcmp(rd.data(), dbl.data(), rd.size() * sizeof(double))) << trial;
        EXPECT_EQ(0, std::memcmp(rf.data(), flt.data(), rf.size() * sizeof(float))) << trial;
        // All three kernels leave x at the same next value.
        for (StreamHandle* h : {&pi, &pd, &ps}) EXPECT_EQ(next_x(h->get()), ints.back()) << trial;
    }
}

TEST(Mcg31m1, CountsOfZeroAndBelow) {
    const auto seq = mcg31m1_sequence(555, 4);
    // The integer kernel always writes r[0]; a nonzero even part of the count
    // (negative counts have one) writes r[1] too.
    for (const auto& [n, written] : {std::pair{0, 1}, std::pair{1, 1}, std::pair{-1, 2}, std::pair{-2, 2},
                                    std::pair{-7, 2}, std::pair{INT32_MIN, 2}}) {
        StreamHandle h;
        new_stream(h, 555);
        uint32_t r[4] = {0xDEAD, 0xDEAD, 0xDEAD, 0xDEAD};
        rukiBRngMCG31M1(h.get(), n, r);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(r[i], i < written ? seq[i] : 0xDEADu) << n;
        EXPECT_EQ(next_x(h.get()), seq[written]) << n;
        if (n > 0) continue;
        // The real kernels write nothing and keep x.
        StreamHandle k;
        new_stream(k, 555);
        double d = 7.0;
        float f = 7.0f;
        EXPECT_EQ(rukdBRngMCG31M1(k.get(), n, &d, 0.0, 1.0), RUK_OK);
        EXPECT_EQ(ruksBRngMCG31M1(k.get(), n, &f, 0.0f, 1.0f), RUK_OK);
        EXPECT_TRUE(d == 7.0 && f == 7.0f);
        EXPECT_EQ(next_x(k.get()), seq[0]);
    }
}

TEST(Mcg31m1, LeapfrogDealsInterleavedSubsequences) {
    const std::size_t per_stream = 257;
    for (int32_t stride : {1, 2, 3, 5, 7, 16, 1000}) {
        const auto parent = mcg31m1_sequence(31337, per_stream * static_cast<std::size_t>(stride));
        for (int32_t k = 0; k < stride; k += (stride > 20 ? 97 : 1)) {
            // Integer and real kernels both follow the new multiplier.
            StreamHandle h, twin;
            new_stream(h, 31337);
            ASSERT_EQ(rukLeapfrogStream(h.get(), k, stride), RUK_OK);
            ASSERT_EQ(rukCopyStream(twin.out(), h.get()), RUK_OK);
            const auto got = draw_ints(h.get(), static_cast<int>(per_stream));
            std::vector<double> u(per_stream);
            rukdBRngMCG31M1(twin.get(), static_cast<int>(per_stream), u.data(), 0.0, 1.0);
            for (std::size_t j = 0; j < per_stream; ++j) {
                const uint32_t want = parent[static_cast<std::size_t>(k) + j * stride];
                ASSERT_EQ(got[j], want) << "stride " << stride << " k " << k << " j " << j;
                ASSERT_EQ(u[j], scaled_by_inverse_modulus(want));
            }
        }
    }
    // Stride 0: multiplier 1, a constant stream at element k.
    StreamHandle c;
    new_stream(c, 31337);
    ASSERT_EQ(rukLeapfrogStream(c.get(), 3, 0), RUK_OK);
    EXPECT_EQ(draw_ints(c.get(), 5), Words(5, mcg31m1_sequence(31337, 4)[3]));
}

TEST(Mcg31m1, SkipAheadEqualsDrawing) {
    for (int32_t k : {0, 1, 2, 5, 6, 1000, 65537}) {
        StreamHandle skip, draw;
        new_stream(skip, 2024);
        new_stream(draw, 2024);
        ASSERT_EQ(rukSkipAheadStream(skip.get(), k), RUK_OK);
        if (k > 0) draw_ints(draw.get(), k);
        EXPECT_EQ(draw_ints(skip.get(), 10), draw_ints(draw.get(), 10)) << k;
    }
    // A whole period (2^31 - 2) returns to the start; skips add up.
    StreamHandle h, twice, once, lf;
    new_stream(h, 2024);
    ASSERT_EQ(rukSkipAheadStream(h.get(), 0x7FFFFFFE), RUK_OK);
    EXPECT_EQ(next_x(h.get()), 2024u);
    new_stream(twice, 9);
    new_stream(once, 9);
    rukSkipAheadStream(twice.get(), 1 << 30);
    rukSkipAheadStream(twice.get(), 123);
    rukSkipAheadStream(once.get(), (1 << 30) + 123);
    EXPECT_EQ(next_x(twice.get()), next_x(once.get()));
    // After a leapfrog a skip counts the stream's own steps.
    new_stream(lf, 9);
    rukLeapfrogStream(lf.get(), 2, 5);
    rukSkipAheadStream(lf.get(), 4);
    EXPECT_EQ(next_x(lf.get()), mcg31m1_sequence(9, 23)[22]);
}

TEST(Mcg31m1, RefusedSplitsAndMethodsLeaveTheState) {
    StreamHandle h;
    new_stream(h, 77);
    EXPECT_EQ(rukSkipAheadStream(h.get(), -1), RUK_ERROR_NO_SKIP);
    EXPECT_EQ(rukLeapfrogStream(h.get(), -1, 4), RUK_ERROR_NO_LEAPFROG);
    EXPECT_EQ(rukLeapfrogStream(h.get(), 1, -4), RUK_ERROR_NO_LEAPFROG);
    for (int32_t method : {3, -1}) EXPECT_EQ(rukBRngMCG31M1InitStream(method, h.get(), 0, nullptr), RUK_ERROR_UNKNOWN_METHOD);
    EXPECT_EQ(draw_ints(h.get(), 4), mcg31m1_sequence(77, 4));
}

}  // namespace
