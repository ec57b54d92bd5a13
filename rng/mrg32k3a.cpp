// MRG32K3A: the combined multiple recursive generator of P. L'Ecuyer,
// "Good parameters and implementations for combined multiple recursive
// random number generators", Operations Research 47 (1999) 159-164:
//
//   x[n] = (1403580 x[n-2] - 810728 x[n-3]) mod m1,   m1 = 2^32 - 209
//   y[n] = (527612 y[n-1] - 1370589 y[n-3]) mod m2,   m2 = 2^32 - 22853
//   z[n] = x[n] - y[n] mod m1, where 0 is given as m1: z in 1 .. m1.
//
// Both components have period m^3 - 1; the combination about 2^191.  The
// state is the last three values of each component; a kernel steps first
// and hands out afterwards, so no seed word is ever an output.
//
// Reductions.  For any 32-bit x1, x2 the sum t = 1403580 x2 + 810728
// (2^32 - 1 - x1) + c, with c = -810728 (2^32 - 1) mod m1, is congruent to
// the first recurrence, non-negative and below 2^54; every product has
// 32-bit operands.  As 2^32 = 209 (mod m1), t = h 2^32 + l folds to
// 209 h + l, below 2^32 + 2^30 < 2 m1, and one conditional subtraction of
// m1 finishes.  The second component, formed the same way, folds twice by
// 22853 to below 2^32 + 2^21 < 2 m2.  All of it is exact 64-bit integer
// arithmetic, on any 32-bit state.
//
// Speed.  The recurrence of y has a lag of one step, so one chain is bound
// by the latency of its reductions.  A large call is cut into blocks of
// 8 chains of 2^k steps: chain j starts from the state jumped j 2^k steps
// ahead, by the matrix powers A^(2^k) (built by the compiler), and the 8
// chains advance side by side, two to a 128-bit vector, each writing its
// own stretch of the output: two vectors at a time (their state fills the
// registers), two steps at a time, so that each chain's pair of results
// goes out in one 8-byte store.  The numbers are the sequence itself, so every
// block split gives the same numbers.
//
// Jumps: skip-ahead by k is the k-th power of each component's companion
// matrix (rukiVect3PowMod).  There is no leapfrog.
//
// Real output: z c + a with c = (b - a) / m1, the constant 1/m1 being the
// double 0x3DF000000D10000B; z c + a is formed in the 64-bit significand
// and rounded once at the store (single kernel: from the float a and b,
// rounded to float).  z can be m1, so b itself can come out.
#include <emmintrin.h>

#include <cstdint>
#include <cstring>

#include "rng/generator.h"
#include "rng/modular.h"
#include "rng/load_checks.h"
#include "xebruk/rng_generators.h"
#include "xebruk/rng_modular.h"

namespace xeb::rng {
namespace {

constexpr uint32_t kM1 = 4294967087u;  // 2^32 - 209
constexpr uint32_t kM2 = 4294944443u;  // 2^32 - 22853
constexpr uint32_t kDelta1 = 209, kDelta2 = 22853;
constexpr uint32_t kA12 = 1403580, kA13 = 810728;   // x[n-2], -x[n-3]
constexpr uint32_t kA21 = 527612, kA23 = 1370589;   // y[n-1], -y[n-3]
constexpr double kInverseM1 = 0x1.000000d10000bp-32;  // 1/m1 in double

// Coefficients (c0, c1, c2) of x[n] = c0 x[n-1] + c1 x[n-2] + c2 x[n-3].
constexpr uint32_t kCoefficients1[3] = {0, kA12, kM1 - kA13};
constexpr uint32_t kCoefficients2[3] = {kA21, 0, kM2 - kA23};

struct Mrg32k3a {
    struct State {
        uint32_t x[3];  // x[n-3], x[n-2], x[n-1]
        uint32_t y[3];  // y[n-3], y[n-2], y[n-1]
    };

    // Up to six words, x first; missing ones are 1.  Each is reduced once
    // (a word at or above m is below 2m), and an all-zero component, which
    // would stay zero, gets a 1.
    static int32_t seed(State& s, int32_t n, const uint32_t* params) {
        for (int32_t i = 0; i < 6; ++i) {
            const uint32_t w = i < n ? params[i] : 1;
            if (i < 3)
                s.x[i] = w >= kM1 ? w - kM1 : w;
            else
                s.y[i - 3] = w >= kM2 ? w - kM2 : w;
        }
        if ((s.x[0] | s.x[1] | s.x[2]) == 0) s.x[0] = 1;
        if ((s.y[0] | s.y[1] | s.y[2]) == 0) s.y[0] = 1;
        return RUK_OK;
    }

    static int32_t leapfrog(State&, int32_t, int32_t) { return RUK_ERROR_NO_LEAPFROG; }

    // A negative count has no power; it is refused.
    static int32_t skip_ahead(State& s, int32_t nskip) {
        if (nskip < 0) return RUK_ERROR_NO_SKIP;
        rukiVect3PowMod(s.x, kCoefficients1, kM1, nskip);
        rukiVect3PowMod(s.y, kCoefficients2, kM2, nskip);
        return RUK_OK;
    }
};

static_assert(sizeof(Mrg32k3a::State) + kStreamHeaderBytes == 40, "MRG32K3A streamSize");

// The step on 64-bit lanes holding 32-bit values: T is uint64_t (one
// chain) or a vector of two (two chains).
typedef uint64_t U64x2 __attribute__((vector_size(16)));
constexpr uint64_t kLow32 = 0xFFFFFFFFu;

inline uint64_t mul32(uint64_t x, uint32_t k) { return x * k; }
inline U64x2 mul32(U64x2 x, uint32_t k) {  // low 32 bits of each lane times k
    const __m128i kk = _mm_set1_epi64x(k);
    return reinterpret_cast<U64x2>(_mm_mul_epu32(reinterpret_cast<__m128i>(x), kk));
}

// t mod (2^32 - delta) for t < 2 (2^32 - delta): t + delta reaches 2^32
// exactly when t >= m, and then its low 32 bits are t - m.
template <uint32_t Delta, class T>
inline T subtract_modulus_once(T t) {
    const T carry = (t + Delta) >> 32;
    return (t + ((T{} - carry) & Delta)) & kLow32;
}

// -k w = k (2^32 - 1 - w) - k (2^32 - 1): the complement of a 32-bit w stays
// in the multiplier's 32-bit operand, and the constant below (k (2^32 - 1)
// taken off modulo m) is added instead.
constexpr uint64_t minus_k_offset(uint32_t k, uint32_t m) {
    return (m - uint64_t{k} * kLow32 % m) % m;
}
constexpr uint64_t kOffset1 = minus_k_offset(kA13, kM1), kOffset2 = minus_k_offset(kA23, kM2);

template <class T>
inline T next_x(T x1, T x2) {  // below 2^53 + 2^52 + 2^32 before the fold
    T t = mul32(x2, kA12) + mul32(x1 ^ kLow32, kA13) + kOffset1;
    t = mul32(t >> 32, kDelta1) + (t & kLow32);
    return subtract_modulus_once<kDelta1>(t);
}

template <class T>
inline T next_y(T y1, T y3) {  // below 2^52 + 2^53 + 2^32 before the folds
    T t = mul32(y3, kA21) + mul32(y1 ^ kLow32, kA23) + kOffset2;
    t = mul32(t >> 32, kDelta2) + (t & kLow32);
    t = mul32(t >> 32, kDelta2) + (t & kLow32);
    return subtract_modulus_once<kDelta2>(t);
}

// z = p - q, or p - q + m1 when p <= q: with t = p + m1 - q in 1 .. 2 m1,
// p > q exactly when t + 208 reaches 2^32.
template <class T>
inline T combine(T p, T q) {
    const T t = p + kM1 - q;
    const T carry = (t + (kDelta1 - 1)) >> 32;
    return (t + ((T{} - carry) & kDelta1)) & kLow32;
}

// One chain, or two chains in the lanes of a vector: the last three values
// of each component, oldest first.  A step returns z.
template <class T>
struct Chain {
    T x[3], y[3];
    inline T step() {
        const T p = next_x(x[0], x[1]), q = next_y(y[0], y[2]);
        x[0] = x[1];
        x[1] = x[2];
        x[2] = p;
        y[0] = y[1];
        y[1] = y[2];
        y[2] = q;
        return combine(p, q);
    }
};

// Jumps of 2^k steps for the chains of a block, k = kMinLog .. kMaxLog.
constexpr int kChains = 8;
constexpr int kMinLog = 5;   // below 8 chains of 32 steps the jumps cost more than they save
constexpr int kMaxLog = 27;  // 8 chains of 2^27 steps: the largest block below 2^31

struct JumpTable {
    Matrix3 x[kMaxLog + 1], y[kMaxLog + 1];
};
constexpr JumpTable make_jumps() {
    JumpTable t{};
    t.x[0] = companion_matrix(kCoefficients1[0], kCoefficients1[1], kCoefficients1[2]);
    t.y[0] = companion_matrix(kCoefficients2[0], kCoefficients2[1], kCoefficients2[2]);
    for (int k = 1; k <= kMaxLog; ++k) {
        t.x[k] = matrix_product(t.x[k - 1], t.x[k - 1], kM1);
        t.y[k] = matrix_product(t.y[k - 1], t.y[k - 1], kM2);
    }
    return t;
}
constexpr JumpTable kJumps = make_jumps();

// 8 chains of 2^k steps from s: out[j 2^k + i] is step i of chain j; s is
// left after all 8 2^k steps.  Chain pairs (2h, 2h + 1) share a vector.
void chain_block(Mrg32k3a::State& s, int log_steps, uint32_t* out) {
    const int32_t steps = int32_t{1} << log_steps;
    uint32_t start[kChains + 1][6];
    std::memcpy(start[0], &s, sizeof s);
    for (int j = 1; j <= kChains; ++j) {
        std::memcpy(start[j], start[j - 1], sizeof start[j]);
        matrix_times_vector(kJumps.x[log_steps], start[j], kM1);
        matrix_times_vector(kJumps.y[log_steps], start[j] + 3, kM2);
    }
    std::memcpy(&s, start[kChains], sizeof s);
    Chain<U64x2> c[kChains / 2];
    for (int h = 0; h < kChains / 2; ++h)
        for (int i = 0; i < 3; ++i) {
            c[h].x[i] = U64x2{start[2 * h][i], start[2 * h + 1][i]};
            c[h].y[i] = U64x2{start[2 * h][3 + i], start[2 * h + 1][3 + i]};
        }
    // Steps i and i + 1 of chains 2h and 2h + 1 (z holding them in the low
    // halves of its lanes) regrouped by chain: one 8-byte store each.
    auto put = [out, steps](int h, int32_t i, U64x2 z, U64x2 z_next) {
        const __m128i a = _mm_shuffle_epi32(reinterpret_cast<__m128i>(z), 0x08);
        const __m128i b = _mm_shuffle_epi32(reinterpret_cast<__m128i>(z_next), 0x08);
        const __m128i pairs = _mm_unpacklo_epi32(a, b);
        const int64_t first = _mm_cvtsi128_si64(pairs);
        const int64_t second = _mm_cvtsi128_si64(_mm_unpackhi_epi64(pairs, pairs));
        std::memcpy(out + 2 * h * steps + i, &first, sizeof first);
        std::memcpy(out + (2 * h + 1) * steps + i, &second, sizeof second);
    };
    // Two vectors at a time, so that their twelve state vectors stay in
    // registers while the other's reductions hide each one's latency; two
    // steps at a time (steps is even).
    for (int h = 0; h < kChains / 2; h += 2) {
        Chain<U64x2> c0 = c[h], c1 = c[h + 1];
        for (int32_t i = 0; i < steps; i += 2) {
            const U64x2 z0 = c0.step(), z1 = c1.step();
            put(h, i, z0, c0.step());
            put(h + 1, i, z1, c1.step());
        }
    }
}

// n outputs z to out, in blocks of chains while they pay, then one chain.
void generate(Mrg32k3a::State& s, int32_t n, uint32_t* out) {
    int32_t done = 0;
    while (n - done >= kChains << kMinLog) {
        int log_steps = kMinLog;
        while (log_steps < kMaxLog && (int64_t{kChains} << (log_steps + 1)) <= n - done) ++log_steps;
        chain_block(s, log_steps, out + done);
        done += kChains << log_steps;
    }
    Chain<uint64_t> c;
    for (int k = 0; k < 3; ++k) {
        c.x[k] = s.x[k];
        c.y[k] = s.y[k];
    }
    for (int32_t i = done; i < n; ++i) out[i] = static_cast<uint32_t>(c.step());
    for (int k = 0; k < 3; ++k) {
        s.x[k] = static_cast<uint32_t>(c.x[k]);
        s.y[k] = static_cast<uint32_t>(c.y[k]);
    }
}

// A state seeding and skips can make: every value below its modulus, and
// no component all zero (it would stay zero).
bool valid_state(const unsigned char* bytes) {
    Mrg32k3a::State s;
    std::memcpy(&s, bytes, sizeof s);
    for (int i = 0; i < 3; ++i)
        if (s.x[i] >= kM1 || s.y[i] >= kM2) return false;
    return (s.x[0] | s.x[1] | s.x[2]) != 0 && (s.y[0] | s.y[1] | s.y[2]) != 0;
}
const StateCheckRegistration kLoadCheck{rukBRngMRG32K3AInitStream, valid_state};

template <class T>
int32_t real_kernel(RukStream* stream, int32_t n, T* r, T a, T b) {
    auto& s = state_of<Mrg32k3a::State>(stream);
    return real_from_words<uint32_t>(n, r, a, b, kInverseM1,
                                     [&s](int32_t k, uint32_t* w) { generate(s, k, w); });
}

}  // namespace


}  // namespace xeb::rng

using namespace xeb::rng;

int32_t rukBRngMRG32K3AInitStream(int32_t method, RukStream* stream, int32_t n,
                                  const uint32_t* params) {
    return init_stream<Mrg32k3a>(method, stream, n, params);
}

int32_t rukiBRngMRG32K3A(RukStream* stream, int32_t n, uint32_t* r) {
    generate(state_of<Mrg32k3a::State>(stream), n, r);
    return RUK_OK;
}

int32_t rukdBRngMRG32K3A(RukStream* stream, int32_t n, double* r, double a, double b) {
    return real_kernel(stream, n, r, a, b);
}

int32_t ruksBRngMRG32K3A(RukStream* stream, int32_t n, float* r, float a, float b) {
    return real_kernel(stream, n, r, a, b);
}
