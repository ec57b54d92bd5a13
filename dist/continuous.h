// What the continuous laws share: the row of a stream, and the vector
// kernels of each precision gathered in one record so that every law is
// written once as a template over its element type.
//
// The laws trust their arguments: the stream's id is not tested (an
// invalid id is the caller's error, as for every kernel).
#pragma once

#include <cstdint>

#include "xebruk/rng_continuous.h"

namespace xeb::dist {

// The generator row of a stream, derived anew from its id.
inline const RukBrngEntry& row_of(const RukStream* stream) {
    int32_t row, sub;
    const RukBrngEntry* table = rukGetBrngBaseOffset(stream->brngId, &row, &sub);
    return table[row];
}

}  // namespace xeb::dist
