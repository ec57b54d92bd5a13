#include "support/scale.h"

#include <cstdlib>

namespace xt {

double test_scale() {
    static const double scale = [] {
        const char* s = std::getenv("XEBRUK_TEST_SCALE");
        double v = s ? std::atof(s) : 1.0;
        return v > 0 ? v : 1.0;
    }();
    return scale;
}

std::size_t scaled(std::size_t count, std::size_t minimum) {
    auto n = static_cast<std::size_t>(static_cast<double>(count) * test_scale());
    return n < minimum ? minimum : n;
}

std::string source_dir() {
    const char* s = std::getenv("XEBRUK_SOURCE_DIR");
    return s ? s : ".";
}

}  // namespace xt
