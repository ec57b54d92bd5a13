// Task calls: creation, copy, edit, commit, delete and the sticky status.
//
// A task is good (status 0) or poisoned (any other status).  A refused
// edit, and any failed run, poison it; from then on edit, commit, copy and
// run return the stored status and do nothing else, until rukccSetStatus
// clears it.  Delete works in every state.  Nothing here validates shapes,
// starts or strides: the kernels do.
#include <cstdlib>

#include "convcorr/task.h"

namespace {

using xeb::convcorr::stored_entries;

// Copies the caller's per-dimension array into a store of the task.  A null
// array stays null and leaves the store alone.
int32_t* copy_array(int32_t* store, const int32_t* source, int32_t rank) {
    if (source == nullptr) return nullptr;
    const int n = stored_entries(rank);
    for (int d = 0; d < n; ++d) store[d] = source[d];
    return store;
}

// Points each per-dimension field of t at its store, filled from the given
// arrays (rank entries each), or leaves it null.
void store_arrays(RukTask* t, const int32_t* start, const int32_t* decimation,
                  const int32_t* xShape, const int32_t* yShape, const int32_t* zShape,
                  const int32_t* xStride) {
    t->start = copy_array(t->startStore, start, t->rank);
    t->decimation = copy_array(t->decimationStore, decimation, t->rank);
    t->xShape = copy_array(t->xShapeStore, xShape, t->rank);
    t->yShape = copy_array(t->yShapeStore, yShape, t->rank);
    t->zShape = copy_array(t->zShapeStore, zShape, t->rank);
    t->xStride = copy_array(t->xStrideStore, xStride, t->rank);
}

// The edit codes that are recognised but served by no edit.
bool refused_code(int32_t code) {
    return code == 1 || code == 2 || code == 7 || code == 8 || (code >= 10 && code <= 19);
}

int32_t apply_edit(RukTask* t, int32_t code, const void* value) {
    const int32_t* v = static_cast<const int32_t*>(value);
    switch (code) {
    case RUK_EDIT_METHOD: t->method = *v; return RUK_OK;
    case RUK_EDIT_OPTION: t->option = *v; return RUK_OK;
    case RUK_EDIT_START: t->start = copy_array(t->startStore, v, t->rank); return RUK_OK;
    case RUK_EDIT_DECIMATION:
        t->decimation = copy_array(t->decimationStore, v, t->rank);
        return RUK_OK;
    case RUK_EDIT_INTERNAL_PRECISION: t->internalType = *v; return RUK_OK;
    default: break;
    }
    if (code < 1 || code > 19) return RUK_TASK_ERROR_BAD_CODE;
    return refused_code(code) ? RUK_TASK_ERROR_FIXED_CODE : RUK_TASK_ERROR_BAD_CODE;
}

}  // namespace

extern "C" {

int32_t rukNewTask(RukTask** task, int32_t job, int32_t kind, int32_t method, int32_t subkind,
                   int32_t dataType, int32_t rank, const int32_t* xShape, const int32_t* yShape,
                   const int32_t* zShape) {
    return rukNewTaskX(task, job, kind, method, subkind, dataType, rank, xShape, yShape, zShape,
                       nullptr, nullptr);
}

int32_t rukNewTaskX(RukTask** task, int32_t job, int32_t kind, int32_t method, int32_t subkind,
                    int32_t dataType, int32_t rank, const int32_t* xShape, const int32_t* yShape,
                    const int32_t* zShape, const void* x, const int32_t* xStride) {
    if (task == nullptr) return RUK_ERROR_NULL_ARG;
    auto* t = static_cast<RukTask*>(std::malloc(sizeof(RukTask)));
    if (t == nullptr) return RUK_ERROR_NO_MEMORY;
    t->job = job;
    t->kind = kind;
    t->method = method;
    t->subkind = subkind;
    t->option = 0;
    t->dataType = dataType;
    t->internalType = dataType;
    t->rank = rank;
    store_arrays(t, nullptr, nullptr, xShape, yShape, zShape, xStride);
    t->x = x;
    t->committed = 0;
    t->privateData = nullptr;
    t->privateDelete = nullptr;
    t->privateCopy = nullptr;
    t->status = RUK_OK;
    *task = t;
    return RUK_OK;
}

int32_t rukCopyTask(RukTask** newTask, const RukTask* source) {
    if (newTask == nullptr || source == nullptr) return RUK_ERROR_NULL_ARG;
    if (source->status != RUK_OK) return source->status;
    auto* t = static_cast<RukTask*>(std::malloc(sizeof(RukTask)));
    if (t == nullptr) return RUK_ERROR_NO_MEMORY;
    t->job = source->job;
    t->kind = source->kind;
    t->method = source->method;
    t->option = source->option;
    t->subkind = source->subkind;
    t->dataType = source->dataType;
    t->internalType = source->internalType;
    t->rank = source->rank;
    store_arrays(t, source->start, source->decimation, source->xShape, source->yShape,
                 source->zShape, source->xStride);
    t->x = source->x;
    t->privateDelete = source->privateDelete;
    t->privateCopy = source->privateCopy;
    t->committed = source->committed;
    t->privateData = source->privateData;
    if (t->privateData != nullptr) {
        // The hook replaces the shared block with the copy's own.  Without
        // a hook the block cannot be duplicated: sharing it would free it
        // twice, so the copy fails as a failed hook does.
        const int32_t r = t->privateCopy == nullptr
                              ? RUK_TASK_ERROR_COPY_HOOK
                              : t->privateCopy(t, &t->privateData, source->privateData);
        if (r != 0) {
            std::free(t);
            return RUK_TASK_ERROR_COPY_HOOK;
        }
    }
    t->status = RUK_OK;
    *newTask = t;
    return RUK_OK;
}

int32_t rukDeleteTask(RukTask** task) {
    if (task == nullptr) return RUK_ERROR_NULL_ARG;
    RukTask* t = *task;
    if (t == nullptr) return RUK_OK;
    int32_t hook = 0;
    if (t->privateData != nullptr) {
        hook = t->privateDelete != nullptr ? t->privateDelete(t, t->privateData)
                                           : RUK_TASK_ERROR_NO_DELETE_HOOK;
        std::free(t->privateData);
        t->privateData = nullptr;
    }
    std::free(t);
    *task = nullptr;
    return hook != 0 ? RUK_TASK_ERROR_DELETE : RUK_OK;
}

int32_t rukEditTask(RukTask* task, int32_t code, const void* value) {
    if (task == nullptr) return RUK_ERROR_NULL_ARG;
    if (task->status != RUK_OK) return task->status;
    const int32_t r = value == nullptr ? RUK_ERROR_NULL_ARG : apply_edit(task, code, value);
    task->committed = 0;
    task->status = r;
    return r;
}

int32_t rukCommitTask(RukTask* task) {
    if (task == nullptr) return RUK_ERROR_NULL_ARG;
    if (task->status != RUK_OK) return task->status;
    task->committed = 1;
    return RUK_OK;
}

int32_t rukccGetStatus(const RukTask* task) {
    return task == nullptr ? RUK_ERROR_NULL_ARG : task->status;
}

int32_t rukccSetStatus(RukTask* task, int32_t status) {
    if (task == nullptr) return RUK_ERROR_NULL_ARG;
    const int32_t previous = task->status;
    task->status = status;
    return previous;
}

}  // extern "C"
