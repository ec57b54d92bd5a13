// What the FFT kernels of one dimension share with white-box tests.
#pragma once

#include <cstddef>

#include "convcorr/direct.h"
#include "convcorr/task.h"

namespace xeb::convcorr {

// The allocator of the kernels' gather and output buffers (std::malloc;
// buffers are released with std::free).  Tests replace it to count
// allocations and to make them fail.
extern void* (*fft_kernel_malloc)(std::size_t bytes);

// rukConvSSFft1D_nodec and rukCorrSSFft1D_nodec run for a task: the same
// checks, statuses and results, with the engine's transform state kept on
// the task between runs (its private data, released by rukDeleteTask; a
// copy of the task starts without it).  A task whose private data belongs
// to someone else, or a failed allocation of the state, runs as the plain
// kernel does.
int32_t conv_fft_for_task(RukTask& task, const float* x, int32_t xs, const float* y, int32_t ys, float* z,
                          int32_t zs, int32_t nx, int32_t ny, int32_t start, int32_t nz);
int32_t corr_fft_for_task(RukTask& task, const float* x, int32_t xs, const float* y, int32_t ys, float* z,
                          int32_t zs, int32_t nx, int32_t ny, int32_t start, int32_t nz);

}  // namespace xeb::convcorr
