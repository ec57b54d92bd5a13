// Inverse trigonometric kernels and the scalar helpers: special values with
// their events (result bits, code, index, name, the result the callback
// sees), Atan2 over the signed zeros, infinities and NaNs of both arguments
// against C99's table (glibc's atan2 and atan2f), every branch threshold and
// its neighbours against MPFR, groups that leave the fast path, block-split
// independence, control words; the helpers' special values and accuracy.
// Sweeps over whole domains are rows of the kernel catalogue.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "accuracy/references.h"
#include "accuracy/sampling.h"
#include "accuracy/ulp.h"
#include "catalogue/vector_kernels.h"
#include "frame/bits.h"
#include "frame/fpu.h"
#include "support/control_words.h"
#include "support/events.h"
#include "support/kernel_class.h"
#include "support/scale.h"
#include "support/split.h"
#include "vecmath/kernel_table.h"
#include "xebruk/vm_invtrig.h"
#include "xebruk/vm_scalar.h"

namespace {

using xeb::bits;
using xeb::double_from_bits;
using xeb::float_from_bits;
using xt::CodesAndIndices;
template <class T>
using Unary = void (*)(int, const T*, T*);
template <class T>
using Binary = void (*)(int, const T*, const T*, T*);

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr float kInfF = std::numeric_limits<float>::infinity();
const double kNaN = std::nan("");
const float kNaNF = std::nanf("");
const double kHalfPi = 0x1.921fb54442d18p+0, kPi = 0x1.921fb54442d18p+1;
const float kHalfPiF = float_from_bits(0x3FC90FDB), kPiF = float_from_bits(0x40490FDB);
const double kDefaultNaN = double_from_bits(0xFFF8000000000000ull);
const float kDefaultNaNF = float_from_bits(0xFFC00000u);

// The catalogue row of an export, its bound and the reference of its family.
const xeb::catalogue::VectorKernel& row(const std::string& name) { return *xeb::catalogue::find_kernel(name); }
template <class T>
double error_of(T got, const xeb::catalogue::VectorKernel& k, long double a, long double b = 0) {
    const xt::Reference* ref = xt::reference_for(k.family);
    return xt::ulp_error(got, ref->one ? ref->one(a) : ref->two(a, b));
}

// ---- special values and events -------------------------------------------

// An input, the bits of its result (any NaN for a NaN input) and the event code.
template <class T>
struct Special {
    T in, out;
    int code;
};

template <class T>
struct UnaryForm {
    const char* name;
    Unary<T> kernel;
    const char* event_name;  // a forwarder's events name its target
    std::vector<Special<T>> cases;
};

// Each case at index 1 of a group and at index 8, in the tail of groups of
// four and of eight; the callback sees the result the kernel stored.
template <class T>
void check_specials(const UnaryForm<T>& f) {
    for (const auto& c : f.cases) {
        std::vector<T> a = {T(0.25), c.in, T(-0.5), T(0.75), T(0.125), T(-0.25), T(0.375), T(0.0625), c.in};
        std::vector<T> r(a.size());
        xt::EventRecorder rec;
        f.kernel(static_cast<int>(a.size()), a.data(), r.data());
        for (int i : {1, 8}) {
            if (std::isnan(c.in)) EXPECT_TRUE(std::isnan(r[i])) << f.name << " of NaN";
            else EXPECT_EQ(bits(r[i]), bits(c.out)) << f.name << " of " << c.in << " at " << i;
        }
        const CodesAndIndices want = c.code ? CodesAndIndices{{c.code, 1}, {c.code, 8}} : CodesAndIndices{};
        EXPECT_EQ(xt::codes_and_indices(rec), want) << f.name << " of " << c.in;
        for (const auto& e : rec.events()) {
            EXPECT_EQ(e.name, f.event_name);
            EXPECT_EQ(bits(e.y), bits(static_cast<double>(c.out)));
        }
    }
}

TEST(InvTrig, SpecialValuesWithTheirEvents) {
    const double above_one = 1.0000000000000002, tiny = 0x1p-1070;
    const std::vector<Special<double>> asin_d = {
        {0.0, 0.0, 0},        {-0.0, -0.0, 0},           {1.0, kHalfPi, 0},           {-1.0, -kHalfPi, 0},
        {tiny, tiny, 0},      {-tiny, -tiny, 0},         {above_one, kDefaultNaN, 1}, {-2.0, kDefaultNaN, 1},
        {kInf, kDefaultNaN, 1}, {-kInf, kDefaultNaN, 1}, {kNaN, kNaN, 0}};
    const std::vector<Special<double>> acos_d = {
        {1.0, 0.0, 0},           {-1.0, kPi, 0},          {0.0, kHalfPi, 0},           {-0.0, kHalfPi, 0},
        {tiny, kHalfPi, 0},      {-above_one, kDefaultNaN, 1}, {kInf, kDefaultNaN, 1}, {kNaN, kNaN, 0}};
    const std::vector<Special<double>> atan_d = {{0.0, 0.0, 0},        {-0.0, -0.0, 0},        {tiny, tiny, 0},
                                                 {kInf, kHalfPi, 0},   {-kInf, -kHalfPi, 0},   {DBL_MAX, kHalfPi, 0},
                                                 {kNaN, kNaN, 0}};
    for (const UnaryForm<double>& f : std::vector<UnaryForm<double>>{
             {"xebdAsin_HA", xebdAsin_HA, "_xebdAsin_HA", asin_d}, {"xebdAsin_50", xebdAsin_50, "_xebdAsin_HA", asin_d},
             {"xebdAcos_HA", xebdAcos_HA, "_xebdAcos_HA", acos_d}, {"xebdAtan_HA", xebdAtan_HA, "", atan_d}})
        check_specials(f);

    const float above_one_f = 1.00000012f, tiny_f = 0x1p-140f;
    const std::vector<Special<float>> asin_s = {
        {0.0f, 0.0f, 0},        {-0.0f, -0.0f, 0},          {1.0f, kHalfPiF, 0},          {-1.0f, -kHalfPiF, 0},
        {tiny_f, tiny_f, 0},    {above_one_f, kDefaultNaNF, 1}, {-3.0f, kDefaultNaNF, 1}, {kInfF, kDefaultNaNF, 1},
        {-kInfF, kDefaultNaNF, 1}, {kNaNF, kNaNF, 0}};
    const std::vector<Special<float>> acos_s = {
        {1.0f, 0.0f, 0},         {-1.0f, kPiF, 0},              {0.0f, kHalfPiF, 0}, {-0.0f, kHalfPiF, 0},
        {-above_one_f, kDefaultNaNF, 1}, {kInfF, kDefaultNaNF, 1}, {kNaNF, kNaNF, 0}};
    const std::vector<Special<float>> atan_s = {{0.0f, 0.0f, 0},         {-0.0f, -0.0f, 0},      {tiny_f, tiny_f, 0},
                                                {kInfF, kHalfPiF, 0},    {-kInfF, -kHalfPiF, 0}, {FLT_MAX, kHalfPiF, 0},
                                                {-FLT_MAX, -kHalfPiF, 0}, {kNaNF, kNaNF, 0}};
    for (const UnaryForm<float>& f : std::vector<UnaryForm<float>>{
             {"xebsAsin_HA", xebsAsin_HA, "_xebsAsin_HA", asin_s}, {"xebsAsin_21", xebsAsin_21, "_xebsAsin_21", asin_s},
             {"xebsAsin_11", xebsAsin_11, "_xebsAsin_21", asin_s}, {"xebsAcos_HA", xebsAcos_HA, "_xebsAcos_HA", acos_s},
             {"xebsAcos_21", xebsAcos_21, "_xebsAcos_21", acos_s}, {"xebsAtan_HA", xebsAtan_HA, "", atan_s},
             {"xebsAtan_21", xebsAtan_21, "", atan_s}})
        check_specials(f);
}

// NaNs of either sign, quiet and signalling, at index 1 and in the tail.
// Double: the bits of the baseline class's kernel.  Single: in the SIMD
// classes the NaN quieted, without its sign for the arccosine (the
// baseline's single code gives that in an optimised build; its operand
// order, and so the NaN it keeps, is the compiler's).
template <class T>
void expect_nan_bits(const char* name, Unary<T> kernel, T nan, T want) {
    std::vector<T> a(9, T(0.25)), got(9);
    a[1] = a[8] = nan;
    kernel(9, a.data(), got.data());
    for (int i : {1, 8}) EXPECT_EQ(bits(got[i]), bits(want)) << name << std::hex << " " << bits(nan);
}

TEST(InvTrig, NaNBits) {
    const auto* base = xeb::vm::class_table(xeb::frame::KernelClass::Baseline);
    const bool simd = xeb::frame::kernel_class() != xeb::frame::KernelClass::Baseline;
    for (uint64_t nan : {0x7FF8000000000000ull, 0xFFF8000000000123ull, 0x7FF0000000000456ull, 0xFFF4000000000000ull}) {
        const double d = double_from_bits(nan);
        for (auto [name, k, b] : {std::make_tuple("xebdAsin_HA", xebdAsin_HA, base->dAsin_HA),
                                  std::make_tuple("xebdAcos_HA", xebdAcos_HA, base->dAcos_HA),
                                  std::make_tuple("xebdAtan_HA", xebdAtan_HA, base->dAtan_HA)}) {
            double want[9];
            const double a[9] = {d, d, d, d, d, d, d, d, d};
            b(9, a, want);
            expect_nan_bits(name, k, d, want[1]);
        }
        const uint32_t in = static_cast<uint32_t>(nan >> 32) | 0x10u, quiet = in | 0x00400000u;
        const float f = float_from_bits(in), keep = float_from_bits(quiet), drop = float_from_bits(quiet & 0x7FFFFFFFu);
        for (auto [name, k, want] : {std::make_tuple("xebsAsin_HA", xebsAsin_HA, keep), std::make_tuple("xebsAsin_21", xebsAsin_21, keep),
                                     std::make_tuple("xebsAcos_HA", xebsAcos_HA, drop), std::make_tuple("xebsAcos_21", xebsAcos_21, drop),
                                     std::make_tuple("xebsAtan_HA", xebsAtan_HA, keep), std::make_tuple("xebsAtan_21", xebsAtan_21, keep)})
            if (simd) expect_nan_bits(name, k, f, want);
    }
}

// ---- two-argument arctangent -------------------------------------------

template <class T>
struct BinaryForm {
    const char* name;
    Binary<T> kernel;
};

bool special(double v) { return v == 0 || !std::isfinite(v); }

// Each pair (y, x) at index 1 of a group of four ordinary pairs and alone in
// the tail: a zero, an infinity or a NaN gives C99's value bit for bit (a
// NaN: a NaN), any other pair is within the bound, and so are the group's
// ordinary pairs, which leave the fast path with it.  No events.
template <class T>
void check_plane(const BinaryForm<T>& f, T (*c99)(T, T)) {
    const std::vector<T> v = {T(0), T(-0.0), T(1), T(-1), T(2.5), T(-2.5), std::numeric_limits<T>::denorm_min() * 1000,
                              std::numeric_limits<T>::infinity(), -std::numeric_limits<T>::infinity(), T(NAN)};
    const xeb::catalogue::VectorKernel& k = row(f.name);
    for (T y : v)
        for (T x : v) {
            const T a[5] = {T(0.5), y, T(0.25), T(-0.75), y}, b[5] = {T(2), x, T(-1.5), T(0.5), x};
            T r[5];
            xt::EventRecorder rec;
            f.kernel(5, a, b, r);
            EXPECT_TRUE(rec.events().empty()) << f.name;
            for (int i : {1, 4}) {
                if (std::isnan(y) || std::isnan(x)) EXPECT_TRUE(std::isnan(r[i])) << f.name;
                else if (special(y) || special(x)) EXPECT_EQ(bits(r[i]), bits(c99(y, x))) << f.name << "(" << y << ", " << x << ")";
                else EXPECT_LT(error_of(r[i], k, y, x), k.bound_ulp) << f.name << "(" << y << ", " << x << ")";
            }
            for (int i : {0, 2, 3}) EXPECT_LT(error_of(r[i], k, a[i], b[i]), k.bound_ulp) << f.name << " beside " << y << ", " << x;
        }
}

TEST(InvTrig, Atan2OverSignedZerosInfinitiesAndNaNsOfBothArguments) {
    for (const BinaryForm<double>& f : {BinaryForm<double>{"xebdAtan2_HA", xebdAtan2_HA}})
        check_plane<double>(f, [](double y, double x) { return std::atan2(y, x); });
    for (const BinaryForm<float>& f : {BinaryForm<float>{"xebsAtan2_HA", xebsAtan2_HA}, {"xebsAtan2_21", xebsAtan2_21}})
        check_plane<float>(f, [](float y, float x) { return std::atan2(y, x); });
    // The scalar form has the same table.
    for (float y : {0.0f, -0.0f, 1.0f, -2.0f, kInfF, -kInfF})
        for (float x : {0.0f, -0.0f, 3.0f, -1.0f, kInfF, -kInfF})
            if (special(y) || special(x)) {
                EXPECT_EQ(bits(xebsatan2_scalar(y, x)), bits(std::atan2(y, x))) << y << ", " << x;
            }
}

// NaNs: the double form keeps the x87's choice (both quieted, the larger
// significand, the positive of two equal), the single forms the scalar
// form's x + y; at index 1 of a group and alone in the tail.
TEST(InvTrig, Atan2NaNBits) {
    const uint64_t q1 = 0x7FF8000000000001ull, q2 = 0x7FF8000000000002ull, s4 = 0x7FF4000000000000ull;
    const uint64_t pairs[][2] = {{q1, q2}, {q2, q1}, {q1 | 1ull << 63, q1}, {q1, q1 | 1ull << 63}, {s4, q1},
                                 {0x3FF0000000000000ull, s4 | 1ull << 63}, {q2, 0xBFF0000000000000ull}, {q1, 0x7FF0000000000000ull}};
    for (const auto& p : pairs) {
        const double y = double_from_bits(p[0]), x = double_from_bits(p[1]);
        const double a[5] = {0.5, y, 0.25, -0.75, y}, b[5] = {2.0, x, -1.5, 0.5, x};
        double r[5];
        xebdAtan2_HA(5, a, b, r);
        const double want = static_cast<double>(xeb::fpu::x87_atan2(y, x));
        for (int i : {1, 4}) EXPECT_EQ(bits(r[i]), bits(want)) << std::hex << p[0] << ", " << p[1];
        const float yf = float_from_bits(static_cast<uint32_t>(p[0] >> 32) | 1u), xf = float_from_bits(static_cast<uint32_t>(p[1] >> 32));
        const float af[5] = {0.5f, yf, 0.25f, -0.75f, yf}, bf[5] = {2.0f, xf, -1.5f, 0.5f, xf};
        float rf[5];
        for (Binary<float> k : {xebsAtan2_HA, xebsAtan2_21}) {
            k(5, af, bf, rf);
            for (int i : {1, 4}) EXPECT_EQ(bits(rf[i]), bits(xebsatan2_scalar(yf, xf))) << std::hex << p[0] << ", " << p[1];
        }
    }
}

// A group with one special lane leaves the baseline's fast path whole: its
// other lanes take the fallback's own arithmetic (fpatan, the scalar forms),
// while the lanes of a clean group give the fast path's results; both are
// accurate.  In the SIMD classes every lane keeps its own result.
TEST(InvTrig, GroupsThatLeaveTheFastPath) {
    const double ya[4] = {0.3, 0.0, -0.7, 0.9}, xa[4] = {1.0, 2.0, 0.5, -0.2}, ya_clean[4] = {0.3, 0.1, -0.7, 0.9};
    double r[4], clean_d[4];
    xebdAtan2_HA(4, ya, xa, r);
    xebdAtan2_HA(4, ya_clean, xa, clean_d);
    const bool baseline = xeb::frame::kernel_class() == xeb::frame::KernelClass::Baseline;
    for (int i : {0, 2, 3})
        EXPECT_EQ(bits(r[i]), bits(baseline ? static_cast<double>(xeb::fpu::x87_atan2(ya[i], xa[i])) : clean_d[i])) << i;
    const float ys[4] = {0.3f, -0.0f, -0.7f, 0.9f}, xs[4] = {1.0f, 2.0f, 0.5f, -0.2f}, ys_clean[4] = {0.3f, 0.1f, -0.7f, 0.9f};
    float rs[4], clean[4];
    for (Binary<float> k : {xebsAtan2_HA, xebsAtan2_21}) {
        k(4, ys, xs, rs);
        k(4, ys_clean, xs, clean);
        xeb::fpu::set_x87_control(0x027F);  // the kernels' 53 bits, under which they call the scalar form
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(bits(rs[i]), bits(baseline || i == 1 ? xebsatan2_scalar(ys[i], xs[i]) : clean[i])) << i;
        xeb::fpu::set_x87_control(0x037F);
    }
    const float as[4] = {0.3f, kNaNF, -7.0f, 1e30f}, as_clean[4] = {0.3f, 1.0f, -7.0f, 1e30f};
    xebsAtan_21(4, as, rs);
    xebsAtan_21(4, as_clean, clean);
    for (int i : {0, 2, 3}) EXPECT_EQ(bits(rs[i]), bits(baseline ? xebsatan_scalar(as[i]) : clean[i])) << i;
    // One lane above 1: one event with that lane's index, the other three as
    // in a group without it.
    const float in[4] = {0.3f, 1.5f, -0.7f, 0.9f}, ok[4] = {0.3f, 0.2f, -0.7f, 0.9f};
    for (Unary<float> k : {xebsAsin_HA, xebsAcos_HA, xebsAsin_21, xebsAcos_21}) {
        xt::EventRecorder rec;
        k(4, in, rs);
        EXPECT_EQ(xt::codes_and_indices(rec), (CodesAndIndices{{1, 1}}));
        k(4, ok, clean);
        for (int i : {0, 2, 3}) EXPECT_EQ(bits(rs[i]), bits(clean[i])) << i;
    }
}

// ---- thresholds ----------------------------------------------------------

// v and its neighbours within 3 representable values, both signs.
template <class T>
std::vector<T> around(std::vector<T> points) {
    std::vector<T> out;
    for (T p : points)
        for (T s : {T(1), T(-1)}) {
            T v = p;
            for (int k = 0; k < 3; ++k) v = std::nextafter(v, T(0));
            for (int k = 0; k < 7; ++k, v = std::nextafter(v, T(10))) out.push_back(s * v);
        }
    return out;
}

// The switches of each kernel: Asin and Acos at 0.5 and 1; the arctangent
// classes at 0.4375, 0.6875, 1.1875, 2.4375 (double, the first three on high
// words, so values just above stay in the lower class) and 0.4375, 0.72,
// 2.29 (single), the reciprocal range of the single _21 at 2^126.
TEST(InvTrig, BranchThresholdsAndTheirNeighbours) {
    const std::vector<double> arc = around<double>({0.5, 1.0}), atan_d = around<double>(
        {0.3125, 0.4375, 0.4375 + 0x1p-30, 0.6875, 0.6875 + 0x1p-30, 1.1875, 1.1875 + 0x1p-30, 2.4375});
    const std::vector<float> arc_s = around<float>({0.5f, 1.0f}),
                             atan_s = around<float>({0.4375f, 0.72f, 2.29f, 0x1p126f});
    for (const auto& k : xeb::catalogue::vector_kernels()) {
        if (k.forwards_to || k.shape != xeb::catalogue::Shape::OneInput) continue;
        const bool arcs = k.family == "Asin" || k.family == "Acos";
        if (!arcs && k.family != "Atan") continue;
        auto check = [&](const auto& v) {
            using T = typename std::decay_t<decltype(v)>::value_type;
            std::vector<T> r(v.size());
            k.run<T>(static_cast<int>(v.size()), v.data(), v.data(), r.data(), r.data());
            for (std::size_t i = 0; i < v.size(); ++i)
                if (std::fabs(v[i]) <= 1 || !arcs) {
                    EXPECT_LT(error_of(r[i], k, v[i]), k.bound_ulp) << k.name << " " << v[i];
                }
        };
        xt::EventRecorder quiet;  // the neighbours above 1 raise events
        if (k.precision == 'd') check(arcs ? arc : atan_d);
        else check(arcs ? arc_s : atan_s);
    }
    // Atan2: the ordinate at each class limit times the abscissa, in every
    // quadrant; and magnitudes near the top of the float range, where
    // |a| + |b| overflows.
    for (const char* name : {"xebdAtan2_HA", "xebsAtan2_HA", "xebsAtan2_21"}) {
        const auto& k = row(name);
        for (double ratio : {0.4375, 0.6875, 0.72, 1.0, 1.1875, 2.4375})
            for (double x : {1.0, -3.0, 0.7}) {
                if (k.precision == 'd') {
                    const std::vector<double> y = around<double>({ratio * std::fabs(x)});
                    const std::vector<double> xs(y.size(), x);
                    std::vector<double> r(y.size());
                    k.run<double>(static_cast<int>(y.size()), y.data(), xs.data(), r.data(), r.data());
                    for (std::size_t i = 0; i < y.size(); ++i) EXPECT_LT(error_of(r[i], k, y[i], x), k.bound_ulp) << name;
                } else {
                    const std::vector<float> y = around<float>({static_cast<float>(ratio * std::fabs(x))});
                    const std::vector<float> xs(y.size(), static_cast<float>(x));
                    std::vector<float> r(y.size());
                    k.run<float>(static_cast<int>(y.size()), y.data(), xs.data(), r.data(), r.data());
                    for (std::size_t i = 0; i < y.size(); ++i) EXPECT_LT(error_of(r[i], k, y[i], xs[i]), k.bound_ulp) << name;
                }
            }
        const float big_y[4] = {3e38f, -2.5e38f, 3.3e38f, -1e38f}, big_x[4] = {2.9e38f, 3.1e38f, -3.2e38f, -3e38f};
        float r[4];
        if (k.precision == 's') k.run<float>(4, big_y, big_x, r, r);
        for (int i = 0; i < 4 && k.precision == 's'; ++i) EXPECT_LT(error_of(r[i], k, big_y[i], big_x[i]), k.bound_ulp);
    }
}

// ---- block size and control words ---------------------------------------

TEST(InvTrig, ResultsAndEventsDoNotDependOnTheBlockSize) {
    auto rng = xt::seeded(24);
    std::vector<double> d = xt::sample({1e-310, 1.2, true}, 203, rng), e = xt::sample({1e-30, 1e30, true}, 203, rng);
    std::vector<float> f(d.begin(), d.end()), g(e.begin(), e.end());
    for (int i : {7, 50, 51, 120}) d[i] = f[i] = (i % 2) ? -kInfF : kNaNF;
    for (Unary<double> k : {xebdAsin_HA, xebdAcos_HA, xebdAtan_HA})
        xt::expect_split_independent<double>(203, [&](int s, int c, double* out) { k(c, d.data() + s, out + s); });
    for (Unary<float> k : {xebsAsin_HA, xebsAsin_21, xebsAcos_HA, xebsAcos_21, xebsAtan_HA, xebsAtan_21})
        xt::expect_split_independent<float>(203, [&](int s, int c, float* out) { k(c, f.data() + s, out + s); });
    // Atan2 on ordinary pairs (a special lane sends its group elsewhere).
    std::vector<double> y = xt::sample({1e-30, 1e30, true}, 203, rng);
    std::vector<float> yf(y.begin(), y.end());
    xt::expect_split_independent<double>(
        203, [&](int s, int c, double* out) { xebdAtan2_HA(c, y.data() + s, e.data() + s, out + s); });
    for (Binary<float> k : {xebsAtan2_HA, xebsAtan2_21})
        xt::expect_split_independent<float>(
            203, [&](int s, int c, float* out) { k(c, yf.data() + s, g.data() + s, out + s); });
}

// Kernels force their control words and put the caller's back; all but
// xebsAtan2_21, which leaves MXCSR to the caller, give the same bits.
TEST(InvTrig, ForcesItsControlWordsAndRestoresThem) {
    const double a[9] = {0.1, -0.6, 0.99, 3.0, -2.0, 0.3, 0.45, -0.8, 1.7};
    const double b[9] = {1.7, -0.8, 0.45, 0.3, -2.0, 3.0, 0.99, -0.6, 0.1};
    const float af[9] = {0.1f, -0.6f, 0.99f, 3.0f, -2.0f, 0.3f, 0.45f, -0.8f, 1.7f};
    const float bf[9] = {1.7f, -0.8f, 0.45f, 0.3f, -2.0f, 3.0f, 0.99f, -0.6f, 0.1f};
    double r[9], ref[9];
    float rf[9], reff[9];
    for (Unary<double> k : {xebdAsin_HA, xebdAcos_HA, xebdAtan_HA}) {
        k(9, a, ref);
        xt::under_odd_control_words([&] { k(9, a, r); });
        for (int i = 0; i < 9; ++i) EXPECT_EQ(bits(r[i]), bits(ref[i])) << a[i];
    }
    xebdAtan2_HA(9, a, b, ref);
    xt::under_odd_control_words([&] { xebdAtan2_HA(9, a, b, r); });
    for (int i = 0; i < 9; ++i) EXPECT_EQ(bits(r[i]), bits(ref[i]));
    for (Unary<float> k : {xebsAsin_HA, xebsAsin_21, xebsAcos_HA, xebsAcos_21, xebsAtan_HA, xebsAtan_21}) {
        k(9, af, reff);
        xt::under_odd_control_words([&] { k(9, af, rf); });
        for (int i = 0; i < 9; ++i) EXPECT_EQ(bits(rf[i]), bits(reff[i])) << af[i];
    }
    for (Binary<float> k : {xebsAtan2_HA, xebsAtan2_21}) {
        k(9, af, bf, reff);
        xt::under_odd_control_words([&] { k(9, af, bf, rf); });
        for (int i = 0; i < 9 && k == xebsAtan2_HA; ++i) EXPECT_EQ(bits(rf[i]), bits(reff[i])) << af[i];
    }
}

// ---- scalar helpers -----------------------------------------------------

TEST(ScalarHelpers, SpecialValues) {
    struct FloatCase {
        float (*f)(float);
        float in;
        uint32_t out;
    };
    const uint32_t positive_nan = 0x7FC01234u;
    for (const FloatCase& c : std::vector<FloatCase>{
             {xeb_sabs_scalar, -0.0f, 0},                       {xeb_sabs_scalar, -2.5f, 0x40200000u},
             {xeb_sabs_scalar, float_from_bits(0xFFC01234u), positive_nan},
             {xebssqrt_scalar, 0.0f, 0},                        {xebssqrt_scalar, -0.0f, 0x80000000u},
             {xebssqrt_scalar, kInfF, 0x7F800000u},             {xebssqrt_scalar, -1.0f, 0xFFC00000u},
             {xebssqrt_scalar, -kInfF, 0xFFC00000u},            {xebssqrt_scalar, -FLT_TRUE_MIN, 0xFFC00000u},
             {xebssqrt_scalar, float_from_bits(0x7F801234u), positive_nan},
             {xebssqrt_scalar, 4.0f, 0x40000000u},
             {xebsatan_scalar, kInfF, bits(kHalfPiF)},          {xebsatan_scalar, -kInfF, bits(-kHalfPiF)},
             {xebsatan_scalar, -0.0f, 0x80000000u},             {xebsatan_scalar, 1.0f, 0x3F490FDBu}})
        EXPECT_EQ(bits(c.f(c.in)), c.out) << c.in;
    EXPECT_TRUE(std::isnan(xebsatan_scalar(kNaNF)));
    const double negative_nan = double_from_bits(0xFFF8000000001234ull);
    EXPECT_EQ(bits(xeb_dabs_scalar(negative_nan)), 0x7FF8000000001234ull);
    EXPECT_EQ(bits(xeb_dabs_scalar(-0.0)), 0u);
    EXPECT_EQ(bits(xebdsqrt_scalar(-1.0)), 0x7FF8A5A55A5A5A5Aull);
    EXPECT_EQ(bits(xebdsqrt_scalar(-kInf)), 0x7FF8A5A55A5A5A5Aull);
    EXPECT_EQ(bits(xebdsqrt_scalar(-0.0)), bits(-0.0));
    EXPECT_EQ(bits(xebdsqrt_scalar(0.0)), 0u);
    EXPECT_EQ(xebdsqrt_scalar(kInf), kInf);
    EXPECT_EQ(bits(xebdsqrt_scalar(double_from_bits(0x7FF0000000001234ull))), 0x7FF8000000001234ull);
    EXPECT_EQ(xebdsqrt_scalar(0x1p-1074), 0x1p-537);
    EXPECT_EQ(xebdsqrt_scalar(2.0), std::sqrt(2.0));
}

// Sweeps against the references, at the x87's default 64-bit precision.
TEST(ScalarHelpers, AccuracyOverEveryBinade) {
    const std::size_t n = xt::scaled(100000);
    auto rng = xt::seeded(2411);
    struct Sweep {
        const char* name;
        float (*f)(float);
        const char* family;
        xt::Range range;
        double bound;
    };
    for (const Sweep& s : std::vector<Sweep>{{"ssqrt", xebssqrt_scalar, "Sqrt", {FLT_MIN, FLT_MAX, false}, 0.6},
                                             {"ssqrt denormal", xebssqrt_scalar, "Sqrt", {FLT_TRUE_MIN, FLT_MIN, false}, 1},
                                             {"satan", xebsatan_scalar, "Atan", {FLT_TRUE_MIN, FLT_MAX, true}, 0.62},
                                             {"satan bands", xebsatan_scalar, "Atan", {0.25, 4, true}, 0.62}}) {
        double worst = 0;
        for (float x : xt::sample_float(s.range, n, rng))
            worst = std::max(worst, xt::ulp_error(s.f(x), xt::reference_for(s.family)->one(x)));
        EXPECT_LT(worst, s.bound) << s.name;
    }
    double worst = 0;
    for (double x : xt::sample({xt::kDoubleTrueMin, DBL_MAX, false}, n, rng))
        worst = std::max(worst, xt::ulp_error(xebdsqrt_scalar(x), sqrtl(x)));
    EXPECT_LT(worst, 0.51) << "dsqrt";
    worst = 0;
    const auto ys = xt::sample_float({FLT_TRUE_MIN, FLT_MAX, true}, n, rng);
    const auto xs = xt::sample_float({0x1p-20, 0x1p20, true}, n, rng);
    for (std::size_t i = 0; i < n; ++i)
        worst = std::max(worst, xt::ulp_error(xebsatan2_scalar(ys[i], xs[i]), xt::reference_for("Atan2")->two(ys[i], xs[i])));
    EXPECT_LT(worst, 0.8) << "satan2";
}

}  // namespace
