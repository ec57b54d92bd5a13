#include "support/script.h"

#include <gtest/gtest.h>

#include <utility>

namespace xt {
namespace {

template <class T>
int32_t script_fill(RukStream*, int32_t n, T* r, T a, T b) {
    Script& s = script;
    const std::size_t call = s.calls.size();
    s.calls.push_back(n);
    for (int32_t i = 0; i < n; ++i) {
        const double v = s.values[s.next++ % s.values.size()];
        r[i] = static_cast<T>(s.as_is ? v : a + (b - a) * v);
    }
    return call < s.statuses.size() ? s.statuses[call] : 0;
}
int32_t script_init(int32_t, RukStream*, int32_t, const uint32_t*) { return RUK_OK; }
int32_t script_words(RukStream*, int32_t, void*) { return RUK_OK; }

}  // namespace

void reset_script(std::vector<double> values, std::vector<int32_t> statuses, bool as_is) {
    script = Script{std::move(values), std::move(statuses), {}, as_is, 0};
}

void new_script_stream(StreamHandle& h) {
    static const int32_t id = [] {
        const RukBrngEntry row{24, 1, 1, 4, 32, script_init, script_fill<float>, script_fill<double>, script_words};
        return rukRegisterBrng(&row);
    }();
    ASSERT_EQ(rukNewStreamEx(h.out(), id, 0, nullptr), RUK_OK);
}

}  // namespace xt
