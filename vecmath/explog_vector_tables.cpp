// The tables of the exponential and logarithms of the SIMD kernel classes,
// defined once for all classes (see explog_shared.h).
#include "vecmath/explog_shared.h"

namespace xeb::explog {
#include "vecmath/explog_vector_tables.inc"
}  // namespace xeb::explog
