// The registries behind `xebruk rng`, and the basic generators it offers.
#include "rng_choices.h"

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

namespace {

const RngRegistration basic_generators({
    {"mcg31m1", RUK_BRNG_MCG31M1, "x <- 1132489760 x mod (2^31 - 1); one seed word"},
    {"mt19937", RUK_BRNG_MT19937, "Mersenne Twister, period 2^19937 - 1; seeded from a key array"},
});

}  // namespace
}  // namespace cli
