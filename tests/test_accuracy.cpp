// Every row of the vector kernel catalogue, in the kernel class in use
// (CTest runs this suite once per class): a kernel with code of its own is
// measured in ulps against a reference of higher precision over every
// binade of its intervals; a kernel that forwards gives the bits of the
// kernel it names, on that kernel's intervals.  The baseline run takes every
// row, the other classes' runs the rows of kernels with class code (the
// rest run the baseline's code in every class).  And the AVX2 and AVX-512
// classes give the same bits over every sweep.
#include <gtest/gtest.h>

#include <cstring>

#include "accuracy/measure.h"
#include "accuracy/sampling.h"
#include "catalogue/vector_kernels.h"
#include "support/kernel_class.h"
#include "support/scale.h"
#include "xebruk/frame.h"

namespace {

using xeb::catalogue::Shape;
using xeb::catalogue::VectorKernel;

bool simd_class() { return xeb::frame::kernel_class() != xt::KernelClass::Baseline; }

// Whether the class in use has code of its own for the row (or the row it names).
bool runs_here(const VectorKernel& k) {
    const VectorKernel* target = xeb::catalogue::forward_target(k);
    return !simd_class() || (target ? target : &k)->simd_bound_ulp > 0;
}

std::vector<std::size_t> rows(bool forwarding) {
    std::vector<std::size_t> out;
    const auto& all = xeb::catalogue::vector_kernels();
    for (std::size_t i = 0; i < all.size(); ++i)
        if ((all[i].forwards_to != nullptr) == forwarding) out.push_back(i);
    return out;
}

std::string kernel_name(const ::testing::TestParamInfo<std::size_t>& info) {
    return xeb::catalogue::vector_kernels()[info.param].name;
}

class Accuracy : public ::testing::TestWithParam<std::size_t> {};

TEST_P(Accuracy, WithinBound) {
    const VectorKernel& k = xeb::catalogue::vector_kernels()[GetParam()];
    if (!runs_here(k)) GTEST_SKIP() << "the baseline's code, measured in the baseline run";
    const xt::Measurement m = xt::measure(k, xt::scaled(200000), xt::seed_of(k.name));
    EXPECT_LT(m.max_ulp, k.bound_for(simd_class())) << k.name << " worst at a=" << m.worst_a << " b=" << m.worst_b;
    RecordProperty("max_ulp", std::to_string(m.max_ulp));
}

INSTANTIATE_TEST_SUITE_P(Catalogue, Accuracy, ::testing::ValuesIn(rows(false)), kernel_name);

template <class T>
void expect_same_bits(const VectorKernel& k, const VectorKernel& target, std::mt19937_64& rng) {
    const std::size_t n = xt::scaled(20000);
    const std::vector<double> scalars = target.scalars.empty() ? std::vector<double>{0} : target.scalars;
    for (std::size_t ri = 0; ri < target.a.size(); ++ri)
        for (double s : scalars) {
            const xt::Range& rb = target.b.empty() ? target.a[ri] : target.b[ri % target.b.size()];
            std::vector<T> a, b;
            if constexpr (sizeof(T) == 8) a = xt::sample(target.a[ri], n, rng), b = xt::sample(rb, n, rng);
            else a = xt::sample_float(target.a[ri], n, rng), b = xt::sample_float(rb, n, rng);
            if (k.shape == Shape::ScalarArgument) b.assign(n, static_cast<T>(s));
            std::vector<T> y(n), z(n), ty(n), tz(n);
            k.run<T>(static_cast<int>(n), a.data(), b.data(), y.data(), z.data());
            target.run<T>(static_cast<int>(n), a.data(), b.data(), ty.data(), tz.data());
            EXPECT_EQ(std::memcmp(y.data(), ty.data(), n * sizeof(T)), 0) << k.name << ", interval " << ri;
            EXPECT_EQ(std::memcmp(z.data(), tz.data(), n * sizeof(T)), 0) << k.name << ", interval " << ri;
        }
}

class Forwarding : public ::testing::TestWithParam<std::size_t> {};

TEST_P(Forwarding, SameBitsAsTheKernelItNames) {
    const VectorKernel& k = xeb::catalogue::vector_kernels()[GetParam()];
    const VectorKernel* target = xeb::catalogue::forward_target(k);
    ASSERT_NE(target, nullptr);
    if (!runs_here(k)) GTEST_SKIP() << "the baseline's code, checked in the baseline run";
    const uint32_t old_mode = xebSetMode(XEB_REPORT_NONE);
    std::mt19937_64 rng = xt::seeded(xt::seed_of(k.name));
    if (k.precision == 'd') expect_same_bits<double>(k, *target, rng);
    else expect_same_bits<float>(k, *target, rng);
    xebSetMode(old_mode & XEB_REPORT_MASK);
}

INSTANTIATE_TEST_SUITE_P(Catalogue, Forwarding, ::testing::ValuesIn(rows(true)), kernel_name);

// Once, in the AVX-512 run: every row with class code, the same sweeps.
TEST(ClassAccuracy, SameBitsInAvx2AndAvx512) {
    if (xeb::frame::kernel_class() != xt::KernelClass::Avx512) GTEST_SKIP() << "runs in the AVX-512 class";
    for (const VectorKernel& k : xeb::catalogue::vector_kernels()) {
        if (k.forwards_to != nullptr || k.simd_bound_ulp == 0) continue;
        uint64_t hash[2];
        for (int c = 0; c < 2; ++c) {
            xt::ClassInUse in_use(c == 0 ? xt::KernelClass::Avx2 : xt::KernelClass::Avx512);
            hash[c] = xt::measure(k, xt::scaled(200000), xt::seed_of(k.name)).results_hash;
        }
        EXPECT_EQ(hash[0], hash[1]) << k.name;
    }
}

}  // namespace
