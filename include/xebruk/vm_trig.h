/* Sine, cosine, tangent and the pair sine-cosine over arrays.
 *
 * Every kernel handles arguments up to its own bound by a short reduction
 * and a polynomial; beyond the bound, and for infinities and NaNs, an
 * element goes to the scalar forms below, which are accurate for any finite
 * argument and raise the family's events: an infinity gives a NaN and
 * XEB_STATUS_DOMAINFAULT under the scalar form's name ("dSin_HA", ...);
 * a NaN gives a NaN and no event. */
#ifndef XEBRUK_VM_TRIG_H
#define XEBRUK_VM_TRIG_H

#include <stdint.h>
#include "export.h"

XEBRUK_EXTERN_C_BEGIN

XEBRUK_API void xebdSin_HA(int n, const double *a, double *r);
XEBRUK_API void xebdSin_50(int n, const double *a, double *r);
XEBRUK_API void xebdCos_HA(int n, const double *a, double *r);
XEBRUK_API void xebdCos_50(int n, const double *a, double *r);
XEBRUK_API void xebdSinCos_HA(int n, const double *a, double *y, double *z);
XEBRUK_API void xebdSinCos_50(int n, const double *a, double *y, double *z);
XEBRUK_API void xebdTan_HA(int n, const double *a, double *r);
XEBRUK_API void xebdTan_50(int n, const double *a, double *r);

XEBRUK_API void xebsSin_HA(int n, const float *a, float *r);
XEBRUK_API void xebsSin_21(int n, const float *a, float *r);
XEBRUK_API void xebsSin_11(int n, const float *a, float *r);
XEBRUK_API void xebsCos_HA(int n, const float *a, float *r);
XEBRUK_API void xebsCos_21(int n, const float *a, float *r);
XEBRUK_API void xebsCos_11(int n, const float *a, float *r);
XEBRUK_API void xebsSinCos_HA(int n, const float *a, float *y, float *z);
XEBRUK_API void xebsSinCos_21(int n, const float *a, float *y, float *z);
XEBRUK_API void xebsSinCos_11(int n, const float *a, float *y, float *z);
XEBRUK_API void xebsTan_HA(int n, const float *a, float *r);
XEBRUK_API void xebsTan_21(int n, const float *a, float *r);
XEBRUK_API void xebsTan_11(int n, const float *a, float *r);

/* x reduced modulo pi/2 for any finite x: returns the quadrant n (0..3) and
 * out[0] + out[1] = r in [-pi/4, pi/4] (out[0] the rounded sum, out[1] the
 * low part) with x = n*pi/2 + r modulo 2*pi. */
XEBRUK_API int32_t xebreduce_pio2d(double x, double *out);

/* Scalar forms: one element a[index] to r[index] (SinCos: y[index] and
 * z[index]), full accuracy for any finite argument, events under `name`.
 * `flag` is carried for the vector kernels and never touched. */
XEBRUK_API void xebdSin_SC(int32_t index, const double *a, double *r, int32_t *flag, const char *name);
XEBRUK_API void xebdCos_SC(int32_t index, const double *a, double *r, int32_t *flag, const char *name);
XEBRUK_API void xebdTan_SC(int32_t index, const double *a, double *r, int32_t *flag, const char *name);
XEBRUK_API void xebdSinCos_SC(int32_t index, const double *a, double *y, double *z, int32_t *flag,
                              const char *name);

/* The same under the fixed event names "dSin_HA", "sSin_LA", "sTan_A11", ... */
XEBRUK_API void xebdSin_SC_HA(int32_t index, const double *a, double *r, int32_t *flag);
XEBRUK_API void xebdSin_SC_LA(int32_t index, const double *a, double *r, int32_t *flag);
XEBRUK_API void xebdSin_SC_A11(int32_t index, const double *a, double *r, int32_t *flag);
XEBRUK_API void xebdCos_SC_HA(int32_t index, const double *a, double *r, int32_t *flag);
XEBRUK_API void xebdCos_SC_LA(int32_t index, const double *a, double *r, int32_t *flag);
XEBRUK_API void xebdCos_SC_A11(int32_t index, const double *a, double *r, int32_t *flag);
XEBRUK_API void xebdTan_SC_HA(int32_t index, const double *a, double *r, int32_t *flag);
XEBRUK_API void xebdTan_SC_LA(int32_t index, const double *a, double *r, int32_t *flag);
XEBRUK_API void xebdTan_SC_A11(int32_t index, const double *a, double *r, int32_t *flag);
XEBRUK_API void xebdSinCos_SC_HA(int32_t index, const double *a, double *y, double *z, int32_t *flag);
XEBRUK_API void xebdSinCos_SC_LA(int32_t index, const double *a, double *y, double *z, int32_t *flag);
XEBRUK_API void xebdSinCos_SC_A11(int32_t index, const double *a, double *y, double *z, int32_t *flag);

XEBRUK_API void xebsSin_SC_HA(int32_t index, const float *a, float *r, int32_t *flag);
XEBRUK_API void xebsSin_SC_LA(int32_t index, const float *a, float *r, int32_t *flag);
XEBRUK_API void xebsSin_SC_A11(int32_t index, const float *a, float *r, int32_t *flag);
XEBRUK_API void xebsCos_SC_HA(int32_t index, const float *a, float *r, int32_t *flag);
XEBRUK_API void xebsCos_SC_LA(int32_t index, const float *a, float *r, int32_t *flag);
XEBRUK_API void xebsCos_SC_A11(int32_t index, const float *a, float *r, int32_t *flag);
XEBRUK_API void xebsTan_SC_HA(int32_t index, const float *a, float *r, int32_t *flag);
XEBRUK_API void xebsTan_SC_LA(int32_t index, const float *a, float *r, int32_t *flag);
XEBRUK_API void xebsTan_SC_A11(int32_t index, const float *a, float *r, int32_t *flag);
XEBRUK_API void xebsSinCos_SC_HA(int32_t index, const float *a, float *y, float *z, int32_t *flag);
XEBRUK_API void xebsSinCos_SC_LA(int32_t index, const float *a, float *y, float *z, int32_t *flag);
XEBRUK_API void xebsSinCos_SC_A11(int32_t index, const float *a, float *y, float *z, int32_t *flag);

XEBRUK_EXTERN_C_END

#endif
