#include "frozen_streams.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>
#include <utility>

#include "sha256.h"
#include "xebruk/frame.h"
#include "xebruk/rng_continuous.h"
#include "xebruk/rng_discrete.h"
#include "xebruk/rng_generators.h"

namespace xtools {
namespace {

using Seed = std::vector<uint32_t>;

// A generator kernel of real numbers on [a, b).
template <class T>
FrozenStream real(std::string name, int32_t brng, Seed seed,
                  int32_t (*kernel)(RukStream*, int32_t, T*, T, T), T a, T b) {
    return {std::move(name), brng, std::move(seed), sizeof(T),
            [=](RukStream* s, int32_t n, void* r) { return kernel(s, n, static_cast<T*>(r), a, b); }};
}

// A generator kernel of words (32 bits, or 64 for MCG59), `per` words an
// output (WH writes its four components).
template <class W>
FrozenStream words(std::string name, int32_t brng, Seed seed, int32_t (*kernel)(RukStream*, int32_t, W*),
                   int32_t per = 1) {
    return {std::move(name), brng, std::move(seed), static_cast<int32_t>(sizeof(W)) * per,
            [=](RukStream* s, int32_t n, void* r) { return kernel(s, n, static_cast<W*>(r)); }};
}

// The laws draw from MT19937 with this key.
const Seed kLawKey = {0x123, 0x234, 0x345, 0x456};

template <class P>
struct Given {
    using type = P;
};
template <class T, class... P>
FrozenStream law(std::string name, int32_t (*f)(int32_t, RukStream*, int32_t, T*, P...),
                 int32_t method, typename Given<P>::type... p) {
    return {std::move(name), RUK_BRNG_MT19937, kLawKey, sizeof(T),
            [=](RukStream* s, int32_t n, void* r) { return f(method, s, n, static_cast<T*>(r), p...); }};
}

// Vectors of GaussianMV: one output is a vector of dimension 3 with mean
// kMean and factor T, lower triangular, stored as `storage` says.  The
// parameters are constants of each type, rounded when compiled: a case
// built while the caller rounds upward has the same parameters.
template <class T>
struct Mv {
    static constexpr T kMean[3] = {T(1.0), T(-2.0), T(0.5)};
    static constexpr T kSquare[9] = {T(2.0), T(0.0), T(0.0), T(0.5), T(1.5), T(0.0), T(-0.3), T(0.2), T(1.0)};
    static constexpr T kPacked[6] = {T(2.0), T(0.5), T(-0.3), T(1.5), T(0.2), T(1.0)};
    static constexpr T kDiagonal[3] = {T(2.0), T(1.5), T(1.0)};
};
template <class T>
FrozenStream gaussian_mv(std::string name, int32_t method, int32_t storage, const T* t, int32_t count) {
    const std::vector<T> mean(Mv<T>::kMean, Mv<T>::kMean + 3), factor(t, t + count);
    return {std::move(name), RUK_BRNG_MT19937, kLawKey, 3 * sizeof(T),
            [=](RukStream* s, int32_t n, void* r) {
                if constexpr (sizeof(T) == 8)
                    return rukdRngGaussianMV(method, s, n, static_cast<T*>(r), 3, storage, mean.data(), factor.data());
                else
                    return ruksRngGaussianMV(method, s, n, static_cast<T*>(r), 3, storage, mean.data(), factor.data());
            }};
}

// PoissonV: element i of each call has mean 0.2 + 3.1 (i mod 7), computed
// when compiled.
constexpr std::array<double, kFrozenCall> poisson_means() {
    std::array<double, kFrozenCall> m{};
    for (int32_t i = 0; i < kFrozenCall; ++i) m[static_cast<std::size_t>(i)] = 0.2 + 3.1 * (i % 7);
    return m;
}
FrozenStream poisson_v() {
    static constexpr std::array<double, kFrozenCall> means = poisson_means();
    return {"poisson_v.i", RUK_BRNG_MT19937, kLawKey, 4, [](RukStream* s, int32_t n, void* r) {
                return rukiRngPoissonV(0, s, n, static_cast<int32_t*>(r), means.data());
            }};
}

}  // namespace

const std::vector<FrozenStream>& frozen_streams() {
    static const std::vector<FrozenStream> cases = {
        words("mcg31m1.i", RUK_BRNG_MCG31M1, {12345}, rukiBRngMCG31M1),
        real<double>("mcg31m1.d", RUK_BRNG_MCG31M1, {12345}, rukdBRngMCG31M1, -1.5, 3.25),
        real<float>("mcg31m1.s", RUK_BRNG_MCG31M1, {12345}, ruksBRngMCG31M1, -1.5f, 3.25f),
        words("mt19937.i", RUK_BRNG_MT19937, kLawKey, rukiBRngMT19937),
        real<double>("mt19937.d", RUK_BRNG_MT19937, kLawKey, rukdBRngMT19937, -1.5, 3.25),
        real<float>("mt19937.s", RUK_BRNG_MT19937, kLawKey, ruksBRngMT19937, -1.5f, 3.25f),
        words("r250.i", RUK_BRNG_R250, {12345}, rukiBRngR250),
        real<double>("r250.d", RUK_BRNG_R250, {12345}, rukdBRngR250, -1.5, 3.25),
        real<float>("r250.s", RUK_BRNG_R250, {12345}, ruksBRngR250, -1.5f, 3.25f),
        words("mrg32k3a.i", RUK_BRNG_MRG32K3A, {12345, 678}, rukiBRngMRG32K3A),
        real<double>("mrg32k3a.d", RUK_BRNG_MRG32K3A, {12345, 678}, rukdBRngMRG32K3A, -1.5, 3.25),
        real<float>("mrg32k3a.s", RUK_BRNG_MRG32K3A, {12345, 678}, ruksBRngMRG32K3A, -1.5f, 3.25f),
        words("mcg59.i", RUK_BRNG_MCG59, {12345, 678}, rukiBRngMCG59),
        real<double>("mcg59.d", RUK_BRNG_MCG59, {12345, 678}, rukdBRngMCG59, -1.5, 3.25),
        real<float>("mcg59.s", RUK_BRNG_MCG59, {12345, 678}, ruksBRngMCG59, -1.5f, 3.25f),
        words("wh0.i", RUK_BRNG_WH, {12345, 678}, rukiBRngWH, 4),
        real<double>("wh0.d", RUK_BRNG_WH, {12345, 678}, rukdBRngWH, -1.5, 3.25),
        real<float>("wh0.s", RUK_BRNG_WH, {12345, 678}, ruksBRngWH, -1.5f, 3.25f),
        words("wh272.i", RUK_BRNG_WH + 272, {12345, 678}, rukiBRngWH, 4),
        words("mt2203_0.i", RUK_BRNG_MT2203, kLawKey, rukiBRngMT2203),
        real<double>("mt2203_0.d", RUK_BRNG_MT2203, kLawKey, rukdBRngMT2203, -1.5, 3.25),
        real<float>("mt2203_0.s", RUK_BRNG_MT2203, kLawKey, ruksBRngMT2203, -1.5f, 3.25f),
        words("mt2203_1023.i", RUK_BRNG_MT2203 + 1023, kLawKey, rukiBRngMT2203),
        words("sobol40.i", RUK_BRNG_SOBOL, {40}, rukiBRngSobol),
        real<double>("sobol5.d", RUK_BRNG_SOBOL, {5}, rukdBRngSobol, -1.5, 3.25),
        real<float>("sobol5.s", RUK_BRNG_SOBOL, {5}, ruksBRngSobol, -1.5f, 3.25f),
        words("niederr318.i", RUK_BRNG_NIEDERR, {318}, rukiBRngNiederr),
        real<double>("niederr5.d", RUK_BRNG_NIEDERR, {5}, rukdBRngNiederr, -1.5, 3.25),
        real<float>("niederr5.s", RUK_BRNG_NIEDERR, {5}, ruksBRngNiederr, -1.5f, 3.25f),

        law("uniform.d", rukdRngUniform, 0, -1.5, 3.25),
        law("uniform.s", ruksRngUniform, 0, -1.5f, 3.25f),
        law("exponential.d", rukdRngExponential, 0, 0.5, 2.0),
        law("exponential.s", ruksRngExponential, 0, 0.5f, 2.0f),
        law("laplace.d", rukdRngLaplace, 0, 0.5, 2.0),
        law("laplace.s", ruksRngLaplace, 0, 0.5f, 2.0f),
        law("weibull.d", rukdRngWeibull, 0, 1.5, 0.5, 2.0),
        law("weibull.s", ruksRngWeibull, 0, 1.5f, 0.5f, 2.0f),
        law("cauchy.d", rukdRngCauchy, 0, 0.5, 2.0),
        law("cauchy.s", ruksRngCauchy, 0, 0.5f, 2.0f),
        law("rayleigh.d", rukdRngRayleigh, 0, 0.5, 2.0),
        law("rayleigh.s", ruksRngRayleigh, 0, 0.5f, 2.0f),
        law("gumbel.d", rukdRngGumbel, 0, 0.5, 2.0),
        law("gumbel.s", ruksRngGumbel, 0, 0.5f, 2.0f),
        law("gaussian.m0.d", rukdRngGaussian, RUK_METHOD_GAUSSIAN_SINGLE, 0.5, 2.0),
        law("gaussian.m0.s", ruksRngGaussian, RUK_METHOD_GAUSSIAN_SINGLE, 0.5f, 2.0f),
        law("gaussian.m1.d", rukdRngGaussian, RUK_METHOD_GAUSSIAN_PAIRED, 0.5, 2.0),
        law("gaussian.m1.s", ruksRngGaussian, RUK_METHOD_GAUSSIAN_PAIRED, 0.5f, 2.0f),
        law("lognormal.d", rukdRngLognormal, 0, 0.5, 0.75, -1.0, 2.0),
        law("lognormal.s", ruksRngLognormal, 0, 0.5f, 0.75f, -1.0f, 2.0f),
        // Gamma by shape: Marsaglia-Tsang, the exponential, Weibull rejection, two-part rejection.
        law("gamma.2.5.d", rukdRngGamma, 0, 2.5, 0.5, 2.0),
        law("gamma.2.5.s", ruksRngGamma, 0, 2.5f, 0.5f, 2.0f),
        law("gamma.1.d", rukdRngGamma, 0, 1.0, 0.5, 2.0),
        law("gamma.1.s", ruksRngGamma, 0, 1.0f, 0.5f, 2.0f),
        law("gamma.0.8.d", rukdRngGamma, 0, 0.8, 0.5, 2.0),
        law("gamma.0.8.s", ruksRngGamma, 0, 0.8f, 0.5f, 2.0f),
        law("gamma.0.3.d", rukdRngGamma, 0, 0.3, 0.5, 2.0),
        law("gamma.0.3.s", ruksRngGamma, 0, 0.3f, 0.5f, 2.0f),
        // Beta by shapes: both below 1, one below 1, both above 1, one equal to 1.
        law("beta.0.5x0.7.d", rukdRngBeta, 0, 0.5, 0.7, -1.0, 2.0),
        law("beta.0.5x0.7.s", ruksRngBeta, 0, 0.5f, 0.7f, -1.0f, 2.0f),
        law("beta.0.5x3.d", rukdRngBeta, 0, 0.5, 3.0, -1.0, 2.0),
        law("beta.0.5x3.s", ruksRngBeta, 0, 0.5f, 3.0f, -1.0f, 2.0f),
        law("beta.2.5x3.5.d", rukdRngBeta, 0, 2.5, 3.5, -1.0, 2.0),
        law("beta.2.5x3.5.s", ruksRngBeta, 0, 2.5f, 3.5f, -1.0f, 2.0f),
        law("beta.1x3.d", rukdRngBeta, 0, 1.0, 3.0, -1.0, 2.0),
        law("beta.1x3.s", ruksRngBeta, 0, 1.0f, 3.0f, -1.0f, 2.0f),
        gaussian_mv<double>("gaussian_mv.m0.square.d", 0, RUK_FACTOR_SQUARE, Mv<double>::kSquare, 9),
        gaussian_mv<float>("gaussian_mv.m0.square.s", 0, RUK_FACTOR_SQUARE, Mv<float>::kSquare, 9),
        gaussian_mv<double>("gaussian_mv.m1.packed.d", 1, RUK_FACTOR_PACKED, Mv<double>::kPacked, 6),
        gaussian_mv<float>("gaussian_mv.m1.packed.s", 1, RUK_FACTOR_PACKED, Mv<float>::kPacked, 6),
        gaussian_mv<double>("gaussian_mv.m1.diagonal.d", 1, RUK_FACTOR_DIAGONAL, Mv<double>::kDiagonal, 3),
        gaussian_mv<float>("gaussian_mv.m1.diagonal.s", 1, RUK_FACTOR_DIAGONAL, Mv<float>::kDiagonal, 3),

        law("uniform.i", rukiRngUniform, 0, -7, 1000),
        law("uniform_bits.i", rukiRngUniformBits, 0),
        law("bernoulli.i", rukiRngBernoulli, 0, 0.3),
        law("geometric.i", rukiRngGeometric, 0, 0.3),
        law("binomial.20x0.3.i", rukiRngBinomial, 0, 20, 0.3),     // inversion
        law("binomial.1000x0.7.i", rukiRngBinomial, 0, 1000, 0.7),  // rejection, p flipped
        law("hypergeometric.100.20.30.i", rukiRngHypergeometric, 0, 100, 20, 30),             // inversion
        law("hypergeometric.10000.3000.4000.i", rukiRngHypergeometric, 0, 10000, 3000, 4000),  // H2PE
        law("negbinomial.3.5x0.4.i", rukiRngNegbinomial, 0, 3.5, 0.4),      // inversion
        law("negbinomial.150.5x0.3.i", rukiRngNegbinomial, 0, 150.5, 0.3),  // rejection
        law("poisson.m0.5.i", rukiRngPoisson, RUK_METHOD_POISSON_TABLE_REJECT, 5.0),
        law("poisson.m0.500.i", rukiRngPoisson, RUK_METHOD_POISSON_TABLE_REJECT, 500.0),
        law("poisson.m1.0.7.i", rukiRngPoisson, RUK_METHOD_POISSON_GAUSSIAN_MAP, 0.7),
        law("poisson.m1.50.i", rukiRngPoisson, RUK_METHOD_POISSON_GAUSSIAN_MAP, 50.0),
        poisson_v(),
    };
    return cases;
}

FrozenHashes hash_stream(const FrozenStream& c, bool full) {
    RukStream* stream = nullptr;
    int32_t status = rukNewStreamEx(&stream, c.brng, static_cast<int32_t>(c.seed.size()), c.seed.data());
    const int32_t total = full ? kFrozenCount : kFrozenPrefix;
    std::vector<unsigned char> buffer(static_cast<std::size_t>(kFrozenCall) * c.bytes);
    Sha256 sha;
    FrozenHashes h;
    // The same calls whatever the total, so that the prefix never depends on it.
    for (int32_t done = 0; status >= 0 && done < total;) {
        const int32_t n = kFrozenCount - done < kFrozenCall ? kFrozenCount - done : kFrozenCall;
        status = c.draw(stream, n, buffer.data());
        const int32_t in_prefix = done < kFrozenPrefix ? std::min(n, kFrozenPrefix - done) : 0;
        sha.add(buffer.data(), static_cast<std::size_t>(in_prefix) * c.bytes);
        if (done + in_prefix == kFrozenPrefix && in_prefix > 0) h.prefix = sha.hex();
        if (full) sha.add(buffer.data() + in_prefix * c.bytes, static_cast<std::size_t>(n - in_prefix) * c.bytes);
        done += n;
    }
    rukDeleteStream(&stream);
    if (status < 0) return {"status" + std::to_string(status), ""};
    if (full) h.full = sha.hex();
    return h;
}

const std::vector<std::string>& class_sets() {
    static const std::vector<std::string> sets = {"baseline", "simd"};
    return sets;
}

// AVX2 and AVX-512 give the same results: one set.
std::string class_set_in_use() { return xebGetKernelClass() == XEB_KERNEL_BASELINE ? "baseline" : "simd"; }

std::vector<FrozenRow> read_rows(const std::string& path) {
    std::vector<FrozenRow> rows;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        FrozenRow row;
        std::string classes;
        fields >> row.name >> classes >> row.hashes.prefix >> row.hashes.full;
        std::istringstream list(classes);
        for (std::string c; std::getline(list, c, ',');) row.classes.push_back(c);
        rows.push_back(row);
    }
    return rows;
}

const FrozenRow* row_for(const std::vector<FrozenRow>& rows, const std::string& name,
                         const std::string& cls) {
    for (const FrozenRow& r : rows)
        for (const std::string& c : r.classes)
            if (r.name == name && c == cls) return &r;
    return nullptr;
}

}  // namespace xtools
