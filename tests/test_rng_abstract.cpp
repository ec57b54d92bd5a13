// Abstract streams: laws fed from a caller's buffer give what the generator
// that filled it gives; the callback protocol call by call; failures keep
// the position; refusals; the interval map; files and copies.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <numeric>
#include <string>
#include <vector>

#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace {

using xt::StreamHandle;
using Call = std::array<int32_t, 4>;  // length, nmin, nmax, writePos as the callback sees them

// The callback of every test: it logs its arguments, applies a scripted
// change to nmax and the length, writes its result through `produce`
// (nothing when that is outside 0 .. nmax) and returns it (nmax unless
// scripted).
constexpr int32_t kKeep = -999;
struct Reply {
    int32_t result = kKeep, set_nmax = kKeep, set_length = kKeep;
};
struct Feed {
    std::function<void(int32_t at, int32_t k, int32_t length)> produce;
    std::vector<Reply> script;
    std::vector<Call> calls;
} feed;

int32_t update(RukStream*, int32_t* n, void*, int32_t* nmin, int32_t* nmax, int32_t* write_pos) {
    feed.calls.push_back({*n, *nmin, *nmax, *write_pos});
    const std::size_t i = feed.calls.size() - 1;
    const Reply reply = i < feed.script.size() ? feed.script[i] : Reply{};
    if (reply.set_nmax != kKeep) *nmax = reply.set_nmax;
    const int32_t result = reply.result == kKeep ? *nmax : reply.result;
    if (feed.produce && *n > 0 && result >= 0 && result <= *nmax) feed.produce(*write_pos, std::min(result, *n), *n);
    if (reply.set_length != kKeep) *n = reply.set_length;
    return result;
}

// A word stream of `length` places whose callback writes 0, 1, 2, ... in
// order, so that every draw must hand out the next integers.
struct CountingStream {
    std::vector<uint32_t> buffer;
    uint32_t next = 0;
    StreamHandle h;
    explicit CountingStream(int32_t length, std::vector<Reply> script = {})
        : buffer(static_cast<std::size_t>(std::max(length, 1)), 0xDEAD) {
        feed = Feed{[this](int32_t at, int32_t k, int32_t n) {
                        for (int32_t i = 0; i < k; ++i) buffer[static_cast<std::size_t>((at + i) % n)] = next++;
                    },
                    std::move(script), {}};
        EXPECT_EQ(rukiNewAbstractStream(h.out(), length, buffer.data(), update), RUK_OK);
    }
    std::vector<uint32_t> draw(int32_t n, int32_t want_status = RUK_OK) {
        std::vector<uint32_t> r(static_cast<std::size_t>(std::max(n, 0)), 0xBEEF);
        EXPECT_EQ(rukiRngUniformBits(0, h.get(), n, r.data()), want_status) << "draw of " << n;
        return r;
    }
};

std::vector<uint32_t> iota(uint32_t from, uint32_t count) {
    std::vector<uint32_t> v(count);
    std::iota(v.begin(), v.end(), from);
    return v;
}

// Uniform, both Gaussian methods (the paired one across calls) and both
// Binomial regimes, one after another on one stream.
template <class T>
std::vector<double> some_laws(RukStream* s) {
    std::vector<T> x(3000);
    std::vector<int32_t> k(700);
    if constexpr (sizeof(T) == 8) {
        EXPECT_EQ(rukdRngUniform(0, s, 1000, x.data(), 0, 1), RUK_OK);
        EXPECT_EQ(rukdRngGaussian(0, s, 1001, x.data() + 1000, 1, 2), RUK_OK);
        EXPECT_EQ(rukdRngGaussian(1, s, 7, x.data() + 2001, 0, 1), RUK_OK);
        EXPECT_EQ(rukdRngGaussian(1, s, 992, x.data() + 2008, 0, 1), RUK_OK);
        EXPECT_EQ(rukiRngBinomial(0, s, 300, k.data(), 20, 0.3), RUK_OK);          // inversion
        EXPECT_EQ(rukiRngBinomial(0, s, 400, k.data() + 300, 900, 0.4), RUK_OK);   // BTPE
    } else {
        EXPECT_EQ(ruksRngUniform(0, s, 1000, x.data(), 0, 1), RUK_OK);
        EXPECT_EQ(ruksRngGaussian(1, s, 2000, x.data() + 1000, 0, 1), RUK_OK);
    }
    std::vector<double> all(x.begin(), x.end());
    all.insert(all.end(), k.begin(), k.end());
    return all;
}

TEST(AbstractStreams, LawsGetTheNumbersOfTheGeneratorThatFilledTheBuffer) {
    // A buffer of 13 places refilled from MCG31M1 one number at a time,
    // against MCG31M1 itself: every law gives the same bits.
    for (bool single : {false, true}) {
        StreamHandle direct, source, fed;
        const uint32_t seed = 7;
        ASSERT_EQ(rukNewStreamEx(direct.out(), RUK_BRNG_MCG31M1, 1, &seed), RUK_OK);
        ASSERT_EQ(rukNewStreamEx(source.out(), RUK_BRNG_MCG31M1, 1, &seed), RUK_OK);
        double dbuf[13];
        float sbuf[13];
        feed = Feed{[&](int32_t at, int32_t k, int32_t n) {
                        for (int32_t i = 0; i < k; ++i)
                            single ? ruksBRngMCG31M1(source.get(), 1, &sbuf[(at + i) % n], 0, 1)
                                   : rukdBRngMCG31M1(source.get(), 1, &dbuf[(at + i) % n], 0, 1);
                    },
                    {}, {}};
        ASSERT_EQ(single ? ruksNewAbstractStream(fed.out(), 13, sbuf, 0, 1, update)
                         : rukdNewAbstractStream(fed.out(), 13, dbuf, 0, 1, update),
                  RUK_OK);
        if (single)
            EXPECT_EQ(some_laws<float>(fed.get()), some_laws<float>(direct.get()));
        else
            EXPECT_EQ(some_laws<double>(fed.get()), some_laws<double>(direct.get()));
        EXPECT_GT(feed.calls.size(), 200u);
    }
}

TEST(AbstractStreams, TheCallbackIsCalledWhenTheBufferRunsOutWithTheRightCounts) {
    const struct {
        const char* name;
        std::vector<int32_t> draws;
        std::vector<Reply> script;
        std::vector<Call> calls;
    } cases[] = {
        {"full refills", {3, 3, 5, 20}, {}, {{8, 3, 8, 0}, {8, 3, 8, 0}, {8, 8, 8, 0}, {8, 7, 8, 0}}},
        {"short refills", {10, 3}, {{3}, {2}, {8}}, {{8, 8, 8, 0}, {8, 7, 8, 3}, {8, 5, 8, 5}}},
        {"empty calls draw nothing", {0, 0, 1}, {}, {{8, 1, 8, 0}}},
        {"one place", {3}, {}, {{1, 1, 1, 0}, {1, 1, 1, 0}, {1, 1, 1, 0}}},
    };
    for (const auto& c : cases) {
        CountingStream s(c.calls.front()[0], c.script);
        uint32_t from = 0;
        for (int32_t n : c.draws) {
            EXPECT_EQ(s.draw(n), iota(from, static_cast<uint32_t>(n))) << c.name;
            from += static_cast<uint32_t>(n);
        }
        EXPECT_EQ(feed.calls, c.calls) << c.name;
    }
}

TEST(AbstractStreams, CallbackFailuresReachTheCallerAndKeepThePosition) {
    // Three numbers are read from a full buffer, then a draw of 10 takes the
    // other five and calls for more; the reply fails.  The five are
    // available again, and the next call is offered the same places.
    const struct {
        Reply reply;
        int32_t status;
    } cases[] = {
        {{-1}, RUK_ERROR_CALLBACK_COUNT},
        {{9}, RUK_ERROR_CALLBACK_COUNT},            // above nmax
        {{6, 5}, RUK_ERROR_CALLBACK_COUNT},         // above the nmax it lowered
        {{0}, RUK_ERROR_CALLBACK_EMPTY},
        {{4, kKeep, 0}, RUK_ERROR_CALLBACK_COUNT},  // a length of 0 (after writing 4)
    };
    for (const auto& c : cases) {
        CountingStream s(8, {Reply{}, c.reply});
        EXPECT_EQ(s.draw(3), iota(0, 3));
        const std::vector<uint32_t> failed = s.draw(10, c.status);
        EXPECT_EQ(std::vector<uint32_t>(failed.begin(), failed.begin() + 5), iota(3, 5));
        feed.script.clear();
        const std::vector<uint32_t> again = s.draw(5);
        if (c.reply.set_length == kKeep) {
            EXPECT_EQ(again, iota(3, 5)) << c.status;
        }
        s.draw(1);
        ASSERT_EQ(feed.calls.size(), 3u);
        EXPECT_EQ(feed.calls[2], (Call{8, 1, 8, 0}));
    }
    // A callback that raises nmax may return more than the buffer holds:
    // the hand-out wraps inside the buffer.
    CountingStream wide(4, {{10, 10}});
    wide.draw(12);
}

TEST(AbstractStreams, NegativeCountsMoveBackInsideTheBuffer) {
    CountingStream s(8);
    EXPECT_EQ(s.draw(5), iota(0, 5));
    s.draw(-3);
    EXPECT_EQ(s.draw(4), iota(2, 4));
    // From a fresh stream, back past the start: the read position wraps to
    // the end of the buffer, whose places are handed out as they stand.
    CountingStream fresh(8);
    std::iota(fresh.buffer.begin(), fresh.buffer.end(), 10u);
    fresh.draw(-3);
    EXPECT_EQ(fresh.draw(3), iota(15, 3));
    EXPECT_TRUE(feed.calls.empty());
    // A negative length passes creation but has nowhere to read: its
    // callback is shown nmax below 0, and one that raises it gets
    // RUK_ERROR_BAD_ARGUMENT, with nothing handed out.
    CountingStream negative(-4, {Reply{}, {2, 10}});
    EXPECT_EQ(negative.draw(0), std::vector<uint32_t>{});
    EXPECT_EQ(negative.draw(2, RUK_ERROR_CALLBACK_COUNT), (std::vector<uint32_t>(2, 0xBEEF)));
    EXPECT_EQ(negative.draw(2, RUK_ERROR_BAD_ARGUMENT), (std::vector<uint32_t>(2, 0xBEEF)));
    EXPECT_EQ(feed.calls.front(), (Call{-4, -4, -4, 0}));
}

TEST(AbstractStreams, RefusalsOfCreationFormAndMethod) {
    double d[4];
    float f[4];
    uint32_t w[4];
    RukStream* s = reinterpret_cast<RukStream*>(0x1);  // left untouched by a refusal
    for (int32_t status : {rukiNewAbstractStream(&s, 0, w, update), rukiNewAbstractStream(&s, 4, nullptr, update),
                           rukiNewAbstractStream(&s, 4, w, nullptr), rukdNewAbstractStream(&s, 4, d, 1, 1, update),
                           rukdNewAbstractStream(&s, 4, d, 2, 1, update), ruksNewAbstractStream(&s, 4, nullptr, 0, 1, update),
                           ruksNewAbstractStream(&s, 4, f, 0, 1, nullptr)})
        EXPECT_EQ(status, RUK_ERROR_BAD_ARGUMENT);
    EXPECT_EQ(s, reinterpret_cast<RukStream*>(0x1));
    for (int32_t id : {RUK_BRNG_IABSTRACT, RUK_BRNG_DABSTRACT, RUK_BRNG_SABSTRACT})
        EXPECT_EQ(rukNewStreamEx(&s, id, 0, nullptr), RUK_ERROR_UNKNOWN_BRNG);
    StreamHandle hw, hd, hs;
    ASSERT_EQ(rukiNewAbstractStream(hw.out(), 4, w, update), RUK_OK);
    ASSERT_EQ(rukdNewAbstractStream(hd.out(), 4, d, std::nan(""), 1, update), RUK_OK);  // NaN passes
    ASSERT_EQ(ruksNewAbstractStream(hs.out(), 4, f, 0, 1, update), RUK_OK);
    feed = Feed{};
    double rd[2] = {5, 5};
    float rf[2] = {5, 5};
    uint32_t rw[2] = {5, 5};
    for (int32_t status : {rukdRngUniform(0, hw.get(), 2, rd, 0, 1), ruksRngUniform(0, hw.get(), 2, rf, 0, 1),
                           ruksRngUniform(0, hd.get(), 2, rf, 0, 1), rukiRngUniformBits(0, hd.get(), 2, rw),
                           rukdRngGaussian(0, hs.get(), 2, rd, 0, 1), rukiRngUniformBits(0, hs.get(), 2, rw)})
        EXPECT_EQ(status, RUK_ERROR_WRONG_ABSTRACT_FORM);
    EXPECT_EQ(rd[0] + rf[0] + rw[0], 15);
    EXPECT_TRUE(feed.calls.empty());
    for (RukStream* st : {hw.get(), hd.get(), hs.get()}) {
        EXPECT_EQ(rukLeapfrogStream(st, 0, 2), RUK_ERROR_NO_LEAPFROG);
        EXPECT_EQ(rukSkipAheadStream(st, 5), RUK_ERROR_NO_SKIP);
    }
    EXPECT_EQ(rukBRngdAbstractInitStream(3, hd.get(), 0, nullptr), RUK_ERROR_UNKNOWN_METHOD);
}

TEST(AbstractStreams, RealFormsMapTheBuffersIntervalOntoTheCalls) {
    double dbuf[4] = {-1, 0.3, 2.9, 1};
    float sbuf[4] = {-1, 0.3f, 2.9f, 1};
    feed = Feed{};  // buffers as they stand
    StreamHandle hd, hs;
    ASSERT_EQ(rukdNewAbstractStream(hd.out(), 4, dbuf, -1, 3, update), RUK_OK);
    ASSERT_EQ(ruksNewAbstractStream(hs.out(), 4, sbuf, -1, 3, update), RUK_OK);
    double rd[8];
    float rs[8];
    ASSERT_EQ(rukdBRngdAbstract(hd.get(), 4, rd, 10, 20) | rukdBRngdAbstract(hd.get(), 4, rd + 4, -1, 3), RUK_OK);
    ASSERT_EQ(ruksBRngsAbstract(hs.get(), 4, rs, 10, 20) | ruksBRngsAbstract(hs.get(), 4, rs + 4, -1, 3), RUK_OK);
    for (int i = 0; i < 4; ++i) {
        // In the form's own precision: (v - lo) * ((b - a) / (hi - lo)) + a.
        EXPECT_EQ(rd[i], (dbuf[i] + 1) * 2.5 + 10);
        EXPECT_EQ(rs[i], (sbuf[i] + 1.0f) * 2.5f + 10.0f);
        EXPECT_NEAR(rd[4 + i], dbuf[i], 1e-15);
        EXPECT_NEAR(rs[4 + i], sbuf[i], 1e-6);
    }
}

TEST(AbstractStreams, FilesKeepPositionsButNoAddresses) {
    const std::string path = testing::TempDir() + "xebruk_abstract_" + std::to_string(::getpid());
    double buf[6], r[4];
    int32_t fill = 0;
    feed = Feed{[&](int32_t at, int32_t k, int32_t n) {
                    for (int32_t i = 0; i < k; ++i) buf[(at + i) % n] = (fill++) / 8.0;
                },
                {}, {}};
    StreamHandle h, copy, loaded;
    ASSERT_EQ(rukdNewAbstractStream(h.out(), 6, buf, 0, 1, update), RUK_OK);
    ASSERT_EQ(rukdBRngdAbstract(h.get(), 2, r, 0, 1), RUK_OK);
    // A copy shares the buffer and the callback and starts where the source stood.
    ASSERT_EQ(rukCopyStream(copy.out(), h.get()), RUK_OK);
    EXPECT_EQ(rukCopyStreamState(copy.get(), h.get()), RUK_BRNG_DABSTRACT);  // moves no bytes
    ASSERT_EQ(rukdBRngdAbstract(copy.get(), 4, r, 0, 1), RUK_OK);
    ASSERT_EQ(rukdBRngdAbstract(copy.get(), 1, r + 3, 0, 1), RUK_OK);
    EXPECT_EQ(r[2], 4 / 8.0);
    EXPECT_EQ(r[3], 6 / 8.0);
    // The file: 20 header bytes and 40 of state (length, readPos, freeCount,
    // the interval at 16, zero address slots at 32).
    ASSERT_EQ(rukSaveStreamF(h.get(), path.c_str(), -1), RUK_OK);
    std::ifstream in(path, std::ios::binary);
    const std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)), {});
    ASSERT_EQ(bytes.size(), 60u);
    int32_t at[3];
    double bounds[2];
    uint64_t slots;
    std::memcpy(at, &bytes[20], 12);
    std::memcpy(bounds, &bytes[36], 16);
    std::memcpy(&slots, &bytes[52], 8);
    EXPECT_EQ(std::vector<int32_t>(at, at + 3), (std::vector<int32_t>{6, 2, 2}));
    EXPECT_EQ(bounds[0] + 2 * bounds[1], 2.0);
    EXPECT_EQ(slots, 0u);
    ASSERT_EQ(rukLoadStreamF(loaded.out(), path.c_str()), RUK_OK);
    EXPECT_EQ(rukdBRngdAbstract(loaded.get(), 0, r, 0, 1), RUK_ERROR_NULL_ARG);
    // States a draw could not have left are refused: length 0, readPos at
    // the length or below 0, freeCount above the length, lo = hi.
    const std::pair<std::size_t, int32_t> bad[] = {{20, 0}, {24, 6}, {24, -1}, {28, 7}, {40, 0x3FF00000}};
    for (const auto& [offset, value] : bad) {
        std::vector<unsigned char> changed = bytes;
        std::memcpy(&changed[offset], &value, 4);
        std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(changed.data()), 60);
        RukStream* s = nullptr;
        EXPECT_EQ(rukLoadStreamF(&s, path.c_str()), RUK_ERROR_BAD_STREAM_FILE) << offset;
        EXPECT_EQ(s, nullptr);
    }
    std::remove(path.c_str());
}

}  // namespace
