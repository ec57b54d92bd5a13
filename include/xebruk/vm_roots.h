/* Square and cube roots and their reciprocals over arrays.
 * Sqrt and InvSqrt of a negative number raise XEB_STATUS_DOMAINFAULT;
 * InvSqrt and InvCbrt of a zero raise XEB_STATUS_POLE; Cbrt raises nothing. */
#ifndef XEBRUK_VM_ROOTS_H
#define XEBRUK_VM_ROOTS_H

#include "export.h"

XEBRUK_EXTERN_C_BEGIN

XEBRUK_API void xebdSqrt_HA(int n, const double *a, double *r);
XEBRUK_API void xebdSqrt_50(int n, const double *a, double *r);
XEBRUK_API void xebsSqrt_HA(int n, const float *a, float *r);
XEBRUK_API void xebsSqrt_21(int n, const float *a, float *r);
XEBRUK_API void xebsSqrt_11(int n, const float *a, float *r);

XEBRUK_API void xebdInvSqrt_HA(int n, const double *a, double *r);
XEBRUK_API void xebdInvSqrt_50(int n, const double *a, double *r);
XEBRUK_API void xebsInvSqrt_HA(int n, const float *a, float *r);
XEBRUK_API void xebsInvSqrt_21(int n, const float *a, float *r);
XEBRUK_API void xebsInvSqrt_11(int n, const float *a, float *r);

XEBRUK_API void xebdCbrt_HA(int n, const double *a, double *r);
XEBRUK_API void xebdCbrt_50(int n, const double *a, double *r);
XEBRUK_API void xebsCbrt_HA(int n, const float *a, float *r);
XEBRUK_API void xebsCbrt_21(int n, const float *a, float *r);
XEBRUK_API void xebsCbrt_11(int n, const float *a, float *r);

XEBRUK_API void xebdInvCbrt_HA(int n, const double *a, double *r);
XEBRUK_API void xebdInvCbrt_50(int n, const double *a, double *r);
XEBRUK_API void xebsInvCbrt_HA(int n, const float *a, float *r);
XEBRUK_API void xebsInvCbrt_21(int n, const float *a, float *r);
XEBRUK_API void xebsInvCbrt_11(int n, const float *a, float *r);

XEBRUK_EXTERN_C_END

#endif
