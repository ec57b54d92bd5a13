// The vector type of frame/simd.h in every instruction set the processor
// has, vector and one-lane forms alike, against plain scalar arithmetic:
// fused multiply-adds, compares with NaNs and signed and unsigned lanes,
// masks and their lane order, selects, shifts, table lookups and gathers
// (high index bits ignored), conversions and their rounding, broadcasts
// that keep a signalling NaN's bits.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "probes/simd_probe.h"

namespace {

using xt::kProbeLanes;
using xt::ProbeIn;
using xt::ProbeOut;

template <class T>
uint64_t bits_of(T x) {
    if constexpr (sizeof(T) == 8) {
        uint64_t u;
        std::memcpy(&u, &x, 8);
        return u;
    } else {
        uint32_t u;
        std::memcpy(&u, &x, 4);
        return u;
    }
}

ProbeIn inputs() {
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = HUGE_VAL;
    const double one_up = 0x1.0000000000001p0;
    ProbeIn in{};
    const double a[] = {1.5, -2.0, nan, 0.0, -0.0, inf, -inf, 0x1p-1070, one_up, 3.0, 0x1.fffffffffffffp1023,
                        -1e300, 2.5, 0x1p-1074, 7.0, -7.0};
    const double b[] = {2.0, -2.0, 1.0, -0.0, 0.0, inf, 1.0, 0x1p-1070, one_up, nan, 2.0, 1e-300, -2.5, 1.0,
                        7.0, 8.0};
    // one_up * one_up - (1 + 2^-51) is 2^-104 fused and 0 in two steps.
    const double c[] = {-0.5, 1.0, 2.0, 0.0, 1.0, -inf, 3.0, 0.0, -0x1.0000000000002p0, 1.0, -0x1p1023, 0.0,
                        1e-20, 0.5, -49.0, 1.0};
    const float f[] = {0.5f, 1.5f, 2.5f, -0.5f, -1.5f, 3.4999998f, 1e30f, std::numeric_limits<float>::quiet_NaN(),
                       -1e-40f, 16777215.0f, -2.5f, 0.0f, -0.0f, 1.0f, 0.99999994f, HUGE_VALF};
    const uint64_t u[] = {0, 1, uint64_t{1} << 63, ~uint64_t{0}, 0x8000000000000001u, 0xFFFFFFFFFFFFFFF5u,
                          0x123456789ABCDEF7u, 0x7FFFFFFFFFFFFFFFu, 0x0000010000000000u, 0x000000FFFFFFFFFFu,
                          14, 0xFEDCBA9876543210u, 0x4338000000000009u, 3, 0xC000000000000008u, 0x40000000000000C6u};
    const uint32_t w[] = {0x80000000u, 0x7FFFFFFFu, 0, ~0u, 17, 0x12345678u, 0xFFFFFFF3u, 9, 0x80000001u, 4,
                          0xABCDEF0Eu, 0x10000002u, 12, 0x7FFFFFF1u, 0xC0000005u, 6};
    for (int i = 0; i < kProbeLanes; ++i) {
        in.a[i] = a[i];
        in.b[i] = b[i];
        in.c[i] = c[i];
        in.f[i] = f[i];
        in.u[i] = u[i];
        in.w[i] = w[i];
        in.table[i] = -1.0 - i * 0.25;
        in.table_f[i] = 100.0f + i;
    }
    const uint64_t snan = 0x7FF4000000000001u;
    std::memcpy(&in.snan, &snan, 8);
    return in;
}

// What every lane must hold, from plain scalar arithmetic; `group` is the
// lane count of the run (for the mask bits).
ProbeOut reference(const ProbeIn& in, int group) {
    ProbeOut r{};
    for (int i = 0; i < kProbeLanes; ++i) {
        const double a = in.a[i], b = in.b[i], c = in.c[i];
        const uint64_t u = in.u[i];
        r.fma[i] = bits_of(std::fma(a, b, c));
        r.fms[i] = bits_of(std::fma(a, b, -c));
        const bool cmp[6] = {a < b, a <= b, a > b, a >= b, a == b, !(a == b)};
        for (int k = 0; k < 6; ++k) r.compare[k][i] = cmp[k];
        r.below_u[i] = u < uint64_t{1} << 63;
        r.below_s[i] = static_cast<int64_t>(u) < int64_t{1} << 40;
        r.below_w[i] = in.w[i] < 0x80000000u;
        r.select[i] = bits_of(a < b ? a : c);
        const double fd = in.f[i];
        r.select_f[i] = bits_of(in.f[i] < 1.0f ? fd : -fd);
        r.shift[0][i] = u >> 13;
        r.shift[1][i] = static_cast<uint64_t>(static_cast<int64_t>(u) >> 13);
        r.shift[2][i] = u << 13;
        r.lookup[i] = r.gather[i] = bits_of(in.table[u & 15]);
        r.lookup2[i] = bits_of(in.table[u & 1]);
        r.lookup_f[i] = bits_of(in.table_f[in.w[i] & 15]);
        r.narrow[i] = bits_of(static_cast<float>(a));
        r.widen[i] = bits_of(fd);
        const float f = in.f[i];
        r.nearest[i] = std::isnan(f) || std::fabs(f) >= 0x1p31f ? 0x80000000u
                                                                 : static_cast<uint32_t>(static_cast<int32_t>(std::nearbyint(f)));
        if (i % group == 0)
            for (int l = 0; l < group; ++l) r.mask_bits[i] |= uint64_t{!(in.a[i + l] < in.b[i + l])} << l;
        r.broadcast[i] = bits_of(in.snan);
    }
    return r;
}

// Compares every field lane by lane, naming the first lane that differs.
void expect_same(const ProbeOut& got, const ProbeOut& want, const char* what) {
    const struct {
        const char* name;
        const uint64_t* got;
        const uint64_t* want;
        int lanes;
    } fields[] = {
        {"fma", got.fma, want.fma, kProbeLanes}, {"fms", got.fms, want.fms, kProbeLanes},
        {"compare", got.compare[0], want.compare[0], 6 * kProbeLanes},
        {"below_u", got.below_u, want.below_u, kProbeLanes}, {"below_s", got.below_s, want.below_s, kProbeLanes},
        {"below_w", got.below_w, want.below_w, kProbeLanes}, {"select", got.select, want.select, kProbeLanes},
        {"select_f", got.select_f, want.select_f, kProbeLanes}, {"shift", got.shift[0], want.shift[0], 3 * kProbeLanes},
        {"lookup", got.lookup, want.lookup, kProbeLanes}, {"lookup2", got.lookup2, want.lookup2, kProbeLanes},
        {"lookup_f", got.lookup_f, want.lookup_f, kProbeLanes},
        {"gather", got.gather, want.gather, kProbeLanes}, {"narrow", got.narrow, want.narrow, kProbeLanes},
        {"widen", got.widen, want.widen, kProbeLanes}, {"nearest", got.nearest, want.nearest, kProbeLanes},
        {"mask_bits", got.mask_bits, want.mask_bits, kProbeLanes},
        {"broadcast", got.broadcast, want.broadcast, kProbeLanes},
    };
    for (const auto& f : fields)
        for (int i = 0; i < f.lanes; ++i)
            if (f.got[i] != f.want[i]) {
                ADD_FAILURE() << what << ": " << f.name << " lane " << i << std::hex << " got 0x" << f.got[i]
                              << " want 0x" << f.want[i];
                break;
            }
}

struct Isa {
    const char* name;
    bool present;
    int lanes;  // doubles per register
    void (*run)(const ProbeIn&, ProbeOut&, ProbeOut&);
};

TEST(Simd, EveryOperationInEveryInstructionSet) {
    const Isa isas[] = {
        {"sse2", true, 2, xt::sse2::run_probe},
        {"avx2", __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"), 4, xt::avx2::run_probe},
        {"avx512", __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                       __builtin_cpu_supports("avx512vl"),
         8, xt::avx512::run_probe},
    };
    const ProbeIn in = inputs();
    for (const Isa& isa : isas) {
        if (!isa.present) continue;
        ProbeOut vector{}, scalar{};
        isa.run(in, vector, scalar);
        expect_same(vector, reference(in, isa.lanes), isa.name);
        expect_same(scalar, reference(in, 1), (std::string(isa.name) + " one lane").c_str());
    }
}

}  // namespace
