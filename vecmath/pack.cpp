// Pack and Unpack: gathers into and scatters out of contiguous arrays, by
// stride, index vector or mask.  Plain loops in ascending order, unrolled by
// eight with a tail; no arithmetic, no events, no prefetch.
//
// Elements move as bit patterns (integer moves), so signalling NaNs keep
// their bits, except in the double mask forms, which load and store each
// element through the x87: there a signalling NaN comes out quiet and the
// x87 invalid flag is raised.
//
// A stride or index times the element size is formed in 64-bit address
// arithmetic, so a negative stride or index reaches backwards from the base.
#include <cstdint>
#include <cstring>

#include "frame/fpu.h"
#include "xebruk/vm_pack.h"

namespace xeb {
namespace {

// Runs body(i) for i = 0 .. n-1 in order, eight at a time, then the tail.
template <class Body>
inline void unrolled(int n, Body&& body) {
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        body(i);
        body(i + 1);
        body(i + 2);
        body(i + 3);
        body(i + 4);
        body(i + 5);
        body(i + 6);
        body(i + 7);
    }
    for (; i < n; ++i) body(i);
}

// Bit-for-bit copy of one element.
template <class T>
inline void copy_bits(const T* from, T* to) {
    std::memcpy(to, from, sizeof(T));
}

// One double through an x87 load and store.
inline void copy_x87(const double* from, double* to) { fpu::x87_copy(from, to); }

inline std::ptrdiff_t offset(int i, int inc) {
    return static_cast<std::ptrdiff_t>(i) * inc;
}

template <class T>
void pack_stride(int n, const T* a, int inca, T* y) {
    unrolled(n, [=](int i) { copy_bits(a + offset(i, inca), y + i); });
}

template <class T>
void unpack_stride(int n, const T* a, T* y, int incy) {
    unrolled(n, [=](int i) { copy_bits(a + i, y + offset(i, incy)); });
}

template <class T>
void pack_index(int n, const T* a, const int32_t* ia, T* y) {
    unrolled(n, [=](int i) { copy_bits(a + ia[i], y + i); });
}

template <class T>
void unpack_index(int n, const T* a, T* y, const int32_t* iy) {
    unrolled(n, [=](int i) { copy_bits(a + i, y + iy[i]); });
}

template <class T, class Copy>
void pack_mask(int n, const T* a, const int32_t* ma, T* y, Copy copy) {
    int j = 0;
    unrolled(n, [&](int i) {
        if (ma[i] != 0) copy(a + i, y + j++);
    });
}

template <class T, class Copy>
void unpack_mask(int n, const T* a, T* y, const int32_t* my, Copy copy) {
    int j = 0;
    unrolled(n, [&](int i) {
        if (my[i] != 0) copy(a + j++, y + i);
    });
}

}  // namespace
}  // namespace xeb

extern "C" {

void xebsPackI(int n, const float* a, int inca, float* y) { xeb::pack_stride(n, a, inca, y); }
void xebdPackI(int n, const double* a, int inca, double* y) { xeb::pack_stride(n, a, inca, y); }
void xebsUnpackI(int n, const float* a, float* y, int incy) { xeb::unpack_stride(n, a, y, incy); }
void xebdUnpackI(int n, const double* a, double* y, int incy) { xeb::unpack_stride(n, a, y, incy); }
void xebsPackV(int n, const float* a, const int32_t* ia, float* y) { xeb::pack_index(n, a, ia, y); }
void xebdPackV(int n, const double* a, const int32_t* ia, double* y) { xeb::pack_index(n, a, ia, y); }
void xebsUnpackV(int n, const float* a, float* y, const int32_t* iy) { xeb::unpack_index(n, a, y, iy); }
void xebdUnpackV(int n, const double* a, double* y, const int32_t* iy) { xeb::unpack_index(n, a, y, iy); }
void xebsPackM(int n, const float* a, const int32_t* ma, float* y) {
    xeb::pack_mask(n, a, ma, y, xeb::copy_bits<float>);
}
void xebdPackM(int n, const double* a, const int32_t* ma, double* y) {
    xeb::pack_mask(n, a, ma, y, xeb::copy_x87);
}
void xebsUnpackM(int n, const float* a, float* y, const int32_t* my) {
    xeb::unpack_mask(n, a, y, my, xeb::copy_bits<float>);
}
void xebdUnpackM(int n, const double* a, double* y, const int32_t* my) {
    xeb::unpack_mask(n, a, y, my, xeb::copy_x87);
}

}  // extern "C"
