// xebruk info: what this build is and what it offers.
#include <cpuid.h>

#include <cstdio>
#include <string>

#include "catalogue.h"
#include "commands.h"
#include "xebruk/xebruk.h"

namespace cli {

namespace {

std::string cpu_features() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    std::string out;
    if (__get_cpuid(1, &a, &b, &c, &d)) {
        if (d & 1u) out += " x87";  // CPUID.1:EDX bit 0
        if (d & bit_SSE) out += " sse";
        if (d & bit_SSE2) out += " sse2";
        if (c & bit_SSE3) out += " sse3";
        if (c & bit_SSE4_1) out += " sse4.1";
        if (c & bit_SSE4_2) out += " sse4.2";
        if (c & bit_FMA) out += " fma";
        if (c & bit_AVX) out += " avx";
    }
    if (__get_cpuid_count(7, 0, &a, &b, &c, &d)) {
        if (b & bit_AVX2) out += " avx2";
        if (b & bit_AVX512F) out += " avx512f";
    }
    return out.empty() ? " (none detected)" : out;
}

}  // namespace

int info(const Args& args) {
    if (!args.empty()) return usage_error("info takes no arguments");
    std::printf("xebruk %s\n", XEBRUK_VERSION_STRING);
    static const char* const classes[] = {"baseline", "avx2", "avx512"};
    const int32_t in_use = xebGetKernelClass();
    std::printf("processor class: %u\n", dll_cpu_version());
    std::printf("kernel class: %s\n", in_use >= 0 && in_use <= 2 ? classes[in_use] : "unknown");
    std::printf("cpu features:%s\n", cpu_features().c_str());
    std::printf("mode word of this thread: 0x%04X\n", xebGetMode());
    std::printf("vector kernels (%zu):\n", catalogue().size());
    for (const KernelEntry& k : catalogue()) std::printf("  %-14s %s\n", k.exported, k.short_name);
    return 0;
}

}  // namespace cli
