// A single-precision convolution task of one dimension run by rukExec,
// paired with (1) the engine it ends in, called directly on the same dense
// arrays with a workspace kept between calls, as the task keeps its own:
// the ratio is the cost of the task path (target: at most 1.05), read
// against the engine paired with itself;
// (2) FFTW overlap-save with the engine's block length; (3) the plain
// direct loop.  Signal of 10^6 samples, filters of 10^3 and 32 taps.
#include <algorithm>
#include <vector>

#include "fftw_overlap_save.h"
#include "paired.h"
#include "signal/convolve.h"
#include "support/signals.h"
#include "xebruk/convcorr.h"

namespace {

constexpr int32_t kSignal = 1000000;

struct Setup {
    std::vector<float> x, h, z, w;
    RukTask* task = nullptr;
    xeb::sig::sigConvWorkspace ws[2]{};
    explicit Setup(int32_t taps)
        : x(xt::uniform_signal(kSignal, 3)), h(xt::uniform_signal(taps, 4)), z(kSignal + taps - 1), w(z.size()) {
        const int32_t nx = kSignal, nz = static_cast<int32_t>(z.size());
        rukNewTask(&task, RUK_JOB_CONV, 0, RUK_METHOD_AUTO, 0, RUK_TYPE_SINGLE, 1, &nx, &taps, &nz);
    }
    ~Setup() {
        rukDeleteTask(&task);
        for (auto& w : ws) xeb::sig::sigConvWorkspaceRelease(&w);
    }
    void engine(int k, float* out) {
        xeb::sig::sigConvolve32fWith(x.data(), kSignal, h.data(), static_cast<int32_t>(h.size()), out, &ws[k]);
        benchmark::DoNotOptimize(out);
    }
    void exec() {
        rukExec(task, x.data(), nullptr, h.data(), nullptr, z.data(), nullptr);
        benchmark::DoNotOptimize(z.data());
    }
};

void BM_ExecVsEngine(benchmark::State& state) {
    Setup s(static_cast<int32_t>(state.range(0)));
    xbench::paired(state, [&] { s.exec(); }, [&] { s.engine(0, s.w.data()); });
}

// The engine paired with itself: the bias of running first in a pair,
// against which the ratio above is read.
void BM_EngineVsEngine(benchmark::State& state) {
    Setup s(static_cast<int32_t>(state.range(0)));
    xbench::paired(state, [&] { s.engine(0, s.z.data()); }, [&] { s.engine(1, s.w.data()); });
}

void BM_ExecVsFftw(benchmark::State& state) {
    Setup s(static_cast<int32_t>(state.range(0)));
    xbench::FftwOverlapSave fftw(s.h, kSignal);
    xbench::paired(state, [&] { s.exec(); },
                   [&] {
                       fftw.run(s.x.data(), s.w.data());
                       benchmark::DoNotOptimize(s.w.data());
                   });
}

void BM_ExecVsDirectLoop(benchmark::State& state) {
    Setup s(static_cast<int32_t>(state.range(0)));
    const auto taps = static_cast<int64_t>(s.h.size());
    xbench::paired(state, [&] { s.exec(); },
                   [&] {
                       std::fill(s.w.begin(), s.w.end(), 0.0f);
                       for (int64_t j = 0; j < taps; ++j)
                           for (int64_t i = 0; i < kSignal; ++i) s.w[i + j] += s.x[i] * s.h[j];
                       benchmark::DoNotOptimize(s.w.data());
                   });
}

BENCHMARK(BM_ExecVsEngine)->Arg(1000)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EngineVsEngine)->Arg(1000)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExecVsFftw)->Arg(1000)->Arg(32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExecVsDirectLoop)->Arg(1000)->Arg(32)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
