// Test signals for the signal layer: uniform values in [-1, 1) from a fixed
// seed.  Header-only, so the benchmarks can share it.
#pragma once

#include <cstddef>
#include <random>
#include <vector>

namespace xt {

inline std::vector<float> uniform_signal(std::size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<float> u(-1.0f, 1.0f);
    std::vector<float> x(n);
    for (auto& v : x) v = u(gen);
    return x;
}

}  // namespace xt
