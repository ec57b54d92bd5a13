/* Gathers into and scatters out of contiguous arrays, by stride (I), index
 * vector (V) or mask (M).  Elements are copied bit for bit, except by the
 * double mask forms, which move them through the x87 (a signalling NaN
 * comes out quiet).  No events; counts of zero or below do nothing. */
#ifndef XEBRUK_VM_PACK_H
#define XEBRUK_VM_PACK_H

#include <stdint.h>
#include "export.h"

XEBRUK_EXTERN_C_BEGIN

/* y[i] = a[i * inca] */
XEBRUK_API void xebsPackI(int n, const float *a, int inca, float *y);
XEBRUK_API void xebdPackI(int n, const double *a, int inca, double *y);
/* y[i * incy] = a[i] */
XEBRUK_API void xebsUnpackI(int n, const float *a, float *y, int incy);
XEBRUK_API void xebdUnpackI(int n, const double *a, double *y, int incy);
/* y[i] = a[ia[i]] */
XEBRUK_API void xebsPackV(int n, const float *a, const int32_t *ia, float *y);
XEBRUK_API void xebdPackV(int n, const double *a, const int32_t *ia, double *y);
/* y[iy[i]] = a[i] */
XEBRUK_API void xebsUnpackV(int n, const float *a, float *y, const int32_t *iy);
XEBRUK_API void xebdUnpackV(int n, const double *a, double *y, const int32_t *iy);
/* the a[i] with ma[i] != 0, in order, to y[0], y[1], ... */
XEBRUK_API void xebsPackM(int n, const float *a, const int32_t *ma, float *y);
XEBRUK_API void xebdPackM(int n, const double *a, const int32_t *ma, double *y);
/* a[0], a[1], ... in order to the y[i] with my[i] != 0 */
XEBRUK_API void xebsUnpackM(int n, const float *a, float *y, const int32_t *my);
XEBRUK_API void xebdUnpackM(int n, const double *a, double *y, const int32_t *my);

XEBRUK_EXTERN_C_END

#endif
