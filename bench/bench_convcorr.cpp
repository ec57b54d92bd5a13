// Direct convolution against the plain nested loop (outputs by taps, one
// accumulator, ascending taps: the order of numpy.convolve's direct sum),
// x of 10^5 elements, dense strides, every output of the full result.
// Kernel and loop alternate inside one timing loop; the counter "ratio" is
// kernel time over loop time (target: at most 1.0).
#include <benchmark/benchmark.h>

#include <chrono>
#include <random>
#include <vector>

#include "xebruk/convcorr.h"

namespace {

constexpr int32_t kSignal = 100000;

// z[k] = sum_i y[i] x[k-i] in the precision of T.
template <class T>
__attribute__((noinline)) void plain_convolve(const T* x, int32_t nx, const T* y, int32_t ny,
                                              T* z) {
    for (int32_t k = 0; k < nx + ny - 1; ++k) {
        const int32_t lo = k - nx + 1 > 0 ? k - nx + 1 : 0;
        const int32_t hi = k < ny - 1 ? k : ny - 1;
        T sum = 0;
        for (int32_t i = lo; i <= hi; ++i) sum += y[i] * x[k - i];
        z[k] = sum;
    }
}

template <class T, class Kernel>
void paired(benchmark::State& state, Kernel kernel) {
    const auto taps = static_cast<int32_t>(state.range(0));
    std::mt19937 rng(1);
    std::uniform_real_distribution<double> u(-1, 1);
    std::vector<T> x(kSignal), y(taps), z(kSignal + taps - 1), w(z.size());
    for (auto& v : x) v = static_cast<T>(u(rng));
    for (auto& v : y) v = static_cast<T>(u(rng));
    using clock = std::chrono::steady_clock;
    std::chrono::duration<double> in_kernel{0}, in_loop{0};
    for (auto _ : state) {
        const auto t0 = clock::now();
        kernel(x.data(), y.data(), z.data(), taps);
        const auto t1 = clock::now();
        plain_convolve(x.data(), kSignal, y.data(), taps, w.data());
        const auto t2 = clock::now();
        in_kernel += t1 - t0;
        in_loop += t2 - t1;
        benchmark::DoNotOptimize(z.data());
        benchmark::DoNotOptimize(w.data());
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["kernel_ms"] = 1e3 * in_kernel.count() / n;
    state.counters["loop_ms"] = 1e3 * in_loop.count() / n;
    state.counters["ratio"] = in_kernel.count() / in_loop.count();
}

void ConvSSDirect1D_nodec(benchmark::State& state) {
    paired<float>(state, [](const float* x, const float* y, float* z, int32_t taps) {
        rukConvSSDirect1D_nodec(x, 1, y, 1, z, 1, kSignal, taps, 0, kSignal + taps - 1);
    });
}

void ConvDDDirect1D_dec(benchmark::State& state) {
    paired<double>(state, [](const double* x, const double* y, double* z, int32_t taps) {
        rukConvDDDirect1D_dec(x, 1, y, 1, z, 1, kSignal, taps, 0, kSignal + taps - 1, 1);
    });
}

BENCHMARK(ConvSSDirect1D_nodec)->Arg(16)->Arg(64)->Arg(256)->Unit(benchmark::kMillisecond);
BENCHMARK(ConvDDDirect1D_dec)->Arg(16)->Arg(64)->Arg(256)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
