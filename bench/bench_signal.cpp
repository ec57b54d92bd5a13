// Real FFT and linear convolution side by side with FFTW (single precision,
// planning outside the timed loop), timed in rounds (bench/paired.h): the
// ratios of our time to the peers' are the figures of merit.
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "fftw_overlap_save.h"
#include "paired.h"
#include "signal/fft_plan.h"
#include "support/signals.h"
#include "xebruk/convcorr.h"

namespace {

using namespace xeb::sig;

// ---- transforms ---------------------------------------------------------

// FFTW r2c (forward) or c2r (inverse, input preserved so that every run
// starts alike), planned with the given rigour outside the timed loop.
struct FftwTransform {
    float* real;
    fftwf_complex* freq;
    fftwf_plan plan;
    FftwTransform(std::size_t n, bool inverse, unsigned rigour, const std::vector<float>& src) {
        real = fftwf_alloc_real(n);
        freq = fftwf_alloc_complex(n / 2 + 1);
        const int len = static_cast<int>(n);
        plan = inverse ? fftwf_plan_dft_c2r_1d(len, freq, real, rigour | FFTW_PRESERVE_INPUT)
                       : fftwf_plan_dft_r2c_1d(len, real, freq, rigour);
        // Data after planning, which may overwrite the arrays.
        std::copy(src.begin(), src.end(), real);
        for (std::size_t i = 0; i <= n / 2; ++i) {
            freq[i][0] = src[i];
            freq[i][1] = src[n - 1 - i];
        }
    }
    ~FftwTransform() {
        fftwf_destroy_plan(plan);
        fftwf_free(real);
        fftwf_free(freq);
    }
};

// Out-of-place transforms of 2^order values with the caller's work, in
// rounds with FFTW planned by ESTIMATE and by MEASURE: the counters
// ours/fftw_estimate and ours/fftw_measure are the figures of merit.
template <bool Inverse>
void BM_RealFft(benchmark::State& state) {
    const int order = static_cast<int>(state.range(0));
    const std::size_t n = std::size_t{1} << order;
    sigFftPlan* plan = nullptr;
    sigFftPlanInit(&plan, order, SIG_SCALE_NONE, 0);
    int32_t wbytes = 0;
    sigFftWorkSize(plan, &wbytes);
    float* work = sigAlloc32f(wbytes / 4 + 1);
    float* x = sigAlloc32f(static_cast<int64_t>(n));
    float* y = sigAlloc32f(static_cast<int64_t>(n));
    const auto src = xt::uniform_signal(n, 1);
    std::copy(src.begin(), src.end(), x);
    auto transform = Inverse ? sigFftInverseEdge : sigFftForwardEdge;
    FftwTransform estimate(n, Inverse, FFTW_ESTIMATE, src), measure(n, Inverse, FFTW_MEASURE, src);
    xbench::rounds(state, n,
                   {{"ours", [&] { transform(x, y, plan, work); }},
                    {"fftw_estimate", [&] { fftwf_execute(estimate.plan); }},
                    {"fftw_measure", [&] { fftwf_execute(measure.plan); }}});
    sigFree(x);
    sigFree(y);
    sigFree(work);
    sigFftPlanFree(plan);
}

void BM_ForwardFft(benchmark::State& state) { BM_RealFft<false>(state); }
void BM_InverseFft(benchmark::State& state) { BM_RealFft<true>(state); }
BENCHMARK(BM_ForwardFft)->DenseRange(6, 20, 1);
BENCHMARK(BM_InverseFft)->DenseRange(6, 20, 1);

// ---- convolution --------------------------------------------------------

// Linear convolution of nx by nh floats through a task (rukExec, method
// chosen by the engine; the task keeps its plan and filter spectrum between
// runs, as the peer does) in rounds with overlap-save on FFTW with the same
// block length (N = 2M, M the smallest power of two not below 2 nh; plans
// and the filter spectrum made outside the timed loop): the counter
// task/fftw_os is the figure of merit, per output.
void BM_ConvolveTask(benchmark::State& state) {
    const int32_t nx = static_cast<int32_t>(state.range(0)), nh = static_cast<int32_t>(state.range(1));
    const auto x = xt::uniform_signal(nx, 3), h = xt::uniform_signal(nh, 4);
    const int32_t nz = nx + nh - 1;
    std::vector<float> y(static_cast<std::size_t>(nz)), w(y.size());
    RukTask* task = nullptr;
    rukNewTask(&task, RUK_JOB_CONV, 0, RUK_METHOD_AUTO, 0, RUK_TYPE_SINGLE, 1, &nx, &nh, &nz);
    xbench::FftwOverlapSave fftw(h, nx);
    xbench::rounds(state, static_cast<std::size_t>(nz),
                   {{"task", [&] { rukExec(task, x.data(), nullptr, h.data(), nullptr, y.data(), nullptr); }},
                    {"fftw_os", [&] { fftw.run(x.data(), w.data()); }}});
    rukDeleteTask(&task);
}

BENCHMARK(BM_ConvolveTask)
    ->Args({100000, 64})
    ->Args({1000000, 32})
    ->Args({1000000, 1000})
    ->Args({1000000, 100000})
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
