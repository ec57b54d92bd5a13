// Which kernel class the processor runs, and which one is in use.
#include "frame/kernel_class.h"

#include <cpuid.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "frame/fpu.h"

namespace xeb::frame {

namespace {

// XCR0 bits of the register state the operating system saves and restores.
constexpr uint64_t kXcrSseAvx = 0x06;     // XMM and the upper halves of YMM
constexpr uint64_t kXcrAvx512 = 0xE0;     // opmask, upper halves of ZMM0-15, ZMM16-31

KernelClass detect() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (!__get_cpuid(1, &a, &b, &c, &d)) return KernelClass::Baseline;
    if (!(c & bit_OSXSAVE) || !(c & bit_AVX) || !(c & bit_FMA)) return KernelClass::Baseline;
    const uint64_t xcr0 = fpu::xgetbv0();
    if ((xcr0 & kXcrSseAvx) != kXcrSseAvx) return KernelClass::Baseline;
    if (!__get_cpuid_count(7, 0, &a, &b, &c, &d) || !(b & bit_AVX2)) return KernelClass::Baseline;
    const unsigned avx512 = bit_AVX512F | bit_AVX512DQ | bit_AVX512VL;
    if ((b & avx512) == avx512 && (xcr0 & kXcrAvx512) == kXcrAvx512) return KernelClass::Avx512;
    return KernelClass::Avx2;
}

KernelClass g_in_use = KernelClass::Baseline;
bool g_chosen = false;

}  // namespace

const char* class_name(KernelClass c) {
    switch (c) {
    case KernelClass::Avx2: return "avx2";
    case KernelClass::Avx512: return "avx512";
    default: return "baseline";
    }
}

KernelClass machine_class() {
    static const KernelClass best = detect();
    return best;
}

KernelClass choose_class(KernelClass best, const char* request, char* note, std::size_t size) {
    if (size > 0) note[0] = '\0';
    if (request == nullptr || request[0] == '\0') return best;
    for (KernelClass c : {KernelClass::Baseline, KernelClass::Avx2, KernelClass::Avx512}) {
        if (std::strcmp(request, class_name(c)) != 0) continue;
        if (c <= best) return c;
        std::snprintf(note, size, "xebruk: XEBRUK_KERNEL_CLASS=%s: this processor lacks it; using %s",
                      request, class_name(best));
        return best;
    }
    std::snprintf(note, size, "xebruk: XEBRUK_KERNEL_CLASS=%.40s is not baseline, avx2 or avx512; using %s",
                  request, class_name(best));
    return best;
}

KernelClass kernel_class() {
    if (!g_chosen) {
        char note[160];
        g_in_use = choose_class(machine_class(), std::getenv("XEBRUK_KERNEL_CLASS"), note, sizeof note);
        if (note[0] != '\0') std::fprintf(stderr, "%s\n", note);
        g_chosen = true;
    }
    return g_in_use;
}

void set_kernel_class(KernelClass c) {
    g_in_use = c;
    g_chosen = true;
}

}  // namespace xeb::frame

extern "C" int32_t xebGetKernelClass(void) { return static_cast<int32_t>(xeb::frame::kernel_class()); }
