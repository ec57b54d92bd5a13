// Internal real FFT of 2^order single-precision values, order 0 to 30, and
// the spectrum products built on it.  A real transform of N = 2^order values
// is a complex transform of n = N/2 points on the values taken as pairs,
// followed (forward) or preceded (inverse) by a split pass.
//
// Plans are immutable once built: tables live in aligned blocks owned by the
// plan, transforms take the plan const and a caller's work buffer (or null,
// and then allocate their own), so any number of threads may share a plan
// as long as each brings its own work.
//
// Spectrum layouts of N floats (X[k] = sum x[m] exp(-2 pi i k m / N)):
//   edge-first  X[0], X[N/2], Re X[1], Im X[1], ..., Re X[N/2-1], Im X[N/2-1]
//   in order    X[0], Re X[1], Im X[1], ..., Im X[N/2-1], X[N/2]
#pragma once

#include <cstdint>

#include "signal/primitives.h"

namespace xeb::sig {

constexpr int32_t SIG_PLAN_ID = 6;
constexpr int32_t kMaxOrder = 30;
// Blocking levels a plan can nest (order 30: 2^19 by 2^10, then 2^9 by
// 2^10); fft_plan.cpp checks the blocking table against it at compile time.
constexpr int32_t kBlockingLevels = 2;

// Scaling flags of a plan.
constexpr int32_t SIG_SCALE_FORWARD = 1;    // forward by 1/N
constexpr int32_t SIG_SCALE_INVERSE = 2;    // inverse by 1/N
constexpr int32_t SIG_SCALE_BOTH_ROOT = 4;  // both by 1/sqrt(N)
constexpr int32_t SIG_SCALE_NONE = 8;

struct sigFftPlan {
    int32_t id;            // SIG_PLAN_ID while the plan is valid
    int32_t order;         // real length 2^order
    int32_t scaleForward;  // non-zero: the forward transform scales
    int32_t scaleInverse;  // non-zero: the inverse transform scales
    float scale;
    int32_t hint;          // stored, never read
    int32_t workBytes;     // work area of the transforms, 0 for none
    int32_t owned;         // 1: release frees the tables and the record
    int32_t* reverseTable;
    float* twiddles;         // base stage twiddles; start of the table block
    float* halvingTwiddles;  // stages above 2^10 points, largest first
    float* realForward;
    float* realInverse;
    float* columnTwiddles[kBlockingLevels];  // per blocking level
    float* gatherTwiddles[kBlockingLevels];  // per blocking level
};

int32_t sigFftPlanInit(sigFftPlan** plan, int32_t order, int32_t flag, int32_t hint);
int32_t sigFftPlanFree(sigFftPlan* plan);
// Bytes of work a transform needs: 0, or workBytes + 16 so that an
// unaligned buffer can be raised to a 16-byte boundary.
int32_t sigFftWorkSize(const sigFftPlan* plan, int32_t* size);

// Transforms: source and destination may be the same array; work is a
// caller's buffer of sigFftWorkSize bytes, or null.
int32_t sigFftForwardEdge(const float* src, float* dst, const sigFftPlan* plan, void* work);
int32_t sigFftInverseEdge(const float* src, float* dst, const sigFftPlan* plan, void* work);
int32_t sigFftForwardOrdered(const float* src, float* dst, const sigFftPlan* plan, void* work);
int32_t sigFftInverseOrdered(const float* src, float* dst, const sigFftPlan* plan, void* work);

// b := a * b on edge-first spectra of n floats.
int32_t sigMulSpectrumEdge(const float* a, float* b, int32_t n);
// b := a * conj(b) on in-order spectra of n floats.
int32_t sigMulConjSpectrumOrdered(const float* a, float* b, int32_t n);

// Column order f of the blocking of a complex transform of 2^k points
// (2^(k-f) row points by 2^f column points); 0 means no split, the length
// is reached by halving from 2^10.
int32_t sigFftBlocking(int32_t k);

// Table sizes of a plan of a given order, computed without building it.
struct sigFftPlanSizes {
    int64_t blockBytes;  // the one table block of the complex part
    int64_t tempBytes;   // temporary block of the build (gather twiddles)
    int32_t workBytes;
    int32_t levels;      // blocking levels (0 for orders up to 12)
};
sigFftPlanSizes sigFftPlanSizesFor(int32_t order);

}  // namespace xeb::sig
