// Direct convolution against the plain nested loop (outputs by taps, one
// accumulator, ascending taps: the order of numpy.convolve's direct sum),
// x of 10^5 elements, y of 16, 64 and 256 taps, dense strides, every output
// of the full result.  Paired timing: "ratio" is the kernel's time over the
// loop's (target: at most 1.0).
#include <random>
#include <vector>

#include "paired.h"
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
void against_plain_loop(benchmark::State& state, Kernel kernel) {
    const auto taps = static_cast<int32_t>(state.range(0));
    const int32_t nz = kSignal + taps - 1;
    std::mt19937 rng(1);
    std::uniform_real_distribution<double> u(-1, 1);
    std::vector<T> x(kSignal), y(taps), z(nz), w(nz);
    for (auto& v : x) v = static_cast<T>(u(rng));
    for (auto& v : y) v = static_cast<T>(u(rng));
    xbench::paired(
        state,
        [&] {
            kernel(x.data(), y.data(), z.data(), taps, nz);
            benchmark::DoNotOptimize(z.data());
        },
        [&] {
            plain_convolve(x.data(), kSignal, y.data(), taps, w.data());
            benchmark::DoNotOptimize(w.data());
        });
    state.SetItemsProcessed(state.iterations() * kSignal * taps);
}

void BM_ConvSSDirect1D_nodec(benchmark::State& state) {
    against_plain_loop<float>(state, [](const float* x, const float* y, float* z, int32_t taps,
                                        int32_t nz) {
        rukConvSSDirect1D_nodec(x, 1, y, 1, z, 1, kSignal, taps, 0, nz);
    });
}

void BM_ConvDDDirect1D_dec(benchmark::State& state) {
    against_plain_loop<double>(state, [](const double* x, const double* y, double* z,
                                         int32_t taps, int32_t nz) {
        rukConvDDDirect1D_dec(x, 1, y, 1, z, 1, kSignal, taps, 0, nz, 1);
    });
}

BENCHMARK(BM_ConvSSDirect1D_nodec)->Arg(16)->Arg(64)->Arg(256)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ConvDDDirect1D_dec)->Arg(16)->Arg(64)->Arg(256)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
