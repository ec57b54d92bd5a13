// The direct kernels' tables of the kernel classes, and the gate in front
// of them.
#include "convcorr/direct_table.h"

#include "frame/fpu.h"
#include "frame/kernel_class.h"

namespace xeb {

// Each class's code fills its table (convcorr/simd/direct.cpp).
namespace avx2 {
void fill_direct_table(convcorr::DirectTable& t);
}
namespace avx512 {
void fill_direct_table(convcorr::DirectTable& t);
}

namespace convcorr {
namespace {

// Constant-initialised to the baseline (no entries), so a call before the
// load-time fill below runs the baseline's loops.
DirectTable tables[frame::kKernelClasses] = {};

__attribute__((constructor(101))) void fill_at_load() {
    const frame::KernelClass best = frame::machine_class();
    if (best >= frame::KernelClass::Avx2) avx2::fill_direct_table(tables[1]);
    if (best >= frame::KernelClass::Avx512) avx512::fill_direct_table(tables[2]);
}

// MXCSR: every exception masked, rounding to nearest, neither
// flush-to-zero nor denormals-are-zero; and its overflow and underflow flags.
constexpr uint32_t kMxcsrModeBits = 0xFFC0;
constexpr uint32_t kMxcsrMasked = 0x1F80;
constexpr uint32_t kMxcsrDaz = 0x0040;
constexpr uint32_t kMxcsrRangeFlags = 0x0018;
constexpr uint16_t kX87ExceptionMasks = 0x003F;

// Lowest and highest byte of an operand's elements.
struct Extent {
    std::uintptr_t lo, hi;
};
template <class T>
Extent extent_of(const T* base, int rank, const int64_t* n, const std::ptrdiff_t* s) {
    auto lo = reinterpret_cast<std::uintptr_t>(base);
    auto hi = lo;
    for (int d = 0; d < rank; ++d) {
        const std::ptrdiff_t reach = static_cast<std::ptrdiff_t>((n[d] - 1) * s[d]) *
                                     static_cast<std::ptrdiff_t>(sizeof(T));
        if (reach < 0) lo += static_cast<std::uintptr_t>(reach);  // modular: lo - |reach|
        else hi += static_cast<std::uintptr_t>(reach);
    }
    return {lo, hi + sizeof(T) - 1};
}

template <class T>
bool z_apart(const BoxSum<T>& b) {
    const Extent z = extent_of(b.z, b.rank, b.nz, b.sz);
    const Extent f = extent_of(b.first, b.rank, b.nf, b.sf);
    const Extent s = extent_of(b.second, b.rank, b.ns, b.ss);
    return (z.hi < f.lo || f.hi < z.lo) && (z.hi < s.lo || s.hi < z.lo);
}

// The x87 at 53-bit precision, rounding to nearest, exceptions masked, and
// MXCSR in its default mode: then an x87 product or sum is the double one
// whenever that one neither overflows nor underflows.
bool double_sums_match() {
    const uint16_t cw = fpu::x87_control();
    return (cw & fpu::kX87PrecRoundMask) == fpu::kX87Prec53Nearest &&
           (cw & kX87ExceptionMasks) == kX87ExceptionMasks &&
           (fpu::mxcsr() & (kMxcsrModeBits | kMxcsrDaz)) == kMxcsrMasked;
}

}  // namespace

const DirectTable& direct_table() { return tables[static_cast<int>(frame::kernel_class())]; }

bool run_in_class(const BoxSum<float>& b, bool single_sums) {
    const DirectTable& t = direct_table();
    if (single_sums) {
        // Single sums are SSE in the baseline too, under the same MXCSR;
        // masked exceptions keep a trap from firing at another term.
        return t.ss != nullptr && (fpu::mxcsr() & kMxcsrMasked) == kMxcsrMasked && z_apart(b) &&
               t.ss(b);
    }
    // Products of singles are exact in double and sums of them can neither
    // overflow nor underflow: no flag test needed.
    return t.sd != nullptr && double_sums_match() && z_apart(b) && t.sd(b);
}

bool run_in_class(const BoxSum<double>& b) {
    const DirectTable& t = direct_table();
    if (t.dd == nullptr || !double_sums_match() || !z_apart(b)) return false;
    const uint32_t saved = fpu::mxcsr();
    fpu::set_mxcsr(saved & ~kMxcsrRangeFlags);
    const bool done = t.dd(b);
    const uint32_t raised = fpu::mxcsr();
    fpu::set_mxcsr(saved | (raised & ~kMxcsrModeBits));
    // A product or sum beyond the double range: the x87's wider exponent
    // gives other bits, so the baseline computes the call again (z shares
    // no memory with the operands, so the outputs already written do not
    // matter).
    return done && (raised & kMxcsrRangeFlags) == 0;
}

}  // namespace convcorr
}  // namespace xeb
