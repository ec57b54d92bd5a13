// The few operating-system services the frame needs: one thread-local slot,
// a private heap for the per-thread records, the fatal start-up report and
// ending the process.  Linux realisation in platform_linux.cpp; a Windows
// build supplies the native calls behind the same functions.
#pragma once

#include <cstddef>
#include <cstdint>

namespace xeb::platform {

constexpr int32_t kNoSlot = -1;

// Thread-local slot.  tls_alloc returns kNoSlot on failure.
int32_t tls_alloc();
void tls_free(int32_t slot);
void* tls_get(int32_t slot);
bool tls_set(int32_t slot, void* value);

// Private heap.  heap_create returns null on failure.
void* heap_create(std::size_t initial_bytes);
void* heap_alloc(void* heap, std::size_t bytes);
void heap_free(void* heap, void* block);
void heap_destroy(void* heap);  // frees every block still in the heap
std::size_t heap_block_count(void* heap);  // blocks alive (white-box tests)

// Module path of the main program; false when none can be had.
bool main_module_path(char* buf, std::size_t size);
// Last error of the platform, and its text; false when there is no text.
int last_error();
bool error_text(int error, char* buf, std::size_t size);
// Shows the fatal report ("<title>: <text>" on stderr here).
void show_fatal(const char* title, const char* text);
[[noreturn]] void terminate_process(int exit_code);

// Called when a thread that owns a slot value ends (thread detach).
using ThreadExitHook = void (*)();
void set_thread_exit_hook(ThreadExitHook hook);

// Failure injection for white-box tests of the start-up and lookup paths.
struct FaultInjection {
    bool tls_alloc_fails = false;
    bool tls_set_fails = false;
    bool heap_fails = false;
    bool no_module_path = false;
    bool no_error_text = false;
};
FaultInjection& faults();

}  // namespace xeb::platform
