// Writes the seed corpora of the fuzz targets: stream files saved by every
// generator the library has, without chunks and with each chunk a law
// keeps, and one small file of each kind the tool's readers take.  Every
// stream file must load again: the tool exits 1 otherwise, so that a test
// run checks that the load checks accept what the library writes.
//
//   make_fuzz_seeds STREAM_DIR READERS_DIR
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "npy.h"
#include "xebruk/xebruk.h"

namespace {

struct Generator {
    const char* name;
    int32_t id;
    uint32_t seed;
};

// The chunks a stream carries when it is saved.
enum class Chunks { None, GaussianPairs, Btpe, Inversion, GammaPoisson };

bool write_stream_seed(const std::string& dir, const Generator& g, Chunks chunks, const char* tag) {
    RukStream* s = nullptr;
    if (rukNewStreamEx(&s, g.id, 1, &g.seed) < 0) return false;
    double d[8];
    float f[8];
    int32_t k[8];
    uint32_t w[5 * 4];               // elements of up to four words
    rukiRngUniformBits(0, s, 5, w);  // mid-vector for the quasi generators
    if (chunks == Chunks::GaussianPairs || chunks == Chunks::Inversion) {
        rukdRngGaussian(RUK_METHOD_GAUSSIAN_PAIRED, s, 3, d, 0.0, 1.0);
        ruksRngGaussian(RUK_METHOD_GAUSSIAN_PAIRED, s, 3, f, 0.0f, 1.0f);
    }
    if (chunks == Chunks::Btpe) rukiRngBinomial(0, s, 5, k, 100, 0.3);
    if (chunks == Chunks::Inversion) rukiRngBinomial(0, s, 5, k, 20, 0.4);
    if (chunks == Chunks::GammaPoisson) {
        rukdRngGamma(0, s, 1, d, 2.5, 0.0, 1.0);
        ruksRngGamma(0, s, 1, f, 2.5f, 0.0f, 1.0f);
        rukiRngPoisson(0, s, 5, k, 12.5);
        rukiRngPoisson(0, s, 5, k, 400.0);
    }
    const std::string path = dir + "/" + g.name + "_" + tag + ".rng";
    const int32_t saved = rukSaveStreamF(s, path.c_str(), -1);
    rukDeleteStream(&s);
    RukStream* back = nullptr;
    const int32_t loaded = rukLoadStreamF(&back, path.c_str());
    if (back) rukDeleteStream(&back);
    if (saved < 0 || loaded < 0) {
        std::fprintf(stderr, "%s: saved with status %d, loaded with status %d\n", path.c_str(), saved, loaded);
        return false;
    }
    return true;
}

void write_bytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

template <class T>
std::string values(std::initializer_list<T> v) {
    std::string s;
    for (T x : v) s.append(reinterpret_cast<const char*>(&x), sizeof x);
    return s;
}

// The readers' target takes a first byte that chooses the reader.
void write_reader_seeds(const std::string& dir) {
    const std::string npy = std::string(1, '\0'), f32 = "\1", f64 = "\2", text = "\3";
    write_bytes(dir + "/c_f8.bin", npy + cli::npy_header("<f8", {2, 3}) + values<double>({1, 2, 3, 4, 5, 6}));
    write_bytes(dir + "/fortran_f4.bin",
                npy + cli::npy_header("<f4", {3, 2}, true) + values<float>({1, 2, 3, 4, 5, 6}));
    write_bytes(dir + "/c_i4.bin", npy + cli::npy_header("<i4", {4}) + values<int32_t>({1, -2, 3, -4}));
    write_bytes(dir + "/c_i8_3d.bin", npy + cli::npy_header("<i8", {1, 2, 1}) + values<int64_t>({7, 8}));
    std::string v2 = cli::npy_header("<f8", {1});
    v2[6] = 2;  // version 2: a 4-byte header length
    v2.insert(10, 2, '\0');
    write_bytes(dir + "/v2.bin", npy + v2 + values<double>({9}));
    write_bytes(dir + "/raw.f32.bin", f32 + values<float>({0.5f, -1.0f}));
    write_bytes(dir + "/raw.f64.bin", f64 + values<double>({0.5, -1.0, 1e300}));
    write_bytes(dir + "/column.txt.bin", text + "1\n2.5\n-3e-7\n");
    write_bytes(dir + "/rows.txt.bin", text + "1 2 3\n4 5 6\n\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: make_fuzz_seeds STREAM_DIR READERS_DIR\n");
        return 2;
    }
    namespace fs = std::filesystem;
    fs::create_directories(argv[1]);
    fs::create_directories(argv[2]);
    const Generator generators[] = {{"mcg31m1", RUK_BRNG_MCG31M1, 7},
                                    {"mcg31m1_old_id", 0, 7},
                                    {"mt19937", RUK_BRNG_MT19937, 7},
                                    {"mt2203", RUK_BRNG_MT2203 + 700, 7},
                                    {"sobol", RUK_BRNG_SOBOL, 3},
                                    {"niederr", RUK_BRNG_NIEDERR, 5},
                                    {"mrg32k3a", RUK_BRNG_MRG32K3A, 7},
                                    {"mcg59", RUK_BRNG_MCG59, 7},
                                    {"r250", RUK_BRNG_R250, 7},
                                    {"wh", RUK_BRNG_WH + 100, 7},
                                    {"wh_old_id", 104, 7}};
    const std::pair<Chunks, const char*> variants[] = {
        {Chunks::None, "plain"}, {Chunks::GaussianPairs, "pairs"}, {Chunks::Btpe, "btpe"},
        {Chunks::Inversion, "inversion_pairs"}, {Chunks::GammaPoisson, "gamma_poisson"}};
    bool ok = true;
    for (const Generator& g : generators)
        for (const auto& [chunks, tag] : variants) ok = write_stream_seed(argv[1], g, chunks, tag) && ok;
    write_reader_seeds(argv[2]);
    return ok ? 0 : 1;
}
