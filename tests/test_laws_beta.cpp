// Beta: every route's sample against the regularised incomplete beta
// function (Kolmogorov-Smirnov), the draw counts of a block, refusals, the
// trial limit and statuses passed through (the thread's control words:
// test_frozen_streams).
#include <gtest/gtest.h>

#include <algorithm>
#include <boost/math/special_functions/beta.hpp>
#include <cmath>
#include <cstring>
#include <iterator>
#include <utility>
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

int32_t beta(RukStream* s, int32_t n, double* r, double p, double q, double a, double b) {
    return rukdRngBeta(0, s, n, r, p, q, a, b);
}
int32_t beta(RukStream* s, int32_t n, float* r, double p, double q, double a, double b) {
    return ruksRngBeta(0, s, n, r, static_cast<float>(p), static_cast<float>(q),
                       static_cast<float>(a), static_cast<float>(b));
}

// sqrt(n) times the Kolmogorov-Smirnov distance of a + b X to Beta(p, q),
// taken at the 2,000 quantiles k / 2000 of the law (the maximum over all
// points is at least as large, so the critical value stays valid).
template <class T>
double ks_statistic(std::vector<T> x, LD p, LD q, LD a, LD b) {
    std::sort(x.begin(), x.end());
    const LD n = static_cast<LD>(x.size());
    constexpr int kGrid = 2000;
    LD d = 0;
    for (int k = 1; k < kGrid; ++k) {
        const LD level = LD(k) / kGrid;
        const LD at = a + b * boost::math::ibeta_inv(p, q, level);
        const auto below = std::upper_bound(x.begin(), x.end(), at, [](LD v, T e) { return v < e; });
        d = std::max(d, std::fabs(static_cast<LD>(below - x.begin()) / n - level));
    }
    return static_cast<double>(d * std::sqrt(n));
}

struct Shapes {
    double p, q, a, b;
    const char* route;
};
const Shapes kRoutes[] = {
    {0.3, 0.4, 0, 1, "Johnk"},         {0.5, 0.5, 0, 1, "Johnk"},
    {0.9, 0.9, 0, 1, "switching, both below 1"},   {0.2, 0.97, 0, 1, "switching, both below 1"},
    {0.5, 5, 0, 1, "switching, one above 1"},      {5, 0.5, -1, 2, "switching on (q, p), flipped"},
    {1, 3, -1, 2, "1 - U^(1/q)"},      {3, 1, 0, 1, "U^(1/p)"},
    {1, 1, 0, 1, "1 - U"},             {2, 3, 0, 1, "Cheng BB"},
    {10, 20, 0, 1, "Cheng BB"},        {20, 1.5, 3, 0.5, "Cheng BB"},
    {1000, 1000, 0, 1, "Cheng BB"},
};

template <class T>
void check_sample(const Shapes& c, std::size_t n, uint32_t seed) {
    StreamHandle h;
    new_mt(h, seed);
    std::vector<T> x(n);
    ASSERT_EQ(beta(h.get(), static_cast<int32_t>(n), x.data(), c.p, c.q, c.a, c.b), RUK_OK) << c.route;
    // The shapes as the law received them.
    const LD p = static_cast<T>(c.p), q = static_cast<T>(c.q);
    EXPECT_LT(ks_statistic(x, p, q, static_cast<T>(c.a), static_cast<T>(c.b)), 1.95)
        << c.route << " p " << c.p << " q " << c.q << (sizeof(T) == 4 ? " single" : " double");
}

TEST(Beta, EveryRouteFollowsTheLaw) {
    // 1.95: the 0.1% point of the Kolmogorov distribution; fixed seeds.
    const std::size_t n = xt::scaled(200000, 20000);
    uint32_t seed = 300;
    for (const Shapes& c : kRoutes) {
        check_sample<double>(c, n, ++seed);
        check_sample<float>(c, n, ++seed);
    }
}

// An abstract stream whose buffer holds one value and whose callback gives
// exactly what each draw asks for, so that it logs the law's draw counts.
struct Logger {
    double buffer[2048];
    std::vector<int32_t> draws;
    StreamHandle h;
    static Logger* self;
    static int32_t update(RukStream*, int32_t*, void*, int32_t* nmin, int32_t*, int32_t*) {
        self->draws.push_back(*nmin);
        return *nmin;
    }
    explicit Logger(double value) {
        std::fill(std::begin(buffer), std::end(buffer), value);
        self = this;
        EXPECT_EQ(rukdNewAbstractStream(h.out(), 2048, buffer, 0, 1, update), RUK_OK);
    }
};
Logger* Logger::self = nullptr;

TEST(Beta, BlocksDrawTwoUniformsATrialAndPowerRowsOne) {
    // Johnk on constant 0.25s accepts every trial with X = Y: all results 1/2.
    Logger johnk(0.25);
    std::vector<double> r(1100, 7.0);
    ASSERT_EQ(beta(johnk.h.get(), 600, r.data(), 0.5, 0.5, 1, 4), RUK_OK);
    EXPECT_EQ(johnk.draws, (std::vector<int32_t>{1024, 176}));
    EXPECT_EQ(std::count(r.begin(), r.begin() + 600, 3.0), 600);
    EXPECT_EQ(r[600], 7.0);
    Logger power(0.25);
    ASSERT_EQ(beta(power.h.get(), 1100, r.data(), 3, 1, 0, 1), RUK_OK);
    EXPECT_EQ(power.draws, (std::vector<int32_t>{1100}));
    // No results, no draws.
    Logger none(0.25);
    EXPECT_EQ(beta(none.h.get(), 0, r.data(), 2, 3, 0, 1), RUK_OK);
    EXPECT_EQ(beta(none.h.get(), -4, r.data(), 0.9, 0.9, 0, 1), RUK_OK);
    EXPECT_TRUE(none.draws.empty());
}

TEST(Beta, GivesUpAfterTenThousandRejectionsInARow) {
    // 0.99 twice: X + Y = 2 * 0.99^2 > 1, rejected for ever.
    Logger stuck(0.99);
    std::vector<double> r(3, 7.0);
    EXPECT_EQ(beta(stuck.h.get(), 3, r.data(), 0.5, 0.5, 0, 1), RUK_ERROR_BAD_ARGUMENT);
    EXPECT_EQ(r, std::vector<double>(3, 7.0));
    int64_t drawn = 0;
    for (int32_t k : stuck.draws) drawn += k;
    EXPECT_EQ(drawn, 6 * 3334);  // blocks of 3 trials until the 10,000th
}

TEST(Beta, BadShapesAreRefusedBeforeAnyDraw) {
    const double inf = std::numeric_limits<double>::infinity();
    const std::pair<double, double> refused[] = {{0, 1},   {-1, 2},   {2, -0.0}, {-0.0, 0.5}, {0.5, 0},
                                                 {inf, 3}, {0.5, inf}, {inf, 0.5},
                                                 {5e-6, 5e-6} /* Johnk's powers underflow in 99% of trials */};
    for (const auto& [p, q] : refused) {
        Logger log(0.5);
        double r[4] = {7, 7, 7, 7};
        float f[4] = {7, 7, 7, 7};
        EXPECT_EQ(beta(log.h.get(), 4, r, p, q, 0, 1), RUK_ERROR_BAD_ARGUMENT) << p << " " << q;
        EXPECT_EQ(beta(log.h.get(), 4, f, p, q, 0, 1), RUK_ERROR_BAD_ARGUMENT) << p << " " << q;
        EXPECT_EQ(r[0] + r[3] + f[0] + f[3], 28);
        EXPECT_TRUE(log.draws.empty());
    }
    // A NaN shape draws uniforms on the interval from a to a + beta.
    for (const auto& [p, q] : {std::pair{std::nan(""), 2.0}, std::pair{0.5, std::nan("")}}) {
        Logger log(0.25);
        double r[5];
        EXPECT_EQ(beta(log.h.get(), 5, r, p, q, 2, 3), RUK_OK);
        EXPECT_EQ(std::count(r, r + 5, 2.75), 5);
        EXPECT_EQ(log.draws, std::vector<int32_t>{5});
    }
}

int32_t empty_reply(RukStream*, int32_t*, void*, int32_t*, int32_t*, int32_t*) { return 0; }

TEST(Beta, GeneratorFailuresPassThroughEveryRoute) {
    for (const Shapes& c : kRoutes) {
        StreamHandle h;
        double buf[4], r[3] = {7, 7, 7};
        ASSERT_EQ(rukdNewAbstractStream(h.out(), 4, buf, 0, 1, empty_reply), RUK_OK);
        EXPECT_EQ(beta(h.get(), 3, r, c.p, c.q, 0, 1), RUK_ERROR_CALLBACK_EMPTY) << c.route;
        EXPECT_EQ(r[0] + r[2], 14) << c.route;
    }
}

}  // namespace
