// Stream objects: the header, the state behind it and the chunk list.
// Internal interface; the exported services are in xebruk/rng_stream.h.
//
// Layout.  A stream is one malloc block: the 16-byte RukStream header, then
// the generator's state record at byte 16.  The block holds at least the
// row's streamSize bytes, and at least 16 + seedCount * wordSize bytes, so
// that rukCopyStreamState, which moves seedCount * wordSize bytes, stays
// inside the block for every row (the WH row counts 64 bytes of state in a
// 48-byte stream).  Bytes beyond the generator's own state are zero.  The
// abstract rows add the addresses of the caller's buffer and callback
// behind streamSize (rng/abstract.h).
//
// Chunks.  chunkHead holds the address of the newest chunk (sign-extended
// where addresses are 32 bits); each node's next leads to the older ones.
// add_chunk puts a node in front, search walks from the newest.
//
// Shared chunks.  rukCopyStream gives the copy the source's list itself, so
// that both streams see (and change) the same records, and a chunk added to
// either later is its own.  The lists are persistent: a node is reached from
// one or more stream heads and from at most one newer node of each list
// that grew in front of it.  Each node counts those references; deleting a
// stream drops one reference to its head and frees nodes only while their
// count falls to zero, so deleting both of two streams that share chunks
// frees each node once.
#pragma once

#include <cstddef>
#include <cstdint>

#include "xebruk/rng_stream.h"

namespace xeb::rng {

constexpr std::size_t kStreamHeaderBytes = sizeof(RukStream);
static_assert(kStreamHeaderBytes == 16, "the stream header is four 32-bit words");

// Bytes of the block a stream of this row lives in.
std::size_t stream_block_bytes(const RukBrngEntry& row);

// The generator state record of a stream.
template <class State>
inline State& state_of(RukStream* stream) {
    return *reinterpret_cast<State*>(reinterpret_cast<unsigned char*>(stream) +
                                     kStreamHeaderBytes);
}
inline unsigned char* state_bytes(RukStream* stream) {
    return reinterpret_cast<unsigned char*>(stream) + kStreamHeaderBytes;
}
inline const unsigned char* state_bytes(const RukStream* stream) {
    return reinterpret_cast<const unsigned char*>(stream) + kStreamHeaderBytes;
}

inline RukStreamChunk* chunk_head(const RukStream* stream) {
    return reinterpret_cast<RukStreamChunk*>(static_cast<uintptr_t>(stream->chunkHead));
}
inline void set_chunk_head(RukStream* stream, RukStreamChunk* node) {
    stream->chunkHead =
        static_cast<uint64_t>(static_cast<int64_t>(reinterpret_cast<intptr_t>(node)));
}

// Gives up the stream's reference to its list: frees the chunks (and their
// data) that no other stream reaches.  The list is empty afterwards.
void drop_chunks(RukStream* stream);

// Adds a reference to the stream's list, for a copy that shares it.
void share_chunks(const RukStream* stream);

}  // namespace xeb::rng
