// One call over a whole array against calls over pieces of it: the same
// result bits and the same events (codes, indices shifted by each piece's
// start, order).
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "frame/bits.h"
#include "support/events.h"

namespace xt {

using CodesAndIndices = std::vector<std::pair<int, int>>;

inline CodesAndIndices codes_and_indices(const EventRecorder& rec) {
    CodesAndIndices v;
    for (const auto& e : rec.events()) v.push_back({e.code, e.index});
    return v;
}

// call(start, count, out) runs the kernel on elements start .. start+count-1
// into out + start; pieces have lengths 1, 2, ..., max_piece, 1, ...
template <class T, class Call>
void expect_split_independent(int n, Call call, int max_piece = 7) {
    std::vector<T> whole(n), part(n);
    EventRecorder rec;
    call(0, n, whole.data());
    const CodesAndIndices whole_events = codes_and_indices(rec);
    CodesAndIndices part_events;
    for (int start = 0, len = 1; start < n; start += len, len = len % max_piece + 1) {
        rec.clear();
        call(start, std::min(len, n - start), part.data());
        for (auto [c, i] : codes_and_indices(rec)) part_events.push_back({c, i + start});
    }
    EXPECT_EQ(part_events, whole_events);
    for (int i = 0; i < n; ++i) EXPECT_EQ(xeb::bits(whole[i]), xeb::bits(part[i])) << "element " << i;
}

}  // namespace xt
