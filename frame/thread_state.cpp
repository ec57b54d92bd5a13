// Per-thread mode, status and callback; the slot, the private heap and the
// library's load and unload entry.
#include "frame/thread_state.h"

#include <cstddef>
#include <cstdio>

#include "frame/fpu.h"
#include "frame/platform.h"

namespace xeb {

namespace {

int32_t g_slot = platform::kNoSlot;
void* g_heap = nullptr;

// What a lookup gives when the library has no slot (never loaded, or after
// unload): one process-wide record with default contents.
XebThreadState g_fallback_state = {XEB_MODE_DEFAULT, 0, nullptr, 0, 0};

void on_thread_exit() { xebLibraryEntry(nullptr, kThreadDetach, nullptr); }

constexpr std::size_t kRecordBytes = sizeof(XebThreadState);

}  // namespace

int32_t slot_index() { return g_slot; }
void* heap_handle() { return g_heap; }

bool heap_open() {
    if (g_heap != nullptr) return true;
    g_heap = platform::heap_create(kRecordBytes);
    return g_heap != nullptr;
}

void heap_close() {
    void* h = g_heap;
    g_heap = nullptr;
    if (h != nullptr) platform::heap_destroy(h);
}

void* heap_alloc(std::size_t bytes) {
    if (g_heap == nullptr && !heap_open()) return nullptr;
    return platform::heap_alloc(g_heap, bytes);
}

void heap_free(void* p) { platform::heap_free(g_heap, p); }

void fatal_box() {
    char title[260];
    char text[256];
    const char* t = "error";
    if (platform::main_module_path(title, sizeof title)) t = title;
    // Read after the module query, so its failure may replace the error that
    // brought us here; that is accepted.
    int err = platform::last_error();
    const char* msg = "Error occured";
    if (platform::error_text(err, text, sizeof text)) msg = text;
    platform::show_fatal(t, msg);
}

XebThreadState* new_thread_state() {
    auto* p = static_cast<XebThreadState*>(heap_alloc(kRecordBytes));
    if (p != nullptr) {
        if (platform::tls_set(g_slot, p)) {
            p->mode = XEB_MODE_DEFAULT;
            p->status = 0;
            p->callback = nullptr;
            p->savedFpuControl = 0;
            p->savedSimdControl = 0;
            return p;
        }
        heap_free(p);
    }
    fatal_box();
    return nullptr;
}

XebThreadState* get_thread_state() {
    if (g_slot == platform::kNoSlot) return &g_fallback_state;
    if (auto* p = static_cast<XebThreadState*>(platform::tls_get(g_slot))) return p;
    if (auto* p = new_thread_state()) return p;
    // A kernel in mid-array cannot go on without its record.
    platform::terminate_process(1);
}

void free_thread_state(XebThreadState* p) {
    if (g_slot == platform::kNoSlot) return;
    if (p == nullptr) p = static_cast<XebThreadState*>(platform::tls_get(g_slot));
    if (p != nullptr) heap_free(p);
    platform::tls_set(g_slot, nullptr);
}

bool process_attach() {
    platform::set_thread_exit_hook(on_thread_exit);
    g_slot = platform::tls_alloc();
    if (g_slot == platform::kNoSlot) {
        fatal_box();
        return false;
    }
    return new_thread_state() != nullptr;
}

void process_detach() {
    if (g_slot != platform::kNoSlot) {
        int32_t old = g_slot;
        g_slot = platform::kNoSlot;  // cleared before the slot is given back
        platform::tls_free(old);
    }
    heap_close();
}

}  // namespace xeb

using namespace xeb;

extern "C" {

int32_t xebLibraryEntry(void*, uint32_t reason, void*) {
    switch (reason) {
    case kProcessAttach:
        return process_attach() ? 1 : 0;
    case kThreadDetach:
        free_thread_state(nullptr);
        return 1;
    case kProcessDetach:
        free_thread_state(nullptr);
        process_detach();
        return 1;
    default:  // thread attach: records are made on first use
        return 1;
    }
}

uint32_t dll_cpu_version(void) { return 1; }

uint32_t xebSetMode(uint32_t m) {
    XebThreadState* s = get_thread_state();
    uint32_t saved_fpu = s->savedFpuControl;
    uint32_t saved_simd = s->savedSimdControl;
    const uint32_t old = s->mode;
    uint32_t mode = old;

    if (m & XEB_ACC_MASK) mode = (mode & ~XEB_ACC_MASK) | (m & XEB_ACC_MASK);
    if (m & XEB_REPORT_MASK) mode = (mode & ~XEB_REPORT_MASK) | (m & XEB_REPORT_MASK);

    const uint32_t f = m & XEB_FPU_MASK;
    if (f == XEB_FPU_RESTORE) {
        // The field keeps its forcing value and the snapshot stays valid, so a
        // second restore does the same again.
        if (old & XEB_FPU_MASK) {
            if (fpu::x87_control() != static_cast<uint16_t>(saved_fpu))
                fpu::set_x87_control(static_cast<uint16_t>(saved_fpu));
            if ((fpu::mxcsr() & 0xFFFF) != saved_simd) fpu::set_mxcsr(saved_simd);
        }
    } else if (f != 0) {
        const uint32_t t = (mode & XEB_ACC_MASK) | f;
        const uint16_t target = (t == 0x11 || t == 0x12) ? fpu::kX87Prec53Nearest
                                                         : fpu::kX87Prec64Nearest;
        const uint16_t c = fpu::x87_control();
        const uint32_t sse = fpu::mxcsr() & 0xFFFF;
        if ((old & XEB_FPU_MASK) == 0) {
            saved_fpu = c;
            saved_simd = sse;
        }
        if ((c & fpu::kX87PrecRoundMask) != target)
            fpu::set_x87_control(static_cast<uint16_t>((c & ~fpu::kX87PrecRoundMask) | target));
        // SSE rounds to nearest; flush-to-zero is the caller's and stays.
        if (sse & fpu::kMxcsrRound) fpu::set_mxcsr(sse & ~fpu::kMxcsrRound);
        mode = (mode & ~XEB_FPU_MASK) | f;
    }

    s->savedFpuControl = saved_fpu;
    s->savedSimdControl = saved_simd;
    s->mode = mode;
    return old;
}

uint32_t xebGetMode(void) { return get_thread_state()->mode; }

int32_t xebSetErrStatus(int32_t status) {
    XebThreadState* s = get_thread_state();
    int32_t old = s->status;
    s->status = status;
    return old;
}

int32_t xebGetErrStatus(void) { return get_thread_state()->status; }

int32_t xebClearErrStatus(void) { return xebSetErrStatus(0); }

XebErrorCallBack xebSetErrorCallBack(XebErrorCallBack cb) {
    XebThreadState* s = get_thread_state();
    XebErrorCallBack old = s->callback;
    uint32_t mode = s->mode;
    if (cb != nullptr) mode |= XEB_REPORT_CALLBACK;
    else mode &= ~XEB_REPORT_CALLBACK;
    s->callback = cb;
    // The whole word goes through xebSetMode again: a forcing field forces
    // anew, and a reporting field left at 0 is not applied, so the callback
    // bit may outlive the callback.  The dispatcher tests the pointer too.
    xebSetMode(mode);
    return old;
}

XebErrorCallBack xebGetErrorCallBack(void) { return get_thread_state()->callback; }

XebErrorCallBack xebClearErrorCallBack(void) { return xebSetErrorCallBack(nullptr); }

}  // extern "C"

// The loader's calls: attach when the library (or a program linking it
// statically) starts, detach when it ends.  ELF has no way for a
// constructor to refuse a load, so a failed attach ends the process, as a
// failed lookup would later.
namespace {
__attribute__((constructor)) void xeb_on_load() {
    if (xebLibraryEntry(nullptr, xeb::kProcessAttach, nullptr) == 0)
        xeb::platform::terminate_process(1);
}
__attribute__((destructor)) void xeb_on_unload() {
    xebLibraryEntry(nullptr, xeb::kProcessDetach, nullptr);
}
}  // namespace
