// The FFT tables of the kernel classes (signal/fft_class.h).
#include "signal/fft_class.h"

#include "frame/kernel_class.h"

namespace xeb {

// Each class's code fills its table (signal/simd/fft_passes.cpp).
namespace avx2 {
void fill_fft_table(sig::FftClassTable& t);
void fill_fft_small(sig::FftClassTable& t);
}
namespace avx512 {
void fill_fft_table(sig::FftClassTable& t);
void fill_fft_small(sig::FftClassTable& t);
}

namespace sig {
namespace {

// Constant-initialised to the baseline (no entries), so a call before the
// load-time fill below runs the baseline's loops.
FftClassTable tables[frame::kKernelClasses] = {};

__attribute__((constructor(101))) void fill_at_load() {
    const frame::KernelClass best = frame::machine_class();
    if (best >= frame::KernelClass::Avx2) {
        avx2::fill_fft_table(tables[1]);
        avx2::fill_fft_small(tables[1]);
    }
    if (best >= frame::KernelClass::Avx512) {
        avx512::fill_fft_table(tables[2]);
        avx512::fill_fft_small(tables[2]);
    }
}

}  // namespace

const FftClassTable& fft_class_table() { return tables[static_cast<int>(frame::kernel_class())]; }

}  // namespace sig
}  // namespace xeb
