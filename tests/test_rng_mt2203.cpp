// MT2203: the committed parameter sets have full period (characteristic
// polynomial by Berlekamp-Massey, irreducibility by repeated squaring, both
// written here apart from the tool that made the sets); the streams against
// a plain word-by-word generator; block splits, state copies between sets,
// stream files and the refused methods.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "support/scale.h"
#include "rng/mt2203.h"
#include "rng/stream.h"
#include "support/plain_twister.h"
#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace {

using xt::StreamHandle;

using ParameterSet = xeb::rng::Mt2203ParameterSet;
const ParameterSet* const kSets = xeb::rng::kMt2203ParameterSets;

constexpr int kN = 69, kM = 34, kDegree = 2203;

// The generator one word at a time, the textbook way, from a key or at the
// words and position of a stream.
xt::TwisterConstants constants(ParameterSet set) { return {kN, kM, 0xFFFFFFE0u, 12, set.twist_a, set.temper_b, set.temper_c}; }
struct PlainMt2203 : xt::PlainTwister {
    PlainMt2203(const std::vector<uint32_t>& key, ParameterSet set) : PlainTwister(key, constants(set)) {}
    PlainMt2203(const RukStream* s, ParameterSet set) : PlainTwister(xeb::rng::state_bytes(s), constants(set)) {}
};

// ---------------------------------------------------------------- GF(2)[x]
// Bit i of word i / 64 is the coefficient of x^i.
using Bits = std::vector<uint64_t>;
constexpr int kWords = 72;  // room for products of degree < 2 * 2203 and shifts

bool bit(const Bits& p, int i) { return (p[i / 64] >> (i % 64)) & 1u; }

void shift_left_one(Bits& p) {
    for (int w = kWords - 1; w > 0; --w) p[w] = (p[w] << 1) | (p[w - 1] >> 63);
    p[0] <<= 1;
}

// dst ^= src x^shift, src of degree below 64 * 35 (a polynomial of degree
// 2203 and its multiples by 8-bit ones).
void add_shifted(Bits& dst, const Bits& src, int shift) {
    const int q = shift / 64, r = shift % 64;
    for (int w = std::min(kWords - 1, q + 35); w >= q; --w) {
        uint64_t v = src[w - q] << r;
        if (r && w - q > 0) v |= src[w - q - 1] >> (64 - r);
        dst[w] ^= v;
    }
}

// The minimal polynomial of the bit sequence s by Berlekamp-Massey, kept
// with the history h (bit i = s[n-i]) and x^m B ready shifted, so that a
// step is one shift of each and one parity.  Returns its degree L; phi holds
// x^L C(1/x), the characteristic polynomial of the shortest recurrence.
int minimal_polynomial(const std::vector<uint8_t>& s, Bits& phi) {
    Bits c(kWords), b(kWords), h(kWords), t;
    c[0] = 1;
    b[0] = 2;
    int length = 0;
    for (int n = 0; n < static_cast<int>(s.size()); ++n) {
        shift_left_one(h);
        h[0] |= s[n];
        uint64_t acc = 0;
        for (int w = 0; w < kWords; ++w) acc ^= c[w] & h[w];
        if (__builtin_parityll(acc)) {
            t = c;
            for (int w = 0; w < kWords; ++w) c[w] ^= b[w];
            if (2 * length <= n) {
                length = n + 1 - length;
                b = t;
            }
        }
        shift_left_one(b);
    }
    phi.assign(kWords, 0);
    for (int i = 0; i <= length; ++i)
        if (bit(c, length - i)) phi[i / 64] |= uint64_t{1} << (i % 64);
    return length;
}

// x^(2^2203) = x modulo phi (of degree 2203): phi is then irreducible, as
// its degree is prime and it has no linear factor (a product of distinct
// factors of degree 1 or 2203, of which there are only two of degree 1).
// Squares reduced eight bits at a time: multiple[t] is the multiple of phi
// whose bits 2203..2210 are t.
bool frobenius_fixes_x(const Bits& phi) {
    std::vector<Bits> multiple(256, Bits(kWords));
    for (int q = 0; q < 256; ++q) {
        Bits m(kWords);
        for (int k = 0; k < 8; ++k)
            if ((q >> k) & 1) add_shifted(m, phi, k);
        int top = 0;
        for (int k = 0; k < 8; ++k) top |= bit(m, kDegree + k) << k;
        multiple[top] = m;
    }
    uint16_t spread[256];
    for (int v = 0; v < 256; ++v) {
        spread[v] = 0;
        for (int k = 0; k < 8; ++k) spread[v] |= ((v >> k) & 1) << (2 * k);
    }
    Bits s(kWords), sq(kWords);
    s[0] = 2;
    for (int round = 0; round < kDegree; ++round) {
        std::fill(sq.begin(), sq.end(), 0);
        for (int w = 0; w < 35; ++w)
            for (int byte = 0; byte < 8; ++byte)
                sq[(16 * (8 * w + byte)) / 64] |= static_cast<uint64_t>(spread[(s[w] >> (8 * byte)) & 255])
                                                 << ((16 * byte) % 64);
        int j = 2 * kDegree - 9;  // bits j..j+7 hold the top of a square
        for (; j >= kDegree; j -= 8) {
            int t = 0;
            for (int k = 0; k < 8; ++k) t |= bit(sq, j + k) << k;
            if (t) add_shifted(sq, multiple[t], j - kDegree);
        }
        for (int i = j + 7; i >= kDegree; --i)
            if (bit(sq, i)) add_shifted(sq, phi, i - kDegree);
        s = sq;
    }
    Bits x(kWords);
    x[0] = 2;
    return s == x;
}

// The characteristic polynomial of the untempered recurrence, from bit 31
// of 2 x 2203 words, has degree 2203 and is irreducible.
bool full_period(ParameterSet set) {
    PlainMt2203 g({1}, set);
    std::vector<uint8_t> s(2 * kDegree);
    for (auto& e : s) e = g.raw() >> 31;
    Bits phi;
    return minimal_polynomial(s, phi) == kDegree && bit(phi, 0) && frobenius_fixes_x(phi);
}

TEST(Mt2203, CommittedSetsHaveFullPeriod) {
    // All sets at full scale (about 25 s), else the fixed rows and every
    // 128th set (for the sanitizer builds).
    for (int k = 0; k < 1024; ++k) {
        if (xt::test_scale() >= 1 || k % 128 == 5 || k < 3 || k > 1021) {
            EXPECT_TRUE(full_period(kSets[k])) << "set " << k;
        }
    }
    // Neighbours of a set's twist constant are not primitive.
    for (uint32_t flip : {1u, 0x400u, 0x10000000u})
        EXPECT_FALSE(full_period({kSets[0].twist_a ^ flip, kSets[0].temper_b, kSets[0].temper_c})) << flip;
}

TEST(Mt2203, SetsAreDistinctAndKeepTheFixedRows) {
    std::set<uint32_t> twists;
    for (int k = 0; k < 1024; ++k) {
        EXPECT_TRUE(twists.insert(kSets[k].twist_a).second) << std::hex << kSets[k].twist_a;
        EXPECT_EQ(kSets[k].twist_a >> 31, 1u);
    }
    const std::pair<int, ParameterSet> fixed[] = {
        {0, {0xAF81055F, 0xDD7EEF80, 0xEFD78000}},    {1, {0x832604E1, 0x66AD7F80, 0xEBD58000}},
        {2, {0x92F70739, 0x656D7780, 0xEFC50000}},    {1022, {0xB9D00987, 0xD2F4EF80, 0xEFB78000}},
        {1023, {0xE1B6093F, 0x9D326E80, 0xEFD58000}},
    };
    for (const auto& [k, p] : fixed)
        EXPECT_TRUE(kSets[k].twist_a == p.twist_a && kSets[k].temper_b == p.temper_b &&
                    kSets[k].temper_c == p.temper_c)
            << k;
}

// ---------------------------------------------------------------- streams
void new_stream(StreamHandle& h, int sub, const std::vector<uint32_t>& key) {
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MT2203 + sub, static_cast<int32_t>(key.size()), key.data()),
              RUK_OK);
}

std::vector<uint32_t> draw(RukStream* s, int n) {
    std::vector<uint32_t> r(static_cast<std::size_t>(n));
    EXPECT_EQ(rukiBRngMT2203(s, n, r.data()), RUK_OK);
    return r;
}

TEST(Mt2203, StreamsFollowThePlainGenerator) {
    std::mt19937 pick(23);
    auto key_of = [&](std::size_t length) {
        std::vector<uint32_t> key(length);
        for (auto& k : key) k = static_cast<uint32_t>(pick());
        return key;
    };
    const std::pair<int, std::vector<uint32_t>> cases[] = {
        {0, {}}, {1, {0x123, 0x234, 0x345, 0x456}}, {2, {5}}, {511, key_of(68)},
        {700, key_of(69)}, {1022, key_of(70)}, {1023, key_of(300)},
    };
    for (const auto& [sub, key] : cases) {
        StreamHandle h;
        new_stream(h, sub, key);
        const auto want = PlainMt2203(key, kSets[sub]).take(1000);
        EXPECT_EQ(draw(h.get(), 1000), want) << "set " << sub;
    }
    // The same key in two sets: two different sequences.
    StreamHandle s0, s1;
    new_stream(s0, 0, {7});
    new_stream(s1, 1, {7});
    EXPECT_NE(draw(s0.get(), 100), draw(s1.get(), 100));
}

// The three kernels over a sequence of call counts, concatenated.
std::tuple<std::vector<uint32_t>, std::vector<double>, std::vector<float>> draw_in_blocks(
    const std::vector<int>& counts) {
    StreamHandle si, sd, ss;
    for (StreamHandle* h : {&si, &sd, &ss}) new_stream(*h, 300, {1, 2, 3});
    std::vector<uint32_t> ints;
    std::vector<double> dbl;
    std::vector<float> flt;
    for (int n : counts) {
        const std::size_t at = ints.size(), k = static_cast<std::size_t>(std::max(n, 0));
        ints.resize(at + k), dbl.resize(at + k), flt.resize(at + k);
        rukiBRngMT2203(si.get(), n, ints.data() + at);
        rukdBRngMT2203(sd.get(), n, dbl.data() + at, -2.0, 3.0);
        ruksBRngMT2203(ss.get(), n, flt.data() + at, -2.0f, 3.0f);
    }
    return {ints, dbl, flt};
}

TEST(Mt2203, OneCallEqualsAnySplit) {
    const auto [ints, dbl, flt] = draw_in_blocks({500});
    ASSERT_EQ(ints, PlainMt2203({1, 2, 3}, kSets[300]).take(500));
    for (std::size_t i = 0; i < 500; ++i) {
        const double want = static_cast<double>(ints[i] * (5.0L * 0x1p-32L) - 2.0L);
        ASSERT_EQ(dbl[i], want) << i;
    }
    const std::vector<std::vector<int>> splits = {
        {1, 68, 1, 430},      // cases 1, 1, 2, 3 from a position of 1
        {69, 69, 362},        // whole generations, then case 3 from 69
        {0, 70, 0, 430},      // case 3 from position 0, then from 1
        {35, 34, 1, 138, 292},
        {2, 3, 5, 7, 11, 13, 17, 19, 23, 29, 31, 37, 41, 43, 47, 53, 59, 60},
    };
    for (const auto& counts : splits) {
        const auto [pi, pd, pf] = draw_in_blocks(counts);
        EXPECT_EQ(pi, ints) << counts.size() << " calls";
        EXPECT_EQ(0, std::memcmp(pd.data(), dbl.data(), 500 * sizeof(double)));
        EXPECT_EQ(0, std::memcmp(pf.data(), flt.data(), 500 * sizeof(float)));
    }
}

TEST(Mt2203, CopiesFilesAndRefusedMethods) {
    PlainMt2203 ref7({9}, kSets[7]);
    StreamHandle src, dst, copy, loaded;
    new_stream(src, 7, {9});
    new_stream(dst, 5, {3});
    draw(src.get(), 100);
    ref7.take(100);

    // The state copy moves words and position; each stream keeps its set,
    // so the two run apart.
    EXPECT_EQ(rukCopyStreamState(dst.get(), src.get()), RUK_BRNG_MT2203 + 5);
    const auto apart = PlainMt2203(src.get(), kSets[5]).take(200);
    EXPECT_EQ(draw(dst.get(), 200), apart);
    EXPECT_NE(apart, PlainMt2203(src.get(), kSets[7]).take(200));

    // A full copy and a stream file take the set along.
    ASSERT_EQ(rukCopyStream(copy.out(), src.get()), RUK_OK);
    const std::string path = ::testing::TempDir() + "mt2203_stream.bin";
    ASSERT_EQ(rukSaveStreamF(src.get(), path.c_str(), -1), RUK_OK);
    ASSERT_EQ(rukLoadStreamF(loaded.out(), path.c_str()), RUK_OK);
    std::remove(path.c_str());
    const auto next = ref7.take(300);
    for (StreamHandle* s : {&src, &copy, &loaded}) EXPECT_EQ(draw(s->get(), 300), next);

    // No leapfrog, no skip-ahead, no other method: the stream stays put.
    EXPECT_EQ(rukLeapfrogStream(src.get(), 0, 2), RUK_ERROR_NO_LEAPFROG);
    EXPECT_EQ(rukSkipAheadStream(src.get(), 10), RUK_ERROR_NO_SKIP);
    EXPECT_EQ(rukBRngMT2203InitStream(3, src.get(), 0, nullptr), RUK_ERROR_UNKNOWN_METHOD);
    EXPECT_EQ(draw(src.get(), 50), ref7.take(50));
}

// A stream file loads when its state is one the kernels can go on from,
// with one of the committed sets; else it is a bad stream file.
TEST(Mt2203, LoadedStatesAreChecked) {
    StreamHandle h;
    new_stream(h, 9, {4});
    draw(h.get(), 10);
    const std::string path = ::testing::TempDir() + "mt2203_edited.bin";
    ASSERT_EQ(rukSaveStreamF(h.get(), path.c_str(), -1), RUK_OK);
    std::vector<char> saved(20 + 296);
    std::FILE* f = std::fopen(path.c_str(), "rb");
    ASSERT_TRUE(f && std::fread(saved.data(), 1, saved.size(), f) == saved.size());
    std::fclose(f);
    // words[0..68] the generation, [69] the position, [70..72] the set.
    using Words = uint32_t[74];
    const struct {
        const char* what;
        std::function<void(Words&)> edit;
        int32_t status;
    } cases[] = {
        {"as saved", [](Words&) {}, RUK_OK},
        {"position 69", [](Words& w) { w[69] = 69; }, RUK_OK},
        {"position below 0", [](Words& w) { w[69] = static_cast<uint32_t>(-5); }, RUK_OK},
        {"position 70", [](Words& w) { w[69] = 70; }, RUK_ERROR_BAD_STREAM_FILE},
        {"only the unused bits of word 0", [](Words& w) { std::fill(w, w + 69, 0u), w[0] = 0x1F; },
         RUK_ERROR_BAD_STREAM_FILE},
        {"one bit of word 68", [](Words& w) { std::fill(w, w + 69, 0u), w[68] = 1; }, RUK_OK},
        {"another set", [](Words& w) { std::memcpy(w + 70, &kSets[10], 12); }, RUK_OK},
        {"a twist constant of no set", [](Words& w) { w[70] ^= 1; }, RUK_ERROR_BAD_STREAM_FILE},
        {"a tempering mask of no set", [](Words& w) { w[72] ^= 0x8000; }, RUK_ERROR_BAD_STREAM_FILE},
    };
    for (const auto& c : cases) {
        Words words;
        std::memcpy(words, saved.data() + 20, 296);
        c.edit(words);
        std::vector<char> file = saved;
        std::memcpy(file.data() + 20, words, 296);
        f = std::fopen(path.c_str(), "wb");
        ASSERT_TRUE(f && std::fwrite(file.data(), 1, file.size(), f) == file.size());
        std::fclose(f);
        StreamHandle loaded;
        EXPECT_EQ(rukLoadStreamF(loaded.out(), path.c_str()), c.status) << c.what;
    }
    std::remove(path.c_str());
}

}  // namespace
