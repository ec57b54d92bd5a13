// Base-2 quasi-random sequences in Gray-code order: the state, the three
// kernels, leapfrog to one component and skip-ahead, shared by SOBOL and
// Niederr.  Each of those supplies only its direction numbers (and one
// line of skip-ahead, see SkipRule).
//
// The sequence.  Component d of vector i is the 32-bit binary fraction
//   x_d(i) = XOR of V[d][b] over the bits b of gray(i),  gray(i) = i ^ (i >> 1).
// Consecutive Gray codes differ in one bit, the lowest zero bit of i, so
// x_d(i + 1) = x_d(i) ^ V[d][lowzero(i)]: one XOR per number.  Vector 0 (the
// origin) is never handed out; a stream starts at vector 1, where every
// component is V[d][0].
//
// Invariant: point[d] = x_d(counter) for every component still current.
// In all-component mode (leapDim = -1) every d is current and `remaining`
// components of vector `counter` are still to be handed out (0: none yet).
// In one-component mode only point[leapDim] is kept up; the others go
// stale and the call that narrows the stream rebuilds the one it needs.
//
// Numbers.  A word w is w / 2^32.  The real kernels scale it as w c + a with
// c = (b - a) 2^-32 in long double (64-bit significand) and round once
// at the store: on (0, 1) a double result is w 2^-32 exactly and a float
// one that value rounded once; elsewhere w c + a carries at most two
// 64-bit roundings before the store.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

#include "frame/kernel_frame.h"
#include "rng/generator.h"

namespace xeb::rng::gray_code {

constexpr int kDirectionBits = 32;
// Words per direction row: V[d][0..31], and one more that no sequence of
// draws writes; it is read (as 0) only when all 32 bits of counter are ones.
constexpr int kRowWords = kDirectionBits + 1;
constexpr int32_t kAllComponents = -1;
// The stride that asks for leapfrog to one component.
constexpr int32_t kComponentStride = 0x7FFFFFFF;

template <int MaxDim>
struct State {
    static constexpr int kMaxDimension = MaxDim;
    uint32_t counter;    // index of the current vector, from 1
    int32_t dimension;   // 1..MaxDim for a usable stream
    int32_t leapDim;     // kAllComponents, or the one component handed out
    int32_t remaining;   // components of the current vector still to come
    uint32_t point[MaxDim];
    uint32_t direction[MaxDim][kRowWords];
};

// Count of trailing one bits: the position of the lowest zero bit, 0..32.
inline int lowzero(uint32_t c) { return c == 0xFFFFFFFFu ? 32 : __builtin_ctz(~c); }

// A state that draws and moves can work on.  A dimension of 0 or below
// builds nothing, and a state from elsewhere (a stream file) may hold
// anything; kernels and moves leave such a state alone.
template <class S>
bool usable(const S& s) {
    return s.dimension >= 1 && s.dimension <= S::kMaxDimension && s.leapDim >= kAllComponents &&
           s.leapDim < s.dimension && s.remaining >= 0 && s.remaining <= s.dimension;
}

// The dimension of a new stream: params[0], or 1 without seeds; above the
// largest dimension it becomes 1.  Stored and returned.  A value of 0 or
// below is kept: it builds nothing, and the stream is not usable.
template <class S>
int32_t set_dimension(S& s, int32_t n, const uint32_t* params) {
    const int32_t dim = n > 0 ? static_cast<int32_t>(params[0]) : 1;
    s.dimension = dim > S::kMaxDimension ? 1 : dim;
    return s.dimension;
}

// After V[d][0..31] are in place for d < dimension: vector 1, all
// components (also for a dimension of 0 or below, which has none).
template <class S>
void start(S& s) {
    for (int d = 0; d < s.dimension; ++d) s.point[d] = s.direction[d][0];
    s.counter = 1;
    s.remaining = 0;
    s.leapDim = kAllComponents;
}

// Hands n numbers to out(word) in sequence order and leaves the state at
// the next one.  Returns RUK_ERROR_BAD_ARGUMENT, handing out nothing, for
// a count of 1 or more on a state that is not usable.
template <class S, class Out>
int32_t draw(S& s, int32_t count, Out out) {
    if (!usable(s)) return count >= 1 ? RUK_ERROR_BAD_ARGUMENT : RUK_OK;
    const int32_t dim = s.dimension;
    if (s.leapDim != kAllComponents) {
        const int32_t k = s.leapDim;
        uint32_t x = s.point[k];
        for (int32_t i = 0; i < count; ++i) {
            const int c = lowzero(s.counter++);
            out(x);
            x ^= s.direction[k][c];
        }
        s.point[k] = x;
        return RUK_OK;
    }
    int64_t n = count;
    if (const int32_t r = s.remaining; r > 0) {
        if (r <= n) {
            // Finish the current vector, then step every component.
            for (int32_t d = dim - r; d < dim; ++d) out(s.point[d]);
            const int c = lowzero(s.counter++);
            for (int32_t d = 0; d < dim; ++d) s.point[d] ^= s.direction[d][c];
            s.remaining = 0;
        } else {
            for (int32_t d = dim - r; d < dim - r + n; ++d) out(s.point[d]);
            // A negative count moves the position back within the current
            // vector, never before its first component.
            s.remaining = static_cast<int32_t>(std::min<int64_t>(r - n, dim));
        }
        n -= r;
    }
    if (n < 1) return RUK_OK;
    for (int64_t q = n / dim; q > 0; --q) {
        const int c = lowzero(s.counter++);
        for (int32_t d = 0; d < dim; ++d) {
            out(s.point[d]);
            s.point[d] ^= s.direction[d][c];
        }
    }
    if (const int32_t t = static_cast<int32_t>(n % dim); t >= 1) {
        for (int32_t d = 0; d < t; ++d) out(s.point[d]);
        s.remaining = dim - t;
    }
    return RUK_OK;
}

// Narrowing to component k (method 1 with stride kComponentStride).
template <class S>
int32_t leapfrog(S& s, int32_t k, int32_t nstreams) {
    if (nstreams != kComponentStride || !usable(s) ||
        static_cast<uint32_t>(k) >= static_cast<uint32_t>(s.dimension))
        return RUK_ERROR_NO_LEAPFROG;
    if (k == s.leapDim) return RUK_OK;
    const uint32_t* v = s.direction[k];
    if (s.leapDim == kAllComponents) {
        // Component k of the current vector was handed out already: its
        // next value is that of the next vector.
        if (s.remaining > 0 && k < s.dimension - s.remaining)
            s.point[k] ^= v[lowzero(s.counter++)];
    } else {
        // point[k] is stale.  Rebuild it at the vector after the current
        // one: x_k(t) = XOR over bits i of gray(t) of V[k][i], written with
        // bit i of t itself as t_0 V[0] ^ sum over i >= 1 of t_i (V[i] ^ V[i-1]).
        const uint32_t t = ++s.counter;
        uint32_t g = (t & 1) ? v[0] : 0;
        int i = 1;
        for (uint32_t bits = t >> 1; bits != 0; bits >>= 1, ++i)
            if (bits & 1) g ^= v[i] ^ v[i - 1];
        s.point[k] = g;
    }
    s.remaining = 0;
    s.leapDim = k;
    return RUK_OK;
}

// How many vector steps a skip makes that starts inside a vector with q
// whole vectors after it.  kAfterPartial (q + 1: the rest of the current
// vector, then q more) lands where drawing lands; kFallsBehind (q - 1) is
// the form that leaves such a skip two vectors short, kept as the Niederr
// generator's own behaviour.
enum class SkipRule { kAfterPartial, kFallsBehind };

// Skip-ahead by nskip numbers (method 2), whatever the mode: the count is
// in numbers of the all-component sequence.
template <SkipRule Rule, class S>
int32_t skip_ahead(S& s, int32_t nskip) {
    if (nskip < 1 || !usable(s)) return RUK_ERROR_NO_SKIP;
    const int32_t dim = s.dimension, r = s.remaining;
    if (r > nskip) {
        s.remaining = r - nskip;
        return RUK_OK;
    }
    int32_t q, t, steps;
    if (r > 0) {
        const int32_t w = nskip - r;
        q = w / dim;
        t = w - q * dim;
        steps = Rule == SkipRule::kAfterPartial ? q + 1 : q - 1;
    } else {
        q = nskip / dim;
        t = nskip % dim;
        steps = q;
    }
    if (steps >= 1) {
        // x_d(c + J) ^ x_d(c) without walking the J steps.  An odd J takes
        // one plain step first.  Then each set bit i of J (i >= 1) adds 2^i
        // to the counter c, lowest bit first: that increments s = c >> i,
        // which flips gray bit i + lowzero(s) and, through bit 0 of s, gray
        // bit i - 1; the bits below are untouched, so the next scale
        // starts from (s + 1) >> 1.  For a 32-bit c, s <= 2^(32-i) at scale
        // i, so i + lowzero(s) <= 32 stays within the row.
        const uint32_t jsteps = static_cast<uint32_t>(steps);
        for (int32_t d = 0; d < dim; ++d) {
            const uint32_t* v = s.direction[d];
            uint32_t c = s.counter, acc = 0;
            if (jsteps & 1) acc = v[lowzero(c++)];
            uint32_t sc = c >> 1;
            int i = 1;
            for (uint32_t j = jsteps >> 1; j != 0; j >>= 1, sc >>= 1, ++i) {
                if (j & 1) {
                    acc ^= v[i + lowzero(sc)] ^ v[i - 1];
                    ++sc;
                }
            }
            s.point[d] ^= acc;
        }
        s.counter += jsteps;
    }
    s.remaining = t != 0 ? dim - t : 0;
    return RUK_OK;
}

// The rng/generator.h record of a Gray-code generator: its state and two
// moves; the generator adds seed(), which builds the direction numbers.
template <class S, SkipRule Rule>
struct Generator {
    using State = S;
    static int32_t leapfrog(S& s, int32_t k, int32_t nstreams) {
        return gray_code::leapfrog(s, k, nstreams);
    }
    static int32_t skip_ahead(S& s, int32_t nskip) { return gray_code::skip_ahead<Rule>(s, nskip); }
};

// x_d(t) from the direction numbers alone: XOR of V[d][i] over the bits i
// of gray(t).
inline uint32_t component_at(const uint32_t* v, uint32_t t) {
    uint32_t x = 0;
    const uint32_t g = t ^ (t >> 1);
    for (int i = 0; i < kDirectionBits; ++i)
        if ((g >> i) & 1) x ^= v[i];
    return x;
}

// The check of a loaded state (rng/load_checks.h): a state that seeding
// and moves of generator G can make.  Either the unusable state of a
// dimension of 0 or below, as seeding leaves it; or a usable one whose
// direction numbers are G's own for its dimension (the extra word of each
// row 0, unused rows 0) and whose current components are x_d(counter).
template <class G>
bool valid_state(const unsigned char* bytes) {
    using S = typename G::State;
    auto s = std::make_unique<S>();
    std::memcpy(s.get(), bytes, sizeof(S));
    auto fresh = std::make_unique<S>();  // zeros, as a new stream block
    const uint32_t dim = static_cast<uint32_t>(s->dimension);
    G::seed(*fresh, 1, &dim);
    if (s->dimension < 1) return std::memcmp(s.get(), fresh.get(), sizeof(S)) == 0;
    if (!usable(*s) || std::memcmp(s->direction, fresh->direction, sizeof s->direction) != 0)
        return false;
    for (int32_t d = 0; d < S::kMaxDimension; ++d) {
        const bool current = d < s->dimension && (s->leapDim == kAllComponents || d == s->leapDim);
        if (current && s->point[d] != component_at(s->direction[d], s->counter)) return false;
    }
    return true;
}

// The three kernels over a state record S.
template <class S>
int32_t ikernel(RukStream* stream, int32_t n, uint32_t* r) {
    uint32_t* p = r;
    return draw(state_of<S>(stream), n, [&p](uint32_t w) { *p++ = w; });
}

template <class S, class T>
int32_t real_kernel(RukStream* stream, int32_t n, T* r, T a, T b) {
    // c = (b - a) 2^-32 (the power of two is exact); w c and w c + a each
    // round to 64 bits, the result once more to T.  With a = 0 and b - a a
    // power of two, w c is exact.
    const frame::StreamControlWords words;
    const long double c = (static_cast<long double>(b) - a) * 0x1p-32L;
    const long double lo = a;
    T* p = r;
    return draw(state_of<S>(stream), n,
                [&p, c, lo](uint32_t w) { *p++ = static_cast<T>(word_value(w) * c + lo); });
}

}  // namespace xeb::rng::gray_code
