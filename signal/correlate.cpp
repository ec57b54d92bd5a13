// Cross-correlation over a range of lags.  Lags without overlap are zeros;
// the rest go to one FFT when the requested lags, weighted by how much of
// the full overlap they can reach, exceed 383, and otherwise to the direct
// kernels over three ranges: partial overlaps at the negative end (ramp),
// whole overlaps of the shorter signal, partial overlaps at the positive
// end (tail).
//
// Error: a direct output is a single-precision sum of at most min(len1,
// len2) products, in four lane sums: below len * 2^-24 of sum |x y| (far
// less in practice).  The FFT path is accurate relative to the largest such
// sum over the whole correlation.
#include <xmmintrin.h>

#include <algorithm>
#include <cstring>

#include "signal/convolve.h"
#include "signal/fft_plan.h"

namespace xeb::sig {
namespace {

inline bool aligned16(const void* p) { return (reinterpret_cast<std::uintptr_t>(p) & 15) == 0; }

// Dot product with four lane sums: eight products a pass, then four, two
// and one by the bits of the length; lanes added as 0 + 2 + 1 + 3.
float dot(const float* a, const float* b, int32_t n) {
    __m128 acc = _mm_setzero_ps();
    int32_t i = 0;
    for (; i + 8 <= n; i += 8) {
        acc = _mm_add_ps(acc, _mm_mul_ps(_mm_loadu_ps(a + i), _mm_loadu_ps(b + i)));
        acc = _mm_add_ps(acc, _mm_mul_ps(_mm_loadu_ps(a + i + 4), _mm_loadu_ps(b + i + 4)));
    }
    float lane[4];
    _mm_storeu_ps(lane, acc);
    if (n & 4) {
        for (int l = 0; l < 4; ++l) lane[l] += a[i + l] * b[i + l];
        i += 4;
    }
    if (n & 2) {
        lane[0] += a[i] * b[i];
        lane[1] += a[i + 1] * b[i + 1];
        i += 2;
    }
    if (n & 1) lane[0] += a[i] * b[i];
    return ((lane[0] + lane[2]) + lane[1]) + lane[3];
}

// Output j reads moving + Step * j over len - (Shrink ? j : 0) points and
// goes to dst + Dir * j.
template <int Step, bool Shrink, int Dir>
struct Kernel {
    static const float* at(const float* moving, int32_t j) { return moving + Step * j; }
    static int32_t length(int32_t len, int32_t j) { return Shrink ? len - j : len; }

    static void plain(const float* moving, const float* fixed, int32_t len, float* dst, int32_t count) {
        for (int32_t j = 0; j < count; ++j) {
            const float* m = at(moving, j);
            float s = 0.0f;
            for (int32_t u = 0; u < length(len, j); ++u) s += m[u] * fixed[u];
            dst[Dir * j] = s;
        }
    }

    // Four outputs j..j+3, taps outermost, each tap broadcast against four
    // shifted views of the moving signal; Shrink leaves a triangle of taps
    // that only the earlier outputs have.
    static __m128 four(const float* moving, const float* fixed, int32_t len, int32_t j) {
        const int32_t common = length(len, j + 3);
        __m128 acc = _mm_setzero_ps();
        for (int32_t u = 0; u < common; ++u) {
            __m128 v;
            if (Step > 0) {
                v = _mm_loadu_ps(moving + j + u);
            } else {
                v = _mm_loadu_ps(moving - j - 3 + u);
                v = _mm_shuffle_ps(v, v, _MM_SHUFFLE(0, 1, 2, 3));
            }
            acc = _mm_add_ps(acc, _mm_mul_ps(v, _mm_set1_ps(fixed[u])));
        }
        if (!Shrink) return acc;
        float lane[4];
        _mm_storeu_ps(lane, acc);
        for (int l = 0; l < 3; ++l) {
            const float* m = at(moving, j + l);
            for (int32_t u = common; u < length(len, j + l); ++u) lane[l] += m[u] * fixed[u];
        }
        return _mm_loadu_ps(lane);
    }

    static void run(const float* moving, const float* fixed, int32_t len, float* dst, int32_t count) {
        if (count < 1) return;
        // Outputs are zeroed first: a zero overlap leaves them at 0.
        for (int32_t j = 0; j < count; ++j) dst[Dir * j] = 0.0f;
        if (Shrink && (len < 7 || count < 6)) {
            plain(moving, fixed, len, dst, count);
            return;
        }
        // Where the four outputs j..j+3 are stored: upward from dst + j,
        // downward from dst - j - 3 (lanes reversed).
        auto block_at = [dst](int32_t j) { return Dir > 0 ? dst + j : dst - j - 3; };
        int32_t j = 0;
        for (; j < count && !aligned16(block_at(j)); ++j)
            dst[Dir * j] = dot(at(moving, j), fixed, length(len, j));
        for (; j + 4 <= count; j += 4) {
            __m128 v = four(moving, fixed, len, j);
            if (Dir < 0) v = _mm_shuffle_ps(v, v, _MM_SHUFFLE(0, 1, 2, 3));
            _mm_store_ps(block_at(j), v);
        }
        for (; j < count; ++j) dst[Dir * j] = dot(at(moving, j), fixed, length(len, j));
    }
};

struct Owned {
    void* p = nullptr;
    ~Owned() { sigFree(p); }
};

void zero(float* dst, int64_t n) {
    if (n > 0) sigZeroBytes(dst, n * 4);
}

// Direct lags from lowLag on, all of them overlapping (see sigCrossCorr32f).
int32_t correlate_direct(const float* src1, int32_t len1, const float* src2, int32_t len2, float* dst,
                         int64_t dstLen, int64_t lowLag) {
    if (len1 <= len2) {
        const int64_t d = len2 - len1, sh = len1;
        if (lowLag < 0) {
            const int64_t n = -lowLag, m = std::min(n, dstLen), t = std::max<int64_t>(n - m, 0);
            sigCorrRamp32f(src1 + 1 + t, src2, static_cast<int32_t>(sh - 1 - t), dst + m - 1,
                           static_cast<int32_t>(m));
            dst += m;
            dstLen -= m;
            if (dstLen == 0) return SIG_OK;
            lowLag = t;
        }
        if (lowLag < d) {
            const int64_t m = std::min(d - lowLag, dstLen);
            sigCorrFullForward32f(src2 + lowLag, src1, len1, dst, static_cast<int32_t>(m));
            dst += m;
            dstLen -= m;
            if (dstLen == 0) return SIG_OK;
            lowLag = 0;
        } else {
            lowLag -= d;
        }
        sigCorrTail32f(src2 + d + lowLag, src1, static_cast<int32_t>(sh - lowLag), dst,
                       static_cast<int32_t>(std::min(sh - lowLag, dstLen)));
        return SIG_OK;
    }
    const int64_t d = len1 - len2, sh = len2;
    if (lowLag < 0) {
        int64_t n = -lowLag;
        if (n > d) {
            const int64_t t = n - d, m = std::min(t, dstLen), t2 = std::max<int64_t>(t - m, 0);
            sigCorrRamp32f(src1 + d + 1 + t2, src2, static_cast<int32_t>(sh - 1 - t2), dst + m - 1,
                           static_cast<int32_t>(m));
            dst += m;
            dstLen -= m;
            n -= m;
            if (dstLen == 0) return SIG_OK;
        }
        const int64_t e = std::min(n, d), m = std::min(e, dstLen);
        sigCorrFullBack32f(src1 + e, src2, len2, dst, static_cast<int32_t>(m));
        dst += m;
        dstLen -= m;
        if (dstLen == 0) return SIG_OK;
        lowLag = n - m;
    }
    sigCorrTail32f(src2 + lowLag, src1, static_cast<int32_t>(sh - lowLag), dst,
                   static_cast<int32_t>(std::min(sh - lowLag, dstLen)));
    return SIG_OK;
}

// The lags of a request that overlap: `before` leading lags below
// 1 - len1 and the lags from len2 on are zeros; `count` lags from `low`
// (index `first` of the full correlation) remain.  They go to the FFT when
// their number, weighted by how much of the full overlap they can reach,
// exceeds 383 (weighed in single precision).
struct LiveLags {
    int64_t before, count, low, first;
    bool fft;
};
LiveLags live_lags(int32_t len1, int32_t len2, int32_t dstLen, int32_t lowLag32) {
    int64_t low = lowLag32, count = dstLen, before = 0;
    if (low < 1 - int64_t{len1}) {
        before = std::min(1 - int64_t{len1} - low, count);
        count -= before;
        low = 1 - int64_t{len1};
    }
    const int64_t first = std::max<int64_t>(low + len1 - 1, 0);
    count = std::min(count, std::max<int64_t>(len2 - low, 0));
    const int32_t sh = std::min(len1, len2), lg = std::max(len1, len2);
    const float weighted = static_cast<float>(count) * static_cast<float>(sh) / static_cast<float>(lg);
    return {before, count, low, first, count > 0 && static_cast<int64_t>(weighted) > kCorrDirectMax};
}

}  // namespace

void sigCorrRamp32f(const float* moving, const float* fixed, int32_t len, float* dst, int32_t count) {
    Kernel<1, true, -1>::run(moving, fixed, len, dst, count);
}
void sigCorrFullForward32f(const float* moving, const float* fixed, int32_t len, float* dst, int32_t count) {
    Kernel<1, false, 1>::run(moving, fixed, len, dst, count);
}
void sigCorrFullBack32f(const float* moving, const float* fixed, int32_t len, float* dst, int32_t count) {
    Kernel<-1, false, 1>::run(moving, fixed, len, dst, count);
}
void sigCorrTail32f(const float* moving, const float* fixed, int32_t len, float* dst, int32_t count) {
    Kernel<1, true, 1>::run(moving, fixed, len, dst, count);
}

int32_t sigCorrFft32f(const float* src1, int32_t len1, const float* src2, int32_t len2, float* dst,
                      int32_t dstLen, int32_t first, sigConvWorkspace* ws) {
    const int64_t full = int64_t{len1} + len2 - 1;
    int32_t order = 1;
    while ((int64_t{1} << order) < full) ++order;
    const int64_t n = int64_t{1} << order;
    sigFftPlan* own_plan = nullptr;
    Owned own_work, own_buffers;
    const sigFftPlan* plan = nullptr;
    float* a = nullptr;
    float* b = nullptr;
    void* work = nullptr;
    if (ws) {
        if (const int32_t st = sigConvWorkspaceBuffers(ws, order, SIG_SCALE_INVERSE, &a, &b, &work); st != SIG_OK)
            return st;
        plan = ws->plan;
    } else {
        if (const int32_t st = sigFftPlanInit(&own_plan, order, SIG_SCALE_INVERSE, 0); st != SIG_OK) return st;
        int32_t work_bytes = 0;
        sigFftWorkSize(own_plan, &work_bytes);
        // A missing work block is not an error: the transforms then
        // allocate their own.
        own_work.p = sigAllocBytes(work_bytes);
        own_buffers.p = sigAlloc32f(2 * n);
        if (!own_buffers.p) {
            sigFftPlanFree(own_plan);
            return SIG_ERR_MEMORY;
        }
        plan = own_plan;
        a = static_cast<float*>(own_buffers.p);
        b = a + n;
        work = own_work.p;
    }
    // Index m of the result holds lag m - (len1 - 1): the second signal
    // starts len1 - 1 places on.
    sigCopy32f(src1, a, len1);
    zero(a + len1, n - len1);
    zero(b, len1 - 1);
    sigCopy32f(src2, b + len1 - 1, len2);
    zero(b + full, n - full);
    int32_t st = sigFftForwardOrdered(a, a, plan, work);
    if (st == SIG_OK) st = sigFftForwardOrdered(b, b, plan, work);
    if (st == SIG_OK) {
        sigMulConjSpectrumOrdered(b, a, static_cast<int32_t>(n));
        st = sigFftInverseOrdered(a, b, plan, work);
    }
    if (st == SIG_OK) sigCopy32f(b + first, dst, dstLen);
    if (own_plan) sigFftPlanFree(own_plan);
    return st;
}

int32_t sigCrossCorr32f(const float* src1, int32_t len1, const float* src2, int32_t len2, float* dst,
                        int32_t dstLen, int32_t lowLag) {
    return sigCrossCorr32fWith(src1, len1, src2, len2, dst, dstLen, lowLag, nullptr);
}

bool sigCrossCorrUsesFft(int32_t len1, int32_t len2, int32_t dstLen, int32_t lowLag) {
    if (len1 < 1 || len2 < 1 || dstLen < 1) return false;
    return live_lags(len1, len2, dstLen, lowLag).fft;
}

int32_t sigCrossCorr32fWith(const float* src1, int32_t len1, const float* src2, int32_t len2, float* dst,
                            int32_t dstLen, int32_t lowLag, sigConvWorkspace* ws) {
    if (!src1 || !src2 || !dst) return SIG_ERR_NULL;
    if (len1 < 1 || len2 < 1 || dstLen < 1) return SIG_ERR_SIZE;
    const LiveLags r = live_lags(len1, len2, dstLen, lowLag);
    // Lags below 1 - len1 and from len2 on have no overlap.
    zero(dst, r.before);
    zero(dst + r.before + r.count, int64_t{dstLen} - r.before - r.count);
    if (r.count == 0) return SIG_OK;
    dst += r.before;
    if (r.fft)
        return sigCorrFft32f(src1, len1, src2, len2, dst, static_cast<int32_t>(r.count),
                             static_cast<int32_t>(r.first), ws);
    return correlate_direct(src1, len1, src2, len2, dst, r.count, r.low);
}

}  // namespace xeb::sig
