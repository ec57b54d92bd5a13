// Aligned allocation, zeroing and copying across their size classes.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "signal/primitives.h"

namespace {

using namespace xeb::sig;

TEST(SignalPrims, Allocation) {
    sigFailAllocationsAfter(-1);
    EXPECT_EQ(sigAllocBytes(0), nullptr);
    EXPECT_EQ(sigAllocBytes(-5), nullptr);
    EXPECT_EQ(sigAlloc32f(0), nullptr);
    EXPECT_EQ(sigAllocationCount(), 0);  // refused before any malloc
    for (int64_t bytes : {1, 3, 31, 32, 33, 4096, 100001}) {
        auto* p = static_cast<unsigned char*>(sigAllocBytes(bytes));
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 32, 0u);
        std::memset(p, 0xA5, static_cast<std::size_t>(bytes));  // the whole count is usable
        sigFree(p);
    }
    sigFree(nullptr);
    sigFailAllocationsAfter(1);
    void* first = sigAllocBytes(8);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(sigAlloc32f(8), nullptr);
    sigFree(first);
    sigFailAllocationsAfter(-1);
}

// Every size class and every 4-byte misalignment of source and destination
// gives the same bytes, and nothing outside the range is touched.
TEST(SignalPrims, CopyAndZeroSizeClasses) {
    const int32_t counts[] = {1, 2, 3, 15, 16, 17, 2047, 2048, 2049, 4095, 4096, 5119, 5120, 5121, 9000, 70000};
    for (int32_t count : counts) {
        for (int so = 0; so < 4; ++so)
            for (int dof = 0; dof < 4; ++dof) {
                std::vector<float> src(count + 8), dst(count + 8, -1.0f);
                for (int32_t i = 0; i < count + 8; ++i) src[i] = static_cast<float>(i) + 0.5f;
                ASSERT_EQ(sigCopy32f(src.data() + so, dst.data() + dof, count), SIG_OK);
                for (int i = 0; i < dof; ++i) ASSERT_EQ(dst[i], -1.0f);
                ASSERT_EQ(std::memcmp(dst.data() + dof, src.data() + so, count * 4u), 0) << count;
                for (int i = dof + count; i < count + 8; ++i) ASSERT_EQ(dst[i], -1.0f);
                if (so != 0) continue;
                ASSERT_EQ(sigZero32f(dst.data() + dof, count), SIG_OK);
                for (int i = 0; i < count + 8; ++i)
                    ASSERT_EQ(dst[i], i >= dof && i < dof + count ? 0.0f : -1.0f) << count << " " << i;
                std::vector<unsigned char> bytes(count + 16, 7);
                ASSERT_EQ(sigZeroBytes(bytes.data() + dof, count), SIG_OK);
                for (int i = 0; i < count + 16; ++i)
                    ASSERT_EQ(bytes[i], i >= dof && i < dof + count ? 0 : 7) << count << " " << i;
            }
    }
    float f = 1;
    EXPECT_EQ(sigZero32f(nullptr, 4), SIG_ERR_NULL);
    EXPECT_EQ(sigZero32f(&f, 0), SIG_ERR_SIZE);
    EXPECT_EQ(sigZeroBytes(&f, -1), SIG_ERR_SIZE);
    EXPECT_EQ(sigCopy32f(nullptr, &f, 1), SIG_ERR_NULL);
    EXPECT_EQ(sigCopy32f(&f, &f, 0), SIG_ERR_SIZE);
    EXPECT_EQ(f, 1.0f);
}

}  // namespace
