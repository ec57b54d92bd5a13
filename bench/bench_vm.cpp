// Every vector kernel of the catalogue with code of its own against its
// family's peer: glibc's libm (or a plain loop compiled at -O2 for the
// reciprocal and the division) in a loop over the same arrays, timed in
// pairs (paired.h: the counter "ratio" is ours / peer).  Kernels that
// forward to another are the same code and are not run again.  A new
// family adds its rows to kPeers.
//
// The inverse trigonometric families also run against SLEEF's u10 forms in AVX2
// (bench/sleef_loops.cpp), pairwise like glibc, where the processor has AVX2.
//
// A kernel with code in the SIMD kernel classes runs in one benchmark, in
// rotating turns (paired.h, rounds), beside: its family's _HA form (for a
// lower form), the baseline class's kernel, glibc, SLEEF's u10 and u35
// forms (in the instruction set of the class in use, where SLEEF has them)
// and a memory copy of the same arrays, the floor at sizes beyond the
// caches: ns per element of each, and "ours/<other>" ratios.  The class in
// use is the one chosen at load (XEBRUK_KERNEL_CLASS forces another); the
// context line "kernel class" names it.
//
//   taskset -c 1 bench_vm --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include <cstring>

#include "catalogue/vector_kernels.h"
#include "paired.h"
#include "sleef_loops.h"
#include "vecmath/kernel_table.h"

#if XEBRUK_HAVE_SLEEF
#include <emmintrin.h>
#include <sleef.h>
#endif

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
template <class T> T asin_(T x) { return std::asin(x); }
template <class T> T acos_(T x) { return std::acos(x); }
template <class T> T atan_(T x) { return std::atan(x); }
template <class T> T atan2_(T y, T x) { return std::atan2(y, x); }
template <class T> T erf_(T x) { return std::erf(x); }
template <class T> T erfc_(T x) { return std::erfc(x); }

template <class T> T sinh_(T x) { return std::sinh(x); }
template <class T> T cosh_(T x) { return std::cosh(x); }
template <class T> T tanh_(T x) { return std::tanh(x); }
template <class T> T asinh_(T x) { return std::asinh(x); }
template <class T> T acosh_(T x) { return std::acosh(x); }
template <class T> T atanh_(T x) { return std::atanh(x); }

#if XEBRUK_HAVE_SLEEF
// SLEEF's SSE2 forms (the instruction set of the baseline kernels) over an
// array: whole registers, then the tail through a padded copy.
template <class T, class V, auto F>
__attribute__((noinline)) void loop_sleef(int n, const T* a, T* r) {
    constexpr int w = sizeof(V) / sizeof(T);
    int i = 0;
    for (; i + w <= n; i += w) {
        V v;
        std::memcpy(&v, a + i, sizeof v);
        v = F(v);
        std::memcpy(r + i, &v, sizeof v);
    }
    if (i == n) return;
    T in[w] = {}, out[w];
    std::memcpy(in, a + i, sizeof(T) * (n - i));
    V v;
    std::memcpy(&v, in, sizeof v);
    v = F(v);
    std::memcpy(out, &v, sizeof v);
    std::memcpy(r + i, out, sizeof(T) * (n - i));
}
#endif

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
#if XEBRUK_HAVE_SLEEF
template <auto D, auto S>
Both<PeerLoops> sleef() {
    return {{loop_sleef<double, __m128d, D>}, {loop_sleef<float, __m128, S>}};
}
#endif
// SLEEF's most accurate form of a family over arrays, in the class in
// use's instruction set; null loops where SLEEF or the processor lacks it.
Both<PeerLoops> sleef_arrays(const char* family) {
    const xbench::SleefFamily f =
        xbench::sleef_family(family, xeb::frame::kernel_class() == xeb::frame::KernelClass::Avx512);
    return {{f.d_u10}, {f.s_u10}};
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

const Arguments kUnit{"", -1, 1, -1, 1};
const Arguments kPlane{"", -10, 10, -10, 10};

std::vector<PeerRow> peers() {
    std::vector<PeerRow> rows = {
    {"Inv", "loop", one<inv, inv>(), {kPositive}, kNone, {1000, 1000000}},
    {"Div", "loop", two<divide, divide>(), {kPositive}, kPositive, {1000, 1000000}},
    {"Exp", "exp", one<exp_, exp_>(), {{"", -700, 700, -87, 87}}, kNone, {1000, 1000000}},
    {"Ln", "log", one<log_, log_>(), {{"", -700, 700, -87, 87, true}}, kNone, {1000, 1000000}},
    {"Log10", "log10", one<log10_, log10_>(), {{"", -700, 700, -87, 87, true}}, kNone, {1000, 1000000}},
    {"Pow", "pow", two<pow_, pow_>(), {kPositive}, kExponents, {1000, 1000000}},
    {"Powx", "pow", scalar<pow_, pow_>(), {kPositive}, {"", 2.718, 0, 2.718f, 0}, {1000, 1000000}},
    {"Sqrt", "sqrt", one<sqrt_, sqrt_>(), {kPositive}, kNone, {1000, 1000000}},
    {"InvSqrt", "1/sqrt", one<inv_sqrt, inv_sqrt>(), {kPositive}, kNone, {1000, 1000000}},
    {"Cbrt", "cbrt", one<cbrt_, cbrt_>(), {kPositive}, kNone, {1000, 1000000}},
    {"InvCbrt", "1/cbrt", one<inv_cbrt, inv_cbrt>(), {kPositive}, kNone, {1000, 1000000}},
    {"Sin", "sin", one<sin_, sin_>(), {{"10", -10, 10, -10, 10}, {"1e5", -1e5, 1e5, -1e5, 1e5}}, kNone, {1000, 1000000}},
    {"Cos", "cos", one<cos_, cos_>(), {{"10", -10, 10, -10, 10}, {"1e5", -1e5, 1e5, -1e5, 1e5}}, kNone, {1000, 1000000}},
    {"Tan", "tan", one<tan_, tan_>(), {{"10", -10, 10, -10, 10}, {"1e5", -1e5, 1e5, -1e5, 1e5}}, kNone, {1000, 1000000}},
    {"SinCos", "sincos", sincos_loops(), {{"10", -10, 10, -10, 10}, {"1e5", -1e5, 1e5, -1e5, 1e5}}, kNone,
     {1000, 1000000}},
    // Hyperbolic and inverse hyperbolic: glibc, and SLEEF's u10 forms.
    {"Sinh", "sinh", one<sinh_, sinh_>(), {{"", -20, 20, -20, 20}}, kNone, {1000, 1000000}},
    {"Cosh", "cosh", one<cosh_, cosh_>(), {{"", -20, 20, -20, 20}}, kNone, {1000, 1000000}},
    {"Tanh", "tanh", one<tanh_, tanh_>(), {{"", -5, 5, -5, 5}}, kNone, {1000, 1000000}},
    {"Asinh", "asinh", one<asinh_, asinh_>(), {{"", -20, 20, -20, 20, true}}, kNone, {1000, 1000000}},
    {"Acosh", "acosh", one<acosh_, acosh_>(), {{"", 0, 20, 0, 20, true}}, kNone, {1000, 1000000}},
    {"Atanh", "atanh", one<atanh_, atanh_>(), {{"", -1, 1, -1, 1}}, kNone, {1000, 1000000}},
#if XEBRUK_HAVE_SLEEF
    {"Sinh", "sleef_sinh_u10", sleef<Sleef_sinhd2_u10sse2, Sleef_sinhf4_u10sse2>(), {{"", -20, 20, -20, 20}}, kNone,
     {1000, 1000000}},
    {"Cosh", "sleef_cosh_u10", sleef<Sleef_coshd2_u10sse2, Sleef_coshf4_u10sse2>(), {{"", -20, 20, -20, 20}}, kNone,
     {1000, 1000000}},
    {"Tanh", "sleef_tanh_u10", sleef<Sleef_tanhd2_u10sse2, Sleef_tanhf4_u10sse2>(), {{"", -5, 5, -5, 5}}, kNone,
     {1000, 1000000}},
    {"Asinh", "sleef_asinh_u10", sleef<Sleef_asinhd2_u10sse2, Sleef_asinhf4_u10sse2>(),
     {{"", -20, 20, -20, 20, true}}, kNone, {1000, 1000000}},
    {"Acosh", "sleef_acosh_u10", sleef<Sleef_acoshd2_u10sse2, Sleef_acoshf4_u10sse2>(),
     {{"", 0, 20, 0, 20, true}}, kNone, {1000, 1000000}},
    {"Atanh", "sleef_atanh_u10", sleef<Sleef_atanhd2_u10sse2, Sleef_atanhf4_u10sse2>(), {{"", -1, 1, -1, 1}}, kNone,
     {1000, 1000000}},
#endif
    {"Asin", "asin", one<asin_, asin_>(), {kUnit}, kNone, {1000, 1000000}},
    {"Acos", "acos", one<acos_, acos_>(), {kUnit}, kNone, {1000, 1000000}},
    {"Atan", "atan", one<atan_, atan_>(), {kPlane}, kNone, {1000, 1000000}},
    {"Atan2", "atan2", two<atan2_, atan2_>(), {kPlane}, kPlane, {1000, 1000000}},
    // Error function and complement: glibc, and SLEEF's u10 erf and u15 erfc
    // (its only erfc).
    {"Erf", "erf", one<erf_, erf_>(), {{"", -6, 6, -6, 6}}, kNone, {1000, 1000000}},
    {"Erfc", "erfc", one<erfc_, erfc_>(), {{"", -6, 27, -4, 10}}, kNone, {1000, 1000000}},
    {"Erf", "sleef_erf_u10", sleef_arrays("Erf"), {{"", -6, 6, -6, 6}}, kNone, {1000, 1000000}},
    {"Erfc", "sleef_erfc_u15", sleef_arrays("Erfc"), {{"", -6, 27, -4, 10}}, kNone, {1000, 1000000}},
    };
#if XEBRUK_HAVE_SLEEF
    __builtin_cpu_init();
    const auto d = xbench::sleef_invtrig_d();
    const auto s = xbench::sleef_invtrig_s();
    const Both<PeerLoops> asin_u10{{d.asin}, {s.asin}}, acos_u10{{d.acos}, {s.acos}}, atan_u10{{d.atan}, {s.atan}};
    const Both<PeerLoops> atan2_u10{{nullptr, d.atan2}, {nullptr, s.atan2}};
    rows.push_back({"Asin", "sleef_u10", asin_u10, {kUnit}, kNone, {1000, 1000000}});
    rows.push_back({"Acos", "sleef_u10", acos_u10, {kUnit}, kNone, {1000, 1000000}});
    rows.push_back({"Atan", "sleef_u10", atan_u10, {kPlane}, kNone, {1000, 1000000}});
    rows.push_back({"Atan2", "sleef_u10", atan2_u10, {kPlane}, kPlane, {1000, 1000000}});
#endif
    return rows;
}
const std::vector<PeerRow> kPeers = peers();

// Whether the peer's loop for the row's shape exists (SLEEF's need AVX2).
template <class T>
bool has_loop(const PeerLoops<T>& p, Shape shape) {
    switch (shape) {
    case Shape::OneInput: return p.one != nullptr;
    case Shape::TwoInputs: return p.two != nullptr;
    case Shape::ScalarArgument: return p.scalar != nullptr;
    case Shape::TwoOutputs: return p.two_outputs != nullptr;
    }
    return false;
}

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

// The class kernel k, in turns with the other implementations.  Two
// inputs (Div, Pow) and the vector-scalar form (Powx: the peers get the
// scalar repeated in an array) take SLEEF's two-input row.
template <class T>
void run_class_kernel(benchmark::State& st, const VectorKernel& k, const PeerLoops<T>& peer,
                      const Arguments& a_args, const Arguments& b_args) {
    const int n = static_cast<int>(st.range(0));
    const std::vector<T> a = draw<T>(a_args, n, 12345);
    std::vector<T> b = draw<T>(b_args, n, 54321);
    const T scalar = static_cast<T>(sizeof(T) == 8 ? b_args.lo : b_args.lo_s);
    if (k.shape == Shape::ScalarArgument) b.assign(a.size(), scalar);
    std::vector<T> r(a.size());
    using xeb::frame::KernelClass;
    const KernelClass in_use = xeb::frame::kernel_class();
    const bool wide = in_use == KernelClass::Avx512;
    const xbench::SleefFamily sleef = xbench::sleef_family(k.family, wide);
    const xbench::SleefBinary sleef2 = xbench::sleef_binary(k.family, wide);
    // Every contender as one call over the arrays.
    auto kernel = [&](const VectorKernel& x) {
        switch (x.shape) {
        case Shape::TwoInputs: x.as<void (*)(int, const T*, const T*, T*)>()(n, a.data(), b.data(), r.data()); break;
        case Shape::ScalarArgument: x.as<void (*)(int, const T*, T, T*)>()(n, a.data(), scalar, r.data()); break;
        default: x.as<void (*)(int, const T*, T*)>()(n, a.data(), r.data()); break;
        }
    };
    auto call = [&](void (*f)(int, const T*, T*)) { return [&, f] { f(n, a.data(), r.data()); }; };
    auto call2 = [&](void (*f)(int, const T*, const T*, T*)) { return [&, f] { f(n, a.data(), b.data(), r.data()); }; };
    std::vector<xbench::Contender> all = {{"ours", [&] { kernel(k); }}};
    const VectorKernel* ha = xeb::catalogue::find_kernel("xeb" + std::string(1, k.precision) + k.family + "_HA");
    if (ha != &k) all.push_back({"ha", [&, ha] { kernel(*ha); }});
    all.push_back({"baseline", [&] {
                       xeb::vm::use_class(KernelClass::Baseline);
                       kernel(k);
                       xeb::vm::use_class(in_use);
                   }});
    switch (k.shape) {
    case Shape::TwoInputs: all.push_back({"glibc", call2(peer.two)}); break;
    case Shape::ScalarArgument:
        all.push_back({"glibc", [&] { peer.scalar(n, a.data(), scalar, r.data()); }});
        break;
    default: all.push_back({"glibc", call(peer.one)}); break;
    }
    const auto u10 = sizeof(T) == 8 ? reinterpret_cast<void (*)(int, const T*, T*)>(sleef.d_u10)
                                    : reinterpret_cast<void (*)(int, const T*, T*)>(sleef.s_u10);
    const auto u35 = sizeof(T) == 8 ? reinterpret_cast<void (*)(int, const T*, T*)>(sleef.d_u35)
                                    : reinterpret_cast<void (*)(int, const T*, T*)>(sleef.s_u35);
    const auto two_u10 = sizeof(T) == 8 ? reinterpret_cast<void (*)(int, const T*, const T*, T*)>(sleef2.d_u10)
                                        : reinterpret_cast<void (*)(int, const T*, const T*, T*)>(sleef2.s_u10);
    if (u10) all.push_back({"sleef_u10", call(u10)});
    if (u35) all.push_back({"sleef_u35", call(u35)});
    if (two_u10) all.push_back({k.family == "Div" ? "native" : "sleef_u10", call2(two_u10)});
    const xbench::NativeLoops native = xbench::native_loops(k.family, wide);
    if (native.d) all.push_back({"native", call(sizeof(T) == 8 ? reinterpret_cast<void (*)(int, const T*, T*)>(native.d)
                                                               : reinterpret_cast<void (*)(int, const T*, T*)>(native.s))});
    all.push_back({"copy", [&] { std::memcpy(r.data(), a.data(), a.size() * sizeof(T)); }});
    xbench::rounds(st, a.size(), all);
}

void register_all() {
    for (const VectorKernel& k : xeb::catalogue::vector_kernels()) {
        if (k.forwards_to != nullptr) continue;
        for (const PeerRow& p : kPeers) {
            if (k.family != p.family) continue;
            const bool binary = k.shape == Shape::TwoInputs || k.shape == Shape::ScalarArgument;
            if ((k.simd_bound_ulp > 0 && k.shape == Shape::OneInput) || (binary && k.family != "SinCos")) {
                // SLEEF is among a class kernel's contenders already.
                if (std::string(p.peer).rfind("sleef", 0) == 0) continue;
                for (int n : p.sizes)
                    benchmark::RegisterBenchmark(k.name.c_str(), [&k, &p](benchmark::State& st) {
                        if (k.precision == 'd') run_class_kernel<double>(st, k, p.loops.d, p.a[0], p.b);
                        else run_class_kernel<float>(st, k, p.loops.s, p.a[0], p.b);
                    })->Arg(n);
                continue;
            }
            if (!(k.precision == 'd' ? has_loop(p.loops.d, k.shape) : has_loop(p.loops.s, k.shape))) continue;
            const bool libm_name = std::string(p.peer) != "loop" && std::string(p.peer).rfind("sleef", 0) != 0;
            const std::string peer = std::string(p.peer) + (k.precision == 's' && libm_name ? "f" : "");
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
    benchmark::AddCustomContext("kernel class", xeb::frame::class_name(xeb::frame::kernel_class()));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
