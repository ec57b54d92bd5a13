// xebruk rng: draw n variates of a law from a generator into a file.
//
//   xebruk rng [--law NAME] [--params P,...] [--method M] [--gen NAME]
//              [--seed S,...] [--n COUNT] [--precision double|single]
//              [--out FILE] [--format text|raw|npy] [--quiet] [--list]
//              [--dim D]   (quasi-random generators: n points of D components)
//              [--id K]    (generators with several parameter sets: set K)
//              [--factor FILE] [--mean FILE] [--storage S]  (gaussianmv)
//
// The draw goes in blocks of 65,536 (an even count, so that a paired
// method carries nothing from one block to the next), each written as it
// comes; n may exceed the 32-bit count of one library call.  Formats:
// text, one value per line with enough digits to read back the same value;
// raw, the values in the machine's byte order; npy, the same bytes behind
// a version 1.0 .npy header (little-endian '<f8' or '<f4', or '<i4' for the
// discrete laws, whose results are 32-bit integers; shape (n,), or (n, D)
// for n points of a quasi-random generator of dimension D or n vectors of
// a law of vectors, which text output writes as one point a line).
// Progress (for n of 4M and more) and a summary go to stderr.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "commands.h"
#include "npy.h"
#include "output.h"
#include "rng_choices.h"
#include "status_text.h"
#include "xebruk/xebruk.h"

namespace cli {
namespace {

const char* const kUsage =
    "usage: xebruk rng [options]\n"
    "  --law NAME            the law (default uniform; --list shows all)\n"
    "  --params P,...        its parameters in call order (default as --list shows)\n"
    "  --method M            the law's method number (default 0)\n"
    "  --gen NAME            the generator (default mt19937)\n"
    "  --seed S,...          32-bit seed words (default: the generator's own, 1 for\n"
    "                        mt19937 and mcg31m1)\n"
    "  --dim D               quasi-random generators: points of D components\n"
    "  --factor FILE         gaussianmv: the lower triangular Cholesky factor T of\n"
    "                        the covariance (.npy, raw .f64/.f32, or text rows)\n"
    "  --mean FILE           gaussianmv: the mean a (default zeros)\n"
    "  --storage S           gaussianmv: full (d rows of d), packed (the lower\n"
    "                        triangle column after column) or diagonal; default full\n"
    "  --n COUNT             values (points, vectors) to draw (default 10)\n"
    "  --precision P         double or single (default double; discrete laws give\n"
    "                        32-bit integers)\n"
    "  --out FILE            output file (default standard output); written under a\n"
    "                        temporary name and renamed when complete\n"
    "  --format F            text, raw or npy (default by the extension of --out)\n"
    "  --quiet               no progress and no summary on stderr\n"
    "  --list                the generators and laws";

constexpr int32_t kBlock = 1 << 16;
constexpr int64_t kProgressFrom = int64_t{1} << 22;

enum class Format { Text, Raw, Npy };

struct Options {
    std::string law = "uniform";
    std::string gen = "mt19937";
    std::vector<double> params;
    bool params_given = false;
    std::vector<uint32_t> seeds;
    int32_t method = 0;
    int64_t n = 10;
    int64_t dim = 0;  // quasi-random generators only
    int64_t id = -1;  // parameter set; generators with several only
    bool single = false;
    std::string out;
    std::string format;
    VectorInputs vector;  // laws of vectors
    bool quiet = false;
    bool list = false;
    bool help = false;
};

// Running count, mean and sum of squared deviations (Welford), min, max.
struct Summary {
    int64_t count = 0;
    long double mean = 0, m2 = 0;
    double min = std::numeric_limits<double>::infinity();
    double max = -std::numeric_limits<double>::infinity();
    void add(double x) {
        ++count;
        const long double d = x - mean;
        mean += d / count;
        m2 += d * (x - mean);
        min = std::min(min, x);
        max = std::max(max, x);
    }
};

bool parse_list(const std::string& text, std::vector<std::string>& items) {
    items.clear();
    std::size_t start = 0;
    for (;;) {
        const std::size_t comma = text.find(',', start);
        items.push_back(text.substr(start, comma - start));
        if (items.back().empty()) return false;
        if (comma == std::string::npos) return true;
        start = comma + 1;
    }
}

bool parse_int(const std::string& s, int64_t lo, int64_t hi, int64_t& out) {
    if (s.empty()) return false;
    errno = 0;
    char* end = nullptr;
    const long long v = std::strtoll(s.c_str(), &end, 0);
    if (errno || *end || v < lo || v > hi) return false;
    out = v;
    return true;
}

bool parse_double(const std::string& s, double& out) {
    if (s.empty()) return false;
    errno = 0;
    char* end = nullptr;
    out = std::strtod(s.c_str(), &end);
    return !errno && !*end;
}

// Returns 0, or the exit code after a message.
int parse(const Args& args, Options& o) {
    if (wants_help(args)) {
        std::puts(kUsage);
        o.help = true;
        return 0;
    }
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--quiet") {
            o.quiet = true;
            continue;
        }
        if (a == "--list") {
            o.list = true;
            continue;
        }
        if (i + 1 >= args.size()) return usage_error("rng: " + a + " needs a value (try --list)");
        const std::string& v = args[++i];
        std::vector<std::string> items;
        int64_t k;
        if (a == "--law") {
            o.law = v;
        } else if (a == "--gen") {
            o.gen = v;
        } else if (a == "--n") {
            if (!parse_int(v, 0, std::numeric_limits<int64_t>::max(), o.n))
                return usage_error("rng: --n wants a count of 0 or more, not '" + v + "'");
        } else if (a == "--dim") {
            if (!parse_int(v, 1, std::numeric_limits<int32_t>::max(), o.dim))
                return usage_error("rng: --dim wants a dimension of 1 or more, not '" + v + "'");
        } else if (a == "--id") {
            if (!parse_int(v, 0, std::numeric_limits<int32_t>::max(), o.id))
                return usage_error("rng: --id wants a parameter set of 0 or more, not '" + v + "'");
        } else if (a == "--method") {
            if (!parse_int(v, 0, 1000, k)) return usage_error("rng: bad --method '" + v + "'");
            o.method = static_cast<int32_t>(k);
        } else if (a == "--precision") {
            if (v != "double" && v != "single")
                return usage_error("rng: --precision is double or single, not '" + v + "'");
            o.single = v == "single";
        } else if (a == "--seed") {
            if (!parse_list(v, items)) return usage_error("rng: bad --seed list '" + v + "'");
            for (const auto& s : items) {
                if (!parse_int(s, 0, UINT32_MAX, k))
                    return usage_error("rng: seed '" + s + "' is not a 32-bit word");
                o.seeds.push_back(static_cast<uint32_t>(k));
            }
        } else if (a == "--params") {
            if (!parse_list(v, items)) return usage_error("rng: bad --params list '" + v + "'");
            o.params_given = true;
            for (const auto& s : items) {
                double x;
                if (!parse_double(s, x)) return usage_error("rng: parameter '" + s + "' is not a number");
                o.params.push_back(x);
            }
        } else if (a == "--factor") {
            o.vector.factor = v;
        } else if (a == "--mean") {
            o.vector.mean = v;
        } else if (a == "--storage") {
            o.vector.storage = v;
        } else if (a == "--out") {
            o.out = v;
        } else if (a == "--format") {
            if (v != "text" && v != "raw" && v != "npy")
                return usage_error("rng: --format is text, raw or npy, not '" + v + "'");
            o.format = v;
        } else {
            return usage_error("rng: unknown option '" + a + "'");
        }
    }
    return 0;
}

void list_choices() {
    std::printf("generators (--gen):\n");
    for (const GeneratorChoice& g : generator_choices())
        std::printf("  %-14s %s\n", g.name, g.summary);
    std::printf("laws (--law, --params in this order):\n");
    for (const LawChoice& l : law_choices()) {
        std::string p;
        for (std::size_t i = 0; i < l.params.size(); ++i) {
            char buf[64];
            std::snprintf(buf, sizeof buf, "%s%s=%g", i ? "," : "", l.params[i], l.defaults[i]);
            p += buf;
        }
        std::printf("  %-14s %-26s %s\n", l.name, p.c_str(), l.summary);
    }
}

Format format_of(const Options& o) {
    if (o.format == "text") return Format::Text;
    if (o.format == "raw") return Format::Raw;
    if (o.format == "npy") return Format::Npy;
    auto ends_with = [&](const char* ext) {
        const std::size_t k = std::strlen(ext);
        return o.out.size() >= k && o.out.compare(o.out.size() - k, k, ext) == 0;
    };
    if (ends_with(".npy")) return Format::Npy;
    if (ends_with(".bin") || ends_with(".raw")) return Format::Raw;
    return Format::Text;
}

class Progress {
public:
    Progress(int64_t total, bool on) : total_(total), on_(on && total >= kProgressFrom) {
        tty_ = on_ && isatty(STDERR_FILENO);
    }
    void update(int64_t done) {
        if (!on_) return;
        const int percent = static_cast<int>(done * 100 / total_);
        if (tty_) {
            if (percent != shown_) std::fprintf(stderr, "\rxebruk rng: %3d%%", percent);
        } else if (percent / 25 != shown_ / 25) {
            std::fprintf(stderr, "xebruk rng: %d%% (%" PRId64 " of %" PRId64 ")\n", percent, done, total_);
        }
        shown_ = percent;
    }
    void done() {
        if (tty_) std::fprintf(stderr, "\n");
    }

private:
    int64_t total_;
    bool on_, tty_ = false;
    int shown_ = 0;
};

// Writes k values whose first is value number `first` of the output; text
// puts `row` values on a line.
template <class T>
bool write_block(std::FILE* f, Format format, const T* r, int32_t k, int64_t first, int64_t row) {
    if (format != Format::Text) return std::fwrite(r, sizeof(T), static_cast<std::size_t>(k), f) == static_cast<std::size_t>(k);
    // 17 and 9 significant digits read back to the same double and float.
    const int digits = sizeof(T) == 8 ? 17 : 9;
    for (int32_t i = 0; i < k; ++i) {
        const char end = (first + i + 1) % row == 0 ? '\n' : ' ';
        const int w = std::is_integral_v<T>
                          ? std::fprintf(f, "%d%c", static_cast<int>(r[i]), end)
                          : std::fprintf(f, "%.*g%c", digits, static_cast<double>(r[i]), end);
        if (w < 0) return false;
    }
    return true;
}

// A law of vectors counts its draws in vectors of `row` values; the block
// then holds an even count of whole vectors.
template <class T, class Draw>
int run_draw(const Options& o, const LawChoice& law, Draw draw, RukStream* stream, Output& out,
             Format format, int64_t row) {
    std::FILE* f = out.file();
    const int64_t unit = law.vector_setup ? row : 1;
    const int64_t block_values = std::max<int64_t>(2, kBlock / unit / 2 * 2) * unit;
    std::vector<T> block(static_cast<std::size_t>(std::min<int64_t>(std::max<int64_t>(o.n, 1), block_values)));
    Summary sum;
    Progress progress(o.n, !o.quiet);
    for (int64_t done = 0; done < o.n;) {
        const int32_t k = static_cast<int32_t>(std::min<int64_t>(block_values, o.n - done));
        const int32_t status = draw(o.method, stream, static_cast<int32_t>(k / unit), block.data(), o.params.data());
        if (status < 0) {
            std::fprintf(stderr, "xebruk: rng: %s failed after %" PRId64 " values: %s%s\n", law.name, done,
                         status_text(status).c_str(), o.out.empty() ? "" : "; no file written");
            return 1;
        }
        if (!write_block(f, format, block.data(), k, done, row)) {
            std::fprintf(stderr, "xebruk: rng: writing %s failed: %s\n",
                         o.out.empty() ? "standard output" : o.out.c_str(), std::strerror(errno));
            return 1;
        }
        for (int32_t i = 0; i < k; ++i) sum.add(static_cast<double>(block[static_cast<std::size_t>(i)]));
        done += k;
        progress.update(done);
    }
    progress.done();
    if (const std::string err = out.commit(); !err.empty()) {
        std::fprintf(stderr, "xebruk: rng: %s\n", err.c_str());
        return 1;
    }
    if (!o.quiet) {
        const double variance = sum.count > 1 ? static_cast<double>(sum.m2 / (sum.count - 1)) : 0.0;
        std::fprintf(stderr,
                     "%s %s from %s: count %" PRId64 ", mean %.10g, variance %.10g, min %.10g, max %.10g\n",
                     law.name, std::is_integral_v<T> ? "integer" : o.single ? "single" : "double",
                     o.gen.c_str(), sum.count,
                     static_cast<double>(sum.mean), variance, sum.count ? sum.min : 0.0,
                     sum.count ? sum.max : 0.0);
    }
    return 0;
}

// The law's parameters: --params checked against the law, or the files of
// a law of vectors, whose vectors are `row` values long (and --n counts
// vectors).  0, or the exit code after a message.
int law_parameters(Options& o, const LawChoice& law, const GeneratorChoice& gen, int64_t& row) {
    if (law.vector_setup) {
        if (o.params_given) return usage_error("rng: " + o.law + " takes --factor and --mean, not --params");
        if (gen.max_dim > 0)
            return usage_error("rng: " + o.law + " draws from a pseudo-random generator, not " + gen.name);
        o.vector.single = o.single;
        if (const std::string err = law.vector_setup(o.vector, o.params, row); !err.empty())
            return usage_error("rng: " + o.law + ": " + err);
        if (o.n > std::numeric_limits<int64_t>::max() / row)
            return usage_error("rng: --n times the dimension is too large");
        o.n *= row;
        return 0;
    }
    if (!o.vector.factor.empty() || !o.vector.mean.empty() || !o.vector.storage.empty())
        return usage_error("rng: --factor, --mean and --storage are for gaussianmv, not " + o.law);
    if (!o.params_given) o.params = law.defaults;
    if (o.params.size() != law.params.size())
        return usage_error("rng: " + o.law + " takes " + std::to_string(law.params.size()) +
                           " parameters, " + std::to_string(o.params.size()) + " given");
    for (std::size_t i = 0; i < o.params.size(); ++i) {
        const double v = o.params[i];
        const bool fits = law.draw_int || !o.single ? std::isfinite(v) : std::isfinite(static_cast<float>(v));
        if (!fits)
            return usage_error("rng: " + o.law + ": " + law.params[i] + " must be a finite " +
                               (law.draw_int || !o.single ? "number" : "single-precision number"));
    }
    if (law.check)
        if (const std::string err = law.check(o.params.data()); !err.empty())
            return usage_error("rng: " + o.law + ": " + err);
    return 0;
}

}  // namespace

int rng(const Args& args) {
    Options o;
    if (const int rc = parse(args, o)) return rc;
    if (o.help) return 0;
    if (o.list) {
        list_choices();
        return 0;
    }
    const GeneratorChoice* gen = nullptr;
    for (const GeneratorChoice& g : generator_choices())
        if (o.gen == g.name) gen = &g;
    if (!gen) return usage_error("rng: unknown generator '" + o.gen + "' (try --list)");
    const LawChoice* law = nullptr;
    for (const LawChoice& l : law_choices())
        if (o.law == l.name) law = &l;
    if (!law) return usage_error("rng: unknown law '" + o.law + "' (try --list)");
    int64_t row = 1;
    if (const int rc = law_parameters(o, *law, *gen, row)) return rc;

    // A quasi-random generator takes its dimension as its seed and gives
    // n points of that many components.
    if (gen->max_dim > 0) {
        if (o.dim == 0) return usage_error(std::string("rng: ") + gen->name + " needs --dim D");
        if (o.dim > gen->max_dim)
            return usage_error(std::string("rng: ") + gen->name + " has dimensions 1 to " +
                               std::to_string(gen->max_dim) + ", not " + std::to_string(o.dim));
        if (!o.seeds.empty()) return usage_error(std::string("rng: ") + gen->name + " takes --dim, not --seed");
        o.seeds = {static_cast<uint32_t>(o.dim)};
        row = o.dim;
        if (o.n > std::numeric_limits<int64_t>::max() / row)
            return usage_error("rng: --n times --dim is too large");
        o.n *= row;
    } else if (o.dim != 0) {
        return usage_error(std::string("rng: --dim is for quasi-random generators, not ") + gen->name);
    }

    if (o.id >= 0 && gen->sub_ids <= 1)
        return usage_error(std::string("rng: ") + gen->name + " has one parameter set; --id is not for it");
    if (o.id >= gen->sub_ids)
        return usage_error(std::string("rng: ") + gen->name + " has parameter sets 0 to " +
                           std::to_string(gen->sub_ids - 1) + ", not " + std::to_string(o.id));

    RukStream* stream = nullptr;
    const int32_t status = rukNewStreamEx(&stream, gen->id + static_cast<int32_t>(std::max<int64_t>(o.id, 0)),
                                          static_cast<int32_t>(o.seeds.size()), o.seeds.data());
    if (status < 0) {
        if (stream) rukDeleteStream(&stream);
        std::fprintf(stderr, "xebruk: rng: generator %s refused the stream: %s\n", gen->name,
                     status_text(status).c_str());
        return 1;
    }
    const Format format = format_of(o);
    Output out;
    if (const std::string err = out.open(o.out, format != Format::Text); !err.empty()) {
        rukDeleteStream(&stream);
        std::fprintf(stderr, "xebruk: rng: %s\n", err.c_str());
        return 1;
    }
    int rc = 0;
    if (format == Format::Npy) {
        const std::string h = npy_header(law->draw_int ? "<i4" : o.single ? "<f4" : "<f8",
                                         row > 1 ? std::vector<int64_t>{o.n / row, row}
                                                 : std::vector<int64_t>{o.n});
        if (!out.write(h.data(), h.size())) {
            std::fprintf(stderr, "xebruk: rng: writing '%s' failed\n", o.out.c_str());
            rc = 1;
        }
    }
    if (!rc)
        rc = law->draw_int ? run_draw<int32_t>(o, *law, law->draw_int, stream, out, format, row)
             : o.single    ? run_draw<float>(o, *law, law->draw_single, stream, out, format, row)
                           : run_draw<double>(o, *law, law->draw_double, stream, out, format, row);
    rukDeleteStream(&stream);
    return rc;
}

}  // namespace cli
