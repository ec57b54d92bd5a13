// The tables of the kernel classes, filled when the library loads.
#include "vecmath/kernel_table.h"

namespace xeb {

namespace vm {
namespace {

constexpr KernelTable baseline_table() {
    KernelTable t{};
    t.dExp_HA = t.dExp_50 = baseline::dExp_HA;
    t.sExp_HA = t.sExp_21 = t.sExp_11 = baseline::sExp_HA;
    t.dLn_HA = t.dLn_50 = baseline::dLn_HA;
    t.sLn_HA = t.sLn_21 = t.sLn_11 = baseline::sLn_HA;
    t.dLog10_HA = t.dLog10_50 = baseline::dLog10_HA;
    t.sLog10_HA = t.sLog10_21 = t.sLog10_11 = baseline::sLog10_HA;
    t.dInv_HA = t.dInv_50 = baseline::dInv_HA;
    t.sInv_HA = t.sInv_21 = t.sInv_11 = baseline::sInv_HA;
    t.dSqrt_HA = t.dSqrt_50 = baseline::dSqrt_HA;
    t.sSqrt_HA = t.sSqrt_21 = t.sSqrt_11 = baseline::sSqrt_HA;
    t.dInvSqrt_HA = t.dInvSqrt_50 = baseline::dInvSqrt_HA;
    t.sInvSqrt_HA = t.sInvSqrt_21 = t.sInvSqrt_11 = baseline::sInvSqrt_HA;
    t.dCbrt_HA = t.dCbrt_50 = baseline::dCbrt_HA;
    t.sCbrt_HA = t.sCbrt_21 = t.sCbrt_11 = baseline::sCbrt_HA;
    t.dInvCbrt_HA = t.dInvCbrt_50 = baseline::dInvCbrt_HA;
    t.sInvCbrt_HA = t.sInvCbrt_21 = t.sInvCbrt_11 = baseline::sInvCbrt_HA;
    t.dDiv_HA = t.dDiv_50 = baseline::dDiv_HA;
    t.sDiv_HA = t.sDiv_21 = t.sDiv_11 = baseline::sDiv_HA;
    t.dPow_HA = baseline::dPow_HA;
    t.dPow_50 = baseline::dPow_50;
    t.sPow_HA = baseline::sPow_HA;
    t.sPow_21 = t.sPow_11 = baseline::sPow_21;
    t.dPowx_HA = t.dPowx_50 = baseline::dPowx_HA;
    t.sPowx_HA = t.sPowx_21 = t.sPowx_11 = baseline::sPowx_HA;
    t.dSin_HA = t.dSin_50 = baseline::dSin_HA;
    t.dCos_HA = t.dCos_50 = baseline::dCos_HA;
    t.dSinCos_HA = t.dSinCos_50 = baseline::dSinCos_HA;
    t.dTan_HA = baseline::dTan_HA;
    t.dTan_50 = baseline::dTan_50;
    t.sSin_HA = baseline::sSin_HA;
    t.sSin_21 = t.sSin_11 = baseline::sSin_21;
    t.sCos_HA = baseline::sCos_HA;
    t.sCos_21 = t.sCos_11 = baseline::sCos_21;
    t.sSinCos_HA = baseline::sSinCos_HA;
    t.sSinCos_21 = t.sSinCos_11 = baseline::sSinCos_21;
    t.sTan_HA = baseline::sTan_HA;
    t.sTan_21 = t.sTan_11 = baseline::sTan_21;
    t.dErf_HA = t.dErf_50 = baseline::dErf_HA;
    t.sErf_HA = t.sErf_21 = t.sErf_11 = baseline::sErf_HA;
    t.dErfc_HA = t.dErfc_50 = baseline::dErfc_HA;
    t.sErfc_HA = t.sErfc_21 = t.sErfc_11 = baseline::sErfc_HA;
    t.dAsin_HA = t.dAsin_50 = baseline::dAsin_HA;
    t.dAcos_HA = t.dAcos_50 = baseline::dAcos_HA;
    t.dAtan_HA = t.dAtan_50 = baseline::dAtan_HA;
    t.dAtan2_HA = t.dAtan2_50 = baseline::dAtan2_HA;
    t.sAsin_HA = baseline::sAsin_HA;
    t.sAsin_21 = t.sAsin_11 = baseline::sAsin_21;
    t.sAcos_HA = baseline::sAcos_HA;
    t.sAcos_21 = t.sAcos_11 = baseline::sAcos_21;
    t.sAtan_HA = baseline::sAtan_HA;
    t.sAtan_21 = t.sAtan_11 = baseline::sAtan_21;
    t.sAtan2_HA = baseline::sAtan2_HA;
    t.sAtan2_21 = t.sAtan2_11 = baseline::sAtan2_21;
    t.dSinh_HA = t.dSinh_50 = baseline::dSinh_HA;
    t.sSinh_HA = t.sSinh_21 = t.sSinh_11 = baseline::sSinh_HA;
    t.dCosh_HA = t.dCosh_50 = baseline::dCosh_HA;
    t.sCosh_HA = t.sCosh_21 = t.sCosh_11 = baseline::sCosh_HA;
    t.dTanh_HA = t.dTanh_50 = baseline::dTanh_HA;
    t.sTanh_HA = t.sTanh_21 = t.sTanh_11 = baseline::sTanh_HA;
    t.dAsinh_HA = t.dAsinh_50 = baseline::dAsinh_HA;
    t.sAsinh_HA = t.sAsinh_21 = t.sAsinh_11 = baseline::sAsinh_HA;
    t.dAcosh_HA = t.dAcosh_50 = baseline::dAcosh_HA;
    t.sAcosh_HA = t.sAcosh_21 = t.sAcosh_11 = baseline::sAcosh_HA;
    t.dAtanh_HA = t.dAtanh_50 = baseline::dAtanh_HA;
    t.sAtanh_HA = t.sAtanh_21 = t.sAtanh_11 = baseline::sAtanh_HA;
    return t;
}

}  // namespace
}  // namespace vm

// Each class's code fills the entries it has (vecmath/simd/kernels.cpp,
// compiled once per class); the rest stay the baseline's.
namespace avx2 {
void fill_kernel_table(vm::KernelTable& t);
}
namespace avx512 {
void fill_kernel_table(vm::KernelTable& t);
}

namespace vm {
namespace {

// Constant-initialised (kBaseline is a constant expression), so nothing
// runs after the load-time choice below to undo it, and a call made before
// it (from another load-time constructor) runs the baseline.
constexpr KernelTable kBaseline = baseline_table();
KernelTable tables[frame::kKernelClasses] = {kBaseline, kBaseline, kBaseline};

void fill_tables() {
    const frame::KernelClass best = frame::machine_class();
    if (best >= frame::KernelClass::Avx2) avx2::fill_kernel_table(tables[1]);
    if (best >= frame::KernelClass::Avx512) avx512::fill_kernel_table(tables[2]);
}

}  // namespace

KernelTable active = kBaseline;

const KernelTable* class_table(frame::KernelClass c) {
    if (c > frame::machine_class()) return nullptr;
    return &tables[static_cast<int>(c)];
}

bool use_class(frame::KernelClass c) {
    const KernelTable* t = class_table(c);
    if (t == nullptr) return false;
    active = *t;
    frame::set_kernel_class(c);
    return true;
}

namespace {
// Before the library's other load-time work and any constructor of a
// program linking it statically.
__attribute__((constructor(101))) void choose_at_load() {
    fill_tables();
    active = tables[static_cast<int>(frame::kernel_class())];
}
}  // namespace

}  // namespace vm
}  // namespace xeb
