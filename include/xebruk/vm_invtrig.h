/* Arcsine, arccosine, arctangent and two-argument arctangent over arrays.
 *
 * Asin and Acos of |x| above 1 (or infinite) give a NaN and raise
 * XEB_STATUS_DOMAINFAULT; |x| equal to 1 gives +-pi/2, 0 or pi and no event.
 * Atan and Atan2 raise no events.  Atan2(n, a, b, r) gives the angle of the
 * point (b[i], a[i]), a being the ordinate, in [-pi, pi]; signed zeros,
 * infinities and NaNs as C99's atan2. */
#ifndef XEBRUK_VM_INVTRIG_H
#define XEBRUK_VM_INVTRIG_H

#include "export.h"

XEBRUK_EXTERN_C_BEGIN

XEBRUK_API void xebdAsin_HA(int n, const double *a, double *r);
XEBRUK_API void xebdAsin_50(int n, const double *a, double *r);
XEBRUK_API void xebdAcos_HA(int n, const double *a, double *r);
XEBRUK_API void xebdAcos_50(int n, const double *a, double *r);
XEBRUK_API void xebdAtan_HA(int n, const double *a, double *r);
XEBRUK_API void xebdAtan_50(int n, const double *a, double *r);
XEBRUK_API void xebdAtan2_HA(int n, const double *a, const double *b, double *r);
XEBRUK_API void xebdAtan2_50(int n, const double *a, const double *b, double *r);

XEBRUK_API void xebsAsin_HA(int n, const float *a, float *r);
XEBRUK_API void xebsAsin_21(int n, const float *a, float *r);
XEBRUK_API void xebsAsin_11(int n, const float *a, float *r);
XEBRUK_API void xebsAcos_HA(int n, const float *a, float *r);
XEBRUK_API void xebsAcos_21(int n, const float *a, float *r);
XEBRUK_API void xebsAcos_11(int n, const float *a, float *r);
XEBRUK_API void xebsAtan_HA(int n, const float *a, float *r);
XEBRUK_API void xebsAtan_21(int n, const float *a, float *r);
XEBRUK_API void xebsAtan_11(int n, const float *a, float *r);
XEBRUK_API void xebsAtan2_HA(int n, const float *a, const float *b, float *r);
XEBRUK_API void xebsAtan2_21(int n, const float *a, const float *b, float *r);
XEBRUK_API void xebsAtan2_11(int n, const float *a, const float *b, float *r);

XEBRUK_EXTERN_C_END

#endif
