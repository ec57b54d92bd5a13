// A law of ours on an MT19937 stream against a <random> distribution on
// std::mt19937, both filling count elements of T (paired timing, see
// paired.h): law(stream, n, r) fills r in one call, peer(engine) gives one
// element per call.
#pragma once

#include <random>

#include "paired.h"
#include "xebruk/xebruk.h"

namespace xbench {

template <class T, class Law, class Peer>
void law_against(benchmark::State& state, int count, Law law, Peer peer) {
    RukStream* s = nullptr;
    const uint32_t key[4] = {0x123, 0x234, 0x345, 0x456};
    rukNewStreamEx(&s, RUK_BRNG_MT19937, 4, key);
    std::mt19937 engine(1);
    paired_fill<T>(
        state, count, [&](T* r, int n) { law(s, n, r); },
        [&] { return static_cast<T>(peer(engine)); });
    rukDeleteStream(&s);
}

}  // namespace xbench
