// Stream objects: creation from a generator id, copies, deletion, the two
// ways of splitting a stream (leapfrog, skip-ahead) and the chunk list.
// Everything generator-specific goes through the stream's row.
#include "rng/stream.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "rng/abstract.h"
#include "rng/registry.h"

namespace xeb::rng {

std::size_t stream_block_bytes(const RukBrngEntry& row) {
    // An abstract stream's trailer lies right behind its streamSize bytes.
    const std::size_t own = (row.streamSize > 0 ? static_cast<std::size_t>(row.streamSize) : 0) +
                            abstract_link_bytes(row);
    const std::size_t counted = kStreamHeaderBytes + static_cast<std::size_t>(row.seedCount) *
                                                         static_cast<std::size_t>(row.wordSize);
    return std::max({own, counted, kStreamHeaderBytes});
}

namespace {

// A chunk node with the count of references to it (stream heads and next
// fields).  The public record comes first, so a node's address is the
// block's.
struct CountedChunk {
    RukStreamChunk node;
    uint32_t references;
};

CountedChunk* counted(RukStreamChunk* node) { return reinterpret_cast<CountedChunk*>(node); }

}  // namespace

void drop_chunks(RukStream* stream) {
    RukStreamChunk* node = chunk_head(stream);
    // Each freed node gives up its reference to the next one.
    while (node && --counted(node)->references == 0) {
        RukStreamChunk* next = node->next;
        std::free(node->data);
        std::free(counted(node));
        node = next;
    }
    stream->chunkHead = 0;
}

void share_chunks(const RukStream* stream) {
    if (RukStreamChunk* head = chunk_head(stream)) ++counted(head)->references;
}

namespace {

// The row of a stream's id.  Streams are only made for ids that pass, so
// this finds a row for every stream the library handed out.
const RukBrngEntry* row_of(const RukStream* stream) { return find_row(stream->brngId); }

bool is_abstract_id(int32_t id) {
    return id == RUK_BRNG_IABSTRACT || id == RUK_BRNG_DABSTRACT || id == RUK_BRNG_SABSTRACT;
}

}  // namespace
}  // namespace xeb::rng

using namespace xeb::rng;

int32_t rukAllocateStream(RukStream** streamOut, const RukBrngEntry* table, int32_t id,
                          int32_t row, int32_t sub) {
    const RukBrngEntry* entry = find_row(RowRef{table, row, sub});
    if (!entry) return RUK_ERROR_UNKNOWN_BRNG;
    const std::size_t bytes = stream_block_bytes(*entry);
    auto* stream = static_cast<RukStream*>(std::malloc(bytes));
    *streamOut = stream;
    if (!stream) return RUK_ERROR_NO_MEMORY;
    std::memset(stream, 0, bytes);
    stream->brngId = id;
    stream->headerFlag = 1;
    return RUK_OK;
}

int32_t rukNewStreamEx(RukStream** streamOut, int32_t id, int32_t n, const uint32_t* params) {
    // Abstract streams are made with their own creators.
    if (is_abstract_id(id)) return RUK_ERROR_UNKNOWN_BRNG;
    int32_t row, sub;
    const RukBrngEntry* table = rukGetBrngBaseOffset(id, &row, &sub);
    const int32_t status = rukAllocateStream(streamOut, table, id, row, sub);
    if (status < 0) return status;
    // An initStream failure leaves the new stream with the caller.
    return table[row].initStream(RUK_INIT_NEW, *streamOut, n, params);
}

int32_t rukDeleteStream(RukStream** streamOut) {
    RukStream* stream = *streamOut;
    if (!stream) return RUK_OK;
    drop_chunks(stream);
    std::free(stream);
    *streamOut = nullptr;
    return RUK_OK;
}

int32_t rukCopyStream(RukStream** streamOut, const RukStream* source) {
    int32_t row, sub;
    const RukBrngEntry* table = rukGetBrngBaseOffset(source->brngId, &row, &sub);
    const int32_t status = rukAllocateStream(streamOut, table, source->brngId, row, sub);
    if (status < 0) return status;
    // Header included: the copy shares the source's chunk list.
    std::memcpy(*streamOut, source, stream_block_bytes(table[row]));
    share_chunks(source);
    return RUK_OK;
}

int32_t rukCopyStreamState(RukStream* destination, const RukStream* source) {
    if (destination == source) return RUK_OK;
    int32_t src_row, dst_row, sub;
    const RukBrngEntry* src_table = rukGetBrngBaseOffset(source->brngId, &src_row, &sub);
    const RukBrngEntry* dst_table = rukGetBrngBaseOffset(destination->brngId, &dst_row, &sub);
    // Only the row numbers are compared, not the tables.
    const int32_t status = src_row == dst_row ? destination->brngId : RUK_ERROR_BRNG_MISMATCH;
    // The state moves in both cases: seedCount words of wordSize bytes of the
    // source's row.  Between different rows the count may exceed the
    // destination's block; what lies beyond it is not copied.
    const RukBrngEntry& src = src_table[src_row];
    const RukBrngEntry& dst = dst_table[dst_row];
    const std::size_t counted = static_cast<std::size_t>(src.seedCount) *
                                static_cast<std::size_t>(src.wordSize);
    const std::size_t room = stream_block_bytes(dst) - kStreamHeaderBytes;
    std::memmove(state_bytes(destination), state_bytes(source), std::min(counted, room));
    return status;
}

int32_t rukLeapfrogStream(RukStream* stream, int32_t k, int32_t nstreams) {
    const RukBrngEntry* row = row_of(stream);
    if (!row) return RUK_ERROR_UNKNOWN_BRNG;
    const uint32_t index = static_cast<uint32_t>(k);
    return row->initStream(RUK_INIT_LEAPFROG, stream, nstreams, &index);
}

int32_t rukSkipAheadStream(RukStream* stream, int32_t nskip) {
    const RukBrngEntry* row = row_of(stream);
    if (!row) return RUK_ERROR_UNKNOWN_BRNG;
    return row->initStream(RUK_INIT_SKIPAHEAD, stream, nskip, nullptr);
}

int32_t rukGetStreamStateBrng(const RukStream* stream) { return stream->brngId; }

int32_t rukAddChunk(RukStream* stream, int32_t id, void* data, uint32_t size) {
    auto* block = static_cast<CountedChunk*>(std::malloc(sizeof(CountedChunk)));
    if (!block) return RUK_ERROR_NO_MEMORY;  // data stays with the caller
    // The head's reference passes to the new node's next; the head refers
    // to the new node.
    block->references = 1;
    RukStreamChunk* node = &block->node;
    node->id = id;
    node->size = size;
    node->data = data;
    node->next = chunk_head(stream);
    set_chunk_head(stream, node);
    return RUK_OK;
}

void* rukSearchChunk(const RukStream* stream, int32_t id) {
    for (RukStreamChunk* node = chunk_head(stream); node; node = node->next)
        if (node->id == id) return node->data;
    return nullptr;
}

int32_t rukGetNumChunks(const RukStream* stream) {
    int32_t count = 0;
    for (RukStreamChunk* node = chunk_head(stream); node; node = node->next) ++count;
    return count;
}
