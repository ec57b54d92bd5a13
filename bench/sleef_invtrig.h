// SLEEF's u10 arcsine, arccosine, arctangent and two-argument arctangent
// over whole arrays, in AVX2 (bench/sleef_invtrig.cpp, the one file of
// bench_vm built with AVX2 flags).  Null when the processor lacks AVX2 and
// FMA, or when bench_vm was built without SLEEF.
#pragma once

namespace xbench {

template <class T>
struct SleefInvTrig {
    void (*asin)(int, const T*, T*) = nullptr;
    void (*acos)(int, const T*, T*) = nullptr;
    void (*atan)(int, const T*, T*) = nullptr;
    void (*atan2)(int, const T*, const T*, T*) = nullptr;
};

SleefInvTrig<double> sleef_invtrig_d();
SleefInvTrig<float> sleef_invtrig_s();

}  // namespace xbench
