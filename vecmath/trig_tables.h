// The tables and coefficient sets of the trigonometric family, written by
// tools/trig_tables into trig_tables.inc (see there for what each holds).
#pragma once

#include <cstdint>

namespace xeb {

// A row of the huge-argument tangent: Taylor coefficients in the order the
// evaluation reads them, and the mask of pole rows.
struct TanRow {
    double c[19];
    uint64_t mask;
};

#include "vecmath/trig_tables.inc"

}  // namespace xeb
