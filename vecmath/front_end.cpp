// The checked entries of include/xebruk/vm.h: xebdExp(n, a, r) checks n and
// the pointers, reads the accuracy field of the thread's mode word and calls
// xebdExp_HA or xebdExp_50 (which run the kernel class in use).  Each entry
// is one line naming its forms: the _HA form, the lower form (_50 double,
// _21 single) and, for single precision, the _11 form; `checked` does the
// rest.  The forms' types must be the entry's own (a static_assert says so).
#include <cstring>
#include <type_traits>

#include "xebruk/frame.h"
#include "xebruk/vm.h"
#include "xebruk/vm_div.h"
#include "xebruk/vm_erf.h"
#include "xebruk/vm_explog.h"
#include "xebruk/vm_hyperbolic.h"
#include "xebruk/vm_invtrig.h"
#include "xebruk/vm_power.h"
#include "xebruk/vm_roots.h"
#include "xebruk/vm_trig.h"

namespace xeb::vm {
namespace {

// A front-end event (codes -1 and -2): no element is involved, so the
// dispatcher is given no arrays.  The event's name is the entry's export
// name, "_xebdExp", as the kernels' are "_xebdExp_HA".
template <class T>
void raise_argument_event(int code, int index, const char* entry) {
    char name[64] = "_";
    std::strncat(name, entry, sizeof name - 2);
    if constexpr (std::is_same_v<T, double>)
        xebdError(code, index, nullptr, nullptr, nullptr, nullptr, name);
    else
        xebsError(code, index, nullptr, nullptr, nullptr, nullptr, name);
}

template <class P>
bool is_null(P* p) { return p == nullptr; }
template <class V>
bool is_null(V) { return false; }  // a scalar argument (Powx's b)

// The position of the first null pointer among args, counting n as 0 and
// the first array as 1; 0 when there is none.
template <class... Args>
int first_null(Args... args) {
    int position = 0, found = 0;
    ((++position, found = (found == 0 && is_null(args)) ? position : found), ...);
    return found;
}

template <auto HA, auto Lower, auto Lowest = Lower, class T, class... Rest>
void checked(const char* entry, int n, const T* a, Rest... rest) {
    using Form = void (*)(int, const T*, Rest...);
    static_assert(std::is_same_v<decltype(HA), Form> && std::is_same_v<decltype(Lower), Form> &&
                      std::is_same_v<decltype(Lowest), Form>,
                  "an entry's forms take the entry's arguments");
    if (n == 0) return;  // nothing to read or write: the pointers do not matter
    if (n < 0) return raise_argument_event<T>(XEB_STATUS_BADSIZE, n, entry);
    if (const int p = first_null(a, rest...)) return raise_argument_event<T>(XEB_STATUS_BADMEM, p, entry);
    switch (xebGetMode() & XEB_ACC_MASK) {
    case XEB_ACC_LA: return Lower(n, a, rest...);
    case XEB_ACC_EP: return Lowest(n, a, rest...);
    default: return HA(n, a, rest...);  // XEB_ACC_HA, and any value without a meaning
    }
}

}  // namespace
}  // namespace xeb::vm

using xeb::vm::checked;

extern "C" {

// clang-format off
void xebdInv(int n, const double* a, double* r) { checked<xebdInv_HA, xebdInv_50>(__func__, n, a, r); }
void xebsInv(int n, const float* a, float* r) { checked<xebsInv_HA, xebsInv_21, xebsInv_11>(__func__, n, a, r); }
void xebdDiv(int n, const double* a, const double* b, double* r) { checked<xebdDiv_HA, xebdDiv_50>(__func__, n, a, b, r); }
void xebsDiv(int n, const float* a, const float* b, float* r) { checked<xebsDiv_HA, xebsDiv_21, xebsDiv_11>(__func__, n, a, b, r); }

void xebdSqrt(int n, const double* a, double* r) { checked<xebdSqrt_HA, xebdSqrt_50>(__func__, n, a, r); }
void xebsSqrt(int n, const float* a, float* r) { checked<xebsSqrt_HA, xebsSqrt_21, xebsSqrt_11>(__func__, n, a, r); }
void xebdInvSqrt(int n, const double* a, double* r) { checked<xebdInvSqrt_HA, xebdInvSqrt_50>(__func__, n, a, r); }
void xebsInvSqrt(int n, const float* a, float* r) { checked<xebsInvSqrt_HA, xebsInvSqrt_21, xebsInvSqrt_11>(__func__, n, a, r); }
void xebdCbrt(int n, const double* a, double* r) { checked<xebdCbrt_HA, xebdCbrt_50>(__func__, n, a, r); }
void xebsCbrt(int n, const float* a, float* r) { checked<xebsCbrt_HA, xebsCbrt_21, xebsCbrt_11>(__func__, n, a, r); }
void xebdInvCbrt(int n, const double* a, double* r) { checked<xebdInvCbrt_HA, xebdInvCbrt_50>(__func__, n, a, r); }
void xebsInvCbrt(int n, const float* a, float* r) { checked<xebsInvCbrt_HA, xebsInvCbrt_21, xebsInvCbrt_11>(__func__, n, a, r); }

void xebdExp(int n, const double* a, double* r) { checked<xebdExp_HA, xebdExp_50>(__func__, n, a, r); }
void xebsExp(int n, const float* a, float* r) { checked<xebsExp_HA, xebsExp_21, xebsExp_11>(__func__, n, a, r); }
void xebdLn(int n, const double* a, double* r) { checked<xebdLn_HA, xebdLn_50>(__func__, n, a, r); }
void xebsLn(int n, const float* a, float* r) { checked<xebsLn_HA, xebsLn_21, xebsLn_11>(__func__, n, a, r); }
void xebdLog10(int n, const double* a, double* r) { checked<xebdLog10_HA, xebdLog10_50>(__func__, n, a, r); }
void xebsLog10(int n, const float* a, float* r) { checked<xebsLog10_HA, xebsLog10_21, xebsLog10_11>(__func__, n, a, r); }

void xebdPow(int n, const double* a, const double* b, double* r) { checked<xebdPow_HA, xebdPow_50>(__func__, n, a, b, r); }
void xebsPow(int n, const float* a, const float* b, float* r) { checked<xebsPow_HA, xebsPow_21, xebsPow_11>(__func__, n, a, b, r); }
void xebdPowx(int n, const double* a, double b, double* r) { checked<xebdPowx_HA, xebdPowx_50>(__func__, n, a, b, r); }
void xebsPowx(int n, const float* a, float b, float* r) { checked<xebsPowx_HA, xebsPowx_21, xebsPowx_11>(__func__, n, a, b, r); }

void xebdSin(int n, const double* a, double* r) { checked<xebdSin_HA, xebdSin_50>(__func__, n, a, r); }
void xebsSin(int n, const float* a, float* r) { checked<xebsSin_HA, xebsSin_21, xebsSin_11>(__func__, n, a, r); }
void xebdCos(int n, const double* a, double* r) { checked<xebdCos_HA, xebdCos_50>(__func__, n, a, r); }
void xebsCos(int n, const float* a, float* r) { checked<xebsCos_HA, xebsCos_21, xebsCos_11>(__func__, n, a, r); }
void xebdSinCos(int n, const double* a, double* y, double* z) { checked<xebdSinCos_HA, xebdSinCos_50>(__func__, n, a, y, z); }
void xebsSinCos(int n, const float* a, float* y, float* z) { checked<xebsSinCos_HA, xebsSinCos_21, xebsSinCos_11>(__func__, n, a, y, z); }
void xebdTan(int n, const double* a, double* r) { checked<xebdTan_HA, xebdTan_50>(__func__, n, a, r); }
void xebsTan(int n, const float* a, float* r) { checked<xebsTan_HA, xebsTan_21, xebsTan_11>(__func__, n, a, r); }

void xebdAsin(int n, const double* a, double* r) { checked<xebdAsin_HA, xebdAsin_50>(__func__, n, a, r); }
void xebsAsin(int n, const float* a, float* r) { checked<xebsAsin_HA, xebsAsin_21, xebsAsin_11>(__func__, n, a, r); }
void xebdAcos(int n, const double* a, double* r) { checked<xebdAcos_HA, xebdAcos_50>(__func__, n, a, r); }
void xebsAcos(int n, const float* a, float* r) { checked<xebsAcos_HA, xebsAcos_21, xebsAcos_11>(__func__, n, a, r); }
void xebdAtan(int n, const double* a, double* r) { checked<xebdAtan_HA, xebdAtan_50>(__func__, n, a, r); }
void xebsAtan(int n, const float* a, float* r) { checked<xebsAtan_HA, xebsAtan_21, xebsAtan_11>(__func__, n, a, r); }
void xebdAtan2(int n, const double* a, const double* b, double* r) { checked<xebdAtan2_HA, xebdAtan2_50>(__func__, n, a, b, r); }
void xebsAtan2(int n, const float* a, const float* b, float* r) { checked<xebsAtan2_HA, xebsAtan2_21, xebsAtan2_11>(__func__, n, a, b, r); }

void xebdSinh(int n, const double* a, double* r) { checked<xebdSinh_HA, xebdSinh_50>(__func__, n, a, r); }
void xebsSinh(int n, const float* a, float* r) { checked<xebsSinh_HA, xebsSinh_21, xebsSinh_11>(__func__, n, a, r); }
void xebdCosh(int n, const double* a, double* r) { checked<xebdCosh_HA, xebdCosh_50>(__func__, n, a, r); }
void xebsCosh(int n, const float* a, float* r) { checked<xebsCosh_HA, xebsCosh_21, xebsCosh_11>(__func__, n, a, r); }
void xebdTanh(int n, const double* a, double* r) { checked<xebdTanh_HA, xebdTanh_50>(__func__, n, a, r); }
void xebsTanh(int n, const float* a, float* r) { checked<xebsTanh_HA, xebsTanh_21, xebsTanh_11>(__func__, n, a, r); }
void xebdAsinh(int n, const double* a, double* r) { checked<xebdAsinh_HA, xebdAsinh_50>(__func__, n, a, r); }
void xebsAsinh(int n, const float* a, float* r) { checked<xebsAsinh_HA, xebsAsinh_21, xebsAsinh_11>(__func__, n, a, r); }
void xebdAcosh(int n, const double* a, double* r) { checked<xebdAcosh_HA, xebdAcosh_50>(__func__, n, a, r); }
void xebsAcosh(int n, const float* a, float* r) { checked<xebsAcosh_HA, xebsAcosh_21, xebsAcosh_11>(__func__, n, a, r); }
void xebdAtanh(int n, const double* a, double* r) { checked<xebdAtanh_HA, xebdAtanh_50>(__func__, n, a, r); }
void xebsAtanh(int n, const float* a, float* r) { checked<xebsAtanh_HA, xebsAtanh_21, xebsAtanh_11>(__func__, n, a, r); }
void xebdErf(int n, const double* a, double* r) { checked<xebdErf_HA, xebdErf_50>(__func__, n, a, r); }
void xebsErf(int n, const float* a, float* r) { checked<xebsErf_HA, xebsErf_21, xebsErf_11>(__func__, n, a, r); }
void xebdErfc(int n, const double* a, double* r) { checked<xebdErfc_HA, xebdErfc_50>(__func__, n, a, r); }
void xebsErfc(int n, const float* a, float* r) { checked<xebsErfc_HA, xebsErfc_21, xebsErfc_11>(__func__, n, a, r); }
// clang-format on

}  // extern "C"
