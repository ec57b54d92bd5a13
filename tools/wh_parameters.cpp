// Writes rng/wh_parameters.inc: the 273 parameter sets of the WH generator,
// one per sub-id.  A set is four multiplicative congruential generators
// x <- a x mod m with prime moduli m in 16718909 .. 16776971 and
// multipliers a in 112 .. 127, each a primitive root of its modulus, so that
// every component runs through all of 1 .. m - 1 (period m - 1).  Within a
// set the numbers m - 1 have no common factor but 2, so the period of the
// combination is the product of the m - 1 over 8, about 2^92.
//
// Sub-ids 0, 1, 2 and 272 are fixed sets (checked here, not chosen).  The
// others come from walking the primes of the range downwards: a set takes
// the next prime that no set uses yet, that has a primitive root among
// 112 .. 127, and whose m - 1 shares only the factor 2 with those the set
// already holds; its multiplier is the largest such root the set does not
// use yet.  No modulus occurs twice in the table, so no two sets are alike.
// Each row also holds 1.0 / m in double, written as a hex float.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <vector>

#include "table_output.h"

namespace {

constexpr uint32_t kLowestModulus = 16718909;
constexpr uint32_t kHighestModulus = 16776971;
constexpr uint32_t kLowestMultiplier = 112;
constexpr uint32_t kHighestMultiplier = 127;
constexpr int kSets = 273;
constexpr int kComponents = 4;

struct Set {
    uint32_t multiplier[kComponents];
    uint32_t modulus[kComponents];
};

struct FixedSet {
    int sub_id;
    Set set;
};
const FixedSet kFixedSets[] = {
    {0, {{125, 117, 127, 126}, {16770647, 16770643, 16770623, 16770617}}},
    {1, {{127, 126, 125, 123}, {16770311, 16770283, 16770263, 16770209}}},
    {2, {{125, 119, 123, 126}, {16769807, 16769771, 16769749, 16769663}}},
    {272, {{126, 127, 125, 124}, {16766363, 16766359, 16766327, 16766231}}},
};

bool is_prime(uint32_t n) {
    if (n < 2) return false;
    for (uint32_t d = 2; d * d <= n; ++d)
        if (n % d == 0) return false;
    return true;
}

uint32_t pow_mod(uint32_t a, uint32_t e, uint32_t m) {
    uint64_t r = 1, b = a % m;
    for (; e; e >>= 1, b = b * b % m)
        if (e & 1) r = r * b % m;
    return static_cast<uint32_t>(r);
}

// a generates the multiplicative group mod the prime m: a^((m-1)/q) != 1
// for every prime factor q of m - 1.
bool is_primitive_root(uint32_t a, uint32_t m) {
    uint32_t rest = m - 1;
    for (uint32_t q = 2; q * q <= rest; ++q) {
        if (rest % q) continue;
        if (pow_mod(a, (m - 1) / q, m) == 1) return false;
        while (rest % q == 0) rest /= q;
    }
    return rest == 1 || pow_mod(a, (m - 1) / rest, m) != 1;
}

[[noreturn]] void fail(const char* what, uint32_t value) {
    std::fprintf(stderr, "wh_parameters: %s (%u)\n", what, value);
    std::exit(1);
}

// The largest multiplier of 112 .. 127 that is a primitive root of m and
// not among the first `taken` of the set, or 0.
uint32_t choose_multiplier(const Set& s, int taken, uint32_t m) {
    for (uint32_t c = kHighestMultiplier; c >= kLowestMultiplier; --c)
        if (std::find(s.multiplier, s.multiplier + taken, c) == s.multiplier + taken &&
            is_primitive_root(c, m))
            return c;
    return 0;
}

std::vector<Set> build_sets() {
    std::vector<Set> sets(kSets);
    std::vector<bool> fixed(kSets, false);
    std::vector<uint32_t> fixed_moduli;
    for (const FixedSet& f : kFixedSets) {
        for (int i = 0; i < kComponents; ++i) {
            const uint32_t m = f.set.modulus[i], a = f.set.multiplier[i];
            if (m < kLowestModulus || m > kHighestModulus || !is_prime(m)) fail("fixed modulus", m);
            if (!is_primitive_root(a, m)) fail("fixed multiplier is not a primitive root", a);
            fixed_moduli.push_back(m);
        }
        sets[static_cast<std::size_t>(f.sub_id)] = f.set;
        fixed[static_cast<std::size_t>(f.sub_id)] = true;
    }
    // The primes no fixed set holds, from the top of the range down.
    std::vector<uint32_t> free_primes;
    for (uint32_t m = kHighestModulus; m >= kLowestModulus; --m)
        if (is_prime(m) && std::find(fixed_moduli.begin(), fixed_moduli.end(), m) == fixed_moduli.end())
            free_primes.push_back(m);
    for (int k = 0; k < kSets; ++k) {
        if (fixed[static_cast<std::size_t>(k)]) continue;
        Set& s = sets[static_cast<std::size_t>(k)];
        for (int i = 0; i < kComponents; ++i) {
            auto fits = [&](uint32_t m) {
                for (int j = 0; j < i; ++j)
                    if (std::gcd(m - 1, s.modulus[j] - 1) != 2) return false;
                return choose_multiplier(s, i, m) != 0;
            };
            const auto it = std::find_if(free_primes.begin(), free_primes.end(), fits);
            if (it == free_primes.end()) fail("ran out of primes at sub-id", static_cast<uint32_t>(k));
            s.modulus[i] = *it;
            s.multiplier[i] = choose_multiplier(s, i, *it);
            free_primes.erase(it);
        }
    }
    return sets;
}

void generate(FILE* out) {
    std::fprintf(out,
                 "// WH parameter sets, row k for sub-id k: {multipliers}, {prime moduli},\n"
                 "// {1.0 / modulus in double}.\n");
    for (const Set& s : build_sets()) {
        const uint32_t* a = s.multiplier;
        const uint32_t* m = s.modulus;
        std::fprintf(out, "{{%u, %u, %u, %u}, {%u, %u, %u, %u}, {%a, %a, %a, %a}},\n", a[0], a[1],
                     a[2], a[3], m[0], m[1], m[2], m[3], 1.0 / m[0], 1.0 / m[1], 1.0 / m[2],
                     1.0 / m[3]);
    }
}

}  // namespace

int main(int argc, char** argv) {
    return write_or_check(argc, argv, "wh_parameters", {{"rng/wh_parameters.inc", generate}});
}
