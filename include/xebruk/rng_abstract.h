/* Abstract streams: the laws draw from numbers of your own (a hardware
 * source, a file, another library) held in a circular buffer of yours and
 * refilled by a callback.
 *
 * Three forms, each a generator row with one working kernel:
 *   RUK_BRNG_IABSTRACT  32-bit words, for rukiRngUniformBits;
 *   RUK_BRNG_DABSTRACT  doubles on [a, b), for the double laws;
 *   RUK_BRNG_SABSTRACT  floats on [a, b), for the single laws.
 * The other two kernels of each row refuse with
 * RUK_ERROR_WRONG_ABSTRACT_FORM.  A real form hands out v as
 * (v - a) * ((b' - a') / (b - a)) + a' for a call on the interval from a'
 * to b' (in double or in single precision), so a buffer on (0, 1) feeds a
 * law its numbers unchanged.
 *
 * The buffer starts empty.  When a call needs more numbers than it holds,
 * the kernel calls update(stream, &n, buffer, &nmin, &nmax, &writePos):
 * write at most nmax numbers (and at least nmin, to serve the call at
 * once) from buffer[writePos] on, wrapping at n, and return how many you
 * wrote.  The kernel reads n, nmax and writePos again after the call.  A
 * result below 0 or above nmax gives RUK_ERROR_CALLBACK_COUNT, 0 gives
 * RUK_ERROR_CALLBACK_EMPTY; the stream's position is then as it was before
 * the call (r has received numbers).  The callback runs inside the draw on
 * the caller's thread, under the draw's control words (x87 at 64-bit
 * precision, SSE rounding to nearest without flush to zero).
 *
 * Neither the buffer nor the callback belongs to the stream: deleting the
 * stream frees neither.  A copy (rukCopyStream) shares both.  A stream file
 * keeps the positions and the interval but not the buffer and callback
 * addresses; a loaded abstract stream answers every draw with
 * RUK_ERROR_NULL_ARG.  No leapfrog or skip-ahead. */
#ifndef XEBRUK_RNG_ABSTRACT_H
#define XEBRUK_RNG_ABSTRACT_H

#include <stdint.h>

#include "export.h"
#include "rng_stream.h"

XEBRUK_EXTERN_C_BEGIN

/* The refill callback; buffer is the creator's (uint32_t, double or float). */
typedef int32_t (*RukUpdateFn)(RukStream *stream, int32_t *n, void *buffer, int32_t *nmin,
                               int32_t *nmax, int32_t *writePos);

/* n: the buffer's length (0 is refused); a < b (NaN passes); buffer and
 * update not null.  RUK_ERROR_BAD_ARGUMENT otherwise. */
XEBRUK_API int32_t rukiNewAbstractStream(RukStream **streamOut, int32_t n, uint32_t *ibuf,
                                         RukUpdateFn update);
XEBRUK_API int32_t rukdNewAbstractStream(RukStream **streamOut, int32_t n, double *dbuf, double a,
                                         double b, RukUpdateFn update);
XEBRUK_API int32_t ruksNewAbstractStream(RukStream **streamOut, int32_t n, float *sbuf, float a,
                                         float b, RukUpdateFn update);

/* The rows' initStream: method 0 takes the creators' record; leapfrog
 * RUK_ERROR_NO_LEAPFROG, skip-ahead RUK_ERROR_NO_SKIP. */
XEBRUK_API int32_t rukBRngiAbstractInitStream(int32_t method, RukStream *stream, int32_t n,
                                              const uint32_t *params);
XEBRUK_API int32_t rukBRngdAbstractInitStream(int32_t method, RukStream *stream, int32_t n,
                                              const uint32_t *params);
XEBRUK_API int32_t rukBRngsAbstractInitStream(int32_t method, RukStream *stream, int32_t n,
                                              const uint32_t *params);

/* The working kernels. */
XEBRUK_API int32_t rukiBRngiAbstract(RukStream *stream, int32_t n, uint32_t *r);
XEBRUK_API int32_t rukdBRngdAbstract(RukStream *stream, int32_t n, double *r, double a, double b);
XEBRUK_API int32_t ruksBRngsAbstract(RukStream *stream, int32_t n, float *r, float a, float b);

/* The refusals: RUK_ERROR_WRONG_ABSTRACT_FORM, nothing read or written. */
XEBRUK_API int32_t rukdBRngiAbstract(RukStream *stream, int32_t n, double *r, double a, double b);
XEBRUK_API int32_t rukdBRngsAbstract(RukStream *stream, int32_t n, double *r, double a, double b);
XEBRUK_API int32_t ruksBRngiAbstract(RukStream *stream, int32_t n, float *r, float a, float b);
XEBRUK_API int32_t ruksBRngdAbstract(RukStream *stream, int32_t n, float *r, float a, float b);
XEBRUK_API int32_t rukiBRngdAbstract(RukStream *stream, int32_t n, uint32_t *r);
XEBRUK_API int32_t rukiBRngsAbstract(RukStream *stream, int32_t n, uint32_t *r);

XEBRUK_EXTERN_C_END

#endif
