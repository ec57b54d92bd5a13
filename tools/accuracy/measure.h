// The accuracy measurement of a catalogue row: its kernel over its test
// intervals against the family's reference (references.h), in ulps of the
// result's format.  The accuracy tests and tools/accuracy_report both run it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "catalogue/vector_kernels.h"

namespace xt {

struct Measurement {
    double max_ulp = 0;
    double worst_a = 0;
    double worst_b = 0;
    std::size_t count = 0;
    uint64_t results_hash = 0;  // of every result's bits, in order
};

// Measures a row that does not forward over `count_per_range` arguments
// from each of its intervals (pairs drawn independently for two inputs;
// a scalar argument shares the count among its values), with events
// silenced.  A reference beyond the format's range is met by an infinity.
Measurement measure(const xeb::catalogue::VectorKernel& k, std::size_t count_per_range, uint64_t seed);

// A seed from a kernel's name, so that a kernel measures the same whatever
// rows other families add.
uint64_t seed_of(const std::string& name);

}  // namespace xt
