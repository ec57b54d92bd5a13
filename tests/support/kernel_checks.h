// Checks shared by the suites of the vector families: a kernel over a
// vector, distances in representable values, failure tables run alone and
// inside groups, and the independence of results and events from the way
// a call is split.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "accuracy/ulp.h"
#include "frame/bits.h"
#include "support/events.h"

namespace xt {

template <class T>
using Kernel = void (*)(int, const T*, T*);

template <class T>
std::vector<T> eval(Kernel<T> f, const std::vector<T>& a) {
    std::vector<T> r(a.size());
    f(static_cast<int>(a.size()), a.data(), r.data());
    return r;
}

template <class T>
T eval1(Kernel<T> f, T x) {
    return eval(f, std::vector<T>{x})[0];
}

constexpr int kNone = -100;  // no event expected

struct Row {
    double x;
    double want;  // NaN: a NaN; otherwise exact, or checked against ref when `computed`
    int code;     // kNone: no event
    bool computed = false;
};

// Runs each row alone (the one-element path) and inside a group of
// ordinary values (`filler`), and checks results and events.
template <class T>
void check_rows(Kernel<T> f, const char* name, long double (*ref)(long double), double bound,
                const std::vector<Row>& rows, T filler = T(0.5)) {
    for (const Row& row : rows) {
        for (int pos : {0, 1, 3}) {
            std::vector<T> a(5, filler);
            a[pos] = static_cast<T>(row.x);
            EventRecorder rec;
            const std::vector<T> r = eval(f, a);
            const T got = r[pos];
            if (std::isnan(row.want)) { EXPECT_TRUE(std::isnan(got)) << row.x; }
            else if (row.computed) EXPECT_LT(ulp_error(got, ref(static_cast<T>(row.x))), bound) << row.x;
            else EXPECT_EQ(xeb::bits(got), xeb::bits(static_cast<T>(row.want))) << row.x;
            if (row.code == kNone) {
                EXPECT_TRUE(rec.events().empty()) << row.x;
                continue;
            }
            ASSERT_EQ(rec.events().size(), 1u) << row.x;
            const Event& e = rec.events()[0];
            EXPECT_EQ(e.code, row.code) << row.x;
            EXPECT_EQ(e.index, pos);
            EXPECT_EQ(e.name, name);
            EXPECT_EQ(e.a, static_cast<double>(static_cast<T>(row.x)));
            if (!std::isnan(got)) { EXPECT_EQ(e.y, static_cast<double>(got)); }
            for (int j = 0; j < 5; ++j)
                if (j != pos) { EXPECT_EQ(r[j], eval1(f, filler)); }
        }
    }
}

// One call over a equals calls over pieces summing to its length: results
// bit for bit, events with the same codes in the same order at shifted
// indices (`events`: the call raises some).  In place on b: the results and events of separate arrays.  A
// count of zero or less writes nothing.
template <class T>
void check_pieces(Kernel<T> f, const std::vector<T>& a, std::vector<T> b, bool events_expected = true,
                  const std::vector<int>& pieces = {1, 2, 3, 5, 8, 13}) {
    EventRecorder rec;
    const std::vector<T> whole = eval(f, a);
    const std::vector<Event> whole_events = rec.events();
    EXPECT_EQ(whole_events.empty(), !events_expected);
    for (int piece : pieces) {
        std::vector<T> r(a.size());
        std::vector<Event> events;
        for (std::size_t i = 0; i < a.size(); i += piece) {
            rec.clear();
            f(static_cast<int>(std::min<std::size_t>(piece, a.size() - i)), a.data() + i, r.data() + i);
            for (Event e : rec.events()) {
                e.index += static_cast<int>(i);
                events.push_back(e);
            }
        }
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (std::isnan(whole[i])) { EXPECT_TRUE(std::isnan(r[i])); }
            else EXPECT_EQ(xeb::bits(whole[i]), xeb::bits(r[i])) << a[i] << " piece " << piece;
        }
        ASSERT_EQ(events.size(), whole_events.size()) << piece;
        for (std::size_t k = 0; k < events.size(); ++k) {
            EXPECT_EQ(events[k].code, whole_events[k].code);
            EXPECT_EQ(events[k].index, whole_events[k].index);
        }
    }
    rec.clear();
    const std::vector<T> want = eval(f, b);
    const std::size_t events = rec.events().size();
    f(static_cast<int>(b.size()), b.data(), b.data());
    for (std::size_t i = 0; i < b.size(); ++i)
        if (!std::isnan(want[i])) { EXPECT_EQ(xeb::bits(b[i]), xeb::bits(want[i])) << i; }
    EXPECT_EQ(rec.events().size(), 2 * events);
    T out = 7;
    f(0, a.data(), &out);
    f(-3, a.data(), &out);
    EXPECT_EQ(out, T(7));
}

}  // namespace xt
