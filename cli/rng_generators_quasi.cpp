// The quasi-random generators of `xebruk rng`: points in Gray-code order.
#include "rng_choices.h"

namespace cli {
namespace {

const RngRegistration quasi_generators({
    {"sobol", RUK_BRNG_SOBOL, "Sobol points, dimension 1 to 40 (--dim)", 40},
    {"niederr", RUK_BRNG_NIEDERR, "base-2 Niederreiter points, dimension 1 to 318 (--dim)", 318},
});

}  // namespace
}  // namespace cli
