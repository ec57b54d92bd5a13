// Every vector kernel of the catalogue with code of its own against its
// family's peer: glibc's libm (or a plain loop compiled at -O2 for the
// reciprocal and the division) in a loop over the same arrays, timed in
// pairs (paired.h: the counter "ratio" is ours / peer).  Kernels that
// forward to another are the same code and are not run again.  A new
// family adds its row to kPeers.
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "catalogue/vector_kernels.h"
#include "paired.h"

namespace {

using xeb::catalogue::Shape;
using xeb::catalogue::VectorKernel;

// The peer's loops for one precision: kept out of line, so that the loop
// is what is measured.
template <class T>
struct PeerLoops {
    void (*one)(int, const T*, T*) = nullptr;
    void (*two)(int, const T*, const T*, T*) = nullptr;
    void (*scalar)(int, const T*, T, T*) = nullptr;
    void (*two_outputs)(int, const T*, T*, T*) = nullptr;
};

template <class T, T (*F)(T)>
__attribute__((noinline)) void loop_one(int n, const T* a, T* r) {
    for (int i = 0; i < n; ++i) r[i] = F(a[i]);
}
template <class T, T (*F)(T, T)>
__attribute__((noinline)) void loop_two(int n, const T* a, const T* b, T* r) {
    for (int i = 0; i < n; ++i) r[i] = F(a[i], b[i]);
}
template <class T, T (*F)(T, T)>
__attribute__((noinline)) void loop_scalar(int n, const T* a, T b, T* r) {
    for (int i = 0; i < n; ++i) r[i] = F(a[i], b);
}
template <class T>
__attribute__((noinline)) void loop_sincos(int n, const T* a, T* y, T* z) {
    for (int i = 0; i < n; ++i) {
        if constexpr (sizeof(T) == sizeof(double)) sincos(a[i], &y[i], &z[i]);
        else sincosf(a[i], &y[i], &z[i]);
    }
}

template <class T> T inv(T x) { return T(1) / x; }
template <class T> T divide(T x, T y) { return x / y; }
template <class T> T exp_(T x) { return std::exp(x); }
template <class T> T log_(T x) { return std::log(x); }
template <class T> T log10_(T x) { return std::log10(x); }
template <class T> T pow_(T x, T y) { return std::pow(x, y); }
template <class T> T sqrt_(T x) { return std::sqrt(x); }
template <class T> T inv_sqrt(T x) { return T(1) / std::sqrt(x); }
template <class T> T cbrt_(T x) { return std::cbrt(x); }
template <class T> T inv_cbrt(T x) { return T(1) / std::cbrt(x); }
template <class T> T sin_(T x) { return std::sin(x); }
template <class T> T cos_(T x) { return std::cos(x); }
template <class T> T tan_(T x) { return std::tan(x); }

template <template <class> class Loops>
struct Both {
    Loops<double> d;
    Loops<float> s;
};
template <double (*D)(double), float (*S)(float)>
Both<PeerLoops> one() {
    return {{loop_one<double, D>}, {loop_one<float, S>}};
}
template <double (*D)(double, double), float (*S)(float, float)>
Both<PeerLoops> two() {
    return {{nullptr, loop_two<double, D>}, {nullptr, loop_two<float, S>}};
}
template <double (*D)(double, double), float (*S)(float, float)>
Both<PeerLoops> scalar() {
    return {{nullptr, nullptr, loop_scalar<double, D>}, {nullptr, nullptr, loop_scalar<float, S>}};
}
Both<PeerLoops> sincos_loops() {
    return {{nullptr, nullptr, nullptr, loop_sincos<double>}, {nullptr, nullptr, nullptr, loop_sincos<float>}};
}

// Arguments uniform on [lo, hi], or e^u for u uniform on [lo, hi] (every
// binade of the logarithms' domain in between); single precision takes
// its own interval where the double one would leave its range.
struct Arguments {
    const char* label;  // in the benchmark's name; empty for a family's only set
    double lo, hi;
    float lo_s, hi_s;
    bool exponential = false;
};

struct PeerRow {
    const char* family;
    const char* peer;  // the double function's name; the float one adds "f"
    Both<PeerLoops> loops;
    std::vector<Arguments> a;
    Arguments b;  // the second argument; a scalar argument is its lo
    std::vector<int> sizes;
};

const Arguments kPositive{"", 0.5, 1000, 0.5f, 1000};
const Arguments kExponents{"", -20, 20, -20, 20};
const Arguments kNone{"", 0, 0, 0, 0};

const std::vector<PeerRow> kPeers = {
    {"Inv", "loop", one<inv, inv>(), {kPositive}, kNone, {1000, 1000000}},
    {"Div", "loop", two<divide, divide>(), {kPositive}, kPositive, {1000, 1000000}},
    {"Exp", "exp", one<exp_, exp_>(), {{"", -700, 700, -87, 87}}, kNone, {1000, 1000000}},
    {"Ln", "log", one<log_, log_>(), {{"", -700, 700, -87, 87, true}}, kNone, {1000, 1000000}},
    {"Log10", "log10", one<log10_, log10_>(), {{"", -700, 700, -87, 87, true}}, kNone, {1000, 1000000}},
    {"Pow", "pow", two<pow_, pow_>(), {kPositive}, kExponents, {1000}},
    {"Powx", "pow", scalar<pow_, pow_>(), {kPositive}, {"", 2.718, 0, 2.718f, 0}, {1000}},
    {"Sqrt", "sqrt", one<sqrt_, sqrt_>(), {kPositive}, kNone, {1000}},
    {"InvSqrt", "1/sqrt", one<inv_sqrt, inv_sqrt>(), {kPositive}, kNone, {1000}},
    {"Cbrt", "cbrt", one<cbrt_, cbrt_>(), {kPositive}, kNone, {1000}},
    {"InvCbrt", "1/cbrt", one<inv_cbrt, inv_cbrt>(), {kPositive}, kNone, {1000}},
    {"Sin", "sin", one<sin_, sin_>(), {{"10", -10, 10, -10, 10}, {"1e5", -1e5, 1e5, -1e5, 1e5}}, kNone, {1000}},
    {"Cos", "cos", one<cos_, cos_>(), {{"10", -10, 10, -10, 10}, {"1e5", -1e5, 1e5, -1e5, 1e5}}, kNone, {1000}},
    {"Tan", "tan", one<tan_, tan_>(), {{"10", -10, 10, -10, 10}, {"1e5", -1e5, 1e5, -1e5, 1e5}}, kNone, {1000}},
    {"SinCos", "sincos", sincos_loops(), {{"10", -10, 10, -10, 10}, {"1e5", -1e5, 1e5, -1e5, 1e5}}, kNone,
     {1000}},
};

template <class T>
std::vector<T> draw(const Arguments& args, int n, uint64_t seed) {
    std::mt19937_64 rng(seed);
    const bool single = sizeof(T) == sizeof(float);
    std::uniform_real_distribution<double> u(single ? args.lo_s : args.lo, single ? args.hi_s : args.hi);
    std::vector<T> v(static_cast<std::size_t>(n));
    for (T& x : v) x = static_cast<T>(args.exponential ? std::exp(u(rng)) : u(rng));
    return v;
}

template <class T>
void run_pair(benchmark::State& st, const VectorKernel& k, const PeerLoops<T>& peer, const Arguments& a_args,
              const Arguments& b_args) {
    const int n = static_cast<int>(st.range(0));
    const std::vector<T> a = draw<T>(a_args, n, 12345);
    std::vector<T> b = draw<T>(b_args, n, 54321);
    if (k.shape == Shape::ScalarArgument) b.assign(1, static_cast<T>(sizeof(T) == 8 ? b_args.lo : b_args.lo_s));
    std::vector<T> y(a.size()), z(a.size()), py(a.size()), pz(a.size());
    xbench::paired(
        st,
        [&] {
            k.run<T>(n, a.data(), b.data(), y.data(), z.data());
            benchmark::ClobberMemory();
        },
        [&] {
            switch (k.shape) {
            case Shape::OneInput: peer.one(n, a.data(), py.data()); break;
            case Shape::TwoInputs: peer.two(n, a.data(), b.data(), py.data()); break;
            case Shape::ScalarArgument: peer.scalar(n, a.data(), b[0], py.data()); break;
            case Shape::TwoOutputs: peer.two_outputs(n, a.data(), py.data(), pz.data()); break;
            }
            benchmark::ClobberMemory();
        });
}

void register_all() {
    for (const VectorKernel& k : xeb::catalogue::vector_kernels()) {
        if (k.forwards_to != nullptr) continue;
        for (const PeerRow& p : kPeers) {
            if (k.family != p.family) continue;
            const std::string peer = std::string(p.peer) + (k.precision == 's' && p.peer != std::string("loop") ? "f" : "");
            for (const Arguments& a : p.a) {
                std::string name = k.name + "_vs_" + peer;
                if (*a.label) name += std::string("/") + a.label;
                auto* b = benchmark::RegisterBenchmark(name.c_str(), [&k, &p, a](benchmark::State& st) {
                    if (k.precision == 'd') run_pair<double>(st, k, p.loops.d, a, p.b);
                    else run_pair<float>(st, k, p.loops.s, a, p.b);
                });
                for (int n : p.sizes) b->Arg(n);
            }
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    register_all();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
