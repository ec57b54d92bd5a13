// Plans of the real FFT: scaling, reversal tables, twiddle tables and the
// work size, built once per order.
//
// Every twiddle is read from one temporary sine table of N/4 + 1 entries,
// entry i = sin(2 pi i / N) rounded once to float: sin(i 2pi/N) up to N/8
// and cos((N/4 - i) 2pi/N) above, so both ends keep full relative accuracy.
// Later tables take entries by index, quadrant and sign, so every stored
// cos/sin is the float nearest its double value (error at most 2^-25
// absolute), whatever the transform size.
#include <cmath>
#include <cstring>

#include "signal/fft_core.h"

namespace xeb::sig {
namespace {

constexpr double kTwoPi = 6.283185307179586;

// Column order by complex order k; 0 means no split (halving from 2^10).
constexpr int8_t kBlocking[31] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // k 0..10
    0, 0, 5, 6, 7,                    // k 11..15
    8, 8, 8,                          // k 16..18
    10, 10, 10, 10,                   // k 19..22
    8, 8,                             // k 23, 24
    10, 10, 10, 10, 10, 10,           // k 25..30
};

constexpr int64_t round_up16(int64_t b) { return (b + 15) & ~int64_t{15}; }
constexpr int64_t round_down16(int64_t b) { return b & ~int64_t{15}; }

// Bytes reserved for the stage table of order r inside a block.
constexpr int64_t stage_bytes(int32_t r) { return round_down16(8 * (int64_t{1} << r) + 23); }
// Stage twiddles of 2^10 points and 16 of alignment.
constexpr int64_t kHalvingBase = 8208;
constexpr int32_t kLeafWork = 8192;
constexpr int64_t swap_table_bytes(int32_t f) { return round_up16(4 * ((int64_t{1} << (f - 2)) + 1)); }

struct SineTable {
    const float* s;
    int32_t order;
    int64_t quarter;  // N/4, a power of two
    // cos and sin of 2 pi m / 2^bits, 0 <= m < 2^bits <= N.
    void unit(int64_t m, int32_t bits, float& c, float& sn) const {
        const int64_t mm = m << (order - bits);
        const int64_t q = mm >> (order - 2), r = mm & (quarter - 1);
        switch (q & 3) {
            case 0: c = s[quarter - r]; sn = s[r]; break;
            case 1: c = -s[r]; sn = s[quarter - r]; break;
            case 2: c = -s[quarter - r]; sn = -s[r]; break;
            default: c = s[r]; sn = -s[quarter - r]; break;
        }
    }
};

void fill_sine(float* s, int32_t order) {
    const int64_t n = int64_t{1} << order, quarter = n / 4;
    for (int64_t i = 0; i <= quarter; ++i) {
        s[i] = i <= n / 8 ? static_cast<float>(std::sin(static_cast<double>(i) * kTwoPi / static_cast<double>(n)))
                          : static_cast<float>(std::cos(static_cast<double>(quarter - i) * kTwoPi /
                                                        static_cast<double>(n)));
    }
}

// Stage twiddles of a complex transform of 2^k points (layout in fft_core.h).
void fill_stages(float* out, int32_t k, const SineTable& st) {
    for (int32_t s = k % 2 + 4; s <= k; s += 2) {
        float* tab = out + sigStageOffset(k, s);
        for (int64_t j = 0; j < (int64_t{1} << s) / 4; ++j) {
            float* g = tab + 24 * (j / 4) + j % 4;
            for (int32_t t = 1; t <= 3; ++t) {
                float c, sn;
                st.unit(t * j, s, c, sn);
                g[8 * (t - 1)] = c;
                g[8 * (t - 1) + 4] = -sn;
            }
        }
    }
}

// w^j = exp(-2 pi i j / 2^s) for j < 2^s/4, blocks of four, for s from k
// down to 11, each stage right behind the larger.
void fill_halving(float* out, int32_t k, const SineTable& st) {
    for (int32_t s = k; s > 10; --s) {
        const int64_t count = (int64_t{1} << s) / 4;
        for (int64_t j = 0; j < count; ++j) {
            float c, sn;
            st.unit(j, s, c, sn);
            out[8 * (j / 4) + j % 4] = c;
            out[8 * (j / 4) + 4 + j % 4] = -sn;
        }
        out += 2 * count;
    }
}

constexpr int32_t blocking(int32_t k) { return k >= 0 && k <= 30 ? kBlocking[k] : 0; }

// Levels that index the per-level tables for 2^k points: rows of more than
// 2^10 points that split again nest one level deeper.
constexpr int32_t blocking_depth(int32_t k) {
    const int32_t f = blocking(k);
    if (f == 0) return 0;
    return 1 + (k - f > 10 ? blocking_depth(k - f) : 0);
}
constexpr int32_t deepest_blocking() {
    int32_t deepest = 0;
    for (int32_t k = 0; k < static_cast<int32_t>(sizeof kBlocking); ++k)
        if (blocking_depth(k) > deepest) deepest = blocking_depth(k);
    return deepest;
}
static_assert(deepest_blocking() <= kBlockingLevels, "the plan's per-level tables are too few");

// Block, temporary and work bytes of the complex part of 2^k points, k >= 11.
sigFftPlanSizes sizes_for(int32_t k) {
    const int32_t f = blocking(k);
    if (f == 0) return {round_up16((int64_t{1} << k) / 2 * 8) + kHalvingBase, 0, kLeafWork, 0};
    const int32_t r = k - f;
    sigFftPlanSizes in;
    if (r > 10)
        in = sizes_for(r);
    else
        in = {stage_bytes(r), 0, static_cast<int32_t>(round_up16(8 * (int64_t{1} << r))), 0};
    in.blockBytes += 8 * (int64_t{1} << k) + stage_bytes(f);
    in.tempBytes += 32 * (int64_t{1} << f) + swap_table_bytes(f);
    const int32_t col_work = 32 << f;
    if (in.workBytes < col_work) in.workBytes = col_work;
    in.levels += 1;
    return in;
}

// Gather factors of one level: for column c and row r the factor
// exp(-2 pi i c rev_f(r) / 2^k), in groups of four columns woven row by row
// into blocks (four real parts, four imaginary parts).  Each column is
// built in natural row order in temp and put in bit-reversed row order by
// the same reversal the transforms use.
void fill_gather(float* out, int32_t k, int32_t f, const SineTable& st, float* temp) {
    const int32_t rows = 1 << f;
    int32_t* swap = reinterpret_cast<int32_t*>(temp);
    float* cols = temp + swap_table_bytes(f) / 4;
    sigFillSwapTable(swap, f);
    const int64_t columns = int64_t{1} << (k - f);
    const int64_t mask = (int64_t{1} << k) - 1;
    for (int64_t c0 = 0; c0 < columns; c0 += 4) {
        for (int32_t l = 0; l < 4; ++l) {
            float* col = cols + 2 * rows * l;
            for (int32_t r = 0; r < rows; ++r) {
                float c, sn;
                st.unit(((c0 + l) * r) & mask, k, c, sn);
                col[2 * r] = c;
                col[2 * r + 1] = -sn;
            }
            sigBitReverseInPlace(col, rows, swap);
        }
        float* g = out + c0 * rows * 2;
        for (int32_t r = 0; r < rows; ++r)
            for (int32_t l = 0; l < 4; ++l) {
                g[8 * r + l] = cols[2 * rows * l + 2 * r];
                g[8 * r + 4 + l] = cols[2 * rows * l + 2 * r + 1];
            }
    }
}

// Lays out the block of a length of 2^k points, innermost rows first; returns
// the floats used.
int64_t build_level(sigFftPlan* p, float* block, int32_t k, int32_t level, const SineTable& st, float* temp) {
    const int32_t f = blocking(k);
    if (f == 0) {
        fill_stages(block, 10, st);
        p->halvingTwiddles = block + kHalvingBase / 4;
        fill_halving(p->halvingTwiddles, k, st);
        if (p->workBytes < kLeafWork) p->workBytes = kLeafWork;
        return (round_up16((int64_t{1} << k) / 2 * 8) + kHalvingBase) / 4;
    }
    const int32_t r = k - f;
    int64_t used;
    if (r > 10) {
        used = build_level(p, block, r, level + 1, st, temp);
    } else {
        fill_stages(block, r, st);
        used = stage_bytes(r) / 4;
        const auto row_work = static_cast<int32_t>(round_up16(8 * (int64_t{1} << r)));
        if (p->workBytes < row_work) p->workBytes = row_work;
    }
    p->columnTwiddles[level] = block + used;
    fill_stages(p->columnTwiddles[level], f, st);
    used += stage_bytes(f) / 4;
    p->gatherTwiddles[level] = block + used;
    fill_gather(p->gatherTwiddles[level], k, f, st, temp);
    used += 2 * (int64_t{1} << k);
    if (p->workBytes < (32 << f)) p->workBytes = 32 << f;
    return used;
}

void release(sigFftPlan* p) {
    p->id = 0;
    if (p->owned != 1) return;
    sigFree(p->reverseTable);
    sigFree(p->twiddles);
    sigFree(p->realForward);
    sigFree(p->realInverse);
    sigFree(p);
}

// The complex part of a plan for 2^k points, k >= 3.
int32_t build_complex(sigFftPlan* p, int32_t k, const SineTable& st) {
    p->reverseTable = static_cast<int32_t*>(sigAllocBytes(round_up16(4 * ((int64_t{1} << (k - 2)) + 1))));
    if (!p->reverseTable) return SIG_ERR_MEMORY;
    if (k <= 9)
        sigFillIndexTable(p->reverseTable, k);
    else
        sigFillSwapTable(p->reverseTable, k);
    if (k <= 10) {
        const int64_t bytes = round_up16(4 * sigStageTableFloats(k));
        p->twiddles = static_cast<float*>(sigAllocBytes(bytes > 0 ? bytes : 16));
        if (!p->twiddles) return SIG_ERR_MEMORY;
        fill_stages(p->twiddles, k, st);
        p->workBytes = static_cast<int32_t>(round_up16(8 * (int64_t{1} << k)));
        return SIG_OK;
    }
    const sigFftPlanSizes z = sizes_for(k);
    p->twiddles = static_cast<float*>(sigAllocBytes(z.blockBytes));
    if (!p->twiddles) return SIG_ERR_MEMORY;
    float* temp = nullptr;
    if (z.tempBytes > 0) {
        temp = static_cast<float*>(sigAllocBytes(z.tempBytes));
        if (!temp) return SIG_ERR_MEMORY;
    }
    build_level(p, p->twiddles, k, 0, st, temp);
    sigFree(temp);
    return SIG_OK;
}

// Split tables for N = 2^order, groups of four k' from 1 to N/4:
// forward 0.5 cos and 0.5 - 0.5 sin, inverse cos and -sin, of 2 pi k'/N.
int32_t build_split(sigFftPlan* p, int32_t order, const SineTable& st) {
    const int64_t quarter = (int64_t{1} << order) / 4;
    p->realForward = sigAlloc32f(2 * quarter);
    if (!p->realForward) return SIG_ERR_MEMORY;
    p->realInverse = sigAlloc32f(2 * quarter);
    if (!p->realInverse) return SIG_ERR_MEMORY;
    for (int64_t kk = 1; kk <= quarter; ++kk) {
        float c, sn;
        st.unit(kk, order, c, sn);
        const int64_t at = 8 * ((kk - 1) / 4) + (kk - 1) % 4;
        p->realForward[at] = 0.5f * c;
        p->realForward[at + 4] = 0.5f - 0.5f * sn;
        p->realInverse[at] = c;
        p->realInverse[at + 4] = -sn;
    }
    return SIG_OK;
}

}  // namespace

int32_t sigFftBlocking(int32_t k) { return blocking(k); }

sigFftPlanSizes sigFftPlanSizesFor(int32_t order) {
    if (order < 4 || order > kMaxOrder) return {0, 0, 0, 0};
    const int32_t k = order - 1;
    if (k <= 10)
        return {round_up16(4 * sigStageTableFloats(k)), 0,
                static_cast<int32_t>(round_up16(8 * (int64_t{1} << k))), 0};
    return sizes_for(k);
}

int32_t sigFftPlanInit(sigFftPlan** out, int32_t order, int32_t flag, int32_t hint) {
    if (!out) return SIG_ERR_NULL;
    if (order < 0 || order > kMaxOrder) return SIG_ERR_ORDER;
    auto* p = static_cast<sigFftPlan*>(sigAllocBytes(sizeof(sigFftPlan)));
    if (!p) return SIG_ERR_MEMORY;
    std::memset(p, 0, sizeof *p);
    p->id = SIG_PLAN_ID;
    p->order = order;
    p->hint = hint;
    p->owned = 1;
    const double n = std::ldexp(1.0, order);
    switch (flag) {
        case SIG_SCALE_NONE: break;
        case SIG_SCALE_BOTH_ROOT:
            p->scaleForward = p->scaleInverse = 1;
            p->scale = static_cast<float>(1.0 / std::sqrt(n));
            break;
        case SIG_SCALE_FORWARD:
            p->scaleForward = 1;
            p->scale = static_cast<float>(1.0 / n);
            break;
        case SIG_SCALE_INVERSE:
            p->scaleInverse = 1;
            p->scale = static_cast<float>(1.0 / n);
            break;
        default: release(p); return SIG_ERR_FLAG;
    }
    if (order < 4) {  // straight-line transforms, no tables
        *out = p;
        return SIG_OK;
    }
    float* sine = sigAlloc32f((int64_t{1} << order) / 4 + 1);
    if (!sine) {
        release(p);
        return SIG_ERR_MEMORY;
    }
    fill_sine(sine, order);
    const SineTable st{sine, order, (int64_t{1} << order) / 4};
    int32_t status = build_complex(p, order - 1, st);
    if (status == SIG_OK) status = build_split(p, order, st);
    sigFree(sine);
    if (status != SIG_OK) {
        release(p);
        return status;
    }
    *out = p;
    return SIG_OK;
}

int32_t sigFftPlanFree(sigFftPlan* plan) {
    if (!plan) return SIG_ERR_NULL;
    if (plan->id != SIG_PLAN_ID) return SIG_ERR_PLAN;
    release(plan);
    return SIG_OK;
}

int32_t sigFftWorkSize(const sigFftPlan* plan, int32_t* size) {
    if (!plan || !size) return SIG_ERR_NULL;
    if (plan->id != SIG_PLAN_ID) return SIG_ERR_PLAN;
    *size = plan->workBytes < 1 ? 0 : plan->workBytes + 16;
    return SIG_OK;
}

}  // namespace xeb::sig
