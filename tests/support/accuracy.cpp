#include "support/accuracy.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>

#include "support/ulp.h"
#include "xebruk/frame.h"

namespace xt {

const Range kAllDoubles{kDoubleTrueMin, DBL_MAX, true};
const Range kAllFloats{FLT_TRUE_MIN, FLT_MAX, true};

namespace {

std::vector<KernelAccuracy>& rows() {
    static std::vector<KernelAccuracy> table;
    return table;
}

KernelAccuracy entry(const char* name, char precision, const char* form, double bound) {
    KernelAccuracy k;
    k.name = name;
    k.precision = precision;
    k.form = form;
    k.bound_ulp = bound;
    return k;
}

void keep_worst(Measurement& m, double e, double a, double b) {
    if (e > m.max_ulp || std::isnan(e)) {
        m.max_ulp = e;
        m.worst_a = a;
        m.worst_b = b;
    }
}

// b_scalar: the scalar argument of a kernel of that shape (NaN otherwise).
template <class T>
void measure_range(const KernelAccuracy& k, const Range& ra, const Range& rb, double b_scalar,
                   std::size_t count, std::mt19937_64& rng, Measurement& m) {
    constexpr bool is_double = sizeof(T) == sizeof(double);
    auto draw = [&](const Range& r) {
        if constexpr (is_double) return sample(r, count, rng);
        else return sample_float(r, count, rng);
    };
    const bool binary = k.ref2 != nullptr;
    std::vector<T> a = draw(ra), b = draw(rb), r(count), z(count);
    const bool scalar = k.dx != nullptr || k.sx != nullptr;
    if (scalar) b.assign(count, static_cast<T>(b_scalar));
    const int n = static_cast<int>(count);
    if constexpr (is_double) {
        if (k.d1) k.d1(n, a.data(), r.data());
        else if (k.dx) k.dx(n, a.data(), b_scalar, r.data());
        else if (k.d1x2) k.d1x2(n, a.data(), r.data(), z.data());
        else k.d2(n, a.data(), b.data(), r.data());
    } else {
        if (k.s1) k.s1(n, a.data(), r.data());
        else if (k.sx) k.sx(n, a.data(), static_cast<float>(b_scalar), r.data());
        else if (k.s1x2) k.s1x2(n, a.data(), r.data(), z.data());
        else k.s2(n, a.data(), b.data(), r.data());
    }
    const long double top = is_double ? DBL_MAX : FLT_MAX;
    auto check = [&](T got, long double ref, std::size_t i, RefUnary exact) {
        // A reference beyond the format's range is met by an infinity.
        if (std::fabs(ref) > top && std::isinf(got)) return;
        double e = ulp_error(got, ref);
        if (e > 0.5 && exact != nullptr) e = ulp_error(got, exact(a[i]));
        keep_worst(m, e, a[i], binary ? b[i] : a[i]);
    };
    for (std::size_t i = 0; i < count; ++i) {
        check(r[i], binary ? k.ref2(a[i], b[i]) : k.ref1(a[i]), i, k.exact1);
        if (k.ref1_second) check(z[i], k.ref1_second(a[i]), i, nullptr);
    }
    for (std::size_t i = 0; i < count; ++i) {
        uint64_t bits = 0;
        std::memcpy(&bits, &r[i], sizeof r[i]);
        m.results_hash = (m.results_hash ^ bits) * 1099511628211ull;
    }
    m.count += count;
}

}  // namespace

AccuracyRows::AccuracyRows(std::vector<KernelAccuracy> (*make)()) {
    for (auto& k : make()) rows().push_back(std::move(k));
    std::sort(rows().begin(), rows().end(), [](const KernelAccuracy& x, const KernelAccuracy& y) {
        return std::strcmp(x.name, y.name) < 0;
    });
}

const std::vector<KernelAccuracy>& accuracy_table() { return rows(); }

double bound_in_use(const KernelAccuracy& k) {
    const bool wide = xebGetKernelClass() != XEB_KERNEL_BASELINE;
    return wide && k.class_bound_ulp > 0 ? k.class_bound_ulp : k.bound_ulp;
}

KernelAccuracy unary_row(const char* name, const char* form, double bound,
                         void (*f)(int, const double*, double*), RefUnary ref, std::vector<Range> a) {
    KernelAccuracy k = entry(name, 'd', form, bound);
    k.d1 = f;
    k.ref1 = ref;
    k.a_ranges = std::move(a);
    return k;
}

KernelAccuracy unary_row(const char* name, const char* form, double bound,
                         void (*f)(int, const float*, float*), RefUnary ref, std::vector<Range> a) {
    KernelAccuracy k = entry(name, 's', form, bound);
    k.s1 = f;
    k.ref1 = ref;
    k.a_ranges = std::move(a);
    return k;
}

KernelAccuracy binary_row(const char* name, const char* form, double bound,
                          void (*f)(int, const double*, const double*, double*), RefBinary ref,
                          std::vector<Range> a, std::vector<Range> b) {
    KernelAccuracy k = entry(name, 'd', form, bound);
    k.d2 = f;
    k.ref2 = ref;
    k.a_ranges = std::move(a);
    k.b_ranges = std::move(b);
    return k;
}

KernelAccuracy binary_row(const char* name, const char* form, double bound,
                          void (*f)(int, const float*, const float*, float*), RefBinary ref,
                          std::vector<Range> a, std::vector<Range> b) {
    KernelAccuracy k = entry(name, 's', form, bound);
    k.s2 = f;
    k.ref2 = ref;
    k.a_ranges = std::move(a);
    k.b_ranges = std::move(b);
    return k;
}

template <class F>
KernelAccuracy scalar_row_in(char precision, F KernelAccuracy::*slot, const char* name, const char* form,
                             double bound, F f, RefBinary ref, std::vector<Range> a, std::vector<double> b) {
    KernelAccuracy k = entry(name, precision, form, bound);
    k.*slot = f;
    k.ref2 = ref;
    k.a_ranges = std::move(a);
    k.b_scalars = std::move(b);
    return k;
}

KernelAccuracy scalar_row(const char* name, const char* form, double bound,
                          void (*f)(int, const double*, double, double*), RefBinary ref,
                          std::vector<Range> a, std::vector<double> b) {
    return scalar_row_in('d', &KernelAccuracy::dx, name, form, bound, f, ref, std::move(a), std::move(b));
}

KernelAccuracy scalar_row(const char* name, const char* form, double bound,
                          void (*f)(int, const float*, float, float*), RefBinary ref,
                          std::vector<Range> a, std::vector<double> b) {
    return scalar_row_in('s', &KernelAccuracy::sx, name, form, bound, f, ref, std::move(a), std::move(b));
}

namespace {

void set_kernel(KernelAccuracy& k, void (*f)(int, const double*, double*, double*)) { k.d1x2 = f; }
void set_kernel(KernelAccuracy& k, void (*f)(int, const float*, float*, float*)) { k.s1x2 = f; }

template <class T>
KernelAccuracy two_output(const char* name, const char* form, double bound,
                          void (*f)(int, const T*, T*, T*), RefUnary ref_y, RefUnary ref_z,
                          std::vector<Range> a) {
    KernelAccuracy k = entry(name, sizeof(T) == sizeof(double) ? 'd' : 's', form, bound);
    set_kernel(k, f);
    k.ref1 = ref_y;
    k.ref1_second = ref_z;
    k.a_ranges = std::move(a);
    return k;
}

}  // namespace

KernelAccuracy two_output_row(const char* name, const char* form, double bound,
                              void (*f)(int, const double*, double*, double*), RefUnary ref_y,
                              RefUnary ref_z, std::vector<Range> a) {
    return two_output(name, form, bound, f, ref_y, ref_z, std::move(a));
}

KernelAccuracy two_output_row(const char* name, const char* form, double bound,
                              void (*f)(int, const float*, float*, float*), RefUnary ref_y,
                              RefUnary ref_z, std::vector<Range> a) {
    return two_output(name, form, bound, f, ref_y, ref_z, std::move(a));
}

Measurement measure(const KernelAccuracy& k, std::size_t count, uint64_t seed) {
    Measurement m;
    std::mt19937_64 rng = seeded(seed);
    const uint32_t old_mode = xebSetMode(XEB_REPORT_NONE);
    const int32_t old_status = xebGetErrStatus();
    // A scalar-argument kernel runs every a range once per scalar value,
    // with the count shared out among the values.
    const std::vector<double> scalars = k.b_scalars.empty() ? std::vector<double>{NAN} : k.b_scalars;
    const std::size_t per = std::max<std::size_t>(count / scalars.size(), 64);
    for (std::size_t ri = 0; ri < k.a_ranges.size(); ++ri) {
        const Range& ra = k.a_ranges[ri];
        const Range& rb = k.b_ranges.empty() ? ra : k.b_ranges[ri % k.b_ranges.size()];
        for (double bs : scalars) {
            const std::size_t c = k.b_scalars.empty() ? count : per;
            if (k.precision == 'd') measure_range<double>(k, ra, rb, bs, c, rng, m);
            else measure_range<float>(k, ra, rb, bs, c, rng, m);
        }
    }
    xebSetMode(old_mode & XEB_REPORT_MASK);
    xebSetErrStatus(old_status);
    return m;
}

}  // namespace xt
