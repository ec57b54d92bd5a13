// The arithmetic a law's numbers are made with, whatever the caller's
// thread has set.  The double forms keep intermediate values in the x87's
// 64-bit significand and round once at the store; a thread whose x87 runs
// at 53 bits (the mode word's XEB_FPU_NARROW forces that) or rounds in
// another direction would round the same products twice or otherwise, and
// a stream's numbers would change with the thread.  So every exported law
// forces the x87 to 64 bits and round-to-nearest, and MXCSR to
// round-to-nearest without flush-to-zero, for the length of the call, and
// puts the caller's words back on return.  Nothing changes for a thread in
// the default state (no control word is written then).
#pragma once

#include "frame/kernel_frame.h"

namespace xeb::laws {

class FixedArithmetic {
public:
    FixedArithmetic() : words_(frame::kX87Wide, true) {}

private:
    frame::ControlWords words_;
};

}  // namespace xeb::laws
