// The tables of the cube roots of the SIMD kernel classes, defined once
// for all classes (see roots_shared.h).
#include "vecmath/roots_shared.h"

namespace xeb::roots {
#include "vecmath/roots_vector_tables.inc"
}  // namespace xeb::roots
