// Paired timing: each iteration runs our kernel and the peer on the same
// data, back to back, and the benchmark reports their time ratio as the
// counter "ratio" (ours / peer; below 1 means xebruk is faster).  Running
// both in one loop keeps them under the same machine conditions.
#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
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
