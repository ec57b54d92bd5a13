// Power: the fixed table rows, the parity of exponents, every row of the
// special-argument table in every form with its events, silent overflow and
// underflow, exact powers of two across the denormal range, block-size
// independence, control words.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "support/args.h"
#include "support/events.h"
#include "vecmath/power.h"
#include "xebruk/vm_power.h"

namespace tables {
#include "vecmath/pow_tables.inc"
}  // namespace tables

namespace {

using Events = std::vector<std::pair<int, int>>;
constexpr double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::nan("");

Events codes_and_indices(const xt::EventRecorder& rec) {
    Events v;
    for (const auto& e : rec.events()) v.push_back({e.code, e.index});
    return v;
}

TEST(Power, TablesHoldTheFixedRows) {
    EXPECT_EQ(xeb::bits(tables::powRcpHi[0]), 0x3FF7154740000000ull);
    EXPECT_EQ(tables::powRcpHi[256], 0.9617966413497925);
    EXPECT_EQ(tables::powLogPair[1][0], 0.0028151292353868484);
    EXPECT_EQ(tables::powLogPair[1][1], 1.3900207790007064e-09);
    EXPECT_EQ(tables::powLogPair[256][0], -0.4150373935699463);
    EXPECT_EQ(tables::powLogPair[256][1], -1.6531354679441252e-07);
    EXPECT_EQ(tables::powCubic[0][0], -2.642832113567301);
    EXPECT_EQ(tables::powCubic[0][1], 4.321761820781038);
    EXPECT_EQ(tables::powCubic[0][2], -2.157722341080857);
    EXPECT_EQ(tables::powCubic[0][3], 0.47879263386711995);
    EXPECT_EQ(tables::powExp2Single[0], 1.0);
    // Rows follow their rules: the pair tables against long double references.
    for (int i = 0; i < 128; ++i) {
        const long double v = static_cast<long double>(tables::powExp2Pair[i][0]) + tables::powExp2Pair[i][1];
        EXPECT_NEAR(static_cast<double>(v / std::exp2(i / 128.0L) - 1), 0.0, 1e-18) << i;
    }
    for (int j = 0; j <= 512; ++j) {
        const long double t = static_cast<long double>(tables::powLogPair[j][0]) + tables::powLogPair[j][1];
        const long double want = std::log2(static_cast<long double>(tables::powRcpHi[0]) / tables::powRcpHi[j]) -
                                 (j >= 256 ? 1 : 0);
        EXPECT_NEAR(static_cast<double>(t - want), 0.0, 1e-18) << j;
    }
}

struct ParityCase {
    double y;
    int parity;
};

TEST(Power, ParityOfExponents) {
    const ParityCase cases[] = {
        {0.0, 2},    {-0.0, 2},       {1.0, 1},        {-1.0, 1},       {2.0, 2},          {-3.0, 1},  {0.5, 0},
        {1.5, 0},    {xt::kDoubleTrueMin, 0}, {kInf, 0},     {kNaN, 0},       {0x1p52, 2},       {0x1p52 + 1, 1},
        {0x1p52 - 1, 1}, {0x1p52 - 0.5, 0}, {0x1p53, 2}, {0x1p53 + 2, 2}, {0x1p60, 2},     {-1e300, 2}, {6.0, 2}};
    for (const ParityCase& c : cases) EXPECT_EQ(xeb::powParity(c.y), c.parity) << c.y;
}

// One row of the special-argument table: inputs, result, event code.
struct Row {
    double x, y, r;
    int code;
};

const std::vector<Row>& special_rows() {
    static const std::vector<Row> rows = {
        {kNaN, 0.0, 1.0, 0},     {kNaN, -0.0, 1.0, 0},   {-kInf, 0.0, 1.0, 0},   {1.0, kNaN, 1.0, 0},
        {1.0, -kInf, 1.0, 0},    {-1.0, kInf, 1.0, 0},   {-1.0, -kInf, 1.0, 0},  {kNaN, 3.0, kNaN, 0},
        {2.0, kNaN, kNaN, 0},    {0.0, -kInf, kInf, 1},  {-0.0, -kInf, kInf, 1}, {1.5, kInf, kInf, 0},
        {-1.5, -kInf, 0.0, 0},   {0.5, kInf, 0.0, 0},    {-0.5, -kInf, kInf, 0}, {0.0, kInf, 0.0, 0},
        {-kInf, 3.0, -kInf, 0},  {-kInf, 2.0, kInf, 0},  {-kInf, 0.5, kInf, 0},  {-kInf, -3.0, -0.0, 0},
        {-kInf, -2.5, 0.0, 0},   {kInf, 0.5, kInf, 0},   {kInf, -2.0, 0.0, 0},   {-8.0, 1.0 / 3, kNaN, 1},
        {-2.0, 4.0, 16.0, 0},    {-2.0, 3.0, -8.0, 0},   {-0.0, 3.0, -0.0, 0},   {-0.0, 2.0, 0.0, 0},
        {-0.0, 0.5, 0.0, 0},     {-0.0, -1.0, -kInf, 1}, {-0.0, -2.0, kInf, 1},  {-0.0, -0.5, kInf, 1},
        {0.0, 3.0, 0.0, 0},      {0.0, -1.0, kInf, 1},   {-2.0, 1.0, -2.0, 0},   {-0.0, 1.0, -0.0, 0},
        {3.7, 1.0, 3.7, 0},      {1e-310, 1.0, 1e-310, 0},
    };
    return rows;
}

template <class T>
bool same(T got, double want) {
    if (std::isnan(want)) return std::isnan(got);
    return xeb::bits(got) == xeb::bits(static_cast<T>(want));
}

// Runs every row through one form, each row at index 3 of a call of 5 (so
// in a group and, for the double forms, also checked by the tail below).
template <class T, class Pow, class Powx>
void check_special_rows(Pow pow, Powx powx, const char* name, const char* xname, uint64_t default_nan) {
    for (const Row& row : special_rows()) {
        const T a[5] = {2, 3, 4, static_cast<T>(row.x), static_cast<T>(row.x)};
        const T b[5] = {1.5, 2, 0.5, static_cast<T>(row.y), static_cast<T>(row.y)};
        T r[5];
        {
            xt::EventRecorder rec;
            pow(5, a, b, r);
            for (int i : {3, 4}) EXPECT_TRUE(same(r[i], row.r)) << name << " " << row.x << " ^ " << row.y << " = " << r[i];
            const Events want = row.code ? Events{{1, 3}, {1, 4}} : Events{};
            EXPECT_EQ(codes_and_indices(rec), want) << name << " " << row.x << " ^ " << row.y;
            for (const auto& e : rec.events()) EXPECT_EQ(e.name, name);
            if (row.code && std::isnan(row.r)) {
                EXPECT_EQ(static_cast<uint64_t>(xeb::bits(r[3])), default_nan);
            }
        }
        if (powx == nullptr) continue;
        xt::EventRecorder rec;
        powx(5, a, static_cast<T>(row.y), r);
        for (int i : {3, 4}) EXPECT_TRUE(same(r[i], row.r)) << xname << " " << row.x << " ^ " << row.y;
        const Events want = row.code ? Events{{1, 3}, {1, 4}} : Events{};
        EXPECT_EQ(codes_and_indices(rec), want) << xname << " " << row.x << " ^ " << row.y;
        for (const auto& e : rec.events()) {
            EXPECT_EQ(e.name, xname);
            EXPECT_TRUE(same(e.b, static_cast<double>(static_cast<T>(row.x))));  // b names array a
        }
    }
}

TEST(Power, SpecialArgumentsInEveryForm) {
    using PowxS = void (*)(int, const float*, float, float*);
    check_special_rows<double>(xebdPow_HA, xebdPowx_HA, "_xebdPow_HA", "_xebdPowx_HA", 0xFFF8000000000000ull);
    check_special_rows<double>(xebdPow_50, xebdPowx_50, "_xebdPow_50", "_xebdPowx_HA", 0xFFF8000000000000ull);
    check_special_rows<float>(xebsPow_HA, xebsPowx_HA, "_xebsPow_HA", "_xebsPowx_HA", 0xFFC00000u);
    check_special_rows<float>(xebsPow_21, static_cast<PowxS>(nullptr), "_xebsPow_21", "", 0xFFC00000u);
    check_special_rows<float>(xebsPow_11, xebsPowx_11, "_xebsPow_21", "_xebsPowx_HA", 0xFFC00000u);
}

TEST(Power, OverflowAndUnderflowAreSilent) {
    const double a[] = {10.0, 10.0, -10.0, 0.5, 2.0};
    const double b[] = {400.0, -400.0, 401.0, 1e6, 1024.0};
    const float af[] = {10.0f, 10.0f, -10.0f, 0.5f, 2.0f};
    const float bf[] = {40.0f, -50.0f, 41.0f, 1e6f, 128.0f};
    xebSetErrStatus(3);
    for (auto pow : {xebdPow_HA, xebdPow_50}) {
        double r[5];
        xt::EventRecorder rec;
        pow(5, a, b, r);
        EXPECT_TRUE(rec.events().empty());
        EXPECT_EQ(r[0], kInf);
        EXPECT_TRUE(r[1] == 0 && !std::signbit(r[1]));
        EXPECT_EQ(r[2], -kInf);
        EXPECT_EQ(r[3], 0.0);
        EXPECT_EQ(r[4], kInf);
    }
    for (auto pow : {xebsPow_HA, xebsPow_21}) {
        float r[5];
        xt::EventRecorder rec;
        pow(5, af, bf, r);
        EXPECT_TRUE(rec.events().empty());
        EXPECT_EQ(r[0], HUGE_VALF);
        EXPECT_EQ(r[1], 0.0f);
        EXPECT_EQ(r[2], -HUGE_VALF);
        EXPECT_EQ(r[4], HUGE_VALF);
    }
    EXPECT_EQ(xebGetErrStatus(), 3);
    xebSetErrStatus(0);
}

TEST(Power, ExactPowersOfTwoAcrossTheRange) {
    // 2^k is exact wherever it is representable, the denormals included; the
    // tie 2^-1075 rounds to even (zero), 2^-1074.5 rounds up to 2^-1074.
    std::vector<double> a, b, want;
    for (int k = -1076; k <= 1024; k += 7) {
        a.push_back(2.0);
        b.push_back(k);
        want.push_back(std::ldexp(1.0, k));
    }
    a.insert(a.end(), {2.0, 2.0, 2.0, 0.5, 4.0});
    b.insert(b.end(), {-1074.5, -1075.0, 1023.0, 1074.0, -537.0});
    want.insert(want.end(), {xt::kDoubleTrueMin, 0.0, 0x1p1023, xt::kDoubleTrueMin, xt::kDoubleTrueMin});
    std::vector<double> r(a.size());
    for (auto pow : {xebdPow_HA, xebdPow_50}) {
        pow(static_cast<int>(a.size()), a.data(), b.data(), r.data());
        for (std::size_t i = 0; i < a.size(); ++i) EXPECT_EQ(r[i], want[i]) << "2^" << b[i];
    }
}

TEST(Power, LargeExponentsCountAsEven) {
    const double a[] = {-1.5, -0.5, -(1 - 0x1p-52), -(1 - 0x1p-52)};
    const double b[] = {0x1p53, 0x1p60, 0x1p52 + 1, 0x1p53 + 2};
    double r[4];
    for (auto pow : {xebdPow_HA, xebdPow_50}) {
        pow(4, a, b, r);
        EXPECT_EQ(r[0], kInf);
        EXPECT_EQ(r[1], 0.0);
        EXPECT_LT(r[2], 0.0);  // odd
        EXPECT_NEAR(r[2], -std::exp(-1.0), 1e-6);
        EXPECT_GT(r[3], 0.0);
    }
}

TEST(Power, PowxWithANaNExponent) {
    const double a[] = {2.0, 1.0, -1.0, 0.0, kInf};
    double r[5];
    xt::EventRecorder rec;
    xebdPowx_HA(5, a, kNaN, r);
    EXPECT_TRUE(std::isnan(r[0]) && std::isnan(r[2]) && std::isnan(r[3]) && std::isnan(r[4]));
    EXPECT_EQ(r[1], 1.0);
    EXPECT_TRUE(rec.events().empty());
}

template <class T, class K>
void check_split(K pow, const std::vector<T>& a, const std::vector<T>& b) {
    const int n = static_cast<int>(a.size());
    std::vector<T> whole(n), part(n);
    xt::EventRecorder rec;
    pow(n, a.data(), b.data(), whole.data());
    const Events whole_events = codes_and_indices(rec);
    rec.clear();
    Events part_events;
    for (int start = 0, len = 1; start < n; start += len, len = len % 5 + 1) {
        const int m = std::min(len, n - start);
        pow(m, a.data() + start, b.data() + start, part.data() + start);
        for (auto [c, i] : codes_and_indices(rec)) part_events.push_back({c, i + start});
        rec.clear();
    }
    EXPECT_EQ(part_events, whole_events);
    for (int i = 0; i < n; ++i) EXPECT_EQ(xeb::bits(whole[i]), xeb::bits(part[i])) << a[i] << " ^ " << b[i];
}

TEST(Power, ResultsAndEventsDoNotDependOnTheBlockSize) {
    auto rng = xt::seeded(63);
    std::vector<double> a = xt::sample({1e-310, 1e300, true}, 151, rng);
    std::vector<double> b = xt::sample({1e-3, 300, true}, 151, rng);
    for (int i : {4, 9, 10, 77}) a[i] = (i % 2) ? 0.0 : -3.0;  // events: zero base, negative base
    b[10] = -1.0;
    std::vector<float> af(a.begin(), a.end()), bf(b.begin(), b.end());
    check_split(xebdPow_HA, a, b);
    check_split(xebdPow_50, a, b);
    check_split(xebsPow_HA, af, bf);
    check_split(xebsPow_21, af, bf);
}

TEST(Power, PowxEqualsPowWithTheScalarRepeated) {
    auto rng = xt::seeded(64);
    const std::vector<double> a = xt::sample({1e-310, 1e300, false}, 101, rng);
    const std::vector<float> af(a.begin(), a.end());
    for (double y : {-1074.5, -2.0, 0.3, 1.0 / 3, 7.0, 650.25}) {
        std::vector<double> b(a.size(), y), r(a.size()), rx(a.size());
        xebdPow_HA(101, a.data(), b.data(), r.data());
        xebdPowx_HA(101, a.data(), y, rx.data());
        for (std::size_t i = 0; i < a.size(); ++i) EXPECT_EQ(xeb::bits(r[i]), xeb::bits(rx[i])) << a[i] << " ^ " << y;
        std::vector<float> bf(a.size(), static_cast<float>(y)), rf(a.size()), rxf(a.size());
        xebsPow_HA(101, af.data(), bf.data(), rf.data());
        xebsPowx_HA(101, af.data(), static_cast<float>(y), rxf.data());
        for (std::size_t i = 0; i < a.size(); ++i) EXPECT_EQ(xeb::bits(rf[i]), xeb::bits(rxf[i])) << af[i] << " ^ " << y;
    }
}

TEST(Power, ForcesItsControlWordsAndRestoresThem) {
    const uint16_t cw = 0x0E7F;  // 53 bits, toward zero
    const double a[] = {3.0, 7.0, 1.1};
    const double b[] = {0.5, -2.25, 300.0};
    double r[3], r50[3], ref[3], ref50[3];
    xebdPow_HA(3, a, b, ref);
    xebdPow_50(3, a, b, ref50);
    const uint32_t saved = xeb::fpu::mxcsr();
    xeb::fpu::set_x87_control(cw);
    xeb::fpu::set_mxcsr(saved | 0xE000);  // flush to zero, toward zero
    xebdPow_HA(3, a, b, r);
    xebdPow_50(3, a, b, r50);
    const uint16_t after = xeb::fpu::x87_control();
    const uint32_t mx_after = xeb::fpu::mxcsr();
    xeb::fpu::set_x87_control(0x037F);
    xeb::fpu::set_mxcsr(saved);
    EXPECT_EQ(after, cw);
    EXPECT_EQ(mx_after, saved | 0xE000);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(r[i], ref[i]);
        EXPECT_EQ(r50[i], ref50[i]);
    }
}

}  // namespace
