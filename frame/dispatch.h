// Error dispatch internals, visible to white-box tests.
#pragma once

#include <cstddef>

#include "xebruk/frame.h"

namespace xeb {

// Copies at most 8 characters of prefix, 64 of name and 8 of suffix (each
// stopping at a zero) and a terminator; returns the characters copied.
int build_name(const char* prefix, const char* name, const char* suffix, char* buf);

void report(const XebErrorRecord& r);
void report_errno(const XebErrorRecord& r);
void report_stderr(const XebErrorRecord& r);
void report_trap(const XebErrorRecord& r);

}  // namespace xeb
