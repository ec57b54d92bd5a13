#pragma once
// SLEEF's erf (u10) and erfc (u15, its most accurate) over arrays
// (bench/sleef_loops.cpp, built where libsleef-dev is installed).
void sleef_erf_u10(int n, const double* a, double* r);
void sleef_erf_u10(int n, const float* a, float* r);
void sleef_erfc_u15(int n, const double* a, double* r);
void sleef_erfc_u15(int n, const float* a, float* r);
