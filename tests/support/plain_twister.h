// A 32-bit Mersenne Twister one word at a time, the textbook way: the array
// seeding, a whole generation computed when the last word is used, the
// tempering (u, 7, b, 15, c, 18).  The reference of the MT19937 and MT2203
// tests.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace xt {

struct TwisterConstants {
    int n, m;             // degree, middle
    uint32_t upper;       // bits of x[k] in the twist
    int temper_shift;     // u
    uint32_t a, b, c;     // twist, tempering masks
};

class PlainTwister {
public:
    PlainTwister(std::vector<uint32_t> key, TwisterConstants k) : k_(k), mt_(k.n), pos_(k.n) {
        if (key.empty()) key = {1};
        const std::size_t n = mt_.size();
        mt_[0] = 19650218u;
        for (std::size_t i = 1; i < n; ++i)
            mt_[i] = 1812433253u * (mt_[i - 1] ^ (mt_[i - 1] >> 30)) + static_cast<uint32_t>(i);
        std::size_t i = 1, j = 0;
        auto advance = [&] {
            if (++i >= n) {
                mt_[0] = mt_[n - 1];
                i = 1;
            }
        };
        for (std::size_t s = std::max(n, key.size()); s; --s, advance(), j = (j + 1) % key.size())
            mt_[i] = (mt_[i] ^ ((mt_[i - 1] ^ (mt_[i - 1] >> 30)) * 1664525u)) + key[j] + static_cast<uint32_t>(j);
        for (std::size_t s = n - 1; s; --s, advance())
            mt_[i] = (mt_[i] ^ ((mt_[i - 1] ^ (mt_[i - 1] >> 30)) * 1566083941u)) - static_cast<uint32_t>(i);
        mt_[0] = 0x80000000u;
    }
    // At given words and position (a stream's state: n words, then the position).
    PlainTwister(const unsigned char* state, TwisterConstants k) : k_(k), mt_(k.n) {
        std::memcpy(mt_.data(), state, 4 * mt_.size());
        std::memcpy(&pos_, state + 4 * mt_.size(), sizeof pos_);
    }
    // The next untempered word.
    uint32_t raw() {
        const int n = k_.n;
        if (pos_ == n) {
            for (int j = 0; j < n; ++j) {
                const uint32_t y = (mt_[j] & k_.upper) | (mt_[(j + 1) % n] & ~k_.upper);
                mt_[j] = mt_[(j + k_.m) % n] ^ (y >> 1) ^ ((y & 1u) ? k_.a : 0u);
            }
            pos_ = 0;
        }
        return mt_[pos_++];
    }
    uint32_t operator()() {
        uint32_t y = raw();
        y ^= y >> k_.temper_shift;
        y ^= (y << 7) & k_.b;
        y ^= (y << 15) & k_.c;
        return y ^ (y >> 18);
    }
    std::vector<uint32_t> take(std::size_t count) {
        std::vector<uint32_t> v(count);
        for (auto& e : v) e = (*this)();
        return v;
    }

private:
    TwisterConstants k_;
    std::vector<uint32_t> mt_;
    int32_t pos_;
};

}  // namespace xt
