// WH: the four-component Wichmann-Hill generator (B. A. Wichmann and
// I. D. Hill, "Generating good pseudo-random numbers", Computational
// Statistics & Data Analysis 51 (2006) 1614-1622): four multiplicative
// congruential generators x_i <- a_i x_i mod m_i with prime moduli near
// 2^24, combined as the fractional part of x1/m1 + x2/m2 + x3/m3 + x4/m4.
// Each of the 273 sub-ids has its own moduli and multipliers
// (rng/wh_parameters.inc); a stream finds its set from its id at every
// call, and keeps only the multipliers (which leapfrog changes) with its
// components.  Every kernel hands out the components first and advances
// afterwards, so a fresh stream starts with its seeds.
//
// Jumps: k steps ahead is x_i a_i^k, and every s-th element is the
// generator with multipliers a_i^s (rukiPowMod, one modulus per component).
//
// Products.  With x_i and a_i below m_i < 2^24 the product y = a x is
// below 2^48 and exact in double, and y mod m = y - q m with
// q = trunc(y * (1/m)).  The computed quotient is within 2^-27 of y/m
// (two roundings of relative size 2^-53 each, whatever the rounding mode,
// on a quotient below 2^24), while the fractional part of y/m, y not being
// a multiple of the prime m, lies between 1/m > 2^-25 and 1 - 1/m: the
// truncation is exact and y - q m (exact too) is the remainder.  So the
// four components run as doubles, two to a 128-bit vector.  A state with a
// component or multiplier at or above its modulus (which only a state from
// outside can hold) takes the integer remainder instead.
//
// Speed.  One element depends on the last, so the kernels run 4 chains
// side by side: chain j starts at element j and steps by a_i^4, and the
// chains write consecutive elements.  The numbers are those of one chain,
// so every block split gives the same numbers.
//
// Real output: s = x4 c4 + x3 c3 + x2 c2 + x1 c1 with c_i = 1/m_i in double,
// summed from the left in the 64-bit significand; the integer part of s (in
// 0 .. 3) comes from s rounded to double, u = s - integer part, and the
// result u (b - a) + a is rounded once at the store.  It can equal a.  The
// AVX2 and AVX-512 classes form the same bits in double lanes where a is
// zero and b a power of two, the interval (0, 1) among them
// (rng/simd/wh.cpp); other intervals, and states from outside, take the
// x87 here.
#include <emmintrin.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "frame/kernel_class.h"
#include "frame/kernel_frame.h"
#include "rng/generator.h"
#include "rng/registry.h"
#include "rng/load_checks.h"
#include "rng/wh.h"
#include "rng/wh_class.h"
#include "xebruk/rng_generators.h"
#include "xebruk/rng_modular.h"

namespace xeb::rng {

const WhParameters kWhParameters[kWhSets] = {
#include "rng/wh_parameters.inc"
};

}  // namespace xeb::rng

// The kernel classes' entries (rng/simd/wh.cpp).
namespace xeb {
namespace avx2 {
void fill_wh_table(rng::WhTable& t);
}
namespace avx512 {
void fill_wh_table(rng::WhTable& t);
}
}  // namespace xeb

namespace xeb::rng {

namespace {

struct WhState {
    uint32_t x[kWhComponents];  // components, each in 1 .. m_i - 1
    uint32_t a[kWhComponents];  // multipliers: the set's, or their powers after a leapfrog
};

static_assert(sizeof(WhState) + kStreamHeaderBytes == 48, "WH streamSize");

const WhParameters& parameters_of(const RukStream* stream) {
    return kWhParameters[resolve(stream->brngId).sub];
}

uint32_t mul_mod(uint32_t x, uint32_t y, uint32_t m) {
    return static_cast<uint32_t>(uint64_t{x} * y % m);
}

// Seed word i, if there is one, mod m_i (0 becomes 1).  Counts 1, 2 and 3
// read that many words; 0 reads none; every other count reads four.
int32_t seed(WhState& s, const WhParameters& p, int32_t n, const uint32_t* params) {
    const int32_t words = n >= 0 && n <= 3 ? n : kWhComponents;
    for (int i = 0; i < kWhComponents; ++i) {
        const uint32_t x = i < words ? params[i] % p.modulus[i] : 1;
        s.x[i] = x == 0 ? 1 : x;
        s.a[i] = p.multiplier[i];
    }
    return RUK_OK;
}

// jump(x_i, a_i, pow, mul) for each component, with the powers and
// products of its modulus.  The counts are the same for all components, so
// a refusal comes before any of them changes.
template <class Jump>
int32_t jump_components(WhState& s, const WhParameters& p, Jump jump) {
    int32_t status = RUK_OK;
    for (int i = 0; i < kWhComponents && status == RUK_OK; ++i) {
        const uint32_t m = p.modulus[i];
        status = jump(s.x[i], s.a[i], [m](uint32_t a, int32_t e) { return rukiPowMod(a, e, m); },
                      [m](uint32_t x, uint32_t y) { return mul_mod(x, y, m); });
    }
    return status;
}

typedef double F64x2 __attribute__((vector_size(16)));

// Components (x1, x2) and (x3, x4) of one element as exact doubles.
struct Element {
    F64x2 lo, hi;
};

// y mod m for y = x a, every lane as argued above.
struct Modulus {
    F64x2 m, inverse;
    F64x2 operator()(F64x2 x, F64x2 a) const {
        const F64x2 y = x * a;
        const __m128i q = _mm_cvttpd_epi32(reinterpret_cast<__m128d>(y * inverse));
        return y - reinterpret_cast<F64x2>(_mm_cvtepi32_pd(q)) * m;
    }
};

struct Moduli {
    Modulus lo, hi;
    Element operator()(const Element& x, const Element& a) const {
        return {lo(x.lo, a.lo), hi(x.hi, a.hi)};
    }
};

bool fits_double_products(const WhState& s, const WhParameters& p) {
    for (int i = 0; i < kWhComponents; ++i)
        if (s.x[i] >= p.modulus[i] || s.a[i] >= p.modulus[i]) return false;
    return true;
}

// A state seeding and moves can make for set `sub`: components and
// multipliers (powers of a primitive root) in 1 .. m_i - 1.
bool valid_state(const unsigned char* bytes, int32_t sub) {
    WhState s;
    std::memcpy(&s, bytes, sizeof s);
    if (sub < 0 || sub >= kWhSets) return false;
    for (int i = 0; i < kWhComponents; ++i)
        if (s.x[i] == 0 || s.a[i] == 0) return false;
    return fits_double_products(s, kWhParameters[sub]);
}
const StateCheckRegistration kLoadCheck{rukBRngWHInitStream, valid_state};

constexpr int kChains = 4;

// n elements through out(i, element), the components before each advance.
template <class Out>
void generate(WhState& s, const WhParameters& p, int32_t n, Out out) {
    if (n <= 0) return;
    if (!fits_double_products(s, p)) {
        for (int32_t i = 0; i < n; ++i) {
            const uint32_t* x = s.x;
            out(i, Element{F64x2{double(x[0]), double(x[1])}, F64x2{double(x[2]), double(x[3])}});
            for (int c = 0; c < kWhComponents; ++c) s.x[c] = mul_mod(s.a[c], s.x[c], p.modulus[c]);
        }
        return;
    }
    const Moduli mod{{F64x2{double(p.modulus[0]), double(p.modulus[1])},
                      F64x2{p.reciprocal[0], p.reciprocal[1]}},
                     {F64x2{double(p.modulus[2]), double(p.modulus[3])},
                      F64x2{p.reciprocal[2], p.reciprocal[3]}}};
    const Element a{F64x2{double(s.a[0]), double(s.a[1])}, F64x2{double(s.a[2]), double(s.a[3])}};
    Element x{F64x2{double(s.x[0]), double(s.x[1])}, F64x2{double(s.x[2]), double(s.x[3])}};
    int32_t i = 0;
    if (n >= 2 * kChains) {
        Element chain[kChains];
        chain[0] = x;
        for (int j = 1; j < kChains; ++j) chain[j] = mod(chain[j - 1], a);
        Element stride = a;
        for (int j = 1; j < kChains; ++j) stride = mod(stride, a);
        for (; i + kChains <= n; i += kChains)
#pragma GCC unroll 4
            for (int j = 0; j < kChains; ++j) {
                out(i + j, chain[j]);
                chain[j] = mod(chain[j], stride);
            }
        x = chain[0];
    }
    for (; i < n; ++i) {
        out(i, x);
        x = mod(x, a);
    }
    const double v[kWhComponents] = {x.lo[0], x.lo[1], x.hi[0], x.hi[1]};
    for (int c = 0; c < kWhComponents; ++c) s.x[c] = static_cast<uint32_t>(v[c]);
}

// Components as doubles, 4 per element, a block at a time, then the sums.
template <class T>
int32_t real_kernel(RukStream* stream, int32_t n, T* r, T a, T b) {
    const frame::StreamControlWords control_words;
    constexpr int32_t kBlock = 1024;
    const WhParameters& p = parameters_of(stream);
    WhState& s = state_of<WhState>(stream);
    const long double width = static_cast<long double>(b) - a, lo = a;
    Element w[kBlock];
    for (int32_t done = 0; done < n; done += kBlock) {
        const int32_t k = n - done < kBlock ? n - done : kBlock;
        generate(s, p, k, [&w](int32_t i, const Element& e) { w[i] = e; });
        for (int32_t i = 0; i < k; ++i) {
            const long double sum = w[i].hi[1] * static_cast<long double>(p.reciprocal[3]) +
                                    w[i].hi[0] * static_cast<long double>(p.reciprocal[2]) +
                                    w[i].lo[1] * static_cast<long double>(p.reciprocal[1]) +
                                    w[i].lo[0] * static_cast<long double>(p.reciprocal[0]);
            // sum is in 0 .. 4: its integer part converts exactly.
            const int32_t whole = static_cast<int32_t>(static_cast<double>(sum));
            r[done + i] = static_cast<T>((sum - whole) * width + lo);
        }
    }
    return RUK_OK;
}

// The kernel classes' entries, filled at load; the baseline's are null.
WhTable tables[frame::kKernelClasses] = {};

__attribute__((constructor(101))) void fill_at_load() {
    const frame::KernelClass best = frame::machine_class();
    if (best >= frame::KernelClass::Avx2) avx2::fill_wh_table(tables[1]);
    if (best >= frame::KernelClass::Avx512) avx512::fill_wh_table(tables[2]);
}

// Whether the classes' lanes form r = u b exactly: a zero a, a power of two
// b with every u b (u a multiple of 2^-87 below 1) a normal double.
template <class T>
bool lanes_scale(T a, T b) {
    int exponent = 0;
    const T mantissa = std::frexp(b, &exponent);
    return a == 0 && (mantissa == T(0.5) || mantissa == T(-0.5)) && exponent > -900 && exponent < 900;
}

// The whole blocks of lanes of a call in the class in use, when it has an
// entry and the call is one it forms; returns the count done (the rest is
// for the x87).
template <class T>
int32_t class_reals(WhState& s, const WhParameters& p, int32_t n, T* r, T a, T b) {
    const WhTable& t = tables[static_cast<int>(frame::kernel_class())];
    if (t.doubles == nullptr || t.lanes > kWhMostLanes || n < t.lanes || !lanes_scale(a, b) ||
        !fits_double_products(s, p))
        return 0;
    const frame::StreamControlWords control_words;
    WhLanes lanes;
    for (int i = 0; i < kWhComponents; ++i) {
        const uint32_t m = p.modulus[i];
        uint32_t x = s.x[i], power = 1;
        for (int j = 0; j < t.lanes; ++j) {
            lanes.x[i][j] = x;
            x = mul_mod(x, s.a[i], m);
            power = mul_mod(power, s.a[i], m);
        }
        lanes.stride[i] = power;
        lanes.modulus[i] = m;
        lanes.reciprocal[i] = p.reciprocal[i];
    }
    const int32_t steps = n / t.lanes;
    if constexpr (std::is_same_v<T, double>) t.doubles(lanes, steps, r, b, a);
    else t.floats(lanes, steps, r, b, a);
    for (int i = 0; i < kWhComponents; ++i) s.x[i] = static_cast<uint32_t>(lanes.x[i][0]);
    return steps * t.lanes;
}

template <class T>
int32_t reals(RukStream* stream, int32_t n, T* r, T a, T b) {
    const int32_t done = class_reals(state_of<WhState>(stream), parameters_of(stream), n, r, a, b);
    return real_kernel(stream, n - done, r + done, a, b);
}

}  // namespace


}  // namespace xeb::rng

using namespace xeb::rng;

int32_t rukBRngWHInitStream(int32_t method, RukStream* stream, int32_t n, const uint32_t* params) {
    const WhParameters& p = parameters_of(stream);
    WhState& s = state_of<WhState>(stream);
    switch (method) {
        case RUK_INIT_NEW:
            return seed(s, p, n, params);
        case RUK_INIT_LEAPFROG: {
            const int32_t k = static_cast<int32_t>(params[0]);
            return jump_components(s, p, [k, n](uint32_t& x, uint32_t& a, auto pow, auto mul) {
                return mcg_leapfrog(x, a, k, n, pow, mul);
            });
        }
        case RUK_INIT_SKIPAHEAD:
            return jump_components(s, p, [n](uint32_t& x, uint32_t& a, auto pow, auto mul) {
                return mcg_skip_ahead(x, a, n, pow, mul);
            });
        default:
            return RUK_ERROR_UNKNOWN_METHOD;
    }
}

int32_t rukiBRngWH(RukStream* stream, int32_t n, uint32_t* r) {
    // Words of up to 32 bits (a state from outside may hold them): w - 2^31
    // converts as a signed word, and flipping its top bit adds 2^31 back.
    const __m128i top = _mm_set1_epi32(INT32_MIN);
    auto words = [top](F64x2 x) {
        return _mm_xor_si128(_mm_cvttpd_epi32(reinterpret_cast<__m128d>(x - 0x1p31)), top);
    };
    generate(state_of<WhState>(stream), parameters_of(stream), n, [r, words](int32_t i, const Element& e) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(r + 4 * static_cast<int64_t>(i)),
                         _mm_unpacklo_epi64(words(e.lo), words(e.hi)));
    });
    return RUK_OK;
}

int32_t rukdBRngWH(RukStream* stream, int32_t n, double* r, double a, double b) {
    return reals(stream, n, r, a, b);
}

int32_t ruksBRngWH(RukStream* stream, int32_t n, float* r, float a, float b) {
    return reals(stream, n, r, a, b);
}
