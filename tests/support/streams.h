// Helpers of the stream tests: a stream that deletes itself, and MCG31M1
// computed the plain way (64-bit product, remainder) as the reference.
#pragma once

#include <cstdint>
#include <vector>

#include "xebruk/rng_stream.h"

namespace xt {

class StreamHandle {
public:
    StreamHandle() = default;
    ~StreamHandle() {
        if (s_) rukDeleteStream(&s_);
    }
    StreamHandle(const StreamHandle&) = delete;
    StreamHandle& operator=(const StreamHandle&) = delete;
    RukStream** out() { return &s_; }
    RukStream* get() const { return s_; }
    RukStream* operator->() const { return s_; }
    // Gives up ownership (for streams freed another way).
    void release() { s_ = nullptr; }

private:
    RukStream* s_ = nullptr;
};

constexpr uint64_t kMcgModulus = 2147483647;  // 2^31 - 1
constexpr uint64_t kMcgMultiplier = 1132489760;

inline uint32_t mcg31m1_next(uint32_t x) {
    return static_cast<uint32_t>(x * kMcgMultiplier % kMcgModulus);
}

// x0, x1, ..., x[n-1] of the sequence that starts at x0.
inline std::vector<uint32_t> mcg31m1_sequence(uint32_t x0, std::size_t n) {
    std::vector<uint32_t> v(n);
    uint32_t x = x0;
    for (auto& e : v) {
        e = x;
        x = mcg31m1_next(x);
    }
    return v;
}

}  // namespace xt
