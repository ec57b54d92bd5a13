// MT19937: the Mersenne Twister of period 2^19937 - 1 (w = 32, n = 624,
// m = 397, r = 31, a = 0x9908B0DF, tempering (11, 7, 0x9D2C5680,
// 15, 0xEFC60000, 18)), seeded from a key array.
//
// State: the 624 untempered words of the current generation and the
// position of the next one (624: all used, the next draw regenerates).
//
// Filling an array of n numbers takes three passes over the caller's
// memory, with no branch per word:
//   1. raw words into the result slots.  Up to 624 of them come from the
//      state (regenerated once on the way if needed).  Beyond that the
//      recurrence x[k+624] = twist(x[k], x[k+1], x[k+397]) runs inside the
//      array itself, the caller's memory serving as the moving buffer,
//      and the last 624 slots are copied back as the new state;
//   2. tempering, in place;
//   3. the conversion to the interval, in place (real kernels only).
// A slot is 4 bytes for the integer and single kernels; the double kernel
// uses its 8-byte result slots, each holding the word in its low half and 0
// in its high half, so that pass 3 reads it as a 64-bit integer.  Each pass
// works 16 bytes at a time where it can: the twist in blocks short enough
// (width below 227) that no lane reads a slot the same block writes.
//
// Conversion.  Double: word * c + a with c = (b - a) 2^-32 in the 64-bit
// significand; on (0, 1) that is word / 2^32 exactly (0 included, 1 not).
// Single: c = (b - a) 2^-32 rounded to double, word * c + a in the 64-bit
// significand, rounded to float at the store (on (0, 1) results may round
// up to 1.0f).
#include <cstdint>
#include <cstring>

#include "frame/kernel_frame.h"
#include "frame/simd.h"
#include "rng/generator.h"
#include "rng/load_checks.h"
#include "xebruk/rng_generators.h"

namespace xeb::rng {
namespace {

constexpr int kN = 624;           // words of a generation
constexpr int kM = 397;           // middle distance
constexpr int kLag = kN - kM;     // 227: x[k+624] also reads x[k+624-227]
constexpr uint32_t kTwist = 0x9908B0DFu;
constexpr uint32_t kUpper = 0x80000000u;
constexpr uint32_t kLower = 0x7FFFFFFFu;
constexpr uint32_t kTemperB = 0x9D2C5680u;
constexpr uint32_t kTemperC = 0xEFC60000u;
constexpr long double kTwoToMinus32 = 0x1p-32L;

struct Mt19937 {
    struct State {
        uint32_t mt[kN];  // untempered words
        int32_t index;    // next word; 624 = all used
        uint32_t unused;  // pads the record to a multiple of 8 bytes
    };

    // The array seeding: a linear-congruential fill from 19650218, then
    // the key mixed in over max(624, key length) steps, then 623 steps of
    // a second mix; bit 31 of word 0 forced so that the state is never 0.
    static int32_t seed(State& s, int32_t n, const uint32_t* params) {
        static constexpr uint32_t kDefaultKey[1] = {1};
        const uint32_t* key = n >= 1 ? params : kDefaultKey;
        const int32_t key_length = n >= 1 ? n : 1;
        uint32_t* mt = s.mt;
        mt[0] = 19650218u;
        for (int i = 1; i < kN; ++i)
            mt[i] = 1812433253u * (mt[i - 1] ^ (mt[i - 1] >> 30)) + static_cast<uint32_t>(i);
        s.index = kN;
        int i = 1;
        int32_t j = 0;
        for (int32_t k = key_length > kN ? key_length : kN; k > 0; --k) {
            mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1664525u)) + key[j] +
                    static_cast<uint32_t>(j);
            ++i;
            ++j;
            if (i >= kN) {
                mt[0] = mt[kN - 1];
                i = 1;
            }
            if (j >= key_length) j = 0;
        }
        for (int k = kN - 1; k > 0; --k) {
            mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1566083941u)) -
                    static_cast<uint32_t>(i);
            ++i;
            if (i >= kN) {
                mt[0] = mt[kN - 1];
                i = 1;
            }
        }
        mt[0] = kUpper;
        return RUK_OK;
    }

    static int32_t leapfrog(State&, int32_t, int32_t) { return RUK_ERROR_NO_LEAPFROG; }
    static int32_t skip_ahead(State&, int32_t) { return RUK_ERROR_NO_SKIP; }
};

static_assert(sizeof(Mt19937::State) + kStreamHeaderBytes == 2520, "MT19937 streamSize");

// A state draws can go on from: a position of at most 624 (below 0 is
// what negative counts leave, taken as 0 at the next draw), and a
// generation whose 19,937 bits (the top bit of word 0, the low 31 of the
// others) are not all zero, the one state the recurrence never leaves.
bool valid_state(const unsigned char* bytes) {
    Mt19937::State s;
    std::memcpy(&s, bytes, sizeof s);
    if (s.index > kN) return false;
    uint32_t any = s.mt[0] & kUpper;
    for (int k = 1; k < kN; ++k) any |= s.mt[k] & kLower;
    return any != 0;
}
const StateCheckRegistration kLoadCheck{rukBRngMT19937InitStream, valid_state};

// Four 32-bit lanes, or two 64-bit lanes holding 32-bit words, in one SSE
// register.  Loads and stores are unaligned: slots live in the caller's
// float or double array, and no alignment beyond the element's is assumed.
template <class Slot>
struct Lanes {
    using Vec = simd::Vec<Slot, 16 / sizeof(Slot)>;
    static constexpr int kWidth = 16 / sizeof(Slot);
    static Vec load(const Slot* p) { return simd::load<Vec>(p); }
    static void store(Slot* p, Vec v) { simd::store(p, v); }
    static Slot get(const Slot* p) {
        Slot v;
        std::memcpy(&v, p, sizeof v);
        return v;
    }
    static void put(Slot* p, Slot v) { std::memcpy(p, &v, sizeof v); }
};

// twist(u, v, w): the recurrence on the top bit of u and the low 31 bits
// of v.  Works lane by lane on scalars and vectors alike; with words in
// the low halves of 64-bit lanes every term stays below 2^32.
template <class T>
inline T twist(T u, T v, T w) {
    const T y = (u & kUpper) | (v & kLower);
    return (y >> 1) ^ w ^ (-(v & 1u) & kTwist);
}

template <class T>
inline T temper(T y) {
    y ^= y >> 11;
    y ^= (y << 7) & kTemperB;
    y ^= (y << 15) & kTemperC;
    return y ^ (y >> 18);
}

// dst[k] = twist(u[k], u[k+1], w[k]) for k < count, in ascending order.
// dst may be u (in place), and w may lie behind dst by at least 227
// elements (already written) or anywhere ahead (not yet written): a block
// of kWidth lanes reads u[k+kWidth] only after storing dst up to k + kWidth - 1.
template <class Slot>
void twist_run(Slot* dst, const Slot* u, const Slot* w, int count) {
    using L = Lanes<Slot>;
    int k = 0;
    for (; k + L::kWidth <= count; k += L::kWidth)
        L::store(dst + k, twist(L::load(u + k), L::load(u + k + 1), L::load(w + k)));
    for (; k < count; ++k) L::put(dst + k, twist(L::get(u + k), L::get(u + k + 1), L::get(w + k)));
}

// The first m words of the next generation, computed in place (m <= 624).
// Words 0..226 read the old words 397 ahead; words 227..622 the new words
// 227 behind; word 623 wraps round to the new word 0.
void regenerate(uint32_t* mt, int m) {
    const int first = m < kLag ? m : kLag;
    twist_run(mt, mt, mt + kM, first);
    if (m > kLag) {
        const int second = (m < kN - 1 ? m : kN - 1) - kLag;
        twist_run(mt + kLag, mt + kLag, mt, second);
    }
    if (m == kN) mt[kN - 1] = twist(mt[kN - 1], mt[0], mt[kM - 1]);
}

template <class Slot>
void copy_words(Slot* dst, const uint32_t* src, int count) {
    for (int k = 0; k < count; ++k) Lanes<Slot>::put(dst + k, src[k]);
}

// Pass 1: n raw words into slots 0..n-1, state advanced past them.  A
// count of zero or below moves no word and moves the position back by -n.
// A position outside 0..624 (only reachable through negative counts or a
// state written from outside) is taken as its nearest end at the next draw.
template <class Slot>
void raw_words(Mt19937::State& s, int32_t n, Slot* slot) {
    uint32_t* mt = s.mt;
    const int p = s.index < 0 ? 0 : s.index > kN ? kN : s.index;
    if (n <= 0) {
        const int64_t back = static_cast<int64_t>(s.index) + n;
        s.index = static_cast<int32_t>(back < INT32_MIN ? INT32_MIN : back);
        return;
    }
    if (n <= kN - p) {  // case 1: all from the present generation
        copy_words(slot, mt + p, n);
        s.index = p + n;
        return;
    }
    copy_words(slot, mt + p, kN - p);
    if (n <= kN) {  // case 2: the rest from one new generation
        regenerate(mt, kN);
        copy_words(slot + (kN - p), mt, n - (kN - p));
        s.index = n - (kN - p);
        return;
    }
    // Case 3: complete the first 624 slots from a partial generation, then
    // carry the recurrence on in the caller's array.
    regenerate(mt, p);
    copy_words(slot + (kN - p), mt, p);
    for (int32_t j = kN; j < n; j += kLag) {
        const int block = n - j < kLag ? n - j : kLag;
        twist_run(slot + j, slot + (j - kN), slot + (j - kLag), block);
    }
    for (int k = 0; k < kN; ++k) mt[k] = static_cast<uint32_t>(Lanes<Slot>::get(slot + (n - kN + k)));
    s.index = kN;
}

// Pass 2.
template <class Slot>
void temper_all(Slot* slot, int32_t n) {
    using L = Lanes<Slot>;
    int32_t k = 0;
    for (; k + L::kWidth <= n; k += L::kWidth) L::store(slot + k, temper(L::load(slot + k)));
    for (; k < n; ++k) L::put(slot + k, temper(L::get(slot + k)));
}

// Passes 1 and 2 over slots of type Slot laid over r.
template <class Slot>
void tempered_words(RukStream* stream, int32_t n, Slot* slot) {
    raw_words(state_of<Mt19937::State>(stream), n, slot);
    temper_all(slot, n);
}

// Passes 1 to 3 for a real kernel: the slots are the result elements
// themselves, reached by memcpy as the buffer changes type in place.
template <class Slot, class T, class Convert>
void fill_converted(RukStream* stream, int32_t n, T* r, Convert convert) {
    static_assert(sizeof(Slot) == sizeof(T), "one slot per result");
    tempered_words(stream, n, reinterpret_cast<Slot*>(r));
    for (int32_t j = 0; j < n; ++j) {
        const T v = convert(Lanes<Slot>::get(reinterpret_cast<const Slot*>(r + j)));
        std::memcpy(r + j, &v, sizeof v);
    }
}

}  // namespace
}  // namespace xeb::rng

using namespace xeb::rng;

int32_t rukBRngMT19937InitStream(int32_t method, RukStream* stream, int32_t n,
                                 const uint32_t* params) {
    return init_stream<Mt19937>(method, stream, n, params);
}

int32_t rukiBRngMT19937(RukStream* stream, int32_t n, uint32_t* r) {
    tempered_words(stream, n, r);
    return RUK_OK;
}

int32_t rukdBRngMT19937(RukStream* stream, int32_t n, double* r, double a, double b) {
    const xeb::frame::StreamControlWords words;
    // Slot: the 64-bit integer whose low half is the word.
    const long double c = (static_cast<long double>(b) - a) * kTwoToMinus32;
    const long double aa = a;
    fill_converted<uint64_t>(stream, n, r, [c, aa](uint64_t w) {
        return static_cast<double>(static_cast<long double>(static_cast<int64_t>(w)) * c + aa);
    });
    return RUK_OK;
}

int32_t ruksBRngMT19937(RukStream* stream, int32_t n, float* r, float a, float b) {
    const xeb::frame::StreamControlWords words;
    const long double c = static_cast<double>((static_cast<long double>(b) - a) * kTwoToMinus32);
    const long double aa = a;
    fill_converted<uint32_t>(stream, n, r, [c, aa](uint32_t w) {
        return static_cast<float>(word_value(w) * c + aa);
    });
    return RUK_OK;
}
