/* The error function and its complement over arrays: r[i] = erf(a[i]),
 * erfc(a[i]).  Erf raises no event.  Erfc raises XEB_STATUS_TOOSMALL where
 * the result is below half the smallest denormal (a[i] from
 * 27.226017111108366 in double, 10.054194928818097 in single), and gives
 * 2 at -infinity with no event.  The lower forms pass their arguments to
 * the _HA form, whose name their events carry. */
#ifndef XEBRUK_VM_ERF_H
#define XEBRUK_VM_ERF_H

#include "export.h"

XEBRUK_EXTERN_C_BEGIN

XEBRUK_API void xebdErf_HA(int n, const double *a, double *r);
XEBRUK_API void xebdErf_50(int n, const double *a, double *r);
XEBRUK_API void xebsErf_HA(int n, const float *a, float *r);
XEBRUK_API void xebsErf_21(int n, const float *a, float *r);
XEBRUK_API void xebsErf_11(int n, const float *a, float *r);

XEBRUK_API void xebdErfc_HA(int n, const double *a, double *r);
XEBRUK_API void xebdErfc_50(int n, const double *a, double *r);
XEBRUK_API void xebsErfc_HA(int n, const float *a, float *r);
XEBRUK_API void xebsErfc_21(int n, const float *a, float *r);
XEBRUK_API void xebsErfc_11(int n, const float *a, float *r);

XEBRUK_EXTERN_C_END

#endif
