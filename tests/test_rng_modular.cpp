// Modular powers against step-by-step products and number-theoretic
// identities; the scalar helpers against libm floor and a 113-bit logarithm.
#include <gtest/gtest.h>
#include <quadmath.h>

#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>
#include <random>

#include "support/args.h"
#include "support/scale.h"
#include "accuracy/ulp.h"
#include "xebruk/xebruk.h"

namespace {

constexpr uint32_t kM31 = 0x7FFFFFFF;

uint32_t naive_pow(uint32_t a, int e, uint32_t m) {
    uint64_t r = 1 % m;
    for (int i = 0; i < e; ++i) r = r * a % m;
    return static_cast<uint32_t>(r);
}

TEST(PowMod, AgreesWithRepeatedProducts) {
    EXPECT_EQ(rukiPowMod(5, 0, 1), 1u);  // e = 0 answers 1 before the modulus
    EXPECT_EQ(rukiPowMod(5, 1, 1), 0u);
    EXPECT_EQ(rukiPowMod2P31M1(1132489760, 0), 1u);
    std::mt19937 rng(11);
    for (int trial = 0; trial < 200; ++trial) {
        const uint32_t m = trial < 100 ? static_cast<uint32_t>(rng()) | 1 : rng() % 1000 + 2;
        const uint32_t a = static_cast<uint32_t>(rng());
        const int e = static_cast<int>(rng() % 300) + 1;
        ASSERT_EQ(rukiPowMod(a, e, m), naive_pow(a, e, m)) << a << "^" << e << " mod " << m;
        const uint32_t b = a % kM31;
        ASSERT_EQ(rukiPowMod2P31M1(b, e), naive_pow(b, e, kM31)) << b << "^" << e;
    }
    // Large exponents: the two reductions agree, and 2^31 - 1 is prime, so
    // a^(M-1) = 1 and a^((M-1)/2) = +-1 for every base in 1 .. M-1.
    for (int trial = 0; trial < 200; ++trial) {
        const uint32_t a = rng() % (kM31 - 1) + 1;
        const int32_t e = static_cast<int32_t>(rng() & 0x7FFFFFFF);
        const uint32_t p = rukiPowMod2P31M1(a, e);
        ASSERT_EQ(p, rukiPowMod(a, e, kM31));
        ASSERT_NE(p, 0u);
        ASSERT_LT(p, kM31);
        ASSERT_EQ(rukiPowMod2P31M1(a, static_cast<int32_t>(kM31 - 1)), 1u);
        const uint32_t half = rukiPowMod2P31M1(a, static_cast<int32_t>((kM31 - 1) / 2));
        ASSERT_TRUE(half == 1 || half == kM31 - 1) << a;
    }
    // The generator's multiplier has full order: its square root of 1 is -1.
    EXPECT_EQ(rukiPowMod2P31M1(1132489760, (kM31 - 1) / 2), kM31 - 1);
}

TEST(PowMod, PowersModuloTwoToThe59) {
    constexpr uint64_t mask = (uint64_t{1} << 59) - 1;
    std::mt19937_64 rng(12);
    for (int trial = 0; trial < 300; ++trial) {
        const uint64_t a = rng() | 1;
        const int e = static_cast<int>(rng() % 200) + 1;
        unsigned __int128 r = 1;
        for (int i = 0; i < e; ++i) r = r * a & mask;
        const uint64_t got = rukiPowMod2P59(a, e);
        ASSERT_EQ(got, static_cast<uint64_t>(r)) << e;
        const int32_t big = static_cast<int32_t>(rng() & 0x7FFFFFFF);
        const uint64_t p = rukiPowMod2P59(a, big);
        ASSERT_EQ(p & 1, 1u);               // odd bases stay odd
        ASSERT_LE(p >> 32, 0x7FFFFFFu);     // the high half stays masked
        // Powers compose, and the odd residues mod 2^59 have exponent 2^57.
        const uint64_t a30 = rukiPowMod2P59(a, 1 << 30);
        ASSERT_EQ(a30, rukiPowMod2P59(rukiPowMod2P59(a, 1 << 15), 1 << 15));
        ASSERT_EQ(rukiPowMod2P59(a30, 1 << 27), 1u);
    }
    EXPECT_EQ(rukiPowMod2P59(12345, 0), 1u);
}

// Steps x[n] = c0 x[n-1] + c1 x[n-2] + c2 x[n-3] mod m one at a time.
void step_recurrence(uint32_t v[3], const uint32_t c[3], uint32_t m, int steps) {
    for (int i = 0; i < steps; ++i) {
        const unsigned __int128 x = static_cast<unsigned __int128>(c[0]) * v[2] +
                                    static_cast<unsigned __int128>(c[1]) * v[1] +
                                    static_cast<unsigned __int128>(c[2]) * v[0];
        v[0] = v[1];
        v[1] = v[2];
        v[2] = static_cast<uint32_t>(x % m);
    }
}

TEST(PowMod, CompanionMatrixJumpsTheRecurrence) {
    // The two components of a combined recurrence with moduli near 2^32.
    const uint32_t m1 = 4294967087u, m2 = 4294944443u;
    const uint32_t c1[3] = {0, 1403580, m1 - 810728};
    const uint32_t c2[3] = {527612, 0, m2 - 1370589};
    std::mt19937 rng(13);
    for (int trial = 0; trial < 60; ++trial) {
        const bool first = trial % 2 == 0;
        const uint32_t m = trial < 40 ? (first ? m1 : m2) : static_cast<uint32_t>(rng()) | 1;
        uint32_t c[3], v[3], w[3];
        for (int i = 0; i < 3; ++i) {
            c[i] = trial < 40 ? (first ? c1 : c2)[i] : static_cast<uint32_t>(rng());
            w[i] = v[i] = static_cast<uint32_t>(rng() % m);
        }
        const int e = static_cast<int>(rng() % 500) + 1;
        rukiVect3PowMod(v, c, m, e);
        step_recurrence(w, c, m, e);
        ASSERT_EQ(0, std::memcmp(v, w, sizeof v)) << trial << " e=" << e;
    }
    // Jumps compose: 2^20 and then 2^20 + 3 equal one jump of 2^21 + 3.
    uint32_t a[3] = {1, 2, 3}, b[3] = {1, 2, 3};
    rukiVect3PowMod(a, c1, m1, 1 << 20);
    rukiVect3PowMod(a, c1, m1, (1 << 20) + 3);
    rukiVect3PowMod(b, c1, m1, (1 << 21) + 3);
    EXPECT_EQ(0, std::memcmp(a, b, sizeof a));
    // e = 0 only reduces each element.
    uint32_t z[3] = {10, 4294967295u, 7};
    rukiVect3PowMod(z, c1, 7, 0);
    EXPECT_TRUE(z[0] == 3u && z[1] == 4294967295u % 7 && z[2] == 0u);
}

TEST(PowMod, NegativeExponentAndZeroModulusAreRefused) {
    // These would loop forever or divide by zero; they answer 0 instead.
    EXPECT_EQ(rukiPowMod(3, -1, 7), 0u);
    EXPECT_EQ(rukiPowMod(3, INT32_MIN, 7), 0u);
    EXPECT_EQ(rukiPowMod(3, 5, 0), 0u);
    EXPECT_EQ(rukiPowMod(3, 0, 0), 1u);
    EXPECT_EQ(rukiPowMod2P31M1(3, -2), 0u);
    EXPECT_EQ(rukiPowMod2P59(3, -2), 0u);
    const uint32_t c[3] = {1, 2, 3};
    uint32_t v[3] = {11, 12, 13};
    for (auto [m, e] : {std::pair{101u, -5}, std::pair{0u, 5}, std::pair{0u, 0}}) rukiVect3PowMod(v, c, m, e);
    EXPECT_TRUE(v[0] == 11u && v[1] == 12u && v[2] == 13u);
}

uint64_t bits(double x) {
    uint64_t u;
    std::memcpy(&u, &x, 8);
    return u;
}

TEST(ScalarHelpers, FloorMatchesLibm) {
    std::mt19937_64 rng(14);
    const double special[] = {-0.5, -0.0, 0.5, -4503599627370495.5, -1.0000000000000002, INFINITY, -INFINITY};
    for (std::size_t i = 0; i < xt::scaled(200000); ++i) {
        double x;
        uint64_t u = rng();
        std::memcpy(&x, &u, 8);
        if (i < std::size(special)) x = special[i];
        if (std::isnan(x)) continue;
        ASSERT_EQ(bits(rukdFloor(x)), bits(std::floor(x))) << x;
    }
    EXPECT_TRUE(std::isnan(rukdFloor(NAN)));
}

long double ln_reference(double x) { return static_cast<long double>(logq(x)); }

TEST(ScalarHelpers, LogarithmSpecialValues) {
    // ln(-1) is infinity times zero: the default NaN.
    const std::pair<double, uint64_t> cases[] = {
        {1.0, bits(0.0)}, {0.0, bits(-INFINITY)}, {-0.0, bits(-INFINITY)}, {INFINITY, bits(INFINITY)},
        {-1.0, 0xFFF8000000000000u}};
    for (const auto& [x, want] : cases) EXPECT_EQ(bits(rukdLn(x)), want) << x;
    for (double x : {-double(INFINITY), -4.9e-324, double(NAN)}) EXPECT_TRUE(std::isnan(rukdLn(x))) << x;
    EXPECT_EQ(ruksLn(1.0f), 0.0f);
    EXPECT_EQ(ruksLn(0.0f), -INFINITY);
    EXPECT_TRUE(std::isnan(ruksLn(-2.0f)));
    EXPECT_EQ(rukdSqrt(2.25), 1.5);
    EXPECT_TRUE(std::isnan(rukdSqrt(-1.0)));
}

TEST(ScalarHelpers, LogarithmWithinHalfAnUlp) {
    const std::size_t n = xt::scaled(100000);
    std::mt19937_64 rng(15);
    double worst = 0, worst_s = 0;
    for (std::size_t i = 0; i < n; ++i) {
        // Every binade of positive doubles, subnormals included, and the
        // neighbourhood of 1.
        double x;
        const uint64_t u = rng() & 0x7FEFFFFFFFFFFFFFu;
        std::memcpy(&x, &u, 8);
        if (i % 4 == 0) x = 1.0 + std::ldexp(static_cast<double>(rng() >> 11), -53) / 32 - 1.0 / 64;
        if (x == 0) continue;
        worst = std::max(worst, xt::ulp_error(rukdLn(x), ln_reference(x)));
        const float f = static_cast<float>(x);
        if (f > 0 && std::isfinite(f))
            worst_s = std::max(worst_s, xt::ulp_error(ruksLn(f), ln_reference(f)));
    }
    EXPECT_LE(worst, 0.501);
    EXPECT_LE(worst_s, 0.501);
}

}  // namespace
