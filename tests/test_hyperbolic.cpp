// Hyperbolic and inverse hyperbolic functions: tables against independent
// values, the failure tables with their events and default NaNs, the seams
// between paths, the blocks of the inverse doubles, block-split
// independence, control words, the x87's overflow flag and the callback.
// Accuracy sweeps are rows of the kernel catalogue.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <vector>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "support/args.h"
#include "support/control_words.h"
#include "support/kernel_checks.h"
#include "support/kernel_class.h"
#include "vecmath/hyperbolic_tables.h"
#include "xebruk/vm_hyperbolic.h"

namespace {

using xeb::bits;
using xeb::double_from_bits;
using xeb::float_from_bits;
using xt::eval;
using xt::eval1;
using xt::Kernel;
using xt::kNone;

constexpr double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

long double ref_sinh(long double x) { return sinhl(x); }
long double ref_cosh(long double x) { return coshl(x); }
long double ref_tanh(long double x) { return tanhl(x); }
long double ref_asinh(long double x) { return asinhl(x); }
long double ref_acosh(long double x) { return acoshl(x); }
long double ref_atanh(long double x) { return atanhl(x); }

struct Family {
    const char* name;
    Kernel<double> d;
    Kernel<float> s;
    long double (*ref)(long double);
    double filler;  // an ordinary argument
};
const Family kAll[] = {
    {"Sinh", xebdSinh_HA, xebsSinh_HA, ref_sinh, 0.5},     {"Cosh", xebdCosh_HA, xebsCosh_HA, ref_cosh, 0.5},
    {"Tanh", xebdTanh_HA, xebsTanh_HA, ref_tanh, 0.5},     {"Asinh", xebdAsinh_HA, xebsAsinh_HA, ref_asinh, 0.5},
    {"Acosh", xebdAcosh_HA, xebsAcosh_HA, ref_acosh, 1.5}, {"Atanh", xebdAtanh_HA, xebsAtanh_HA, ref_atanh, 0.5},
};

// ------------------------------------------------------------ tables

TEST(HyperbolicTables, EveryRowMatchesAnIndependentValue) {
    using namespace xeb::hyperbolic;
    auto rel = [](long double got, long double want) { return std::fabs(got / want - 1.0L); };
    for (int i = 0; i < 16; ++i) EXPECT_LT(rel(xeb::explog::extended(sinhFine[i]), exp2l(i / 16384.0L)), 0x1p-62L);
    for (int j = 0; j < 64; ++j) EXPECT_LT(rel(xeb::explog::extended(tanhPow2[j]), exp2l(j / 64.0L)), 0x1p-62L);
    EXPECT_EQ(tanhSingle[0], 0.0);
    for (int k = 1; k < 256; ++k) EXPECT_LT(rel(tanhSingle[k], tanhl(k / 16.0L)), 0x1p-53L) << k;
}

// ------------------------------------------------------------ failure tables

const double kSinhBound = double_from_bits(0x408633CE8FB9F87E);  // 710.4758600739439
const float kSinhBoundS = float_from_bits(0x42B2D4FD);           // 89.4159927368164

TEST(HyperbolicEvents, DoubleFailureTables) {
    const double below = std::nextafter(kSinhBound, 0.0);
    xt::check_rows<double>(xebdSinh_HA, "_xebdSinh_HA", ref_sinh, 0.7, {
        {kSinhBound, kInf, XEB_STATUS_TOOLARGE}, {-kSinhBound, -kInf, XEB_STATUS_TOOLARGE},
        {DBL_MAX, kInf, XEB_STATUS_TOOLARGE}, {below, 0, kNone, true}, {-below, 0, kNone, true},
        {kInf, kInf, kNone}, {-kInf, -kInf, kNone}, {kNaN, kNaN, kNone}, {0.0, 0.0, kNone}, {-0.0, -0.0, kNone},
        {DBL_TRUE_MIN, DBL_TRUE_MIN, kNone},
    });
    xt::check_rows<double>(xebdCosh_HA, "_xebdCosh_HA", ref_cosh, 0.7, {
        {kSinhBound, kInf, XEB_STATUS_TOOLARGE}, {-kSinhBound, kInf, XEB_STATUS_TOOLARGE},
        {below, 0, kNone, true}, {-below, 0, kNone, true}, {kInf, kInf, kNone}, {-kInf, kInf, kNone},
        {kNaN, kNaN, kNone}, {0.0, 1.0, kNone}, {-0.0, 1.0, kNone},
    });
    // The high word alone sends 20 and beyond to +-1, a NaN with the high
    // word of infinity too; 19.9 rounds to 1 through the formula.
    xt::check_rows<double>(xebdTanh_HA, "_xebdTanh_HA", ref_tanh, 0.65, {
        {20.0, 1.0, kNone}, {-20.0, -1.0, kNone}, {19.9, 1.0, kNone}, {kInf, 1.0, kNone}, {-kInf, -1.0, kNone},
        {double_from_bits(0x7FF0000000000001), 1.0, kNone}, {kNaN, kNaN, kNone}, {0.0, 0.0, kNone},
        {-0.0, -0.0, kNone}, {-DBL_TRUE_MIN, -DBL_TRUE_MIN, kNone},
    });
    xt::check_rows<double>(xebdAsinh_HA, "_xebdAsinh_HA", ref_asinh, 0.7, {
        {kInf, kInf, kNone}, {-kInf, -kInf, kNone}, {kNaN, kNaN, kNone}, {-0.0, -0.0, kNone},
        {DBL_MAX, 0, kNone, true}, {-0x1p-9, 0, kNone, true},
    });
    xt::check_rows<double>(xebdAcosh_HA, "_xebdAcosh_HA", ref_acosh, 0.8, {
        {1.0, 0.0, kNone}, {0.9999999, kNaN, XEB_STATUS_DOMAINFAULT}, {0.0, kNaN, XEB_STATUS_DOMAINFAULT},
        {-2.0, kNaN, XEB_STATUS_DOMAINFAULT}, {-kInf, kNaN, XEB_STATUS_DOMAINFAULT}, {kInf, kInf, kNone},
        {kNaN, kNaN, kNone}, {-kNaN, kNaN, kNone}, {DBL_MAX, 0, kNone, true},
    }, 1.5);
    xt::check_rows<double>(xebdAtanh_HA, "_xebdAtanh_HA", ref_atanh, 0.7, {
        {1.0, kInf, XEB_STATUS_POLE}, {-1.0, -kInf, XEB_STATUS_POLE}, {2.0, kNaN, XEB_STATUS_DOMAINFAULT},
        {-kInf, kNaN, XEB_STATUS_DOMAINFAULT}, {std::nextafter(1.0, 2.0), kNaN, XEB_STATUS_DOMAINFAULT},
        {kNaN, kNaN, kNone}, {std::nextafter(1.0, 0.0), 0, kNone, true}, {-0.0, -0.0, kNone},
    });
}

TEST(HyperbolicEvents, SingleFailureTables) {
    const float below = std::nextafter(kSinhBoundS, 0.0f);
    xt::check_rows<float>(xebsSinh_HA, "_xebsSinh_HA", ref_sinh, 0.51, {
        {kSinhBoundS, kInf, XEB_STATUS_TOOLARGE}, {-kSinhBoundS, -kInf, XEB_STATUS_TOOLARGE},
        {FLT_MAX, kInf, XEB_STATUS_TOOLARGE}, {below, 0, kNone, true}, {kInf, kInf, kNone},
        {-kInf, -kInf, kNone}, {kNaN, kNaN, kNone}, {-0.0, -0.0, kNone}, {FLT_TRUE_MIN, FLT_TRUE_MIN, kNone},
    });
    xt::check_rows<float>(xebsCosh_HA, "_xebsCosh_HA", ref_cosh, 0.51, {
        {-kSinhBoundS, kInf, XEB_STATUS_TOOLARGE}, {below, 0, kNone, true}, {-kInf, kInf, kNone},
        {kNaN, kNaN, kNone}, {-0.0, 1.0, kNone},
    });
    xt::check_rows<float>(xebsTanh_HA, "_xebsTanh_HA", ref_tanh, 0.8, {
        {10.0, 1.0, kNone}, {-10.0, -1.0, kNone}, {9.99, 0, kNone, true}, {-0.3, 0, kNone, true}, {kInf, 1.0, kNone},
        {kNaN, kNaN, kNone}, {-0.0, -0.0, kNone}, {FLT_MIN, FLT_MIN, kNone},
    });
    xt::check_rows<float>(xebsAsinh_HA, "_xebsAsinh_HA", ref_asinh, 0.51, {
        {-kInf, -kInf, kNone}, {kNaN, kNaN, kNone}, {-0.0, -0.0, kNone}, {FLT_MAX, 0, kNone, true},
    });
    xt::check_rows<float>(xebsAcosh_HA, "_xebsAcosh_HA", ref_acosh, 0.51, {
        {1.0, 0.0, kNone}, {0.9999999, kNaN, XEB_STATUS_DOMAINFAULT}, {-kInf, kNaN, XEB_STATUS_DOMAINFAULT},
        {kInf, kInf, kNone}, {-kNaN, kNaN, kNone},
    }, 1.5f);
    xt::check_rows<float>(xebsAtanh_HA, "_xebsAtanh_HA", ref_atanh, 0.51, {
        {1.0, kInf, XEB_STATUS_POLE}, {-1.0, -kInf, XEB_STATUS_POLE}, {-2.0, kNaN, XEB_STATUS_DOMAINFAULT},
        {kInf, kNaN, XEB_STATUS_DOMAINFAULT}, {kNaN, kNaN, kNone}, {std::nextafter(1.0f, 0.0f), 0, kNone, true},
    });
}

// The NaN of a domain fault has every bit set but the sign, which Atanh
// takes from its argument; Acosh returns a positive NaN argument as it is
// (quieted), Atanh answers any NaN with its own.
TEST(HyperbolicEvents, DefaultNaNs) {
    xt::EventRecorder quiet;
    const uint64_t own = 0x7FFFFFFFFFFFFFFF;
    const struct {
        Kernel<double> f;
        uint64_t x, want;
    } d[] = {{xebdAcosh_HA, bits(0.5), own},      {xebdAcosh_HA, 0xFFF8000000000000, own},
             {xebdAcosh_HA, 0x7FF4000000000001, 0x7FFC000000000001},
             {xebdAtanh_HA, bits(-2.0), ~0ull},   {xebdAtanh_HA, 0x7FF8000000000123, own},
             {xebdAsinh_HA, 0x7FF4000000000000, 0x7FFC000000000000}};
    for (const auto& c : d) EXPECT_EQ(bits(eval1(c.f, double_from_bits(c.x))), c.want) << std::hex << c.x;
    EXPECT_EQ(bits(eval1<float>(xebsAcosh_HA, -3.0f)), 0x7FFFFFFFu);
    EXPECT_EQ(bits(eval1<float>(xebsAtanh_HA, -3.0f)), 0xFFFFFFFFu);
}

// ------------------------------------------------------------ seams

// Neighbours across each change of path: each within its bound, and in
// order.
TEST(HyperbolicSeams, PathsAgreeAcrossTheirBounds) {
    const struct {
        Kernel<double> f;
        long double (*ref)(long double);
        uint64_t seam;
    } seams[] = {
        {xebdSinh_HA, ref_sinh, 0x3F4F000000000000},  {xebdSinh_HA, ref_sinh, 0x3F4F100000000000},
        {xebdSinh_HA, ref_sinh, 0x3FB0000000000000},  {xebdTanh_HA, ref_tanh, 0x3F60624D00000000},
        {xebdTanh_HA, ref_tanh, 0x3F60624E00000000},  {xebdAsinh_HA, ref_asinh, 0x3F60000000000000},
        {xebdAtanh_HA, ref_atanh, 0x3F50000000000000}, {xebdAcosh_HA, ref_acosh, 0x3FF0020000000000},
        // The SIMD classes' seams: 708.39 (Sinh, Cosh), 2^-30 (Asinh,
        // Atanh) and 2^28 (Asinh, Acosh).
        {xebdSinh_HA, ref_sinh, 0x4086232B00000000},  {xebdCosh_HA, ref_cosh, 0x4086232B00000000},
        {xebdAsinh_HA, ref_asinh, 0x3E10000000000000}, {xebdAtanh_HA, ref_atanh, 0x3E10000000000000},
        {xebdAsinh_HA, ref_asinh, 0x41B0000000000000}, {xebdAcosh_HA, ref_acosh, 0x41B0000000000000},
    };
    for (const auto& s : seams)
        for (double sign : {1.0, -1.0}) {
            if ((s.f == xebdAcosh_HA || s.f == xebdCosh_HA) && sign < 0) continue;
            const double hi = sign * double_from_bits(s.seam), lo = std::nextafter(hi, 0.0);
            const double r_hi = eval1(s.f, hi), r_lo = eval1(s.f, lo);
            EXPECT_LT(xt::ulp_error(r_hi, s.ref(hi)), 0.65) << hi;
            EXPECT_LT(xt::ulp_error(r_lo, s.ref(lo)), 0.65) << lo;
            EXPECT_LE(std::fabs(r_lo), std::fabs(r_hi)) << hi;
        }
}

// ------------------------------------------------------------ blocks and paths

template <class T>
std::vector<T> mixed(const Family& k, std::size_t n, uint64_t seed) {
    std::mt19937_64 rng = xt::seeded(seed);
    std::vector<T> a, specials;
    const double top = k.d == xebdAtanh_HA ? 1.2 : k.d == xebdAcosh_HA ? 1e6 : sizeof(T) == 8 ? 800.0 : 100.0;
    if constexpr (sizeof(T) == 8) a = xt::sample({1e-5, top, true}, n, rng), specials = xt::special_doubles();
    else a = xt::sample_float({1e-5, top, true}, n, rng), specials = xt::special_floats();
    for (std::size_t i = 0; i < n; i += 7) a[i] = specials[(i / 7) % specials.size()];
    return a;
}

// Every path of every kernel gives the same bits: pieces of any length
// (blocks of 64 pairs and an odd element for the inverse doubles) equal one
// call; in place equals separate arrays.
TEST(HyperbolicBlocks, OneCallEqualsPiecesAndInPlace) {
    for (const Family& k : kAll) {
        SCOPED_TRACE(k.name);
        const std::vector<int> pieces = {1, 2, 3, 5, 127, 128, 129, 300};
        const bool events = k.d != xebdTanh_HA && k.d != xebdAsinh_HA;
        xt::check_pieces<double>(k.d, mixed<double>(k, 997, 11), mixed<double>(k, 203, 17), events, pieces);
        xt::check_pieces<float>(k.s, mixed<float>(k, 997, 11), mixed<float>(k, 203, 17), events, pieces);
    }
}

// n = 129 is one block of 64 pairs and the last element alone; a pair with
// a NaN finishes both on the one-element path, with the same results.
TEST(HyperbolicBlocks, OneBlockAndAnOddElement) {
    std::mt19937_64 rng = xt::seeded(3);
    std::vector<double> a = xt::sample({1e-3, 1e3, true}, 129, rng);
    a[40] = kNaN;
    const std::vector<double> r = eval<double>(xebdAsinh_HA, a);
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (i == 40) { EXPECT_TRUE(std::isnan(r[i])); continue; }
        EXPECT_EQ(bits(r[i]), bits(eval1<double>(xebdAsinh_HA, a[i]))) << i;
        EXPECT_LT(xt::ulp_error(r[i], asinhl(a[i])), 0.7) << a[i];
    }
}

// ------------------------------------------------------------ frame

TEST(HyperbolicFrame, ControlWordsForcedAndRestored) {
    xt::EventRecorder quiet;
    for (const Family& k : kAll) {
        const std::vector<double> a = mixed<double>(k, 64, 3);
        const std::vector<float> as = mixed<float>(k, 64, 4);
        const std::vector<double> plain = eval(k.d, a);
        const std::vector<float> plain_s = eval(k.s, as);
        std::vector<double> r;
        std::vector<float> rs;
        xt::under_odd_control_words([&] { r = eval(k.d, a), rs = eval(k.s, as); });
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (!std::isnan(r[i])) { EXPECT_EQ(bits(r[i]), bits(plain[i])) << k.name << " " << a[i]; }
            if (!std::isnan(rs[i])) { EXPECT_EQ(bits(rs[i]), bits(plain_s[i])) << k.name << " " << as[i]; }
        }
    }
}

// The double Sinh and Cosh leave the overflow flag at an overflow,
// reported or not: the x87's in the baseline class, MXCSR's in the others.
TEST(HyperbolicFrame, OverflowLeavesTheFlag) {
    xt::EventRecorder quiet;
    const bool x87 = xeb::frame::kernel_class() == xt::KernelClass::Baseline;
    for (Kernel<double> f : {xebdSinh_HA, xebdCosh_HA}) {
        for (const double x : {100.0, 709.0, -800.0}) {
            xeb::fpu::x87_clear_exceptions();
            xeb::fpu::set_mxcsr(xeb::fpu::mxcsr() & ~0x3Fu);
            eval1(f, x);
            const bool flag = (x87 ? xeb::fpu::x87_status() : xeb::fpu::mxcsr()) & 0x08;
            EXPECT_EQ(flag, x < 0) << x;
        }
    }
}

// What a callback leaves in the record is what stays in r; handled, the
// default stands.  The lower forms report under their targets' names.
TEST(HyperbolicFrame, CallbackAndForwarders) {
    xt::EventRecorder rec;
    rec.set_edit([](XebErrorRecord* r) { r->y = 42.0; });
    const struct {
        Kernel<double> d;
        Kernel<float> s;
        double filler, bad;
    } cases[] = {{xebdSinh_HA, xebsSinh_HA, 0.75, -1e3}, {xebdCosh_HA, xebsCosh_HA, 0.75, 1e3},
                 {xebdAcosh_HA, xebsAcosh_HA, 1.5, -1.0}, {xebdAtanh_HA, xebsAtanh_HA, 0.75, 1.0}};
    for (const auto& c : cases) {
        std::vector<double> a(131, c.filler);  // a block of 64 pairs, one of one pair, an odd element
        a[5] = a[129] = a[130] = c.bad;
        const std::vector<double> r = eval(c.d, a);
        EXPECT_EQ(r[5], 42.0);
        EXPECT_EQ(r[129], 42.0);
        EXPECT_EQ(r[130], 42.0);
        const auto fs = static_cast<float>(c.filler);
        EXPECT_EQ(eval<float>(c.s, {fs, static_cast<float>(c.bad), fs, fs, fs})[1], 42.0f);
    }
    rec.set_verdict(1);
    EXPECT_EQ(eval<double>(xebdAtanh_HA, {0.5, -1.0})[1], -kInf);
    rec.set_edit(nullptr);
    auto reports_as = [&rec](auto lower, auto bad, const char* name) {
        rec.clear();
        eval1(lower, bad);
        ASSERT_EQ(rec.events().size(), 1u);
        EXPECT_EQ(rec.events()[0].name, name);
    };
    reports_as(Kernel<double>(xebdSinh_50), 1e3, "_xebdSinh_HA");
    reports_as(Kernel<double>(xebdCosh_50), 1e3, "_xebdCosh_HA");
    reports_as(Kernel<double>(xebdAcosh_50), 0.0, "_xebdAcosh_HA");
    reports_as(Kernel<double>(xebdAtanh_50), 1.0, "_xebdAtanh_HA");
    reports_as(Kernel<float>(xebsSinh_21), 1e3f, "_xebsSinh_HA");
    reports_as(Kernel<float>(xebsCosh_11), 1e3f, "_xebsCosh_HA");
    reports_as(Kernel<float>(xebsAcosh_21), 0.0f, "_xebsAcosh_HA");
    reports_as(Kernel<float>(xebsAtanh_11), 1.0f, "_xebsAtanh_HA");
}

}  // namespace
