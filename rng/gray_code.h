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
#include <cmath>
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

// Emits q whole vectors to dst from the start of the current one (remaining
// 0, all components).  The walk is one pass per vector over the changed
// bit's direction numbers of every component at once: out = point, then
// point ^= V[.][lowzero(counter)], four lanes at a time across the
// components.  V is stored row per component; for the walk it is copied
// into rows per bit, padded with zeros to a multiple of four lanes (only
// the bits the q steps can change: step c changes bit lowzero(c) =
// ctz(c + 1) <= log2(counter + q)).  The padding lanes are written past
// the last vector: dst has room for kDrawSlack more words.  A state too
// large for the copy walks V in place.
constexpr int kLanes = 4;
constexpr int kDrawSlack = kLanes - 1;
constexpr int kWalkMaxDimension = 40;
constexpr int kBitRowWords = kWalkMaxDimension * kRowWords;

template <class S>
uint32_t* whole_vectors(S& s, int64_t q, uint32_t* dst) {
    const int32_t dim = s.dimension;
    const uint64_t last = uint64_t{s.counter} + static_cast<uint64_t>(q);
    const int bits = std::min(kRowWords, 64 - __builtin_clzll(last));
    const int32_t lanes = (dim + kLanes - 1) / kLanes * kLanes;
    if (lanes <= kWalkMaxDimension) {
        uint32_t by_bit[kBitRowWords];
        uint32_t point[kWalkMaxDimension] = {};
        for (int k = 0; k < bits; ++k)
            for (int32_t d = 0; d < lanes; ++d) by_bit[k * lanes + d] = d < dim ? s.direction[d][k] : 0;
        std::copy(s.point, s.point + dim, point);
        for (int64_t j = 0; j < q; ++j, dst += dim) {
            const uint32_t* v = by_bit + lowzero(s.counter++) * lanes;
            for (int32_t d = 0; d < lanes; d += kLanes)
                for (int l = 0; l < kLanes; ++l) {
                    dst[d + l] = point[d + l];
                    point[d + l] ^= v[d + l];
                }
        }
        std::copy(point, point + dim, s.point);
        return dst;
    }
    for (int64_t j = 0; j < q; ++j) {
        const int c = lowzero(s.counter++);
        for (int32_t d = 0; d < dim; ++d) {
            *dst++ = s.point[d];
            s.point[d] ^= s.direction[d][c];
        }
    }
    return dst;
}

// Writes the next count numbers to dst in sequence order and leaves the
// state at the one after; dst has room for count + kDrawSlack words.  Returns RUK_ERROR_BAD_ARGUMENT, writing
// nothing, for a count of 1 or more on a state that is not usable.
template <class S>
int32_t draw(S& s, int32_t count, uint32_t* dst) {
    if (!usable(s)) return count >= 1 ? RUK_ERROR_BAD_ARGUMENT : RUK_OK;
    const int32_t dim = s.dimension;
    if (s.leapDim != kAllComponents) {
        const int32_t k = s.leapDim;
        uint32_t x = s.point[k];
        for (int32_t i = 0; i < count; ++i) {
            const int c = lowzero(s.counter++);
            *dst++ = x;
            x ^= s.direction[k][c];
        }
        s.point[k] = x;
        return RUK_OK;
    }
    int64_t n = count;
    if (const int32_t r = s.remaining; r > 0) {
        if (r <= n) {
            // Finish the current vector, then step every component.
            for (int32_t d = dim - r; d < dim; ++d) *dst++ = s.point[d];
            const int c = lowzero(s.counter++);
            for (int32_t d = 0; d < dim; ++d) s.point[d] ^= s.direction[d][c];
            s.remaining = 0;
        } else {
            for (int32_t d = dim - r; d < dim - r + n; ++d) *dst++ = s.point[d];
            // A negative count moves the position back within the current
            // vector, never before its first component.
            s.remaining = static_cast<int32_t>(std::min<int64_t>(r - n, dim));
        }
        n -= r;
    }
    if (n < 1) return RUK_OK;
    dst = whole_vectors(s, n / dim, dst);
    if (const int32_t t = static_cast<int32_t>(n % dim); t >= 1) {
        for (int32_t d = 0; d < t; ++d) *dst++ = s.point[d];
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

// The three kernels over a state record S.  Words are drawn a block at a
// time into a buffer with the walk's slack, then handed to
// store(words, count, offset) to be stored or scaled: draws split at any
// point give the same sequence.
template <class S, class Store>
int32_t by_blocks(RukStream* stream, int32_t n, Store store) {
    constexpr int32_t kBlock = 2048;
    S& s = state_of<S>(stream);
    if (n < 1) return draw(s, n, nullptr);
    uint32_t w[kBlock + kDrawSlack];
    for (int32_t done = 0; done < n;) {
        const int32_t m = std::min(kBlock, n - done);
        if (const int32_t status = draw(s, m, w); status != RUK_OK) return status;
        store(w, m, done);
        done += m;
    }
    return RUK_OK;
}

template <class S>
int32_t ikernel(RukStream* stream, int32_t n, uint32_t* r) {
    return by_blocks<S>(stream, n, [r](const uint32_t* w, int32_t m, int32_t at) {
        std::memcpy(r + at, w, sizeof(uint32_t) * static_cast<std::size_t>(m));
    });
}

// w c + a in double, when that gives the general path's result.  c =
// (b - a) 2^-32 must be a double power of two 2^e: the 64-bit product w c
// is exact, and the double one is that value rounded once (an underflow
// or overflow in double gives 0 or infinity after the rounding to T in
// both paths).  Then either a = 0, or a is normal with its lowest set bit
// at 2^l and w c + a, a multiple of 2^min(e, l) below
// 2^(max(e + 32, ilogb(a) + 1) + 1) in magnitude, fits 53 bits: the sum
// is exact in both paths, and both round the same value once to T.
struct ExactScale {
    bool exact = false;
    double c = 0, a = 0;
};

inline ExactScale exact_scale(long double c, double a) {
    ExactScale x;
    const double cd = static_cast<double>(c);
    int e2 = 0;
    if (!(cd == c) || !std::isfinite(cd) || cd == 0 || std::fabs(std::frexp(cd, &e2)) != 0.5)
        return x;
    const int e = e2 - 1;
    if (a != 0) {
        if (!std::isnormal(a)) return x;
        uint64_t bits;
        std::memcpy(&bits, &a, sizeof bits);
        const uint64_t significand = (bits & ((uint64_t{1} << 52) - 1)) | (uint64_t{1} << 52);
        const int top = std::ilogb(a), low = top - 52 + __builtin_ctzll(significand);
        if (std::max(e + 32, top + 1) + 1 - std::min(e, low) > 53) return x;
    }
    x.exact = true;
    x.c = cd;
    x.a = a;
    return x;
}

// Words to reals, lane by lane: w exactly as (w - 2^31 as int32) + 2^31.
// Four lanes at a time, and the last n mod 4 one by one.
template <class T>
void scale_exact(const uint32_t* __restrict w, int32_t n, T* __restrict r, double c, double a) {
    const auto one = [c, a](uint32_t word) {
        const double x = static_cast<double>(static_cast<int32_t>(word ^ 0x80000000u)) + 0x1p31;
        return static_cast<T>(x * c + a);
    };
    int32_t i = 0;
    for (; i + kLanes <= n; i += kLanes)
        for (int l = 0; l < kLanes; ++l) r[i + l] = one(w[i + l]);
    for (; i < n; ++i) r[i] = one(w[i]);
}

template <class S, class T>
int32_t real_kernel(RukStream* stream, int32_t n, T* r, T a, T b) {
    // c = (b - a) 2^-32 (the power of two is exact); w c and w c + a each
    // round to 64 bits, the result once more to T.  With a = 0 and b - a a
    // power of two, w c is exact.  Where exact_scale allows, the same bits
    // come from double arithmetic, four lanes at a time.
    const frame::StreamControlWords words;
    const long double c = (static_cast<long double>(b) - a) * 0x1p-32L;
    const long double lo = a;
    const ExactScale exact = exact_scale(c, a);
    return by_blocks<S>(stream, n, [&](const uint32_t* w, int32_t m, int32_t at) {
        T* out = r + at;
        if (exact.exact)
            scale_exact(w, m, out, exact.c, exact.a);
        else
            for (int32_t i = 0; i < m; ++i) out[i] = static_cast<T>(word_value(w[i]) * c + lo);
    });
}

}  // namespace xeb::rng::gray_code
