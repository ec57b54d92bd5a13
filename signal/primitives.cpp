// Aligned allocation, zeroing and copying.  Large fills and copies use
// non-temporal stores so that streaming a big buffer does not evict the
// data the next step reads; smaller ones stay in the cache.  The paths give
// identical results; only the cache traffic differs.
#include "signal/primitives.h"

#include <emmintrin.h>
#include <xmmintrin.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace xeb::sig {
namespace {

std::atomic<int32_t> g_fail_after{-1};
std::atomic<int32_t> g_alloc_count{0};

constexpr std::uintptr_t kAlignMask = 31;
// 31 bytes of alignment slack and the pointer-sized word below the block
// (4 bytes on a 32-bit build, 8 here).
constexpr int64_t kAllocPad = 32 + static_cast<int64_t>(sizeof(void*));
constexpr std::size_t kPage = 4096;

bool injected_failure() {
    const int32_t made = g_alloc_count.fetch_add(1, std::memory_order_relaxed);
    const int32_t limit = g_fail_after.load(std::memory_order_relaxed);
    return limit >= 0 && made >= limit;
}

// Non-temporal store of `bytes` bytes (a multiple of 16) at a 16-byte
// aligned destination.
void stream_store_zero(char* d, std::size_t bytes) {
    const __m128i z = _mm_setzero_si128();
    for (std::size_t i = 0; i < bytes; i += 16)
        _mm_stream_si128(reinterpret_cast<__m128i*>(d + i), z);
}

void zero_stream(char* d, std::size_t bytes) {
    const std::size_t head = (16 - (reinterpret_cast<std::uintptr_t>(d) & 15)) & 15;
    if (bytes < head + 16) {
        std::memset(d, 0, bytes);
        return;
    }
    std::memset(d, 0, head);
    const std::size_t body = (bytes - head) & ~std::size_t{15};
    stream_store_zero(d + head, body);
    std::memset(d + head + body, 0, bytes - head - body);
    _mm_sfence();
}

void stream_copy_aligned_dst(const char* s, char* d, std::size_t bytes) {
    std::size_t i = 0;
    for (; i + 64 <= bytes; i += 64) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i + 16));
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i + 32));
        const __m128i e = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i + 48));
        _mm_stream_si128(reinterpret_cast<__m128i*>(d + i), a);
        _mm_stream_si128(reinterpret_cast<__m128i*>(d + i + 16), b);
        _mm_stream_si128(reinterpret_cast<__m128i*>(d + i + 32), c);
        _mm_stream_si128(reinterpret_cast<__m128i*>(d + i + 48), e);
    }
    std::memcpy(d + i, s + i, bytes - i);
}

// Streaming copy: align the destination to 16 bytes, then 64 bytes a pass.
void copy_stream(const char* s, char* d, std::size_t bytes) {
    const std::size_t head = (16 - (reinterpret_cast<std::uintptr_t>(d) & 15)) & 15;
    if (bytes < head + 64) {
        std::memcpy(d, s, bytes);
        return;
    }
    std::memcpy(d, s, head);
    stream_copy_aligned_dst(s + head, d + head, bytes - head);
    _mm_sfence();
}

// Page-wise streaming: each source page is touched with prefetchnta before
// it is copied, which hides the miss latency without filling the cache.
void copy_paged(const char* s, char* d, std::size_t bytes) {
    if (bytes < static_cast<std::size_t>(kCopyPagedMinBytes)) {
        copy_stream(s, d, bytes);
        return;
    }
    std::size_t lead = (kPage - (reinterpret_cast<std::uintptr_t>(s) & (kPage - 1))) & (kPage - 1);
    copy_stream(s, d, lead);
    std::size_t done = lead;
    for (; done + kPage <= bytes; done += kPage) {
        for (std::size_t line = 0; line < kPage; line += 32)
            _mm_prefetch(s + done + line, _MM_HINT_NTA);
        copy_stream(s + done, d + done, kPage);
    }
    copy_stream(s + done, d + done, bytes - done);
}

}  // namespace

void sigFailAllocationsAfter(int32_t after) {
    g_alloc_count.store(0, std::memory_order_relaxed);
    g_fail_after.store(after, std::memory_order_relaxed);
}

int32_t sigAllocationCount() { return g_alloc_count.load(std::memory_order_relaxed); }

void* sigAllocBytes(int64_t bytes) {
    if (bytes < 1) return nullptr;
    if (injected_failure()) return nullptr;
    void* raw = std::malloc(static_cast<std::size_t>(bytes + kAllocPad));
    if (!raw) return nullptr;
    // Step over one pointer word and round up to 32: the raw address is
    // kept in the word right below the aligned pointer.
    const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(raw) + sizeof(void*);
    const std::uintptr_t aligned = (base + kAlignMask) & ~kAlignMask;
    reinterpret_cast<void**>(aligned)[-1] = raw;
    return reinterpret_cast<void*>(aligned);
}

float* sigAlloc32f(int64_t count) {
    if (count < 1) return nullptr;
    return static_cast<float*>(sigAllocBytes(count * static_cast<int64_t>(sizeof(float))));
}

void sigFree(void* p) {
    if (!p) return;
    std::free(static_cast<void**>(p)[-1]);
}

int32_t sigZeroBytes(void* dst, int64_t bytes) {
    if (!dst) return SIG_ERR_NULL;
    if (bytes < 1) return SIG_ERR_SIZE;
    if (bytes < kZeroStreamBytes)
        std::memset(dst, 0, static_cast<std::size_t>(bytes));
    else
        zero_stream(static_cast<char*>(dst), static_cast<std::size_t>(bytes));
    return SIG_OK;
}

int32_t sigZero32f(float* dst, int32_t count) {
    if (!dst) return SIG_ERR_NULL;
    if (count < 1) return SIG_ERR_SIZE;
    return sigZeroBytes(dst, static_cast<int64_t>(count) * 4);
}

int32_t sigCopy32fLong(const float* src, float* dst, int64_t count) {
    if (!src || !dst) return SIG_ERR_NULL;
    if (count < 1) return SIG_ERR_SIZE;
    const auto bytes = static_cast<std::size_t>(count) * sizeof(float);
    const char* s = reinterpret_cast<const char*>(src);
    char* d = reinterpret_cast<char*>(dst);
    if (count < kCopySmallFloats)
        std::memcpy(d, s, bytes);
    else if (count < kCopyPagedFloats)
        copy_stream(s, d, bytes);
    else
        copy_paged(s, d, bytes);
    return SIG_OK;
}

int32_t sigCopy32f(const float* src, float* dst, int32_t count) {
    return sigCopy32fLong(src, dst, count);
}

}  // namespace xeb::sig
