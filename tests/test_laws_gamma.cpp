// Gamma: every generator follows the law, calls of any split give one
// call's values, the uniforms each generator draws,
// the candidate kept on the stream across copies and stream files, and the
// arguments and numbers it refuses.  (The loader's checks of its records:
// test_rng_file.)
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include <gsl/gsl_sf_gamma.h>

#include "support/scale.h"
#include "support/law_draws.h"
#include "xebruk/xebruk.h"

namespace {

using xt::new_script_stream;
using xt::reset_script;
using xt::script;
using xt::StreamHandle;
using Calls = std::vector<int32_t>;

void new_mt(StreamHandle& h, uint32_t seed) { ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MT19937, 1, &seed), RUK_OK); }

int32_t gamma(RukStream* s, int32_t n, double* r, double alpha, double a = 0, double beta = 1) {
    return rukdRngGamma(0, s, n, r, alpha, a, beta);
}
int32_t gamma(RukStream* s, int32_t n, float* r, double alpha, double a = 0, double beta = 1) {
    return ruksRngGamma(0, s, n, r, static_cast<float>(alpha), static_cast<float>(a), static_cast<float>(beta));
}

// The values of calls of the given counts on a fresh MT19937 stream.
template <class T>
std::vector<T> in_calls(double alpha, const Calls& counts) {
    StreamHandle h;
    new_mt(h, 17);
    std::vector<T> r;
    for (int32_t k : counts) {
        std::vector<T> part(k);
        EXPECT_EQ(gamma(h.get(), k, part.data(), alpha, 1, 3), RUK_OK);
        r.insert(r.end(), part.begin(), part.end());
    }
    return r;
}

template <class T>
void check_splits() {
    const Calls ones(1100, 1);
    for (double alpha : {0.3, 0.75, 1.0, 2.5, 1e3}) {
        const std::vector<T> whole = in_calls<T>(alpha, {1100});
        EXPECT_EQ(in_calls<T>(alpha, ones), whole) << alpha;
        EXPECT_EQ(in_calls<T>(alpha, {511, 589}), whole) << alpha;
        EXPECT_EQ(in_calls<T>(alpha, {512, 588}), whole) << alpha;
        EXPECT_EQ(in_calls<T>(alpha, {513, 0, 587}), whole) << alpha;
        EXPECT_EQ(in_calls<T>(alpha, {3, 1023, 74}), whole) << alpha;
    }
}

// sqrt(n) times the Kolmogorov-Smirnov distance of a sample of
// Gamma(alpha, a, beta) to its distribution function.
template <class T>
double ks_statistic(std::vector<T> x, double alpha, double a, double beta) {
    std::sort(x.begin(), x.end());
    const double n = static_cast<double>(x.size());
    double d = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double z = (static_cast<double>(x[i]) - a) / beta;
        const double cdf = z <= 0 ? 0 : gsl_sf_gamma_inc_P(alpha, z);
        d = std::max({d, cdf - static_cast<double>(i) / n, static_cast<double>(i + 1) / n - cdf});
    }
    return d * std::sqrt(n);
}

template <class T>
void check_sample(double alpha, double a, double beta, uint32_t seed) {
    const std::size_t n = xt::scaled(1000000, 20000);
    StreamHandle h;
    new_mt(h, seed);
    std::vector<T> x(n);
    ASSERT_EQ(gamma(h.get(), static_cast<int32_t>(n), x.data(), alpha, a, beta), RUK_OK);
    // The parameters as the law received them; 1.95 is the 0.1% point of
    // the Kolmogorov distribution (fixed seeds: a failure repeats).
    EXPECT_LT(ks_statistic(x, static_cast<T>(alpha), static_cast<T>(a), static_cast<T>(beta)), 1.95)
        << "shape " << alpha << (sizeof(T) == 4 ? " single" : " double");
}

TEST(Gamma, EveryGeneratorFollowsTheLaw) {
    // Each of the four generators on both sides of its bounds (0.6, 1), and
    // a shape where the normal approximation is close.
    uint32_t seed = 1000;
    for (double alpha : {0.1, 0.5, 0.6, 0.9, 1.5, 10.0, 1e4}) {
        const double a = alpha == 10 ? 3 : 0, beta = alpha == 10 ? 0.5 : 2;
        check_sample<double>(alpha, a, beta, ++seed);
        check_sample<float>(alpha, a, beta, ++seed);
    }
}

TEST(Gamma, CallsOfAnySplitGiveOneCallsValues) {
    check_splits<double>();
    check_splits<float>();
    // The single logarithm takes a lone element by another route than a
    // pair, an ulp apart for some numbers, such as the first uniform here:
    // four calls of one (a lone normal each) must still give one call of
    // four (normals in pairs).
    float one[4], four[4];
    StreamHandle h;
    new_script_stream(h);
    const std::vector<double> uniforms{0x1.00e444p-1, 0.3, 0.1, 0.4};
    reset_script(uniforms);
    for (float& x : one) ASSERT_EQ(gamma(h.get(), 1, &x, 1.01), RUK_OK);
    reset_script(uniforms);
    ASSERT_EQ(gamma(h.get(), 4, four, 1.01), RUK_OK);
    EXPECT_EQ(std::memcmp(one, four, sizeof one), 0);
}

TEST(Gamma, TheKeptCandidateIsTriedByTheNextCallOfAnyLargeShape) {
    // The record holds a uniform and a normal, not a value: after a call
    // with shape 2, one with shape 7 tries the same candidate, on a copy
    // (which shares the record) and on the stream saved and loaded again.
    // Shapes below 1 neither use nor disturb it.
    const std::string path = ::testing::TempDir() + "gamma_stream.bin";
    StreamHandle h, twin, loaded;
    new_mt(h, 5);
    new_mt(twin, 5);
    double x[2];
    ASSERT_EQ(gamma(h.get(), 1, x, 2.0), RUK_OK);
    ASSERT_EQ(gamma(twin.get(), 1, x, 2.0), RUK_OK);
    ASSERT_EQ(rukSaveStreamF(h.get(), path.c_str(), -1), RUK_OK);
    ASSERT_EQ(rukLoadStreamF(loaded.out(), path.c_str()), RUK_OK);
    std::remove(path.c_str());
    EXPECT_EQ(rukGetNumChunks(loaded.get()), 1);
    RukStream* copy = nullptr;
    ASSERT_EQ(rukCopyStream(&copy, h.get()), RUK_OK);
    std::vector<std::vector<double>> next;
    for (RukStream* s : {twin.get(), loaded.get(), copy}) {
        float f[3];
        ASSERT_EQ(gamma(s, 3, f, 0.5), RUK_OK);
        next.emplace_back(3);
        ASSERT_EQ(gamma(s, 3, next.back().data(), 7.0), RUK_OK);
    }
    rukDeleteStream(&copy);  // h keeps the chunks they share
    EXPECT_EQ(next[1], next[0]);
    EXPECT_EQ(next[2], next[0]);
    // The single form keeps a record of its own.
    float f;
    ASSERT_EQ(gamma(loaded.get(), 1, &f, 2.0), RUK_OK);
    EXPECT_EQ(rukGetNumChunks(loaded.get()), 2);
}

TEST(Gamma, UniformsDrawnByEachGenerator) {
    const std::vector<double> accepted = {0.5, 0.3, 0.25, 0.4};  // every candidate of shape 3 passes the squeeze
    struct Case {
        const char* what;
        double alpha;
        Calls counts, draws;
    } cases[] = {
        {"shape 1: the Exponential", 1, {7, 1}, {7, 1}},
        // Shape above 1: an even number of candidates, at most 512 (+1
        // carried); n = 1 draws two candidates and keeps one, which the
        // next n = 1 takes without a draw.
        {"n = 1 twice", 3, {1, 1}, {4}},
        {"odd n", 3, {5, 1}, {12}},
        {"a full block", 3, {512}, {1024}},
        {"a block and a carried candidate", 3, {1, 600}, {4, 1024, 176}},
        {"more than a block", 3, {1300}, {1024, 1024, 552}},
        // Below 1: two uniforms per trial, the missing results (at most 512) each time.
        {"middle shape", 0.8, {3, 700}, {6, 1024, 376}},
        {"small shape", 0.3, {0, 2}, {4}},
    };
    for (const Case& c : cases) {
        StreamHandle h;
        new_script_stream(h);
        reset_script(c.alpha < 1 ? std::vector<double>{0.01} : accepted);
        for (int32_t n : c.counts) {
            std::vector<double> r(n + 1);
            EXPECT_EQ(gamma(h.get(), n, r.data(), c.alpha), RUK_OK) << c.what;
        }
        EXPECT_EQ(script.calls, c.draws) << c.what;
    }
}

TEST(Gamma, StatusesAndTheFinalPass) {
    StreamHandle h;
    new_script_stream(h);
    std::vector<double> r(6, 9.0);
    // The last draw's status is the result; a failure returns at once,
    // before the final pass: r holds unscaled values or nothing.
    reset_script({0.5, 0.3, 0.25, 0.4}, {0, 5});
    EXPECT_EQ(gamma(h.get(), 600, std::vector<double>(600).data(), 3.0), 5);
    reset_script({0.01}, {-8});
    EXPECT_EQ(gamma(h.get(), 6, r.data(), 0.8, 1, 2), -8);
    EXPECT_EQ(r, std::vector<double>(6, 9.0));
    reset_script({0.01}, {0, -8});
    std::vector<double> big(600, 9.0);
    EXPECT_EQ(gamma(h.get(), 600, big.data(), 0.3, 100, 2), -8);
    EXPECT_LT(big[0], 1.0);  // from the first block, not scaled
    EXPECT_EQ(big[599], 9.0);
    // Shape 1 is the Exponential, which clamps at 0 in single alone: a
    // number above 1 gives a there and a - beta ln 1.5 in double.
    reset_script({1.5, 0.25});
    float f[2];
    double d[2];
    EXPECT_EQ(gamma(h.get(), 2, f, 1.0, 2, 3), RUK_OK);
    EXPECT_EQ(gamma(h.get(), 2, d, 1.0, 2, 3), RUK_OK);
    EXPECT_EQ(f[0], 2.0f);
    EXPECT_FLOAT_EQ(f[1], 2 - 3 * std::log(0.25f));
    EXPECT_DOUBLE_EQ(d[0], 2 - 3 * std::log(1.5));
}

TEST(Gamma, BadArgumentsAreRefusedAndRejectionRunsEnd) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    StreamHandle h;
    new_script_stream(h);
    reset_script({0.5});
    std::vector<double> r(4, 9.0);
    std::vector<float> f(4, 9.0f);
    for (const auto& [alpha, beta] : std::vector<std::pair<double, double>>{
             {-1, 1}, {-0.0, 1}, {nan, 1}, {2, -1}, {0.5, nan}, {-std::numeric_limits<double>::infinity(), 1}}) {
        EXPECT_EQ(gamma(h.get(), 4, r.data(), alpha, 0, beta), RUK_ERROR_BAD_ARGUMENT) << alpha << ", " << beta;
        EXPECT_EQ(gamma(h.get(), 4, f.data(), alpha, 0, beta), RUK_ERROR_BAD_ARGUMENT) << alpha << ", " << beta;
    }
    EXPECT_TRUE(script.calls.empty());
    EXPECT_EQ(rukGetNumChunks(h.get()), 0);
    EXPECT_EQ(r, std::vector<double>(4, 9.0));
    EXPECT_EQ(f, std::vector<float>(4, 9.0f));
    // Shape 0 is a point mass at a; a count below 1 does nothing.
    reset_script({0.3, 0.6});
    EXPECT_EQ(gamma(h.get(), 4, r.data(), 0.0, 5, 2), RUK_OK);
    EXPECT_EQ(r, std::vector<double>(4, 5.0));
    EXPECT_EQ(gamma(h.get(), -3, r.data(), 2.0), RUK_OK);
    // Numbers no generator on (0, 1) gives (a NaN) are rejected by every
    // generator; after 10,000 in a row the call gives up.
    for (double alpha : {0.3, 0.8, 2.0}) {
        reset_script({nan});
        EXPECT_EQ(gamma(h.get(), 4, r.data(), alpha), RUK_ERROR_BAD_ARGUMENT) << alpha;
    }
}

}  // namespace
