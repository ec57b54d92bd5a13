// Quasi-random generators SOBOL and Niederr.  SOBOL against a direct
// (not Gray-code) construction from its polynomials and initial numbers,
// Niederr's direction numbers against GSL's and its coordinates, alone and
// together, against the net property of its polynomials' degrees; for both, block splits, skip-ahead against drawing, leapfrog
// to a component, dimension rules and statuses.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <unistd.h>
#include <vector>

#include "rng/niederreiter.h"
#include "rng/sobol.h"
#include "rng/stream.h"
#include "support/scale.h"
#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace {

using xt::StreamHandle;
using Words = std::vector<uint32_t>;

constexpr int32_t kComponentStride = 0x7FFFFFFF;

uint32_t gray(uint64_t i) { return static_cast<uint32_t>(i ^ (i >> 1)); }

// ---- SOBOL, built the direct way ------------------------------------------

// Dimensions 1..39 as published: degree, polynomial (bit i: x^i), m[0..s-1].
struct PrintedRow {
    int degree;
    uint32_t polynomial;
    std::vector<uint32_t> m;
};
const PrintedRow kPrinted[39] = {
    {1, 3, {1}}, {2, 7, {1, 3}}, {3, 11, {1, 1, 5}}, {3, 13, {1, 3, 1}},
    {4, 19, {1, 1, 3, 7}}, {4, 25, {1, 3, 3, 9}}, {5, 37, {1, 3, 7, 13, 3}},
    {5, 59, {1, 1, 5, 11, 27}}, {5, 47, {1, 3, 5, 1, 15}}, {5, 61, {1, 1, 7, 3, 29}},
    {5, 55, {1, 3, 7, 7, 21}}, {5, 41, {1, 1, 1, 9, 23}}, {6, 67, {1, 3, 3, 5, 19, 33}},
    {6, 97, {1, 1, 3, 13, 11, 7}}, {6, 91, {1, 1, 7, 13, 25, 5}}, {6, 109, {1, 3, 5, 11, 7, 11}},
    {6, 103, {1, 1, 1, 3, 13, 39}}, {6, 115, {1, 3, 1, 15, 17, 63}},
    {7, 131, {1, 1, 5, 5, 1, 27, 33}}, {7, 193, {1, 3, 3, 3, 25, 17, 115}},
    {7, 137, {1, 1, 3, 15, 29, 15, 41}}, {7, 145, {1, 3, 1, 7, 3, 23, 79}},
    {7, 143, {1, 3, 7, 9, 31, 29, 17}}, {7, 241, {1, 1, 5, 13, 11, 3, 29}},
    {7, 157, {1, 3, 1, 9, 5, 21, 119}}, {7, 185, {1, 1, 3, 1, 23, 13, 75}},
    {7, 167, {1, 3, 3, 11, 27, 31, 73}}, {7, 229, {1, 1, 7, 7, 19, 25, 105}},
    {7, 171, {1, 3, 5, 5, 21, 9, 7}}, {7, 213, {1, 1, 1, 15, 5, 49, 59}},
    {7, 191, {1, 1, 1, 1, 1, 33, 65}}, {7, 253, {1, 3, 5, 15, 17, 19, 21}},
    {7, 203, {1, 1, 7, 11, 13, 29, 3}}, {7, 211, {1, 3, 7, 5, 7, 11, 113}},
    {7, 239, {1, 1, 5, 3, 15, 19, 61}}, {7, 247, {1, 3, 1, 1, 9, 27, 89}},
    {8, 285, {1, 1, 3, 7, 31, 15, 45, 23}}, {8, 369, {1, 3, 3, 9, 9, 25, 107, 39}},
    {8, 299, {3, 7, 11, 13, 19, 25, 37, 59}},
};

// Direction numbers of dimensions 0..39: m[k] = m[k-s] ^ 2^s m[k-s] ^ sum
// over j = 1..s-1 of 2^j a_j m[k-j], with a_j the coefficient of x^(s-j);
// then the fraction m[k] / 2^(k+1) cut to 32 bits.  Dimension 0 has m[k] = 1.
using Directions = std::array<std::array<uint32_t, 32>, 40>;
const Directions& sobol_directions() {
    static const Directions v = [] {
        Directions out{};
        for (int d = 0; d < 40; ++d) {
            const int s = d == 0 ? 32 : kPrinted[d - 1].degree;
            std::vector<uint64_t> m(32, 1);
            if (d > 0) std::copy(kPrinted[d - 1].m.begin(), kPrinted[d - 1].m.end(), m.begin());
            for (int k = s; k < 32; ++k) {
                m[k] = m[k - s] ^ (m[k - s] << s);
                for (int j = 1; j < s; ++j)
                    if ((kPrinted[d - 1].polynomial >> (s - j)) & 1) m[k] ^= m[k - j] << j;
            }
            for (int k = 0; k < 32; ++k) out[d][k] = static_cast<uint32_t>(m[k] << (31 - k));
        }
        return out;
    }();
    return v;
}

// Component d of vector i: the XOR of the direction numbers over the bits of gray(i).
uint32_t direct_point(int d, uint64_t i) {
    uint32_t x = 0;
    for (int b = 0; b < 32; ++b)
        if ((gray(i) >> b) & 1) x ^= sobol_directions()[d][b];
    return x;
}

// ---- both generators ------------------------------------------------------

// A generator under test: its state, ids, skip rule and entry points.
template <class S, int32_t Id, int32_t OldId, bool FallsBehind, auto Init, auto Ints, auto Dbls,
          auto Flts>
struct Gen {
    using State = S;
    static constexpr int32_t kId = Id, kOldId = OldId, kMaxDim = S::kMaxDimension;
    static constexpr bool kSkipFallsBehind = FallsBehind;
    static constexpr auto init = Init;
    static constexpr auto ints = Ints;
    static constexpr auto dbls = Dbls;
    static constexpr auto flts = Flts;
};
using SobolGen = Gen<xeb::rng::SobolState, RUK_BRNG_SOBOL, 277, false, rukBRngSobolInitStream,
                     rukiBRngSobol, rukdBRngSobol, ruksBRngSobol>;
using NiederrGen = Gen<xeb::rng::NiederrState, RUK_BRNG_NIEDERR, 278, true,
                       rukBRngNiederrInitStream, rukiBRngNiederr, rukdBRngNiederr, ruksBRngNiederr>;

template <class G>
Words draw(RukStream* s, int64_t n) {
    Words r(static_cast<std::size_t>(n));
    EXPECT_EQ(G::ints(s, static_cast<int32_t>(n), r.data()), RUK_OK);
    return r;
}

// A stream of dimension dim that has handed out `before` numbers.
template <class G>
void make(StreamHandle& h, int32_t dim, int64_t before = 0) {
    const uint32_t p = static_cast<uint32_t>(dim);
    ASSERT_EQ(rukNewStreamEx(h.out(), G::kId, 1, &p), RUK_OK);
    if (before > 0) draw<G>(h.get(), before);
}

template <class G>
typename G::State& state(RukStream* s) {
    return xeb::rng::state_of<typename G::State>(s);
}

// Same place in the sequence: counter, mode, remaining and every component.
template <class G>
void expect_same_position(RukStream* a, RukStream* b) {
    const auto &x = state<G>(a), &y = state<G>(b);
    EXPECT_EQ(x.counter, y.counter);
    EXPECT_EQ(x.remaining, y.remaining);
    EXPECT_EQ(x.leapDim, y.leapDim);
    for (int d = 0; d < x.dimension; ++d) ASSERT_EQ(x.point[d], y.point[d]) << " d=" << d;
}

template <class G>
class Quasi : public testing::Test {};
using Generators = testing::Types<SobolGen, NiederrGen>;
TYPED_TEST_SUITE(Quasi, Generators);

TYPED_TEST(Quasi, OneCallEqualsAnySplit) {
    using G = TypeParam;
    std::mt19937 rng(8);
    const int n = static_cast<int>(xt::scaled(20000));
    for (int32_t dim : {1, 3, 7, G::kMaxDim}) {
        StreamHandle whole;
        make<G>(whole, dim);
        const Words ints = draw<G>(whole.get(), n);
        for (int trial = 0; trial < 3; ++trial) {
            StreamHandle pi, pd, ps;
            for (StreamHandle* p : {&pi, &pd, &ps}) make<G>(*p, dim);
            Words ri(ints.size());
            std::vector<double> rd(ints.size());
            std::vector<float> rf(ints.size());
            // Around the vector length, and some much longer blocks.
            for (int done = 0, take; done < n; done += take) {
                take = std::min(static_cast<int>(rng() % (trial == 2 ? 3 * dim + 500 : 2 * dim + 2)), n - done);
                G::ints(pi.get(), take, &ri[done]);
                G::dbls(pd.get(), 0, nullptr, -3.0, 5.0);
                G::dbls(pd.get(), take, &rd[done], -3.0, 5.0);
                G::flts(ps.get(), take, &rf[done], 0.0f, 1.0f);
            }
            ASSERT_EQ(ri, ints) << dim;
            for (std::size_t i = 0; i < ints.size(); ++i) {
                // w 2^-32 on (0, 1) and -3 + 8 w 2^-32 on (-3, 5) are exact in
                // 64 bits: each result is that value rounded once.
                const long double u = std::ldexp(static_cast<long double>(ints[i]), -32);
                ASSERT_EQ(rd[i], static_cast<double>(8 * u - 3)) << i;
                ASSERT_EQ(rf[i], static_cast<float>(u)) << i;
            }
            expect_same_position<G>(pi.get(), whole.get());
            expect_same_position<G>(pd.get(), whole.get());
        }
    }
    // Seven numbers of dimension 3 leave two components of the third vector.
    StreamHandle a;
    make<G>(a, 3, 7);
    EXPECT_EQ(state<G>(a.get()).remaining, 2);
    draw<G>(a.get(), 2);
    EXPECT_EQ(state<G>(a.get()).remaining, 0);
}

// Reals against each word scaled in 64-bit arithmetic and rounded once to
// T, over intervals where the scaling is exact in double and where it is
// not (b - a not a power of two, w c + a wider than 53 bits, w c outside
// double's normal range).  The words: a stretch of the sequence, then
// chosen ones written into the state (ties of the float rounding, the ends
// of the word range).
template <class G, class T>
void expect_scaled_once(T a, T b) {
    SCOPED_TRACE(testing::Message() << "[" << a << ", " << b << ")");
    const auto reference = [a, b](uint32_t w) {
        const long double c = (static_cast<long double>(b) - a) * 0x1p-32L;
        return static_cast<T>(static_cast<long double>(w) * c + a);
    };
    const auto kernel = [](RukStream* s, int32_t n, T* r, T lo, T hi) {
        if constexpr (std::is_same_v<T, float>) return G::flts(s, n, r, lo, hi);
        else return G::dbls(s, n, r, lo, hi);
    };
    StreamHandle words, reals;
    make<G>(words, 5);
    make<G>(reals, 5);
    const Words w = draw<G>(words.get(), 3001);
    std::vector<T> r(w.size());
    ASSERT_EQ(kernel(reals.get(), static_cast<int32_t>(r.size()), r.data(), a, b), RUK_OK);
    const auto bits = [](T x) {
        std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t> u;
        std::memcpy(&u, &x, sizeof x);
        return u;
    };
    for (std::size_t i = 0; i < w.size(); ++i) ASSERT_EQ(bits(r[i]), bits(reference(w[i]))) << i;
    StreamHandle one;
    make<G>(one, 1);
    for (uint32_t chosen : {0u, 1u, 3u, 0x7FFFFFFFu, 0x80000000u, 0x80000001u, 0x80000003u,
                            0x80000081u, 0xFFFFFF7Fu, 0xFFFFFF81u, 0xFFFFFFFFu}) {
        state<G>(one.get()).point[0] = chosen;
        T x;
        ASSERT_EQ(kernel(one.get(), 1, &x, a, b), RUK_OK);
        ASSERT_EQ(bits(x), bits(reference(chosen))) << std::hex << chosen;
    }
}

TYPED_TEST(Quasi, RealsAreWordsScaledAndRoundedOnce) {
    using G = TypeParam;
    const double intervals[][2] = {
        {0, 1}, {-3, 5}, {1, 0}, {2, 2}, {-0.0, 1}, {0.1, 1.1}, {1e300, 1e301},
        {0, 0x1p-990}, {0, 0x1p-991}, {0, 0x1p1023}, {-0x1p1023, 0x1p1023},
        {0x1p20 + 0x1p-32, 0x1p20 + 1 + 0x1p-32}, {1, 1 + 0x1p-20}, {0x1p30, 0x1p30 + 128},
        {1, 2}, {-0x1p40, 0}, {0x1p-1000, 0x1p-999}};
    for (const auto& ab : intervals) {
        expect_scaled_once<G, double>(ab[0], ab[1]);
        expect_scaled_once<G, float>(static_cast<float>(ab[0]), static_cast<float>(ab[1]));
    }
    // Vector 2^32 - 1 and on (dimension 1, two skips of 2^31 - 1): bit 32
    // of the Gray code, whose direction number is 0, comes on and stays,
    // and bit 31 follows bit 31 of the index flipped.
    StreamHandle h;
    make<G>(h, 1);
    for (int k = 0; k < 2; ++k) ASSERT_EQ(rukSkipAheadStream(h.get(), 0x7FFFFFFF), RUK_OK);
    const uint32_t* v = state<G>(h.get()).direction[0];
    const Words tail = draw<G>(h.get(), 8);
    for (uint64_t i = (uint64_t{1} << 32) - 1; i < (uint64_t{1} << 32) + 7; ++i) {
        const uint32_t t = static_cast<uint32_t>(i), high = i >> 32 ? v[31] : 0;
        EXPECT_EQ(tail[i - ((uint64_t{1} << 32) - 1)], xeb::rng::gray_code::component_at(v, t) ^ high) << i;
    }
}

// The state after skipping n numbers from a stream that has handed out
// `before` numbers, against drawing.  Niederr's skip from inside a vector
// lands two vectors short of the draw, or makes no vector step at all when
// fewer than two whole vectors follow the current one.
TYPED_TEST(Quasi, SkipAheadAgainstDrawing) {
    using G = TypeParam;
    const int64_t far = static_cast<int64_t>(xt::scaled(100003));
    for (int32_t dim : {1, 3, 7, G::kMaxDim})
        for (int before : {0, 1, dim - 1, dim, dim + 2})
            for (int64_t n : std::initializer_list<int64_t>{1, 2, dim - 1, dim, dim + 1, 2 * dim + 1,
                                                            3 * dim - 1, 97, 1000, 4097, far}) {
                if (n < 1) continue;
                SCOPED_TRACE(testing::Message() << "dim " << dim << " before " << before << " n " << n);
                StreamHandle skip, walk;
                make<G>(skip, dim, before);
                make<G>(walk, dim, before);
                const int32_t r = state<G>(skip.get()).remaining;
                ASSERT_EQ(rukSkipAheadStream(skip.get(), static_cast<int32_t>(n)), RUK_OK);
                const int64_t whole = (n - r) / dim, t = (n - r) % dim;
                const bool exact = !G::kSkipFallsBehind || r == 0 || n < r;
                if (exact) {
                    draw<G>(walk.get(), n);
                } else if (whole >= 2) {
                    draw<G>(walk.get(), n - 2 * int64_t{dim});
                } else {
                    // No step: the vector stays, and its position moves.
                    state<G>(walk.get()).remaining = t != 0 ? dim - static_cast<int32_t>(t) : 0;
                }
                expect_same_position<G>(skip.get(), walk.get());
                if (exact) {
                    ASSERT_EQ(draw<G>(skip.get(), 2 * dim + 1), draw<G>(walk.get(), 2 * dim + 1));
                }
            }
}

TYPED_TEST(Quasi, LeapfrogToAComponent) {
    using G = TypeParam;
    const int32_t dim = 4;
    // The all-component sequence, and component d of `count` vectors from
    // vector `first` (counting from 1).
    StreamHandle all;
    make<G>(all, dim);
    const Words seq = draw<G>(all.get(), dim * 40);
    auto component_run = [&](int first, int d, int count) {
        Words w;
        for (int i = 0; i < count; ++i) w.push_back(seq[(first - 1 + i) * dim + d]);
        return w;
    };
    // Component k of vectors 1, 2, 3, ... from a fresh stream.  After 5
    // numbers vector 2 has handed out component 0: that component starts at
    // vector 3, the others are still to come in vector 2.  The same
    // component again changes nothing.
    for (int before : {0, 5})
        for (int32_t k = 0; k < dim; ++k) {
            StreamHandle h;
            make<G>(h, dim, before);
            ASSERT_EQ(rukLeapfrogStream(h.get(), k, kComponentStride), RUK_OK);
            EXPECT_EQ(state<G>(h.get()).remaining, 0);
            const int first = before == 0 ? 1 : k == 0 ? 3 : 2;
            EXPECT_EQ(draw<G>(h.get(), 10), component_run(first, k, 10)) << k;
            ASSERT_EQ(rukLeapfrogStream(h.get(), k, kComponentStride), RUK_OK);
            EXPECT_EQ(draw<G>(h.get(), 5), component_run(first + 10, k, 5)) << k;
        }
    // From one component to another steps over one vector: three draws of
    // component 2 (vectors 1..3), then component 3 from vector 5.
    StreamHandle h;
    make<G>(h, dim);
    rukLeapfrogStream(h.get(), 2, kComponentStride);
    draw<G>(h.get(), 3);
    ASSERT_EQ(rukLeapfrogStream(h.get(), 3, kComponentStride), RUK_OK);
    EXPECT_EQ(draw<G>(h.get(), 3), component_run(5, 3, 3));
    // And back to component 0, rebuilt at vector 9 after vectors 5..7.
    ASSERT_EQ(rukLeapfrogStream(h.get(), 0, kComponentStride), RUK_OK);
    EXPECT_EQ(draw<G>(h.get(), 4), component_run(9, 0, 4));
    // A skip still counts numbers of the whole sequence: 2 vectors of 4.
    ASSERT_EQ(rukSkipAheadStream(h.get(), 8), RUK_OK);
    EXPECT_EQ(draw<G>(h.get(), 2), component_run(15, 0, 2));

    // Refused: another stride, a component outside the dimension.
    StreamHandle r;
    make<G>(r, dim, 2);
    for (auto [k, stride] : {std::pair{0, 0x7FFFFFFE}, std::pair{0, 1}, std::pair{dim, kComponentStride},
                             std::pair{-1, kComponentStride}, std::pair{G::kMaxDim, kComponentStride}})
        EXPECT_EQ(rukLeapfrogStream(r.get(), k, stride), RUK_ERROR_NO_LEAPFROG) << k << " " << stride;
    EXPECT_EQ(draw<G>(r.get(), 6), Words(seq.begin() + 2, seq.begin() + 8));
}

TYPED_TEST(Quasi, DimensionRulesAndStatuses) {
    using G = TypeParam;
    auto first100 = [](int32_t id, int32_t n, uint32_t dim) {
        StreamHandle h;
        EXPECT_EQ(rukNewStreamEx(h.out(), id, n, &dim), RUK_OK);
        return h.get() ? draw<G>(h.get(), 100) : Words{};
    };
    // Above the largest dimension, and no seed at all, give dimension 1;
    // either table's id serves.
    const Words ref = first100(G::kId, 1, 1);
    for (uint32_t dim : {uint32_t(G::kMaxDim + 1), 0x7FFFFFFFu}) EXPECT_EQ(first100(G::kId, 1, dim), ref) << dim;
    for (int32_t n : {0, -1}) EXPECT_EQ(first100(G::kId, n, 5), ref) << n;
    EXPECT_EQ(first100(G::kOldId, 1, 7), first100(G::kId, 1, 7));

    // Moves refused, and methods unknown, leave the stream where it was.
    const uint32_t dim7 = 7;
    StreamHandle h, twin;
    make<G>(h, 3, 4);
    make<G>(twin, 3, 4);
    for (int32_t n : {0, -1, INT32_MIN}) EXPECT_EQ(rukSkipAheadStream(h.get(), n), RUK_ERROR_NO_SKIP);
    for (int32_t method : {3, -1}) EXPECT_EQ(G::init(method, h.get(), 1, &dim7), RUK_ERROR_UNKNOWN_METHOD);
    expect_same_position<G>(h.get(), twin.get());

    // A negative count moves back within the current vector: after 7 numbers
    // of dimension 3, -1 puts component 0 of vector 3 ahead again; a larger
    // one goes no further back than that component.
    const Words tail = draw<G>(twin.get(), 5);  // numbers 5..9
    for (int32_t back : {-1, -10, INT32_MIN}) {
        StreamHandle b;
        make<G>(b, 3, 7);
        EXPECT_EQ(G::ints(b.get(), back, nullptr), RUK_OK);
        EXPECT_EQ(state<G>(b.get()).remaining, 3) << back;
        EXPECT_EQ(draw<G>(b.get(), 3), Words(tail.begin() + 2, tail.end())) << back;
    }
}

// Dimension 0 or below builds nothing: the stream exists and hands out
// nothing, and its moves are refused.  States no call makes (a stream file
// may hold anything) are refused alike.
TYPED_TEST(Quasi, UnusableDimensionsAndStatesAreSafe) {
    using G = TypeParam;
    struct Bad {
        int32_t dimension, leapDim, remaining;
    };
    for (const Bad bad : {Bad{0, -1, 0}, Bad{-1, -1, 0}, Bad{-40, -1, 0}, Bad{INT32_MIN, -1, 0},
                          Bad{G::kMaxDim + 1, -1, 0}, Bad{3, 3, 0}, Bad{3, -2, 0}, Bad{3, -1, 4},
                          Bad{3, -1, -1}}) {
        SCOPED_TRACE(testing::Message() << bad.dimension << " " << bad.leapDim << " " << bad.remaining);
        StreamHandle h;
        if (bad.dimension <= 0) {
            const uint32_t p = static_cast<uint32_t>(bad.dimension);
            ASSERT_EQ(rukNewStreamEx(h.out(), G::kId, 1, &p), RUK_OK);
            EXPECT_EQ(state<G>(h.get()).dimension, bad.dimension);
            EXPECT_EQ(state<G>(h.get()).counter, 1u);
            EXPECT_EQ(state<G>(h.get()).leapDim, -1);
        } else {
            make<G>(h, 3);
            state<G>(h.get()).dimension = bad.dimension;
            state<G>(h.get()).leapDim = bad.leapDim;
            state<G>(h.get()).remaining = bad.remaining;
        }
        uint32_t w[4] = {7, 7, 7, 7};
        double d[4] = {7, 7, 7, 7};
        float f[4] = {7, 7, 7, 7};
        EXPECT_EQ(G::ints(h.get(), 4, w), RUK_ERROR_BAD_ARGUMENT);
        EXPECT_EQ(G::dbls(h.get(), 1, d, 0.0, 1.0), RUK_ERROR_BAD_ARGUMENT);
        EXPECT_EQ(G::flts(h.get(), 3, f, 0.0f, 1.0f), RUK_ERROR_BAD_ARGUMENT);
        if (bad.dimension <= 0) {
            EXPECT_EQ(G::ints(h.get(), 0, w), RUK_OK);
            EXPECT_EQ(G::ints(h.get(), -2, w), RUK_OK);
        }
        for (int i = 0; i < 4; ++i) EXPECT_TRUE(w[i] == 7 && d[i] == 7 && f[i] == 7);
        EXPECT_EQ(rukSkipAheadStream(h.get(), 5), RUK_ERROR_NO_SKIP);
        for (int32_t k : {0, 1}) EXPECT_EQ(rukLeapfrogStream(h.get(), k, kComponentStride), RUK_ERROR_NO_LEAPFROG);
    }
}

// The origin and the first 2^k - 1 vectors, projected on components
// comps, form a (t, k, s)-net: every box whose sides 2^-a_i in the s
// coordinates have a_1 + ... + a_s = k - t holds exactly 2^t of them.
void expect_net(const Words& w, int dim, const std::vector<int>& comps, int t, int k) {
    const std::size_t s = comps.size();
    std::vector<int> sides(s, 0);
    auto each_shape = [&](auto&& self, std::size_t c, int left) -> void {
        if (c + 1 < s) {
            for (sides[c] = 0; sides[c] <= left; ++sides[c]) self(self, c + 1, left - sides[c]);
            return;
        }
        sides[c] = left;
        std::vector<int> hits(std::size_t{1} << (k - t), 0);
        hits[0] = 1;  // the origin
        for (int64_t i = 0; i < (int64_t{1} << k) - 1; ++i) {
            uint32_t box = 0;
            for (std::size_t j = 0; j < s; ++j)
                if (sides[j] > 0) box = (box << sides[j]) | (w[i * dim + comps[j]] >> (32 - sides[j]));
            ++hits[box];
        }
        for (std::size_t j = 0; j < hits.size(); ++j)
            ASSERT_EQ(hits[j], 1 << t) << "component " << comps[0] << " k " << k << " box " << j;
    };
    each_shape(each_shape, 0, k - t);
}

// ---- SOBOL

TEST(Sobol, TableAndFirstVectorsAgainstDirectConstruction) {
    for (int d = 1; d < 40; ++d) {
        const auto& lib = xeb::rng::kSobolPolynomials[d - 1];
        EXPECT_EQ(lib.degree, kPrinted[d - 1].degree) << d;
        EXPECT_EQ(lib.polynomial, kPrinted[d - 1].polynomial) << d;
        EXPECT_EQ(std::vector<uint32_t>(lib.initial, lib.initial + lib.degree), kPrinted[d - 1].m) << d;
    }
    for (int32_t dim = 1; dim <= 40; ++dim) {
        StreamHandle h;
        make<SobolGen>(h, dim);
        const Words got = draw<SobolGen>(h.get(), 100 * dim);
        for (int i = 0; i < 100; ++i)
            for (int d = 0; d < dim; ++d)
                ASSERT_EQ(got[i * dim + d], direct_point(d, i + 1))
                    << "dimension " << dim << " vector " << i + 1 << " component " << d;
        // Every component of the first vector is one half.
        for (int d = 0; d < dim; ++d) EXPECT_EQ(got[d], 0x80000000u);
    }
    StreamHandle h;
    make<SobolGen>(h, 1);
    double u[3];
    rukdBRngSobol(h.get(), 3, u, 0.0, 1.0);
    EXPECT_TRUE(u[0] == 0.5 && u[1] == 0.75 && u[2] == 0.25);
}

// Far along the sequence, skip-ahead and the rebuild of a component after
// leapfrog against the direct formula.
TEST(Sobol, FarPositionsAgainstDirectConstruction) {
    const int32_t dim = 40;
    for (int64_t vectors : {int64_t{1} << 20, (int64_t{1} << 25) + 12345, int64_t{53687090}}) {
        const int64_t skip = vectors * dim + 17;  // below 2^31
        StreamHandle h;
        make<SobolGen>(h, dim);
        ASSERT_EQ(rukSkipAheadStream(h.get(), static_cast<int32_t>(skip)), RUK_OK);
        const int extra = 2 * dim + 10;  // stops inside a vector, components 0..26 out
        const Words got = draw<SobolGen>(h.get(), extra);
        for (int i = 0; i < extra; ++i)
            ASSERT_EQ(got[i], direct_point(static_cast<int>((skip + i) % dim), (skip + i) / dim + 1)) << vectors << " " << i;
        // Component 5 was handed out in the current vector `at`: it goes on
        // from the next.  Then component 39 one vector further on.
        const int64_t at = (skip + extra) / dim + 1;
        ASSERT_EQ(rukLeapfrogStream(h.get(), 5, kComponentStride), RUK_OK);
        EXPECT_EQ(draw<SobolGen>(h.get(), 2), (Words{direct_point(5, at + 1), direct_point(5, at + 2)}));
        ASSERT_EQ(rukLeapfrogStream(h.get(), 39, kComponentStride), RUK_OK);
        EXPECT_EQ(draw<SobolGen>(h.get(), 1), Words{direct_point(39, at + 4)});
    }
    // The whole first 2^31 - 1 vectors of dimension 1, skipped.
    StreamHandle one;
    make<SobolGen>(one, 1);
    ASSERT_EQ(rukSkipAheadStream(one.get(), 0x7FFFFFFF), RUK_OK);
    EXPECT_EQ(draw<SobolGen>(one.get(), 2), (Words{direct_point(0, 1u << 31), direct_point(0, (1u << 31) + 1)}));
}

// ---- Niederr

TEST(Niederr, LowDimensionsAgainstKnownSequences) {
    StreamHandle three;
    make<NiederrGen>(three, 3);
    double u[3];
    rukdBRngNiederr(three.get(), 3, u, 0.0, 1.0);
    EXPECT_TRUE(u[0] == 0.5 && u[1] == 0.5 && u[2] == 0.75);

    // Dimension 0 is the van der Corput sequence in Gray-code order: vector i
    // is gray(i) with its bits reversed.  Dimension 1 (polynomial x + 1) is
    // SOBOL's dimension 1.
    const int n = static_cast<int>(xt::scaled(5000));
    StreamHandle nd, sd;
    make<NiederrGen>(nd, 2);
    make<SobolGen>(sd, 2);
    const Words w = draw<NiederrGen>(nd.get(), 2 * n);
    EXPECT_EQ(w, draw<SobolGen>(sd.get(), 2 * n));
    for (int k = 0; k < 32; ++k) {
        EXPECT_EQ(state<NiederrGen>(nd.get()).direction[0][k], 1u << (31 - k)) << k;
        EXPECT_EQ(state<NiederrGen>(nd.get()).direction[1][k], state<SobolGen>(sd.get()).direction[1][k]) << k;
    }
    for (int i = 0; i < n; ++i) {
        uint32_t g = gray(i + 1), r = 0;
        for (int b = 0; b < 32; ++b) r |= ((g >> b) & 1u) << (31 - b);
        ASSERT_EQ(w[2 * i], r) << i;
    }
}

// Dimensions 0..11 against GSL's base-2 Niederreiter sequence, whose
// direction numbers (31 significant bits) tests/data holds.
TEST(Niederr, DirectionNumbersAgreeWithGsl) {
    std::ifstream in(xt::source_dir() + "/tests/data/niederr_directions_gsl.txt");
    ASSERT_TRUE(in) << "reference file missing";
    StreamHandle h;
    make<NiederrGen>(h, 12);
    const auto& st = state<NiederrGen>(h.get());
    int d = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream words(line);
        int k = 0;
        for (std::string hex; words >> hex; ++k)
            EXPECT_EQ(st.direction[d][k] >> 1, std::stoul(hex, nullptr, 16) >> 1) << d << " " << k;
        EXPECT_EQ(k, 31) << d;
        ++d;
    }
    EXPECT_EQ(d, 12);
}

// Coordinates alone and together: with degrees e_i of their polynomials
// the points form (t, k, s)-nets with t = sum of (e_i - 1).
TEST(Niederr, CoordinatesAloneAndTogetherAreNets) {
    const int kmax = xt::test_scale() < 1 ? 12 : 14, dim = 318;
    StreamHandle h;
    make<NiederrGen>(h, dim);
    const Words w = draw<NiederrGen>(h.get(), ((int64_t{1} << kmax) - 1) * dim);
    auto t_of = [](const std::vector<int>& comps) {
        int t = 0;
        for (int c : comps) t += 31 - __builtin_clz(xeb::rng::kNiederrPolynomials[c]) - 1;
        return t;
    };
    for (int d = 0; d < dim; ++d)
        for (int k = std::max(1, t_of({d})); k <= kmax - 2; ++k) expect_net(w, dim, {d}, t_of({d}), k);
    // Degrees 1 1 2 3 (t = 3), 1 3 4 (t = 5), 2 5 7 (t = 11), 4 4 (t = 6).
    for (const std::vector<int>& comps : {std::vector<int>{0, 1, 2, 3}, {1, 4, 6}, {2, 10, 40}, {5, 7}})
        for (int k = std::max(kmax - 2, t_of(comps)); k <= kmax; ++k) expect_net(w, dim, comps, t_of(comps), k);
}

}  // namespace
