// Fuzz target: rukLoadStreamF on arbitrary bytes.  A file that loads is
// then used as a program would use it: a few draws of every law that reads
// a chunk (the Gaussian pending pairs, Gamma's kept candidates, Binomial's
// and Poisson's set-ups under the keys the seed files carry), the generator's own words and numbers, a copy that
// shares the chunks, a save, and the deletes.  What a load accepts must
// never make these read out of bounds, leak, or hang.
#include <cstddef>
#include <cstdint>

#include "memory_file.h"
#include "xebruk/xebruk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static fuzz::MemoryFile in("stream_in"), out("stream_out");
    in.fill(data, size);
    RukStream* stream = nullptr;
    if (rukLoadStreamF(&stream, in.path()) < 0) return 0;

    uint32_t words[16];
    double d[16];
    float f[16];
    int32_t k[16];
    rukiRngUniformBits(0, stream, 3, words);
    rukdRngUniform(0, stream, 3, d, -1.0, 2.0);
    rukdRngGaussian(RUK_METHOD_GAUSSIAN_PAIRED, stream, 3, d, 0.0, 1.0);
    ruksRngGaussian(RUK_METHOD_GAUSSIAN_PAIRED, stream, 3, f, 0.0f, 1.0f);
    rukdRngLognormal(0, stream, 2, d, 0.0, 1.0, 0.0, 1.0);
    // The keys of the seed files' set-ups: BTPE and inversion.
    rukiRngBinomial(0, stream, 5, k, 100, 0.3);
    rukiRngBinomial(0, stream, 5, k, 20, 0.4);
    // Gamma's kept candidates; Poisson's set-up under the seed files' keys.
    rukdRngGamma(0, stream, 3, d, 2.5, 0.0, 1.0);
    ruksRngGamma(0, stream, 3, f, 2.5f, 0.0f, 1.0f);
    rukiRngPoisson(0, stream, 5, k, 12.5);
    rukiRngPoisson(0, stream, 5, k, 400.0);
    RukStream* copy = nullptr;
    if (rukCopyStream(&copy, stream) >= 0) {
        rukiRngBinomial(0, copy, 3, k, 100, 0.3);
        rukDeleteStream(&copy);
    }
    rukSaveStreamF(stream, out.path(), -1);
    rukDeleteStream(&stream);
    return 0;
}
