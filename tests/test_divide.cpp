// Reciprocal and division: special values and events, group versus tail,
// the product-range test of the double group, control words, in-place use.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "support/args.h"
#include "support/events.h"
#include "support/ulp.h"
#include "xebruk/vm_div.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr float kInfF = std::numeric_limits<float>::infinity();
constexpr float kNaNF = std::numeric_limits<float>::quiet_NaN();

// What the one-element path gives: one division at 64 bits, rounded to double.
double plain_inv(double x) { return static_cast<double>(1.0L / x); }

bool same_bits(double x, double y) { return xeb::bits(x) == xeb::bits(y); }

std::vector<std::pair<int, int>> codes_and_indices(const xt::EventRecorder& rec) {
    std::vector<std::pair<int, int>> v;
    for (const auto& e : rec.events()) v.push_back({e.code, e.index});
    return v;
}

TEST(Divide, SpecialValuesAndEventsDouble) {
    // Each special placed in a group (index 1) and in the tail (index 5).
    const double specials[] = {0.0, -0.0, kInf, -kInf, kNaN};
    const double expected[] = {kInf, -kInf, 0.0, -0.0, kNaN};
    for (int s = 0; s < 5; ++s) {
        std::vector<double> a = {3.0, specials[s], 5.0, 7.0, 9.0, specials[s]}, r(6);
        xt::EventRecorder rec;
        xebdInv_HA(6, a.data(), r.data());
        for (int i : {1, 5}) {
            if (std::isnan(expected[s])) {
                EXPECT_TRUE(std::isnan(r[i]));
            } else {
                EXPECT_TRUE(same_bits(r[i], expected[s])) << s << " " << i << " " << r[i];
            }
        }
        const bool zero = s < 2;
        using Events = std::vector<std::pair<int, int>>;
        const Events want = zero ? Events{{2, 1}, {2, 5}} : Events{};
        EXPECT_EQ(codes_and_indices(rec), want);
        if (zero) {
            EXPECT_EQ(rec.events()[0].name, "_xebdInv_HA");
        }
        // The normal neighbours of the special went through the one-element path.
        EXPECT_TRUE(same_bits(r[0], plain_inv(3.0)) && same_bits(r[2], plain_inv(5.0)) &&
                    same_bits(r[3], plain_inv(7.0)));
    }
}

TEST(Divide, DivisionByZeroDoubleIgnoresTheNumerator) {
    const double a[] = {0.0, kNaN, 1.0, -1.0, kInf};
    const double b[] = {0.0, -0.0, 0.0, 0.0, 2.0};
    double r[5];
    xt::EventRecorder rec;
    xebdDiv_HA(5, a, b, r);
    EXPECT_TRUE(std::isnan(r[0]) && std::isnan(r[1]));
    EXPECT_EQ(r[2], kInf);
    EXPECT_EQ(r[3], -kInf);
    EXPECT_EQ(r[4], kInf);
    EXPECT_EQ(codes_and_indices(rec), (std::vector<std::pair<int, int>>{{2, 0}, {2, 1}, {2, 2}, {2, 3}}));
}

TEST(Divide, DivisionByZeroSingleSkipsNaNNumerators) {
    // Group of four and a tail of four with the same pattern.
    const float a[] = {0.0f, kNaNF, kInfF, -2.0f, 0.0f, kNaNF, kInfF, -2.0f};
    const float b[] = {0.0f, 0.0f, -0.0f, 0.0f, 0.0f, 0.0f, -0.0f, 0.0f};
    float r[8];
    xt::EventRecorder rec;
    xebsDiv_HA(4, a, b, r);
    xebsDiv_HA(3, a + 4, b + 4, r + 4);
    xebsDiv_HA(1, a + 7, b + 7, r + 7);
    EXPECT_TRUE(std::isnan(r[0]) && std::isnan(r[1]));
    EXPECT_EQ(r[2], -kInfF);
    EXPECT_EQ(r[3], -kInfF);
    EXPECT_EQ(codes_and_indices(rec),
              (std::vector<std::pair<int, int>>{{2, 0}, {2, 2}, {2, 3}, {2, 0}, {2, 2}, {2, 0}}));
    EXPECT_EQ(rec.events()[0].name, "_xebsDiv_HA");
}

TEST(Divide, InvSingleSpecialsAndSubnormalResults) {
    const float a[] = {0.0f, -0.0f, kInfF, -kInfF, kNaNF, 3e38f, 4.0f};
    float r[7];
    xt::EventRecorder rec;
    xebsInv_HA(7, a, r);
    EXPECT_EQ(r[0], kInfF);
    EXPECT_EQ(r[1], -kInfF);
    EXPECT_TRUE(r[2] == 0.0f && !std::signbit(r[2]));
    EXPECT_TRUE(r[3] == 0.0f && std::signbit(r[3]));
    EXPECT_TRUE(std::isnan(r[4]));
    EXPECT_EQ(r[5], 1.0f / 3e38f);  // subnormal, not flushed
    EXPECT_EQ(r[6], 0.25f);
    EXPECT_EQ(codes_and_indices(rec), (std::vector<std::pair<int, int>>{{2, 0}, {2, 1}}));
}

TEST(Divide, SplitsAtGroupBoundariesGiveIdenticalBitsAndEvents) {
    auto rng = xt::seeded(11);
    std::vector<double> a = xt::sample({1e-300, 1e300, true}, 4 * 64 + 1, rng);
    std::vector<double> b = xt::sample({1e-30, 1e30, true}, a.size(), rng);
    a[9] = 0.0;
    b[17] = -0.0;
    a[26] = kNaN;
    b[31] = kInf;
    const int n = static_cast<int>(a.size());
    std::vector<double> whole_inv(n), whole_div(n), part_inv(n), part_div(n);
    xt::EventRecorder whole;
    xebdInv_HA(n, a.data(), whole_inv.data());
    xebdDiv_HA(n, a.data(), b.data(), whole_div.data());
    const auto whole_events = codes_and_indices(whole);
    whole.clear();
    // Same call in pieces whose lengths are multiples of four, then the tail.
    std::vector<std::pair<int, int>> part_events;
    for (int start = 0, len = 4; start < n; start += len, len = (len % 12) + 4) {
        const int m = std::min(len, n - start);
        xt::EventRecorder rec;
        xebdInv_HA(m, a.data() + start, part_inv.data() + start);
        xebdDiv_HA(m, a.data() + start, b.data() + start, part_div.data() + start);
        for (auto [c, i] : codes_and_indices(rec)) part_events.push_back({c, i + start});
    }
    std::sort(part_events.begin(), part_events.end(), [](auto x, auto y) { return x.second < y.second; });
    auto sorted_whole = whole_events;
    std::stable_sort(sorted_whole.begin(), sorted_whole.end(),
                     [](auto x, auto y) { return x.second < y.second; });
    EXPECT_EQ(part_events, sorted_whole);
    for (int i = 0; i < n; ++i) {
        EXPECT_TRUE(same_bits(whole_inv[i], part_inv[i]) || std::isnan(whole_inv[i])) << i;
        EXPECT_TRUE(same_bits(whole_div[i], part_div[i]) || std::isnan(whole_div[i])) << i;
    }
}

TEST(Divide, TailAndGroupAgreeWithinTheBoundForEveryLength) {
    auto rng = xt::seeded(12);
    for (int n : {1, 2, 3, 5, 4 * 7 + 1}) {
        std::vector<double> a = xt::sample({0.5, 4.0, true}, n, rng), r(n), one(n);
        xebdInv_HA(n, a.data(), r.data());
        for (int i = 0; i < n; ++i) {
            xebdInv_HA(1, &a[i], &one[i]);
            EXPECT_LT(xt::ulp_error(r[i], 1.0L / a[i]), 0.51);
            EXPECT_TRUE(same_bits(one[i], plain_inv(a[i])));
            if (i >= n - n % 4) {
                EXPECT_TRUE(same_bits(r[i], one[i])) << "tail element " << i;
            }
        }
    }
}

TEST(Divide, GroupsWhoseProductLeavesTheFloatRangeTakeTheOneElementPath) {
    const double big[] = {1e30, 3e30, -7e30, 9e29};     // product ~2e121: infinite as a float
    const double tiny[] = {1e-100, 3e-100, 7e-99, -1e-101};  // product rounds to zero
    for (const double* a : {big, tiny}) {
        double r[4];
        xebdInv_HA(4, a, r);
        for (int i = 0; i < 4; ++i) EXPECT_TRUE(same_bits(r[i], plain_inv(a[i]))) << a[i];
        const double num[] = {2.0, 3.0, 5.0, 7.0};
        xebdDiv_HA(4, num, a, r);
        for (int i = 0; i < 4; ++i)
            EXPECT_TRUE(same_bits(r[i], static_cast<double>(static_cast<long double>(num[i]) / a[i])));
    }
}

TEST(Divide, ForcesItsControlWordsAndRestoresThem) {
    // x87 at 53 bits rounding toward zero: the double kernels still compute
    // at 64 bits rounding to nearest, and the word comes back unchanged.
    const uint16_t cw = 0x0E7F;
    const double a[] = {3.0, 7.0, 11.0, 13.0, 17.0};
    double r[5];
    xeb::fpu::set_x87_control(cw);
    xebdInv_HA(5, a, r);
    const uint16_t after = xeb::fpu::x87_control();
    xeb::fpu::set_x87_control(0x037F);
    EXPECT_EQ(after, cw);
    for (int i = 0; i < 5; ++i) EXPECT_LT(xt::ulp_error(r[i], 1.0L / a[i]), 0.51);
    EXPECT_TRUE(same_bits(r[4], plain_inv(17.0)));

    // MXCSR with flush-to-zero and rounding toward zero: single kernels
    // clear both for the call.
    const uint32_t saved = xeb::fpu::mxcsr();
    const float fa[] = {3e38f, 3.0f, 3e38f, 3.0f, 3.0f};
    float fr[5];
    xeb::fpu::set_mxcsr(saved | 0xE000);
    xebsInv_HA(5, fa, fr);
    const uint32_t mx_after = xeb::fpu::mxcsr();
    xeb::fpu::set_mxcsr(saved);
    EXPECT_EQ(mx_after, saved | 0xE000);
    EXPECT_NE(fr[0], 0.0f);  // subnormal result survives
    EXPECT_EQ(fr[1], 1.0f / 3.0f);  // rounded to nearest
    EXPECT_EQ(fr[4], 1.0f / 3.0f);
}

TEST(Divide, InPlaceSingleLosesItsZeroWhileDoubleKeepsIt) {
    float fa[] = {1.0f, 0.0f, 2.0f, 4.0f, 0.0f};
    double da[] = {1.0, 0.0, 2.0, 4.0, 0.0};
    xt::EventRecorder rec;
    xebsInv_HA(5, fa, fa);
    EXPECT_TRUE(rec.events().empty());  // the zero was overwritten before the test
    EXPECT_EQ(fa[1], kInfF);
    EXPECT_EQ(fa[4], kInfF);
    xebdInv_HA(5, da, da);
    EXPECT_EQ(codes_and_indices(rec), (std::vector<std::pair<int, int>>{{2, 1}, {2, 4}}));
    EXPECT_EQ(da[1], kInf);
}

TEST(Divide, ForwardersReportTheirTargetsName) {
    const double d0[] = {0.0};
    const float f0[] = {0.0f}, f1[] = {1.0f};
    double dr[1];
    float fr[1];
    xt::EventRecorder rec;
    xebdInv_50(1, d0, dr);
    xebdDiv_50(1, d0, d0, dr);
    xebsInv_21(1, f0, fr);
    xebsInv_11(1, f0, fr);
    xebsDiv_21(1, f1, f0, fr);
    xebsDiv_11(1, f1, f0, fr);
    std::vector<std::string> names;
    for (const auto& e : rec.events()) names.push_back(e.name);
    EXPECT_EQ(names, (std::vector<std::string>{"_xebdInv_HA", "_xebdDiv_HA", "_xebsInv_HA",
                                               "_xebsInv_HA", "_xebsDiv_HA", "_xebsDiv_HA"}));
}

TEST(Divide, TrapReportReachesTheX87EvenFromTheSseKernels) {
    const float f0[] = {0.0f};
    float fr[1];
    {
        xt::EventRecorder rec(XEB_REPORT_CALLBACK);
        xeb::fpu::x87_clear_exceptions();
        xebsInv_HA(1, f0, fr);
        EXPECT_EQ(xeb::fpu::x87_status() & 0x04, 0);  // SSE division: flag in MXCSR only
    }
    {
        xt::EventRecorder rec(XEB_REPORT_CALLBACK | XEB_REPORT_TRAP);
        xeb::fpu::x87_clear_exceptions();
        xebsInv_HA(1, f0, fr);
        EXPECT_EQ(xeb::fpu::x87_status() & 0x04, 0x04);
    }
}

// A callback that runs x87 code under another precision must not disturb
// the kernel's state: the later elements are still computed at 64 bits.
int32_t noisy_callback(XebErrorRecord* r) {
    xeb::fpu::set_x87_control(0x007F);  // 24-bit precision
    volatile long double x = 1.0L;
    for (int i = 0; i < 10; ++i) x = x / 3.0L + 1.0L;
    r->y = static_cast<double>(x);
    return 0;
}

TEST(Divide, CallbackUsingTheX87DoesNotDisturbTheKernel) {
    const double a[] = {0.0, 3.0, 7.0, 11.0, 13.0, 17.0, 19.0, 23.0, 29.0};
    double r[9];
    XebErrorCallBack old = xebSetErrorCallBack(noisy_callback);
    const uint16_t cw = xeb::fpu::x87_control();
    xebdInv_HA(9, a, r);
    const uint16_t after = xeb::fpu::x87_control();
    xebSetErrorCallBack(old);
    xeb::fpu::set_x87_control(0x037F);
    EXPECT_EQ(after, cw);
    for (int i = 1; i < 9; ++i) EXPECT_LT(xt::ulp_error(r[i], 1.0L / a[i]), 0.51) << i;
}

TEST(Divide, NonPositiveCountDoesNothing) {
    const double a[] = {0.0, 1.0};
    double r[2] = {5.0, 5.0};
    xt::EventRecorder rec;
    xebdInv_HA(0, a, r);
    xebdInv_HA(-3, a, r);
    xebdDiv_HA(-1, a, a, r);
    float fr[2] = {5.0f, 5.0f};
    const float fa[] = {0.0f, 1.0f};
    xebsInv_HA(-4, fa, fr);
    EXPECT_EQ(r[0], 5.0);
    EXPECT_EQ(fr[0], 5.0f);
    EXPECT_TRUE(rec.events().empty());
}

}  // namespace
