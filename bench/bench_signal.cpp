// Real FFT and linear convolution side by side with FFTW (single precision,
// FFTW_MEASURE, planning outside the timed loop).  Pairs share their
// arguments; the ratio of a pair's times is the figure of merit.
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "fftw_overlap_save.h"
#include "signal/convolve.h"
#include "signal/fft_plan.h"
#include "support/signals.h"

namespace {

using namespace xeb::sig;

// ---- transforms ---------------------------------------------------------

// Out-of-place transforms of 2^order values with the caller's work.
template <bool Inverse>
void BM_Xebruk(benchmark::State& state) {
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
    for (auto _ : state) {
        transform(x, y, plan, work);
        benchmark::DoNotOptimize(y);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
    sigFree(x);
    sigFree(y);
    sigFree(work);
    sigFftPlanFree(plan);
}

// FFTW r2c (forward) or c2r (inverse, input preserved so that every run
// starts alike), planned with FFTW_MEASURE outside the timed loop.
template <bool Inverse>
void BM_Fftw(benchmark::State& state) {
    const int order = static_cast<int>(state.range(0));
    const std::size_t n = std::size_t{1} << order;
    float* real = fftwf_alloc_real(n);
    fftwf_complex* freq = fftwf_alloc_complex(n / 2 + 1);
    const int len = static_cast<int>(n);
    fftwf_plan p = Inverse ? fftwf_plan_dft_c2r_1d(len, freq, real, FFTW_MEASURE | FFTW_PRESERVE_INPUT)
                           : fftwf_plan_dft_r2c_1d(len, real, freq, FFTW_MEASURE);
    // Data after planning, which overwrites the arrays.
    const auto src = xt::uniform_signal(n + 2, 1);
    std::copy(src.begin(), src.end() - (Inverse ? 0 : 2), Inverse ? reinterpret_cast<float*>(freq) : real);
    for (auto _ : state) {
        fftwf_execute(p);
        benchmark::DoNotOptimize(real);
        benchmark::DoNotOptimize(freq);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
    fftwf_destroy_plan(p);
    fftwf_free(real);
    fftwf_free(freq);
}

void BM_ForwardXebruk(benchmark::State& state) { BM_Xebruk<false>(state); }
void BM_ForwardFftw(benchmark::State& state) { BM_Fftw<false>(state); }
void BM_InverseXebruk(benchmark::State& state) { BM_Xebruk<true>(state); }
void BM_InverseFftw(benchmark::State& state) { BM_Fftw<true>(state); }

BENCHMARK(BM_ForwardXebruk)->DenseRange(6, 20, 1);
BENCHMARK(BM_ForwardFftw)->DenseRange(6, 20, 1);
BENCHMARK(BM_InverseXebruk)->DenseRange(6, 20, 1);
BENCHMARK(BM_InverseFftw)->DenseRange(6, 20, 1);

// ---- convolution --------------------------------------------------------

void BM_ConvolveXebruk(benchmark::State& state) {
    const auto nx = state.range(0), nh = state.range(1);
    const auto x = xt::uniform_signal(nx, 3), h = xt::uniform_signal(nh, 4);
    std::vector<float> y(nx + nh - 1);
    for (auto _ : state) {
        sigConvolve32f(x.data(), static_cast<int32_t>(nx), h.data(), static_cast<int32_t>(nh), y.data());
        benchmark::DoNotOptimize(y.data());
    }
}

// Overlap-save on FFTW with the same block length (N = 2M, M the smallest
// power of two not below 2 Nh); plans and the filter spectrum are made
// outside the timed loop.
void BM_ConvolveFftw(benchmark::State& state) {
    const int64_t nx = state.range(0), nh = state.range(1);
    const auto x = xt::uniform_signal(nx, 3), h = xt::uniform_signal(nh, 4);
    std::vector<float> y(nx + nh - 1);
    xbench::FftwOverlapSave fftw(h, nx);
    for (auto _ : state) {
        fftw.run(x.data(), y.data());
        benchmark::DoNotOptimize(y.data());
    }
}

void BM_ConvolveDirectLoop(benchmark::State& state) {
    const int64_t nx = state.range(0), nh = state.range(1);
    const auto x = xt::uniform_signal(nx, 3), h = xt::uniform_signal(nh, 4);
    std::vector<float> y(nx + nh - 1);
    for (auto _ : state) {
        std::fill(y.begin(), y.end(), 0.0f);
        for (int64_t j = 0; j < nh; ++j)
            for (int64_t i = 0; i < nx; ++i) y[i + j] += x[i] * h[j];
        benchmark::DoNotOptimize(y.data());
    }
}

void conv_sizes(benchmark::internal::Benchmark* b) {
    b->Args({100000, 64})->Args({1000000, 1000})->Args({1000000, 100000})->Unit(benchmark::kMillisecond);
}
BENCHMARK(BM_ConvolveXebruk)->Apply(conv_sizes);
BENCHMARK(BM_ConvolveFftw)->Apply(conv_sizes);
// The direct loop of 10^11 products (10^6 by 10^5) would take minutes.
BENCHMARK(BM_ConvolveDirectLoop)
    ->Args({100000, 64})
    ->Args({1000000, 1000})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(2);

}  // namespace

BENCHMARK_MAIN();
