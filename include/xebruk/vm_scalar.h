/* Scalar helpers: absolute value, square root and arctangents of one value.
 *
 * They raise no events and leave the thread's record alone; they compute
 * under the control words the caller has set (the x87 precision in force
 * decides the width of their intermediate results) and return the declared
 * type.  The square roots of a negative number give a NaN silently: 0xFFC00000
 * (single) and the recognisable 0x7FF8A5A55A5A5A5A (double). */
#ifndef XEBRUK_VM_SCALAR_H
#define XEBRUK_VM_SCALAR_H

#include "export.h"

XEBRUK_EXTERN_C_BEGIN

XEBRUK_API float xeb_sabs_scalar(float x);
XEBRUK_API double xeb_dabs_scalar(double x);
XEBRUK_API float xebssqrt_scalar(float x);
XEBRUK_API double xebdsqrt_scalar(double x);
XEBRUK_API float xebsatan_scalar(float x);
/* The angle of the point (x, y), y first; special values as C99's atan2f. */
XEBRUK_API float xebsatan2_scalar(float y, float x);

XEBRUK_EXTERN_C_END

#endif
