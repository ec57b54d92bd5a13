// Abstract streams (rng/abstract.cpp): what the stream service must know of
// them.  Their state keeps the 32-bit layout of the stream file (positions
// and interval, with 4-byte slots where the buffer and callback addresses
// stood), and the native addresses lie in a trailer right behind the row's
// streamSize bytes, which a stream block of these rows also holds.  A copy
// of the block carries the trailer; a stream file does not.
#pragma once

#include <cstddef>

#include "xebruk/rng_stream.h"

namespace xeb::rng {

// Bytes of the trailer a stream of this row needs behind its streamSize
// bytes: the addresses of an abstract stream's buffer and callback, or 0
// for every other row.
std::size_t abstract_link_bytes(const RukBrngEntry& row);

}  // namespace xeb::rng
