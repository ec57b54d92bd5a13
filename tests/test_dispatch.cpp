// The error entries: status, callback verdicts, reports and write-back, and
// the exact stderr texts.
#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <limits>
#include <string>
#include <thread>

#include "frame/dispatch.h"
#include "frame/fpu.h"
#include "frame/thread_state.h"
#include "support/events.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void set_y_to_42(XebErrorRecord* r) { r->y = 42.0; }
void set_z_to_42(XebErrorRecord* r) { r->z = 42.0; }
void set_y_huge(XebErrorRecord* r) { r->y = 1.0e300; }

// Runs one double event under a reporting field and returns its stderr text.
std::string stderr_of(int code, int index, const double* a, const double* b, double* y, double* z,
                      const char* name = "_k") {
    xt::EventRecorder rec(XEB_REPORT_STDERR);
    xt::StderrCapture cap;
    xebdError(code, index, a, b, y, z, name);
    return cap.finish();
}

TEST(Dispatch, WithoutAReportOnlyTheStatusIsSet) {
    // The no-report value; its bit with another report is not that value; an
    // empty field (reachable only from inside) writes the same values back.
    const std::pair<uint32_t, int> rows[] = {{XEB_REPORT_NONE, 0}, {XEB_REPORT_NONE | XEB_REPORT_ERRNO, ERANGE}, {0, 0}};
    for (auto [field, want_errno] : rows) {
        std::thread([field = field, want_errno = want_errno] {
            xt::EventRecorder rec;
            rec.set_edit(set_y_to_42);
            xeb::get_thread_state()->mode = XEB_ACC_HA | field;
            double a[2] = {1.0, 3.0}, y[2] = {5.0, 6.0};
            errno = 0;
            xebdError(XEB_STATUS_POLE, 1, a, a, y, y, "_k");
            EXPECT_EQ(xebGetErrStatus(), XEB_STATUS_POLE) << field;
            EXPECT_TRUE(rec.events().empty()) << field;
            EXPECT_EQ(y[1], 6.0) << field;
            EXPECT_EQ(errno, want_errno) << field;
        }).join();
    }
}

TEST(Dispatch, CallbackVerdictDecidesReportsAndWriteBack) {
    // Verdict, the callback's edit, two outputs or one, then y, z and errno.
    struct Row {
        int32_t verdict;
        void (*edit)(XebErrorRecord*);
        bool two_outputs;
        double y, z;
        int err;
    };
    const Row rows[] = {{1, set_y_to_42, false, 7.0, 7.0, 0},        // handled: the kernel's value stands
                        {0, set_y_to_42, false, 42.0, 42.0, ERANGE},  // go on: written back and reported
                        {0, set_z_to_42, false, 7.0, 7.0, ERANGE},    // one output: y, written last, wins
                        {0, set_z_to_42, true, 7.0, 42.0, ERANGE}};   // two outputs: both land
    for (const Row& row : rows) {
        double a[3] = {1.0, 2.0, 3.0}, y[3] = {7.0, 7.0, 7.0}, z[3] = {7.0, 7.0, 7.0};
        double* zz = row.two_outputs ? z : y;
        xt::EventRecorder rec(XEB_REPORT_CALLBACK | XEB_REPORT_ERRNO, row.verdict);
        rec.set_edit(row.edit);
        errno = 0;
        xebdError(XEB_STATUS_POLE, 2, a, a, y, zz, "_xebdInv_HA");
        ASSERT_EQ(rec.events().size(), 1u);
        const xt::Event& e = rec.events()[0];
        EXPECT_TRUE(e.code == XEB_STATUS_POLE && e.index == 2 && e.a == 3.0 && e.name == "_xebdInv_HA");
        EXPECT_EQ(y[2], row.y) << row.verdict;
        EXPECT_EQ(zz[2], row.z) << row.verdict;
        EXPECT_EQ(errno, row.err) << row.verdict;
    }
}

TEST(Dispatch, SingleEntryWidensAndNarrows) {
    float a[1] = {0.5f}, y[1] = {1.0f};
    xt::EventRecorder rec(XEB_REPORT_CALLBACK, 0);
    rec.set_edit(set_y_huge);
    xebsError(XEB_STATUS_TOOLARGE, 0, a, a, y, y, "_xebsExp_HA");
    ASSERT_EQ(rec.events().size(), 1u);
    EXPECT_EQ(rec.events()[0].a, 0.5);
    EXPECT_TRUE(std::isinf(y[0]) && y[0] > 0);
}

TEST(Dispatch, FrontEndCodesNeverTouchTheArrays) {
    xt::EventRecorder rec(XEB_REPORT_CALLBACK | XEB_REPORT_ERRNO | XEB_REPORT_STDERR, 0);
    xt::StderrCapture cap;
    xebdError(XEB_STATUS_BADSIZE, -5, nullptr, nullptr, nullptr, nullptr, "_xebdLn_HA");
    EXPECT_EQ(errno, EINVAL);
    xebsError(XEB_STATUS_BADMEM, 0, nullptr, nullptr, nullptr, nullptr, "_xebsLn_HA");
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(cap.finish(),
              "Error (XEB_STATUS_BADSIZE) in _xebdLn_HA: array size -5 is not positive\n"
              "Error (XEB_STATUS_BADMEM) in _xebsLn_HA: NULL pointer is passed\n");
    ASSERT_EQ(rec.events().size(), 2u);
    EXPECT_EQ(rec.events()[0].index, -5);
    EXPECT_EQ(xebGetErrStatus(), XEB_STATUS_BADMEM);
}

TEST(Dispatch, ErrnoTable) {
    const std::pair<int, int> table[] = {{0, 0},       {-1, EINVAL}, {-2, EACCES}, {1, EDOM},
                                         {2, ERANGE},  {3, ERANGE},  {4, ERANGE},  {5, EFAULT},
                                         {-3, EFAULT}};
    double a[1] = {1.0};
    xt::EventRecorder rec(XEB_REPORT_ERRNO);
    for (auto [code, expected] : table) {
        errno = 12345;
        xebdError(code, 0, a, a, a, a, "_k");
        EXPECT_EQ(errno, expected) << "code " << code;
    }
}

TEST(Dispatch, StderrValueFormats) {
    double a[1] = {1.5}, b[1] = {2.5}, zero[1] = {0.0}, nan[1] = {kNaN}, y[1] = {3.0},
           z[1] = {4.0};
    EXPECT_EQ(stderr_of(1, 0, a, a, y, y), "  a(0)=1.5\nr(0)=3\n");
    EXPECT_EQ(stderr_of(2, 0, a, b, y, y), "  a(0)=1.5\nb(0)=2.5\ny(0)=3\n");
    EXPECT_EQ(stderr_of(3, 0, a, a, y, z), "  a(0)=1.5\ny(0)=3\nz(0)=4\n");
    EXPECT_EQ(stderr_of(4, 0, a, b, y, z), "  a(0)=1.5\nb(0)=2.5\ny(0)=3\nz(0)=4\n");
    // A zero or NaN second input or output cannot be told from an absent one.
    EXPECT_EQ(stderr_of(2, 0, a, zero, y, y), "  a(0)=1.5\nr(0)=3\n");
    EXPECT_EQ(stderr_of(2, 0, a, nan, y, nan), "  a(0)=1.5\nr(0)=3\n");
    // An unknown code: no line end after the name, then the values.
    EXPECT_EQ(stderr_of(9, 0, a, a, y, y, "_xebdExp_HA"),
              "Unknown error in _xebdExp_HA  a(0)=1.5\nr(0)=3\n");
    EXPECT_EQ(stderr_of(0, 0, a, a, y, y), "");
}

TEST(Dispatch, TrapRaisesTheMatchingX87Exception) {
    const std::pair<int, uint16_t> table[] = {{1, 0x01}, {2, 0x04}, {3, 0x08}, {4, 0x10}};
    double a[1] = {1.0};
    xt::EventRecorder rec(XEB_REPORT_TRAP);
    for (auto [code, flag] : table) {
        xeb::fpu::x87_clear_exceptions();
        xebdError(code, 0, a, a, a, a, "_k");
        EXPECT_EQ(xeb::fpu::x87_status() & 0x1D, flag) << "code " << code;
    }
    xeb::fpu::x87_clear_exceptions();
    xebdError(-1, 3, nullptr, nullptr, nullptr, nullptr, "_k");
    EXPECT_EQ(xeb::fpu::x87_status() & 0x3F, 0);
}

// Prefix and suffix are cut at 8 characters, the whole at 63: a longer
// event name reaches the callback cut, and nothing is written past the
// record's 64 bytes (the sanitizer build would see it).
TEST(Dispatch, NameIsCutToItsLimits) {
    char buf[64];
    EXPECT_EQ(xeb::build_name("0123456789", "ab", "XYZXYZXYZ", buf), 8 + 2 + 8);
    EXPECT_STREQ(buf, "01234567abXYZXYZXY");
    const std::string long_name(100, 'n');
    EXPECT_EQ(xeb::build_name("01234567", long_name.c_str(), "XYZXYZXY", buf), 63);
    EXPECT_EQ(std::string(buf), "01234567" + long_name.substr(0, 55));
    xt::EventRecorder rec;
    double a[1] = {1.0};
    xebdError(XEB_STATUS_POLE, 0, a, a, a, a, long_name.c_str());
    ASSERT_EQ(rec.events().size(), 1u);
    EXPECT_EQ(rec.events()[0].name, long_name.substr(0, 63));
}

}  // namespace
