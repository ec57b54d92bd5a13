// The kernel table of one SIMD class: each family's class code fills its
// entries (compiled once per class, like the families themselves).
#include "frame/simd.h"
#include "vecmath/kernel_table.h"

namespace xeb {
inline namespace XEB_ISA {

void explog_entries(vm::KernelTable& t);
void roots_entries(vm::KernelTable& t);
void divide_entries(vm::KernelTable& t);
void power_entries(vm::KernelTable& t);
void trig_entries(vm::KernelTable& t);
void erf_entries(vm::KernelTable& t);
void invtrig_entries(vm::KernelTable& t);
void hyperbolic_entries(vm::KernelTable& t);

void fill_kernel_table(vm::KernelTable& t) {
    explog_entries(t);
    roots_entries(t);
    divide_entries(t);
    power_entries(t);
    trig_entries(t);
    erf_entries(t);
    invtrig_entries(t);
    hyperbolic_entries(t);
}

}  // namespace XEB_ISA
}  // namespace xeb
