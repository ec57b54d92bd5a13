// Exponential and logarithms: tables and fits, the failure tables with
// their events, the seams between paths, block-size independence, control
// words and the callback.  Accuracy sweeps are rows of the accuracy table.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "support/accuracy.h"
#include "support/args.h"
#include "support/events.h"
#include "support/scale.h"
#include "support/ulp.h"
#include "vecmath/explog_tables.h"
#include "xebruk/vm_explog.h"

namespace {

using namespace xeb::explog;

const long double kExpC2 = extended(expCubic[0]);
const long double kExpC1 = extended(expCubic[1]);
const long double kExpC0 = extended(expCubic[2]);
using xeb::bits;
using xeb::double_from_bits;
using xeb::float_from_bits;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr float kInfF = std::numeric_limits<float>::infinity();
constexpr int kNone = -100;  // no event expected

template <class T>
using Kernel = void (*)(int, const T*, T*);

template <class T>
std::vector<T> eval(Kernel<T> f, const std::vector<T>& a) {
    std::vector<T> r(a.size());
    f(static_cast<int>(a.size()), a.data(), r.data());
    return r;
}

// Distance in representable values of T.
template <class T>
int64_t ulps_apart(T x, T y) {
    if constexpr (sizeof(T) == 8) return xt::ordered_distance(x, y);
    auto key = [](T v) {
        const int64_t i = static_cast<int32_t>(bits(v));
        return i < 0 ? INT32_MIN - i : i;
    };
    return key(y) - key(x);
}

template <class T>
T eval1(Kernel<T> f, T x) {
    T r;
    f(1, &x, &r);
    return r;
}

// ------------------------------------------------------------ tables

TEST(ExpLogTables, PrintedRows) {
    EXPECT_EQ(lnTable[0].hi, 0.0);
    EXPECT_EQ(lnTable[0].lo, 0.0);
    EXPECT_EQ(lnTable[0].rcp, 1.0);
    EXPECT_EQ(lnTable[128].hi, 0.40546510810816433);
    EXPECT_EQ(lnTable[128].lo, 5.263001320529518e-17);
    EXPECT_EQ(lnTable[128].rcp, 0.6666666666666666);
    const double ln0[4] = {-1.8333333333333333, 3.0, -1.5, 0.3333333333333333};
    const double ln255[4] = {-1.140186152773388, 1.5, -0.375, 0.041666666666666664};
    const double lg0[4] = {-0.7962065501559616, 1.3028834457097553, -0.6514417228548777,
                           0.14476482730108392};
    auto row = [](const CubicRow& c) { return std::vector<double>{c.c0, c.c1, c.c2, c.c3}; };
    EXPECT_EQ(row(lnCubic[0]), std::vector<double>(ln0, ln0 + 4));
    EXPECT_EQ(row(lnCubic[255]), std::vector<double>(ln255, ln255 + 4));
    EXPECT_EQ(row(log10Cubic[0]), std::vector<double>(lg0, lg0 + 4));
    EXPECT_EQ(expSingle[0], 0.24022606667644342);
    EXPECT_EQ(expSingle[63], 0.4752767093114832);
    EXPECT_EQ(static_cast<double>(extended(expFine[0])), 0.05550410867227228);
    EXPECT_EQ(extended(expMid[0]), 1.0L);
    EXPECT_EQ(extended(expCoarse[0]), 1.0L);
    // The 80-bit coefficient images.
    auto image = [](long double v) {
        unsigned char b[16] = {};
        std::memcpy(b, &v, 10);
        uint64_t sig;
        uint16_t se;
        std::memcpy(&sig, b, 8);
        std::memcpy(&se, b + 8, 2);
        return std::make_pair(se, sig);
    };
    EXPECT_EQ(image(kExpC2), std::make_pair(uint16_t{0x4001}, uint64_t{0x8A7FAC5F0DF14283}));
    EXPECT_EQ(image(kExpC1), std::make_pair(uint16_t{0x4002}, uint64_t{0xC7CFB95CAC480639}));
    EXPECT_EQ(image(kExpC0), std::make_pair(uint16_t{0x4003}, uint64_t{0x90222B58DB3C8E05}));
    // The x87's constants, which the kernels load with fldl2e, fldln2, fldlg2.
    using xeb::fpu::X87Constant;
    const long double l2e = xeb::fpu::x87_constant<X87Constant::Log2E>();
    const long double ln2 = xeb::fpu::x87_constant<X87Constant::Ln2>();
    const long double lg2 = xeb::fpu::x87_constant<X87Constant::Log10Of2>();
    EXPECT_LT(std::fabs(l2e * logl(2.0L) - 1), 0x1p-63L);
    EXPECT_LT(std::fabs(ln2 / logl(2.0L) - 1), 0x1p-63L);
    EXPECT_LT(std::fabs(lg2 / log10l(2.0L) - 1), 0x1p-63L);
    EXPECT_EQ(bits(kLnPoly[5]), 0xBFC51ED447A1B8C5u);
    EXPECT_EQ(bits(kLog10Poly[0]), 0x3FDBCB7B1526E50Eu);
    EXPECT_EQ(bits(kLog10Poly[5]), 0xBFB2584FEB8CB841u);
}

// Every row against glibc's 64-bit functions (themselves within about 2^-63).
TEST(ExpLogTables, EveryRowMatchesAnIndependentValue) {
    auto rel = [](long double got, long double want) { return std::fabs(got / want - 1.0L); };
    for (int i = 0; i < 16; ++i)
        EXPECT_LT(rel(extended(expFine[i]) * kExpC0, exp2l(i / 16384.0L)), 0x1p-62L) << "expFine " << i;
    for (int i = 0; i < 32; ++i) {
        EXPECT_LT(rel(extended(expMid[i]), exp2l(i / 1024.0L)), 0x1p-62L) << "expMid " << i;
        EXPECT_LT(rel(extended(expCoarse[i]), exp2l(i / 32.0L)), 0x1p-62L) << "expCoarse " << i;
    }
    // Each pair is a double and the 11 bits it leaves of a 64-bit value.
    for (const Extended* t : {expFine, expMid, expCoarse})
        for (int i = 0; i < 16; ++i) {
            EXPECT_EQ(static_cast<double>(extended(t[i])), t[i].hi);
            EXPECT_LE(std::fabs(t[i].lo), std::ldexp(std::fabs(t[i].hi), -53));
        }
    for (int j = 0; j < 64; ++j)
        EXPECT_LT(rel(expSingle[j], expSingle[0] * exp2l(j / 64.0L)), 0x1p-52L) << "expSingle " << j;
    for (int i = 1; i < 256; ++i) {
        const long double c = 1.0L + i / 256.0L;
        for (const auto& [table, ref] : {std::make_pair(lnTable, logl(c)), std::make_pair(log10Table, log10l(c))}) {
            const LogRow& row = table[i];
            EXPECT_LT(rel(static_cast<long double>(row.hi) + row.lo, ref), 0x1p-62L) << i;
            EXPECT_LE(std::fabs(row.lo), std::ldexp(std::fabs(row.hi), -52)) << i;
            EXPECT_EQ(row.rcp, 1.0 / static_cast<double>(c)) << i;
        }
    }
}

// The cubics of the single logarithms, over their whole intervals.
TEST(ExpLogTables, CubicsFitTheirIntervals) {
    for (int i = 0; i < 256; ++i) {
        // Taylor ends leave out (m-1)^4/4 and (m-2)^4/64; the rest interpolate.
        const long double bound = i == 0 ? 0x1p-33L : i == 255 ? 0x1p-37L : 0x1p-40L;
        for (int s = 0; s <= 64; ++s) {
            const long double m = 1.0L + (i + s / 64.0L) / 256.0L;
            const CubicRow& a = lnCubic[i];
            const CubicRow& b = log10Cubic[i];
            EXPECT_LT(std::fabs(((a.c3 * m + a.c2) * m + a.c1) * m + a.c0 - logl(m)), bound) << i;
            EXPECT_LT(std::fabs(((b.c3 * m + b.c2) * m + b.c1) * m + b.c0 - log10l(m)), bound) << i;
        }
    }
}

// The fixed polynomials, at their claimed fit errors.
TEST(ExpLogTables, PolynomialFits) {
    long double exp_worst = 0, single_worst = 0, ln_worst = 0, lg_worst = 0;
    for (int s = -1024; s <= 1024; ++s) {
        const long double r = s * 0x1p-25L;  // |r| <= 2^-15
        const long double p = ((r + kExpC2) * r + kExpC1) * r + kExpC0;
        exp_worst = std::max(exp_worst, std::fabs(extended(expFine[0]) * p / exp2l(r) - 1));
        const long double rs = s * 0x1p-17L;  // |r| <= 2^-7
        single_worst = std::max(
            single_worst, std::fabs(expSingle[0] * ((rs + kExpB1) * rs + kExpB0) / exp2l(rs) - 1));
        if (s >= 0) {
            const long double q = s * 0x1p-18L;  // [0, 1/256]
            auto poly = [q](const double (&c)[6]) {
                return q * (c[0] + q * (c[1] + q * (c[2] + q * (c[3] + q * (c[4] + q * c[5])))));
            };
            ln_worst = std::max(ln_worst, std::fabs(poly(kLnPoly) - log1pl(q)));
            lg_worst = std::max(lg_worst, std::fabs(poly(kLog10Poly) - log1pl(q) / logl(10.0L)));
        }
    }
    EXPECT_LT(exp_worst, 0x1p-62L);
    EXPECT_LT(single_worst, 0x1p-27L);
    EXPECT_LT(ln_worst, 0x1p-64L);
    EXPECT_LT(lg_worst, 0x1p-64L);
}

// ------------------------------------------------------------ failure tables

struct Row {
    double x;
    double want;  // NaN: a NaN; otherwise exact, or checked against ref when `computed`
    int code;     // kNone: no event
    bool computed = false;
};

// Runs each row alone (the one-element path) and inside a group of
// ordinary values, and checks results and events.
template <class T>
void check_rows(Kernel<T> f, const char* name, long double (*ref)(long double), double bound,
                const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        for (int pos : {0, 1, 3}) {
            std::vector<T> a(5, T(0.5));
            a[pos] = static_cast<T>(row.x);
            xt::EventRecorder rec;
            const std::vector<T> r = eval(f, a);
            const T got = r[pos];
            if (std::isnan(row.want)) { EXPECT_TRUE(std::isnan(got)) << row.x; }
            else if (row.computed) EXPECT_LT(xt::ulp_error(got, ref(static_cast<T>(row.x))), bound) << row.x;
            else {
                EXPECT_EQ(got, static_cast<T>(row.want)) << row.x;
                EXPECT_EQ(std::signbit(got), std::signbit(row.want)) << row.x;
            }
            if (row.code == kNone) {
                EXPECT_TRUE(rec.events().empty()) << row.x;
                continue;
            }
            ASSERT_EQ(rec.events().size(), 1u) << row.x;
            const xt::Event& e = rec.events()[0];
            EXPECT_EQ(e.code, row.code) << row.x;
            EXPECT_EQ(e.index, pos);
            EXPECT_EQ(e.name, name);
            EXPECT_EQ(e.a, static_cast<double>(static_cast<T>(row.x)));
            if (!std::isnan(got)) { EXPECT_EQ(e.y, static_cast<double>(got)); }
            for (int j = 0; j < 5; ++j)
                if (j != pos) { EXPECT_EQ(r[j], eval1(f, T(0.5))); }
        }
    }
}

long double ref_exp(long double x) { return expl(x); }
long double ref_ln(long double x) { return logl(x); }
long double ref_log10(long double x) { return log10l(x); }

const double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(ExpEvents, DoubleFailureTable) {
    const double overflow = double_from_bits(0x40862E42FEFA39F0);   // 709.7827128933841
    const double underflow = -double_from_bits(0x40874910D52D3052); // -745.1332191019412
    const double band = double_from_bits(0x4086232BDD7ABCD3);       // 708.3964185322642
    // Band codes: 2 * ((k >> 4) & 31), k = round(x / ln 2 * 2^14), worked out
    // independently with MPFR.
    check_rows<double>(xebdExp_HA, "_xebdExp_HA", ref_exp, 0.82, {
        {0.0, 1.0, kNone},
        {overflow, kInf, XEB_STATUS_TOOLARGE},
        {1e300, kInf, XEB_STATUS_TOOLARGE},
        {DBL_MAX, kInf, XEB_STATUS_TOOLARGE},
        {underflow, 0.0, XEB_STATUS_TOOSMALL},
        {-1e300, 0.0, XEB_STATUS_TOOSMALL},
        {kInf, kInf, kNone},
        {-kInf, 0.0, kNone},
        {kNaN, kNaN, kNone},
        {-kNaN, kNaN, kNone},
        {709.0, 0, 54, true},
        {-709.0, 0, 8, true},
        {708.5, 0, 50, true},
        {-745.0, 0, 8, true},
        {-720.0, 0, 18, true},
        {-709.782, 0, 2, true},
        {band, 0, 0, true},  // 1022 ln 2: k = 1022 * 2^14, code 0
        {std::nextafter(band, 0.0), 0, kNone, true},
        // Positive x with high word 0x40862E42 stays quiet below the overflow
        // bound; its negative twin is in the band.
        {std::nextafter(overflow, 0.0), 0, kNone, true},
        {double_from_bits(0x40862E4200000000), 0, kNone, true},
        {-double_from_bits(0x40862E4200000000), 0, 0, true},
    });
}

TEST(ExpEvents, DenormalResultsRoundOnce) {
    // -720: e^x = 2.0e-313, a denormal; the whole range down to the
    // underflow bound, compared in ulps of the denormal spacing.
    xt::EventRecorder rec;
    std::mt19937_64 rng = xt::seeded(31);
    std::vector<double> a = xt::sample({708.4, 745.13, false}, xt::scaled(20000), rng);
    for (double& v : a) v = -v;
    const std::vector<double> r = eval<double>(xebdExp_HA, a);
    double worst = 0;
    for (std::size_t i = 0; i < a.size(); ++i) worst = std::max(worst, xt::ulp_error(r[i], expl(a[i])));
    EXPECT_LT(worst, 0.82);
    EXPECT_EQ(rec.events().size(), a.size());  // every one in the band reports
    EXPECT_LT(eval1<double>(xebdExp_HA, -720.0), DBL_MIN);
    EXPECT_GT(eval1<double>(xebdExp_HA, -720.0), 0.0);
}

TEST(ExpEvents, SignallingNaNComesOutQuiet) {
    const double snan = double_from_bits(0x7FF4000000000000);
    const double neg_snan = double_from_bits(0xFFF4000000000000);
    EXPECT_EQ(bits(eval1<double>(xebdExp_HA, snan)), 0x7FFC000000000000u);
    EXPECT_EQ(bits(eval1<double>(xebdExp_HA, neg_snan)), 0xFFFC000000000000u);
}

TEST(ExpEvents, SingleFailureTable) {
    const float large = float_from_bits(0x42B17218);   // 88.72283935546875
    const float small = -float_from_bits(0x42CFF1B4);  // -103.97207641601562
    check_rows<float>(xebsExp_HA, "_xebsExp_HA", ref_exp, 0.65, {
        {0.0, 1.0, kNone},
        {large, kInf, XEB_STATUS_TOOLARGE},
        {100.0, kInf, XEB_STATUS_TOOLARGE},
        {FLT_MAX, kInf, XEB_STATUS_TOOLARGE},
        {std::nextafter(large, 0.0f), 0, kNone, true},
        {-100.0, 0, kNone, true},  // a denormal, no event
        {-95.0, 0, kNone, true},
        {small, 0, kNone, true},   // the bound itself computes
        {std::nextafter(small, -kInfF), 0.0, XEB_STATUS_TOOSMALL},
        {-104.0, 0.0, XEB_STATUS_TOOSMALL},
        {-FLT_MAX, 0.0, XEB_STATUS_TOOSMALL},
        {kInf, kInf, kNone},
        {-kInf, 0.0, kNone},
        {kNaN, kNaN, kNone},
        {-kNaN, kNaN, kNone},
    });
    EXPECT_GT(eval1<float>(xebsExp_HA, -100.0f), 0.0f);
    EXPECT_LT(eval1<float>(xebsExp_HA, -100.0f), FLT_MIN);
}

// Zeros, negatives, infinities, NaNs and denormals: the same for all four.
template <class T>
void log_failure_table(Kernel<T> f, const char* name, long double (*ref)(long double), double bound) {
    const double tiny = sizeof(T) == 8 ? DBL_TRUE_MIN : FLT_TRUE_MIN;
    const double denormal = sizeof(T) == 8 ? 0x1.2345p-1030 : 0x1.2345p-130;
    check_rows<T>(f, name, ref, bound, {
        {0.0, -kInf, XEB_STATUS_POLE},
        {-0.0, -kInf, XEB_STATUS_POLE},
        {-1.0, kNaN, XEB_STATUS_DOMAINFAULT},
        {-tiny, kNaN, XEB_STATUS_DOMAINFAULT},
        {-1e30, kNaN, XEB_STATUS_DOMAINFAULT},
        {-kInf, kNaN, XEB_STATUS_DOMAINFAULT},
        {kInf, kInf, kNone},
        {kNaN, kNaN, kNone},
        {-kNaN, kNaN, kNone},
        {tiny, 0, kNone, true},
        {denormal, 0, kNone, true},
        {1.0, 0.0, kNone},
    });
}

TEST(LogEvents, FailureTables) {
    log_failure_table<double>(xebdLn_HA, "_xebdLn_HA", ref_ln, 0.8);
    log_failure_table<double>(xebdLog10_HA, "_xebdLog10_HA", ref_log10, 0.95);
    log_failure_table<float>(xebsLn_HA, "_xebsLn_HA", ref_ln, 0.8);
    log_failure_table<float>(xebsLog10_HA, "_xebsLog10_HA", ref_log10, 0.8);
}

// The domain test looks at the high word alone: a negative NaN whose high
// word is that of -infinity counts as negative.
TEST(LogEvents, DomainTestOnTheHighWord) {
    xt::EventRecorder rec;
    const double odd_nan = double_from_bits(0xFFF0000000000001);
    EXPECT_TRUE(std::isnan(eval1<double>(xebdLn_HA, odd_nan)));
    ASSERT_EQ(rec.events().size(), 1u);
    EXPECT_EQ(rec.events()[0].code, XEB_STATUS_DOMAINFAULT);
    rec.clear();
    EXPECT_TRUE(std::isnan(eval1<double>(xebdLn_HA, double_from_bits(0xFFF8000000000001))));
    EXPECT_TRUE(rec.events().empty());
}

// ------------------------------------------------------------ seams

TEST(LogSeams, AroundOne) {
    // 0.999 takes the Taylor form, 1 the table's row 0 with t = 0, just
    // above 1 row 0 with a small t.
    for (double x : {0.999, std::nextafter(0.998046875, 0.0), 0.998046875, std::nextafter(1.0, 0.0),
                     1.0000000001, std::nextafter(1.0, 2.0), 1.00390625, std::nextafter(1.00390625, 0.0)}) {
        EXPECT_LT(xt::ulp_error(eval1<double>(xebdLn_HA, x), logl(x)), 0.8) << x;
        EXPECT_LT(xt::ulp_error(eval1<double>(xebdLog10_HA, x), log10l(x)), 0.95) << x;
        const double pair[2] = {x, x};
        double r[2];
        xebdLn_HA(2, pair, r);  // the group path agrees with the one-element path
        EXPECT_EQ(r[0], eval1<double>(xebdLn_HA, x)) << x;
    }
    EXPECT_EQ(bits(eval1<double>(xebdLn_HA, 1.0)), 0u);
    EXPECT_EQ(bits(eval1<double>(xebdLog10_HA, 1.0)), 0u);
    EXPECT_EQ(bits(eval<double>(xebdLn_HA, {1.0, 1.0})[0]), 0u);
    EXPECT_EQ(bits(eval<float>(xebsLn_HA, {1.0f, 1.0f})[0]), 0u);
    EXPECT_EQ(bits(eval<float>(xebsLog10_HA, {1.0f, 1.0f})[0]), 0u);
}

// A pair with one bad element: the bad one gets its default and event, the
// other its ordinary result.
TEST(LogSeams, PairWithOneBadElement) {
    for (auto f : {xebdLn_HA, xebdLog10_HA}) {
        const double two = eval1<double>(f, 2.0);
        for (int bad : {0, 1}) {
            std::vector<double> a = {2.0, 2.0};
            a[bad] = -3.0;
            xt::EventRecorder rec;
            const std::vector<double> r = eval<double>(f, a);
            EXPECT_TRUE(std::isnan(r[bad]));
            EXPECT_EQ(r[1 - bad], two);
            ASSERT_EQ(rec.events().size(), 1u);
            EXPECT_EQ(rec.events()[0].index, bad);
            EXPECT_EQ(rec.events()[0].code, XEB_STATUS_DOMAINFAULT);
        }
    }
    // Single: a denormal sends its partner through fyl2x too; both stay
    // within the bound (and within an ulp of the cubic's result).
    for (auto f : {xebsLn_HA, xebsLog10_HA}) {
        std::mt19937_64 rng = xt::seeded(7);
        for (float x : xt::sample_float({1e-3, 1e3, false}, 2000, rng)) {
            const std::vector<float> alone = eval<float>(f, {x, 2.0f});
            const std::vector<float> paired = eval<float>(f, {x, 1e-40f});
            const long double want = f == xebsLn_HA ? logl(x) : log10l(x);
            EXPECT_LT(xt::ulp_error(paired[0], want), 0.8) << x;
            EXPECT_LE(std::abs(ulps_apart(alone[0], paired[0])), 1) << x;
        }
    }
}

// ------------------------------------------------------------ blocks and paths

struct Named {
    const char* name;
    Kernel<double> d;
    Kernel<float> s;
};
const Named kAll[] = {
    {"Exp", xebdExp_HA, xebsExp_HA},
    {"Ln", xebdLn_HA, xebsLn_HA},
    {"Log10", xebdLog10_HA, xebsLog10_HA},
};

// Ordinary values with specials and band values sprinkled in.
template <class T>
std::vector<T> mixed(std::size_t n, uint64_t seed) {
    std::mt19937_64 rng = xt::seeded(seed);
    std::vector<T> a;
    std::vector<T> specials;
    if constexpr (sizeof(T) == 8) {
        a = xt::sample({1e-5, 800.0, true}, n, rng);
        specials = xt::special_doubles();
    } else {
        a = xt::sample_float({1e-5, 120.0, true}, n, rng);
        specials = xt::special_floats();
    }
    for (std::size_t i = 0; i < n; i += 7) a[i] = specials[(i / 7) % specials.size()];
    return a;
}

// One call over n equals calls over pieces summing to n: results bit for
// bit, events with the same codes in the same order at shifted indices.
// The single logarithms pair elements, so a piece boundary can move an
// element between the cubic and fyl2x: those agree within one ulp.
template <class T>
void check_pieces(Kernel<T> f, bool pairs_may_differ) {
    const std::vector<T> a = mixed<T>(997, 11);
    xt::EventRecorder whole_rec;
    const std::vector<T> whole = eval(f, a);
    const std::vector<xt::Event> whole_events = whole_rec.events();
    whole_rec.clear();
    for (int piece : {1, 2, 3, 5, 8, 13}) {
        std::vector<T> r(a.size());
        std::vector<xt::Event> events;
        for (std::size_t i = 0; i < a.size(); i += piece) {
            const int len = static_cast<int>(std::min<std::size_t>(piece, a.size() - i));
            whole_rec.clear();
            f(len, a.data() + i, r.data() + i);
            for (xt::Event e : whole_rec.events()) {
                e.index += static_cast<int>(i);
                events.push_back(e);
            }
        }
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (std::isnan(whole[i])) { EXPECT_TRUE(std::isnan(r[i])); }
            else if (pairs_may_differ) EXPECT_LE(std::abs(ulps_apart(whole[i], r[i])), 1) << a[i];
            else EXPECT_EQ(bits(whole[i]), bits(r[i])) << a[i] << " piece " << piece;
        }
        ASSERT_EQ(events.size(), whole_events.size()) << piece;
        for (std::size_t k = 0; k < events.size(); ++k) {
            EXPECT_EQ(events[k].code, whole_events[k].code);
            EXPECT_EQ(events[k].index, whole_events[k].index);
        }
    }
    EXPECT_FALSE(whole_events.empty());
}

TEST(ExpLogBlocks, OneCallEqualsPieces) {
    for (const Named& k : kAll) {
        SCOPED_TRACE(k.name);
        check_pieces<double>(k.d, false);
        check_pieces<float>(k.s, k.d != xebdExp_HA);
    }
}

TEST(ExpLogBlocks, NonPositiveCountDoesNothing) {
    for (const Named& k : kAll) {
        double d = 7.0;
        float s = 7.0f;
        const double in = 1.0;
        const float ins = 1.0f;
        k.d(0, &in, &d);
        k.d(-3, &in, &d);
        k.s(0, &ins, &s);
        k.s(-3, &ins, &s);
        EXPECT_EQ(d, 7.0);
        EXPECT_EQ(s, 7.0f);
    }
}

// Every group path reads its arguments before it writes: in place, the
// results and events are those of separate arrays.
template <class T>
void check_in_place(Kernel<T> f) {
    std::vector<T> a = mixed<T>(203, 17);
    xt::EventRecorder rec;
    const std::vector<T> want = eval(f, a);
    const std::size_t events = rec.events().size();
    f(static_cast<int>(a.size()), a.data(), a.data());
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!std::isnan(want[i])) { EXPECT_EQ(bits(a[i]), bits(want[i])) << i; }
    EXPECT_EQ(rec.events().size(), 2 * events);
}

TEST(ExpLogBlocks, InPlace) {
    for (const Named& k : kAll) {
        SCOPED_TRACE(k.name);
        check_in_place<double>(k.d);
        check_in_place<float>(k.s);
    }
}

// The single exponential stores its group before it looks at the inputs,
// from a copy: in place, the events are still found.
TEST(ExpLogBlocks, SingleExpInPlace) {
    std::vector<float> a = {1.0f, 100.0f, -104.0f, 2.0f, 1.0f, 100.0f};
    xt::EventRecorder rec;
    xebsExp_HA(static_cast<int>(a.size()), a.data(), a.data());
    EXPECT_EQ(a[1], kInfF);
    EXPECT_EQ(a[2], 0.0f);
    EXPECT_EQ(a[5], kInfF);
    ASSERT_EQ(rec.events().size(), 3u);
    EXPECT_EQ(rec.events()[0].index, 1);
    EXPECT_EQ(rec.events()[1].index, 2);
    EXPECT_EQ(rec.events()[1].code, XEB_STATUS_TOOSMALL);
    EXPECT_EQ(rec.events()[2].index, 5);
}

// The single logarithms' one-element path (fyl2x at 53 bits) holds the same
// bound as the cubic: measured by calls of one element.
TEST(ExpLogBlocks, SingleLogOneElementAccuracy) {
    std::mt19937_64 rng = xt::seeded(5);
    const std::vector<float> a = xt::sample_float(xt::kAllFloats, xt::scaled(20000), rng);
    for (float x : a) {
        if (x <= 0) continue;
        EXPECT_LT(xt::ulp_error(eval1<float>(xebsLn_HA, x), logl(x)), 0.8) << x;
        EXPECT_LT(xt::ulp_error(eval1<float>(xebsLog10_HA, x), log10l(x)), 0.8) << x;
    }
}

// ------------------------------------------------------------ control words and callback

TEST(ExpLogFrame, ControlWordsForcedAndRestored) {
    const std::vector<double> a = mixed<double>(64, 3);
    const std::vector<float> as = mixed<float>(64, 4);
    std::vector<std::vector<double>> plain;
    std::vector<std::vector<float>> plain_s;
    {
        xt::EventRecorder quiet;
        for (const Named& k : kAll) {
            plain.push_back(eval(k.d, a));
            plain_s.push_back(eval(k.s, as));
        }
    }
    const uint16_t x87_before = xeb::fpu::x87_control();
    const uint32_t mxcsr_before = xeb::fpu::mxcsr();
    // x87 at 24 bits rounding toward zero; MXCSR flushing to zero and
    // rounding up: neither may reach the results.
    const uint16_t odd_x87 = static_cast<uint16_t>((x87_before & ~0x0F00) | 0x0C00);
    const uint32_t odd_mxcsr = mxcsr_before | 0xC040;  // FTZ, DAZ, round up
    for (std::size_t k = 0; k < std::size(kAll); ++k) {
        xt::EventRecorder quiet;
        xeb::fpu::set_x87_control(odd_x87);
        xeb::fpu::set_mxcsr(odd_mxcsr);
        std::vector<double> r(a.size());
        std::vector<float> rs(as.size());
        kAll[k].d(static_cast<int>(a.size()), a.data(), r.data());
        const uint16_t x87_after_d = xeb::fpu::x87_control();
        kAll[k].s(static_cast<int>(as.size()), as.data(), rs.data());
        const uint16_t x87_after_s = xeb::fpu::x87_control();
        const uint32_t mxcsr_after = xeb::fpu::mxcsr();
        xeb::fpu::set_x87_control(x87_before);
        xeb::fpu::set_mxcsr(mxcsr_before);
        EXPECT_EQ(x87_after_d, odd_x87) << kAll[k].name;
        EXPECT_EQ(x87_after_s, odd_x87) << kAll[k].name;
        EXPECT_EQ(mxcsr_after & 0xFFC0, odd_mxcsr & 0xFFC0) << kAll[k].name;
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (!std::isnan(r[i])) { EXPECT_EQ(bits(r[i]), bits(plain[k][i])) << kAll[k].name << " " << a[i]; }
            if (!std::isnan(rs[i])) { EXPECT_EQ(bits(rs[i]), bits(plain_s[k][i])) << kAll[k].name << " " << as[i]; }
        }
    }
}

// The exponentials carry the trap report's exception across the restore of
// the x87 image; the double logarithms never save it, so theirs stands too.
TEST(ExpLogFrame, TrapReportLeavesTheFlag) {
    xt::EventRecorder rec(XEB_REPORT_TRAP | XEB_REPORT_CALLBACK);
    auto flag_after = [](auto run) {
        xeb::fpu::x87_clear_exceptions();
        run();
        return xeb::fpu::x87_status() & xeb::fpu::kX87ExceptionFlags;
    };
    constexpr uint16_t kOverflow = 0x08, kUnderflow = 0x10, kInvalid = 0x01;
    double r;
    float rs;
    const double big = 1000.0, neg = -1000.0, minus = -2.0;
    const float bigs = 1000.0f, negs = -1000.0f;
    EXPECT_TRUE(flag_after([&] { xebdExp_HA(1, &big, &r); }) & kOverflow);
    EXPECT_TRUE(flag_after([&] { xebdExp_HA(1, &neg, &r); }) & kUnderflow);
    EXPECT_TRUE(flag_after([&] { xebsExp_HA(1, &bigs, &rs); }) & kOverflow);
    EXPECT_TRUE(flag_after([&] { xebsExp_HA(1, &negs, &rs); }) & kUnderflow);
    EXPECT_TRUE(flag_after([&] { xebdLn_HA(1, &minus, &r); }) & kInvalid);
    EXPECT_EQ(rec.events().size(), 5u);
}

void set_y_to_42(XebErrorRecord* r) { r->y = 42.0; }

// Spends the x87 inside the callback: the kernels' state must survive.
void use_the_x87(XebErrorRecord* r) {
    volatile long double s = 1.0L;
    for (int i = 1; i < 20; ++i) s = s * 1.5L + 1.0L / i;
    r->y = static_cast<double>(s) * 0.0 - 1.0;
}

TEST(ExpLogFrame, CallbackChangesTheResult) {
    xt::EventRecorder rec;
    rec.set_edit(set_y_to_42);
    EXPECT_EQ(eval<double>(xebdExp_HA, {1.0, 1000.0, 2.0})[1], 42.0);
    EXPECT_EQ(eval<double>(xebdExp_HA, {709.0})[0], 42.0);
    EXPECT_EQ(eval<float>(xebsExp_HA, {1.0f, 1.0f, 1000.0f, 1.0f})[2], 42.0f);
    EXPECT_EQ(eval<double>(xebdLn_HA, {2.0, 0.0})[1], 42.0);
    EXPECT_EQ(eval<float>(xebsLog10_HA, {2.0f, -1.0f})[1], 42.0f);
    // Handled: the dispatcher writes nothing back, the default stands.
    rec.set_verdict(1);
    EXPECT_EQ(eval<double>(xebdLn_HA, {2.0, 0.0})[1], -kInf);
    // A callback that computes on the x87 leaves the rest of the call intact.
    rec.set_verdict(0);
    rec.set_edit(use_the_x87);
    for (const Named& k : kAll) {
        const std::vector<double> a = mixed<double>(200, 9);
        const std::vector<double> r = eval(k.d, a);
        const std::vector<float> as = mixed<float>(200, 10);
        const std::vector<float> rs = eval(k.s, as);
        for (std::size_t i = 0; i < a.size(); ++i) {
            const double want = eval1(k.d, a[i]);
            if (!std::isnan(want)) { EXPECT_EQ(r[i], want) << k.name << " " << a[i]; }
        }
        for (std::size_t i = 0; i < as.size(); i += 2) {
            // Pairs: compare with the same pair alone.
            if (i + 1 >= as.size()) break;
            const std::vector<float> want = eval(k.s, std::vector<float>{as[i], as[i + 1]});
            if (!std::isnan(want[0])) { EXPECT_EQ(rs[i], want[0]) << k.name << " " << as[i]; }
        }
    }
}

// The lower forms are the HA kernels under other names, events included.
TEST(ExpLogFrame, ForwardersNameTheirTarget) {
    const struct {
        Kernel<double> lower;
        Kernel<double> ha;
        double bad;
        const char* name;
    } dbl[] = {{xebdExp_50, xebdExp_HA, 1000.0, "_xebdExp_HA"},
               {xebdLn_50, xebdLn_HA, -1.0, "_xebdLn_HA"},
               {xebdLog10_50, xebdLog10_HA, 0.0, "_xebdLog10_HA"}};
    const std::vector<double> a = mixed<double>(50, 21);
    for (const auto& k : dbl) {
        xt::EventRecorder rec;
        const std::vector<double> want = eval(k.ha, a);
        const std::vector<double> got = eval(k.lower, a);
        for (std::size_t i = 0; i < a.size(); ++i)
            if (!std::isnan(want[i])) { EXPECT_EQ(bits(got[i]), bits(want[i])); }
        rec.clear();
        eval1(k.lower, k.bad);
        ASSERT_EQ(rec.events().size(), 1u);
        EXPECT_EQ(rec.events()[0].name, k.name);
    }
    const struct {
        Kernel<float> lower;
        float bad;
        const char* name;
    } sgl[] = {{xebsExp_21, 1000.0f, "_xebsExp_HA"},  {xebsExp_11, 1000.0f, "_xebsExp_HA"},
               {xebsLn_21, -1.0f, "_xebsLn_HA"},      {xebsLn_11, -1.0f, "_xebsLn_HA"},
               {xebsLog10_21, 0.0f, "_xebsLog10_HA"}, {xebsLog10_11, 0.0f, "_xebsLog10_HA"}};
    for (const auto& k : sgl) {
        xt::EventRecorder rec;
        eval1(k.lower, k.bad);
        ASSERT_EQ(rec.events().size(), 1u);
        EXPECT_EQ(rec.events()[0].name, k.name);
    }
}

}  // namespace
