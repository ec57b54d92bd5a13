// SOBOL: the 32-bit Sobol sequence of up to 40 dimensions in Gray-code
// order (rng/gray_code.h has the sequence, kernels and moves).
//
// Direction numbers.  Dimension d >= 1 has a primitive polynomial
// p = x^s + a_1 x^(s-1) + ... + a_(s-1) x + 1 and odd initial numbers
// m[0..s-1]; the rest follow from
//   m[k] = 2 a_1 m[k-1] ^ 4 a_2 m[k-2] ^ ... ^ 2^s m[k-s] ^ m[k-s],
// and V[d][k] = m[k] 2^(31-k) as a 32-bit fraction.  m[k] is odd, so bit
// 31 - k of V[d][k] is set and the bits below it are clear: the first k
// direction numbers of a dimension are independent in their top k bits,
// and in every dimension each dyadic interval of length 2^-k holds one of
// the vectors 0 .. 2^k - 1.  Dimension 0 has V[0][k] = 2^(31-k): the
// van der Corput sequence.
//
// Words are 32 bits throughout, as the table's last row needs: its
// initial numbers exceed 2^(k+1), and their excess bits leave the word
// when shifted into place.
#include <cstdint>

#include "rng/gray_code.h"
#include "rng/load_checks.h"
#include "rng/sobol.h"
#include "xebruk/rng_generators.h"

namespace xeb::rng {
namespace {

using gray_code::kDirectionBits;

struct Sobol : gray_code::Generator<SobolState, gray_code::SkipRule::kAfterPartial> {
    static int32_t seed(State& s, int32_t n, const uint32_t* params) {
        const int32_t dim = gray_code::set_dimension(s, n, params);
        if (dim >= 1)
            for (int k = 0; k < kDirectionBits; ++k) s.direction[0][k] = 1;
        for (int d = 1; d < dim; ++d) {
            const SobolPolynomial& poly = kSobolPolynomials[d - 1];
            uint32_t* v = s.direction[d];
            const int deg = poly.degree;
            for (int k = 0; k < deg; ++k) v[k] = poly.initial[k];
            for (int k = deg; k < kDirectionBits; ++k) {
                uint32_t m = v[k - deg];
                // Bit 0 of p goes with the shift by s, bit s - 1 with 1.
                for (int j = deg; j >= 1; --j)
                    if ((poly.polynomial >> (deg - j)) & 1) m ^= v[k - j] << j;
                v[k] = m;
            }
        }
        for (int d = 0; d < dim; ++d)
            for (int k = 0; k < kDirectionBits; ++k) s.direction[d][k] <<= 31 - k;
        gray_code::start(s);
        return RUK_OK;
    }
};

static_assert(sizeof(SobolState) + kStreamHeaderBytes == 5472, "SOBOL streamSize");
const StateCheckRegistration kLoadCheck{rukBRngSobolInitStream, gray_code::valid_state<Sobol>};

}  // namespace

#include "rng/sobol_directions.inc"

}  // namespace xeb::rng

using namespace xeb::rng;

int32_t rukBRngSobolInitStream(int32_t method, RukStream* stream, int32_t n,
                               const uint32_t* params) {
    return init_stream<Sobol>(method, stream, n, params);
}
int32_t ruksBRngSobol(RukStream* stream, int32_t n, float* r, float a, float b) {
    return gray_code::real_kernel<SobolState>(stream, n, r, a, b);
}
int32_t rukdBRngSobol(RukStream* stream, int32_t n, double* r, double a, double b) {
    return gray_code::real_kernel<SobolState>(stream, n, r, a, b);
}
int32_t rukiBRngSobol(RukStream* stream, int32_t n, uint32_t* r) {
    return gray_code::ikernel<SobolState>(stream, n, r);
}
