// The operations of frame/simd.h run over fixed inputs, once per
// instruction set (tests/probes/simd_probe.cpp is compiled for each) and
// once per lane width; tests/test_simd.cpp checks every result against
// plain scalar arithmetic.
#pragma once

#include <cstdint>

namespace xt {

constexpr int kProbeLanes = 16;  // a multiple of every lane count

struct ProbeIn {
    double a[kProbeLanes], b[kProbeLanes], c[kProbeLanes];
    float f[kProbeLanes];
    uint64_t u[kProbeLanes];
    uint32_t w[kProbeLanes];
    double table[kProbeLanes];
    double snan;  // broadcast: its bits must arrive unchanged
    float table_f[kProbeLanes];
};

// Every field holds one result per lane (0 or 1 for predicates).
struct ProbeOut {
    uint64_t fma[kProbeLanes], fms[kProbeLanes];
    uint64_t compare[6][kProbeLanes];  // Lt Le Gt Ge Eq Ne on (a, b)
    uint64_t below_u[kProbeLanes], below_s[kProbeLanes], below_w[kProbeLanes];  // u < 1 << 63 ...
    uint64_t select[kProbeLanes];     // a < b ? a : c
    uint64_t select_f[kProbeLanes];   // f < 1 ? f : -f, by a mask of the float lanes resized
    uint64_t shift[3][kProbeLanes];   // u >> 13, (int64) u >> 13, u << 13
    uint64_t lookup[kProbeLanes], lookup2[kProbeLanes], lookup_f[kProbeLanes], gather[kProbeLanes];
    uint64_t narrow[kProbeLanes], widen[kProbeLanes], nearest[kProbeLanes];
    uint64_t mask_bits[kProbeLanes];  // bits(~(a < b)) of the lane's group, at the group's first lane
    uint64_t broadcast[kProbeLanes];  // snan broadcast
};

}  // namespace xt

// Defined per instruction set: xt::sse2::run_probe, xt::avx2::run_probe,
// xt::avx512::run_probe; `scalar` runs the one-lane forms.
#define XT_DECLARE_PROBE(isa)                                                 \
    namespace xt::isa {                                                       \
    void run_probe(const ProbeIn& in, ProbeOut& vector, ProbeOut& scalar);    \
    }
XT_DECLARE_PROBE(sse2)
XT_DECLARE_PROBE(avx2)
XT_DECLARE_PROBE(avx512)
#undef XT_DECLARE_PROBE
