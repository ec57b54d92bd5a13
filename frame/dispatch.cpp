// The two error entries and the three reporters.  Every event of every
// kernel comes through here: the code goes to the thread's status word,
// then the callback may handle it, then errno, stderr and the processor
// are told as the mode word says, and last the record's results go back
// into the caller's arrays.
#include "frame/dispatch.h"

#include <cerrno>
#include <cstdio>

#include "frame/fpu.h"
#include "frame/thread_state.h"

namespace xeb {

namespace {

bool is_front_end_code(int code) {
    return code == XEB_STATUS_BADSIZE || code == XEB_STATUS_BADMEM;
}

// Unordered pairs count as equal: a NaN field is never shown as distinct.
bool differs(double x, double y) { return x < y || x > y; }

template <class T>
void dispatch(int32_t code, int32_t index, const T* a, const T* b, T* y, T* z, const char* name) {
    XebThreadState* s = get_thread_state();
    s->status = code;
    if ((s->mode & XEB_REPORT_MASK) == XEB_REPORT_NONE) return;

    XebErrorRecord r;
    r.code = code;
    r.index = index;
    r.nameLength = build_name("", name, "", r.name);
    const bool touches_arrays = !is_front_end_code(code);
    if (touches_arrays) {
        r.a = a[index];
        r.b = b[index];
        r.y = y[index];
        r.z = z[index];
    } else {
        r.a = r.b = r.y = r.z = 0.0;  // not part of the record for these codes
    }

    if ((s->mode & 0xF000) != 0 && s->callback != nullptr) {
        if (s->callback(&r) != 0) return;
    }
    if ((get_thread_state()->mode & 0x0F00) != 0) report(r);
    if (touches_arrays) {
        // One-output kernels pass the same array as y and z: y must land last.
        z[index] = static_cast<T>(r.z);
        y[index] = static_cast<T>(r.y);
    }
}

}  // namespace

int build_name(const char* prefix, const char* name, const char* suffix, char* buf) {
    int n = 0;
    // At most 63 characters in all: the record's name field holds 64 bytes.
    auto copy = [&](const char* src, int limit) {
        for (int k = 0; src != nullptr && k < limit && src[k] != '\0' && n < 63; ++k) buf[n++] = src[k];
    };
    copy(prefix, 8);
    copy(name, 64);
    copy(suffix, 8);
    buf[n] = '\0';
    return n;
}

void report(const XebErrorRecord& r) {
    if (get_thread_state()->mode & XEB_REPORT_ERRNO) report_errno(r);
    if (get_thread_state()->mode & XEB_REPORT_STDERR) report_stderr(r);
    if (get_thread_state()->mode & XEB_REPORT_TRAP) report_trap(r);
}

void report_errno(const XebErrorRecord& r) {
    switch (r.code) {
    case XEB_STATUS_OK: errno = 0; break;
    case XEB_STATUS_BADSIZE: errno = EINVAL; break;
    case XEB_STATUS_BADMEM: errno = EACCES; break;
    case XEB_STATUS_DOMAINFAULT: errno = EDOM; break;
    case XEB_STATUS_POLE:
    case XEB_STATUS_TOOLARGE:
    case XEB_STATUS_TOOSMALL: errno = ERANGE; break;
    default: errno = EFAULT; break;
    }
}

void report_stderr(const XebErrorRecord& r) {
    const char* header = "Error (XEB_STATUS_%s) in %s: ";
    switch (r.code) {
    case XEB_STATUS_OK:
        return;
    case XEB_STATUS_BADSIZE:
        std::fprintf(stderr, header, "BADSIZE", r.name);
        std::fprintf(stderr, "array size %d is not positive\n", r.index);
        return;
    case XEB_STATUS_BADMEM:
        std::fprintf(stderr, header, "BADMEM", r.name);
        std::fprintf(stderr, "NULL pointer is passed\n");
        return;
    case XEB_STATUS_DOMAINFAULT:
    case XEB_STATUS_POLE:
    case XEB_STATUS_TOOLARGE:
    case XEB_STATUS_TOOSMALL:
        break;  // the values alone, no header line
    default:
        std::fprintf(stderr, "Unknown error in %s", r.name);
        break;
    }
    const int i = r.index;
    const bool show_b = differs(r.b, r.a) && differs(r.b, 0.0);
    const bool show_z = differs(r.z, r.y) && differs(r.z, 0.0);
    if (!show_b && !show_z)
        std::fprintf(stderr, "  a(%d)=%g\nr(%d)=%g\n", i, r.a, i, r.y);
    else if (!show_b)
        std::fprintf(stderr, "  a(%d)=%g\ny(%d)=%g\nz(%d)=%g\n", i, r.a, i, r.y, i, r.z);
    else if (!show_z)
        std::fprintf(stderr, "  a(%d)=%g\nb(%d)=%g\ny(%d)=%g\n", i, r.a, i, r.b, i, r.y);
    else
        std::fprintf(stderr, "  a(%d)=%g\nb(%d)=%g\ny(%d)=%g\nz(%d)=%g\n", i, r.a, i, r.b, i, r.y, i,
                     r.z);
}

void report_trap(const XebErrorRecord& r) {
    switch (r.code) {
    case XEB_STATUS_DOMAINFAULT: fpu::x87_divide_store(0.0, 0.0); break;  // invalid
    case XEB_STATUS_POLE: fpu::x87_divide_store(1.0, 0.0); break;         // zero divide
    case XEB_STATUS_TOOLARGE: fpu::x87_square_store(0x1.fffffffffffffp+1023); break;  // overflow
    case XEB_STATUS_TOOSMALL: fpu::x87_square_store(0x1.0000000000001p-1022); break;  // underflow
    default: break;
    }
}

}  // namespace xeb

extern "C" {

void xebsError(int32_t code, int32_t index, const float* a, const float* b, float* y, float* z,
               const char* name) {
    xeb::dispatch(code, index, a, b, y, z, name);
}

void xebdError(int32_t code, int32_t index, const double* a, const double* b, double* y, double* z,
               const char* name) {
    xeb::dispatch(code, index, a, b, y, z, name);
}

}  // extern "C"
