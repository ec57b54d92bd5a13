// Every kernel of the accuracy table, measured in ulps against a reference
// of higher precision over every binade of its ranges, in the kernel class
// in use (CTest runs this suite once per class); and the same sweeps give
// the same bits in the AVX2 and AVX-512 classes.
#include <gtest/gtest.h>

#include "support/accuracy.h"
#include "support/kernel_class.h"
#include "support/scale.h"

namespace {

class Accuracy : public ::testing::TestWithParam<std::size_t> {};

// The baseline run measures every row; the other classes' runs the rows of
// kernels with class code (the rest run the baseline's code in every class).
TEST_P(Accuracy, WithinBound) {
    const xt::KernelAccuracy& k = xt::accuracy_table()[GetParam()];
    if (xeb::frame::kernel_class() != xt::KernelClass::Baseline && k.class_bound_ulp == 0)
        GTEST_SKIP() << "the baseline's code, measured in the baseline run";
    const xt::Measurement m = xt::measure(k, xt::scaled(200000), GetParam() + 1);
    EXPECT_LT(m.max_ulp, xt::bound_in_use(k)) << k.name << " worst at a=" << m.worst_a << " b=" << m.worst_b;
    RecordProperty("max_ulp", std::to_string(m.max_ulp));
}

std::string kernel_name(const ::testing::TestParamInfo<std::size_t>& info) {
    return xt::accuracy_table()[info.param].name;
}

INSTANTIATE_TEST_SUITE_P(Table, Accuracy,
                         ::testing::Range<std::size_t>(0, xt::accuracy_table().size()), kernel_name);

// Once, in the AVX-512 run: every row with class code, the same sweeps.
TEST(ClassAccuracy, SameBitsInAvx2AndAvx512) {
    if (xeb::frame::kernel_class() != xt::KernelClass::Avx512) GTEST_SKIP() << "runs in the AVX-512 class";
    for (std::size_t i = 0; i < xt::accuracy_table().size(); ++i) {
        const xt::KernelAccuracy& k = xt::accuracy_table()[i];
        if (k.class_bound_ulp == 0) continue;
        uint64_t hash[2];
        for (int c = 0; c < 2; ++c) {
            xt::ClassInUse in_use(c == 0 ? xt::KernelClass::Avx2 : xt::KernelClass::Avx512);
            hash[c] = xt::measure(k, xt::scaled(200000), i + 1).results_hash;
        }
        EXPECT_EQ(hash[0], hash[1]) << k.name;
    }
}

}  // namespace
