// Scalar floor, logarithm and square root offered to callers of the
// library; nothing inside it calls them.
//
// rukdLn: special arguments are sorted out on the bits; every other
// argument goes through the 64-bit logarithm of the x87 format and is
// rounded once to double.  That logarithm is within a few units of 2^-64
// relative, so the result is within 0.5 + 2^-10 ulp of the true logarithm.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "xebruk/rng_modular.h"

namespace {

uint64_t bits_of(double x) {
    uint64_t u;
    std::memcpy(&u, &x, sizeof u);
    return u;
}

double from_bits(uint64_t u) {
    double x;
    std::memcpy(&x, &u, sizeof x);
    return x;
}

constexpr uint64_t kSignBit = uint64_t{1} << 63;
constexpr int kFractionBits = 52;
constexpr int kExponentBias = 1023;

// Operands held in volatiles so that the operation, and the exception it
// raises, happen at run time.
volatile double g_zero = 0.0;
volatile double g_one = 1.0;

}  // namespace

double rukdFloor(double x) {
    const uint64_t u = bits_of(x);
    const int exponent = static_cast<int>((u >> kFractionBits) & 0x7FF) - kExponentBias;
    if (exponent >= kFractionBits) {
        if (exponent == 0x7FF - kExponentBias) return x * g_one;  // infinities and NaN
        return x;                                                   // already an integer
    }
    if (exponent < 0) {
        if ((u & ~kSignBit) == 0) return x;  // zeros keep their sign
        return (u & kSignBit) ? -1.0 : 0.0;
    }
    const uint64_t fraction = (uint64_t{1} << (kFractionBits - exponent)) - 1;
    if ((u & fraction) == 0) return x;
    // Negative numbers go down in value: add one unit of the integer part to
    // the magnitude (a carry into the exponent is right), then cut.
    const uint64_t up = (u & kSignBit) ? u + fraction + 1 : u;
    return from_bits(up & ~fraction);
}

double rukdLn(double x) {
    const uint64_t u = bits_of(x);
    const uint32_t high = static_cast<uint32_t>(u >> 32);
    if (high >= 0x7FF00000u || u == 0) {
        if ((u & ~kSignBit) > 0x7FF0000000000000u || u == 0x7FF0000000000000u)
            return x * g_one;                            // NaN, +infinity
        if ((u & ~kSignBit) == 0) return -g_one / g_zero;  // either zero: -infinity
        return HUGE_VAL * g_zero;                        // negative: NaN, invalid
    }
    return static_cast<double>(std::log(static_cast<long double>(x)));
}

float ruksLn(float x) { return static_cast<float>(rukdLn(x)); }

double rukdSqrt(double x) { return std::sqrt(x); }
