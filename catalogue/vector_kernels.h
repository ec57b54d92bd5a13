// The catalogue of exported vector kernels: one row per export, written
// once in catalogue/vector_kernels.cpp.  A row names the kernel by family,
// precision and form (xebdExp_HA is family "Exp", 'd', "HA"), holds its
// function pointer (whose type gives the precision and the shape), and
// either the kernel it forwards to or its accuracy bound and the intervals
// it is measured on.  The CLI (xebruk vm, xebruk info), the accuracy tests,
// tools/accuracy_report (docs/accuracy.md), the benchmarks and the export
// check all read it; the references the accuracy is measured against live
// with the measurement (tools/accuracy), looked up by family.
//
// The catalogue depends on the public headers alone and is not part of the
// library: every program that reads it links it beside libxebruk.
#pragma once

#include <string>
#include <vector>

namespace xeb::catalogue {

// (n, a, r), (n, a, b, r), (n, a, scalar b, r), (n, a, y, z).
enum class Shape { OneInput, TwoInputs, ScalarArgument, TwoOutputs };

// Magnitudes [lo, hi] (both positive, denormals allowed), with positive sign
// only or with both signs.  Measurements draw uniformly over the bit
// patterns between lo and hi, so every binade gets its share.
struct Interval {
    double lo;
    double hi;
    bool both_signs;
};

// The smallest denormal double.  Use this, not DBL_TRUE_MIN: g++ 12 with
// -frounding-math turns that macro (a long double literal cast to double)
// into garbage in constant initializers of aggregates.
constexpr double kDoubleTrueMin = 0x1p-1074;

template <class T>
using OneInputFn = void (*)(int, const T*, T*);
template <class T>
using TwoInputsFn = void (*)(int, const T*, const T*, T*);
template <class T>
using ScalarArgumentFn = void (*)(int, const T*, T, T*);
template <class T>
using TwoOutputsFn = void (*)(int, const T*, T*, T*);

struct VectorKernel {
    std::string name;        // the export: "xebdExp_HA"
    std::string family;      // "Exp"; with the precision, the front end's entry "xebdExp"
    char precision = 'd';    // 'd' or 's'
    std::string form;        // "HA", "50", "21", "11"
    Shape shape = Shape::OneInput;
    void (*function)() = nullptr;  // the export, of the type its shape and precision give
    void (*forwards_to)() = nullptr;  // the export this one calls with its arguments, if any
    // Accuracy (rows that do not forward): the bound in ulps the tests
    // enforce and the kernel's error budget states, for the baseline kernel
    // class and for the SIMD classes (0: the same), and the test intervals
    // of a, of b (two inputs; paired with a's by index, cyclically) and the
    // values of a scalar b (each against every interval of a).
    double bound_ulp = 0;
    double simd_bound_ulp = 0;
    std::vector<Interval> a;
    std::vector<Interval> b;
    std::vector<double> scalars;

    // The entry without the form ("xebdExp"), which reads the accuracy from
    // the mode word.
    std::string front_end() const { return "xeb" + std::string(1, precision) + family; }
    // That entry (include/xebruk/vm.h), of the same type as this row's
    // function, looked up among the program's dynamic symbols (the shared
    // library's exports, or a static program's built with ENABLE_EXPORTS);
    // null when there is none.
    void (*front_end_function() const)();
    // What the CLI accepts besides the export: "exp_ha".
    std::string short_name() const;
    double bound_for(bool simd_class) const {
        return simd_class && simd_bound_ulp > 0 ? simd_bound_ulp : bound_ulp;
    }
    // The function as its type; F must match the shape and precision.
    template <class F>
    F as() const {
        return reinterpret_cast<F>(function);
    }
    // Runs the kernel on n elements of its precision T: a, and as its shape
    // says b (the scalar argument is b[0]) and the second result z.
    template <class T>
    void run(int n, const T* a, const T* b, T* y, T* z) const {
        switch (shape) {
        case Shape::OneInput: as<OneInputFn<T>>()(n, a, y); break;
        case Shape::TwoInputs: as<TwoInputsFn<T>>()(n, a, b, y); break;
        case Shape::ScalarArgument: as<ScalarArgumentFn<T>>()(n, a, b[0], y); break;
        case Shape::TwoOutputs: as<TwoOutputsFn<T>>()(n, a, y, z); break;
        }
    }

    // Row builder: the function's type sets precision and shape.
    template <class F>
    VectorKernel(const char* family, const char* form, F* f)
        : VectorKernel(family, form, precision_of(f), shape_of(f), reinterpret_cast<void (*)()>(f)) {}

    // Either the kernel forwarded to (of the same type) ...
    template <class F>
    VectorKernel& forwards(F target) {
        forwards_to = reinterpret_cast<void (*)()>(target);
        return *this;
    }
    // ... or the accuracy: bound, then intervals.
    VectorKernel& ulp(double bound, double simd_bound = 0) {
        bound_ulp = bound;
        simd_bound_ulp = simd_bound;
        return *this;
    }
    VectorKernel& on(std::vector<Interval> a_intervals, std::vector<Interval> b_intervals = {}) {
        a = std::move(a_intervals);
        b = std::move(b_intervals);
        return *this;
    }
    VectorKernel& with_scalars(std::vector<double> values) {
        scalars = std::move(values);
        return *this;
    }

private:
    VectorKernel(const char* family, const char* form, char precision, Shape shape, void (*f)());
    template <class T, class... Rest>
    static char precision_of(void (*)(int, const T*, Rest...)) {
        return sizeof(T) == sizeof(double) ? 'd' : 's';
    }
    template <class T>
    static Shape shape_of(OneInputFn<T>) { return Shape::OneInput; }
    template <class T>
    static Shape shape_of(TwoInputsFn<T>) { return Shape::TwoInputs; }
    template <class T>
    static Shape shape_of(ScalarArgumentFn<T>) { return Shape::ScalarArgument; }
    template <class T>
    static Shape shape_of(TwoOutputsFn<T>) { return Shape::TwoOutputs; }
};

// Every row, sorted by export name.  Forwarding rows are resolved: the
// rows they name exist, have the same shape and precision, and do not
// forward themselves.
const std::vector<VectorKernel>& vector_kernels();

// The row of an export, of the export a row forwards to, or of a short name
// and precision; nullptr when there is none.
const VectorKernel* find_kernel(const std::string& name);
const VectorKernel* forward_target(const VectorKernel& k);
const VectorKernel* find_short(const std::string& short_name, char precision);

}  // namespace xeb::catalogue
