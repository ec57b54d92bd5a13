// The registries behind `xebruk rng`, and the basic generators it offers.
#include "rng_choices.h"

#include <cmath>
#include <limits>

#include "xebruk/rng_stream.h"

namespace cli {

std::vector<GeneratorChoice>& generator_choices() {
    static std::vector<GeneratorChoice> rows;
    return rows;
}

std::vector<LawChoice>& law_choices() {
    static std::vector<LawChoice> rows;
    return rows;
}

RngRegistration::RngRegistration(std::vector<GeneratorChoice> rows) {
    auto& all = generator_choices();
    all.insert(all.end(), rows.begin(), rows.end());
}

RngRegistration::RngRegistration(std::vector<LawChoice> rows) {
    auto& all = law_choices();
    all.insert(all.end(), rows.begin(), rows.end());
}

std::string above_zero(const char* name, double v) {
    return v > 0 && v <= std::numeric_limits<double>::max() ? "" : std::string(name) + " must be above 0";
}

std::string probability(const char* name, double v, bool zero_allowed) {
    if (v <= 1 && (zero_allowed ? v >= 0 : v > 0)) return "";
    return std::string(name) + (zero_allowed ? " must lie in [0, 1]" : " must be above 0 and at most 1");
}

std::string whole_number(const char* name, double v, double lo) {
    if (std::floor(v) == v && v >= lo && v <= INT32_MAX) return "";
    return std::string(name) + " must be a whole number from " + std::to_string(static_cast<long long>(lo)) +
           " to 2147483647";
}

std::string below(const char* a, double va, const char* b, double vb) {
    return va < vb ? "" : std::string(a) + " must be below " + b;
}

std::string first_of(std::initializer_list<std::string> messages) {
    for (const std::string& m : messages)
        if (!m.empty()) return m;
    return "";
}

namespace {

const RngRegistration basic_generators({
    {"mcg31m1", RUK_BRNG_MCG31M1, "x <- 1132489760 x mod (2^31 - 1); one seed word"},
    {"mcg59", RUK_BRNG_MCG59, "x <- 13^13 x mod 2^59; seed words: low and high half of x"},
    {"r250", RUK_BRNG_R250, "x[n] = x[n-250] ^ x[n-147]; one seed word, or 250 for the ring"},
    {"mrg32k3a", RUK_BRNG_MRG32K3A, "L'Ecuyer's combined recursive generator; up to six seed words"},
    {"wh", RUK_BRNG_WH, "four-component Wichmann-Hill, parameter set 0 to 272 (--id); four seeds", 0,
     273},
    {"mt19937", RUK_BRNG_MT19937, "Mersenne Twister, period 2^19937 - 1; seeded from a key array"},
});

}  // namespace
}  // namespace cli
