#include "support/kernel_class.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "vecmath/kernel_table.h"

namespace xt {

std::vector<KernelClass> machine_classes() {
    std::vector<KernelClass> all;
    for (KernelClass c : {KernelClass::Baseline, KernelClass::Avx2, KernelClass::Avx512})
        if (c <= xeb::frame::machine_class()) all.push_back(c);
    return all;
}

ClassInUse::ClassInUse(KernelClass c) : saved_(xeb::frame::kernel_class()) {
    if (!xeb::vm::use_class(c)) ADD_FAILURE() << "this machine lacks class " << xeb::frame::class_name(c);
}
ClassInUse::~ClassInUse() { xeb::vm::use_class(saved_); }

namespace {

// A suite run for a class the machine lacks (the library fell back to
// another, with its line on stderr) has nothing to test.
class SkipWithoutTheClass : public ::testing::Environment {
public:
    void SetUp() override {
        const char* asked = std::getenv("XEBRUK_KERNEL_CLASS");
        if (asked != nullptr && asked[0] != '\0' &&
            std::strcmp(asked, xeb::frame::class_name(xeb::frame::kernel_class())) != 0)
            GTEST_SKIP() << "this machine lacks kernel class " << asked;
    }
};

[[maybe_unused]] ::testing::Environment* const registered =
    ::testing::AddGlobalTestEnvironment(new SkipWithoutTheClass);

}  // namespace

}  // namespace xt
