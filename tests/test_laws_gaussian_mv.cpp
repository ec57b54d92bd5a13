// GaussianMV: sample means and covariances against a and T T' within their
// sampling error, the three storages giving the same bits whatever the
// control words, the transform against its formula on the same normals,
// the Gaussian itself for d = 1 and unknown storages, and refusals.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "support/scale.h"
#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace {

using xt::StreamHandle;
using LD = long double;

void new_mt(StreamHandle& h, uint32_t seed) {
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MT19937, 1, &seed), RUK_OK);
}

int32_t mv(int32_t m, RukStream* s, int32_t n, double* r, int32_t d, int32_t storage, const double* a,
           const double* t) {
    return rukdRngGaussianMV(m, s, n, r, d, storage, a, t);
}
int32_t mv(int32_t m, RukStream* s, int32_t n, float* r, int32_t d, int32_t storage, const float* a,
           const float* t) {
    return ruksRngGaussianMV(m, s, n, r, d, storage, a, t);
}

// A lower factor with every entry of the triangle in use, its mean, and
// its three storages (square with NaN above the diagonal, which must not
// be read; packed by columns; the diagonal alone).
template <class T>
struct Factor {
    int32_t d;
    std::vector<T> mean, square, packed, diagonal;
    Factor(int32_t dim, bool diagonal_only) : d(dim) {
        const auto n = static_cast<std::size_t>(d);
        mean.resize(n);
        square.assign(n * n, std::numeric_limits<T>::quiet_NaN());
        for (int32_t j = 0; j < d; ++j) {
            mean[j] = static_cast<T>(0.5 * j - 1);
            for (int32_t k = 0; k <= j; ++k)
                at(j, k) = static_cast<T>(j == k ? 1 + 0.25 * j : diagonal_only ? 0 : 0.6 * std::sin(3.0 * j + k));
            diagonal.push_back(at(j, j));
        }
        for (int32_t k = 0; k < d; ++k)
            for (int32_t j = k; j < d; ++j) packed.push_back(at(j, k));
    }
    T& at(int32_t j, int32_t k) { return square[static_cast<std::size_t>(j * d + k)]; }
    LD covariance(int32_t j, int32_t k) {
        LD c = 0;
        for (int32_t i = 0; i <= std::min(j, k); ++i) c += LD(at(j, i)) * at(k, i);
        return c;
    }
};

template <class T>
void check_moments(int32_t d, int32_t method, uint32_t seed) {
    const int32_t n = static_cast<int32_t>(xt::scaled(100000, 20000));
    Factor<T> f(d, false);
    StreamHandle h;
    new_mt(h, seed);
    std::vector<T> r(static_cast<std::size_t>(n) * d);
    ASSERT_EQ(mv(method, h.get(), n, r.data(), d, RUK_FACTOR_SQUARE, f.mean.data(), f.square.data()), RUK_OK);
    std::vector<LD> mean(d, 0), cov(static_cast<std::size_t>(d * d), 0);
    for (int32_t v = 0; v < n; ++v)
        for (int32_t j = 0; j < d; ++j) mean[j] += r[static_cast<std::size_t>(v) * d + j] / LD(n);
    for (int32_t v = 0; v < n; ++v)
        for (int32_t j = 0; j < d; ++j)
            for (int32_t k = 0; k <= j; ++k)
                cov[j * d + k] += (r[static_cast<std::size_t>(v) * d + j] - mean[j]) *
                                  (r[static_cast<std::size_t>(v) * d + k] - mean[k]) / LD(n - 1);
    // Five standard errors: sqrt(C_jj / n) for a mean, sqrt((C_jj C_kk +
    // C_jk^2) / n) for a covariance of normal data.
    for (int32_t j = 0; j < d; ++j) {
        EXPECT_NEAR(mean[j], f.mean[j], 5 * std::sqrt(f.covariance(j, j) / n)) << "d " << d << " j " << j;
        for (int32_t k = 0; k <= j; ++k) {
            const LD c = f.covariance(j, k);
            const LD se = std::sqrt((f.covariance(j, j) * f.covariance(k, k) + c * c) / n);
            EXPECT_NEAR(cov[j * d + k], c, 5 * se) << "d " << d << " (" << j << ", " << k << ")";
        }
    }
}

TEST(GaussianMV, SampleMomentsAreTheMeanAndTTransposedT) {
    uint32_t seed = 40;
    for (int32_t d : {1, 3, 10})
        for (int32_t method : {RUK_METHOD_GAUSSIAN_SINGLE, RUK_METHOD_GAUSSIAN_PAIRED}) {
            check_moments<double>(d, method, ++seed);
            check_moments<float>(d, method, ++seed);
        }
}

// The normals and the transform of the same stream: y = T z + a, each y
// within an ulp of the exact sum (long double here) in double and a few in
// single; the storages agree bit for bit, the square one drawn under odd
// control words.
template <class T>
void check_storages(int32_t method, bool diagonal_only) {
    const int32_t d = 5, n = 41;  // n d odd: method 1 ends in the middle of a pair
    Factor<T> f(d, diagonal_only);
    std::vector<T> z(static_cast<std::size_t>(n * d));
    StreamHandle normals;
    new_mt(normals, 8);
    if constexpr (sizeof(T) == 8)
        ASSERT_EQ(rukdRngGaussian(method, normals.get(), n * d, z.data(), 0, 1), RUK_OK);
    else
        ASSERT_EQ(ruksRngGaussian(method, normals.get(), n * d, z.data(), 0, 1), RUK_OK);
    std::vector<int32_t> storages{RUK_FACTOR_SQUARE, RUK_FACTOR_PACKED};
    if (diagonal_only) storages.push_back(RUK_FACTOR_DIAGONAL);
    std::vector<std::vector<T>> results;
    for (int32_t storage : storages) {
        const T* t = storage == RUK_FACTOR_SQUARE ? f.square.data()
                     : storage == RUK_FACTOR_PACKED ? f.packed.data()
                                                    : f.diagonal.data();
        StreamHandle h;
        new_mt(h, 8);
        results.emplace_back(z.size());
        EXPECT_EQ(mv(method, h.get(), n, results.back().data(), d, storage, f.mean.data(), t), RUK_OK);
    }
    for (std::size_t s = 1; s < results.size(); ++s)
        EXPECT_EQ(0, std::memcmp(results[0].data(), results[s].data(), z.size() * sizeof(T)))
            << "storage " << storages[s] << (sizeof(T) == 8 ? " double" : " single");
    const LD ulps = sizeof(T) == 8 ? 1 : 8;
    for (int32_t v = 0; v < n; ++v)
        for (int32_t j = 0; j < d; ++j) {
            LD want = f.mean[j], size = std::fabs(LD(f.mean[j]));
            for (int32_t k = 0; k <= j; ++k) {
                const LD term = LD(f.at(j, k)) * z[static_cast<std::size_t>(v * d + k)];
                want += term;
                size += std::fabs(term);
            }
            EXPECT_NEAR(results[0][static_cast<std::size_t>(v * d + j)], want,
                        ulps * size * std::numeric_limits<T>::epsilon())
                << "vector " << v << " element " << j;
        }
}

TEST(GaussianMV, StoragesGiveTheSameBitsAndTheFormula) {
    for (int32_t method : {RUK_METHOD_GAUSSIAN_SINGLE, RUK_METHOD_GAUSSIAN_PAIRED})
        for (bool diagonal_only : {false, true}) {
            check_storages<double>(method, diagonal_only);
            check_storages<float>(method, diagonal_only);
        }
}

TEST(GaussianMV, DimensionOneAndUnknownStoragesAreTheGaussian) {
    const double a[3] = {2, 5, 6}, t[1] = {3};
    StreamHandle h, twin;
    new_mt(h, 3);
    new_mt(twin, 3);
    std::vector<double> got(33), want(33);
    ASSERT_EQ(rukdRngGaussianMV(1, h.get(), 7, got.data(), 1, 7, a, t), RUK_OK);
    ASSERT_EQ(rukdRngGaussian(1, twin.get(), 7, want.data(), 2, 3), RUK_OK);
    ASSERT_EQ(rukdRngGaussianMV(0, h.get(), 8, got.data() + 7, 3, 5, a, t), RUK_OK);
    ASSERT_EQ(rukdRngGaussian(0, twin.get(), 24, want.data() + 7, 0, 1), RUK_OK);
    EXPECT_EQ(got, want);
}

TEST(GaussianMV, BadInputIsRefusedBeforeAnyDraw) {
    const float a[4] = {0, 0, 0, 0}, t[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const struct {
        int32_t n, d, method, status;
    } cases[] = {
        {4, 0, 0, RUK_ERROR_BAD_ARGUMENT},
        {4, -3, 1, RUK_ERROR_BAD_ARGUMENT},
        {1 << 30, 4, 0, RUK_ERROR_BAD_ARGUMENT},  // n d beyond a 32-bit count
        {-(1 << 30), 4, 0, RUK_ERROR_BAD_ARGUMENT},
        {4, 4, 2, RUK_ERROR_UNKNOWN_METHOD},     // the Gaussian's refusal
        {0, 4, 0, RUK_OK},
    };
    for (const auto& c : cases) {
        StreamHandle h, twin;
        new_mt(h, 9);
        new_mt(twin, 9);
        std::vector<float> r(16, 7.0f);
        EXPECT_EQ(ruksRngGaussianMV(c.method, h.get(), c.n, r.data(), c.d, RUK_FACTOR_SQUARE, a, t), c.status)
            << c.n << " " << c.d;
        EXPECT_EQ(r, std::vector<float>(16, 7.0f));
        float next, want;
        ruksRngUniform(0, h.get(), 1, &next, 0, 1);
        ruksRngUniform(0, twin.get(), 1, &want, 0, 1);
        EXPECT_EQ(next, want) << "the stream moved";
    }
}

}  // namespace
