// Tables of the exponential and logarithm kernels, written by
// tools/explog_tables into exp_tables.inc and log_tables.inc.
#pragma once

namespace xeb::explog {

// An 80-bit value in its 16-byte slot, held as two doubles whose sum it is
// exactly (hi the value rounded to double, lo the other 11 bits).  Two
// double loads and an exact add at 64 bits cost about a quarter of one
// 80-bit load on current x87 units, and give the same value.
struct Extended {
    double hi;
    double lo;
};
inline long double extended(const Extended& e) { return static_cast<long double>(e.hi) + e.lo; }

// One row of a logarithm table for c = 1 + i/256: hi + lo = log(c), with
// about 106 bits between them, and rcp = 1/c rounded to double.
struct LogRow {
    double hi;
    double lo;
    double rcp;
};

// c0 + c1 m + c2 m^2 + c3 m^3, a cubic in the significand m in [1, 2).
struct CubicRow {
    double c0;
    double c1;
    double c2;
    double c3;
};

extern const Extended expCubic[3];   // C2, C1, C0 of the double cubic, see below
extern const Extended expFine[16];    // C * 2^(i/16384), C = 1/C0 of the double cubic
extern const Extended expMid[32];     // 2^(i/1024)
extern const Extended expCoarse[32];  // 2^(i/32)
extern const double expSingle[64];       // D * 2^(j/64), D the scale of the single quadratic

extern const LogRow lnTable[256];
extern const LogRow log10Table[256];
extern const CubicRow lnCubic[256];
extern const CubicRow log10Cubic[256];

// Coefficient sets (fixed; their fit errors are checked by the table tests).

// Double exponential (expCubic): 2^r ~ C (((r + C2) r + C1) r + C0) on
// |r| <= 2^-15, C = 1/C0 (in expFine).  Fit error < 2^-62.  Its 80-bit
// coefficients live with the tables, in another translation unit than the
// kernel, so that they are loaded as two doubles where they are used rather
// than folded back into 80-bit constants.

// Single exponential: 2^r ~ D ((r + B1) r + B0) on |r| <= 2^-7, D = expSingle[0].
// Fit error < 2^-27.
inline constexpr long double kExpB1 = 0x1.7154fb6849716p+1L;  // 2.885405946656543
inline constexpr long double kExpB0 = 0x1.0a6a6c7c4ae3ap+2L;  // 4.162745591525487

// log(1 + r) ~ r (A1 + r (A2 + r (A3 + r (A4 + r (A5 + r A6))))) on [0, 1/256),
// natural (bits 0x3FF0000000000000 0xBFDFFFFFFFFFFFAF 0x3FD5555555519F2A
// 0xBFCFFFFFE04ECEF7 0x3FC9995C6A12E46A 0xBFC51ED447A1B8C5) and decimal
// (0x3FDBCB7B1526E50E 0xBFCBCB7B1526E4C7 0x3FC287A7636C0A11 0xBFBBCB7AF99FDDBA
// 0x3FB63C2D5227D24B 0xBFB2584FEB8CB841).  Fit error < 2^-64 absolute.
inline constexpr double kLnPoly[6] = {0x1p+0, -0x1.fffffffffffafp-2, 0x1.5555555519f2ap-2,
                                      -0x1.fffffe04ecef7p-3, 0x1.9995c6a12e46ap-3,
                                      -0x1.51ed447a1b8c5p-3};
inline constexpr double kLog10Poly[6] = {0x1.bcb7b1526e50ep-2, -0x1.bcb7b1526e4c7p-3,
                                         0x1.287a7636c0a11p-3, -0x1.bcb7af99fddbap-4,
                                         0x1.63c2d5227d24bp-4, -0x1.2584feb8cb841p-4};

// Taylor polynomials of the same form for x - 1 in [-2^-9, 0): 1, -1/2, 1/3,
// -1/4, 1/5, -1/6 as doubles, and log10(e) times them.  Truncation t^7/7.
inline constexpr double kLnTaylor[6] = {1.0, -0.5, 0x1.5555555555555p-2, -0.25,
                                        0x1.999999999999ap-3, -0x1.5555555555555p-3};
inline constexpr double kLog10Taylor[6] = {0.4342944819032518,  -0.2171472409516259,
                                           0.14476482730108395, -0.10857362047581295,
                                           0.08685889638065036, -0.07238241365054197};

}  // namespace xeb::explog
