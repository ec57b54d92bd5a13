// The checked entries (include/xebruk/vm.h), for every family and precision
// of the catalogue: the accuracy field picks the form, bit for bit; bad sizes
// and null pointers raise their events and touch nothing; n = 0 does nothing.
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "catalogue/vector_kernels.h"
#include "support/events.h"
#include "support/scale.h"
#include "accuracy/sampling.h"
#include "xebruk/xebruk.h"

namespace {

using xeb::catalogue::Shape;
using xeb::catalogue::VectorKernel;

// One entry: its family's _HA row, the rows of the forms the accuracy
// field asks for, and the entry itself as a row of the same shape.
struct Entry {
    const VectorKernel* ha;
    const VectorKernel* la;  // XEB_ACC_LA: _50 double, _21 single
    const VectorKernel* ep;  // XEB_ACC_EP: _50 double, _11 single
    VectorKernel entry;
};

std::vector<Entry> entries() {
    std::vector<Entry> out;
    for (const VectorKernel& k : xeb::catalogue::vector_kernels()) {
        if (k.form != "HA") continue;
        const std::string stem = "xeb" + std::string(1, k.precision) + k.family + "_";
        Entry e{&k, xeb::catalogue::find_kernel(stem + (k.precision == 'd' ? "50" : "21")),
                xeb::catalogue::find_kernel(stem + (k.precision == 'd' ? "50" : "11")), k};
        e.entry.name = k.front_end();
        e.entry.function = k.front_end_function();
        out.push_back(e);
    }
    return out;
}

// The accuracy field for the length of a test (the reporting field is the
// EventRecorder's).
struct Accuracy {
    explicit Accuracy(uint32_t field) : saved(xebSetMode(field) & XEB_ACC_MASK) {}
    ~Accuracy() { xebSetMode(saved); }
    uint32_t saved;
};

// Arguments over the row's intervals (b over its b intervals, or its first
// scalar), each result array filled with a sentinel first.
template <class T>
struct Call {
    std::vector<T> a, b, y, z;

    explicit Call(const VectorKernel& k, std::size_t per_interval) {
        std::mt19937_64 rng = xt::seeded(0xF0E7D);
        auto draw = [&](const std::vector<xeb::catalogue::Interval>& from, std::vector<T>& to) {
            for (const auto& r : from) {
                if constexpr (sizeof(T) == 8) {
                    const auto s = xt::sample(r, per_interval, rng);
                    to.insert(to.end(), s.begin(), s.end());
                } else {
                    const auto s = xt::sample_float(r, per_interval, rng);
                    to.insert(to.end(), s.begin(), s.end());
                }
            }
        };
        draw(k.a, a);
        if (k.shape == Shape::TwoInputs) {
            draw(k.b, b);
            b.resize(a.size(), T(1));
        }
        if (k.shape == Shape::ScalarArgument) b = {static_cast<T>(k.scalars.front())};
        y.assign(a.size(), T(-7));
        z.assign(a.size(), T(-7));
    }
    void run(const VectorKernel& k) {
        k.run<T>(static_cast<int>(a.size()), a.data(), b.data(), y.data(), z.data());
    }
    bool same_results(const Call& o) const {
        return std::memcmp(y.data(), o.y.data(), y.size() * sizeof(T)) == 0 &&
               std::memcmp(z.data(), o.z.data(), z.size() * sizeof(T)) == 0;
    }
};

TEST(FrontEnd, EveryFamilyHasItsEntryAndForms) {
    for (const Entry& e : entries()) {
        EXPECT_NE(e.entry.function, nullptr)
            << e.entry.name << " is not exported (vecmath/front_end.cpp)";
        EXPECT_NE(e.la, nullptr) << e.entry.name << " has no lower form";
        EXPECT_NE(e.ep, nullptr) << e.entry.name << " has no lowest form";
    }
}

// Each accuracy value against the form it picks.  The forms' results are
// compared with each other too, so that each row is seen to tell its form
// from _HA on some family (_11 is _21's code in every family today, so EP and
// LA agree in single precision).
template <class T>
void check_forms(const Entry& e, int& lower_differs, int& ep_differs) {
    const std::size_t per_interval = xt::scaled(256);
    Call<T> ha(*e.ha, per_interval), la = ha, ep = ha;
    xt::EventRecorder quiet(XEB_REPORT_NONE);
    ha.run(*e.ha);
    la.run(*e.la);
    ep.run(*e.ep);
    lower_differs += !la.same_results(ha);
    ep_differs += !ep.same_results(ha);
    const struct {
        uint32_t field;
        const Call<T>& expected;
    } rows[] = {{XEB_ACC_HA, ha}, {XEB_ACC_LA, la}, {XEB_ACC_EP, ep}, {4, ha}, {15, ha}};
    for (const auto& row : rows) {
        Accuracy accuracy(row.field);
        Call<T> got = ha;
        got.y.assign(got.y.size(), T(-7));
        got.z.assign(got.z.size(), T(-7));
        got.run(e.entry);
        EXPECT_TRUE(got.same_results(row.expected)) << e.entry.name << " under accuracy " << row.field;
    }
}

TEST(FrontEnd, AccuracyFieldPicksTheForm) {
    int lower_differs = 0, ep_differs = 0;
    for (const Entry& e : entries()) {
        if (e.entry.function == nullptr || e.la == nullptr || e.ep == nullptr) continue;  // failed above
        if (e.ha->precision == 'd') check_forms<double>(e, lower_differs, ep_differs);
        else check_forms<float>(e, lower_differs, ep_differs);
    }
    EXPECT_GT(lower_differs, 0) << "no family's lower form differs from _HA: the test sees nothing";
    EXPECT_GT(ep_differs, 0);
}

// The accuracy is the calling thread's: a thread at LA and one at HA, side
// by side, each get their own form (x^100.1 at this x differs in the last
// bit between _HA and the baseline's _50; log10 at this x between _HA and
// the SIMD classes' _50, the double power's _50 there being its _HA code).
TEST(FrontEnd, AccuracyIsPerThread) {
    const bool baseline = xebGetKernelClass() == XEB_KERNEL_BASELINE;
    const double a = baseline ? 0x1.dfece1037ff51p+2 : 0x1.5f08ede54b48dp+0, b = 100.1;
    auto form = [&](void (*pow)(int, const double*, const double*, double*), void (*log10)(int, const double*, double*),
                    double* r) { baseline ? pow(1, &a, &b, r) : log10(1, &a, r); };
    double ha = 0, la = 0;
    form(xebdPow_HA, xebdLog10_HA, &ha);
    form(xebdPow_50, xebdLog10_50, &la);
    ASSERT_NE(ha, la);
    double got[2] = {0, 0};
    auto run = [&](uint32_t field, double* r) {
        Accuracy accuracy(field);
        for (int i = 0; i < 1000; ++i) form(xebdPow, xebdLog10, r);
    };
    std::thread lower(run, XEB_ACC_LA, &got[0]);
    run(XEB_ACC_HA, &got[1]);
    lower.join();
    EXPECT_EQ(got[0], la);
    EXPECT_EQ(got[1], ha);
}

// Bad sizes and null pointers: one event with the entry's name, the status
// word, no element read or written.  Positions count n as 0.
template <class T>
void check_bad_arguments(const VectorKernel& entry) {
    const std::string name = "_" + entry.name;
    T a[2] = {T(0.5), T(0.5)}, b[2] = {T(2), T(2)}, y[2] = {T(-7), T(-7)}, z[2] = {T(-7), T(-7)};
    const bool two_in = entry.shape == Shape::TwoInputs, scalar = entry.shape == Shape::ScalarArgument;
    const bool two_out = entry.shape == Shape::TwoOutputs;
    const struct {
        int n;
        const T* a;
        const T* b;
        T* y;
        T* z;
        int code, index;
        bool applies;
    } cases[] = {
        {-1, a, b, y, z, XEB_STATUS_BADSIZE, -1, true},
        // The size is checked first.
        {INT_MIN, nullptr, nullptr, nullptr, nullptr, XEB_STATUS_BADSIZE, INT_MIN, !scalar},
        {2, nullptr, b, y, z, XEB_STATUS_BADMEM, 1, true},
        {2, a, nullptr, y, z, XEB_STATUS_BADMEM, 2, two_in},
        {2, a, b, nullptr, z, XEB_STATUS_BADMEM, two_in || scalar ? 3 : 2, true},
        {2, a, b, y, nullptr, XEB_STATUS_BADMEM, 3, two_out},
        {2, nullptr, b, y, nullptr, XEB_STATUS_BADMEM, 1, two_out},  // the first null is named
    };
    for (const auto& c : cases) {
        if (!c.applies) continue;
        xt::EventRecorder events;
        xebSetErrStatus(0);
        entry.run<T>(c.n, c.a, c.b, c.y, c.z);
        ASSERT_EQ(events.events().size(), 1u) << name << " n=" << c.n;
        EXPECT_EQ(events.events()[0].code, c.code) << name;
        EXPECT_EQ(events.events()[0].index, c.index) << name << " n=" << c.n;
        EXPECT_EQ(events.events()[0].name, name);
        EXPECT_EQ(xebGetErrStatus(), c.code) << name;
        EXPECT_TRUE(y[0] == T(-7) && y[1] == T(-7) && z[0] == T(-7) && z[1] == T(-7))
            << name << " wrote";
    }
}

TEST(FrontEnd, BadSizeAndNullPointersRaiseEventsAndTouchNothing) {
    for (const Entry& e : entries()) {
        if (e.entry.function == nullptr) continue;
        if (e.ha->precision == 'd') check_bad_arguments<double>(e.entry);
        else check_bad_arguments<float>(e.entry);
    }
}

// n = 0 does nothing, whatever the pointers; a clean call keeps the status
// word; under the report modes the argument events set errno and print
// the size.
TEST(FrontEnd, ZeroSizeAndCleanCallsLeaveTheStatusWord) {
    const double one = 1.0, zero = 0.0;
    double r = -7.0;
    xt::EventRecorder events;
    xebSetErrStatus(3);
    xebdExp(0, nullptr, nullptr);
    xebsSinCos(0, nullptr, nullptr, nullptr);
    xebdPowx(0, &one, 2.0, &r);
    EXPECT_EQ(r, -7.0);
    xebdExp(1, &zero, &r);
    EXPECT_EQ(r, 1.0);
    EXPECT_TRUE(events.events().empty());
    EXPECT_EQ(xebGetErrStatus(), 3);
}

TEST(FrontEnd, ArgumentEventsReportThroughTheMode) {
    xt::EventRecorder events(XEB_REPORT_ERRNO | XEB_REPORT_STDERR);
    const float a = 1.0f;
    float r = 0.0f;
    errno = 0;
    xt::StderrCapture err;
    xebsPow(-5, &a, &a, &r);
    EXPECT_EQ(err.finish(), "Error (XEB_STATUS_BADSIZE) in _xebsPow: array size -5 is not positive\n");
    EXPECT_EQ(errno, EINVAL);
    xt::StderrCapture err2;
    xebdLn(1, nullptr, nullptr);
    EXPECT_EQ(err2.finish(), "Error (XEB_STATUS_BADMEM) in _xebdLn: NULL pointer is passed\n");
    EXPECT_EQ(errno, EACCES);
}

}  // namespace
