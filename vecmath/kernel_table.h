// The vector kernels of each kernel class, one table of entry points per
// class, and the table in use: every exported kernel name of a family with
// class code calls through it, so that callers (the laws included) follow
// the class chosen at load.
//
// A family adds its entries here (the fields, the baseline's functions and
// the line of baseline_table), its class code in vecmath/simd/<family>.cpp
// (see the recipe in frame/class_frame.h), and its exported names as one-line calls
// through `active`.
#pragma once

#include "frame/kernel_class.h"

namespace xeb::vm {

template <class T>
using Unary = void (*)(int, const T*, T*);
template <class T>
using Binary = void (*)(int, const T*, const T*, T*);
template <class T>
using WithScalar = void (*)(int, const T*, T, T*);
template <class T>
using TwoOutputs = void (*)(int, const T*, T*, T*);

struct KernelTable {
    // Exponential and logarithms.
    Unary<double> dExp_HA, dExp_50, dLn_HA, dLn_50, dLog10_HA, dLog10_50;
    Unary<float> sExp_HA, sExp_21, sExp_11, sLn_HA, sLn_21, sLn_11, sLog10_HA, sLog10_21, sLog10_11;
    // Reciprocal, square and cube roots and their reciprocals.
    Unary<double> dInv_HA, dInv_50, dSqrt_HA, dSqrt_50, dInvSqrt_HA, dInvSqrt_50, dCbrt_HA, dCbrt_50, dInvCbrt_HA,
        dInvCbrt_50;
    Unary<float> sInv_HA, sInv_21, sInv_11, sSqrt_HA, sSqrt_21, sSqrt_11, sInvSqrt_HA, sInvSqrt_21, sInvSqrt_11,
        sCbrt_HA, sCbrt_21, sCbrt_11, sInvCbrt_HA, sInvCbrt_21, sInvCbrt_11;
    // Division and power.
    Binary<double> dDiv_HA, dDiv_50, dPow_HA, dPow_50;
    Binary<float> sDiv_HA, sDiv_21, sDiv_11, sPow_HA, sPow_21, sPow_11;
    WithScalar<double> dPowx_HA, dPowx_50;
    WithScalar<float> sPowx_HA, sPowx_21, sPowx_11;
    // Sine, cosine, sine-cosine and tangent.
    Unary<double> dSin_HA, dSin_50, dCos_HA, dCos_50, dTan_HA, dTan_50;
    TwoOutputs<double> dSinCos_HA, dSinCos_50;
    Unary<float> sSin_HA, sSin_21, sSin_11, sCos_HA, sCos_21, sCos_11, sTan_HA, sTan_21, sTan_11;
    TwoOutputs<float> sSinCos_HA, sSinCos_21, sSinCos_11;
    // Error function and its complement.
    Unary<double> dErf_HA, dErf_50, dErfc_HA, dErfc_50;
    Unary<float> sErf_HA, sErf_21, sErf_11, sErfc_HA, sErfc_21, sErfc_11;
    // Inverse trigonometric functions.
    Unary<double> dAsin_HA, dAsin_50, dAcos_HA, dAcos_50, dAtan_HA, dAtan_50;
    Binary<double> dAtan2_HA, dAtan2_50;
    Unary<float> sAsin_HA, sAsin_21, sAsin_11, sAcos_HA, sAcos_21, sAcos_11, sAtan_HA, sAtan_21, sAtan_11;
    Binary<float> sAtan2_HA, sAtan2_21, sAtan2_11;
    // Hyperbolic and inverse hyperbolic.
    Unary<double> dSinh_HA, dSinh_50, dCosh_HA, dCosh_50, dTanh_HA, dTanh_50, dAsinh_HA, dAsinh_50, dAcosh_HA,
        dAcosh_50, dAtanh_HA, dAtanh_50;
    Unary<float> sSinh_HA, sSinh_21, sSinh_11, sCosh_HA, sCosh_21, sCosh_11, sTanh_HA, sTanh_21, sTanh_11, sAsinh_HA,
        sAsinh_21, sAsinh_11, sAcosh_HA, sAcosh_21, sAcosh_11, sAtanh_HA, sAtanh_21, sAtanh_11;
};

// The table of the class in use.
extern KernelTable active;

// The table of class c, or null when this machine does not run it.
const KernelTable* class_table(frame::KernelClass c);

// Puts class c in use (white-box tests: one process measures every class).
// False, and nothing changed, when this machine does not run it.
bool use_class(frame::KernelClass c);

}  // namespace xeb::vm

// The baseline class's kernels (x87 and SSE2), one function per entry;
// lower forms without code of their own are their _HA form.
namespace xeb::baseline {
void dExp_HA(int n, const double* a, double* r);
void sExp_HA(int n, const float* a, float* r);
void dLn_HA(int n, const double* a, double* r);
void sLn_HA(int n, const float* a, float* r);
void dLog10_HA(int n, const double* a, double* r);
void sLog10_HA(int n, const float* a, float* r);
void dInv_HA(int n, const double* a, double* r);
void sInv_HA(int n, const float* a, float* r);
void dSqrt_HA(int n, const double* a, double* r);
void sSqrt_HA(int n, const float* a, float* r);
void dInvSqrt_HA(int n, const double* a, double* r);
void sInvSqrt_HA(int n, const float* a, float* r);
void dCbrt_HA(int n, const double* a, double* r);
void sCbrt_HA(int n, const float* a, float* r);
void dInvCbrt_HA(int n, const double* a, double* r);
void sInvCbrt_HA(int n, const float* a, float* r);
void dDiv_HA(int n, const double* a, const double* b, double* r);
void sDiv_HA(int n, const float* a, const float* b, float* r);
void dPow_HA(int n, const double* a, const double* b, double* r);
void dPow_50(int n, const double* a, const double* b, double* r);
void sPow_HA(int n, const float* a, const float* b, float* r);
void sPow_21(int n, const float* a, const float* b, float* r);
void dPowx_HA(int n, const double* a, double b, double* r);
void sPowx_HA(int n, const float* a, float b, float* r);
void dSin_HA(int n, const double* a, double* r);
void dCos_HA(int n, const double* a, double* r);
void dSinCos_HA(int n, const double* a, double* y, double* z);
void dTan_HA(int n, const double* a, double* r);
void dTan_50(int n, const double* a, double* r);
void sSin_HA(int n, const float* a, float* r);
void sSin_21(int n, const float* a, float* r);
void sCos_HA(int n, const float* a, float* r);
void sCos_21(int n, const float* a, float* r);
void sSinCos_HA(int n, const float* a, float* y, float* z);
void sSinCos_21(int n, const float* a, float* y, float* z);
void sTan_HA(int n, const float* a, float* r);
void sTan_21(int n, const float* a, float* r);
void dErf_HA(int n, const double* a, double* r);
void sErf_HA(int n, const float* a, float* r);
void dErfc_HA(int n, const double* a, double* r);
void sErfc_HA(int n, const float* a, float* r);
void dAsin_HA(int n, const double* a, double* r);
void dAcos_HA(int n, const double* a, double* r);
void dAtan_HA(int n, const double* a, double* r);
void dAtan2_HA(int n, const double* a, const double* b, double* r);
void sAsin_HA(int n, const float* a, float* r);
void sAsin_21(int n, const float* a, float* r);
void sAcos_HA(int n, const float* a, float* r);
void sAcos_21(int n, const float* a, float* r);
void sAtan_HA(int n, const float* a, float* r);
void sAtan_21(int n, const float* a, float* r);
void sAtan2_HA(int n, const float* a, const float* b, float* r);
void sAtan2_21(int n, const float* a, const float* b, float* r);
void dSinh_HA(int n, const double* a, double* r);
void sSinh_HA(int n, const float* a, float* r);
void dCosh_HA(int n, const double* a, double* r);
void sCosh_HA(int n, const float* a, float* r);
void dTanh_HA(int n, const double* a, double* r);
void sTanh_HA(int n, const float* a, float* r);
void dAsinh_HA(int n, const double* a, double* r);
void sAsinh_HA(int n, const float* a, float* r);
void dAcosh_HA(int n, const double* a, double* r);
void sAcosh_HA(int n, const float* a, float* r);
void dAtanh_HA(int n, const double* a, double* r);
void sAtanh_HA(int n, const float* a, float* r);
}  // namespace xeb::baseline
