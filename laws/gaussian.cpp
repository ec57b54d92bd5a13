// Gaussian(a, sigma) by the Box-Muller transform: for a pair (U1, U2) on
// (0, 1), R = sqrt(-2 ln U1) and T = 2 pi U2 give R sin T and R cos T,
// two independent standard normal values; the result is a + sigma x.
// Even draws are U1, odd draws U2.
//
// Method 0 (RUK_METHOD_GAUSSIAN_SINGLE) keeps R sin T alone: blocks of 512
// results from 1,024 uniforms.  Method 1 (RUK_METHOD_GAUSSIAN_PAIRED) keeps
// both, sine first: blocks of 1,024 results from 1,024 uniforms.  When a
// call ends in the middle of a pair, the pair's raw uniforms stay in the
// stream (chunk 2 in double, chunk 1 in single: two elements, -1 in the
// first when no pair is pending) and the next call begins with its cosine,
// so that successive calls continue the sequence of one call (up to the
// rounding difference between the separate sine or cosine kernel and the
// paired one).  Since the raw uniforms are kept, a later call may change
// a and sigma.
//
// Error of x before the final pass: the logarithm, the root and the
// trigonometric kernel (each below 1 ulp in double; the single sine and
// cosine are the low-accuracy forms, below 4 ulp) and the product; about
// 3 ulp of R in double.  The angle 2 pi U2 is rounded to the working type
// before the sine, an absolute error of up to half an ulp of 2 pi (2^-51
// in double), which moves R sin T by up to 4 ulp of 2R near a zero of the
// sine.  Bound against the exact transform of the same uniforms: 6 ulp
// (double) and 8 ulp (single) of the larger of |a| and sigma R.
#include "laws/chunk_cache.h"
#include "laws/continuous.h"
#include "rng/load_checks.h"

namespace xeb::laws {
namespace {

// The chunk of a pending pair: its two raw uniforms, or -1 in both when no
// pair is pending.
template <class T>
struct PendingPair {
    T u[2];
};

// A loaded pair must be one of the two: raw uniforms on [0, 1], as every
// generator's (0, 1) kernel gives them, or the empty mark.
template <class T>
bool valid_pair(void* data) {
    const auto* p = static_cast<const PendingPair<T>*>(data);
    const bool empty = p->u[0] == T(-1) && p->u[1] == T(-1);
    const bool pending = p->u[0] >= T(0) && p->u[0] <= T(1) && p->u[1] >= T(0) && p->u[1] <= T(1);
    return empty || pending;
}
const rng::ChunkCheckRegistration kDoublePairCheck{RUK_CHUNK_GAUSSIAN_DOUBLE_PAIR,
                                                   sizeof(PendingPair<double>), valid_pair<double>};
const rng::ChunkCheckRegistration kSinglePairCheck{RUK_CHUNK_GAUSSIAN_SINGLE_PAIR,
                                                   sizeof(PendingPair<float>), valid_pair<float>};

template <class T>
struct BoxMuller {
    using P = Precision<T>;

    // u <- sqrt(-2 ln u), in place.
    static void radii(int32_t k, T* u) {
        P::ln(k, u);
        for (int32_t i = 0; i < k; ++i) u[i] = minus_twice(u[i]);
        P::sqrt(k, u);
    }
    static void angles(int32_t k, T* u) {
        for (int32_t i = 0; i < k; ++i) u[i] = mul(u[i], P::kTwoPi);
    }
    // Pairs u[2i], u[2i+1] of draws into radius[i] and the angle 2 pi
    // u[2i+1] into angle[i], in one pass; angle may be u itself (reads stay
    // ahead of writes).
    static void split(int32_t k, const T* u, T* radius, T* angle) {
        for (int32_t i = 0; i < k; ++i) {
            const T size = u[2 * i], side = u[2 * i + 1];
            radius[i] = size;
            angle[i] = mul(side, P::kTwoPi);
        }
    }

    // Method 0: k results R sin T into r from 2k draws.
    static int32_t single_block(RukStream* stream, int32_t k, T* r, T* buffer) {
        const int32_t status = P::uniform(stream, 2 * k, buffer, T(0), T(1));
        if (status < 0) return status;
        split(k, buffer, r, buffer);
        P::sin(k, buffer, buffer);
        radii(k, r);
        for (int32_t i = 0; i < k; ++i) r[i] = mul(r[i], buffer[i]);
        return status;
    }

    static int32_t single(RukStream* stream, int32_t n, T* r, T a, T sigma) {
        constexpr int32_t kResults = kBlock / 2;
        T buffer[kBlock];
        // A negative n counts as 0 here: nothing drawn, nothing written.
        const int32_t blocks = n > 0 ? n / kResults : 0;
        for (int32_t b = 0; b < blocks; ++b) {
            const int32_t status = single_block(stream, kResults, r + b * kResults, buffer);
            if (status < 0) return status;
        }
        // The rest is drawn even when empty: its status is the result.
        const int32_t rest = n - blocks * kResults;
        const int32_t status = single_block(stream, rest > 0 ? rest : 0, r + blocks * kResults, buffer);
        if (status < 0) return status;
        affine(n, r, sigma, a);
        return status;
    }

    struct Scratch {
        T draws[kBlock];
        T radius[kBlock / 2], angle[kBlock / 2], sine[kBlock / 2], cosine[kBlock / 2];
    };

    // Method 1: 2 pairs results R sin T, R cos T, ... into out from 2 pairs draws.
    static int32_t paired_block(RukStream* stream, int32_t pairs, T* out, Scratch& s) {
        const int32_t status = P::uniform(stream, 2 * pairs, s.draws, T(0), T(1));
        if (status < 0) return status;
        split(pairs, s.draws, s.radius, s.angle);
        P::sincos(pairs, s.angle, s.sine, s.cosine);
        radii(pairs, s.radius);
        for (int32_t i = 0; i < pairs; ++i) {
            out[2 * i] = mul(s.radius[i], s.sine[i]);
            out[2 * i + 1] = mul(s.radius[i], s.cosine[i]);
        }
        return status;
    }

    // The pending-pair record of the stream, made empty on first use.
    static int32_t pending_record(RukStream* stream, T*& record) {
        int32_t status = RUK_OK;
        bool made = false;
        auto* pair = stream_cache<PendingPair<T>>(stream, P::kGaussianChunk, &status, &made);
        if (!pair) return status;
        if (made) pair->u[0] = pair->u[1] = T(-1);
        record = pair->u;
        return RUK_OK;
    }

    static int32_t paired(RukStream* stream, int32_t n, T* r, T a, T sigma) {
        T* record;
        int32_t status = pending_record(stream, record);
        if (status < 0) return status;
        // A count of zero or below leaves a pending pair where it is.
        if (n <= 0) return RUK_OK;
        int32_t k = 0;
        if (record[0] != T(-1)) {
            // The cosine of the pending pair, transformed in the record.
            angles(1, record + 1);
            P::cos(1, record + 1);
            radii(1, record);
            r[0] = mul(record[0], record[1]);
            k = 1;
        }
        const int32_t t = n - k;  // results still to make
        Scratch s;
        for (int32_t b = 0; b < t / kBlock; ++b, k += kBlock) {
            status = paired_block(stream, kBlock / 2, r + k, s);
            if (status < 0) return status;
        }
        if (const int32_t pairs = (n - k) / 2; pairs >= 1) {
            status = paired_block(stream, pairs, r + k, s);
            if (status < 0) return status;
            k += 2 * pairs;
        }
        if (t % 2 == 0) {
            record[0] = record[1] = T(-1);
        } else {
            // One result short: a new pair, kept raw, gives its sine now.
            T u[2];
            status = P::uniform(stream, 2, u, T(0), T(1));
            if (status < 0) return status;
            record[0] = u[0];
            record[1] = u[1];
            angles(1, u + 1);
            P::sin(1, u + 1, u + 1);
            radii(1, u);
            r[k] = mul(u[0], u[1]);
        }
        affine(n, r, sigma, a);
        return status;
    }

    static int32_t draw(int32_t method, RukStream* stream, int32_t n, T* r, T a, T sigma) {
        using Method = int32_t (*)(RukStream*, int32_t, T*, T, T);
        static constexpr Method kMethods[2] = {single, paired};
        // An index outside the table is refused rather than followed.
        if (method < 0 || method > 1) return RUK_ERROR_UNKNOWN_METHOD;
        return kMethods[method](stream, n, r, a, sigma);
    }
};

}  // namespace
}  // namespace xeb::laws

using namespace xeb::laws;

int32_t rukdRngGaussian(int32_t method, RukStream* stream, int32_t n, double* r, double a,
                        double sigma) {
    const xeb::frame::StreamControlWords words;
    return BoxMuller<double>::draw(method, stream, n, r, a, sigma);
}
int32_t ruksRngGaussian(int32_t method, RukStream* stream, int32_t n, float* r, float a,
                        float sigma) {
    const xeb::frame::StreamControlWords words;
    return BoxMuller<float>::draw(method, stream, n, r, a, sigma);
}
