#include "catalogue.h"

#include <algorithm>

namespace cli {

std::vector<KernelEntry>& catalogue() {
    static std::vector<KernelEntry> rows;
    return rows;
}

Registration::Registration(std::vector<KernelEntry> rows) {
    auto& all = catalogue();
    all.insert(all.end(), rows.begin(), rows.end());
    std::sort(all.begin(), all.end(), [](const KernelEntry& x, const KernelEntry& y) {
        return std::string(x.exported) < std::string(y.exported);
    });
}

const KernelEntry* find_kernel(const std::string& short_name, char precision) {
    for (const KernelEntry& k : catalogue())
        if (short_name == k.short_name && k.precision == precision) return &k;
    return nullptr;
}

KernelEntry unary(const char* s, const char* e, void (*f)(int, const double*, double*)) {
    KernelEntry k{s, e, 'd', Shape::Unary};
    k.d_unary = f;
    return k;
}
KernelEntry unary(const char* s, const char* e, void (*f)(int, const float*, float*)) {
    KernelEntry k{s, e, 's', Shape::Unary};
    k.s_unary = f;
    return k;
}
KernelEntry binary(const char* s, const char* e, void (*f)(int, const double*, const double*, double*)) {
    KernelEntry k{s, e, 'd', Shape::Binary};
    k.d_binary = f;
    return k;
}
KernelEntry binary(const char* s, const char* e, void (*f)(int, const float*, const float*, float*)) {
    KernelEntry k{s, e, 's', Shape::Binary};
    k.s_binary = f;
    return k;
}

KernelEntry scalar_binary(const char* s, const char* e, void (*f)(int, const double*, double, double*)) {
    KernelEntry k{s, e, 'd', Shape::ScalarBinary};
    k.d_scalar = f;
    return k;
}
KernelEntry scalar_binary(const char* s, const char* e, void (*f)(int, const float*, float, float*)) {
    KernelEntry k{s, e, 's', Shape::ScalarBinary};
    k.s_scalar = f;
    return k;
}
KernelEntry two_outputs(const char* s, const char* e, void (*f)(int, const double*, double*, double*)) {
    KernelEntry k{s, e, 'd', Shape::TwoOutputs};
    k.d_two = f;
    return k;
}
KernelEntry two_outputs(const char* s, const char* e, void (*f)(int, const float*, float*, float*)) {
    KernelEntry k{s, e, 's', Shape::TwoOutputs};
    k.s_two = f;
    return k;
}

}  // namespace cli
