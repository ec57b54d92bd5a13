// Runs a call under hostile control words and checks they come back.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "frame/fpu.h"

namespace xt {

// Runs f with the x87 at 53 bits rounding toward zero and MXCSR flushing to
// zero and rounding toward zero; a kernel forces its own words and must put
// these back.  Restores the defaults afterwards.
template <class F>
void under_odd_control_words(F f) {
    const uint32_t saved = xeb::fpu::mxcsr();
    xeb::fpu::set_x87_control(0x0E7F);
    xeb::fpu::set_mxcsr(saved | 0xE000);
    f();
    EXPECT_EQ(xeb::fpu::x87_control(), 0x0E7F);
    // The control bits come back; exception flags the call raised may stay
    // (the SIMD classes keep them, as the x87 kernels keep theirs).
    EXPECT_EQ(xeb::fpu::mxcsr() & ~0x3Fu, (saved | 0xE000) & ~0x3Fu);
    xeb::fpu::set_x87_control(0x037F);
    xeb::fpu::set_mxcsr(saved);
}

}  // namespace xt
