// Mersenne Twisters of word size 32 (M. Matsumoto and T. Nishimura, ACM
// TOMACS 8, 1998), written once over the generator's description G:
//
//   G::kN, G::kM            degree (words of state) and middle distance
//   G::kUpper               the bits of x[k] that enter the twist (the rest,
//                           ~kUpper, come from x[k+1])
//   G::kTemperShift         the first tempering shift
//   G::State                record with uint32_t mt[kN] and int32_t index
//   G::constants(state)     an object with members twist, temper_b and
//                           temper_c: static constexpr for a generator of
//                           one parameter set, read from the stream for a
//                           family of them
//
// Recurrence: x[k+n] = twist(x[k], x[k+1], x[k+m]) with
//   twist(u, v, w) = (((u & upper) | (v & lower)) >> 1) ^ w ^ (a if v odd),
// tempering: y ^= y >> kTemperShift; y ^= (y << 7) & b; y ^= (y << 15) & c;
// y ^= y >> 18.
//
// State: the n untempered words of the current generation and the position
// of the next one (n: all used, the next draw regenerates).
//
// Filling an array of count numbers takes three passes over the caller's
// memory, with no branch per word:
//   1. raw words into the result slots.  Up to n of them come from the
//      state (regenerated once on the way if needed).  Beyond that the
//      recurrence runs inside the array itself, the caller's memory serving
//      as the moving buffer, and the last n slots are copied back as the
//      new state;
//   2. tempering, in place;
//   3. the conversion to the interval, in place (real kernels only); the
//      double kernel on an interval whose word * c is exact in double (see
//      exact_scale) tempers and converts in one pass, without the x87.
// A slot is 4 bytes for the integer and single kernels; the double kernel
// uses its 8-byte result slots, each holding the word in its low half and 0
// in its high half, so that pass 3 reads it as a 64-bit integer.  Each pass
// works 16 bytes at a time where it can.  A block of lanes at slot k reads
// slots k - n .. k - n + width and k - (n - m) .. k - (n - m) + width - 1,
// all written before it as long as the width is at most n - m.
//
// Conversion, under the fixed control words of the stream kernels whatever
// the thread's mode.  Double: word * c + a with c = (b - a) 2^-32 in the
// 64-bit significand; on (0, 1) that is word / 2^32 exactly (0 included,
// 1 not).
// Single: c = (b - a) 2^-32 rounded to double, word * c + a in the 64-bit
// significand, rounded to float at the store (on (0, 1) results may round
// up to 1.0f).
#pragma once

#include <cstdint>
#include <cstring>
#include <utility>

#include "frame/kernel_frame.h"
#include "frame/simd.h"
#include "rng/generator.h"

namespace xeb::rng {

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

template <class G>
struct MersenneTwister {
    using State = typename G::State;
    using Constants = decltype(G::constants(std::declval<const State&>()));
    static constexpr int kN = G::kN;
    static constexpr int kM = G::kM;
    static constexpr int kLag = kN - kM;  // x[k+n] also reads x[k+n-kLag]
    static constexpr uint32_t kUpper = G::kUpper;
    static constexpr uint32_t kLower = ~G::kUpper;
    static_assert(Lanes<uint32_t>::kWidth <= kLag, "a block of lanes reads only older slots");

    // The array seeding: a linear-congruential fill from 19650218, then the
    // key mixed in over max(n, key length) steps, then n - 1 steps of a
    // second mix; mt[0] = 0x80000000 so that the state is never 0.  The
    // position ends at n.
    static void seed(State& s, int32_t key_words, const uint32_t* params) {
        static constexpr uint32_t kDefaultKey[1] = {1};
        const uint32_t* key = key_words >= 1 ? params : kDefaultKey;
        const int32_t key_length = key_words >= 1 ? key_words : 1;
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
        mt[0] = 0x80000000u;
    }

    // A state draws can go on from: a position of at most n (below 0 is
    // what negative counts leave, taken as 0 at the next draw), and a
    // generation whose recurrence bits (the upper bits of word 0, all of the
    // others) are not all zero, the one state the recurrence never leaves.
    static bool can_continue(const State& s) {
        if (s.index > kN) return false;
        uint32_t any = s.mt[0] & kUpper;
        for (int k = 1; k < kN; ++k) any |= s.mt[k];
        return any != 0;
    }

    // twist(u, v, w): lane by lane on scalars and vectors alike; with words
    // in the low halves of 64-bit lanes every term stays below 2^32.
    template <class T>
    static T twist(T u, T v, T w, Constants k) {
        const T y = (u & kUpper) | (v & kLower);
        return (y >> 1) ^ w ^ (-(v & 1u) & k.twist);
    }

    template <class T>
    static T temper(T y, Constants k) {
        y ^= y >> G::kTemperShift;
        y ^= (y << 7) & k.temper_b;
        y ^= (y << 15) & k.temper_c;
        return y ^ (y >> 18);
    }

    // dst[j] = twist(u[j], u[j+1], w[j]) for j < count, in ascending order.
    // dst may be u (in place), and w may lie behind dst by at least kLag
    // elements (already written) or anywhere ahead (not yet written).
    template <class Slot>
    static void twist_run(Slot* dst, const Slot* u, const Slot* w, int32_t count,
                          Constants k) {
        using L = Lanes<Slot>;
        int32_t j = 0;
        for (; j + L::kWidth <= count; j += L::kWidth)
            L::store(dst + j, twist(L::load(u + j), L::load(u + j + 1), L::load(w + j), k));
        for (; j < count; ++j)
            L::put(dst + j, twist(L::get(u + j), L::get(u + j + 1), L::get(w + j), k));
    }

    // The first m words of the next generation, computed in place (m <= n).
    // Words 0..kLag-1 read the old words kM ahead; words kLag..n-2 the new
    // words kLag behind; word n-1 wraps round to the new word 0.
    static void regenerate(uint32_t* mt, int m, Constants k) {
        const int first = m < kLag ? m : kLag;
        twist_run(mt, mt, mt + kM, first, k);
        if (m > kLag) {
            const int second = (m < kN - 1 ? m : kN - 1) - kLag;
            twist_run(mt + kLag, mt + kLag, mt, second, k);
        }
        if (m == kN) mt[kN - 1] = twist(mt[kN - 1], mt[0], mt[kM - 1], k);
    }

    template <class Slot>
    static void copy_words(Slot* dst, const uint32_t* src, int count) {
        for (int j = 0; j < count; ++j) Lanes<Slot>::put(dst + j, src[j]);
    }

    // Pass 1: count raw words into slots 0..count-1, state advanced past
    // them.  A count of zero or below moves no word and moves the position
    // back by -count.  A position outside 0..n (only reachable through
    // negative counts or a state written from outside) is taken as its
    // nearest end at the next draw.
    template <class Slot>
    static void raw_words(State& s, int32_t count, Slot* slot, Constants k) {
        uint32_t* mt = s.mt;
        const int p = s.index < 0 ? 0 : s.index > kN ? kN : s.index;
        if (count <= 0) {
            const int64_t back = static_cast<int64_t>(s.index) + count;
            s.index = static_cast<int32_t>(back < INT32_MIN ? INT32_MIN : back);
            return;
        }
        if (count <= kN - p) {  // case 1: all from the present generation
            copy_words(slot, mt + p, count);
            s.index = p + count;
            return;
        }
        copy_words(slot, mt + p, kN - p);
        if (count <= kN) {  // case 2: the rest from one new generation
            regenerate(mt, kN, k);
            copy_words(slot + (kN - p), mt, count - (kN - p));
            s.index = count - (kN - p);
            return;
        }
        // Case 3: complete the first n slots from a partial generation, then
        // carry the recurrence on in the caller's array.
        regenerate(mt, p, k);
        copy_words(slot + (kN - p), mt, p);
        twist_run(slot + kN, slot, slot + kM, count - kN, k);
        for (int j = 0; j < kN; ++j)
            mt[j] = static_cast<uint32_t>(Lanes<Slot>::get(slot + (count - kN + j)));
        s.index = kN;
    }

    // Passes 1 and 2 over slots of type Slot laid over the results.
    template <class Slot>
    static void tempered_words(RukStream* stream, int32_t count, Slot* slot) {
        using L = Lanes<Slot>;
        State& s = state_of<State>(stream);
        const Constants k = G::constants(s);
        raw_words(s, count, slot, k);
        int32_t j = 0;
        for (; j + L::kWidth <= count; j += L::kWidth) L::store(slot + j, temper(L::load(slot + j), k));
        for (; j < count; ++j) L::put(slot + j, temper(L::get(slot + j), k));
    }

    // Passes 1 to 3 for a real kernel: the slots are the result elements
    // themselves, reached by memcpy as the buffer changes type in place.
    template <class Slot, class T, class Convert>
    static void fill_converted(RukStream* stream, int32_t count, T* r, Convert convert) {
        static_assert(sizeof(Slot) == sizeof(T), "one slot per result");
        tempered_words(stream, count, reinterpret_cast<Slot*>(r));
        for (int32_t j = 0; j < count; ++j) {
            const T v = convert(Lanes<Slot>::get(reinterpret_cast<const Slot*>(r + j)));
            std::memcpy(r + j, &v, sizeof v);
        }
    }

    // Passes 1 to 3 when word * c is exact in double (c a power of two, see
    // exact_scale): tempering and conversion in one pass, the word becoming
    // a double through the bits of 2^52 + word (exact below 2^52), two
    // lanes at a time.  Adding a (a zero) keeps
    // the sign rule of word * c + a: a zero word on a negative c gives -0
    // only when a is -0.
    static void scaled_doubles(RukStream* stream, int32_t count, double* r, double c, double a) {
        using Words = simd::Vec<uint64_t, 2>;
        using Reals = simd::Vec<double, 2>;
        auto* slot = reinterpret_cast<uint64_t*>(r);
        State& s = state_of<State>(stream);
        const Constants k = G::constants(s);
        raw_words(s, count, slot, k);
        const Reals two52 = simd::broadcast<Reals>(0x1p52), scale = simd::broadcast<Reals>(c),
                    zero = simd::broadcast<Reals>(a);
        const Words exponent = simd::broadcast<Words>(0x4330000000000000ull);
        int32_t j = 0;
        for (; j + 2 <= count; j += 2) {
            const Words w = temper(simd::load<Words>(slot + j), k);
            simd::store(r + j, (simd::bitcast<double>(w | exponent) - two52) * scale + zero);
        }
        for (; j < count; ++j)
            r[j] = static_cast<double>(temper(Lanes<uint64_t>::get(slot + j), k)) * c + a;
    }

    // The three kernels.
    static int32_t integers(RukStream* stream, int32_t count, uint32_t* r) {
        tempered_words(stream, count, r);
        return RUK_OK;
    }

    static int32_t doubles(RukStream* stream, int32_t count, double* r, double a, double b) {
        const frame::StreamControlWords words;
        // Slot: the 64-bit integer whose low half is the word.
        const long double c = (static_cast<long double>(b) - a) * 0x1p-32L;
        if (exact_scale(a, c)) {
            scaled_doubles(stream, count, r, static_cast<double>(c), a);
            return RUK_OK;
        }
        const long double aa = a;
        fill_converted<uint64_t>(stream, count, r, [c, aa](uint64_t w) {
            return static_cast<double>(static_cast<long double>(static_cast<int64_t>(w)) * c + aa);
        });
        return RUK_OK;
    }

    static int32_t singles(RukStream* stream, int32_t count, float* r, float a, float b) {
        const frame::StreamControlWords words;
        const long double c = static_cast<double>((static_cast<long double>(b) - a) * 0x1p-32L);
        const long double aa = a;
        fill_converted<uint32_t>(stream, count, r, [c, aa](uint32_t w) {
            return static_cast<float>(word_value(w) * c + aa);
        });
        return RUK_OK;
    }
};

}  // namespace xeb::rng
