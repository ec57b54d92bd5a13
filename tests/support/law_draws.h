// Helpers of the law suites: draws on fresh streams, a scripted generator
// whose numbers, statuses and calls a test sets and reads, and the report
// of a chi-square test.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "support/chi_square.h"
#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace xt {

using Ints = std::vector<int32_t>;

inline void new_stream(StreamHandle& h, int32_t id, uint32_t seed) {
    ASSERT_EQ(rukNewStreamEx(h.out(), id, 1, &seed), RUK_OK);
}

// n values of a law (method 0) drawn on a fresh stream.
template <class... P, class... A>
Ints draw(int32_t id, uint32_t seed, std::size_t n,
          int32_t (*law)(int32_t, RukStream*, int32_t, int32_t*, P...), A... args) {
    StreamHandle h;
    new_stream(h, id, seed);
    Ints r(n);
    EXPECT_EQ(law(0, h.get(), static_cast<int32_t>(n), r.data(), args...), RUK_OK);
    return r;
}

// A registered generator that hands out a script: the numbers to return
// (used cyclically; as they stand whatever the interval, or, scaled, as
// uniforms on (0, 1) mapped onto the interval a call asks for), the status
// of each call (missing ones are 0), and a log of every call's count and
// element size (8 for a double kernel's call, 4 for a float's).
struct Script {
    std::vector<double> values;
    std::vector<int32_t> statuses;
    bool scaled = false;
    std::vector<int32_t> calls;
    std::vector<int> element_sizes;
    std::size_t next = 0;
};
inline Script script;
inline void reset_script(std::vector<double> values, std::vector<int32_t> statuses = {}, bool scaled = false) {
    script = Script{std::move(values), std::move(statuses), scaled, {}, {}, 0};
}
template <class T>
int32_t script_fill(RukStream*, int32_t n, T* r, T a, T b) {
    const std::size_t call = script.calls.size();
    script.calls.push_back(n);
    script.element_sizes.push_back(sizeof(T));
    for (int32_t i = 0; i < n; ++i) {
        const double v = script.values[script.next++ % script.values.size()];
        r[i] = static_cast<T>(script.scaled ? a + (b - a) * v : v);
    }
    return call < script.statuses.size() ? script.statuses[call] : RUK_OK;
}
inline int32_t script_init(int32_t, RukStream*, int32_t, const uint32_t*) { return RUK_OK; }
inline int32_t script_i(RukStream*, int32_t, void*) { return RUK_OK; }
inline void new_script_stream(StreamHandle& h) {
    static const int32_t id = [] {
        const RukBrngEntry row{
            24, 1, 1, 4, 32, script_init, script_fill<float>, script_fill<double>, script_i};
        return rukRegisterBrng(&row);
    }();
    ASSERT_EQ(rukNewStreamEx(h.out(), id, 0, nullptr), RUK_OK);
}

// Fails with the law's name unless the sample passes.
inline void expect_passes(const ChiSquare& res, const std::string& what) {
    EXPECT_TRUE(res.passes()) << what << ": chi2 " << res.statistic << " of " << res.critical << " over "
                              << res.cells << " cells, " << res.outside << " outside";
}

}  // namespace xt
