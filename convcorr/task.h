// The task record of convolution and correlation, and what the execution
// driver and the kernels share about it.  Internal; the calls are declared
// in xebruk/convcorr.h.
#pragma once

#include <cstdint>

#include "xebruk/convcorr.h"

// Hooks through which a method may hang private state on a task; copy and
// delete honour them.  The FFT convolution of one dimension keeps its
// transform state there (convcorr/fft_kernels.h) when the task has no
// other private data.
//   delete: (task, block) -> 0 or failure; the block itself is then freed
//           by rukDeleteTask with free().
//   copy:   (new task, &new task's block, old block) -> 0 or failure; on
//           entry the new task's block is the old one, the hook replaces it.
typedef int32_t (*RukTaskPrivateDelete)(RukTask* task, void* data);
typedef int32_t (*RukTaskPrivateCopy)(RukTask* newTask, void** newData, void* oldData);

struct RukTask {
    int32_t status;        // sticky: 0, or the first failure
    int32_t job;           // RUK_JOB_CONV, or anything else for correlation
    int32_t kind;          // stored and copied, read by nothing else
    int32_t method;
    int32_t option;        // stored and copied, read by nothing else
    int32_t* start;        // null (the job's default) or startStore
    int32_t* decimation;   // null (no decimation) or decimationStore
    int32_t subkind;       // stored and copied, read by nothing else
    int32_t dataType;      // RUK_TYPE_SINGLE, or anything else for double
    int32_t internalType;  // same coding, precision of the sums
    int32_t rank;          // as given; only the first RUK_TASK_MAX_RANK entries are stored
    int32_t* xShape;       // null or the matching store
    int32_t* yShape;
    int32_t* zShape;
    int32_t* xStride;
    const void* x;         // the caller's data of rukNewTaskX, never owned
    int32_t startStore[RUK_TASK_MAX_RANK];
    int32_t decimationStore[RUK_TASK_MAX_RANK];
    int32_t xShapeStore[RUK_TASK_MAX_RANK];
    int32_t yShapeStore[RUK_TASK_MAX_RANK];
    int32_t zShapeStore[RUK_TASK_MAX_RANK];
    int32_t xStrideStore[RUK_TASK_MAX_RANK];
    int32_t committed;
    void* privateData;     // owned, released with free()
    RukTaskPrivateDelete privateDelete;
    RukTaskPrivateCopy privateCopy;
};

namespace xeb::convcorr {

// Entries of a per-dimension array that a task stores for `rank`: rank
// itself, held to the stores' capacity; none for a rank below 1.  A rank
// outside 1..RUK_TASK_MAX_RANK is kept in the task as given, so that the
// kernels of any rank refuse it (RUK_ALL_ERROR_RANK).
constexpr int stored_entries(int32_t rank) {
    return rank < 0 ? 0 : rank > RUK_TASK_MAX_RANK ? RUK_TASK_MAX_RANK : rank;
}

}  // namespace xeb::convcorr
