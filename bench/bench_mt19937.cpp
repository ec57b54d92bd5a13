// MT19937 kernels against std::mt19937 filling the same array of 10^6
// numbers, and MT2203 (integers) against both.  Paired timing: "ratio" is
// our time over the peer's (0.5 means twice as fast).
#include <random>
#include <vector>

#include "paired.h"
#include "xebruk/xebruk.h"

namespace {

constexpr int kCount = 1000000;

RukStream* new_stream(int32_t id = RUK_BRNG_MT19937) {
    RukStream* s = nullptr;
    const uint32_t key[4] = {0x123, 0x234, 0x345, 0x456};
    rukNewStreamEx(&s, id, 4, key);
    return s;
}

void BM_IntegerMt19937(benchmark::State& state) {
    RukStream* s = new_stream();
    std::mt19937 peer(1);
    xbench::paired_fill<uint32_t>(
        state, kCount, [&](uint32_t* r, int n) { rukiBRngMT19937(s, n, r); },
        [&] { return static_cast<uint32_t>(peer()); });
    rukDeleteStream(&s);
}

// Numbers on (0, 1); the peer scales each word by 2^-32 in the same type.
template <class T, int32_t (*Kernel)(RukStream*, int32_t, T*, T, T)>
void BM_RealMt19937(benchmark::State& state) {
    RukStream* s = new_stream();
    std::mt19937 peer(1);
    xbench::paired_fill<T>(
        state, kCount, [&](T* r, int n) { Kernel(s, n, r, T(0), T(1)); },
        [&] { return static_cast<T>(peer()) * T(0x1p-32); });
    rukDeleteStream(&s);
}

// MT2203 (set 17) against std::mt19937, and against this library's MT19937
// filling an array of its own ("ratio" MT2203 / MT19937).
void BM_IntegerMt2203(benchmark::State& state) {
    RukStream* s = new_stream(RUK_BRNG_MT2203 + 17);
    std::mt19937 peer(1);
    xbench::paired_fill<uint32_t>(
        state, kCount, [&](uint32_t* r, int n) { rukiBRngMT2203(s, n, r); },
        [&] { return static_cast<uint32_t>(peer()); });
    rukDeleteStream(&s);
}

void BM_IntegerMt2203OverMt19937(benchmark::State& state) {
    RukStream* s = new_stream(RUK_BRNG_MT2203 + 17);
    RukStream* t = new_stream();
    std::vector<uint32_t> r(kCount), p(kCount);
    xbench::paired(
        state,
        [&] {
            rukiBRngMT2203(s, kCount, r.data());
            benchmark::DoNotOptimize(r.data());
        },
        [&] {
            rukiBRngMT19937(t, kCount, p.data());
            benchmark::DoNotOptimize(p.data());
        });
    rukDeleteStream(&s);
    rukDeleteStream(&t);
}

BENCHMARK(BM_IntegerMt19937)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RealMt19937<double, rukdBRngMT19937>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RealMt19937<float, ruksBRngMT19937>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IntegerMt2203)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IntegerMt2203OverMt19937)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
