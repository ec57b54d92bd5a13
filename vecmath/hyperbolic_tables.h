// Tables and coefficient sets of the hyperbolic and inverse hyperbolic
// kernels, written by tools/hyperbolic_tables into hyperbolic_tables.inc.
// The double Sinh and Cosh take 2^(i/1024) and 2^(i/32) from the
// exponential's tables (expMid, expCoarse); the inverse hyperbolic doubles
// take the natural logarithm's table and polynomial (lnTable, kLnPoly).
#pragma once

#include "vecmath/explog_tables.h"

namespace xeb::hyperbolic {

using explog::Extended;

#include "vecmath/hyperbolic_tables.inc"

}  // namespace xeb::hyperbolic
