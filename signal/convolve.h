// Linear convolution and cross-correlation of dense float arrays.  Each
// entry chooses by itself between direct arithmetic and the real FFT
// (overlapped when one input is much longer); a caller that convolves
// repeatedly may keep the transform state in a workspace.  Statuses are
// those of signal/primitives.h.
#pragma once

#include <cstdint>

namespace xeb::sig {

struct sigFftPlan;

// dst[n] = sum_i src1[i] src2[n - i], len1 + len2 - 1 values.
int32_t sigConvolve32f(const float* src1, int32_t len1, const float* src2, int32_t len2, float* dst);

// What the FFT paths of convolution and correlation can carry from one
// call to the next: the plan (for convolution unscaled: the 1/N of the
// inverse rides on the filter spectrum), one aligned block holding the filter spectrum, the segment
// buffer, the transforms' work and a copy of the filter that spectrum
// belongs to.  A zeroed record is empty and valid.  A call reuses what
// fits its order and filter and rebuilds the rest; the results are those
// of a call without a workspace, bit for bit.
struct sigConvWorkspace {
    sigFftPlan* plan;     // null, or a plan of 2^order with `scaling`
    int32_t order;
    int32_t scaling;
    float* block;         // spectrum (N), segment (N), work, filter copy
    int64_t blockFloats;
    int64_t workFloats;
    int32_t filterLen;    // taps whose spectrum the block holds; 0 for none
};
// The same convolution through a workspace (null: a private one for the
// call).
int32_t sigConvolve32fWith(const float* src1, int32_t len1, const float* src2, int32_t len2, float* dst,
                           sigConvWorkspace* ws);
// Fits the workspace to a plan of 2^order with the given scaling flag and
// two buffers of 2^order floats (first, second) and the transforms' work
// (null for none); any filter spectrum it held is forgotten.
int32_t sigConvWorkspaceBuffers(sigConvWorkspace* ws, int32_t order, int32_t scaling, float** first, float** second,
                                void** work);
// Frees what the workspace holds and leaves it empty.
void sigConvWorkspaceRelease(sigConvWorkspace* ws);

// dst[j] = sum_i src1[i] src2[i + lowLag + j], j < dstLen; lags without any
// overlap give 0.
int32_t sigCrossCorr32f(const float* src1, int32_t len1, const float* src2, int32_t len2, float* dst,
                        int32_t dstLen, int32_t lowLag);

// dst[i + j] += longSig[i] shortSig[j].
void sigConvAccumulate32f(const float* longSig, int32_t longLen, const float* shortSig, int32_t shortLen,
                          float* dst);

// Direct correlation kernels: output j is the dot product of `fixed` with
// the moving signal at moving + j (moving - j for FullBack) over `len`
// points (len - j for Ramp and Tail).  Ramp writes from dst downward
// (dst, dst - 1, ...), the others upward.
void sigCorrRamp32f(const float* moving, const float* fixed, int32_t len, float* dst, int32_t count);
void sigCorrFullForward32f(const float* moving, const float* fixed, int32_t len, float* dst, int32_t count);
void sigCorrFullBack32f(const float* moving, const float* fixed, int32_t len, float* dst, int32_t count);
void sigCorrTail32f(const float* moving, const float* fixed, int32_t len, float* dst, int32_t count);

// The same correlation through a workspace that keeps the plan and the
// buffers of its FFT path between calls (null: none), with the bits of a
// call without one.
int32_t sigCrossCorr32fWith(const float* src1, int32_t len1, const float* src2, int32_t len2, float* dst,
                            int32_t dstLen, int32_t lowLag, sigConvWorkspace* ws);
// Whether sigCrossCorr32f computes these lags by FFT.
bool sigCrossCorrUsesFft(int32_t len1, int32_t len2, int32_t dstLen, int32_t lowLag);

// Lags first .. first + dstLen - 1 of the full correlation (index n holds lag
// n - (len1 - 1)) by one FFT of the smallest power of two holding it; with a
// workspace, its plan and buffers.
int32_t sigCorrFft32f(const float* src1, int32_t len1, const float* src2, int32_t len2, float* dst,
                      int32_t dstLen, int32_t first, sigConvWorkspace* ws = nullptr);

// How sigConvolve32f computes a pair of lengths: the path, and for the FFT
// paths the transform order and the outputs per block.
enum class sigConvPath { Direct, DirectBlocked, OneShot, OverlapSave };
struct sigConvChoice {
    sigConvPath path;
    int32_t order;
    int64_t step;
};
sigConvChoice sigConvolveChoice(int32_t len1, int32_t len2);

// The choice thresholds.
constexpr int32_t kDirectMaxOutputs = 256;  // fewer outputs: direct
constexpr int32_t kDirectMaxTaps = 32;      // a shorter filter: direct
constexpr int32_t kDirectBlock = 4096;      // long inputs go through dst in blocks
constexpr int32_t kOneShotRatio = 3;        // L below 3 S: one transform
constexpr int32_t kCorrDirectMax = 383;     // weighted lag count still direct

}  // namespace xeb::sig
