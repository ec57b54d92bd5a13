// Task life: creation, every edit code, the sticky status and what each
// call does on a poisoned task, copy and delete with their private-data
// hooks.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "convcorr/task.h"

namespace {

const int32_t kXShape[3] = {5, 6, 7};
const int32_t kYShape[3] = {2, 3, 4};
const int32_t kZShape[3] = {6, 8, 10};
const int32_t kXStride[3] = {1, 5, 30};

RukTask* new_task(int32_t rank = 3) {
    RukTask* t = nullptr;
    EXPECT_EQ(rukNewTask(&t, RUK_JOB_CONV, 11, RUK_METHOD_DIRECT, 22, RUK_TYPE_DOUBLE, rank,
                         kXShape, kYShape, kZShape),
              RUK_OK);
    return t;
}

std::vector<int32_t> entries(const int32_t* p, int n) { return std::vector<int32_t>(p, p + n); }
// The integer settings of a task, in one comparable list.
std::vector<int32_t> settings(const RukTask* t) {
    return {t->job, t->kind, t->method, t->subkind, t->option, t->dataType, t->internalType, t->rank, t->committed};
}

TEST(TaskCreate, CopiesTheCallersArraysAndSetsDefaults) {
    int32_t xs[3] = {5, 6, 7}, ys[3] = {2, 3, 4}, stride[3] = {1, 5, 30};
    const double data[4] = {};
    RukTask* t = nullptr;
    ASSERT_EQ(rukNewTaskX(&t, RUK_JOB_CORR, 11, RUK_METHOD_FFT, 22, RUK_TYPE_SINGLE, 3, xs, ys, nullptr, data, stride),
              RUK_OK);
    xs[0] = ys[0] = stride[0] = -1;  // the task holds copies
    EXPECT_EQ(settings(t), (std::vector<int32_t>{RUK_JOB_CORR, 11, RUK_METHOD_FFT, 22, 0, RUK_TYPE_SINGLE,
                                                 RUK_TYPE_SINGLE, 3, 0}));
    EXPECT_EQ(t->xShape, t->xShapeStore);
    EXPECT_EQ(entries(t->xShape, 3), entries(kXShape, 3));
    EXPECT_EQ(entries(t->yShape, 3), entries(kYShape, 3));
    EXPECT_EQ(t->xStride, t->xStrideStore);
    EXPECT_EQ(entries(t->xStride, 3), entries(kXStride, 3));
    EXPECT_EQ(t->x, data);
    EXPECT_TRUE(!t->zShape && !t->start && !t->decimation && !t->privateData && !t->privateDelete && !t->privateCopy);
    EXPECT_EQ(rukccGetStatus(t), RUK_OK);
    EXPECT_EQ(rukDeleteTask(&t), RUK_OK);
    EXPECT_EQ(t, nullptr);
    t = new_task();  // rukNewTask: no data and no x stride
    EXPECT_TRUE(!t->x && !t->xStride);
    EXPECT_EQ(rukDeleteTask(&t), RUK_OK);
    EXPECT_EQ(rukNewTask(nullptr, 1, 0, 0, 0, 2, 1, xs, ys, ys), RUK_ERROR_NULL_ARG);
    EXPECT_EQ(rukDeleteTask(&t), RUK_OK);  // a null task is fine, a null handle is not
    EXPECT_EQ(rukDeleteTask(nullptr), RUK_ERROR_NULL_ARG);
}

// A rank above the stores' capacity is kept as given (the kernels of any
// rank refuse it) while only seven entries are stored.
TEST(TaskCreate, RankAboveSevenStoresSevenEntries) {
    std::vector<int32_t> big(12, 9);
    RukTask* t = nullptr;
    ASSERT_EQ(rukNewTaskX(&t, RUK_JOB_CONV, 0, 0, 0, 2, 12, big.data(), big.data(), big.data(), nullptr, big.data()),
              RUK_OK);
    EXPECT_EQ(t->rank, 12);
    EXPECT_EQ(entries(t->xStride, RUK_TASK_MAX_RANK), std::vector<int32_t>(7, 9));
    ASSERT_EQ(rukEditTask(t, RUK_EDIT_START, big.data()), RUK_OK);
    ASSERT_EQ(rukEditTask(t, RUK_EDIT_DECIMATION, big.data()), RUK_OK);
    // The fields behind the last store are intact.
    EXPECT_TRUE(!t->committed && !t->privateData && !t->privateDelete && !t->privateCopy);
    RukTask* c = nullptr;
    ASSERT_EQ(rukCopyTask(&c, t), RUK_OK);
    EXPECT_EQ(entries(c->decimation, RUK_TASK_MAX_RANK), std::vector<int32_t>(7, 9));
    EXPECT_EQ(rukDeleteTask(&c), RUK_OK);
    EXPECT_EQ(rukDeleteTask(&t), RUK_OK);
}

TEST(TaskEdit, EveryCode) {
    const int32_t value[3] = {4, 3, 2};
    for (int32_t code = -2; code <= 21; ++code) {
        RukTask* t = new_task();
        ASSERT_EQ(rukCommitTask(t), RUK_OK);
        int32_t expected;
        switch (code) {
        case 3: case 4: case 5: case 6: case 9: expected = RUK_OK; break;
        case 1: case 2: case 7: case 8: expected = RUK_TASK_ERROR_FIXED_CODE; break;
        default:
            expected = code >= 10 && code <= 19 ? RUK_TASK_ERROR_FIXED_CODE
                                                : RUK_TASK_ERROR_BAD_CODE;
        }
        EXPECT_EQ(rukEditTask(t, code, value), expected) << "code " << code;
        EXPECT_EQ(rukccGetStatus(t), expected) << "code " << code;
        EXPECT_EQ(t->committed, 0) << "every edit clears the commit, code " << code;
        EXPECT_EQ(t->method, code == 3 ? 4 : RUK_METHOD_DIRECT);
        EXPECT_EQ(t->option, code == 4 ? 4 : 0);
        EXPECT_EQ(t->internalType, code == 9 ? 4 : RUK_TYPE_DOUBLE);
        EXPECT_EQ(t->start, code == 5 ? t->startStore : nullptr);
        EXPECT_EQ(t->decimation, code == 6 ? t->decimationStore : nullptr);
        if (code == 5) {
            EXPECT_EQ(entries(t->start, 3), entries(value, 3));
        }
        if (code == 6) {
            EXPECT_EQ(entries(t->decimation, 3), entries(value, 3));
        }
        EXPECT_EQ(rukDeleteTask(&t), RUK_OK);
    }
}

// A null value poisons with -5 and leaves the setting as it was; the null
// test comes before the code tests.
TEST(TaskEdit, NullValuePoisons) {
    const int32_t start[3] = {1, 2, 3};
    RukTask* t = new_task();
    ASSERT_EQ(rukEditTask(t, RUK_EDIT_START, start), RUK_OK);
    EXPECT_EQ(rukEditTask(t, RUK_EDIT_START, nullptr), RUK_ERROR_NULL_ARG);
    EXPECT_EQ(t->start, t->startStore);
    EXPECT_EQ(entries(t->start, 3), entries(start, 3));
    EXPECT_EQ(rukccGetStatus(t), RUK_ERROR_NULL_ARG);
    EXPECT_EQ(rukDeleteTask(&t), RUK_OK);

    t = new_task();
    EXPECT_EQ(rukEditTask(t, 0, nullptr), RUK_ERROR_NULL_ARG);
    EXPECT_EQ(rukDeleteTask(&t), RUK_OK);
    EXPECT_EQ(rukEditTask(nullptr, RUK_EDIT_METHOD, start), RUK_ERROR_NULL_ARG);
}

// On a poisoned task edit, commit and copy return the status and change
// nothing; rukccSetStatus alone clears it.
TEST(TaskStatus, PoisonSticksUntilCleared) {
    const int32_t one = 1;
    RukTask* t = new_task();
    ASSERT_EQ(rukCommitTask(t), RUK_OK);
    EXPECT_EQ(t->committed, 1);
    EXPECT_EQ(rukEditTask(t, 7, &one), RUK_TASK_ERROR_FIXED_CODE);
    EXPECT_EQ(t->committed, 0);
    EXPECT_EQ(rukCommitTask(t), RUK_TASK_ERROR_FIXED_CODE);
    EXPECT_EQ(t->committed, 0);
    EXPECT_EQ(rukEditTask(t, RUK_EDIT_METHOD, &one), RUK_TASK_ERROR_FIXED_CODE);
    EXPECT_EQ(t->method, RUK_METHOD_DIRECT);
    EXPECT_EQ(rukEditTask(t, 20, &one), RUK_TASK_ERROR_FIXED_CODE);  // the first failure stays
    RukTask untouched{};
    RukTask* copy = &untouched;
    EXPECT_EQ(rukCopyTask(&copy, t), RUK_TASK_ERROR_FIXED_CODE);
    EXPECT_EQ(copy, &untouched);

    EXPECT_EQ(rukccSetStatus(t, RUK_OK), RUK_TASK_ERROR_FIXED_CODE);
    EXPECT_EQ(rukCommitTask(t), RUK_OK);
    EXPECT_EQ(rukEditTask(t, RUK_EDIT_METHOD, &one), RUK_OK);
    EXPECT_EQ(rukccSetStatus(t, -2301), RUK_OK);  // set and get check nothing
    EXPECT_EQ(rukccGetStatus(t), -2301);
    EXPECT_EQ(rukDeleteTask(&t), RUK_OK);  // delete works when poisoned

    EXPECT_EQ(rukCommitTask(nullptr), RUK_ERROR_NULL_ARG);
    EXPECT_EQ(rukccGetStatus(nullptr), RUK_ERROR_NULL_ARG);
    EXPECT_EQ(rukccSetStatus(nullptr, 0), RUK_ERROR_NULL_ARG);
}
// Hooks that record their calls.
struct HookLog {
    int deletes = 0, copies = 0;
    RukTask* task = nullptr;
    void** slot = nullptr;
    void* old_block = nullptr;
    int32_t result = 0;
} hook_log;

int32_t delete_hook(RukTask* task, void* data) {
    ++hook_log.deletes;
    hook_log.task = task;
    hook_log.old_block = data;
    return hook_log.result;
}

int32_t copy_hook(RukTask* task, void** slot, void* old_block) {
    ++hook_log.copies;
    hook_log.task = task;
    hook_log.slot = slot;
    hook_log.old_block = old_block;
    EXPECT_EQ(*slot, old_block);  // the new task holds the old block until replaced
    if (hook_log.result != 0) return hook_log.result;
    *slot = std::malloc(16);
    static_cast<int*>(*slot)[0] = static_cast<int*>(old_block)[0] + 1;
    return 0;
}

RukTask* task_with_block(bool hooks) {
    RukTask* t = new_task();
    t->privateData = std::malloc(16);
    static_cast<int*>(t->privateData)[0] = 41;
    t->privateDelete = hooks ? delete_hook : nullptr;
    t->privateCopy = hooks ? copy_hook : nullptr;
    return t;
}

TEST(TaskCopy, FieldsArraysAndNulls) {
    RukTask* t = new_task();
    const int32_t start[3] = {0, 1, 2}, seven = 7;
    ASSERT_EQ(rukEditTask(t, RUK_EDIT_START, start), RUK_OK);
    ASSERT_EQ(rukEditTask(t, RUK_EDIT_OPTION, &seven), RUK_OK);
    ASSERT_EQ(rukEditTask(t, RUK_EDIT_INTERNAL_PRECISION, &seven), RUK_OK);
    ASSERT_EQ(rukCommitTask(t), RUK_OK);
    RukTask* c = nullptr;
    ASSERT_EQ(rukCopyTask(&c, t), RUK_OK);
    EXPECT_EQ(settings(c),
              (std::vector<int32_t>{RUK_JOB_CONV, 11, RUK_METHOD_DIRECT, 22, 7, RUK_TYPE_DOUBLE, 7, 3, 1}));
    EXPECT_EQ(c->start, c->startStore);
    EXPECT_EQ(entries(c->start, 3), entries(start, 3));
    EXPECT_EQ(c->xShape, c->xShapeStore);
    EXPECT_EQ(entries(c->zShape, 3), entries(kZShape, 3));
    EXPECT_TRUE(!c->decimation && !c->xStride && !c->privateData);
    EXPECT_EQ(rukccGetStatus(c), RUK_OK);
    EXPECT_EQ(rukDeleteTask(&t), RUK_OK);
    EXPECT_EQ(entries(c->yShape, 3), entries(kYShape, 3));  // nothing shared
    EXPECT_EQ(rukDeleteTask(&c), RUK_OK);
    EXPECT_EQ(rukCopyTask(nullptr, c), RUK_ERROR_NULL_ARG);
    EXPECT_EQ(rukCopyTask(&c, nullptr), RUK_ERROR_NULL_ARG);
}

TEST(TaskCopy, PrivateDataThroughTheHook) {
    hook_log = HookLog{};
    RukTask* t = task_with_block(true);
    void* const old_block = t->privateData;
    RukTask* c = nullptr;
    ASSERT_EQ(rukCopyTask(&c, t), RUK_OK);
    EXPECT_EQ(hook_log.copies, 1);
    EXPECT_EQ(hook_log.task, c);
    EXPECT_EQ(hook_log.slot, &c->privateData);
    EXPECT_EQ(hook_log.old_block, old_block);
    EXPECT_NE(c->privateData, old_block);
    EXPECT_EQ(static_cast<int*>(c->privateData)[0], 42);
    EXPECT_EQ(c->privateDelete, delete_hook);

    // A failing hook: no task, the source's block untouched.
    hook_log.result = 3;
    RukTask* d = nullptr;
    EXPECT_EQ(rukCopyTask(&d, t), RUK_TASK_ERROR_COPY_HOOK);
    EXPECT_EQ(d, nullptr);
    EXPECT_EQ(t->privateData, old_block);
    EXPECT_EQ(static_cast<int*>(old_block)[0], 41);
    EXPECT_EQ(rukccGetStatus(t), RUK_OK);

    // Delete calls the hook with the task and the block, then frees both;
    // a failing hook is reported after the task is gone.
    EXPECT_EQ(rukDeleteTask(&t), RUK_TASK_ERROR_DELETE);
    EXPECT_EQ(t, nullptr);
    EXPECT_EQ(hook_log.deletes, 1);
    EXPECT_EQ(hook_log.old_block, old_block);
    hook_log.result = 0;
    EXPECT_EQ(rukDeleteTask(&c), RUK_OK);
    EXPECT_EQ(hook_log.deletes, 2);
    EXPECT_EQ(c, nullptr);
}
// Private data without hooks: a copy cannot duplicate the block and fails
// as a failed hook does; delete frees the block and reports the missing
// hook as a failure.
TEST(TaskCopy, PrivateDataWithoutHooks) {
    RukTask* t = task_with_block(false);
    RukTask* c = nullptr;
    EXPECT_EQ(rukCopyTask(&c, t), RUK_TASK_ERROR_COPY_HOOK);
    EXPECT_EQ(c, nullptr);
    EXPECT_EQ(rukDeleteTask(&t), RUK_TASK_ERROR_DELETE);
    EXPECT_EQ(t, nullptr);
}

}  // namespace