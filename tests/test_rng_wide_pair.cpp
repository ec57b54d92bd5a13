// The 64-bit-significand arithmetic of rng/wide_pair.h against the x87's
// own (long double at its default 64-bit precision, rounding to nearest):
// pairs rounded on every quarter of the 64-bit grid around heads at and
// beside binade edges, products and sums of WH's terms, and the float
// nearest a pair where rounding the head alone would round twice.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "rng/wh.h"
#include "rng/wide_pair.h"
#include "support/scale.h"

namespace {

using Pair = xeb::wide::Pair<1>;
using D1 = xeb::simd::Vec<double, 1>;
using xeb::wide::round_to_64;

long double value(Pair p) { return static_cast<long double>(p.hi.v) + p.lo.v; }

TEST(WidePair, RoundsToSixtyFourBitsOnTiesAndAtBinadeEdges) {
    // lo = k 2^(E-65) for every k with |lo| <= ulp(hi)/2: ties of the grid
    // q = 2^(E-63) (k = 2 mod 4), and below a power of two, where the grid is
    // q/2, ties at odd k.
    for (const double hi : {1.0, 0x1.8p0, 0x1.fffffffffffffp0, 0x1.0000000000001p0, 0x1p-24, 3.0,
                            0x1.8p-20, 2.0, -1.0, -0x1.0000000000001p3, 0x1p-1000, 0x1.fffffffffffffp999}) {
        int e = 0;
        std::frexp(hi, &e);
        for (int k = -4096; k <= 4096; ++k) {
            const double lo = std::ldexp(static_cast<double>(k), e - 66);
            const Pair r = round_to_64(Pair{D1{hi}, D1{lo}});
            ASSERT_EQ(value(r), static_cast<long double>(hi) + lo) << hi << " k=" << k;
            ASSERT_LE(std::fabs(r.lo.v), std::ldexp(1.0, e - 54)) << hi << " k=" << k;
        }
    }
}

TEST(WidePair, ProductsAndSumsOfWhTermsAsTheX87) {
    std::mt19937_64 rng(22);
    const int n = static_cast<int>(xt::scaled(200000, 20000));
    for (int i = 0; i < n; ++i) {
        const xeb::rng::WhParameters& p = xeb::rng::kWhParameters[rng() % xeb::rng::kWhSets];
        Pair s{};
        long double want = 0;
        for (int c = 3; c >= 0; --c) {
            // Components anywhere in 1 .. m - 1, and at its ends.
            const uint32_t m = p.modulus[c];
            const uint32_t x = i % 7 == 0 ? (c & 1 ? m - 1 : 1) : 1 + static_cast<uint32_t>(rng() % (m - 1));
            const Pair t = round_to_64(xeb::wide::exact_product(D1{double(x)}, D1{p.reciprocal[c]}));
            const long double product = x * static_cast<long double>(p.reciprocal[c]);
            ASSERT_EQ(value(t), product) << x << " " << c;
            s = c == 3 ? t : xeb::wide::sum_to_64(s, t);
            want = c == 3 ? product : want + product;
            ASSERT_EQ(value(s), want) << i << " " << c;
        }
    }
}

TEST(WidePair, NearestFloatWithoutDoubleRounding) {
    // Heads halfway between floats with tails either way or none, heads
    // just off a midpoint, and tails that alone decide.
    std::mt19937 rng(7);
    for (int i = 0; i < 30000; ++i) {
        const float f = std::ldexp(1.0f + static_cast<float>(rng() % (1u << 23)) * 0x1p-23f, static_cast<int>(rng() % 200) - 100);
        const double half = std::ldexp(1.0, std::ilogb(f) - 24) * (i & 1 ? 1 : -1);
        const double sign = i & 2 ? -1.0 : 1.0;
        const double nudge = (i >> 2) % 3 == 0 ? 0x1p-40 : 0;
        const double hi = sign * (f + half * (1 + nudge));
        for (const double tail : {0.0, 0x1p-60, -0x1p-60, 0x1p-30}) {
            const double lo = tail * std::fabs(hi);
            const float got = xeb::wide::to_float(Pair{D1{hi}, D1{lo}}).v;
            ASSERT_EQ(got, static_cast<float>(static_cast<long double>(hi) + lo)) << hi << " " << lo;
        }
    }
}

}  // namespace
