// Writes or checks tests/data/frozen_streams.txt (see frozen_streams.h):
//   stream_hashes --out <source dir>     rewrites the rows of the class in use
//   stream_hashes --check <source dir>   exits 1 if a row would change
// Rows of the other class sets are kept.  A case whose hashes in this class
// equal those of another row joins that row's class set; a case without
// any row gets one for every class set.
#include <algorithm>
#include <cstdio>
#include <string>

#include "frozen_streams.h"
#include "table_output.h"

namespace {

std::string source;

void generate(FILE* out) {
    using namespace xtools;
    const std::vector<FrozenRow> committed = read_rows(source + "/" + kFrozenFile);
    const std::string in_use = class_set_in_use();
    std::fprintf(out,
                 "# SHA-256 of the raw bytes of the first %d and %d outputs of each case of\n"
                 "# tools/frozen_streams.cpp, drawn in calls of %d, per kernel class set.\n"
                 "# case classes first-%d first-%d\n",
                 kFrozenPrefix, kFrozenCount, kFrozenCall, kFrozenPrefix, kFrozenCount);
    for (const FrozenStream& c : frozen_streams()) {
        std::vector<FrozenRow> rows;
        for (const FrozenRow& r : committed)
            if (r.name == c.name) rows.push_back(r);
        const bool known = !rows.empty();
        for (FrozenRow& r : rows) r.classes.erase(std::remove(r.classes.begin(), r.classes.end(), in_use), r.classes.end());
        rows.erase(std::remove_if(rows.begin(), rows.end(), [](const FrozenRow& r) { return r.classes.empty(); }),
                   rows.end());
        const FrozenHashes h = hash_stream(c, true);
        auto same = std::find_if(rows.begin(), rows.end(), [&](const FrozenRow& r) { return r.hashes == h; });
        if (same != rows.end())
            same->classes.push_back(in_use);
        else
            rows.push_back({c.name, known ? std::vector<std::string>{in_use} : class_sets(), h});
        // Rows in the order of their first class set, whichever set ran.
        auto first_set = [](const FrozenRow& r) {
            const auto& sets = class_sets();
            std::size_t first = sets.size();
            for (const std::string& c : r.classes)
                first = std::min(first, static_cast<std::size_t>(std::find(sets.begin(), sets.end(), c) - sets.begin()));
            return first;
        };
        std::stable_sort(rows.begin(), rows.end(),
                         [&](const FrozenRow& x, const FrozenRow& y) { return first_set(x) < first_set(y); });
        for (FrozenRow& r : rows) {
            std::string classes;
            for (const std::string& s : class_sets())
                if (std::count(r.classes.begin(), r.classes.end(), s))
                    classes += (classes.empty() ? "" : ",") + s;
            std::fprintf(out, "%s %s %s %s\n", r.name.c_str(), classes.c_str(), r.hashes.prefix.c_str(),
                         r.hashes.full.c_str());
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3) source = argv[2];
    return write_or_check(argc, argv, "stream_hashes", {{xtools::kFrozenFile, generate}});
}
