// Measures every row of the vector kernel catalogue and writes
// docs/accuracy.md: maximum error in ulps, where it occurs, how many
// arguments were tried on which intervals; a row that forwards shows the
// kernel whose bits it gives.  A kernel with code in the SIMD kernel
// classes (a SIMD bound in the catalogue) has a row per class, measured in
// each class this machine runs.  Exits 1 if a kernel is over its bound.
// --check compares a written file with the catalogue (rows, names, forms,
// bounds, forwarding, intervals) without measuring anything.
//
//   accuracy_report [--count N] [--out FILE]   (defaults: 1000000, standard output)
//   accuracy_report --out FILE --only NAME[,NAME...]
//   accuracy_report --check FILE
// --only measures the rows of the kernels whose names start with one of the
// given prefixes and takes every other row's measured columns from FILE as
// it stands (the measurement is deterministic: a fixed seed per kernel), so
// that a change to one family rewrites its rows without measuring them all.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "accuracy/measure.h"
#include "catalogue/vector_kernels.h"
#include "frame/kernel_class.h"
#include "vecmath/kernel_table.h"

namespace {

using xeb::catalogue::Interval;
using xeb::catalogue::VectorKernel;

std::string number(double v, char precision) {
    char buf[48];
    std::snprintf(buf, sizeof buf, precision == 'd' ? "%.17g" : "%.9g", v);
    return buf;
}

std::string interval(const Interval& r) {
    char buf[96];
    if (r.both_signs) std::snprintf(buf, sizeof buf, "±[%.6g, %.6g]", r.lo, r.hi);
    else std::snprintf(buf, sizeof buf, "[%.6g, %.6g]", r.lo, r.hi);
    return buf;
}

std::string intervals(const std::vector<Interval>& ranges) {
    std::string s;
    for (const Interval& r : ranges) s += (s.empty() ? "" : ", ") + interval(r);
    return s;
}

using xeb::frame::KernelClass;
constexpr KernelClass kClasses[] = {KernelClass::Baseline, KernelClass::Avx2, KernelClass::Avx512};

std::string bound(const VectorKernel& k, KernelClass c) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.3g", k.bound_for(c != KernelClass::Baseline));
    return buf;
}

// The classes a row is shown for: each of them for a kernel with class
// code (or forwarding to one), otherwise one row, "all".
std::vector<const char*> classes_of(const VectorKernel& k) {
    const VectorKernel* target = xeb::catalogue::forward_target(k);
    if ((target ? target : &k)->simd_bound_ulp == 0) return {"all"};
    return {"baseline", "avx2", "avx512"};
}

KernelClass class_named(const std::string& name) {
    for (KernelClass c : kClasses)
        if (name == xeb::frame::class_name(c)) return c;
    return KernelClass::Baseline;
}

// The columns of a row: Kernel, Class, Form, Bound, Max error, Worst
// argument, Arguments, Intervals.  Those the catalogue decides are filled
// here; a measured row leaves the three measured ones empty.
std::vector<std::string> catalogue_columns(const VectorKernel& k, const std::string& cls) {
    const VectorKernel* target = xeb::catalogue::forward_target(k);
    const KernelClass c = class_named(cls);
    if (target != nullptr)
        return {"`" + k.name + "`", cls, k.form, bound(*target, c), "same bits as `" + target->name + "`", "", "",
                ""};
    std::string ranges = intervals(k.a);
    if (!k.b.empty()) ranges = "a: " + ranges + "; b: " + intervals(k.b);
    if (!k.scalars.empty()) {
        // Each scalar b against every a interval.
        std::string values;
        for (double b : k.scalars) values += (values.empty() ? "" : ", ") + number(b, k.precision);
        ranges = "a: " + ranges + "; scalar b: " + values;
    }
    return {"`" + k.name + "`", cls, k.form, bound(k, c), "", "", "", ranges};
}

// The rows of the table in order: every kernel, for each of its classes.
std::vector<std::pair<const VectorKernel*, std::string>> table_rows() {
    std::vector<std::pair<const VectorKernel*, std::string>> out;
    for (const VectorKernel& k : xeb::catalogue::vector_kernels())
        for (const char* cls : classes_of(k)) out.emplace_back(&k, cls);
    return out;
}

std::string line_of(const std::vector<std::string>& columns) {
    std::string s = "|";
    for (const std::string& c : columns) s += " " + c + " |";
    return s + "\n";
}

std::vector<std::string> split_row(const std::string& line) {
    std::vector<std::string> out;
    std::size_t start = 2;  // after "| "
    for (std::size_t bar; (bar = line.find(" |", start)) != std::string::npos; start = bar + 3)
        out.push_back(line.substr(start, bar - start));
    return out;
}

// The table rows of a written file, in order.
std::vector<std::string> file_rows(const char* path) {
    std::vector<std::string> rows;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);)
        if (line.rfind("| `", 0) == 0) rows.push_back(line);
    return rows;
}

bool starts_with_any(const std::string& name, const std::vector<std::string>& prefixes) {
    for (const std::string& p : prefixes)
        if (name.rfind(p, 0) == 0) return true;
    return false;
}

// The table rows of the file must be the catalogue's rows, in order, with
// the same catalogue columns.
int check(const char* path) {
    if (!std::ifstream(path)) {
        std::fprintf(stderr, "accuracy_report: cannot read %s\n", path);
        return 2;
    }
    const std::vector<std::string> rows = file_rows(path);
    const auto kernels = table_rows();
    int stale = 0;
    for (std::size_t i = 0; i < std::max(rows.size(), kernels.size()); ++i) {
        if (i >= rows.size() || i >= kernels.size()) {
            std::fprintf(stderr, "%s: %zu rows, the catalogue %zu\n", path, rows.size(), kernels.size());
            ++stale;
            break;
        }
        const std::vector<std::string> want = catalogue_columns(*kernels[i].first, kernels[i].second);
        const std::vector<std::string> got = split_row(rows[i]);
        bool same = got.size() == want.size();
        for (std::size_t c = 0; same && c < want.size(); ++c)
            same = want[c].empty() || got[c] == want[c];
        if (!same) {
            std::fprintf(stderr, "%s: row %zu is\n  %s\nthe catalogue says\n  %s", path, i + 1, rows[i].c_str(),
                         line_of(want).c_str());
            ++stale;
        }
    }
    if (stale) std::fprintf(stderr, "docs/accuracy.md is stale: rebuild the target accuracy_doc\n");
    return stale ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t count = 1000000;
    const char* out_path = nullptr;
    std::vector<std::string> only;
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
        } else if (!std::strcmp(argv[i], "--only") && i + 1 < argc) {
            std::stringstream names(argv[++i]);
            for (std::string name; std::getline(names, name, ',');)
                if (!name.empty()) only.push_back(name);
        } else if (!std::strcmp(argv[i], "--check") && i + 1 < argc && argc == 3) {
            return check(argv[++i]);
        } else {
            std::fprintf(stderr, "usage: accuracy_report [--count N] [--out FILE] | --check FILE\n");
            return 2;
        }
    }

    // With --only, the rows kept come from the file being rewritten, which
    // must match the catalogue apart from the rows measured anew.
    std::vector<std::string> kept;
    if (!only.empty()) {
        if (out_path == nullptr) {
            std::fprintf(stderr, "accuracy_report: --only rewrites rows of the --out file\n");
            return 2;
        }
        kept = file_rows(out_path);
        if (kept.size() != table_rows().size()) {
            std::fprintf(stderr, "accuracy_report: %s has %zu rows, the catalogue %zu: measure all rows\n",
                         out_path, kept.size(), table_rows().size());
            return 2;
        }
    }

    std::string text =
        "# Measured accuracy\n\n"
        "Written by `tools/accuracy_report` (build target `accuracy_doc`); do not edit.\n\n"
        "Each kernel of the catalogue (`catalogue/vector_kernels.cpp`) with code of its own is run over " +
        std::to_string(count) +
        " arguments per interval, drawn uniformly over the bit patterns of the\n"
        "interval (so every binade gets its share) with a fixed seed. The error is\n"
        "|result - reference| in units in the last place of the result's format at the\n"
        "reference, which is glibc's `long double` function (64-bit significand) unless\n"
        "the row says otherwise; where the family has an MPFR reference (128 bits),\n"
        "every error above half an ulp is measured again against it. A reference beyond\n"
        "the format's range counts as met by an infinity. ±[lo, hi] means both signs.\n"
        "The bound is the one the tests enforce and the kernel's error budget states, in\n"
        "that kernel class. A kernel with code in the SIMD kernel classes has a row per\n"
        "class (measured in those this machine runs); the others one row (all: every\n"
        "class runs the baseline's code). A kernel that forwards to another gives that\n"
        "kernel's bits (checked by the tests) and shares its bound.\n\n"
        "| Kernel | Class | Form | Bound | Max error (ulp) | Worst argument | Arguments | Intervals |\n"
        "|---|---|---|---|---|---|---|---|\n";
    int over = 0;
    const KernelClass chosen = xeb::frame::kernel_class();
    const auto rows = table_rows();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto& [k, cls] = rows[i];
        std::vector<std::string> columns = catalogue_columns(*k, cls);
        const KernelClass c = cls == "all" ? chosen : class_named(cls);
        if (!only.empty() && !starts_with_any(k->name, only)) {
            const std::vector<std::string> old = split_row(kept[i]);
            if (old.size() != columns.size() || old[0] != columns[0] || old[1] != columns[1]) {
                std::fprintf(stderr, "accuracy_report: row %zu of %s is not %s %s: measure all rows\n", i + 1,
                             out_path, columns[0].c_str(), cls.c_str());
                return 2;
            }
            for (std::size_t col = 4; col <= 6; ++col) columns[col] = old[col];
        } else if (k->forwards_to == nullptr && xeb::vm::use_class(c)) {
            const xt::Measurement m = xt::measure(*k, count, xt::seed_of(k->name));
            std::string worst = number(m.worst_a, k->precision);
            if (!k->b.empty() || !k->scalars.empty()) worst += ", " + number(m.worst_b, k->precision);
            const bool fails = !(m.max_ulp < k->bound_for(c != KernelClass::Baseline));
            over += fails;
            char error[48];
            std::snprintf(error, sizeof error, "%.3f%s", m.max_ulp, fails ? " (over)" : "");
            columns[4] = error;
            columns[5] = worst;
            columns[6] = std::to_string(m.count);
            std::fprintf(stderr, "%-14s %-8s %.3f ulp\n", k->name.c_str(), cls.c_str(), m.max_ulp);
        } else if (k->forwards_to == nullptr) {
            columns[4] = "(not run: this machine lacks the class)";
        }
        text += line_of(columns);
    }
    xeb::vm::use_class(chosen);

    FILE* f = out_path ? std::fopen(out_path, "w") : stdout;
    if (f == nullptr) {
        std::fprintf(stderr, "accuracy_report: cannot write %s\n", out_path);
        return 1;
    }
    std::fputs(text.c_str(), f);
    if (out_path) std::fclose(f);
    return over == 0 ? 0 : 1;
}
