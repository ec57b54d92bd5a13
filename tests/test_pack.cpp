// Pack and Unpack: strides (positive, negative, zero), index vectors with
// repeats and negative entries, masks, lengths around the unrolled block of
// eight, and which forms keep a signalling NaN's bits.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "xebruk/vm_pack.h"

namespace {

// The twelve operations of one precision.
template <class T>
struct Ops {
    void (*pack_i)(int, const T*, int, T*);
    void (*unpack_i)(int, const T*, T*, int);
    void (*pack_v)(int, const T*, const int32_t*, T*);
    void (*unpack_v)(int, const T*, T*, const int32_t*);
    void (*pack_m)(int, const T*, const int32_t*, T*);
    void (*unpack_m)(int, const T*, T*, const int32_t*);
};
const Ops<float> kSingle{xebsPackI, xebsUnpackI, xebsPackV, xebsUnpackV, xebsPackM, xebsUnpackM};
const Ops<double> kDouble{xebdPackI, xebdUnpackI, xebdPackV, xebdUnpackV, xebdPackM, xebdUnpackM};

const int kLengths[] = {0, 1, 7, 8, 9, 17};

// Distinct values 1, 2, 3, ... so every misplaced copy shows.
template <class T>
std::vector<T> counting(int n, T first = 1) {
    std::vector<T> v(n);
    for (int i = 0; i < n; ++i) v[i] = first + static_cast<T>(i);
    return v;
}

template <class T>
void check_strides(const Ops<T>& ops) {
    for (int n : kLengths) {
        for (int inc : {1, 3, -2, 0}) {
            // Base in the middle of a buffer, so negative strides stay inside.
            const int span = 3 * (n + 1);
            std::vector<T> buf = counting<T>(2 * span + 1);
            const T* a = buf.data() + span;
            std::vector<T> y(n + 1, T(-7));
            ops.pack_i(n, a, inc, y.data());
            for (int i = 0; i < n; ++i) EXPECT_EQ(y[i], a[i * inc]) << n << " " << inc << " " << i;
            EXPECT_EQ(y[n], T(-7)) << "wrote past n";
            if (inc == 0) continue;
            std::vector<T> out(2 * span + 1, T(0));
            const std::vector<T> src = counting<T>(n, T(100));
            ops.unpack_i(n, src.data(), out.data() + span, inc);
            std::vector<T> want(out.size(), T(0));
            for (int i = 0; i < n; ++i) want[span + i * inc] = src[i];
            EXPECT_EQ(out, want) << n << " " << inc;
        }
    }
}

template <class T>
void check_indices(const Ops<T>& ops) {
    const std::vector<T> buf = counting<T>(40);
    const T* a = buf.data() + 20;
    // Repeats and negative entries; 9 of them: one block of eight and a tail.
    const std::vector<int32_t> ia = {3, 3, -5, 0, 19, -20, 3, 7, -1};
    std::vector<T> y(9);
    ops.pack_v(9, a, ia.data(), y.data());
    for (int i = 0; i < 9; ++i) EXPECT_EQ(y[i], a[ia[i]]) << i;
    // Scatter with repeats: the last write to an index stays.
    std::vector<T> out(40, T(0));
    const std::vector<T> src = counting<T>(9, T(100));
    ops.unpack_v(9, src.data(), out.data() + 20, ia.data());
    EXPECT_EQ(out[20 + 3], T(106));
    EXPECT_EQ(out[20 - 5], T(102));
    EXPECT_EQ(out[20 - 20], T(105));
    EXPECT_EQ(out[20 + 19], T(104));
    EXPECT_EQ(out[20 + 1], T(0));
}

template <class T>
void check_masks(const Ops<T>& ops) {
    for (int n : kLengths) {
        const std::vector<T> a = counting<T>(n);
        std::vector<int32_t> m(n);
        for (int i = 0; i < n; ++i) m[i] = (i % 3 == 1) ? 0 : (i % 2 ? -4 : 1);
        std::vector<T> packed(n + 1, T(-7)), expected;
        for (int i = 0; i < n; ++i)
            if (m[i]) expected.push_back(a[i]);
        ops.pack_m(n, a.data(), m.data(), packed.data());
        const std::size_t k = expected.size();
        EXPECT_EQ(std::vector<T>(packed.begin(), packed.begin() + k), expected) << n;
        EXPECT_EQ(packed[k], T(-7)) << "wrote past the count of non-zero entries";
        // Unpack puts them back where the mask says and leaves the rest.
        std::vector<T> back(n, T(-3));
        ops.unpack_m(n, packed.data(), back.data(), m.data());
        for (int i = 0; i < n; ++i) EXPECT_EQ(back[i], m[i] ? a[i] : T(-3)) << n << " " << i;
        // A mask of zeros leaves y as it was.
        const std::vector<int32_t> zeros(n, 0);
        std::vector<T> untouched(n, T(-3));
        ops.unpack_m(n, a.data(), untouched.data(), zeros.data());
        EXPECT_EQ(untouched, std::vector<T>(n, T(-3)));
    }
}

TEST(Pack, StridesForwardBackwardAndZero) {
    check_strides(kSingle);
    check_strides(kDouble);
}

TEST(Pack, IndexVectorsWithRepeatsAndNegativeEntries) {
    check_indices(kSingle);
    check_indices(kDouble);
}

TEST(Pack, MasksPackTheNonZeroEntriesInOrder) {
    check_masks(kSingle);
    check_masks(kDouble);
}

TEST(Pack, CountsOfZeroOrBelowTouchNothing) {
    xebsPackI(0, nullptr, 1, nullptr);
    xebsUnpackV(0, nullptr, nullptr, nullptr);
    xebsPackM(0, nullptr, nullptr, nullptr);
    xebdUnpackM(0, nullptr, nullptr, nullptr);
    xebdPackV(0, nullptr, nullptr, nullptr);
    xebdUnpackI(-3, nullptr, nullptr, 1);
    xebsPackV(-1, nullptr, nullptr, nullptr);
}

TEST(Pack, OnlyTheDoubleMaskFormsQuietSignallingNaNs) {
    const uint64_t snan = 0x7FF0000000000123ull, quieted = 0x7FF8000000000123ull;
    const uint32_t snan_f = 0x7F800123u;
    const double a[2] = {xeb::double_from_bits(snan), 1.0};
    const float af[2] = {xeb::float_from_bits(snan_f), 1.0f};
    const int32_t idx[2] = {0, 1}, mask[2] = {1, 1};
    double y[2];
    float yf[2];
    auto bits0 = [&] { return xeb::bits(y[0]); };
    auto bits0f = [&] { return xeb::bits(yf[0]); };

    xebdPackI(2, a, 1, y);
    EXPECT_EQ(bits0(), snan);
    xebdUnpackI(2, a, y, 1);
    EXPECT_EQ(bits0(), snan);
    xebdPackV(2, a, idx, y);
    EXPECT_EQ(bits0(), snan);
    xebdUnpackV(2, a, y, idx);
    EXPECT_EQ(bits0(), snan);
    xebsPackI(2, af, 1, yf);
    EXPECT_EQ(bits0f(), snan_f);
    xebsUnpackV(2, af, yf, idx);
    EXPECT_EQ(bits0f(), snan_f);
    xebsPackM(2, af, mask, yf);
    EXPECT_EQ(bits0f(), snan_f);
    xebsUnpackM(2, af, yf, mask);
    EXPECT_EQ(bits0f(), snan_f);

    xeb::fpu::x87_clear_exceptions();
    xebdPackM(2, a, mask, y);
    EXPECT_EQ(bits0(), quieted);
    EXPECT_TRUE(xeb::fpu::x87_status() & 1) << "the x87 invalid flag";
    xebdUnpackM(2, a, y, mask);
    EXPECT_EQ(bits0(), quieted);
    xeb::fpu::x87_clear_exceptions();
}

}  // namespace
