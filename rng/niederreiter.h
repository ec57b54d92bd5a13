// Niederr's state and its bases, the irreducible polynomials of its
// dimensions, for the generator and its tests.
#pragma once

#include <cstdint>

#include "rng/gray_code.h"

namespace xeb::rng {

constexpr int kNiederrMaxDimension = 318;

using NiederrState = gray_code::State<kNiederrMaxDimension>;

// Dimension d's polynomial: the d-th irreducible polynomial over GF(2) in
// increasing order, bit i the coefficient of x^i (2, 3, 7, ..., 3047).
extern const uint32_t kNiederrPolynomials[kNiederrMaxDimension];

// Direction numbers V[0..31] of the dimension with polynomial p.
void niederr_directions(uint32_t p, uint32_t* v);

}  // namespace xeb::rng
