// The tables of the exponential and logarithm kernels, in a translation unit
// of their own (see explog_tables.h).
#include "vecmath/explog_tables.h"

namespace xeb::explog {
#include "vecmath/exp_tables.inc"
#include "vecmath/log_tables.inc"
}  // namespace xeb::explog
