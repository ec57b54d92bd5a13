// Catalogue rows of the reciprocal and division kernels.
#include "catalogue.h"
#include "xebruk/vm_div.h"

namespace cli {
namespace {
const Registration rows({
    unary("inv_ha", "xebdInv_HA", xebdInv_HA),
    unary("inv_50", "xebdInv_50", xebdInv_50),
    unary("inv_ha", "xebsInv_HA", xebsInv_HA),
    unary("inv_21", "xebsInv_21", xebsInv_21),
    unary("inv_11", "xebsInv_11", xebsInv_11),
    binary("div_ha", "xebdDiv_HA", xebdDiv_HA),
    binary("div_50", "xebdDiv_50", xebdDiv_50),
    binary("div_ha", "xebsDiv_HA", xebsDiv_HA),
    binary("div_21", "xebsDiv_21", xebsDiv_21),
    binary("div_11", "xebsDiv_11", xebsDiv_11),
});
}  // namespace
}  // namespace cli
