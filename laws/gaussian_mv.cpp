// Multivariate normal vectors: y = T z + a for z a vector of d independent
// standard normals (Gaussian, by the caller's method), T the lower
// triangular Cholesky factor of the covariance (T T' = C) and a the mean.
// All n d normals are drawn into r first, then each vector is transformed
// in place.
//
// Storage of T (T(j, k) for k <= j):
//   RUK_FACTOR_SQUARE    t[j d + k], row after row; the upper triangle is
//                        not read;
//   RUK_FACTOR_PACKED    the lower triangle column after column, T(0..d-1, 0)
//                        then T(1..d-1, 1) and so on, d (d + 1) / 2 values;
//   RUK_FACTOR_DIAGONAL  T(j, j) at t[j].
// Another storage leaves the standard normals as they are.  For d = 1 the
// Gaussian itself gives a[0] + t[0] z whatever the storage.
//
// Order of operations: y[j] = T(j, 0) z[0], then y[j] = T(j, k) z[k] + y[j]
// for k = 1 .. j, then z[j] = y[j] + a[j].  The double form keeps y in the
// 64-bit significand and rounds once, at the store of z[j]; the single form
// rounds every operation to single.  Either way the three storages give
// the same bits for the same factor (a diagonal one in the full forms only
// adds exact zeros).  Error of y[j] + a[j], beyond the normals' own: below
// 1 ulp (double) or (j + 2) ulp (single) of the sum of |T(j, k) z[k]| and
// |a[j]|.
//
// Refusals: a dimension below 1, or n d beyond a 32-bit count, returns
// RUK_ERROR_BAD_ARGUMENT before any draw.  Nothing is allocated, so after a
// successful draw nothing fails.
#include <cstdint>
#include <limits>

#include "laws/continuous.h"

namespace xeb::laws {
namespace {

// y = T z + a in place, one vector after another.  Row j reads z[0..j]
// only, so the rows go from the last to the first and each overwrites its
// own z[j] when done: no scratch vector.  Each y[j] is accumulated by
// rising k in the working precision (a register), exactly the sequence of
// operations of a column-by-column sweep over a scratch vector of that
// precision.
template <class T>
void transform(int32_t n, int32_t d, T* r, const T* a, const T* t, bool packed) {
    using W = typename Precision<T>::Work;
    for (int32_t v = 0; v < n; ++v) {
        T* z = r + int64_t{v} * d;
        for (int32_t j = d - 1; j >= 0; --j) {
            // T(j, k): t[j d + k] (square) or, packed, column k starts after
            // k columns of d, d - 1, ... values: t[k d - k (k - 1) / 2 + j - k].
            const T* row = packed ? t + j : t + int64_t{j} * d;
            int64_t at = 0;
            W y = W(row[0]) * z[0];
            for (int32_t k = 1; k <= j; ++k) {
                at += packed ? d - k : 1;
                y = W(row[at]) * z[k] + y;
            }
            z[j] = static_cast<T>(y + a[j]);
        }
    }
}

template <class T>
int32_t gaussian_mv(int32_t method, RukStream* stream, int32_t n, T* r, int32_t d,
                    int32_t storage, const T* a, const T* t) {
    using P = Precision<T>;
    if (d < 1) return RUK_ERROR_BAD_ARGUMENT;
    if (d == 1) return P::gaussian(method, stream, n, r, a[0], t[0]);
    const int64_t count = int64_t{n} * d;
    if (count > std::numeric_limits<int32_t>::max() || count < std::numeric_limits<int32_t>::min())
        return RUK_ERROR_BAD_ARGUMENT;
    const int32_t status = P::gaussian(method, stream, static_cast<int32_t>(count), r, T(0), T(1));
    if (status < 0) return status;
    if (storage == RUK_FACTOR_DIAGONAL) {
        for (int32_t v = 0; v < n; ++v) {
            T* z = r + int64_t{v} * d;
            for (int32_t j = 0; j < d; ++j) z[j] = mul_add(z[j], t[j], a[j]);
        }
        return status;
    }
    if (storage == RUK_FACTOR_SQUARE || storage == RUK_FACTOR_PACKED)
        transform(n, d, r, a, t, storage == RUK_FACTOR_PACKED);
    return status;
}

}  // namespace
}  // namespace xeb::laws

using namespace xeb::laws;

int32_t rukdRngGaussianMV(int32_t method, RukStream* stream, int32_t n, double* r,
                          int32_t dimension, int32_t storage, const double* a, const double* t) {
    const xeb::frame::StreamControlWords words;
    return gaussian_mv(method, stream, n, r, dimension, storage, a, t);
}
int32_t ruksRngGaussianMV(int32_t method, RukStream* stream, int32_t n, float* r,
                          int32_t dimension, int32_t storage, const float* a, const float* t) {
    const xeb::frame::StreamControlWords words;
    return gaussian_mv(method, stream, n, r, dimension, storage, a, t);
}
