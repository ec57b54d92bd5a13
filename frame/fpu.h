// The platform layer of the processor: the x87 and SSE control and status
// words, and every x87 instruction a kernel names explicitly (its built-in
// constants, fyl2x, fsqrt, stores that round through the unit, fninit).
// This header holds all of the library's inline assembly, so a port to
// another unit or compiler replaces this one header.
#pragma once

#include <cstdint>

namespace xeb::fpu {

// x87 control word fields.
constexpr uint16_t kX87PrecRoundMask = 0x0F00;  // precision (8-9) and rounding (10-11)
constexpr uint16_t kX87Prec64Nearest = 0x0300;
constexpr uint16_t kX87Prec53Nearest = 0x0200;
constexpr uint16_t kX87Default = 0x037F;         // what fninit / fnsave leave behind
constexpr uint16_t kX87ExceptionFlags = 0x003F;  // IE DE ZE OE UE PE in the status word

// MXCSR fields.
constexpr uint32_t kMxcsrRoundFtz = 0xE000;      // rounding control and flush-to-zero
constexpr uint32_t kMxcsrRound = 0x6000;

inline uint16_t x87_control() {
    uint16_t cw;
    asm volatile("fnstcw %0" : "=m"(cw));
    return cw;
}

inline void set_x87_control(uint16_t cw) {
    asm volatile("fldcw %0" : : "m"(cw) : "memory");
}

inline uint16_t x87_status() {
    uint16_t sw;
    asm volatile("fnstsw %0" : "=m"(sw));
    return sw;
}

inline void x87_clear_exceptions() { asm volatile("fnclex" ::: "memory"); }

// The x87's built-in constants, rounded to the 64-bit significand by the
// load under rounding to nearest: log2(e) 0xb.8aa3b295c17f0bcp-3,
// ln 2 0xb.17217f7d1cf79acp-4, log10 2 0x9.a209a84fbcff799p-5.  Far cheaper
// than an 80-bit load from memory; volatile, so that each stays where it is
// used and the compiler never spills it as an 80-bit value.
enum class X87Constant { Log2E, Ln2, Log10Of2 };

template <X87Constant C>
inline long double x87_constant() {
    long double v;
    if constexpr (C == X87Constant::Log2E) asm volatile("fldl2e" : "=t"(v));
    else if constexpr (C == X87Constant::Ln2) asm volatile("fldln2" : "=t"(v));
    else asm volatile("fldlg2" : "=t"(v));
    return v;
}

inline uint32_t mxcsr() {
    uint32_t v;
    asm volatile("stmxcsr %0" : "=m"(v));
    return v;
}

inline void set_mxcsr(uint32_t v) { asm volatile("ldmxcsr %0" : : "m"(v) : "memory"); }

// Full x87 environment and register image in the 108-byte protected-mode
// layout: control word at byte 0, status word at byte 4.
struct X87Image {
    unsigned char bytes[108];
};

// fnsave also reinitialises the unit (control word 0x037F, empty stack, all
// exceptions masked).  Callers must hold no live x87 values across the pair,
// so they are only used inside non-inlined helpers.
inline void x87_save(X87Image& img) { asm volatile("fnsave %0" : "=m"(img) : : "memory"); }
inline void x87_restore(const X87Image& img) { asm volatile("frstor %0" : : "m"(img) : "memory"); }

inline void or_image_status(X87Image& img, uint16_t flags) {
    img.bytes[4] = static_cast<unsigned char>(img.bytes[4] | (flags & 0xFF));
}

// Rounds an x87 value to double once, by the x87's own store (rounding as
// its control word says), straight into memory.  The compiler's conversion
// would do the same but may bounce the value through an SSE register.
inline void store_rounded(double* dst, long double v) {
    asm("fstpl %0" : "=m"(*dst) : "t"(v) : "st");
}

// The double-precision operations that raise an exception on the x87 and
// store the result, so that the operation can neither be folded nor dropped.
inline void x87_divide_store(double num, double den) {
    double out;
    asm volatile("fldl %1\n\tfdivl %2\n\tfstpl %0" : "=m"(out) : "m"(num), "m"(den) : "st", "memory");
}

inline void x87_square_store(double x) {
    double out;
    asm volatile("fldl %1\n\tfmul %%st(0), %%st\n\tfstpl %0" : "=m"(out) : "m"(x) : "st", "memory");
}

// ---- x87 operations the kernels name

// scale * log2(x) by fyl2x, at the precision the control word sets.
inline long double x87_scaled_log2(long double scale, long double x) {
    long double r;
    asm("fyl2x" : "=t"(r) : "0"(x), "u"(scale) : "st(1)");
    return r;
}

// The angle of the point (x, y) by fpatan, at the precision the control
// word sets; zeros, infinities and NaNs as C99's atan2.
inline long double x87_atan2(long double y, long double x) {
    long double r;
    asm("fpatan" : "=t"(r) : "0"(x), "u"(y) : "st(1)");
    return r;
}

// The x87's square root, at the precision the control word sets.
inline long double x87_sqrt(long double v) {
    asm("fsqrt" : "+t"(v));
    return v;
}

// x rounded to float by the x87's own store (fsts), as its control word
// says; no C++ conversion, which would be undefined beyond the float range.
inline float x87_store_float(long double x) {
    float f;
    asm("fsts %0" : "=m"(f) : "t"(x));
    return f;
}

// One double loaded into the x87 and stored back: a signalling NaN comes
// out quiet (and raises the x87 invalid flag); every other value is kept.
inline void x87_copy(const double* from, double* to) {
    asm volatile("fldl %1\n\tfstpl %0" : "=m"(*to) : "m"(*from));
}

// fninit: the x87 back to its default state (control word 0x037F, empty
// stack).  Out of line and outside any expression, so that nothing of the
// caller's can be live on the x87 stack across it.
__attribute__((noinline)) inline void x87_reinit() { asm volatile("fninit" ::: "memory"); }

// The register state the operating system saves (XCR0), for deciding
// which vector registers may be used; only valid when CPUID says OSXSAVE.
inline uint64_t xgetbv0() {
    uint32_t lo, hi;
    asm volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (static_cast<uint64_t>(hi) << 32) | lo;
}

}  // namespace xeb::fpu
