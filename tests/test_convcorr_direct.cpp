// Direct kernels against a plain reference written here: for every output
// the defining sum as a loop over y (one dimension) or over all of x in
// dimension-0-fastest order (any rank), in the precision each kernel
// documents.  Summation order and precision are part of each kernel's
// result, so results must agree bit for bit.  Then the statuses of every
// member in their order, in-place work, decimation 0, and the x87
// precision taken from the caller.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "frame/fpu.h"
#include "frame/kernel_class.h"
#include "vecmath/kernel_table.h"
#include "support/scale.h"
#include "xebruk/convcorr.h"

namespace {

enum class Job { Conv, Corr };

// The precision of each type pair: element type, sum of one dimension
// (Wide), running sum between terms in any rank (Cell).
struct DD { using Data = double; using Wide = long double; using Cell = double; };
struct SD { using Data = float; using Wide = long double; using Cell = double; };
struct SS { using Data = float; using Wide = float; using Cell = float; };

template <class T>
bool same_bits(T a, T b) { return std::memcmp(&a, &b, sizeof(T)) == 0; }
template <class T>
bool same_buffer(const std::vector<T>& a, const std::vector<T>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}
template <class T>
T sentinel() { return -std::numeric_limits<T>::quiet_NaN(); }  // no kernel produces it

// An array of any rank at given strides inside a buffer.  `rebased`: the
// one-dimensional convention in every dimension (a negative stride counts
// from the far end; the pointer is the buffer's start); otherwise the
// pointer is element 0 and negative strides walk below it.
template <class T>
struct Array {
    std::vector<int32_t> shape, stride;
    bool rebased = true;
    std::vector<T> buffer;
    std::ptrdiff_t origin = 0;

    Array(std::vector<int32_t> n, std::vector<int32_t> s, bool rb)
        : shape(n), stride(s), rebased(rb) {
        std::ptrdiff_t span = 1;
        for (std::size_t d = 0; d < n.size(); ++d) {
            span += std::ptrdiff_t{n[d] - 1} * std::abs(s[d]);
            if (!rb && s[d] < 0) origin += std::ptrdiff_t{n[d] - 1} * -s[d];
        }
        buffer.assign(static_cast<std::size_t>(span), sentinel<T>());
    }
    std::ptrdiff_t offset(const std::vector<int64_t>& a) const {
        std::ptrdiff_t o = origin;
        for (std::size_t d = 0; d < shape.size(); ++d)
            o += rebased && stride[d] < 0 ? (a[d] - shape[d] + 1) * stride[d] : a[d] * stride[d];
        return o;
    }
    T* ptr() { return buffer.data() + origin; }
    T& at(const std::vector<int64_t>& a) { return buffer[static_cast<std::size_t>(offset(a))]; }
};

// Multi-indices of a shape, dimension 0 fastest.
std::vector<std::vector<int64_t>> indices(const std::vector<int32_t>& shape) {
    std::vector<std::vector<int64_t>> all;
    std::vector<int64_t> a(shape.size(), 0);
    for (;;) {
        all.push_back(a);
        std::size_t d = 0;
        for (; d < shape.size(); ++d) {
            if (++a[d] < shape[d]) break;
            a[d] = 0;
        }
        if (d == shape.size()) return all;
    }
}

template <class T>
void fill(Array<T>& arr, std::mt19937_64& rng, bool positive = false) {
    std::uniform_real_distribution<double> mantissa(positive ? 0.5 : -1.0, 1.0);
    std::uniform_int_distribution<int> exponent(-12, 12);
    for (const auto& a : indices(arr.shape))
        arr.at(a) = static_cast<T>(std::ldexp(mantissa(rng), exponent(rng)));
}

// Strides that keep distinct elements apart: dimensions in a random order,
// each stride beyond the span of the ones before (with random padding),
// random signs.  zero_ok: a stride may also be 0.
std::vector<int32_t> random_strides(const std::vector<int32_t>& shape, std::mt19937_64& rng,
                                    bool zero_ok) {
    std::vector<int> order(shape.size());
    for (std::size_t d = 0; d < order.size(); ++d) order[d] = static_cast<int>(d);
    std::shuffle(order.begin(), order.end(), rng);
    std::vector<int32_t> s(shape.size());
    int32_t cur = 1 + static_cast<int32_t>(rng() % 2);
    for (int d : order) {
        s[static_cast<std::size_t>(d)] = rng() % 2 ? cur : -cur;
        if (zero_ok && rng() % 8 == 0) s[static_cast<std::size_t>(d)] = 0;
        cur = cur * shape[static_cast<std::size_t>(d)] + static_cast<int32_t>(rng() % 2);
    }
    return s;
}

// ---------------------------------------------------------------------------
// One dimension.

template <class Data>
using Dec1D = int32_t (*)(const Data*, int32_t, const Data*, int32_t, Data*, int32_t, int32_t,
                          int32_t, int32_t, int32_t, int32_t);
template <class Data>
using Nodec1D = int32_t (*)(const Data*, int32_t, const Data*, int32_t, Data*, int32_t, int32_t,
                            int32_t, int32_t, int32_t);

// A member with the statuses and limits it documents.
template <class Data>
struct Member1D {
    const char* name;
    Job job;
    Dec1D<Data> dec;  // one of dec, nodec
    Nodec1D<Data> nodec;
    int32_t z_shape_status;
    int32_t min_decimation;  // smallest decimation accepted (_dec members)
    int64_t start_slack;     // positions past the last defined output a start may take
    bool inplace_test;

    bool decimated() const { return dec != nullptr; }
    int32_t base() const { return job == Job::Conv ? -2000 : -2100; }
    int64_t first(int64_t nx) const { return job == Job::Conv ? 0 : 1 - nx; }
    int64_t last(int64_t nx, int64_t ny) const { return job == Job::Conv ? nx + ny - 2 : ny - 1; }
    // start + zShape * decimation may not pass this.
    int64_t end_limit(int64_t nx, int64_t ny) const { return last(nx, ny) + (decimated() ? 2 : 1); }
    int32_t operator()(const Data* x, int32_t xs, const Data* y, int32_t ys, Data* z, int32_t zs,
                       int32_t nx, int32_t ny, int32_t start, int32_t nz, int32_t dec) const {
        return decimated() ? this->dec(x, xs, y, ys, z, zs, nx, ny, start, nz, dec)
                           : nodec(x, xs, y, ys, z, zs, nx, ny, start, nz);
    }
};

const Member1D<double> kDD1D[] = {
    {"ConvDD_dec", Job::Conv, rukConvDDDirect1D_dec, nullptr, -2006, 0, 0, true},
    {"CorrDD_dec", Job::Corr, rukCorrDDDirect1D_dec, nullptr, -2108, 0, 0, true},
};
const Member1D<float> kSD1D[] = {
    {"ConvSD_dec", Job::Conv, rukConvSDDirect1D_dec, nullptr, -2008, 0, 1, true},
    {"CorrSD_dec", Job::Corr, rukCorrSDDirect1D_dec, nullptr, -2108, 0, 0, true},
};
const Member1D<float> kSS1D[] = {
    {"ConvSS_dec", Job::Conv, rukConvSSDirect1D_dec, nullptr, -2008, 1, 0, true},
    {"CorrSS_dec", Job::Corr, rukCorrSSDirect1D_dec, nullptr, -2108, 0, 0, true},
    {"ConvSS_nodec", Job::Conv, nullptr, rukConvSSDirect1D_nodec, -2008, 1, 0, false},
    {"CorrSS_nodec", Job::Corr, nullptr, rukCorrSSDirect1D_nodec, -2108, 1, 0, true},
};

// The defining sum, ascending over y, from zero.
template <class P>
typename P::Data reference_1d(Job job, Array<typename P::Data>& x, Array<typename P::Data>& y,
                              int64_t k) {
    using Wide = typename P::Wide;
    const int64_t nx = x.shape[0], ny = y.shape[0];
    Wide sum = 0;
    for (int64_t i = 0; i < ny; ++i) {
        const int64_t xi = job == Job::Conv ? k - i : i - k;
        if (xi < 0 || xi >= nx) continue;
        sum = sum + static_cast<Wide>(y.at({i})) * static_cast<Wide>(x.at({xi}));
    }
    return static_cast<typename P::Data>(sum);
}

struct Case1D {
    int32_t nx, ny, xs, ys, zs, start, nz, dec;
};

// Runs one valid call and compares every slot of z with the reference
// (outputs) or the sentinel (gaps).
template <class P>
void run_case(const Member1D<typename P::Data>& m, const Case1D& c, std::mt19937_64& rng) {
    using Data = typename P::Data;
    Array<Data> x({c.nx}, {c.xs}, true), y({c.ny}, {c.ys}, true), z({c.nz}, {c.zs}, true);
    fill(x, rng);
    fill(y, rng);
    SCOPED_TRACE(::testing::Message() << m.name << " nx=" << c.nx << " ny=" << c.ny << " strides " << c.xs
                                      << "," << c.ys << "," << c.zs << " start=" << c.start << " nz=" << c.nz
                                      << " dec=" << c.dec);
    ASSERT_EQ(m(x.ptr(), c.xs, y.ptr(), c.ys, z.ptr(), c.zs, c.nx, c.ny, c.start, c.nz, c.dec), 0);
    std::vector<Data> expected(z.buffer.size(), sentinel<Data>());
    if (c.dec != 0)
        for (int64_t j = 0; j < c.nz; ++j)
            expected[static_cast<std::size_t>(z.offset({j}))] =
                reference_1d<P>(m.job, x, y, c.start + j * int64_t{c.dec});
    for (std::size_t i = 0; i < expected.size(); ++i)
        ASSERT_TRUE(same_bits(z.buffer[i], expected[i]))
            << "slot " << i << ": " << z.buffer[i] << " expected " << expected[i];
}

template <class P, std::size_t N>
void random_cases_1d(const Member1D<typename P::Data> (&members)[N], unsigned seed) {
    std::mt19937_64 rng(seed);
    auto pick = [&](int64_t lo, int64_t hi) {
        return static_cast<int32_t>(
            lo + static_cast<int64_t>(rng() % static_cast<uint64_t>(hi - lo + 1)));
    };
    const int32_t strides[] = {-3, -2, -1, 1, 2, 3};
    for (const auto& m : members) {
        for (std::size_t n = xt::scaled(400); n > 0;) {
            Case1D c{};
            const int32_t size = rng() % 4 == 0 ? 300 : 12;
            c.nx = pick(1, size);
            c.ny = pick(1, size);
            c.xs = strides[rng() % 6];
            c.ys = strides[rng() % 6];
            c.zs = strides[rng() % 6];
            c.dec = m.decimated() ? pick(m.min_decimation, 4) : 1;
            c.start = pick(m.first(c.nx), m.last(c.nx, c.ny) + m.start_slack);
            const int64_t room = m.end_limit(c.nx, c.ny) - c.start;
            const int64_t most = c.dec == 0 ? 5 : room / c.dec;
            if (most < 1) continue;
            // Often the largest count, so that the end test is met with equality.
            c.nz = rng() % 3 == 0 ? static_cast<int32_t>(most) : pick(1, most);
            run_case<P>(m, c, rng);
            if (::testing::Test::HasFatalFailure()) return;
            --n;
        }
    }
}
TEST(Direct1D, AgreesWithReference) {
    random_cases_1d<DD>(kDD1D, 1);
    random_cases_1d<SD>(kSD1D, 2);
    random_cases_1d<SS>(kSS1D, 3);
}

// The statuses of a member in their order: a call with every argument
// wrong is mended one test at a time, each step showing the next status.
template <class Data>
void check_order(const Member1D<Data>& m) {
    SCOPED_TRACE(m.name);
    std::vector<Data> x(64, 1), y(64, 1), z(64, sentinel<Data>());
    const std::vector<Data> z0 = z;
    int32_t xs = 0, ys = 0, zs = 0, nx = 0, ny = 0, nz = 0, start = -100, dec = -1;
    auto call = [&] { return m(x.data(), xs, y.data(), ys, z.data(), zs, nx, ny, start, nz, dec); };
    const int32_t b = m.base();
    EXPECT_EQ(call(), b - 4);
    xs = 1;
    EXPECT_EQ(call(), b - 3);
    ys = -1;
    EXPECT_EQ(call(), b - 5);
    zs = 2;
    EXPECT_EQ(call(), b - 6);
    nx = 5;
    EXPECT_EQ(call(), b - 7);
    ny = 4;
    EXPECT_EQ(call(), m.z_shape_status);
    nz = 1;
    if (m.decimated()) {
        EXPECT_EQ(call(), b - 9);
        dec = 0;
        if (m.min_decimation == 1) {
            EXPECT_EQ(call(), b - 9);
        }
        dec = 1;
    }
    EXPECT_EQ(call(), b - 10);
    start = static_cast<int32_t>(m.first(nx) - 1);
    EXPECT_EQ(call(), b - 10);
    start = static_cast<int32_t>(m.last(nx, ny) + m.start_slack + 1);
    EXPECT_EQ(call(), b - 11);
    start = static_cast<int32_t>(m.last(nx, ny) + m.start_slack);
    nz = static_cast<int32_t>(m.end_limit(nx, ny) - start + 1);
    if (nz >= 1) {
        EXPECT_EQ(call(), b - 12);
    }
    start = static_cast<int32_t>(m.first(nx));
    nz = static_cast<int32_t>(m.end_limit(nx, ny) - start + 1);
    EXPECT_EQ(call(), b - 12);
    EXPECT_TRUE(same_buffer(z, z0)) << "a refused call writes nothing";
    --nz;
    EXPECT_EQ(call(), 0);
    // Counts whose products leave 32 bits fail the end test.
    nz = INT32_MAX;
    dec = m.decimated() ? INT32_MAX : 1;
    EXPECT_EQ(call(), b - 12);
}

// Applies f to every one-dimensional member.
template <class F>
void each_1d(F f) {
    for (const auto& m : kDD1D) f(m);
    for (const auto& m : kSD1D) f(m);
    for (const auto& m : kSS1D) f(m);
}

TEST(Direct1D, StatusesInOrder) { each_1d([](const auto& m) { check_order(m); }); }

// y and z the same array: allowed exactly when no output overwrites a y
// that a later one reads, and then equal to the out-of-place result.
template <class Data>
void check_in_place(const Member1D<Data>& m) {
    SCOPED_TRACE(m.name);
    std::mt19937_64 rng(6);
    const int32_t nx = 6, ny = 20;
    std::vector<Data> x(nx), y(2 * ny);
    for (auto& v : x) v = static_cast<Data>(std::ldexp(double(rng() % 1000), -7));
    for (auto& v : y) v = static_cast<Data>(std::ldexp(double(rng() % 1000), -5));
    const int32_t safe_start = m.job == Job::Conv ? nx - 1 : 0;
    const int32_t nz = 8;
    std::vector<Data> expected(2 * ny);
    auto run = [&](Data* yp, Data* zp, int32_t ys, int32_t zs, int32_t start, int32_t dec) {
        return m(x.data(), 1, yp, ys, zp, zs, nx, ny, start, nz, dec);
    };
    for (int32_t s : {1, 2}) {
        ASSERT_EQ(run(y.data(), expected.data(), s, s, safe_start, 1), 0);
        std::vector<Data> yz = y;
        ASSERT_EQ(run(yz.data(), yz.data(), s, s, safe_start, 1), 0);
        for (int32_t j = 0; j < nz; ++j) EXPECT_TRUE(same_bits(yz[j * s], expected[j * s])) << j;
    }
    std::vector<Data> yz = y;
    const int32_t refused = m.inplace_test ? m.base() - 13 : 0;
    EXPECT_EQ(run(yz.data(), yz.data(), 1, 1, safe_start - 1, 1), refused);
    EXPECT_EQ(run(yz.data(), yz.data(), 1, 2, safe_start, 1), refused);
    EXPECT_EQ(run(yz.data(), yz.data(), -1, -1, safe_start, 1), refused);
    if (m.decimated()) {
        EXPECT_EQ(run(yz.data(), yz.data(), 1, 1, safe_start, 2), refused);
    }
    // The in-place test comes last.
    EXPECT_EQ(m(x.data(), 1, yz.data(), 1, yz.data(), 2, nx, ny, nx + ny + 5, 1, 1), m.base() - 11);
    // x is never compared with z.
    std::vector<Data> xz = x;
    xz.resize(64);
    EXPECT_EQ(m(xz.data(), 1, y.data(), 1, xz.data(), 1, nx, ny, safe_start, nz, 1), 0);
}

TEST(Direct1D, InPlace) { each_1d([](const auto& m) { check_in_place(m); }); }

// Where z shares memory with x, each output reads what the outputs before
// it stored: outputs are computed and stored one after another.
TEST(Direct1D, XSharedWithZIsReadAsStored) {
    std::mt19937_64 rng(8);
    Array<double> y({7}, {1}, true);
    fill(y, rng);
    std::vector<double> buffer(64);
    for (auto& v : buffer) v = std::ldexp(double(rng() % 1000), -9);
    std::vector<double> expected = buffer;
    const int32_t nx = 30, nz = 20, shift = 1;
    for (int64_t k = 0; k < nz; ++k) {  // output k stored at x element k + shift
        long double sum = 0;
        for (int64_t i = 0; i < 7; ++i)
            if (k - i >= 0 && k - i < nx) sum = sum + (long double)y.at({i}) * expected[k - i];
        expected[k + shift] = static_cast<double>(sum);
    }
    ASSERT_EQ(rukConvDDDirect1D_dec(buffer.data(), 1, y.ptr(), 1, buffer.data() + shift, 1, nx, 7,
                                    0, nz, 1),
              0);
    EXPECT_TRUE(same_buffer(buffer, expected));
}

// The x87 members sum at the precision the caller's control word holds and
// leave it as it was: at 53 bits they give the plain double loop.
TEST(Direct1D, X87PrecisionIsTheCallers) {
    std::mt19937_64 rng(7);
    Array<double> x({50}, {1}, true), y({17}, {1}, true);
    Array<float> xf({50}, {1}, true), yf({17}, {1}, true);
    fill(x, rng);
    fill(y, rng);
    fill(xf, rng);
    fill(yf, rng);
    const uint16_t saved = xeb::fpu::x87_control();
    const uint16_t narrow =
        static_cast<uint16_t>((saved & ~xeb::fpu::kX87PrecRoundMask) | xeb::fpu::kX87Prec53Nearest);
    std::vector<double> z(66);
    std::vector<float> zf(66);
    xeb::fpu::set_x87_control(narrow);
    const int32_t r = rukConvDDDirect1D_dec(x.ptr(), 1, y.ptr(), 1, z.data(), 1, 50, 17, 0, 66, 1);
    const int32_t rf =
        rukCorrSDDirect1D_dec(xf.ptr(), 1, yf.ptr(), 1, zf.data(), 1, 50, 17, -49, 66, 1);
    const uint16_t after = xeb::fpu::x87_control();
    xeb::fpu::set_x87_control(saved);
    ASSERT_EQ(r, 0);
    ASSERT_EQ(rf, 0);
    EXPECT_EQ(after, narrow);
    for (int64_t k = 0; k < 66; ++k) {
        double sum = 0, sumf = 0;  // SSE arithmetic, 53 bits
        for (int64_t i = 0; i < 17; ++i) {
            if (k - i >= 0 && k - i < 50) sum = sum + y.at({i}) * x.at({k - i});
            const int64_t lag = k - 49;
            if (i - lag >= 0 && i - lag < 50)
                sumf = sumf + double(yf.at({i})) * double(xf.at({i - lag}));
        }
        EXPECT_TRUE(same_bits(z[k], sum)) << k;
        EXPECT_TRUE(same_bits(zf[k], float(sumf))) << k;
    }
}

// ---------------------------------------------------------------------------
// Any rank.

template <class Data>
using All = int32_t (*)(int32_t, const Data*, const int32_t*, const int32_t*, const Data*,
                        const int32_t*, const int32_t*, Data*, const int32_t*, const int32_t*,
                        const int32_t*, const int32_t*);

template <class Data>
struct MemberAll {
    const char* name;
    Job job;
    All<Data> fn;
};
const MemberAll<double> kDDAll[] = {{"ConvDDAll", Job::Conv, rukConvDDDirectAll_dec},
                                    {"CorrDDAll", Job::Corr, rukCorrDDDirectAll_dec}};
const MemberAll<float> kSDAll[] = {{"ConvSDAll", Job::Conv, rukConvSDDirectAll_dec},
                                   {"CorrSDAll", Job::Corr, rukCorrSDDirectAll_dec}};
const MemberAll<float> kSSAll[] = {{"ConvSSAll", Job::Conv, rukConvSSDirectAll_dec},
                                   {"CorrSSAll", Job::Corr, rukCorrSSDirectAll_dec}};

// The defining sum over all of x, dimension 0 fastest, starting from the
// first product, the running sum stored in a Cell between terms.
template <class P>
typename P::Data reference_all(Job job, Array<typename P::Data>& x, Array<typename P::Data>& y,
                               const std::vector<int64_t>& p) {
    using Wide = typename P::Wide;
    using Cell = typename P::Cell;
    Cell sum = 0;
    bool first = true;
    std::vector<int64_t> b(p.size());
    for (const auto& a : indices(x.shape)) {
        bool inside = true;
        for (std::size_t d = 0; d < p.size(); ++d) {
            b[d] = job == Job::Conv ? p[d] - a[d] : p[d] + a[d];
            inside = inside && b[d] >= 0 && b[d] < y.shape[d];
        }
        if (!inside) continue;
        const Wide term = static_cast<Wide>(y.at(b)) * static_cast<Wide>(x.at(a));
        sum = first ? static_cast<Cell>(term) : static_cast<Cell>(static_cast<Wide>(sum) + term);
        first = false;
    }
    return static_cast<typename P::Data>(sum);
}

template <class P>
void run_all_case(const MemberAll<typename P::Data>& m, int rank, std::mt19937_64& rng,
                  int max_extent) {
    using Data = typename P::Data;
    auto pick = [&](int64_t lo, int64_t hi) {
        return static_cast<int32_t>(
            lo + static_cast<int64_t>(rng() % static_cast<uint64_t>(hi - lo + 1)));
    };
    std::vector<int32_t> nx(rank), ny(rank), nz(rank), start(rank), dec(rank);
    for (int d = 0; d < rank; ++d) {
        nx[d] = pick(1, max_extent);
        ny[d] = pick(1, max_extent);
        const int64_t first = m.job == Job::Conv ? 0 : 1 - nx[d];
        const int64_t last = m.job == Job::Conv ? nx[d] + ny[d] - 2 : ny[d] - 1;
        dec[d] = pick(1, 3);
        start[d] = pick(first, last);
        nz[d] = pick(1, (last - start[d]) / dec[d] + 1);
    }
    Array<Data> x(nx, random_strides(nx, rng, true), true);
    Array<Data> y(ny, random_strides(ny, rng, true), true);
    Array<Data> z(nz, random_strides(nz, rng, false), false);
    fill(x, rng);
    fill(y, rng);
    std::string trace = std::string(m.name) + " rank " + std::to_string(rank) + ":";
    for (int d = 0; d < rank; ++d)
        for (int32_t v : {nx[d], x.stride[d], ny[d], y.stride[d], nz[d], z.stride[d], start[d], dec[d]})
            trace += " " + std::to_string(v);
    SCOPED_TRACE(trace);
    ASSERT_EQ(m.fn(rank, x.ptr(), nx.data(), x.stride.data(), y.ptr(), ny.data(), y.stride.data(),
                   z.ptr(), nz.data(), z.stride.data(), start.data(), dec.data()),
              0);
    std::vector<Data> expected(z.buffer.size(), sentinel<Data>());
    std::vector<int64_t> p(rank);
    for (const auto& j : indices(nz)) {
        for (int d = 0; d < rank; ++d) p[d] = start[d] + j[d] * dec[d];
        expected[static_cast<std::size_t>(z.offset(j))] = reference_all<P>(m.job, x, y, p);
    }
    for (std::size_t i = 0; i < expected.size(); ++i)
        ASSERT_TRUE(same_bits(z.buffer[i], expected[i]))
            << "slot " << i << ": " << z.buffer[i] << " expected " << expected[i];
}

template <class P>
void random_cases_all(const MemberAll<typename P::Data> (&members)[2], unsigned seed) {
    std::mt19937_64 rng(seed);
    for (const auto& m : members) {
        for (int rank = 1; rank <= 4; ++rank)
            for (std::size_t n = xt::scaled(60, 8); n > 0; --n) {
                run_all_case<P>(m, rank, rng, rank == 1 ? 30 : rank == 2 ? 9 : 4);
                if (::testing::Test::HasFatalFailure()) return;
            }
        run_all_case<P>(m, 7, rng, 2);
    }
}
TEST(DirectAll, AgreesWithReference) {
    random_cases_all<DD>(kDDAll, 11);
    random_cases_all<SD>(kSDAll, 12);
    random_cases_all<SS>(kSSAll, 13);
}

// Rank first, then per dimension from 0: the three extents, start, span,
// z stride; all before anything is written.
template <class Data>
void check_all_order(const MemberAll<Data>& m) {
    SCOPED_TRACE(m.name);
    std::vector<Data> x(64, 1), y(64, 1), z(64, sentinel<Data>());
    const std::vector<Data> z0 = z;
    int32_t nx[2] = {0, 0}, ny[2] = {0, 0}, nz[2] = {0, 0}, xs[2] = {0, 0}, ys[2] = {0, 0},
            zs[2] = {0, 0}, start[2] = {-9, -9}, dec[2] = {0, 0};
    auto call = [&](int32_t rank) {
        // z points into the middle: a negative z stride walks below it.
        return m.fn(rank, x.data(), nx, xs, y.data(), ny, ys, z.data() + 32, nz, zs, start, dec);
    };
    for (int32_t rank : {-1, 0, 8, 9}) EXPECT_EQ(call(rank), RUK_ALL_ERROR_RANK) << rank;
    const bool conv = m.job == Job::Conv;
    for (int d = 0; d < 2; ++d) {
        EXPECT_EQ(call(2), RUK_ALL_ERROR_X_SHAPE);
        nx[d] = 3;
        EXPECT_EQ(call(2), RUK_ALL_ERROR_Y_SHAPE);
        ny[d] = 2;
        EXPECT_EQ(call(2), RUK_ALL_ERROR_Z_SHAPE);
        nz[d] = 2;
        EXPECT_EQ(call(2), RUK_ALL_ERROR_START);
        start[d] = conv ? 4 : 2;  // last + 1
        EXPECT_EQ(call(2), RUK_ALL_ERROR_START);
        start[d] = conv ? 3 : 1;  // last
        EXPECT_EQ(call(2), RUK_ALL_ERROR_SPAN);
        start[d] = conv ? 2 : 0;  // decimation 0
        EXPECT_EQ(call(2), RUK_ALL_ERROR_SPAN);
        dec[d] = 1;
        EXPECT_EQ(call(2), RUK_ALL_ERROR_Z_STRIDE);
        zs[d] = d == 0 ? 1 : -2;
    }
    nz[1] = INT32_MAX;
    dec[1] = INT32_MAX;
    EXPECT_EQ(call(2), RUK_ALL_ERROR_SPAN);  // no overflow in the span test
    nz[1] = dec[1] = 1;
    EXPECT_TRUE(same_buffer(z, z0)) << "a refused call writes nothing";
    EXPECT_EQ(call(2), 0);  // x and y strides of 0 are not checked
}

TEST(DirectAll, StatusesInOrder) {
    for (const auto& m : kDDAll) check_all_order(m);
    for (const auto& m : kSDAll) check_all_order(m);
    for (const auto& m : kSSAll) check_all_order(m);
}

// Where each member keeps its running sum: 2^30 + 2^-30 - 2^30 survives a
// 64-bit significand (the one-dimensional x87 members) and vanishes in a
// double or single cell (the members of any rank, and single sums).
TEST(DirectSums, WhereTheRunningSumLives) {
    const double yd[3] = {0x1p30, 0x1p-30, -0x1p30}, xd[3] = {1, 1, 1};
    const float yf[3] = {0x1p30f, 0x1p-30f, -0x1p30f}, xf[3] = {1, 1, 1};
    const int32_t one = 1, three = 3, two = 2;
    double zd = -1;
    float zf = -1;
    ASSERT_EQ(rukConvDDDirect1D_dec(xd, 1, yd, 1, &zd, 1, 3, 3, 2, 1, 1), 0);
    EXPECT_EQ(zd, 0x1p-30);
    ASSERT_EQ(rukConvSDDirect1D_dec(xf, 1, yf, 1, &zf, 1, 3, 3, 2, 1, 1), 0);
    EXPECT_EQ(zf, 0x1p-30f);
    ASSERT_EQ(rukConvSSDirect1D_nodec(xf, 1, yf, 1, &zf, 1, 3, 3, 2, 1), 0);
    EXPECT_EQ(zf, 0.0f);
    ASSERT_EQ(
        rukConvDDDirectAll_dec(1, xd, &three, &one, yd, &three, &one, &zd, &one, &one, &two, &one),
        0);
    EXPECT_EQ(zd, 0.0);
    zf = -1;
    ASSERT_EQ(
        rukConvSDDirectAll_dec(1, xf, &three, &one, yf, &three, &one, &zf, &one, &one, &two, &one),
        0);
    EXPECT_EQ(zf, 0.0f);
}
// The twenty entries without an implementation read nothing and refuse.
TEST(DirectUnsupported, EveryEntryGivesMinus2000) {
    for (auto f : {rukConvDDDirect1D_nodec, rukCorrDDDirect1D_nodec})
        EXPECT_EQ(f(nullptr, 0, nullptr, 0, nullptr, 0, 0, 0, 0, 0), RUK_TASK_ERROR_UNSUPPORTED);
    for (auto f : {rukConvSDDirect1D_nodec, rukCorrSDDirect1D_nodec})
        EXPECT_EQ(f(nullptr, 0, nullptr, 0, nullptr, 0, 0, 0, 0, 0), RUK_TASK_ERROR_UNSUPPORTED);
    for (auto f : {rukConvDDDirectAll_nodec, rukCorrDDDirectAll_nodec})
        EXPECT_EQ(f(1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
                  RUK_TASK_ERROR_UNSUPPORTED);
    for (auto f : {rukConvSDDirectAll_nodec, rukCorrSDDirectAll_nodec, rukConvSSDirectAll_nodec,
                   rukCorrSSDirectAll_nodec})
        EXPECT_EQ(f(1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
                  RUK_TASK_ERROR_UNSUPPORTED);
    for (auto f : {rukConvDDFft1D_dec, rukCorrDDFft1D_dec, rukConvDDFft1D_nodec, rukCorrDDFft1D_nodec})
        EXPECT_EQ(f(0, nullptr, 1, nullptr, 1, 1, nullptr, 1, 1, 1, 1, 1, 0, 1, 0, 0, 0, 0),
                  RUK_TASK_ERROR_UNSUPPORTED);
    for (auto f : {rukConvSDFft1D_dec, rukCorrSDFft1D_dec, rukConvSDFft1D_nodec, rukCorrSDFft1D_nodec,
                   rukConvSSFft1D_dec, rukCorrSSFft1D_dec})
        EXPECT_EQ(f(0, nullptr, 1, nullptr, 1, 1, nullptr, 1, 1, 1, 1, 1, 0, 1, 0, 0, 0, 0),
                  RUK_TASK_ERROR_UNSUPPORTED);
}

}  // namespace
// ---------------------------------------------------------------------------
// Kernel classes: every member in the class in use against the baseline
// class's loops, bit for bit, on random shapes, strides, starts and
// decimations of rank 1 to 4, with the x87 at 53 bits (where the double
// sums of DD and SD run in the class's vectors) and at 64 (where they stay
// x87).

// z after f(z) in the class in use and in the baseline class.
template <class Data, class F>
void expect_class_matches_baseline(const Array<Data>& z0, F f) {
    std::vector<Data> in_class = z0.buffer, baseline = z0.buffer;
    const int32_t status = f(in_class.data() + z0.origin);
    const xeb::frame::KernelClass in_use = xeb::frame::kernel_class();
    xeb::vm::use_class(xeb::frame::KernelClass::Baseline);
    const int32_t base_status = f(baseline.data() + z0.origin);
    xeb::vm::use_class(in_use);
    ASSERT_EQ(status, base_status);
    for (std::size_t i = 0; i < baseline.size(); ++i)
        ASSERT_TRUE(same_bits(in_class[i], baseline[i]))
            << "slot " << i << ": " << in_class[i] << " baseline " << baseline[i];
}

// The x87 at 53-bit precision, rounding to nearest, for a scope.
struct NarrowX87 {
    uint16_t saved = xeb::fpu::x87_control();
    NarrowX87() {
        xeb::fpu::set_x87_control(static_cast<uint16_t>((saved & ~xeb::fpu::kX87PrecRoundMask) |
                                                        xeb::fpu::kX87Prec53Nearest));
    }
    ~NarrowX87() { xeb::fpu::set_x87_control(saved); }
};

// Dense strides, or random ones (signs, padding, order, zeros for x and y).
std::vector<int32_t> some_strides(const std::vector<int32_t>& shape, std::mt19937_64& rng, bool zero_ok) {
    if (rng() % 2 == 0) return random_strides(shape, rng, zero_ok);
    std::vector<int32_t> s(shape.size());
    int32_t cur = 1;
    for (std::size_t d = 0; d < shape.size(); ++d, cur *= shape[d - 1]) s[d] = cur;
    return s;
}

template <class P>
void classes_all(const MemberAll<typename P::Data>& m, int rank, std::mt19937_64& rng) {
    using Data = typename P::Data;
    auto pick = [&](int64_t lo, int64_t hi) {
        return static_cast<int32_t>(lo + static_cast<int64_t>(rng() % static_cast<uint64_t>(hi - lo + 1)));
    };
    std::vector<int32_t> nx(rank), ny(rank), nz(rank), start(rank), dec(rank);
    for (int d = 0; d < rank; ++d) {
        // Dimension 0 long enough for several blocks of lanes and both edges.
        const int extent = d == 0 ? 140 : rank == 2 ? 9 : 4;
        nx[d] = pick(1, extent);
        ny[d] = pick(1, rng() % 2 ? extent : 12);
        const int64_t first = m.job == Job::Conv ? 0 : 1 - nx[d];
        const int64_t last = m.job == Job::Conv ? nx[d] + ny[d] - 2 : ny[d] - 1;
        dec[d] = rng() % 2 ? 1 : pick(1, 3);
        start[d] = rng() % 2 ? static_cast<int32_t>(first) : pick(first, last);
        nz[d] = pick(1, (last - start[d]) / dec[d] + 1);
    }
    Array<Data> x(nx, some_strides(nx, rng, true), true), y(ny, some_strides(ny, rng, true), true);
    const Array<Data> z(nz, some_strides(nz, rng, false), false);
    fill(x, rng);
    fill(y, rng);
    SCOPED_TRACE(::testing::Message() << m.name << " rank " << rank << " nx0=" << nx[0] << " ny0=" << ny[0]
                                      << " start0=" << start[0] << " dec0=" << dec[0]);
    expect_class_matches_baseline(z, [&](Data* zp) {
        return m.fn(rank, x.ptr(), nx.data(), x.stride.data(), y.ptr(), ny.data(), y.stride.data(), zp,
                    nz.data(), z.stride.data(), start.data(), dec.data());
    });
}

template <class P, std::size_t N>
void classes_1d(const Member1D<typename P::Data> (&members)[N], std::mt19937_64& rng) {
    using Data = typename P::Data;
    auto pick = [&](int64_t lo, int64_t hi) {
        return static_cast<int32_t>(lo + static_cast<int64_t>(rng() % static_cast<uint64_t>(hi - lo + 1)));
    };
    const int32_t strides[] = {-2, -1, 1, 1, 1, 2};
    for (const auto& m : members) {
        const int32_t size = rng() % 2 ? 300 : 40;
        const int32_t nx = pick(1, size), ny = pick(1, size);
        const int32_t xs = strides[rng() % 6], ys = strides[rng() % 6], zs = strides[rng() % 6];
        const int32_t dec = m.decimated() ? pick(m.min_decimation, 3) : 1;
        const int32_t start = pick(m.first(nx), m.last(nx, ny) + m.start_slack);
        const int64_t most = dec == 0 ? 5 : (m.end_limit(nx, ny) - start) / dec;
        if (most < 1) continue;
        const int32_t nz = rng() % 2 ? static_cast<int32_t>(most) : pick(1, most);
        Array<Data> x({nx}, {xs}, true), y({ny}, {ys}, true);
        const Array<Data> z({nz}, {zs}, true);
        fill(x, rng);
        fill(y, rng);
        SCOPED_TRACE(::testing::Message() << m.name << " nx=" << nx << " ny=" << ny << " strides " << xs << ","
                                          << ys << "," << zs << " start=" << start << " nz=" << nz
                                          << " dec=" << dec);
        expect_class_matches_baseline(
            z, [&](Data* zp) { return m(x.ptr(), xs, y.ptr(), ys, zp, zs, nx, ny, start, nz, dec); });
        if (::testing::Test::HasFatalFailure()) return;
    }
}

TEST(DirectClasses, BitForBitWithBaseline) {
    if (xeb::frame::kernel_class() == xeb::frame::KernelClass::Baseline) GTEST_SKIP() << "baseline in use";
    std::mt19937_64 rng(31);
    for (bool narrow : {true, false}) {
        std::unique_ptr<NarrowX87> x87(narrow ? new NarrowX87 : nullptr);
        for (std::size_t n = xt::scaled(40, 6); n > 0; --n) {
            classes_1d<DD>(kDD1D, rng);
            classes_1d<SD>(kSD1D, rng);
            classes_1d<SS>(kSS1D, rng);
            for (int rank = 1; rank <= 4; ++rank)
                for (int j = 0; j < 2; ++j) {
                    classes_all<DD>(kDDAll[j], rank, rng);
                    classes_all<SD>(kSDAll[j], rank, rng);
                    classes_all<SS>(kSSAll[j], rank, rng);
                }
            if (HasFatalFailure()) return;
        }
    }
}

// Products beyond the double range, which the x87's wider exponent
// carries: 2^600 2^600 - 2^600 2^600 is 0 in a sum kept in the x87, +inf
// in a double cell (the overflow at the store, then inf - 2^1200), and NaN
// in double arithmetic; two products of 1.5 2^-1074 sum to 3 2^-1074 in
// the x87, and to 4 2^-1074 after each rounds to a subnormal double.  The
// class leaves such calls to the x87.
TEST(DirectClasses, BeyondTheDoubleRange) {
    NarrowX87 x87;
    const double big_x[2] = {0x1p600, 0x1p600}, big_y[2] = {0x1p600, -0x1p600};
    const double tiny_x[2] = {0x1.8p-537, 0x1.8p-537}, tiny_y[2] = {0x1p-537, 0x1p-537};
    const int32_t two = 2, one = 1, zero = 0;
    double z = -1;
    ASSERT_EQ(rukCorrDDDirect1D_dec(big_x, 1, big_y, 1, &z, 1, 2, 2, 0, 1, 1), 0);
    EXPECT_TRUE(same_bits(z, 0.0)) << z;
    ASSERT_EQ(rukCorrDDDirectAll_dec(1, big_x, &two, &one, big_y, &two, &one, &z, &one, &one, &zero, &one), 0);
    EXPECT_EQ(z, std::numeric_limits<double>::infinity());
    ASSERT_EQ(rukCorrDDDirect1D_dec(tiny_x, 1, tiny_y, 1, &z, 1, 2, 2, 0, 1, 1), 0);
    EXPECT_EQ(z, std::ldexp(3.0, -1074));
}
