// WH: the committed parameter sets against number theory done here (prime
// moduli, multipliers of full order), the fixed sets, ids, seeding rules,
// the sequence against the plain recurrence, jumps past 2^32, and states
// from outside the library.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <cstring>
#include <random>
#include <set>
#include <vector>

#include "rng/wh.h"
#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace {

using xeb::rng::kWhParameters;
using xeb::rng::WhParameters;
using xt::StreamHandle;
using Words = std::vector<uint32_t>;

uint64_t pow_mod(uint64_t a, uint64_t e, uint64_t m) {
    uint64_t r = 1 % m;
    for (a %= m; e; e >>= 1, a = a * a % m)
        if (e & 1) r = r * a % m;
    return r;
}

std::vector<uint64_t> prime_factors(uint64_t n) {
    std::vector<uint64_t> f;
    for (uint64_t d = 2; d * d <= n; ++d)
        if (n % d == 0) {
            f.push_back(d);
            while (n % d == 0) n /= d;
        }
    if (n > 1) f.push_back(n);
    return f;
}

TEST(WhParameters, PrimeModuliAndMultipliersOfFullOrder) {
    std::set<uint32_t> moduli;
    for (int k = 0; k < xeb::rng::kWhSets; ++k) {
        const WhParameters& p = kWhParameters[k];
        for (int i = 0; i < 4; ++i) {
            const uint32_t m = p.modulus[i], a = p.multiplier[i];
            ASSERT_TRUE(m >= 16718909 && m <= 16776971) << k;
            const auto f = prime_factors(m);
            ASSERT_TRUE(f.size() == 1 && f[0] == m) << m << " is not prime";
            ASSERT_TRUE(a >= 112 && a <= 127) << k;
            // a generates the group mod m: no a^((m-1)/q) is 1.
            for (uint64_t q : prime_factors(m - 1))
                ASSERT_NE(pow_mod(a, (m - 1) / q, m), 1u) << a << " mod " << m;
            ASSERT_EQ(p.reciprocal[i], 1.0 / m) << k;
            // The periods of a set's components share only the factor 2.
            for (int j = 0; j < i; ++j) ASSERT_EQ(std::gcd(m - 1, p.modulus[j] - 1), 2u) << k;
            // No modulus serves twice, so no two sets are alike.
            ASSERT_TRUE(moduli.insert(m).second) << m << " in set " << k;
        }
    }
    // The fixed sets: sub-id, multipliers, moduli.
    const uint32_t fixed[4][9] = {
        {0, 125, 117, 127, 126, 16770647, 16770643, 16770623, 16770617},
        {1, 127, 126, 125, 123, 16770311, 16770283, 16770263, 16770209},
        {2, 125, 119, 123, 126, 16769807, 16769771, 16769749, 16769663},
        {272, 126, 127, 125, 124, 16766363, 16766359, 16766327, 16766231},
    };
    for (const auto& f : fixed)
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(kWhParameters[f[0]].multiplier[i], f[1 + i]) << f[0];
            EXPECT_EQ(kWhParameters[f[0]].modulus[i], f[5 + i]) << f[0];
        }
}

// Components x_i <- a_i x_i mod m_i, one element at a time.
struct Reference {
    uint64_t x[4], a[4], m[4];
    Reference(int sub, const Words& x0) {
        for (int i = 0; i < 4; ++i) {
            x[i] = x0[i];
            a[i] = kWhParameters[sub].multiplier[i];
            m[i] = kWhParameters[sub].modulus[i];
        }
    }
    void next(uint32_t* out) {
        for (int i = 0; i < 4; ++i) {
            out[i] = static_cast<uint32_t>(x[i]);
            x[i] = x[i] * a[i] % m[i];
        }
    }
};

Words draw(RukStream* s, int n) {
    Words w(4 * static_cast<std::size_t>(n) + 4, 0xDEADBEEF);
    rukiBRngWH(s, n, w.data());
    EXPECT_EQ(w.back(), 0xDEADBEEFu) << "n=" << n;  // four words an element, no more
    w.resize(4 * static_cast<std::size_t>(n));
    return w;
}

TEST(Wh, IdsSeedsAndTheSequence) {
    // Seed words mod m_i, 0 becoming 1; counts 0 to 3 read that many words,
    // any other count four (a fourth word here shows what was read).  Ids
    // 4 .. 276 of the older table are sets 0 .. 272 too.
    const uint32_t m0 = kWhParameters[9].modulus[0], m3 = kWhParameters[9].modulus[3];
    struct Case {
        int32_t id, sub, n;
        Words seed, x;
    };
    const Case cases[] = {
        {RUK_BRNG_WH + 9, 9, 0, {9, 9, 9, 9}, {1, 1, 1, 1}},
        {RUK_BRNG_WH + 9, 9, 1, {m0, 9, 9, 9}, {1, 1, 1, 1}},
        {RUK_BRNG_WH + 9, 9, 3, {0, 0, 7, 9}, {1, 1, 7, 1}},
        {RUK_BRNG_WH + 9, 9, 4, {0, 0, 0, 0}, {1, 1, 1, 1}},
        {RUK_BRNG_WH + 9, 9, -1, {2, 3, 4, m3 + 5}, {2, 3, 4, 5}},
        {RUK_BRNG_WH + 9, 9, 7, {m0 + 1, 3, 4, 5}, {1, 3, 4, 5}},
        {4, 0, 4, {5, 6, 7, 8}, {5, 6, 7, 8}},
        {276, 272, 4, {5, 6, 7, 8}, {5, 6, 7, 8}},
        {RUK_BRNG_WH + 272, 272, 4, {5, 6, 7, 8}, {5, 6, 7, 8}},
    };
    std::mt19937 rng(9);
    for (const Case& c : cases) {
        StreamHandle h;
        ASSERT_EQ(rukNewStreamEx(h.out(), c.id, c.n, c.seed.data()), RUK_OK);
        Reference ref(c.sub, c.x);
        const int n = 3000;
        Words got(4 * n), want(4 * n);
        for (int done = 0, take; done < n; done += take) {
            take = std::min(static_cast<int>(rng() % 40), n - done);
            const Words w = draw(h.get(), take);
            std::copy(w.begin(), w.end(), got.begin() + 4 * done);
        }
        for (int i = 0; i < n; ++i) ref.next(&want[4 * i]);
        EXPECT_EQ(got, want) << c.id << " n=" << c.n;
    }
}

TEST(Wh, JumpsPastTwoTo32) {
    // Skips adding up past 2^32 land on x_i a_i^k,
    StreamHandle h;
    const uint32_t seed[4] = {101, 202, 303, 404};
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_WH + 200, 4, seed), RUK_OK);
    for (int i = 0; i < 3; ++i) ASSERT_EQ(rukSkipAheadStream(h.get(), 0x7FFFFFFF), RUK_OK);
    // and the widest leapfrog deals elements from past 2^32 in the parent.
    StreamHandle wide;
    ASSERT_EQ(rukNewStreamEx(wide.out(), RUK_BRNG_WH + 200, 4, seed), RUK_OK);
    ASSERT_EQ(rukLeapfrogStream(wide.get(), 0x7FFFFFFE, 0x7FFFFFFF), RUK_OK);
    const Words got = draw(h.get(), 1), dealt = draw(wide.get(), 3);
    const WhParameters& p = kWhParameters[200];
    for (int i = 0; i < 4; ++i) {
        const uint64_t a = p.multiplier[i], m = p.modulus[i];
        EXPECT_EQ(got[i], seed[i] * pow_mod(a, 3 * uint64_t{0x7FFFFFFF}, m) % m);
        for (int j = 0; j < 3; ++j)
            EXPECT_EQ(dealt[4 * j + i], seed[i] * pow_mod(a, 0x7FFFFFFE + j * uint64_t{0x7FFFFFFF}, m) % m);
    }
}

TEST(Wh, StatesFromOutsideTakeTheIntegerRemainder) {
    // Components at or above their moduli (a file may hold any word) are
    // handed out as they stand and advanced by the 64-bit remainder.
    StreamHandle h;
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_WH, 0, nullptr), RUK_OK);
    const uint32_t x[4] = {0xFFFFFFF0u, 16770647u + 3, 0x80000001u, 5};
    std::memcpy(reinterpret_cast<unsigned char*>(h.get()) + 16, x, sizeof x);
    Reference ref(0, Words(x, x + 4));
    Words want(4 * 20);
    for (int i = 0; i < 20; ++i) ref.next(&want[4 * i]);
    EXPECT_EQ(draw(h.get(), 20), want);
}

}  // namespace
