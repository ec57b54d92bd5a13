// Plain vector loops of direct convolution, the peers of bench_direct:
// compiled for AVX-512 (bench/direct_loops.cpp), called after a processor
// check.  Same summation order as the task's kernels: every output of the
// full result, its terms by ascending x index (the y index descending),
// one accumulator per output, products rounded before the add; x read from
// a zero-padded copy so that every output runs the whole filter (the zero
// terms change no finite sum); four vectors of outputs side by side.
#pragma once

#include <cstdint>
#include <vector>

namespace xbench {

// x (nx0 by nx1, dense) inside a zero frame of k - 1 on every side, rows
// padded to a whole number of blocks of outputs.
template <class T>
struct Padded {
    int64_t width, height;
    std::vector<T> data;
    Padded(const std::vector<T>& x, int64_t nx0, int64_t nx1, int64_t k, int64_t block)
        : width(((nx0 + k - 1 + block - 1) / block) * block + k - 1), height(nx1 + 2 * (k - 1)),
          data(static_cast<std::size_t>(width * height), T(0)) {
        for (int64_t r = 0; r < nx1; ++r)
            for (int64_t c = 0; c < nx0; ++c)
                data[static_cast<std::size_t>((r + k - 1) * width + c + k - 1)] =
                    x[static_cast<std::size_t>(r * nx0 + c)];
    }
};

// Full 2-D convolution by the k x k filter y, rows of z of the padded width
// (AVX-512, 8 doubles or 16 floats per vector).
void avx512_2d(const Padded<double>& xp, const double* y, int64_t k, int64_t nz0, int64_t nz1, double* z);
void avx512_2d(const Padded<float>& xp, const float* y, int64_t k, int64_t nz0, int64_t nz1, float* z);

// Full 1-D convolution by y of ny taps from x padded by ny - 1 zeros in
// front: z[k] = sum_i y[i] x[k-i], 4 floats per vector (SSE) or 8 (AVX);
// writes up to 32 outputs past nz.
void sse_1d(const float* xp, const float* y, int64_t ny, int64_t nz, float* z);
void avx_1d(const float* xp, const float* y, int64_t ny, int64_t nz, float* z);

}  // namespace xbench
