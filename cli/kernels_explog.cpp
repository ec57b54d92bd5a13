// Catalogue rows of the exponential and logarithm kernels.
#include "catalogue.h"
#include "xebruk/vm_explog.h"

namespace cli {
namespace {
const Registration rows({
    unary("exp_ha", "xebdExp_HA", xebdExp_HA),
    unary("exp_50", "xebdExp_50", xebdExp_50),
    unary("exp_ha", "xebsExp_HA", xebsExp_HA),
    unary("exp_21", "xebsExp_21", xebsExp_21),
    unary("exp_11", "xebsExp_11", xebsExp_11),
    unary("ln_ha", "xebdLn_HA", xebdLn_HA),
    unary("ln_50", "xebdLn_50", xebdLn_50),
    unary("ln_ha", "xebsLn_HA", xebsLn_HA),
    unary("ln_21", "xebsLn_21", xebsLn_21),
    unary("ln_11", "xebsLn_11", xebsLn_11),
    unary("log10_ha", "xebdLog10_HA", xebdLog10_HA),
    unary("log10_50", "xebdLog10_50", xebdLog10_50),
    unary("log10_ha", "xebsLog10_HA", xebsLog10_HA),
    unary("log10_21", "xebsLog10_21", xebsLog10_21),
    unary("log10_11", "xebsLog10_11", xebsLog10_11),
});
}  // namespace
}  // namespace cli
