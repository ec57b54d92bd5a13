// Kernel classes: the instruction sets the vector kernels are built for,
// and the choice of one when the library loads (CPUID and XGETBV for what
// the processor and the operating system support, XEBRUK_KERNEL_CLASS for
// a narrower one).  Internal interface; xebGetKernelClass in xebruk/frame.h.
#pragma once

#include <cstddef>
#include <cstdint>

#include "xebruk/frame.h"

namespace xeb::frame {

enum class KernelClass : int32_t {
    Baseline = XEB_KERNEL_BASELINE,
    Avx2 = XEB_KERNEL_AVX2,
    Avx512 = XEB_KERNEL_AVX512,
};
constexpr int kKernelClasses = 3;

const char* class_name(KernelClass c);  // "baseline", "avx2", "avx512"

// The widest class this processor and operating system run.
KernelClass machine_class();

// The class to use on a machine whose widest is `best`, as the text of
// XEBRUK_KERNEL_CLASS (null or empty: unset) asks.  A class the machine
// lacks, or a text that names none, gives `best`, and `note` (of `size`
// bytes) receives the line to print; otherwise `note` is left empty.
KernelClass choose_class(KernelClass best, const char* request, char* note, std::size_t size);

// The class in use: chosen once, at the first call (at load), from the
// machine and the environment; a white-box test may switch it to another
// class the machine runs, through the vector kernels' tables.
KernelClass kernel_class();
void set_kernel_class(KernelClass c);

}  // namespace xeb::frame
