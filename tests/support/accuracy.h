// The one declarative table of kernel accuracy: for every exported kernel
// with code of its own (and every forwarder, which must measure the same),
// its precision, form, the bound the tests enforce and the intervals it is
// measured on.  The accuracy tests and tools/accuracy_report (which writes
// docs/accuracy.md) both run from it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "support/args.h"

namespace xt {

using RefUnary = long double (*)(long double);
using RefBinary = long double (*)(long double, long double);

struct KernelAccuracy {
    const char* name = "";    // exported name
    char precision = 'd';     // 'd' or 's'
    const char* form = "HA";  // "HA", "50", "21", "11"
    double bound_ulp = 0;     // the bound the tests enforce (and the kernel's comment states)
    // The bound in the SIMD kernel classes, for kernels with class code
    // (0: none, bound_ulp holds in every class).
    double class_bound_ulp = 0;
    // Exactly one kernel pointer is set, matching the shape.
    void (*d1)(int, const double*, double*) = nullptr;
    void (*d2)(int, const double*, const double*, double*) = nullptr;
    void (*s1)(int, const float*, float*) = nullptr;
    void (*s2)(int, const float*, const float*, float*) = nullptr;
    void (*dx)(int, const double*, double, double*) = nullptr;  // scalar second argument
    void (*sx)(int, const float*, float, float*) = nullptr;
    void (*d1x2)(int, const double*, double*, double*) = nullptr;  // one in, two out
    void (*s1x2)(int, const float*, float*, float*) = nullptr;
    RefUnary ref1 = nullptr;
    RefBinary ref2 = nullptr;
    RefUnary ref1_second = nullptr;  // reference of the second output (two-output kernels)
    // An exact reference (MPFR): every error above half an ulp against ref1
    // is measured again against it, so the maximum is the exact one.
    RefUnary exact1 = nullptr;
    std::vector<Range> a_ranges;  // first argument
    std::vector<Range> b_ranges;  // second argument (binary kernels)
    std::vector<double> b_scalars;  // scalar second argument: each value against every a range
};

// The whole table, sorted by name.  Each family adds its rows from its own
// file, tests/support/accuracy_<family>.cpp, with a static AccuracyRows.
const std::vector<KernelAccuracy>& accuracy_table();

struct AccuracyRows {
    explicit AccuracyRows(std::vector<KernelAccuracy> (*rows)());
};

// Row builders.
KernelAccuracy unary_row(const char* name, const char* form, double bound,
                         void (*f)(int, const double*, double*), RefUnary ref, std::vector<Range> a);
KernelAccuracy unary_row(const char* name, const char* form, double bound,
                         void (*f)(int, const float*, float*), RefUnary ref, std::vector<Range> a);
KernelAccuracy binary_row(const char* name, const char* form, double bound,
                          void (*f)(int, const double*, const double*, double*), RefBinary ref,
                          std::vector<Range> a, std::vector<Range> b);
KernelAccuracy binary_row(const char* name, const char* form, double bound,
                          void (*f)(int, const float*, const float*, float*), RefBinary ref,
                          std::vector<Range> a, std::vector<Range> b);

KernelAccuracy scalar_row(const char* name, const char* form, double bound,
                          void (*f)(int, const double*, double, double*), RefBinary ref,
                          std::vector<Range> a, std::vector<double> b);
KernelAccuracy scalar_row(const char* name, const char* form, double bound,
                          void (*f)(int, const float*, float, float*), RefBinary ref,
                          std::vector<Range> a, std::vector<double> b);
// Kernels of one input and two outputs (n, a, y, z): y against ref_y, z
// against ref_z; the measure is the worse of the two.
KernelAccuracy two_output_row(const char* name, const char* form, double bound,
                              void (*f)(int, const double*, double*, double*), RefUnary ref_y,
                              RefUnary ref_z, std::vector<Range> a);
KernelAccuracy two_output_row(const char* name, const char* form, double bound,
                              void (*f)(int, const float*, float*, float*), RefUnary ref_y,
                              RefUnary ref_z, std::vector<Range> a);

// Ranges used by many families.
extern const Range kAllDoubles;  // every finite nonzero double magnitude, both signs
extern const Range kAllFloats;

struct Measurement {
    double max_ulp = 0;
    double worst_a = 0;
    double worst_b = 0;
    std::size_t count = 0;
    uint64_t results_hash = 0;  // of every result's bits, in order
};

// The bound that holds in the kernel class in use.
double bound_in_use(const KernelAccuracy& k);

// Measures a kernel over `count` arguments from each of its ranges (pairs
// drawn independently for binary kernels), with events silenced.
Measurement measure(const KernelAccuracy& k, std::size_t count_per_range, uint64_t seed);

}  // namespace xt
