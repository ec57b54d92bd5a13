// The linear generators filling 10^6 integers and 10^6 doubles on (0, 1),
// each paired with a peer filling the same array ("ratio" is our time over
// the peer's; 0.5 means twice as fast):
//   MRG32K3A  a plain transcription of L'Ecuyer's published algorithm in
//             double arithmetic; Boost's ecuyer1988 (a combined generator of
//             two multiplicative ones, the nearest engine Boost or <random>
//             has);
//   MCG59     std::linear_congruential_engine with the same multiplier and
//             modulus;
//   R250      std::subtract_with_carry_engine with the same lags, and GSL's
//             r250 (the same recurrence);
//   WH        a plain transcription of Wichmann and Hill's four-component
//             generator (integer remainders, the fractional part of the
//             sum in double);
// and, for every generator, memcpy of an array of the same bytes: the
// floor of any fill ("ours/memcpy").  MRG32K3A, MCG59 and WH fill floats on
// (0, 1) too.  The kernels run in the class in use
// (XEBRUK_KERNEL_CLASS picks another).
#include <gsl/gsl_rng.h>

#include <boost/random/additive_combine.hpp>
#include <cstring>
#include <random>

#include "paired.h"
#include "xebruk/xebruk.h"

namespace {

constexpr int kCount = 1000000;

RukStream* new_stream(int32_t id, std::vector<uint32_t> seed) {
    RukStream* s = nullptr;
    rukNewStreamEx(&s, id, static_cast<int32_t>(seed.size()), seed.data());
    return s;
}

// L'Ecuyer's algorithm as published: double arithmetic, a truncated
// quotient and a correction of the sign.
struct Mrg32k3aTranscription {
    double s10 = 12345, s11 = 12345, s12 = 12345, s20 = 12345, s21 = 12345, s22 = 12345;
    uint32_t next() {
        constexpr double m1 = 4294967087.0, m2 = 4294944443.0;
        double p1 = 1403580.0 * s11 - 810728.0 * s10;
        p1 -= static_cast<double>(static_cast<long>(p1 / m1)) * m1;
        if (p1 < 0.0) p1 += m1;
        s10 = s11, s11 = s12, s12 = p1;
        double p2 = 527612.0 * s22 - 1370589.0 * s20;
        p2 -= static_cast<double>(static_cast<long>(p2 / m2)) * m2;
        if (p2 < 0.0) p2 += m2;
        s20 = s21, s21 = s22, s22 = p2;
        return static_cast<uint32_t>(p1 > p2 ? p1 - p2 : p1 - p2 + m1);
    }
};

// Wichmann and Hill's four-component generator as they publish it
// (integer remainders, the sum of the four ratios in double), with the
// moduli and multipliers of WH's first set.
struct WhTranscription {
    static constexpr uint64_t m[4] = {16770647, 16770643, 16770623, 16770617};
    static constexpr uint64_t a[4] = {125, 117, 127, 126};
    uint64_t x[4] = {1, 1, 1, 1};
    double next() {
        double s = 0;
        for (int i = 0; i < 4; ++i) {
            x[i] = a[i] * x[i] % m[i];
            s += static_cast<double>(x[i]) / static_cast<double>(m[i]);
        }
        return s - static_cast<int>(s);
    }
};

using Mcg59Peer = std::linear_congruential_engine<uint64_t, 302875106592253u, 0, uint64_t{1} << 59>;
using R250Peer = std::subtract_with_carry_engine<uint32_t, 32, 147, 250>;

struct Gsl250 {
    gsl_rng* r = gsl_rng_alloc(gsl_rng_r250);
    ~Gsl250() { gsl_rng_free(r); }
    uint32_t operator()() { return static_cast<uint32_t>(gsl_rng_get(r)); }
};

// Our fill of Elem (of `words` per element for the integer kernel) against
// peer(), which gives one element per call; or, with no peer, memcpy.
template <class Elem, class Fill, class Peer>
void versus(benchmark::State& state, Fill fill, Peer peer) {
    xbench::paired_fill<Elem>(state, kCount, fill, peer);
}
template <class Elem, class Fill>
void versus_memcpy(benchmark::State& state, Fill fill) {
    // Timed by the thread's CPU clock, in turn (xbench::rounds): on a shared
    // machine the wall clock of a millisecond's fill mostly measures others.
    std::vector<Elem> r(kCount), src(kCount), dst(kCount);
    xbench::rounds(state, kCount,
                   {{"ours", [&] { fill(r.data(), kCount); }},
                    {"memcpy", [&] { std::memcpy(dst.data(), src.data(), sizeof(Elem) * kCount); }}});
}

// Integer fills: n elements of the row's words.
template <int32_t Id>
auto integer_fill(RukStream* s) {
    return [s](auto* r, int n) {
        RukBrngEntry row;
        rukGetBrngProperties(Id, &row);
        row.iKernel(s, n, r);
    };
}
auto double_fill(RukStream* s) {
    return [s](double* r, int n) {
        RukBrngEntry row;
        rukGetBrngProperties(s->brngId, &row);
        row.dKernel(s, n, r, 0.0, 1.0);
    };
}

auto float_fill(RukStream* s) {
    return [s](float* r, int n) {
        RukBrngEntry row;
        rukGetBrngProperties(s->brngId, &row);
        row.sKernel(s, n, r, 0.0f, 1.0f);
    };
}

struct Words4 {
    uint32_t w[4];
};

void BM_Mrg32k3a_Int_Transcription(benchmark::State& st) {
    RukStream* s = new_stream(RUK_BRNG_MRG32K3A, std::vector<uint32_t>(6, 12345));
    Mrg32k3aTranscription peer;
    versus<uint32_t>(st, integer_fill<RUK_BRNG_MRG32K3A>(s), [&] { return peer.next(); });
    rukDeleteStream(&s);
}
void BM_Mrg32k3a_Int_Ecuyer1988(benchmark::State& st) {
    RukStream* s = new_stream(RUK_BRNG_MRG32K3A, std::vector<uint32_t>(6, 12345));
    boost::random::ecuyer1988 peer;
    versus<uint32_t>(st, integer_fill<RUK_BRNG_MRG32K3A>(s), [&] { return static_cast<uint32_t>(peer()); });
    rukDeleteStream(&s);
}
void BM_Mrg32k3a_Double_Transcription(benchmark::State& st) {
    RukStream* s = new_stream(RUK_BRNG_MRG32K3A, std::vector<uint32_t>(6, 12345));
    Mrg32k3aTranscription peer;
    versus<double>(st, double_fill(s), [&] { return peer.next() * (1.0 / 4294967088.0); });
    rukDeleteStream(&s);
}
void BM_Mrg32k3a_Float_Transcription(benchmark::State& st) {
    RukStream* s = new_stream(RUK_BRNG_MRG32K3A, std::vector<uint32_t>(6, 12345));
    Mrg32k3aTranscription peer;
    versus<float>(st,
                  [s](float* r, int n) { ruksBRngMRG32K3A(s, n, r, 0.0f, 1.0f); },
                  [&] { return static_cast<float>(peer.next() * (1.0 / 4294967088.0)); });
    rukDeleteStream(&s);
}
void BM_Mrg32k3a_Double_Ecuyer1988(benchmark::State& st) {
    RukStream* s = new_stream(RUK_BRNG_MRG32K3A, std::vector<uint32_t>(6, 12345));
    boost::random::ecuyer1988 peer;
    versus<double>(st, double_fill(s), [&] { return peer() * (1.0 / 2147483563.0); });
    rukDeleteStream(&s);
}
void BM_Mcg59_Int_LinearCongruential(benchmark::State& st) {
    RukStream* s = new_stream(RUK_BRNG_MCG59, {1});
    Mcg59Peer peer(1);
    versus<uint64_t>(st, integer_fill<RUK_BRNG_MCG59>(s), [&] { return peer(); });
    rukDeleteStream(&s);
}
void BM_Mcg59_Double_LinearCongruential(benchmark::State& st) {
    RukStream* s = new_stream(RUK_BRNG_MCG59, {1});
    Mcg59Peer peer(1);
    versus<double>(st, double_fill(s), [&] { return static_cast<double>(peer()) * 0x1p-59; });
    rukDeleteStream(&s);
}
void BM_Mcg59_Float_LinearCongruential(benchmark::State& st) {
    RukStream* s = new_stream(RUK_BRNG_MCG59, {1});
    Mcg59Peer peer(1);
    versus<float>(st, float_fill(s), [&] { return static_cast<float>(peer()) * 0x1p-59f; });
    rukDeleteStream(&s);
}
void BM_Wh_Double_Transcription(benchmark::State& st) {
    RukStream* s = new_stream(RUK_BRNG_WH, {1});
    WhTranscription peer;
    versus<double>(st, double_fill(s), [&] { return peer.next(); });
    rukDeleteStream(&s);
}
void BM_Wh_Float_Transcription(benchmark::State& st) {
    RukStream* s = new_stream(RUK_BRNG_WH, {1});
    WhTranscription peer;
    versus<float>(st, float_fill(s), [&] { return static_cast<float>(peer.next()); });
    rukDeleteStream(&s);
}
void BM_R250_Int_SubtractWithCarry(benchmark::State& st) {
    RukStream* s = new_stream(RUK_BRNG_R250, {1});
    R250Peer peer;
    versus<uint32_t>(st, integer_fill<RUK_BRNG_R250>(s), [&] { return peer(); });
    rukDeleteStream(&s);
}
void BM_R250_Int_Gsl(benchmark::State& st) {
    RukStream* s = new_stream(RUK_BRNG_R250, {1});
    Gsl250 peer;
    versus<uint32_t>(st, integer_fill<RUK_BRNG_R250>(s), [&] { return peer(); });
    rukDeleteStream(&s);
}
void BM_R250_Double_SubtractWithCarry(benchmark::State& st) {
    RukStream* s = new_stream(RUK_BRNG_R250, {1});
    R250Peer peer;
    versus<double>(st, double_fill(s), [&] { return peer() * 0x1p-32; });
    rukDeleteStream(&s);
}
void BM_R250_Double_Gsl(benchmark::State& st) {
    RukStream* s = new_stream(RUK_BRNG_R250, {1});
    Gsl250 peer;
    versus<double>(st, double_fill(s), [&] { return gsl_rng_uniform(peer.r); });
    rukDeleteStream(&s);
}

// The memcpy floors: arrays of the same bytes as each fill.
template <int32_t Id, class Word>
void BM_Int_Memcpy(benchmark::State& st) {
    RukStream* s = new_stream(Id, {1});
    versus_memcpy<Word>(st, integer_fill<Id>(s));
    rukDeleteStream(&s);
}
template <int32_t Id>
void BM_Double_Memcpy(benchmark::State& st) {
    RukStream* s = new_stream(Id, {1});
    versus_memcpy<double>(st, double_fill(s));
    rukDeleteStream(&s);
}
template <int32_t Id>
void BM_Float_Memcpy(benchmark::State& st) {
    RukStream* s = new_stream(Id, {1});
    versus_memcpy<float>(st, float_fill(s));
    rukDeleteStream(&s);
}

BENCHMARK(BM_Mrg32k3a_Int_Transcription)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Mrg32k3a_Int_Ecuyer1988)->Unit(benchmark::kMillisecond);
BENCHMARK((BM_Int_Memcpy<RUK_BRNG_MRG32K3A, uint32_t>))->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Mrg32k3a_Double_Transcription)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Mrg32k3a_Double_Ecuyer1988)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Double_Memcpy<RUK_BRNG_MRG32K3A>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Mrg32k3a_Float_Transcription)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Float_Memcpy<RUK_BRNG_MRG32K3A>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Mcg59_Int_LinearCongruential)->Unit(benchmark::kMillisecond);
BENCHMARK((BM_Int_Memcpy<RUK_BRNG_MCG59, uint64_t>))->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Mcg59_Double_LinearCongruential)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Double_Memcpy<RUK_BRNG_MCG59>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Mcg59_Float_LinearCongruential)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Float_Memcpy<RUK_BRNG_MCG59>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_R250_Int_SubtractWithCarry)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_R250_Int_Gsl)->Unit(benchmark::kMillisecond);
BENCHMARK((BM_Int_Memcpy<RUK_BRNG_R250, uint32_t>))->Unit(benchmark::kMillisecond);
BENCHMARK(BM_R250_Double_SubtractWithCarry)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_R250_Double_Gsl)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Double_Memcpy<RUK_BRNG_R250>)->Unit(benchmark::kMillisecond);
BENCHMARK((BM_Int_Memcpy<RUK_BRNG_WH, Words4>))->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Wh_Double_Transcription)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Double_Memcpy<RUK_BRNG_WH>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Wh_Float_Transcription)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Float_Memcpy<RUK_BRNG_WH>)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
