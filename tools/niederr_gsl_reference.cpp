// Writes tests/data/niederr_directions_gsl.txt: the direction numbers of the
// first 12 dimensions of the base-2 Niederreiter sequence as GSL computes it
// (gsl_qrng_niederreiter_2, 31-bit fractions), recovered from its points,
// as an independent reference for the Niederr generator.
//
// GSL hands out the origin first and then vector i in Gray-code order, so
// vector 2^k, whose Gray code has bits k and k - 1, is V[k] ^ V[k-1]: the
// points at 1, 2, 4, ..., 2^30 give V[0..30].  About 2^30 points: a minute.
// Built only where GSL is installed; the output is committed.
// Usage: niederr_gsl_reference --out|--check <source dir>
#include <gsl/gsl_qrng.h>
#include <gsl/gsl_version.h>

#include <cmath>
#include <cstdint>
#include <cstdio>

#include "table_output.h"

namespace {

void generate(FILE* out) {
    constexpr unsigned kDims = 12;
    constexpr int kRows = 31;
    gsl_qrng* q = gsl_qrng_alloc(gsl_qrng_niederreiter_2, kDims);
    double x[kDims];
    gsl_qrng_get(q, x);  // the origin
    uint32_t v[kDims][kRows];
    uint64_t index = 0;
    for (int k = 0; k < kRows; ++k) {
        for (; index < (uint64_t{1} << k); ++index) gsl_qrng_get(q, x);
        for (unsigned d = 0; d < kDims; ++d) {
            const auto w = static_cast<uint32_t>(std::ldexp(x[d], 32));
            v[d][k] = k == 0 ? w : w ^ v[d][k - 1];
        }
    }
    gsl_qrng_free(q);
    std::fprintf(out,
                 "# GSL %s gsl_qrng_niederreiter_2: direction numbers V[d][0..30] of\n"
                 "# dimensions 0..11 as 32-bit fractions (31 bits significant), one\n"
                 "# dimension per line.\n",
                 GSL_VERSION);
    for (unsigned d = 0; d < kDims; ++d)
        for (int k = 0; k < kRows; ++k)
            std::fprintf(out, "%08x%c", v[d][k], k + 1 == kRows ? '\n' : ' ');
}

}  // namespace

int main(int argc, char** argv) {
    return write_or_check(argc, argv, "niederr_gsl_reference",
                          {{"tests/data/niederr_directions_gsl.txt", generate}});
}
