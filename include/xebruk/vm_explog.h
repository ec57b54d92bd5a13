/* Exponential and logarithms over arrays: r[i] = e^a[i], ln a[i], log10 a[i].
 * Exp raises XEB_STATUS_TOOLARGE on overflow and XEB_STATUS_TOOSMALL below
 * the denormal range; the double form also reports its near-overflow band
 * (|a| from 708.3964185322642) with a code from its table index, an even
 * number 0 to 62.  Ln and Log10 raise XEB_STATUS_POLE at zero and
 * XEB_STATUS_DOMAINFAULT for negative arguments.  The lower forms pass their
 * arguments to the _HA form, whose name their events carry. */
#ifndef XEBRUK_VM_EXPLOG_H
#define XEBRUK_VM_EXPLOG_H

#include "export.h"

XEBRUK_EXTERN_C_BEGIN

XEBRUK_API void xebdExp_HA(int n, const double *a, double *r);
XEBRUK_API void xebdExp_50(int n, const double *a, double *r);
XEBRUK_API void xebsExp_HA(int n, const float *a, float *r);
XEBRUK_API void xebsExp_21(int n, const float *a, float *r);
XEBRUK_API void xebsExp_11(int n, const float *a, float *r);

XEBRUK_API void xebdLn_HA(int n, const double *a, double *r);
XEBRUK_API void xebdLn_50(int n, const double *a, double *r);
XEBRUK_API void xebsLn_HA(int n, const float *a, float *r);
XEBRUK_API void xebsLn_21(int n, const float *a, float *r);
XEBRUK_API void xebsLn_11(int n, const float *a, float *r);

XEBRUK_API void xebdLog10_HA(int n, const double *a, double *r);
XEBRUK_API void xebdLog10_50(int n, const double *a, double *r);
XEBRUK_API void xebsLog10_HA(int n, const float *a, float *r);
XEBRUK_API void xebsLog10_21(int n, const float *a, float *r);
XEBRUK_API void xebsLog10_11(int n, const float *a, float *r);

XEBRUK_EXTERN_C_END

#endif
