#include "readers.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace cli {

std::string read_file(const std::string& path, std::string& bytes) {
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) return "cannot open '" + path + "': " + std::strerror(errno);
    bytes.clear();
    char buffer[1 << 16];
    std::size_t got;
    while ((got = std::fread(buffer, 1, sizeof buffer, f)) > 0) bytes.append(buffer, got);
    const bool failed = std::ferror(f) != 0;
    std::fclose(f);
    return failed ? "cannot read '" + path + "'" : "";
}

std::string read_array(const std::string& path, bool raw_double, Signal& s) {
    std::string bytes;
    if (std::string err = read_file(path, bytes); !err.empty()) return err;
    auto ends_with = [&](const char* tail) {
        const std::size_t n = std::strlen(tail);
        return path.size() >= n && path.compare(path.size() - n, n, tail) == 0;
    };
    if (ends_with(".npy")) return parse_npy_signal(bytes, path, s);
    if (ends_with(".f32") || ends_with(".f64") || ends_with(".raw") || ends_with(".bin"))
        return parse_raw(bytes, path, ends_with(".f32") || (!ends_with(".f64") && !raw_double), s);
    return parse_text(bytes, path, s);
}

int64_t checked_product(const std::vector<int64_t>& shape) {
    for (int64_t e : shape)
        if (e <= 0) return e < 0 ? -1 : 0;  // a zero extent makes 0, whatever the others
    int64_t n = 1;
    for (int64_t e : shape)
        if (__builtin_mul_overflow(n, e, &n)) return -1;
    return n;
}

namespace {

// Values stored in Fortran order (first index fastest) rearranged into C
// order (last index fastest), the order the tool's dimension 0 follows.
std::vector<double> fortran_to_c(const std::vector<int64_t>& shape, const std::vector<double>& f) {
    std::vector<double> c(f.size());
    const std::size_t rank = shape.size();
    std::vector<int64_t> index(rank, 0), stride(rank, 1);
    for (std::size_t k = 1; k < rank; ++k) stride[k] = stride[k - 1] * shape[k - 1];
    int64_t from = 0;
    for (double& v : c) {
        v = f[static_cast<std::size_t>(from)];
        // Next C-order index: the last dimension first.
        for (std::size_t k = rank; k-- > 0;) {
            from += stride[k];
            if (++index[k] < shape[k]) break;
            from -= stride[k] * shape[k];
            index[k] = 0;
        }
    }
    return c;
}

}  // namespace

std::string parse_npy_signal(const std::string& bytes, const std::string& name, Signal& s) {
    NpyArray a;
    if (std::string err = parse_npy(bytes, name, a); !err.empty()) return err;
    s.shape.assign(a.shape.rbegin(), a.shape.rend());  // dimension 0: the last axis
    if (s.shape.empty()) s.shape = {1};  // a scalar
    s.values = a.fortran && a.shape.size() > 1 ? fortran_to_c(a.shape, a.values) : std::move(a.values);
    s.element = a.descr == "<f4"   ? Element::Float32
                : a.descr == "<f8" ? Element::Float64
                : a.descr == "<i4" ? Element::Int32
                                   : Element::Int64;
    return "";
}

std::string parse_raw(const std::string& bytes, const std::string& name, bool single, Signal& s) {
    const std::size_t width = single ? 4 : 8;
    if (bytes.empty() || bytes.size() % width != 0)
        return "'" + name + "' holds " + std::to_string(bytes.size()) + " bytes, not a whole number of " +
               (single ? "float32 values" : "float64 values");
    s.values.resize(bytes.size() / width);
    for (std::size_t i = 0; i < s.values.size(); ++i) {
        if (single) {
            float v;
            std::memcpy(&v, bytes.data() + i * 4, 4);
            s.values[i] = v;
        } else {
            std::memcpy(&s.values[i], bytes.data() + i * 8, 8);
        }
    }
    s.shape = {static_cast<int64_t>(s.values.size())};
    s.element = single ? Element::Float32 : Element::Float64;
    return "";
}

std::string parse_text(const std::string& bytes, const std::string& name, Signal& s) {
    s.values.clear();
    std::size_t first_row = 0, rows = 0, lineno = 0;
    for (std::size_t at = 0; at < bytes.size();) {
        std::size_t end = bytes.find('\n', at);
        if (end == std::string::npos) end = bytes.size();
        const std::string line = bytes.substr(at, end - at);
        at = end + 1;
        ++lineno;
        std::size_t here = 0;
        for (std::size_t p = line.find_first_not_of(" \t\r\v\f"); p != std::string::npos;
             p = line.find_first_not_of(" \t\r\v\f", p)) {
            const std::size_t stop = std::min(line.find_first_of(" \t\r\v\f", p), line.size());
            const std::string word = line.substr(p, stop - p);
            p = stop;
            char* tail = nullptr;
            const double v = std::strtod(word.c_str(), &tail);
            if (*tail != '\0' || word.find('\0') != std::string::npos)
                return name + ", line " + std::to_string(lineno) + ": '" + word + "' is not a number";
            s.values.push_back(v);
            ++here;
        }
        if (here == 0) continue;
        if (rows == 0) first_row = here;
        if (here != first_row)
            return name + ", line " + std::to_string(lineno) + ": " + std::to_string(here) + " numbers, but " +
                   std::to_string(first_row) + " on the first line: rows of a 2-D array must be of equal length";
        ++rows;
    }
    if (s.values.empty()) return "'" + name + "' holds no numbers";
    if (rows > 1 && first_row > 1)
        s.shape = {static_cast<int64_t>(first_row), static_cast<int64_t>(rows)};
    else
        s.shape = {static_cast<int64_t>(s.values.size())};
    s.element = Element::Unstated;
    return "";
}

}  // namespace cli
