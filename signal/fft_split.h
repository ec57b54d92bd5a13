// The split pass of the real FFT, one step of it written once for every
// lane width (floats, SSE registers, the kernel classes' vectors), so that
// the baseline and the classes round alike and give the same bits.
//
// With a = Z[k'], b = Z[n-k'] of the half-length complex transform and the
// table's two values for k' (signal/fft_real.cpp):
//   forward (A = cos(t)/2, B = (1 - sin t)/2), d = a.re - b.re,
//     s = a.im + b.im, t1 = B s - A d, t2 = A s + B d:
//     X[k'] = (b.re + t2, t1 - b.im),  X[n-k'] = (a.re - t2, t1 - a.im);
//   inverse (c = cos t, q = -sin t), p = a.re + b.re, e = a.im - b.im,
//     u = d q - s c, v = c d + q s:
//     Z[k'] = (p + u, e + v),  Z[n-k'] = (p - u, v - e).
// Each product is rounded before its sum (no contraction).
#pragma once

namespace xeb::sig {

template <class T>
inline void split_forward_step(T A, T B, T are, T aim, T bre, T bim, T& xr, T& xi, T& yr, T& yi) {
    const T d = are - bre, s = aim + bim;
    const T t1 = B * s - A * d, t2 = A * s + B * d;
    xr = bre + t2;
    xi = t1 - bim;
    yr = are - t2;
    yi = t1 - aim;
}

template <class T>
inline void split_inverse_step(T c, T q, T are, T aim, T bre, T bim, T& xr, T& xi, T& yr, T& yi) {
    const T p = are + bre, e = aim - bim, d = are - bre, s = aim + bim;
    const T u = d * q - s * c, v = c * d + q * s;
    xr = p + u;
    xi = e + v;
    yr = p - u;
    yi = v - e;
}

}  // namespace xeb::sig
