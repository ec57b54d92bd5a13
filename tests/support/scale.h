// One knob for the size of sweeps and statistical samples:
// XEBRUK_TEST_SCALE (default 1) multiplies every count; the sanitizer pass
// runs with a smaller value.  Bounds never depend on it.
#pragma once

#include <cstddef>
#include <string>

namespace xt {

double test_scale();
std::size_t scaled(std::size_t count, std::size_t minimum = 64);
// Directory of the source tree (for committed data and shared/ files).
std::string source_dir();

}  // namespace xt
