// Direct convolution through a task (method direct, the kernel class in
// use; XEBRUK_KERNEL_CLASS picks another) against the plain vector loops
// of bench/direct_loops.h, which sum in the same order.
//   2-D double 512x512 (*) 31x31 and 2-D single 1024x1024 (*) 9x9 against
//   an AVX-512 loop; double sums with the x87 at 64 bits (the default,
//   where double sums stay x87) and at 53 (xebSetMode(XEB_FPU_NARROW)).
//   1-D single 10^5 (*) 64 against SSE2 and AVX loops.
// Reported per output: "<name>_ns"; "task/<loop>" is the task's time over
// the loop's.  scipy's convolve2d on the same 2-D cases: bench/scipy_convolve2d.py.
#include <random>
#include <vector>

#include "direct_loops.h"
#include "paired.h"
#include "xebruk/convcorr.h"
#include "xebruk/frame.h"

namespace {

using xbench::Padded;

template <class T>
std::vector<T> random_array(std::size_t n, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-1, 1);
    std::vector<T> v(n);
    for (auto& e : v) e = static_cast<T>(u(rng));
    return v;
}

// A task of rank 2 (direct method) on n x n by k x k, every output.
template <class T>
void two_d(benchmark::State& state, int32_t n, int32_t k, bool narrow_x87) {
    if (!__builtin_cpu_supports("avx512f")) {
        state.SkipWithError("no AVX-512");
        return;
    }
    const int32_t nx[2] = {n, n}, ny[2] = {k, k}, nz[2] = {n + k - 1, n + k - 1};
    const auto x = random_array<T>(static_cast<std::size_t>(n) * n, 1);
    const auto y = random_array<T>(static_cast<std::size_t>(k) * k, 2);
    std::vector<T> z(static_cast<std::size_t>(nz[0]) * nz[1]);
    const Padded<T> xp(x, n, n, k, 64 / sizeof(T) * 4);
    std::vector<T> w(static_cast<std::size_t>(xp.width * nz[1]));
    RukTask* task = nullptr;
    const int32_t type = sizeof(T) == 4 ? RUK_TYPE_SINGLE : RUK_TYPE_DOUBLE;
    rukNewTask(&task, RUK_JOB_CONV, 0, RUK_METHOD_DIRECT, 0, type, 2, nx, ny, nz);
    if (narrow_x87) xebSetMode(XEB_FPU_NARROW);
    int32_t status = 0;
    xbench::rounds(state, z.size(),
                   {{"task", [&] { status |= rukExec(task, x.data(), nullptr, y.data(), nullptr, z.data(), nullptr); }},
                    {"avx512_loop", [&] { xbench::avx512_2d(xp, y.data(), k, nz[0], nz[1], w.data()); }}});
    if (narrow_x87) xebSetMode(0x30u);
    rukDeleteTask(&task);
    if (status != 0) state.SkipWithError("task failed");
    // The same sums: the loop's rows are of the padded width.
    for (int64_t r = 0; r < nz[1]; ++r)
        for (int64_t c = 0; c < nz[0]; ++c)
            if (z[static_cast<std::size_t>(r * nz[0] + c)] != w[static_cast<std::size_t>(r * xp.width + c)] &&
                (sizeof(T) == 4 || narrow_x87)) {
                state.SkipWithError("the loop's sums differ from the task's");
                return;
            }
}

void BM_Direct2D_DD_512x31(benchmark::State& state) { two_d<double>(state, 512, 31, false); }
void BM_Direct2D_DD_512x31_narrow(benchmark::State& state) { two_d<double>(state, 512, 31, true); }
void BM_Direct2D_SS_1024x9(benchmark::State& state) { two_d<float>(state, 1024, 9, false); }

void BM_Direct1D_SS_1e5x64(benchmark::State& state) {
    if (!__builtin_cpu_supports("avx512f")) {  // the loops' object is built for it
        state.SkipWithError("no AVX-512");
        return;
    }
    const int32_t n = 100000, k = 64, nz = n + k - 1;
    const auto x = random_array<float>(n, 3);
    const auto y = random_array<float>(k, 4);
    std::vector<float> z(nz), w(static_cast<std::size_t>(nz) + 64);
    std::vector<float> xp(static_cast<std::size_t>(n + 2 * (k - 1) + 128), 0.0f);
    std::copy(x.begin(), x.end(), xp.begin() + (k - 1));
    RukTask* task = nullptr;
    rukNewTask(&task, RUK_JOB_CONV, 0, RUK_METHOD_DIRECT, 0, RUK_TYPE_SINGLE, 1, &n, &k, &nz);
    int32_t status = 0;
    const std::vector<xbench::Contender> all = {
        {"task", [&] { status |= rukExec(task, x.data(), nullptr, y.data(), nullptr, z.data(), nullptr); }},
        {"sse_loop", [&] { xbench::sse_1d(xp.data(), y.data(), k, nz, w.data()); }},
        {"avx_loop", [&] { xbench::avx_1d(xp.data(), y.data(), k, nz, w.data()); }}};
    xbench::rounds(state, static_cast<std::size_t>(nz), all);
    rukDeleteTask(&task);
    if (status != 0) state.SkipWithError("task failed");
}

BENCHMARK(BM_Direct2D_DD_512x31)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Direct2D_DD_512x31_narrow)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Direct2D_SS_1024x9)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Direct1D_SS_1e5x64)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
