// Catalogue rows of the power kernels.
#include "catalogue.h"
#include "xebruk/vm_power.h"

namespace cli {
namespace {
const Registration rows({
    binary("pow_ha", "xebdPow_HA", xebdPow_HA),
    binary("pow_50", "xebdPow_50", xebdPow_50),
    binary("pow_ha", "xebsPow_HA", xebsPow_HA),
    binary("pow_21", "xebsPow_21", xebsPow_21),
    binary("pow_11", "xebsPow_11", xebsPow_11),
    scalar_binary("powx_ha", "xebdPowx_HA", xebdPowx_HA),
    scalar_binary("powx_50", "xebdPowx_50", xebdPowx_50),
    scalar_binary("powx_ha", "xebsPowx_HA", xebsPowx_HA),
    scalar_binary("powx_21", "xebsPowx_21", xebsPowx_21),
    scalar_binary("powx_11", "xebsPowx_11", xebsPowx_11),
});
}  // namespace
}  // namespace cli
