// Direct convolution and correlation of any rank in a SIMD class: the
// outputs of a stretch along dimension 0 in the lanes of a vector, each
// lane the running sum of one output.
//
// Every lane runs its output's terms in the baseline's order (the box in
// odometer order, dimension 0 fastest, ascending), products rounded
// before the addition (no fused multiply-add), the sum in the baseline's
// precision (single for SS, double for SD and DD; see
// convcorr/direct_table.h for when double sums are the x87 ones) and
// starting where the baseline starts it (0 in one dimension, the first
// product in any rank).  Lanes never mix, so each output has the
// baseline's bits and so its error budget (convcorr/direct_1d.cpp,
// convcorr/direct_all.cpp): below (m+1) ulp for m terms of one sign in
// single, 0.5 + m 2^-29 ulp for SD, (m+1)(1 + 2^-10) ulp for DD.
//
// Lane geometry.  Along dimension 0 the box of output p starts at
// lo(p) = max(p - ns + 1, 0) (Conv) or max(-p, 0) (Corr), which moves by
// a fixed slope (0 or +-decimation) per output on either side of one
// break; a block of lanes never straddles that break.  Lane g's first
// term then lies at a fixed step from lane 0's in each operand (0: one
// element for all lanes, broadcast; 1: consecutive elements, one load;
// other strides: gathered lane by lane into a dense buffer), and so does
// each later term.  The box's far end may move otherwise, so lanes can
// have different counts of terms: where they do, a lane adds a term only
// while it has terms left, and masked loads read nothing for lanes
// that have none.  Four vectors of lanes run together where their counts
// are all equal, so that the additions of one term overlap in time.
#include "convcorr/direct_table.h"
#include "frame/simd.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

using convcorr::BoxSum;
using convcorr::Job;
using convcorr::kBoxMaxRank;

// No <algorithm> here: its inline templates would be emitted outside the
// class's namespace.
constexpr int64_t lesser(int64_t a, int64_t b) { return a < b ? a : b; }
constexpr int64_t greater(int64_t a, int64_t b) { return a < b ? b : a; }

// How the lanes of one operand lie for one term.
enum class Lanes { Same, Consecutive, Strided };

constexpr Lanes lanes_for(std::ptrdiff_t step) {
    return step == 0 ? Lanes::Same : step == 1 ? Lanes::Consecutive : Lanes::Strided;
}

// Term t of lanes whose element g lies at p + g step, in sum precision A;
// under Masked only lanes set in m are read (the others give 0).
template <class A, int N, Lanes L, bool Masked, class T>
[[gnu::always_inline]] inline simd::Vec<A, N> term(const T* p, std::ptrdiff_t step,
                                                   simd::MaskOf<T, N> m) {
    using VT = simd::Vec<T, N>;
    VT v;
    if constexpr (L == Lanes::Same) {
        v = simd::broadcast<VT>(*p);  // some lane has this term, so it exists
    } else if constexpr (L == Lanes::Consecutive) {
        if constexpr (Masked) v = simd::load_masked<VT>(p, m);
        else v = simd::load<VT>(p);
    } else {
        T dense[N];
        const unsigned live = Masked ? simd::bits(m) : (1u << N) - 1;
        for (int g = 0; g < N; ++g) dense[g] = (live >> g & 1u) != 0 ? p[g * step] : T(0);
        v = simd::from_lanes<VT>(dense);
    }
    if constexpr (std::is_same_v<A, T>) return v;
    else return simd::convert<A>(v);
}

// The rows of the box in dimensions 1 and up (the same for every lane):
// count of each, and the steps of the two operands from one to the next.
struct Rows {
    int rank;
    int64_t count[kBoxMaxRank];
    std::ptrdiff_t first_step[kBoxMaxRank], second_step[kBoxMaxRank];
};

// Where a block's lanes start and how they step.
template <class T>
struct Block {
    const T* first;   // lane 0's first term
    const T* second;
    std::ptrdiff_t first_lane, second_lane;  // from lane g to lane g+1
    std::ptrdiff_t first_term, second_term;  // from term t to t+1 along dimension 0
    int64_t terms;                            // most terms of any lane along dimension 0
    T* z;                                     // lane 0's output
    std::ptrdiff_t z_lane;
};

// Stores lanes 0 .. k-1 of acc, rounded to T, at z + g step.
template <class T, class A, int N>
[[gnu::always_inline]] inline void store_lanes(simd::Vec<A, N> acc, int k, T* z, std::ptrdiff_t step) {
    simd::Vec<T, N> v;
    if constexpr (std::is_same_v<A, T>) v = acc;
    else v = simd::convert<T>(acc);
    if (k == N && step == 1) {
        simd::store(z, v);
        return;
    }
    for (int g = 0; g < k; ++g) z[g * step] = simd::lane(v, g);
}

// The outputs of `blocks` consecutive blocks of U N lanes, stored.
// Unmasked: every lane has `terms` terms per row.  Masked (U = 1, one
// block): lane g has count[g], and lanes from k on are not stored.
template <class T, class A, int N, int U, Lanes LF, Lanes LS, bool Masked>
void sum_blocks(Block<T> b, const Rows& rows, bool from_zero, simd::SVec<A, N> count, int64_t blocks, int k) {
    using VA = simd::Vec<A, N>;
    using MT = simd::MaskOf<T, N>;
    constexpr int B = static_cast<int>(sizeof(T));
    constexpr std::ptrdiff_t kVec = N;
    // Lanes with term t left (every lane that has any has term 0).
    auto live_at = [&](int64_t t) {
        if constexpr (Masked)
            return simd::compare<simd::Cmp::Gt>(count, static_cast<typename simd::Traits<simd::SVec<A, N>>::Lane>(t));
        else return simd::MaskOf<A, N>{};
    };
    auto product = [&](const T* ft, const T* st, int u, simd::MaskOf<A, N> live) {
        const MT live_t = simd::resize<B>(live);
        // Lanes::Same: the lane step is 0, and one element serves every vector.
        const std::ptrdiff_t ds = LS == Lanes::Same ? 0 : u * kVec * b.second_lane;
        const std::ptrdiff_t df = LF == Lanes::Same ? 0 : u * kVec * b.first_lane;
        const VA y = term<A, N, LS, Masked>(st + ds, b.second_lane, live_t);
        const VA x = term<A, N, LF, Masked>(ft + df, b.first_lane, live_t);
        return y * x;
    };
    for (; blocks > 0; --blocks) {
        VA acc[U];
        const T* fr = b.first;
        const T* sr = b.second;
        int64_t t0 = 0;
        if (from_zero) {
#pragma GCC unroll 4
            for (int u = 0; u < U; ++u) acc[u] = simd::broadcast<VA>(A(0));
        } else {
            const auto live = live_at(0);
#pragma GCC unroll 4
            for (int u = 0; u < U; ++u) acc[u] = product(fr, sr, u, live);
            t0 = 1;
        }
        // Rows of the box: dimension 1 in a plain loop, the others by odometer.
        const int64_t rows1 = rows.rank > 1 ? rows.count[1] : 1;
        const std::ptrdiff_t f1 = rows.rank > 1 ? rows.first_step[1] : 0;
        const std::ptrdiff_t s1 = rows.rank > 1 ? rows.second_step[1] : 0;
        int64_t a[kBoxMaxRank] = {};
        for (;;) {
            const T* fr1 = fr;
            const T* sr1 = sr;
            for (int64_t r = 0; r < rows1; ++r, fr1 += f1, sr1 += s1) {
                const T* ft = fr1 + t0 * b.first_term;
                const T* st = sr1 + t0 * b.second_term;
                for (int64_t t = t0; t < b.terms; ++t, ft += b.first_term, st += b.second_term) {
                    const auto live = live_at(t);
#pragma GCC unroll 4
                    for (int u = 0; u < U; ++u) {
                        if constexpr (Masked) acc[u] = simd::select(live, acc[u] + product(ft, st, u, live), acc[u]);
                        else acc[u] = acc[u] + product(ft, st, u, live);
                    }
                }
                t0 = 0;
            }
            // The next row of dimensions 2 and up.
            int d = 2;
            for (; d < rows.rank; ++d) {
                if (++a[d] < rows.count[d]) {
                    fr += rows.first_step[d];
                    sr += rows.second_step[d];
                    break;
                }
                fr -= (rows.count[d] - 1) * rows.first_step[d];
                sr -= (rows.count[d] - 1) * rows.second_step[d];
                a[d] = 0;
            }
            if (d >= rows.rank) break;
        }
#pragma GCC unroll 4
        for (int u = 0; u < U; ++u) store_lanes<T, A, N>(acc[u], k, b.z + u * kVec * b.z_lane, b.z_lane);
        b.first += U * kVec * b.first_lane;
        b.second += U * kVec * b.second_lane;
        b.z += U * kVec * b.z_lane;
    }
}

template <class T, class A, int N, int U, bool Masked>
using BlockFn = void (*)(Block<T>, const Rows&, bool, simd::SVec<A, N>, int64_t, int);

template <class T, class A, int N, int U, bool Masked>
BlockFn<T, A, N, U, Masked> block_fn(Lanes f, Lanes s) {
    using L = Lanes;
    static constexpr BlockFn<T, A, N, U, Masked> fns[3][3] = {
        {sum_blocks<T, A, N, U, L::Same, L::Same, Masked>, sum_blocks<T, A, N, U, L::Same, L::Consecutive, Masked>,
         sum_blocks<T, A, N, U, L::Same, L::Strided, Masked>},
        {sum_blocks<T, A, N, U, L::Consecutive, L::Same, Masked>,
         sum_blocks<T, A, N, U, L::Consecutive, L::Consecutive, Masked>,
         sum_blocks<T, A, N, U, L::Consecutive, L::Strided, Masked>},
        {sum_blocks<T, A, N, U, L::Strided, L::Same, Masked>, sum_blocks<T, A, N, U, L::Strided, L::Consecutive, Masked>,
         sum_blocks<T, A, N, U, L::Strided, L::Strided, Masked>}};
    return fns[static_cast<int>(f)][static_cast<int>(s)];
}

// The box of output p in one dimension: first index lo, count, and the
// second operand's index at lo.
struct Span {
    int64_t lo, count, second;
};
inline Span span_of(Job job, int64_t p, int64_t nf, int64_t ns) {
    if (job == Job::Conv) {
        const int64_t lo = p - ns + 1 > 0 ? p - ns + 1 : 0;
        const int64_t hi = nf - 1 < p ? nf - 1 : p;
        return {lo, hi >= lo ? hi - lo + 1 : 0, p - lo};
    }
    const int64_t lo = -p > 0 ? -p : 0;
    const int64_t hi = nf - 1 < ns - p - 1 ? nf - 1 : ns - p - 1;
    return {lo, hi >= lo ? hi - lo + 1 : 0, p + lo};
}

// Positions p along a dimension whose boxes all have the same count and
// move by a fixed slope: between the two breaks of the box's ends.
struct Interior {
    int64_t lo, hi;
};
inline Interior interior_of(Job job, int64_t nf, int64_t ns) {
    if (job == Job::Conv) return {lesser(nf, ns) - 1, greater(nf, ns) - 1};
    return {lesser(0, ns - nf), greater(0, ns - nf)};
}

template <class T, class A>
bool box_sums(const BoxSum<T>& b) {
    constexpr int N = simd::kNative<A>;
    constexpr int U = 4;
    using SA = simd::SVec<A, N>;
    using CountLane = typename simd::Traits<SA>::Lane;
    const bool conv = b.job == Job::Conv;
    const int rank = b.rank;

    Rows rows{};
    rows.rank = rank;
    int64_t j[kBoxMaxRank] = {};
    const int64_t nf0 = b.nf[0], ns0 = b.ns[0], dec0 = b.dec[0];
    const Interior inside = interior_of(b.job, nf0, ns0);
    for (;;) {
        // The output row j[1..]: its box in dimensions 1 and up.
        const T* first = b.first;
        const T* second = b.second;
        T* z = b.z;
        for (int d = 1; d < rank; ++d) {
            const Span sp = span_of(b.job, b.start[d] + j[d] * b.dec[d], b.nf[d], b.ns[d]);
            rows.count[d] = sp.count;
            rows.first_step[d] = b.sf[d];
            rows.second_step[d] = conv ? -b.ss[d] : b.ss[d];
            first += sp.lo * b.sf[d];
            second += sp.second * b.ss[d];
            z += j[d] * b.sz[d];
        }
        // Blocks along dimension 0.
        for (int64_t j0 = 0; j0 < b.nz[0];) {
            const int64_t p0 = b.start[0] + j0 * dec0;
            // Lanes on lane 0's side of the break of lo.
            int64_t room = b.nz[0] - j0;
            int64_t slope;
            if (conv) {
                slope = p0 >= ns0 - 1 ? dec0 : 0;
                if (slope == 0) room = lesser(room, (ns0 - 1 - p0) / dec0 + 1);
            } else {
                slope = p0 >= 0 ? 0 : -dec0;
                if (slope != 0) room = lesser(room, -p0 / dec0 + 1);
            }
            const Span s0 = span_of(b.job, p0, nf0, ns0);
            Block<T> blk;
            blk.first = first + s0.lo * b.sf[0];
            blk.second = second + s0.second * b.ss[0];
            blk.first_lane = slope * b.sf[0];
            blk.second_lane = (conv ? dec0 - slope : dec0 + slope) * b.ss[0];
            blk.first_term = b.sf[0];
            blk.second_term = conv ? -b.ss[0] : b.ss[0];
            blk.z = z + j0 * b.sz[0];
            blk.z_lane = b.sz[0];
            const Lanes lf = lanes_for(blk.first_lane), ls = lanes_for(blk.second_lane);
            // Whole blocks of four vectors inside the interior.
            const int64_t interior = p0 >= inside.lo && p0 <= inside.hi ? (inside.hi - p0) / dec0 + 1 : 0;
            const int64_t blocks = lesser(room, interior) / (U * N);
            if (blocks > 0) {
                blk.terms = s0.count;
                block_fn<T, A, N, U, false>(lf, ls)(blk, rows, b.from_zero, SA{}, blocks, N);
                j0 += blocks * U * N;
                continue;
            }
            const int k = room < N ? static_cast<int>(room) : N;
            if (k == N && lesser(room, interior) >= N) {
                blk.terms = s0.count;
                block_fn<T, A, N, 1, false>(lf, ls)(blk, rows, b.from_zero, SA{}, 1, N);
            } else {
                CountLane counts[N] = {};
                int64_t most = 0;
                for (int g = 0; g < k; ++g) {
                    const int64_t c = span_of(b.job, p0 + g * dec0, nf0, ns0).count;
                    counts[g] = static_cast<CountLane>(c);
                    most = greater(c, most);
                }
                blk.terms = most;
                block_fn<T, A, N, 1, true>(lf, ls)(blk, rows, b.from_zero, simd::from_lanes<SA>(counts), 1, k);
            }
            j0 += k;
        }
        // The next output row, dimension 1 fastest.
        int d = 1;
        for (; d < rank; ++d) {
            if (++j[d] < b.nz[d]) break;
            j[d] = 0;
        }
        if (d >= rank) return true;
    }
}

}  // namespace

void fill_direct_table(convcorr::DirectTable& t) {
    t.ss = box_sums<float, float>;
    t.sd = box_sums<float, double>;
    t.dd = box_sums<double, double>;
}

}  // namespace XEB_ISA
}  // namespace xeb
