// The tables of the double power of the SIMD kernel classes, defined once
// for all classes (see power.h).
#include "vecmath/power.h"

namespace xeb::powv {
#include "vecmath/pow_vector_tables.inc"
}  // namespace xeb::powv
