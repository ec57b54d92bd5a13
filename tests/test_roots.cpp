// Roots: special values with their events and default NaNs, exact cases,
// block-size independence of results and events, the event order of the
// single InvSqrt rescue, control words, in-place use.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "support/control_words.h"
#include "support/args.h"
#include "support/events.h"
#include "support/scale.h"
#include "support/split.h"
#include "accuracy/ulp.h"
#include "xebruk/frame.h"
#include "xebruk/vm_roots.h"

namespace {

using Events = xt::CodesAndIndices;
using xt::codes_and_indices;
using DKernel = void (*)(int, const double*, double*);
using SKernel = void (*)(int, const float*, float*);

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr float kInfF = std::numeric_limits<float>::infinity();
constexpr double kTrueMin = xt::kDoubleTrueMin;

// One special input: expected bits of the result and the event code (0 none).
template <class T>
struct Case {
    T in, out;
    int code;
};

// Each case at index 1 of a full group and again in the tail; the callback
// sees the result the kernel stores.
template <class T>
void check_cases(void (*kernel)(int, const T*, T*), const std::vector<Case<T>>& cases, const char* name) {
    for (const auto& c : cases) {
        std::vector<T> a = {T(4), c.in, T(9), T(2), T(3), T(5), T(6), T(7), T(8), c.in}, r(a.size());
        xt::EventRecorder rec;
        kernel(static_cast<int>(a.size()), a.data(), r.data());
        for (int i : {1, 9}) EXPECT_EQ(xeb::bits(r[i]), xeb::bits(c.out)) << name << " of " << c.in;
        const Events want = c.code ? Events{{c.code, 1}, {c.code, 9}} : Events{};
        EXPECT_EQ(codes_and_indices(rec), want) << name << " of " << c.in;
        for (const auto& e : rec.events()) {
            EXPECT_EQ(e.name, name);
            EXPECT_EQ(xeb::bits(e.y), xeb::bits(static_cast<double>(c.out))) << name << " of " << c.in;
        }
    }
}

TEST(Roots, SpecialExactAndDenormalValuesWithTheirEvents) {
    const double sd = xeb::double_from_bits(0x7FF0000000000123ull), qd = xeb::double_from_bits(0x7FF8000000000123ull);
    const double dnan = xeb::double_from_bits(0x7FF8A5A55A5A5A5Aull);  // the recognisable default NaN
    check_cases<double>(xebdSqrt_HA,
                        {{0.0, 0.0, 0}, {-0.0, -0.0, 0}, {kInf, kInf, 0}, {sd, qd, 0}, {-1.0, dnan, 1},
                         {-kInf, dnan, 1}, {-kTrueMin, dnan, 1}, {4.0, 2.0, 0}, {2.0, std::sqrt(2.0), 0},
                         {kTrueMin, 0x1p-537, 0}},
                        "_xebdSqrt_HA");
    check_cases<double>(xebdInvSqrt_HA,
                        {{0.0, kInf, 2}, {-0.0, -kInf, 2}, {kInf, 0.0, 0}, {sd, qd, 0}, {-4.0, dnan, 1},
                         {-kInf, dnan, 1}, {kTrueMin, 0x1p537, 0}},
                        "_xebdInvSqrt_HA");
    check_cases<double>(xebdCbrt_HA,
                        {{0.0, 0.0, 0}, {-0.0, -0.0, 0}, {kInf, kInf, 0}, {-kInf, -kInf, 0}, {-8.0, -2.0, 0},
                         {27.0, 3.0, 0}, {-kTrueMin, -0x1p-358, 0}, {0x1p1023, 0x1p341, 0}},
                        "_xebdCbrt_HA");
    check_cases<double>(xebdInvCbrt_HA,
                        {{0.0, kInf, 2}, {-0.0, -kInf, 2}, {kInf, 0.0, 0}, {-kInf, -0.0, 0}, {sd, qd, 0},
                         {-0.125, -2.0, 0}, {kTrueMin, 0x1p358, 0}, {-0x1p-1022, -0x1.965fea53d6e3dp+340, 0}},
                        "_xebdInvCbrt_HA");
    const float sf = xeb::float_from_bits(0x7F800123u), qf = xeb::float_from_bits(0x7FC00123u);
    const float fnan = xeb::float_from_bits(0xFFC00000u);
    check_cases<float>(xebsSqrt_HA,
                       {{0.0f, 0.0f, 0}, {-0.0f, -0.0f, 0}, {kInfF, kInfF, 0}, {sf, qf, 0}, {-1.0f, fnan, 1},
                        {-kInfF, fnan, 1}, {16.0f, 4.0f, 0}},
                       "_xebsSqrt_HA");
    check_cases<float>(xebsCbrt_HA,
                       {{0.0f, 0.0f, 0}, {-0.0f, -0.0f, 0}, {kInfF, kInfF, 0}, {-kInfF, -kInfF, 0}, {sf, qf, 0},
                        {8.0f, 2.0f, 0}, {0.125f, 0.5f, 0}, {-0x1p-147f, -0x1p-49f, 0}},
                       "_xebsCbrt_HA");
    check_cases<float>(xebsInvCbrt_HA,
                       {{0.0f, kInfF, 2}, {-0.0f, -kInfF, 2}, {kInfF, 0.0f, 0}, {-kInfF, -0.0f, 0}, {sf, qf, 0},
                        {0x1p-147f, 0x1p49f, 0}, {-27.0f, -1.0f / 3, 0}},
                       "_xebsInvCbrt_HA");
    // NaNs pass through the cube root's arithmetic as NaNs.
    double d[1] = {std::nan("")}, r[1];
    xebdCbrt_HA(1, d, r);
    EXPECT_TRUE(std::isnan(r[0]));
}

// Single Sqrt is correctly rounded in every class, so it is the hardware's
// square root bit for bit: over every significand of [1, 4) (both exponent
// parities), every denormal, the binades around 2^-96 where the SIMD
// classes' multiply-add path begins, and a stride through all non-negative
// patterns (every binade, infinity, NaNs with their payloads).
TEST(Roots, SingleSqrtIsTheHardwareRootBitForBit) {
    if (xebGetKernelClass() == XEB_KERNEL_BASELINE) GTEST_SKIP() << "the baseline's root is within its bound only";
    const uint32_t step = static_cast<uint32_t>(std::max(1.0, std::round(1 / xt::test_scale())));
    struct Range {
        const char* what;
        uint32_t first, end, stride;
    };
    const Range ranges[] = {{"[1, 4)", 0x3F800000u, 0x40800000u, step},
                            {"denormals", 0x00000001u, 0x00800000u, step},
                            {"[2^-98, 2^-94)", 0x0E800000u, 0x10800000u, 2 * step},
                            {"non-negative patterns", 0x00000000u, 0x7FFFFFFFu, 251 * step}};
    std::vector<float> a, r;
    for (const Range& g : ranges) {
        a.clear();
        for (uint64_t b = g.first; b < g.end; b += g.stride) a.push_back(xeb::float_from_bits(static_cast<uint32_t>(b)));
        r.resize(a.size());
        xebsSqrt_HA(static_cast<int>(a.size()), a.data(), r.data());
        std::size_t wrong = 0;
        for (std::size_t i = 0; i < a.size(); ++i)
            if (xeb::bits(r[i]) != xeb::bits(std::sqrt(a[i])) && wrong++ == 0)
                ADD_FAILURE() << g.what << ": sqrt of " << std::hexfloat << a[i] << " gave " << r[i];
        EXPECT_EQ(wrong, 0u) << g.what << ", of " << a.size();
    }
}

TEST(Roots, SingleInvSqrtSpecialsAndItsEventOrderInAGroup) {
    // 1/sqrt of zero, of a negative, of infinity.
    float a[] = {0.0f, -0.0f, -2.0f, kInfF, 0.25f}, r[10];
    xt::EventRecorder rec;
    xebsInvSqrt_HA(5, a, r);
    EXPECT_TRUE(r[0] == kInfF && r[1] == -kInfF && std::isnan(r[2]) && xeb::bits(r[3]) == 0u && r[4] == 2.0f);
    EXPECT_EQ(codes_and_indices(rec), (Events{{2, 0}, {2, 1}, {1, 2}}));
    // The baseline: poles before domain faults within a rescued group of
    // eight; the SIMD classes: ascending.
    rec.clear();
    float g[] = {1, 2, 3, -1, 4, 0, 5, 6, /* tail: */ -1, 0};
    xebsInvSqrt_HA(10, g, r);
    const bool baseline = xebGetKernelClass() == XEB_KERNEL_BASELINE;
    const Events want = baseline ? Events{{2, 5}, {1, 3}, {1, 8}, {2, 9}} : Events{{1, 3}, {2, 5}, {1, 8}, {2, 9}};
    EXPECT_EQ(codes_and_indices(rec), want);
    // The other lanes of the rescued group are still right.
    EXPECT_EQ(r[4], 0.5f);
    EXPECT_LT(xt::ulp_error(r[1], 1 / std::sqrt(2.0L)), 0.55);
}

// One call over n gives the same bits and events as calls over pieces.
template <class T, class K>
void check_split(K kernel, const std::vector<T>& a) {
    xt::expect_split_independent<T>(static_cast<int>(a.size()),
                                    [&](int start, int count, T* out) { kernel(count, a.data() + start, out + start); });
}

TEST(Roots, ResultsAndEventsDoNotDependOnTheBlockSize) {
    auto rng = xt::seeded(61);
    std::vector<double> d = xt::sample({1e-310, 1e300, true}, 203, rng);
    std::vector<float> f = xt::sample_float({1e-40, 1e30, true}, 203, rng);
    for (int i : {7, 50, 51, 120}) {
        d[i] = (i % 2) ? 0.0 : kInf;
        f[i] = (i % 2) ? -0.0f : kInfF;
    }
    std::vector<double> pos(d);
    std::vector<float> fpos(f);
    for (auto& v : pos) v = std::fabs(v);
    for (auto& v : fpos) v = std::fabs(v);
    pos[33] = -2.0;
    pos[90] = 0.0;
    fpos[33] = -2.0f;
    for (DKernel k : {xebdSqrt_HA, xebdInvSqrt_HA}) check_split(k, pos);
    for (DKernel k : {xebdCbrt_HA, xebdInvCbrt_HA}) check_split(k, d);
    for (SKernel k : {xebsCbrt_HA, xebsInvCbrt_HA}) check_split(k, f);
    // InvSqrt: one special per group of eight keeps the event order ascending.
    for (SKernel k : {xebsSqrt_HA, xebsInvSqrt_HA}) check_split(k, fpos);
    // In place gives the same results.
    std::vector<double> r(d.size());
    xebdCbrt_HA(203, d.data(), r.data());
    xebdCbrt_HA(203, d.data(), d.data());
    for (int i = 0; i < 203; ++i) EXPECT_EQ(xeb::bits(d[i]), xeb::bits(r[i]));
}

using xt::under_odd_control_words;

TEST(Roots, ForcesItsControlWordsAndRestoresThem) {
    const double a[] = {2.0, 3.0, 5.0, 7.0, 11.0};
    const float fa[] = {2.0f, 3.0f, 5.0f, 7.0f, 11.0f, 13.0f, 17.0f, 19.0f, 1e-40f};
    for (DKernel k : {xebdSqrt_HA, xebdCbrt_HA}) {
        double r[5], ref[5];
        k(5, a, ref);
        under_odd_control_words([&] { k(5, a, r); });
        for (int i = 0; i < 5; ++i) EXPECT_EQ(xeb::bits(r[i]), xeb::bits(ref[i])) << a[i];
    }
    float fr[9], fref[9];
    xebsSqrt_HA(9, fa, fref);
    under_odd_control_words([&] { xebsSqrt_HA(9, fa, fr); });
    for (int i = 0; i < 9; ++i) EXPECT_EQ(xeb::bits(fr[i]), xeb::bits(fref[i])) << fa[i];
}

}  // namespace
