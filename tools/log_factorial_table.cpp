// Writes the log-factorial table of the hypergeometric law:
//   laws/log_factorial_table.inc  kLnFactorial (ln i!, i = 0..15), kLnSqrt2Pi,
//                                 kFourLnSqrt2Pi
//
// Every value is computed with MPFR at 256 bits and rounded once to double,
// so each entry is the correctly rounded value of what its comment says.
//
//   log_factorial_table --out <source dir>     regenerate the file in place
//   log_factorial_table --check <source dir>   exit 1 if the committed file differs
#include <mpfr.h>

#include <cstdio>

#include "table_output.h"

namespace {

constexpr int kTerms = 16;

void generate(FILE* out) {
    mpfr_t x;
    mpfr_init2(x, 256);
    std::fprintf(out,
                 "// ln(i!) for i = 0..%d, each correctly rounded; from %d on the law uses\n"
                 "// Stirling's series.\n",
                 kTerms - 1, kTerms);
    std::fprintf(out, "constexpr int kLnFactorialTerms = %d;\n", kTerms);
    std::fprintf(out, "constexpr double kLnFactorial[kLnFactorialTerms] = {\n");
    for (int i = 0; i < kTerms; ++i) {
        mpfr_set_si(x, i + 1, MPFR_RNDN);
        mpfr_lngamma(x, x, MPFR_RNDN);
        std::fprintf(out, "    %a,  // ln %d!\n", mpfr_get_d(x, MPFR_RNDN), i);
    }
    std::fprintf(out, "};\n");
    mpfr_const_pi(x, MPFR_RNDN);
    mpfr_mul_2ui(x, x, 1, MPFR_RNDN);
    mpfr_log(x, x, MPFR_RNDN);
    mpfr_div_2ui(x, x, 1, MPFR_RNDN);
    std::fprintf(out, "constexpr double kLnSqrt2Pi = %a;      // ln sqrt(2 pi)\n", mpfr_get_d(x, MPFR_RNDN));
    mpfr_mul_2ui(x, x, 2, MPFR_RNDN);
    std::fprintf(out, "constexpr double kFourLnSqrt2Pi = %a;  // 4 ln sqrt(2 pi)\n", mpfr_get_d(x, MPFR_RNDN));
    mpfr_clear(x);
}

}  // namespace

int main(int argc, char** argv) {
    return write_or_check(argc, argv, "log_factorial_table", {{"laws/log_factorial_table.inc", generate}});
}
