// Frozen streams: every generator kernel, law and method of the library at
// a fixed seed and fixed parameters, with the SHA-256 of the raw bytes of
// its first 10^4 and 10^6 outputs committed in tests/data/frozen_streams.txt.
// A change of any output is then a deliberate act: rerun the tool
// (`cmake --build build --target frozen_streams`) and commit the new rows.
//
// A row of the file holds for a set of kernel classes ("baseline", "simd"):
// laws that call vector kernels may round differently in the SIMD classes,
// and then carry one row per class set.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "xebruk/rng_stream.h"

namespace xtools {

constexpr int32_t kFrozenPrefix = 10000;   // outputs hashed when the run is scaled down
constexpr int32_t kFrozenCount = 1000000;  // outputs hashed in full
// Outputs per call: odd, so that calls end inside the Gaussian's pairs and
// the pending-pair path is frozen too.
constexpr int32_t kFrozenCall = 999;
constexpr const char* kFrozenFile = "tests/data/frozen_streams.txt";

struct FrozenStream {
    std::string name;  // no spaces
    int32_t brng;
    std::vector<uint32_t> seed;
    int32_t bytes;  // of one output
    std::function<int32_t(RukStream*, int32_t, void*)> draw;
};

// The cases; a new generator or law adds its rows here.
const std::vector<FrozenStream>& frozen_streams();

struct FrozenHashes {
    std::string prefix, full;  // full: empty when only the prefix was drawn
    bool operator==(const FrozenHashes& o) const { return prefix == o.prefix && full == o.full; }
};
// Draws the case on a new stream in calls of kFrozenCall; a negative status
// gives the hash "status <s>" instead.
FrozenHashes hash_stream(const FrozenStream& c, bool full);

// The class sets rows may name, and the one of this process.
const std::vector<std::string>& class_sets();
std::string class_set_in_use();

struct FrozenRow {
    std::string name;
    std::vector<std::string> classes;
    FrozenHashes hashes;
};
// The rows of a hash file ('#' lines skipped); empty if it cannot be read.
std::vector<FrozenRow> read_rows(const std::string& path);
// The row of case `name` that holds for class set `cls`, or null.
const FrozenRow* row_for(const std::vector<FrozenRow>& rows, const std::string& name,
                         const std::string& cls);

}  // namespace xtools
