// Linear convolution and correlation against a direct long double sum.
// FFT arithmetic is accurate relative to the largest sum_i |x_i| |h_(k-i)|
// over all outputs, so that global scale sets the bound.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "signal/convolve.h"
#include "signal/primitives.h"
#include "support/scale.h"
#include "support/signals.h"

namespace {

using namespace xeb::sig;

// Largest error of y against the reference, relative to the largest
// absolute sum of any output.
struct Reference {
    std::vector<long double> value, abs_sum;
    double error_of(const float* y) const {
        long double scale = 0, worst = 0;
        for (std::size_t k = 0; k < value.size(); ++k) scale = std::max(scale, abs_sum[k]);
        for (std::size_t k = 0; k < value.size(); ++k) worst = std::max(worst, fabsl(y[k] - value[k]));
        return scale > 0 ? static_cast<double>(worst / scale) : static_cast<double>(worst);
    }
};

// Outputs low .. low + count - 1 of sum_i a[i] b[k - i] (convolution) or
// sum_i a[i] b[i + k] (correlation), over the i where both are defined.
Reference direct(const std::vector<float>& a, const std::vector<float>& b, int64_t low, int64_t count, bool conv) {
    Reference r{std::vector<long double>(count, 0), std::vector<long double>(count, 0)};
    const auto n1 = static_cast<int64_t>(a.size()), n2 = static_cast<int64_t>(b.size());
    for (int64_t j = 0; j < count; ++j) {
        const int64_t k = low + j, lo = std::max<int64_t>(0, conv ? k - n2 + 1 : -k);
        for (int64_t i = lo; i < n1 && (conv ? i <= k : i + k < n2); ++i) {
            const long double p = static_cast<long double>(a[i]) * b[conv ? k - i : i + k];
            r.value[j] += p;
            r.abs_sum[j] += fabsl(p);
        }
    }
    return r;
}
Reference convolution(const std::vector<float>& x, const std::vector<float>& h) {
    return direct(x, h, 0, static_cast<int64_t>(x.size() + h.size() - 1), true);
}
Reference correlation(const std::vector<float>& a, const std::vector<float>& b, int64_t low, int64_t count) {
    return direct(a, b, low, count, false);
}

// Every path against the reference; direct paths work without any
// allocation, FFT paths report -9 when allocation fails.
TEST(Convolve, AllPathsAgainstReference) {
    const int32_t big = static_cast<int32_t>(xt::scaled(100000, 20000));
    const std::pair<int32_t, int32_t> sizes[] = {
        {1, 1},   {1, 7},     {7, 1},   {3, 5},      {56, 200},   {200, 56},  {1, 5000},  {5000, 1},
        {4096, 2}, {10001, 31}, {9000, 17}, {225, 32}, {157, 100}, {100, 299}, {300, 100}, {1000, 1000},
        {777, 512}, {big, 64},  {20000, 1000}, {70, 4000}, {255, 200},
    };
    for (auto [l1, l2] : sizes) {
        const auto x = xt::uniform_signal(l1, l1 * 31 + l2), h = xt::uniform_signal(l2, l2 * 17 + 1);
        const Reference ref = convolution(x, h);
        std::vector<float> y(ref.value.size() + 1, 99.0f);
        ASSERT_EQ(sigConvolve32f(x.data(), l1, h.data(), l2, y.data()), SIG_OK);
        EXPECT_LT(ref.error_of(y.data()), 1e-5) << l1 << " " << l2;
        EXPECT_EQ(y.back(), 99.0f) << "written past the end";
        const sigConvPath path = sigConvolveChoice(l1, l2).path;
        const bool direct = path == sigConvPath::Direct || path == sigConvPath::DirectBlocked;
        sigFailAllocationsAfter(0);
        EXPECT_EQ(sigConvolve32f(x.data(), l1, h.data(), l2, y.data()), direct ? SIG_OK : SIG_ERR_MEMORY);
        sigFailAllocationsAfter(-1);
    }
    // The filter spectrum and the first block of overlap-save, each failing
    // after the plan was made.
    const auto x = xt::uniform_signal(2000, 1), h = xt::uniform_signal(100, 2);
    std::vector<float> y(2099);
    sigFailAllocationsAfter(6);  // the six allocations of the plan succeed
    EXPECT_EQ(sigConvolve32f(x.data(), 2000, h.data(), 100, y.data()), SIG_ERR_MEMORY);
    sigFailAllocationsAfter(-1);
    float v = 1;
    EXPECT_EQ(sigConvolve32f(nullptr, 1, &v, 1, &v), SIG_ERR_NULL);
    EXPECT_EQ(sigConvolve32f(&v, 0, &v, 1, &v), SIG_ERR_SIZE);
    EXPECT_EQ(sigConvolve32f(&v, INT32_MAX, &v, 2, &v), SIG_ERR_SIZE);  // result beyond 32 bits
    EXPECT_EQ(v, 1.0f);
}

// Overlap-save at every block length of the short transforms, filters at
// both ends of each length's range: the error stays within a few roundings
// per layer of the transforms, 2^-24 log2 N of the largest absolute sum.
TEST(Convolve, OverlapSaveBlocksWithinTheTransformsBudget) {
    for (int32_t taps : {32, 63, 64, 127, 128, 255, 256}) {
        const int32_t len = 40 * taps + 7;
        const auto x = xt::uniform_signal(len, taps), h = xt::uniform_signal(taps, taps + 1);
        const sigConvChoice c = sigConvolveChoice(len, taps);
        ASSERT_EQ(c.path, sigConvPath::OverlapSave) << taps;
        std::vector<float> y(static_cast<std::size_t>(len + taps - 1));
        ASSERT_EQ(sigConvolve32f(x.data(), len, h.data(), taps, y.data()), SIG_OK);
        // Measured in every class: at most 1.9 units for orders 7 to 10.
        EXPECT_LT(convolution(x, h).error_of(y.data()), 0x1p-24 * c.order / 2) << taps;
    }
}

// One workspace through a sequence of calls gives the bits of calls
// without one: the filter spectrum is reused only for the same taps (a
// changed tap, a changed length, the inputs swapped), the plan only for the
// same order, and a failed allocation leaves a workspace the next call can
// use.
TEST(Convolve, WorkspaceGivesTheBitsOfAFreshCall) {
    struct Call {
        int32_t l1, l2;
        unsigned filter_seed;
        int32_t fail_after;  // allocations that succeed before the failure; -1 none
    };
    const Call calls[] = {
        {3000, 100, 1, -1}, {3000, 100, 1, -1},  // same taps: spectrum reused
        {5000, 100, 2, -1},                      // new taps, same order
        {100, 5000, 2, -1},                      // swapped: the same filter
        {3000, 101, 2, -1},                      // one tap more, same order
        {200, 150, 3, -1},                       // one-shot, order 9
        {20000, 1000, 3, -1}, {400, 40, 4, -1},  // larger, then smaller order
        {200, 60, 5, 0},  {200, 60, 5, -1},      // a larger block fails (plan kept), then works
        {9000, 2000, 5, 0}, {9000, 2000, 5, -1}, // a new plan fails
        {300, 31, 6, -1},                        // direct: the workspace untouched
        {9000, 2000, 5, -1},
    };
    sigConvWorkspace ws{};
    for (const Call& c : calls) {
        const int32_t s1 = std::min(c.l1, c.l2), s2 = std::max(c.l1, c.l2);
        auto a = xt::uniform_signal(s2, 9), h = xt::uniform_signal(s1, c.filter_seed);
        if (s1 == 101) h[50] = std::nextafter(h[50], 2.0f);
        const float* p1 = c.l1 == s2 ? a.data() : h.data();
        const float* p2 = c.l1 == s2 ? h.data() : a.data();
        std::vector<float> fresh(s1 + s2, 5.0f), kept(fresh);  // one past the end kept
        ASSERT_EQ(sigConvolve32f(p1, c.l1, p2, c.l2, fresh.data()), SIG_OK);
        sigFailAllocationsAfter(c.fail_after);
        const int32_t st = sigConvolve32fWith(p1, c.l1, p2, c.l2, kept.data(), &ws);
        sigFailAllocationsAfter(-1);
        ASSERT_EQ(st, c.fail_after < 0 ? SIG_OK : SIG_ERR_MEMORY) << c.l1 << " x " << c.l2;
        const bool same = std::memcmp(fresh.data(), kept.data(), sizeof(float) * kept.size()) == 0;
        EXPECT_TRUE(st != SIG_OK || same) << c.l1 << " x " << c.l2;
    }
    sigConvWorkspaceRelease(&ws);
}

// Every lag range: wholly before or after the overlap, partial and whole
// overlaps, both length orders, outputs at every alignment.
TEST(CrossCorr, DirectRangesAgainstReference) {
    const int32_t lens[] = {1, 2, 3, 7, 8, 13, 40, 101};
    std::vector<float> out(700);
    for (int32_t l1 : lens)
        for (int32_t l2 : lens) {
            const auto a = xt::uniform_signal(l1, l1 * 7 + l2), b = xt::uniform_signal(l2, l2 * 5 + 3);
            for (int32_t low = -l1 - 4; low <= l2 + 2; low += (l1 + l2 > 60 ? 5 : 1))
                for (int32_t count : {1, 3, 6, 9, 50, 250}) {
                    for (int offset : {0, 1, 3}) {
                        std::fill(out.begin(), out.end(), 77.0f);
                        float* dst = out.data() + 4 + offset;
                        ASSERT_EQ(sigCrossCorr32f(a.data(), l1, b.data(), l2, dst, count, low), SIG_OK);
                        const Reference ref = correlation(a, b, low, count);
                        ASSERT_LT(ref.error_of(dst), 1e-6) << l1 << " " << l2 << " " << low << " " << count;
                        ASSERT_EQ(dst[count], 77.0f);
                        ASSERT_EQ(dst[-1], 77.0f);
                    }
                }
        }
}

// The weighted lag count picks the FFT above 383; lags without overlap never
// reach it.
TEST(CrossCorr, FftChoiceAndResults) {
    const int32_t n = 3000;
    const auto a = xt::uniform_signal(n, 1), b = xt::uniform_signal(n, 2);
    std::vector<float> out(1000);
    struct Row {
        int32_t count, low;
        bool fft;
    };
    // A leading lag without overlap or lags beyond the end shorten the
    // count before it is weighed.
    for (const Row& r : {Row{4, -2, false}, Row{383, -100, false}, Row{384, -100, true}, Row{385, -3000, true},
                         Row{384, -3000, false}, Row{500, 2700, false}, Row{700, 2600, true},
                         Row{384, -3383, false}}) {
        const Reference ref = correlation(a, b, r.low, r.count);
        ASSERT_EQ(sigCrossCorr32f(a.data(), n, b.data(), n, out.data(), r.count, r.low), SIG_OK);
        EXPECT_LT(ref.error_of(out.data()), 1e-5) << r.count << " " << r.low;
        sigFailAllocationsAfter(0);
        EXPECT_EQ(sigCrossCorr32f(a.data(), n, b.data(), n, out.data(), r.count, r.low),
                  r.fft ? SIG_ERR_MEMORY : SIG_OK)
            << r.count << " " << r.low;
        sigFailAllocationsAfter(-1);
        EXPECT_EQ(sigCrossCorrUsesFft(n, n, r.count, r.low), r.fft) << r.count << " " << r.low;
    }
    // Lags wholly below 1 - len1 or wholly from len2 on: zeros, no FFT.
    sigFailAllocationsAfter(0);
    for (int32_t low : {-5000, n}) {
        std::fill(out.begin(), out.end(), 5.0f);
        EXPECT_EQ(sigCrossCorr32f(a.data(), n, b.data(), n, out.data(), 500, low), SIG_OK);
        for (int i = 0; i < 500; ++i) ASSERT_EQ(out[i], 0.0f) << low;
    }
    sigFailAllocationsAfter(-1);
    // Unequal lengths through the FFT, both orders.
    const auto c = xt::uniform_signal(700, 3);
    for (bool swap : {false, true}) {
        const auto& s1 = swap ? a : c;
        const auto& s2 = swap ? c : a;
        std::vector<float> y(1500);
        const int32_t low = swap ? -2800 : -600;
        ASSERT_EQ(sigCrossCorr32f(s1.data(), static_cast<int32_t>(s1.size()), s2.data(),
                                  static_cast<int32_t>(s2.size()), y.data(), 1500, low),
                  SIG_OK);
        EXPECT_LT(correlation(s1, s2, low, 1500).error_of(y.data()), 1e-5) << swap;
    }
    // The smallest FFT correlations use N of 2.
    const float one[1] = {3.0f}, two[2] = {2.0f, -1.0f};
    float z[2];
    ASSERT_EQ(sigCorrFft32f(one, 1, one, 1, z, 1, 0), SIG_OK);
    EXPECT_NEAR(z[0], 9.0f, 1e-6);
    ASSERT_EQ(sigCorrFft32f(one, 1, two, 2, z, 2, 0), SIG_OK);
    EXPECT_NEAR(z[0], 6.0f, 1e-6);
    EXPECT_NEAR(z[1], -3.0f, 1e-6);
    // Lags at the ends of the 32-bit range: zeros, no overflow.
    std::fill(out.begin(), out.end(), 5.0f);
    EXPECT_EQ(sigCrossCorr32f(a.data(), n, b.data(), n, out.data(), 10, INT32_MIN), SIG_OK);
    EXPECT_EQ(sigCrossCorr32f(a.data(), n, b.data(), n, out.data() + 10, 10, INT32_MAX - 5), SIG_OK);
    for (int i = 0; i < 20; ++i) ASSERT_EQ(out[i], 0.0f);
    float v = 1;
    EXPECT_EQ(sigCrossCorr32f(&v, 1, nullptr, 1, &v, 1, 0), SIG_ERR_NULL);
    EXPECT_EQ(sigCrossCorr32f(&v, 1, &v, 1, &v, 0, 0), SIG_ERR_SIZE);
}

// Correlations and convolutions through one workspace give the bits of
// calls without one: the plan is kept for the same order and scaling (the
// two jobs scale differently), a correlation leaves no filter spectrum for
// a later convolution with the same taps, and after a failed allocation
// the next call works.
TEST(CrossCorr, WorkspaceGivesTheBitsOfAFreshCall) {
    struct Call {
        bool conv;
        int32_t l1, l2, count, low;  // count and low for correlations
        int32_t fail_after;          // allocations that succeed before the failure; -1 none
    };
    const Call calls[] = {
        {false, 3000, 3000, 500, -100, -1}, {false, 3000, 2000, 500, -2999, -1},  // plan and block kept
        {true, 3000, 400, 0, 0, -1},        {false, 1000, 900, 600, 0, -1},       // order 11, both jobs
        {true, 3000, 400, 0, 0, -1},                                              // same taps: spectrum again
        {false, 3000, 3000, 500, -100, 0},  {false, 3000, 3000, 500, -100, -1},   // a failed plan, then one
        {false, 3000, 3000, 4, -2, -1},                                           // direct lags
    };
    sigConvWorkspace ws{};
    unsigned seed = 1;
    for (const Call& c : calls) {
        const auto a = xt::uniform_signal(c.l1, ++seed), h = xt::uniform_signal(c.l2, c.conv ? 1 : ++seed);
        const int32_t len = c.conv ? c.l1 + c.l2 - 1 : c.count;
        std::vector<float> fresh(len + 1, 5.0f), kept(fresh);  // one past the end kept
        const auto run = [&](float* y, sigConvWorkspace* w) {
            return c.conv ? sigConvolve32fWith(a.data(), c.l1, h.data(), c.l2, y, w)
                          : sigCrossCorr32fWith(a.data(), c.l1, h.data(), c.l2, y, c.count, c.low, w);
        };
        ASSERT_EQ(run(fresh.data(), nullptr), SIG_OK);
        sigFailAllocationsAfter(c.fail_after);
        const int32_t st = run(kept.data(), &ws);
        sigFailAllocationsAfter(-1);
        ASSERT_EQ(st, c.fail_after < 0 ? SIG_OK : SIG_ERR_MEMORY) << c.l1 << " x " << c.l2;
        const bool same = std::memcmp(fresh.data(), kept.data(), sizeof(float) * kept.size()) == 0;
        EXPECT_TRUE(st != SIG_OK || same) << c.l1 << " x " << c.l2;
    }
    sigConvWorkspaceRelease(&ws);
}

}  // namespace
