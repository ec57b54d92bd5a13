// Stream files: the bytes written, round trips that continue the sequence,
// and every way a load can fail.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <algorithm>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "rng/wh.h"
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
    const double pending[2] = {0.25, 0.75};
    ASSERT_EQ(rukAddChunk(h.get(), 2, malloc_copy(pending, sizeof pending), sizeof pending), RUK_OK);
    ASSERT_EQ(rukAddChunk(h.get(), 100, malloc_copy(&seed, 4), 4), RUK_OK);  // no law's id

    const std::string p = path("roundtrip");
    ASSERT_EQ(rukSaveStreamF(h.get(), p.c_str(), -1), RUK_OK);
    StreamHandle back;
    ASSERT_EQ(rukLoadStreamF(back.out(), p.c_str()), RUK_OK);
    EXPECT_EQ(back->brngId, RUK_BRNG_MCG31M1);
    EXPECT_EQ(back->headerFlag, 1);
    EXPECT_EQ(rukGetNumChunks(back.get()), 2);
    ASSERT_NE(rukSearchChunk(back.get(), 2), nullptr);
    EXPECT_EQ(0, std::memcmp(rukSearchChunk(back.get(), 2), pending, sizeof pending));
    EXPECT_EQ(*static_cast<uint32_t*>(rukSearchChunk(back.get(), 100)), seed);

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
    put32(chunked, {100, 8, 1, 2});  // the first chunk whole
    EXPECT_EQ(load_fails(chunked), RUK_ERROR_READ_FAILED);  // the second one is missing
    put32(chunked, {101, 6, 9});  // 4 of 6 bytes
    EXPECT_EQ(load_fails(chunked), RUK_ERROR_READ_FAILED);
    Bytes huge = mcg_file(12, 1132489760, 1);
    put32(huge, {100, 0xFFFFFFF0u, 1});
    EXPECT_EQ(load_fails(huge), RUK_ERROR_READ_FAILED);
    Bytes torn = mcg_file(12, 1132489760, 1);
    put32(torn, {100});
    torn.push_back(1);  // half a size field
    EXPECT_EQ(load_fails(torn), RUK_ERROR_READ_FAILED);
}

// The bytes of a stream file that the library wrote.
Bytes saved(RukStream* stream, const std::string& p) {
    EXPECT_EQ(rukSaveStreamF(stream, p.c_str(), -1), RUK_OK);
    return read_file(p);
}

template <class T>
void put_at(Bytes& b, std::size_t at, T v) {
    std::memcpy(&b[at], &v, sizeof v);
}

// A Poisson set-up (84 doubles) with only its keys: PTPE's mean first,
// the table's at double 51.
std::vector<double> poisson_keys(double large, double small) {
    std::vector<double> d(84, 0.0);
    d[0] = large;
    d[51] = small;
    return d;
}

// A file passes the header's tests but holds what draws could not use: a
// generator state outside the generator's invariants, or a chunk of a
// law's identifier with the wrong size or contents.  Before these checks
// each loaded with status 0, and draws afterwards read past a chunk
// (Gaussian pair of 1 byte) or never returned (Binomial on MCG31M1 x = 0).
TEST_F(StreamFile, StatesAndChunksDrawsCannotUseAreRefused) {
    constexpr uint32_t a = 1132489760;
    const std::string p = path("source");
    auto with_chunk = [&](int32_t id, std::vector<double> data, uint32_t size) {
        Bytes b = mcg_file(12, a, 1);
        put32(b, {static_cast<uint32_t>(id), size});
        data.resize((size + 7) / 8);
        const auto* bytes = reinterpret_cast<const unsigned char*>(data.data());
        b.insert(b.end(), bytes, bytes + size);
        return b;
    };
    auto stream_file = [&](int32_t id, uint32_t seed, auto edit) {
        StreamHandle h;
        EXPECT_EQ(rukNewStreamEx(h.out(), id, 1, &seed), RUK_OK);
        uint32_t r[7 * 4];                     // elements of up to four words
        rukiRngUniformBits(0, h.get(), 7, r);  // mid-vector for the quasi generators
        Bytes b = saved(h.get(), p);
        edit(b);
        return b;
    };
    // Offsets in the file: the state starts at 20.  MT19937: 624 words,
    // then the position.  Gray-code states: counter, dimension, leapDim,
    // remaining, point[max], direction[max][33].
    constexpr std::size_t kMtIndex = 20 + 4 * 624, kSobolDirections = 36 + 4 * 40,
                          kNiederrDirections = 36 + 4 * 318;
    const struct {
        const char* what;
        Bytes file;
    } cases[] = {
        {"MCG31M1 x = 0", mcg_file(0, a, 0)},
        {"MCG31M1 x = 2^31 - 1", mcg_file(0x7FFFFFFF, a, 0)},
        {"MCG31M1 multiplier 0xFFFFFFFF", mcg_file(12, 0xFFFFFFFF, 0)},
        {"MCG31M1 multiplier 0", mcg_file(12, 0, 0)},
        {"MT19937 position 625", stream_file(RUK_BRNG_MT19937, 5, [&](Bytes& b) { put_at<int32_t>(b, kMtIndex, 625); })},
        {"MT19937 zero generation", stream_file(RUK_BRNG_MT19937, 5, [&](Bytes& b) {
             std::fill(b.begin() + 20, b.begin() + kMtIndex, 0);
             b[20 + 3] = 0x7F;  // low bits of word 0 do not count
         })},
        {"SOBOL direction word", stream_file(RUK_BRNG_SOBOL, 3, [&](Bytes& b) { b[kSobolDirections + 4 * 33 + 8] ^= 1; })},
        {"SOBOL unused row word", stream_file(RUK_BRNG_SOBOL, 3, [&](Bytes& b) { b[kSobolDirections + 4 * 32] = 1; })},
        {"SOBOL current point", stream_file(RUK_BRNG_SOBOL, 3, [&](Bytes& b) { b[36 + 4] ^= 0x80; })},
        {"SOBOL component 3 of 3", stream_file(RUK_BRNG_SOBOL, 3, [&](Bytes& b) { put_at<int32_t>(b, 28, 3); })},
        {"SOBOL dimension 41", stream_file(RUK_BRNG_SOBOL, 3, [&](Bytes& b) { put_at<int32_t>(b, 24, 41); })},
        {"SOBOL dimension 0 with a counter", stream_file(RUK_BRNG_SOBOL, 0, [&](Bytes& b) { put_at<uint32_t>(b, 20, 9); })},
        {"Niederr direction word", stream_file(RUK_BRNG_NIEDERR, 300, [&](Bytes& b) { b[kNiederrDirections + 4 * 33 * 299] ^= 4; })},
        {"MRG32K3A x1 = m1", stream_file(RUK_BRNG_MRG32K3A, 5, [&](Bytes& b) { put_at<uint32_t>(b, 20, 4294967087u); })},
        {"MRG32K3A y all zero", stream_file(RUK_BRNG_MRG32K3A, 5, [&](Bytes& b) { std::fill(b.begin() + 32, b.end(), 0); })},
        {"MCG59 x = 2^59", stream_file(RUK_BRNG_MCG59, 5, [&](Bytes& b) { put_at<uint64_t>(b, 20, uint64_t{1} << 59); })},
        {"MCG59 x = 0", stream_file(RUK_BRNG_MCG59, 5, [&](Bytes& b) { put_at<uint64_t>(b, 20, 0); })},
        {"MCG59 even multiplier", stream_file(RUK_BRNG_MCG59, 5, [&](Bytes& b) { b[28] ^= 1; })},
        {"R250 first 250", stream_file(RUK_BRNG_R250, 5, [&](Bytes& b) { put_at<int32_t>(b, 1020, 250); })},
        {"R250 second not 103 on", stream_file(RUK_BRNG_R250, 5, [&](Bytes& b) { put_at<int32_t>(b, 1024, 104); })},
        // Set 272's own modulus (below set 0's) and a zero multiplier.
        {"WH x4 = m4", stream_file(RUK_BRNG_WH + 272, 5, [&](Bytes& b) { put_at(b, 32, xeb::rng::kWhParameters[272].modulus[3]); })},
        {"WH a1 = 0", stream_file(RUK_BRNG_WH + 272, 5, [&](Bytes& b) { put_at<uint32_t>(b, 36, 0); })},
        {"Gaussian double pair of 1 byte", with_chunk(RUK_CHUNK_GAUSSIAN_DOUBLE_PAIR, {}, 1)},
        {"Gaussian single pair of 16 bytes", with_chunk(RUK_CHUNK_GAUSSIAN_SINGLE_PAIR, {}, 16)},
        {"Gaussian pair outside [0, 1]", with_chunk(RUK_CHUNK_GAUSSIAN_DOUBLE_PAIR, {0.5, 1.5}, 16)},
        {"Gaussian pair half empty", with_chunk(RUK_CHUNK_GAUSSIAN_DOUBLE_PAIR, {-1.0, 0.5}, 16)},
        {"Binomial set-up of 16 bytes", with_chunk(RUK_CHUNK_BINOMIAL, {100, 0.3}, 16)},
        {"Binomial key p = 1.5", with_chunk(RUK_CHUNK_BINOMIAL, {100, 1.5}, 680)},
        {"Binomial key trials 2.5", with_chunk(RUK_CHUNK_BINOMIAL, {2.5, 0.3}, 680)},
        {"Binomial key trials 2^31", with_chunk(RUK_CHUNK_BINOMIAL, {2147483648.0, 0.3}, 680)},
        {"fresh Binomial key, table not", with_chunk(RUK_CHUNK_BINOMIAL, {0, 0, 1e300}, 680)},
        {"Gamma double record of 8 bytes", with_chunk(RUK_CHUNK_GAMMA_DOUBLE_PAIR, {}, 8)},
        {"Gamma single record of 16 bytes", with_chunk(RUK_CHUNK_GAMMA_SINGLE_PAIR, {}, 16)},
        {"Gamma uniform outside [0, 1]", with_chunk(RUK_CHUNK_GAMMA_DOUBLE_PAIR, {1.5, 0.0}, 16)},
        {"Gamma normal infinite", with_chunk(RUK_CHUNK_GAMMA_DOUBLE_PAIR, {0.5, HUGE_VAL}, 16)},
        {"Gamma record half empty", with_chunk(RUK_CHUNK_GAMMA_DOUBLE_PAIR, {-1.0, 0.5}, 16)},
        {"Poisson set-up of 16 bytes", with_chunk(RUK_CHUNK_POISSON, {}, 16)},
        {"Poisson table key 27", with_chunk(RUK_CHUNK_POISSON, poisson_keys(0, 27), 672)},
        {"Poisson table key -1", with_chunk(RUK_CHUNK_POISSON, poisson_keys(0, -1), 672)},
        {"Poisson table key NaN", with_chunk(RUK_CHUNK_POISSON, poisson_keys(0, std::nan("")), 672)},
        {"Poisson PTPE key 26", with_chunk(RUK_CHUNK_POISSON, poisson_keys(26, 0), 672)},
        {"Poisson PTPE key 3e9", with_chunk(RUK_CHUNK_POISSON, poisson_keys(3e9, 0), 672)},
        {"Hypergeometric set-up of 24 bytes", with_chunk(RUK_CHUNK_HYPERGEOMETRIC, {1000, 400, 100}, 24)},
        {"Hypergeometric key sample above lot", with_chunk(RUK_CHUNK_HYPERGEOMETRIC, {10, 5, 11}, 648)},
        {"Hypergeometric key lot 2.5", with_chunk(RUK_CHUNK_HYPERGEOMETRIC, {2.5, 1, 1}, 648)},
        {"fresh Hypergeometric key, table not", with_chunk(RUK_CHUNK_HYPERGEOMETRIC, {0, 0, 0, 1}, 648)},
        {"Negbinomial key a = 0", with_chunk(RUK_CHUNK_NEGBINOMIAL, {0, 0.5}, 1304)},
        {"Negbinomial key p = 1.5", with_chunk(RUK_CHUNK_NEGBINOMIAL, {3, 1.5}, 1304)},
        {"Negbinomial key beyond 32 bits", with_chunk(RUK_CHUNK_NEGBINOMIAL, {1, 1e-10}, 1304)},
        {"fresh Negbinomial key, table not", with_chunk(RUK_CHUNK_NEGBINOMIAL, {0, 0, 1e300}, 1304)},
    };
    for (const auto& c : cases) EXPECT_EQ(load_fails(c.file), RUK_ERROR_BAD_STREAM_FILE) << c.what;
}

// What the checks accept: every generator's states after seeding, draws
// and moves, and a Binomial set-up whose table is rebuilt from its key, so
// that a table spoilt in the file changes nothing.
TEST_F(StreamFile, StatesOfEveryGeneratorAndRebuiltSetUpsLoad) {
    const std::string p = path("good");
    const struct {
        int32_t id;
        uint32_t seed;
        int32_t leap;  // component or index for a leapfrog, -1 for none
    } cases[] = {{RUK_BRNG_MCG31M1, 3, 1},  {RUK_BRNG_MT19937, 3, -1}, {RUK_BRNG_SOBOL, 5, 2},
                 {RUK_BRNG_SOBOL, 0, -1},   {RUK_BRNG_NIEDERR, 318, 100}, {RUK_BRNG_NIEDERR, 7, -1},
                 {RUK_BRNG_MRG32K3A, 3, -1}, {RUK_BRNG_MCG59, 3, 1},     {RUK_BRNG_R250, 3, -1},
                 {RUK_BRNG_WH + 100, 3, 2}};
    for (const auto& c : cases) {
        StreamHandle h, back;
        ASSERT_EQ(rukNewStreamEx(h.out(), c.id, 1, &c.seed), RUK_OK);
        uint32_t r[700] = {}, s[700] = {};
        RukBrngEntry row;
        ASSERT_EQ(rukGetBrngProperties(c.id, &row), RUK_OK);
        const int32_t elements = 700 * 4 / row.wordSize;
        const bool quasi = c.id == RUK_BRNG_SOBOL || c.id == RUK_BRNG_NIEDERR;
        rukiRngUniformBits(0, h.get(), 13, r);
        if (c.leap >= 0) {
            ASSERT_EQ(rukLeapfrogStream(h.get(), c.leap, quasi ? 0x7FFFFFFF : 5), RUK_OK);
        }
        if (c.id != RUK_BRNG_MT19937 && c.id != RUK_BRNG_R250 && c.seed != 0) {
            ASSERT_EQ(rukSkipAheadStream(h.get(), 1001), RUK_OK);
        }
        saved(h.get(), p);
        ASSERT_EQ(rukLoadStreamF(back.out(), p.c_str()), RUK_OK) << c.id << " " << c.seed;
        rukiRngUniformBits(0, h.get(), elements, r);
        rukiRngUniformBits(0, back.get(), elements, s);
        EXPECT_EQ(0, std::memcmp(r, s, sizeof r)) << c.id;
    }

    StreamHandle h, back;
    const uint32_t seed = 9;
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MT19937, 1, &seed), RUK_OK);
    int32_t r[500], s[500];
    ASSERT_EQ(rukiRngBinomial(0, h.get(), 10, r, 400, 0.2), RUK_OK);
    Bytes b = saved(h.get(), p);
    for (std::size_t i = b.size() - 680 + 16; i < b.size(); ++i) b[i] = 0xA5;  // the table, not the key
    write_file(p, b);
    ASSERT_EQ(rukLoadStreamF(back.out(), p.c_str()), RUK_OK);
    ASSERT_EQ(rukiRngBinomial(0, h.get(), 500, r, 400, 0.2), RUK_OK);
    ASSERT_EQ(rukiRngBinomial(0, back.get(), 500, s, 400, 0.2), RUK_OK);
    EXPECT_EQ(0, std::memcmp(r, s, sizeof r));

    // The same for both halves of a Poisson set-up (all but the keys).
    StreamHandle ph, pback;
    ASSERT_EQ(rukNewStreamEx(ph.out(), RUK_BRNG_MT19937, 1, &seed), RUK_OK);
    ASSERT_EQ(rukiRngPoisson(0, ph.get(), 10, r, 12.5), RUK_OK);
    ASSERT_EQ(rukiRngPoisson(0, ph.get(), 10, r, 400), RUK_OK);
    b = saved(ph.get(), p);
    const std::size_t record = b.size() - 672;
    for (std::size_t i = record + 8; i < b.size(); ++i)
        if (i < record + 8 * 51 || i >= record + 8 * 52) b[i] = 0xA5;
    write_file(p, b);
    ASSERT_EQ(rukLoadStreamF(pback.out(), p.c_str()), RUK_OK);
    for (const double mean : {12.5, 400.0}) {
        ASSERT_EQ(rukiRngPoisson(0, ph.get(), 500, r, mean), RUK_OK);
        ASSERT_EQ(rukiRngPoisson(0, pback.get(), 500, s, mean), RUK_OK);
        EXPECT_EQ(0, std::memcmp(r, s, sizeof r)) << mean;
    }
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
