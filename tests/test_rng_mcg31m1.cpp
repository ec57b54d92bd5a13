// MCG31M1 against a plain 64-bit computation of the recurrence and the
// committed reference sequence; block splits, leapfrog and skip-ahead
// against drawing.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "support/scale.h"
#include "support/streams.h"
#include "support/ulp.h"
#include "rng/generator.h"
#include "xebruk/xebruk.h"

namespace {

using xt::mcg31m1_sequence;
using xt::StreamHandle;

constexpr uint32_t kM = 0x7FFFFFFF;

void new_stream(StreamHandle& h, uint32_t seed) {
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MCG31M1, 1, &seed), RUK_OK);
}

std::vector<uint32_t> draw_ints(RukStream* s, int n) {
    std::vector<uint32_t> r(static_cast<std::size_t>(n));
    rukiBRngMCG31M1(s, n, r.data());
    return r;
}

uint32_t next_x(RukStream* s) {
    uint32_t x;
    rukiBRngMCG31M1(s, 1, &x);
    return x;
}

TEST(Mcg31m1, MatchesReferenceSequence) {
    std::ifstream in(xt::source_dir() + "/tests/data/mcg31m1_x0_1_n100.txt");
    ASSERT_TRUE(in) << "reference file missing";
    std::string line;
    std::getline(in, line);  // header, ends with x[10^6] = ...
    const uint32_t x_million = static_cast<uint32_t>(std::stoul(line.substr(line.rfind('=') + 1)));
    std::vector<uint32_t> expected{1};
    std::vector<double> expected_u{0.0};
    for (unsigned n; in >> n;) {
        uint32_t x;
        double u;
        in >> x >> u;
        ASSERT_EQ(n, expected.size());
        expected.push_back(x);
        expected_u.push_back(u);
    }
    ASSERT_EQ(expected.size(), 101u);

    StreamHandle h;
    new_stream(h, 1);
    EXPECT_EQ(draw_ints(h.get(), 101), expected);

    // The doubles on (0, 1) lie within an ulp of x / (2^31 - 1).
    StreamHandle d;
    new_stream(d, 1);
    std::vector<double> u(101);
    rukdBRngMCG31M1(d.get(), 101, u.data(), 0.0, 1.0);
    for (std::size_t i = 1; i < u.size(); ++i)
        EXPECT_LE(xt::ulp_error(u[i], expected_u[i]), 1.0) << i;

    // x[10^6] by drawing in uneven blocks, and by skipping.
    StreamHandle far;
    new_stream(far, 1);
    std::vector<uint32_t> block(1000);
    int drawn = 0;
    for (int n = 1; drawn < 1000000; n = n % 997 + 1) {
        const int take = std::min(n, 1000000 - drawn);
        rukiBRngMCG31M1(far.get(), take, block.data());
        drawn += take;
    }
    EXPECT_EQ(next_x(far.get()), x_million);
    StreamHandle skip;
    new_stream(skip, 1);
    ASSERT_EQ(rukSkipAheadStream(skip.get(), 1000000), RUK_OK);
    EXPECT_EQ(next_x(skip.get()), x_million);
}

TEST(Mcg31m1, SeedsAreReducedIntoTheCycle) {
    struct Case {
        int32_t n;
        uint32_t seed[2];
        uint32_t x;
    };
    const Case cases[] = {
        {1, {0, 0}, 1},          {1, {0x7FFFFFFF, 0}, 1},  {1, {0xFFFFFFFF, 0}, 1},
        {0, {77, 0}, 1},         {-3, {77, 0}, 1},         {2, {77, 99}, 77},
        {1, {0x80000005, 0}, 6}, {1, {0x7FFFFFFE, 0}, 0x7FFFFFFE},
    };
    for (const Case& c : cases) {
        StreamHandle h;
        ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MCG31M1, c.n, c.seed), RUK_OK);
        EXPECT_EQ(draw_ints(h.get(), 3), mcg31m1_sequence(c.x, 3)) << c.seed[0] << " n=" << c.n;
    }
    // The older table's id serves the same generator.
    StreamHandle old;
    const uint32_t seed = 12345;
    ASSERT_EQ(rukNewStreamEx(old.out(), 0, 1, &seed), RUK_OK);
    EXPECT_EQ(draw_ints(old.get(), 5), mcg31m1_sequence(seed, 5));
}

// Nearest double to x (2^31 + 1) 2^-62, that is x times the double 1/M,
// by an integer route: the product fits 62 bits and converts with one rounding.
double scaled_by_inverse_modulus(uint32_t x) {
    return std::ldexp(static_cast<double>(uint64_t{x} * 0x80000001u), -62);
}

TEST(Mcg31m1, RealOutputScalesEachValue) {
    StreamHandle h;
    new_stream(h, 1);
    double first[2];
    rukdBRngMCG31M1(h.get(), 2, first, 0.0, 1.0);
    uint64_t bits;
    std::memcpy(&bits, &first[0], 8);
    EXPECT_EQ(bits, 0x3E00000000200000u);  // 1/M
    EXPECT_EQ(first[1], scaled_by_inverse_modulus(1132489760));

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
        ruksBRngMCG31M1(s.get(), static_cast<int>(n), rs.data(), static_cast<float>(iv.a),
                        static_cast<float>(iv.b));
        // x c is exact and rounded once; c itself is off by 2^-62 relative,
        // which matters only where a + x c cancels: allow it as an absolute
        // 2^-59 max(|a|, |b|).
        const long double slack = std::ldexp(std::max(std::fabs(iv.a), std::fabs(iv.b)), -59);
        double worst_d = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const long double exact = static_cast<long double>(x[i]) * (iv.b - iv.a) / kM + iv.a;
            const long double err = std::max(0.0L, std::fabs(rd[i] - exact) - slack);
            worst_d = std::max(worst_d, static_cast<double>(err / xt::ulp_of_double(exact)));
            if (iv.a == 0.0) {
                EXPECT_EQ(rd[i], scaled_by_inverse_modulus(x[i]));
            }
        }
        EXPECT_LE(worst_d, 0.51) << iv.a << " " << iv.b;
        // Single precision: c, the product and the sum each round to single.
        const float c = static_cast<float>(static_cast<float>(iv.b - iv.a) * static_cast<long double>(0x1.00000002p-31));
        for (std::size_t i = 0; i < n; ++i) {
            volatile float p = static_cast<float>(x[i]) * c;
            ASSERT_EQ(rs[i], p + static_cast<float>(iv.a)) << i;
        }
    }
    // The single kernel is not the double one rounded: some results differ.
    StreamHandle s;
    new_stream(s, 987654321);
    std::vector<float> rs(n);
    ruksBRngMCG31M1(s.get(), static_cast<int>(n), rs.data(), 0.0f, 1.0f);
    std::size_t differ = 0;
    for (std::size_t i = 0; i < n; ++i)
        differ += rs[i] != static_cast<float>(scaled_by_inverse_modulus(x[i]));
    EXPECT_GT(differ, 0u);
}

TEST(Mcg31m1, OneCallEqualsAnySplit) {
    const int n = static_cast<int>(xt::scaled(5000));
    std::mt19937 rng(4);
    StreamHandle whole_i, whole_d, whole_s;
    new_stream(whole_i, 42);
    new_stream(whole_d, 42);
    new_stream(whole_s, 42);
    const auto ints = draw_ints(whole_i.get(), n);
    std::vector<double> dbl(static_cast<std::size_t>(n));
    std::vector<float> flt(static_cast<std::size_t>(n));
    rukdBRngMCG31M1(whole_d.get(), n, dbl.data(), -2.0, 3.0);
    ruksBRngMCG31M1(whole_s.get(), n, flt.data(), -2.0f, 3.0f);
    EXPECT_EQ(ints, mcg31m1_sequence(42, static_cast<std::size_t>(n)));
    // All three kernels leave x at the same next value.
    const uint32_t next = mcg31m1_sequence(42, static_cast<std::size_t>(n) + 1).back();
    {
        StreamHandle i, d, s;
        for (StreamHandle* h : {&i, &d, &s}) new_stream(*h, 42);
        std::vector<uint32_t> ri(static_cast<std::size_t>(n));
        std::vector<double> rd(ri.size());
        std::vector<float> rf(ri.size());
        rukiBRngMCG31M1(i.get(), n, ri.data());
        rukdBRngMCG31M1(d.get(), n, rd.data(), -2.0, 3.0);
        ruksBRngMCG31M1(s.get(), n, rf.data(), -2.0f, 3.0f);
        EXPECT_EQ(next_x(i.get()), next);
        EXPECT_EQ(next_x(d.get()), next);
        EXPECT_EQ(next_x(s.get()), next);
    }

    for (int trial = 0; trial < 5; ++trial) {
        StreamHandle pi, pd, ps;
        new_stream(pi, 42);
        new_stream(pd, 42);
        new_stream(ps, 42);
        std::vector<uint32_t> ri(static_cast<std::size_t>(n));
        std::vector<double> rd(static_cast<std::size_t>(n));
        std::vector<float> rf(static_cast<std::size_t>(n));
        for (int done = 0; done < n;) {
            // Blocks of 1 to 13 (around the rounds of five and the pairs),
            // sometimes large; the real kernels also get empty calls.
            int take = trial == 4 ? 1 + static_cast<int>(rng() % 700)
                                  : 1 + static_cast<int>(rng() % 13);
            take = std::min(take, n - done);
            rukiBRngMCG31M1(pi.get(), take, &ri[done]);
            rukdBRngMCG31M1(pd.get(), 0, nullptr, -2.0, 3.0);
            rukdBRngMCG31M1(pd.get(), take, &rd[done], -2.0, 3.0);
            ruksBRngMCG31M1(ps.get(), take, &rf[done], -2.0f, 3.0f);
            done += take;
        }
        EXPECT_EQ(ri, ints) << trial;
        EXPECT_EQ(0, std::memcmp(rd.data(), dbl.data(), rd.size() * sizeof(double))) << trial;
        EXPECT_EQ(0, std::memcmp(rf.data(), flt.data(), rf.size() * sizeof(float))) << trial;
    }
}

TEST(Mcg31m1, CountsOfZeroAndBelow) {
    const auto seq = mcg31m1_sequence(555, 4);
    // The integer kernel always writes r[0]; a nonzero even part of the count
    // (negative counts have one) writes r[1] too.
    struct Case {
        int32_t n;
        int written;
    };
    for (const Case c : {Case{0, 1}, Case{1, 1}, Case{-1, 2}, Case{-2, 2}, Case{-7, 2},
                         Case{INT32_MIN, 2}}) {
        StreamHandle h;
        new_stream(h, 555);
        uint32_t r[4] = {0xDEAD, 0xDEAD, 0xDEAD, 0xDEAD};
        rukiBRngMCG31M1(h.get(), c.n, r);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(r[i], i < c.written ? seq[i] : 0xDEADu) << c.n;
        EXPECT_EQ(next_x(h.get()), seq[c.written]) << c.n;
    }
    // The real kernels write nothing and keep x.
    for (int32_t n : {0, -1, INT32_MIN}) {
        StreamHandle h;
        new_stream(h, 555);
        double d = 7.0;
        float f = 7.0f;
        EXPECT_EQ(rukdBRngMCG31M1(h.get(), n, &d, 0.0, 1.0), RUK_OK);
        EXPECT_EQ(ruksBRngMCG31M1(h.get(), n, &f, 0.0f, 1.0f), RUK_OK);
        EXPECT_EQ(d, 7.0);
        EXPECT_EQ(f, 7.0f);
        EXPECT_EQ(next_x(h.get()), seq[0]);
    }
}

TEST(Mcg31m1, LeapfrogDealsInterleavedSubsequences) {
    const std::size_t per_stream = 257;
    for (int32_t stride : {1, 2, 3, 5, 7, 16, 1000}) {
        const auto parent = mcg31m1_sequence(31337, per_stream * static_cast<std::size_t>(stride));
        for (int32_t k = 0; k < stride; k += (stride > 20 ? 97 : 1)) {
            StreamHandle h;
            new_stream(h, 31337);
            ASSERT_EQ(rukLeapfrogStream(h.get(), k, stride), RUK_OK);
            // Integer and real kernels both follow the new multiplier.
            StreamHandle twin;
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
    EXPECT_EQ(draw_ints(c.get(), 5), std::vector<uint32_t>(5, mcg31m1_sequence(31337, 4)[3]));
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
    // A whole period returns to the start; skips add up.
    StreamHandle h;
    new_stream(h, 2024);
    ASSERT_EQ(rukSkipAheadStream(h.get(), 0x7FFFFFFE), RUK_OK);  // period 2^31 - 2
    EXPECT_EQ(next_x(h.get()), 2024u);
    StreamHandle twice, once;
    new_stream(twice, 9);
    new_stream(once, 9);
    rukSkipAheadStream(twice.get(), 1 << 30);
    rukSkipAheadStream(twice.get(), 123);
    rukSkipAheadStream(once.get(), (1 << 30) + 123);
    EXPECT_EQ(next_x(twice.get()), next_x(once.get()));
    // After a leapfrog a skip counts the stream's own steps.
    StreamHandle lf;
    new_stream(lf, 9);
    rukLeapfrogStream(lf.get(), 2, 5);
    rukSkipAheadStream(lf.get(), 4);
    EXPECT_EQ(next_x(lf.get()), mcg31m1_sequence(9, 23)[22]);
}

TEST(GeneratorWords, ConvertAsUnsigned) {
    for (uint32_t w : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0x80000001u, 0xFFFFFFFFu})
        EXPECT_EQ(xeb::rng::word_value(w), static_cast<long double>(w)) << w;
}

TEST(Mcg31m1, RefusedSplitsAndMethodsLeaveTheState) {
    StreamHandle h;
    new_stream(h, 77);
    EXPECT_EQ(rukSkipAheadStream(h.get(), -1), RUK_ERROR_NO_SKIP);
    EXPECT_EQ(rukLeapfrogStream(h.get(), -1, 4), RUK_ERROR_NO_LEAPFROG);
    EXPECT_EQ(rukLeapfrogStream(h.get(), 1, -4), RUK_ERROR_NO_LEAPFROG);
    EXPECT_EQ(rukBRngMCG31M1InitStream(3, h.get(), 0, nullptr), RUK_ERROR_UNKNOWN_METHOD);
    EXPECT_EQ(rukBRngMCG31M1InitStream(-1, h.get(), 0, nullptr), RUK_ERROR_UNKNOWN_METHOD);
    EXPECT_EQ(draw_ints(h.get(), 4), mcg31m1_sequence(77, 4));
}

}  // namespace
