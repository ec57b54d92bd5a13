// SLEEF's vector functions over whole arrays, in AVX-512 when `avx512` is
// set and the processor has it, otherwise in AVX2; null where SLEEF lacks
// the function.
// Built in bench/sleef_loops.cpp, the one benchmark file compiled with
// AVX-512 flags; it is called only after a check of the processor.
#pragma once

#include <string>

namespace xbench {

template <class T>
using ArrayFn = void (*)(int, const T*, T*);

struct SleefFamily {
    ArrayFn<double> d_u10, d_u35;
    ArrayFn<float> s_u10, s_u35;
};

// The functions of a family of the kernel catalogue ("Exp", "Ln", "Log10",
// "Sqrt" (u05 in the u10 place), "Cbrt"; no u35 form of Exp or Log10 in
// SLEEF; "Erf", "Erfc": erf u10 and erfc u15, its only one, in the u10
// place; "Sin", "Cos", "Tan").  Null members throughout for
// other families, when the processor has neither AVX2 nor AVX-512, or in a
// build without SLEEF.
SleefFamily sleef_family(const std::string& family, bool avx512);

// A vectorised native loop of the same operation, for the families the
// hardware computes ("Inv", "Sqrt"; "InvSqrt" as 1/sqrt, two roundings),
// in the same instruction set; null members otherwise.
struct NativeLoops {
    ArrayFn<double> d;
    ArrayFn<float> s;
};
NativeLoops native_loops(const std::string& family, bool avx512);
// Two inputs: SLEEF's pow u10 for "Pow" and "Powx" (SLEEF has no u35
// pow), and for "Div" a plain division loop in the same instruction set,
// the native floor of a division kernel.
template <class T>
using ArrayFn2 = void (*)(int, const T*, const T*, T*);
struct SleefBinary {
    ArrayFn2<double> d_u10;
    ArrayFn2<float> s_u10;
};
SleefBinary sleef_binary(const std::string& family, bool avx512);

// SLEEF's u10 arcsine, arccosine, arctangent and two-argument arctangent
// in AVX2 (the instruction set the inverse trigonometric peers are
// measured in); null without AVX2 and FMA or without SLEEF.
template <class T>
struct SleefInvTrig {
    ArrayFn<T> asin, acos, atan;
    ArrayFn2<T> atan2;
};
SleefInvTrig<double> sleef_invtrig_d();
SleefInvTrig<float> sleef_invtrig_s();

}  // namespace xbench
