// Accuracy rows of the square and cube roots and their reciprocals (bounds
// from the error budget in vecmath/roots.cpp), over every positive binade
// (and the negative ones for the cube roots), denormals included.
#include <cfloat>
#include <cmath>

#include "support/accuracy.h"
#include "xebruk/vm_roots.h"

namespace xt {
namespace {

long double ref_sqrt(long double x) { return std::sqrt(x); }
long double ref_inv_sqrt(long double x) { return 1.0L / std::sqrt(x); }
long double ref_cbrt(long double x) { return std::cbrt(x); }
long double ref_inv_cbrt(long double x) { return 1.0L / std::cbrt(x); }

const Range kPositiveDoubles{kDoubleTrueMin, DBL_MAX, false};
const Range kDenormalDoubles{kDoubleTrueMin, DBL_MIN, true};
const Range kPositiveFloats{FLT_TRUE_MIN, FLT_MAX, false};
const Range kDenormalFloats{FLT_TRUE_MIN, FLT_MIN, true};
const Range kOneToFour{1.0, 4.0, false};
const Range kOneToEight{1.0, 8.0, true};

template <class D, class S>
void add(std::vector<KernelAccuracy>& rows, const char* d_names[2], D d_ha, D d_50,
         const char* s_names[3], S s_ha, S s_21, S s_11, RefUnary ref, double d_bound, double s_bound,
         std::vector<Range> d_ranges, std::vector<Range> s_ranges) {
    rows.push_back(unary_row(d_names[0], "HA", d_bound, d_ha, ref, d_ranges));
    rows.push_back(unary_row(d_names[1], "50", d_bound, d_50, ref, d_ranges));
    rows.push_back(unary_row(s_names[0], "HA", s_bound, s_ha, ref, s_ranges));
    rows.push_back(unary_row(s_names[1], "21", s_bound, s_21, ref, s_ranges));
    rows.push_back(unary_row(s_names[2], "11", s_bound, s_11, ref, s_ranges));
}

std::vector<KernelAccuracy> roots_rows() {
    std::vector<KernelAccuracy> rows;
    const std::vector<Range> d_pos{kPositiveDoubles, kDenormalDoubles, kOneToFour};
    const std::vector<Range> s_pos{kPositiveFloats, kDenormalFloats, kOneToFour};
    const std::vector<Range> d_all{kAllDoubles, kDenormalDoubles, kOneToEight};
    const std::vector<Range> s_all{kAllFloats, kDenormalFloats, kOneToEight};
    const char* sqrt_d[] = {"xebdSqrt_HA", "xebdSqrt_50"};
    const char* sqrt_s[] = {"xebsSqrt_HA", "xebsSqrt_21", "xebsSqrt_11"};
    const char* isqrt_d[] = {"xebdInvSqrt_HA", "xebdInvSqrt_50"};
    const char* isqrt_s[] = {"xebsInvSqrt_HA", "xebsInvSqrt_21", "xebsInvSqrt_11"};
    const char* cbrt_d[] = {"xebdCbrt_HA", "xebdCbrt_50"};
    const char* cbrt_s[] = {"xebsCbrt_HA", "xebsCbrt_21", "xebsCbrt_11"};
    const char* icbrt_d[] = {"xebdInvCbrt_HA", "xebdInvCbrt_50"};
    const char* icbrt_s[] = {"xebsInvCbrt_HA", "xebsInvCbrt_21", "xebsInvCbrt_11"};
    add(rows, sqrt_d, xebdSqrt_HA, xebdSqrt_50, sqrt_s, xebsSqrt_HA, xebsSqrt_21, xebsSqrt_11,
        ref_sqrt, 0.51, 0.55, d_pos, s_pos);
    add(rows, isqrt_d, xebdInvSqrt_HA, xebdInvSqrt_50, isqrt_s, xebsInvSqrt_HA, xebsInvSqrt_21,
        xebsInvSqrt_11, ref_inv_sqrt, 0.51, 0.55, d_pos, s_pos);
    add(rows, cbrt_d, xebdCbrt_HA, xebdCbrt_50, cbrt_s, xebsCbrt_HA, xebsCbrt_21, xebsCbrt_11,
        ref_cbrt, 0.51, 0.65, d_all, s_all);
    add(rows, icbrt_d, xebdInvCbrt_HA, xebdInvCbrt_50, icbrt_s, xebsInvCbrt_HA, xebsInvCbrt_21,
        xebsInvCbrt_11, ref_inv_cbrt, 0.51, 0.9, d_all, s_all);
    return rows;
}

const AccuracyRows registered(roots_rows);

}  // namespace
}  // namespace xt
