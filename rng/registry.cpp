// The two generator tables, id resolution and registration of user
// generators.
#include "rng/registry.h"

#include "xebruk/rng_abstract.h"
#include "xebruk/rng_generators.h"

namespace xeb::rng {
namespace {

// Every built-in row: sizes {streamSize, seedCount, zeroFlag, wordSize,
// bitCount} and entries.
constexpr RukBrngEntry kMcg31m1 =
    generator_row({24, 1, 0, 4, 31}, rukBRngMCG31M1InitStream, ruksBRngMCG31M1, rukdBRngMCG31M1,
                  ikernel_entry<uint32_t, rukiBRngMCG31M1>);
constexpr RukBrngEntry kR250 =
    generator_row({1024, 252, 1, 4, 32}, rukBRngR250InitStream, ruksBRngR250, rukdBRngR250,
                  ikernel_entry<uint32_t, rukiBRngR250>);
constexpr RukBrngEntry kMrg32k3a =
    generator_row({40, 6, 1, 4, 32}, rukBRngMRG32K3AInitStream, ruksBRngMRG32K3A,
                  rukdBRngMRG32K3A, ikernel_entry<uint32_t, rukiBRngMRG32K3A>);
constexpr RukBrngEntry kMcg59 =
    generator_row({32, 1, 0, 8, 59}, rukBRngMCG59InitStream, ruksBRngMCG59, rukdBRngMCG59,
                  ikernel_entry<uint64_t, rukiBRngMCG59>);
constexpr RukBrngEntry kWh = generator_row({48, 4, 1, 16, 24}, rukBRngWHInitStream, ruksBRngWH,
                                           rukdBRngWH, ikernel_entry<uint32_t, rukiBRngWH>);
constexpr RukBrngEntry kSobol =
    generator_row({5472, 1324, 0, 4, 32}, rukBRngSobolInitStream, ruksBRngSobol, rukdBRngSobol,
                  ikernel_entry<uint32_t, rukiBRngSobol>);
constexpr RukBrngEntry kNiederr =
    generator_row({43280, 10498, 0, 4, 32}, rukBRngNiederrInitStream, ruksBRngNiederr,
                  rukdBRngNiederr, ikernel_entry<uint32_t, rukiBRngNiederr>);
constexpr RukBrngEntry kMt19937 =
    generator_row({2520, 625, 1, 4, 32}, rukBRngMT19937InitStream, ruksBRngMT19937,
                  rukdBRngMT19937, ikernel_entry<uint32_t, rukiBRngMT19937>);
constexpr RukBrngEntry kMt2203 =
    generator_row({312, 70, 1, 4, 32}, rukBRngMT2203InitStream, ruksBRngMT2203, rukdBRngMT2203,
                  ikernel_entry<uint32_t, rukiBRngMT2203>);
// The abstract rows: one working kernel each, the refusals in the other slots.
constexpr RukBrngEntry kIAbstract =
    generator_row({40, 0, 1, 4, 32}, rukBRngiAbstractInitStream, ruksBRngiAbstract,
                  rukdBRngiAbstract, ikernel_entry<uint32_t, rukiBRngiAbstract>);
constexpr RukBrngEntry kDAbstract =
    generator_row({56, 0, 1, 4, 32}, rukBRngdAbstractInitStream, ruksBRngdAbstract,
                  rukdBRngdAbstract, ikernel_entry<uint32_t, rukiBRngdAbstract>);
constexpr RukBrngEntry kSAbstract =
    generator_row({48, 0, 1, 4, 32}, rukBRngsAbstractInitStream, ruksBRngsAbstract,
                  rukdBRngsAbstract, ikernel_entry<uint32_t, rukiBRngsAbstract>);

// Rows of __RegBrngsNew in use, and each row's count of sub-ids.
int32_t new_table_rows = kBuiltinNewRows;
int32_t sub_id_counts[kTableRows] = {1, 1, 1, 1, 273, 1, 1, 1, 1024, 1, 1, 1};

}  // namespace
}  // namespace xeb::rng

using namespace xeb::rng;

// Row 0 MCG31M1, 1 R250, 2 MRG32K3A, 3 MCG59, 4..276 the 273 WH parameter
// sets (only row 4 is ever reached), 277 SOBOL, 278 Niederr; the rest zero.
const RukBrngEntry __RegBrngs[kTableRows] = {
    kMcg31m1, kR250, kMrg32k3a, kMcg59,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh, kWh,
    kSobol, kNiederr,
};

RukBrngEntry __RegBrngsNew[kTableRows] = {
    kMcg31m1, kR250,    kMrg32k3a, kMcg59,     kWh,        kSobol,
    kNiederr, kMt19937, kMt2203,   kIAbstract, kDAbstract, kSAbstract,
};

namespace xeb::rng {

RowRef resolve(int32_t id) {
    if (id >= (1 << kIdRowShift))
        return {__RegBrngsNew, (id >> kIdRowShift) - 1, id & kSubIdMask};
    if (id >= 4 && id < 277) return {__RegBrngs, 4, id - 4};
    return {__RegBrngs, id, 0};  // negative ids land here too
}

const RukBrngEntry* find_row(const RowRef& ref) {
    if (rukIsBrngValid(ref.table, ref.row, ref.sub) < 0 || ref.row < 0) return nullptr;
    return &ref.table[ref.row];
}

const RukBrngEntry* find_row(int32_t id) { return find_row(resolve(id)); }

}  // namespace xeb::rng

const RukBrngEntry* rukGetBrngBaseOffset(int32_t id, int32_t* rowOut, int32_t* subOut) {
    const RowRef ref = resolve(id);
    *rowOut = ref.row;
    *subOut = ref.sub;
    return ref.table;
}

int32_t rukIsBrngValid(const RukBrngEntry* table, int32_t row, int32_t sub) {
    // The older table has no lower bound on the row: a negative id passes
    // this test (and is refused where a row is read, see find_row).
    if (table == __RegBrngs) return row < kOldTableRows ? RUK_OK : RUK_ERROR_UNKNOWN_BRNG;
    if (row < 0) return RUK_ERROR_UNKNOWN_BRNG;  // sub_id_counts has no such entry
    return row < new_table_rows && sub < sub_id_counts[row] ? RUK_OK : RUK_ERROR_UNKNOWN_BRNG;
}

int32_t rukGetBrngProperties(int32_t id, RukBrngEntry* entryOut) {
    const RukBrngEntry* row = find_row(id);
    if (!row) return RUK_ERROR_UNKNOWN_BRNG;
    *entryOut = *row;
    return RUK_OK;
}

int32_t rukGetNumRegBrngs(void) { return new_table_rows; }

int32_t rukRegisterBrng(const RukBrngEntry* entry) {
    // This test reads the older table's count, which never reaches 512; it
    // stays for its order.  The bound that protects the newer table follows
    // the other tests.
    if (kOldTableRows >= kTableRows) return RUK_ERROR_REGISTRY_FULL;
    if (entry->streamSize < 0) return RUK_ERROR_REG_STATE_SIZE;
    if (entry->wordSize != 4 && entry->wordSize != 8 && entry->wordSize != 16)
        return RUK_ERROR_REG_WORD_SIZE;
    if (entry->seedCount < 1) return RUK_ERROR_REG_SEED_COUNT;
    if (entry->bitCount < 1) return RUK_ERROR_REG_BIT_COUNT;
    if (!entry->dKernel || !entry->sKernel || !entry->iKernel || !entry->initStream)
        return RUK_ERROR_NULL_ARG;
    if (new_table_rows >= kTableRows) return RUK_ERROR_REGISTRY_FULL;
    const int32_t row = new_table_rows++;
    __RegBrngsNew[row] = *entry;
    sub_id_counts[row] = 1;
    return (row + 1) << kIdRowShift;
}
