#include "accuracy/sampling.h"

#include <cstring>

namespace xt {

namespace {

template <class T, class U>
std::vector<T> sample_bits(const Range& r, std::size_t count, std::mt19937_64& rng) {
    auto bits_of = [](T v) {
        U u;
        std::memcpy(&u, &v, sizeof u);
        return u;
    };
    std::uniform_int_distribution<U> pick(bits_of(static_cast<T>(r.lo)), bits_of(static_cast<T>(r.hi)));
    std::vector<T> out(count);
    for (auto& v : out) {
        U u = pick(rng);
        if (r.both_signs && (rng() & 1)) u |= U(1) << (sizeof(U) * 8 - 1);
        std::memcpy(&v, &u, sizeof v);
    }
    return out;
}

}  // namespace

std::vector<double> sample(const Range& r, std::size_t count, std::mt19937_64& rng) {
    return sample_bits<double, uint64_t>(r, count, rng);
}

std::vector<float> sample_float(const Range& r, std::size_t count, std::mt19937_64& rng) {
    return sample_bits<float, uint32_t>(r, count, rng);
}

std::mt19937_64 seeded(uint64_t salt) { return std::mt19937_64(0x5EB0C0FFEEull ^ (salt * 0x9E3779B97F4A7C15ull)); }

}  // namespace xt
