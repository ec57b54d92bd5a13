// The tool's readers and its output file: every size a header states is
// checked against the bytes present, Fortran order comes out in C order,
// ragged text is refused, and an output is complete or absent.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "npy.h"
#include "output.h"
#include "readers.h"

namespace {

using namespace std::string_literals;

template <class T>
std::string bytes_of(std::initializer_list<T> v) {
    std::string s;
    for (T x : v) s.append(reinterpret_cast<const char*>(&x), sizeof x);
    return s;
}

std::string npy(const char* descr, std::vector<int64_t> shape, const std::string& data, bool fortran = false) {
    return cli::npy_header(descr, shape, fortran) + data;
}

struct Read {
    std::string err;
    cli::Signal s;
};
Read read_npy(const std::string& bytes) {
    Read r;
    r.err = cli::parse_npy_signal(bytes, "a.npy", r.s);
    return r;
}
Read read_text(const std::string& bytes) {
    Read r;
    r.err = cli::parse_text(bytes, "a.txt", r.s);
    return r;
}

TEST(CliReaders, SizesTheHeaderStatesMustFitTheData) {
    const std::string eight = std::string(64, '\0');
    // Before, (2^62,) ended in an uncaught length_error and the 4-D shape,
    // whose product wraps to 0 modulo 2^64, reached the kernel and wrote
    // past its buffer.
    const struct {
        std::string bytes;
        const char* message;
    } bad[] = {
        {npy("<f8", {int64_t{1} << 62}, eight), "shape holds more values than its 64 bytes"},
        {npy("<f4", {279073, 246241, 262145, 1024}, eight), "shape holds more values"},
        {npy("<f8", {3, int64_t{1} << 61, 4}, eight), "shape holds more values"},
        {npy("<f8", {9}, eight), "shape holds more values"},
        {npy("<f2", {1}, eight), "element type <f2"},
        {"\x93NUMPY\x02\x00\xff\xff\xff\xff{"s, "truncated header"},
        {"\x93NUMPY\x01\x00\x40\x00{'descr': '<f8'}"s, "truncated header"},
        {"\x93NUMPX\x01\x00\x00\x00"s, "no .npy magic"},
    };
    for (const auto& c : bad) {
        const Read r = read_npy(c.bytes);
        EXPECT_NE(r.err.find(c.message), std::string::npos) << c.message << ": " << r.err;
        EXPECT_NE(r.err.find("'a.npy'"), std::string::npos);
    }
    // A zero extent holds nothing, however large the others.
    const Read empty = read_npy(npy("<f8", {0, int64_t{1} << 62}, ""));
    EXPECT_EQ(empty.err, "");
    EXPECT_TRUE(empty.s.values.empty());
}

TEST(CliReaders, NpyOrderAndElementTypes) {
    // The same 2 x 3 array a[i][j] = 10 i + j stored both ways: dimension 0
    // is the last axis, and values come dimension 0 fastest.  Before, the
    // Fortran file came out transposed.
    const std::vector<double> want = {0, 1, 2, 10, 11, 12};
    const Read c = read_npy(npy("<f8", {2, 3}, bytes_of<double>({0, 1, 2, 10, 11, 12})));
    const Read f = read_npy(npy("<f8", {2, 3}, bytes_of<double>({0, 10, 1, 11, 2, 12}), true));
    for (const Read* r : {&c, &f}) {
        EXPECT_EQ(r->err, "");
        EXPECT_EQ(r->s.values, want);
        EXPECT_EQ(r->s.shape, (std::vector<int64_t>{3, 2}));
        EXPECT_EQ(r->s.element, cli::Element::Float64);
    }
    // Three dimensions in Fortran order: element (i, j, k) at i + 2 j + 4 k.
    std::string fortran3;
    std::vector<double> want3;
    for (int k = 0; k < 3; ++k)
        for (int j = 0; j < 2; ++j)
            for (int i = 0; i < 2; ++i) fortran3 += bytes_of<double>({100.0 * i + 10 * j + k});
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 2; ++j)
            for (int k = 0; k < 3; ++k) want3.push_back(100.0 * i + 10 * j + k);
    EXPECT_EQ(read_npy(npy("<f8", {2, 2, 3}, fortran3, true)).s.values, want3);
    const struct {
        const char* descr;
        std::string data;
        cli::Element element;
    } types[] = {{"<f4", bytes_of<float>({-1.5f}), cli::Element::Float32},
                 {"<i4", bytes_of<int32_t>({-1}), cli::Element::Int32},
                 {"<i8", bytes_of<int64_t>({-1}), cli::Element::Int64}};
    for (const auto& t : types) {
        const Read r = read_npy(npy(t.descr, {1}, t.data));
        EXPECT_EQ(r.s.element, t.element) << t.descr;
        EXPECT_EQ(r.s.values, std::vector<double>{t.element == cli::Element::Float32 ? -1.5 : -1.0});
    }
}

TEST(CliReaders, TextRowsAndRawWidths) {
    const struct {
        const char* text;
        std::vector<int64_t> shape;
        const char* message;
    } cases[] = {
        {"1 2 3\n4 5 6\n", {3, 2}, ""},
        {"1\n2\n\n3\n", {3}, ""},
        {"1 2 3\n", {3}, ""},
        // Ragged rows were flattened into one dimension.
        {"1 2 3\n4 5\n", {}, "a.txt, line 2: 2 numbers, but 3 on the first line"},
        {"1\n2 3\n", {}, "line 2: 2 numbers, but 1 on the first line"},
        {"1 2\nx 3\n", {}, "line 2: 'x' is not a number"},
        {" \n\t\n", {}, "'a.txt' holds no numbers"},
    };
    for (const auto& c : cases) {
        const Read r = read_text(c.text);
        EXPECT_NE(r.err.find(c.message), std::string::npos) << c.text << ": " << r.err;
        if (!*c.message) {
            EXPECT_EQ(r.s.shape, c.shape) << c.text;
        }
    }
    cli::Signal s;
    const std::string raw = bytes_of<double>({0.1, -2});
    EXPECT_EQ(cli::parse_raw(raw, "a.f64", false, s), "");
    EXPECT_EQ(s.values, (std::vector<double>{0.1, -2}));
    EXPECT_EQ(cli::parse_raw(raw, "a.f32", true, s), "");
    EXPECT_EQ(s.values.size(), 4u);
    EXPECT_NE(cli::parse_raw(raw + "x", "a.f64", false, s).find("17 bytes, not a whole number of float64"),
              std::string::npos);
}

std::string contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

TEST(CliOutput, CompleteOrAbsent) {
    const std::string path = ::testing::TempDir() + "cli_output_test.txt";
    std::remove(path.c_str());
    {
        // Abandoned half way (a draw refused): no file at all.
        cli::Output out;
        ASSERT_EQ(out.open(path, false), "");
        ASSERT_TRUE(out.write("partial", 7));
    }
    EXPECT_FALSE(std::ifstream(path).good());
    {
        cli::Output out;
        ASSERT_EQ(out.open(path, false), "");
        ASSERT_TRUE(out.write("whole\n", 6));
        ASSERT_EQ(out.commit(), "");
    }
    EXPECT_EQ(contents(path), "whole\n");
    {
        // An existing file is replaced whole or left as it was.
        cli::Output out;
        ASSERT_EQ(out.open(path, false), "");
        out.write("other", 5);
        out.abandon();
    }
    EXPECT_EQ(contents(path), "whole\n");
    std::remove(path.c_str());
    // A full device: the failure shows at the flush.
    cli::Output full;
    ASSERT_EQ(full.open("/dev/full", true), "");
    full.write("x", 1);
    EXPECT_NE(full.commit().find("cannot write '/dev/full': No space left on device"), std::string::npos);
    cli::Output nowhere;
    EXPECT_NE(nowhere.open("/nonexistent-dir/x.txt", false).find("cannot open '/nonexistent-dir/x.txt'"),
              std::string::npos);
}

}  // namespace
