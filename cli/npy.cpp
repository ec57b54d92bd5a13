#include "npy.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "readers.h"

namespace cli {

namespace {

const char kMagic[] = "\x93NUMPY";

// Value of `key` in the header dictionary: the text from after its colon up
// to the next top-level comma or the closing brace.
bool dict_value(const std::string& dict, const std::string& key, std::string& out) {
    std::size_t p = dict.find("'" + key + "'");
    if (p == std::string::npos) p = dict.find("\"" + key + "\"");
    if (p == std::string::npos) return false;
    p = dict.find(':', p);
    if (p == std::string::npos) return false;
    int depth = 0;
    std::size_t e = p + 1;
    for (; e < dict.size(); ++e) {
        const char c = dict[e];
        if (c == '(') ++depth;
        if (c == ')') --depth;
        if (depth == 0 && (c == ',' || c == '}')) break;
    }
    out = dict.substr(p + 1, e - p - 1);
    const auto first = out.find_first_not_of(" \t");
    const auto last = out.find_last_not_of(" \t");
    out = first == std::string::npos ? "" : out.substr(first, last - first + 1);
    return true;
}

bool parse_shape(const std::string& text, std::vector<int64_t>& shape) {
    if (text.size() < 2 || text.front() != '(' || text.back() != ')') return false;
    shape.clear();
    std::size_t p = 1;
    while (p < text.size() - 1) {
        while (p < text.size() - 1 && (text[p] == ' ' || text[p] == ',')) ++p;
        if (p >= text.size() - 1) break;
        const char* begin = text.c_str() + p;
        char* end = nullptr;
        errno = 0;
        const long long v = std::strtoll(begin, &end, 10);
        if (end == begin || errno != 0 || v < 0) return false;
        shape.push_back(v);
        p += static_cast<std::size_t>(end - begin);
        while (p < text.size() - 1 && text[p] == 'L') ++p;  // old long suffix
    }
    return true;
}

template <class T>
void decode(const unsigned char* bytes, std::size_t n, std::vector<double>& out) {
    out.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        T v;
        std::memcpy(&v, bytes + i * sizeof(T), sizeof(T));  // little-endian host
        out[i] = static_cast<double>(v);
    }
}

}  // namespace

std::string parse_npy(const std::string& data, const std::string& name, NpyArray& out) {
    const std::string bad = "'" + name + "' is not a readable .npy file: ";
    if (data.size() < 10 || data.compare(0, 6, kMagic, 6) != 0) return bad + "no .npy magic";
    const auto major = static_cast<unsigned char>(data[6]);
    std::size_t header_len = 0, header_start = 0;
    if (major == 1) {
        header_len = static_cast<unsigned char>(data[8]) | static_cast<unsigned char>(data[9]) << 8;
        header_start = 10;
    } else if (major == 2 || major == 3) {
        if (data.size() < 12) return bad + "truncated header";
        for (int i = 3; i >= 0; --i) header_len = header_len << 8 | static_cast<unsigned char>(data[8 + i]);
        header_start = 12;
    } else {
        return bad + "unknown version " + std::to_string(major);
    }
    if (data.size() - header_start < header_len) return bad + "truncated header";
    const std::string dict = data.substr(header_start, header_len);
    std::string descr, fortran, shape;
    if (!dict_value(dict, "descr", descr) || !dict_value(dict, "fortran_order", fortran) ||
        !dict_value(dict, "shape", shape))
        return bad + "header without descr, fortran_order or shape";
    if (!parse_shape(shape, out.shape)) return bad + "bad shape " + shape;
    if (fortran != "True" && fortran != "False") return bad + "bad fortran_order " + fortran;
    out.fortran = fortran == "True";
    if (descr.size() >= 2 && (descr.front() == '\'' || descr.front() == '"')) descr = descr.substr(1, descr.size() - 2);
    std::size_t width = 0;
    if (descr == "<f4" || descr == "<i4") width = 4;
    else if (descr == "<f8" || descr == "<i8") width = 8;
    else return bad + "element type " + descr + " (float32, float64, int32 or int64 wanted)";
    // Every partial product of the extents stays within the values the
    // data can hold, so neither the count nor its size in bytes overflows.
    const std::size_t available = data.size() - header_start - header_len;
    const std::size_t room = available / width;
    std::size_t n = 1;
    for (int64_t e : out.shape) {
        if (e != 0 && n > room / static_cast<uint64_t>(e)) {
            n = room + 1;
            break;
        }
        n *= static_cast<std::size_t>(e);
    }
    if (n > room) return bad + "its shape holds more values than its " + std::to_string(available) + " bytes of data";
    out.descr = descr;
    out.single = descr == "<f4";
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.data() + header_start + header_len);
    if (descr == "<f4") decode<float>(bytes, n, out.values);
    else if (descr == "<f8") decode<double>(bytes, n, out.values);
    else if (descr == "<i4") decode<int32_t>(bytes, n, out.values);
    else decode<int64_t>(bytes, n, out.values);
    return "";
}

std::string read_npy(const std::string& path, NpyArray& out) {
    std::string data;
    if (std::string err = read_file(path, data); !err.empty()) return err;
    return parse_npy(data, path, out);
}

std::string npy_header(bool single, const std::vector<int64_t>& shape, bool fortran) {
    return npy_header(single ? "<f4" : "<f8", shape, fortran);
}

std::string npy_header(const char* descr, const std::vector<int64_t>& shape, bool fortran) {
    std::string dims;  // "(n,)" for one extent, "(n, m)" for more
    for (std::size_t d = 0; d < shape.size(); ++d)
        dims += (d > 0 ? ", " : "") + std::to_string(shape[d]);
    if (shape.size() == 1) dims += ",";
    std::string dict = std::string("{'descr': '") + descr + "', 'fortran_order': " +
                       (fortran ? "True" : "False") + ", 'shape': (" + dims + "), }";
    const std::size_t total = (10 + dict.size() + 1 + 63) / 64 * 64;
    dict.append(total - 10 - dict.size() - 1, ' ');
    dict += '\n';
    std::string h(kMagic, 6);
    h += '\x01';
    h += '\x00';
    h += static_cast<char>(dict.size() & 0xFF);
    h += static_cast<char>(dict.size() >> 8);
    return h + dict;
}

}  // namespace cli
