// Fuzz target: the readers of `xebruk conv` on arbitrary bytes.  The first
// byte chooses the reader (.npy, raw float32, raw float64, text), the rest
// is the file.  A reader must answer with an array that its shape fills
// exactly, or with a message.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "readers.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    cli::Signal s;
    std::string err;
    switch (data[0] % 4) {
    case 0: err = cli::parse_npy_signal(bytes, "fuzz.npy", s); break;
    case 1: err = cli::parse_raw(bytes, "fuzz.f32", true, s); break;
    case 2: err = cli::parse_raw(bytes, "fuzz.f64", false, s); break;
    default: err = cli::parse_text(bytes, "fuzz.txt", s); break;
    }
    if (err.empty() && cli::checked_product(s.shape) != static_cast<int64_t>(s.values.size())) std::abort();
    return 0;
}
