// What a basic generator supplies to the stream service.
//
// A generator G keeps its running state in a plain record G::State that
// lies in the stream right after the header (state_of<G::State>); its row's
// streamSize is 16 + sizeof(G::State).  It supplies three static functions,
// one per initStream method:
//
//   int32_t seed(State&, int32_t n, const uint32_t* params);   RUK_INIT_NEW
//   int32_t leapfrog(State&, int32_t k, int32_t nstreams);     RUK_INIT_LEAPFROG
//   int32_t skip_ahead(State&, int32_t nskip);                 RUK_INIT_SKIPAHEAD
//
// (answering RUK_ERROR_NO_LEAPFROG or RUK_ERROR_NO_SKIP when it has no such
// method or refuses the arguments), and its exported initStream is
// init_stream<G>.  Its three kernels fill r with n numbers and leave the
// state ready for the next call, so that one call of n gives the same
// numbers as any run of calls whose counts add up to n.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/kernel_frame.h"
#include "rng/stream.h"

namespace xeb::rng {

template <class G>
int32_t init_stream(int32_t method, RukStream* stream, int32_t n, const uint32_t* params) {
    auto& s = state_of<typename G::State>(stream);
    switch (method) {
        case RUK_INIT_NEW:
            return G::seed(s, n, params);
        case RUK_INIT_LEAPFROG:
            return G::leapfrog(s, static_cast<int32_t>(params[0]), n);
        case RUK_INIT_SKIPAHEAD:
            return G::skip_ahead(s, n);
        default:
            return RUK_ERROR_UNKNOWN_METHOD;
    }
}

// A 32-bit output word as a number: converted as a signed integer, plus
// 2^32 when its top bit is set.  Exact.  (The table holds doubles: an
// 80-bit load costs several times a 64-bit one.)
inline long double word_value(uint32_t w) {
    static constexpr double kTopBitTerm[2] = {0.0, 4294967296.0};
    return static_cast<long double>(static_cast<int32_t>(w)) + kTopBitTerm[w >> 31];
}

// Jumps of a multiplicative congruential generator x <- a x (mod m) that
// keeps x and a: k steps ahead is x a^k, and every s-th element is the
// generator with multiplier a^s (both powers of the old a).  pow(a, e) and
// mul(x, y) work modulo m.  A negative count has no power: it is refused
// before anything changes.
template <class Word, class Pow, class Mul>
int32_t mcg_leapfrog(Word& x, Word& a, int32_t k, int32_t nstreams, Pow pow, Mul mul) {
    if (k < 0 || nstreams < 0) return RUK_ERROR_NO_LEAPFROG;
    const Word a0 = a;
    x = mul(x, pow(a0, k));
    a = pow(a0, nstreams);
    return RUK_OK;
}
template <class Word, class Pow, class Mul>
int32_t mcg_skip_ahead(Word& x, Word a, int32_t nskip, Pow pow, Mul mul) {
    if (nskip < 0) return RUK_ERROR_NO_SKIP;
    x = mul(x, pow(a, nskip));
    return RUK_OK;
}

// Real kernel of a generator of words below 2^63: r[i] = w c + a with
// c = (b - a) unit, formed in the 64-bit significand and rounded once at
// the store (a and b of either precision), under the stream control words
// (x87 at 64 bits, both units rounding to nearest).  words(k, w) writes the next k
// words to w and advances the state; they come a stack block at a time, so
// that the integer pass runs at full speed and the conversion has a loop
// of its own.
//
// When a is 0 and c a power of two (the interval (0, 1) of the generators
// with a power-of-two scale), w c is w converted to T with its one
// rounding, then scaled exactly and a (a zero: the sign of a zero w c
// follows the addition) added: the same numbers, without the x87, as long
// as no w c leaves the normal range of T (checked on c).
//
// exact_scale tells whether (a, c) is such a case.
template <class T>
bool exact_scale(T a, long double c) {
    int exponent = 0;
    const long double mantissa = std::frexp(c, &exponent);
    return a == 0 && (mantissa == 0.5L || mantissa == -0.5L) &&
           std::fabs(c) >= std::numeric_limits<T>::min() &&
           std::fabs(c) <= std::numeric_limits<T>::max() * 0x1p-64L;
}

template <class Word, class T, class Words>
int32_t real_from_words(int32_t n, T* r, T a, T b, long double unit, Words words) {
    const frame::StreamControlWords control_words;
    constexpr int32_t kBlock = 4096;
    const long double c = (static_cast<long double>(b) - a) * unit, lo = a;
    const bool exact = exact_scale(a, c);
    const T scale = static_cast<T>(c);
    Word w[kBlock];
    for (int32_t done = 0; done < n; done += kBlock) {
        const int32_t k = n - done < kBlock ? n - done : kBlock;
        words(k, w);
        if (exact)
            for (int32_t i = 0; i < k; ++i)
                r[done + i] = static_cast<T>(static_cast<int64_t>(w[i])) * scale + a;
        else
            for (int32_t i = 0; i < k; ++i)
                r[done + i] = static_cast<T>(static_cast<long double>(static_cast<int64_t>(w[i])) * c + lo);
    }
    return RUK_OK;
}

}  // namespace xeb::rng
