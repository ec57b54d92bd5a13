// MT19937: the Mersenne Twister of period 2^19937 - 1 (w = 32, n = 624,
// m = 397, r = 31, a = 0x9908B0DF, tempering (11, 7, 0x9D2C5680,
// 15, 0xEFC60000, 18)), seeded from a key array.  The recurrence, the
// three-pass kernels and the seeding are those of rng/mersenne_twister.h.
#include <cstdint>
#include <cstring>

#include "rng/load_checks.h"
#include "rng/mersenne_twister.h"
#include "xebruk/rng_generators.h"

namespace xeb::rng {
namespace {

struct Mt19937 {
    static constexpr int kN = 624;
    static constexpr int kM = 397;
    static constexpr uint32_t kUpper = 0x80000000u;
    static constexpr int kTemperShift = 11;

    struct State {
        uint32_t mt[kN];  // untempered words
        int32_t index;    // next word; 624 = all used
        uint32_t unused;  // pads the record to a multiple of 8 bytes
    };

    struct Constants {
        static constexpr uint32_t twist = 0x9908B0DFu;
        static constexpr uint32_t temper_b = 0x9D2C5680u;
        static constexpr uint32_t temper_c = 0xEFC60000u;
    };
    static Constants constants(const State&) { return {}; }

    static int32_t seed(State& s, int32_t n, const uint32_t* params) {
        MersenneTwister<Mt19937>::seed(s, n, params);
        return RUK_OK;
    }
    static int32_t leapfrog(State&, int32_t, int32_t) { return RUK_ERROR_NO_LEAPFROG; }
    static int32_t skip_ahead(State&, int32_t) { return RUK_ERROR_NO_SKIP; }
};

static_assert(sizeof(Mt19937::State) + kStreamHeaderBytes == 2520, "MT19937 streamSize");

using Engine = MersenneTwister<Mt19937>;

// A loaded state must be one the kernels can go on from.
bool valid_state(const unsigned char* bytes) {
    Mt19937::State s;
    std::memcpy(&s, bytes, sizeof s);
    return Engine::can_continue(s);
}
const StateCheckRegistration kLoadCheck{rukBRngMT19937InitStream, valid_state};

}  // namespace
}  // namespace xeb::rng

using namespace xeb::rng;

int32_t rukBRngMT19937InitStream(int32_t method, RukStream* stream, int32_t n,
                                 const uint32_t* params) {
    return init_stream<Mt19937>(method, stream, n, params);
}

int32_t rukiBRngMT19937(RukStream* stream, int32_t n, uint32_t* r) {
    return Engine::integers(stream, n, r);
}

int32_t rukdBRngMT19937(RukStream* stream, int32_t n, double* r, double a, double b) {
    return Engine::doubles(stream, n, r, a, b);
}

int32_t ruksBRngMT19937(RukStream* stream, int32_t n, float* r, float a, float b) {
    return Engine::singles(stream, n, r, a, b);
}
