// Lane types and bit views shared by the kernels of the SIMD classes:
// included by their translation units only (everything in the class's
// unnamed namespace, see frame/class_frame.h).
#pragma once

#include <cstdint>

#include "frame/class_frame.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

using namespace simd;
using class_frame::Arrays;

// The vector code is inlined into the frame's loop whatever its size.
#define XEB_INLINE [[gnu::always_inline]] inline

template <int N>
using D = Vec<double, N>;
template <int N>
using U = Vec<uint64_t, N>;
template <int N>
using F = Vec<float, N>;
template <int N>
using W = Vec<uint32_t, N>;

constexpr uint64_t kAbs = 0x7FFFFFFFFFFFFFFFull;
constexpr uint32_t kAbsF = 0x7FFFFFFFu;

inline uint64_t bits(double x) { return bitcast<uint64_t>(D<1>{x}).v; }
inline uint32_t bits(float x) { return bitcast<uint32_t>(F<1>{x}).v; }
inline double double_of(uint64_t u) { return bitcast<double>(U<1>{u}).v; }
inline float float_of(uint32_t u) { return bitcast<float>(W<1>{u}).v; }

}  // namespace
}  // namespace XEB_ISA
}  // namespace xeb
