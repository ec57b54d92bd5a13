// MRG32K3A, MCG59 and R250 against references written here (the published
// MRG32K3A outputs and jump matrices, big-integer powers, a plain R250),
// and, with WH, what every linear generator keeps: block splits, real
// output against its words, skip-ahead and leapfrog against drawing, and
// refusals that leave the state.  (Stream files of each, and the states
// their loads refuse, are in test_rng_file.)
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "rng/modular.h"
#include "rng/wh.h"
#include "support/control_words.h"
#include "support/scale.h"
#include "support/streams.h"
#include "accuracy/ulp.h"
#include "xebruk/xebruk.h"

namespace {

using xt::StreamHandle;
using Words = std::vector<uint32_t>;
using Bytes = std::vector<unsigned char>;
using u128 = unsigned __int128;

constexpr uint64_t kM1 = 4294967087u, kM2 = 4294944443u;
constexpr uint64_t kMask59 = (uint64_t{1} << 59) - 1;
constexpr int kWhSub = 137;

RukBrngEntry row_of(int32_t id) {
    RukBrngEntry e{};
    EXPECT_EQ(rukGetBrngProperties(id, &e), RUK_OK);
    return e;
}

void make(StreamHandle& h, int32_t id, const Words& seed) {
    ASSERT_EQ(rukNewStreamEx(h.out(), id, static_cast<int32_t>(seed.size()), seed.data()), RUK_OK);
}

// n elements of the integer kernel, as 32-bit words.
Words words(RukStream* s, int n) {
    const RukBrngEntry e = row_of(s->brngId);
    Words w(static_cast<std::size_t>(n) * static_cast<std::size_t>(e.wordSize) / 4);
    e.iKernel(s, n, w.data());
    return w;
}

Bytes state(RukStream* s) {
    const auto* p = reinterpret_cast<const unsigned char*>(s);
    return Bytes(p + 16, p + row_of(s->brngId).streamSize);
}

// The four generators, each with the exact value on (0, 1) of an element
// given by its words.
struct Linear {
    const char* name;
    int32_t id;
    Words seed;
    bool jumps;  // leapfrog (MCG59, WH) or skip-ahead (those and MRG32K3A)
    bool leapfrog;
    long double (*unit)(const uint32_t* w);
    int scale_bits;  // the scale's error is below 2^-scale_bits (b - a)
};
const Linear kLinear[] = {
    {"MRG32K3A", RUK_BRNG_MRG32K3A, {1, 2, 3, 4, 5, 6}, true, false,
     [](const uint32_t* w) { return w[0] / static_cast<long double>(kM1); }, 53},
    {"MCG59", RUK_BRNG_MCG59, {0x9E3779B9, 0x12345}, true, true,
     [](const uint32_t* w) { return std::ldexp(static_cast<long double>(w[0] | uint64_t{w[1]} << 32), -59); }, 62},
    {"R250", RUK_BRNG_R250, {4357}, false, false,
     [](const uint32_t* w) { return std::ldexp(static_cast<long double>(w[0]), -32); }, 62},
    {"WH", RUK_BRNG_WH + kWhSub, {11, 22, 33, 44}, true, true,
     [](const uint32_t* w) {
         long double s = 0;
         for (int i = 0; i < 4; ++i) s += w[i] / static_cast<long double>(xeb::rng::kWhParameters[kWhSub].modulus[i]);
         return s - std::floor(s);
     },
     50},
};

TEST(LinearGenerators, OneCallEqualsAnySplit) {
    std::mt19937 rng(22);
    const int n = static_cast<int>(xt::scaled(9000, 3000));
    for (const Linear& g : kLinear) {
        const RukBrngEntry e = row_of(g.id);
        StreamHandle whole, wd, ws;
        for (StreamHandle* h : {&whole, &wd, &ws}) make(*h, g.id, g.seed);
        const Words one = words(whole.get(), n);
        std::vector<double> d(n);
        std::vector<float> f(n);
        e.dKernel(wd.get(), n, d.data(), -3.0, 5.0);
        e.sKernel(ws.get(), n, f.data(), 0.0f, 1.0f);
        // All three kernels leave the same state.
        EXPECT_EQ(state(wd.get()), state(whole.get())) << g.name;
        EXPECT_EQ(state(ws.get()), state(whole.get())) << g.name;
        const std::size_t per = one.size() / static_cast<std::size_t>(n);
        for (int trial = 0; trial < 3; ++trial) {
            StreamHandle pi, pd, ps;
            for (StreamHandle* h : {&pi, &pd, &ps}) make(*h, g.id, g.seed);
            Words ri(one.size());
            std::vector<double> rd(d.size());
            std::vector<float> rf(f.size());
            // Small blocks, blocks around the chain and stretch thresholds,
            // long ones; the second run under the caller's odd control words.
            const int span[] = {14, 600, 3000};
            auto draw_all = [&] {
                for (int done = 0, take; done < n; done += take) {
                    take = std::min(1 + static_cast<int>(rng() % span[trial]), n - done);
                    e.iKernel(pi.get(), take, &ri[done * per]);
                    e.dKernel(pd.get(), 0, nullptr, -3.0, 5.0);
                    e.dKernel(pd.get(), take, &rd[done], -3.0, 5.0);
                    e.sKernel(ps.get(), take, &rf[done], 0.0f, 1.0f);
                }
            };
            if (trial == 1)
                xt::under_odd_control_words(draw_all);
            else
                draw_all();
            ASSERT_EQ(ri, one) << g.name << " " << trial;
            EXPECT_EQ(0, std::memcmp(rd.data(), d.data(), d.size() * sizeof(double))) << g.name;
            EXPECT_EQ(0, std::memcmp(rf.data(), f.data(), f.size() * sizeof(float))) << g.name;
            EXPECT_EQ(state(pi.get()), state(whole.get())) << g.name;
        }
    }
}

TEST(LinearGenerators, RealOutputScalesEachElement) {
    const int n = static_cast<int>(xt::scaled(20000));
    struct Interval {
        double a, b;
    };
    for (const Linear& g : kLinear)
        for (const Interval iv : {Interval{0, 1}, Interval{-3, 5}, Interval{1e6, 1e6 + 0.5}}) {
            const RukBrngEntry e = row_of(g.id);
            StreamHandle hi, hd, hs;
            for (StreamHandle* h : {&hi, &hd, &hs}) make(*h, g.id, g.seed);
            const Words w = words(hi.get(), n);
            std::vector<double> d(n);
            std::vector<float> f(n);
            e.dKernel(hd.get(), n, d.data(), iv.a, iv.b);
            e.sKernel(hs.get(), n, f.data(), static_cast<float>(iv.a), static_cast<float>(iv.b));
            const std::size_t per = w.size() / static_cast<std::size_t>(n);
            // The scale constants 1/m1 and WH's 1/m_i are doubles: allow their
            // error (2^-53 relative; WH: four of them in a sum below 4) on
            // top of half an ulp.
            const long double slack = std::ldexp(iv.b - iv.a, -g.scale_bits);
            double worst = 0, worst_single = 0;
            for (int i = 0; i < n; ++i) {
                const long double exact = iv.a + (static_cast<long double>(iv.b) - iv.a) * g.unit(&w[i * per]);
                const long double err = std::max(0.0L, std::fabs(d[i] - exact) - slack);
                worst = std::max(worst, static_cast<double>(err / xt::ulp_of_double(exact)));
                const long double err_s = std::max(0.0L, std::fabs(f[i] - exact) - slack);
                worst_single = std::max(worst_single, static_cast<double>(err_s / xt::ulp_of_float(exact)));
                // On (0, 1) with a scale of 2^-59 or 2^-32 the word scaled is
                // exact: each result is it rounded once.
                if (iv.a == 0 && g.scale_bits > 53) {
                    ASSERT_EQ(d[i], static_cast<double>(exact)) << g.name << " " << i;
                    ASSERT_EQ(f[i], static_cast<float>(exact)) << g.name << " " << i;
                }
            }
            EXPECT_LE(worst, 0.501) << g.name << " " << iv.a;
            EXPECT_LE(worst_single, 0.501) << g.name << " " << iv.a;
        }
}

// WH's reals are the x87's: s = ((x4 c4 + x3 c3) + x2 c2) + x1 c1 in the
// 64-bit significand, u = s - trunc(double(s)), u b rounded once; MCG59's
// are its word times 2^-59 b rounded once.  The classes form these in
// double lanes for a zero a and a power-of-two b: such b here, small,
// large and negative, in random splits, half under hostile control words,
// over enough elements that ties of the 64-bit roundings come by the
// thousand.
long double wh_unit(const uint32_t* w) {
    const xeb::rng::WhParameters& p = xeb::rng::kWhParameters[kWhSub];
    auto term = [&](int i) { return w[i] * static_cast<long double>(p.reciprocal[i]); };
    const long double s = term(3) + term(2) + term(1) + term(0);
    return s - static_cast<int>(static_cast<double>(s));
}
long double mcg59_unit(const uint32_t* w) {
    return std::ldexp(static_cast<long double>(w[0] | uint64_t{w[1]} << 32), -59);
}

TEST(LinearGenerators, RealsFromZeroAreTheWideValueRoundedOnce) {
    const int n = static_cast<int>(xt::scaled(1 << 17, 1 << 14));
    std::mt19937 rng(59);
    struct Generator {
        int32_t id;
        Words seed;
        long double (*unit)(const uint32_t*);
    };
    for (const Generator& g : {Generator{RUK_BRNG_WH + kWhSub, {11, 22, 33, 44}, wh_unit},
                               Generator{RUK_BRNG_MCG59, {0x9E3779B9, 0x12345}, mcg59_unit}}) {
        const RukBrngEntry e = row_of(g.id);
        StreamHandle hw;
        make(hw, g.id, g.seed);
        const Words w = words(hw.get(), n);
        const std::size_t per = w.size() / static_cast<std::size_t>(n);
        struct Scale {
            double b;
            float bs;  // a float subnormal among them
        };
        for (const Scale scale : {Scale{1.0, 1.0f}, Scale{0x1p-3, 0x1p-3f}, Scale{-4.0, -4.0f},
                                  Scale{0x1p-899, 0x1p-140f}, Scale{0x1p899, 0x1p100f}}) {
            const double b = scale.b;  // plain names: a lambda below captures them
            const float bs = scale.bs;
            StreamHandle hd, hs;
            make(hd, g.id, g.seed);
            make(hs, g.id, g.seed);
            std::vector<double> d(n);
            std::vector<float> f(n);
            for (int done = 0, take; done < n; done += take) {
                take = std::min(1 + static_cast<int>(rng() % 5000), n - done);
                auto fill = [&] {
                    e.dKernel(hd.get(), take, &d[done], 0.0, b);
                    e.sKernel(hs.get(), take, &f[done], 0.0f, bs);
                };
                if (rng() & 1) xt::under_odd_control_words(fill);
                else fill();
            }
            for (int i = 0; i < n; ++i) {
                const long double u = g.unit(&w[i * per]);
                ASSERT_EQ(d[i], static_cast<double>(u * b)) << g.id << " b=" << b << " " << i;
                ASSERT_EQ(f[i], static_cast<float>(u * bs)) << g.id << " b=" << bs << " " << i;
            }
            EXPECT_EQ(state(hd.get()), state(hw.get()));
            EXPECT_EQ(state(hs.get()), state(hw.get()));
        }
    }
}

// States whose element the classes' cheap exact sum cannot decide, put at
// several places of a call (lanes of both registers and past them) and
// the call held to the x87's value of each element: exact sums within
// 2^-61 of a midpoint of the doubles where the x87's seven roundings land
// on the other side (the distance in 2^-64 noted), and sums within 2^-47
// of 2 (x1 m2 = j mod m1, x3 m4 = k mod m3), where the integer part and
// the fraction's sign hang on the last roundings.  And states whose next
// step in a chain of L = 8 or 16 lanes (x <- x a^L mod m) has the
// remainder 1 or m - 1, or the largest product (x = m - 1), where the
// classes' quotient floor(x a^L (1/m)) is nearest to an integer.
TEST(LinearGenerators, WhElementsNearRoundingBoundaries) {
    using State = std::array<uint32_t, 4>;
    std::vector<State> states = {
        {10852085, 9361387, 14058427, 5082497},    // 0.37 from a midpoint
        {14389055, 7902831, 5936567, 5487008},     // 0.36, u near 2^-6
        {2174409, 10401779, 10143727, 14217959},   // 2.3
        {16578104, 14376629, 14941072, 7000416},   // 3.1
        {10373660, 12900273, 10871030, 13163442},  // 2.9, u near 0.8
        {5019731, 11741612, 11634416, 5119121},    // s below 2, u rounds to 1
        {5019731, 11741612, 5119143, 11634366},    // u = 5e-17
        {10896264, 5870806, 10936351, 5817183},    // u = -4e-17
        {11753066, 5014839, 11634416, 5119121},    // u = -7e-17
        {12629364, 4139395, 4188411, 12565094},   // S rounds below 2, s to 2: u = -2^-53
    };
    const xeb::rng::WhParameters& p = xeb::rng::kWhParameters[kWhSub];
    for (const int lanes : {8, 16}) {
        State one, below, largest;  // x a^L = 1, -1 mod m; x = m - 1
        for (int i = 0; i < 4; ++i) {
            const uint32_t m = p.modulus[i];
            const uint32_t inverse = rukiPowMod(rukiPowMod(p.multiplier[i], lanes, m), static_cast<int32_t>(m - 2), m);
            one[i] = inverse, below[i] = m - inverse, largest[i] = m - 1;
        }
        states.insert(states.end(), {one, below, largest});
    }
    const int n = 40;
    for (const auto& x : states)
        for (const int place : {0, 5, 11, 21}) {
            // The state `place` elements earlier: x_i a_i^-place.
            uint32_t earlier[4];
            for (int i = 0; i < 4; ++i) {
                const uint32_t m = p.modulus[i];
                earlier[i] = static_cast<uint32_t>(uint64_t{x[i]} * rukiPowMod(p.multiplier[i], m - 1 - place, m) % m);
            }
            StreamHandle h[3];
            for (StreamHandle& s : h) {
                make(s, RUK_BRNG_WH + kWhSub, {1});
                std::memcpy(reinterpret_cast<unsigned char*>(s.get()) + 16, earlier, sizeof earlier);
            }
            const Words w = words(h[0].get(), n);
            std::vector<double> d(n);
            std::vector<float> f(n);
            ASSERT_EQ(rukdBRngWH(h[1].get(), n, d.data(), 0.0, -0.125), RUK_OK);
            ASSERT_EQ(ruksBRngWH(h[2].get(), n, f.data(), 0.0f, 1.0f), RUK_OK);
            for (int i = 0; i < n; ++i) {
                const long double u = wh_unit(&w[4 * i]);
                ASSERT_EQ(d[i], static_cast<double>(u * -0.125)) << x[0] << " at " << place << ", element " << i;
                ASSERT_EQ(f[i], static_cast<float>(u)) << x[0] << " at " << place << ", element " << i;
            }
        }
}

TEST(LinearGenerators, JumpsAgainstDrawing) {
    for (const Linear& g : kLinear) {
        if (!g.jumps) continue;
        for (int32_t k : {0, 1, 2, 5, 256, 1000, 65537}) {
            StreamHandle skip, draw;
            make(skip, g.id, g.seed);
            make(draw, g.id, g.seed);
            ASSERT_EQ(rukSkipAheadStream(skip.get(), k), RUK_OK);
            if (k > 0) words(draw.get(), k);
            EXPECT_EQ(words(skip.get(), 10), words(draw.get(), 10)) << g.name << " " << k;
        }
        if (!g.leapfrog) continue;
        const int per_stream = 300;
        for (int32_t stride : {1, 2, 3, 7, 1000}) {
            StreamHandle parent;
            make(parent, g.id, g.seed);
            const Words all = words(parent.get(), per_stream * stride);
            const std::size_t per = all.size() / static_cast<std::size_t>(per_stream * stride);
            for (int32_t k : {0, stride / 2, stride - 1}) {
                StreamHandle h;
                make(h, g.id, g.seed);
                ASSERT_EQ(rukLeapfrogStream(h.get(), k, stride), RUK_OK);
                const Words got = words(h.get(), per_stream);
                for (int j = 0; j < per_stream; ++j)
                    ASSERT_EQ(0, std::memcmp(&got[j * per], &all[(k + j * stride) * per], per * 4))
                        << g.name << " stride " << stride << " k " << k << " j " << j;
            }
        }
    }
}

TEST(LinearGenerators, RefusalsLeaveTheState) {
    for (const Linear& g : kLinear) {
        StreamHandle h;
        make(h, g.id, g.seed);
        words(h.get(), 3);
        const Bytes before = state(h.get());
        const RukBrngEntry e = row_of(g.id);
        EXPECT_EQ(rukSkipAheadStream(h.get(), -1), RUK_ERROR_NO_SKIP) << g.name;
        EXPECT_EQ(rukLeapfrogStream(h.get(), g.leapfrog ? -1 : 1, 4), RUK_ERROR_NO_LEAPFROG) << g.name;
        EXPECT_EQ(rukLeapfrogStream(h.get(), 1, -4), RUK_ERROR_NO_LEAPFROG) << g.name;
        if (!g.jumps) {
            EXPECT_EQ(rukSkipAheadStream(h.get(), 5), RUK_ERROR_NO_SKIP);
        }
        for (int32_t method : {3, -1})
            EXPECT_EQ(e.initStream(method, h.get(), 0, nullptr), RUK_ERROR_UNKNOWN_METHOD);
        EXPECT_EQ(state(h.get()), before) << g.name;
        // Counts of zero and below write nothing and keep the state.
        double d = 7;
        float f = 7;
        uint32_t w[4] = {7, 7, 7, 7};
        for (int32_t n : {0, -1, INT32_MIN}) {
            e.iKernel(h.get(), n, w);
            e.dKernel(h.get(), n, &d, 0, 1);
            e.sKernel(h.get(), n, &f, 0, 1);
        }
        EXPECT_TRUE(d == 7 && f == 7 && w[0] == 7 && w[3] == 7) << g.name;
        EXPECT_EQ(state(h.get()), before) << g.name;
    }
}

// ---- MRG32K3A ---------------------------------------------------------------

// The recurrences as written, with signed remainders.
struct MrgReference {
    int64_t x[3], y[3];
    uint32_t next() {
        int64_t p = (1403580 * x[1] - 810728 * x[0]) % static_cast<int64_t>(kM1);
        int64_t q = (527612 * y[2] - 1370589 * y[0]) % static_cast<int64_t>(kM2);
        if (p < 0) p += kM1;
        if (q < 0) q += kM2;
        x[0] = x[1], x[1] = x[2], x[2] = p;
        y[0] = y[1], y[1] = y[2], y[2] = q;
        return static_cast<uint32_t>(p > q ? p - q : p - q + static_cast<int64_t>(kM1));
    }
};

using Matrix = std::array<uint64_t, 9>;
Matrix product(const Matrix& a, const Matrix& b, uint64_t m) {
    Matrix c{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            u128 s = 0;
            for (int k = 0; k < 3; ++k) s += static_cast<u128>(a[3 * i + k]) * b[3 * k + j];
            c[3 * i + j] = static_cast<uint64_t>(s % m);
        }
    return c;
}
// The one-step matrices of the two components on (x[n-3], x[n-2], x[n-1]),
// raised to the power 2^k by squaring, or to e.
Matrix step_matrix(int component) {
    return component == 1 ? Matrix{0, 1, 0, 0, 0, 1, kM1 - 810728, 1403580, 0}
                          : Matrix{0, 1, 0, 0, 0, 1, kM2 - 1370589, 0, 527612};
}
Matrix power(int component, uint64_t e) {
    const uint64_t m = component == 1 ? kM1 : kM2;
    Matrix r{1, 0, 0, 0, 1, 0, 0, 0, 1}, b = step_matrix(component);
    for (; e; e >>= 1, b = product(b, b, m))
        if (e & 1) r = product(b, r, m);
    return r;
}

TEST(Mrg32k3a, PublishedOutputsSeedsAndSequence) {
    // P. L'Ecuyer's first three outputs from the seed 12345 (six times),
    // which divide by m1 + 1.
    StreamHandle h;
    make(h, RUK_BRNG_MRG32K3A, Words(6, 12345));
    const Words z = words(h.get(), 3);
    const double published[3] = {0.12701112204657714, 0.3185275653967945, 0.3091860155832701};
    for (int i = 0; i < 3; ++i) EXPECT_EQ(z[i] / 4294967088.0, published[i]) << i;

    // Seeds: missing words are 1; a word reduces once (m1 in the last three
    // places has m2 taken off); all-zero components get x1 (y1) = 1; a
    // seventh word is ignored.  The older table's id 2 is the same row.
    struct Case {
        int32_t id;
        Words seed;
        int64_t x[3], y[3];
    };
    const int64_t m1 = kM1;
    const Case cases[] = {
        {RUK_BRNG_MRG32K3A, {}, {1, 1, 1}, {1, 1, 1}},
        {RUK_BRNG_MRG32K3A, {5, 6}, {5, 6, 1}, {1, 1, 1}},
        {RUK_BRNG_MRG32K3A, {uint32_t(kM1), uint32_t(kM1), uint32_t(kM1), 0, 0, 0}, {1, 0, 0}, {1, 0, 0}},
        {RUK_BRNG_MRG32K3A, {7, uint32_t(kM1) + 3, 8, uint32_t(kM1), 0xFFFFFFFF, 9, 1234}, {7, 3, 8}, {m1 - int64_t(kM2), 0xFFFFFFFFLL - int64_t(kM2), 9}},
        {2, {9, 8, 7, 6, 5, 4}, {9, 8, 7}, {6, 5, 4}},
        // The first step gives p = q (= 1996432): z is m1.
        {RUK_BRNG_MRG32K3A, {1, 2, 3, 1165300541, 9, 0}, {1, 2, 3}, {1165300541, 9, 0}},
        // The first step gives x = 0 and y = 0: exact multiples of the
        // moduli in the reductions.
        {RUK_BRNG_MRG32K3A, {184888585, 1, 5, 360363334, 7, 1}, {184888585, 1, 5}, {360363334, 7, 1}},
        // The first step gives y = m2 - 1 from t = k m2 + m2 - 1 (found by
        // search) where t (1/m2) rounded to nearest reaches k + 1.
        {RUK_BRNG_MRG32K3A, {1, 2, 3, 1535397874, 9, 2436017239}, {1, 2, 3}, {1535397874, 9, 2436017239}},
    };
    std::mt19937 rng(3);
    for (const Case& c : cases) {
        StreamHandle s;
        make(s, c.id, c.seed);
        MrgReference ref{{c.x[0], c.x[1], c.x[2]}, {c.y[0], c.y[1], c.y[2]}};
        // Long enough for the chains of the large calls.
        const int n = static_cast<int>(xt::scaled(60000, 5000));
        Words got(n);
        for (int done = 0, take; done < n; done += take) {
            // The first call starts a chain at the seed.
            take = std::min(done == 0 ? 4096 : static_cast<int>(rng() % 9000), n - done);
            rukiBRngMRG32K3A(s.get(), take, &got[done]);
        }
        for (int i = 0; i < n; ++i) ASSERT_EQ(got[i], ref.next()) << c.seed.size() << " " << i;
    }
}

// Doubles and floats from a = 0 are each word times c = b (1/m1), the
// product rounded to the 64-bit significand and then to double or float;
// where the first rounding lands on a midpoint of the coarser grid, that
// is not the product rounded once (for doubles about one output in 4000,
// so a million outputs meet it).  Every b here, in random splits and under
// hostile control words: the double arithmetic must find each such output.
TEST(Mrg32k3a, RealsFromZeroRoundThroughTheWideSignificand) {
    const int n = static_cast<int>(xt::scaled(1 << 20, 1 << 16));
    std::mt19937 rng(76);
    // Outputs on (0, b) in random splits against the words times c.
    const auto check = [&](auto b, auto kernel) {
        using T = decltype(b);
        StreamHandle hw, hr;
        make(hw, RUK_BRNG_MRG32K3A, {11, 22, 33, 44, 55, 66});
        make(hr, RUK_BRNG_MRG32K3A, {11, 22, 33, 44, 55, 66});
        const Words z = words(hw.get(), n);
        std::vector<T> r(n);
        xt::under_odd_control_words([&] {
            for (int done = 0, take; done < n; done += take) {
                take = std::min(1 + static_cast<int>(rng() % 70000), n - done);
                kernel(hr.get(), take, &r[done], T{0}, b);
            }
        });
        const long double c = static_cast<long double>(b) * 0x1.000000d10000bp-32;
        for (int i = 0; i < n; ++i) ASSERT_EQ(r[i], static_cast<T>(z[i] * c)) << b << " " << i << " " << z[i];
        EXPECT_EQ(state(hr.get()), state(hw.get())) << b;
    };
    // c normal, and small, large, a power of two, negative; and c outside
    // the normal range of doubles (subnormal, or m1 c beyond it).
    for (const double b : {1.0, 3.0, 0.7, -2.0, 0x1p-1000, 1e300, 0x1p32, 1e308, 0x1p-1050})
        check(b, rukdBRngMRG32K3A);
    // Floats the same way, from double products: c = b/m1 also below and
    // above the normal range of floats; the last three b (found by search)
    // put an output within two ulps of double of a midpoint of the float
    // grid, where the double product alone rounds wrong.
    for (const float b : {1.0f, 3.0f, 0.7f, -2.0f, 0x1p-100f, 1e30f, 0x1p32f, 0x1p-110f, 0x1p100f, 0x1.270294p+0f,
                          0x1.007f34p-1f, 0x1.e6859cp+0f})
        check(b, ruksBRngMRG32K3A);
}

TEST(Mrg32k3a, JumpsOfTwoTo76AndPastTwoTo32) {
    // The published matrices of 2^76 steps, against the squarings here and
    // the library's own matrix power (2^38 twice).
    const Matrix a1p76 = {82758667u,   1871391091u, 4127413238u, 3672831523u, 69195019u,
                          1871391091u, 3672091415u, 3528743235u, 69195019u};
    const Matrix a2p76 = {1511326704u, 3759209742u, 1610795712u, 4292754251u, 1511326704u,
                          3889917532u, 3859662829u, 4292754251u, 3708466080u};
    Matrix sq[2] = {step_matrix(1), step_matrix(2)};
    for (int k = 0; k < 76; ++k)
        for (int c = 0; c < 2; ++c) sq[c] = product(sq[c], sq[c], c == 0 ? kM1 : kM2);
    EXPECT_EQ(sq[0], a1p76);
    EXPECT_EQ(sq[1], a2p76);
    using xeb::rng::matrix_power;
    const auto one1 = xeb::rng::companion_matrix(0, 1403580, uint32_t(kM1) - 810728);
    const auto one2 = xeb::rng::companion_matrix(527612, 0, uint32_t(kM2) - 1370589);
    const auto lib1 = matrix_power(matrix_power(one1, uint64_t{1} << 38, kM1), uint64_t{1} << 38, kM1);
    const auto lib2 = matrix_power(matrix_power(one2, uint64_t{1} << 38, kM2), uint64_t{1} << 38, kM2);
    for (int i = 0; i < 9; ++i) EXPECT_TRUE(lib1[i] == a1p76[i] && lib2[i] == a2p76[i]) << i;

    // Skips that add up past 2^32 land where the matrix powers say, and
    // draw on from there as the recurrence does.
    StreamHandle h;
    make(h, RUK_BRNG_MRG32K3A, Words(6, 12345));
    for (int i = 0; i < 3; ++i) ASSERT_EQ(rukSkipAheadStream(h.get(), 0x7FFFFFFF), RUK_OK);
    ASSERT_EQ(rukSkipAheadStream(h.get(), 5), RUK_OK);
    const uint64_t steps = 3 * uint64_t{0x7FFFFFFF} + 5;
    MrgReference ref{};
    for (int c = 0; c < 2; ++c) {
        const Matrix p = power(c + 1, steps);
        int64_t* v = c == 0 ? ref.x : ref.y;
        for (int i = 0; i < 3; ++i) {
            u128 s = 0;
            for (int k = 0; k < 3; ++k) s += static_cast<u128>(p[3 * i + k]) * 12345;
            v[i] = static_cast<int64_t>(s % (c == 0 ? kM1 : kM2));
        }
    }
    for (uint32_t z : words(h.get(), 1000)) ASSERT_EQ(z, ref.next());
}

// ---- MCG59 ----------------------------------------------------------------

uint64_t pow59(uint64_t a, uint64_t e) {  // a^e mod 2^59: products wrap mod 2^64
    uint64_t r = 1;
    for (; e; e >>= 1, a *= a)
        if (e & 1) r *= a;
    return r & kMask59;
}
uint64_t element59(const Words& w, int i) { return w[2 * i] | uint64_t{w[2 * i + 1]} << 32; }

TEST(Mcg59, MillionthValueSeedsAndJumps) {
    const uint64_t a = 302875106592253u;  // 13^13
    // x[10^6] from x[0] = 1, by drawing in uneven blocks and by skipping.
    StreamHandle far, skip;
    make(far, RUK_BRNG_MCG59, {1});
    make(skip, RUK_BRNG_MCG59, {1});
    std::vector<uint64_t> block(997);
    for (int drawn = 0, n = 1, take; drawn < 1000000; n = n % 997 + 1, drawn += take) {
        take = std::min(n, 1000000 - drawn);
        rukiBRngMCG59(far.get(), take, block.data());
    }
    ASSERT_EQ(rukSkipAheadStream(skip.get(), 1000000), RUK_OK);
    EXPECT_EQ(element59(words(far.get(), 1), 0), pow59(a, 1000000));
    EXPECT_EQ(element59(words(skip.get(), 1), 0), pow59(a, 1000000));

    // Seeds: low word, high word cut to 27 bits, zero becomes 1; the older
    // table's id 3 is the same row.
    struct Case {
        int32_t id;
        Words seed;
        uint64_t x;
    };
    for (const Case& c : {Case{RUK_BRNG_MCG59, {0}, 1}, Case{RUK_BRNG_MCG59, {0, 0x8000000}, 1},
                          Case{RUK_BRNG_MCG59, {}, 1}, Case{RUK_BRNG_MCG59, {5, 0xF0000002}, 0x200000005},
                          Case{RUK_BRNG_MCG59, {6, 7, 8}, 0x700000006}, Case{3, {0xFFFFFFFF}, 0xFFFFFFFF}}) {
        StreamHandle h;
        make(h, c.id, c.seed);
        const Words w = words(h.get(), 3);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(element59(w, i), c.x * pow59(a, i) & kMask59) << c.seed.size();
    }

    // x = 2^58 + 2^34 + 1 lies just above a midpoint of floats: rounded once,
    // x 2^-59 is 0.5 + 2^-24; through a double first it would tie down to 0.5.
    StreamHandle mid;
    make(mid, RUK_BRNG_MCG59, {1, 0x4000004});
    float f;
    ruksBRngMCG59(mid.get(), 1, &f, 0.0f, 1.0f);
    EXPECT_EQ(f, 0x1.000002p-1f);

    // Leapfrog with stride 2 keeps 13^26 as its multiplier; skips past 2^32
    // land on x a^k.
    StreamHandle lf, big;
    make(lf, RUK_BRNG_MCG59, {77});
    ASSERT_EQ(rukLeapfrogStream(lf.get(), 0, 2), RUK_OK);
    uint64_t multiplier;
    std::memcpy(&multiplier, reinterpret_cast<unsigned char*>(lf.get()) + 24, 8);
    EXPECT_EQ(multiplier, pow59(a, 2));  // 13^26
    make(big, RUK_BRNG_MCG59, {77});
    for (int i = 0; i < 3; ++i) ASSERT_EQ(rukSkipAheadStream(big.get(), 0x7FFFFFFF), RUK_OK);
    EXPECT_EQ(element59(words(big.get(), 1), 0), 77 * pow59(a, 3 * uint64_t{0x7FFFFFFF}) & kMask59);
    // The widest leapfrog: its elements lie past 2^32 in the parent sequence.
    StreamHandle wide;
    make(wide, RUK_BRNG_MCG59, {77});
    ASSERT_EQ(rukLeapfrogStream(wide.get(), 0x7FFFFFFE, 0x7FFFFFFF), RUK_OK);
    const Words w = words(wide.get(), 4);
    for (int j = 0; j < 4; ++j)
        EXPECT_EQ(element59(w, j), 77 * pow59(a, 0x7FFFFFFE + j * uint64_t{0x7FFFFFFF}) & kMask59) << j;
}

// ---- R250 -------------------------------------------------------------------

// The ring and its two positions, a step at a time, seeded as described.
struct R250Reference {
    uint32_t ring[250];
    int first = 0, second = 103;
    explicit R250Reference(uint32_t s) {
        if (s == 0) s = 1;
        for (auto& w : ring) w = s *= 69069u;
        for (int k = 0; k < 32; ++k) {
            uint32_t& w = ring[3 + 7 * k];
            w = (w & ((1u << (31 - k)) - 1)) | (1u << (31 - k));
        }
    }
    uint32_t next() {
        const uint32_t v = ring[first] ^= ring[second];
        first = (first + 1) % 250;
        second = (second + 1) % 250;
        return v;
    }
    Bytes state() const {
        Bytes b(reinterpret_cast<const unsigned char*>(ring), reinterpret_cast<const unsigned char*>(ring) + 1000);
        b.resize(1008);
        std::memcpy(&b[1000], &first, 4);
        std::memcpy(&b[1004], &second, 4);
        return b;
    }
};

TEST(R250, AgainstAPlainTranscription) {
    std::mt19937 rng(250);
    struct Case {
        int32_t id;
        Words seed;
        uint32_t s;  // the word the ring is seeded from
    };
    // 0 and no seeds both seed from 1; fewer than 250 words use the first;
    // the older table's id 1 is the same row.
    for (const Case& c : {Case{RUK_BRNG_R250, {0}, 1}, Case{RUK_BRNG_R250, {}, 1},
                          Case{RUK_BRNG_R250, Words(249, 123456789), 123456789}, Case{1, {42}, 42}}) {
        StreamHandle h;
        make(h, c.id, c.seed);
        R250Reference ref(c.s);
        EXPECT_EQ(state(h.get()), ref.state());
        const int n = static_cast<int>(xt::scaled(40000, 4000));
        Words got(n);
        for (int done = 0, take; done < n; done += take) {
            take = std::min(static_cast<int>(rng() % (rng() % 2 ? 70 : 1200)), n - done);
            rukiBRngR250(h.get(), take, &got[done]);
            for (int i = 0; i < take; ++i) ASSERT_EQ(got[done + i], ref.next()) << c.s << " " << done + i;
            ASSERT_EQ(state(h.get()), ref.state()) << c.s << " " << done;  // ring and positions
        }
    }
    // 250 words are the ring as given, not repaired: zeros stay zeros.
    StreamHandle direct, zeros;
    Words seed(251), x(250);
    for (uint32_t i = 0; i < 251; ++i) seed[i] = i * 2654435761u;
    std::copy(seed.begin(), seed.begin() + 250, x.begin());  // the 251st word is not used
    make(direct, RUK_BRNG_R250, seed);
    for (int i = 0; i < 300; ++i) x.push_back(x[i] ^ x[i + 103]);
    EXPECT_EQ(words(direct.get(), 300), Words(x.begin() + 250, x.end()));
    make(zeros, RUK_BRNG_R250, Words(250, 0));
    EXPECT_EQ(words(zeros.get(), 1000), Words(1000, 0));
}

}  // namespace
