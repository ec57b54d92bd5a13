// Linear convolution: direct below 256 outputs or 32 taps, one real FFT of
// the whole result when the inputs are of similar length, overlap-save with
// one filter spectrum when the long input is 3 times the short one or more.
//
// Error: the direct paths sum S products in single precision (error below
// S * 2^-24 of sum |x_i h_(k-i)|); the FFT paths are accurate relative to
// the largest such sum over all outputs, about 2^-24 * log2 N times it,
// since the transform spreads rounding evenly over the outputs.
#include "signal/convolve.h"

#include <xmmintrin.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "signal/fft_core.h"
#include "signal/fft_plan.h"

namespace xeb::sig {
namespace {

// Four products at output q (relative to the tap group), in tap order, the
// old value last; long values outside [0, n) stand as zeros.
inline float accumulate_one(const float* x, int32_t n, const float* h, int32_t taps, int64_t q, float old) {
    float acc = 0.0f;
    for (int32_t g = 0; g < taps; ++g) {
        const int64_t i = q - g;
        const float v = (i >= 0 && i < n) ? x[i] : 0.0f;
        acc = g == 0 ? v * h[0] : acc + v * h[g];
    }
    return acc + old;
}

// One group of up to four taps h[0..taps) added to dst[q], q in
// [0, n + taps - 1): four outputs per pass from shifted views of x.
void accumulate_group(const float* x, int32_t n, const float* h, int32_t taps, float* dst) {
    const int64_t end = int64_t{n} + taps - 1;
    int64_t q = 0;
    for (; q < taps - 1; ++q) dst[q] = accumulate_one(x, n, h, taps, q, dst[q]);
    __m128 hv[4];
    for (int32_t g = 0; g < taps; ++g) hv[g] = _mm_set1_ps(h[g]);
    for (; q + 3 <= n - 1; q += 4) {
        __m128 acc = _mm_mul_ps(_mm_loadu_ps(x + q), hv[0]);
        for (int32_t g = 1; g < taps; ++g) acc = _mm_add_ps(acc, _mm_mul_ps(_mm_loadu_ps(x + q - g), hv[g]));
        _mm_storeu_ps(dst + q, _mm_add_ps(acc, _mm_loadu_ps(dst + q)));
    }
    for (; q < end; ++q) dst[q] = accumulate_one(x, n, h, taps, q, dst[q]);
}

int32_t order_of(int64_t n) {
    int32_t k = 0;
    while ((int64_t{1} << k) < n) ++k;
    return k;
}

// Copy n values into a buffer of `size` floats and zero the rest, through
// the cache (the transform reads the buffer next; the streaming stores of
// sigCopy32f would send it to memory and back).
void load_padded(const float* src, int32_t n, float* buf, int64_t size) {
    std::memcpy(buf, src, sizeof(float) * static_cast<std::size_t>(n));
    std::memset(buf + n, 0, sizeof(float) * static_cast<std::size_t>(size - n));
}

int32_t convolve_direct(const float* lng, int32_t L, const float* sht, int32_t S, float* dst) {
    if (L < kDirectBlock) {
        sigZero32f(dst, L + S - 1);
        sigConvAccumulate32f(lng, L, sht, S, dst);
        return SIG_OK;
    }
    // Blocks of 4096 inputs keep the working part of dst in cache; the
    // zeroing of dst moves in step, ahead of the S - 1 partial sums.
    sigZero32f(dst, S - 1);
    for (int32_t pos = 0; pos < L; pos += kDirectBlock) {
        const int32_t block = std::min(kDirectBlock, L - pos);
        sigZero32f(dst + pos + S - 1, block);
        sigConvAccumulate32f(lng + pos, block, sht, S, dst + pos);
    }
    return SIG_OK;
}

// Buffers of one FFT convolution inside the workspace's block.
struct Buffers {
    float* filter;  // spectrum of the short input, scaled by 1/N
    float* seg;     // the transformed segment
    void* work;     // the transforms' work, or null for none
};

// Makes the workspace fit a transform of 2^order with the given scaling
// and `tail` floats behind the two buffers and the work: the plan is kept
// when its order and scaling match, the block when it is large enough.
// The plan is made before the block, so that a failing block leaves a plan
// that the next call can use.
int32_t fit_workspace(sigConvWorkspace& ws, int32_t order, int32_t scaling, int64_t tail, Buffers& b) {
    if (ws.plan && (ws.order != order || ws.scaling != scaling)) sigConvWorkspaceRelease(&ws);
    if (!ws.plan) {
        if (const int32_t st = sigFftPlanInit(&ws.plan, order, scaling, 0); st != SIG_OK) {
            ws.plan = nullptr;
            return st;
        }
        ws.order = order;
        ws.scaling = scaling;
        int32_t bytes = 0;
        if (const int32_t st = sigFftWorkSize(ws.plan, &bytes); st != SIG_OK) {
            sigConvWorkspaceRelease(&ws);
            return st;
        }
        ws.workFloats = (int64_t{bytes} + 3) / 4;
    }
    const int64_t n = int64_t{1} << order;
    const int64_t need = 2 * n + ws.workFloats + tail;
    if (ws.blockFloats < need) {
        sigFree(ws.block);
        ws.filterLen = 0;
        ws.blockFloats = 0;
        ws.block = sigAlloc32f(need);
        if (!ws.block) return SIG_ERR_MEMORY;
        ws.blockFloats = need;
    }
    b = {ws.block, ws.block + n, ws.workFloats > 0 ? ws.block + 2 * n : nullptr};
    return SIG_OK;
}

// The spectrum of the short input padded to N, with the 1/N of the inverse
// transform folded in: a power of two, so each product and every rounding
// of the unscaled inverse is the scaled one exactly (the bits of scaling at
// the end), unless a scaled value falls below the normal range.
// A workspace that already holds the spectrum of the same taps keeps it.
int32_t filter_spectrum(sigConvWorkspace& ws, const float* sht, int32_t S, const Buffers& b) {
    const int64_t n = int64_t{1} << ws.order;
    float* copy = ws.block + ws.blockFloats - S;
    if (ws.filterLen == S && std::memcmp(copy, sht, sizeof(float) * static_cast<std::size_t>(S)) == 0)
        return SIG_OK;
    ws.filterLen = 0;
    load_padded(sht, S, b.filter, n);
    if (const int32_t st = sigFftForwardEdge(b.filter, b.filter, ws.plan, b.work); st != SIG_OK) return st;
    sigScale32f(1.0f / static_cast<float>(n), b.filter, n);
    sigCopy32f(sht, copy, S);
    ws.filterLen = S;
    return SIG_OK;
}

// Outputs from segment `seg` of n values: transform, multiply by the
// filter spectrum, transform back.  A segment of exactly n values is
// transformed straight from the input (the same bits as from a copy).
int32_t convolve_segment(const sigConvWorkspace& ws, const Buffers& b, const float* from, int64_t count) {
    const int64_t n = int64_t{1} << ws.order;
    int32_t st;
    if (count == n) {
        st = sigFftForwardEdge(from, b.seg, ws.plan, b.work);
    } else {
        load_padded(from, static_cast<int32_t>(count), b.seg, n);
        st = sigFftForwardEdge(b.seg, b.seg, ws.plan, b.work);
    }
    if (st != SIG_OK) return st;
    sigMulSpectrumEdge(b.filter, b.seg, static_cast<int32_t>(n));
    return sigFftInverseEdge(b.seg, b.seg, ws.plan, b.work);
}

// One transform of the whole result.
int32_t convolve_one_shot(sigConvWorkspace& ws, const float* lng, int32_t L, const float* sht, int32_t S,
                          float* dst, int32_t out, int32_t order) {
    Buffers b{};
    if (const int32_t st = fit_workspace(ws, order, SIG_SCALE_NONE, S, b); st != SIG_OK) return st;
    if (const int32_t st = filter_spectrum(ws, sht, S, b); st != SIG_OK) return st;
    const int32_t st = convolve_segment(ws, b, lng, L);
    if (st == SIG_OK) sigCopy32f(b.seg, dst, out);
    return st;
}

// Overlap-save with one filter spectrum, N - S + 1 outputs per block.
int32_t convolve_overlap_save(sigConvWorkspace& ws, const float* lng, int32_t L, const float* sht, int32_t S,
                              float* dst, int32_t out, int32_t order, int64_t step) {
    Buffers b{};
    if (const int32_t st = fit_workspace(ws, order, SIG_SCALE_NONE, S, b); st != SIG_OK) return st;
    if (const int32_t st = filter_spectrum(ws, sht, S, b); st != SIG_OK) return st;
    for (int64_t p = 0; p < out; p += step) {
        // The first block has no history: its circular wrap cannot reach
        // the outputs, since at most N - S + 1 inputs are taken.
        const int64_t overlap = p > 0 ? S - 1 : 0;
        const int64_t count = std::min(std::min(L - p + overlap, int64_t{L}), overlap + step);
        if (const int32_t st = convolve_segment(ws, b, lng + (p - overlap), count); st != SIG_OK) return st;
        sigCopy32f(b.seg + overlap, dst + p, static_cast<int32_t>(std::min(out - p, step)));
    }
    return SIG_OK;
}

// Releases a call's own workspace on every way out.
struct CallWorkspace {
    sigConvWorkspace ws{};
    ~CallWorkspace() { sigConvWorkspaceRelease(&ws); }
};

}  // namespace

void sigConvAccumulate32f(const float* lng, int32_t n, const float* sht, int32_t taps, float* dst) {
    if (taps < 1 || n < 1) return;
    if (n < 8) {
        for (int32_t j = 0; j < taps; ++j)
            for (int32_t i = 0; i < n; ++i) dst[i + j] += lng[i] * sht[j];
        return;
    }
    for (int32_t j = 0; j < taps; j += 4) accumulate_group(lng, n, sht + j, std::min(4, taps - j), dst + j);
}

sigConvChoice sigConvolveChoice(int32_t len1, int32_t len2) {
    const int64_t out = int64_t{len1} + len2 - 1;
    const int32_t L = std::max(len1, len2), S = std::min(len1, len2);
    if (out < kDirectMaxOutputs || S < kDirectMaxTaps)
        return {L < kDirectBlock ? sigConvPath::Direct : sigConvPath::DirectBlocked, 0, 0};
    // One transform of the smallest power of two from 4 on holding the
    // whole result.
    if (L < kOneShotRatio * int64_t{S}) return {sigConvPath::OneShot, std::max(2, order_of(out)), out};
    // N = 2M, M the smallest power of two not below 2 S: N is 4 S to below
    // 8 S, so the S - 1 discarded outputs of a block are a quarter or less.
    const int32_t order = order_of(2 * int64_t{S}) + 1;
    return {sigConvPath::OverlapSave, order, (int64_t{1} << order) - S + 1};
}

int32_t sigConvWorkspaceBuffers(sigConvWorkspace* ws, int32_t order, int32_t scaling, float** first, float** second,
                                void** work) {
    Buffers b{};
    const int32_t st = fit_workspace(*ws, order, scaling, 0, b);
    ws->filterLen = 0;  // the caller overwrites whatever spectrum the block held
    if (st != SIG_OK) return st;
    *first = b.filter;
    *second = b.seg;
    *work = b.work;
    return SIG_OK;
}

void sigConvWorkspaceRelease(sigConvWorkspace* ws) {
    if (!ws) return;
    if (ws->plan) sigFftPlanFree(ws->plan);
    sigFree(ws->block);
    *ws = sigConvWorkspace{};
}

int32_t sigConvolve32f(const float* src1, int32_t len1, const float* src2, int32_t len2, float* dst) {
    return sigConvolve32fWith(src1, len1, src2, len2, dst, nullptr);
}

int32_t sigConvolve32fWith(const float* src1, int32_t len1, const float* src2, int32_t len2, float* dst,
                           sigConvWorkspace* ws) {
    if (!src1 || !src2 || !dst) return SIG_ERR_NULL;
    if (len1 < 1 || len2 < 1) return SIG_ERR_SIZE;
    // A result longer than a 32-bit count cannot be addressed by its length.
    if (int64_t{len1} + len2 - 1 > INT32_MAX) return SIG_ERR_SIZE;
    const int32_t out = len1 + len2 - 1;
    // Convolution commutes: the shorter input is the filter.
    const bool swap = len1 < len2;
    const float* lng = swap ? src2 : src1;
    const float* sht = swap ? src1 : src2;
    const int32_t L = swap ? len2 : len1, S = swap ? len1 : len2;
    const sigConvChoice c = sigConvolveChoice(len1, len2);
    if (c.path == sigConvPath::Direct || c.path == sigConvPath::DirectBlocked)
        return convolve_direct(lng, L, sht, S, dst);
    CallWorkspace own;
    sigConvWorkspace& w = ws ? *ws : own.ws;
    if (c.path == sigConvPath::OneShot) return convolve_one_shot(w, lng, L, sht, S, dst, out, c.order);
    return convolve_overlap_save(w, lng, L, sht, S, dst, out, c.order, c.step);
}

}  // namespace xeb::sig
