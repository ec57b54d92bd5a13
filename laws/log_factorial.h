// ln(i!) for i = 0..15, each the correctly rounded double (checked against
// MPFR by the hypergeometric suite), and the constants of Stirling's series
// for larger arguments.
#pragma once

namespace xeb::laws {

constexpr int kLnFactorialTerms = 16;
constexpr double kLnFactorial[kLnFactorialTerms] = {
    0x0p+0,                 0x0p+0,                 0x1.62e42fefa39efp-1,   0x1.cab0bfa2a2002p+0,
    0x1.96ca77c922cf9p+1,   0x1.326643c4479c9p+2,   0x1.a51273acf01cap+2,   0x1.10ce1f32dcc3p+3,
    0x1.5358e82fcb70dp+3,   0x1.99a8921a7f7cfp+3,   0x1.e357590954d15p+3,   0x1.180973f3a8d74p+4,
    0x1.3fcba16d50143p+4,   0x1.68d5a9c3b32cep+4,   0x1.930f3df162a42p+4,   0x1.be636a63fd346p+4,
};
constexpr double kLnSqrt2Pi = 0x1.d67f1c864beb5p-1;      // ln sqrt(2 pi)
constexpr double kFourLnSqrt2Pi = 0x1.d67f1c864beb5p+1;  // 4 ln sqrt(2 pi)

}  // namespace xeb::laws
