// A registered generator that hands out a script, for the laws' tests of
// draw counts, statuses and chosen values: the numbers to return (used
// cyclically; as uniforms on (0, 1) scaled to the interval a call asks
// for, or raw), the status of each call (missing ones are 0), and a log of
// every call's count and element size.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "support/streams.h"
#include "xebruk/rng_stream.h"

namespace xt {

struct Script {
    std::vector<double> values;
    std::vector<int32_t> statuses;
    bool raw = false;
    std::vector<int32_t> calls;      // the count of each call
    std::vector<int> element_sizes;  // 8 for a double kernel's call, 4 for a float's
    std::size_t next = 0;
};
inline Script script;

inline void reset_script(std::vector<double> values, std::vector<int32_t> statuses = {}, bool raw = false) {
    script = Script{std::move(values), std::move(statuses), raw, {}, {}, 0};
}

template <class T>
int32_t script_fill(RukStream*, int32_t n, T* r, T a, T b) {
    const std::size_t call = script.calls.size();
    script.calls.push_back(n);
    script.element_sizes.push_back(sizeof(T));
    for (int32_t i = 0; i < n; ++i) {
        const double v = script.values[script.next++ % script.values.size()];
        r[i] = static_cast<T>(script.raw ? v : a + (b - a) * v);
    }
    return call < script.statuses.size() ? script.statuses[call] : 0;
}
inline int32_t script_init(int32_t, RukStream*, int32_t, const uint32_t*) { return RUK_OK; }
inline int32_t script_words(RukStream*, int32_t, void*) { return RUK_OK; }

inline int32_t open_script_stream(StreamHandle& h) {
    static const int32_t id = [] {
        const RukBrngEntry row{24, 1, 1, 4, 32, script_init, script_fill<float>, script_fill<double>, script_words};
        return rukRegisterBrng(&row);
    }();
    return rukNewStreamEx(h.out(), id, 0, nullptr);
}

}  // namespace xt
