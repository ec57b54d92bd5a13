// Helpers of the discrete-law suites: draws on fresh streams, the scripted
// generator of support/script.h, and the report of a chi-square test.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "support/chi_square.h"
#include "support/script.h"
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

// Fails with the law's name unless the sample passes.
inline void expect_passes(const ChiSquare& res, const std::string& what) {
    EXPECT_TRUE(res.passes()) << what << ": chi2 " << res.statistic << " of " << res.critical << " over "
                              << res.cells << " cells, " << res.outside << " outside";
}

}  // namespace xt
