// A working MPFR number with value semantics and the arithmetic of the
// table generators that fit polynomials (tools/trig_tables,
// tools/hyperbolic_tables): operators, a few functions, a small dense
// solver and the hex form of a double.
#pragma once

#include <mpfr.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

constexpr mpfr_prec_t kPrec = 320;

struct Big {
    mpfr_t v;
    Big() { mpfr_init2(v, kPrec); mpfr_set_zero(v, 1); }
    Big(double d) { mpfr_init2(v, kPrec); mpfr_set_d(v, d, MPFR_RNDN); }
    Big(const Big& o) { mpfr_init2(v, kPrec); mpfr_set(v, o.v, MPFR_RNDN); }
    Big& operator=(const Big& o) { mpfr_set(v, o.v, MPFR_RNDN); return *this; }
    ~Big() { mpfr_clear(v); }
    double d() const { return mpfr_get_d(v, MPFR_RNDN); }
};

inline Big operator+(const Big& a, const Big& b) { Big r; mpfr_add(r.v, a.v, b.v, MPFR_RNDN); return r; }
inline Big operator-(const Big& a, const Big& b) { Big r; mpfr_sub(r.v, a.v, b.v, MPFR_RNDN); return r; }
inline Big operator*(const Big& a, const Big& b) { Big r; mpfr_mul(r.v, a.v, b.v, MPFR_RNDN); return r; }
inline Big operator/(const Big& a, const Big& b) { Big r; mpfr_div(r.v, a.v, b.v, MPFR_RNDN); return r; }

// f applied to x, correctly rounded to the working precision.
inline Big apply(int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t), const Big& x) {
    Big r;
    f(r.v, x.v, MPFR_RNDN);
    return r;
}
inline Big pi() { Big r; mpfr_const_pi(r.v, MPFR_RNDN); return r; }
inline Big sin_of(const Big& x) { return apply(mpfr_sin, x); }
inline Big cos_of(const Big& x) { return apply(mpfr_cos, x); }
inline Big tan_of(const Big& x) { return apply(mpfr_tan, x); }
inline Big sqrt_of(const Big& x) { return apply(mpfr_sqrt, x); }
inline Big pow_of(const Big& x, long k) { Big r; mpfr_pow_si(r.v, x.v, k, MPFR_RNDN); return r; }

inline std::string hex(double d) {
    char buf[64];
    if (d == 0) std::snprintf(buf, sizeof buf, "%s0x0p+0", std::signbit(d) ? "-" : "");
    else std::snprintf(buf, sizeof buf, "%a", d);
    return buf;
}

// Solves the small dense system m * x = b (Gaussian elimination with
// partial pivoting, in full precision).
inline std::vector<Big> solve(std::vector<std::vector<Big>> m, std::vector<Big> b) {
    const std::size_t n = b.size();
    for (std::size_t c = 0; c < n; ++c) {
        std::size_t p = c;
        for (std::size_t r = c + 1; r < n; ++r)
            if (mpfr_cmpabs(m[r][c].v, m[p][c].v) > 0) p = r;
        std::swap(m[c], m[p]);
        std::swap(b[c], b[p]);
        for (std::size_t r = c + 1; r < n; ++r) {
            const Big f = m[r][c] / m[c][c];
            for (std::size_t k = c; k < n; ++k) m[r][k] = m[r][k] - f * m[c][k];
            b[r] = b[r] - f * b[c];
        }
    }
    std::vector<Big> x(n);
    for (std::size_t c = n; c-- > 0;) {
        Big acc = b[c];
        for (std::size_t k = c + 1; k < n; ++k) acc = acc - m[c][k] * x[k];
        x[c] = acc / m[c][c];
    }
    return x;
}
