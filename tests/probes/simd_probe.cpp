// The probe of frame/simd.h for the instruction set this file is compiled
// for (see simd_probe.h).  Plain arrays only: nothing here may emit a
// library function shared with objects of another instruction set.
#include "probes/simd_probe.h"

#include "frame/simd.h"

namespace xt::XEB_ISA {
namespace {

using namespace xeb::simd;

template <int N>
void mixed_lanes(const ProbeIn& in, ProbeOut& out, int i) {
    using F = Vec<float, N>;
    using D = Vec<double, N>;
    const F f = load<F>(in.f + i);
    store(reinterpret_cast<double*>(out.widen + i), convert<double>(f));
    const D a = load<D>(in.a + i);
    const F narrowed = convert<float>(a);
    for (int l = 0; l < N; ++l) out.narrow[i + l] = lane(bitcast<uint32_t>(narrowed), l);
    const D fd = convert<double>(f);
    const auto small = resize<8>(compare<Cmp::Lt>(f, 1.0f));
    store(reinterpret_cast<double*>(out.select_f + i), select(small, fd, -fd));
}

template <int N>
void lanes(const ProbeIn& in, ProbeOut& out) {
    using D = Vec<double, N>;
    using U = Vec<uint64_t, N>;
    using W = Vec<uint32_t, N == 1 ? 1 : 2 * N>;
    for (int i = 0; i < kProbeLanes; i += N) {
        const D a = load<D>(in.a + i), b = load<D>(in.b + i), c = load<D>(in.c + i);
        const U u = load<U>(in.u + i);
        store(reinterpret_cast<double*>(out.fma + i), fma(a, b, c));
        store(reinterpret_cast<double*>(out.fms + i), fms(a, b, c));
        const unsigned cmp[6] = {bits(compare<Cmp::Lt>(a, b)), bits(compare<Cmp::Le>(a, b)),
                                 bits(compare<Cmp::Gt>(a, b)), bits(compare<Cmp::Ge>(a, b)),
                                 bits(compare<Cmp::Eq>(a, b)), bits(compare<Cmp::Ne>(a, b))};
        const unsigned below_u = bits(compare<Cmp::Lt>(u, uint64_t{1} << 63));
        const unsigned below_s = bits(compare<Cmp::Lt>(bitcast<int64_t>(u), int64_t{1} << 40));
        for (int l = 0; l < N; ++l) {
            for (int k = 0; k < 6; ++k) out.compare[k][i + l] = cmp[k] >> l & 1;
            out.below_u[i + l] = below_u >> l & 1;
            out.below_s[i + l] = below_s >> l & 1;
        }
        const auto lt = compare<Cmp::Lt>(a, b);
        store(reinterpret_cast<double*>(out.select + i), select(lt, a, c));
        out.mask_bits[i] = bits(~lt);
        store(out.shift[0] + i, u >> 13);
        store(reinterpret_cast<int64_t*>(out.shift[1] + i), bitcast<int64_t>(u) >> 13);
        store(out.shift[2] + i, u << 13);
        store(reinterpret_cast<double*>(out.lookup + i), lookup<16>(in.table, u));
        store(reinterpret_cast<double*>(out.lookup2 + i), lookup<2>(in.table, u));
        store(reinterpret_cast<double*>(out.gather + i), gather(in.table, u & 15u));
        store(reinterpret_cast<double*>(out.broadcast + i), broadcast<D>(in.snan));
    }
    constexpr int NW = N == 1 ? 1 : 2 * N;  // the float lanes of one register
    for (int i = 0; i < kProbeLanes; i += NW) {
        const W w = load<W>(in.w + i);
        const unsigned below_w = bits(compare<Cmp::Lt>(w, 0x80000000u));
        const Vec<float, NW> looked = lookup<16>(in.table_f, w);
        const Vec<int32_t, NW> near = nearest_int(load<Vec<float, NW>>(in.f + i));
        for (int l = 0; l < NW; ++l) {
            out.below_w[i + l] = below_w >> l & 1;
            out.lookup_f[i + l] = lane(bitcast<uint32_t>(looked), l);
            out.nearest[i + l] = static_cast<uint32_t>(lane(near, l));
        }
    }
    // Double and float lanes side by side need four lanes at least (a
    // float register); SSE2 runs them one lane at a time.
    constexpr int NM = N >= 4 ? N : 1;
    for (int i = 0; i < kProbeLanes; i += NM) mixed_lanes<NM>(in, out, i);
}

}  // namespace

void run_probe(const ProbeIn& in, ProbeOut& vector, ProbeOut& scalar) {
    lanes<kNative<double>>(in, vector);
    lanes<1>(in, scalar);
}

}  // namespace xt::XEB_ISA
