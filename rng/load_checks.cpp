// The registered checks of loaded states and chunks (rng/load_checks.h).
#include "rng/load_checks.h"

#include <vector>

namespace xeb::rng {
namespace {

struct StateRule {
    RukInitStreamFn generator;
    StateCheck check;          // one of the two
    SetStateCheck set_check;
};
struct ChunkRule {
    int32_t id;
    uint32_t size;
    ChunkCheck check;
};

// Built on first use, so that registrations in any order of static
// initialisation find them.
std::vector<StateRule>& state_rules() {
    static std::vector<StateRule> rules;
    return rules;
}
std::vector<ChunkRule>& chunk_rules() {
    static std::vector<ChunkRule> rules;
    return rules;
}

}  // namespace

StateCheckRegistration::StateCheckRegistration(RukInitStreamFn generator, StateCheck check) {
    state_rules().push_back({generator, check, nullptr});
}

StateCheckRegistration::StateCheckRegistration(RukInitStreamFn generator, SetStateCheck check) {
    state_rules().push_back({generator, nullptr, check});
}

ChunkCheckRegistration::ChunkCheckRegistration(int32_t id, uint32_t size, ChunkCheck check) {
    chunk_rules().push_back({id, size, check});
}

int32_t check_loaded_state(const RukBrngEntry& row, int32_t sub, const unsigned char* state) {
    for (const StateRule& r : state_rules())
        if (r.generator == row.initStream && !(r.check ? r.check(state) : r.set_check(state, sub)))
            return RUK_ERROR_BAD_STREAM_FILE;
    return RUK_OK;
}

int32_t check_loaded_chunk(int32_t id, void* data, uint32_t size) {
    for (const ChunkRule& r : chunk_rules())
        if (r.id == id && (size != r.size || !r.check(data))) return RUK_ERROR_BAD_STREAM_FILE;
    return RUK_OK;
}

}  // namespace xeb::rng
