// What the FFT kernels of one dimension share with white-box tests.
#pragma once

#include <cstddef>

#include "convcorr/direct.h"

namespace xeb::convcorr {

// The allocator of the kernels' gather and output buffers (std::malloc;
// buffers are released with std::free).  Tests replace it to count
// allocations and to make them fail.
extern void* (*fft_kernel_malloc)(std::size_t bytes);

}  // namespace xeb::convcorr
