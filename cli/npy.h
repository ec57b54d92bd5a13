// .npy files of numbers: reading any version (1.0, 2.0, 3.0) of
// little-endian float32, float64, int32 or int64 arrays in C or Fortran
// order, and the header of a version 1.0 file.
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
    std::string descr;    // element type as stored: '<f4', '<f8', '<i4' or '<i8'
    bool single = false;  // stored as float32 (written as '<f4')
    std::vector<double> values;  // in storage order
};

// An empty string, or what was wrong (naming the file).  The values must
// fill the shape exactly from the bytes present: every extent and their
// product are checked against the size of the data, so no header can ask
// for more than the file holds.
std::string parse_npy(const std::string& bytes, const std::string& name, NpyArray& out);
std::string read_npy(const std::string& path, NpyArray& out);

// The version 1.0 header of an array of the given extents as the file lists
// them: magic, version, length, then the dictionary padded with spaces and
// a newline so that the data start at a multiple of 64 bytes.
std::string npy_header(bool single, const std::vector<int64_t>& shape, bool fortran = false);
// The same for any element type string ("<f4", "<f8", "<i4", ...).
std::string npy_header(const char* descr, const std::vector<int64_t>& shape, bool fortran = false);

}  // namespace cli
