// The generator tables, id resolution, registration, and stream objects
// with their chunk lists.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <tuple>

#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace {

using xt::counter_row;
using xt::StreamHandle;

TEST(Registry, IdsResolveToRows) {
    struct Case {
        int32_t id;
        bool old_table;
        int32_t row, sub;
    };
    const Case cases[] = {
        {0, true, 0, 0},          {3, true, 3, 0},           {4, true, 4, 0},
        {276, true, 4, 272},      {277, true, 277, 0},       {278, true, 278, 0},
        {279, true, 279, 0},      {-1, true, -1, 0},         {0xFFFFF, true, 0xFFFFF, 0},
        {0x100000, false, 0, 0},  {0x500000 + 272, false, 4, 272},
        {0x900000 + 1023, false, 8, 1023}, {0xD00000, false, 12, 0}, {0x7FFFFFFF, false, 2046, 0xFFFFF},
    };
    for (const Case& c : cases) {
        int32_t row = 99, sub = 99;
        const RukBrngEntry* table = rukGetBrngBaseOffset(c.id, &row, &sub);
        EXPECT_EQ(table, c.old_table ? __RegBrngs : __RegBrngsNew) << c.id;
        EXPECT_EQ(row, c.row) << c.id;
        EXPECT_EQ(sub, c.sub) << c.id;
    }
}

TEST(Registry, Validity) {
    EXPECT_EQ(rukIsBrngValid(__RegBrngs, 278, 0), RUK_OK);
    EXPECT_EQ(rukIsBrngValid(__RegBrngs, 279, 0), RUK_ERROR_UNKNOWN_BRNG);
    EXPECT_EQ(rukIsBrngValid(__RegBrngs, 5, 1000), RUK_OK);  // sub not looked at
    EXPECT_EQ(rukIsBrngValid(__RegBrngs, -7, 0), RUK_OK);    // no lower bound
    EXPECT_EQ(rukIsBrngValid(__RegBrngsNew, -1, 0), RUK_ERROR_UNKNOWN_BRNG);
    EXPECT_EQ(rukIsBrngValid(__RegBrngsNew, 4, 272), RUK_OK);
    EXPECT_EQ(rukIsBrngValid(__RegBrngsNew, 4, 273), RUK_ERROR_UNKNOWN_BRNG);

    RukBrngEntry e;
    for (int32_t id : {0, 4, 276, 278, 0x100000, 0x500000 + 272, 0x900000 + 1023, 0xC00000})
        EXPECT_EQ(rukGetBrngProperties(id, &e), RUK_OK) << id;
    // Negative ids pass the validity test but name no row: refused, and a
    // stream whose id was overwritten with one can neither leapfrog nor skip.
    StreamHandle overwritten;
    ASSERT_EQ(rukNewStreamEx(overwritten.out(), RUK_BRNG_MCG31M1, 0, nullptr), RUK_OK);
    for (int32_t id : {279, 0xFFFFF, -1, INT32_MIN, 0x500000 + 273, 0x900000 + 1024, 0x100001,
                       0xC00001, 0x7FFFFFFF}) {
        EXPECT_EQ(rukGetBrngProperties(id, &e), RUK_ERROR_UNKNOWN_BRNG) << id;
        StreamHandle h;
        EXPECT_EQ(rukNewStreamEx(h.out(), id, 0, nullptr), RUK_ERROR_UNKNOWN_BRNG) << id;
        EXPECT_EQ(h.get(), nullptr);
        overwritten->brngId = id;
        EXPECT_EQ(rukLeapfrogStream(overwritten.get(), 0, 2), RUK_ERROR_UNKNOWN_BRNG) << id;
        EXPECT_EQ(rukSkipAheadStream(overwritten.get(), 1), RUK_ERROR_UNKNOWN_BRNG) << id;
    }
    overwritten->brngId = RUK_BRNG_MCG31M1;
    EXPECT_EQ(rukGetBrngProperties(0x500000 + 17, &e), RUK_OK);
}

TEST(Registry, RegistrationChecksInOrder) {
    const int32_t before = rukGetNumRegBrngs();
    struct Case {
        void (*edit)(RukBrngEntry&);
        int32_t status;
    };
    const Case cases[] = {
        {[](RukBrngEntry& e) { e.wordSize = 12; e.seedCount = 0; }, RUK_ERROR_REG_WORD_SIZE},
        {[](RukBrngEntry& e) { e.streamSize = -1; e.wordSize = 12; }, RUK_ERROR_REG_STATE_SIZE},
        {[](RukBrngEntry& e) { e.seedCount = 0; e.bitCount = 0; }, RUK_ERROR_REG_SEED_COUNT},
        {[](RukBrngEntry& e) { e.bitCount = 0; e.dKernel = nullptr; }, RUK_ERROR_REG_BIT_COUNT},
        {[](RukBrngEntry& e) { e.dKernel = nullptr; }, RUK_ERROR_NULL_ARG},
        {[](RukBrngEntry& e) { e.sKernel = nullptr; }, RUK_ERROR_NULL_ARG},
        {[](RukBrngEntry& e) { e.iKernel = nullptr; }, RUK_ERROR_NULL_ARG},
        {[](RukBrngEntry& e) { e.initStream = nullptr; }, RUK_ERROR_NULL_ARG},
        {[](RukBrngEntry& e) { e.wordSize = 2; }, RUK_ERROR_REG_WORD_SIZE},
    };
    for (const Case& c : cases) {
        RukBrngEntry e = counter_row();
        c.edit(e);
        EXPECT_EQ(rukRegisterBrng(&e), c.status);
    }
    EXPECT_EQ(rukGetNumRegBrngs(), before);
}

TEST(Registry, UserGeneratorServesStreams) {
    const int32_t before = rukGetNumRegBrngs();
    const int32_t next_id = (before + 1) << 20;  // 0xD00000 in a fresh process
    RukBrngEntry e;
    EXPECT_EQ(rukGetBrngProperties(next_id, &e), RUK_ERROR_UNKNOWN_BRNG);

    RukBrngEntry row = counter_row();
    row.zeroFlag = 7;  // copied without a test
    ASSERT_EQ(rukRegisterBrng(&row), next_id);
    EXPECT_EQ(rukGetNumRegBrngs(), before + 1);
    ASSERT_EQ(rukGetBrngProperties(next_id, &e), RUK_OK);
    EXPECT_EQ(0, std::memcmp(&e, &row, sizeof e));
    EXPECT_EQ(rukGetBrngProperties(next_id + 1, &e), RUK_ERROR_UNKNOWN_BRNG);  // one sub-id

    StreamHandle h;
    const uint32_t start = 40;
    ASSERT_EQ(rukNewStreamEx(h.out(), next_id, 1, &start), RUK_OK);
    EXPECT_EQ(rukGetStreamStateBrng(h.get()), next_id);
    ASSERT_EQ(rukSkipAheadStream(h.get(), 2), RUK_OK);
    EXPECT_EQ(rukLeapfrogStream(h.get(), 0, 2), RUK_ERROR_NO_LEAPFROG);
    uint32_t r[3];
    EXPECT_EQ(__RegBrngsNew[(next_id >> 20) - 1].iKernel(h.get(), 3, r), RUK_OK);
    EXPECT_TRUE(r[0] == 42u && r[2] == 44u);
}

TEST(Registry, FullTableRefusesFurtherRows) {
    // Filling the table changes the process for good: done in a child.
    EXPECT_EXIT(
        {
            RukBrngEntry row = counter_row();
            int32_t last = 0;
            while (rukGetNumRegBrngs() < 512) last = rukRegisterBrng(&row);
            const bool ok = last == (512 << 20) && rukRegisterBrng(&row) == RUK_ERROR_REGISTRY_FULL &&
                            rukGetNumRegBrngs() == 512;
            RukBrngEntry e;
            StreamHandle h;
            const bool serves = rukGetBrngProperties(512 << 20, &e) == RUK_OK &&
                                rukNewStreamEx(h.out(), 512 << 20, 0, nullptr) == RUK_OK;
            std::exit(ok && serves ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(Streams, NewStreamHeaderAndRefusals) {
    StreamHandle h;
    const uint32_t seed = 9;
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MCG31M1, 1, &seed), RUK_OK);
    EXPECT_EQ(h->brngId, RUK_BRNG_MCG31M1);
    EXPECT_EQ(h->headerFlag, 1);
    EXPECT_EQ(h->chunkHead, 0u);
    EXPECT_EQ(rukGetNumChunks(h.get()), 0);
    EXPECT_EQ(rukGetStreamStateBrng(h.get()), RUK_BRNG_MCG31M1);

    // Abstract ids are refused before anything else: the pointer is untouched.
    for (int32_t id : {RUK_BRNG_IABSTRACT, RUK_BRNG_DABSTRACT, RUK_BRNG_SABSTRACT}) {
        RukStream* sentinel = reinterpret_cast<RukStream*>(0x1234);
        RukStream* s = sentinel;
        EXPECT_EQ(rukNewStreamEx(&s, id, 0, nullptr), RUK_ERROR_UNKNOWN_BRNG);
        EXPECT_EQ(s, sentinel);
    }
    RukStream* s = h.get();
    h.release();
    EXPECT_EQ(rukDeleteStream(&s), RUK_OK);
    EXPECT_EQ(s, nullptr);
    EXPECT_EQ(rukDeleteStream(&s), RUK_OK);  // a null stream: nothing to do
}

void* block_with(uint32_t value) {
    auto* p = static_cast<uint32_t*>(std::malloc(sizeof(uint32_t)));
    *p = value;
    return p;
}

uint32_t value_of(void* p) { return p ? *static_cast<uint32_t*>(p) : 0xFFFFFFFF; }

TEST(Streams, ChunksNewestFirstAndSharedByCopies) {
    StreamHandle h;
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MCG31M1, 0, nullptr), RUK_OK);
    ASSERT_EQ(rukAddChunk(h.get(), 2, block_with(20), 4), RUK_OK);
    ASSERT_EQ(rukAddChunk(h.get(), 5, block_with(50), 4), RUK_OK);
    ASSERT_EQ(rukAddChunk(h.get(), 2, block_with(21), 4), RUK_OK);
    ASSERT_EQ(rukAddChunk(h.get(), 9, nullptr, 0), RUK_OK);  // null data is allowed
    EXPECT_EQ(rukGetNumChunks(h.get()), 4);
    EXPECT_EQ(value_of(rukSearchChunk(h.get(), 2)), 21u);  // the newer of the two
    EXPECT_EQ(value_of(rukSearchChunk(h.get(), 5)), 50u);
    EXPECT_EQ(rukSearchChunk(h.get(), 3), nullptr);

    StreamHandle copy;
    ASSERT_EQ(rukCopyStream(copy.out(), h.get()), RUK_OK);
    EXPECT_EQ(copy->chunkHead, h->chunkHead);  // one list, two heads
    EXPECT_EQ(rukSearchChunk(copy.get(), 5), rukSearchChunk(h.get(), 5));
    ASSERT_EQ(rukAddChunk(copy.get(), 5, block_with(51), 4), RUK_OK);
    EXPECT_EQ(value_of(rukSearchChunk(copy.get(), 5)), 51u);
    EXPECT_EQ(value_of(rukSearchChunk(h.get(), 5)), 50u);
    EXPECT_EQ(rukGetNumChunks(copy.get()), 5);
    EXPECT_EQ(rukGetNumChunks(h.get()), 4);

    // The copy draws the same numbers as the source from here on.
    uint32_t a[6], b[6];
    rukiBRngMCG31M1(h.get(), 6, a);
    rukiBRngMCG31M1(copy.get(), 6, b);
    EXPECT_EQ(0, std::memcmp(a, b, sizeof a));

    // Both handles delete their streams: the shared nodes are freed once,
    // after the second delete (AddressSanitizer sees a double free or a
    // use after free otherwise).
}

TEST(Streams, CopiesOfALawsStreamShareItsSetUpAndDeleteSafely) {
    // The reproducer: a Binomial draw hangs its set-up on the stream, a
    // copy shares it, and both are deleted, in either order.
    for (bool source_first : {true, false}) {
        RukStream *source = nullptr, *copy = nullptr;
        ASSERT_EQ(rukNewStreamEx(&source, RUK_BRNG_MCG31M1, 0, nullptr), RUK_OK);
        int32_t r[8], c[8];
        ASSERT_EQ(rukiRngBinomial(0, source, 8, r, 100, 0.3), RUK_OK);
        ASSERT_EQ(rukCopyStream(&copy, source), RUK_OK);
        ASSERT_EQ(rukSearchChunk(copy, RUK_CHUNK_BINOMIAL), rukSearchChunk(source, RUK_CHUNK_BINOMIAL));
        ASSERT_EQ(rukiRngBinomial(0, copy, 8, c, 100, 0.3), RUK_OK);
        ASSERT_EQ(rukiRngBinomial(0, source, 8, r, 100, 0.3), RUK_OK);
        EXPECT_EQ(0, std::memcmp(r, c, sizeof r));
        rukDeleteStream(source_first ? &source : &copy);
        // The survivor still reads the shared record.
        RukStream*& survivor = source_first ? copy : source;
        EXPECT_EQ(rukiRngBinomial(0, survivor, 8, r, 100, 0.3), RUK_OK);
        rukDeleteStream(&survivor);
    }
}

TEST(Streams, CopyStateMovesTheCountedWords) {
    const uint32_t seed_a = 1000, seed_b = 2000;
    StreamHandle a, b, old_id;
    for (auto [h, id, seed] : {std::tuple{&a, RUK_BRNG_MCG31M1, &seed_a}, std::tuple{&b, RUK_BRNG_MCG31M1, &seed_b},
                               std::tuple{&old_id, 0, &seed_b}})
        ASSERT_EQ(rukNewStreamEx(h->out(), id, 1, seed), RUK_OK);
    ASSERT_EQ(rukAddChunk(b.get(), 1, block_with(1), 4), RUK_OK);

    EXPECT_EQ(rukCopyStreamState(a.get(), a.get()), RUK_OK);
    // b leapfrogs; only x (one word of four bytes) moves to it, not the
    // multiplier, nor the header or chunks.
    ASSERT_EQ(rukLeapfrogStream(b.get(), 0, 2), RUK_OK);
    const uint64_t head = b->chunkHead;
    EXPECT_EQ(rukCopyStreamState(b.get(), a.get()), RUK_BRNG_MCG31M1);
    EXPECT_EQ(b->chunkHead, head);
    EXPECT_EQ(b->brngId, RUK_BRNG_MCG31M1);
    uint32_t r[3];
    rukiBRngMCG31M1(b.get(), 3, r);
    const auto seq = xt::mcg31m1_sequence(seed_a, 5);
    EXPECT_TRUE(r[0] == seq[0] && r[1] == seq[2] && r[2] == seq[4]);  // still stride 2

    // Rows are compared by number only: id 0 and id 0x100000 are one row;
    // the result is the destination's id, here 0.
    EXPECT_EQ(rukCopyStreamState(old_id.get(), a.get()), 0);
    EXPECT_EQ(rukCopyStreamState(a.get(), old_id.get()), RUK_BRNG_MCG31M1);
}

TEST(Streams, CopyStateBetweenRowsStaysInsideTheBlocks) {
    // A registered generator with 100 words of state against MCG31M1.
    RukBrngEntry big = counter_row();
    big.streamSize = 16 + 400;
    big.seedCount = 100;
    const int32_t id = rukRegisterBrng(&big);
    ASSERT_GT(id, 0);
    StreamHandle g, m;
    const uint32_t seed = 500;
    ASSERT_EQ(rukNewStreamEx(g.out(), id, 1, &seed), RUK_OK);
    ASSERT_EQ(rukNewStreamEx(m.out(), RUK_BRNG_MCG31M1, 1, &seed), RUK_OK);
    // 400 counted bytes into a block with 8 bytes of state: the mismatch is
    // reported, the state overwritten as far as the block goes.
    EXPECT_EQ(rukCopyStreamState(m.get(), g.get()), RUK_ERROR_BRNG_MISMATCH);
    uint32_t x[2];
    std::memcpy(x, reinterpret_cast<unsigned char*>(m.get()) + 16, 8);
    EXPECT_EQ(x[0], 500u);
    EXPECT_EQ(x[1], 0u);  // the counter's second word
    // The other way 4 bytes move into the big state.
    EXPECT_EQ(rukCopyStreamState(g.get(), m.get()), RUK_ERROR_BRNG_MISMATCH);
    EXPECT_EQ(m->brngId, RUK_BRNG_MCG31M1);

    // A WH stream counts 64 bytes of state in a 48-byte stream.
    StreamHandle w1, w2;
    rukNewStreamEx(w1.out(), RUK_BRNG_WH, 0, nullptr);
    rukNewStreamEx(w2.out(), RUK_BRNG_WH + 5, 0, nullptr);
    ASSERT_TRUE(w1.get() && w2.get());
    EXPECT_EQ(rukCopyStreamState(w1.get(), w2.get()), RUK_BRNG_WH);
}

}  // namespace
