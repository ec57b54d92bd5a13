// Exponential and logarithms: tables and fits against independent values,
// the failure tables with their events, the seams between paths, block-size
// independence, control words and the callback.  Accuracy sweeps are rows
// of the kernel catalogue; the printed tables are checked by their generator.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "support/args.h"
#include "support/events.h"
#include "support/kernel_checks.h"
#include "support/scale.h"
#include "accuracy/ulp.h"
#include "catalogue/vector_kernels.h"
#include "vecmath/explog_tables.h"
#include "xebruk/vm_explog.h"

namespace {

using namespace xeb::explog;

using xeb::bits;
using xeb::double_from_bits;
using xeb::float_from_bits;

const bool kBaselineClass = xebGetKernelClass() == XEB_KERNEL_BASELINE;

// The catalogue's bound of a kernel in the class in use.
double bound(const char* name) {
    const xeb::catalogue::VectorKernel* k = xeb::catalogue::find_kernel(name);
    if (k == nullptr) ADD_FAILURE() << name << " has no row in the catalogue";
    return k ? k->bound_for(!kBaselineClass) : 0;
}

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr float kInfF = std::numeric_limits<float>::infinity();
using xt::check_rows;
using xt::eval;
using xt::eval1;
using xt::Kernel;
using xt::kNone;
using xt::Row;

// ------------------------------------------------------------ tables

// Every row against glibc's 64-bit functions (themselves within about
// 2^-63), and the x87's constants that the kernels load with fldl2e,
// fldln2 and fldlg2.
TEST(ExpLogTables, EveryRowMatchesAnIndependentValue) {
    auto rel = [](long double got, long double want) { return std::fabs(got / want - 1.0L); };
    using xeb::fpu::X87Constant;
    EXPECT_LT(std::fabs(xeb::fpu::x87_constant<X87Constant::Log2E>() * logl(2.0L) - 1), 0x1p-63L);
    EXPECT_LT(rel(xeb::fpu::x87_constant<X87Constant::Ln2>(), logl(2.0L)), 0x1p-63L);
    EXPECT_LT(rel(xeb::fpu::x87_constant<X87Constant::Log10Of2>(), log10l(2.0L)), 0x1p-63L);
    const long double c0 = extended(expCubic[2]);
    for (int i = 0; i < 32; ++i) {
        if (i < 16) { EXPECT_LT(rel(extended(expFine[i]) * c0, exp2l(i / 16384.0L)), 0x1p-62L) << "expFine " << i; }
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
    for (int i = 0; i < 256; ++i) {
        const long double c = 1.0L + i / 256.0L;
        for (const auto& [table, ref] : {std::make_pair(lnTable, logl(c)), std::make_pair(log10Table, log10l(c))}) {
            const LogRow& row = table[i];
            const long double err = std::fabs(static_cast<long double>(row.hi) + row.lo - ref);
            EXPECT_LT(err, i ? 0x1p-62L * ref : 0x1p-900L) << i;  // row 0: exactly 0
            EXPECT_LE(std::fabs(row.lo), std::ldexp(std::fabs(row.hi), -52)) << i;
            EXPECT_EQ(row.rcp, 1.0 / static_cast<double>(c)) << i;
        }
    }
}

// ------------------------------------------------------------ failure tables

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
    check_rows<double>(xebdExp_HA, "_xebdExp_HA", ref_exp, bound("xebdExp_HA"), {
        {0.0, 1.0, kNone}, {overflow, kInf, XEB_STATUS_TOOLARGE}, {1e300, kInf, XEB_STATUS_TOOLARGE},
        {DBL_MAX, kInf, XEB_STATUS_TOOLARGE}, {underflow, 0.0, XEB_STATUS_TOOSMALL},
        {-1e300, 0.0, XEB_STATUS_TOOSMALL}, {kInf, kInf, kNone}, {-kInf, 0.0, kNone},
        {kNaN, kNaN, kNone}, {-kNaN, kNaN, kNone},
        {709.0, 0, 54, true}, {-709.0, 0, 8, true}, {708.5, 0, 50, true}, {-745.0, 0, 8, true},
        {-720.0, 0, 18, true}, {-709.782, 0, 2, true},
        {band, 0, 0, true},  // 1022 ln 2: k = 1022 * 2^14, code 0
        {std::nextafter(band, 0.0), 0, kNone, true},
        // Positive x with high word 0x40862E42 stays quiet below the overflow
        // bound; its negative twin is in the band.
        {std::nextafter(overflow, 0.0), 0, kNone, true},
        {double_from_bits(0x40862E4200000000), 0, kNone, true},
        {-double_from_bits(0x40862E4200000000), 0, 0, true},
    });
    // Every result in the band of denormals reports (its accuracy is a row
    // of the kernel catalogue); a signalling NaN comes out quiet.
    xt::EventRecorder rec;
    std::mt19937_64 rng = xt::seeded(31);
    std::vector<double> a = xt::sample({708.4, 745.13, false}, xt::scaled(20000), rng);
    for (double& v : a) v = -v;
    eval<double>(xebdExp_HA, a);
    EXPECT_EQ(rec.events().size(), a.size());
    EXPECT_EQ(bits(eval1<double>(xebdExp_HA, double_from_bits(0x7FF4000000000000))), 0x7FFC000000000000u);
    EXPECT_EQ(bits(eval1<double>(xebdExp_HA, double_from_bits(0xFFF4000000000000))), 0xFFFC000000000000u);
}

TEST(ExpEvents, SingleFailureTable) {
    const float large = float_from_bits(0x42B17218);   // 88.72283935546875
    const float small = -float_from_bits(0x42CFF1B4);  // -103.97207641601562
    check_rows<float>(xebsExp_HA, "_xebsExp_HA", ref_exp, bound("xebsExp_HA"), {
        {0.0, 1.0, kNone}, {large, kInf, XEB_STATUS_TOOLARGE}, {100.0, kInf, XEB_STATUS_TOOLARGE},
        {FLT_MAX, kInf, XEB_STATUS_TOOLARGE}, {std::nextafter(large, 0.0f), 0, kNone, true},
        {-100.0, 0, kNone, true},  // a denormal, no event
        {-95.0, 0, kNone, true},
        {small, 0, kNone, true},   // the bound itself computes
        {std::nextafter(small, -kInfF), 0.0, XEB_STATUS_TOOSMALL}, {-104.0, 0.0, XEB_STATUS_TOOSMALL},
        {-FLT_MAX, 0.0, XEB_STATUS_TOOSMALL}, {kInf, kInf, kNone}, {-kInf, 0.0, kNone},
        {kNaN, kNaN, kNone}, {-kNaN, kNaN, kNone},
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
        {0.0, -kInf, XEB_STATUS_POLE}, {-0.0, -kInf, XEB_STATUS_POLE},
        {-1.0, kNaN, XEB_STATUS_DOMAINFAULT}, {-tiny, kNaN, XEB_STATUS_DOMAINFAULT},
        {-1e30, kNaN, XEB_STATUS_DOMAINFAULT}, {-kInf, kNaN, XEB_STATUS_DOMAINFAULT},
        {kInf, kInf, kNone}, {kNaN, kNaN, kNone}, {-kNaN, kNaN, kNone},
        {tiny, 0, kNone, true}, {denormal, 0, kNone, true}, {1.0, 0.0, kNone},
    });
}

TEST(LogEvents, FailureTables) {
    log_failure_table<double>(xebdLn_HA, "_xebdLn_HA", ref_ln, bound("xebdLn_HA"));
    log_failure_table<double>(xebdLog10_HA, "_xebdLog10_HA", ref_log10, bound("xebdLog10_HA"));
    log_failure_table<float>(xebsLn_HA, "_xebsLn_HA", ref_ln, bound("xebsLn_HA"));
    log_failure_table<float>(xebsLog10_HA, "_xebsLog10_HA", ref_log10, bound("xebsLog10_HA"));
    // The lower forms with code of their own in the classes.
    if (!kBaselineClass) {
        log_failure_table<double>(xebdLn_50, "_xebdLn_50", ref_ln, bound("xebdLn_50"));
        log_failure_table<double>(xebdLog10_50, "_xebdLog10_50", ref_log10, bound("xebdLog10_50"));
        log_failure_table<float>(xebsLn_21, "_xebsLn_21", ref_ln, bound("xebsLn_21"));
        log_failure_table<float>(xebsLog10_21, "_xebsLog10_21", ref_log10, bound("xebsLog10_21"));
    }
    // The domain test looks at the high word alone: a negative NaN whose
    // high word is that of -infinity counts as negative.
    xt::EventRecorder rec;
    EXPECT_TRUE(std::isnan(eval1<double>(xebdLn_HA, double_from_bits(0xFFF0000000000001))));
    ASSERT_EQ(rec.events().size(), 1u);
    EXPECT_EQ(rec.events()[0].code, XEB_STATUS_DOMAINFAULT);
    rec.clear();
    EXPECT_TRUE(std::isnan(eval1<double>(xebdLn_HA, double_from_bits(0xFFF8000000000001))));
    EXPECT_TRUE(rec.events().empty());
}

// ------------------------------------------------------------ seams

// 0.999 takes the Taylor form, 1 the table's row 0 with t = 0, just above 1
// row 0 with a small t; the group path agrees with the one-element path,
// and log 1 is +0 on every path.
TEST(LogSeams, AroundOne) {
    for (double x : {0.999, std::nextafter(0.998046875, 0.0), 0.998046875, std::nextafter(1.0, 0.0),
                     1.0000000001, std::nextafter(1.0, 2.0), 1.00390625, std::nextafter(1.00390625, 0.0)}) {
        EXPECT_LT(xt::ulp_error(eval1<double>(xebdLn_HA, x), logl(x)), bound("xebdLn_HA")) << x;
        EXPECT_LT(xt::ulp_error(eval1<double>(xebdLog10_HA, x), log10l(x)), bound("xebdLog10_HA")) << x;
        EXPECT_EQ(eval<double>(xebdLn_HA, {x, x})[0], eval1<double>(xebdLn_HA, x)) << x;
    }
    for (double r : {eval1<double>(xebdLn_HA, 1.0), eval1<double>(xebdLog10_HA, 1.0),
                     eval<double>(xebdLn_HA, {1.0, 1.0})[0], double(eval<float>(xebsLn_HA, {1.0f, 1.0f})[0]),
                     double(eval<float>(xebsLog10_HA, {1.0f, 1.0f})[0])})
        EXPECT_EQ(bits(r), 0u);
}

// A pair with one bad element: the bad one gets its default and event, the
// other its ordinary result.  Single: a denormal sends the pair to the
// one-element path, which gives its partner the pair's bits.
TEST(LogSeams, PairWithOneBadElement) {
    for (auto f : {xebdLn_HA, xebdLog10_HA}) {
        for (int bad : {0, 1}) {
            std::vector<double> a = {2.0, 2.0};
            a[bad] = -3.0;
            xt::EventRecorder rec;
            const std::vector<double> r = eval<double>(f, a);
            EXPECT_TRUE(std::isnan(r[bad]));
            EXPECT_EQ(r[1 - bad], eval1<double>(f, 2.0));
            ASSERT_EQ(rec.events().size(), 1u);
            EXPECT_EQ(rec.events()[0].index, bad);
            EXPECT_EQ(rec.events()[0].code, XEB_STATUS_DOMAINFAULT);
        }
    }
    for (auto f : {xebsLn_HA, xebsLog10_HA}) {
        std::mt19937_64 rng = xt::seeded(7);
        std::vector<float> xs = xt::sample_float({1e-3, 1e3, false}, 2000, rng);
        xs.insert(xs.end(), {0x1.00e6d2p+0f, 0x1.00eda2p+0f});
        for (float x : xs) {
            const float paired = eval<float>(f, {x, 1e-40f})[0];
            EXPECT_LT(xt::ulp_error(paired, f == xebsLn_HA ? logl(x) : log10l(x)), bound("xebsLn_HA")) << x;
            EXPECT_EQ(bits(eval<float>(f, {x, 2.0f})[0]), bits(paired)) << x;
        }
    }
}

// Calls of one element hold the single logarithms' bound (denormals go
// through fyl2x at 53 bits).
TEST(LogSeams, SingleLogOneElementAccuracy) {
    std::mt19937_64 rng = xt::seeded(5);
    for (float x : xt::sample_float({FLT_TRUE_MIN, FLT_MAX, true}, xt::scaled(20000), rng)) {
        if (x <= 0) continue;
        EXPECT_LT(xt::ulp_error(eval1<float>(xebsLn_HA, x), logl(x)), bound("xebsLn_HA")) << x;
        EXPECT_LT(xt::ulp_error(eval1<float>(xebsLog10_HA, x), log10l(x)), bound("xebsLog10_HA")) << x;
    }
}

// ------------------------------------------------------------ blocks and paths

struct Named {
    const char* name;
    Kernel<double> d;
    Kernel<float> s;
};
const Named kAll[] = {{"Exp", xebdExp_HA, xebsExp_HA}, {"Ln", xebdLn_HA, xebsLn_HA},
                      {"Log10", xebdLog10_HA, xebsLog10_HA}, {"Ln lower", xebdLn_50, xebsLn_21},
                      {"Log10 lower", xebdLog10_50, xebsLog10_21}};

// Ordinary values with specials and band values sprinkled in.
template <class T>
std::vector<T> mixed(std::size_t n, uint64_t seed) {
    std::mt19937_64 rng = xt::seeded(seed);
    constexpr bool dbl = sizeof(T) == 8;
    std::vector<T> a, specials;
    if constexpr (dbl) a = xt::sample({1e-5, 800.0, true}, n, rng), specials = xt::special_doubles();
    else a = xt::sample_float({1e-5, 120.0, true}, n, rng), specials = xt::special_floats();
    for (std::size_t i = 0; i < n; i += 7) a[i] = specials[(i / 7) % specials.size()];
    if constexpr (!dbl) {
        // Arguments whose single Ln and Log10 a lone element (the tail of
        // an odd count) once rounded differently from a pair.
        a[3] = 0x1.00e6d2p+0f;
        a[4] = 0x1.00eda2p+0f;
    }
    return a;
}

// Every class gives the same bits whatever the pieces (the baseline's single
// logarithms take a lone element through their pair's cubic).
TEST(ExpLogBlocks, OneCallEqualsPiecesAndInPlace) {
    for (const Named& k : kAll) {
        SCOPED_TRACE(k.name);
        xt::check_pieces<double>(k.d, mixed<double>(997, 11), mixed<double>(203, 17));
        xt::check_pieces<float>(k.s, mixed<float>(997, 11), mixed<float>(203, 17));
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
    std::vector<std::pair<int, int>> events;  // index, code
    for (const xt::Event& e : rec.events()) events.emplace_back(e.index, e.code);
    EXPECT_EQ(events, (std::vector<std::pair<int, int>>{
                          {1, XEB_STATUS_TOOLARGE}, {2, XEB_STATUS_TOOSMALL}, {5, XEB_STATUS_TOOLARGE}}));
}

// ------------------------------------------------------------ control words and callback

// x87 at 24 bits rounding toward zero; MXCSR flushing to zero and rounding
// up: neither may reach the results, and both are restored.
TEST(ExpLogFrame, ControlWordsForcedAndRestored) {
    const std::vector<double> a = mixed<double>(64, 3);
    const std::vector<float> as = mixed<float>(64, 4);
    const uint16_t x87_before = xeb::fpu::x87_control();
    const uint32_t mxcsr_before = xeb::fpu::mxcsr();
    const uint16_t odd_x87 = static_cast<uint16_t>((x87_before & ~0x0F00) | 0x0C00);
    const uint32_t odd_mxcsr = mxcsr_before | 0xC040;  // FTZ, DAZ, round up
    xt::EventRecorder quiet;
    for (const Named& k : kAll) {
        const std::vector<double> plain = eval(k.d, a);
        const std::vector<float> plain_s = eval(k.s, as);
        xeb::fpu::set_x87_control(odd_x87);
        xeb::fpu::set_mxcsr(odd_mxcsr);
        const std::vector<double> r = eval(k.d, a);
        const uint16_t x87_after_d = xeb::fpu::x87_control();
        const std::vector<float> rs = eval(k.s, as);
        const uint16_t x87_after_s = xeb::fpu::x87_control();
        const uint32_t mxcsr_after = xeb::fpu::mxcsr();
        xeb::fpu::set_x87_control(x87_before);
        xeb::fpu::set_mxcsr(mxcsr_before);
        EXPECT_EQ(x87_after_d, odd_x87) << k.name;
        EXPECT_EQ(x87_after_s, odd_x87) << k.name;
        EXPECT_EQ(mxcsr_after & 0xFFC0, odd_mxcsr & 0xFFC0) << k.name;
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (!std::isnan(r[i])) { EXPECT_EQ(bits(r[i]), bits(plain[i])) << k.name << " " << a[i]; }
            if (!std::isnan(rs[i])) { EXPECT_EQ(bits(rs[i]), bits(plain_s[i])) << k.name << " " << as[i]; }
        }
    }
}

// The exponentials carry the trap report's exception across the restore of
// the x87 image; the double logarithms never save it, so theirs stands too.
TEST(ExpLogFrame, TrapReportLeavesTheFlag) {
    xt::EventRecorder rec(XEB_REPORT_TRAP | XEB_REPORT_CALLBACK);
    auto flag_after = [](auto f, auto x) {
        xeb::fpu::x87_clear_exceptions();
        eval1(f, x);
        return xeb::fpu::x87_status() & xeb::fpu::kX87ExceptionFlags;
    };
    constexpr uint16_t kOverflow = 0x08, kUnderflow = 0x10, kInvalid = 0x01;
    EXPECT_TRUE(flag_after(Kernel<double>(xebdExp_HA), 1000.0) & kOverflow);
    EXPECT_TRUE(flag_after(Kernel<double>(xebdExp_HA), -1000.0) & kUnderflow);
    EXPECT_TRUE(flag_after(Kernel<float>(xebsExp_HA), 1000.0f) & kOverflow);
    EXPECT_TRUE(flag_after(Kernel<float>(xebsExp_HA), -1000.0f) & kUnderflow);
    EXPECT_TRUE(flag_after(Kernel<double>(xebdLn_HA), -2.0) & kInvalid);
    EXPECT_EQ(rec.events().size(), 5u);
}

// Spends the x87 inside the callback: the kernels' state must survive.
void use_the_x87(XebErrorRecord* r) {
    volatile long double s = 1.0L;
    for (int i = 1; i < 20; ++i) s = s * 1.5L + 1.0L / i;
    r->y = static_cast<double>(s) * 0.0 - 1.0;
}

TEST(ExpLogFrame, CallbackChangesTheResult) {
    xt::EventRecorder rec;
    rec.set_edit([](XebErrorRecord* r) { r->y = 42.0; });
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
        const std::vector<double> a = mixed<double>(200, 9), r = eval(k.d, a);
        const std::vector<float> as = mixed<float>(200, 10), rs = eval(k.s, as);
        for (std::size_t i = 0; i < a.size(); ++i) {
            const double want = eval1(k.d, a[i]);
            if (!std::isnan(want)) { EXPECT_EQ(r[i], want) << k.name << " " << a[i]; }
        }
        for (std::size_t i = 0; i + 1 < as.size(); i += 2) {  // pairs: compare with the same pair alone
            const float want = eval(k.s, std::vector<float>{as[i], as[i + 1]})[0];
            if (!std::isnan(want)) { EXPECT_EQ(rs[i], want) << k.name << " " << as[i]; }
        }
    }
}

}  // namespace
