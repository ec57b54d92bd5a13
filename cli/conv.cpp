// xebruk conv: convolves or correlates two arrays of one to seven
// dimensions read from text, raw or .npy files, through a task of the
// library, and writes the result as text, raw or .npy.
//
// Dimension 0 is the fastest-varying one: the position along a line of a
// text file, the last axis of a C-order .npy array.  Shapes given on the
// command line list dimension 0 first.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "commands.h"
#include "npy.h"
#include "output.h"
#include "readers.h"
#include "xebruk/xebruk.h"

namespace cli {

namespace {

const char* const kUsage =
    "usage: xebruk conv [options] X Y\n"
    "  X, Y                  input files: .npy (C or Fortran order), raw\n"
    "                        (.f32 float32, .f64 float64, .raw .bin as --double\n"
    "                        or --single say) or text (one row a line)\n"
    "  --corr                correlate: z[k] = sum_i x[i] y[i + k] at lags k from\n"
    "                        1 - nx to ny - 1 (default: convolve, z[k] = sum_i x[i] y[k - i]\n"
    "                        at k from 0 to nx + ny - 2)\n"
    "  --method M            auto, direct or fft (default auto)\n"
    "  --double, --single    type of the work (default single, or double when\n"
    "                        both inputs are float64 .npy or .f64 files)\n"
    "  --sums single|double  precision of the sums (default that of the data)\n"
    "  --mode full|same|valid  outputs: all defined ones; as many as x has,\n"
    "                        centred; or those where y lies wholly inside x (or\n"
    "                        x inside y).  Default full\n"
    "  --start S[,S...]      first output per dimension (an index of the\n"
    "                        convolution, a lag of the correlation)\n"
    "  --count N[,N...]      number of outputs per dimension\n"
    "  --decimation D[,D...] step between outputs per dimension\n"
    "  --x-shape N[,N...]    shape of a raw or text x (dimension 0 first); a text\n"
    "  --y-shape N[,N...]    file of equal rows is 2-D, one row per line\n"
    "  -o, --out FILE        output file (default: text on standard output)\n"
    "  --format F            output format text, raw or npy (default by the\n"
    "                        extension of --out)\n"
    "Lists give dimension 0 first; one value stands for every dimension.";

enum class Format { Text, Raw, Npy };

// The most outputs one run makes (2^31 - 1, 16 GiB of doubles).
constexpr int64_t kMaxOutputs = 2147483647;

struct Options {
    bool corr = false;
    int32_t method = RUK_METHOD_AUTO;
    int type = 0;  // 0 from the inputs, else RUK_TYPE_SINGLE / RUK_TYPE_DOUBLE
    int sums = 0;  // 0 as the data
    std::string mode = "full";
    std::vector<int64_t> start, count, decimation, x_shape, y_shape;
    std::string x_file, y_file, out_file, format;
};

bool parse_list(const std::string& s, std::vector<int64_t>& out) {
    out.clear();
    std::stringstream list(s);
    std::string item;
    while (std::getline(list, item, ',')) {
        char* end = nullptr;
        errno = 0;
        const long long v = std::strtoll(item.c_str(), &end, 10);
        if (item.empty() || *end != '\0' || errno != 0 || v < -2147483647LL || v > 2147483647LL) return false;
        out.push_back(v);
    }
    return !out.empty();
}

std::string parse_options(const Args& args, Options& o) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        auto value = [&]() -> const std::string* { return i + 1 < args.size() ? &args[++i] : nullptr; };
        auto list = [&](std::vector<int64_t>& out) -> std::string {
            const std::string* v = value();
            if (v == nullptr || !parse_list(*v, out)) return a + " needs whole numbers separated by commas";
            return "";
        };
        std::string err;
        if (a == "--corr") {
            o.corr = true;
        } else if (a == "--double") {
            o.type = RUK_TYPE_DOUBLE;
        } else if (a == "--single") {
            o.type = RUK_TYPE_SINGLE;
        } else if (a == "--method") {
            const std::string* v = value();
            if (v && *v == "auto") o.method = RUK_METHOD_AUTO;
            else if (v && *v == "direct") o.method = RUK_METHOD_DIRECT;
            else if (v && *v == "fft") o.method = RUK_METHOD_FFT;
            else return "--method is auto, direct or fft";
        } else if (a == "--sums") {
            const std::string* v = value();
            if (v && *v == "single") o.sums = RUK_TYPE_SINGLE;
            else if (v && *v == "double") o.sums = RUK_TYPE_DOUBLE;
            else return "--sums is single or double";
        } else if (a == "--mode") {
            const std::string* v = value();
            if (v == nullptr || (*v != "full" && *v != "same" && *v != "valid"))
                return "--mode is full, same or valid";
            o.mode = *v;
        } else if (a == "--format") {
            const std::string* v = value();
            if (v == nullptr || (*v != "text" && *v != "raw" && *v != "npy")) return "--format is text, raw or npy";
            o.format = *v;
        } else if (a == "-o" || a == "--out") {
            const std::string* v = value();
            if (v == nullptr) return a + " needs a file name";
            o.out_file = *v;
        } else if (a == "--start") {
            err = list(o.start);
        } else if (a == "--count") {
            err = list(o.count);
        } else if (a == "--decimation") {
            err = list(o.decimation);
        } else if (a == "--x-shape") {
            err = list(o.x_shape);
        } else if (a == "--y-shape") {
            err = list(o.y_shape);
        } else if (a.size() > 1 && a[0] == '-') {
            return "unknown option '" + a + "'";
        } else if (o.x_file.empty()) {
            o.x_file = a;
        } else if (o.y_file.empty()) {
            o.y_file = a;
        } else {
            return "unexpected argument '" + a + "'";
        }
        if (!err.empty()) return err;
    }
    if (o.y_file.empty()) return "two input files are needed, X and Y";
    return "";
}

bool ends_with(const std::string& s, const char* tail) {
    const std::size_t n = std::strlen(tail);
    return s.size() >= n && s.compare(s.size() - n, n, tail) == 0;
}

Format format_of(const std::string& path) {
    if (ends_with(path, ".npy")) return Format::Npy;
    for (const char* ext : {".raw", ".bin", ".f32", ".f64"})
        if (ends_with(path, ext)) return Format::Raw;
    return Format::Text;
}

// A file's array (read_array), in the shape given for it.
std::string read_signal(const std::string& path, bool raw_double, const std::vector<int64_t>& shape, Signal& s) {
    if (std::string err = read_array(path, raw_double, s); !err.empty()) return err;
    if (!shape.empty()) {
        if (checked_product(shape) != static_cast<int64_t>(s.values.size()))
            return "'" + path + "' holds " + std::to_string(s.values.size()) +
                   " values, which do not fill the shape given for it";
        s.shape = shape;
    }
    if (s.values.empty()) return "'" + path + "' is empty";
    if (s.shape.size() > RUK_TASK_MAX_RANK) return "'" + path + "' has more than 7 dimensions";
    for (int64_t e : s.shape)
        if (e < 1 || e > 2147483647) return "'" + path + "' has an extent out of range";
    return "";
}

// A per-dimension list of the command line: one value for every dimension
// or one per dimension.
bool per_dimension(const std::vector<int64_t>& given, std::size_t rank, std::vector<int64_t>& out) {
    if (given.size() == 1) out.assign(rank, given[0]);
    else if (given.size() == rank) out = given;
    else return false;
    return true;
}

// What a refused task means, by the last two digits of its status.
std::string explain(int32_t status) {
    const int32_t group = -status / 100, code = -status % 100;
    const char* what = "";
    if (status == RUK_TASK_ERROR_UNSUPPORTED) {
        what = "no kernel for this method, rank, decimation and type";
    } else if (group == 20 || group == 21) {
        const char* m[] = {"", "", "", "a zero stride", "a zero stride", "a zero stride", "an empty input",
                           "an empty input", "no outputs", "a decimation out of range",
                           "a start below the first defined output", "a start past the last defined output",
                           "outputs past the last defined one", "arrays that overlap"};
        if (code < 14) what = m[code];
    } else if (group == 23) {
        what = code == 2 ? "a start outside the defined outputs" : code == 3 ? "outputs past the defined ones" : "";
    } else if (group == 28 || group == 29) {
        what = code == 9 ? "a start below the first defined output"
               : code == 10 ? "a start past the last defined output"
               : code == 11 ? "outputs past the last defined one (the FFT kernels stop at ny)"
               : code == 12 ? "a failure inside the engine" : "";
    } else if (status == RUK_ERROR_NO_MEMORY) {
        what = "out of memory";
    }
    return "the library refused the task with status " + std::to_string(status) +
           (*what ? std::string(" (") + what + ")" : std::string());
}

// One value a line in one dimension; rows along dimension 0 in more, a
// blank line between planes.
void write_text(std::FILE* f, const std::vector<int64_t>& shape, const std::vector<double>& z, bool single) {
    const int64_t row = shape.size() > 1 ? shape[0] : 1, plane = shape.size() > 1 ? row * shape[1] : row;
    for (std::size_t i = 0; i < z.size(); ++i) {
        std::fprintf(f, single ? "%.9g" : "%.17g", z[i]);
        const bool end_row = (i + 1) % static_cast<std::size_t>(row) == 0;
        std::fputc(end_row ? '\n' : ' ', f);
        if (shape.size() > 2 && (i + 1) % static_cast<std::size_t>(plane) == 0 && i + 1 < z.size())
            std::fputc('\n', f);
    }
}

std::string write_result(const Options& o, const std::vector<int64_t>& shape, const std::vector<double>& z,
                         bool single) {
    const Format format = o.format == "npy"   ? Format::Npy
                          : o.format == "raw" ? Format::Raw
                          : o.format == "text" || o.out_file.empty() ? Format::Text
                                                                      : format_of(o.out_file);
    if (format != Format::Text && o.out_file.empty()) return "raw and .npy output need a file (--out)";
    Output out;
    if (std::string err = out.open(o.out_file, format != Format::Text); !err.empty()) return err;
    if (format == Format::Text) {
        write_text(out.file(), shape, z, single);
        return out.commit();
    }
    if (format == Format::Npy) {
        const std::string h = npy_header(single, std::vector<int64_t>(shape.rbegin(), shape.rend()));
        out.write(h.data(), h.size());  // C order: slowest first
    }
    for (double v : z) {
        const float s = static_cast<float>(v);
        if (single) out.write(&s, 4);
        else out.write(&v, 8);
    }
    return out.commit();
}

template <class T>
int32_t run_task(RukTask* task, const Signal& x, const Signal& y, std::vector<double>& z, std::size_t room) {
    std::vector<T> xs(x.values.begin(), x.values.end()), ys(y.values.begin(), y.values.end()), zs(room);
    const int32_t status = rukExec(task, xs.data(), nullptr, ys.data(), nullptr, zs.data(), nullptr);
    z.assign(zs.begin(), zs.begin() + static_cast<std::ptrdiff_t>(z.size()));
    return status;
}

int fail(const std::string& message) {
    std::fprintf(stderr, "xebruk: conv: %s\n", message.c_str());
    return 1;
}

}  // namespace

int conv(const Args& args) {
    if (wants_help(args)) {
        std::puts(kUsage);
        return 0;
    }
    Options o;
    if (const std::string err = parse_options(args, o); !err.empty())
        return usage_error("conv: " + err + "\n" + kUsage);

    // Files that state their element type (.npy, .f32, .f64) are read as
    // such; --double reads .raw and .bin files as float64.
    const bool raw_double = o.type == RUK_TYPE_DOUBLE;
    Signal x, y;
    if (std::string err = read_signal(o.x_file, raw_double, o.x_shape, x); !err.empty()) return fail(err);
    if (std::string err = read_signal(o.y_file, raw_double, o.y_shape, y); !err.empty()) return fail(err);
    const int32_t type = o.type != 0 ? o.type
                         : x.element == Element::Float64 && y.element == Element::Float64 ? RUK_TYPE_DOUBLE
                                                                                          : RUK_TYPE_SINGLE;
    const std::size_t rank = x.shape.size();
    if (y.shape.size() != rank)
        return fail("x has " + std::to_string(rank) + " dimension(s) and y " + std::to_string(y.shape.size()) +
                    ": both inputs need the same number");

    // Outputs per dimension: the mode's range, then the options.
    std::vector<int64_t> start(rank), count(rank), dec(rank, 1), last(rank);
    if (!o.decimation.empty() && !per_dimension(o.decimation, rank, dec))
        return fail("--decimation needs 1 or " + std::to_string(rank) + " values");
    std::vector<int64_t> given_start, given_count;
    if (!o.start.empty() && !per_dimension(o.start, rank, given_start))
        return fail("--start needs 1 or " + std::to_string(rank) + " values");
    if (!o.count.empty() && !per_dimension(o.count, rank, given_count))
        return fail("--count needs 1 or " + std::to_string(rank) + " values");
    for (std::size_t d = 0; d < rank; ++d) {
        const int64_t nx = x.shape[d], ny = y.shape[d];
        const int64_t first = o.corr ? 1 - nx : 0;
        last[d] = o.corr ? ny - 1 : nx + ny - 2;
        int64_t span = last[d] - first + 1;
        start[d] = first;
        if (o.mode == "same") {
            span = nx;
            start[d] = first + (ny - 1) / 2;
        } else if (o.mode == "valid") {
            span = std::max(nx, ny) - std::min(nx, ny) + 1;
            start[d] = first + std::min(nx, ny) - 1;
        }
        if (!given_start.empty()) {
            start[d] = given_start[d];
            span = last[d] - start[d] + 1;
        }
        if (dec[d] < 1) return fail("a decimation must be 1 or more");
        count[d] = given_count.empty() ? (span - 1) / dec[d] + 1 : given_count[d];
        if (start[d] < first || start[d] > last[d])
            return fail("start " + std::to_string(start[d]) + " lies outside the defined outputs " +
                        std::to_string(first) + " to " + std::to_string(last[d]) + " of dimension " +
                        std::to_string(d));
        if (count[d] < 1 || start[d] + (count[d] - 1) * dec[d] > last[d])
            return fail("the outputs of dimension " + std::to_string(d) + " run past the last defined one, " +
                        std::to_string(last[d]));
    }

    std::vector<int32_t> xs(x.shape.begin(), x.shape.end()), ys(y.shape.begin(), y.shape.end()),
        zs(count.begin(), count.end()), start32(start.begin(), start.end()), dec32(dec.begin(), dec.end());
    // The decimated kernels of one dimension refuse a request whose step
    // would pass last + 2 after its final output, though every output asked
    // for is defined; the kernels of any rank take it, so such a request
    // runs as two dimensions, the second of extent 1.
    if (rank == 1 && !o.decimation.empty() && start[0] + count[0] * dec[0] > last[0] + 2) {
        for (auto* v : {&xs, &ys, &zs, &dec32}) v->push_back(1);
        start32.push_back(0);
    }
    RukTask* task = nullptr;
    if (rukNewTask(&task, o.corr ? RUK_JOB_CORR : RUK_JOB_CONV, 0, o.method, 0, type,
                   static_cast<int32_t>(xs.size()), xs.data(), ys.data(), zs.data()) != RUK_OK)
        return fail("cannot create the task");
    const int32_t sums = o.sums != 0 ? o.sums : type;
    rukEditTask(task, RUK_EDIT_INTERNAL_PRECISION, &sums);
    rukEditTask(task, RUK_EDIT_START, start32.data());
    if (!o.decimation.empty()) rukEditTask(task, RUK_EDIT_DECIMATION, dec32.data());

    const int64_t outputs = checked_product(count);
    if (outputs < 0 || outputs > kMaxOutputs)
        return fail("the result of " + (outputs < 0 ? std::string("more than 2^63") : std::to_string(outputs)) +
                    " values is too large (at most " + std::to_string(kMaxOutputs) + ")");
    std::vector<double> z(static_cast<std::size_t>(outputs));
    // The FFT convolution kernel writes the whole result into a dense z.
    const std::size_t room = std::max<std::size_t>(z.size(), static_cast<std::size_t>(x.shape[0] + y.shape[0] - 1));
    const int32_t status = type == RUK_TYPE_SINGLE ? run_task<float>(task, x, y, z, room)
                                                   : run_task<double>(task, x, y, z, room);
    rukDeleteTask(&task);
    if (status != RUK_OK) return fail(explain(status));
    if (std::string err = write_result(o, count, z, type == RUK_TYPE_SINGLE); !err.empty()) return fail(err);
    return 0;
}

}  // namespace cli
