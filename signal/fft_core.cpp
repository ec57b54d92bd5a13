// Complex transforms of the real FFT, decimation in time on bit-reversed
// input, in the four-lane block layout.
//
// A radix-4 pass over groups of 2^s points joins four transforms of
// m = 2^s/4 points A0..A3 (consecutive quarters of the group).  With
// w = exp(-2 pi i / 2^s) and a1 = w^2j A1[j], a2 = w^j A2[j], a3 = w^3j A3[j]
// (the quarter order follows the bit reversal):
//   X[j]      = (A0 + a1) + (a2 + a3)     X[j + 2m] = (A0 + a1) - (a2 + a3)
//   X[j + m]  = (A0 - a1) - i (a2 - a3)   X[j + 3m] = (A0 - a1) + i (a2 - a3)
// The inverse conjugates w and the rotation.  Four consecutive j fill the
// lanes, so each stage-table group of 24 floats is loaded as it stands.
//
// Error: each pass adds at most a few single roundings relative to the
// largest value; with log2(n) layers and table entries rounded once from
// double, the rms error relative to max|X| stays of order
// 2^-24 * sqrt(log2 n), well below 1e-6 up to 2^29 points.
#include "signal/fft_core.h"

#include <emmintrin.h>
#include <xmmintrin.h>

#include <cstring>
#include <type_traits>

#include "signal/fft_class.h"

namespace xeb::sig {
namespace {

struct Cx4 {
    __m128 re, im;
};

inline bool aligned16(const void* p) { return (reinterpret_cast<std::uintptr_t>(p) & 15) == 0; }

inline Cx4 load_block(const float* p) { return {_mm_load_ps(p), _mm_load_ps(p + 4)}; }
inline Cx4 loadu_block(const float* p) { return {_mm_loadu_ps(p), _mm_loadu_ps(p + 4)}; }
inline void store_block(float* p, Cx4 v) {
    _mm_store_ps(p, v.re);
    _mm_store_ps(p + 4, v.im);
}
inline void storeu_block(float* p, Cx4 v) {
    _mm_storeu_ps(p, v.re);
    _mm_storeu_ps(p + 4, v.im);
}
// Four complex numbers leave as (real, imaginary) pairs.
inline void storeu_pairs(float* p, Cx4 v) {
    _mm_storeu_ps(p, _mm_unpacklo_ps(v.re, v.im));
    _mm_storeu_ps(p + 4, _mm_unpackhi_ps(v.re, v.im));
}

inline Cx4 add(Cx4 a, Cx4 b) { return {_mm_add_ps(a.re, b.re), _mm_add_ps(a.im, b.im)}; }
inline Cx4 sub(Cx4 a, Cx4 b) { return {_mm_sub_ps(a.re, b.re), _mm_sub_ps(a.im, b.im)}; }

// Times w = c + i ns (ns holds -sin), or times conj(w) for the inverse.
template <bool Inv>
inline Cx4 twiddle(Cx4 a, __m128 c, __m128 ns) {
    if (!Inv)
        return {_mm_sub_ps(_mm_mul_ps(a.re, c), _mm_mul_ps(a.im, ns)),
                _mm_add_ps(_mm_mul_ps(a.re, ns), _mm_mul_ps(a.im, c))};
    return {_mm_add_ps(_mm_mul_ps(a.re, c), _mm_mul_ps(a.im, ns)),
            _mm_sub_ps(_mm_mul_ps(a.im, c), _mm_mul_ps(a.re, ns))};
}

// Times -i (forward) or +i (inverse).
template <bool Inv>
inline Cx4 rotate(Cx4 b) {
    const __m128 zero = _mm_setzero_ps();
    if (!Inv) return {b.im, _mm_sub_ps(zero, b.re)};
    return {_mm_sub_ps(zero, b.im), b.re};
}

template <bool Inv>
inline void butterfly4(Cx4 a0, Cx4 a1, Cx4 a2, Cx4 a3, Cx4& x0, Cx4& x1, Cx4& x2, Cx4& x3) {
    const Cx4 b0 = add(a0, a1), b1 = sub(a0, a1), b2 = add(a2, a3);
    const Cx4 r = rotate<Inv>(sub(a2, a3));
    x0 = add(b0, b2);
    x2 = sub(b0, b2);
    x1 = add(b1, r);
    x3 = sub(b1, r);
}

// ---- first passes: four groups at a time, one group per lane ----------

// Two complex numbers at p and q: pairs (re, im) into lanes 0-1 and 2-3.
inline __m128 load_two(const float* p, const float* q) {
    __m128 v = _mm_setzero_ps();
    v = _mm_loadl_pi(v, reinterpret_cast<const __m64*>(p));
    return _mm_loadh_pi(v, reinterpret_cast<const __m64*>(q));
}

// Points of four groups into lanes (lane l = group g0 + l): pts[p] for the
// group_size points of each group.  Lanes at or beyond `groups` read zeros.
struct PairSource {
    const float* data;
    int32_t group_size;
    int64_t groups;
    void load(int64_t g0, Cx4* pts) const {
        if (g0 + 4 > groups) {
            load_partial(g0, pts);
            return;
        }
        const float* b0 = data + 2 * g0 * group_size;
        const int64_t gs = 2 * int64_t{group_size};
        for (int32_t p = 0; p < group_size; p += 2) {
            // (re_p, im_p, re_p+1, im_p+1) of each group, transposed.
            __m128 v0 = _mm_loadu_ps(b0 + 2 * p), v1 = _mm_loadu_ps(b0 + gs + 2 * p);
            __m128 v2 = _mm_loadu_ps(b0 + 2 * gs + 2 * p), v3 = _mm_loadu_ps(b0 + 3 * gs + 2 * p);
            _MM_TRANSPOSE4_PS(v0, v1, v2, v3);
            pts[p] = {v0, v1};
            pts[p + 1] = {v2, v3};
        }
    }
    void load_partial(int64_t g0, Cx4* pts) const {
        for (int32_t p = 0; p < group_size; ++p) {
            float re[4] = {0, 0, 0, 0}, im[4] = {0, 0, 0, 0};
            for (int l = 0; l < 4 && g0 + l < groups; ++l) {
                const float* q = data + 2 * ((g0 + l) * group_size + p);
                re[l] = q[0];
                im[l] = q[1];
            }
            pts[p] = {_mm_loadu_ps(re), _mm_loadu_ps(im)};
        }
    }
};

// Reads through the index table: position 4q + r of the bit-reversed
// sequence is point table[q]/2 + rev2(r) * n/4 of the source, four streams
// n/4 apart.  Groups hold whole multiples of four positions.
struct IndexedSource {
    const float* data;
    const int32_t* table;
    int32_t group_size;
    int64_t groups;
    int32_t stream[4];  // float offsets of the four streams, rev2(r) * n/2
    void load(int64_t g0, Cx4* pts) const {
        const int32_t quads = group_size / 4;
        for (int32_t q = 0; q < quads; ++q) {
            const float* base[4];
            for (int l = 0; l < 4; ++l) {
                const int64_t g = g0 + l < groups ? g0 + l : g0;  // missing lanes repeat lane 0
                base[l] = data + table[g * quads + q];
            }
            for (int r = 0; r < 4; ++r) {
                const __m128 lo = load_two(base[0] + stream[r], base[1] + stream[r]);
                const __m128 hi = load_two(base[2] + stream[r], base[3] + stream[r]);
                pts[4 * q + r] = {_mm_shuffle_ps(lo, hi, _MM_SHUFFLE(2, 0, 2, 0)),
                                  _mm_shuffle_ps(lo, hi, _MM_SHUFFLE(3, 1, 3, 1))};
            }
        }
    }
};

// Writes outputs X[0..G) of four groups (lanes) in block layout: a 4x4
// transpose per block turns group lanes into point lanes.
inline void store_groups(float* out, int64_t g0, int64_t groups, int32_t group_size, Cx4* x) {
    for (int32_t b = 0; b < group_size / 4; ++b) {
        __m128 r0 = x[4 * b].re, r1 = x[4 * b + 1].re, r2 = x[4 * b + 2].re, r3 = x[4 * b + 3].re;
        __m128 i0 = x[4 * b].im, i1 = x[4 * b + 1].im, i2 = x[4 * b + 2].im, i3 = x[4 * b + 3].im;
        _MM_TRANSPOSE4_PS(r0, r1, r2, r3);
        _MM_TRANSPOSE4_PS(i0, i1, i2, i3);
        const __m128 rs[4] = {r0, r1, r2, r3}, is[4] = {i0, i1, i2, i3};
        for (int l = 0; l < 4 && g0 + l < groups; ++l)
            store_block(out + 2 * ((g0 + l) * group_size) + 8 * b, {rs[l], is[l]});
    }
}

// Radix 16 (even k): two radix-4 layers with one rotation between, the
// rotations taken from the first 24 floats of the stage table (s = 4).
template <bool Inv, class Source>
void first_pass16(const Source& src, float* out, int64_t groups, const float* tw, int64_t from) {
    for (int64_t g0 = from; g0 < groups; g0 += 4) {
        Cx4 pt[16], y[16];
        src.load(g0, pt);
        for (int q = 0; q < 4; ++q)
            butterfly4<Inv>(pt[4 * q], pt[4 * q + 1], pt[4 * q + 2], pt[4 * q + 3], y[4 * q], y[4 * q + 1],
                            y[4 * q + 2], y[4 * q + 3]);
        Cx4 x[16];
        for (int j = 0; j < 4; ++j) {
            const Cx4 a1 = twiddle<Inv>(y[4 + j], _mm_set1_ps(tw[8 + j]), _mm_set1_ps(tw[12 + j]));
            const Cx4 a2 = twiddle<Inv>(y[8 + j], _mm_set1_ps(tw[j]), _mm_set1_ps(tw[4 + j]));
            const Cx4 a3 = twiddle<Inv>(y[12 + j], _mm_set1_ps(tw[16 + j]), _mm_set1_ps(tw[20 + j]));
            butterfly4<Inv>(y[j], a1, a2, a3, x[j], x[j + 4], x[j + 8], x[j + 12]);
        }
        store_groups(out, g0, groups, 16, x);
    }
}

// cos and -sin of 2 pi j / 8, j = 0..3.
constexpr float kR8 = 0x1.6a09e6p-1f;  // sqrt(1/2) rounded to float
constexpr float kCos8[4] = {1.0f, kR8, 0.0f, -kR8};
constexpr float kNegSin8[4] = {0.0f, -kR8, -1.0f, -kR8};

// Radix 8 (odd k): two 4-point transforms and one radix-2 layer.
template <bool Inv, class Source>
void first_pass8(const Source& src, float* out, int64_t groups, int64_t from) {
    for (int64_t g0 = from; g0 < groups; g0 += 4) {
        Cx4 pt[8], e[4], o[4], x[8];
        src.load(g0, pt);
        butterfly4<Inv>(pt[0], pt[1], pt[2], pt[3], e[0], e[1], e[2], e[3]);
        butterfly4<Inv>(pt[4], pt[5], pt[6], pt[7], o[0], o[1], o[2], o[3]);
        for (int j = 0; j < 4; ++j) {
            const Cx4 t = twiddle<Inv>(o[j], _mm_set1_ps(kCos8[j]), _mm_set1_ps(kNegSin8[j]));
            x[j] = add(e[j], t);
            x[j + 4] = sub(e[j], t);
        }
        store_groups(out, g0, groups, 8, x);
    }
}

// ---- radix-4 passes on block layout -------------------------------------

template <bool Inv>
void radix4_pass(float* d, int64_t n, int32_t s, const float* tab) {
    const int32_t group = 1 << s, m = group / 4;
    for (int64_t base = 0; base < n; base += group) {
        float* p0 = d + 2 * base;
        float* p1 = p0 + 2 * m;
        float* p2 = p0 + 4 * m;
        float* p3 = p0 + 6 * m;
        for (int32_t jb = 0; jb < m / 4; ++jb) {
            const float* t = tab + 24 * jb;
            const Cx4 a1 = twiddle<Inv>(load_block(p1 + 8 * jb), _mm_load_ps(t + 8), _mm_load_ps(t + 12));
            const Cx4 a2 = twiddle<Inv>(load_block(p2 + 8 * jb), _mm_load_ps(t), _mm_load_ps(t + 4));
            const Cx4 a3 = twiddle<Inv>(load_block(p3 + 8 * jb), _mm_load_ps(t + 16), _mm_load_ps(t + 20));
            Cx4 x0, x1, x2, x3;
            butterfly4<Inv>(load_block(p0 + 8 * jb), a1, a2, a3, x0, x1, x2, x3);
            store_block(p0 + 8 * jb, x0);
            store_block(p1 + 8 * jb, x1);
            store_block(p2 + 8 * jb, x2);
            store_block(p3 + 8 * jb, x3);
        }
    }
}

int32_t log2_of(int64_t n) {
    int32_t k = 0;
    while ((int64_t{1} << k) < n) ++k;
    return k;
}

// The first pass from `src`, then the radix-4 passes in buf: transforms of
// 2^k points over n consecutive points (n / 2^k independent transforms).
template <bool Inv, class Source>
void core_passes(Source src, float* buf, int64_t n, int32_t k, const float* tw) {
    // The class in use takes the first pass, in whole registers of groups,
    // and the radix-4 passes, where it has them.
    const FftClassTable& in_class = fft_class_table();
    const bool radix16 = k % 2 == 0;
    int64_t done = 0;
    if (const auto first = in_class.first[Inv ? 1 : 0]) {
        if constexpr (std::is_same_v<Source, PairSource>)
            done = first(src.data, nullptr, nullptr, buf, n, tw, radix16);
        else
            done = first(src.data, src.table, src.stream, buf, n, tw, radix16);
    }
    int32_t s;
    if (radix16) {
        src.group_size = 16;
        src.groups = n / 16;
        first_pass16<Inv>(src, buf, n / 16, tw, done);
        s = 4;
    } else {
        src.group_size = 8;
        src.groups = n / 8;
        first_pass8<Inv>(src, buf, n / 8, done);
        s = 3;
    }
    const auto class_pass = in_class.radix4[Inv ? 1 : 0];
    for (s += 2; s <= k; s += 2) {
        if (class_pass) class_pass(buf, n, s, tw + sigStageOffset(k, s));
        else radix4_pass<Inv>(buf, n, s, tw + sigStageOffset(k, s));
    }
}

// Leave the blocks in `data`, as pairs or as they are.
void finish(const float* buf, float* data, int64_t n, bool interleave) {
    if (interleave) {
        for (int64_t b = 0; b < n / 4; ++b) storeu_pairs(data + 8 * b, load_block(buf + 8 * b));
    } else if (buf != data) {
        std::memcpy(data, buf, static_cast<std::size_t>(n) * 8);
    }
}

template <bool Inv>
void core(float* data, int32_t n, const float* tw, float* work, bool interleave) {
    float* buf = aligned16(data) ? data : work;
    core_passes<Inv>(PairSource{data, 0, 0}, buf, n, log2_of(n), tw);
    finish(buf, data, n, interleave);
}

template <bool Inv>
void reorder_core(const float* src, float* dst, int32_t n, const float* tw, const int32_t* table,
                  float* work) {
    float* buf = (src == dst || !aligned16(dst)) ? work : dst;
    const IndexedSource source{src, table, 0, 0, {0, n, n / 2, 3 * n / 2}};
    core_passes<Inv>(source, buf, n, log2_of(n), tw);
    finish(buf, dst, n, true);
}

int32_t reverse_bits(int32_t v, int32_t bits) {
    int32_t r = 0;
    for (int32_t b = 0; b < bits; ++b) r |= ((v >> b) & 1) << (bits - 1 - b);
    return r;
}

constexpr int32_t kCoreMaxOrder = 10;

// ---- halving: 2^s points from two halves, down to the 2^10 core ---------

// X[j] = A[j] + w^j B[j], X[j + L/2] = A[j] - w^j B[j].  The table holds
// w^j for j < L/4; the upper quarter uses w^(j + L/4) = -i w^j.
template <bool Inv>
void combine_halves(float* data, int64_t length, const float* tab, bool interleave) {
    const int64_t quarter = length / 4;
    float* a = data;
    float* b = data + length;  // complex L/2 on
    for (int64_t j = 0; j < length / 2; j += 4) {
        const bool upper = j >= quarter;
        const float* t = tab + 2 * (upper ? j - quarter : j);
        Cx4 w = twiddle<Inv>(loadu_block(b + 2 * j), _mm_load_ps(t), _mm_load_ps(t + 4));
        if (upper) w = rotate<Inv>(w);
        const Cx4 av = loadu_block(a + 2 * j);
        const Cx4 lo = add(av, w), hi = sub(av, w);
        if (interleave) {
            storeu_pairs(a + 2 * j, lo);
            storeu_pairs(b + 2 * j, hi);
        } else {
            storeu_block(a + 2 * j, lo);
            storeu_block(b + 2 * j, hi);
        }
    }
}

template <bool Inv>
bool scales(const sigFftPlan* p) {
    return Inv ? p->scaleInverse != 0 : p->scaleForward != 0;
}

template <bool Inv>
void leaf(const sigFftPlan* p, float* data, int32_t n, float* work, bool interleave) {
    core<Inv>(data, n, p->twiddles, work, interleave);
    if (scales<Inv>(p)) sigScale32f(p->scale, data, 2 * int64_t{n});
}

// Points 0..7 of eight runs of pairs lines[b] into the eight leaves at
// point at + b: an 8x8 transpose of complex numbers, two a register.
void move8x8(const float* const* lines, float* const* leaves, int64_t at) {
    for (int32_t b = 0; b < 8; b += 2) {
        for (int32_t i = 0; i < 8; i += 2) {
            const __m128d r0 = _mm_loadu_pd(reinterpret_cast<const double*>(lines[b] + 2 * i));
            const __m128d r1 = _mm_loadu_pd(reinterpret_cast<const double*>(lines[b + 1] + 2 * i));
            _mm_storeu_pd(reinterpret_cast<double*>(leaves[i] + 2 * (at + b)), _mm_unpacklo_pd(r0, r1));
            _mm_storeu_pd(reinterpret_cast<double*>(leaves[i + 1] + 2 * (at + b)), _mm_unpackhi_pd(r0, r1));
        }
    }
}

// A forward transform read from natural order: the 2^f rows (leaves) of
// 2^r points of the blocking, row rev_f(q) of the bit-reversed array
// holding source points q + 2^f m at place rev_r(m), are filled eight at
// a time, q0 to q0 + 7, so that each source cache line (the eight q of one
// m) is read once, and transformed at once while their 8 * 2^r points are
// in the first-level cache: the reversal costs no pass over memory of its
// own.  One side runs in order, the other jumps by the reversal: up to a
// source of 2 MB jumping reads cost less than jumping writes; beyond, reads
// in order let the prefetcher stream the source.  The leaves get the bits
// of the reversed copy.
constexpr int32_t kJumpingReadsUpTo = 18;  // log2 of points

template <bool Inv>
void leaves_from(const sigFftPlan* p, const float* src, float* data, int32_t r, int32_t f, float* work) {
    const int32_t n = 1 << r, rows = 1 << f;
    const bool jumping_reads = r + f <= kJumpingReadsUpTo;
    constexpr int32_t kMaxRun = 8;
    const int32_t run = rows < kMaxRun ? rows : kMaxRun;
    // Index 8a + b reversed: rev_(r-3)(a) + rev_3(b) n/8.
    const int32_t eighth = n / 8;
    const int32_t low[8] = {0, 4 * eighth, 2 * eighth, 6 * eighth, eighth, 5 * eighth, 3 * eighth, 7 * eighth};
    // ra := rev_(r-3)(a + 1) from rev_(r-3)(a), a reversed increment.
    const auto next_reversed = [eighth](int32_t ra) {
        int32_t bit = eighth >> 1;
        while (ra & bit) {
            ra ^= bit;
            bit >>= 1;
        }
        return ra | bit;
    };
    const auto in_class = fft_class_table().move8x8;
    const auto move = in_class ? in_class : move8x8;
    for (int32_t q0 = 0; q0 < rows; q0 += run) {
        float* leaf_at[kMaxRun];
        for (int32_t i = 0; i < run; ++i) leaf_at[i] = data + 2 * int64_t{n} * reverse_bits(q0 + i, f);
        const float* column = src + 2 * q0;
        const int64_t stride = 2 * int64_t{rows};
        // The source lines of a + kAhead are requested while a's are
        // copied: the reads miss the second-level cache from 2^15 points on.
        constexpr int32_t kAhead = 2;
        int32_t ahead = 0;
        for (int32_t i = 0; i < kAhead && i < eighth; ++i) ahead = next_reversed(ahead);
        for (int32_t a = 0, ra = 0; a < eighth; ++a) {
            if (a + kAhead < eighth) {
                for (int32_t b = 0; b < 8; ++b) {
                    const int64_t m = jumping_reads ? ahead + low[b] : 8 * (a + kAhead) + b;
                    _mm_prefetch(reinterpret_cast<const char*>(column + stride * m), _MM_HINT_T0);
                }
                ahead = next_reversed(ahead);
            }
            if (jumping_reads && run == kMaxRun) {
                // Eight source lines (m = ra + low[b]) of eight points each
                // (leaves 0..7) become eight runs of eight in-order points,
                // one per leaf.
                const float* line[8];
                for (int32_t b = 0; b < 8; ++b) line[b] = column + stride * (ra + low[b]);
                move(line, leaf_at, 8 * a);
                ra = next_reversed(ra);
                continue;
            }
            for (int32_t b = 0; b < 8; ++b) {
                const int64_t in_order = 8 * a + b, jumping = ra + low[b];
                const int64_t m = jumping_reads ? jumping : in_order, at = jumping_reads ? in_order : jumping;
                const float* from = column + stride * m;
                for (int32_t i = 0; i < run; ++i) std::memcpy(leaf_at[i] + 2 * at, from + 2 * i, 8);
            }
            ra = next_reversed(ra);
        }
        for (int32_t i = 0; i < run; ++i) leaf<Inv>(p, leaf_at[i], n, work, false);
    }
}

template <bool Inv>
void halving(const sigFftPlan* p, float* data, int32_t s, const float* tab, float* work, bool interleave) {
    if (s == kCoreMaxOrder) {
        leaf<Inv>(p, data, 1 << s, work, false);
        return;
    }
    const int64_t length = int64_t{1} << s;
    const float* next = tab + length / 2;  // the next smaller stage follows
    halving<Inv>(p, data, s - 1, next, work, false);
    halving<Inv>(p, data + length, s - 1, next, work, false);
    combine_halves<Inv>(data, length, tab, interleave);
}

// ---- blocked recursion ----------------------------------------------------

// Four adjacent columns (block cb of every row) times their gather factors,
// into work as four columns of (real, imaginary) pairs.
template <bool Inv>
void column_gather(const float* data, int64_t row_floats, int32_t rows, int64_t cb, const float* tw,
                   float* cols) {
    float* c0 = cols;
    float* c1 = cols + 2 * rows;
    float* c2 = cols + 4 * rows;
    float* c3 = cols + 6 * rows;
    const float* t = tw + cb * rows * 8;
    for (int32_t q = 0; q < rows; ++q) {
        const Cx4 v = twiddle<Inv>(loadu_block(data + q * row_floats + 8 * cb), _mm_load_ps(t + 8 * q),
                                   _mm_load_ps(t + 8 * q + 4));
        const __m128 lo = _mm_unpacklo_ps(v.re, v.im), hi = _mm_unpackhi_ps(v.re, v.im);
        _mm_storel_pi(reinterpret_cast<__m64*>(c0 + 2 * q), lo);
        _mm_storeh_pi(reinterpret_cast<__m64*>(c1 + 2 * q), lo);
        _mm_storel_pi(reinterpret_cast<__m64*>(c2 + 2 * q), hi);
        _mm_storeh_pi(reinterpret_cast<__m64*>(c3 + 2 * q), hi);
    }
}

// The four transformed columns (block layout in work) go back to their
// rows: as pairs at the top level, as blocks for the level above.
void column_scatter(float* data, int64_t row_floats, int32_t rows, int64_t cb, const float* cols,
                    bool pairs) {
    for (int32_t qb = 0; qb < rows / 4; ++qb) {
        __m128 r0 = _mm_load_ps(cols + 8 * qb), i0 = _mm_load_ps(cols + 8 * qb + 4);
        __m128 r1 = _mm_load_ps(cols + 2 * rows + 8 * qb), i1 = _mm_load_ps(cols + 2 * rows + 8 * qb + 4);
        __m128 r2 = _mm_load_ps(cols + 4 * rows + 8 * qb), i2 = _mm_load_ps(cols + 4 * rows + 8 * qb + 4);
        __m128 r3 = _mm_load_ps(cols + 6 * rows + 8 * qb), i3 = _mm_load_ps(cols + 6 * rows + 8 * qb + 4);
        _MM_TRANSPOSE4_PS(r0, r1, r2, r3);
        _MM_TRANSPOSE4_PS(i0, i1, i2, i3);
        const Cx4 v[4] = {{r0, i0}, {r1, i1}, {r2, i2}, {r3, i3}};
        for (int l = 0; l < 4; ++l) {
            float* out = data + (4 * qb + l) * row_floats + 8 * cb;
            if (pairs)
                storeu_pairs(out, v[l]);
            else
                storeu_block(out, v[l]);
        }
    }
}

// The column transforms of one blocking level: 2^f rows of 2^r points in
// data, transformed; the columns, times their gather factors, are
// transformed in work, four at a time, and go back as pairs (level 0) or
// as blocks.  A class with the wide column steps takes two blocks of four
// columns a sweep, the second through a buffer on this frame (at most
// 32 KB, never live across the recursion), so that each row's cache line
// is read and written whole; the bits are those of four at a time.
constexpr int32_t kMaxColumnOrder = 10;

template <bool Inv>
[[gnu::noinline]] void columns(const sigFftPlan* p, float* data, int32_t f, int32_t r, int32_t level,
                               float* work) {
    const int32_t rows = 1 << f;
    const int64_t blocks = (int64_t{1} << r) / 4;
    const int64_t row_floats = 8 * blocks;
    const float* col_tw = p->columnTwiddles[level];
    const float* gather_tw = p->gatherTwiddles[level];
    const bool pairs = level == 0;
    const FftClassTable& in_class = fft_class_table();
    const auto class_gather = in_class.column_gather[Inv ? 1 : 0];
    const auto class_scatter = in_class.column_scatter;
    const auto transform = [&](float* cols) {
        // The four columns lie one after the other in aligned work: one run
        // of the passes transforms them all.
        core_passes<Inv>(PairSource{cols, 0, 0}, cols, 4 * int64_t{rows}, f, col_tw);
    };
    if (class_gather && f <= kMaxColumnOrder) {
        alignas(64) float next[8 << kMaxColumnOrder];
        for (int64_t cb = 0; cb < blocks; cb += 2) {
            class_gather(data + 8 * cb, row_floats, rows, gather_tw + cb * rows * 8, work, next);
            transform(work);
            transform(next);
            class_scatter(data + 8 * cb, row_floats, rows, work, next, pairs);
        }
        return;
    }
    for (int64_t cb = 0; cb < blocks; ++cb) {
        if (class_gather)
            class_gather(data + 8 * cb, row_floats, rows, gather_tw + cb * rows * 8, work, nullptr);
        else
            column_gather<Inv>(data, row_floats, rows, cb, gather_tw, work);
        transform(work);
        if (class_scatter)
            class_scatter(data + 8 * cb, row_floats, rows, work, nullptr, pairs);
        else
            column_scatter(data, row_floats, rows, cb, work, pairs);
    }
}

// 2^k points as 2^f rows of C = 2^(k-f) points.  Row r holds the
// subsequence of index rev_f(r) (the whole array was bit-reversed), so its
// transform needs no reordering, and reading rows in natural order hands
// each column its input in bit-reversed order.  The gather factors
// w_(2^k)^(c rev_f(r)) join the two.  The level is a template argument
// bounded by kBlockingLevels, which fft_plan.cpp proves enough for every
// order, so the per-level tables are never indexed past their end.  With
// src (natural order, apart from data; sigFftReadsNatural(k)) the leaves
// read it through leaves_from instead of reversed data.
template <bool Inv, int32_t Level>
void blocked(const sigFftPlan* p, float* data, int32_t k, float* work, const float* src = nullptr) {
    static_assert(Level < kBlockingLevels);
    const int32_t f = sigFftBlocking(k);
    if (f == 0) {
        halving<Inv>(p, data, k, p->halvingTwiddles, work, Level == 0);
        return;
    }
    const int32_t r = k - f;
    const int32_t rows = 1 << f;
    const int64_t cols = int64_t{1} << r;
    const int64_t row_floats = 2 * cols;
    for (int32_t q = 0; q < rows && !src; ++q) {
        float* row = data + q * row_floats;
        if (r <= kCoreMaxOrder)
            leaf<Inv>(p, row, static_cast<int32_t>(cols), work, false);
        else if (sigFftBlocking(r) != 0) {
            if constexpr (Level + 1 < kBlockingLevels) blocked<Inv, Level + 1>(p, row, r, work);
        } else
            halving<Inv>(p, row, r, p->halvingTwiddles, work, false);
    }
    if (src) leaves_from<Inv>(p, src, data, r, f, work);
    columns<Inv>(p, data, f, r, Level, work);
}

// ---- reversal ---------------------------------------------------------------

// Complex point p = top * n/2 + 2 * mid + bottom goes to
// bottom * n/2 + 2 * rev(mid) + top.  For a table pair (4i, 4j) = (i, rev i)
// the four exchanges below cover the eight points of i and j; a
// self-reversed i needs only the cross exchange of its middle points, and
// has two fixed points (2i and n/2 + 2i + 1), which only a copy visits.
template <class Swap, class Fixed>
void walk_swap_table(int64_t n, const int32_t* table, Swap swap, Fixed fixed) {
    const int64_t half = n;  // float offset of the second half
    const int32_t* t = table;
    for (; t[0] != 0; t += 2) {
        const int64_t a = t[0], b = t[1];
        swap(a, b);
        swap(half + a + 2, half + b + 2);
        swap(a + 2, half + b);
        swap(b + 2, half + a);
    }
    // The pair list's closing 0 stands for index 0, self-reversed; then the
    // self-reversed list up to the final 0.
    do {
        const int64_t a = *t;
        swap(a + 2, half + a);
        fixed(a);
        fixed(half + a + 2);
        ++t;
    } while (*t != 0);
}

// From 2^14 points (in place) or 2^16 (copy) the partners of the swap
// table lie far enough apart to cost a cache miss or a line fill each.
// There the same permutation runs by tiles: with
// p = hi * n/16 + 16 mid + lo (hi, lo of 4 bits), the 256 points of one
// mid go to the 256 points of rev(mid), hi and lo exchanged and reversed,
// so each tile is sixteen runs of two whole cache lines, read once and
// written once.  The in-place limit is the lower: there the swap table's
// exchanges read and write both partners (measured on 2^14 and 2^15).  A
// class's tile exchange (4x4 transposes of 32-byte rows, in place without
// a copy) wins from 2^10 points either way (measured, AVX-512).
constexpr int64_t kTiledFrom = int64_t{1} << 16;         // points: 512 KB
constexpr int64_t kTiledInPlaceFrom = int64_t{1} << 14;  // points: 128 KB
constexpr int64_t kClassTiledFrom = int64_t{1} << 10;
constexpr int kTileBits = 4, kTile = 1 << kTileBits;

constexpr int rev4(int v) { return ((v & 1) << 3) | ((v & 2) << 1) | ((v & 4) >> 1) | ((v & 8) >> 3); }

void reverse_tiled(const float* src, float* dst, int64_t n, int32_t k) {
    const int32_t mid_bits = k - 2 * kTileBits;
    const int64_t row = n / kTile;  // complex points between hi values
    auto at = [row](int64_t h, int64_t m, int64_t l) { return 2 * (h * row + kTile * m + l); };
    uint64_t a[kTile][kTile], b[kTile][kTile];
    const auto in_class = fft_class_table().reverse_tiles;
    int64_t rm = 0;  // rev(m), carried along by a reversed increment
    for (int64_t m = 0; m < (int64_t{1} << mid_bits); ++m) {
        if (m > 0) {
            int64_t bit = int64_t{1} << (mid_bits - 1);
            while (rm & bit) {
                rm ^= bit;
                bit >>= 1;
            }
            rm |= bit;
        }
        if (rm < m) continue;
        if (in_class) {
            in_class(src, dst, 2 * row, 2 * kTile * m, 2 * kTile * rm);
            continue;
        }
        for (int h = 0; h < kTile; ++h) {
            std::memcpy(a[h], src + at(h, m, 0), 8 * kTile);
            std::memcpy(b[h], src + at(h, rm, 0), 8 * kTile);
        }
        // Row rev4(l) of a tile's destination takes column l of the
        // other tile, its point h at place rev4(h): rows h and h + 8
        // land side by side (rev4(h + 8) = rev4(h) + 1), so 2x2 blocks
        // of complex numbers go as two 16-byte stores.
        for (int h = 0; h < kTile / 2; ++h) {
            for (int l = 0; l < kTile; l += 2) {
                const auto move = [&](const uint64_t (*from)[kTile], int64_t to_mid) {
                    const __m128d r0 = _mm_loadu_pd(reinterpret_cast<const double*>(&from[h][l]));
                    const __m128d r1 = _mm_loadu_pd(reinterpret_cast<const double*>(&from[h + kTile / 2][l]));
                    _mm_storeu_pd(reinterpret_cast<double*>(dst + at(rev4(l), to_mid, rev4(h))),
                                  _mm_unpacklo_pd(r0, r1));
                    _mm_storeu_pd(reinterpret_cast<double*>(dst + at(rev4(l + 1), to_mid, rev4(h))),
                                  _mm_unpackhi_pd(r0, r1));
                };
                move(a, rm);
                move(b, m);
            }
        }
    }
}

}  // namespace

int64_t sigStageOffset(int32_t k, int32_t s) {
    int64_t off = 0;
    for (int32_t t = k % 2 + 4; t < s; t += 2) off += 3 * (int64_t{1} << t) / 2;
    return off;
}

int64_t sigStageTableFloats(int32_t k) { return sigStageOffset(k, k + 1); }

void sigCplxFftCore(float* data, int32_t n, const float* tw, float* work, bool interleave) {
    core<false>(data, n, tw, work, interleave);
}
void sigCplxIfftCore(float* data, int32_t n, const float* tw, float* work, bool interleave) {
    core<true>(data, n, tw, work, interleave);
}
void sigCplxFftReorderCore(const float* src, float* dst, int32_t n, const float* tw, const int32_t* table,
                           float* work) {
    reorder_core<false>(src, dst, n, tw, table, work);
}
void sigCplxIfftReorderCore(const float* src, float* dst, int32_t n, const float* tw, const int32_t* table,
                            float* work) {
    reorder_core<true>(src, dst, n, tw, table, work);
}

void sigFftBlockedForward(const sigFftPlan* plan, float* data, int32_t k, float* work) {
    blocked<false, 0>(plan, data, k, work);
}
void sigFftBlockedInverse(const sigFftPlan* plan, float* data, int32_t k, float* work) {
    blocked<true, 0>(plan, data, k, work);
}

// Below 2^13 points the reversed copy, in the second-level cache, costs
// less than the leaves' reads from natural order (measured); from 2^13 the
// reads, filling eight leaves by 8x8 transposes, cost less.
constexpr int32_t kNaturalFrom = 13;

bool sigFftReadsNatural(int32_t k) {
    const int32_t f = sigFftBlocking(k);
    return k >= kNaturalFrom && f != 0 && k - f <= kCoreMaxOrder;
}

void sigFftBlockedForwardFrom(const sigFftPlan* plan, const float* src, float* data, int32_t k, float* work) {
    blocked<false, 0>(plan, data, k, work, src);
}

void sigBitReverseInPlace(float* data, int64_t n, const int32_t* table) {
    if (n < 4) return;
    if (n >= (fft_class_table().reverse_tiles ? kClassTiledFrom : kTiledInPlaceFrom)) {
        reverse_tiled(data, data, n, log2_of(n));
        return;
    }
    if ((reinterpret_cast<std::uintptr_t>(data) & 7) == 0) {
        // Whole complex numbers as 64-bit words.
        walk_swap_table(n, table, [data](int64_t a, int64_t b) {
            double x, y;
            std::memcpy(&x, data + a, 8);
            std::memcpy(&y, data + b, 8);
            std::memcpy(data + a, &y, 8);
            std::memcpy(data + b, &x, 8);
        }, [](int64_t) {});
    } else {
        walk_swap_table(n, table, [data](int64_t a, int64_t b) {
            const float r = data[a], i = data[a + 1];
            data[a] = data[b];
            data[a + 1] = data[b + 1];
            data[b] = r;
            data[b + 1] = i;
        }, [](int64_t) {});
    }
}

void sigBitReverseCopy(const float* src, float* dst, int64_t n, const int32_t* table) {
    if (n < 4) {
        std::memcpy(dst, src, static_cast<std::size_t>(n) * 8);
        return;
    }
    if (n >= (fft_class_table().reverse_tiles ? kClassTiledFrom : kTiledFrom)) {
        reverse_tiled(src, dst, n, log2_of(n));
        return;
    }
    walk_swap_table(
        n, table,
        [src, dst](int64_t a, int64_t b) {
            std::memcpy(dst + a, src + b, 8);
            std::memcpy(dst + b, src + a, 8);
        },
        [src, dst](int64_t a) { std::memcpy(dst + a, src + a, 8); });
}

void sigScale32f(float scale, float* data, int64_t n) {
    // From the end toward the start: singly up to a 16-byte boundary, then
    // eight a pass, then the rest.
    int64_t i = n;
    while (i > 0 && !aligned16(data + i)) {
        --i;
        data[i] *= scale;
    }
    const __m128 s = _mm_set1_ps(scale);
    for (; i >= 8; i -= 8) {
        _mm_store_ps(data + i - 4, _mm_mul_ps(_mm_load_ps(data + i - 4), s));
        _mm_store_ps(data + i - 8, _mm_mul_ps(_mm_load_ps(data + i - 8), s));
    }
    while (i > 0) {
        --i;
        data[i] *= scale;
    }
}

void sigFillIndexTable(int32_t* table, int32_t k) {
    const int32_t bits = k - 2, count = 1 << bits;
    for (int32_t i = 0; i < count; ++i) {
        int32_t r = 0;
        for (int32_t b = 0; b < bits; ++b) r |= ((i >> b) & 1) << (bits - 1 - b);
        table[i] = 2 * r;
    }
    table[count] = 0;
}

void sigFillSwapTable(int32_t* table, int32_t k) {
    const int32_t bits = k - 2, count = 1 << bits;
    int32_t front = 0, back = count - 1;  // back: last entry before the final 0
    for (int32_t i = 1; i < count; ++i) {
        int32_t r = 0;
        for (int32_t b = 0; b < bits; ++b) r |= ((i >> b) & 1) << (bits - 1 - b);
        if (i < r) {
            table[front++] = 4 * i;
            table[front++] = 4 * r;
        } else if (i == r) {
            table[back--] = 4 * i;
        }
    }
    table[front] = 0;  // closes the pairs; front == back here
    table[count] = 0;
}

}  // namespace xeb::sig
