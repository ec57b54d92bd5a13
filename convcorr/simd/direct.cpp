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
};

// The sums of U N lanes.  Unmasked: every lane has `terms` terms per row.
// Masked (U = 1): lane g has count[g].
template <class T, class A, int N, int U, Lanes LF, Lanes LS, bool Masked>
void sum_block(const Block<T>& b, const Rows& rows, bool from_zero,
               simd::SVec<A, N> count, simd::Vec<A, N>* acc) {
    using VA = simd::Vec<A, N>;
    using MT = simd::MaskOf<T, N>;
    constexpr int B = static_cast<int>(sizeof(T));
    constexpr std::ptrdiff_t kVec = N;
    simd::MaskOf<A, N> live{};
    MT live_t{};
    bool fresh = !from_zero;
    if (from_zero)
        for (int u = 0; u < U; ++u) acc[u] = simd::broadcast<VA>(A(0));
    const T* fr = b.first;
    const T* sr = b.second;
    int64_t a[kBoxMaxRank] = {};
    for (;;) {
        for (int64_t t = 0; t < b.terms; ++t) {
            const T* ft = fr + t * b.first_term;
            const T* st = sr + t * b.second_term;
            if constexpr (Masked) {
                live = simd::compare<simd::Cmp::Gt>(count, static_cast<typename simd::Traits<decltype(count)>::Lane>(t));
                live_t = simd::resize<B>(live);
            }
            for (int u = 0; u < U; ++u) {
                const VA y = term<A, N, LS, Masked>(st + u * kVec * b.second_lane, b.second_lane, live_t);
                const VA x = term<A, N, LF, Masked>(ft + u * kVec * b.first_lane, b.first_lane, live_t);
                const VA product = y * x;
                if (fresh) acc[u] = product;  // every lane has its first term at t = 0
                else if constexpr (Masked) acc[u] = simd::select(live, acc[u] + product, acc[u]);
                else acc[u] = acc[u] + product;
            }
            fresh = false;
        }
        // The next row of the box, dimension 1 fastest.
        int d = 1;
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
        if (d >= rows.rank) return;
    }
}

template <class T, class A, int N, int U, bool Masked>
using BlockFn = void (*)(const Block<T>&, const Rows&, bool, simd::SVec<A, N>, simd::Vec<A, N>*);

template <class T, class A, int N, int U, bool Masked>
BlockFn<T, A, N, U, Masked> block_fn(Lanes f, Lanes s) {
    using L = Lanes;
    static constexpr BlockFn<T, A, N, U, Masked> fns[3][3] = {
        {sum_block<T, A, N, U, L::Same, L::Same, Masked>, sum_block<T, A, N, U, L::Same, L::Consecutive, Masked>,
         sum_block<T, A, N, U, L::Same, L::Strided, Masked>},
        {sum_block<T, A, N, U, L::Consecutive, L::Same, Masked>,
         sum_block<T, A, N, U, L::Consecutive, L::Consecutive, Masked>,
         sum_block<T, A, N, U, L::Consecutive, L::Strided, Masked>},
        {sum_block<T, A, N, U, L::Strided, L::Same, Masked>, sum_block<T, A, N, U, L::Strided, L::Consecutive, Masked>,
         sum_block<T, A, N, U, L::Strided, L::Strided, Masked>}};
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

// Stores lanes 0 .. k-1 of acc, rounded to T, at z + g step.
template <class T, class A, int N>
void store_lanes(simd::Vec<A, N> acc, int k, T* z, std::ptrdiff_t step) {
    simd::Vec<T, N> v;
    if constexpr (std::is_same_v<A, T>) v = acc;
    else v = simd::convert<T>(acc);
    if (k == N && step == 1) {
        simd::store(z, v);
        return;
    }
    for (int g = 0; g < k; ++g) z[g * step] = simd::lane(v, g);
}

template <class T, class A>
bool box_sums(const BoxSum<T>& b) {
    constexpr int N = simd::kNative<A>;
    constexpr int U = 4;
    using VA = simd::Vec<A, N>;
    using SA = simd::SVec<A, N>;
    using CountLane = typename simd::Traits<SA>::Lane;
    const bool conv = b.job == Job::Conv;
    const int rank = b.rank;

    Rows rows{};
    rows.rank = rank;
    int64_t j[kBoxMaxRank] = {};
    const int64_t nf0 = b.nf[0], ns0 = b.ns[0], dec0 = b.dec[0];
    const std::ptrdiff_t second_term = conv ? -b.ss[0] : b.ss[0];
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
                if (slope == 0 && (ns0 - 1 - p0) / dec0 + 1 < room) room = (ns0 - 1 - p0) / dec0 + 1;
            } else {
                slope = p0 >= 0 ? 0 : -dec0;
                if (slope != 0 && -p0 / dec0 + 1 < room) room = -p0 / dec0 + 1;
            }
            const Span s0 = span_of(b.job, p0, nf0, ns0);
            Block<T> blk;
            blk.first = first + s0.lo * b.sf[0];
            blk.second = second + s0.second * b.ss[0];
            blk.first_lane = slope * b.sf[0];
            blk.second_lane = (conv ? dec0 - slope : dec0 + slope) * b.ss[0];
            blk.first_term = b.sf[0];
            blk.second_term = second_term;
            const Lanes lf = lanes_for(blk.first_lane), ls = lanes_for(blk.second_lane);
            const SA no_counts{};
            T* zj = z + j0 * b.sz[0];
            if (room >= U * N &&
                span_of(b.job, p0 + (U * N - 1) * dec0, nf0, ns0).count == s0.count) {
                VA acc[U];
                blk.terms = s0.count;
                block_fn<T, A, N, U, false>(lf, ls)(blk, rows, b.from_zero, no_counts, acc);
                for (int u = 0; u < U; ++u) store_lanes<T, A, N>(acc[u], N, zj + u * N * b.sz[0], b.sz[0]);
                j0 += U * N;
                continue;
            }
            const int k = room < N ? static_cast<int>(room) : N;
            const Span sk = span_of(b.job, p0 + (k - 1) * dec0, nf0, ns0);
            VA acc[1];
            if (k == N && sk.count == s0.count) {
                blk.terms = s0.count;
                block_fn<T, A, N, 1, false>(lf, ls)(blk, rows, b.from_zero, no_counts, acc);
            } else {
                CountLane counts[N] = {};
                int64_t most = 0;
                for (int g = 0; g < k; ++g) {
                    const int64_t c = span_of(b.job, p0 + g * dec0, nf0, ns0).count;
                    counts[g] = static_cast<CountLane>(c);
                    most = c > most ? c : most;
                }
                blk.terms = most;
                block_fn<T, A, N, 1, true>(lf, ls)(blk, rows, b.from_zero,
                                                   simd::from_lanes<SA>(counts), acc);
            }
            store_lanes<T, A, N>(acc[0], k, zj, b.sz[0]);
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
