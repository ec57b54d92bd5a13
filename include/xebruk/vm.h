/* The checked vector-math entries: one per function and precision, named
 * without a form (xebdExp, xebsPow).  Each checks its size and pointers,
 * reads the accuracy field of the calling thread's mode word and calls the
 * exported form of that accuracy, in the kernel class in use:
 *
 *   accuracy field      double   single
 *   XEB_ACC_HA (2)      _HA      _HA
 *   XEB_ACC_LA (1)      _50      _21
 *   XEB_ACC_EP (3)      _50      _11
 *   any other value     _HA      _HA
 *
 * n < 0 raises XEB_STATUS_BADSIZE (index: n) and a null array raises
 * XEB_STATUS_BADMEM (index: the argument's position, n being 0), through
 * xebdError or xebsError under the entry's name ("_xebdExp"); the kernel is
 * then not called and no array is touched.  n = 0 does nothing, whatever
 * the pointers.  A successful call leaves the status word as it was. */
#ifndef XEBRUK_VM_H
#define XEBRUK_VM_H

#include "export.h"

XEBRUK_EXTERN_C_BEGIN

/* Reciprocal and division. */
XEBRUK_API void xebdInv(int n, const double *a, double *r);
XEBRUK_API void xebsInv(int n, const float *a, float *r);
XEBRUK_API void xebdDiv(int n, const double *a, const double *b, double *r);
XEBRUK_API void xebsDiv(int n, const float *a, const float *b, float *r);

/* Roots. */
XEBRUK_API void xebdSqrt(int n, const double *a, double *r);
XEBRUK_API void xebsSqrt(int n, const float *a, float *r);
XEBRUK_API void xebdInvSqrt(int n, const double *a, double *r);
XEBRUK_API void xebsInvSqrt(int n, const float *a, float *r);
XEBRUK_API void xebdCbrt(int n, const double *a, double *r);
XEBRUK_API void xebsCbrt(int n, const float *a, float *r);
XEBRUK_API void xebdInvCbrt(int n, const double *a, double *r);
XEBRUK_API void xebsInvCbrt(int n, const float *a, float *r);

/* Exponential and logarithms. */
XEBRUK_API void xebdExp(int n, const double *a, double *r);
XEBRUK_API void xebsExp(int n, const float *a, float *r);
XEBRUK_API void xebdLn(int n, const double *a, double *r);
XEBRUK_API void xebsLn(int n, const float *a, float *r);
XEBRUK_API void xebdLog10(int n, const double *a, double *r);
XEBRUK_API void xebsLog10(int n, const float *a, float *r);

/* Power: a[i]^b[i], and a[i]^b with one scalar b. */
XEBRUK_API void xebdPow(int n, const double *a, const double *b, double *r);
XEBRUK_API void xebsPow(int n, const float *a, const float *b, float *r);
XEBRUK_API void xebdPowx(int n, const double *a, double b, double *r);
XEBRUK_API void xebsPowx(int n, const float *a, float b, float *r);

/* Trigonometric; SinCos writes the sines to y and the cosines to z. */
XEBRUK_API void xebdSin(int n, const double *a, double *r);
XEBRUK_API void xebsSin(int n, const float *a, float *r);
XEBRUK_API void xebdCos(int n, const double *a, double *r);
XEBRUK_API void xebsCos(int n, const float *a, float *r);
XEBRUK_API void xebdSinCos(int n, const double *a, double *y, double *z);
XEBRUK_API void xebsSinCos(int n, const float *a, float *y, float *z);
XEBRUK_API void xebdTan(int n, const double *a, double *r);
XEBRUK_API void xebsTan(int n, const float *a, float *r);

/* Inverse trigonometric; Atan2 gives the angle of the point (b[i], a[i]). */
XEBRUK_API void xebdAsin(int n, const double *a, double *r);
XEBRUK_API void xebsAsin(int n, const float *a, float *r);
XEBRUK_API void xebdAcos(int n, const double *a, double *r);
XEBRUK_API void xebsAcos(int n, const float *a, float *r);
XEBRUK_API void xebdAtan(int n, const double *a, double *r);
XEBRUK_API void xebsAtan(int n, const float *a, float *r);
XEBRUK_API void xebdAtan2(int n, const double *a, const double *b, double *r);
XEBRUK_API void xebsAtan2(int n, const float *a, const float *b, float *r);

/* Hyperbolic and inverse hyperbolic. */
XEBRUK_API void xebdSinh(int n, const double *a, double *r);
XEBRUK_API void xebsSinh(int n, const float *a, float *r);
XEBRUK_API void xebdCosh(int n, const double *a, double *r);
XEBRUK_API void xebsCosh(int n, const float *a, float *r);
XEBRUK_API void xebdTanh(int n, const double *a, double *r);
XEBRUK_API void xebsTanh(int n, const float *a, float *r);
XEBRUK_API void xebdAsinh(int n, const double *a, double *r);
XEBRUK_API void xebsAsinh(int n, const float *a, float *r);
XEBRUK_API void xebdAcosh(int n, const double *a, double *r);
XEBRUK_API void xebsAcosh(int n, const float *a, float *r);
XEBRUK_API void xebdAtanh(int n, const double *a, double *r);
XEBRUK_API void xebsAtanh(int n, const float *a, float *r);
XEBRUK_API void xebdErf(int n, const double *a, double *r);
XEBRUK_API void xebsErf(int n, const float *a, float *r);
XEBRUK_API void xebdErfc(int n, const double *a, double *r);
XEBRUK_API void xebsErfc(int n, const float *a, float *r);

XEBRUK_EXTERN_C_END

#endif
