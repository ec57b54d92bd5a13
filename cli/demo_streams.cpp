// xebruk demo, random streams: a short MCG31M1 draw, a leapfrog split and
// a skip-ahead.
#include <cstdio>

#include "commands.h"
#include "xebruk/xebruk.h"

namespace cli {

namespace {

void show_words(const char* label, const uint32_t* v, int n) {
    std::printf("  %-28s", label);
    for (int i = 0; i < n; ++i) std::printf(" %10u", v[i]);
    std::printf("\n");
}

}  // namespace

int demo_streams() {
    std::printf("\nRandom streams: MCG31M1, x <- 1132489760 x mod (2^31 - 1), seed 1.\n");
    RukStream* stream = nullptr;
    const uint32_t seed = 1;
    int32_t status = rukNewStreamEx(&stream, RUK_BRNG_MCG31M1, 1, &seed);
    if (status < 0) {
        std::fprintf(stderr, "xebruk: rukNewStreamEx failed with status %d\n", status);
        return 1;
    }
    RukStream* copy = nullptr;
    rukCopyStream(&copy, stream);

    uint32_t words[6];
    rukiBRngMCG31M1(stream, 6, words);
    show_words("rukiBRngMCG31M1, 6 words:", words, 6);
    double u[4];
    rukdBRngMCG31M1(stream, 4, u, 0.0, 1.0);
    std::printf("  %-28s %.17g %.17g %.17g %.17g\n", "next 4 doubles on (0, 1):", u[0], u[1],
                u[2], u[3]);

    // The copy starts where the stream started; leapfrog it to every
    // second element from the second on, then skip one of its own steps.
    rukLeapfrogStream(copy, 1, 2);
    rukiBRngMCG31M1(copy, 2, words);
    show_words("copy, leapfrog k=1 of 2:", words, 2);
    rukSkipAheadStream(copy, 1);
    rukiBRngMCG31M1(copy, 1, words);
    show_words("then skip 1, next word:", words, 1);
    std::printf("  (words 2 and 4 of the first line, then word 8 of the sequence)\n");
    rukDeleteStream(&copy);
    rukDeleteStream(&stream);
    return 0;
}

}  // namespace cli
