// What a stream file may bring into a stream.  A loaded file is trusted no
// further than these checks: each generator states the invariants of its
// state, and each law the size and the meaning of the chunks it keeps,
// beside its own code, by a registration object at namespace scope:
//
//   const StateCheckRegistration kCheck{rukBRngMCG31M1InitStream, valid_state};
//   const ChunkCheckRegistration kCheck{RUK_CHUNK_BINOMIAL, 680, check_cache};
//
// A state check sees the state bytes of a new stream of the generator (the
// header's id already resolved and the state size right) and answers
// whether draws and moves may work on them.  A chunk check sees a chunk of
// exactly the registered size; it may refuse it, or accept it and rebuild
// what follows from its key (a law's set-up), so that nothing the law
// reads later comes from the file unchecked.  Generators and chunk ids
// without a check (a generator registered at run time, a caller's own
// chunks) load as they are.
//
// Registration happens during static initialisation, before any load.  A
// program linked with the static archive must take it whole (as the tests
// do), or a law it never calls leaves its chunks unchecked.
#pragma once

#include <cstdint>

#include "xebruk/rng_stream.h"

namespace xeb::rng {

using StateCheck = bool (*)(const unsigned char* state);
// For generators with several parameter sets (sub-ids), whose invariants
// depend on the set: the check also sees the stream's sub-id.
using SetStateCheck = bool (*)(const unsigned char* state, int32_t sub);
using ChunkCheck = bool (*)(void* data);

struct StateCheckRegistration {
    StateCheckRegistration(RukInitStreamFn generator, StateCheck check);
    StateCheckRegistration(RukInitStreamFn generator, SetStateCheck check);
};
struct ChunkCheckRegistration {
    ChunkCheckRegistration(int32_t id, uint32_t size, ChunkCheck check);
};

// RUK_OK, or RUK_ERROR_BAD_STREAM_FILE when the generator's check refuses.
int32_t check_loaded_state(const RukBrngEntry& row, int32_t sub, const unsigned char* state);
// RUK_OK, or RUK_ERROR_BAD_STREAM_FILE for a chunk of a known id whose size
// differs from its law's record or whose contents the law refuses.
int32_t check_loaded_chunk(int32_t id, void* data, uint32_t size);

}  // namespace xeb::rng
