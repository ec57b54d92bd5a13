// The frame the kernels of the SIMD classes run in, compiled with them
// once per instruction set (everything here lives in xeb::XEB_ISA, see
// frame/simd.h).  It keeps the contract of frame/kernel_frame.h lane by
// lane:
//
//  - Whole registers of lanes go through the kernel's vector code.  Lanes
//    outside its fast domain (a mask from one unsigned compare on the top
//    bits of the input) are then redone one at a time, in ascending order,
//    by the kernel's one-element routine, which computes fast-domain values
//    with the same template on one lane (the same fused multiply-adds, so
//    the same bits) and owns every special value and event.  A lane's
//    result thus depends on nothing but its input: not on its neighbours,
//    on n or on where a block starts.
//  - The tail (n mod lanes elements) runs through the same vector code on a
//    copy padded with a harmless value.
//  - The one-element routine gets its input by value, so in-place calls
//    (r equal to a) work although the register's results are stored first.
//  - MXCSR is forced to nearest, without flush-to-zero or denormals-are-zero
//    and with every exception masked (the arithmetic of lanes on their way
//    to the one-element path must not trap), and restored on return with
//    the exception flags raised meanwhile kept, as the x87 kernels keep
//    theirs.  The x87 is not touched; events go straight to the dispatcher.
//
// A kernel K supplies:
//   using V = simd::Vec<T, N>;               its lanes (T the array element)
//   static constexpr const char* name;      the event name
//   static constexpr T filler;              a fast-domain value for the tail
//   static MaskOf<T, N> special(V a);       lanes that need the one-element path
//   static V compute(V a);                  the vector code (a Pair<V> for
//                                           two outputs, y and z)
//   static void one(T a, int i, const Arrays<T>& x);  store x.y[i], raise events
// A kernel of two inputs (Div, Pow, and Powx with its scalar in every lane)
// takes both in special, compute and one, and supplies filler_b for the
// tail: a lane leaves the fast domain for either input.
//
// How a family joins the kernel classes (vecmath/simd/explog.cpp is the
// model):
//  1. Code: vecmath/simd/<family>.cpp, built once per class by CMake (every
//     .cpp there is).  Everything in
//     `namespace xeb { inline namespace XEB_ISA { namespace {` (inline, as
//     frame/simd.h opens it);
//     include this header, vecmath/kernel_table.h and the family's shared
//     header, nothing with inline functions of its own outside the class
//     namespace (no <cmath> calls: simd operations or __builtin_ ones).
//     The test kernel_class_symbols fails otherwise; the sanitizer build,
//     where nothing is inlined, is where it shows.
//  2. Arithmetic: one template per kernel over Vec<T, N>, [[gnu::always_inline]],
//     fused multiply-adds written out, no horizontal operation, small tables
//     through simd::lookup (register permutes; gathers are slow here).  The
//     lanes of floats computed in doubles come and go by simd::half, join
//     and convert.  K::compute<N> is that template; K::one runs it on
//     Vec<T, 1> for every value it does not treat itself, and owns zeros,
//     infinities, NaNs (x + x keeps a NaN's payload, quiet), default NaN
//     bits, denormals and the events, which it raises with
//     class_frame::raise after storing the result, as the baseline does.
//     K::special is one unsigned compare on the bits.
//  3. Tables and coefficients: a generator in tools/ (MPFR), its .inc
//     included by one baseline translation unit, declared extern in the
//     family's shared header: one copy for every class.
//  4. Entries: `void <family>_entries(vm::KernelTable&)` at the end of the
//     file assigns class_frame::unary<K> (binary<K>, vector_scalar<K>)
//     to the family's fields; declare
//     it and call it in vecmath/simd/kernels.cpp.  The fields, the
//     baseline's functions and their lines of baseline_table() go in
//     vecmath/kernel_table.*; each exported name becomes one call through
//     vm::active.  A lower form gets code of its own only where that is 1.3
//     times as fast as the class's _HA; otherwise it runs the _HA kernel,
//     under the name its events carry in the baseline (unary<K, name> where
//     the baseline's lower form has code of its own).
//  5. Tests: add the family's suite to XEBRUK_CLASS_SUITES in
//     tests/CMakeLists.txt (it then runs once per class, with the class's
//     name as suffix).  Give its accuracy rows their class bound and an
//     MPFR reference (with_classes in tests/support/accuracy_explog.cpp);
//     the per-class sweeps and the AVX2 = AVX-512 check then include them.
//     Bounds in the suite come from the table (bound_in_use).
//  6. Benchmark: a Form row per exported name in the family's benchmark,
//     as bench/bench_explog.cpp (class in use, baseline, glibc, SLEEF u10
//     and u35, memory copy; n = 1000 and 10^6).
#pragma once

#include <cstdint>
#include <type_traits>

#include "frame/simd.h"
#include "xebruk/frame.h"

namespace xeb {
inline namespace XEB_ISA {
namespace class_frame {

template <class T>
struct Arrays {
    const T* a;
    T* y;
    const T* b;  // the second input (a again for one-input kernels)
    T* z = nullptr;  // the second output of a two-output kernel (SinCos)
    const char* entry = nullptr;  // the entry's event name, where not the kernel's own
};

// The results of a two-output kernel's compute: y and z.
template <class V>
struct Pair {
    V y, z;
};

// Raises an event under the entry's name, which is the kernel's own name
// unless the entry runs another form's kernel (see unary below).
inline void raise(int code, int index, const Arrays<double>& x, const char* name) {
    xebdError(code, index, x.a, x.b, x.y, x.z ? x.z : x.y, x.entry ? x.entry : name);
}
inline void raise(int code, int index, const Arrays<float>& x, const char* name) {
    xebsError(code, index, x.a, x.b, x.y, x.z ? x.z : x.y, x.entry ? x.entry : name);
}

class MxcsrGuard {
public:
    MxcsrGuard() : saved_(_mm_getcsr()) {
        const uint32_t want = (saved_ & ~kForced) | kMasks;
        if ((saved_ & ~kFlags) != want) {
            _mm_setcsr(want);
            changed_ = true;
        }
    }
    ~MxcsrGuard() {
        if (changed_) _mm_setcsr(saved_ | (_mm_getcsr() & kFlags));
    }
    MxcsrGuard(const MxcsrGuard&) = delete;
    MxcsrGuard& operator=(const MxcsrGuard&) = delete;

private:
    static constexpr uint32_t kFlags = 0x003F;   // exception flags, sticky
    static constexpr uint32_t kMasks = 0x1F80;   // every exception masked
    static constexpr uint32_t kForced = 0xFFC0;  // rounding, FTZ, DAZ, masks
    uint32_t saved_;
    bool changed_ = false;
};

// A kernel of two inputs (K::special(a, b), K::compute(a, b), K::one(a, b,
// i, x) and K::filler_b for the tail) runs through the same loop; a kernel
// of one input is run as one of two whose second is ignored (its load is
// dead and compiled away).
template <class K>
struct IgnoreSecond : K {
    using V = typename K::V;
    using T = typename simd::Traits<V>::Lane;
    static constexpr T filler_b = K::filler;
    static auto special(V a, V) { return K::special(a); }
    [[gnu::always_inline]] static auto compute(V a, V) { return K::compute(a); }
    static void one(T a, T, int i, const Arrays<T>& x) { K::one(a, i, x); }
};

// Lanes of registers a, b (elements i, i+1, ...) that need the
// one-element routine, in ascending order; only the first `count` are
// elements.
template <class K>
__attribute__((noinline)) void redo_lanes(typename K::V a, typename K::V b, unsigned lanes, int i, int count,
                                          const Arrays<typename simd::Traits<typename K::V>::Lane>& x) {
    for (int l = 0; l < count; ++l)
        if (lanes >> l & 1) K::one(simd::lane(a, l), simd::lane(b, l), i + l, x);
}

// Stores the results of a register at element i: y, or y and z.
template <class T, class V>
[[gnu::always_inline]] inline void put(const Arrays<T>& x, int i, V v) {
    simd::store(x.y + i, v);
}
template <class T, class V>
[[gnu::always_inline]] inline void put(const Arrays<T>& x, int i, Pair<V> v) {
    simd::store(x.y + i, v.y);
    simd::store(x.z + i, v.z);
}

// Runs kernel K of two inputs over x.a and b: b an array, or with
// ScalarB one value for every element (the vector-scalar forms).
template <class K, bool ScalarB>
void run(int n, const Arrays<typename simd::Traits<typename K::V>::Lane>& x,
         const typename simd::Traits<typename K::V>::Lane* b) {
    using V = typename K::V;
    using T = typename simd::Traits<V>::Lane;
    constexpr int W = simd::Traits<V>::lanes;
    if (n <= 0) return;
    MxcsrGuard guard;
    const T* in = x.a;
    T* out = x.y;
    auto second = [b](int i) { return ScalarB ? simd::broadcast<V>(*b) : simd::load<V>(b + i); };
    int i = 0;
    for (;;) {
        // No call inside this loop, so the kernel's constants stay in
        // registers; it leaves at a register with lanes to redo.
        V a{}, c{};
        unsigned redo = 0;
        for (; i + W <= n; i += W) {
            a = simd::load<V>(in + i);
            c = second(i);
            redo = simd::bits(K::special(a, c));
            put(x, i, K::compute(a, c));
            if (redo != 0) break;
        }
        if (redo == 0) break;
        redo_lanes<K>(a, c, redo, i, W, x);
        i += W;
    }
    if (i == n) return;
    T pad_a[W], pad_b[W], result[W], result_z[W];
    for (int l = 0; l < W; ++l) {
        const bool inside = i + l < n;
        pad_a[l] = inside ? in[i + l] : K::filler;
        pad_b[l] = ScalarB ? *b : inside ? b[i + l] : K::filler_b;
    }
    const V a = simd::load<V>(pad_a), c = simd::load<V>(pad_b);
    const unsigned redo = simd::bits(K::special(a, c));
    put(Arrays<T>{pad_a, result, pad_b, result_z}, 0, K::compute(a, c));
    for (int l = 0; i + l < n; ++l) {
        out[i + l] = result[l];
        if constexpr (!std::is_same_v<decltype(K::compute(a, c)), V>) x.z[i + l] = result_z[l];
    }
    if (redo != 0) redo_lanes<K>(a, c, redo, i, n - i, x);
}

// The exported forms of kernel K: (n, a, r), (n, a, y, z) for a kernel
// whose compute gives a Pair, (n, a, b, r) and (n, a, b scalar, r).  Events
// of the vector-scalar form name array a for both inputs.  Entry, when
// given, is the event name of an entry that runs K's code under a name of
// its own (a lower form that is its _HA kernel in the class but has code of
// its own in the baseline keeps the baseline's name): a thin entry per name
// over K's one loop, whose only cost is the pointer read at an event.
template <class K, const char* Entry = nullptr>
void unary(int n, const typename simd::Traits<typename K::V>::Lane* a,
           typename simd::Traits<typename K::V>::Lane* r) {
    run<IgnoreSecond<K>, false>(n, {a, r, a, nullptr, Entry}, a);
}
template <class K, const char* Entry = nullptr>
void two_outputs(int n, const typename simd::Traits<typename K::V>::Lane* a,
                 typename simd::Traits<typename K::V>::Lane* y, typename simd::Traits<typename K::V>::Lane* z) {
    run<IgnoreSecond<K>, false>(n, {a, y, a, z, Entry}, a);
}
template <class K, const char* Entry = nullptr>
void binary(int n, const typename simd::Traits<typename K::V>::Lane* a,
            const typename simd::Traits<typename K::V>::Lane* b, typename simd::Traits<typename K::V>::Lane* r) {
    run<K, false>(n, {a, r, b, nullptr, Entry}, b);
}
template <class K, const char* Entry = nullptr>
void vector_scalar(int n, const typename simd::Traits<typename K::V>::Lane* a,
                   typename simd::Traits<typename K::V>::Lane b, typename simd::Traits<typename K::V>::Lane* r) {
    run<K, true>(n, {a, r, a, nullptr, Entry}, &b);
}

}  // namespace class_frame
}  // namespace XEB_ISA
}  // namespace xeb
