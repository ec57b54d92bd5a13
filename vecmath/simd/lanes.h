// Short names the kernels of the SIMD classes share: lane types of the
// vector type by width, and a scalar's bits and back.  In the class's
// namespace (see frame/simd.h), like the kernels that include it.
#pragma once

#include <cstdint>

#include "frame/simd.h"

// The vector code is inlined into the frame's loop whatever its size.
#define XEB_INLINE [[gnu::always_inline]] inline

namespace xeb {
inline namespace XEB_ISA {
namespace lanes {

template <int N>
using D = simd::Vec<double, N>;
template <int N>
using U = simd::Vec<uint64_t, N>;
template <int N>
using F = simd::Vec<float, N>;
template <int N>
using W = simd::Vec<uint32_t, N>;

inline uint64_t bits(double x) { return simd::bitcast<uint64_t>(D<1>{x}).v; }
inline uint32_t bits(float x) { return simd::bitcast<uint32_t>(F<1>{x}).v; }
inline double double_of(uint64_t u) { return simd::bitcast<double>(U<1>{u}).v; }
inline float float_of(uint32_t u) { return simd::bitcast<float>(W<1>{u}).v; }

}  // namespace lanes
}  // namespace XEB_ISA
}  // namespace xeb
