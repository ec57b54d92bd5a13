// MT2203: 1024 Mersenne Twisters of period 2^2203 - 1 (w = 32, n = 69,
// m = 34, r = 5), one per sub-id of the id 0x900000 + sub-id, for parallel
// streams that need no leapfrog: each set {twist a, tempering masks b, c}
// has its own primitive characteristic polynomial, so the streams of two
// sub-ids are different recurrences, not pieces of one sequence.
// Tempering (12, 7, b, 15, c, 18).  The stream holds its set beside the
// state; the seeding is the array seeding of MT19937 over 69 words, and the
// recurrence and kernels are those of rng/mersenne_twister.h.
//
// The sets (rng/mt2203_params.inc) come from tools/mt2203_params, the
// dynamic creation of Mersenne Twisters (Matsumoto and Nishimura, 1998).
#include "rng/mt2203.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "rng/load_checks.h"
#include "rng/mersenne_twister.h"
#include "rng/registry.h"
#include "xebruk/rng_generators.h"

namespace xeb::rng {

#include "rng/mt2203_params.inc"

namespace {

constexpr int kParameterSets = 1024;

struct Mt2203 {
    static constexpr int kN = 69;
    static constexpr int kM = 34;
    static constexpr uint32_t kUpper = 0xFFFFFFE0u;
    static constexpr int kTemperShift = 12;

    struct State {
        uint32_t mt[kN];    // untempered words
        int32_t index;      // next word; 69 = all used
        uint32_t twist_a;   // the stream's parameter set, outside the
        uint32_t temper_b;  // seedable words, so that rukCopyStreamState
        uint32_t temper_c;  // leaves each stream its own
        uint32_t unused;    // pads the record to a multiple of 8 bytes
    };

    struct Constants {
        uint32_t twist, temper_b, temper_c;
    };
    static Constants constants(const State& s) { return {s.twist_a, s.temper_b, s.temper_c}; }

    static int32_t seed(State& s, int32_t n, const uint32_t* params) {
        MersenneTwister<Mt2203>::seed(s, n, params);
        return RUK_OK;
    }
    static int32_t leapfrog(State&, int32_t, int32_t) { return RUK_ERROR_NO_LEAPFROG; }
    static int32_t skip_ahead(State&, int32_t) { return RUK_ERROR_NO_SKIP; }
};

static_assert(sizeof(Mt2203::State) + kStreamHeaderBytes == 312, "MT2203 streamSize");
static_assert(offsetof(Mt2203::State, twist_a) == 70 * 4, "seedCount 70 ends before the set");

using Engine = MersenneTwister<Mt2203>;

// A loaded state must be one the kernels can go on from, with the words of
// one of the sets (the check sees the state alone, not the sub-id).
bool valid_state(const unsigned char* bytes) {
    Mt2203::State s;
    std::memcpy(&s, bytes, sizeof s);
    if (!Engine::can_continue(s)) return false;
    for (const Mt2203ParameterSet& set : kMt2203ParameterSets)
        if (set.twist_a == s.twist_a && set.temper_b == s.temper_b && set.temper_c == s.temper_c)
            return true;
    return false;
}
const StateCheckRegistration kLoadCheck{rukBRngMT2203InitStream, valid_state};

}  // namespace
}  // namespace xeb::rng

using namespace xeb::rng;

int32_t rukBRngMT2203InitStream(int32_t method, RukStream* stream, int32_t n,
                                const uint32_t* params) {
    const int32_t status = init_stream<Mt2203>(method, stream, n, params);
    if (method == RUK_INIT_NEW) {
        // Every stream of this row has a sub-id below 1024 (rukIsBrngValid);
        // a stream of another id reaching this entry (a registered row has
        // sub-id 0) takes set 0.
        const int32_t sub = resolve(stream->brngId).sub;
        const Mt2203ParameterSet& set = kMt2203ParameterSets[sub >= 0 && sub < kParameterSets ? sub : 0];
        Mt2203::State& s = state_of<Mt2203::State>(stream);
        s.twist_a = set.twist_a;
        s.temper_b = set.temper_b;
        s.temper_c = set.temper_c;
    }
    return status;
}

int32_t rukiBRngMT2203(RukStream* stream, int32_t n, uint32_t* r) {
    return Engine::integers(stream, n, r);
}

int32_t rukdBRngMT2203(RukStream* stream, int32_t n, double* r, double a, double b) {
    return Engine::doubles(stream, n, r, a, b);
}

int32_t ruksBRngMT2203(RukStream* stream, int32_t n, float* r, float a, float b) {
    return Engine::singles(stream, n, r, a, b);
}
