// Kernel classes: the choice at load from the machine and
// XEBRUK_KERNEL_CLASS and the tables behind the exported names (the laws
// following the class: their frozen streams per class set).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "catalogue/vector_kernels.h"
#include "support/events.h"
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

// Arguments that between them raise every event of every family: poles,
// domain faults, overflow and underflow (a and b paired by index; Powx
// takes b[0] for every element).
const double kEventA[] = {2.0, -1.0, 0.0, -0.0, 1000.0, -1000.0, 30.0, 1.0, 0.0, 2.0, 2.0, INFINITY, -INFINITY};
const double kEventB[] = {0.0, 0.5, -1.0, 1.0, 2.0, 2.0, 2.0, 0.0, -3.0, 5000.0, -5000.0, 1.0, 1.0};
constexpr int kEventN = sizeof kEventA / sizeof kEventA[0];

template <class T>
std::vector<xt::Event> events_of(const xeb::catalogue::VectorKernel& k) {
    T a[kEventN], b[kEventN], y[kEventN], z[kEventN];
    for (int i = 0; i < kEventN; ++i) a[i] = static_cast<T>(kEventA[i]), b[i] = static_cast<T>(kEventB[i]);
    if (k.shape == xeb::catalogue::Shape::ScalarArgument) b[0] = static_cast<T>(-1.5);
    xt::EventRecorder rec;
    k.run<T>(kEventN, a, b, y, z);
    return rec.events();
}
std::vector<xt::Event> events_of(const xeb::catalogue::VectorKernel& k) {
    return k.precision == 'd' ? events_of<double>(k) : events_of<float>(k);
}

// The name a row's events carry in the class in use, given the one they
// carry in the baseline: the same, but for a lower form the baseline runs as
// its _HA kernel and the classes with code of their own (a catalogue row
// with a bound), which names itself there.
std::string class_name_of(const xeb::catalogue::VectorKernel& k, const std::string& in_baseline) {
    if (const xeb::catalogue::VectorKernel* target = xeb::catalogue::forward_target(k))
        return class_name_of(*target, in_baseline);
    const bool own_class_code = k.form != "HA" && in_baseline == "_" + k.front_end() + "_HA";
    return xeb::frame::kernel_class() != kBase && own_class_code ? "_" + k.name : in_baseline;
}

// Every export raises, in the class in use, the baseline's events (code,
// index, order) under the baseline's name: a lower form the classes run as
// their _HA kernel keeps the name of its own code in the baseline.  And a
// forwarder's events are those of the row it names, in every class.
TEST(KernelClass, EveryExportRaisesTheBaselinesEventsUnderItsName) {
    int rows_with_events = 0;
    for (const xeb::catalogue::VectorKernel& k : xeb::catalogue::vector_kernels()) {
        const std::vector<xt::Event> got = events_of(k);
        std::vector<xt::Event> base;
        {
            xt::ClassInUse baseline(kBase);
            base = events_of(k);
        }
        // The classes raise in ascending order of index, where the baseline's
        // single InvSqrt reports a group's poles first.
        if (xeb::frame::kernel_class() != kBase)
            std::stable_sort(base.begin(), base.end(), [](const auto& x, const auto& y) { return x.index < y.index; });
        rows_with_events += !base.empty();
        ASSERT_EQ(got.size(), base.size()) << k.name;
        for (std::size_t e = 0; e < got.size(); ++e) {
            EXPECT_EQ(got[e].code, base[e].code) << k.name << " event " << e;
            EXPECT_EQ(got[e].index, base[e].index) << k.name << " event " << e;
            EXPECT_EQ(got[e].name, class_name_of(k, base[e].name)) << k.name << " index " << got[e].index;
        }
        if (const xeb::catalogue::VectorKernel* target = xeb::catalogue::forward_target(k)) {
            const std::vector<xt::Event> of_target = events_of(*target);
            ASSERT_EQ(got.size(), of_target.size()) << k.name;
            for (std::size_t e = 0; e < got.size(); ++e) EXPECT_EQ(got[e].name, of_target[e].name) << k.name;
        }
    }
    EXPECT_GT(rows_with_events, 100);  // against arguments that raise nothing
}

}  // namespace
