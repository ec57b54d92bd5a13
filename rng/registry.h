// The generator tables and how an id finds its row.  Internal interface of
// the stream service; the exported functions are in xebruk/rng_stream.h.
//
// Ids.  The older table (__RegBrngs) is indexed by small ids 0..278; all
// ids 4..276 are the WH parameter sets and resolve to row 4 with sub-id
// id - 4.  The newer table (__RegBrngsNew) takes ids from 0x100000 up:
// row (id >> 20) - 1, sub-id id & 0xFFFFF, valid while the row exists and
// the sub-id is below the row's count of sub-ids.
//
// Adding a generator.  Its four entry points are declared in
// xebruk/rng_generators.h and its row in registry.cpp names them with the
// row's sizes (generator_row).  A generator's code lives in its own source and follows rng/generator.h.
#pragma once

#include <cstdint>

#include "xebruk/rng_stream.h"

namespace xeb::rng {

constexpr int32_t kTableRows = 512;       // room in each table
constexpr int32_t kOldTableRows = 279;    // rows of __RegBrngs, never changed
constexpr int32_t kBuiltinNewRows = 12;   // rows of __RegBrngsNew before registration
constexpr int kIdRowShift = 20;
constexpr int32_t kSubIdMask = 0xFFFFF;

// Where an id points: table, row and sub-id (rukGetBrngBaseOffset).
struct RowRef {
    const RukBrngEntry* table;
    int32_t row;
    int32_t sub;
};
RowRef resolve(int32_t id);

// The row of id when the id names a generator, else null.  Stricter than
// rukIsBrngValid in one point: a negative row of the older table (which
// that test lets pass) is refused here, as it lies outside the table.
const RukBrngEntry* find_row(int32_t id);
const RukBrngEntry* find_row(const RowRef& ref);

// Sizes of a row, and a row from its sizes and entries.
struct RowSizes {
    int32_t streamSize, seedCount, zeroFlag, wordSize, bitCount;
};
constexpr RukBrngEntry generator_row(RowSizes s, RukInitStreamFn init, RukSKernelFn skernel,
                                     RukDKernelFn dkernel, RukIKernelFn ikernel) {
    return {s.streamSize, s.seedCount, s.zeroFlag, s.wordSize, s.bitCount,
            init,         skernel,     dkernel,    ikernel};
}

// A row's integer kernel takes untyped words; the exported kernels take
// their own word type.  This adapter sits between the two.
template <class Word, int32_t (*Kernel)(RukStream*, int32_t, Word*)>
int32_t ikernel_entry(RukStream* stream, int32_t n, void* r) {
    return Kernel(stream, n, static_cast<Word*>(r));
}

}  // namespace xeb::rng
