// The MT2203 parameter sets, one per sub-id (rng/mt2203_params.inc, made by
// tools/mt2203_params).
#pragma once

#include <cstdint>

namespace xeb::rng {

struct Mt2203ParameterSet {
    uint32_t twist_a, temper_b, temper_c;
};
extern const Mt2203ParameterSet kMt2203ParameterSets[1024];

}  // namespace xeb::rng
