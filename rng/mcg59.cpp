// MCG59: x[i+1] = 13^13 x[i] mod 2^59.
//
// The modulus is a power of two, so a product mod 2^59 is the low 64 bits
// of the 64-bit product with the top 5 bits cleared.  From an odd seed the
// period is 2^57; an even seed is kept as given (its period is shorter).
// Every kernel hands out x first and advances afterwards, so a fresh
// stream starts with its seed.
//
// Jumps: k steps ahead is x a^k, and every s-th element is the generator
// with multiplier a^s; both powers come from rukiPowMod2P59.
//
// Speed.  One chain is bound by the latency of a 64-bit multiply.  The
// kernels run 8 chains side by side: chain j starts at x a^j and steps by
// a^8, so that element i + 8 is a^8 times element i and the chains write
// consecutive elements.  The numbers are those of the one chain, so every
// block split gives the same numbers.
//
// Real output: x * c + a with c = (b - a) 2^-59, x converted as a signed
// 64-bit integer (below 2^59); x c is exact in the 64-bit significand and
// x c + a is rounded once at the store.  On (0, 1) that is x / 2^59
// correctly rounded.  The single kernel does the same from its float a
// and b and rounds to float.  Where a is zero and c a power of two, the
// AVX2 and AVX-512 classes run the chains and the conversion in vector
// lanes (rng/simd/mcg59.cpp), the same bits.
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/kernel_class.h"
#include "rng/generator.h"
#include "rng/mcg59_class.h"
#include "rng/load_checks.h"
#include "xebruk/rng_generators.h"
#include "xebruk/rng_modular.h"

// The kernel classes' entries (rng/simd/mcg59.cpp).
namespace xeb {
namespace avx2 {
void fill_mcg59_table(rng::Mcg59Table& t);
}
namespace avx512 {
void fill_mcg59_table(rng::Mcg59Table& t);
}
}  // namespace xeb

namespace xeb::rng {
namespace {

constexpr uint64_t kMultiplier = 302875106592253u;  // 13^13 = 0x113769B23C5FD
constexpr uint64_t kMask59 = (uint64_t{1} << 59) - 1;
constexpr long double kTwoToMinus59 = 0x1p-59L;

inline uint64_t mul_mod_2p59(uint64_t x, uint64_t y) { return x * y & kMask59; }

struct Mcg59 {
    struct State {
        uint64_t x;           // next value to hand out, below 2^59
        uint64_t multiplier;  // a, or a^s after a leapfrog with stride s
    };

    // Low word, then the high word cut to 27 bits; a zero x becomes 1.
    static int32_t seed(State& s, int32_t n, const uint32_t* params) {
        uint64_t x = 0;
        if (n > 0) x = params[0] | (n > 1 ? uint64_t{params[1] & 0x7FFFFFFu} << 32 : 0);
        s.x = x == 0 ? 1 : x;
        s.multiplier = kMultiplier;
        return RUK_OK;
    }

    static int32_t leapfrog(State& s, int32_t k, int32_t nstreams) {
        return mcg_leapfrog(s.x, s.multiplier, k, nstreams, rukiPowMod2P59, mul_mod_2p59);
    }
    static int32_t skip_ahead(State& s, int32_t nskip) {
        return mcg_skip_ahead(s.x, s.multiplier, nskip, rukiPowMod2P59, mul_mod_2p59);
    }
};

static_assert(sizeof(Mcg59::State) + kStreamHeaderBytes == 32, "MCG59 streamSize");

constexpr int kChains = 8;

// n values x, x a, x a^2, ... to out; x is left at the next value.  (The
// state's words may come from a file: x is masked once, so every value
// handed out is below 2^59.)
void generate(Mcg59::State& s, int32_t n, uint64_t* out) {
    if (n <= 0) return;
    const uint64_t a = s.multiplier;
    uint64_t x = s.x & kMask59;
    int32_t i = 0;
    if (n >= 2 * kChains) {
        uint64_t chain[kChains];
        chain[0] = x;
        for (int j = 1; j < kChains; ++j) chain[j] = mul_mod_2p59(chain[j - 1], a);
        const uint64_t stride = rukiPowMod2P59(a, kChains);
        for (; i + kChains <= n; i += kChains)
#pragma GCC unroll 8
            for (int j = 0; j < kChains; ++j) {
                out[i + j] = chain[j];
                chain[j] = mul_mod_2p59(chain[j], stride);
            }
        x = chain[0];
    }
    for (; i < n; ++i) {
        out[i] = x;
        x = mul_mod_2p59(x, a);
    }
    s.x = x;
}

// A state seeding and moves can make: x non-zero below 2^59 (an odd
// multiplier never takes it to 0), the multiplier odd below 2^59.
bool valid_state(const unsigned char* bytes) {
    Mcg59::State s;
    std::memcpy(&s, bytes, sizeof s);
    return s.x != 0 && s.x <= kMask59 && (s.multiplier & 1) && s.multiplier <= kMask59;
}
const StateCheckRegistration kLoadCheck{rukBRngMCG59InitStream, valid_state};

// The kernel classes' entries, filled at load; the baseline's are null.
Mcg59Table tables[frame::kKernelClasses] = {};

__attribute__((constructor(101))) void fill_at_load() {
    const frame::KernelClass best = frame::machine_class();
    if (best >= frame::KernelClass::Avx2) avx2::fill_mcg59_table(tables[1]);
    if (best >= frame::KernelClass::Avx512) avx512::fill_mcg59_table(tables[2]);
}

// The whole blocks of chains of a call in the class in use, when it has an
// entry and the scaling is exact (exact_scale); returns the count done.
template <class T>
int32_t class_reals(Mcg59::State& s, int32_t n, T* r, T a, T b) {
    const Mcg59Table& t = tables[static_cast<int>(frame::kernel_class())];
    if (t.doubles == nullptr || t.lanes > kMcg59MostLanes || n < t.lanes) return 0;
    const frame::StreamControlWords control_words;
    const long double c = (static_cast<long double>(b) - a) * kTwoToMinus59;
    if (!exact_scale(a, c)) return 0;
    uint64_t x[kMcg59MostLanes];
    x[0] = s.x & kMask59;
    for (int j = 1; j < t.lanes; ++j) x[j] = mul_mod_2p59(x[j - 1], s.multiplier);
    const int32_t steps = n / t.lanes;
    const uint64_t stride = rukiPowMod2P59(s.multiplier, t.lanes);
    if constexpr (std::is_same_v<T, double>) t.doubles(x, stride, steps, r, static_cast<double>(c), a);
    else t.floats(x, stride, steps, r, static_cast<float>(c), a);
    s.x = x[0];
    return steps * t.lanes;
}

template <class T>
int32_t real_kernel(RukStream* stream, int32_t n, T* r, T a, T b) {
    auto& s = state_of<Mcg59::State>(stream);
    const int32_t done = class_reals(s, n, r, a, b);
    n -= done;
    r += done;
    return real_from_words<uint64_t>(n, r, a, b, kTwoToMinus59,
                                     [&s](int32_t k, uint64_t* w) { generate(s, k, w); });
}

}  // namespace


}  // namespace xeb::rng

using namespace xeb::rng;

int32_t rukBRngMCG59InitStream(int32_t method, RukStream* stream, int32_t n,
                               const uint32_t* params) {
    return init_stream<Mcg59>(method, stream, n, params);
}

int32_t rukiBRngMCG59(RukStream* stream, int32_t n, uint64_t* r) {
    generate(state_of<Mcg59::State>(stream), n, r);
    return RUK_OK;
}

int32_t rukdBRngMCG59(RukStream* stream, int32_t n, double* r, double a, double b) {
    return real_kernel(stream, n, r, a, b);
}

int32_t ruksBRngMCG59(RukStream* stream, int32_t n, float* r, float a, float b) {
    return real_kernel(stream, n, r, a, b);
}
