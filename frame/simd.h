// The small vector type the kernels are written over: N lanes of a double,
// a float or a 32/64-bit integer, with the operations the kernels use.
// Lane width is a template parameter; N = 1 is the plain scalar, so one
// kernel template gives both its vector path and its one-element path.
//
// Everything here is compiled once per instruction set: a translation unit
// built with -mavx2 -mfma, or with AVX-512 F/DQ/VL on top, sees the wide
// implementations; any other sees SSE2 (and a plain scalar for fma).  The
// contents sit in a namespace named after that set (xeb::sse2, xeb::avx2,
// xeb::avx512, reached as xeb::simd), so that an inline function emitted
// by an AVX-512 object is never the one copy a linker keeps for a baseline
// caller.  Kernel classes put their own code in the same namespace
// (`namespace xeb { inline namespace XEB_ISA {`); see the recipe in
// frame/class_frame.h.
//
// Results never depend on the set: arithmetic is IEEE per lane, the
// library builds with -ffp-contract=off, and fused multiply-adds are
// written out (fma, fms, fnma).  Only speed differs between the
// implementations of one operation.
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <type_traits>
#include <utility>

#if defined(__AVX512F__) && defined(__AVX512DQ__) && defined(__AVX512VL__) && defined(__AVX2__) && \
    defined(__FMA__)
#define XEB_ISA avx512
#define XEB_ISA_AVX512 1
#define XEB_ISA_AVX2 1
#elif defined(__AVX2__) && defined(__FMA__)
#define XEB_ISA avx2
#define XEB_ISA_AVX512 0
#define XEB_ISA_AVX2 1
#else
#define XEB_ISA sse2
#define XEB_ISA_AVX512 0
#define XEB_ISA_AVX2 0
#endif

namespace xeb {
inline namespace XEB_ISA {
namespace simd {

// Lanes of the widest register of this instruction set.
constexpr int kRegisterBytes = XEB_ISA_AVX512 ? 64 : XEB_ISA_AVX2 ? 32 : 16;
template <class T>
constexpr int kNative = kRegisterBytes / static_cast<int>(sizeof(T));

// The unsigned integer of a lane's size, and the signed one.
template <int Bytes>
struct LaneInt;
template <>
struct LaneInt<4> {
    using U = uint32_t;
    using S = int32_t;
};
template <>
struct LaneInt<8> {
    using U = uint64_t;
    using S = int64_t;
};

// ---------------------------------------------------------------- types

template <class T, int N>
struct Vec {
    static_assert(N >= 2 && (N & (N - 1)) == 0, "lanes: a power of two");
    static_assert(sizeof(T) * N >= 16, "at least one SSE register");
    typedef T Raw __attribute__((vector_size(sizeof(T) * N)));
    Raw v;
};

// The scalar: one lane, a plain value.
template <class T>
struct Vec<T, 1> {
    using Raw = T;
    T v;
};

// A predicate per lane, shared by every lane type of that size.  AVX-512
// keeps it in a mask register (bit i for lane i); the other sets in a
// vector of all-ones and all-zeros lanes.
template <int Bytes, int N>
struct Mask {
#if XEB_ISA_AVX512
    using Raw = std::conditional_t<(N <= 8), __mmask8, __mmask16>;
#else
    typedef typename LaneInt<Bytes>::S Raw __attribute__((vector_size(Bytes * N)));
#endif
    Raw m;
};
template <int Bytes>
struct Mask<Bytes, 1> {
    bool m;
};

template <class T, int N>
using MaskOf = Mask<static_cast<int>(sizeof(T)), N>;
template <class T, int N>
using UVec = Vec<typename LaneInt<static_cast<int>(sizeof(T))>::U, N>;  // lanes of T's bits
template <class T, int N>
using SVec = Vec<typename LaneInt<static_cast<int>(sizeof(T))>::S, N>;

template <class V>
struct Traits;
template <class T, int N>
struct Traits<Vec<T, N>> {
    using Lane = T;
    static constexpr int lanes = N;
    static constexpr int bytes = static_cast<int>(sizeof(T) * N);
};

// ---------------------------------------------------------------- making and moving

// One broadcast instruction: a constructor of N equal lanes, which the
// compiler sees as a splat at any optimisation level (a loop of lane
// stores, fully unrolled at -O3 inside a kernel, became N masked moves).
template <class T, int N, int... I>
inline Vec<T, N> splat(T x, std::integer_sequence<int, I...>) {
    return {typename Vec<T, N>::Raw{((void)I, x)...}};
}
template <class V>
struct Twin;  // two registers as one vector, below
template <class V>
struct IsTwin : std::false_type {};
template <class V>
struct IsTwin<Twin<V>> : std::true_type {};
template <class V>
inline Twin<V> load_twin(const typename Traits<V>::Lane* p);

template <class V>
inline V broadcast(typename Traits<V>::Lane x) {
    if constexpr (IsTwin<V>::value) return {broadcast<decltype(V::lo)>(x), broadcast<decltype(V::lo)>(x)};
    else if constexpr (Traits<V>::lanes == 1) return {x};
    else
        return splat<typename Traits<V>::Lane, Traits<V>::lanes>(
            x, std::make_integer_sequence<int, Traits<V>::lanes>{});
}

template <class V>
inline V load(const typename Traits<V>::Lane* p) {
    if constexpr (IsTwin<V>::value) {
        return load_twin<decltype(V::lo)>(p);
    } else {
        V r;
        __builtin_memcpy(&r.v, p, sizeof r.v);
        return r;
    }
}

template <class T, int N>
inline void store(T* p, Vec<T, N> x) {
    __builtin_memcpy(p, &x.v, sizeof x.v);
}

template <class T, int N>
inline T lane(Vec<T, N> x, int i) {
    if constexpr (N == 1) return x.v;
    else return x.v[i];
}

// Lanes from an array of N values in registers (no wide load of narrow
// stores, which would stall on the store forwarding).
template <class V>
inline V from_lanes(const typename Traits<V>::Lane* p) {
    V r;
    if constexpr (Traits<V>::lanes == 1) r.v = p[0];
    else
        for (int i = 0; i < Traits<V>::lanes; ++i) r.v[i] = p[i];
    return r;
}

// The bits of one lane type as another of the same size per lane.
template <class To, class T, int N>
inline Vec<To, N> bitcast(Vec<T, N> x) {
    static_assert(sizeof(To) == sizeof(T), "same lane size");
    return {__builtin_bit_cast(typename Vec<To, N>::Raw, x.v)};
}

// Lane-wise conversion: float <-> double (rounding to nearest as MXCSR
// says, which the kernel frame keeps at nearest), and between integer
// widths (zero or sign extension, truncation).
template <class To, class T, int N>
inline Vec<To, N> convert(Vec<T, N> x) {
    [[maybe_unused]] constexpr bool widen = std::is_same_v<T, float> && std::is_same_v<To, double>;
    [[maybe_unused]] constexpr bool narrow = std::is_same_v<T, double> && std::is_same_v<To, float>;
    [[maybe_unused]] constexpr bool int_to_double = std::is_same_v<T, int32_t> && std::is_same_v<To, double>;
    [[maybe_unused]] constexpr bool zero_extend = std::is_same_v<T, uint32_t> && std::is_same_v<To, uint64_t>;
    using R [[maybe_unused]] = typename Vec<To, N>::Raw;
    if constexpr (N == 1) return {static_cast<To>(x.v)};
#if XEB_ISA_AVX512
    else if constexpr (widen && N == 8) return {_mm512_maskz_cvtps_pd(0xFF, x.v)};
    else if constexpr (narrow && N == 8) return {_mm512_maskz_cvtpd_ps(0xFF, x.v)};
    else if constexpr (int_to_double && N == 8)
        return {_mm512_maskz_cvtepi32_pd(0xFF, __builtin_bit_cast(__m256i, x.v))};
    else if constexpr (zero_extend && N == 8)
        return {__builtin_bit_cast(R, _mm512_maskz_cvtepu32_epi64(0xFF, __builtin_bit_cast(__m256i, x.v)))};
#endif
#if XEB_ISA_AVX2
    else if constexpr (widen && N == 4) return {_mm256_cvtps_pd(x.v)};
    else if constexpr (narrow && N == 4) return {_mm256_cvtpd_ps(x.v)};
    else if constexpr (int_to_double && N == 4) return {_mm256_cvtepi32_pd(__builtin_bit_cast(__m128i, x.v))};
    else if constexpr (zero_extend && N == 4)
        return {__builtin_bit_cast(R, _mm256_cvtepu32_epi64(__builtin_bit_cast(__m128i, x.v)))};
#endif
    else return {__builtin_convertvector(x.v, typename Vec<To, N>::Raw)};
}

// The signed value of the top 64 - S bits of each lane (an arithmetic
// shift right by S, 12 <= S < 63) as a double, exactly.
template <int S, int N>
inline Vec<double, N> signed_top_bits(Vec<uint64_t, N> x) {
    static_assert(S >= 12 && S < 63, "a value below 2^52 in magnitude");
    [[maybe_unused]] constexpr int bytes = Traits<Vec<uint64_t, N>>::bytes;
    if constexpr (N == 1) return {static_cast<double>(static_cast<int64_t>(x.v) >> S)};
#if XEB_ISA_AVX512
    else if constexpr (bytes == 64)
        return {_mm512_maskz_cvtepi64_pd(0xFF, _mm512_maskz_srai_epi64(0xFF, __builtin_bit_cast(__m512i, x.v), S))};
#endif
    else {
        // Offset by 2^(63-S), it is a whole number of 2^52 + it: the double
        // 2^52 with those bits in its significand, less the two.
        const Vec<uint64_t, N> biased = (x ^ (uint64_t{1} << 63)) >> S;
        return bitcast<double>(biased | 0x4330000000000000ull) - (0x1p52 + static_cast<double>(uint64_t{1} << (63 - S)));
    }
}

// Float lanes to the nearest 32-bit integers, ties to even (the rounding
// MXCSR holds; the kernel frames keep it at nearest).  Lanes beyond the
// int32 range or NaN give 0x80000000.
template <int N>
inline Vec<int32_t, N> nearest_int(Vec<float, N> x) {
    [[maybe_unused]] constexpr int bytes = Traits<Vec<float, N>>::bytes;
    if constexpr (N == 1) return {_mm_cvtss_si32(_mm_set_ss(x.v))};
#if XEB_ISA_AVX512
    else if constexpr (bytes == 64)
        return {reinterpret_cast<typename Vec<int32_t, N>::Raw>(_mm512_maskz_cvtps_epi32(0xFFFF, x.v))};
#endif
#if XEB_ISA_AVX2
    else if constexpr (bytes == 32) return {reinterpret_cast<typename Vec<int32_t, N>::Raw>(_mm256_cvtps_epi32(x.v))};
#endif
    else return {reinterpret_cast<typename Vec<int32_t, N>::Raw>(_mm_cvtps_epi32(x.v))};
}

// Half P (0: the low lanes, 1: the high ones) of a register, and two
// halves joined: kernels that work in wider lanes (floats in doubles) take
// whole registers this way.  One extract or insert instruction each.
template <int P, class T, int N, int... I>
inline Vec<T, N / 2> half_of(Vec<T, N> x, std::integer_sequence<int, I...>) {
    if constexpr (N == 2) return {x.v[P]};
    else return {__builtin_shufflevector(x.v, x.v, (P * (N / 2) + I)...)};
}
template <int P, class T, int N>
inline Vec<T, N / 2> half(Vec<T, N> x) {
    return half_of<P>(x, std::make_integer_sequence<int, N / 2>{});
}
template <class T, int N, int... I>
inline Vec<T, 2 * N> join_of(Vec<T, N> lo, Vec<T, N> hi, std::integer_sequence<int, I...>) {
    if constexpr (N == 1) return {typename Vec<T, 2>::Raw{lo.v, hi.v}};
    else return {__builtin_shufflevector(lo.v, hi.v, I...)};
}
template <class T, int N>
inline Vec<T, 2 * N> join(Vec<T, N> lo, Vec<T, N> hi) {
    return join_of(lo, hi, std::make_integer_sequence<int, 2 * N>{});
}

// N registers of N lanes transposed in place: lane j of r[i] goes to lane
// i of r[j].  log2 N rounds of two-register shuffles (N log2 N in all),
// each exchanging blocks of B lanes between registers B apart.
template <int B, int N>
constexpr int transpose_source(int lane, bool upper) {
    // Lower register: its own lane where bit B is clear, else the partner's
    // lane B below (index N + lane - B); upper: the partner's mirror.
    return upper ? ((lane & B) ? N + lane : lane + B) : ((lane & B) ? N + lane - B : lane);
}
template <int B, class T, int N, int... I>
inline void transpose_round(Vec<T, N> (&r)[N], std::integer_sequence<int, I...>) {
    for (int i = 0; i < N; ++i)
        if ((i & B) == 0) {
            const auto a = r[i].v, c = r[i + B].v;
            r[i].v = __builtin_shufflevector(a, c, transpose_source<B, N>(I, false)...);
            r[i + B].v = __builtin_shufflevector(a, c, transpose_source<B, N>(I, true)...);
        }
}
template <int B = 1, class T, int N>
inline void transpose(Vec<T, N> (&r)[N]) {
    if constexpr (B < N) {
        transpose_round<B>(r, std::make_integer_sequence<int, N>{});
        transpose<2 * B>(r);
    }
}

// ---------------------------------------------------------------- arithmetic

#define XEB_SIMD_BINARY(op)                                                        \
    template <class T, int N>                                                      \
    inline Vec<T, N> operator op(Vec<T, N> a, Vec<T, N> b) {                       \
        return {static_cast<typename Vec<T, N>::Raw>(a.v op b.v)};                 \
    }                                                                              \
    template <class T, int N>                                                      \
    inline Vec<T, N> operator op(Vec<T, N> a, std::common_type_t<T> b) {           \
        return a op broadcast<Vec<T, N>>(b);                                       \
    }                                                                              \
    template <class T, int N>                                                      \
    inline Vec<T, N> operator op(std::common_type_t<T> a, Vec<T, N> b) {           \
        return broadcast<Vec<T, N>>(a) op b;                                       \
    }                                                                              \
    template <class T, int N, class B>                                             \
    inline Vec<T, N>& operator op##=(Vec<T, N>& a, B b) {                          \
        return a = a op b;                                                         \
    }
XEB_SIMD_BINARY(+)
XEB_SIMD_BINARY(-)
XEB_SIMD_BINARY(*)
XEB_SIMD_BINARY(/)
XEB_SIMD_BINARY(&)
XEB_SIMD_BINARY(|)
XEB_SIMD_BINARY(^)
#undef XEB_SIMD_BINARY

template <class T, int N>
inline Vec<T, N> operator-(Vec<T, N> a) {
    return {static_cast<typename Vec<T, N>::Raw>(-a.v)};
}
template <class T, int N>
inline Vec<T, N> operator~(Vec<T, N> a) {
    return {static_cast<typename Vec<T, N>::Raw>(~a.v)};
}
// Shifts by a constant count: logical for unsigned lanes, arithmetic for
// signed ones.
template <class T, int N>
inline Vec<T, N> operator<<(Vec<T, N> a, int s) {
    return {static_cast<typename Vec<T, N>::Raw>(a.v << s)};
}
template <class T, int N>
inline Vec<T, N> operator>>(Vec<T, N> a, int s) {
    return {static_cast<typename Vec<T, N>::Raw>(a.v >> s)};
}

// Per 64-bit lane: the product of the low 32 bits of a and of b, all 64
// bits of it (pmuludq).  Exact; the high halves of the lanes are ignored.
template <int N>
inline Vec<uint64_t, N> mul_low32(Vec<uint64_t, N> a, Vec<uint64_t, N> b) {
    using R [[maybe_unused]] = typename Vec<uint64_t, N>::Raw;
    [[maybe_unused]] constexpr int bytes = Traits<Vec<uint64_t, N>>::bytes;
    if constexpr (N == 1) return {(a.v & 0xFFFFFFFFu) * (b.v & 0xFFFFFFFFu)};
#if XEB_ISA_AVX512
    else if constexpr (bytes == 64)
        return {__builtin_bit_cast(R, _mm512_maskz_mul_epu32(0xFF, __builtin_bit_cast(__m512i, a.v), __builtin_bit_cast(__m512i, b.v)))};
#endif
#if XEB_ISA_AVX2
    else if constexpr (bytes == 32)
        return {__builtin_bit_cast(R, _mm256_mul_epu32(__builtin_bit_cast(__m256i, a.v), __builtin_bit_cast(__m256i, b.v)))};
#endif
    else if constexpr (bytes == 16)
        return {__builtin_bit_cast(R, _mm_mul_epu32(__builtin_bit_cast(__m128i, a.v), __builtin_bit_cast(__m128i, b.v)))};
    else
        return join(mul_low32(half<0>(a), half<0>(b)), mul_low32(half<1>(a), half<1>(b)));
}

// a * b + c, a * b - c and c - a * b, each rounded once.
template <class T, int N>
inline Vec<T, N> fma(Vec<T, N> a, Vec<T, N> b, Vec<T, N> c) {
    static_assert(std::is_floating_point_v<T>, "fma of floating lanes");
    [[maybe_unused]] constexpr bool d = std::is_same_v<T, double>;
    [[maybe_unused]] constexpr int bytes = Traits<Vec<T, N>>::bytes;
    if constexpr (N == 1) {
        if constexpr (d) return {__builtin_fma(a.v, b.v, c.v)};
        else return {__builtin_fmaf(a.v, b.v, c.v)};
    }
#if XEB_ISA_AVX512
    else if constexpr (bytes == 64 && d) return {_mm512_fmadd_pd(a.v, b.v, c.v)};
    else if constexpr (bytes == 64) return {_mm512_fmadd_ps(a.v, b.v, c.v)};
#endif
#if XEB_ISA_AVX2
    else if constexpr (bytes == 32 && d) return {_mm256_fmadd_pd(a.v, b.v, c.v)};
    else if constexpr (bytes == 32) return {_mm256_fmadd_ps(a.v, b.v, c.v)};
    else if constexpr (bytes == 16 && d) return {_mm_fmadd_pd(a.v, b.v, c.v)};
    else if constexpr (bytes == 16) return {_mm_fmadd_ps(a.v, b.v, c.v)};
#endif
    else {
        // No fused operation in the instruction set: the C library's, per lane.
        Vec<T, N> r;
        for (int i = 0; i < N; ++i) r.v[i] = fma(Vec<T, 1>{a.v[i]}, Vec<T, 1>{b.v[i]}, Vec<T, 1>{c.v[i]}).v;
        return r;
    }
}
template <class T, int N>
inline Vec<T, N> fma(Vec<T, N> a, std::common_type_t<T> b, Vec<T, N> c) {
    return fma(a, broadcast<Vec<T, N>>(b), c);
}
template <class T, int N>
inline Vec<T, N> fma(Vec<T, N> a, Vec<T, N> b, std::common_type_t<T> c) {
    return fma(a, b, broadcast<Vec<T, N>>(c));
}
template <class T, int N>
inline Vec<T, N> fma(Vec<T, N> a, std::common_type_t<T> b, std::common_type_t<T> c) {
    return fma(a, broadcast<Vec<T, N>>(b), broadcast<Vec<T, N>>(c));
}
template <class T, int N>
inline Vec<T, N> fms(Vec<T, N> a, Vec<T, N> b, Vec<T, N> c) {
    return fma(a, b, -c);
}
template <class T, int N>
inline Vec<T, N> fnma(Vec<T, N> a, Vec<T, N> b, Vec<T, N> c) {
    return fma(-a, b, c);
}

// ---------------------------------------------------------------- masks

template <int B, int N>
inline Mask<B, N> operator&(Mask<B, N> a, Mask<B, N> b) {
    if constexpr (N == 1) return {a.m && b.m};
    else return {static_cast<typename Mask<B, N>::Raw>(a.m & b.m)};
}
template <int B, int N>
inline Mask<B, N> operator|(Mask<B, N> a, Mask<B, N> b) {
    if constexpr (N == 1) return {a.m || b.m};
    else return {static_cast<typename Mask<B, N>::Raw>(a.m | b.m)};
}
template <int B, int N>
inline Mask<B, N> operator~(Mask<B, N> a) {
    if constexpr (N == 1) return {!a.m};
#if XEB_ISA_AVX512
    else return {static_cast<typename Mask<B, N>::Raw>(~a.m & ((1u << N) - 1))};
#else
    else return {~a.m};
#endif
}

// Bit i set for lane i.
template <int B, int N>
inline unsigned bits(Mask<B, N> a) {
    if constexpr (N == 1) return a.m ? 1u : 0u;
#if XEB_ISA_AVX512
    else return a.m;
#else
    else if constexpr (B == 8 && N == 2) return static_cast<unsigned>(_mm_movemask_pd(reinterpret_cast<__m128d>(a.m)));
    else if constexpr (B == 4 && N == 4) return static_cast<unsigned>(_mm_movemask_ps(reinterpret_cast<__m128>(a.m)));
#if XEB_ISA_AVX2
    else if constexpr (B == 8 && N == 4) return static_cast<unsigned>(_mm256_movemask_pd(reinterpret_cast<__m256d>(a.m)));
    else if constexpr (B == 4 && N == 8) return static_cast<unsigned>(_mm256_movemask_ps(reinterpret_cast<__m256>(a.m)));
#endif
    else {
        unsigned r = 0;
        for (int i = 0; i < N; ++i) r |= (a.m[i] != 0 ? 1u : 0u) << i;
        return r;
    }
#endif
}
template <int B, int N>
inline bool any(Mask<B, N> a) {
    return bits(a) != 0;
}

// Two registers side by side as one vector of twice the lanes, for a
// kernel that runs two computations at once (lo: the first lanes); the
// halves stay in registers.  The frame loads, stores, reads lanes and
// reads the bits of a mask of it as of one register.
template <class V>
struct Twin {
    V lo, hi;
};
template <class M>
struct TwinMask {
    M lo, hi;
};
template <class V>
struct Traits<Twin<V>> {
    using Lane = typename Traits<V>::Lane;
    static constexpr int lanes = 2 * Traits<V>::lanes;
    static constexpr int bytes = 2 * Traits<V>::bytes;
};
template <class V>
inline Twin<V> load_twin(const typename Traits<V>::Lane* p) {
    return {load<V>(p), load<V>(p + Traits<V>::lanes)};
}
template <class T, class V>
inline void store(T* p, Twin<V> x) {
    store(p, x.lo);
    store(p + Traits<V>::lanes, x.hi);
}
template <class V>
inline typename Traits<V>::Lane lane(Twin<V> x, int i) {
    constexpr int n = Traits<V>::lanes;
    return i < n ? lane(x.lo, i) : lane(x.hi, i - n);
}
template <int B, int N>
inline unsigned bits(TwinMask<Mask<B, N>> a) {
    return bits(a.lo) | bits(a.hi) << N;
}

// A mask of one lane size as a mask of another (same lane count).
template <int To, int B, int N>
inline Mask<To, N> resize(Mask<B, N> a) {
#if XEB_ISA_AVX512
    return {a.m};
#else
    if constexpr (N == 1 || To == B) return {a.m};
    else return {__builtin_convertvector(a.m, typename Mask<To, N>::Raw)};
#endif
}

// Per lane: m ? a : b.
template <class T, int N>
inline Vec<T, N> select(MaskOf<T, N> m, Vec<T, N> a, Vec<T, N> b) {
    if constexpr (N == 1) return m.m ? a : b;
#if XEB_ISA_AVX512
    else {
        // Through the integer lanes of the same size: one blend instruction.
        using I = typename LaneInt<static_cast<int>(sizeof(T))>::U;
        const auto ai = bitcast<I>(a), bi = bitcast<I>(b);
        [[maybe_unused]] constexpr int bytes = Traits<Vec<T, N>>::bytes;
        Vec<I, N> r;
        if constexpr (sizeof(T) == 8 && bytes == 64) r.v = reinterpret_cast<typename Vec<I, N>::Raw>(_mm512_mask_blend_epi64(m.m, reinterpret_cast<__m512i>(bi.v), reinterpret_cast<__m512i>(ai.v)));
        else if constexpr (sizeof(T) == 4 && bytes == 64) r.v = reinterpret_cast<typename Vec<I, N>::Raw>(_mm512_mask_blend_epi32(m.m, reinterpret_cast<__m512i>(bi.v), reinterpret_cast<__m512i>(ai.v)));
        else if constexpr (sizeof(T) == 8 && bytes == 32) r.v = reinterpret_cast<typename Vec<I, N>::Raw>(_mm256_mask_blend_epi64(m.m, reinterpret_cast<__m256i>(bi.v), reinterpret_cast<__m256i>(ai.v)));
        else if constexpr (sizeof(T) == 4 && bytes == 32) r.v = reinterpret_cast<typename Vec<I, N>::Raw>(_mm256_mask_blend_epi32(m.m, reinterpret_cast<__m256i>(bi.v), reinterpret_cast<__m256i>(ai.v)));
        else if constexpr (sizeof(T) == 8 && bytes == 16) r.v = reinterpret_cast<typename Vec<I, N>::Raw>(_mm_mask_blend_epi64(m.m, reinterpret_cast<__m128i>(bi.v), reinterpret_cast<__m128i>(ai.v)));
        else r.v = reinterpret_cast<typename Vec<I, N>::Raw>(_mm_mask_blend_epi32(m.m, reinterpret_cast<__m128i>(bi.v), reinterpret_cast<__m128i>(ai.v)));
        return bitcast<T>(r);
    }
#else
    else {
        using I = typename LaneInt<static_cast<int>(sizeof(T))>::U;
        const auto ai = bitcast<I>(a), bi = bitcast<I>(b);
        const auto mi = reinterpret_cast<typename Vec<I, N>::Raw>(m.m);
        return bitcast<T>(Vec<I, N>{(ai.v & mi) | (bi.v & ~mi)});
    }
#endif
}

// Floating lanes of p where m is set, 0 in the others; memory under a
// clear lane is not read (so it may lie outside the array).
template <class V>
inline V load_masked(const typename Traits<V>::Lane* p, MaskOf<typename Traits<V>::Lane, Traits<V>::lanes> m) {
    using T = typename Traits<V>::Lane;
    constexpr int N = Traits<V>::lanes;
    static_assert(std::is_floating_point_v<T>, "floating lanes");
    [[maybe_unused]] constexpr bool d = sizeof(T) == 8;
    [[maybe_unused]] constexpr int bytes = Traits<V>::bytes;
    if constexpr (N == 1) return {m.m ? *p : T(0)};
#if XEB_ISA_AVX512
    else if constexpr (d && bytes == 64) return {_mm512_maskz_loadu_pd(m.m, p)};
    else if constexpr (bytes == 64) return {_mm512_maskz_loadu_ps(m.m, p)};
    else if constexpr (d && bytes == 32) return {_mm256_maskz_loadu_pd(m.m, p)};
    else if constexpr (bytes == 32) return {_mm256_maskz_loadu_ps(m.m, p)};
    else if constexpr (d) return {_mm_maskz_loadu_pd(m.m, p)};
    else return {_mm_maskz_loadu_ps(m.m, p)};
#elif XEB_ISA_AVX2
    else if constexpr (d && bytes == 32) return {_mm256_maskload_pd(p, reinterpret_cast<__m256i>(m.m))};
    else if constexpr (bytes == 32) return {_mm256_maskload_ps(p, reinterpret_cast<__m256i>(m.m))};
    else if constexpr (d) return {_mm_maskload_pd(p, reinterpret_cast<__m128i>(m.m))};
    else return {_mm_maskload_ps(p, reinterpret_cast<__m128i>(m.m))};
#else
    else {
        V r;
        for (int i = 0; i < N; ++i) r.v[i] = m.m[i] != 0 ? p[i] : T(0);
        return r;
    }
#endif
}

// ---------------------------------------------------------------- compares

enum class Cmp { Lt, Le, Gt, Ge, Eq, Ne };

// Floating lanes: ordered and quiet (a NaN compares false, but for Ne,
// which is true); integer lanes: by their signedness.
template <Cmp C, class T, int N>
inline MaskOf<T, N> compare(Vec<T, N> a, Vec<T, N> b) {
    if constexpr (N == 1) {
        switch (C) {
        case Cmp::Lt: return {a.v < b.v};
        case Cmp::Le: return {a.v <= b.v};
        case Cmp::Gt: return {a.v > b.v};
        case Cmp::Ge: return {a.v >= b.v};
        case Cmp::Eq: return {a.v == b.v};
        default: return {a.v != b.v};
        }
    }
#if XEB_ISA_AVX512
    else if constexpr (std::is_floating_point_v<T>) {
        constexpr int p = C == Cmp::Lt   ? _CMP_LT_OQ
                          : C == Cmp::Le ? _CMP_LE_OQ
                          : C == Cmp::Gt ? _CMP_GT_OQ
                          : C == Cmp::Ge ? _CMP_GE_OQ
                          : C == Cmp::Eq ? _CMP_EQ_OQ
                                         : _CMP_NEQ_UQ;
        [[maybe_unused]] constexpr int bytes = Traits<Vec<T, N>>::bytes;
        [[maybe_unused]] constexpr bool d = std::is_same_v<T, double>;
        using R = typename MaskOf<T, N>::Raw;
        if constexpr (bytes == 64 && d) return {static_cast<R>(_mm512_cmp_pd_mask(a.v, b.v, p))};
        else if constexpr (bytes == 64) return {static_cast<R>(_mm512_cmp_ps_mask(a.v, b.v, p))};
        else if constexpr (bytes == 32 && d) return {static_cast<R>(_mm256_cmp_pd_mask(a.v, b.v, p))};
        else if constexpr (bytes == 32) return {static_cast<R>(_mm256_cmp_ps_mask(a.v, b.v, p))};
        else if constexpr (d) return {static_cast<R>(_mm_cmp_pd_mask(a.v, b.v, p))};
        else return {static_cast<R>(_mm_cmp_ps_mask(a.v, b.v, p))};
    } else {
        constexpr int p = C == Cmp::Lt   ? _MM_CMPINT_LT
                          : C == Cmp::Le ? _MM_CMPINT_LE
                          : C == Cmp::Gt ? _MM_CMPINT_NLE
                          : C == Cmp::Ge ? _MM_CMPINT_NLT
                          : C == Cmp::Eq ? _MM_CMPINT_EQ
                                         : _MM_CMPINT_NE;
        [[maybe_unused]] constexpr int bytes = Traits<Vec<T, N>>::bytes;
        constexpr bool wide = sizeof(T) == 8, sign = std::is_signed_v<T>;
        using R = typename MaskOf<T, N>::Raw;
        if constexpr (bytes == 64) {
            const __m512i x = reinterpret_cast<__m512i>(a.v), y = reinterpret_cast<__m512i>(b.v);
            if constexpr (wide && sign) return {static_cast<R>(_mm512_cmp_epi64_mask(x, y, p))};
            else if constexpr (wide) return {static_cast<R>(_mm512_cmp_epu64_mask(x, y, p))};
            else if constexpr (sign) return {static_cast<R>(_mm512_cmp_epi32_mask(x, y, p))};
            else return {static_cast<R>(_mm512_cmp_epu32_mask(x, y, p))};
        } else if constexpr (bytes == 32) {
            const __m256i x = reinterpret_cast<__m256i>(a.v), y = reinterpret_cast<__m256i>(b.v);
            if constexpr (wide && sign) return {static_cast<R>(_mm256_cmp_epi64_mask(x, y, p))};
            else if constexpr (wide) return {static_cast<R>(_mm256_cmp_epu64_mask(x, y, p))};
            else if constexpr (sign) return {static_cast<R>(_mm256_cmp_epi32_mask(x, y, p))};
            else return {static_cast<R>(_mm256_cmp_epu32_mask(x, y, p))};
        } else {
            const __m128i x = reinterpret_cast<__m128i>(a.v), y = reinterpret_cast<__m128i>(b.v);
            if constexpr (wide && sign) return {static_cast<R>(_mm_cmp_epi64_mask(x, y, p))};
            else if constexpr (wide) return {static_cast<R>(_mm_cmp_epu64_mask(x, y, p))};
            else if constexpr (sign) return {static_cast<R>(_mm_cmp_epi32_mask(x, y, p))};
            else return {static_cast<R>(_mm_cmp_epu32_mask(x, y, p))};
        }
    }
#else
    else {
        using R = typename MaskOf<T, N>::Raw;
        switch (C) {
        case Cmp::Lt: return {static_cast<R>(a.v < b.v)};
        case Cmp::Le: return {static_cast<R>(a.v <= b.v)};
        case Cmp::Gt: return {static_cast<R>(a.v > b.v)};
        case Cmp::Ge: return {static_cast<R>(a.v >= b.v)};
        case Cmp::Eq: return {static_cast<R>(a.v == b.v)};
        default: return {static_cast<R>(a.v != b.v)};
        }
    }
#endif
}
template <Cmp C, class T, int N>
inline MaskOf<T, N> compare(Vec<T, N> a, std::common_type_t<T> b) {
    return compare<C>(a, broadcast<Vec<T, N>>(b));
}

// x 2^k for lanes whose x and result are normal numbers, k given twice: as
// integers and as the same values in floating lanes (AVX-512 scales by the
// latter in one instruction, the others add the former to the exponent).
template <class T, int N>
inline Vec<T, N> scale_normal(Vec<T, N> x, SVec<T, N> k, [[maybe_unused]] Vec<T, N> kf) {
    [[maybe_unused]] constexpr int bytes = Traits<Vec<T, N>>::bytes;
    [[maybe_unused]] constexpr bool d = std::is_same_v<T, double>;
#if XEB_ISA_AVX512
    if constexpr (N > 1) {
        // The zero-masked forms: the plain ones pass GCC an undefined operand.
        constexpr auto all = static_cast<typename MaskOf<T, N>::Raw>((1u << N) - 1);
        if constexpr (bytes == 64 && d) return {_mm512_maskz_scalef_pd(all, x.v, kf.v)};
        else if constexpr (bytes == 64) return {_mm512_maskz_scalef_ps(all, x.v, kf.v)};
        else if constexpr (bytes == 32 && d) return {_mm256_maskz_scalef_pd(all, x.v, kf.v)};
        else if constexpr (bytes == 32) return {_mm256_maskz_scalef_ps(all, x.v, kf.v)};
        else if constexpr (d) return {_mm_maskz_scalef_pd(all, x.v, kf.v)};
        else return {_mm_maskz_scalef_ps(all, x.v, kf.v)};
    }
#endif
    using U = typename LaneInt<static_cast<int>(sizeof(T))>::U;
    return bitcast<T>(bitcast<U>(x) + (bitcast<U>(k) << (d ? 52 : 23)));
}

// Lanes that are not positive normal finite numbers (zeros, denormals,
// negatives, infinities, NaNs): one classification in AVX-512, elsewhere
// one unsigned compare of the bits less the smallest normal's.
template <class T, int N>
inline MaskOf<T, N> not_positive_normal(Vec<T, N> x) {
    static_assert(std::is_floating_point_v<T>, "a floating lane");
    [[maybe_unused]] constexpr int bytes = Traits<Vec<T, N>>::bytes;
    [[maybe_unused]] constexpr bool d = std::is_same_v<T, double>;
#if XEB_ISA_AVX512
    if constexpr (N > 1) {
        constexpr int kAll = 0xFF;  // QNaN, +-0, +-infinity, denormal, negative, SNaN
        using R = typename MaskOf<T, N>::Raw;
        if constexpr (bytes == 64 && d) return {static_cast<R>(_mm512_fpclass_pd_mask(x.v, kAll))};
        else if constexpr (bytes == 64) return {static_cast<R>(_mm512_fpclass_ps_mask(x.v, kAll))};
        else if constexpr (bytes == 32 && d) return {static_cast<R>(_mm256_fpclass_pd_mask(x.v, kAll))};
        else if constexpr (bytes == 32) return {static_cast<R>(_mm256_fpclass_ps_mask(x.v, kAll))};
        else if constexpr (d) return {static_cast<R>(_mm_fpclass_pd_mask(x.v, kAll))};
        else return {static_cast<R>(_mm_fpclass_ps_mask(x.v, kAll))};
    }
#endif
    using U = typename LaneInt<static_cast<int>(sizeof(T))>::U;
    constexpr U kNormal = U{1} << (d ? 52 : 23), kInf = (d ? U{0x7FF} : U{0xFF}) << (d ? 52 : 23);
    return compare<Cmp::Ge>(bitcast<U>(x) - kNormal, kInf - kNormal);
}

// ---------------------------------------------------------------- tables

// table[idx mod Size] per lane, for a table of Size entries (a power of
// two); the high bits of an index are ignored.  Small tables go through
// register permutes, which cost a few cycles where a gather costs tens.
template <int Size, class T, class I, int N>
inline Vec<T, N> lookup(const T* table, Vec<I, N> idx) {
    static_assert(sizeof(I) == sizeof(T), "index lanes as wide as the values");
    static_assert((Size & (Size - 1)) == 0, "a power of two");
    using U = typename LaneInt<static_cast<int>(sizeof(T))>::U;
    const Vec<U, N> k = bitcast<U>(idx);
    [[maybe_unused]] constexpr int bytes = Traits<Vec<T, N>>::bytes;
    [[maybe_unused]] constexpr bool d = sizeof(T) == 8;
    if constexpr (N == 1) return {table[k.v & (Size - 1)]};
#if XEB_ISA_AVX512
    else if constexpr (Size == 2 && d && bytes == 64) {
        // The pair in each 128-bit block, an entry per lane by bit 1 of the control.
        const __m128d p = _mm_loadu_pd(reinterpret_cast<const double*>(table));
        const __m512d t = __builtin_shufflevector(p, p, 0, 1, 0, 1, 0, 1, 0, 1);
        return Vec<T, N>{reinterpret_cast<typename Vec<T, N>::Raw>(
            _mm512_maskz_permutevar_pd(0xFF, t, reinterpret_cast<__m512i>(k.v << 1)))};
    } else if constexpr (Size == 16 && d && bytes == 64) {
        const __m512i t0 = _mm512_loadu_si512(table), t1 = _mm512_loadu_si512(table + 8);
        return bitcast<T>(Vec<U, N>{reinterpret_cast<typename Vec<U, N>::Raw>(
            _mm512_permutex2var_epi64(t0, reinterpret_cast<__m512i>(k.v), t1))});
    } else if constexpr (Size == 16 && !d && bytes == 64) {
        const __m512i t = _mm512_loadu_si512(table);
        return bitcast<T>(Vec<U, N>{reinterpret_cast<typename Vec<U, N>::Raw>(
            _mm512_maskz_permutexvar_epi32(0xFFFF, reinterpret_cast<__m512i>(k.v), t))});
    } else if constexpr (Size == 16 && !d && bytes == 32) {
        const __m256i t0 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(table));
        const __m256i t1 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(table + 8));
        return bitcast<T>(Vec<U, N>{reinterpret_cast<typename Vec<U, N>::Raw>(
            _mm256_permutex2var_epi32(t0, reinterpret_cast<__m256i>(k.v), t1))});
    }
#endif
#if XEB_ISA_AVX2
    else if constexpr (Size == 2 && d && bytes == 32) {
        const __m256d t = _mm256_broadcast_pd(reinterpret_cast<const __m128d*>(table));
        return Vec<T, N>{reinterpret_cast<typename Vec<T, N>::Raw>(
            _mm256_permutevar_pd(t, reinterpret_cast<__m256i>(k.v << 1)))};
    } else if constexpr (Size == 16 && !d && bytes == 32) {
        // Two eight-entry permutes, chosen by bit 3 of the index.
        const __m256i i = reinterpret_cast<__m256i>(k.v);
        const __m256i lo = _mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(table)), i);
        const __m256i hi = _mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(table + 8)), i);
        const __m256 pick = _mm256_castsi256_ps(_mm256_slli_epi32(i, 28));
        return bitcast<T>(Vec<U, N>{reinterpret_cast<typename Vec<U, N>::Raw>(
            _mm256_castps_si256(_mm256_blendv_ps(_mm256_castsi256_ps(lo), _mm256_castsi256_ps(hi), pick)))});
    } else if constexpr (Size == 16 && d && bytes == 32) {
        // Four entries per register, each 64-bit entry permuted as its two
        // 32-bit halves (2j, 2j + 1); then chosen by bits 2 and 3.
        const __m256i i = reinterpret_cast<__m256i>(k.v);
        const __m256i twice = _mm256_shuffle_epi32(_mm256_slli_epi64(i, 1), _MM_SHUFFLE(2, 2, 0, 0));
        const __m256i pairs = _mm256_add_epi32(twice, _mm256_set1_epi64x(int64_t{1} << 32));
        auto part = [&](int q) {
            return _mm256_castsi256_pd(_mm256_permutevar8x32_epi32(
                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(table + 4 * q)), pairs));
        };
        const __m256d bit2 = _mm256_castsi256_pd(_mm256_slli_epi64(i, 61));
        const __m256d bit3 = _mm256_castsi256_pd(_mm256_slli_epi64(i, 60));
        const __m256d low = _mm256_blendv_pd(part(0), part(1), bit2);
        const __m256d high = _mm256_blendv_pd(part(2), part(3), bit2);
        return bitcast<T>(Vec<U, N>{reinterpret_cast<typename Vec<U, N>::Raw>(
            _mm256_castpd_si256(_mm256_blendv_pd(low, high, bit3)))});
    }
#endif
    else {
        Vec<T, N> r;
        for (int i = 0; i < N; ++i) r.v[i] = table[k.v[i] & (Size - 1)];
        return r;
    }
}

// table[idx] per lane from a table of any size (a hardware gather in the
// wide sets).  Slow on some processors: prefer lookup for small tables.
template <class T, class I, int N>
inline Vec<T, N> gather(const T* table, Vec<I, N> idx) {
    static_assert(sizeof(I) == sizeof(T), "index lanes as wide as the values");
    [[maybe_unused]] constexpr int bytes = Traits<Vec<T, N>>::bytes;
    if constexpr (N == 1) return {table[idx.v]};
#if XEB_ISA_AVX512
    else if constexpr (bytes == 64 && sizeof(T) == 8)
        return bitcast<T>(Vec<uint64_t, N>{reinterpret_cast<typename Vec<uint64_t, N>::Raw>(
            _mm512_mask_i64gather_epi64(_mm512_setzero_si512(), 0xFF, reinterpret_cast<__m512i>(idx.v), table, 8))});
    else if constexpr (bytes == 64)
        return bitcast<T>(Vec<uint32_t, N>{reinterpret_cast<typename Vec<uint32_t, N>::Raw>(
            _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), 0xFFFF, reinterpret_cast<__m512i>(idx.v), table, 4))});
#endif
#if XEB_ISA_AVX2
    else if constexpr (bytes == 32 && sizeof(T) == 8)
        return bitcast<T>(Vec<uint64_t, N>{reinterpret_cast<typename Vec<uint64_t, N>::Raw>(
            _mm256_i64gather_epi64(reinterpret_cast<const long long*>(table), reinterpret_cast<__m256i>(idx.v), 8))});
    else if constexpr (bytes == 32)
        return bitcast<T>(Vec<uint32_t, N>{reinterpret_cast<typename Vec<uint32_t, N>::Raw>(
            _mm256_i32gather_epi32(reinterpret_cast<const int*>(table), reinterpret_cast<__m256i>(idx.v), 4))});
#endif
    else {
        Vec<T, N> r;
        for (int i = 0; i < N; ++i) r.v[i] = table[idx.v[i]];
        return r;
    }
}

// An estimate of 1/sqrt(a) for positive normal float lanes of one
// register, to kRootEstimateBits bits (vrsqrt14ps: relative error below
// 2^-14).  The AVX-512 class only.
constexpr int kRootEstimateBits = 14;
template <int N>
inline Vec<float, N> root_estimate(Vec<float, N> a) {
    constexpr int bytes = Traits<Vec<float, N>>::bytes;
    static_assert(XEB_ISA_AVX512 && bytes >= 16 && bytes <= kRegisterBytes, "one AVX-512 register");
#if XEB_ISA_AVX512
    if constexpr (bytes == 64) return {_mm512_maskz_rsqrt14_ps(0xFFFF, a.v)};
    else if constexpr (bytes == 32) return {_mm256_maskz_rsqrt14_ps(0xFF, a.v)};
    else return {_mm_maskz_rsqrt14_ps(0xF, a.v)};
#else
    return a;
#endif
}

// The square root of each lane, correctly rounded (the hardware's).
template <class T, int N>
inline Vec<T, N> sqrt(Vec<T, N> a) {
    static_assert(std::is_floating_point_v<T>, "sqrt of floating lanes");
    [[maybe_unused]] constexpr bool d = std::is_same_v<T, double>;
    [[maybe_unused]] constexpr int bytes = Traits<Vec<T, N>>::bytes;
    if constexpr (N == 1 && d) return {_mm_cvtsd_f64(_mm_sqrt_sd(_mm_setzero_pd(), _mm_set_sd(a.v)))};
    else if constexpr (N == 1) return {_mm_cvtss_f32(_mm_sqrt_ss(_mm_set_ss(a.v)))};
#if XEB_ISA_AVX512
    else if constexpr (bytes == 64 && d) return {_mm512_maskz_sqrt_pd(0xFF, a.v)};  // maskz: gcc 12 warns on the plain form
    else if constexpr (bytes == 64) return {_mm512_maskz_sqrt_ps(0xFFFF, a.v)};
#endif
#if XEB_ISA_AVX2
    else if constexpr (bytes == 32 && d) return {_mm256_sqrt_pd(a.v)};
    else if constexpr (bytes == 32) return {_mm256_sqrt_ps(a.v)};
#endif
    else if constexpr (bytes == 16 && d) return {_mm_sqrt_pd(a.v)};
    else if constexpr (bytes == 16) return {_mm_sqrt_ps(a.v)};
    else {
        Vec<T, N> r;
        for (int i = 0; i < N; ++i) r.v[i] = sqrt(Vec<T, 1>{a.v[i]}).v;
        return r;
    }
}

}  // namespace simd
}  // namespace XEB_ISA
}  // namespace xeb
