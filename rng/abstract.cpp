// Abstract streams: the numbers come from a circular buffer of the
// caller's, refilled by the caller's callback when a draw runs short.
//
// Positions.  size is the buffer's length, readPos the oldest unread
// number, freeCount the places free for new numbers; the size - freeCount
// numbers from readPos on (wrapping at size) are available, and the next
// one written goes to (readPos + available) mod size.  The buffer starts
// empty.  A draw works on local copies of the positions and stores them
// only when it succeeds, so a callback failure leaves the stream as it
// was and the numbers handed out before it are handed out again by the
// next draw.
//
// Arithmetic.  The word form copies words.  The real forms map a buffer
// value v from the stream's interval [lo, hi] to the call's [a, b] as
// (v - lo) * s + a with s = (b - a) / (hi - lo), formed once per call, each
// operation rounded to the form's precision (double or single): an
// interval equal to the stream's gives back the buffer's numbers (exactly
// for lo = 0, hi = 1), and the result never depends on the thread's
// control words.
//
// Safety beyond the counting rules.  Positions are 64-bit inside a draw, so
// no count overflows.  readPos moves backwards (negative counts) modulo
// size onto 0 .. size - 1, never before the buffer.  A stream created with
// a negative length has no place to read: a draw that would hand out
// numbers from it answers RUK_ERROR_BAD_ARGUMENT.  A callback that sets
// the length it is shown to 0 answers RUK_ERROR_CALLBACK_COUNT (there is
// no length to wrap the next write position at).  A stream whose buffer
// address is null (one loaded from a file) answers RUK_ERROR_NULL_ARG.
#include "rng/abstract.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "frame/kernel_frame.h"
#include "rng/load_checks.h"
#include "rng/stream.h"
#include "xebruk/rng_abstract.h"

namespace xeb::rng {
namespace {

struct Positions {
    int32_t size;       // buffer length in numbers
    int32_t readPos;    // oldest unread number
    int32_t freeCount;  // places free for new numbers
};

// The states as stream files hold them.  The slots where a 32-bit build
// keeps the buffer and callback addresses are written as 0 and never read.
struct WordState {
    Positions at;
    uint32_t bufferSlot, updateSlot;
    uint32_t unused;
};
struct DoubleState {
    Positions at;
    uint32_t unused;
    double lo, hi;
    uint32_t bufferSlot, updateSlot;
};
struct SingleState {
    Positions at;
    float lo, hi;
    uint32_t bufferSlot, updateSlot;
    uint32_t unused;
};
static_assert(kStreamHeaderBytes + sizeof(WordState) == 40, "integer abstract streamSize");
static_assert(kStreamHeaderBytes + sizeof(DoubleState) == 56, "double abstract streamSize");
static_assert(kStreamHeaderBytes + sizeof(SingleState) == 48, "single abstract streamSize");

// The trailer behind streamSize bytes.
struct Links {
    void* buffer;
    RukUpdateFn update;
};

// One form: its state, the element of its buffer and results, and the map
// from buffer values to results.
struct WordForm {
    using State = WordState;
    using Element = uint32_t;
    struct Map {
        uint32_t operator()(uint32_t v) const { return v; }
    };
};
template <class T, class S>
struct RealForm {
    using State = S;
    using Element = T;
    struct Map {
        T lo, scale, a;
        T operator()(T v) const { return (v - lo) * scale + a; }
    };
    static Map map(const State& s, T a, T b) { return {s.lo, (b - a) / (s.hi - s.lo), a}; }
};
using DoubleForm = RealForm<double, DoubleState>;
using SingleForm = RealForm<float, SingleState>;

template <class Form>
Links& links_of(RukStream* stream) {
    return *reinterpret_cast<Links*>(state_bytes(stream) + sizeof(typename Form::State));
}

// (x + k) mod size onto 0 .. size - 1 for a length of 1 or more.
int64_t forward(int64_t x, int64_t k, int64_t size) {
    if (size < 1) return (x + k) % size;  // nothing is ever read from such a stream
    const int64_t m = (x + k) % size;
    return m < 0 ? m + size : m;
}

int32_t saturate(int64_t v) {
    return static_cast<int32_t>(std::clamp<int64_t>(v, std::numeric_limits<int32_t>::min(),
                                                    std::numeric_limits<int32_t>::max()));
}

// A draw of n results from the buffer, by the counting rules above.
template <class Form>
int32_t draw(RukStream* stream, int32_t n, typename Form::Element* r, typename Form::Map map) {
    using E = typename Form::Element;
    auto& state = state_of<typename Form::State>(stream);
    const Links links = links_of<Form>(stream);
    E* const buffer = static_cast<E*>(links.buffer);
    if (!buffer) return RUK_ERROR_NULL_ARG;
    const int64_t size = state.at.size;
    if (size == 0) return RUK_ERROR_BAD_ARGUMENT;  // only initStream called by hand makes one
    int64_t read = state.at.readPos, vacant = state.at.freeCount, want = n;
    E* out = r;
    // Hands out k numbers from read on, wrapping at size.
    auto hand_out = [&](int64_t k) {
        if (k <= 0) return true;
        if (size < 1) return false;
        for (int64_t at = read; k > 0;) {
            const int64_t run = std::min(k, size - at);
            for (int64_t i = 0; i < run; ++i) out[i] = map(buffer[at + i]);
            out += run;
            k -= run;
            at = 0;
        }
        return true;
    };
    const int64_t available = size - vacant;
    int64_t write = (read + available) % size;
    if (want <= available) {
        if (!hand_out(want)) return RUK_ERROR_BAD_ARGUMENT;
        read = forward(read, want, size);
        vacant += want;
        want = 0;
    } else if (available > 0) {
        if (!hand_out(available)) return RUK_ERROR_BAD_ARGUMENT;
        want -= available;
        vacant += available;
        read = forward(read, available, size);
    }
    while (want > 0) {
        int32_t length = static_cast<int32_t>(size);
        int32_t nmin = saturate(std::min(vacant, want)), nmax = saturate(vacant);
        int32_t write_pos = static_cast<int32_t>(write);
        const int32_t got = links.update(stream, &length, buffer, &nmin, &nmax, &write_pos);
        if (got < 0 || got > nmax) return RUK_ERROR_CALLBACK_COUNT;
        if (got == 0) return RUK_ERROR_CALLBACK_EMPTY;
        if (length == 0) return RUK_ERROR_CALLBACK_COUNT;
        vacant -= got;
        write = (int64_t{write_pos} + got) % length;
        const int64_t k = std::min<int64_t>(got, want);
        if (!hand_out(k)) return RUK_ERROR_BAD_ARGUMENT;
        read = forward(read, k, size);
        vacant += k;
        want -= k;
    }
    state.at.readPos = static_cast<int32_t>(read);  // within the length
    state.at.freeCount = saturate(vacant);
    return RUK_OK;
}

// The creators' record: pointer words, the buffer length and the interval
// by address.
template <class Form>
int32_t init(int32_t method, RukStream* stream, int32_t, const uint32_t* params) {
    if (method == RUK_INIT_LEAPFROG) return RUK_ERROR_NO_LEAPFROG;
    if (method == RUK_INIT_SKIPAHEAD) return RUK_ERROR_NO_SKIP;
    if (method != RUK_INIT_NEW) return RUK_ERROR_UNKNOWN_METHOD;
    const auto* record = reinterpret_cast<const uintptr_t*>(params);
    auto& s = state_of<typename Form::State>(stream);
    std::memset(&s, 0, sizeof s);
    const int32_t size = *reinterpret_cast<const int32_t*>(record[0]);
    s.at = {size, 0, size};
    Links& links = links_of<Form>(stream);
    links.buffer = reinterpret_cast<void*>(record[1]);
    if constexpr (std::is_same_v<Form, WordForm>) {
        links.update = reinterpret_cast<RukUpdateFn>(record[2]);
    } else {
        using T = typename Form::Element;
        s.lo = *reinterpret_cast<const T*>(record[2]);
        s.hi = *reinterpret_cast<const T*>(record[3]);
        links.update = reinterpret_cast<RukUpdateFn>(record[4]);
    }
    return RUK_OK;
}

template <class Form>
int32_t create(RukStream** streamOut, int32_t id, int32_t count, const uintptr_t* record) {
    int32_t row, sub;
    const RukBrngEntry* table = rukGetBrngBaseOffset(id, &row, &sub);
    const int32_t status = rukAllocateStream(streamOut, table, id, row, sub);
    if (status < 0) return status;
    return table[row].initStream(RUK_INIT_NEW, *streamOut, count,
                                 reinterpret_cast<const uint32_t*>(record));
}

template <class T>
int32_t new_real(RukStream** streamOut, int32_t id, int32_t n, T* buffer, T a, T b,
                 RukUpdateFn update) {
    // NaN bounds pass: only an ordered a >= b is refused.
    if (n == 0 || !buffer || a >= b || !update) return RUK_ERROR_BAD_ARGUMENT;
    const uintptr_t record[5] = {reinterpret_cast<uintptr_t>(&n), reinterpret_cast<uintptr_t>(buffer),
                                 reinterpret_cast<uintptr_t>(&a), reinterpret_cast<uintptr_t>(&b),
                                 reinterpret_cast<uintptr_t>(update)};
    using Form = std::conditional_t<std::is_same_v<T, double>, DoubleForm, SingleForm>;
    return create<Form>(streamOut, id, 10, record);
}

// A loaded state must be one the draws keep: a length other than 0 and,
// for a positive one, readPos inside the buffer and freeCount at most the
// length; an interval that is not an ordered lo >= hi.  The addresses are
// not in the file; a loaded stream has none.
template <class Form>
bool valid_state(const unsigned char* bytes) {
    typename Form::State s;
    std::memcpy(&s, bytes, sizeof s);
    const Positions& at = s.at;
    if (at.size == 0) return false;
    if (at.size > 0 && (at.readPos < 0 || at.readPos >= at.size || at.freeCount > at.size))
        return false;
    if constexpr (std::is_same_v<Form, WordForm>)
        return true;
    else
        return !(s.lo >= s.hi);
}
const StateCheckRegistration kWordCheck{rukBRngiAbstractInitStream, valid_state<WordForm>};
const StateCheckRegistration kDoubleCheck{rukBRngdAbstractInitStream, valid_state<DoubleForm>};
const StateCheckRegistration kSingleCheck{rukBRngsAbstractInitStream, valid_state<SingleForm>};

}  // namespace

std::size_t abstract_link_bytes(const RukBrngEntry& row) {
    const RukInitStreamFn init = row.initStream;
    const bool abstract = init == rukBRngiAbstractInitStream || init == rukBRngdAbstractInitStream ||
                          init == rukBRngsAbstractInitStream;
    return abstract ? sizeof(Links) : 0;
}

}  // namespace xeb::rng

using namespace xeb::rng;

int32_t rukiNewAbstractStream(RukStream** streamOut, int32_t n, uint32_t* ibuf, RukUpdateFn update) {
    if (n == 0 || !ibuf || !update) return RUK_ERROR_BAD_ARGUMENT;
    const uintptr_t record[3] = {reinterpret_cast<uintptr_t>(&n), reinterpret_cast<uintptr_t>(ibuf),
                                 reinterpret_cast<uintptr_t>(update)};
    return create<WordForm>(streamOut, RUK_BRNG_IABSTRACT, 6, record);
}

int32_t rukdNewAbstractStream(RukStream** streamOut, int32_t n, double* dbuf, double a, double b,
                              RukUpdateFn update) {
    return new_real(streamOut, RUK_BRNG_DABSTRACT, n, dbuf, a, b, update);
}

int32_t ruksNewAbstractStream(RukStream** streamOut, int32_t n, float* sbuf, float a, float b,
                              RukUpdateFn update) {
    return new_real(streamOut, RUK_BRNG_SABSTRACT, n, sbuf, a, b, update);
}

int32_t rukBRngiAbstractInitStream(int32_t method, RukStream* stream, int32_t n,
                                   const uint32_t* params) {
    return init<WordForm>(method, stream, n, params);
}
int32_t rukBRngdAbstractInitStream(int32_t method, RukStream* stream, int32_t n,
                                   const uint32_t* params) {
    return init<DoubleForm>(method, stream, n, params);
}
int32_t rukBRngsAbstractInitStream(int32_t method, RukStream* stream, int32_t n,
                                   const uint32_t* params) {
    return init<SingleForm>(method, stream, n, params);
}

int32_t rukiBRngiAbstract(RukStream* stream, int32_t n, uint32_t* r) {
    return draw<WordForm>(stream, n, r, {});
}
int32_t rukdBRngdAbstract(RukStream* stream, int32_t n, double* r, double a, double b) {
    const xeb::frame::StreamControlWords words;
    return draw<DoubleForm>(stream, n, r, DoubleForm::map(state_of<DoubleState>(stream), a, b));
}
int32_t ruksBRngsAbstract(RukStream* stream, int32_t n, float* r, float a, float b) {
    const xeb::frame::StreamControlWords words;
    return draw<SingleForm>(stream, n, r, SingleForm::map(state_of<SingleState>(stream), a, b));
}

// The kernels of the other forms: one function of no parameters exported
// under six names, each declared with its row's call form in the header.
// A function of no parameters may be called with any arguments under the
// x86-64 and x86 C calling conventions (the caller owns the argument
// area); the compiler's check of alias types is silenced for that reason
// only.
extern "C" {

int32_t ruk_wrong_abstract_form() { return RUK_ERROR_WRONG_ABSTRACT_FORM; }

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wattribute-alias"
#pragma GCC diagnostic ignored "-Wmissing-attributes"
#endif
int32_t rukdBRngiAbstract(RukStream*, int32_t, double*, double, double)
    __attribute__((alias("ruk_wrong_abstract_form")));
int32_t rukdBRngsAbstract(RukStream*, int32_t, double*, double, double)
    __attribute__((alias("ruk_wrong_abstract_form")));
int32_t ruksBRngiAbstract(RukStream*, int32_t, float*, float, float)
    __attribute__((alias("ruk_wrong_abstract_form")));
int32_t ruksBRngdAbstract(RukStream*, int32_t, float*, float, float)
    __attribute__((alias("ruk_wrong_abstract_form")));
int32_t rukiBRngdAbstract(RukStream*, int32_t, uint32_t*) __attribute__((alias("ruk_wrong_abstract_form")));
int32_t rukiBRngsAbstract(RukStream*, int32_t, uint32_t*) __attribute__((alias("ruk_wrong_abstract_form")));
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
}
