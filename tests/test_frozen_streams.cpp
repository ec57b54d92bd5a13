// Every generator, law and method against the committed hashes of its first
// 10^6 outputs (tools/frozen_streams.h); scaled-down runs hash the first
// 10^4.  A failure names the case: if the change is meant, rerun the
// frozen_streams target and commit tests/data/frozen_streams.txt with it.
#include <gtest/gtest.h>

#include <cfenv>

#include "frozen_streams.h"
#include "sha256.h"
#include "support/control_words.h"
#include "support/scale.h"
#include "support/streams.h"
#include "xebruk/frame.h"

namespace {

using namespace xtools;

std::vector<FrozenRow> committed() { return read_rows(xt::source_dir() + "/" + kFrozenFile); }

// Compares each case's hashes (the prefix alone unless full) with its row.
void check_all(bool full) {
    const auto rows = committed();
    ASSERT_FALSE(rows.empty()) << kFrozenFile;
    for (const FrozenStream& c : frozen_streams()) {
        const FrozenRow* row = row_for(rows, c.name, class_set_in_use());
        if (row == nullptr) {
            ADD_FAILURE() << c.name << ": no committed hash in class set " << class_set_in_use();
            continue;
        }
        const FrozenHashes h = hash_stream(c, full);
        EXPECT_EQ(h.prefix, row->hashes.prefix) << c.name;
        EXPECT_TRUE(!full || h.full == row->hashes.full) << c.name;
    }
}

TEST(FrozenStreams, EveryCaseMatchesItsCommittedHashes) { check_all(xt::test_scale() >= 1); }

// A thread's mode and the caller's control words change no stream, and
// come back: rounding upward in both units (the cases built under it too);
// a mode of 53-bit x87 precision with it; then 53 bits toward zero and
// MXCSR flushing to zero.
TEST(FrozenStreams, CallersControlWordsChangeNothing) {
    std::fesetround(FE_UPWARD);
    check_all(false);
    xebSetMode(XEB_FPU_NARROW);
    check_all(false);
    xebSetMode(XEB_FPU_RESTORE);
    std::fesetround(FE_TONEAREST);
    xt::under_odd_control_words([] { check_all(false); });
}

// Every committed row names a case, once per class set.
TEST(FrozenStreams, NoStaleOrDoubleRows) {
    const auto rows = committed();
    for (const FrozenRow& r : rows) {
        bool known = false;
        for (const FrozenStream& c : frozen_streams()) known |= c.name == r.name;
        EXPECT_TRUE(known) << r.name;
        for (const std::string& cls : r.classes) EXPECT_EQ(row_for(rows, r.name, cls), &r) << r.name;
    }
}

// The hash of MCG31M1's words equals that of the sequence computed the
// plain way (numpy's MT19937 gives the committed mt19937.i hashes as well).
TEST(FrozenStreams, HashOfAPlainReferenceSequence) {
    const std::vector<uint32_t> x = xt::mcg31m1_sequence(12345, kFrozenPrefix);
    Sha256 sha;
    sha.add(x.data(), x.size() * 4);
    const auto rows = committed();
    const FrozenRow* row = row_for(rows, "mcg31m1.i", class_set_in_use());
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(sha.hex(), row->hashes.prefix);
}

}  // namespace
