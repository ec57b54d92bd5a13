// The references of the accuracy measurement, by family: glibc's long
// double functions (64-bit significand, a few units of that format at
// most), or exact long double arithmetic.  A new family adds its row in
// references.cpp (MPFR where a long double function is missing or weak).
#pragma once

#include <string>

namespace xt {

using RefUnary = long double (*)(long double);
using RefBinary = long double (*)(long double, long double);

struct Reference {
    const char* family;
    RefUnary one = nullptr;     // one input (and the first output of two)
    RefBinary two = nullptr;    // two inputs or a scalar argument
    RefUnary second = nullptr;  // the second output
    // MPFR at 128 bits: every error above half an ulp against `one` is
    // measured again against it, so that the maximum is exact.
    RefUnary exact = nullptr;
};

// The reference of a family; nullptr when it has none.
const Reference* reference_for(const std::string& family);

}  // namespace xt
