// MRG32K3A in the widest registers of one kernel class: 2 registers of
// chains side by side (16 chains with AVX-512, 8 with AVX2), each chain
// one lane and one stretch of the output, started by the baseline from the
// state jumped to its first element (rng/mrg32k3a.cpp).  The numbers are
// the sequence itself, the same in every class and for every split.
//
// Arithmetic in doubles.  A component's value is kept as a residue r with
// |r| <= m/2 + 2.  A step forms t = a u + b v (the two coefficients of its
// recurrence, below 2^21, against values below 2^32 in magnitude): one
// product, one fused multiply-add, |t| < 2^53, exact.  The quotient
// q = round(t (1/m)) is one fused multiply-add of t by the double 1/m
// (relative error 2^-53 on a quotient below 2^21) and 1.5 2^52, which
// rounds it to an integer, less 1.5 2^52: q is the nearest integer to t/m
// or, within 2^-31 of a half, its neighbour.  t - q m, formed by
// one fused multiply-add, is exact (an integer below 2^33) and within
// m/2 + 2 of zero.  The combination takes each residue to 0 .. m - 1 and
// gives z = x - y + (m1 where x <= y), in 1 .. m1, exactly as the integer
// code does.
//
// Output.  N steps of N chains make N registers, one per step; transposed,
// each holds N consecutive outputs of one chain: one whole store.
//
// Doubles on (0, 1) and other intervals with a = 0: the baseline rounds
// the exact product z c (z below 2^32, c a double) to the 64-bit
// significand and then to double.  That equals the product rounded once,
// h = z c in double, except where the first rounding lands on a midpoint of
// the double grid: with the exact remainder l = z c - h (a fused
// multiply-subtract), in the binade [2^e, 2^(e+1)) of h with ulp
// u = 2^(e-52), that is |l| >= u/2 - u 2^-12.  Lanes with |l| at or above
// 2^e (2^-53 - 2^-60) (a margin of 2^4 over that bound) take the
// baseline's formula one by one: about one output in 2^10.  For h a power
// of two, whose lower neighbour lies in the binade below, e is taken one
// lower (the exponent of the double below h), which flags every |l| from
// a quarter ulp on.  The caller
// keeps c and m1 c inside the normal range of doubles and runs this under
// its control words (x87 at 64 bits, MXCSR rounding to nearest).
#include "frame/simd.h"
#include "rng/mrg32k3a_class.h"
#include "rng/mrg32k3a_lanes.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

using namespace mrg32k3a;
constexpr int kLanes = simd::kNative<double>;
constexpr int kRegisters = 2;
constexpr int kChainCount = kLanes * kRegisters;

using D = simd::Vec<double, kLanes>;
using Words = simd::Vec<uint32_t, kLanes>;

constexpr double kRoundingShift = 0x1.8p52;  // x + 1.5 2^52 - 1.5 2^52: x to the nearest integer

// t - round(t / m) m for |t| < 2^53, as argued at the top.
template <uint32_t M>
[[gnu::always_inline]] inline D reduce(D t) {
    constexpr double kInverse = 1.0 / M;
    const D q = simd::fma(t, kInverse, kRoundingShift) - kRoundingShift;
    return simd::fnma(q, simd::broadcast<D>(double(M)), t);
}

// r in 0 .. m - 1 from |r| <= m/2 + 2.
template <uint32_t M>
[[gnu::always_inline]] inline D canonical(D r) {
    return simd::select(simd::compare<simd::Cmp::Lt>(r, 0.0), r + double(M), r);
}

struct Chains {
    D x[3], y[3];  // oldest first
    [[gnu::always_inline]] inline D step() {
        const D p = reduce<kM1>(simd::fma(x[0], -double(kA13), x[1] * double(kA12)));
        const D q = reduce<kM2>(simd::fma(y[0], -double(kA23), y[2] * double(kA21)));
        push(x, p);
        push(y, q);
        const D d = canonical<kM1>(p) - canonical<kM2>(q);
        return simd::select(simd::compare<simd::Cmp::Gt>(d, 0.0), d, d + double(kM1));
    }
};

// Outputs a register's conversion leaves to the one-lane formula: step s
// of chain j, with its value.
struct Patch {
    int chain, step;
    double value;
};
struct Patches {
    Patch at[kChainCount * kLanes];
    int count = 0;
};

// Chains j = 0 .. kChainCount - 1 from start[j], `steps` (a multiple of
// kLanes) each: out[j steps + i] = convert(step i of chain j), a register
// of kLanes chains at a time; convert(z, first chain, step, patches) may
// leave lanes to patches, written after the register's stores.
template <class T, class Convert>
void run_chains(const uint32_t (*start)[6], int32_t steps, T* out, Convert convert) {
    using Out = decltype(convert(D{}, 0, 0, std::declval<Patches&>()));
    Chains c[kRegisters];
    for (int h = 0; h < kRegisters; ++h)
        for (int k = 0; k < 3; ++k)
            for (int l = 0; l < kLanes; ++l) {
                c[h].x[k].v[l] = start[h * kLanes + l][k];
                c[h].y[k].v[l] = start[h * kLanes + l][3 + k];
            }
    Patches patches;
    for (int32_t i = 0; i < steps; i += kLanes) {
        Out z[kRegisters][kLanes];
#pragma GCC unroll 8
        for (int s = 0; s < kLanes; ++s)
#pragma GCC unroll 4
            for (int h = 0; h < kRegisters; ++h) z[h][s] = convert(c[h].step(), h * kLanes, s, patches);
        for (int h = 0; h < kRegisters; ++h) {
            simd::transpose(z[h]);
            for (int l = 0; l < kLanes; ++l) simd::store(out + static_cast<int64_t>(h * kLanes + l) * steps + i, z[h][l]);
        }
        for (int k = 0; k < patches.count; ++k) {
            const Patch& p = patches.at[k];
            out[static_cast<int64_t>(p.chain) * steps + i + p.step] = static_cast<T>(p.value);
        }
        patches.count = 0;
    }
}

void words(const uint32_t (*start)[6], int32_t steps, uint32_t* out) {
    run_chains(start, steps, out, [](D z, int, int, Patches&) {
        if constexpr (XEB_ISA_AVX512) {
            return Words{__builtin_convertvector(z.v, Words::Raw)};  // one unsigned conversion
        } else {
            // z - 2^31 as a signed word, its top bit flipped back.
            using I = simd::Vec<int32_t, kLanes>;
            return simd::bitcast<uint32_t>(I{__builtin_convertvector((z - 0x1p31).v, I::Raw)}) ^ 0x80000000u;
        }
    });
}

void scaled_doubles(const uint32_t (*start)[6], int32_t steps, double* out, double c) {
    const long double wide_c = c;
    run_chains(start, steps, out, [c, wide_c](D z, int chain, int step, Patches& patches) {
        const D h = z * c;
        const D l = simd::fms(z, simd::broadcast<D>(c), h);
        // 2^e of h's binade; of the binade below for a power of two.
        const D binade = simd::bitcast<double>((simd::bitcast<uint64_t>(h) - uint64_t{1}) & 0x7FF0000000000000ull);
        const D size = simd::bitcast<double>(simd::bitcast<uint64_t>(l) & 0x7FFFFFFFFFFFFFFFull);
        const auto redo = simd::compare<simd::Cmp::Ge>(size, binade * (0x1p-53 - 0x1p-60));
        if (__builtin_expect(simd::any(redo), 0))
            for (unsigned m = simd::bits(redo); m != 0; m &= m - 1) {
                const int k = __builtin_ctz(m);
                patches.at[patches.count++] = {chain + k, step,
                                               static_cast<double>(static_cast<long double>(z.v[k]) * wide_c)};
            }
        return h;
    });
}

}  // namespace

void fill_mrg32k3a_table(rng::Mrg32k3aTable& t) {
    t.chains = kChainCount;
    t.words = words;
    t.scaled_doubles = scaled_doubles;
}

}  // namespace XEB_ISA
}  // namespace xeb
