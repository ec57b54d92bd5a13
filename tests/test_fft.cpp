// Real FFT plans and transforms against a long double reference.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "signal/fft_core.h"
#include "signal/fft_plan.h"
#include "support/scale.h"
#include "support/signals.h"

namespace {

using namespace xeb::sig;
using cld = std::complex<long double>;

constexpr long double kPi = 3.141592653589793238462643383279502884L;

// Reference spectrum X[0..N/2] of real x: a naive DFT for small N, an
// iterative radix-2 transform in long double above.
std::vector<cld> reference_spectrum(const std::vector<float>& x) {
    const std::size_t n = x.size();
    std::vector<cld> out(n / 2 + 1);
    if (n <= 1024) {
        for (std::size_t k = 0; k <= n / 2; ++k) {
            cld s = 0;
            for (std::size_t m = 0; m < n; ++m) {
                const long double t = -2 * kPi * static_cast<long double>((k * m) % n) / n;
                s += static_cast<long double>(x[m]) * cld(cosl(t), sinl(t));
            }
            out[k] = s;
        }
        return out;
    }
    std::vector<cld> a(n);
    int bits = 0;
    while ((std::size_t{1} << bits) < n) ++bits;
    for (std::size_t i = 0; i < n; ++i) {
        std::size_t r = 0;
        for (int b = 0; b < bits; ++b) r |= ((i >> b) & 1) << (bits - 1 - b);
        a[r] = x[i];
    }
    std::vector<cld> w(n / 2);
    for (std::size_t j = 0; j < n / 2; ++j) {
        const long double t = -2 * kPi * static_cast<long double>(j) / n;
        w[j] = cld(cosl(t), sinl(t));
    }
    for (std::size_t len = 2; len <= n; len *= 2) {
        const std::size_t step = n / len;
        for (std::size_t base = 0; base < n; base += len)
            for (std::size_t j = 0; j < len / 2; ++j) {
                const cld u = a[base + j], v = a[base + j + len / 2] * w[j * step];
                a[base + j] = u + v;
                a[base + j + len / 2] = u - v;
            }
    }
    for (std::size_t k = 0; k <= n / 2; ++k) out[k] = a[k];
    return out;
}

// The reference in one of the two packed layouts.
std::vector<long double> packed(const std::vector<cld>& X, std::size_t n, bool ordered) {
    std::vector<long double> p(n);
    if (n == 1) {
        p[0] = X[0].real();
        return p;
    }
    p[0] = X[0].real();
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
    EXPECT_EQ(p->workBytes, 0);
    EXPECT_EQ(sigFftWorkSize(p, &size), SIG_OK);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(p->hint, 7);
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

    ASSERT_EQ(sigFftPlanInit(&p, 4, SIG_SCALE_NONE, 0), SIG_OK);
    EXPECT_EQ(p->workBytes, 64);
    EXPECT_EQ(sigFftWorkSize(p, &size), SIG_OK);
    EXPECT_EQ(size, 80);
    EXPECT_EQ(sigFftPlanFree(p), SIG_OK);
}

TEST(FftPlan, ScalingFlags) {
    struct Row {
        int flag, fwd, inv;
        double scale;
    };
    const Row rows[] = {{SIG_SCALE_NONE, 0, 0, 0.0},
                        {SIG_SCALE_BOTH_ROOT, 1, 1, 1 / std::sqrt(1024.0)},
                        {SIG_SCALE_FORWARD, 1, 0, 1 / 1024.0},
                        {SIG_SCALE_INVERSE, 0, 1, 1 / 1024.0}};
    for (const Row& r : rows) {
        PlanGuard g(10, r.flag);
        EXPECT_EQ(g.p->scaleForward != 0, r.fwd != 0) << r.flag;
        EXPECT_EQ(g.p->scaleInverse != 0, r.inv != 0) << r.flag;
        EXPECT_EQ(g.p->scale, static_cast<float>(r.scale)) << r.flag;
    }
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

// Blocking levels and table positions, from the sizes alone for the orders
// too large to build here, and from built plans for the rest.
TEST(FftPlan, BlockingAndSizes) {
    // Column orders chained through the levels, by complex order k.
    auto chain = [](int k) {
        std::vector<int> fs;
        for (int f = sigFftBlocking(k); f != 0; f = sigFftBlocking(k)) {
            fs.push_back(f);
            k -= f;
            if (k <= 10) break;
        }
        return fs;
    };
    EXPECT_EQ(chain(10), std::vector<int>{});
    EXPECT_EQ(chain(11), std::vector<int>{});
    EXPECT_EQ(chain(13), (std::vector<int>{5}));
    EXPECT_EQ(chain(23), (std::vector<int>{8, 7}));
    EXPECT_EQ(chain(29), (std::vector<int>{10, 10}));
    for (int order = 4; order <= kMaxOrder; ++order) {
        const sigFftPlanSizes z = sigFftPlanSizesFor(order);
        const int k = order - 1;
        EXPECT_EQ(z.levels, static_cast<int>(chain(k).size())) << order;
        EXPECT_LE(z.levels, 2);
        EXPECT_EQ(z.blockBytes % 16, 0);
        if (k <= 10) {
            EXPECT_EQ(z.workBytes, 8 << k) << order;
        }
        if (z.levels > 0) {
            // The gather twiddles take as much space as the data.
            EXPECT_GE(z.blockBytes, 8 * (int64_t{1} << k)) << order;
            EXPECT_GE(z.workBytes, 32 << chain(k)[0]) << order;
        }
    }
    EXPECT_EQ(sigFftPlanSizesFor(12).blockBytes, 2048 / 2 * 8 + 8208);
    EXPECT_EQ(sigFftPlanSizesFor(12).workBytes, 8192);

    const int top = static_cast<int>(std::min<std::size_t>(24, 18 + xt::scaled(6, 0)));
    for (int order = 4; order <= top; ++order) {
        PlanGuard g(order, SIG_SCALE_NONE);
        const sigFftPlan* p = g.p;
        const sigFftPlanSizes z = sigFftPlanSizesFor(order);
        const int k = order - 1;
        EXPECT_EQ(p->workBytes, z.workBytes) << order;
        EXPECT_EQ(p->halvingTwiddles != nullptr, k == 11 || k == 12 || k == 21 || k == 22) << order;
        EXPECT_EQ(p->columnTwiddles[0] != nullptr, z.levels >= 1) << order;
        EXPECT_EQ(p->columnTwiddles[1] != nullptr, z.levels >= 2) << order;
        EXPECT_EQ(p->columnTwiddles[2], nullptr);
        const char* block = reinterpret_cast<const char*>(p->twiddles);
        for (int l = 0; l < z.levels; ++l) {
            const char* g0 = reinterpret_cast<const char*>(p->gatherTwiddles[l]);
            EXPECT_EQ((g0 - block) % 16, 0);
            // The outermost gather table ends the block.
            if (l == 0) {
                EXPECT_LE(g0 - block + 8 * (int64_t{1} << k), z.blockBytes) << order;
            }
        }
    }
}

// Table contents against long double values: stage twiddles, split tables,
// gather factors, and the reversal tables as permutations.
TEST(FftPlan, TableContents) {
    auto near = [](float v, long double ref) { return fabsl(v - ref) <= 0x1p-25L; };
    {
        PlanGuard g(11, SIG_SCALE_NONE);  // k 10: swap table, plain stage table
        const int k = 10;
        for (int s = 4; s <= k; s += 2) {
            const float* tab = g.p->twiddles + sigStageOffset(k, s);
            for (int j = 0; j < (1 << s) / 4; ++j)
                for (int t = 1; t <= 3; ++t) {
                    const long double a = 2 * kPi * t * j / (1 << s);
                    const float* e = tab + 24 * (j / 4) + 8 * (t - 1) + j % 4;
                    ASSERT_TRUE(near(e[0], cosl(a)) && near(e[4], -sinl(a))) << s << " " << j << " " << t;
                }
        }
        for (int kk = 1; kk <= 2048 / 4; ++kk) {
            const long double a = 2 * kPi * kk / 2048;
            const int at = 8 * ((kk - 1) / 4) + (kk - 1) % 4;
            ASSERT_TRUE(near(g.p->realForward[at], 0.5L * cosl(a))) << kk;
            ASSERT_TRUE(near(g.p->realForward[at + 4], 0.5L - 0.5L * sinl(a))) << kk;
            ASSERT_TRUE(near(g.p->realInverse[at], cosl(a)) && near(g.p->realInverse[at + 4], -sinl(a))) << kk;
        }
        // Swap table: every middle index once, as a pair or as self-reversed.
        std::vector<int> seen(256, 0);
        const int32_t* t = g.p->reverseTable;
        for (; *t; t += 2) {
            ASSERT_LT(t[0], t[1]);
            seen[t[0] / 4]++;
            seen[t[1] / 4]++;
        }
        for (++t; *t; ++t) seen[*t / 4]++;
        EXPECT_EQ(t - g.p->reverseTable, 256);
        for (int i = 1; i < 256; ++i) EXPECT_EQ(seen[i], 1) << i;
    }
    {
        PlanGuard g(14, SIG_SCALE_NONE);  // k 13: 32 rows of 256 points
        const float* gt = g.p->gatherTwiddles[0];
        for (int c = 0; c < 256; ++c)
            for (int r = 0; r < 32; ++r) {
                int rev = 0;
                for (int b = 0; b < 5; ++b) rev |= ((r >> b) & 1) << (4 - b);
                const long double a = -2 * kPi * c * rev / 8192;
                const float* e = gt + (c / 4) * 32 * 8 + 8 * r + c % 4;
                ASSERT_TRUE(near(e[0], cosl(a)) && near(e[4], sinl(a))) << c << " " << r;
            }
    }
    {
        PlanGuard g(8, SIG_SCALE_NONE);  // k 7: index table over 5 bits
        for (int i = 0; i < 32; ++i) {
            int rev = 0;
            for (int b = 0; b < 5; ++b) rev |= ((i >> b) & 1) << (4 - b);
            EXPECT_EQ(g.p->reverseTable[i], 2 * rev);
        }
        EXPECT_EQ(g.p->reverseTable[32], 0);
    }
}

TEST(FftPlan, BitReversal) {
    for (int k : {5, 8, 10, 11, 16, 17}) {  // 2^16 points on: the tiled walk
        const int64_t n = int64_t{1} << k;
        std::vector<int32_t> table((n >> 2) + 1);
        sigFillSwapTable(table.data(), k);
        for (int offset : {0, 1}) {  // 8-byte and 4-byte aligned paths
            Buffer in(2 * n, offset), out(2 * n, offset);
            for (int64_t i = 0; i < 2 * n; ++i) in.data[i] = static_cast<float>(i);
            sigBitReverseCopy(in.data, out.data, n, table.data());
            sigBitReverseInPlace(in.data, n, table.data());
            for (int64_t p = 0; p < n; ++p) {
                int64_t r = 0;
                for (int b = 0; b < k; ++b) r |= ((p >> b) & 1) << (k - 1 - b);
                ASSERT_EQ(in.data[2 * p], 2 * r) << k << " " << p;
                ASSERT_EQ(in.data[2 * p + 1], 2 * r + 1);
                ASSERT_EQ(out.data[2 * p], 2 * r);
            }
        }
    }
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

// Large orders: sampled bins against a direct long double sum.
TEST(FftTransform, LargeOrdersSampledBins) {
    const int top = xt::test_scale() < 1 ? 22 : 24;
    for (int order = 21; order <= top; ++order) {
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
    }
}

// Forward then inverse with flag 2 gives the input back, in place and out of
// place, both layouts, aligned and at 4 mod 16, with and without caller's
// work; unaligned data give the same bits as aligned.
TEST(FftTransform, RoundTrip) {
    const int top = xt::test_scale() < 1 ? 20 : 22;
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
                    if (!ordered && !in_place) {
                        if (offset == 0)
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

TEST(FftTransform, ScalingAndSpecialInputs) {
    for (int order : {0, 1, 2, 3, 4, 5, 11, 12, 13, 14}) {
        const std::size_t n = std::size_t{1} << order;
        // All ones: X[0] = N, everything else 0, in both layouts.
        PlanGuard g(order, SIG_SCALE_NONE);
        std::vector<float> ones(n, 1.0f), y(n);
        for (bool ordered : {false, true}) {
            (ordered ? sigFftForwardOrdered : sigFftForwardEdge)(ones.data(), y.data(), g.p, nullptr);
            EXPECT_EQ(y[0], static_cast<float>(n)) << order;
            for (std::size_t i = 1; i < n; ++i) ASSERT_LT(std::fabs(y[i]), 1e-6f * n) << order << " " << i;
        }
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
    // The ordered layout of order 1 is the edge-first layout.
    PlanGuard g(1, SIG_SCALE_NONE);
    const float x[2] = {3.0f, 5.0f};
    float e[2], o[2];
    sigFftForwardEdge(x, e, g.p, nullptr);
    sigFftForwardOrdered(x, o, g.p, nullptr);
    EXPECT_EQ(e[0], 8.0f);
    EXPECT_EQ(e[1], -2.0f);
    EXPECT_EQ(std::memcmp(e, o, sizeof e), 0);
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

TEST(FftTransform, SpectrumProducts) {
    for (int n : {1, 2, 3, 8, 9, 30, 64}) {
        const auto a = xt::uniform_signal(n, n), b0 = xt::uniform_signal(n, n + 1000);
        std::vector<float> b = b0, c = b0;
        ASSERT_EQ(sigMulSpectrumEdge(a.data(), b.data(), n), SIG_OK);
        ASSERT_EQ(sigMulConjSpectrumOrdered(a.data(), c.data(), n), SIG_OK);
        // Edge-first: two reals (one for odd n), then pairs.  Ordered: one
        // real first and, for even n, one last.
        const int edge_reals = n % 2 ? 1 : std::min(n, 2);
        for (int i = 0; i < edge_reals; ++i) EXPECT_EQ(b[i], a[i] * b0[i]);
        for (int i = edge_reals; i + 1 < n; i += 2) {
            const std::complex<double> p = std::complex<double>(a[i], a[i + 1]) * std::complex<double>(b0[i], b0[i + 1]);
            EXPECT_NEAR(b[i], p.real(), 1e-6);
            EXPECT_NEAR(b[i + 1], p.imag(), 1e-6);
        }
        EXPECT_EQ(c[0], a[0] * b0[0]);
        if (n % 2 == 0 && n > 1) {
            EXPECT_EQ(c[n - 1], a[n - 1] * b0[n - 1]);
        }
        for (int i = 1; i + 1 < n; i += 2) {
            const std::complex<double> p =
                std::complex<double>(a[i], a[i + 1]) * std::conj(std::complex<double>(b0[i], b0[i + 1]));
            EXPECT_NEAR(c[i], p.real(), 1e-6);
            EXPECT_NEAR(c[i + 1], p.imag(), 1e-6);
        }
    }
    float v = 1;
    EXPECT_EQ(sigMulSpectrumEdge(nullptr, &v, 1), SIG_ERR_NULL);
    EXPECT_EQ(sigMulConjSpectrumOrdered(&v, &v, 0), SIG_ERR_SIZE);
}

}  // namespace
