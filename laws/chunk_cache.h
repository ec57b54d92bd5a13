// A law's set-up kept on a stream as a chunk: found by its identifier, or
// made on first use and handed to the stream, which frees it when it is
// deleted.  A fresh record has a key of zeros (and, here, zeros throughout,
// so that a key that happens to match a fresh record reads a defined
// table).
//
// A chunk of the identifier but too few bytes for the record (a stream file
// may bring any size) is passed over: a new record is added, and being the
// newest it is the one found from then on.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <type_traits>

#include "rng/stream.h"

namespace xeb::laws {

// The record of identifier id on stream, or null with *status set to
// RUK_ERROR_NO_MEMORY (no block, or no chunk node for it).  *made, when
// given, tells whether the record was made by this call.
template <class Cache>
Cache* stream_cache(RukStream* stream, int32_t id, int32_t* status, bool* made = nullptr) {
    static_assert(std::is_trivially_copyable_v<Cache>, "a chunk is saved to files as bytes");
    for (RukStreamChunk* node = rng::chunk_head(stream); node; node = node->next)
        if (node->id == id) {
            if (node->size >= sizeof(Cache) && node->data) {
                if (made) *made = false;
                return static_cast<Cache*>(node->data);
            }
            break;
        }
    if (made) *made = true;
    void* block = std::calloc(1, sizeof(Cache));
    if (!block) {
        *status = RUK_ERROR_NO_MEMORY;
        return nullptr;
    }
    const int32_t added = rukAddChunk(stream, id, block, static_cast<uint32_t>(sizeof(Cache)));
    if (added < 0) {
        std::free(block);
        *status = added;
        return nullptr;
    }
    return static_cast<Cache*>(block);
}

}  // namespace xeb::laws
