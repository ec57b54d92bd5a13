// Per-thread record, the slot that finds it and the library's load and
// unload entry.  Internal interface; the services are in xebruk/frame.h.
#pragma once

#include <cstdint>

#include "xebruk/frame.h"

namespace xeb {

// The load/unload reasons of xebLibraryEntry.
enum LoadReason : uint32_t {
    kProcessDetach = 0,
    kProcessAttach = 1,
    kThreadAttach = 2,
    kThreadDetach = 3,
};

bool process_attach();
void process_detach();
XebThreadState* get_thread_state();  // creates the record on first use
XebThreadState* new_thread_state();
void free_thread_state(XebThreadState* p);
bool heap_open();
void heap_close();
void* heap_alloc(std::size_t bytes);
void heap_free(void* p);
void fatal_box();

// White-box views of the process-wide words: -1 means no slot, null no heap.
int32_t slot_index();
void* heap_handle();

}  // namespace xeb
