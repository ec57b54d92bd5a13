// xebruk info: what this build is and what it offers.
#include <cpuid.h>

#include <cstdio>
#include <string>

#include "catalogue/vector_kernels.h"
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

// The three fields of a mode word in words.
std::string describe_mode(unsigned mode) {
    const unsigned acc = mode & XEB_ACC_MASK, fpu = mode & XEB_FPU_MASK, rep = mode & XEB_REPORT_MASK;
    std::string s = acc == XEB_ACC_HA   ? "accuracy HA"
                    : acc == XEB_ACC_LA ? "accuracy LA"
                    : acc == XEB_ACC_EP ? "accuracy EP"
                                        : "accuracy field " + std::to_string(acc);
    s += fpu == 0                    ? "; control words as the thread has them"
         : fpu == XEB_FPU_NARROW     ? "; control words forced, x87 at 53 bits"
         : fpu == XEB_FPU_WIDE       ? "; control words forced, x87 at 64 bits"
         : fpu == XEB_FPU_RESTORE    ? "; control words put back"
                                     : "; control field " + std::to_string(fpu >> 4);
    if (rep == XEB_REPORT_NONE) return s + "; events not reported";
    s += "; events reported to";
    if (rep & XEB_REPORT_ERRNO) s += " errno";
    if (rep & XEB_REPORT_STDERR) s += " stderr";
    if (rep & XEB_REPORT_TRAP) s += " exception-flags";
    if (rep & XEB_REPORT_CALLBACK) s += " callback";
    return s;
}

}  // namespace

int info(const Args& args) {
    if (wants_help(args)) {
        std::puts("usage: xebruk info\n  the version, the processor class and features, the kernel class in use,\n"
                  "  the mode word and the vector kernels of this build; takes no arguments");
        return 0;
    }
    if (!args.empty()) return usage_error("info takes no arguments");
    std::printf("xebruk %s\n", XEBRUK_VERSION_STRING);
    std::printf("processor class: %u  (dll_cpu_version: the class of processors this build's kernels\n"
                "                     are made for; 1 is any x86-64 with the x87 and SSE2)\n",
                dll_cpu_version());
    static const char* const classes[] = {"baseline", "avx2", "avx512"};
    const int32_t in_use = xebGetKernelClass();
    std::printf("kernel class: %s  (the instruction set of the vector kernels in use; "
                "XEBRUK_KERNEL_CLASS forces a narrower one)\n",
                in_use >= 0 && in_use <= 2 ? classes[in_use] : "unknown");
    std::printf("cpu features:%s\n", cpu_features().c_str());
    const unsigned mode = xebGetMode();
    std::printf("mode word of this thread: 0x%04X  (%s)\n", mode, describe_mode(mode).c_str());
    const auto& kernels = xeb::catalogue::vector_kernels();
    std::printf("vector kernels (%zu; a lower form may forward to another kernel):\n", kernels.size());
    for (const xeb::catalogue::VectorKernel& k : kernels) {
        const xeb::catalogue::VectorKernel* target = xeb::catalogue::forward_target(k);
        if (target) std::printf("  %-16s %-12s -> %s\n", k.name.c_str(), k.short_name().c_str(), target->name.c_str());
        else std::printf("  %-16s %s\n", k.name.c_str(), k.short_name().c_str());
    }
    return 0;
}

}  // namespace cli
