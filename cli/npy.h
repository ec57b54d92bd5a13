// .npy files of numbers: reading any version (1.0, 2.0, 3.0) of
// little-endian float32, float64, int32 or int64 arrays in C or Fortran
// order, and writing float32 or float64 arrays in version 1.0.
// Shared by the subcommands that take or give arrays.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace cli {

struct NpyArray {
    // Extents as the file lists them.  In C order the last one varies
    // fastest in `values`, in Fortran order the first.
    std::vector<int64_t> shape;
    bool fortran = false;
    bool single = false;  // stored as float32 (written as '<f4')
    std::vector<double> values;  // in storage order

    // The extents with the fastest-varying first.
    std::vector<int64_t> fastest_first() const;
};

// Both return an empty string, or what was wrong (naming the file).
std::string read_npy(const std::string& path, NpyArray& out);
std::string write_npy(const std::string& path, const NpyArray& a);

// The version 1.0 header of an array of the given extents as the file lists
// them: magic, version, length, then the dictionary padded with spaces and
// a newline so that the data start at a multiple of 64 bytes.
std::string npy_header(bool single, const std::vector<int64_t>& shape, bool fortran = false);
// The same for any element type string ("<f4", "<f8", "<i4", ...).
std::string npy_header(const char* descr, const std::vector<int64_t>& shape, bool fortran = false);

}  // namespace cli
