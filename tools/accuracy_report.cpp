// Measures every kernel of the accuracy table (tests/support/accuracy.h)
// and writes docs/accuracy.md: maximum error in ulps, where it occurs, how
// many arguments were tried on which intervals.  Exits 1 if a kernel is
// over its bound.
//
//   accuracy_report [--count N] [--out FILE]   (defaults: 1000000, standard output)
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/accuracy.h"
#include "support/kernel_class.h"

namespace {

// Seed from the kernel's name, so that a kernel measures the same whatever
// rows other families add to the table.
uint64_t seed_of(const char* name) {
    uint64_t h = 1469598103934665603ull;
    for (const char* p = name; *p; ++p) h = (h ^ static_cast<unsigned char>(*p)) * 1099511628211ull;
    return h;
}

std::string number(double v, char precision) {
    char buf[48];
    std::snprintf(buf, sizeof buf, precision == 'd' ? "%.17g" : "%.9g", v);
    return buf;
}

std::string interval(const xt::Range& r) {
    char buf[96];
    if (r.both_signs) std::snprintf(buf, sizeof buf, "±[%.6g, %.6g]", r.lo, r.hi);
    else std::snprintf(buf, sizeof buf, "[%.6g, %.6g]", r.lo, r.hi);
    return buf;
}

std::string intervals(const std::vector<xt::Range>& ranges) {
    std::string s;
    for (const xt::Range& r : ranges) s += (s.empty() ? "" : ", ") + interval(r);
    return s;
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t count = 1000000;
    const char* out_path = nullptr;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--count") && i + 1 < argc) {
            char* end = nullptr;
            const unsigned long long v = std::strtoull(argv[++i], &end, 10);
            if (*end != '\0' || v == 0) {
                std::fprintf(stderr, "accuracy_report: --count needs a positive whole number\n");
                return 2;
            }
            count = static_cast<std::size_t>(v);
        } else if (!std::strcmp(argv[i], "--out") && i + 1 < argc) {
            out_path = argv[++i];
        } else {
            std::fprintf(stderr, "usage: accuracy_report [--count N] [--out FILE]\n");
            return 2;
        }
    }

    std::string text =
        "# Measured accuracy\n\n"
        "Written by `tools/accuracy_report` (build target `accuracy_doc`); do not edit.\n\n"
        "Each kernel of the accuracy table (`tests/support/accuracy.h`) is run over " +
        std::to_string(count) +
        " arguments per interval, drawn uniformly over the bit patterns of the\n"
        "interval (so every binade gets its share) with a fixed seed. The error is\n"
        "|result - reference| in units in the last place of the result's format at the\n"
        "reference, which is glibc's `long double` function (64-bit significand) unless\n"
        "the row says otherwise; where a kernel's row has an MPFR reference (128 bits),\n"
        "every error above half an ulp is measured again against it. A reference beyond\n"
        "the format's range counts as met by an infinity. ±[lo, hi] means both signs.\n"
        "Kernels with code in the SIMD kernel classes are measured in each class this\n"
        "machine runs (Class), the others once (all: every class runs the baseline's\n"
        "code). The bound is the one the tests enforce and the kernel's error budget\n"
        "states, in that class.\n\n"
        "| Kernel | Class | Form | Bound | Max error (ulp) | Worst argument | Arguments | Intervals |\n"
        "|---|---|---|---|---|---|---|---|\n";
    int over = 0;
    // Kernels with class code are measured in every class this machine
    // runs; the others once (every class runs the baseline's code).
    const std::vector<xt::KernelClass> classes = xt::machine_classes();
    const xt::KernelClass chosen = xeb::frame::kernel_class();
    for (const xt::KernelAccuracy& k : xt::accuracy_table())
        for (xt::KernelClass c : classes) {
        const bool per_class = k.class_bound_ulp > 0;
        if (!per_class && c != chosen) continue;
        xt::ClassInUse in_use(c);
        const xt::Measurement m = xt::measure(k, count, seed_of(k.name));
        const double bound = xt::bound_in_use(k);
        const char* cls = per_class ? xeb::frame::class_name(c) : "all";
        std::string worst = number(m.worst_a, k.precision);
        if (!k.b_ranges.empty() || !k.b_scalars.empty()) worst += ", " + number(m.worst_b, k.precision);
        std::string ranges = intervals(k.a_ranges);
        if (!k.b_ranges.empty()) ranges = "a: " + ranges + "; b: " + intervals(k.b_ranges);
        if (!k.b_scalars.empty()) {
            // A kernel with a scalar second argument: each value against every a interval.
            std::string values;
            for (double b : k.b_scalars) values += (values.empty() ? "" : ", ") + number(b, k.precision);
            ranges = "a: " + ranges + "; scalar b: " + values;
        }
        char line[1024];
        const bool fails = !(m.max_ulp < bound);
        over += fails;
        std::snprintf(line, sizeof line, "| `%s` | %s | %s | %.3g | %.3f%s | %s | %zu | %s |\n", k.name, cls,
                      k.form, bound, m.max_ulp, fails ? " (over)" : "", worst.c_str(), m.count, ranges.c_str());
        text += line;
        std::fprintf(stderr, "%-14s %-8s %.3f ulp\n", k.name, cls, m.max_ulp);
        }

    FILE* f = out_path ? std::fopen(out_path, "w") : stdout;
    if (f == nullptr) {
        std::fprintf(stderr, "accuracy_report: cannot write %s\n", out_path);
        return 1;
    }
    std::fputs(text.c_str(), f);
    if (out_path) std::fclose(f);
    return over == 0 ? 0 : 1;
}
