// MT2203 in `xebruk rng`: one of 1024 parameter sets by --id.
#include "rng_choices.h"

namespace cli {
namespace {

const RngRegistration mt2203_generators({
    {"mt2203", RUK_BRNG_MT2203,
     "Mersenne Twister, period 2^2203 - 1; 1024 independent sets (--id 0 to 1023)", 0, 1024},
});

}  // namespace
}  // namespace cli
