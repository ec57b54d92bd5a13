// Reduction of any finite double modulo pi/2: x = n*pi/2 + r (mod 2*pi),
// r in [-pi/4, pi/4] as a double-double.
//
// Case A, |x| < 2^30: q = floor(|x| * 4/pi) from a double product, j = q
// rounded up to even, r = |x| - j*pi/4 with pi/4 in four parts (|x| < 2^23)
// or five (above), each part short enough that j*part is exact except the
// last, whose rounding goes to the low word.  Error of r: the last part's
// rounding and truncation, j * 2^-53 * |last part| <= 2^-109 absolute.
// The double product may put q one off near an integer; r then lies just
// outside [-pi/4, pi/4] by at most 2^-21 and stays exact.
//
// Case B, |x| >= 2^30: |x| * 4/pi modulo 8 from 200 bits of 4/pi
// (pi_bits).  |x| is scaled by 2^-200 to meet the rows' scale and split into
// 26 and 27 significant bits, so that every product with a 25-bit row is
// exact; products that are multiples of 8 are skipped by starting at row i.
// The sixteen exact products are summed modulo 8 in 256-bit fixed point
// (unit 2^-253; every product is a multiple of 2^-197), so the sum is exact.
// The truncation of 4/pi after 200 bits costs at most 2^-146 in units of
// pi/4; the fraction is kept to 106 bits and multiplied by pi/4 as a
// double-double (2^-104 relative).  Since no double lies closer than 2^-62
// to a multiple of pi/2, r is good to about 2^-84 relative in the worst case.
#include <cmath>
#include <cstdint>

#include "frame/bits.h"
#include "vecmath/trig_core.h"
#include "vecmath/trig_tables.h"
#include "xebruk/vm_trig.h"

namespace xeb::trig {
namespace {

constexpr double kFourOverPi = 0x1.45f306dc9c883p+0;  // 4/pi
// pi/4 in parts for j below 2^23.4 (24 bits): the first three have at most
// 28 significant bits.
constexpr double kPio4Short[4] = {0x1.921fb54p-1, 0x1.10b4612p-31, -0x1.676733cp-61,
                                  0x1.1701b839a252p-89};
// pi/4 in parts for j up to 2^30.4 (31 bits): the first four have at most
// 21 significant bits.
constexpr double kPio4Long[5] = {0x1.921fap-1, 0x1.54443p-21, -0x1.73dcap-44, -0x1.3b39ap-64,
                                 0x1.45c06e0e68948p-87};
constexpr double kPio4Hi = 0x1.921fb54442d18p-1;  // pi/4 = hi + lo to 2^-107
constexpr double kPio4Lo = 0x1.1a62633145c07p-55;

// out = sign * (r + c) as a normalised pair.
void store_pair(double r, double c, double sign, double out[2]) {
    r *= sign;
    c *= sign;
    out[0] = c + r;
    out[1] = (r - out[0]) + c;
}

int32_t quadrant(uint32_t q, bool negative) {
    const uint32_t n = (q + 1) >> 1;
    return static_cast<int32_t>((negative ? 0u - n : n) & 3u);
}

int32_t reduce_below_2p30(double ax, double sign, double out[2]) {
    const double t = ax * kFourOverPi;
    const uint32_t q = static_cast<uint32_t>(t);  // floor: t < 2^31
    const double j = static_cast<double>(q + (q & 1));
    const bool short_parts = ax < 0x1p23;
    const double* part = short_parts ? kPio4Short : kPio4Long;
    const int parts = short_parts ? 4 : 5;
    double r = ax - j * part[0];  // exact
    double c = 0.0;
    for (int k = 1; k + 1 < parts; ++k) {
        const double w = j * part[k];  // exact
        const double s = r - w;
        c += (r - s) - w;
        r = s;
    }
    c -= j * part[parts - 1];
    store_pair(r, c, sign, out);
    return quadrant(q, sign < 0);
}

// 256-bit unsigned fixed point, limb 3 most significant, unit 2^-253.
struct Fixed {
    uint64_t limb[4] = {0, 0, 0, 0};

    // Adds m * 2^shift modulo 2^256 (m < 2^53, -64 < shift < 320).
    void add(uint64_t m, int shift) {
        uint64_t part[4] = {0, 0, 0, 0};
        if (shift < 0) {
            part[0] = m >> -shift;
        } else {
            const int l = shift / 64, b = shift % 64;
            if (l < 4) part[l] = m << b;
            if (b != 0 && l + 1 < 4) part[l + 1] = m >> (64 - b);
        }
        unsigned carry = 0;
        for (int k = 0; k < 4; ++k) {
            const uint64_t s = limb[k] + part[k];
            const unsigned c1 = s < limb[k];
            limb[k] = s + carry;
            carry = c1 | (limb[k] < s);
        }
    }

    // Adds the exact value of a nonnegative double that is a multiple of 2^-253.
    void add(double p) {
        if (p == 0.0) return;
        const uint64_t u = bits(p);
        const int e = static_cast<int>(u >> 52);
        const uint64_t m = (u & 0x000FFFFFFFFFFFFFull) | 0x0010000000000000ull;
        add(m, e - 1075 + 253);
    }

    void negate() {
        unsigned carry = 1;
        for (int k = 0; k < 4; ++k) {
            limb[k] = ~limb[k] + carry;
            carry = carry && limb[k] == 0;
        }
    }

    // Top 128 bits from the leading one, and the weight of that one's bit
    // as a bit index (255 = the highest); returns false for zero.
    bool leading128(unsigned __int128& top, int& lead) const {
        int k = 3;
        while (k >= 0 && limb[k] == 0) --k;
        if (k < 0) return false;
        const int z = __builtin_clzll(limb[k]);
        lead = k * 64 + 63 - z;
        unsigned __int128 v = 0;
        for (int bit = 0; bit < 128; bit += 64) {
            // 64 bits whose highest is at index lead - bit
            const int hi = lead - bit;
            const int lo = hi - 63;
            uint64_t w = 0;
            for (int kk = 0; kk < 4; ++kk) {
                const int base = kk * 64;
                // overlap of limb kk with [lo, hi]
                if (base + 63 < lo || base > hi) continue;
                const int shift = base - lo;
                w |= shift >= 0 ? limb[kk] << shift : limb[kk] >> -shift;
            }
            v = (v << 64) | w;
        }
        top = v;
        return true;
    }
};

// Exact product a*b as hi + lo (Dekker; no fused multiply-add needed).
void two_prod(double a, double b, double& hi, double& lo) {
    constexpr double split = 134217729.0;  // 2^27 + 1
    const double ca = split * a, cb = split * b;
    const double ah = ca - (ca - a), al = a - ah;
    const double bh = cb - (cb - b), bl = b - bh;
    hi = a * b;
    lo = ((ah * bh - hi) + ah * bl + al * bh) + al * bl;
}

int32_t reduce_from_2p30(double ax, double sign, double out[2]) {
    const uint64_t u = bits(ax);
    const int e = static_cast<int>(u >> 52);
    const double xs = double_from_bits((u & 0x800FFFFFFFFFFFFFull) | (uint64_t(e - 200) << 52));
    const double xh = double_from_bits(bits(xs) & ~((uint64_t(1) << 27) - 1));
    const double xl = xs - xh;
    // Products xl*row(i-1) and xh*row(i) and before are multiples of 8.
    const int i = ((e - 1052) * 83886) >> 21;  // (e - 1052) / 25 for e up to 2046
    Fixed sum;
    for (int k = 0; k < 8; ++k) {
        sum.add(xl * pi_bits[i + k]);
        sum.add(xh * pi_bits[i + k + 1]);
    }
    const uint32_t q = static_cast<uint32_t>(sum.limb[3] >> 61);  // floor(|x| * 4/pi) mod 8
    // Fraction in units 2^-256; an odd q takes one unit off, so the
    // remainder lies in [-1, 1) units of pi/4.
    for (int k = 3; k > 0; --k) sum.limb[k] = (sum.limb[k] << 3) | (sum.limb[k - 1] >> 61);
    sum.limb[0] <<= 3;
    double f_sign = 1.0;
    if (q & 1) {
        sum.negate();  // 2^256 - F: the magnitude of F - 1
        f_sign = -1.0;
    }
    unsigned __int128 top;
    int lead;
    if (!sum.leading128(top, lead)) {
        store_pair(0.0, 0.0, sign, out);
        return quadrant(q, sign < 0);
    }
    // f = top * 2^(lead - 127 - 256), kept as two 53-bit pieces.
    const int scale = lead - 127 - 256;
    const double fh = std::ldexp(static_cast<double>(static_cast<uint64_t>(top >> 75)), scale + 75);
    const double fl = std::ldexp(
        static_cast<double>(static_cast<uint64_t>(top >> 22) & 0x1FFFFFFFFFFFFFull), scale + 22);
    double hi, lo;
    two_prod(fh, kPio4Hi, hi, lo);
    lo += fh * kPio4Lo + fl * kPio4Hi;
    const double r = hi + lo;
    const double c = (hi - r) + lo;
    store_pair(r, c, sign * f_sign, out);
    return quadrant(q, sign < 0);
}

}  // namespace

int32_t reduce_pio2(double x, double out[2]) {
    const double sign = std::signbit(x) ? -1.0 : 1.0;
    const double ax = std::fabs(x);
    if ((bits(ax) >> 52) < 0x41D) return reduce_below_2p30(ax, sign, out);
    return reduce_from_2p30(ax, sign, out);
}

}  // namespace xeb::trig

extern "C" int32_t xebreduce_pio2d(double x, double* out) { return xeb::trig::reduce_pio2(x, out); }
