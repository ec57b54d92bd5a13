// Per-thread mode, status and callback; the load and unload entry; the
// forcing and restoring of the control words.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>

#include "frame/fpu.h"
#include "frame/platform.h"
#include "frame/thread_state.h"
#include "support/events.h"

namespace {

using xeb::fpu::mxcsr;
using xeb::fpu::x87_control;

int32_t cb_one(XebErrorRecord*) { return 1; }
int32_t cb_two(XebErrorRecord*) { return 2; }

// Runs f on a fresh thread (fresh record, unforced mode) and waits.
template <class F>
void on_new_thread(F f) {
    std::thread(f).join();
}

std::size_t live_records() { return xeb::platform::heap_block_count(xeb::heap_handle()); }
int32_t entry(uint32_t reason) { return xebLibraryEntry(nullptr, reason, nullptr); }

TEST(ThreadState, NewThreadStartsFromDefaultsWhateverItsCreatorSet) {
    XebErrorCallBack saved = xebSetErrorCallBack(cb_one);
    uint32_t saved_mode = xebSetMode(XEB_REPORT_STDERR | XEB_ACC_LA);
    xebSetErrStatus(3);
    on_new_thread([] {
        EXPECT_EQ(xebGetMode(), 6658u);
        EXPECT_EQ(xebGetErrorCallBack(), nullptr);
        EXPECT_EQ(xebGetErrStatus(), 0);
        xebSetMode(XEB_REPORT_NONE);
        xebSetErrStatus(4);
        xebSetErrorCallBack(cb_two);
    });
    // The other thread's settings did not leak here, nor into a later thread.
    EXPECT_EQ(xebGetMode() & XEB_REPORT_MASK, XEB_REPORT_STDERR);
    EXPECT_EQ(xebGetErrStatus(), 3);
    EXPECT_EQ(xebGetErrorCallBack(), cb_one);
    on_new_thread([] { EXPECT_TRUE(xebGetErrorCallBack() == nullptr && xebGetMode() == XEB_MODE_DEFAULT); });
    xebSetErrorCallBack(saved);
    xebSetMode(saved_mode & XEB_REPORT_MASK);
    xebSetMode(saved_mode & XEB_ACC_MASK);
    xebClearErrStatus();
}

TEST(ThreadState, RecordIsMadeOnFirstUseAndFreedAtThreadExit) {
    xebGetMode();  // this thread's record exists
    const std::size_t before = live_records();
    on_new_thread([before] {
        EXPECT_EQ(live_records(), before);  // nothing yet for this thread
        xebGetMode();
        EXPECT_EQ(live_records(), before + 1);
    });
    EXPECT_EQ(live_records(), before);
    on_new_thread([before] {
        // Freeing on a thread that never had a record frees nothing.
        xeb::free_thread_state(nullptr);
        EXPECT_EQ(live_records(), before);
        EXPECT_EQ(xeb::platform::tls_get(xeb::slot_index()), nullptr);
    });
}

TEST(ThreadState, ProcessDetachFreesRecordThenSlotThenHeapAndAttachRestores) {
    EXPECT_EQ(dll_cpu_version(), 1u);
    xebSetErrStatus(5);
    ASSERT_NE(xeb::slot_index(), -1);
    EXPECT_EQ(entry(xeb::kThreadAttach), 1);
    EXPECT_EQ(entry(7), 1);  // unknown reasons do nothing
    EXPECT_EQ(entry(xeb::kProcessDetach), 1);
    EXPECT_EQ(xeb::slot_index(), -1);
    EXPECT_EQ(xeb::heap_handle(), nullptr);
    // Without a slot every lookup gets the default record.
    EXPECT_EQ(xebGetMode(), XEB_MODE_DEFAULT);
    EXPECT_EQ(xebGetErrStatus(), 0);
    EXPECT_EQ(entry(xeb::kProcessAttach), 1);
    EXPECT_NE(xeb::slot_index(), -1);
    EXPECT_EQ(live_records(), 1u);  // the loading thread's record
    EXPECT_EQ(xebGetErrStatus(), 0);
}

TEST(ThreadState, ThreadRecordFromAnEarlierSlotIsNotSeenAfterReload) {
    std::atomic<int> stage{0};
    std::thread t([&] {
        xebSetErrStatus(9);
        stage = 1;
        while (stage != 2) std::this_thread::yield();
        // The library was unloaded and loaded while this thread lived: it
        // starts afresh instead of reading its freed record.
        EXPECT_EQ(xebGetErrStatus(), 0);
    });
    while (stage != 1) std::this_thread::yield();
    entry(xeb::kProcessDetach);
    entry(xeb::kProcessAttach);
    stage = 2;
    t.join();
}

TEST(FatalBox, TitleAndTextFallBackToFixedWords) {
    auto& f = xeb::platform::faults();
    f.no_module_path = f.no_error_text = true;
    xt::StderrCapture cap;
    xeb::fatal_box();
    EXPECT_EQ(cap.finish(), "error: Error occured\n");
    f = {};
    xt::StderrCapture cap2;
    errno = ENOMEM;
    xeb::fatal_box();
    const std::string text = cap2.finish();
    EXPECT_NE(text.find("test_thread_state: "), std::string::npos) << text;
    EXPECT_NE(text.find(std::strerror(ENOMEM)), std::string::npos) << text;
}

TEST(FatalBox, FailedAttachRefusesTheLoad) {
    for (bool xeb::platform::FaultInjection::*fault :
         {&xeb::platform::FaultInjection::tls_alloc_fails, &xeb::platform::FaultInjection::heap_fails}) {
        entry(xeb::kProcessDetach);
        xeb::platform::faults().*fault = true;
        xt::StderrCapture cap;
        EXPECT_EQ(entry(xeb::kProcessAttach), 0);
        EXPECT_FALSE(cap.finish().empty());
        xeb::platform::faults() = {};
    }
    entry(xeb::kProcessDetach);
    ASSERT_EQ(entry(xeb::kProcessAttach), 1);
}

TEST(FatalBoxDeathTest, LookupThatCannotMakeARecordEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(on_new_thread([] {
                    xeb::platform::faults().tls_set_fails = true;
                    xebGetMode();
                }),
                ::testing::ExitedWithCode(1), "");
}

TEST(Mode, FieldsAreReplacedWholeAndZeroFieldsLeftAlone) {
    on_new_thread([] {
        // Each set returns the mode before it; bits 16-31 are never set; a
        // restore with nothing forced does nothing.
        const uint32_t steps[][3] = {{0, 6658, 6658},          {0x0001, 6658, 0x1A01},
                                     {0x0100, 0x1A01, 0x0101}, {0xFFFF0400u, 0x0101, 0x0401},
                                     {XEB_FPU_RESTORE, 0x0401, 0x0401}};
        const uint16_t cw = x87_control();
        for (const auto& s : steps) {
            EXPECT_EQ(xebSetMode(s[0]), s[1]) << s[0];
            EXPECT_EQ(xebGetMode(), s[2]) << s[0];
        }
        EXPECT_EQ(x87_control(), cw);
        EXPECT_EQ(xebSetErrStatus(7), 0);
        EXPECT_EQ(xebGetErrStatus(), 7);  // not validated
        EXPECT_EQ(xebClearErrStatus(), 7);
        EXPECT_EQ(xebGetErrStatus(), 0);
    });
}

TEST(Mode, ForceForceRestoreKeepsTheFirstSnapshot) {
    on_new_thread([] {
        const uint16_t cw0 = 0x0F7F;                    // 64-bit precision, rounding toward zero
        const uint32_t mx0 = 0x1F80 | 0x6000 | 0x8000;  // toward zero, flush-to-zero
        const int k53 = (cw0 & ~0x0F00) | 0x0200, k64 = (cw0 & ~0x0F00) | 0x0300;
        xeb::fpu::set_x87_control(cw0);
        xeb::fpu::set_mxcsr(mx0);
        // Control word set first (or -1), mode set, then the expected x87
        // word under a mask, MXCSR (or -1) and FPU field (or -1).  Accuracy
        // 2 or 1 with 0x10 is the 53-bit target; unknown values force 64; a
        // restore does the same again; a later force takes no new snapshot.
        struct Step {
            int pre;
            uint32_t set;
            int mask, cw;
            int64_t mx;
            int field;
        };
        const Step steps[] = {{-1, XEB_FPU_NARROW, 0xFFFF, k53, mx0 & ~0x6000u, -1},
                              {-1, XEB_FPU_WIDE, 0xFFFF, k64, -1, XEB_FPU_WIDE},
                              {-1, XEB_FPU_RESTORE, 0xFFFF, cw0, mx0, XEB_FPU_WIDE},
                              {0x037F, XEB_FPU_RESTORE, 0xFFFF, cw0, -1, -1},
                              {0x027F, XEB_FPU_NARROW, 0, 0, -1, -1},
                              {-1, XEB_FPU_RESTORE, 0xFFFF, cw0, -1, -1},
                              {-1, XEB_ACC_LA | XEB_FPU_NARROW, 0x0F00, 0x0200, -1, -1},
                              {-1, 0x0050, 0x0F00, 0x0300, -1, -1}};
        for (std::size_t i = 0; i < std::size(steps); ++i) {
            const Step& s = steps[i];
            if (s.pre >= 0) xeb::fpu::set_x87_control(static_cast<uint16_t>(s.pre));
            xebSetMode(s.set);
            EXPECT_EQ(x87_control() & s.mask, s.cw) << "step " << i;
            EXPECT_TRUE(s.mx < 0 || (mxcsr() & 0xFFFF) == s.mx) << "step " << i << ": " << mxcsr();
            EXPECT_TRUE(s.field < 0 || static_cast<int>(xebGetMode() & XEB_FPU_MASK) == s.field) << "step " << i;
        }
        xeb::fpu::set_x87_control(0x037F);
        xeb::fpu::set_mxcsr(0x1F80);
    });
}

TEST(Mode, CallbackBitFollowsTheCallbackUnlessItIsTheOnlyReport) {
    on_new_thread([] {
        EXPECT_EQ(xebSetErrorCallBack(cb_one), nullptr);
        EXPECT_EQ(xebGetMode() & XEB_REPORT_CALLBACK, XEB_REPORT_CALLBACK);
        xebSetMode(XEB_REPORT_ERRNO | XEB_REPORT_CALLBACK);
        EXPECT_EQ(xebSetErrorCallBack(cb_two), cb_one);
        EXPECT_EQ(xebClearErrorCallBack(), cb_two);
        EXPECT_EQ(xebGetMode() & XEB_REPORT_MASK, XEB_REPORT_ERRNO);
        EXPECT_EQ(xebGetErrorCallBack(), nullptr);
        // With the callback bit as the only report, removing it would leave
        // the field 0, which xebSetMode does not apply: the bit stays.
        xebSetErrorCallBack(cb_one);
        xebSetMode(XEB_REPORT_CALLBACK);
        xebClearErrorCallBack();
        EXPECT_EQ(xebGetMode() & XEB_REPORT_MASK, XEB_REPORT_CALLBACK);
        EXPECT_EQ(xebGetErrorCallBack(), nullptr);
    });
}

TEST(Mode, SettingTheCallbackForcesTheControlWordsAnew) {
    on_new_thread([] {
        xeb::fpu::set_x87_control(0x037F);
        xebSetMode(XEB_FPU_NARROW);
        xeb::fpu::set_x87_control(0x037F);  // the caller changed it meanwhile
        xebSetErrorCallBack(cb_one);
        EXPECT_EQ(x87_control() & 0x0F00, 0x0200);
        // A restore keeps the forcing value in the field, so the next
        // callback change forces again.
        xebSetMode(XEB_FPU_RESTORE);
        EXPECT_EQ(x87_control(), 0x037F);
        xebSetErrorCallBack(nullptr);
        EXPECT_EQ(x87_control() & 0x0F00, 0x0200);
        xebSetMode(XEB_FPU_RESTORE);
    });
}

}  // namespace
