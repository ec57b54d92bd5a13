// Kernel classes: the choice at load from the machine and
// XEBRUK_KERNEL_CLASS and the tables behind the exported names (the laws
// following the class: their frozen streams per class set).
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/kernel_class.h"
#include "vecmath/kernel_table.h"
#include "xebruk/xebruk.h"

namespace {

using xt::KernelClass;
constexpr KernelClass kBase = KernelClass::Baseline, kAvx2 = KernelClass::Avx2, kAvx512 = KernelClass::Avx512;

TEST(KernelClass, ChoiceFromTheMachineAndTheVariable) {
    const struct {
        KernelClass best;
        const char* request;
        KernelClass want;
        const char* note;  // a piece of the stderr line, or "" for none
    } rows[] = {
        {kAvx512, nullptr, kAvx512, ""},         {kAvx512, "", kAvx512, ""},
        {kAvx512, "baseline", kBase, ""},        {kAvx512, "avx2", kAvx2, ""},
        {kAvx512, "avx512", kAvx512, ""},        {kAvx2, "avx2", kAvx2, ""},
        {kAvx2, "avx512", kAvx2, "avx512: this processor lacks it; using avx2"},
        {kBase, "avx2", kBase, "lacks it; using baseline"},
        {kAvx512, "AVX2", kAvx512, "AVX2 is not baseline, avx2 or avx512; using avx512"},
        {kAvx2, "avx2 ", kAvx2, "is not"},
    };
    for (const auto& r : rows) {
        char note[160] = "untouched";
        EXPECT_EQ(xeb::frame::choose_class(r.best, r.request, note, sizeof note), r.want) << r.request;
        if (r.note[0] == '\0') { EXPECT_STREQ(note, "") << r.request; }
        else EXPECT_NE(std::strstr(note, r.note), nullptr) << note;
    }
}

TEST(KernelClass, InUseIsTheOneAskedWhereTheMachineHasIt) {
    const char* asked = std::getenv("XEBRUK_KERNEL_CLASS");
    const std::string name = xeb::frame::class_name(xeb::frame::kernel_class());
    if (asked != nullptr && asked[0] != '\0') { EXPECT_EQ(name, asked); }  // else skipped by the support
    else EXPECT_EQ(xeb::frame::kernel_class(), xeb::frame::machine_class());
    EXPECT_EQ(xebGetKernelClass(), static_cast<int32_t>(xeb::frame::kernel_class()));
    EXPECT_EQ(dll_cpu_version(), 1u);
}

// The exported names call the table of the class in use; each class has
// its own code for the kernels it covers.
TEST(KernelClass, ExportedNamesFollowTheSwitch) {
    const std::vector<KernelClass> all = xt::machine_classes();
    for (KernelClass c : all) {
        xt::ClassInUse in_use(c);
        EXPECT_EQ(xeb::vm::active.dLn_HA, xeb::vm::class_table(c)->dLn_HA);
        EXPECT_EQ(xebGetKernelClass(), static_cast<int32_t>(c));
        if (c != kBase) { EXPECT_NE(xeb::vm::active.sExp_HA, xeb::vm::class_table(kBase)->sExp_HA); }
    }
    if (all.size() == 3) { EXPECT_NE(xeb::vm::class_table(kAvx2)->dExp_HA, xeb::vm::class_table(kAvx512)->dExp_HA); }
}

}  // namespace
