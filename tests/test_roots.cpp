// Roots: the fixed table rows, special values with their events and default
// NaNs, block-size independence of results and events, the event order of
// the single InvSqrt rescue, control words, exact cases.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <vector>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "support/args.h"
#include "support/events.h"
#include "support/ulp.h"
#include "xebruk/vm_roots.h"

namespace tables {
struct BandQuadratic {
    double a, b, c;
};
#include "vecmath/roots_tables.inc"
}  // namespace tables

namespace {

using Events = std::vector<std::pair<int, int>>;
using DKernel = void (*)(int, const double*, double*);
using SKernel = void (*)(int, const float*, float*);

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr float kInfF = std::numeric_limits<float>::infinity();
const double kSignallingNaN = xeb::double_from_bits(0x7FF0000000000123ull);
const float kSignallingNaNF = xeb::float_from_bits(0x7F800123u);

Events codes_and_indices(const xt::EventRecorder& rec) {
    Events v;
    for (const auto& e : rec.events()) v.push_back({e.code, e.index});
    return v;
}

void expect_row(const tables::BandQuadratic& row, double a, double b, double c) {
    EXPECT_EQ(row.a, a);
    EXPECT_EQ(row.b, b);
    EXPECT_EQ(row.c, c);
}

TEST(Roots, TablesHoldTheFixedRows) {
    expect_row(tables::rootQuad[0], 0.3713658535287034, -1.242721083338007, 1.8713552252000643);
    expect_row(tables::rootQuad[127], 0.06661619765428384, -0.4432405329094947, 1.3271230568021104);
    expect_row(tables::cbrtQuad[0], 0.2202114925761644, -0.7737504398981617, 1.5535389447714492);
    expect_row(tables::cbrtQuad[127], 0.04429616349519705, -0.3094674834747907, 1.2354508392096681);
    expect_row(tables::cbrtFloat[0], -0.1096811105113981, 0.5526872031967194, 0.5569939145597629);
    expect_row(tables::cbrtFloat[63], -0.03522700014147991, 0.3508934970465587, 0.6990420551996561);
    expect_row(tables::invCbrtFloat[0], 0.2182298285260913, -0.7697696942924318, 1.551539845558644);
    expect_row(tables::invCbrtFloat[63], 0.04449934047960132, -0.3102784057038237, 1.2362599775376406);
    expect_row({tables::cbrtRows[0], tables::cbrtRows[1], tables::cbrtRows[2]}, 1.5874010519681996, 1.0,
               1.2599210498948732);
    expect_row({tables::cbrtRowsDenormal[0], tables::cbrtRowsDenormal[1], tables::cbrtRowsDenormal[2]},
               1.5874010519681995e-13, 1e-13, 1.2599210498948732e-13);
    expect_row({tables::invCbrtRowsDenormal[0], tables::invCbrtRowsDenormal[1],
                tables::invCbrtRowsDenormal[2]},
               1587401051968199.5, 1259921049894873.2, 1000000000000000.0);
    // Every band quadratic is within its fit error of the function on its band.
    for (int i = 0; i < 128; ++i) {
        const long double m = 1 + (i + 0.5L) / 128;
        const auto& q = tables::rootQuad[i];
        EXPECT_NEAR((q.a * m + q.b) * m + q.c, 1 / std::sqrt(m), 5e-9L) << i;
        const auto& c = tables::cbrtQuad[i];
        EXPECT_NEAR((c.a * m + c.b) * m + c.c, 1 / std::cbrt(m), 3e-9L) << i;
    }
}

// One special input: expected bits of the result and the event code (0 none).
template <class T>
struct Case {
    T in;
    T out;
    int code;
};

template <class T>
void check_cases(void (*kernel)(int, const T*, T*), const std::vector<Case<T>>& cases, const char* name) {
    // Each case at index 1 of a full group and again in the tail.
    for (const auto& c : cases) {
        std::vector<T> a = {T(4), c.in, T(9), T(2), T(3), T(5), T(6), T(7), T(8), c.in}, r(a.size());
        xt::EventRecorder rec;
        kernel(static_cast<int>(a.size()), a.data(), r.data());
        for (int i : {1, 9}) EXPECT_EQ(xeb::bits(r[i]), xeb::bits(c.out)) << name << " of " << c.in;
        const Events want = c.code ? Events{{c.code, 1}, {c.code, 9}} : Events{};
        EXPECT_EQ(codes_and_indices(rec), want) << name << " of " << c.in;
        for (const auto& e : rec.events()) EXPECT_EQ(e.name, name);
    }
}

TEST(Roots, DoubleSpecialValuesAndEvents) {
    const double dnan = xeb::double_from_bits(0x7FF8A5A55A5A5A5Aull);
    const double q = xeb::double_from_bits(0x7FF8000000000123ull);  // the signalling NaN, quieted
    check_cases<double>(xebdSqrt_HA,
                                  {{0.0, 0.0, 0}, {-0.0, -0.0, 0}, {kInf, kInf, 0}, {kSignallingNaN, q, 0},
                                   {-1.0, dnan, 1}, {-kInf, dnan, 1}, {-xt::kDoubleTrueMin, dnan, 1}},
                                  "_xebdSqrt_HA");
    check_cases<double>(xebdInvSqrt_HA,
                                  {{0.0, kInf, 2}, {-0.0, -kInf, 2}, {kInf, 0.0, 0}, {kSignallingNaN, q, 0},
                                   {-4.0, dnan, 1}, {-kInf, dnan, 1}},
                                  "_xebdInvSqrt_HA");
    check_cases<double>(xebdCbrt_HA,
                                  {{0.0, 0.0, 0}, {-0.0, -0.0, 0}, {kInf, kInf, 0}, {-kInf, -kInf, 0},
                                   {-8.0, -2.0, 0}, {27.0, 3.0, 0}},
                                  "_xebdCbrt_HA");
    check_cases<double>(xebdInvCbrt_HA,
                                  {{0.0, kInf, 2}, {-0.0, -kInf, 2}, {kInf, 0.0, 0}, {-kInf, -0.0, 0},
                                   {kSignallingNaN, q, 0}, {-0.125, -2.0, 0}},
                                  "_xebdInvCbrt_HA");
    // NaNs pass through the cube root's arithmetic as NaNs.
    double r[1], nan_in[1] = {std::nan("")};
    xebdCbrt_HA(1, nan_in, r);
    EXPECT_TRUE(std::isnan(r[0]));
}

TEST(Roots, SingleSpecialValuesAndEvents) {
    const float dnan = xeb::float_from_bits(0xFFC00000u);
    const float q = xeb::float_from_bits(0x7FC00123u);
    check_cases<float>(xebsSqrt_HA,
                                 {{0.0f, 0.0f, 0}, {-0.0f, -0.0f, 0}, {kInfF, kInfF, 0}, {kSignallingNaNF, q, 0},
                                  {-1.0f, dnan, 1}, {-kInfF, dnan, 1}, {16.0f, 4.0f, 0}},
                                 "_xebsSqrt_HA");
    check_cases<float>(xebsCbrt_HA,
                                 {{0.0f, 0.0f, 0}, {-0.0f, -0.0f, 0}, {kInfF, kInfF, 0}, {-kInfF, -kInfF, 0},
                                  {kSignallingNaNF, q, 0}},
                                 "_xebsCbrt_HA");
    check_cases<float>(xebsInvCbrt_HA,
                                 {{0.0f, kInfF, 2}, {-0.0f, -kInfF, 2}, {kInfF, 0.0f, 0}, {-kInfF, -0.0f, 0},
                                  {kSignallingNaNF, q, 0}},
                                 "_xebsInvCbrt_HA");
    // InvSqrt's specials come from the x87: 1/sqrt of zero, of a negative, of infinity.
    float a[] = {0.0f, -0.0f, -2.0f, kInfF, 0.25f}, r[5];
    xt::EventRecorder rec;
    xebsInvSqrt_HA(5, a, r);
    EXPECT_EQ(r[0], kInfF);
    EXPECT_EQ(r[1], -kInfF);
    EXPECT_TRUE(std::isnan(r[2]));
    EXPECT_EQ(xeb::bits(r[3]), 0u);
    EXPECT_EQ(r[4], 2.0f);
    EXPECT_EQ(codes_and_indices(rec), (Events{{2, 0}, {2, 1}, {1, 2}}));
}

TEST(Roots, ExactAndDenormalCases) {
    double a[] = {4.0, 2.0, xt::kDoubleTrueMin, -xt::kDoubleTrueMin * 3}, r[4];
    xebdSqrt_HA(3, a, r);
    EXPECT_EQ(r[0], 2.0);
    EXPECT_EQ(r[1], std::sqrt(2.0));  // correctly rounded
    EXPECT_NEAR(r[2], 2.2227587494850775e-162, 1e-177);
    xebdCbrt_HA(4, a, r);
    EXPECT_LT(r[3], 0.0);
    EXPECT_LT(xt::ulp_error(r[3], std::cbrt(static_cast<long double>(a[3]))), 0.51);
    // The reciprocal roots of the smallest denormals are large but finite.
    xebdInvSqrt_HA(1, &a[2], r);
    EXPECT_LT(xt::ulp_error(r[0], 1 / std::sqrt(static_cast<long double>(xt::kDoubleTrueMin))), 0.51);
    float fa[] = {FLT_TRUE_MIN, -FLT_TRUE_MIN, 8.0f, 0.125f}, fr[4];
    xebsCbrt_HA(4, fa, fr);
    EXPECT_LT(xt::ulp_error(fr[1], std::cbrt(static_cast<long double>(fa[1]))), 0.65);
    EXPECT_EQ(fr[2], 2.0f);
    EXPECT_EQ(fr[3], 0.5f);
}

TEST(Roots, CallbackSeesTheRecognisableNaN) {
    const double a[] = {-1.0};
    double r[1];
    xt::EventRecorder rec;
    xebdSqrt_HA(1, a, r);
    ASSERT_EQ(rec.events().size(), 1u);
    EXPECT_EQ(xeb::bits(rec.events()[0].y), 0x7FF8A5A55A5A5A5Aull);
    EXPECT_EQ(xeb::bits(r[0]), 0x7FF8A5A55A5A5A5Aull);
}

TEST(Roots, SingleInvSqrtRaisesPolesBeforeDomainFaultsInAGroup) {
    float a[] = {1, 2, 3, -1, 4, 0, 5, 6, /* tail: */ -1, 0}, r[10];
    xt::EventRecorder rec;
    xebsInvSqrt_HA(10, a, r);
    EXPECT_EQ(codes_and_indices(rec), (Events{{2, 5}, {1, 3}, {1, 8}, {2, 9}}));
    // The other lanes of the rescued group come from the x87 and are still right.
    EXPECT_EQ(r[4], 0.5f);
    EXPECT_LT(xt::ulp_error(r[1], 1 / std::sqrt(2.0L)), 0.55);
}

// One call over n gives the same bits and events as calls over pieces.
template <class T, class K>
void check_split(K kernel, std::vector<T> a) {
    const int n = static_cast<int>(a.size());
    std::vector<T> whole(n), part(n);
    xt::EventRecorder rec;
    kernel(n, a.data(), whole.data());
    const Events whole_events = codes_and_indices(rec);
    rec.clear();
    Events part_events;
    for (int start = 0, len = 1; start < n; start += len, len = len % 7 + 1) {
        const int m = std::min(len, n - start);
        kernel(m, a.data() + start, part.data() + start);
        for (auto [c, i] : codes_and_indices(rec)) part_events.push_back({c, i + start});
        rec.clear();
    }
    EXPECT_EQ(part_events, whole_events);
    for (int i = 0; i < n; ++i) {
        EXPECT_EQ(xeb::bits(whole[i]), xeb::bits(part[i])) << "element " << i << " of " << a[i];
    }
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
    for (auto& v : pos) v = std::fabs(v);
    pos[33] = -2.0;
    pos[90] = 0.0;
    std::vector<float> fpos(f);
    for (auto& v : fpos) v = std::fabs(v);
    fpos[33] = -2.0f;
    for (DKernel k : {xebdSqrt_HA, xebdInvSqrt_HA}) check_split(k, pos);
    for (DKernel k : {xebdCbrt_HA, xebdInvCbrt_HA}) check_split(k, d);
    for (SKernel k : {xebsCbrt_HA, xebsInvCbrt_HA}) check_split(k, f);
    check_split(xebsSqrt_HA, fpos);
    // InvSqrt: one special per group of eight keeps the event order ascending.
    check_split(xebsInvSqrt_HA, fpos);
}

TEST(Roots, ForcesItsControlWordsAndRestoresThem) {
    const uint16_t cw = 0x0E7F;  // 53 bits, toward zero
    const uint32_t saved = xeb::fpu::mxcsr();
    const double a[] = {2.0, 3.0, 5.0, 7.0, 11.0};
    double r[5], c[5];
    float fa[] = {2.0f, 3.0f, 5.0f, 7.0f, 11.0f, 13.0f, 17.0f, 19.0f, 1e-40f}, fr[9];
    xeb::fpu::set_x87_control(cw);
    xeb::fpu::set_mxcsr(saved | 0xE000);  // flush to zero, toward zero
    xebdSqrt_HA(5, a, r);
    xebdCbrt_HA(5, a, c);
    xebsSqrt_HA(9, fa, fr);
    const uint16_t cw_after = xeb::fpu::x87_control();
    const uint32_t mx_after = xeb::fpu::mxcsr();
    xeb::fpu::set_x87_control(0x037F);
    xeb::fpu::set_mxcsr(saved);
    EXPECT_EQ(cw_after, cw);
    EXPECT_EQ(mx_after, saved | 0xE000);
    for (int i = 0; i < 5; ++i) {
        EXPECT_LT(xt::ulp_error(r[i], std::sqrt(static_cast<long double>(a[i]))), 0.51);
        EXPECT_LT(xt::ulp_error(c[i], std::cbrt(static_cast<long double>(a[i]))), 0.51);
    }
    for (int i = 0; i < 9; ++i) EXPECT_LT(xt::ulp_error(fr[i], std::sqrt(static_cast<long double>(fa[i]))), 0.55);
}

TEST(Roots, InPlaceGivesTheSameResults) {
    auto rng = xt::seeded(62);
    std::vector<double> a = xt::sample({1e-300, 1e300, true}, 37, rng), r(a.size());
    xebdCbrt_HA(37, a.data(), r.data());
    xebdCbrt_HA(37, a.data(), a.data());
    for (int i = 0; i < 37; ++i) EXPECT_EQ(xeb::bits(a[i]), xeb::bits(r[i]));
}

}  // namespace
