// The arrays the tool reads: .npy files, raw files of float32 or float64
// values, and text.  Each parser works on the bytes of a file held in
// memory, so that tests and fuzz targets call it without a process; every
// answer is an empty string, or what was wrong, naming the file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "npy.h"

namespace cli {

// The whole file, or an error for a file that cannot be opened or read.
std::string read_file(const std::string& path, std::string& bytes);

// Element types a file can state.
enum class Element { Unstated, Float32, Float64, Int32, Int64 };

// An array with its extents listed dimension 0 (the fastest-varying)
// first, and its values with dimension 0 fastest.
struct Signal {
    std::vector<int64_t> shape;
    std::vector<double> values;
    Element element = Element::Unstated;
};

// .npy bytes (npy.h) as a signal: C order lists its fastest extent last,
// Fortran order first.
std::string parse_npy_signal(const std::string& bytes, const std::string& name, Signal& s);

// Raw values in the host's byte order: float32 or float64.
std::string parse_raw(const std::string& bytes, const std::string& name, bool single, Signal& s);

// Numbers separated by white space.  One number a line, or all on one
// line: one dimension.  Several lines of several numbers: two dimensions,
// one row a line, and every row must hold as many as the first.
std::string parse_text(const std::string& bytes, const std::string& name, Signal& s);

// A file's array by its name: .npy; raw float32 (.f32), float64 (.f64),
// or either as raw_double says (.raw, .bin); text otherwise.
std::string read_array(const std::string& path, bool raw_double, Signal& s);

// The product of extents: 0 when one is 0, whatever the others; -1 when an
// extent is negative or the product overflows 63 bits.
int64_t checked_product(const std::vector<int64_t>& shape);

}  // namespace cli
