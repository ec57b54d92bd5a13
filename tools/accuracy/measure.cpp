#include "accuracy/measure.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "accuracy/references.h"
#include "accuracy/sampling.h"
#include "accuracy/ulp.h"
#include "xebruk/frame.h"

namespace xt {

namespace {

using xeb::catalogue::Shape;
using xeb::catalogue::VectorKernel;

void keep_worst(Measurement& m, double e, double a, double b) {
    if (e > m.max_ulp || std::isnan(e)) {
        m.max_ulp = e;
        m.worst_a = a;
        m.worst_b = b;
    }
}

// b_scalar: the scalar argument of a kernel of that shape (unused otherwise).
template <class T>
void measure_range(const VectorKernel& k, const Reference& ref, const Range& ra, const Range& rb,
                   double b_scalar, std::size_t count, std::mt19937_64& rng, Measurement& m) {
    constexpr bool is_double = sizeof(T) == sizeof(double);
    auto draw = [&](const Range& r) {
        if constexpr (is_double) return sample(r, count, rng);
        else return sample_float(r, count, rng);
    };
    const bool binary = k.shape == Shape::TwoInputs || k.shape == Shape::ScalarArgument;
    std::vector<T> a = draw(ra), b = draw(rb), r(count), z(count);
    if (k.shape == Shape::ScalarArgument) b.assign(count, static_cast<T>(b_scalar));
    k.run<T>(static_cast<int>(count), a.data(), b.data(), r.data(), z.data());
    const long double top = is_double ? DBL_MAX : FLT_MAX;
    auto check = [&](T got, long double want, std::size_t i, RefUnary exact) {
        // A reference beyond the format's range is met by an infinity.
        if (std::fabs(want) > top && std::isinf(got)) return;
        double e = ulp_error(got, want);
        if (e > 0.5 && exact != nullptr) e = ulp_error(got, exact(a[i]));
        keep_worst(m, e, a[i], binary ? b[i] : a[i]);
    };
    for (std::size_t i = 0; i < count; ++i) {
        check(r[i], binary ? ref.two(a[i], b[i]) : ref.one(a[i]), i, binary ? nullptr : ref.exact);
        if (k.shape == Shape::TwoOutputs) check(z[i], ref.second(a[i]), i, nullptr);
        uint64_t bits = 0;
        std::memcpy(&bits, &r[i], sizeof r[i]);
        m.results_hash = (m.results_hash ^ bits) * 1099511628211ull;
    }
    m.count += count;
}

}  // namespace

Measurement measure(const VectorKernel& k, std::size_t count, uint64_t seed) {
    const Reference* ref = reference_for(k.family);
    if (ref == nullptr) {
        std::fprintf(stderr, "no reference for the family %s (tools/accuracy/references.cpp)\n",
                     k.family.c_str());
        std::abort();
    }
    Measurement m;
    std::mt19937_64 rng = seeded(seed);
    const uint32_t old_mode = xebSetMode(XEB_REPORT_NONE);
    const int32_t old_status = xebGetErrStatus();
    const std::vector<double> scalars = k.scalars.empty() ? std::vector<double>{NAN} : k.scalars;
    const std::size_t per = std::max<std::size_t>(count / scalars.size(), 64);
    for (std::size_t ri = 0; ri < k.a.size(); ++ri) {
        const Range& ra = k.a[ri];
        const Range& rb = k.b.empty() ? ra : k.b[ri % k.b.size()];
        for (double bs : scalars) {
            const std::size_t c = k.scalars.empty() ? count : per;
            if (k.precision == 'd') measure_range<double>(k, *ref, ra, rb, bs, c, rng, m);
            else measure_range<float>(k, *ref, ra, rb, bs, c, rng, m);
        }
    }
    xebSetMode(old_mode & XEB_REPORT_MASK);
    xebSetErrStatus(old_status);
    return m;
}

uint64_t seed_of(const std::string& name) {
    uint64_t h = 1469598103934665603ull;
    for (unsigned char c : name) h = (h ^ c) * 1099511628211ull;
    return h;
}

}  // namespace xt
