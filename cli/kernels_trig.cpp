// Catalogue rows of the trigonometric kernels.
#include "catalogue.h"
#include "xebruk/vm_trig.h"

namespace cli {
namespace {
const Registration rows({
    unary("sin_ha", "xebdSin_HA", xebdSin_HA),
    unary("sin_50", "xebdSin_50", xebdSin_50),
    unary("cos_ha", "xebdCos_HA", xebdCos_HA),
    unary("cos_50", "xebdCos_50", xebdCos_50),
    two_outputs("sincos_ha", "xebdSinCos_HA", xebdSinCos_HA),
    two_outputs("sincos_50", "xebdSinCos_50", xebdSinCos_50),
    unary("tan_ha", "xebdTan_HA", xebdTan_HA),
    unary("tan_50", "xebdTan_50", xebdTan_50),
    unary("sin_ha", "xebsSin_HA", xebsSin_HA),
    unary("sin_21", "xebsSin_21", xebsSin_21),
    unary("sin_11", "xebsSin_11", xebsSin_11),
    unary("cos_ha", "xebsCos_HA", xebsCos_HA),
    unary("cos_21", "xebsCos_21", xebsCos_21),
    unary("cos_11", "xebsCos_11", xebsCos_11),
    two_outputs("sincos_ha", "xebsSinCos_HA", xebsSinCos_HA),
    two_outputs("sincos_21", "xebsSinCos_21", xebsSinCos_21),
    two_outputs("sincos_11", "xebsSinCos_11", xebsSinCos_11),
    unary("tan_ha", "xebsTan_HA", xebsTan_HA),
    unary("tan_21", "xebsTan_21", xebsTan_21),
    unary("tan_11", "xebsTan_11", xebsTan_11),
});
}  // namespace
}  // namespace cli
