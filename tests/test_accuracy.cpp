// Every kernel of the accuracy table, measured in ulps against a reference
// of higher precision over every binade of its ranges.
#include <gtest/gtest.h>

#include "support/accuracy.h"
#include "support/scale.h"

namespace {

class Accuracy : public ::testing::TestWithParam<std::size_t> {};

TEST_P(Accuracy, WithinBound) {
    const xt::KernelAccuracy& k = xt::accuracy_table()[GetParam()];
    const xt::Measurement m = xt::measure(k, xt::scaled(200000), GetParam() + 1);
    EXPECT_LT(m.max_ulp, k.bound_ulp) << k.name << " worst at a=" << m.worst_a << " b=" << m.worst_b;
    RecordProperty("max_ulp", std::to_string(m.max_ulp));
}

std::string kernel_name(const ::testing::TestParamInfo<std::size_t>& info) {
    return xt::accuracy_table()[info.param].name;
}

INSTANTIATE_TEST_SUITE_P(Table, Accuracy,
                         ::testing::Range<std::size_t>(0, xt::accuracy_table().size()), kernel_name);

}  // namespace
