// Reciprocal and division: special values and events, group versus tail,
// the product-range test of the double group, control words, in-place use,
// forwarders' names, trap reports, callbacks that use the x87.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "support/control_words.h"
#include "support/args.h"
#include "support/events.h"
#include "accuracy/ulp.h"
#include "xebruk/frame.h"
#include "vecmath/kernel_table.h"
#include "xebruk/vm_div.h"

namespace {

using Events = std::vector<std::pair<int, int>>;
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr float kInfF = std::numeric_limits<float>::infinity();
constexpr float kNaNF = std::numeric_limits<float>::quiet_NaN();

// What the one-element path gives: one division at 64 bits, rounded to double.
double plain_inv(double x) { return static_cast<double>(1.0L / x); }

template <class T>
bool same(T got, T want) {
    return std::isnan(want) ? std::isnan(got) : xeb::bits(got) == xeb::bits(want);
}

Events codes_and_indices(const xt::EventRecorder& rec) {
    Events v;
    for (const auto& e : rec.events()) v.push_back({e.code, e.index});
    return v;
}

// One call's results (NaN for any NaN) and its events, all under one name.
template <class T, class K>
void check_call(K kernel, std::vector<T> a, std::vector<T> b, std::vector<T> want, const Events& events,
                const char* name) {
    std::vector<T> r(a.size());
    xt::EventRecorder rec;
    if constexpr (std::is_invocable_v<K, int, const T*, const T*, T*>)
        kernel(static_cast<int>(a.size()), a.data(), b.data(), r.data());
    else
        kernel(static_cast<int>(a.size()), a.data(), r.data());
    for (std::size_t i = 0; i < a.size(); ++i) EXPECT_TRUE(same(r[i], want[i])) << name << " " << i << ": " << r[i];
    EXPECT_EQ(codes_and_indices(rec), events) << name;
    for (const auto& e : rec.events()) EXPECT_EQ(e.name, name);
}

TEST(Divide, SpecialValuesAndEvents) {
    // Double reciprocal: each special in a group (index 1) and in the tail
    // (index 5); its normal neighbours take the one-element path.
    const std::pair<double, double> cases[] = {{0.0, kInf}, {-0.0, -kInf}, {kInf, 0.0}, {-kInf, -0.0}, {kNaN, kNaN}};
    for (auto [x, w] : cases) {
        check_call<double>(xebdInv_HA, {3.0, x, 5.0, 7.0, 9.0, x}, {},
                           {plain_inv(3.0), w, plain_inv(5.0), plain_inv(7.0), plain_inv(9.0), w},
                           x == 0 ? Events{{2, 1}, {2, 5}} : Events{}, "_xebdInv_HA");
    }
    // The double division ignores the numerator.
    check_call<double>(xebdDiv_HA, {0.0, kNaN, 1.0, -1.0, kInf}, {0.0, -0.0, 0.0, 0.0, 2.0},
                       {kNaN, kNaN, kInf, -kInf, kInf}, {{2, 0}, {2, 1}, {2, 2}, {2, 3}}, "_xebdDiv_HA");
    // The single one skips NaN numerators, in a group of four and in the tail.
    check_call<float>(xebsDiv_HA, {0.0f, kNaNF, kInfF, -2.0f}, {0.0f, 0.0f, -0.0f, 0.0f},
                      {kNaNF, kNaNF, -kInfF, -kInfF}, {{2, 0}, {2, 2}, {2, 3}}, "_xebsDiv_HA");
    check_call<float>(xebsDiv_HA, {0.0f, kNaNF, kInfF}, {0.0f, 0.0f, -0.0f}, {kNaNF, kNaNF, -kInfF},
                      {{2, 0}, {2, 2}}, "_xebsDiv_HA");
    check_call<float>(xebsDiv_HA, {-2.0f}, {0.0f}, {-kInfF}, {{2, 0}}, "_xebsDiv_HA");
    // Single reciprocal: signed zeros and infinities, a subnormal result not flushed.
    check_call<float>(xebsInv_HA, {0.0f, -0.0f, kInfF, -kInfF, kNaNF, 3e38f, 4.0f}, {},
                      {kInfF, -kInfF, 0.0f, -0.0f, kNaNF, 1.0f / 3e38f, 0.25f}, {{2, 0}, {2, 1}}, "_xebsInv_HA");
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
    Events whole_events, part_events;
    auto run = [&](int start, int m, std::vector<double>& inv, std::vector<double>& div, Events& events) {
        xt::EventRecorder rec;
        xebdInv_HA(m, a.data() + start, inv.data() + start);
        xebdDiv_HA(m, a.data() + start, b.data() + start, div.data() + start);
        for (auto [c, i] : codes_and_indices(rec)) events.push_back({c, i + start});
    };
    run(0, n, whole_inv, whole_div, whole_events);
    // Same calls in pieces whose lengths are multiples of four, then the tail.
    for (int start = 0, len = 4; start < n; start += len, len = (len % 12) + 4)
        run(start, std::min(len, n - start), part_inv, part_div, part_events);
    auto by_index = [](auto x, auto y) { return x.second < y.second; };
    std::stable_sort(part_events.begin(), part_events.end(), by_index);
    std::stable_sort(whole_events.begin(), whole_events.end(), by_index);
    EXPECT_EQ(part_events, whole_events);
    for (int i = 0; i < n; ++i) {
        EXPECT_TRUE(same(whole_inv[i], part_inv[i])) << i;
        EXPECT_TRUE(same(whole_div[i], part_div[i])) << i;
    }
}

TEST(Divide, GroupsWhoseProductLeavesTheFloatRangeTakeTheOneElementPath) {
    const double big[] = {1e30, 3e30, -7e30, 9e29};          // product ~2e121: infinite as a float
    const double tiny[] = {1e-100, 3e-100, 7e-99, -1e-101};  // product rounds to zero
    const double num[] = {2.0, 3.0, 5.0, 7.0};
    for (const double* a : {big, tiny}) {
        double r[4], q[4];
        xebdInv_HA(4, a, r);
        xebdDiv_HA(4, num, a, q);
        for (int i = 0; i < 4; ++i) {
            EXPECT_TRUE(same(r[i], plain_inv(a[i]))) << a[i];
            EXPECT_TRUE(same(q[i], static_cast<double>(static_cast<long double>(num[i]) / a[i]))) << a[i];
        }
    }
}

using xt::under_odd_control_words;

TEST(Divide, ForcesItsControlWordsAndRestoresThem) {
    // The double kernels still compute at 64 bits rounding to nearest; the
    // single ones clear flush-to-zero (a subnormal result survives) and
    // round to nearest.
    const double a[] = {3.0, 7.0, 11.0, 13.0, 17.0};
    const float fa[] = {3e38f, 3.0f, 3e38f, 3.0f, 3.0f};
    double r[5];
    float fr[5];
    under_odd_control_words([&] {
        xebdInv_HA(5, a, r);
        xebsInv_HA(5, fa, fr);
    });
    for (int i = 0; i < 5; ++i) EXPECT_LT(xt::ulp_error(r[i], 1.0L / a[i]), 0.51);
    EXPECT_TRUE(same(r[4], plain_inv(17.0)));
    EXPECT_NE(fr[0], 0.0f);
    EXPECT_TRUE(fr[1] == 1.0f / 3.0f && fr[4] == 1.0f / 3.0f);
}

TEST(Divide, InPlaceSingleLosesItsZeroWhileDoubleKeepsIt) {
    float fa[] = {1.0f, 0.0f, 2.0f, 4.0f, 0.0f};
    double da[] = {1.0, 0.0, 2.0, 4.0, 0.0};
    xt::EventRecorder rec;
    xebsInv_HA(5, fa, fa);
    EXPECT_TRUE(rec.events().empty());  // the zero was overwritten before the test
    EXPECT_TRUE(fa[1] == kInfF && fa[4] == kInfF);
    xebdInv_HA(5, da, da);
    EXPECT_EQ(codes_and_indices(rec), (Events{{2, 1}, {2, 4}}));
    EXPECT_EQ(da[1], kInf);
}

// NaNs give the baseline's bits in the class in use, in the middle of a
// register (index 5) and in the tail (index 18): every pair of quiet NaNs
// of both signs, and signalling ones beside numbers (with two NaNs of
// which one signals, the baseline's pick depends on its compiled code).
TEST(Divide, DoubleNaNsGiveTheBaselinesBits) {
    const double quiet[] = {xeb::double_from_bits(0x7FF8000000000001ull), xeb::double_from_bits(0xFFF8000000000002ull),
                            xeb::double_from_bits(0xFFF8000000000001ull), xeb::double_from_bits(0x7FF8000000000003ull),
                            2.0, -0.0};
    const double signalling[] = {xeb::double_from_bits(0x7FF0000000000005ull),
                                 xeb::double_from_bits(0xFFF0000000000003ull), 3.0, 0.0};
    std::vector<std::pair<double, double>> pairs;
    for (double p : quiet)
        for (double q : quiet) pairs.push_back({p, q});
    for (double p : signalling)
        for (double q : signalling)
            if (!(std::isnan(p) && std::isnan(q))) pairs.push_back({p, q});
    const auto* baseline = xeb::vm::class_table(xeb::frame::KernelClass::Baseline);
    for (auto [p, q] : pairs) {
        std::vector<double> a(19, 3.0), b(19, 7.0), r(19), want(19);
        a[5] = a[18] = p;
        b[5] = b[18] = q;
        xebdDiv_HA(19, a.data(), b.data(), r.data());
        baseline->dDiv_HA(19, a.data(), b.data(), want.data());
        for (int i : {5, 18}) EXPECT_EQ(xeb::bits(r[i]), xeb::bits(want[i])) << std::hex << xeb::bits(p) << " / " << xeb::bits(q);
    }
}

TEST(Divide, InPlaceDivisionKeepsTheBaselinesEvents) {
    // The single kernel tests its event on memory after the store: a zero
    // divisor overwritten by its result, or a zero numerator by NaN, raises
    // nothing; the double one keeps every event.
    const float fa0[] = {1.0f, 0.0f, 2.0f, 5.0f, 6.0f, 7.0f, 8.0f, 9.0f, 0.0f, -3.0f};
    const float fb0[] = {2.0f, 0.0f, 0.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 0.0f, 0.0f};
    float fa[10], fb[10];
    xt::EventRecorder rec;
    std::copy(fa0, fa0 + 10, fa), std::copy(fb0, fb0 + 10, fb);
    xebsDiv_HA(10, fa, fb, fb);  // divisor overwritten: no event
    EXPECT_TRUE(rec.events().empty());
    EXPECT_TRUE(std::isnan(fb[1]) && fb[2] == kInfF && fb[9] == -kInfF);
    std::copy(fa0, fa0 + 10, fa), std::copy(fb0, fb0 + 10, fb);
    xebsDiv_HA(10, fa, fb, fa);  // 0/0 leaves a NaN numerator: only the nonzero ones raise
    EXPECT_EQ(codes_and_indices(rec), (Events{{2, 2}, {2, 9}}));
    rec.clear();
    double da[10], db[10];
    std::copy(fa0, fa0 + 10, da), std::copy(fb0, fb0 + 10, db);
    xebdDiv_HA(10, da, db, db);
    EXPECT_EQ(codes_and_indices(rec), (Events{{2, 1}, {2, 2}, {2, 8}, {2, 9}}));
    EXPECT_TRUE(db[2] == kInf && db[9] == -kInf && db[0] == 0.5);
}

TEST(Divide, ForwardersReportTheirTargetsNameAndCountsBelowOneDoNothing) {
    const double d0[] = {0.0, 1.0};
    const float f0[] = {0.0f, 1.0f}, f1[] = {1.0f};
    double dr[2] = {5.0, 5.0};
    float fr[2] = {5.0f, 5.0f};
    xt::EventRecorder rec;
    xebdInv_HA(0, d0, dr);
    xebdInv_HA(-3, d0, dr);
    xebdDiv_HA(-1, d0, d0, dr);
    xebsInv_HA(-4, f0, fr);
    EXPECT_TRUE(dr[0] == 5.0 && fr[0] == 5.0f && rec.events().empty());
    xebdInv_50(1, d0, dr);
    xebdDiv_50(1, d0, d0, dr);
    xebsInv_21(1, f0, fr);
    xebsInv_11(1, f0, fr);
    xebsDiv_21(1, f1, f0, fr);
    xebsDiv_11(1, f1, f0, fr);
    std::vector<std::string> names;
    for (const auto& e : rec.events()) names.push_back(e.name);
    EXPECT_EQ(names, (std::vector<std::string>{"_xebdInv_HA", "_xebdDiv_HA", "_xebsInv_HA", "_xebsInv_HA",
                                               "_xebsDiv_HA", "_xebsDiv_HA"}));
}

TEST(Divide, TrapReportReachesTheX87EvenFromTheSseKernels) {
    // SSE division sets its flag in MXCSR only; the trap report raises it on the x87.
    const float f0[] = {0.0f};
    float fr[1];
    const std::pair<uint32_t, int> modes[] = {{XEB_REPORT_CALLBACK, 0}, {XEB_REPORT_CALLBACK | XEB_REPORT_TRAP, 0x04}};
    for (auto [mode, flag] : modes) {
        xt::EventRecorder rec(mode);
        xeb::fpu::x87_clear_exceptions();
        xebsInv_HA(1, f0, fr);
        EXPECT_EQ(xeb::fpu::x87_status() & 0x04, flag) << mode;
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
    // The SIMD classes leave the x87 alone: the callback's setting stays.
    if (xebGetKernelClass() == XEB_KERNEL_BASELINE) { EXPECT_EQ(after, cw); }
    for (int i = 1; i < 9; ++i) EXPECT_LT(xt::ulp_error(r[i], 1.0L / a[i]), 0.51) << i;
}

}  // namespace
