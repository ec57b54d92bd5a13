// xebruk vm: applies one vector kernel of the catalogue, or the checked
// entry of a function (xebdExp: the form the accuracy field picks), to
// numbers read from a file or standard input, or to a generated range, and
// prints the results, one element a line.  Events go where the thread's mode sends
// them; with the callback bit set (as by default) each one is shown on
// stderr as it happens.
#include <cctype>
#include <cerrno>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "catalogue/vector_kernels.h"
#include "commands.h"
#include "xebruk/xebruk.h"

namespace cli {

namespace {

using xeb::catalogue::Shape;
using xeb::catalogue::VectorKernel;

const char* const kUsage =
    "usage: xebruk vm <function> [options] [file]\n"
    "  <function>        a function (exp, ln, sincos, ...: the checked entry, whose\n"
    "                    form --accuracy picks), a kernel of one form (exp_ha,\n"
    "                    div_50, ...) or an exported name (xebdExp, xebsLn_21);\n"
    "                    'xebruk info' lists the kernels\n"
    "  --accuracy ACC    ha (default), la or ep: the accuracy field of the mode\n"
    "                    word, set after --mode, for a function named without a form\n"
    "  -s, --single      the single-precision kernel of a short name (default double)\n"
    "  --range LO HI N   N arguments evenly spaced from LO to HI, instead of input\n"
    "  --b VALUE         the second argument of every element: the scalar of\n"
    "                    (a, scalar) kernels, or the b array of (a, b) kernels\n"
    "                    when arguments come from --range\n"
    "  --mode MODE       mode word for the call: a number (6658, 0x1A02) or reports\n"
    "                    joined by commas: none, errno, stderr, trap, callback\n"
    "  --hex             print results as hexadecimal floating point\n"
    "Input: numbers separated by white space (decimal, hexadecimal, inf, nan);\n"
    "(a, b) kernels take them in pairs.  Output: the result of each element, or\n"
    "both results for two-output kernels.";

struct Options {
    std::string kernel;
    char precision = 'd';
    bool have_range = false;
    double lo = 0, hi = 0;
    long count = 0;
    bool have_b = false;
    double b = 0;
    bool have_mode = false;
    uint32_t mode = 0;
    bool have_accuracy = false;
    uint32_t accuracy = XEB_ACC_HA;
    bool hex = false;
    std::string file;  // empty: standard input
};

bool parse_double(const std::string& s, double& out) {
    if (s.empty()) return false;
    char* end = nullptr;
    errno = 0;
    out = std::strtod(s.c_str(), &end);
    // Overflow to an infinity and underflow are fine: they are the values asked for.
    return end == s.c_str() + s.size();
}

bool parse_mode(const std::string& s, uint32_t& out) {
    char* end = nullptr;
    const unsigned long v = std::strtoul(s.c_str(), &end, 0);
    if (!s.empty() && end == s.c_str() + s.size()) {
        if (v > 0xFFFF) return false;
        out = static_cast<uint32_t>(v);
        return true;
    }
    static const struct {
        const char* name;
        uint32_t bits;
    } kReports[] = {{"none", XEB_REPORT_NONE},     {"errno", XEB_REPORT_ERRNO},
                    {"stderr", XEB_REPORT_STDERR}, {"trap", XEB_REPORT_TRAP},
                    {"callback", XEB_REPORT_CALLBACK}};
    out = 0;
    std::stringstream list(s);
    std::string item;
    while (std::getline(list, item, ',')) {
        bool known = false;
        for (const auto& r : kReports)
            if (item == r.name) {
                out |= r.bits;
                known = true;
            }
        if (!known) return false;
    }
    return out != 0;
}

// Returns an empty string on success, else what was wrong.
std::string parse_options(const Args& args, Options& o) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        auto value = [&]() -> const std::string* { return i + 1 < args.size() ? &args[++i] : nullptr; };
        if (a == "-s" || a == "--single") {
            o.precision = 's';
        } else if (a == "--hex") {
            o.hex = true;
        } else if (a == "--range") {
            if (i + 3 >= args.size()) return "--range needs LO HI N";
            double n = 0;
            if (!parse_double(args[i + 1], o.lo) || !parse_double(args[i + 2], o.hi) ||
                !parse_double(args[i + 3], n))
                return "--range needs three numbers, LO HI N";
            if (!(n >= 1 && n <= 1e8 && n == std::floor(n)))
                return "--range count must be a whole number from 1 to 100000000";
            o.count = static_cast<long>(n);
            o.have_range = true;
            i += 3;
        } else if (a == "--b") {
            const std::string* v = value();
            if (v == nullptr || !parse_double(*v, o.b)) return "--b needs a number";
            o.have_b = true;
        } else if (a == "--accuracy") {
            static const struct {
                const char* name;
                uint32_t field;
            } kAccuracies[] = {{"ha", XEB_ACC_HA}, {"la", XEB_ACC_LA}, {"ep", XEB_ACC_EP}};
            const std::string* v = value();
            o.have_accuracy = false;
            for (const auto& acc : kAccuracies)
                if (v != nullptr && *v == acc.name) {
                    o.accuracy = acc.field;
                    o.have_accuracy = true;
                }
            if (!o.have_accuracy)
                return "--accuracy needs ha, la or ep" +
                       (v != nullptr ? ", not '" + *v + "'" : std::string());
        } else if (a == "--mode") {
            const std::string* v = value();
            if (v == nullptr || !parse_mode(*v, o.mode))
                return "--mode needs a number below 0x10000 or reports from none, errno, stderr, "
                       "trap, callback";
            o.have_mode = true;
        } else if (a.size() > 1 && a[0] == '-' && !std::isdigit(static_cast<unsigned char>(a[1]))) {
            return "unknown option '" + a + "'";
        } else if (o.kernel.empty()) {
            o.kernel = a;
        } else if (o.file.empty()) {
            o.file = a;
        } else {
            return "unexpected argument '" + a + "'";
        }
    }
    if (o.kernel.empty()) return "which kernel? (try 'xebruk info')";
    if (o.have_range && !o.file.empty()) return "give either --range or an input file, not both";
    return "";
}

const VectorKernel* lookup(const Options& o) {
    const VectorKernel* k = xeb::catalogue::find_kernel(o.kernel);
    return k != nullptr ? k : xeb::catalogue::find_short(o.kernel, o.precision);
}

// The checked entry of a function named without a form ("exp" in the
// precision asked for, or the export "xebdExp") as a row of its own: the
// _HA row with the entry's name and function and no form.  False when the
// name is no function's, or the library lacks its entry.
bool lookup_entry(const Options& o, VectorKernel& entry) {
    for (const VectorKernel& k : xeb::catalogue::vector_kernels()) {
        if (k.form != "HA") continue;
        const std::string short_name = k.short_name().substr(0, k.family.size());
        const bool named = k.front_end() == o.kernel || (k.precision == o.precision && short_name == o.kernel);
        if (!named) continue;
        entry = k;
        entry.name = k.front_end();
        entry.form.clear();
        entry.function = k.front_end_function();
        return entry.function != nullptr;
    }
    return false;
}

int32_t show_event(XebErrorRecord* r) {
    std::fprintf(stderr, "event %d at element %d in %s: a=%.17g result=%.17g\n", r->code, r->index,
                 r->name, r->a, r->y);
    return 0;  // go on: the other reports and the write-back as the mode says
}

template <class T>
std::string format(T v, bool hex) {
    char buf[64];
    if (hex) std::snprintf(buf, sizeof buf, "%a", static_cast<double>(v));
    else std::snprintf(buf, sizeof buf, sizeof(T) == 8 ? "%.17g" : "%.9g", static_cast<double>(v));
    return buf;
}

// Reads every number of the input; an error names the line and the token.
std::string read_numbers(std::istream& in, std::vector<double>& out) {
    std::string line;
    for (long line_no = 1; std::getline(in, line); ++line_no) {
        std::istringstream words(line);
        std::string w;
        while (words >> w) {
            double v;
            if (!parse_double(w, v))
                return "line " + std::to_string(line_no) + ": '" + w + "' is not a number";
            out.push_back(v);
        }
    }
    if (in.bad()) return "cannot read the input";
    return "";
}

// A number read as a double, in the kernel's type, rounded to nearest
// (a C++ conversion of a double beyond the float range would be undefined).
template <class T>
T narrow(double v) {
    if constexpr (sizeof(T) == 8) {
        return v;
    } else {
        const double top = 0x1.ffffffp127;  // FLT_MAX plus half its ulp: rounds up from here
        if (std::fabs(v) <= FLT_MAX) return static_cast<float>(v);
        if (std::isnan(v)) return std::numeric_limits<float>::quiet_NaN();
        return std::copysign(std::fabs(v) < top ? FLT_MAX : std::numeric_limits<float>::infinity(),
                             static_cast<float>(v > 0 ? 1 : -1));
    }
}

template <class T>
struct Call {
    const VectorKernel& k;
    std::vector<T> a, b, y, z;

    void run() {
        y.assign(a.size(), T(0));
        z.assign(a.size(), T(0));
        k.run<T>(static_cast<int>(a.size()), a.data(), b.data(), y.data(), z.data());
    }
};

template <class T>
int run_kernel(const VectorKernel& k, const Options& o, const std::vector<double>& numbers) {
    Call<T> c{k, {}, {}, {}, {}};
    if (k.shape == Shape::TwoInputs && !o.have_range) {
        if (numbers.size() % 2 != 0)
            return usage_error("vm: " + k.name + " takes its arguments in pairs (a b)");
        for (std::size_t i = 0; i < numbers.size(); i += 2) {
            c.a.push_back(narrow<T>(numbers[i]));
            c.b.push_back(narrow<T>(numbers[i + 1]));
        }
    } else {
        for (double v : numbers) c.a.push_back(narrow<T>(v));
        if (k.shape == Shape::TwoInputs) c.b.assign(c.a.size(), narrow<T>(o.b));
        if (k.shape == Shape::ScalarArgument) c.b.assign(1, narrow<T>(o.b));
    }
    if (c.a.size() > 0x7FFFFFFF) return usage_error("vm: too many arguments for one call");

    // Installing the callback sets the mode's callback bit; a mode given
    // afterwards decides whether it stays.
    XebErrorCallBack old = xebSetErrorCallBack(show_event);
    if (o.have_mode) xebSetMode(o.mode);
    if (k.form.empty()) xebSetMode(o.accuracy);  // a checked entry: the form it calls
    xebClearErrStatus();
    c.run();
    const int32_t status = xebGetErrStatus();
    xebSetErrorCallBack(old);

    std::string out;
    for (std::size_t i = 0; i < c.a.size(); ++i) {
        out += format(c.y[i], o.hex);
        if (k.shape == Shape::TwoOutputs) out += " " + format(c.z[i], o.hex);
        out += '\n';
    }
    std::fwrite(out.data(), 1, out.size(), stdout);
    if (status != XEB_STATUS_OK) std::fprintf(stderr, "status word after the call: %d\n", status);
    return 0;
}

}  // namespace

int vm(const Args& args) {
    if (wants_help(args)) {
        std::puts(kUsage);
        return 0;
    }
    Options o;
    const std::string problem = parse_options(args, o);
    if (!problem.empty()) return usage_error("vm: " + problem + "\n" + kUsage);
    const VectorKernel* k = lookup(o);
    VectorKernel entry = xeb::catalogue::vector_kernels().front();
    if (k == nullptr && lookup_entry(o, entry)) k = &entry;
    if (k == nullptr)
        return usage_error("vm: no " + std::string(o.precision == 'd' ? "double" : "single") +
                           " function or kernel named '" + o.kernel + "' (try 'xebruk info')");
    if (o.have_accuracy && !k->form.empty())
        return usage_error("vm: " + k->name + " is the " + k->form + " form itself; --accuracy picks " +
                           "the form of a function named without one ('" +
                           k->short_name().substr(0, k->family.size()) + "' or '" + k->front_end() + "')");
    if (k->shape == Shape::ScalarArgument && !o.have_b)
        return usage_error("vm: " + k->name + " needs its scalar: --b VALUE");
    if (k->shape == Shape::TwoInputs && o.have_range && !o.have_b)
        return usage_error("vm: with --range, " + k->name + " needs --b VALUE");

    std::vector<double> numbers;
    if (o.have_range) {
        numbers.resize(static_cast<std::size_t>(o.count));
        for (long i = 0; i < o.count; ++i)
            numbers[static_cast<std::size_t>(i)] =
                o.count == 1 ? o.lo : o.lo + (o.hi - o.lo) * static_cast<double>(i) / static_cast<double>(o.count - 1);
    } else {
        std::string problem_in;
        if (o.file.empty() || o.file == "-") {
            problem_in = read_numbers(std::cin, numbers);
        } else {
            std::ifstream in(o.file);
            if (!in) {
                std::fprintf(stderr, "xebruk: vm: cannot open '%s': %s\n", o.file.c_str(),
                             std::strerror(errno));
                return 1;
            }
            problem_in = read_numbers(in, numbers);
        }
        if (!problem_in.empty()) {
            std::fprintf(stderr, "xebruk: vm: %s\n", problem_in.c_str());
            return 1;
        }
    }
    return k->precision == 'd' ? run_kernel<double>(*k, o, numbers) : run_kernel<float>(*k, o, numbers);
}

}  // namespace cli
