// MT19937 against the committed reference outputs and against a plain
// word-by-word generator written here; block splits over the three fill
// cases, copies, stream files and the counts of zero and below.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "support/scale.h"
#include "support/plain_twister.h"
#include "support/streams.h"
#include "rng/stream.h"
#include "xebruk/xebruk.h"

namespace {

using xt::StreamHandle;

// The generator one word at a time, the textbook way.
struct PlainMt : xt::PlainTwister {
    explicit PlainMt(const std::vector<uint32_t>& key)
        : PlainTwister(key, {624, 397, 0x80000000u, 11, 0x9908B0DFu, 0x9D2C5680u, 0xEFC60000u}) {}
};

const std::vector<uint32_t> kPublishedKey{0x123, 0x234, 0x345, 0x456};

void new_stream(StreamHandle& h, const std::vector<uint32_t>& key) {
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MT19937, static_cast<int32_t>(key.size()),
                             key.data()),
              RUK_OK);
}

std::vector<uint32_t> draw(RukStream* s, int n) {
    std::vector<uint32_t> r(static_cast<std::size_t>(std::max(n, 1)));
    EXPECT_EQ(rukiBRngMT19937(s, n, r.data()), RUK_OK);
    r.resize(static_cast<std::size_t>(std::max(n, 0)));
    return r;
}

int32_t& position(RukStream* s) {
    return *reinterpret_cast<int32_t*>(xeb::rng::state_bytes(s) + 624 * 4);
}

std::vector<uint32_t> read_reference(const char* file) {
    std::ifstream in(xt::source_dir() + "/tests/data/" + file);
    EXPECT_TRUE(in) << file;
    std::string line;
    std::vector<uint32_t> v;
    while (std::getline(in, line))
        if (!line.empty() && line[0] != '#') v.push_back(static_cast<uint32_t>(std::stoul(line)));
    return v;
}

TEST(Mt19937, PublishedSequences) {
    const auto published = read_reference("mt19937_initbyarray_123_234_345_456_n1000.txt");
    ASSERT_EQ(published.size(), 1000u);
    StreamHandle h;
    new_stream(h, kPublishedKey);
    EXPECT_EQ(draw(h.get(), 1000), published);
    EXPECT_EQ(PlainMt(kPublishedKey).take(1000), published);  // the test's own generator

    // No key, or a count below 1, is the key {1}.
    const auto key_one = read_reference("mt19937_initbyarray_1_n100.txt");
    ASSERT_EQ(key_one.size(), 100u);
    for (int32_t n : {0, -1, INT32_MIN}) {
        StreamHandle d;
        const uint32_t ignored = 99;
        ASSERT_EQ(rukNewStreamEx(d.out(), RUK_BRNG_MT19937, n, &ignored), RUK_OK);
        EXPECT_EQ(draw(d.get(), 100), key_one) << n;
        EXPECT_EQ(position(d.get()), 100);
    }
}

TEST(Mt19937, KeysOfEveryLength) {
    std::mt19937 pick(12);
    for (std::size_t length : {1u, 2u, 3u, 623u, 624u, 625u, 700u, 1300u, 2000u}) {
        std::vector<uint32_t> key(length);
        for (auto& k : key) k = static_cast<uint32_t>(pick());
        StreamHandle h;
        new_stream(h, key);
        EXPECT_EQ(draw(h.get(), 1500), PlainMt(key).take(1500)) << length;
    }
}

// The three kernels over a sequence of call counts against one call.
struct Drawn {
    std::vector<uint32_t> ints;
    std::vector<double> dbl;
    std::vector<float> flt;
};

Drawn draw_in_blocks(const std::vector<int>& counts, double a, double b) {
    StreamHandle si, sd, ss;
    for (StreamHandle* h : {&si, &sd, &ss}) new_stream(*h, kPublishedKey);
    Drawn out;
    for (int n : counts) {
        std::vector<uint32_t> ri(static_cast<std::size_t>(n));
        std::vector<double> rd(ri.size());
        std::vector<float> rf(ri.size());
        rukiBRngMT19937(si.get(), n, ri.data());
        rukdBRngMT19937(sd.get(), n, rd.data(), a, b);
        ruksBRngMT19937(ss.get(), n, rf.data(), static_cast<float>(a), static_cast<float>(b));
        out.ints.insert(out.ints.end(), ri.begin(), ri.end());
        out.dbl.insert(out.dbl.end(), rd.begin(), rd.end());
        out.flt.insert(out.flt.end(), rf.begin(), rf.end());
    }
    return out;
}

TEST(Mt19937, OneCallEqualsAnySplit) {
    const Drawn whole = draw_in_blocks({3000}, -2.0, 3.0);
    ASSERT_EQ(whole.ints, PlainMt(kPublishedKey).take(3000));
    std::mt19937 pick(5);
    std::vector<std::vector<int>> splits = {
        {1, 623, 1, 1375, 1000},  // cases 1, 1, 2, 3 from a position of 1
        {624, 624, 1752},         // whole generations, then case 3 from 624
        {0, 2000, 0, 1000},
        {1249, 1751},             // case 3 from position 0 and from 1
        {311, 313, 1, 2375},
    };
    for (int trial = 0; trial < 4; ++trial) {
        splits.emplace_back();
        for (int left = 3000, n; left > 0; left -= n)
            splits.back().push_back(n = std::min(left, 1 + static_cast<int>(pick() % (trial < 2 ? 13 : 1400))));
    }
    for (const auto& counts : splits) {
        const Drawn part = draw_in_blocks(counts, -2.0, 3.0);
        EXPECT_EQ(part.ints, whole.ints) << counts.size() << " calls";
        EXPECT_EQ(0, std::memcmp(part.dbl.data(), whole.dbl.data(), 3000 * sizeof(double)));
        EXPECT_EQ(0, std::memcmp(part.flt.data(), whole.flt.data(), 3000 * sizeof(float)));
    }
}

TEST(Mt19937, RealOutputScalesEachWord) {
    const std::size_t n = xt::scaled(20000);
    const auto words = PlainMt(kPublishedKey).take(n);
    for (const auto& [a, b] : {std::pair{0.0, 1.0}, std::pair{-3.0, 5.0}, std::pair{1e6, 1e6 + 0.5},
                               std::pair{-1.0, -0.25}, std::pair{0.1, 0.7}, std::pair{0.0, 4.0},
                               std::pair{0.0, -1.0}, std::pair{-0.0, 0x1p-900}}) {
        const Drawn d = draw_in_blocks({static_cast<int>(n)}, a, b);
        const long double c = (static_cast<long double>(b) - a) * 0x1p-32L;
        const float fa = static_cast<float>(a), fb = static_cast<float>(b);
        const double cf = static_cast<double>((static_cast<long double>(fb) - fa) * 0x1p-32L);
        for (std::size_t i = 0; i < n; ++i) {
            // The double is word * c + a formed in the 64-bit significand and
            // rounded once more at the store: on (0, 1) word / 2^32 exactly.
            const long double product = words[i] * c + a;
            if (a == 0.0 && b == 1.0) {
                ASSERT_EQ(d.dbl[i], std::ldexp(words[i], -32)) << i;
            }
            ASSERT_EQ(d.dbl[i], static_cast<double>(product)) << a << " " << b << " " << i;
            ASSERT_EQ(d.flt[i], static_cast<float>(static_cast<long double>(words[i]) * cf + fa)) << i;
        }
    }
}

TEST(Mt19937, CountsOfZeroAndBelowMoveThePosition) {
    const auto seq = PlainMt(kPublishedKey).take(1250);
    auto from = [&](int a, int b) { return std::vector<uint32_t>(seq.begin() + a, seq.begin() + b); };
    StreamHandle h;
    new_stream(h, kPublishedKey);
    EXPECT_EQ(position(h.get()), 624);  // a fresh stream regenerates first
    draw(h.get(), 5);
    EXPECT_EQ(position(h.get()), 5);
    // n = 0 and n = -1 write nothing; -1 repeats the last word.
    uint32_t r[2] = {0xDEAD, 0xDEAD};
    double d = 7.0;
    float f = 7.0f;
    EXPECT_EQ(rukiBRngMT19937(h.get(), 0, r), RUK_OK);
    EXPECT_EQ(rukdBRngMT19937(h.get(), 0, &d, 0.0, 1.0), RUK_OK);
    EXPECT_EQ(ruksBRngMT19937(h.get(), 0, &f, 0.0f, 1.0f), RUK_OK);
    EXPECT_EQ(rukiBRngMT19937(h.get(), -1, r), RUK_OK);
    EXPECT_TRUE(r[0] == 0xDEADu && d == 7.0 && f == 7.0f);
    EXPECT_EQ(position(h.get()), 4);
    EXPECT_EQ(draw(h.get(), 3), from(4, 7));
    // The real kernels move back alike.
    rukdBRngMT19937(h.get(), -2, &d, 0.0, 1.0);
    ruksBRngMT19937(h.get(), -1, &f, 0.0f, 1.0f);
    EXPECT_EQ(d, 7.0);
    EXPECT_EQ(draw(h.get(), 4), from(4, 8));
    // A draw that ends exactly on the end of a generation, then a step
    // back: the next draw re-reads that generation's last words.
    draw(h.get(), 616);
    rukiBRngMT19937(h.get(), -3, r);
    EXPECT_EQ(draw(h.get(), 5), from(621, 626));

    // From position 0 a step back leaves -1; the next draw starts at 0.
    StreamHandle z;
    new_stream(z, kPublishedKey);
    draw(z.get(), 624);
    EXPECT_EQ(position(z.get()), 624);
    draw(z.get(), 624);
    rukiBRngMT19937(z.get(), -624, r);
    EXPECT_EQ(position(z.get()), 0);
    rukiBRngMT19937(z.get(), -1, r);
    EXPECT_EQ(position(z.get()), -1);
    EXPECT_EQ(draw(z.get(), 2), from(624, 626));
    rukiBRngMT19937(z.get(), INT32_MIN, r);
    rukiBRngMT19937(z.get(), INT32_MIN, r);
    EXPECT_EQ(position(z.get()), INT32_MIN);  // saturates
    EXPECT_EQ(draw(z.get(), 626), from(624, 1250));
}

TEST(Mt19937, CopiesContinueTheSequence) {
    const auto seq = PlainMt(kPublishedKey).take(3003);
    StreamHandle h, copy, other;
    new_stream(h, kPublishedKey);
    draw(h.get(), 700);
    ASSERT_EQ(rukCopyStream(copy.out(), h.get()), RUK_OK);
    const std::vector<uint32_t> next(seq.begin() + 700, seq.begin() + 2000);
    for (StreamHandle* s : {&h, &copy}) EXPECT_EQ(draw(s->get(), 1300), next);

    // rukCopyStreamState moves the words and the position.
    new_stream(other, {5});
    draw(other.get(), 3);
    EXPECT_EQ(rukCopyStreamState(other.get(), copy.get()), RUK_BRNG_MT19937);
    EXPECT_EQ(draw(other.get(), 1000), std::vector<uint32_t>(seq.begin() + 2000, seq.begin() + 3000));

    // No leapfrog, no skip-ahead, no other method: the stream stays put.
    EXPECT_EQ(rukLeapfrogStream(other.get(), 0, 2), RUK_ERROR_NO_LEAPFROG);
    EXPECT_EQ(rukSkipAheadStream(other.get(), 10), RUK_ERROR_NO_SKIP);
    EXPECT_EQ(rukBRngMT19937InitStream(3, other.get(), 0, nullptr), RUK_ERROR_UNKNOWN_METHOD);
    EXPECT_EQ(draw(other.get(), 3), std::vector<uint32_t>(seq.begin() + 3000, seq.end()));
}

}  // namespace
