// Paired timing: each iteration runs our kernel and the peer on the same
// data, back to back, and the benchmark reports their time ratio as the
// counter "ratio" (ours / peer; below 1 means xebruk is faster).  Running
// both in one loop keeps them under the same machine conditions.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace xbench {

template <class Ours, class Peer>
void paired(benchmark::State& state, Ours ours, Peer peer) {
    using clock = std::chrono::steady_clock;
    double t_ours = 0, t_peer = 0;
    for (auto _ : state) {
        const auto t0 = clock::now();
        ours();
        const auto t1 = clock::now();
        peer();
        const auto t2 = clock::now();
        t_ours += std::chrono::duration<double>(t1 - t0).count();
        t_peer += std::chrono::duration<double>(t2 - t1).count();
    }
    state.counters["ratio"] = t_peer > 0 ? t_ours / t_peer : 0;
    state.counters["ours_ns"] = benchmark::Counter(t_ours * 1e9 / static_cast<double>(state.iterations()));
    state.counters["peer_ns"] = benchmark::Counter(t_peer * 1e9 / static_cast<double>(state.iterations()));
}

// Several implementations of one job timed in turn: each iteration runs
// every one of them, in a rotating order (so none is always first), each
// repeated to about 50 us of work and timed by this thread's CPU clock, so
// that time the scheduler gives to other processes is not counted.
// Reports per element of `count`: "<name>_ns" for each, and
// "<first>/<name>" for each other: the first's (ours) time over theirs.
struct Contender {
    const char* name;
    std::function<void()> run;
};

inline double thread_seconds() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

inline void rounds(benchmark::State& state, std::size_t count, const std::vector<Contender>& all) {
    const std::size_t reps = count >= 20000 ? 1 : 20000 / count;
    std::vector<double> seconds(all.size(), 0.0);
    std::size_t turn = 0;
    for (auto _ : state) {
        for (std::size_t k = 0; k < all.size(); ++k) {
            const std::size_t j = (turn + k) % all.size();
            const double t0 = thread_seconds();
            for (std::size_t r = 0; r < reps; ++r) {
                all[j].run();
                benchmark::ClobberMemory();
            }
            seconds[j] += thread_seconds() - t0;
        }
        ++turn;
    }
    const double per = 1e9 / (static_cast<double>(state.iterations() * reps) * static_cast<double>(count));
    for (std::size_t j = 0; j < all.size(); ++j) {
        state.counters[std::string(all[j].name) + "_ns"] = seconds[j] * per;
        if (j > 0 && seconds[j] > 0)
            state.counters[std::string(all[0].name) + "/" + all[j].name] = seconds[0] / seconds[j];
    }
}

// Paired fills of count elements of T: ours(r, count) fills an array in
// one call, peer() gives one element per call.
template <class T, class Ours, class Peer>
void paired_fill(benchmark::State& state, int count, Ours ours, Peer peer) {
    std::vector<T> r(static_cast<std::size_t>(count)), p(r.size());
    paired(
        state,
        [&] {
            ours(r.data(), count);
            benchmark::DoNotOptimize(r.data());
        },
        [&] {
            for (auto& v : p) v = peer();
            benchmark::DoNotOptimize(p.data());
        });
    state.SetItemsProcessed(state.iterations() * count);
}

}  // namespace xbench
