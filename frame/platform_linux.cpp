// Linux realisation of the platform layer.
//
// The slot is a C++ thread_local owner object: its destructor is the thread
// detach path, and unlike a pthread key destructor it also runs for the main
// thread at exit and cannot run after the code that holds it is unmapped
// (the shared library is linked nodelete).  The private heap is a small
// arena that remembers its blocks, so that destroying it disposes of the
// records of threads that never detached.
#include "frame/platform.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unistd.h>

namespace xeb::platform {

namespace {

ThreadExitHook g_exit_hook = nullptr;
bool g_slot_allocated = false;
// Each allocation of the slot is a new generation: a value a thread stored
// under an earlier one is not seen, as a fresh slot starts empty everywhere.
uint32_t g_generation = 0;

struct SlotOwner {
    void* value = nullptr;
    uint32_t generation = 0;
    bool current() const { return value != nullptr && generation == g_generation && g_slot_allocated; }
    ~SlotOwner() {
        if (current() && g_exit_hook != nullptr) g_exit_hook();
        value = nullptr;
    }
};

thread_local SlotOwner t_slot;

struct BlockHeader {
    BlockHeader* prev;
    BlockHeader* next;
    // Keeps the payload 16-byte aligned, as malloc's is.
    alignas(16) unsigned char payload[1];
};

struct Heap {
    std::mutex lock;  // the heap's own lock: blocks may be freed by any thread
    BlockHeader* blocks = nullptr;
};

BlockHeader* header_of(void* block) {
    return reinterpret_cast<BlockHeader*>(static_cast<unsigned char*>(block) -
                                          offsetof(BlockHeader, payload));
}

}  // namespace

FaultInjection& faults() {
    static FaultInjection f;
    return f;
}

void set_thread_exit_hook(ThreadExitHook hook) { g_exit_hook = hook; }

int32_t tls_alloc() {
    if (faults().tls_alloc_fails || g_slot_allocated) {
        errno = faults().tls_alloc_fails ? EAGAIN : errno;
        return kNoSlot;
    }
    g_slot_allocated = true;
    ++g_generation;
    return 0;
}

void tls_free(int32_t slot) {
    if (slot != kNoSlot) g_slot_allocated = false;
}

void* tls_get(int32_t) { return t_slot.current() ? t_slot.value : nullptr; }

bool tls_set(int32_t, void* value) {
    if (faults().tls_set_fails && value != nullptr) {
        errno = ENOMEM;
        return false;
    }
    t_slot.value = value;
    t_slot.generation = g_generation;
    return true;
}

void* heap_create(std::size_t) {
    if (faults().heap_fails) {
        errno = ENOMEM;
        return nullptr;
    }
    return new (std::nothrow) Heap;
}

void* heap_alloc(void* heap, std::size_t bytes) {
    auto* h = static_cast<Heap*>(heap);
    if (h == nullptr || faults().heap_fails) {
        errno = ENOMEM;
        return nullptr;
    }
    auto* b = static_cast<BlockHeader*>(std::malloc(offsetof(BlockHeader, payload) + bytes));
    if (b == nullptr) return nullptr;
    std::lock_guard<std::mutex> guard(h->lock);
    b->prev = nullptr;
    b->next = h->blocks;
    if (h->blocks != nullptr) h->blocks->prev = b;
    h->blocks = b;
    return b->payload;
}

void heap_free(void* heap, void* block) {
    auto* h = static_cast<Heap*>(heap);
    if (h == nullptr || block == nullptr) return;
    BlockHeader* b = header_of(block);
    {
        std::lock_guard<std::mutex> guard(h->lock);
        if (b->prev != nullptr) b->prev->next = b->next;
        else h->blocks = b->next;
        if (b->next != nullptr) b->next->prev = b->prev;
    }
    std::free(b);
}

void heap_destroy(void* heap) {
    auto* h = static_cast<Heap*>(heap);
    if (h == nullptr) return;
    for (BlockHeader* b = h->blocks; b != nullptr;) {
        BlockHeader* next = b->next;
        std::free(b);
        b = next;
    }
    delete h;
}

std::size_t heap_block_count(void* heap) {
    auto* h = static_cast<Heap*>(heap);
    if (h == nullptr) return 0;
    std::lock_guard<std::mutex> guard(h->lock);
    std::size_t n = 0;
    for (BlockHeader* b = h->blocks; b != nullptr; b = b->next) ++n;
    return n;
}

bool main_module_path(char* buf, std::size_t size) {
    if (faults().no_module_path || size == 0) return false;
    ssize_t len = readlink("/proc/self/exe", buf, size - 1);
    if (len <= 0) return false;
    buf[len] = '\0';
    return true;
}

int last_error() { return errno; }

bool error_text(int error, char* buf, std::size_t size) {
    if (faults().no_error_text || error == 0 || size == 0) return false;
    std::snprintf(buf, size, "%s", std::strerror(error));
    return buf[0] != '\0';
}

void show_fatal(const char* title, const char* text) {
    std::fprintf(stderr, "%s: %s\n", title, text);
    std::fflush(stderr);
}

void terminate_process(int exit_code) { _exit(exit_code); }

}  // namespace xeb::platform
