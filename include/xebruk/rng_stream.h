/* Random streams: the stream object and its side records (chunks), the two
 * generator tables and registration of user generators, and stream files.
 *
 * A stream is one malloc block of its generator's streamSize bytes: a
 * 16-byte header (RukStream) followed by the generator's state.  Chunks are
 * side records that distributions hang on a stream; the newest stands
 * first, and the stream frees them (and their data) when it is deleted.
 * Services return a status: zero or above is success. */
#ifndef XEBRUK_RNG_STREAM_H
#define XEBRUK_RNG_STREAM_H

#include <stdint.h>
#include "export.h"

XEBRUK_EXTERN_C_BEGIN

/* Statuses of streams, generators and distributions. */
#define RUK_OK                          0
#define RUK_ERROR_UNKNOWN_METHOD        (-2)
#define RUK_ERROR_BAD_ARGUMENT          (-3)
#define RUK_ERROR_NO_MEMORY             (-4)
#define RUK_ERROR_NULL_ARG              (-5)
#define RUK_ERROR_UNKNOWN_BRNG          (-1000)
#define RUK_ERROR_NO_LEAPFROG           (-1002)
#define RUK_ERROR_NO_SKIP               (-1003)
#define RUK_ERROR_BRNG_MISMATCH         (-1005)
#define RUK_ERROR_REGISTRY_FULL         (-1007)
#define RUK_ERROR_REG_STATE_SIZE        (-1008)
#define RUK_ERROR_REG_WORD_SIZE         (-1009)
#define RUK_ERROR_REG_SEED_COUNT        (-1010)
#define RUK_ERROR_REG_BIT_COUNT         (-1011)
#define RUK_ERROR_CLOSE_FAILED          (-1100)
#define RUK_ERROR_OPEN_FAILED           (-1101)
#define RUK_ERROR_WRITE_FAILED          (-1102)
#define RUK_ERROR_READ_FAILED           (-1103)
#define RUK_ERROR_BAD_STREAM_FILE       (-1110)
#define RUK_ERROR_STREAM_FILE_VERSION   (-1111)
#define RUK_ERROR_CALLBACK_COUNT        (-1120)
#define RUK_ERROR_CALLBACK_EMPTY        (-1121)
#define RUK_ERROR_WRONG_ABSTRACT_FORM   (-1122)

/* The method argument of a generator's initStream. */
#define RUK_INIT_NEW        0  /* n seed words at params */
#define RUK_INIT_LEAPFROG   1  /* n is the stride, params[0] this stream's index */
#define RUK_INIT_SKIPAHEAD  2  /* n is the count to skip, params is null */

/* Generator ids.  The newer table: (row + 1) << 20, plus a sub-id for the
 * generators with parameter sets (WH: 0..272, MT2203: 0..1023). */
#define RUK_BRNG_MCG31M1    0x100000
#define RUK_BRNG_R250       0x200000
#define RUK_BRNG_MRG32K3A   0x300000
#define RUK_BRNG_MCG59      0x400000
#define RUK_BRNG_WH         0x500000
#define RUK_BRNG_SOBOL      0x600000
#define RUK_BRNG_NIEDERR    0x700000
#define RUK_BRNG_MT19937    0x800000
#define RUK_BRNG_MT2203     0x900000
#define RUK_BRNG_IABSTRACT  0xA00000
#define RUK_BRNG_DABSTRACT  0xB00000
#define RUK_BRNG_SABSTRACT  0xC00000

/* Stream header; the generator's state follows at byte 16. */
typedef struct RukStream {
    int32_t brngId;       /* the id given at creation */
    uint8_t headerFlag;   /* 1 */
    uint8_t reserved[3];  /* zero */
    uint64_t chunkHead;   /* address of the newest RukStreamChunk, 0 for none */
} RukStream;

typedef struct RukStreamChunk {
    int32_t id;
    uint32_t size;                /* bytes at data; what a stream file stores */
    void *data;                   /* a malloc block, owned by the stream */
    struct RukStreamChunk *next;  /* older chunk, or null */
} RukStreamChunk;

typedef int32_t (*RukInitStreamFn)(int32_t method, RukStream *stream, int32_t n,
                                   const uint32_t *params);
typedef int32_t (*RukSKernelFn)(RukStream *stream, int32_t n, float *r, float a, float b);
typedef int32_t (*RukDKernelFn)(RukStream *stream, int32_t n, double *r, double a, double b);
typedef int32_t (*RukIKernelFn)(RukStream *stream, int32_t n, void *r);

/* One generator row. */
typedef struct RukBrngEntry {
    int32_t streamSize;   /* bytes of a whole stream, header included */
    int32_t seedCount;    /* words of wordSize bytes in the seedable state */
    int32_t zeroFlag;     /* 0 or 1, stored and handed out only */
    int32_t wordSize;     /* bytes of one iKernel element: 4, 8 or 16 */
    int32_t bitCount;     /* significant bits of one output word */
    RukInitStreamFn initStream;
    RukSKernelFn sKernel;
    RukDKernelFn dKernel;
    RukIKernelFn iKernel;
} RukBrngEntry;

/* The two generator tables, 512 rows each.  __RegBrngs: ids 0..278 (rows
 * 4..276 are the WH parameter sets; all their ids resolve to row 4).
 * __RegBrngsNew: 12 built-in rows, then the registered ones. */
XEBRUK_API extern const RukBrngEntry __RegBrngs[512];
XEBRUK_API extern RukBrngEntry __RegBrngsNew[512];

/* Streams. */
XEBRUK_API int32_t rukAllocateStream(RukStream **streamOut, const RukBrngEntry *table, int32_t id,
                                     int32_t row, int32_t sub);
XEBRUK_API int32_t rukNewStreamEx(RukStream **streamOut, int32_t id, int32_t n,
                                  const uint32_t *params);
XEBRUK_API int32_t rukDeleteStream(RukStream **streamOut);
XEBRUK_API int32_t rukCopyStream(RukStream **streamOut, const RukStream *source);
XEBRUK_API int32_t rukCopyStreamState(RukStream *destination, const RukStream *source);
XEBRUK_API int32_t rukLeapfrogStream(RukStream *stream, int32_t k, int32_t nstreams);
XEBRUK_API int32_t rukSkipAheadStream(RukStream *stream, int32_t nskip);
XEBRUK_API int32_t rukGetStreamStateBrng(const RukStream *stream);

/* Chunks.  rukAddChunk takes ownership of data (a malloc block) on success. */
XEBRUK_API int32_t rukAddChunk(RukStream *stream, int32_t id, void *data, uint32_t size);
XEBRUK_API void *rukSearchChunk(const RukStream *stream, int32_t id);
XEBRUK_API int32_t rukGetNumChunks(const RukStream *stream);

/* Registry. */
XEBRUK_API const RukBrngEntry *rukGetBrngBaseOffset(int32_t id, int32_t *rowOut, int32_t *subOut);
XEBRUK_API int32_t rukIsBrngValid(const RukBrngEntry *table, int32_t row, int32_t sub);
XEBRUK_API int32_t rukGetBrngProperties(int32_t id, RukBrngEntry *entryOut);
XEBRUK_API int32_t rukGetNumRegBrngs(void);
XEBRUK_API int32_t rukRegisterBrng(const RukBrngEntry *entry);

/* Stream files.  A save takes a counted name (nameLength < 0: terminated);
 * a load creates a new stream in *streamOut, which should be null at the
 * call: after a failure a non-null *streamOut is deleted. */
XEBRUK_API int32_t rukSaveStreamF(const RukStream *stream, const char *name, int32_t nameLength);
XEBRUK_API int32_t rukLoadStreamF(RukStream **streamOut, const char *name);

XEBRUK_EXTERN_C_END

#endif
