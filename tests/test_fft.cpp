// Real FFT plans and transforms against a long double reference.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "signal/fft_core.h"
#include "signal/fft_plan.h"
#include "support/scale.h"
#include "support/kernel_class.h"
#include "support/signals.h"

namespace {

using namespace xeb::sig;
using cld = std::complex<long double>;

constexpr long double kPi = 3.141592653589793238462643383279502884L;

// Reference spectrum X[0..N/2] of real x: an iterative radix-2 transform
// in long double.
std::vector<cld> reference_spectrum(const std::vector<float>& x) {
    const std::size_t n = x.size();
    std::vector<cld> a(n), w(n / 2);
    int bits = 0;
    while ((std::size_t{1} << bits) < n) ++bits;
    for (std::size_t i = 0; i < n; ++i) {
        std::size_t r = 0;
        for (int b = 0; b < bits; ++b) r |= ((i >> b) & 1) << (bits - 1 - b);
        a[r] = x[i];
    }
    for (std::size_t j = 0; j < n / 2; ++j) w[j] = std::polar(1.0L, -2 * kPi * static_cast<long double>(j) / n);
    for (std::size_t len = 2; len <= n; len *= 2) {
        const std::size_t step = n / len;
        for (std::size_t base = 0; base < n; base += len)
            for (std::size_t j = 0; j < len / 2; ++j) {
                const cld u = a[base + j], v = a[base + j + len / 2] * w[j * step];
                a[base + j] = u + v;
                a[base + j + len / 2] = u - v;
            }
    }
    a.resize(n / 2 + 1);
    return a;
}

// The reference in one of the two packed layouts.
std::vector<long double> packed(const std::vector<cld>& X, std::size_t n, bool ordered) {
    std::vector<long double> p(n);
    p[0] = X[0].real();
    if (n == 1) return p;
    std::size_t at = 1;
    if (!ordered) p[at++] = X[n / 2].real();
    for (std::size_t k = 1; k < n / 2; ++k) {
        p[at++] = X[k].real();
        p[at++] = X[k].imag();
    }
    if (ordered) p[at++] = X[n / 2].real();
    return p;
}

struct PlanGuard {
    sigFftPlan* p = nullptr;
    PlanGuard(int order, int flag) { EXPECT_EQ(sigFftPlanInit(&p, order, flag, 0), SIG_OK); }
    ~PlanGuard() {
        if (p) sigFftPlanFree(p);
    }
};

// A float buffer at a chosen offset in floats from a 32-byte boundary.
struct Buffer {
    float* base;
    float* data;
    Buffer(std::size_t n, int offset) : base(sigAlloc32f(static_cast<int64_t>(n) + 8)), data(base + offset) {}
    ~Buffer() { sigFree(base); }
};

struct Error {
    double rms, max;
};

Error spectrum_error(const float* y, const std::vector<long double>& ref) {
    long double peak = 0, sq = 0, worst = 0;
    for (std::size_t i = 0; i < ref.size(); ++i) peak = std::max(peak, fabsl(ref[i]));
    for (std::size_t i = 0; i < ref.size(); ++i) {
        const long double e = fabsl(y[i] - ref[i]);
        sq += e * e;
        worst = std::max(worst, e);
    }
    const long double rms = sqrtl(sq / ref.size());
    return {static_cast<double>(rms / peak), static_cast<double>(worst / peak)};
}

// ---- plans --------------------------------------------------------------

TEST(FftPlan, Statuses) {
    sigFftPlan* p = nullptr;
    sigFailAllocationsAfter(-1);
    EXPECT_EQ(sigFftPlanInit(&p, 31, SIG_SCALE_NONE, 0), SIG_ERR_ORDER);
    EXPECT_EQ(sigFftPlanInit(&p, -1, SIG_SCALE_NONE, 0), SIG_ERR_ORDER);
    EXPECT_EQ(sigAllocationCount(), 0);  // nothing allocated
    EXPECT_EQ(sigFftPlanInit(nullptr, 5, SIG_SCALE_NONE, 0), SIG_ERR_NULL);
    EXPECT_EQ(sigFftPlanInit(&p, 5, 3, 0), SIG_ERR_FLAG);  // the record is released (leak check)
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(sigFftPlanFree(nullptr), SIG_ERR_NULL);

    ASSERT_EQ(sigFftPlanInit(&p, 3, SIG_SCALE_NONE, 7), SIG_OK);
    int32_t size = -1;
    EXPECT_EQ(sigFftWorkSize(p, nullptr), SIG_ERR_NULL);
    p->id = 5;
    float x[8] = {};
    EXPECT_EQ(sigFftWorkSize(p, &size), SIG_ERR_PLAN);
    EXPECT_EQ(sigFftForwardEdge(x, x, p, nullptr), SIG_ERR_PLAN);
    EXPECT_EQ(sigFftPlanFree(p), SIG_ERR_PLAN);
    p->id = SIG_PLAN_ID;
    EXPECT_EQ(sigFftForwardEdge(nullptr, x, p, nullptr), SIG_ERR_NULL);
    EXPECT_EQ(sigFftInverseOrdered(x, nullptr, p, nullptr), SIG_ERR_NULL);
    EXPECT_EQ(sigFftForwardEdge(x, x, nullptr, nullptr), SIG_ERR_NULL);
    EXPECT_EQ(sigFftPlanFree(p), SIG_OK);
}

// Every allocation of a build can fail; the build then gives -9 and leaves
// nothing behind (the sanitizer build checks the leaks).
TEST(FftPlan, FailingAllocator) {
    for (int order : {2, 4, 9, 11, 12, 14, 16}) {
        sigFailAllocationsAfter(-1);
        sigFftPlan* p = nullptr;
        ASSERT_EQ(sigFftPlanInit(&p, order, SIG_SCALE_INVERSE, 0), SIG_OK);
        const int32_t needed = sigAllocationCount();
        sigFftPlanFree(p);
        for (int32_t after = 0; after < needed; ++after) {
            sigFailAllocationsAfter(after);
            p = nullptr;
            EXPECT_EQ(sigFftPlanInit(&p, order, SIG_SCALE_INVERSE, 0), SIG_ERR_MEMORY) << order << " " << after;
            EXPECT_EQ(p, nullptr);
        }
        sigFailAllocationsAfter(-1);
    }
    // A transform without caller's work allocates its own, and reports -9
    // when it cannot.
    PlanGuard g(12, SIG_SCALE_NONE);
    std::vector<float> x(4096, 1.0f);
    sigFailAllocationsAfter(0);
    EXPECT_EQ(sigFftForwardEdge(x.data(), x.data(), g.p, nullptr), SIG_ERR_MEMORY);
    EXPECT_EQ(sigFftInverseOrdered(x.data(), x.data(), g.p, nullptr), SIG_ERR_MEMORY);
    sigFailAllocationsAfter(-1);
}

// ---- transforms -------------------------------------------------------------

// Forward transforms of every order to 20 in both layouts against the
// reference: rms error below 1e-6 and largest below 1e-5 of max|X|.
TEST(FftTransform, ForwardAgainstReference) {
    const int top = xt::test_scale() < 1 ? 16 : 20;
    for (int order = 0; order <= top; ++order) {
        const std::size_t n = std::size_t{1} << order;
        const auto x = xt::uniform_signal(n, 100 + order);
        const auto X = reference_spectrum(x);
        PlanGuard g(order, SIG_SCALE_NONE);
        std::vector<float> y(n);
        for (bool ordered : {false, true}) {
            const auto ref = packed(X, n, ordered);
            const int32_t st = ordered ? sigFftForwardOrdered(x.data(), y.data(), g.p, nullptr)
                                       : sigFftForwardEdge(x.data(), y.data(), g.p, nullptr);
            ASSERT_EQ(st, SIG_OK);
            const Error e = spectrum_error(y.data(), ref);
            EXPECT_LT(e.rms, 1e-6) << "order " << order << " ordered " << ordered;
            EXPECT_LT(e.max, 1e-5) << "order " << order << " ordered " << ordered;
        }
        // The inverse without scale of the exact spectrum gives N x.
        const auto ref = packed(X, n, false);
        std::vector<float> freq(ref.begin(), ref.end()), back(n);
        ASSERT_EQ(sigFftInverseEdge(freq.data(), back.data(), g.p, nullptr), SIG_OK);
        long double worst = 0;
        for (std::size_t i = 0; i < n; ++i) worst = std::max(worst, fabsl(back[i] - (long double)n * x[i]));
        EXPECT_LT(worst / n, 1e-5L) << "inverse order " << order;
    }
}

// Forward then inverse with flag 2 gives the input back, in place and out of
// place, both layouts, aligned and at 4 mod 16, with and without caller's
// work; unaligned data and the in-place forward (reversed copy first) give
// the same bits as aligned data out of place (reversal in the leaves' reads
// from 2^14 on).  Large orders (one and two blocking levels over the
// halving leaf) are checked below.
TEST(FftTransform, RoundTrip) {
    const int top = xt::test_scale() < 1 ? 16 : 20;
    for (int order = 0; order <= top; ++order) {
        const std::size_t n = std::size_t{1} << order;
        const auto x = xt::uniform_signal(n, 300 + order);
        PlanGuard g(order, SIG_SCALE_INVERSE);
        int32_t wsize = 0;
        ASSERT_EQ(sigFftWorkSize(g.p, &wsize), SIG_OK);
        std::vector<char> work(static_cast<std::size_t>(wsize) + 4);
        std::vector<float> aligned_freq;
        // Larger orders: only the combinations that differ in their path.
        const bool small = order <= 14;
        for (int offset : {0, 1}) {
            for (bool in_place : {false, true}) {
                for (bool ordered : {false, true}) {
                    if (!small && offset == 1 && (ordered || !in_place)) continue;
                    Buffer a(n, offset), b(n, offset);
                    std::memcpy(a.data, x.data(), n * 4);
                    float* freq = in_place ? a.data : b.data;
                    void* w = in_place ? nullptr : work.data() + 4;  // caller's work, misaligned
                    auto fwd = ordered ? sigFftForwardOrdered : sigFftForwardEdge;
                    auto inv = ordered ? sigFftInverseOrdered : sigFftInverseEdge;
                    ASSERT_EQ(fwd(a.data, freq, g.p, w), SIG_OK);
                    if (!ordered) {
                        if (offset == 0 && !in_place)
                            aligned_freq.assign(freq, freq + n);
                        else
                            ASSERT_EQ(std::memcmp(aligned_freq.data(), freq, n * 4), 0) << "order " << order;
                    }
                    ASSERT_EQ(inv(freq, freq, g.p, w), SIG_OK);
                    double worst = 0;
                    for (std::size_t i = 0; i < n; ++i) worst = std::max(worst, std::fabs(double(freq[i]) - x[i]));
                    EXPECT_LT(worst, 0x1p-24 * 4 * (order + 1))
                        << "order " << order << " offset " << offset << " in place " << in_place << " ordered "
                        << ordered;
                }
            }
        }
    }
}

// From 2^14 values the forward transform out of place reads natural order
// and reverses in filling its rows, in place it reverses first: the same
// bits for every scaling, with source and destination at any float offset
// (rows through work when unaligned), where the source is read in order
// and where by jumps.
TEST(FftTransform, OutOfPlaceReadsAsInPlace) {
    const int top = xt::test_scale() < 1 ? 18 : 20;
    for (int order = 14; order <= top; ++order) {
        const std::size_t n = std::size_t{1} << order;
        const auto x = xt::uniform_signal(n, 900 + order);
        for (int flag : {SIG_SCALE_NONE, SIG_SCALE_FORWARD, SIG_SCALE_BOTH_ROOT}) {
            PlanGuard g(order, flag);
            Buffer in_place(n, 0);
            std::memcpy(in_place.data, x.data(), n * 4);
            ASSERT_EQ(sigFftForwardEdge(in_place.data, in_place.data, g.p, nullptr), SIG_OK);
            const std::pair<int, int> offsets[] = {{0, 0}, {0, 1}, {1, 2}, {3, 0}};
            for (const auto& [src_offset, dst_offset] : offsets) {
                Buffer src(n, src_offset), dst(n, dst_offset);
                std::memcpy(src.data, x.data(), n * 4);
                ASSERT_EQ(sigFftForwardEdge(src.data, dst.data, g.p, nullptr), SIG_OK);
                EXPECT_EQ(std::memcmp(dst.data, in_place.data, n * 4), 0)
                    << "order " << order << " flag " << flag << " offsets " << src_offset << ", " << dst_offset;
                EXPECT_EQ(std::memcmp(src.data, x.data(), n * 4), 0) << "order " << order << " source kept";
            }
        }
    }
}

// The largest orders (one level over a halving leaf, and two levels; at
// least the tiled reversal), sized by the test scale: sampled bins against
// a direct long double sum, then the round trip.
TEST(FftTransform, LargeOrders) {
    int top = 0;
    while ((std::size_t{2} << top) <= xt::scaled(std::size_t{1} << 24, std::size_t{1} << 18)) ++top;
    for (int order = top - 1; order <= top; ++order) {
        const std::size_t n = std::size_t{1} << order;
        const auto x = xt::uniform_signal(n, 7 + order);
        PlanGuard g(order, SIG_SCALE_FORWARD);
        std::vector<float> y(n);
        ASSERT_EQ(sigFftForwardOrdered(x.data(), y.data(), g.p, nullptr), SIG_OK);
        // Scale of the bound: the largest |X|/N, from the transform itself.
        float peak = 0;
        for (float v : y) peak = std::max(peak, std::fabs(v));
        std::mt19937 gen(order);
        const std::size_t bins[] = {0, 1, 2, n / 4, n / 2 - 1, gen() % (n / 2), gen() % (n / 2), gen() % (n / 2)};
        for (std::size_t k : bins) {
            // A rotating phasor, set exactly every 256 terms.
            const long double step = -2 * kPi * static_cast<long double>(k) / n;
            const cld w(cosl(step), sinl(step));
            cld s = 0, phase;
            for (std::size_t m = 0; m < n; ++m) {
                if (m % 256 == 0) {
                    const long double t = -2 * kPi * static_cast<long double>((k * m) % n) / n;
                    phase = cld(cosl(t), sinl(t));
                }
                s += static_cast<long double>(x[m]) * phase;
                phase *= w;
            }
            s /= static_cast<long double>(n);
            const float re = y[k == 0 ? 0 : 2 * k - 1], im = k == 0 ? 0.0f : y[2 * k];
            EXPECT_LT(fabsl(re - s.real()), 1e-5L * peak) << order << " bin " << k;
            EXPECT_LT(fabsl(im - s.imag()), 1e-5L * peak) << order << " bin " << k;
        }
        // The forward took the 1/N: the unscaled inverse gives x back.
        ASSERT_EQ(sigFftInverseOrdered(y.data(), y.data(), g.p, nullptr), SIG_OK);
        double worst = 0;
        for (std::size_t i = 0; i < n; ++i) worst = std::max(worst, std::fabs(double(y[i]) - x[i]));
        EXPECT_LT(worst, 0x1p-24 * 4 * (order + 1)) << "round trip order " << order;
    }
}

TEST(FftTransform, ScalingAndSpecialInputs) {
    for (int order : {0, 1, 2, 3, 4, 5, 11, 12, 13, 14}) {
        const std::size_t n = std::size_t{1} << order;
        PlanGuard g(order, SIG_SCALE_NONE);
        // Flag 4 scales both directions by 1/sqrt(N); flag 1 the forward by 1/N.
        const auto x = xt::uniform_signal(n, 50 + order);
        PlanGuard root(order, SIG_SCALE_BOTH_ROOT), fwd(order, SIG_SCALE_FORWARD);
        std::vector<float> a(n), b(n), c(n);
        sigFftForwardEdge(x.data(), a.data(), g.p, nullptr);
        sigFftForwardEdge(x.data(), b.data(), root.p, nullptr);
        sigFftForwardEdge(x.data(), c.data(), fwd.p, nullptr);
        const double r = 1 / std::sqrt(double(n));
        for (std::size_t i = 0; i < n; ++i) {
            ASSERT_NEAR(b[i], a[i] * r, 1e-6 * std::sqrt(double(n))) << order;
            ASSERT_NEAR(c[i], a[i] / double(n), 1e-6) << order;
        }
        sigFftInverseEdge(b.data(), b.data(), root.p, nullptr);
        for (std::size_t i = 0; i < n; ++i) ASSERT_NEAR(b[i], x[i], 1e-5) << order;
        // Out of place, both directions and layouts leave the source alone.
        std::vector<float> src = x, freq(n), back(n);
        sigFftForwardOrdered(src.data(), freq.data(), root.p, nullptr);
        EXPECT_EQ(std::memcmp(src.data(), x.data(), n * 4), 0) << order;
        const std::vector<float> kept = freq;
        sigFftInverseOrdered(freq.data(), back.data(), root.p, nullptr);
        EXPECT_EQ(std::memcmp(freq.data(), kept.data(), n * 4), 0) << order;
        for (std::size_t i = 0; i < n; ++i) ASSERT_NEAR(back[i], x[i], 1e-5) << order;
    }
}

// A plan is read-only: threads share it, each with its own work, and get
// the results of a lone caller.
TEST(FftTransform, SharedPlanAcrossThreads) {
    for (int order : {10, 16}) {
        const std::size_t n = std::size_t{1} << order;
        PlanGuard g(order, SIG_SCALE_INVERSE);
        const auto x = xt::uniform_signal(n, 9);
        std::vector<float> expect(n);
        sigFftForwardEdge(x.data(), expect.data(), g.p, nullptr);
        std::vector<std::vector<float>> got(4, std::vector<float>(n));
        std::vector<std::thread> threads;
        for (auto& y : got)
            threads.emplace_back([&, out = y.data()] {
                for (int rep = 0; rep < 20; ++rep) sigFftForwardEdge(x.data(), out, g.p, nullptr);
            });
        for (auto& t : threads) t.join();
        for (const auto& y : got) EXPECT_EQ(std::memcmp(y.data(), expect.data(), n * 4), 0) << order;
    }
}

}  // namespace
// ---- kernel classes -----------------------------------------------------------

// Spectrum products round each product before the sum in every class, so
// they give the baseline's bits, whatever the length's tail; the class's
// transforms (fused twiddle products) stay within a few roundings of the
// baseline's, relative to the largest value, at every path (index table,
// one core, halving, blocking levels), and AVX2 and AVX-512 give the same
// bits.
TEST(FftClasses, AgainstBaseline) {
    std::mt19937 gen(17);
    std::uniform_real_distribution<float> u(-4, 4);
    struct Products {
        std::vector<float> edge, conj;
    };
    auto products = [&](int32_t n) {
        std::vector<float> a(n), b(n);
        for (auto& v : a) v = u(gen);
        for (auto& v : b) v = u(gen);
        Products p{b, b};
        EXPECT_EQ(sigMulSpectrumEdge(a.data(), p.edge.data(), n), SIG_OK);
        EXPECT_EQ(sigMulConjSpectrumOrdered(a.data(), p.conj.data(), n), SIG_OK);
        return p;
    };
    const int32_t lengths[] = {1, 2, 3, 9, 20, 24, 34, 35, 101, 4096};
    const int top = xt::test_scale() < 1 ? 16 : 18;
    std::vector<Products> base_products;
    std::vector<std::vector<float>> base_spectra, wide_spectra;
    for (xt::KernelClass c : xt::machine_classes()) {
        xt::ClassInUse in_class(c);
        const bool baseline = c == xt::KernelClass::Baseline;
        gen.seed(17);
        for (std::size_t i = 0; i < std::size(lengths); ++i) {
            const Products p = products(lengths[i]);
            if (baseline) base_products.push_back(p);
            EXPECT_EQ(p.edge, base_products[i].edge) << xeb::frame::class_name(c) << " n " << lengths[i];
            EXPECT_EQ(p.conj, base_products[i].conj) << xeb::frame::class_name(c) << " n " << lengths[i];
        }
        for (int order = 4; order <= top; ++order) {
            const std::size_t n = std::size_t{1} << order;
            const auto x = xt::uniform_signal(n, 500 + order);
            PlanGuard g(order, SIG_SCALE_NONE);
            std::vector<float> y(n), back(n);
            ASSERT_EQ(sigFftForwardEdge(x.data(), y.data(), g.p, nullptr), SIG_OK);
            ASSERT_EQ(sigFftInverseEdge(y.data(), back.data(), g.p, nullptr), SIG_OK);
            y.insert(y.end(), back.begin(), back.end());
            if (baseline) base_spectra.push_back(y);
            // The classes' lanes compute alike: AVX2 and AVX-512 agree.
            else if (wide_spectra.size() < base_spectra.size()) wide_spectra.push_back(y);
            else EXPECT_EQ(y, wide_spectra[order - 4]) << xeb::frame::class_name(c) << " order " << order;
            const auto& b = base_spectra[order - 4];
            float peak = 0, worst = 0;
            for (std::size_t i = 0; i < y.size(); ++i) {
                peak = std::max(peak, std::fabs(b[i]));
                worst = std::max(worst, std::fabs(y[i] - b[i]));
            }
            EXPECT_LT(worst, 0x1p-24f * 8 * order * peak) << xeb::frame::class_name(c) << " order " << order;
        }
    }
}

// The short transforms, which the classes compute by their own
// factorisation, against the reference: errors relative to the peak
// within a few roundings per layer, forward and inverse, and the same bits
// in place at an odd float offset as out of place aligned.
TEST(FftTransform, ShortOrdersAgainstReference) {
    for (int order = 4; order <= 11; ++order) {
        const std::size_t n = std::size_t{1} << order;
        const auto x = xt::uniform_signal(n, 700 + order);
        const auto ref = packed(reference_spectrum(x), n, false);
        PlanGuard g(order, SIG_SCALE_NONE);
        Buffer out(n, 0), in_place(n, 1);
        std::memcpy(in_place.data, x.data(), n * 4);
        ASSERT_EQ(sigFftForwardEdge(x.data(), out.data, g.p, nullptr), SIG_OK);
        ASSERT_EQ(sigFftForwardEdge(in_place.data, in_place.data, g.p, nullptr), SIG_OK);
        EXPECT_EQ(std::memcmp(out.data, in_place.data, n * 4), 0) << order;
        // The unscaled inverse of the exact spectrum gives N x.
        std::vector<float> freq(ref.begin(), ref.end()), back(n);
        ASSERT_EQ(sigFftInverseEdge(freq.data(), back.data(), g.p, nullptr), SIG_OK);
        std::vector<long double> nx(n);
        for (std::size_t i = 0; i < n; ++i) nx[i] = (long double)n * x[i];
        // Rms about 2^-24 sqrt(log2 N) of the peak, the largest error about
        // 2^-24 log2 N (measured in every class: at most 1.2 and 5 units).
        for (const Error& e : {spectrum_error(out.data, ref), spectrum_error(back.data(), nx)}) {
            EXPECT_LT(e.rms, 0x1p-24 * std::sqrt(order)) << order;
            EXPECT_LT(e.max, 0x1p-24 * order) << order;
        }
    }
}
