// R250: the generalised feedback shift register of S. Kirkpatrick and
// E. Stoll, "A very fast shift-register sequence random number generator",
// J. Comput. Phys. 40 (1981) 517-526:
//
//   x[n] = x[n-250] ^ x[n-147],
//
// kept as a ring of 250 words with two positions: `first` holds x[n-250],
// `second` = first + 103 (mod 250) holds x[n-147].  A step replaces the
// word at `first` by the output and moves both positions on by one.
//
// Seeding from one word s (0 taken as 1) fills the ring with s 69069^(k+1)
// mod 2^32 and then makes the words at 3, 10, ..., 220 (every 7th) a
// triangle: word 3 + 7k has bit 31 - k set and the bits above it clear, so
// those 32 words are linearly independent over GF(2) and the ring spans
// all 32 bit columns.  250 or more seed words are the ring as given.
//
// Speed.  With the ring read out from `first` as w[0..249] and the outputs
// following as w[250..], output j is w[j] ^ w[j + d] with d = 103: outputs
// within 250 - d = 147 of each other do not depend on each other, so the
// recurrence runs in stretches of 147 words, each a plain XOR of two
// earlier stretches, which the compiler vectorises.  Beyond the first 250
// outputs the stretches read the caller's array itself.  At the end the
// last 250 words go back to the ring in the places a step-by-step run
// leaves them, so the state is the same after any split of the calls.
//
// Real output: v * c + a with c = (b - a) 2^-32, v the unsigned word,
// formed in the 64-bit significand and rounded once at the store (single
// kernel: from the float a and b, rounded to float).
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "rng/generator.h"
#include "rng/load_checks.h"
#include "xebruk/rng_generators.h"

namespace xeb::rng {
namespace {

constexpr int32_t kRing = 250;
constexpr int32_t kDistance = 103;  // second - first: x[n-147] = ring[first + 103]
constexpr uint32_t kSeedMultiplier = 69069;
constexpr int kTrianglePeriod = 7, kTriangleStart = 3;
constexpr int32_t kDirectBelow = 64;  // counts stepped one by one on the ring

struct R250 {
    struct State {
        uint32_t ring[kRing];
        int32_t first;   // place of x[n-250], the word the next step replaces
        int32_t second;  // place of x[n-147]
    };

    static int32_t seed(State& s, int32_t n, const uint32_t* params) {
        if (n >= kRing) {
            std::memcpy(s.ring, params, sizeof s.ring);
        } else {
            uint32_t x = n > 0 ? params[0] : 1;
            if (x == 0) x = 1;
            for (int32_t k = 0; k < kRing; ++k) s.ring[k] = x *= kSeedMultiplier;
            for (int k = 0; k < 32; ++k) {
                const uint32_t top = uint32_t{1} << (31 - k);
                uint32_t& w = s.ring[kTriangleStart + kTrianglePeriod * k];
                w = (w & (top - 1)) | top;
            }
        }
        s.first = 0;
        s.second = kDistance;
        return RUK_OK;
    }

    static int32_t leapfrog(State&, int32_t, int32_t) { return RUK_ERROR_NO_LEAPFROG; }
    static int32_t skip_ahead(State&, int32_t) { return RUK_ERROR_NO_SKIP; }
};

static_assert(sizeof(R250::State) + kStreamHeaderBytes == 1024, "R250 streamSize");

// A position in 0 .. 249 (a state from a file may hold any word).
int32_t ring_place(int32_t p) {
    const int32_t m = p % kRing;
    return m < 0 ? m + kRing : m;
}

void xor_run(uint32_t* __restrict dst, const uint32_t* __restrict u,
             const uint32_t* __restrict v, int32_t count) {
    for (int32_t i = 0; i < count; ++i) dst[i] = u[i] ^ v[i];
}

// out[j] = w[j] ^ w[j + d] for j below n, w[i] being lin[i] below 250 and
// out[i - 250] above, in stretches of 250 - d so that every word read is
// already there.  The stretches from 0 end at 250 - d, where w[j + d]
// passes into out, and one ends at 250, where w[j] does.
void run_lags(uint32_t* out, const uint32_t* lin, int32_t d, int32_t n) {
    const int32_t stretch = kRing - d;
    for (int32_t j = 0; j < n;) {
        const int32_t end = std::min(n, j < kRing ? std::min(j + stretch, kRing) : j + stretch);
        const uint32_t* u = j < kRing ? lin + j : out + (j - kRing);
        const uint32_t* v = j + d < kRing ? lin + j + d : out + (j + d - kRing);
        xor_run(out + j, u, v, end - j);
        j = end;
    }
}

// The next n words to out, the state moved on by n steps.
void generate(R250::State& s, int32_t n, uint32_t* out) {
    if (n <= 0) return;
    int32_t first = ring_place(s.first), second = ring_place(s.second);
    if (n < kDirectBelow) {
        for (int32_t i = 0; i < n; ++i) {
            const uint32_t v = s.ring[first] ^ s.ring[second];
            s.ring[first] = v;
            out[i] = v;
            if (++first == kRing) first = 0;
            if (++second == kRing) second = 0;
        }
        s.first = first;
        s.second = second;
        return;
    }
    const int32_t d = ring_place(second - first);
    // w[0..249]: the ring from `first` on, x[n-250] .. x[n-1].
    uint32_t lin[kRing];
    std::memcpy(lin, s.ring + first, sizeof(uint32_t) * static_cast<std::size_t>(kRing - first));
    std::memcpy(lin + (kRing - first), s.ring, sizeof(uint32_t) * static_cast<std::size_t>(first));
    run_lags(out, lin, d, n);
    // The ring after n steps holds w[n .. n + 249] from place first + n on.
    uint32_t last[kRing];
    const int32_t kept = std::max(kRing - n, 0);  // words of lin still in the ring
    std::memcpy(last, lin + (kRing - kept), sizeof(uint32_t) * static_cast<std::size_t>(kept));
    std::memcpy(last + kept, out + (n - (kRing - kept)),
                sizeof(uint32_t) * static_cast<std::size_t>(kRing - kept));
    const int32_t place = static_cast<int32_t>((int64_t{first} + n) % kRing);
    std::memcpy(s.ring + place, last, sizeof(uint32_t) * static_cast<std::size_t>(kRing - place));
    std::memcpy(s.ring, last + (kRing - place), sizeof(uint32_t) * static_cast<std::size_t>(place));
    s.first = place;
    s.second = ring_place(place + d);
}

// A state seeding and draws can make: both positions on the ring, the
// second 103 after the first.  Any ring is one (250 seed words are taken
// as they come).
bool valid_state(const unsigned char* bytes) {
    R250::State s;
    std::memcpy(&s, bytes, sizeof s);
    return s.first >= 0 && s.first < kRing && s.second == (s.first + kDistance) % kRing;
}
const StateCheckRegistration kLoadCheck{rukBRngR250InitStream, valid_state};

template <class T>
int32_t real_kernel(RukStream* stream, int32_t n, T* r, T a, T b) {
    auto& s = state_of<R250::State>(stream);
    return real_from_words<uint32_t>(n, r, a, b, 0x1p-32L,
                                     [&s](int32_t k, uint32_t* w) { generate(s, k, w); });
}

}  // namespace


}  // namespace xeb::rng

using namespace xeb::rng;

int32_t rukBRngR250InitStream(int32_t method, RukStream* stream, int32_t n,
                              const uint32_t* params) {
    return init_stream<R250>(method, stream, n, params);
}

int32_t rukiBRngR250(RukStream* stream, int32_t n, uint32_t* r) {
    generate(state_of<R250::State>(stream), n, r);
    return RUK_OK;
}

int32_t rukdBRngR250(RukStream* stream, int32_t n, double* r, double a, double b) {
    return real_kernel(stream, n, r, a, b);
}

int32_t ruksBRngR250(RukStream* stream, int32_t n, float* r, float a, float b) {
    return real_kernel(stream, n, r, a, b);
}
