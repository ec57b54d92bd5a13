// Writes laws/poisson_map_tables.inc: the polynomial maps that turn one
// standard Gaussian z into one Poisson count, for rukiRngPoisson method 1
// and rukiRngPoissonV, with the measured error of every row.
//
// A map gives the count floor(x(z)) (0 when x <= 0), x a polynomial in z
// whose coefficients are polynomials in t, the mean's significand less 1
// within the row's range of means (one row per binade).  Exact, it would
// pass through the points (z_k, k + 1), z_k = Phi^-1(P(X <= k)): below z_k
// the count is at most k, above it more.
//
// Vector form, rows for means [2^(i-4), 2^(i-3)), i = 0..16, and row 17 for
// all means from 2^13:
//   x = l + 1 + c0 + c1 t + (sqrt(l) + c2 + c3 t) z (a + z (b + z (c + z d)))
// with a, b, c, d cubics in t (c4..c7, c8..c11, c12..c15, c16..c19).
// Rows 0, 7 and 17 are fixed values; the others are fitted here by
// weighted least squares on the points (z_k, k + 1) of 17 means across the
// row, each residual weighted by phi(z_k) / sqrt(l), which is what a
// misplaced crossing costs in probability.  Where that fit's count is
// wrong away from the crossings (for the small means, whose few crossings
// leave the polynomial free between them), points asking for the right
// count there are added and the fit repeated; the better of the two rows
// by the error below is kept.  The fitted rows leave c2 and c3 at 0: the
// cubics absorb a shift of the root that varies smoothly with t.  As a
// check of the method the fixed rows 0 and 7 are fitted too, and the
// error of that fit is written beside theirs.
//
// Method 1, rows for means [2^i, 2^(i+1)), i = 0..6 (the last serving to
// 100), all fixed: x = A + 1 + B z (C + z (D + z (G + z H))).  From 100 on
// method 1 uses a fixed asymptotic form whose error is recorded too.
//
// Error: the total variation distance between the law of the map's count
// for a standard Gaussian and Poisson(l), computed from the crossing
// points of x (the map evaluated in long double, coefficients as the
// doubles written), largest over 18 means spread over the row.  The
// Poisson law and the fitting points are computed in __float128.
//
// Usage: poisson_map_tables --out <source dir>     writes laws/poisson_map_tables.inc
//        poisson_map_tables --check <source dir>   exit 1 if the committed file differs
#include <quadmath.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

#include "count_distance.h"
#include "table_output.h"

namespace {

using quad = __float128;
using ld = long double;
using Map = std::function<ld(ld z)>;
using count_distance::kZ;
using count_distance::normal_cdf;

FILE* out = nullptr;

constexpr int kVectorRows = 18, kVectorCoefficients = 20;
constexpr int kMethod1Rows = 7, kMethod1Coefficients = 23;

struct FixedRow {
    int index;
    double c[kVectorCoefficients];
};

const FixedRow kVectorFixed[] = {
    {0, {-0.7784668838132114, 0.029461530258082718, -0.06517070906207373, 0.0036449873888969348,
         1.6205362989562542, -0.46699528871421164, 0.23304269836518293, -0.07922767895873659,
         0.5930275870746857, -0.34760651856416375, 0.28535078668918984, -0.09676892212962193,
         -0.01824465021393026, 0.017711836753638327, -0.026868714436064506, 0.008095052737288775,
         0.0006098103914128319, -0.0012341802068427158, 0.0022642616243167724, -0.0006192578274675482}},
    {7, {-0.6690405499365862, 0.0013153076647093335, -0.009747171455894899, 0.0030956354073080022,
         1.0011019860582522, -0.00026322447526194747, -0.0005820390351615287, 8.283018749997157e-05,
         0.0593758914795678, -0.02945842073621424, 0.01732446038995873, -0.0055170413354345416,
         -0.002232825172390238, 0.0020521743184329783, -0.0014442205188244202, 0.0005851109508183543,
         0.00020168051532498126, -0.00019568357298822535, 0.00014268111810534028, -7.07020942834741e-05}},
    {17, {-0.6666820010897254, 0.0, -0.0007703976275531421, 0.0, 1.0000018477147035, 0.0, 0.0, 0.0,
          0.0005292644082678417, 0.0, 0.0, 0.0, -2.9979684774583143e-07, 0.0, 0.0, 0.0,
          2.0756382616430046e-10, 0.0, 0.0, 0.0}},
};

// Method 1: row i, coefficients r0..r22.
const double kMethod1[kMethod1Rows][kMethod1Coefficients] = {
    {0.3143729428652824, 1.015123349264915, -0.006246652997537985, 0.9711065623988068,
     0.5117157189089607, -0.11711961214564409, 0.028472158793336155, 1.0171848839992388,
     -0.030353770824460752, 0.02797080675500926, -0.010623213385151037, 0.16893135639046306,
     -0.07601757634143234, 0.04020720095040557, -0.011961995858650482, -0.009520153647901866,
     0.0042758382585435725, -0.0012224386934191562, -7.947766494845137e-05, 0.0006652999767150992,
     -0.00021907840343628367, -2.1396848865931814e-05, 7.23943669224374e-05},
    {1.3235626213110492, 2.0081616643486204, -0.003484106530887999, 1.3940546315829796,
     0.7135926635029477, -0.1597213426671255, 0.03822299658838766, 1.004266467885422,
     -0.007106683112450339, 0.008183121084358777, -0.0035888042571302512, 0.12118527806576052,
     -0.0583500500914545, 0.03212133088275184, -0.009863518443362754, -0.006514315352112651,
     0.0036014315008069037, -0.0017296277307104427, 0.000544402944627089, 0.0004920939520828532,
     -0.00017156342048533694, 5.9642700991109624e-05, -2.8529288677278355e-05},
    {3.3284195046589407, 4.004156275802853, -0.0017916457912744972, 1.9860254041116103,
     1.0016598598604716, -0.22119841721891054, 0.05242464942706246, 1.0017988543164487,
     -0.001350114988698795, 0.001000443241727738, -0.00026723982842980545, 0.08514202314213258,
     -0.0429277601846191, 0.025189551346527405, -0.008058981675027846, -0.004108679683996522,
     0.0033238337043053697, -0.0020637569351866915, 0.0006115382523677563, 0.0003536493652980595,
     -0.0002673378777756099, 0.0001534595888282098, -3.738583324825225e-05},
    {7.33087720448358, 8.002081543776105, -0.0008989916210362706, 2.818763711630316,
     1.4113994000623622, -0.309637493439506, 0.07305387287775138, 1.0011527987657673,
     -0.0007628329905345695, 0.00016061520088732895, -0.00011949734428686236, 0.05939669903718664,
     -0.02967434566916304, 0.0177027964184373, -0.005675946353739223, -0.002231766989895106,
     0.0020415975584416463, -0.001420784300789565, 0.0005706391631159465, 0.00020067923619188397,
     -0.00018524081230750726, 0.00012308248694930802, -6.131455770574276e-05},
    {15.3321065543175, 16.001039403248036, -0.00044892885002355813, 3.993384194323172,
     1.9924888562543843, -0.43576054445487145, 0.10260289224169998, 1.0004308401137758,
     -0.0008231180732506282, 0.0007006171150687284, -0.00022090339137305337, 0.04177917080628357,
     -0.02031415319014708, 0.011790870842112644, -0.0037730498284941293, -0.0010518760514340772,
     0.0012185830124063805, -0.0010262126717763902, 0.00039615079338216347, 7.949348820101787e-05,
     -0.00013773583583066664, 0.00013967688711387317, -5.758732564615031e-05},
    {31.332720403492644, 32.00051907479929, -0.00022414740308535826, 5.652446330000235,
     2.815360933685307, -0.6148050105011341, 0.14462551231324822, 1.0000751905240015,
     -9.480500033972578e-05, -8.981190931545873e-05, 0.00012863914380320076, 0.029506633012936493,
     -0.014382250577945888, 0.008401476552137554, -0.002700068981639826, -0.0004681665723514921,
     0.0004960584376163117, -0.00038654068262626524, 0.00014053352686749077, 2.4490603359371994e-05,
     -3.4274175161413386e-05, 3.1560250784103597e-05, -1.2769604043692675e-05},
    {63.33302522379214, 64.00028580064881, -0.00016341620657214163, 7.996634761264932,
     3.995914463202816, -0.941568357083261, 0.2869108637799111, 1.0000061404489988,
     -2.2339221662951182e-05, -1.2971235215015078e-05, 8.280912251359021e-05, 0.02085124157127577,
     -0.010350315108694694, 0.006917997936347151, -0.003027632136445016, -0.00021969226545454605,
     0.0002372922276763593, -0.0002187917330833385, 0.00011229279835933101, 9.193627784234833e-06,
     -1.1242210678989836e-05, 1.0135485231664079e-05, -5.299027868492783e-06},
};

// ---------------------------------------------------------------- the law

// The mean's significand less 1.
ld significand_less_one(ld l) {
    int e;
    return std::frexp(l, &e) * 2 - 1;
}

// The map's error at one mean: the distance of its count floor(x(z)) (0
// for x <= 0) to Poisson(l).
ld tv_distance(ld l, const Map& x) {
    return count_distance::to_poisson(l, [&](ld z) {
        const ld v = x(z);
        return v > 0 ? static_cast<int64_t>(std::floor(v)) : int64_t{0};
    });
}

// ---------------------------------------------------------------- the maps

ld vector_x(const double* c, ld l, ld z) {
    const ld t = significand_less_one(l);
    const ld cubic_a = ((c[7] * t + c[6]) * t + c[5]) * t + c[4];
    const ld cubic_b = ((c[11] * t + c[10]) * t + c[9]) * t + c[8];
    const ld cubic_c = ((c[15] * t + c[14]) * t + c[13]) * t + c[12];
    const ld cubic_d = ((c[19] * t + c[18]) * t + c[17]) * t + c[16];
    const ld s = std::sqrt(l) + c[2] + c[3] * t;
    return z * (cubic_a + z * (cubic_b + z * (cubic_c + z * cubic_d))) * s + 1 + l + c[0] + c[1] * t;
}

ld method1_x(const double* r, ld l, ld z) {
    const ld t = significand_less_one(l);
    const ld A = (r[2] * t + r[1]) * t + r[0];
    const ld B = ((r[6] * t + r[5]) * t + r[4]) * t + r[3];
    const ld C = ((r[10] * t + r[9]) * t + r[8]) * t + r[7];
    const ld D = ((r[14] * t + r[13]) * t + r[12]) * t + r[11];
    const ld G = ((r[18] * t + r[17]) * t + r[16]) * t + r[15];
    const ld H = t * ((r[22] * t + r[21]) * t + r[20]) + r[19];
    return z * (((z * H + G) * z + D) * z + C) * B + 1 + A;
}

// Method 1 from a mean of 100: a Gaussian g of mean mu and deviation s,
// d = g - mu, x = ((d R + Q) d + P) d + g + 1.
ld asymptotic_x(ld l, ld z) {
    const ld w = 1 / l;
    const ld mu = -0.6666957198L + l + ((0.001645153709L * w - 0.001288719308L) * w - 0.01941020862L) * w;
    const ld s = std::sqrt(l - 0.05580667628L + w * ((0.00519830812L * w - 0.005534854444L) * w - 0.000975814817L));
    const ld P = ((((2.02847035732762L * w - 3.85841212878712L) * w + 2.29098262740971L) * w -
                   0.443911391797447L) * w + 0.00774710541609L) * w;
    const ld Q = ((((-0.185436433294704L * w + 0.358642226989579L) * w - 0.228162379800275L) * w +
                   0.0472242348292688L) * w + 0.168577008904505L) * w;
    const ld R = w * ((((0.014389264627966L * w - 0.0291113093667918L) * w + 0.0232257954288354L) * w -
                       0.0126559989233446L) * w - 0.0001145865551857L);
    const ld d = s * z;
    return ((d * R + Q) * d + P) * d + (mu + d) + 1;
}

// The largest error of a map over the means from lo to below hi (a
// binade's row): 16 means in between and both ends.
ld row_error(ld lo, ld hi, const std::function<ld(ld l, ld z)>& x) {
    ld worst = 0;
    for (int i = -1; i <= (lo < hi ? 16 : -1); ++i) {
        const ld l = i < 0 ? lo : i == 16 ? hi * (1 - 0x1p-40L) : lo + (hi - lo) * (i + 0.5L) / 16;
        worst = std::max(worst, tv_distance(l, [&](ld z) { return x(l, z); }));
    }
    return worst;
}

// ---------------------------------------------------------------- the fit

// Phi^-1(p), given p and q = 1 - p, by Newton steps kept inside a
// bracket, on whichever tail is the smaller (so that p near 1 loses
// nothing).
ld normal_quantile(ld p, ld q) {
    const bool upper = q < p;
    const ld target = upper ? q : p;  // Phi(-|z|)
    ld a = -40, b = 0, z = -1;
    for (int i = 0; i < 100; ++i) {
        const ld f = normal_cdf(z) - target;
        (f > 0 ? b : a) = z;
        ld next = z - f / (std::exp(-z * z / 2) / std::sqrt(2 * M_PIl));
        if (!(next > a && next < b)) next = (a + b) / 2;
        if (std::fabs(next - z) < 1e-17L) break;
        z = next;
    }
    return upper ? -z : z;
}

// One mean of the fit: its Poisson distribution function in long double
// (from sums in __float128, with 1 - F kept apart where it is small).
struct Sample {
    ld l, t, root;
    std::vector<ld> cdf, tail;  // P(X <= k), P(X > k)
    int64_t quantile(ld p) const {  // the smallest k with P(X <= k) >= p
        return std::lower_bound(cdf.begin(), cdf.end(), p) - cdf.begin();
    }
};

Sample sample(ld l) {
    Sample s{l, significand_less_one(l), std::sqrt(l), {}, {}};
    const quad lq = l;
    const int64_t kmax = static_cast<int64_t>(l + 14 * std::sqrt(l) + 40);
    std::vector<quad> terms;
    quad term = expq(-lq);
    for (int64_t k = 0; k <= kmax; term = term * lq / ++k) terms.push_back(term);
    quad below = 0, above = 0;
    s.tail.resize(terms.size());
    for (std::size_t k = terms.size(); k-- > 0;) {
        s.tail[k] = static_cast<ld>(above);
        above += terms[k];
    }
    for (const quad p : terms) s.cdf.push_back(static_cast<ld>(below += p));
    return s;
}

constexpr ld kCorrected = 5;  // beyond, the Gaussian's mass is below 3e-7

struct Point {
    ld t, root, z;
    ld target;  // the value x(z) - l - 1 should take
    ld weight;
};

// phi(z) / sqrt(l): what a misplaced crossing costs in probability.
ld weight(const Sample& s, ld z) { return std::exp(-z * z / 2) / s.root; }

// The crossing points (z_k, k + 1) of a mean where P(X <= k) lies in
// [1e-15, 1 - 1e-15], at most about 150, evenly spaced in k.
void add_crossings(const Sample& s, std::vector<Point>& points) {
    const int64_t stride = std::max<int64_t>(1, static_cast<int64_t>(16 * s.root / 150));
    for (std::size_t k = 0; k < s.cdf.size(); k += stride) {
        if (s.cdf[k] < 1e-15L || s.tail[k] < 1e-15L) continue;
        const ld z = normal_quantile(s.cdf[k], s.tail[k]);
        points.push_back({s.t, s.root, z, static_cast<ld>(k) - s.l, weight(s, z)});
    }
}

// Where the row's count is wrong, and not only next to a crossing (it
// differs from the right counts 0.05 on either side too), a point asking
// for the middle of the right count there.
int add_corrections(const Sample& s, const double* c, std::vector<Point>& points) {
    int added = 0;
    const auto right = [&](ld z) { return s.quantile(normal_cdf(z)); };
    for (ld z = -kCorrected; z <= kCorrected; z += 0.05L) {
        const ld v = vector_x(c, s.l, z);
        const int64_t count = v > 0 ? static_cast<int64_t>(std::floor(v)) : 0, k = right(z);
        if (count == k || count == right(z - 0.05L) || count == right(z + 0.05L)) continue;
        points.push_back({s.t, s.root, z, static_cast<ld>(k) + 0.5L - s.l - 1, weight(s, z)});
        ++added;
    }
    return added;
}

// The weighted least-squares row with c2 = c3 = 0: x - l - 1 is linear in
// the other 18 coefficients.  Normal equations in __float128.
void solve_row(const std::vector<Point>& points, double* c) {
    constexpr int kUnknowns = 18;
    quad a[kUnknowns][kUnknowns + 1] = {};
    for (const Point& p : points) {
        ld column[kUnknowns];
        column[0] = 1;
        column[1] = p.t;
        ld zpow = p.z * p.root;
        for (int i = 0; i < 4; ++i, zpow *= p.z) {
            ld tpow = 1;
            for (int j = 0; j < 4; ++j, tpow *= p.t) column[2 + 4 * i + j] = zpow * tpow;
        }
        const quad w2 = static_cast<quad>(p.weight) * p.weight;
        for (int r = 0; r < kUnknowns; ++r) {
            for (int s = 0; s < kUnknowns; ++s) a[r][s] += w2 * column[r] * column[s];
            a[r][kUnknowns] += w2 * column[r] * p.target;
        }
    }
    for (int col = 0; col < kUnknowns; ++col) {
        int pivot = col;
        for (int r = col + 1; r < kUnknowns; ++r)
            if (fabsq(a[r][col]) > fabsq(a[pivot][col])) pivot = r;
        for (int s = 0; s <= kUnknowns; ++s) std::swap(a[col][s], a[pivot][s]);
        for (int r = 0; r < kUnknowns; ++r) {
            if (r == col) continue;
            const quad f = a[r][col] / a[col][col];
            for (int s = col; s <= kUnknowns; ++s) a[r][s] -= f * a[col][s];
        }
    }
    const auto solution = [&](int k) { return static_cast<double>(a[k][kUnknowns] / a[k][k]); };
    c[0] = solution(0);
    c[1] = solution(1);
    c[2] = c[3] = 0;
    for (int k = 2; k < kUnknowns; ++k) c[k + 2] = solution(k);
}

// The row for means [lo, hi): a fit to the crossing points of 17 means
// across the range; where its count is wrong away from the crossings, the
// fit is repeated with corrections (up to 10 rounds), and the better of
// the two rows by their measured error is kept.
void fit_row(ld lo, ld hi, double* c) {
    std::vector<Sample> samples;
    std::vector<Point> points;
    for (int i = 0; i <= 16; ++i) {
        samples.push_back(sample(lo + (hi - lo) * (i < 16 ? i / 16.0L : 1 - 0x1p-40L)));
        add_crossings(samples.back(), points);
    }
    solve_row(points, c);
    double corrected[kVectorCoefficients];
    std::copy(c, c + kVectorCoefficients, corrected);
    for (int round = 0; round < 10; ++round) {
        int added = 0;
        for (const Sample& s : samples) added += add_corrections(s, corrected, points);
        if (!added && round == 0) return;
        if (!added) break;
        solve_row(points, corrected);
    }
    const auto error = [&](const double* row) { return row_error(lo, hi, [row](ld l, ld z) { return vector_x(row, l, z); }); };
    if (error(corrected) < error(c)) std::copy(corrected, corrected + kVectorCoefficients, c);
}

// ---------------------------------------------------------------- output

void print_row(const double* c, int count) {
    std::fprintf(out, "    {");
    for (int k = 0; k < count; ++k)
        std::fprintf(out, "%s%a%s", k ? (k % 4 ? " " : "\n     ") : "", c[k], k + 1 < count ? "," : "");
    std::fprintf(out, "},\n");
}

void vector_table() {
    std::fprintf(out,
                 "// rukiRngPoissonV from a mean of 1/16: row i for means [2^(i-4), 2^(i-3)), row 17\n"
                 "// from 2^13 on.  x = l + 1 + c0 + c1 t + (sqrt(l) + c2 + c3 t) z (a + z (b + z (c +\n"
                 "// z d))), a to d cubics in t in c4..c7, c8..c11, c12..c15, c16..c19.  Each row's\n"
                 "// error is the largest total variation distance between the count it gives a\n"
                 "// standard Gaussian and Poisson(l) over its range (row 17: means 2^13 to 2^23).\n");
    std::fprintf(out, "constexpr double kVectorRows[%d][%d] = {\n", kVectorRows, kVectorCoefficients);
    for (int row = 0; row < kVectorRows; ++row) {
        const ld lo = std::ldexp(1.0L, row - 4), hi = std::ldexp(1.0L, row - 3);
        const FixedRow* fixed = nullptr;
        for (const FixedRow& f : kVectorFixed)
            if (f.index == row) fixed = &f;
        double fitted[kVectorCoefficients];
        if (row < kVectorRows - 1) fit_row(lo, hi, fitted);
        const double* c = fixed ? fixed->c : fitted;
        const auto x = [c](ld l, ld z) { return vector_x(c, l, z); };
        if (row < kVectorRows - 1) {
            const ld error = row_error(lo, hi, x);
            if (fixed)
                std::fprintf(out, "    // %d: fixed; error %.2Lg (fitted here: %.2Lg)\n", row, error,
                             row_error(lo, hi, [&](ld l, ld z) { return vector_x(fitted, l, z); }));
            else
                std::fprintf(out, "    // %d: fitted; error %.2Lg\n", row, error);
        } else {
            ld worst = 0;
            for (int e = 13; e <= 23; ++e) worst = std::max(worst, row_error(std::ldexp(1.0L, e), std::ldexp(1.0L, e), x));
            std::fprintf(out, "    // %d: fixed; error %.2Lg\n", row, worst);
        }
        print_row(c, kVectorCoefficients);
    }
    std::fprintf(out, "};\n");
}

void method1_table() {
    std::fprintf(out,
                 "\n// rukiRngPoisson method 1 from a mean of 1 to 100: row i for means [2^i, 2^(i+1)),\n"
                 "// the last serving to 100.  A = (r2 t + r1) t + r0, B = ((r6 t + r5) t + r4) t + r3,\n"
                 "// C from r7..r10, D from r11..r14, G from r15..r18 alike, H = t ((r22 t + r21) t +\n"
                 "// r20) + r19; x = A + 1 + B z (C + z (D + z (G + z H))).  Errors as above.\n");
    std::fprintf(out, "constexpr double kMethod1Rows[%d][%d] = {\n", kMethod1Rows, kMethod1Coefficients);
    for (int row = 0; row < kMethod1Rows; ++row) {
        const ld lo = std::ldexp(1.0L, row), hi = row + 1 < kMethod1Rows ? 2 * lo : 100;
        const double* r = kMethod1[row];
        const ld error = row_error(lo, hi, [r](ld l, ld z) { return method1_x(r, l, z); });
        std::fprintf(out, "    // %d: error %.2Lg\n", row, error);
        print_row(r, kMethod1Coefficients);
    }
    std::fprintf(out, "};\n");
    ld worst = 0;
    for (ld l : {100.0L, 300.0L, 1000.0L, 1e4L, 1e5L, 1e6L, 1e7L})
        worst = std::max(worst, row_error(l, l, asymptotic_x));
    std::fprintf(out, "// From a mean of 100 on (means 100 to 1e7), the asymptotic form: error %.2Lg.\n", worst);
}

void generate() {
    vector_table();
    method1_table();
}

}  // namespace

int main(int argc, char** argv) {
    return write_or_check(argc, argv, "poisson_map_tables", {{"laws/poisson_map_tables.inc", [](FILE* f) {
                                                                 out = f;
                                                                 generate();
                                                             }}});
}
