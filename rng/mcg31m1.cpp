// MCG31M1: x[i+1] = 1132489760 x[i] mod 2^31 - 1.
//
// The modulus is prime and the multiplier a primitive root, so from any
// seed in 1 .. 2^31 - 2 the sequence runs through all of them (period
// 2^31 - 2) and never meets 0.  Every kernel hands out x first and advances
// afterwards, so a fresh stream starts with its seed.
//
// Jumps: k steps ahead is x a^k, and every s-th element is the generator
// with multiplier a^s; both powers come from rukiPowMod2P31M1.
//
// Real output: x / (2^31 - 1) scaled to the interval from a to b, as
// x * c + a with c = (b - a) * (1/M).  1/M in double is 2^-31 (1 + 2^-31)
// (bits 0x3E00000000200000), short of the true value by 2^-93, about
// 2^-62 relative; x c is exact in the 64-bit significand, and the double
// result is rounded once from it.  The single kernel works in single
// precision: c is rounded to single, and the product and the sum each
// round to single.
#include <cstdint>
#include <cstring>

#include "frame/kernel_frame.h"
#include "rng/generator.h"
#include "rng/load_checks.h"
#include "rng/modular.h"
#include "xebruk/rng_generators.h"
#include "xebruk/rng_modular.h"

namespace xeb::rng {
namespace {

constexpr uint32_t kMultiplier = 1132489760;  // 0x43806C20
constexpr double kInverseModulus = 0x1.00000002p-31;  // 1/(2^31 - 1) in double

struct Mcg31m1 {
    struct State {
        uint32_t x;           // next value to hand out, in 1 .. 2^31 - 2
        uint32_t multiplier;  // a, or a^s after a leapfrog with stride s
    };

    static int32_t seed(State& s, int32_t n, const uint32_t* params) {
        uint32_t x = n >= 1 ? params[0] % kMersenne31 : 1;
        s.x = x == 0 ? 1 : x;
        s.multiplier = kMultiplier;
        return RUK_OK;
    }

    static int32_t leapfrog(State& s, int32_t k, int32_t nstreams) {
        return mcg_leapfrog(s.x, s.multiplier, k, nstreams, rukiPowMod2P31M1, mul_mod_mersenne31);
    }
    static int32_t skip_ahead(State& s, int32_t nskip) {
        return mcg_skip_ahead(s.x, s.multiplier, nskip, rukiPowMod2P31M1, mul_mod_mersenne31);
    }
};

static_assert(sizeof(Mcg31m1::State) + kStreamHeaderBytes == 24, "MCG31M1 streamSize");

// A state seeding and moves can make: x and the multiplier (a power of a)
// both in 1 .. M - 1.  A 0 would repeat for ever, and a word of M or more
// lies outside the field.
bool valid_state(const unsigned char* bytes) {
    Mcg31m1::State s;
    std::memcpy(&s, bytes, sizeof s);
    return s.x >= 1 && s.x < kMersenne31 && s.multiplier >= 1 && s.multiplier < kMersenne31;
}
const StateCheckRegistration kLoadCheck{rukBRngMCG31M1InitStream, valid_state};

// n values x, x a, x a^2, ... scaled as x * c + t, converted to T at the
// store; x is left at the next value.
template <class T, class Scale>
void fill_scaled(Mcg31m1::State& s, int32_t n, T* r, Scale scale) {
    uint32_t x = s.x;
    const uint32_t a = s.multiplier;
    for (int32_t i = 0; i < n; ++i) {
        r[i] = scale(x);
        x = mul_mod_mersenne31(x, a);
    }
    s.x = x;
}

}  // namespace
}  // namespace xeb::rng

using namespace xeb::rng;

int32_t rukBRngMCG31M1InitStream(int32_t method, RukStream* stream, int32_t n,
                                 const uint32_t* params) {
    return init_stream<Mcg31m1>(method, stream, n, params);
}

int32_t rukdBRngMCG31M1(RukStream* stream, int32_t n, double* r, double a, double b) {
    // c in double; each result x c + a in the x87 at 64-bit precision,
    // rounded once at the store.
    const xeb::frame::StreamControlWords words;
    const double c = static_cast<double>((static_cast<long double>(b) - a) * kInverseModulus);
    const long double ca = c, aa = a;
    // x is below 2^31: the top-bit term of the word conversion is always 0.
    fill_scaled(state_of<Mcg31m1::State>(stream), n, r, [ca, aa](uint32_t x) {
        return static_cast<double>(static_cast<int32_t>(x) * ca + aa);
    });
    return RUK_OK;
}

int32_t ruksBRngMCG31M1(RukStream* stream, int32_t n, float* r, float a, float b) {
    const xeb::frame::StreamControlWords words;
    // float(b - a) times the double 1/M is exact in the 64-bit significand
    // (24 + 31 bits), so c is that product correctly rounded to single.
    const float width = b - a;
    const float c = static_cast<float>(static_cast<long double>(width) * kInverseModulus);
    fill_scaled(state_of<Mcg31m1::State>(stream), n, r,
                [c, a](uint32_t x) { return static_cast<float>(x) * c + a; });
    return RUK_OK;
}

int32_t rukiBRngMCG31M1(RukStream* stream, int32_t n, uint32_t* r) {
    // Two interleaved chains with multiplier a^2 (independent from one
    // element to the next), then one step of a for an odd count.  The count
    // is not tested: r[0] is always written, and a count whose even part is
    // not zero (negative ones included) writes r[1].
    auto& s = state_of<Mcg31m1::State>(stream);
    const uint32_t a = s.multiplier;
    const int32_t even = n & ~int32_t{1};
    r[0] = s.x;
    uint32_t last = r[0];
    if (even != 0) {
        const uint32_t a2 = mul_mod_mersenne31(a, a);
        uint32_t u = r[0];
        uint32_t v = mul_mod_mersenne31(u, a);
        r[1] = v;
        for (int32_t i = 2; i < even; i += 2) {
            u = mul_mod_mersenne31(u, a2);
            v = mul_mod_mersenne31(v, a2);
            r[i] = u;
            r[i + 1] = v;
        }
        last = v;
        if ((n & 1) && n > 1) {
            last = mul_mod_mersenne31(v, a);
            r[n - 1] = last;
        }
    }
    s.x = mul_mod_mersenne31(last, a);
    return RUK_OK;
}
