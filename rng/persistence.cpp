// Stream files: a 20-byte header, the generator state as it lies in
// memory, then each chunk as id, size and data, newest first; integers in
// the host's (little-endian) order.
//
//   offset  size  field
//    0       3    magic "RNG"
//    3       1    zero
//    4       1    format version, 0
//    5       3    zero
//    8       2    header size, 20
//   10       2    state size, the generator's streamSize - 16
//   12       2    chunk count
//   14       2    zero
//   16       4    generator id
//
// Both operations run their steps around one status word; the first
// failure stops the work, and a failed fclose overrides everything.
//
// A load trusts nothing the header does not fix: the state must pass its
// generator's check and every chunk of a law's identifier must have that
// law's size and pass its check (rng/load_checks.h); what fails is a bad
// stream file.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "rng/load_checks.h"
#include "rng/registry.h"
#include "rng/stream.h"

namespace xeb::rng {
namespace {

constexpr std::size_t kFileHeaderBytes = 20;
constexpr unsigned char kMagic[3] = {0x52, 0x4E, 0x47};  // "RNG"
constexpr unsigned char kFormatVersion = 0;

struct FileHeader {
    unsigned char bytes[kFileHeaderBytes];

    template <class T>
    T get(std::size_t offset) const {
        T v;
        std::memcpy(&v, bytes + offset, sizeof v);
        return v;
    }
    template <class T>
    void put(std::size_t offset, T v) {
        std::memcpy(bytes + offset, &v, sizeof v);
    }
    uint16_t header_size() const { return get<uint16_t>(8); }
    uint16_t state_size() const { return get<uint16_t>(10); }
    uint16_t chunk_count() const { return get<uint16_t>(12); }
    int32_t brng_id() const { return get<int32_t>(16); }
};

// The state size a file records for a row: streamSize - 16 in 16 bits.
// A registered row with a stream below 16 bytes has no state to store.
uint16_t file_state_size(const RukBrngEntry& row) {
    const int32_t bytes = row.streamSize - static_cast<int32_t>(kStreamHeaderBytes);
    return static_cast<uint16_t>(bytes > 0 ? bytes : 0);
}

bool write_item(std::FILE* f, const void* data, std::size_t bytes) {
    return std::fwrite(data, bytes, 1, f) == 1;
}

bool read_item(std::FILE* f, void* data, std::size_t bytes) {
    return std::fread(data, bytes, 1, f) == 1;
}

// Bytes from the present position to the end of the file.
long bytes_left(std::FILE* f) {
    const long here = std::ftell(f);
    if (here < 0 || std::fseek(f, 0, SEEK_END) != 0) return -1;
    const long end = std::ftell(f);
    if (std::fseek(f, here, SEEK_SET) != 0) return -1;
    return end - here;
}

int32_t close_file(std::FILE* f, int32_t status) {
    if (f && std::fclose(f) != 0) return RUK_ERROR_CLOSE_FAILED;
    return status;
}

int32_t write_stream(std::FILE* f, const RukStream* stream, const FileHeader& header) {
    if (!write_item(f, header.bytes, kFileHeaderBytes)) return RUK_ERROR_WRITE_FAILED;
    if (!write_item(f, state_bytes(stream), header.state_size())) return RUK_ERROR_WRITE_FAILED;
    // As many chunks as the header counts, newest first.  An empty chunk is
    // a short write (fwrite of one item of 0 bytes writes no item).
    RukStreamChunk* node = chunk_head(stream);
    for (uint16_t i = 0; i < header.chunk_count() && node; ++i, node = node->next) {
        if (!write_item(f, &node->id, 4) || !write_item(f, &node->size, 4) ||
            !write_item(f, node->data, node->size))
            return RUK_ERROR_WRITE_FAILED;
    }
    return RUK_OK;
}

int32_t check_header(const FileHeader& header) {
    if (std::memcmp(header.bytes, kMagic, sizeof kMagic) != 0) return RUK_ERROR_BAD_STREAM_FILE;
    if (header.bytes[4] != kFormatVersion) return RUK_ERROR_STREAM_FILE_VERSION;
    const RukBrngEntry* row = find_row(header.brng_id());
    if (!row) return RUK_ERROR_BAD_STREAM_FILE;
    if (header.state_size() != file_state_size(*row)) return RUK_ERROR_BAD_STREAM_FILE;
    // A longer header passes, but the state is read at offset 20 all the same.
    if (header.header_size() < kFileHeaderBytes) return RUK_ERROR_BAD_STREAM_FILE;
    return RUK_OK;
}

int32_t read_chunk(std::FILE* f, RukStream* stream) {
    int32_t id;
    uint32_t size;
    if (!read_item(f, &id, 4) || !read_item(f, &size, 4)) return RUK_ERROR_READ_FAILED;
    // A size beyond the end of the file cannot be read: refuse it before
    // allocating, with the status the short read would give.
    const long left = bytes_left(f);
    if (left >= 0 && size > static_cast<unsigned long>(left)) return RUK_ERROR_READ_FAILED;
    void* data = std::malloc(size);
    if (!data) return RUK_ERROR_NO_MEMORY;
    int32_t status = read_item(f, data, size) ? check_loaded_chunk(id, data, size)
                                              : RUK_ERROR_READ_FAILED;
    if (status >= 0) status = rukAddChunk(stream, id, data, size);
    if (status < 0) std::free(data);
    return status;
}

int32_t read_stream(std::FILE* f, RukStream** streamOut) {
    FileHeader header;
    if (!read_item(f, header.bytes, kFileHeaderBytes)) return RUK_ERROR_READ_FAILED;
    int32_t status = check_header(header);
    if (status < 0) return status;
    const int32_t id = header.brng_id();
    int32_t row, sub;
    const RukBrngEntry* table = rukGetBrngBaseOffset(id, &row, &sub);
    status = rukAllocateStream(streamOut, table, id, row, sub);
    if (status < 0) return status;
    if (!read_item(f, state_bytes(*streamOut), header.state_size())) return RUK_ERROR_READ_FAILED;
    status = check_loaded_state(table[row], sub, state_bytes(*streamOut));
    if (status < 0) return status;
    for (uint16_t i = 0; i < header.chunk_count(); ++i) {
        status = read_chunk(f, *streamOut);
        if (status < 0) return status;
    }
    return RUK_OK;
}

}  // namespace
}  // namespace xeb::rng

using namespace xeb::rng;

int32_t rukSaveStreamF(const RukStream* stream, const char* name, int32_t nameLength) {
    char* name_copy = nullptr;
    if (nameLength >= 0) {
        name_copy = static_cast<char*>(std::malloc(static_cast<std::size_t>(nameLength) + 1));
        if (!name_copy) return RUK_ERROR_NO_MEMORY;
        std::memcpy(name_copy, name, static_cast<std::size_t>(nameLength));
        name_copy[nameLength] = '\0';
        name = name_copy;
    }
    int32_t status = RUK_OK;
    RukBrngEntry row;
    FileHeader header{};
    status = rukGetBrngProperties(stream->brngId, &row);
    std::FILE* f = nullptr;
    if (status >= 0) {
        std::memcpy(header.bytes, kMagic, sizeof kMagic);
        header.bytes[4] = kFormatVersion;
        header.put<uint16_t>(8, kFileHeaderBytes);
        header.put<uint16_t>(10, file_state_size(row));
        header.put<uint16_t>(12, static_cast<uint16_t>(rukGetNumChunks(stream)));
        header.put<int32_t>(16, stream->brngId);
        f = std::fopen(name, "wb");
        status = f ? write_stream(f, stream, header) : RUK_ERROR_OPEN_FAILED;
    }
    status = close_file(f, status);
    std::free(name_copy);
    return status;
}

int32_t rukLoadStreamF(RukStream** streamOut, const char* name) {
    std::FILE* f = std::fopen(name, "rb");
    int32_t status = f ? read_stream(f, streamOut) : RUK_ERROR_OPEN_FAILED;
    status = close_file(f, status);
    // Whatever *streamOut holds after a failure is taken for a stream and
    // deleted: the new one, or the caller's if the failure came first.
    if (status < 0 && *streamOut) rukDeleteStream(streamOut);
    return status;
}
