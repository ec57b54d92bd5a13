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
#include <tuple>
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

// Draw number `call` of thread t's stream, into r.
void draw(xt::StreamHandle& s, int t, int call, std::vector<double>& r) {
    if (!s.get()) {
        const uint32_t key = 100 + t;
        rukNewStreamEx(s.out(), RUK_BRNG_MT19937, 1, &key);
        r.resize(kRounds * kDraws);
    }
    rukdRngGaussian(RUK_METHOD_GAUSSIAN_PAIRED, s.get(), kDraws, &r[call * kDraws], t, 1.0 + t);
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
    std::vector<double> mine;
    double a[16], r[16];
    for (int round = 0; round < kRounds; ++round) {
        // Ln of (t + round) % 3 + 1 negatives, then Inv of as many zeros.
        const int bad = (t + round) % 3 + 1;
        for (auto [kernel, code, err, value] : {std::tuple{&xebdLn_HA, XEB_STATUS_DOMAINFAULT, EDOM, -1.0},
                                                std::tuple{&xebdInv_HA, XEB_STATUS_POLE, ERANGE, 0.0}}) {
            for (int i = 0; i < 16; ++i) a[i] = i < bad ? value : 1.0 + i;
            errno = 0;
            kernel(16, a, r);
            f.status += xebGetErrStatus() != code;
            f.errno_value += errno != (t % 2 == 0 ? err : 0);
        }
        draw(s, t, round, mine);
    }
    f.draws = mine != expected;
    f.mode = xebGetMode() != mode || xebGetErrorCallBack() != kCallbacks[t];
    xebSetMode(XEB_FPU_RESTORE);
}

TEST(Threads, ModeStatusCallbackAndStreamStayWithTheirThread) {
    std::vector<std::vector<double>> expected(kThreads);
    for (int t = 0; t < kThreads; ++t) {
        xt::StreamHandle s;
        for (int round = 0; round < kRounds; ++round) draw(s, t, round, expected[t]);
    }
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
