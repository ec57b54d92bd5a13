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

// A user generator for registration tests: a counter that hands out
// start, start + 1, ... from the one word after the header.  It skips ahead
// and has no leapfrog; its real kernels do nothing.
inline uint32_t& counter_word(RukStream* s) {
    return *reinterpret_cast<uint32_t*>(reinterpret_cast<unsigned char*>(s) + 16);
}
inline int32_t counter_init(int32_t method, RukStream* s, int32_t n, const uint32_t* params) {
    if (method == RUK_INIT_NEW)
        counter_word(s) = n > 0 ? params[0] : 0;
    else if (method == RUK_INIT_SKIPAHEAD)
        counter_word(s) += static_cast<uint32_t>(n);
    else
        return RUK_ERROR_NO_LEAPFROG;
    return RUK_OK;
}
inline int32_t counter_ikernel(RukStream* s, int32_t n, void* r) {
    for (int32_t i = 0; i < n; ++i) static_cast<uint32_t*>(r)[i] = counter_word(s)++;
    return RUK_OK;
}
inline int32_t counter_dkernel(RukStream*, int32_t, double*, double, double) { return RUK_OK; }
inline int32_t counter_skernel(RukStream*, int32_t, float*, float, float) { return RUK_OK; }
// Its row, with a stream of streamSize bytes.
inline RukBrngEntry counter_row(int32_t streamSize = 20) {
    return {streamSize, 1, 1, 4, 32, counter_init, counter_skernel, counter_dkernel,
            counter_ikernel};
}

}  // namespace xt
