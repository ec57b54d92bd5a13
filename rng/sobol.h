// SOBOL's state and its table of primitive polynomials and initial
// direction numbers (dimensions 1..39), for the generator and its tests.
#pragma once

#include <cstdint>

#include "rng/gray_code.h"

namespace xeb::rng {

constexpr int kSobolMaxDimension = 40;
constexpr int kSobolMaxDegree = 8;

using SobolState = gray_code::State<kSobolMaxDimension>;

struct SobolPolynomial {
    int32_t degree;
    uint32_t polynomial;  // bit i: the coefficient of x^i
    uint32_t initial[kSobolMaxDegree];
};
extern const SobolPolynomial kSobolPolynomials[kSobolMaxDimension - 1];

}  // namespace xeb::rng
