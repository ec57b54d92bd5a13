/* Convolution and correlation tasks and their kernels.
 *
 * A task describes one job (convolution or correlation) over arrays of a
 * rank up to RUK_TASK_MAX_RANK: shapes, first output, decimation.  It is
 * created, edited, committed, copied and deleted by the calls below; a
 * failed edit or run leaves its status in the task ("poisons" it) until
 * rukccSetStatus clears it.
 *
 * The kernels compute
 *   convolution  z[j] = sum_i y[i] x[k - i],  outputs k = 0 .. xShape + yShape - 2
 *   correlation  z[j] = sum_i y[i] x[i - k],  lags   k = 1 - xShape .. yShape - 1
 * at k = start + j * decimation, over strided arrays.  In one dimension a
 * negative stride puts logical element 0 at the highest address (the array
 * pointer is always its lowest); in the kernels of any rank z is not
 * rebased: z points at output 0 and negative strides walk below it.
 * Dimension 0 varies fastest.  Every kernel checks all of its arguments
 * before it writes anything, and returns 0 or a status below. */
#ifndef XEBRUK_CONVCORR_H
#define XEBRUK_CONVCORR_H

#include <stdint.h>
#include "export.h"

XEBRUK_EXTERN_C_BEGIN

#define RUK_TASK_MAX_RANK 7

#define RUK_JOB_CONV 1
#define RUK_JOB_CORR 2

#define RUK_METHOD_AUTO   0
#define RUK_METHOD_DIRECT 1
#define RUK_METHOD_FFT    2

/* Element type of x, y, z and precision of the sums: 1 is single, any
 * other value double. */
#define RUK_TYPE_SINGLE 1
#define RUK_TYPE_DOUBLE 2

/* Codes of rukEditTask. */
#define RUK_EDIT_METHOD             3  /* int32_t */
#define RUK_EDIT_OPTION             4  /* int32_t */
#define RUK_EDIT_START              5  /* int32_t[rank] */
#define RUK_EDIT_DECIMATION         6  /* int32_t[rank] */
#define RUK_EDIT_INTERNAL_PRECISION 9  /* int32_t */

/* Statuses shared with the stream service. */
#ifndef RUK_OK
#define RUK_OK 0
#endif
#ifndef RUK_ERROR_NO_MEMORY
#define RUK_ERROR_NO_MEMORY (-4)
#endif
#ifndef RUK_ERROR_NULL_ARG
#define RUK_ERROR_NULL_ARG (-5)
#endif

#define RUK_TASK_ERROR_UNSUPPORTED (-2000)

/* Direct convolution in one dimension. */
#define RUK_CONV_ERROR_Y_STRIDE   (-2003)
#define RUK_CONV_ERROR_X_STRIDE   (-2004)
#define RUK_CONV_ERROR_Z_STRIDE   (-2005)
#define RUK_CONV_ERROR_X_SHAPE    (-2006)
#define RUK_CONV_ERROR_Y_SHAPE    (-2007)
#define RUK_CONV_ERROR_Z_SHAPE    (-2008)
#define RUK_CONV_ERROR_DECIMATION (-2009)
#define RUK_CONV_ERROR_START_LOW  (-2010)
#define RUK_CONV_ERROR_START_HIGH (-2011)
#define RUK_CONV_ERROR_END_HIGH   (-2012)
#define RUK_CONV_ERROR_INPLACE    (-2013)

/* Direct correlation in one dimension. */
#define RUK_CORR_ERROR_Y_STRIDE   (-2103)
#define RUK_CORR_ERROR_X_STRIDE   (-2104)
#define RUK_CORR_ERROR_Z_STRIDE   (-2105)
#define RUK_CORR_ERROR_X_SHAPE    (-2106)
#define RUK_CORR_ERROR_Y_SHAPE    (-2107)
#define RUK_CORR_ERROR_Z_SHAPE    (-2108)
#define RUK_CORR_ERROR_DECIMATION (-2109)
#define RUK_CORR_ERROR_START_LOW  (-2110)
#define RUK_CORR_ERROR_START_HIGH (-2111)
#define RUK_CORR_ERROR_END_HIGH   (-2112)
#define RUK_CORR_ERROR_INPLACE    (-2113)

/* Task calls. */
#define RUK_TASK_ERROR_BAD_CODE       (-2211)
#define RUK_TASK_ERROR_FIXED_CODE     (-2212)
#define RUK_TASK_ERROR_NO_DELETE_HOOK (-2220)
#define RUK_TASK_ERROR_COPY_HOOK      (-2230)
#define RUK_TASK_ERROR_DELETE         (-2240)

/* Direct kernels of any rank. */
#define RUK_ALL_ERROR_RANK     (-2301)
#define RUK_ALL_ERROR_START    (-2302)
#define RUK_ALL_ERROR_SPAN     (-2303)
#define RUK_ALL_ERROR_X_SHAPE  (-2311)
#define RUK_ALL_ERROR_Y_SHAPE  (-2312)
#define RUK_ALL_ERROR_Z_SHAPE  (-2313)
#define RUK_ALL_ERROR_Z_STRIDE (-2323)

/* FFT convolution in one dimension. */
#define RUK_CONVFFT_ERROR_X_STRIDE_ZERO     (-2800)
#define RUK_CONVFFT_ERROR_X_STRIDE_NEGATIVE (-2801)
#define RUK_CONVFFT_ERROR_Y_STRIDE_ZERO     (-2802)
#define RUK_CONVFFT_ERROR_Y_STRIDE_NEGATIVE (-2803)
#define RUK_CONVFFT_ERROR_Z_STRIDE_ZERO     (-2804)
#define RUK_CONVFFT_ERROR_Z_STRIDE_NEGATIVE (-2805)
#define RUK_CONVFFT_ERROR_X_SHAPE           (-2806)
#define RUK_CONVFFT_ERROR_Y_SHAPE           (-2807)
#define RUK_CONVFFT_ERROR_Z_SHAPE           (-2808)
#define RUK_CONVFFT_ERROR_START_LOW         (-2809)
#define RUK_CONVFFT_ERROR_START_HIGH        (-2810)
#define RUK_CONVFFT_ERROR_END_HIGH          (-2811)
#define RUK_CONVFFT_ERROR_ENGINE            (-2812)

/* FFT correlation in one dimension. */
#define RUK_CORRFFT_ERROR_X_STRIDE_ZERO     (-2900)
#define RUK_CORRFFT_ERROR_X_STRIDE_NEGATIVE (-2901)
#define RUK_CORRFFT_ERROR_Y_STRIDE_ZERO     (-2902)
#define RUK_CORRFFT_ERROR_Y_STRIDE_NEGATIVE (-2903)
#define RUK_CORRFFT_ERROR_Z_STRIDE_ZERO     (-2904)
#define RUK_CORRFFT_ERROR_Z_STRIDE_NEGATIVE (-2905)
#define RUK_CORRFFT_ERROR_X_SHAPE           (-2906)
#define RUK_CORRFFT_ERROR_Y_SHAPE           (-2907)
#define RUK_CORRFFT_ERROR_Z_SHAPE           (-2908)
#define RUK_CORRFFT_ERROR_START_LOW         (-2909)
#define RUK_CORRFFT_ERROR_START_HIGH        (-2910)
#define RUK_CORRFFT_ERROR_END_HIGH          (-2911)
#define RUK_CORRFFT_ERROR_ENGINE            (-2912)

typedef struct RukTask RukTask;

/* Creation.  Shape (and x stride) arrays of rank entries are copied into
 * the task; a null array stays null.  Nothing but the out pointer is
 * checked here: shapes, rank, job, method and types are first looked at
 * when the task runs.  rukNewTask is rukNewTaskX with a null x and x
 * stride; rukNewTaskX keeps x as a bare pointer (never owned). */
XEBRUK_API int32_t rukNewTask(RukTask **task, int32_t job, int32_t kind, int32_t method,
                              int32_t subkind, int32_t dataType, int32_t rank,
                              const int32_t *xShape, const int32_t *yShape,
                              const int32_t *zShape);
XEBRUK_API int32_t rukNewTaskX(RukTask **task, int32_t job, int32_t kind, int32_t method,
                               int32_t subkind, int32_t dataType, int32_t rank,
                               const int32_t *xShape, const int32_t *yShape,
                               const int32_t *zShape, const void *x, const int32_t *xStride);
/* A poisoned source gives its status and creates nothing. */
XEBRUK_API int32_t rukCopyTask(RukTask **newTask, const RukTask *source);
/* Works in every state; a pointer to a null task gives 0. */
XEBRUK_API int32_t rukDeleteTask(RukTask **task);
/* value points at the new setting (see RUK_EDIT_...).  A refused edit
 * poisons the task; an edit of a poisoned task returns its status. */
XEBRUK_API int32_t rukEditTask(RukTask *task, int32_t code, const void *value);
XEBRUK_API int32_t rukCommitTask(RukTask *task);
XEBRUK_API int32_t rukccGetStatus(const RukTask *task);
/* Stores status and returns the previous one. */
XEBRUK_API int32_t rukccSetStatus(RukTask *task, int32_t status);

/* Call forms of the kernels.  x, y, z hold elements of the data type
 * (the first letter of DD, SD, SS); strides and shapes count elements. */
typedef int32_t RukDirect1DDecD(const double *x, int32_t xStride, const double *y, int32_t yStride,
                                double *z, int32_t zStride, int32_t xShape, int32_t yShape,
                                int32_t start, int32_t zShape, int32_t decimation);
typedef int32_t RukDirect1DDecS(const float *x, int32_t xStride, const float *y, int32_t yStride,
                                float *z, int32_t zStride, int32_t xShape, int32_t yShape,
                                int32_t start, int32_t zShape, int32_t decimation);
typedef int32_t RukDirect1DNodecD(const double *x, int32_t xStride, const double *y,
                                  int32_t yStride, double *z, int32_t zStride, int32_t xShape,
                                  int32_t yShape, int32_t start, int32_t zShape);
typedef int32_t RukDirect1DNodecS(const float *x, int32_t xStride, const float *y,
                                  int32_t yStride, float *z, int32_t zStride, int32_t xShape,
                                  int32_t yShape, int32_t start, int32_t zShape);
typedef int32_t RukDirectAllDecD(int32_t rank, const double *x, const int32_t *xShape,
                                 const int32_t *xStride, const double *y, const int32_t *yShape,
                                 const int32_t *yStride, double *z, const int32_t *zShape,
                                 const int32_t *zStride, const int32_t *start,
                                 const int32_t *decimation);
typedef int32_t RukDirectAllDecS(int32_t rank, const float *x, const int32_t *xShape,
                                 const int32_t *xStride, const float *y, const int32_t *yShape,
                                 const int32_t *yStride, float *z, const int32_t *zShape,
                                 const int32_t *zStride, const int32_t *start,
                                 const int32_t *decimation);
typedef int32_t RukDirectAllNodecD(int32_t rank, const double *x, const int32_t *xShape,
                                   const int32_t *xStride, const double *y,
                                   const int32_t *yShape, const int32_t *yStride, double *z,
                                   const int32_t *zShape, const int32_t *zStride,
                                   const int32_t *start);
typedef int32_t RukDirectAllNodecS(int32_t rank, const float *x, const int32_t *xShape,
                                   const int32_t *xStride, const float *y,
                                   const int32_t *yShape, const int32_t *yStride, float *z,
                                   const int32_t *zShape, const int32_t *zStride,
                                   const int32_t *start);
/* FFT form: (0, x, xStride, y, yStride, 1, z, zStride, 1, xShape, yShape,
 * 1, start, zShape, 0, 0, 0, 0); the words shown as constants are
 * reserved and never read. */
typedef int32_t RukFft1DD(int32_t reserved0, const double *x, int32_t xStride, const double *y,
                          int32_t yStride, int32_t reserved1, double *z, int32_t zStride,
                          int32_t reserved2, int32_t xShape, int32_t yShape, int32_t reserved3,
                          int32_t start, int32_t zShape, int32_t reserved4, int32_t reserved5,
                          int32_t reserved6, int32_t reserved7);
typedef int32_t RukFft1DS(int32_t reserved0, const float *x, int32_t xStride, const float *y,
                          int32_t yStride, int32_t reserved1, float *z, int32_t zStride,
                          int32_t reserved2, int32_t xShape, int32_t yShape, int32_t reserved3,
                          int32_t start, int32_t zShape, int32_t reserved4, int32_t reserved5,
                          int32_t reserved6, int32_t reserved7);

/* Direct kernels.  DD: double data summed in the x87 register (64-bit
 * significand at the precision the x87 control word holds on entry);
 * SD: single data, x87 sum, one rounding to single at the store;
 * SS: single data, single-precision sums.  The kernels of any rank keep
 * the running sum of DD and SD in a double between terms. */
XEBRUK_API RukDirect1DDecD rukConvDDDirect1D_dec;
XEBRUK_API RukDirect1DDecD rukCorrDDDirect1D_dec;
XEBRUK_API RukDirect1DDecS rukConvSDDirect1D_dec;
XEBRUK_API RukDirect1DDecS rukCorrSDDirect1D_dec;
XEBRUK_API RukDirect1DDecS rukConvSSDirect1D_dec;
XEBRUK_API RukDirect1DDecS rukCorrSSDirect1D_dec;
XEBRUK_API RukDirect1DNodecS rukConvSSDirect1D_nodec;
XEBRUK_API RukDirect1DNodecS rukCorrSSDirect1D_nodec;
XEBRUK_API RukDirectAllDecD rukConvDDDirectAll_dec;
XEBRUK_API RukDirectAllDecD rukCorrDDDirectAll_dec;
XEBRUK_API RukDirectAllDecS rukConvSDDirectAll_dec;
XEBRUK_API RukDirectAllDecS rukCorrSDDirectAll_dec;
XEBRUK_API RukDirectAllDecS rukConvSSDirectAll_dec;
XEBRUK_API RukDirectAllDecS rukCorrSSDirectAll_dec;

/* FFT kernels: single data, one dimension, no decimation, through the
 * linear convolution engine (direct sums or overlapped real FFTs, as the
 * lengths suggest).  Strides must be positive: negative strides are
 * refused before zero ones.  They gather strided x and y into buffers of
 * their own and return RUK_ERROR_NO_MEMORY when that fails, and the
 * ..._ENGINE status when the engine fails (a null data pointer included).
 * Convolution at zStride 1 writes the whole result, xShape + yShape - 1
 * values, into z before moving the zShape requested ones to its front:
 * z must have room for all of them.  Correlation stops at the length of
 * y: start may be at most yShape and start + zShape at most yShape. */
XEBRUK_API RukFft1DS rukConvSSFft1D_nodec;
XEBRUK_API RukFft1DS rukCorrSSFft1D_nodec;

/* Run a task on arrays of its data type (float for RUK_TYPE_SINGLE, else
 * double).  A null stride array means dense strides of the task's shape
 * (dimension 0 fastest); a task without a start begins at output 0
 * (convolution) or at lag 1 - xShape (correlation); a task without a
 * decimation runs the undecimated kernels where they exist.  The kernel
 * is chosen by job, rank, method, decimation and types:
 *   rank 1, single data and sums, no decimation, any method but direct:
 *       the FFT kernel (so a negative stride fails there);
 *   rank 1 otherwise, method auto or direct: the direct kernel of the
 *       types (none for double data with single sums);
 *   other ranks, method not RUK_METHOD_FFT: the direct kernel of any rank.
 * Anything else gives RUK_TASK_ERROR_UNSUPPORTED.  The result is stored
 * as the task's status: a failure poisons the task, and a poisoned task
 * returns its status without touching any array. */
XEBRUK_API int32_t rukExec(RukTask *task, const void *x, const int32_t *xStride, const void *y,
                           const int32_t *yStride, void *z, const int32_t *zStride);
/* rukExec with the x and x stride given at creation by rukNewTaskX. */
XEBRUK_API int32_t rukExecX(RukTask *task, const void *y, const int32_t *yStride, void *z,
                            const int32_t *zStride);

/* Combinations without an implementation: each returns
 * RUK_TASK_ERROR_UNSUPPORTED and reads no argument. */
XEBRUK_API RukDirect1DNodecD rukConvDDDirect1D_nodec;
XEBRUK_API RukDirect1DNodecD rukCorrDDDirect1D_nodec;
XEBRUK_API RukDirectAllNodecD rukConvDDDirectAll_nodec;
XEBRUK_API RukDirectAllNodecD rukCorrDDDirectAll_nodec;
XEBRUK_API RukFft1DD rukConvDDFft1D_dec;
XEBRUK_API RukFft1DD rukCorrDDFft1D_dec;
XEBRUK_API RukFft1DD rukConvDDFft1D_nodec;
XEBRUK_API RukFft1DD rukCorrDDFft1D_nodec;
XEBRUK_API RukDirect1DNodecS rukConvSDDirect1D_nodec;
XEBRUK_API RukDirect1DNodecS rukCorrSDDirect1D_nodec;
XEBRUK_API RukDirectAllNodecS rukConvSDDirectAll_nodec;
XEBRUK_API RukDirectAllNodecS rukCorrSDDirectAll_nodec;
XEBRUK_API RukFft1DS rukConvSDFft1D_dec;
XEBRUK_API RukFft1DS rukCorrSDFft1D_dec;
XEBRUK_API RukFft1DS rukConvSDFft1D_nodec;
XEBRUK_API RukFft1DS rukCorrSDFft1D_nodec;
XEBRUK_API RukDirectAllNodecS rukConvSSDirectAll_nodec;
XEBRUK_API RukDirectAllNodecS rukCorrSSDirectAll_nodec;
XEBRUK_API RukFft1DS rukConvSSFft1D_dec;
XEBRUK_API RukFft1DS rukCorrSSFft1D_dec;

XEBRUK_EXTERN_C_END

#endif
