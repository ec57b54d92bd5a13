// Eight threads at once, each with its own mode, callback and stream,
// raising events and drawing numbers: nothing one thread sets, raises or
// draws reaches another.  CI runs this suite in a ThreadSanitizer build
// (XEBRUK_TSAN), where a write shared between threads is reported as well.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>
#include <utility>
#include <vector>

#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 400;
constexpr int kDraws = 37;  // odd: method 1 leaves half a pair between calls

thread_local int this_thread = -1;
std::atomic<int> started{0};
// Callback T counts its calls and those that ran on another thread.  Only
// thread T should ever write calls[T].
int calls[kThreads];
int strangers[kThreads];

template <int T>
int32_t count_event(XebErrorRecord*) {
    ++calls[T];
    if (this_thread != T) ++strangers[T];
    return T % 2;  // odd threads handle the event; even ones let errno be set
}
template <std::size_t... T>
constexpr std::array<XebErrorCallBack, sizeof...(T)> callbacks(std::index_sequence<T...>) {
    return {count_event<T>...};
}
constexpr auto kCallbacks = callbacks(std::make_index_sequence<kThreads>{});

uint32_t mode_of(int t) {
    const uint32_t report = XEB_REPORT_CALLBACK | (t % 2 == 0 ? XEB_REPORT_ERRNO : 0);
    const uint32_t fpu[] = {XEB_FPU_NARROW, XEB_FPU_WIDE, 0};
    return report | fpu[t % 3] | ((t & 2) ? XEB_ACC_LA : XEB_ACC_HA);
}

// Thread t's draws, made here on one thread in the same calls.
std::vector<double> gaussians(int t) {
    xt::StreamHandle s;
    const uint32_t key = 100 + t;
    rukNewStreamEx(s.out(), RUK_BRNG_MT19937, 1, &key);
    std::vector<double> r(kRounds * kDraws);
    for (int round = 0; round < kRounds; ++round)
        rukdRngGaussian(RUK_METHOD_GAUSSIAN_PAIRED, s.get(), kDraws, &r[round * kDraws], t, 1.0 + t);
    return r;
}

struct Faults {
    int status = 0, errno_value = 0, draws = 0, mode = 0;
};

void run(int t, const std::vector<double>& expected, Faults& f) {
    this_thread = t;
    // All start together, so that their calls overlap.
    for (++started; started < kThreads;) std::this_thread::yield();
    xebSetMode(mode_of(t));
    xebSetErrorCallBack(kCallbacks[t]);
    const uint32_t mode = xebGetMode();
    xt::StreamHandle s;
    const uint32_t key = 100 + t;
    rukNewStreamEx(s.out(), RUK_BRNG_MT19937, 1, &key);
    double a[16], r[16], g[kDraws];
    for (int round = 0; round < kRounds; ++round) {
        // Ln of (t + round) % 3 + 1 negatives, then Inv of as many zeros.
        const int bad = (t + round) % 3 + 1;
        for (int i = 0; i < 16; ++i) a[i] = i < bad ? -1.0 - i : 1.0 + i;
        errno = 0;
        xebdLn_HA(16, a, r);
        f.status += xebGetErrStatus() != XEB_STATUS_DOMAINFAULT;
        f.errno_value += errno != (t % 2 == 0 ? EDOM : 0);
        for (int i = 0; i < 16; ++i) a[i] = i < bad ? 0.0 : 1.0 + i;
        errno = 0;
        xebdInv_HA(16, a, r);
        f.status += xebGetErrStatus() != XEB_STATUS_POLE;
        f.errno_value += errno != (t % 2 == 0 ? ERANGE : 0);
        rukdRngGaussian(RUK_METHOD_GAUSSIAN_PAIRED, s.get(), kDraws, g, t, 1.0 + t);
        f.draws += std::memcmp(g, expected.data() + round * kDraws, sizeof g) != 0;
    }
    f.mode = xebGetMode() != mode || xebGetErrorCallBack() != kCallbacks[t];
    xebSetMode(XEB_FPU_RESTORE);
}

TEST(Threads, ModeStatusCallbackAndStreamStayWithTheirThread) {
    std::vector<std::vector<double>> expected;
    for (int t = 0; t < kThreads; ++t) expected.push_back(gaussians(t));
    Faults faults[kThreads];
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back(run, t, std::cref(expected[t]), std::ref(faults[t]));
    for (auto& th : threads) th.join();
    for (int t = 0; t < kThreads; ++t) {
        SCOPED_TRACE(t);
        EXPECT_EQ(faults[t].status, 0);
        EXPECT_EQ(faults[t].errno_value, 0);
        EXPECT_EQ(faults[t].draws, 0);
        EXPECT_EQ(faults[t].mode, 0);
        EXPECT_EQ(strangers[t], 0);
        // Each thread's bad counts cycle through 1, 2, 3 from its own start.
        int own = 0;
        for (int round = 0; round < kRounds; ++round) own += 2 * ((t + round) % 3 + 1);
        EXPECT_EQ(calls[t], own);
    }
}

}  // namespace
