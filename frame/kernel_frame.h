// The frame every vector kernel runs in.
//
// A kernel is a small policy record: its element type, the x87 setting and
// MXCSR step it wants, its group size, prefetch distance and event name, a
// group path that either computes a whole group or declines, and a
// one-element path that handles every input.  The frame owns the count, the
// groups, the tail, the control words and the way events leave the kernel.
//
// Guarantees to the caller: elements are processed in ascending order and
// events arrive in that order; a group that declines is redone element by
// element, so a group path must store nothing before it decides; the control
// words on return are those on entry; the mode and status words are never
// read.  Counts of zero or below do nothing.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/fpu.h"
#include "xebruk/frame.h"

namespace xeb::frame {

// The x87 setting a kernel wants; 0 means it leaves the x87 alone.
constexpr uint16_t kNoX87 = 0;
constexpr uint16_t kX87Wide = fpu::kX87Prec64Nearest;
constexpr uint16_t kX87Narrow = fpu::kX87Prec53Nearest;

// How an event leaves the kernel.
enum class Trampoline {
    X87,       // save the x87 image around the dispatcher
    X87Merge,  // same, and carry exceptions raised by the reports across the restore
    Direct,    // SSE kernels: nothing on the x87 stack, call the dispatcher as is
};

// Which input arrays are prefetched ahead of the group loop.
enum PrefetchArrays : unsigned { kPrefetchA = 1, kPrefetchB = 2 };

// The usual record of a kernel over elements of type Element: it leaves the
// x87 and MXCSR as they are, runs groups of four, prefetches array a 32
// bytes ahead and calls the dispatcher directly at an event.  A kernel
// derives from it and states only what differs, plus its name, group_path
// and one (see run below).
template <class Element>
struct KernelPolicy {
    using T = Element;
    static constexpr uint16_t x87 = kNoX87;
    static constexpr bool clean_mxcsr = false;
    static constexpr int group = 4;
    static constexpr std::size_t prefetch_bytes = 0x20;
    static constexpr unsigned prefetch_arrays = kPrefetchA;
    static constexpr Trampoline trampoline = Trampoline::Direct;
};

template <class T>
struct Arrays {
    const T* a;  // first input
    const T* b;  // second input (a again for one-input kernels)
    T* y;        // first result
    T* z;        // second result (y again for one-output kernels)
};

// Entry and exit steps on the control words: force what the kernel wants,
// remember what must be put back, restore on scope exit.
class ControlWords {
public:
    ControlWords(uint16_t x87_want, bool clean_mxcsr) {
        if (x87_want != kNoX87) {
            saved_x87_ = fpu::x87_control();
            if ((saved_x87_ & fpu::kX87PrecRoundMask) != x87_want) {
                fpu::set_x87_control(
                    static_cast<uint16_t>((saved_x87_ & ~fpu::kX87PrecRoundMask) | x87_want));
                restore_ |= 1;
            }
        }
        if (clean_mxcsr) {
            saved_mxcsr_ = fpu::mxcsr();
            if (saved_mxcsr_ & fpu::kMxcsrRoundFtz) {
                fpu::set_mxcsr(saved_mxcsr_ & ~fpu::kMxcsrRoundFtz);
                restore_ |= 2;
            }
        }
    }
    ~ControlWords() {
        if (restore_ & 1) fpu::set_x87_control(saved_x87_);
        if (restore_ & 2) fpu::set_mxcsr(saved_mxcsr_);
    }
    ControlWords(const ControlWords&) = delete;
    ControlWords& operator=(const ControlWords&) = delete;

private:
    uint16_t saved_x87_ = 0;
    uint32_t saved_mxcsr_ = 0;
    unsigned restore_ = 0;
};

// What the generators' real kernels and the laws compute under: the x87 at
// 64-bit precision and both units rounding to nearest, whatever the
// caller's thread holds (the mode's FPU field, fesetround), so that a
// stream's numbers depend on the stream and the call alone.
struct StreamControlWords : ControlWords {
    StreamControlWords() : ControlWords(kX87Wide, true) {}
};

inline void error_entry(int code, int index, const Arrays<double>& x, const char* name) {
    xebdError(code, index, x.a, x.b, x.y, x.z, name);
}
inline void error_entry(int code, int index, const Arrays<float>& x, const char* name) {
    xebsError(code, index, x.a, x.b, x.y, x.z, name);
}

// Runs the dispatcher under the x87's default state with the kernel's x87
// image saved.  Not inlined: at a call the x87 stack is empty by the ABI, so
// nothing of the kernel's can be live across fnsave/frstor.
template <class T>
__attribute__((noinline)) void raise_x87(int code, int index, const Arrays<T>& x,
                                         const char* name, bool merge) {
    fpu::X87Image image;
    fpu::x87_save(image);
    error_entry(code, index, x, name);
    if (merge) fpu::or_image_status(image, fpu::x87_status() & fpu::kX87ExceptionFlags);
    fpu::x87_restore(image);
}

// Raises event `code` for element `index` of kernel K.
template <class K>
inline void raise(int code, int index, const Arrays<typename K::T>& x) {
    switch (K::trampoline) {
    case Trampoline::X87: raise_x87(code, index, x, K::name, false); break;
    case Trampoline::X87Merge: raise_x87(code, index, x, K::name, true); break;
    case Trampoline::Direct: error_entry(code, index, x, K::name); break;
    }
}

// Non-temporal prefetch some bytes ahead; the address may lie past the end
// of the array, which a prefetch never faults on.
inline void prefetch_nta(const void* base, std::size_t ahead) {
    const auto addr = reinterpret_cast<std::uintptr_t>(base) + ahead;
    __builtin_prefetch(reinterpret_cast<const void*>(addr), 0, 0);
}

// Runs groups from i through the group path for as long as they stay in
// the fast domain; returns the first group declined, or end.  The loop makes
// no call, so the compiler can keep a kernel's constants in registers (on
// the x87 stack) for the whole run instead of reloading them per group.
template <class K>
inline int fast_run(const Arrays<typename K::T>& x, int i, int end) {
    for (; i < end; i += K::group) {
        if (K::prefetch_arrays & kPrefetchA) prefetch_nta(x.a + i, K::prefetch_bytes);
        if (K::prefetch_arrays & kPrefetchB) prefetch_nta(x.b + i, K::prefetch_bytes);
        if (!K::group_path(x, i)) break;
    }
    return i;
}

// The group loop.  K is a KernelPolicy with its changes and supplies:
//   name (the event name);
//   static bool group_path(const Arrays<T>&, int i)  -- false: redo one by one
//   static void one(const Arrays<T>&, int i)
template <class K>
void run(int n, const Arrays<typename K::T>& x) {
    if (n <= 0) return;
    ControlWords words(K::x87, K::clean_mxcsr);
    constexpr int g = K::group;
    const int end = n - n % g;
    int i = 0;
    while (i < end) {
        i = fast_run<K>(x, i, end);
        if (i == end) break;
        for (int j = 0; j < g; ++j) K::one(x, i + j);
        i += g;
    }
    for (; i < n; ++i) K::one(x, i);
}

// Arrays of the common shapes.
template <class T>
inline Arrays<T> unary(const T* a, T* r) { return {a, a, r, r}; }
template <class T>
inline Arrays<T> binary(const T* a, const T* b, T* r) { return {a, b, r, r}; }
template <class T>
inline Arrays<T> two_outputs(const T* a, T* y, T* z) { return {a, a, y, z}; }

}  // namespace xeb::frame
