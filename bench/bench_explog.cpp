// Exponential and logarithms, every exported form at n = 1000 and 10^6,
// each in one run against: the baseline class, glibc's exp, log, log10
// (expf ...) in a loop, SLEEF's u10 and u35 forms (where SLEEF has them, in
// the widest set of the processor), and a memory copy of the same arrays,
// the floor of any kernel at sizes beyond the caches.  Counters: ns per
// element of each, and the form's time over each other's ("ours/glibc" < 1:
// faster than glibc).  The class in use is the one the library chose at
// load (XEBRUK_KERNEL_CLASS to force another); it is shown in the context.
//
//   taskset -c 1 bench_explog --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "paired.h"
#include "sleef_loops.h"
#include "vecmath/kernel_table.h"
#include "xebruk/frame.h"
#include "xebruk/vm_explog.h"

namespace {

using xbench::ArrayFn;
using xeb::vm::KernelTable;

template <class T, T (*F)(T)>
__attribute__((noinline)) void glibc_loop(int n, const T* a, T* r) {
    for (int i = 0; i < n; ++i) r[i] = F(a[i]);
}
double exp_d(double x) { return std::exp(x); }
double log_d(double x) { return std::log(x); }
double log10_d(double x) { return std::log10(x); }
float exp_s(float x) { return std::exp(x); }
float log_s(float x) { return std::log(x); }
float log10_s(float x) { return std::log10(x); }

// Arguments uniform in [-edge, edge], or e^u for u uniform there (every
// binade of the logarithms' domain in between).
template <class T>
std::vector<T> arguments(std::size_t n, bool logarithm) {
    const double edge = sizeof(T) == 8 ? 700 : 87;
    std::mt19937_64 rng(12345);
    std::uniform_real_distribution<double> u(-edge, edge);
    std::vector<T> a(n);
    for (T& v : a) v = static_cast<T>(logarithm ? std::exp(u(rng)) : u(rng));
    return a;
}

template <class T>
struct Form {
    const char* name;          // exported name
    ArrayFn<T> ours;           // the exported form: the class in use
    ArrayFn<T> KernelTable::*ha;  // the same function's _HA entry
    ArrayFn<T> glibc;
    ArrayFn<T> sleef_u10, sleef_u35;
    bool logarithm;
};

template <class T>
void run_form(benchmark::State& state, const Form<T>& f) {
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    const std::vector<T> a = arguments<T>(n, f.logarithm);
    std::vector<T> r(n);
    const int count = static_cast<int>(n);
    const KernelTable& baseline = *xeb::vm::class_table(xeb::frame::KernelClass::Baseline);
    const bool lower = std::strstr(f.name, "_HA") == nullptr;
    auto call = [&](ArrayFn<T> g) { return [&, g] { g(count, a.data(), r.data()); }; };
    std::vector<xbench::Contender> all = {{"ours", call(f.ours)}};
    if (lower) all.push_back({"ha", call(xeb::vm::active.*f.ha)});
    all.push_back({"baseline", call(baseline.*f.ha)});
    all.push_back({"glibc", call(f.glibc)});
    if (f.sleef_u10) all.push_back({"sleef_u10", call(f.sleef_u10)});
    if (f.sleef_u35) all.push_back({"sleef_u35", call(f.sleef_u35)});
    all.push_back({"copy", [&] { std::memcpy(r.data(), a.data(), n * sizeof(T)); }});
    xbench::rounds(state, n, all);
}

template <class T>
void register_forms(const std::vector<Form<T>>& forms) {
    for (const Form<T>& f : forms)
        benchmark::RegisterBenchmark(f.name, [f](benchmark::State& st) { run_form(st, f); })
            ->Arg(1000)
            ->Arg(1000000);
}

}  // namespace

int main(int argc, char** argv) {
    using T = KernelTable;
    // SLEEF in the instruction set of the class in use (AVX2 below AVX-512).
    const bool wide = xebGetKernelClass() == XEB_KERNEL_AVX512;
    const xbench::SleefFamily e = xbench::sleef_exp(wide), l = xbench::sleef_ln(wide), g = xbench::sleef_log10(wide);
    register_forms<double>({
        {"xebdExp_HA", xebdExp_HA, &T::dExp_HA, glibc_loop<double, exp_d>, e.d_u10, e.d_u35, false},
        {"xebdExp_50", xebdExp_50, &T::dExp_HA, glibc_loop<double, exp_d>, e.d_u10, e.d_u35, false},
        {"xebdLn_HA", xebdLn_HA, &T::dLn_HA, glibc_loop<double, log_d>, l.d_u10, l.d_u35, true},
        {"xebdLn_50", xebdLn_50, &T::dLn_HA, glibc_loop<double, log_d>, l.d_u10, l.d_u35, true},
        {"xebdLog10_HA", xebdLog10_HA, &T::dLog10_HA, glibc_loop<double, log10_d>, g.d_u10, g.d_u35, true},
        {"xebdLog10_50", xebdLog10_50, &T::dLog10_HA, glibc_loop<double, log10_d>, g.d_u10, g.d_u35, true},
    });
    register_forms<float>({
        {"xebsExp_HA", xebsExp_HA, &T::sExp_HA, glibc_loop<float, exp_s>, e.s_u10, e.s_u35, false},
        {"xebsExp_21", xebsExp_21, &T::sExp_HA, glibc_loop<float, exp_s>, e.s_u10, e.s_u35, false},
        {"xebsExp_11", xebsExp_11, &T::sExp_HA, glibc_loop<float, exp_s>, e.s_u10, e.s_u35, false},
        {"xebsLn_HA", xebsLn_HA, &T::sLn_HA, glibc_loop<float, log_s>, l.s_u10, l.s_u35, true},
        {"xebsLn_21", xebsLn_21, &T::sLn_HA, glibc_loop<float, log_s>, l.s_u10, l.s_u35, true},
        {"xebsLn_11", xebsLn_11, &T::sLn_HA, glibc_loop<float, log_s>, l.s_u10, l.s_u35, true},
        {"xebsLog10_HA", xebsLog10_HA, &T::sLog10_HA, glibc_loop<float, log10_s>, g.s_u10, g.s_u35, true},
        {"xebsLog10_21", xebsLog10_21, &T::sLog10_HA, glibc_loop<float, log10_s>, g.s_u10, g.s_u35, true},
        {"xebsLog10_11", xebsLog10_11, &T::sLog10_HA, glibc_loop<float, log10_s>, g.s_u10, g.s_u35, true},
    });
    const char* names[] = {"baseline", "avx2", "avx512"};
    benchmark::AddCustomContext("kernel class", names[xebGetKernelClass()]);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
