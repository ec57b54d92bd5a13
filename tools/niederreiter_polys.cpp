// Writes rng/niederreiter_tables.inc: the first 318 irreducible polynomials
// over GF(2) in increasing order of their integer value (bit i the
// coefficient of x^i), 2 (x), 3 (x + 1), 7, 11, 13, ..., 3047, which the
// Niederr generator takes as the bases of its dimensions 0..317.
//
// A polynomial of degree e >= 1 is irreducible when no polynomial of
// degree 1..e/2 divides it; the remainder is taken by shifting and XOR.
// Usage: niederreiter_polys --out|--check <source dir>
#include <cstdint>
#include <cstdio>

#include "table_output.h"

namespace {

constexpr int kCount = 318;

int degree(uint32_t p) { return 31 - __builtin_clz(p); }

uint32_t remainder(uint32_t a, uint32_t b) {
    const int db = degree(b);
    for (int da = degree(a); a != 0 && da >= db; da = a != 0 ? degree(a) : -1)
        a ^= b << (da - db);
    return a;
}

bool irreducible(uint32_t p) {
    const int e = degree(p);
    if (e < 1) return false;
    for (uint32_t q = 2; degree(q) <= e / 2; ++q)
        if (remainder(p, q) == 0) return false;
    return true;
}

void generate(FILE* out) {
    std::fprintf(out,
                 "// Irreducible polynomials over GF(2) in increasing order, bit i the\n"
                 "// coefficient of x^i: the base of each Niederr dimension 0..%d.\n"
                 "const uint32_t kNiederrPolynomials[kNiederrMaxDimension] = {\n",
                 kCount - 1);
    int written = 0;
    for (uint32_t p = 2; written < kCount; ++p) {
        if (!irreducible(p)) continue;
        const bool first = written % 12 == 0;
        ++written;
        std::fprintf(out, "%s%u,%s", first ? "    " : "", p, written % 12 == 0 || written == kCount ? "\n" : " ");
    }
    std::fprintf(out, "};\n");
}

}  // namespace

int main(int argc, char** argv) {
    return write_or_check(argc, argv, "niederreiter_polys", {{"rng/niederreiter_tables.inc", generate}});
}
