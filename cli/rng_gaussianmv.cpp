// `xebruk rng --law gaussianmv`: vectors y = T z + a of a multivariate
// normal law, T the lower triangular Cholesky factor of the covariance read
// from --factor, a the mean read from --mean (zeros without it).  --storage
// says how the factor file holds T:
//   full      d rows of d values (a 2-D text file or .npy array), upper
//             triangle zero;
//   packed    the d (d + 1) / 2 values of the lower triangle, column after
//             column (T(0..d-1, 0), then T(1..d-1, 1), ...);
//   diagonal  the d values of the diagonal.
// The parameters the draws receive: d, the library's storage number, the d
// values of a, then the factor's values as the storage lays them out.
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "readers.h"
#include "rng_choices.h"
#include "xebruk/rng_continuous.h"

namespace cli {
namespace {

std::string number(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", v);
    return buf;
}

// Every value finite, in single precision too when the draw is single.
std::string finite_values(const Signal& s, const std::string& path, bool single) {
    for (double v : s.values)
        if (!std::isfinite(v) || (single && !std::isfinite(static_cast<float>(v))))
            return "'" + path + "' holds " + number(v) + ", not a finite " +
                   (single ? "single-precision number" : "number");
    return "";
}

// The dimension a factor file gives under a storage, after its shape checks.
std::string factor_dimension(const Signal& s, const std::string& path, const std::string& storage,
                             int64_t& d) {
    const int64_t count = static_cast<int64_t>(s.values.size());
    const bool flat = s.shape.size() == 1;
    if (storage == "full") {
        if (flat && count == 1) {
            d = 1;
            return "";
        }
        if (s.shape.size() != 2 || s.shape[0] != s.shape[1])
            return "'" + path + "' must hold a square array (d rows of d values) for --storage full";
        d = s.shape[0];
        for (int64_t j = 0; j < d; ++j)
            for (int64_t k = j + 1; k < d; ++k)
                if (const double v = s.values[static_cast<std::size_t>(j * d + k)]; v != 0)
                    return "'" + path + "': the factor must be lower triangular, but row " + std::to_string(j) +
                           " holds " + number(v) + " in column " + std::to_string(k) +
                           " (give the Cholesky factor of the covariance, not the covariance)";
        return "";
    }
    if (!flat) return "'" + path + "' must hold one row or column of values for --storage " + storage;
    if (storage == "diagonal") {
        d = count;
        return "";
    }
    // packed: count = d (d + 1) / 2
    d = static_cast<int64_t>(std::floor((std::sqrt(8.0 * static_cast<double>(count) + 1) - 1) / 2));
    while (d * (d + 1) / 2 < count) ++d;
    while (d > 1 && d * (d + 1) / 2 > count) --d;
    if (d * (d + 1) / 2 != count)
        return "'" + path + "' holds " + std::to_string(count) +
               " values; a packed factor of dimension d holds d (d + 1) / 2 of them (1, 3, 6, 10, ...)";
    return "";
}

std::string setup(const VectorInputs& in, std::vector<double>& params, int64_t& dim) {
    const std::string storage = in.storage.empty() ? "full" : in.storage;
    int32_t code;
    if (storage == "full")
        code = RUK_FACTOR_SQUARE;
    else if (storage == "packed")
        code = RUK_FACTOR_PACKED;
    else if (storage == "diagonal")
        code = RUK_FACTOR_DIAGONAL;
    else
        return "--storage is full, packed or diagonal, not '" + storage + "'";
    if (in.factor.empty()) return "needs --factor FILE, the lower triangular Cholesky factor of the covariance";
    Signal factor;
    if (std::string err = read_array(in.factor, true, factor); !err.empty()) return err;
    if (std::string err = finite_values(factor, in.factor, in.single); !err.empty()) return err;
    int64_t d = 0;
    if (std::string err = factor_dimension(factor, in.factor, storage, d); !err.empty()) return err;
    if (d < 1 || d > std::numeric_limits<int32_t>::max()) return "'" + in.factor + "' holds no values";
    Signal mean;
    if (!in.mean.empty()) {
        if (std::string err = read_array(in.mean, true, mean); !err.empty()) return err;
        if (mean.shape.size() != 1 || static_cast<int64_t>(mean.values.size()) != d)
            return "'" + in.mean + "' must hold the " + std::to_string(d) +
                   " values of the mean, one row or column, as the factor has dimension " + std::to_string(d);
        if (std::string err = finite_values(mean, in.mean, in.single); !err.empty()) return err;
    } else {
        mean.values.assign(static_cast<std::size_t>(d), 0.0);
    }
    params = {static_cast<double>(d), static_cast<double>(code)};
    params.insert(params.end(), mean.values.begin(), mean.values.end());
    params.insert(params.end(), factor.values.begin(), factor.values.end());
    dim = d;
    return "";
}

// The draw of n vectors from the packed parameters; the single form rounds
// the mean and factor to single first.
template <class T, int32_t (*F)(int32_t, RukStream*, int32_t, T*, int32_t, int32_t, const T*, const T*)>
int32_t draw(int32_t method, RukStream* stream, int32_t n, T* r, const double* p) {
    const auto d = static_cast<int32_t>(p[0]);
    const auto storage = static_cast<int32_t>(p[1]);
    const int64_t factor_count = storage == RUK_FACTOR_SQUARE   ? int64_t{d} * d
                                 : storage == RUK_FACTOR_PACKED ? int64_t{d} * (d + 1) / 2
                                                                : d;
    const std::vector<T> values(p + 2, p + 2 + d + factor_count);
    return F(method, stream, n, r, d, storage, values.data(), values.data() + d);
}

const RngRegistration vector_laws(std::vector<LawChoice>{
    {"gaussianmv", {}, {}, "T z + a: --factor FILE [--mean FILE] [--storage S]",
     draw<double, rukdRngGaussianMV>, draw<float, ruksRngGaussianMV>, nullptr, nullptr, setup},
});

}  // namespace
}  // namespace cli
