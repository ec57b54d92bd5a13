// Niederr: the base-2 Niederreiter sequence of up to 318 dimensions in
// Gray-code order.  Sequence, kernels and moves are SOBOL's
// (rng/gray_code.h); this file builds the direction numbers.
//
// Generator matrix of a dimension with irreducible polynomial p of degree
// e.  Rows come in blocks of e, one block per power b = p^(q+1) (degree
// m2 = m + e, where m = q e is the degree of the previous power): the
// bits v[0..e+30] of a linear recurrence with characteristic polynomial b,
// started from v[0..m-1] = 0 and v[m..m+e-1] = 1 (v[m] must be 1; the
// other e - 1 starting bits are a free choice, fixed here at 1).  Row j of
// the matrix C is v[u..u+31] for the u-th row of its block, u = 0..e-1,
// and C stops at 32 rows.  Column k of C, read with row 0 as the top bit,
// is the direction number V[k].  With p = x this is the identity (the van
// der Corput sequence); with p = x + 1 it is SOBOL's dimension 1.
//
// In one coordinate the first 2^k vectors, origin included, then form a
// (t, k, 1)-net with t = e - 1: every dyadic interval of length 2^-(k-t)
// holds 2^t of them.
//
// Bits are kept in machine words: b has degree at most 31 + 11 = 42 and v
// at most 42 bits, so both fit 64 bits, and each recurrence bit is the
// parity of v's window ANDed with b's low coefficients.  The 318 matrices
// of a full stream take well under a millisecond.
#include <cstdint>

#include "rng/gray_code.h"
#include "rng/load_checks.h"
#include "rng/niederreiter.h"
#include "xebruk/rng_generators.h"

namespace xeb::rng {
namespace {

using gray_code::kDirectionBits;

int degree(uint64_t p) { return 63 - __builtin_clzll(p); }

// Product over GF(2) (carry-less); the caller keeps the degree below 64.
uint64_t multiply(uint64_t a, uint64_t b) {
    uint64_t r = 0;
    for (; b != 0; b >>= 1, a <<= 1)
        if (b & 1) r ^= a;
    return r;
}

struct Niederr : gray_code::Generator<NiederrState, gray_code::SkipRule::kFallsBehind> {
    static int32_t seed(State& s, int32_t n, const uint32_t* params) {
        const int32_t dim = gray_code::set_dimension(s, n, params);
        for (int d = 0; d < dim; ++d) niederr_directions(kNiederrPolynomials[d], s.direction[d]);
        gray_code::start(s);
        return RUK_OK;
    }
};

static_assert(sizeof(NiederrState) + kStreamHeaderBytes == 43280, "Niederr streamSize");
const StateCheckRegistration kLoadCheck{rukBRngNiederrInitStream, gray_code::valid_state<Niederr>};

}  // namespace

#include "rng/niederreiter_tables.inc"

void niederr_directions(uint32_t p, uint32_t* v) {
    const int e = degree(p);
    uint32_t rows[kDirectionBits];  // rows[j] bit k: C[j][k]
    uint64_t b = 1;
    int m = 0, j = 0;
    while (j < kDirectionBits) {
        b = multiply(b, p);
        const int m2 = m + e;
        const uint64_t taps = b & ((uint64_t{1} << m2) - 1);  // b without its top term
        uint64_t bits = ((uint64_t{1} << e) - 1) << m;          // v[m..m+e-1] = 1
        for (int r = m2; r <= e + 30; ++r)
            bits |= static_cast<uint64_t>(__builtin_parityll((bits >> (r - m2)) & taps)) << r;
        for (int u = 0; u < e && j < kDirectionBits; ++u, ++j)
            rows[j] = static_cast<uint32_t>(bits >> u);
        m = m2;
    }
    for (int k = 0; k < kDirectionBits; ++k) {
        uint32_t w = 0;
        for (int row = 0; row < kDirectionBits; ++row) w |= ((rows[row] >> k) & 1u) << (31 - row);
        v[k] = w;
    }
}

}  // namespace xeb::rng

using namespace xeb::rng;

int32_t rukBRngNiederrInitStream(int32_t method, RukStream* stream, int32_t n,
                                 const uint32_t* params) {
    return init_stream<Niederr>(method, stream, n, params);
}
int32_t ruksBRngNiederr(RukStream* stream, int32_t n, float* r, float a, float b) {
    return gray_code::real_kernel<NiederrState>(stream, n, r, a, b);
}
int32_t rukdBRngNiederr(RukStream* stream, int32_t n, double* r, double a, double b) {
    return gray_code::real_kernel<NiederrState>(stream, n, r, a, b);
}
int32_t rukiBRngNiederr(RukStream* stream, int32_t n, uint32_t* r) {
    return gray_code::ikernel<NiederrState>(stream, n, r);
}
