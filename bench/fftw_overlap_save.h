// Linear convolution on FFTW (single precision) by overlap-save with the
// block length the engine uses for a long signal and a short filter: N = 2M,
// M the smallest power of two not below twice the filter.  Plans and the
// filter spectrum are made at construction, outside any timed loop.
#pragma once

#include <fftw3.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace xbench {

class FftwOverlapSave {
public:
    FftwOverlapSave(const std::vector<float>& h, int64_t signal_length)
        : nx_(signal_length), nh_(static_cast<int64_t>(h.size())) {
        int order = 0;
        while ((int64_t{1} << order) < 2 * nh_) ++order;
        n_ = int64_t{2} << order;
        buf_ = fftwf_alloc_real(static_cast<std::size_t>(n_));
        freq_ = fftwf_alloc_complex(static_cast<std::size_t>(n_ / 2 + 1));
        filt_ = fftwf_alloc_complex(static_cast<std::size_t>(n_ / 2 + 1));
        fwd_ = fftwf_plan_dft_r2c_1d(static_cast<int>(n_), buf_, freq_, FFTW_MEASURE);
        inv_ = fftwf_plan_dft_c2r_1d(static_cast<int>(n_), freq_, buf_, FFTW_MEASURE);
        std::fill(buf_, buf_ + n_, 0.0f);
        std::copy(h.begin(), h.end(), buf_);
        fftwf_execute(fwd_);
        std::memcpy(filt_, freq_, sizeof(fftwf_complex) * static_cast<std::size_t>(n_ / 2 + 1));
    }
    ~FftwOverlapSave() {
        fftwf_destroy_plan(fwd_);
        fftwf_destroy_plan(inv_);
        fftwf_free(buf_);
        fftwf_free(freq_);
        fftwf_free(filt_);
    }
    FftwOverlapSave(const FftwOverlapSave&) = delete;
    FftwOverlapSave& operator=(const FftwOverlapSave&) = delete;

    // y receives nx + nh - 1 values.
    void run(const float* x, float* y) {
        const int64_t step = n_ - nh_ + 1, out = nx_ + nh_ - 1;
        const float scale = 1.0f / static_cast<float>(n_);
        for (int64_t p = 0; p < out; p += step) {
            const int64_t overlap = p > 0 ? nh_ - 1 : 0;
            const int64_t count = std::min(std::min(nx_ - p + overlap, nx_), overlap + step);
            std::copy(x + (p - overlap), x + (p - overlap + count), buf_);
            std::fill(buf_ + count, buf_ + n_, 0.0f);
            fftwf_execute(fwd_);
            for (int64_t k = 0; k <= n_ / 2; ++k) {
                const float re = freq_[k][0] * filt_[k][0] - freq_[k][1] * filt_[k][1];
                const float im = freq_[k][0] * filt_[k][1] + freq_[k][1] * filt_[k][0];
                freq_[k][0] = re * scale;
                freq_[k][1] = im * scale;
            }
            fftwf_execute(inv_);
            const int64_t take = std::min(out - p, step);
            std::copy(buf_ + overlap, buf_ + overlap + take, y + p);
        }
    }

private:
    int64_t nx_, nh_, n_ = 0;
    float* buf_ = nullptr;
    fftwf_complex* freq_ = nullptr;
    fftwf_complex* filt_ = nullptr;
    fftwf_plan fwd_, inv_;
};

}  // namespace xbench
