/* Hyperbolic and inverse hyperbolic functions over arrays: r[i] = sinh,
 * cosh, tanh, asinh, acosh, atanh of a[i].
 * Sinh and Cosh raise XEB_STATUS_TOOLARGE where the result overflows (|a|
 * from 710.4758600739439, single from 89.4159927368164): Sinh gives an
 * infinity with the sign of a, Cosh +infinity.  Tanh and Asinh raise no
 * events.  Acosh raises XEB_STATUS_DOMAINFAULT below 1 (a NaN result);
 * Atanh raises XEB_STATUS_POLE at +-1 (an infinity with the sign of a) and
 * XEB_STATUS_DOMAINFAULT beyond (a NaN).  NaN arguments raise nothing.  The
 * lower forms pass their arguments to the _HA form, whose name their
 * events carry. */
#ifndef XEBRUK_VM_HYPERBOLIC_H
#define XEBRUK_VM_HYPERBOLIC_H

#include "export.h"

XEBRUK_EXTERN_C_BEGIN

XEBRUK_API void xebdSinh_HA(int n, const double *a, double *r);
XEBRUK_API void xebdSinh_50(int n, const double *a, double *r);
XEBRUK_API void xebsSinh_HA(int n, const float *a, float *r);
XEBRUK_API void xebsSinh_21(int n, const float *a, float *r);
XEBRUK_API void xebsSinh_11(int n, const float *a, float *r);

XEBRUK_API void xebdCosh_HA(int n, const double *a, double *r);
XEBRUK_API void xebdCosh_50(int n, const double *a, double *r);
XEBRUK_API void xebsCosh_HA(int n, const float *a, float *r);
XEBRUK_API void xebsCosh_21(int n, const float *a, float *r);
XEBRUK_API void xebsCosh_11(int n, const float *a, float *r);

XEBRUK_API void xebdTanh_HA(int n, const double *a, double *r);
XEBRUK_API void xebdTanh_50(int n, const double *a, double *r);
XEBRUK_API void xebsTanh_HA(int n, const float *a, float *r);
XEBRUK_API void xebsTanh_21(int n, const float *a, float *r);
XEBRUK_API void xebsTanh_11(int n, const float *a, float *r);

XEBRUK_API void xebdAsinh_HA(int n, const double *a, double *r);
XEBRUK_API void xebdAsinh_50(int n, const double *a, double *r);
XEBRUK_API void xebsAsinh_HA(int n, const float *a, float *r);
XEBRUK_API void xebsAsinh_21(int n, const float *a, float *r);
XEBRUK_API void xebsAsinh_11(int n, const float *a, float *r);

XEBRUK_API void xebdAcosh_HA(int n, const double *a, double *r);
XEBRUK_API void xebdAcosh_50(int n, const double *a, double *r);
XEBRUK_API void xebsAcosh_HA(int n, const float *a, float *r);
XEBRUK_API void xebsAcosh_21(int n, const float *a, float *r);
XEBRUK_API void xebsAcosh_11(int n, const float *a, float *r);

XEBRUK_API void xebdAtanh_HA(int n, const double *a, double *r);
XEBRUK_API void xebdAtanh_50(int n, const double *a, double *r);
XEBRUK_API void xebsAtanh_HA(int n, const float *a, float *r);
XEBRUK_API void xebsAtanh_21(int n, const float *a, float *r);
XEBRUK_API void xebsAtanh_11(int n, const float *a, float *r);

XEBRUK_EXTERN_C_END

#endif
