/* Power over arrays: r[i] = a[i]^b[i] (Pow) and r[i] = a[i]^b (Powx, b a
 * scalar).  A zero base with a negative exponent and a negative base with a
 * non-integer exponent raise XEB_STATUS_DOMAINFAULT; overflow and underflow
 * raise nothing. */
#ifndef XEBRUK_VM_POWER_H
#define XEBRUK_VM_POWER_H

#include "export.h"

XEBRUK_EXTERN_C_BEGIN

XEBRUK_API void xebdPow_HA(int n, const double *a, const double *b, double *r);
XEBRUK_API void xebdPow_50(int n, const double *a, const double *b, double *r);
XEBRUK_API void xebsPow_HA(int n, const float *a, const float *b, float *r);
XEBRUK_API void xebsPow_21(int n, const float *a, const float *b, float *r);
XEBRUK_API void xebsPow_11(int n, const float *a, const float *b, float *r);

XEBRUK_API void xebdPowx_HA(int n, const double *a, double b, double *r);
XEBRUK_API void xebdPowx_50(int n, const double *a, double b, double *r);
XEBRUK_API void xebsPowx_HA(int n, const float *a, float b, float *r);
XEBRUK_API void xebsPowx_21(int n, const float *a, float b, float *r);
XEBRUK_API void xebsPowx_11(int n, const float *a, float b, float *r);

XEBRUK_EXTERN_C_END

#endif
