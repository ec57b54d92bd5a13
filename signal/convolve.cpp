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

struct PlanOwner {
    sigFftPlan* p = nullptr;
    ~PlanOwner() {
        if (p) sigFftPlanFree(p);
    }
};
struct BlockOwner {
    float* p = nullptr;
    ~BlockOwner() { sigFree(p); }
};

int32_t order_of(int64_t n) {
    int32_t k = 0;
    while ((int64_t{1} << k) < n) ++k;
    return k;
}

// Plan of 2^order with the inverse scaled, and its work in floats.
int32_t make_plan(int32_t order, PlanOwner& plan, int64_t& work_floats) {
    if (const int32_t st = sigFftPlanInit(&plan.p, order, SIG_SCALE_INVERSE, 0); st != SIG_OK) return st;
    int32_t bytes = 0;
    if (const int32_t st = sigFftWorkSize(plan.p, &bytes); st != SIG_OK) return st;
    work_floats = (int64_t{bytes} + 3) / 4;
    return SIG_OK;
}

// Copy n values into a buffer of `size` floats and zero the rest.
void load_padded(const float* src, int32_t n, float* buf, int64_t size) {
    sigCopy32f(src, buf, n);
    sigZeroBytes(buf + n, (size - n) * 4);  // a count of 0 is refused and changes nothing
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

int32_t convolve_one_shot(const float* lng, int32_t L, const float* sht, int32_t S, float* dst, int32_t out,
                          int32_t order) {
    const int64_t n = int64_t{1} << order;
    PlanOwner plan;
    int64_t work = 0;
    if (const int32_t st = make_plan(order, plan, work); st != SIG_OK) return st;
    BlockOwner block{sigAlloc32f(2 * n + work)};
    if (!block.p) return SIG_ERR_MEMORY;
    float* a = block.p;
    float* b = block.p + n;
    void* w = work > 0 ? block.p + 2 * n : nullptr;
    load_padded(lng, L, a, n);
    load_padded(sht, S, b, n);
    int32_t st = sigFftForwardEdge(a, a, plan.p, w);
    if (st == SIG_OK) st = sigFftForwardEdge(b, b, plan.p, w);
    if (st != SIG_OK) return st;
    sigMulSpectrumEdge(a, b, static_cast<int32_t>(n));
    st = sigFftInverseEdge(b, b, plan.p, w);
    if (st == SIG_OK) sigCopy32f(b, dst, out);
    return st;
}

// Overlap-save with one filter spectrum, N - S + 1 outputs per block.
int32_t convolve_overlap_save(const float* lng, int32_t L, const float* sht, int32_t S, float* dst,
                              int32_t out, int32_t order, int64_t step) {
    const int64_t n = int64_t{1} << order;
    PlanOwner plan;
    int64_t work = 0;
    if (const int32_t st = make_plan(order, plan, work); st != SIG_OK) return st;
    BlockOwner block{sigAlloc32f(2 * n + work + 1)};
    if (!block.p) return SIG_ERR_MEMORY;
    float* filter = block.p;
    float* seg = block.p + n;
    void* w = work > 0 ? block.p + 2 * n : nullptr;
    load_padded(sht, S, filter, n);
    int32_t st = sigFftForwardEdge(filter, filter, plan.p, w);
    if (st != SIG_OK) return st;
    for (int64_t p = 0; p < out; p += step) {
        // The first block has no history: its circular wrap cannot reach
        // the outputs, since at most N - S + 1 inputs are taken.
        const int64_t overlap = p > 0 ? S - 1 : 0;
        const int64_t count = std::min(std::min(L - p + overlap, int64_t{L}), overlap + step);
        // A whole block is transformed straight from the input (the same
        // bits as from a copy); a short one is padded with zeros first.
        const float* from = lng + (p - overlap);
        if (count == n) {
            st = sigFftForwardEdge(from, seg, plan.p, w);
        } else {
            load_padded(from, static_cast<int32_t>(count), seg, n);
            st = sigFftForwardEdge(seg, seg, plan.p, w);
        }
        if (st != SIG_OK) return st;
        sigMulSpectrumEdge(filter, seg, static_cast<int32_t>(n));
        st = sigFftInverseEdge(seg, seg, plan.p, w);
        if (st != SIG_OK) return st;
        sigCopy32f(seg + overlap, dst + p, static_cast<int32_t>(std::min(out - p, step)));
    }
    return st;
}

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

int32_t sigConvolve32f(const float* src1, int32_t len1, const float* src2, int32_t len2, float* dst) {
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
    switch (c.path) {
        case sigConvPath::Direct:
        case sigConvPath::DirectBlocked: return convolve_direct(lng, L, sht, S, dst);
        case sigConvPath::OneShot: return convolve_one_shot(lng, L, sht, S, dst, out, c.order);
        default: return convolve_overlap_save(lng, L, sht, S, dst, out, c.order, c.step);
    }
}

}  // namespace xeb::sig
