// Bottom of the signal layer: aligned allocation, zeroing and copying of
// float arrays, each choosing its memory path by size.  Internal; nothing
// here is exported from the shared library.
#pragma once

#include <cstdint>

namespace xeb::sig {

// Statuses shared by the whole signal layer.
constexpr int32_t SIG_OK = 0;
constexpr int32_t SIG_ERR_SIZE = -6;
constexpr int32_t SIG_ERR_NULL = -8;
constexpr int32_t SIG_ERR_MEMORY = -9;
constexpr int32_t SIG_ERR_ORDER = -15;
constexpr int32_t SIG_ERR_FLAG = -16;
constexpr int32_t SIG_ERR_PLAN = -17;

// Size classes.  From these sizes on, a fill or copy would evict what the
// next step needs, so it streams past the cache.
constexpr int32_t kZeroStreamFloats = 5120;     // 20480 bytes
constexpr int64_t kZeroStreamBytes = 20480;
constexpr int32_t kCopySmallFloats = 2048;      // below: cached 16-byte path
constexpr int32_t kCopyPagedFloats = 4096;      // from here: page-wise streaming
constexpr int64_t kCopyPagedMinBytes = 20480;

// 32-byte aligned blocks; the address malloc returned sits in the word
// below the aligned pointer.  A count below 1 gives null without a call of
// malloc.  Free only with sigFree.
void* sigAllocBytes(int64_t bytes);
float* sigAlloc32f(int64_t count);
void sigFree(void* p);

int32_t sigZero32f(float* dst, int32_t count);
int32_t sigZeroBytes(void* dst, int64_t bytes);
int32_t sigCopy32f(const float* src, float* dst, int32_t count);
// The same copy for counts beyond 32 bits (large transforms).
int32_t sigCopy32fLong(const float* src, float* dst, int64_t count);

// Allocation failure injection for white-box tests: the next `after`
// allocations succeed, every later one fails, until reset with -1.
void sigFailAllocationsAfter(int32_t after);
// Number of allocations made since the last sigFailAllocationsAfter call.
int32_t sigAllocationCount();

}  // namespace xeb::sig
