/* Per-thread mode, status word and error callback of the vector functions,
 * and the two error entries through which every event is reported. */
#ifndef XEBRUK_FRAME_H
#define XEBRUK_FRAME_H

#include <stdint.h>
#include "export.h"

XEBRUK_EXTERN_C_BEGIN

/* Mode word: accuracy (0x000F), floating-point control (0x00F0),
 * reporting (0xFF00).  Each field is replaced as a whole; a zero field in
 * the argument of xebSetMode leaves that field alone. */
#define XEB_ACC_MASK        0x000Fu
#define XEB_FPU_MASK        0x00F0u
#define XEB_REPORT_MASK     0xFF00u

#define XEB_ACC_LA          0x0001u  /* entries of vm.h: _50 double, _21 single */
#define XEB_ACC_HA          0x0002u  /* _HA; also any value other than 1 and 3 */
#define XEB_ACC_EP          0x0003u  /* _50 double, _11 single */

#define XEB_FPU_NARROW      0x0010u  /* force control words; x87 at 53 bits with LA/HA */
#define XEB_FPU_WIDE        0x0020u  /* force control words; x87 at 64 bits */
#define XEB_FPU_RESTORE     0x0030u  /* put back the words saved at the first force */

#define XEB_REPORT_NONE     0x0100u  /* the whole field equal to this: no report */
#define XEB_REPORT_ERRNO    0x0200u
#define XEB_REPORT_STDERR   0x0400u
#define XEB_REPORT_TRAP     0x0800u
#define XEB_REPORT_CALLBACK 0x1000u

#define XEB_MODE_DEFAULT    0x1A02u  /* 6658: HA, nothing forced, errno + trap + callback */

/* Event codes stored in the status word. */
#define XEB_STATUS_BADMEM       (-2)
#define XEB_STATUS_BADSIZE      (-1)
#define XEB_STATUS_OK           0
#define XEB_STATUS_DOMAINFAULT  1
#define XEB_STATUS_POLE         2
#define XEB_STATUS_TOOLARGE     3
#define XEB_STATUS_TOOSMALL     4

/* What the callback and the reporters receive.  The numeric fields are
 * doubles for both precisions; for codes -1 and -2 they are not filled in. */
typedef struct XebErrorRecord {
    int32_t code;
    int32_t index;      /* element index; for XEB_STATUS_BADSIZE the bad size */
    double a;           /* first input element */
    double b;           /* second input element (equal to a for one input) */
    double y;           /* first result element */
    double z;           /* second result element (equal to y for one output) */
    char name[64];      /* kernel name, zero-terminated */
    int32_t nameLength;
} XebErrorRecord;

/* Returns 0 to let the dispatcher go on (reports, write-back of y and z),
 * anything else to say the event is handled. */
typedef int32_t (*XebErrorCallBack)(XebErrorRecord *record);

/* Per-thread record: what the services below read and write. */
typedef struct XebThreadState {
    uint32_t mode;
    int32_t status;
    XebErrorCallBack callback;
    uint32_t savedFpuControl;   /* x87 control word at the first force */
    uint32_t savedSimdControl;  /* low 16 bits of MXCSR at the first force */
} XebThreadState;

XEBRUK_API uint32_t dll_cpu_version(void);

/* Kernel classes: the instruction sets the vector kernels are built for.
 * When the library loads it takes the widest class the processor and the
 * operating system support, or the narrower one the environment variable
 * XEBRUK_KERNEL_CLASS names (baseline, avx2 or avx512; a class the
 * processor lacks, or any other text, leaves the widest, with one line on
 * stderr).  Every exported vector kernel, and every law that calls one,
 * runs the class in use; xebGetKernelClass returns it.  Results of the
 * AVX2 and AVX-512 classes are identical; the baseline may differ from
 * them within each kernel's accuracy bound. */
#define XEB_KERNEL_BASELINE 0  /* x87 and SSE2 */
#define XEB_KERNEL_AVX2     1  /* AVX2 and FMA */
#define XEB_KERNEL_AVX512   2  /* AVX-512 F, DQ and VL (with AVX2 and FMA) */
XEBRUK_API int32_t xebGetKernelClass(void);

XEBRUK_API uint32_t xebSetMode(uint32_t mode);
XEBRUK_API uint32_t xebGetMode(void);
XEBRUK_API int32_t xebSetErrStatus(int32_t status);
XEBRUK_API int32_t xebGetErrStatus(void);
XEBRUK_API int32_t xebClearErrStatus(void);
XEBRUK_API XebErrorCallBack xebSetErrorCallBack(XebErrorCallBack callback);
XEBRUK_API XebErrorCallBack xebGetErrorCallBack(void);
XEBRUK_API XebErrorCallBack xebClearErrorCallBack(void);

/* Error entries: record code in the thread's status, then callback, reports
 * and write-back of y[index], z[index] as the mode says. */
XEBRUK_API void xebsError(int32_t code, int32_t index, const float *a, const float *b,
                          float *y, float *z, const char *name);
XEBRUK_API void xebdError(int32_t code, int32_t index, const double *a, const double *b,
                          double *y, double *z, const char *name);

/* Load and unload entry: reason 1 process attach, 2 thread attach,
 * 3 thread detach, 0 process detach.  Called by the loader; exported so
 * that a host which manages the library's life itself can drive it. */
XEBRUK_API int32_t xebLibraryEntry(void *module, uint32_t reason, void *reserved);

XEBRUK_EXTERN_C_END

#endif
