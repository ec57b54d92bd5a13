// The `xebruk rng` command: its files read back against independent
// values and against the library drawing in one call, its summary, its
// progress and its refusals.
#include <gtest/gtest.h>
#include <unistd.h>

#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/scale.h"
#include "support/streams.h"
#include "xebruk/xebruk.h"

namespace {

// Per test, as ctest runs the tests of this suite side by side.
std::string temp_path(const std::string& name) {
    // The process id too: other builds' suites may run at the same time.
    return ::testing::TempDir() + "cli_rng_" + std::to_string(::getpid()) + "_" +
           ::testing::UnitTest::GetInstance()->current_test_info()->name() + "_" + name;
}

// The file's bytes; the file is removed.
std::string take(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    std::remove(path.c_str());
    return s.str();
}

struct CliResult {
    int exit_code;
    std::string err;
};
CliResult run_cli(const std::string& args) {
    const std::string err = temp_path("stderr.txt");
    const int status = std::system((std::string(XEBRUK_CLI_PATH) + " rng " + args + " 2> " + err).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, take(err)};
}

// The dictionary of a .npy 1.0 file (magic, version, little-endian header
// length, a dictionary padded to a multiple of 64 bytes and ended by a
// newline); the data follow it.
std::string npy_dict(const std::string& bytes) {
    EXPECT_EQ(bytes.substr(0, 8), std::string("\x93NUMPY\x01\x00", 8));
    if (bytes.size() < 10) return "";
    const std::size_t header = static_cast<unsigned char>(bytes[8]) + 256u * static_cast<unsigned char>(bytes[9]);
    EXPECT_EQ((10 + header) % 64, 0u);
    const std::string dict = bytes.substr(10, header);
    EXPECT_EQ(dict.back(), '\n');
    return dict;
}

const char* kKeyArg = "--gen mt19937 --seed 0x123,0x234,0x345,0x456";

TEST(CliRng, TextMatchesThePublishedWords) {
    std::ifstream ref(xt::source_dir() + "/tests/data/mt19937_initbyarray_123_234_345_456_n1000.txt");
    std::vector<double> want, got;
    for (std::string line; std::getline(ref, line);)
        if (!line.empty() && line[0] != '#') want.push_back(std::ldexp(std::stod(line), -32));
    ASSERT_EQ(want.size(), 1000u);
    const std::string out = temp_path("unit.txt");
    const CliResult r = run_cli(std::string(kKeyArg) + " --law uniform --params 0,1 --n 1000 --out " + out);
    ASSERT_EQ(r.exit_code, 0) << r.err;
    std::istringstream in(take(out));
    for (double x; in >> x;) got.push_back(x);
    EXPECT_EQ(got, want);  // 17 digits read back exactly

    // The summary line: count, mean, variance, min, max of the values.
    double mean = 0, var = 0, m, v, lo, hi;
    for (double x : want) mean += x / 1000;
    for (double x : want) var += (x - mean) * (x - mean) / 999;
    long count;
    const char* at = std::strstr(r.err.c_str(), "count");
    ASSERT_NE(at, nullptr) << r.err;
    ASSERT_EQ(std::sscanf(at, "count %ld, mean %lf, variance %lf, min %lf, max %lf", &count, &m, &v, &lo, &hi), 5)
        << r.err;
    EXPECT_EQ(count, 1000);
    EXPECT_NEAR(m, mean, 1e-9);
    EXPECT_NEAR(v, var, 1e-9);
    EXPECT_NEAR(lo, *std::min_element(want.begin(), want.end()), 1e-12);  // 10 digits shown
    EXPECT_NEAR(hi, *std::max_element(want.begin(), want.end()), 1e-9);
}

template <class T>
void check_binary_files(const char* precision, const char* descr) {
    // More than one block of the command's draw.
    const int n = 70001;
    const std::string raw = temp_path("draw.bin"), npy = temp_path("draw.npy");
    const std::string common = std::string(kKeyArg) + " --law uniform --params -1,3 --quiet --n " +
                               std::to_string(n) + " --precision " + precision;
    ASSERT_EQ(run_cli(common + " --out " + raw).exit_code, 0);
    ASSERT_EQ(run_cli(common + " --out " + npy).exit_code, 0);
    const std::string raw_bytes = take(raw), npy_bytes = take(npy);

    // One library call of n on a stream of the same key.
    xt::StreamHandle h;
    const uint32_t key[4] = {0x123, 0x234, 0x345, 0x456};
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MT19937, 4, key), RUK_OK);
    std::vector<T> want(n);
    if constexpr (sizeof(T) == 8)
        rukdRngUniform(0, h.get(), n, want.data(), -1, 3);
    else
        ruksRngUniform(0, h.get(), n, want.data(), -1, 3);
    ASSERT_EQ(raw_bytes.size(), n * sizeof(T));
    EXPECT_EQ(0, std::memcmp(raw_bytes.data(), want.data(), raw_bytes.size()));

    const std::string dict = npy_dict(npy_bytes);
    EXPECT_NE(dict.find(std::string("'descr': '") + descr + "'"), std::string::npos) << dict;
    EXPECT_NE(dict.find("'fortran_order': False"), std::string::npos) << dict;
    EXPECT_NE(dict.find("'shape': (" + std::to_string(n) + ",)"), std::string::npos) << dict;
    EXPECT_EQ(npy_bytes.substr(10 + dict.size()), raw_bytes);
}

TEST(CliRng, RawAndNpyHoldOneCallsValues) {
    check_binary_files<double>("double", "<f8");
    check_binary_files<float>("single", "<f4");
}

TEST(CliRng, ParameterSetById) {
    const std::string raw = temp_path("mt2203.bin");
    ASSERT_EQ(run_cli("--gen mt2203 --id 1021 --seed 7 --law bits --n 1000 --quiet --out " + raw).exit_code, 0);
    const std::string bytes = take(raw);
    xt::StreamHandle h;
    const uint32_t seed = 7;
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MT2203 + 1021, 1, &seed), RUK_OK);
    std::vector<uint32_t> want(1000);
    rukiBRngMT2203(h.get(), 1000, want.data());
    ASSERT_EQ(bytes.size(), sizeof(uint32_t) * want.size());
    EXPECT_EQ(0, std::memcmp(bytes.data(), want.data(), bytes.size()));
}

TEST(CliRng, ProgressForLargeCounts) {
    const CliResult r = run_cli("--n 4194304 --format raw --out /dev/null");
    ASSERT_EQ(r.exit_code, 0) << r.err;
    EXPECT_NE(r.err.find("100%"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("count 4194304"), std::string::npos) << r.err;
    const CliResult quiet = run_cli("--n 4194304 --format raw --out /dev/null --quiet");
    EXPECT_EQ(quiet.exit_code, 0);
    EXPECT_EQ(quiet.err, "");
}

// Quasi-random points come one per line (text) or as an (n, dim) array,
// holding what the library's own draw gives.
TEST(CliRng, QuasiRandomPointsAsRows) {
    const std::string txt = temp_path("points.txt"), npy = temp_path("points.npy");
    ASSERT_EQ(run_cli("--gen niederr --dim 3 --n 5 --quiet --out " + txt).exit_code, 0);
    ASSERT_EQ(run_cli("--gen niederr --dim 3 --n 5 --quiet --out " + npy).exit_code, 0);
    const std::string text = take(txt), bytes = take(npy);
    xt::StreamHandle s;
    const uint32_t dim = 3;
    double want[15];
    ASSERT_EQ(rukNewStreamEx(s.out(), RUK_BRNG_NIEDERR, 1, &dim), 0);
    ASSERT_EQ(rukdBRngNiederr(s.get(), 15, want, 0.0, 1.0), 0);
    std::istringstream lines(text);
    std::vector<double> got;
    int rows = 0;
    for (std::string line; std::getline(lines, line); ++rows) {
        std::istringstream fields(line);
        for (double v; fields >> v;) got.push_back(v);
        EXPECT_EQ(got.size(), 3u * (rows + 1)) << "three components a line: " << line;
    }
    EXPECT_EQ(rows, 5);
    EXPECT_EQ(got, std::vector<double>(want, want + 15));
    EXPECT_NE(npy_dict(bytes).find("'shape': (5, 3)"), std::string::npos);
    ASSERT_GE(bytes.size(), sizeof want);
    EXPECT_EQ(0, std::memcmp(bytes.data() + bytes.size() - sizeof want, want, sizeof want));
}

// A law on each linear generator (WH with a parameter set) holds what the
// library draws from a stream of the same id and seeds.
TEST(CliRng, LawsOnTheLinearGenerators) {
    struct Case {
        const char* args;
        int32_t id;
        std::vector<uint32_t> seed;
    };
    const Case cases[] = {
        {"--gen mrg32k3a --seed 1,2,3,4,5,6", RUK_BRNG_MRG32K3A, {1, 2, 3, 4, 5, 6}},
        {"--gen mcg59 --seed 7,8", RUK_BRNG_MCG59, {7, 8}},
        {"--gen r250 --seed 9", RUK_BRNG_R250, {9}},
        {"--gen wh --id 200 --seed 10,11,12,13", RUK_BRNG_WH + 200, {10, 11, 12, 13}},
    };
    const int n = 1001;
    for (const Case& c : cases) {
        const std::string raw = temp_path("law.bin");
        const CliResult r = run_cli(std::string(c.args) + " --law gaussian --params 1,2 --quiet --format raw --n " +
                                    std::to_string(n) + " --out " + raw);
        ASSERT_EQ(r.exit_code, 0) << c.args << ": " << r.err;
        xt::StreamHandle h;
        ASSERT_EQ(rukNewStreamEx(h.out(), c.id, static_cast<int32_t>(c.seed.size()), c.seed.data()), RUK_OK);
        std::vector<double> want(n);
        ASSERT_EQ(rukdRngGaussian(0, h.get(), n, want.data(), 1, 2), RUK_OK);
        const std::string bytes = take(raw);
        ASSERT_EQ(bytes.size(), sizeof(double) * n) << c.args;
        EXPECT_EQ(0, std::memcmp(bytes.data(), want.data(), bytes.size())) << c.args;
    }
}

TEST(CliRng, BadInputIsRefusedWithAMessage) {
    const std::pair<const char*, const char*> cases[] = {
        {"--law nosuch", "unknown law 'nosuch'"},
        {"--gen nosuch", "unknown generator 'nosuch'"},
        {"--law uniform --params 1", "takes 2 parameters, 1 given"},
        {"--params 1,x", "parameter 'x' is not a number"},
        {"--seed 1,,2", "bad --seed list"},
        {"--seed 0x100000000", "not a 32-bit word"},
        {"--n -5", "--n wants a count"},
        {"--precision half", "double or single"},
        {"--format csv", "text, raw or npy"},
        {"--bogus 1", "unknown option '--bogus'"},
        {"--n", "needs a value"},
        {"--out /nonexistent-dir/x.txt", "cannot open '/nonexistent-dir/x.txt'"},
        {"--gen sobol", "sobol needs --dim D"},
        {"--gen sobol --dim 2 --seed 3", "takes --dim, not --seed"},
        {"--gen mt19937 --dim 2", "--dim is for quasi-random generators"},
        {"--gen niederr --dim 0", "--dim wants a dimension"},
        {"--gen sobol --dim 41", "sobol has dimensions 1 to 40, not 41"},
        {"--gen wh --id 273", "wh has parameter sets 0 to 272, not 273"},
        {"--gen mcg59 --id 1", "mcg59 has one parameter set"},
        {"--gen wh --id -1", "--id wants a parameter set"},
        // A full disk was exit 0 with nothing written.
        {"--n 5 --out /dev/full", "cannot write '/dev/full': No space left on device"},
        {"--n 5 > /dev/full", "cannot write 'standard output': No space left on device"},
        {"--gen mt2203 --id 1024", "mt2203 has parameter sets 0 to 1023, not 1024"},
    };
    for (const auto& [args, message] : cases) {
        const CliResult r = run_cli(args);
        EXPECT_NE(r.exit_code, 0) << args;
        EXPECT_NE(r.err.find(message), std::string::npos) << args << ": " << r.err;
    }
}

// Multivariate normal vectors: the (n, d) array of the library's draw, the
// same for each storage of one factor, and every file a user can get wrong.
TEST(CliRng, GaussianMVVectorsFromAFactorFile) {
    const std::string full = temp_path("full.txt"), packed = temp_path("packed.f64"), diag = temp_path("diag.txt"),
                      mean = temp_path("mean.txt");
    std::ofstream(full) << "2 0 0\n0.5 1 0\n-0.25 0.125 3\n";
    const double columns[6] = {2, 0.5, -0.25, 1, 0.125, 3};
    std::ofstream(packed, std::ios::binary).write(reinterpret_cast<const char*>(columns), sizeof columns);
    std::ofstream(diag) << "2 1 3\n";
    std::ofstream(mean) << "1\n-1\n10\n";
    const std::string common = std::string(kKeyArg) + " --law gaussianmv --n 20001 --quiet --mean " + mean;
    const std::string a = temp_path("a.npy"), b = temp_path("b.npy"), c = temp_path("c.npy");
    ASSERT_EQ(run_cli(common + " --factor " + full + " --out " + a).exit_code, 0);
    ASSERT_EQ(run_cli(common + " --factor " + packed + " --storage packed --out " + b).exit_code, 0);
    ASSERT_EQ(run_cli(common + " --factor " + diag + " --storage diagonal --precision single --out " + c).exit_code, 0);
    const std::string full_bytes = take(a), packed_bytes = take(b), diag_bytes = take(c);
    EXPECT_EQ(full_bytes, packed_bytes);
    EXPECT_NE(npy_dict(full_bytes).find("'shape': (20001, 3)"), std::string::npos);

    xt::StreamHandle h, hs;
    const uint32_t key[4] = {0x123, 0x234, 0x345, 0x456};
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MT19937, 4, key), RUK_OK);
    ASSERT_EQ(rukNewStreamEx(hs.out(), RUK_BRNG_MT19937, 4, key), RUK_OK);
    const double t[9] = {2, 0, 0, 0.5, 1, 0, -0.25, 0.125, 3}, m[3] = {1, -1, 10};
    const float ts[3] = {2, 1, 3}, ms[3] = {1, -1, 10};
    std::vector<double> want(60003);
    std::vector<float> want_single(60003);
    ASSERT_EQ(rukdRngGaussianMV(0, h.get(), 20001, want.data(), 3, RUK_FACTOR_SQUARE, m, t), RUK_OK);
    ASSERT_EQ(ruksRngGaussianMV(0, hs.get(), 20001, want_single.data(), 3, RUK_FACTOR_DIAGONAL, ms, ts), RUK_OK);
    ASSERT_GE(full_bytes.size(), sizeof(double) * want.size());
    EXPECT_EQ(0, std::memcmp(full_bytes.data() + full_bytes.size() - sizeof(double) * want.size(), want.data(),
                             sizeof(double) * want.size()));
    ASSERT_GE(diag_bytes.size(), sizeof(float) * want_single.size());
    EXPECT_EQ(0, std::memcmp(diag_bytes.data() + diag_bytes.size() - sizeof(float) * want.size(),
                             want_single.data(), sizeof(float) * want.size()));

    const std::string upper = temp_path("upper.txt"), wide = temp_path("wide.txt"), nan = temp_path("nan.txt"),
                      five = temp_path("five.txt");
    std::ofstream(five) << "1 2 3 4 5\n";
    std::ofstream(upper) << "2 0.5\n0.5 1\n";
    std::ofstream(wide) << "1 0 0\n1 1 0\n";
    std::ofstream(nan) << "1 0\nnan 1\n";
    const std::pair<std::string, const char*> cases[] = {
        {"", "needs --factor FILE"},
        {"--factor " + upper, "must be lower triangular, but row 0 holds 0.5 in column 1"},
        {"--factor " + wide, "must hold a square array"},
        {"--factor " + full + " --storage packed", "must hold one row or column"},
        {"--factor " + five + " --storage packed", "holds 5 values; a packed factor"},
        {"--factor " + full + " --storage lower", "--storage is full, packed or diagonal"},
        {"--factor " + nan, "holds nan, not a finite number"},
        {"--factor " + full + " --mean " + diag + "x", "cannot open"},
        {"--factor " + diag + " --storage diagonal --mean " + full, "must hold the 3 values of the mean"},
        {"--factor " + full + " --params 1,2", "not --params"},
        {"--factor " + full + " --gen sobol --dim 3", "not sobol"},
    };
    for (const auto& [args, message] : cases) {
        const std::string out = temp_path("refused.npy");
        std::remove(out.c_str());
        const CliResult r = run_cli("--law gaussianmv " + args + " --out " + out);
        EXPECT_EQ(r.exit_code, 2) << args;
        EXPECT_NE(r.err.find(message), std::string::npos) << args << ": " << r.err;
        EXPECT_FALSE(std::ifstream(out).good()) << args;
    }
    for (const std::string& f : {full, packed, diag, mean, upper, wide, nan, five}) std::remove(f.c_str());
}

TEST(CliRng, BetaShapesAndScaleAreChecked) {
    const std::string out = temp_path("beta.bin");
    ASSERT_EQ(run_cli(std::string(kKeyArg) + " --law beta --params 0.5,2,-1,4 --n 999 --quiet --out " + out).exit_code, 0);
    const std::string bytes = take(out);
    xt::StreamHandle h;
    const uint32_t key[4] = {0x123, 0x234, 0x345, 0x456};
    ASSERT_EQ(rukNewStreamEx(h.out(), RUK_BRNG_MT19937, 4, key), RUK_OK);
    std::vector<double> want(999);
    ASSERT_EQ(rukdRngBeta(0, h.get(), 999, want.data(), 0.5, 2, -1, 4), RUK_OK);
    ASSERT_EQ(bytes.size(), sizeof(double) * want.size());
    EXPECT_EQ(0, std::memcmp(bytes.data(), want.data(), bytes.size()));
    for (const auto& [params, message] : {std::pair{"0,2,0,1", "p must be above 0"}, {"1,-2,0,1", "q must be above 0"},
                                          {"1,2,0,0", "beta must be above 0"}, {"1,inf,0,1", "q must be a finite"}}) {
        const CliResult r = run_cli(std::string("--law beta --params ") + params);
        EXPECT_EQ(r.exit_code, 2) << params;
        EXPECT_NE(r.err.find(message), std::string::npos) << params << ": " << r.err;
    }
}

TEST(CliRng, HelpPrintsTheUsage) {
    for (const char* command : {" rng --help", " help rng", " rng --law gaussian -h"}) {
        const std::string out = temp_path("help.txt");
        const int status = std::system((std::string(XEBRUK_CLI_PATH) + command + " > " + out).c_str());
        EXPECT_EQ(WEXITSTATUS(status), 0) << command;
        EXPECT_EQ(take(out).rfind("usage: xebruk rng", 0), 0u) << command;
    }
}

}  // namespace
