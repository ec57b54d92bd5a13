// Error function and complement: the failure tables with their events and
// NaN bits, results in the double denormals against MPFR's correctly
// rounded values, the seams of the rows and of the paths, the flags of the
// limits, split calls, control words and the forwarders' event names.
// Accuracy sweeps are rows of the kernel catalogue.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <cfenv>
#include <cmath>
#include <limits>
#include <vector>

#include "accuracy/references.h"
#include "accuracy/ulp.h"
#include "frame/bits.h"
#include "support/control_words.h"
#include "support/events.h"
#include "support/kernel_checks.h"
#include "xebruk/vm_erf.h"

namespace {

using xeb::bits;
using xeb::double_from_bits;
using xeb::float_from_bits;
using xt::eval;
using xt::Kernel;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr int kNone = -100;  // no event
constexpr double kErfcUpper = 27.226017111108366, kErfcUpperSingle = 10.054194928818097;

long double reference(bool complement, long double x) {
    return xt::reference_for(complement ? "Erfc" : "Erf")->one(x);
}

// MPFR's erf or erfc of x rounded once to double, denormals included.
double correctly_rounded(bool complement, double x) {
    mpfr_t v;
    mpfr_init2(v, 256);
    mpfr_set_d(v, x, MPFR_RNDN);
    complement ? mpfr_erfc(v, v, MPFR_RNDN) : mpfr_erf(v, v, MPFR_RNDN);
    const double r = mpfr_get_d(v, MPFR_RNDN);
    mpfr_clear(v);
    return r;
}

struct Case {
    Kernel<double> d;
    Kernel<float> s;
    const char* name;  // of the double kernel; the single one has 's'
};
const Case kErf{xebdErf_HA, xebsErf_HA, "_xebdErf_HA"};
const Case kErfc{xebdErfc_HA, xebsErfc_HA, "_xebdErfc_HA"};

struct Row {
    double x;
    double want;  // NaN: the NaN x + x
    int code;
};

// Each row alone, between ordinary elements and after an event of its own
// kind: the result's bits, the event's code, index, name and arguments.
template <class T>
void check_rows(Kernel<T> f, const char* name, const std::vector<Row>& rows) {
    for (const Row& row : rows)
        for (int pos : {0, 2}) {
            std::vector<T> a(4, T(0.75));
            a[pos] = static_cast<T>(row.x);
            xt::EventRecorder rec;
            const std::vector<T> r = eval(f, a);
            if (std::isnan(row.want)) { EXPECT_EQ(bits(r[pos]), bits(a[pos] + a[pos])) << row.x; }
            else EXPECT_EQ(bits(r[pos]), bits(static_cast<T>(row.want))) << row.x;
            if (row.code == kNone) {
                EXPECT_TRUE(rec.events().empty()) << row.x;
                continue;
            }
            ASSERT_EQ(rec.events().size(), 1u) << row.x;
            const xt::Event& e = rec.events()[0];
            EXPECT_EQ(e.code, row.code);
            EXPECT_EQ(e.index, pos);
            EXPECT_EQ(e.name, name);
            EXPECT_EQ(e.a, static_cast<double>(a[pos]));
            EXPECT_EQ(e.y, static_cast<double>(r[pos]));
        }
}

TEST(Erf, FailureTables) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double snan = double_from_bits(0xFFF0000000000123ull);  // signalling, negative
    const double limit = 5.921587195794508;
    check_rows<double>(xebdErf_HA, "_xebdErf_HA",
                       {{kInf, 1, kNone}, {-kInf, -1, kNone}, {nan, nan, kNone}, {snan, nan, kNone},
                        {0.0, 0.0, kNone}, {-0.0, -0.0, kNone}, {limit, 1, kNone}, {-limit, -1, kNone},
                        {1e300, 1, kNone}});
    check_rows<float>(xebsErf_HA, "_xebsErf_HA",
                      {{kInf, 1, kNone}, {-kInf, -1, kNone}, {nan, nan, kNone}, {-0.0, -0.0, kNone},
                       {0.0, 0.0, kNone}, {6.0, 1, kNone}, {-1e30, -1, kNone}});
    check_rows<double>(xebdErfc_HA, "_xebdErfc_HA",
                       {{kInf, 0, kNone}, {-kInf, 2, kNone}, {nan, nan, kNone}, {snan, nan, kNone},
                        {0x1p-71, 1, kNone}, {-0x1p-71, 1, kNone}, {-6, 2, kNone}, {-1e300, 2, kNone},
                        {kErfcUpper, 0, XEB_STATUS_TOOSMALL}, {1e300, 0, XEB_STATUS_TOOSMALL},
                        {0.0, 1, kNone}});
    check_rows<float>(xebsErfc_HA, "_xebsErfc_HA",
                      {{kInf, 0, kNone}, {-kInf, 2, kNone}, {nan, nan, kNone}, {-3.9, 2, kNone},
                       {static_cast<float>(kErfcUpperSingle), 0, XEB_STATUS_TOOSMALL},
                       {1e30, 0, XEB_STATUS_TOOSMALL}, {-0.0, 1, kNone}});
    // Single NaN bits: x + x in float, a signalling one made quiet.
    EXPECT_EQ(bits(eval<float>(xebsErf_HA, {float_from_bits(0xFF800001u)})[0]), 0xFFC00001u);
}

// Just below the upper limits the result is a denormal (double) or the
// smallest float denormal, with no event.
TEST(Erf, BelowTheUpperLimits) {
    xt::EventRecorder rec;
    const double d = eval<double>(xebdErfc_HA, {std::nextafter(kErfcUpper, 0.0)})[0];
    const float s = eval<float>(xebsErfc_HA, {std::nextafter(static_cast<float>(kErfcUpperSingle), 0.0f)})[0];
    EXPECT_EQ(d, 0x1p-1074);
    EXPECT_EQ(s, 0x1p-149f);
    EXPECT_TRUE(rec.events().empty());
}

// Events of a longer call: in ascending order, with their indices, under
// the _HA name whichever form was called.
TEST(Erf, EventsInOrderUnderTheHaName) {
    const std::vector<double> a{1, 30, -kInf, 28, kInf, 27};
    for (auto [f, name] : {std::pair{xebdErfc_HA, "_xebdErfc_HA"}, {xebdErfc_50, "_xebdErfc_HA"}}) {
        xt::EventRecorder rec;
        eval(f, a);
        ASSERT_EQ(rec.events().size(), 2u);
        EXPECT_EQ(rec.events()[0].index, 1);
        EXPECT_EQ(rec.events()[1].index, 3);
        for (const xt::Event& e : rec.events()) {
            EXPECT_EQ(e.code, XEB_STATUS_TOOSMALL);
            EXPECT_EQ(e.name, name);
        }
    }
    const std::vector<float> s{11, 1, 12};
    for (Kernel<float> f : {xebsErfc_HA, xebsErfc_21, xebsErfc_11}) {
        xt::EventRecorder rec;
        eval(f, s);
        ASSERT_EQ(rec.events().size(), 2u);
        EXPECT_EQ(rec.events()[1].index, 2);
        EXPECT_EQ(rec.events()[1].name, "_xebsErfc_HA");
    }
}

// Results in the double denormals are rounded once: Erf of every kind of
// tiny argument (the plain product, the band that splits the sum again,
// the scaled pair, each side of their thresholds), and Erfc's smallest
// results, against MPFR.
TEST(Erf, DenormalResultsRoundedOnce) {
    for (uint64_t b : {0x1ull, 0x3ull, 0xFFFFFFFFFFull, 0x10000000000ull, 0x123456789ABCDull, 0xE2DFC48DA77B4ull,
                       0xE2DFC48DA77B5ull, 0xFFFFFFFFFFFFFull, 0x0010000000000000ull, 0x0123456789ABCDEFull}) {
        for (double x : {double_from_bits(b), -double_from_bits(b)})
            EXPECT_EQ(eval<double>(xebdErf_HA, {x})[0], correctly_rounded(false, x)) << x;
    }
    std::vector<double> erfc_args;
    for (double x = 26.5; x < kErfcUpper; x += 0.0017) erfc_args.push_back(x);
    const std::vector<double> r = eval(xebdErfc_HA, erfc_args);
    for (std::size_t i = 0; i < r.size(); ++i)
        EXPECT_EQ(r[i], correctly_rounded(true, erfc_args[i])) << erfc_args[i];
}

// The flags of the limits: Erf beyond its limit and Erfc below its lower
// one are inexact; Erfc's denormals and its zero beyond the limit underflow.
TEST(Erf, FlagsAtTheLimits) {
    const struct {
        Kernel<double> f;
        double x;
        int flag;
    } cases[] = {{xebdErf_HA, 6.0, FE_INEXACT},
                 {xebdErfc_HA, -6.0, FE_INEXACT},
                 {xebdErfc_HA, 27.0, FE_UNDERFLOW},
                 {xebdErfc_HA, 26.6, FE_UNDERFLOW},
                 {xebdErfc_HA, 30.0, FE_UNDERFLOW}};
    const uint32_t mode = xebSetMode(XEB_REPORT_NONE);
    for (const auto& c : cases) {
        std::feclearexcept(FE_ALL_EXCEPT);
        eval(c.f, {c.x});
        EXPECT_TRUE(std::fetestexcept(c.flag)) << c.x;
    }
    xebSetMode(mode & XEB_REPORT_MASK);
}

// Every seam between rows and paths, a few doubles (floats) either side,
// within the kernel's bound; and across each seam the result keeps
// moving one way (rows that share an expansion point meet smoothly).
template <class T>
void check_seams(Kernel<T> f, bool complement, const std::vector<double>& seams, double bound) {
    for (double seam : seams)
        for (double sign : {1.0, -1.0}) {
            std::vector<T> a;
            T x = static_cast<T>(sign * seam);
            for (int k = 0; k < 24; ++k) x = std::nextafter(x, T(0));
            for (int k = 0; k < 48; ++k, x = std::nextafter(x, static_cast<T>(sign * kInf))) a.push_back(x);
            const std::vector<T> r = eval(f, a);
            for (std::size_t i = 0; i < a.size(); ++i) {
                EXPECT_LT(xt::ulp_error(r[i], reference(complement, a[i])), bound) << a[i];
                if (i > 0) {
                    const bool up = complement ? sign < 0 : sign > 0;
                    EXPECT_TRUE(up ? r[i] >= r[i - 1] : r[i] <= r[i - 1]) << a[i];
                }
            }
        }
}

std::vector<double> erf_seams() {
    std::vector<double> s{0x1p-40, 5.921587195794508};
    for (int i = 0; i < 22; ++i) s.push_back(std::ldexp(0.125, i / 4) * (1 + (i % 4) / 4.0));
    return s;
}
std::vector<double> erfc_seams(double upper) {
    std::vector<double> s{0x1p-70};
    for (int i = 1; i < 20 && std::exp2(i / 4.0) - 1 < upper; ++i) s.push_back(std::exp2(i / 4.0) - 1);
    if (upper > 27) s.insert(s.end(), {26.54325845425098, 26.699372268345602});
    return s;
}

TEST(Erf, Seams) {
    check_seams<double>(xebdErf_HA, false, erf_seams(), 0.6);
    check_seams<float>(xebsErf_HA, false, erf_seams(), 0.6);
    check_seams<double>(xebdErfc_HA, true, erfc_seams(kErfcUpper), 0.6);
    check_seams<float>(xebsErfc_HA, true, erfc_seams(kErfcUpperSingle), 0.6);
}

// Calls of every length over pieces of an array give the bits and events
// of one call; hostile control words change nothing and come back.
TEST(Erf, SplitsAndControlWords) {
    std::vector<double> a;
    for (double x = -7; x < 31; x += 0.37) a.push_back(x);
    for (const Case& c : {kErf, kErfc}) {
        xt::EventRecorder rec;
        std::vector<double> whole(a.size());
        c.d(static_cast<int>(a.size()), a.data(), whole.data());
        const std::vector<xt::Event> events = rec.events();
        rec.clear();
        std::vector<double> pieces(a.size());
        for (std::size_t i = 0; i < a.size(); i += 3) c.d(static_cast<int>(std::min<std::size_t>(3, a.size() - i)), a.data() + i, pieces.data() + i);
        EXPECT_EQ(pieces, whole);
        ASSERT_EQ(rec.events().size(), events.size());
        for (std::size_t k = 0; k < events.size(); ++k) EXPECT_EQ(rec.events()[k].index % 3, events[k].index % 3);
        std::vector<double> in_place = a;
        c.d(static_cast<int>(a.size()), in_place.data(), in_place.data());
        EXPECT_EQ(in_place, whole);
        std::vector<double> odd(a.size());
        xt::under_odd_control_words([&] { c.d(static_cast<int>(a.size()), a.data(), odd.data()); });
        EXPECT_EQ(odd, whole);
        std::vector<float> af(a.begin(), a.end()), sw(a.size()), so(a.size());
        c.s(static_cast<int>(af.size()), af.data(), sw.data());
        xt::under_odd_control_words([&] { c.s(static_cast<int>(af.size()), af.data(), so.data()); });
        EXPECT_EQ(so, sw);
        double untouched = 7;
        c.d(0, a.data(), &untouched);
        c.d(-1, a.data(), &untouched);
        EXPECT_EQ(untouched, 7);
    }
}

}  // namespace
