// Pack and Unpack: strides (positive, negative, zero), index vectors with
// repeats and negative entries, masks, lengths around the unrolled block of
// eight and counts of zero and below, and which forms keep a signalling
// NaN's bits.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "xebruk/vm_pack.h"

namespace {

// The six operations of one precision.
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

// Distinct values first, first + 1, ... so every misplaced copy shows.
template <class T>
std::vector<T> counting(int n, T first = 1) {
    std::vector<T> v(n);
    for (int i = 0; i < n; ++i) v[i] = first + static_cast<T>(i);
    return v;
}

template <class T>
void check_ops(const Ops<T>& ops) {
    for (int n : {0, 1, 7, 8, 9, 17}) {
        for (int inc : {1, 3, -2, 0}) {
            // Base in the middle of a buffer, so negative strides stay inside.
            const int span = 3 * (n + 1);
            const std::vector<T> buf = counting<T>(2 * span + 1), src = counting<T>(n, T(100));
            const T* a = buf.data() + span;
            std::vector<T> y(n + 1, T(-7)), out(2 * span + 1, T(0)), want(out);
            ops.pack_i(n, a, inc, y.data());
            for (int i = 0; i < n; ++i) EXPECT_EQ(y[i], a[i * inc]) << n << " " << inc << " " << i;
            EXPECT_EQ(y[n], T(-7)) << "wrote past n";
            if (inc == 0) continue;
            ops.unpack_i(n, src.data(), out.data() + span, inc);
            for (int i = 0; i < n; ++i) want[span + i * inc] = src[i];
            EXPECT_EQ(out, want) << n << " " << inc;
        }
        // Masks: pack the non-zero entries in order, unpack them back where
        // the mask says and leave the rest; a mask of zeros touches nothing.
        const std::vector<T> a = counting<T>(n);
        std::vector<int32_t> m(n);
        std::vector<T> packed(n + 1, T(-7)), expected, back(n, T(-3)), untouched(n, T(-3));
        for (int i = 0; i < n; ++i) m[i] = (i % 3 == 1) ? 0 : (i % 2 ? -4 : 1);
        for (int i = 0; i < n; ++i)
            if (m[i]) expected.push_back(a[i]);
        ops.pack_m(n, a.data(), m.data(), packed.data());
        const std::size_t k = expected.size();
        EXPECT_EQ(std::vector<T>(packed.begin(), packed.begin() + k), expected) << n;
        EXPECT_EQ(packed[k], T(-7)) << "wrote past the count of non-zero entries";
        ops.unpack_m(n, packed.data(), back.data(), m.data());
        for (int i = 0; i < n; ++i) EXPECT_EQ(back[i], m[i] ? a[i] : T(-3)) << n << " " << i;
        ops.unpack_m(n, a.data(), untouched.data(), std::vector<int32_t>(n, 0).data());
        EXPECT_EQ(untouched, std::vector<T>(n, T(-3)));
    }
    // Index vectors with repeats and negative entries; 9 of them: one block
    // of eight and a tail.  Scattering with repeats keeps the last write.
    const std::vector<T> buf = counting<T>(40), src = counting<T>(9, T(100));
    const std::vector<int32_t> ia = {3, 3, -5, 0, 19, -20, 3, 7, -1};
    std::vector<T> y(9), out(40, T(0));
    ops.pack_v(9, buf.data() + 20, ia.data(), y.data());
    for (int i = 0; i < 9; ++i) EXPECT_EQ(y[i], buf[20 + ia[i]]) << i;
    ops.unpack_v(9, src.data(), out.data() + 20, ia.data());
    EXPECT_EQ(out[20 + 3], T(106));
    EXPECT_EQ(out[20 - 5], T(102));
    EXPECT_EQ(out[20 - 20], T(105));
    EXPECT_EQ(out[20 + 19], T(104));
    EXPECT_EQ(out[20 + 1], T(0));
    // Counts of zero and below touch nothing.
    for (int n : {0, -1, -9}) {
        const std::vector<int32_t> ones(16, 1);
        std::vector<T> moved(16, T(-7));
        ops.pack_i(n, buf.data(), 1, moved.data());
        ops.unpack_i(n, buf.data(), moved.data(), 1);
        ops.pack_v(n, buf.data(), ones.data(), moved.data());
        ops.unpack_v(n, buf.data(), moved.data(), ones.data());
        ops.pack_m(n, buf.data(), ones.data(), moved.data());
        ops.unpack_m(n, buf.data(), moved.data(), ones.data());
        EXPECT_EQ(moved, std::vector<T>(16, T(-7))) << n;
    }
}

TEST(Pack, StridesIndexVectorsAndMasksInBothPrecisions) {
    check_ops(kSingle);
    check_ops(kDouble);
}

TEST(Pack, OnlyTheDoubleMaskFormsQuietSignallingNaNs) {
    const uint64_t snan = 0x7FF0000000000123ull, quieted = 0x7FF8000000000123ull;
    const uint32_t snan_f = 0x7F800123u;
    const double a[2] = {xeb::double_from_bits(snan), 1.0};
    const float af[2] = {xeb::float_from_bits(snan_f), 1.0f};
    const int32_t idx[2] = {0, 1}, mask[2] = {1, 1};
    double y[2];
    float yf[2];
    const std::function<void()> keep_d[] = {[&] { xebdPackI(2, a, 1, y); }, [&] { xebdUnpackI(2, a, y, 1); },
                                            [&] { xebdPackV(2, a, idx, y); }, [&] { xebdUnpackV(2, a, y, idx); }};
    const std::function<void()> keep_s[] = {[&] { xebsPackI(2, af, 1, yf); }, [&] { xebsUnpackV(2, af, yf, idx); },
                                            [&] { xebsPackM(2, af, mask, yf); }, [&] { xebsUnpackM(2, af, yf, mask); }};
    for (const auto& f : keep_d) {
        y[0] = 0;
        f();
        EXPECT_EQ(xeb::bits(y[0]), snan);
    }
    for (const auto& f : keep_s) {
        yf[0] = 0;
        f();
        EXPECT_EQ(xeb::bits(yf[0]), snan_f);
    }
    xeb::fpu::x87_clear_exceptions();
    xebdPackM(2, a, mask, y);
    EXPECT_EQ(xeb::bits(y[0]), quieted);
    EXPECT_TRUE(xeb::fpu::x87_status() & 1) << "the x87 invalid flag";
    y[0] = 0;
    xebdUnpackM(2, a, y, mask);
    EXPECT_EQ(xeb::bits(y[0]), quieted);
    xeb::fpu::x87_clear_exceptions();
}

}  // namespace
