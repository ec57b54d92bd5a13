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
// 8 chains of L = 2^k + 16 steps: chain j starts from the state jumped j L
// steps ahead, by the matrix powers A^L (built by the compiler), and the 8
// chains advance side by side, two to a 128-bit vector, each writing its
// own stretch of the output: two vectors at a time (their state fills the
// registers), two steps at a time, so that each chain's pair of results
// goes out in one 8-byte store.  The AVX2 and AVX-512 classes run 8 and 16
// chains of the same blocks in double arithmetic, whole registers of
// outputs to a store (rng/simd/mrg32k3a.cpp).  The 16 extra steps keep
// the chains' stores apart in the caches: stretches 2^k words long would
// start at the same offset modulo 4 KiB, every chain's store landing in
// the same set of the 8-way L1 (16 chains evict each other's lines before
// the next store fills them); 2^k + 16 words puts successive chains a
// cache line apart, 13% faster at 10^6 words with AVX-512.  The numbers
// are the sequence itself, so every class and every block split gives the
// same numbers.
//
// Jumps: skip-ahead by k is the k-th power of each component's companion
// matrix (rukiVect3PowMod).  There is no leapfrog.
//
// Real output: z c + a with c = (b - a) / m1, the constant 1/m1 being the
// double 0x3DF000000D10000B; z c + a is formed in the 64-bit significand
// and rounded once at the store (single kernel: from the float a and b,
// rounded to float).  z can be m1, so b itself can come out.  With a = 0
// and c a double, the classes form the same bits from double products;
// floats from a = 0 come the same way from double products in every class
// (floats_from_zero).
#include <emmintrin.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "frame/kernel_class.h"
#include "rng/generator.h"
#include "rng/load_checks.h"
#include "rng/modular.h"
#include "rng/mrg32k3a_class.h"
#include "rng/mrg32k3a_lanes.h"
#include "xebruk/rng_generators.h"
#include "xebruk/rng_modular.h"

// The kernel classes' entries (rng/simd/mrg32k3a.cpp).
namespace xeb {
namespace avx2 {
void fill_mrg32k3a_table(rng::Mrg32k3aTable& t);
}
namespace avx512 {
void fill_mrg32k3a_table(rng::Mrg32k3aTable& t);
}
}  // namespace xeb

namespace xeb::rng {
namespace {

using namespace xeb::mrg32k3a;

constexpr double kInverseM1 = 0x1.000000d10000bp-32;  // 1/m1 in double

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

using U64x2 = Lanes<2>;  // two chains, one 128-bit register

// A chain of a block runs 2^k + kStagger steps, k = kMinLog .. kMaxLog.
constexpr int kChains = 8;       // the baseline's: two to a 128-bit vector
constexpr int kMostChains = 16;  // a kernel class's (rng/simd/mrg32k3a.cpp)
constexpr int kMinLog = 5;       // below chains of 32 steps the jumps cost more than they save
constexpr int kMaxLog = 27;
constexpr int kStaggerLog = 4, kStagger = 1 << kStaggerLog;  // 16 words: 64 bytes, a cache line

struct JumpTable {
    Matrix3 x[kMaxLog + 1], y[kMaxLog + 1];
};
// x[k], y[k]: the components' matrices A^(2^k + kStagger).
constexpr JumpTable make_jumps() {
    Matrix3 x = companion_matrix(kCoefficients1[0], kCoefficients1[1], kCoefficients1[2]);
    Matrix3 y = companion_matrix(kCoefficients2[0], kCoefficients2[1], kCoefficients2[2]);
    Matrix3 x_stagger = x, y_stagger = y;
    for (int k = 0; k < kStaggerLog; ++k) {
        x_stagger = matrix_product(x_stagger, x_stagger, kM1);
        y_stagger = matrix_product(y_stagger, y_stagger, kM2);
    }
    JumpTable t{};
    for (int k = 0; k <= kMaxLog; ++k) {  // x, y: A^(2^k)
        t.x[k] = matrix_product(x, x_stagger, kM1);
        t.y[k] = matrix_product(y, y_stagger, kM2);
        x = matrix_product(x, x, kM1);
        y = matrix_product(y, y, kM2);
    }
    return t;
}
constexpr JumpTable kJumps = make_jumps();

// The baseline's 8 chains from start[j], `steps` (even) each: out[j steps + i]
// is step i of chain j.  Chain pairs (2h, 2h + 1) share a vector.
void baseline_chains(const uint32_t (*start)[6], int32_t steps, uint32_t* out) {
    Chain<2> c[kChains / 2];
    for (int h = 0; h < kChains / 2; ++h)
        for (int i = 0; i < 3; ++i) {
            c[h].x[i].v = U64x2::Raw{start[2 * h][i], start[2 * h + 1][i]};
            c[h].y[i].v = U64x2::Raw{start[2 * h][3 + i], start[2 * h + 1][3 + i]};
        }
    // Steps i and i + 1 of chains 2h and 2h + 1 (z holding them in the low
    // halves of its lanes) regrouped by chain: one 8-byte store each.
    auto put = [out, steps](int h, int32_t i, U64x2 z, U64x2 z_next) {
        const __m128i a = _mm_shuffle_epi32(reinterpret_cast<__m128i>(z.v), 0x08);
        const __m128i b = _mm_shuffle_epi32(reinterpret_cast<__m128i>(z_next.v), 0x08);
        const __m128i pairs = _mm_unpacklo_epi32(a, b);
        const int64_t first = _mm_cvtsi128_si64(pairs);
        const int64_t second = _mm_cvtsi128_si64(_mm_unpackhi_epi64(pairs, pairs));
        std::memcpy(out + 2 * h * steps + i, &first, sizeof first);
        std::memcpy(out + (2 * h + 1) * steps + i, &second, sizeof second);
    };
    // Two vectors at a time, so that their twelve state vectors stay in
    // registers while the other's reductions hide each one's latency; two
    // steps at a time.
    for (int h = 0; h < kChains / 2; h += 2) {
        Chain<2> c0 = c[h], c1 = c[h + 1];
        for (int32_t i = 0; i < steps; i += 2) {
            const U64x2 z0 = c0.step(), z1 = c1.step();
            put(h, i, z0, c0.step());
            put(h + 1, i, z1, c1.step());
        }
    }
}

// n outputs from s, which is left after them: blocks of `chains` chains of
// L = 2^k + kStagger steps while they pay (chain j starting at the state
// jumped j L steps ahead, block(start, L, out + done)), then one chain, whose
// outputs z go out as one(out + i, z).  The numbers are the sequence
// itself, so every block split gives the same numbers.
template <class T, class Block, class One>
void in_chains(Mrg32k3a::State& s, int32_t n, T* out, int chains, Block block, One one) {
    int32_t done = 0;
    const auto block_size = [chains](int log_steps) {
        return int64_t{chains} * ((int64_t{1} << log_steps) + kStagger);
    };
    while (n - done >= block_size(kMinLog)) {
        int log_steps = kMinLog;
        while (log_steps < kMaxLog && block_size(log_steps + 1) <= n - done) ++log_steps;
        uint32_t start[kMostChains + 1][6];
        std::memcpy(start[0], &s, sizeof s);
        for (int j = 1; j <= chains; ++j) {
            std::memcpy(start[j], start[j - 1], sizeof start[j]);
            matrix_times_vector(kJumps.x[log_steps], start[j], kM1);
            matrix_times_vector(kJumps.y[log_steps], start[j] + 3, kM2);
        }
        std::memcpy(&s, start[chains], sizeof s);
        block(start, (int32_t{1} << log_steps) + kStagger, out + done);
        done += static_cast<int32_t>(block_size(log_steps));
    }
    Chain<1> c;
    for (int k = 0; k < 3; ++k) {
        c.x[k].v = s.x[k];
        c.y[k].v = s.y[k];
    }
    for (int32_t i = done; i < n; ++i) one(out + i, c.step().v);
    for (int k = 0; k < 3; ++k) {
        s.x[k] = static_cast<uint32_t>(c.x[k].v);
        s.y[k] = static_cast<uint32_t>(c.y[k].v);
    }
}

// The kernel classes' entries, filled at load; the baseline's are null.
Mrg32k3aTable tables[frame::kKernelClasses] = {};

__attribute__((constructor(101))) void fill_at_load() {
    const frame::KernelClass best = frame::machine_class();
    if (best >= frame::KernelClass::Avx2) avx2::fill_mrg32k3a_table(tables[1]);
    if (best >= frame::KernelClass::Avx512) avx512::fill_mrg32k3a_table(tables[2]);
}

const Mrg32k3aTable& table_in_use() { return tables[static_cast<int>(frame::kernel_class())]; }

// n words z to out, in the chains of the class in use.
void generate(Mrg32k3a::State& s, int32_t n, uint32_t* out) {
    const Mrg32k3aTable& t = table_in_use();
    const auto one = [](uint32_t* o, uint64_t z) { *o = static_cast<uint32_t>(z); };
    if (t.words != nullptr && t.chains <= kMostChains) in_chains(s, n, out, t.chains, t.words, one);
    else in_chains(s, n, out, kChains, baseline_chains, one);
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

// Doubles in a class that has them: z c (+ a = 0) with c = (b - a)/m1 a
// double whose multiples by 1 .. m1 stay normal (rng/simd/mrg32k3a.cpp).
bool class_doubles(RukStream* stream, int32_t n, double* r, double a, double b) {
    const Mrg32k3aTable& t = table_in_use();
    if (t.scaled_doubles == nullptr || t.chains > kMostChains || a != 0) return false;
    const frame::StreamControlWords control_words;
    const long double c = (static_cast<long double>(b) - a) * kInverseM1;
    const double narrow_c = static_cast<double>(c);
    if (narrow_c != c || !(std::fabs(narrow_c) >= DBL_MIN && std::fabs(narrow_c) <= DBL_MAX * 0x1p-33))
        return false;
    const long double wide_c = narrow_c;
    in_chains(state_of<Mrg32k3a::State>(stream), n, r, t.chains,
              [&t, narrow_c](const uint32_t(*start)[6], int32_t steps, double* out) {
                  t.scaled_doubles(start, steps, out, narrow_c);
              },
              [wide_c](double* o, uint64_t z) { *o = static_cast<double>(static_cast<long double>(z) * wide_c); });
    return true;
}

// Floats from a = 0: z c, with c = b (1/m1) in the 64-bit significand,
// rounded to 64 bits and then to float.  With hi = c rounded to double,
// v = z hi in double is within 1.5 ulps of double of z c: half an ulp for
// the product's rounding, and z |c - hi| <= z ulp(hi)/2, at most one ulp
// of z hi (with 2^j <= z < 2^(j+1), z hi is at least 2^j hi, whose ulp is
// 2^j ulp(hi) > z ulp(hi)/2).  Rounded to float, v gives the baseline's
// number unless a midpoint of the float grid lies within those 1.5 ulps,
// where the low 29 bits of v's significand are within 2 of 2^28 (a
// midpoint is never within them of a power of two, so v shares its
// binade): elements within 4, about one in 2^26, take the baseline's
// formula.  c and m1 c stay in the normal range of floats.  The kernel
// classes run the same in their chains (rng/simd/mrg32k3a.cpp).
bool floats_from_zero(RukStream* stream, int32_t n, float* r, float a, float b) {
    if (a != 0) return false;
    const frame::StreamControlWords control_words;
    const long double c = (static_cast<long double>(b) - a) * kInverseM1;
    if (exact_scale(a, c) || !(std::fabs(c) >= FLT_MIN && std::fabs(c) <= FLT_MAX * 0x1p-33L)) return false;
    const double hi = static_cast<double>(c);
    const Mrg32k3aTable& t = table_in_use();
    if (t.scaled_floats != nullptr && t.chains <= kMostChains) {
        in_chains(state_of<Mrg32k3a::State>(stream), n, r, t.chains,
                  [&t, hi, c](const uint32_t(*start)[6], int32_t steps, float* out) {
                      t.scaled_floats(start, steps, out, hi, c);
                  },
                  [c](float* o, uint64_t z) { *o = static_cast<float>(z * c); });
        return true;
    }
    constexpr int32_t kBlock = 4096;
    uint32_t w[kBlock];
    auto& s = state_of<Mrg32k3a::State>(stream);
    for (int32_t done = 0; done < n; done += kBlock) {
        const int32_t k = n - done < kBlock ? n - done : kBlock;
        generate(s, k, w);
        for (int32_t i = 0; i < k; ++i) {
            const double v = w[i] * hi;
            uint64_t bits;
            std::memcpy(&bits, &v, sizeof bits);
            const uint32_t below = static_cast<uint32_t>(bits) & 0x1FFFFFFFu;
            r[done + i] = below - (0x10000000u - 4) <= 8 ? static_cast<float>(w[i] * c) : static_cast<float>(v);
        }
    }
    return true;
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
    if (class_doubles(stream, n, r, a, b)) return RUK_OK;
    return real_kernel(stream, n, r, a, b);
}

int32_t ruksBRngMRG32K3A(RukStream* stream, int32_t n, float* r, float a, float b) {
    if (floats_from_zero(stream, n, r, a, b)) return RUK_OK;
    return real_kernel(stream, n, r, a, b);
}
