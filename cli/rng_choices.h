// What `xebruk rng` can draw from and what it can draw: generators and
// laws, each registered by a file of its own with a static registration,
// so that a new generator or law adds a file and touches nothing else.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "xebruk/rng_stream.h"

namespace cli {

struct GeneratorChoice {
    const char* name;     // what the user types: "mt19937"
    int32_t id;           // RUK_BRNG_...
    const char* summary;  // one line for --list
    // Quasi-random generators: the largest dimension (0 for the others).
    // Their one seed word is the dimension (--dim), and the output is
    // written as points, one row of `dim` components each.  A larger
    // dimension would silently become 1 in the library, so the tool
    // refuses it.
    int32_t max_dim = 0;
    // Generators with several parameter sets: how many (ids id + 0 ..
    // id + sub_ids - 1, chosen with --id).
    int32_t sub_ids = 1;
};

// A law's draw of n values in one precision; p holds the law's parameters
// in the order of LawChoice::params, converted from the command line.
using DrawDouble = int32_t (*)(int32_t method, RukStream* stream, int32_t n, double* r,
                               const double* p);
using DrawSingle = int32_t (*)(int32_t method, RukStream* stream, int32_t n, float* r,
                               const double* p);
using DrawInt = int32_t (*)(int32_t method, RukStream* stream, int32_t n, int32_t* r,
                            const double* p);

// What is wrong with a law's parameters (naming the parameter), or an
// empty string.  The tool asks before it draws: the library trusts them.
using ParamCheck = std::string (*)(const double* p);

// Laws of vectors (gaussianmv) take no --params: they read their
// parameters from the files of --factor and --mean, as --storage says,
// check them, and pack them into the parameter array their draws receive;
// `dim` is the length of one vector, and a draw's count is of vectors.
// The answer is what was wrong, or an empty string.
struct VectorInputs {
    std::string factor, mean, storage;
    bool single;
};
using VectorSetup = std::string (*)(const VectorInputs& in, std::vector<double>& params, int64_t& dim);

struct LawChoice {
    const char* name;                // "gaussian"
    std::vector<const char*> params;  // parameter names in call order
    std::vector<double> defaults;    // one per parameter
    const char* summary;
    DrawDouble draw_double;
    DrawSingle draw_single;
    // Discrete laws: integer results, no precision; both real draws null.
    DrawInt draw_int = nullptr;
    ParamCheck check = nullptr;
    VectorSetup vector_setup = nullptr;
};

// Pieces of parameter checks: an empty string when the value is fit, else
// "<name> must be ...".
std::string above_zero(const char* name, double v);
std::string probability(const char* name, double v, bool zero_allowed = true);
std::string whole_number(const char* name, double v, double lo);
std::string below(const char* a, double va, const char* b, double vb);
// The first non-empty message.
std::string first_of(std::initializer_list<std::string> messages);

std::vector<GeneratorChoice>& generator_choices();
std::vector<LawChoice>& law_choices();

struct RngRegistration {
    explicit RngRegistration(std::vector<GeneratorChoice> rows);
    explicit RngRegistration(std::vector<LawChoice> rows);
};

// Adapters from a law's exported function to the table's form, one per
// parameter count: law2<T, F> calls F(method, stream, n, r, T(p[0]), T(p[1])).
template <class T, int32_t (*F)(int32_t, RukStream*, int32_t, T*, T, T)>
int32_t law2(int32_t m, RukStream* s, int32_t n, T* r, const double* p) {
    return F(m, s, n, r, static_cast<T>(p[0]), static_cast<T>(p[1]));
}
template <class T, int32_t (*F)(int32_t, RukStream*, int32_t, T*, T, T, T)>
int32_t law3(int32_t m, RukStream* s, int32_t n, T* r, const double* p) {
    return F(m, s, n, r, static_cast<T>(p[0]), static_cast<T>(p[1]), static_cast<T>(p[2]));
}
template <class T, int32_t (*F)(int32_t, RukStream*, int32_t, T*, T, T, T, T)>
int32_t law4(int32_t m, RukStream* s, int32_t n, T* r, const double* p) {
    return F(m, s, n, r, static_cast<T>(p[0]), static_cast<T>(p[1]), static_cast<T>(p[2]),
             static_cast<T>(p[3]));
}

}  // namespace cli
