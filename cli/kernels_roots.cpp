// Catalogue rows of the square and cube roots and their reciprocals.
#include "catalogue.h"
#include "xebruk/vm_roots.h"

namespace cli {
namespace {
const Registration rows({
    unary("sqrt_ha", "xebdSqrt_HA", xebdSqrt_HA),
    unary("sqrt_50", "xebdSqrt_50", xebdSqrt_50),
    unary("sqrt_ha", "xebsSqrt_HA", xebsSqrt_HA),
    unary("sqrt_21", "xebsSqrt_21", xebsSqrt_21),
    unary("sqrt_11", "xebsSqrt_11", xebsSqrt_11),
    unary("invsqrt_ha", "xebdInvSqrt_HA", xebdInvSqrt_HA),
    unary("invsqrt_50", "xebdInvSqrt_50", xebdInvSqrt_50),
    unary("invsqrt_ha", "xebsInvSqrt_HA", xebsInvSqrt_HA),
    unary("invsqrt_21", "xebsInvSqrt_21", xebsInvSqrt_21),
    unary("invsqrt_11", "xebsInvSqrt_11", xebsInvSqrt_11),
    unary("cbrt_ha", "xebdCbrt_HA", xebdCbrt_HA),
    unary("cbrt_50", "xebdCbrt_50", xebdCbrt_50),
    unary("cbrt_ha", "xebsCbrt_HA", xebsCbrt_HA),
    unary("cbrt_21", "xebsCbrt_21", xebsCbrt_21),
    unary("cbrt_11", "xebsCbrt_11", xebsCbrt_11),
    unary("invcbrt_ha", "xebdInvCbrt_HA", xebdInvCbrt_HA),
    unary("invcbrt_50", "xebdInvCbrt_50", xebdInvCbrt_50),
    unary("invcbrt_ha", "xebsInvCbrt_HA", xebsInvCbrt_HA),
    unary("invcbrt_21", "xebsInvCbrt_21", xebsInvCbrt_21),
    unary("invcbrt_11", "xebsInvCbrt_11", xebsInvCbrt_11),
});
}  // namespace
}  // namespace cli
