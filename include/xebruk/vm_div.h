/* Reciprocal and division over arrays: r[i] = 1 / a[i], r[i] = a[i] / b[i].
 * A zero divisor raises XEB_STATUS_POLE; overflow and underflow of the
 * quotient raise nothing. */
#ifndef XEBRUK_VM_DIV_H
#define XEBRUK_VM_DIV_H

#include "export.h"

XEBRUK_EXTERN_C_BEGIN

XEBRUK_API void xebdInv_HA(int n, const double *a, double *r);
XEBRUK_API void xebdInv_50(int n, const double *a, double *r);
XEBRUK_API void xebsInv_HA(int n, const float *a, float *r);
XEBRUK_API void xebsInv_21(int n, const float *a, float *r);
XEBRUK_API void xebsInv_11(int n, const float *a, float *r);

XEBRUK_API void xebdDiv_HA(int n, const double *a, const double *b, double *r);
XEBRUK_API void xebdDiv_50(int n, const double *a, const double *b, double *r);
XEBRUK_API void xebsDiv_HA(int n, const float *a, const float *b, float *r);
XEBRUK_API void xebsDiv_21(int n, const float *a, const float *b, float *r);
XEBRUK_API void xebsDiv_11(int n, const float *a, const float *b, float *r);

XEBRUK_EXTERN_C_END

#endif
