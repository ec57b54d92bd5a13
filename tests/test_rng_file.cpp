// Stream files: the bytes written, round trips that continue the sequence,
// and every way a load can fail.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace {

using Bytes = std::vector<unsigned char>;
using xt::StreamHandle;

std::string temp_path(const std::string& name) {
    return testing::TempDir() + "xebruk_rng_file_" + std::to_string(::getpid()) + "_" + name;
}

Bytes read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

void write_file(const std::string& path, const Bytes& b) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size()));
}

void put32(Bytes& b, std::initializer_list<uint32_t> words) {
    for (uint32_t v : words)
        for (int i = 0; i < 4; ++i) b.push_back(static_cast<unsigned char>(v >> (8 * i)));
}

// The file of an MCG31M1 stream: header, x and multiplier, then chunks.
Bytes mcg_file(uint32_t x, uint32_t multiplier, uint16_t chunks) {
    Bytes b = {'R', 'N', 'G', 0, 0, 0, 0, 0, 20, 0, 8, 0,
               static_cast<unsigned char>(chunks), static_cast<unsigned char>(chunks >> 8), 0, 0};
    put32(b, {RUK_BRNG_MCG31M1, x, multiplier});
    return b;
}

void* malloc_copy(const void* p, std::size_t n) {
    void* q = std::malloc(n);
    std::memcpy(q, p, n);
    return q;
}

class StreamFile : public testing::Test {
protected:
    void TearDown() override {
        for (const auto& p : paths_) std::remove(p.c_str());
    }
    std::string path(const std::string& name) {
        paths_.push_back(temp_path(name));
        return paths_.back();
    }
    // Loads into a null pointer and returns the status; the pointer must be
    // null again after a failure.
    int32_t load_fails(const Bytes& content) {
        const std::string p = path("bad");
        write_file(p, content);
        RukStream* s = nullptr;
        const int32_t status = rukLoadStreamF(&s, p.c_str());
        EXPECT_EQ(s, nullptr);
        if (s) rukDeleteStream(&s);
        return status;
    }

private:
    std::vector<std::string> paths_;
};

TEST_F(StreamFile, BytesOfTheFile) {
    StreamHandle h;
    const uint32_t seed = 0x01020304;
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MCG31M1, 1, &seed), RUK_OK);
    const uint32_t older = 0xAABBCCDD;
    const unsigned char newer[3] = {7, 8, 9};
    ASSERT_EQ(rukAddChunk(h.get(), 2, malloc_copy(&older, 4), 4), RUK_OK);
    ASSERT_EQ(rukAddChunk(h.get(), 5, malloc_copy(newer, 3), 3), RUK_OK);
    // A counted name: only the first nameLength characters count.
    const std::string p = path("bytes");
    const std::string longer = p + "-not-part-of-the-name";
    ASSERT_EQ(rukSaveStreamF(h.get(), longer.c_str(), static_cast<int32_t>(p.size())), RUK_OK);

    Bytes want = mcg_file(seed, 1132489760, 2);
    put32(want, {5, 3});  // newest chunk first
    want.insert(want.end(), newer, newer + 3);
    put32(want, {2, 4, older});
    EXPECT_EQ(read_file(p), want);
}

TEST_F(StreamFile, RoundTripContinuesTheSequence) {
    StreamHandle h;
    const uint32_t seed = 777;
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MCG31M1, 1, &seed), RUK_OK);
    ASSERT_EQ(rukLeapfrogStream(h.get(), 1, 3), RUK_OK);  // the multiplier travels too
    std::vector<double> before(37);
    rukdBRngMCG31M1(h.get(), 37, before.data(), 0.0, 1.0);
    const double pending[2] = {0.25, -1.5};
    ASSERT_EQ(rukAddChunk(h.get(), 2, malloc_copy(pending, sizeof pending), sizeof pending), RUK_OK);
    ASSERT_EQ(rukAddChunk(h.get(), 7, malloc_copy(&seed, 4), 4), RUK_OK);

    const std::string p = path("roundtrip");
    ASSERT_EQ(rukSaveStreamF(h.get(), p.c_str(), -1), RUK_OK);
    StreamHandle back;
    ASSERT_EQ(rukLoadStreamF(back.out(), p.c_str()), RUK_OK);
    EXPECT_EQ(back->brngId, RUK_BRNG_MCG31M1);
    EXPECT_EQ(back->headerFlag, 1);
    EXPECT_EQ(rukGetNumChunks(back.get()), 2);
    ASSERT_NE(rukSearchChunk(back.get(), 2), nullptr);
    EXPECT_EQ(0, std::memcmp(rukSearchChunk(back.get(), 2), pending, sizeof pending));
    EXPECT_EQ(*static_cast<uint32_t*>(rukSearchChunk(back.get(), 7)), seed);

    // The loaded stream goes on with elements 1, 4, 7, ... of the parent.
    std::vector<uint32_t> b(1000);
    rukiBRngMCG31M1(back.get(), 1000, b.data());
    const auto parent = xt::mcg31m1_sequence(seed, 3 * (37 + 1000));
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(b[i], parent[1 + 3 * (37 + i)]) << i;

    // The old table's id saves and loads as itself.
    StreamHandle old;
    ASSERT_EQ(rukNewStreamEx(old.out(), 0, 1, &seed), RUK_OK);
    ASSERT_EQ(rukSaveStreamF(old.get(), p.c_str(), -1), RUK_OK);
    StreamHandle old_back;
    ASSERT_EQ(rukLoadStreamF(old_back.out(), p.c_str()), RUK_OK);
    EXPECT_EQ(rukGetStreamStateBrng(old_back.get()), 0);
}

TEST_F(StreamFile, WhatTheLoadChecksAndIgnores) {
    const Bytes good = mcg_file(12, 1132489760, 0);
    // Fillers and a header longer than 20 bytes: the state is still read at 20.
    Bytes lenient = good;
    lenient[3] = 0xEE;
    lenient[5] = lenient[6] = lenient[7] = 0x55;
    lenient[14] = lenient[15] = 0x77;
    lenient[8] = 21;
    const std::string p = path("lenient");
    write_file(p, lenient);
    StreamHandle h;
    ASSERT_EQ(rukLoadStreamF(h.out(), p.c_str()), RUK_OK);
    uint32_t r[2];
    rukiBRngMCG31M1(h.get(), 2, r);
    EXPECT_TRUE(r[0] == 12u && r[1] == xt::mcg31m1_next(12));

    auto edited = [&](std::size_t at, unsigned char v) {
        Bytes b = good;
        b[at] = v;
        return b;
    };
    EXPECT_EQ(load_fails(Bytes(good.begin(), good.begin() + 19)), RUK_ERROR_READ_FAILED);
    EXPECT_EQ(load_fails({}), RUK_ERROR_READ_FAILED);
    EXPECT_EQ(load_fails(edited(1, 'M')), RUK_ERROR_BAD_STREAM_FILE);
    EXPECT_EQ(load_fails(edited(4, 1)), RUK_ERROR_STREAM_FILE_VERSION);
    Bytes both = edited(4, 1);
    both[0] = 'X';
    EXPECT_EQ(load_fails(both), RUK_ERROR_BAD_STREAM_FILE);  // magic is tested first
    EXPECT_EQ(load_fails(edited(8, 19)), RUK_ERROR_BAD_STREAM_FILE);
    EXPECT_EQ(load_fails(edited(10, 9)), RUK_ERROR_BAD_STREAM_FILE);  // state size 9
    for (uint32_t id : {279u, 0xFFFFFFFFu, 0xD00000u + (511u << 20), 0x500000u + 273u}) {
        Bytes b = good;
        std::memcpy(&b[16], &id, 4);
        EXPECT_EQ(load_fails(b), RUK_ERROR_BAD_STREAM_FILE) << id;
    }
    // Failures after the stream was made: it is deleted again.
    EXPECT_EQ(load_fails(Bytes(good.begin(), good.end() - 1)), RUK_ERROR_READ_FAILED);
    Bytes chunked = mcg_file(12, 1132489760, 2);
    put32(chunked, {3, 8, 1, 2});  // the first chunk whole
    EXPECT_EQ(load_fails(chunked), RUK_ERROR_READ_FAILED);  // the second one is missing
    put32(chunked, {4, 6, 9});  // 4 of 6 bytes
    EXPECT_EQ(load_fails(chunked), RUK_ERROR_READ_FAILED);
    Bytes huge = mcg_file(12, 1132489760, 1);
    put32(huge, {3, 0xFFFFFFF0u, 1});
    EXPECT_EQ(load_fails(huge), RUK_ERROR_READ_FAILED);
    Bytes torn = mcg_file(12, 1132489760, 1);
    put32(torn, {3});
    torn.push_back(1);  // half a size field
    EXPECT_EQ(load_fails(torn), RUK_ERROR_READ_FAILED);
}

TEST_F(StreamFile, RegisteredGeneratorLoadsOnceRegistered) {
    const int32_t id = (rukGetNumRegBrngs() + 1) << 20;
    Bytes b = {'R', 'N', 'G', 0, 0, 0, 0, 0, 20, 0, 4, 0, 0, 0, 0, 0};
    put32(b, {static_cast<uint32_t>(id), 1000});
    EXPECT_EQ(load_fails(b), RUK_ERROR_BAD_STREAM_FILE);  // not registered yet

    const RukBrngEntry row = xt::counter_row();
    ASSERT_EQ(rukRegisterBrng(&row), id);
    const std::string p = path("registered");
    write_file(p, b);
    StreamHandle h;
    ASSERT_EQ(rukLoadStreamF(h.out(), p.c_str()), RUK_OK);
    uint32_t r[2];
    xt::counter_ikernel(h.get(), 2, r);
    EXPECT_EQ(r[1], 1001u);
    ASSERT_EQ(rukSaveStreamF(h.get(), p.c_str(), -1), RUK_OK);
    Bytes want = b;
    want[20] = 0xEA;  // 1002 = 0x3EA
    want[21] = 0x03;
    EXPECT_EQ(read_file(p), want);
}

TEST_F(StreamFile, MissingPathAndTheCallersPointer) {
    const std::string missing = temp_path("no/such/dir/file");
    RukStream* s = nullptr;
    EXPECT_EQ(rukLoadStreamF(&s, missing.c_str()), RUK_ERROR_OPEN_FAILED);
    EXPECT_EQ(s, nullptr);
    // A stream given in the pointer is deleted at a failure (with its
    // chunks: a leak would show under AddressSanitizer).
    ASSERT_EQ(rukNewStreamEx(&s, RUK_BRNG_MCG31M1, 0, nullptr), RUK_OK);
    ASSERT_EQ(rukAddChunk(s, 1, std::malloc(16), 16), RUK_OK);
    EXPECT_EQ(rukLoadStreamF(&s, missing.c_str()), RUK_ERROR_OPEN_FAILED);
    EXPECT_EQ(s, nullptr);
}

TEST_F(StreamFile, SaveFailures) {
    StreamHandle h;
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MCG31M1, 0, nullptr), RUK_OK);
    EXPECT_EQ(rukSaveStreamF(h.get(), temp_path("no/such/dir/f").c_str(), -1),
              RUK_ERROR_OPEN_FAILED);
    // A full device: the buffered bytes fail at the close, which decides.
    if (std::FILE* f = std::fopen("/dev/full", "wb")) {
        std::fclose(f);
        EXPECT_EQ(rukSaveStreamF(h.get(), "/dev/full", -1), RUK_ERROR_CLOSE_FAILED);
    }
    // An empty chunk writes no item: a short write.
    ASSERT_EQ(rukAddChunk(h.get(), 4, std::malloc(1), 0), RUK_OK);
    EXPECT_EQ(rukSaveStreamF(h.get(), path("empty-chunk").c_str(), -1), RUK_ERROR_WRITE_FAILED);
    // So does a generator with no state at all.
    const RukBrngEntry row = xt::counter_row(16);
    const int32_t id = rukRegisterBrng(&row);
    ASSERT_GT(id, 0);
    StreamHandle empty;
    ASSERT_EQ(rukNewStreamEx(empty.out(), id, 0, nullptr), RUK_OK);
    EXPECT_EQ(rukSaveStreamF(empty.get(), path("empty-state").c_str(), -1), RUK_ERROR_WRITE_FAILED);
}

}  // namespace
