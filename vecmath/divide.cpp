// Reciprocal and division over arrays.
//
// Double kernels work in the x87 with its 64-bit significand and spend one
// division on four elements:
//   p01 = d0*d1, p23 = d2*d3, P = p01*p23, R = 1/P,
//   u = R*p23 = 1/p01, v = R*p01 = 1/p23,
//   1/d0 = d1*u, 1/d1 = d0*u, 1/d2 = d3*v, 1/d3 = d2*v.
// Error budget: each reciprocal passes through six 64-bit roundings (p01,
// p23, P, R, u or v, the last product), at most 6 * 2^-64 relative, and Div
// one more; that is below 2^-8 ulp of the double result, and the store to
// double adds half an ulp.  Total below 0.51 ulp.
// The group proceeds only when P rounded to a 32-bit float is neither zero
// nor infinite nor NaN, so no product can leave the x87 range and zeros,
// infinities and NaNs always take the one-element path.  Groups of large
// (|d| around 1e10 and up) or tiny magnitudes leave the fast path too,
// though the wide format could hold their product; the results do not
// change, only the route.
//
// Single kernels divide four elements at once in SSE (correctly rounded),
// store, and only then look for zero divisors, reading the inputs from
// memory: in place, a zero already overwritten by its infinite result
// raises no event.
#include <immintrin.h>

#include "frame/bits.h"
#include "frame/kernel_frame.h"
#include "vecmath/kernel_table.h"
#include "xebruk/vm_div.h"

namespace xeb {
namespace {

using frame::Arrays;

// True when the group product P is usable: its float image is a nonzero
// finite number (denormal images pass).
inline bool product_in_range(long double p) {
    const uint32_t f = x87_float_image(p);
    return (f & 0x7FFFFFFFu) != 0 && (f & 0x7F800000u) != 0x7F800000u;
}

struct DoubleFrame : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Wide;
    static constexpr std::size_t prefetch_bytes = 0x80;
    static constexpr frame::Trampoline trampoline = frame::Trampoline::X87;
};

// Four reciprocals with one division, handed to put(k, 1/d[k]) as they are
// formed (kept on the x87 stack, never spilled at 80 bits); false, before
// anything is put, when the product is out of range.
template <class Put>
inline bool reciprocal4(const double* d, Put put) {
    const long double d0 = d[0], d1 = d[1], d2 = d[2], d3 = d[3];
    const long double p01 = d0 * d1;
    const long double p23 = d2 * d3;
    const long double p = p01 * p23;
    if (!product_in_range(p)) return false;
    const long double rp = 1.0L / p;
    const long double u = rp * p23;
    const long double v = rp * p01;
    put(0, d1 * u);
    put(1, d0 * u);
    put(2, d3 * v);
    put(3, d2 * v);
    return true;
}

struct InvD : DoubleFrame {
    static constexpr const char* name = "_xebdInv_HA";
    static bool group_path(const Arrays<double>& x, int i) {
        double* r = x.y + i;
        return reciprocal4(x.a + i, [r](int k, long double q) { fpu::store_rounded(r + k, q); });
    }
    static void one(const Arrays<double>& x, int i) {
        const double d = x.a[i];
        x.y[i] = static_cast<double>(1.0L / static_cast<long double>(d));
        if (is_zero(d)) frame::raise<InvD>(XEB_STATUS_POLE, i, x);
    }
};

struct DivD : DoubleFrame {
    static constexpr unsigned prefetch_arrays = frame::kPrefetchB;
    static constexpr const char* name = "_xebdDiv_HA";
    static bool group_path(const Arrays<double>& x, int i) {
        const double* a = x.a + i;
        double* r = x.y + i;
        return reciprocal4(x.b + i, [a, r](int k, long double q) {
            fpu::store_rounded(r + k, static_cast<long double>(a[k]) * q);
        });
    }
    // The numerator is not looked at: 0/0 and NaN/0 raise the pole event too.
    static void one(const Arrays<double>& x, int i) {
        const double d = x.b[i];
        x.y[i] = static_cast<double>(static_cast<long double>(x.a[i]) / d);
        if (is_zero(d)) frame::raise<DivD>(XEB_STATUS_POLE, i, x);
    }
};

struct SingleFrame : frame::KernelPolicy<float> {
    static constexpr bool clean_mxcsr = true;
};

inline bool any_zero4(__m128 d) {
    const __m128 magnitude = _mm_andnot_ps(_mm_set1_ps(-0.0f), d);
    return _mm_movemask_ps(_mm_cmpeq_ps(magnitude, _mm_setzero_ps())) != 0;
}

struct InvS : SingleFrame {
    static constexpr const char* name = "_xebsInv_HA";
    // Tests read the input from memory after the store (see the file comment).
    static void check(const Arrays<float>& x, int i) {
        if (is_zero(x.a[i])) frame::raise<InvS>(XEB_STATUS_POLE, i, x);
    }
    static bool group_path(const Arrays<float>& x, int i) {
        const __m128 d = _mm_loadu_ps(x.a + i);
        _mm_storeu_ps(x.y + i, _mm_div_ps(_mm_set1_ps(1.0f), d));
        if (any_zero4(d))
            for (int k = 0; k < 4; ++k) check(x, i + k);
        return true;
    }
    static void one(const Arrays<float>& x, int i) {
        x.y[i] = 1.0f / x.a[i];
        check(x, i);
    }
};

struct DivS : SingleFrame {
    static constexpr unsigned prefetch_arrays = frame::kPrefetchA | frame::kPrefetchB;
    static constexpr const char* name = "_xebsDiv_HA";
    // A NaN numerator over zero raises nothing; 0/0 and inf/0 raise.
    static void check(const Arrays<float>& x, int i) {
        if (is_zero(x.b[i]) && (bits(x.a[i]) & 0x7FFFFFFFu) <= 0x7F800000u)
            frame::raise<DivS>(XEB_STATUS_POLE, i, x);
    }
    static bool group_path(const Arrays<float>& x, int i) {
        const __m128 d = _mm_loadu_ps(x.b + i);
        _mm_storeu_ps(x.y + i, _mm_div_ps(_mm_loadu_ps(x.a + i), d));
        if (any_zero4(d))
            for (int k = 0; k < 4; ++k) check(x, i + k);
        return true;
    }
    static void one(const Arrays<float>& x, int i) {
        x.y[i] = x.a[i] / x.b[i];
        check(x, i);
    }
};

}  // namespace

void baseline::dInv_HA(int n, const double* a, double* r) { frame::run<InvD>(n, frame::unary(a, r)); }
void baseline::sInv_HA(int n, const float* a, float* r) { frame::run<InvS>(n, frame::unary(a, r)); }

}  // namespace xeb

using xeb::frame::binary;
using xeb::frame::run;
using xeb::frame::unary;
using xeb::vm::active;

void xeb::baseline::dDiv_HA(int n, const double* a, const double* b, double* r) {
    run<xeb::DivD>(n, binary(a, b, r));
}
void xeb::baseline::sDiv_HA(int n, const float* a, const float* b, float* r) {
    run<xeb::DivS>(n, binary(a, b, r));
}

extern "C" {

// The reciprocals run the kernel class in use.
void xebdInv_HA(int n, const double* a, double* r) { xeb::vm::active.dInv_HA(n, a, r); }
void xebdInv_50(int n, const double* a, double* r) { xeb::vm::active.dInv_50(n, a, r); }
void xebsInv_HA(int n, const float* a, float* r) { xeb::vm::active.sInv_HA(n, a, r); }
void xebsInv_21(int n, const float* a, float* r) { xeb::vm::active.sInv_21(n, a, r); }
void xebsInv_11(int n, const float* a, float* r) { xeb::vm::active.sInv_11(n, a, r); }

void xebdDiv_HA(int n, const double* a, const double* b, double* r) { active.dDiv_HA(n, a, b, r); }
void xebdDiv_50(int n, const double* a, const double* b, double* r) { active.dDiv_50(n, a, b, r); }
void xebsDiv_HA(int n, const float* a, const float* b, float* r) { active.sDiv_HA(n, a, b, r); }
void xebsDiv_21(int n, const float* a, const float* b, float* r) { active.sDiv_21(n, a, b, r); }
void xebsDiv_11(int n, const float* a, const float* b, float* r) { active.sDiv_11(n, a, b, r); }

}  // extern "C"
