// The catalogue of exported vector kernels the tool knows: each family's
// file in cli/ registers its rows with a static Registration, so adding a
// family adds a file and touches nothing else.
#pragma once

#include <string>
#include <vector>

namespace cli {

enum class Shape {
    Unary,         // (n, a, r)
    Binary,        // (n, a, b, r)
    ScalarBinary,  // (n, a, b scalar, r)
    TwoOutputs,    // (n, a, y, z)
};

struct KernelEntry {
    const char* short_name;  // what the user types: "inv_ha", "div_50", ...
    const char* exported;    // "xebdInv_HA"
    char precision;          // 'd' or 's'
    Shape shape;
    void (*d_unary)(int, const double*, double*) = nullptr;
    void (*d_binary)(int, const double*, const double*, double*) = nullptr;
    void (*d_scalar)(int, const double*, double, double*) = nullptr;
    void (*d_two)(int, const double*, double*, double*) = nullptr;
    void (*s_unary)(int, const float*, float*) = nullptr;
    void (*s_binary)(int, const float*, const float*, float*) = nullptr;
    void (*s_scalar)(int, const float*, float, float*) = nullptr;
    void (*s_two)(int, const float*, float*, float*) = nullptr;
};

std::vector<KernelEntry>& catalogue();  // sorted by exported name on first use by a command
const KernelEntry* find_kernel(const std::string& short_name, char precision);

struct Registration {
    explicit Registration(std::vector<KernelEntry> rows);
};

// Builders for the rows.
KernelEntry unary(const char* short_name, const char* exported, void (*f)(int, const double*, double*));
KernelEntry unary(const char* short_name, const char* exported, void (*f)(int, const float*, float*));
KernelEntry binary(const char* short_name, const char* exported,
                   void (*f)(int, const double*, const double*, double*));
KernelEntry binary(const char* short_name, const char* exported,
                   void (*f)(int, const float*, const float*, float*));
KernelEntry scalar_binary(const char* short_name, const char* exported,
                          void (*f)(int, const double*, double, double*));
KernelEntry scalar_binary(const char* short_name, const char* exported,
                          void (*f)(int, const float*, float, float*));
KernelEntry two_outputs(const char* short_name, const char* exported,
                        void (*f)(int, const double*, double*, double*));
KernelEntry two_outputs(const char* short_name, const char* exported,
                        void (*f)(int, const float*, float*, float*));

}  // namespace cli
