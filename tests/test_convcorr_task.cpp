// Task life: creation from the caller's arrays, every edit code, the sticky
// status and what each call does on a poisoned task, copy and delete with
// their private-data hooks.  What a task holds is seen through what it
// computes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "convcorr/task.h"

namespace {

const int32_t kXShape[3] = {5, 6, 7};
const int32_t kYShape[3] = {2, 3, 4};
const int32_t kZShape[3] = {6, 8, 10};

RukTask* new_task(int32_t rank = 3) {
    RukTask* t = nullptr;
    EXPECT_EQ(rukNewTask(&t, RUK_JOB_CONV, 11, RUK_METHOD_DIRECT, 22, RUK_TYPE_DOUBLE, rank,
                         kXShape, kYShape, kZShape),
              RUK_OK);
    return t;
}

// x = 1 1 1 at stride 2, held by the task; y = 2^30 2^-30 -2^30 1.  Output
// 0 is 2^30; output 2 is 2^-30 with double sums and 0 with single ones.
const float kX[6] = {1, 0, 1, 0, 1, 0}, kY[4] = {0x1p30f, 0x1p-30f, -0x1p30f, 1};
float run(RukTask* t) {
    float z = -1;
    EXPECT_EQ(rukExecX(t, kY, nullptr, &z, nullptr), RUK_OK);
    return z;
}

// The task holds copies of the shapes, stride, start and settings; a copy
// holds its own and runs alike once the original is gone.
TEST(TaskCreate, HoldsCopiesAndACopyRunsAlone) {
    std::vector<int32_t> nx = {3}, ny = {4}, nz = {1}, stride = {2}, start = {2};
    RukTask* t = nullptr;
    ASSERT_EQ(rukNewTaskX(&t, RUK_JOB_CONV, 0, RUK_METHOD_DIRECT, 0, RUK_TYPE_SINGLE, 1, nx.data(), ny.data(),
                          nz.data(), kX, stride.data()),
              RUK_OK);
    nx[0] = ny[0] = nz[0] = stride[0] = -1;
    EXPECT_EQ(run(t), 0x1p30f);
    ASSERT_EQ(rukEditTask(t, RUK_EDIT_START, start.data()), RUK_OK);
    start[0] = 0;
    EXPECT_EQ(run(t), 0.0f);
    const int32_t double_sums = RUK_TYPE_DOUBLE;
    ASSERT_EQ(rukEditTask(t, RUK_EDIT_INTERNAL_PRECISION, &double_sums), RUK_OK);
    EXPECT_EQ(run(t), 0x1p-30f);
    RukTask* c = nullptr;
    ASSERT_EQ(rukCopyTask(&c, t), RUK_OK);
    ASSERT_EQ(rukEditTask(t, RUK_EDIT_START, start.data()), RUK_OK);
    EXPECT_EQ(run(t), 0x1p30f);
    EXPECT_EQ(rukDeleteTask(&t), RUK_OK);
    EXPECT_EQ(t, nullptr);
    EXPECT_EQ(run(c), 0x1p-30f);
    EXPECT_EQ(rukDeleteTask(&c), RUK_OK);
    // Null handles; a null task deletes fine.
    EXPECT_EQ(rukNewTask(nullptr, 1, 0, 0, 0, 2, 1, kXShape, kYShape, kZShape), RUK_ERROR_NULL_ARG);
    EXPECT_EQ(rukDeleteTask(&t), RUK_OK);
    EXPECT_EQ(rukDeleteTask(nullptr), RUK_ERROR_NULL_ARG);
    EXPECT_EQ(rukCopyTask(nullptr, c), RUK_ERROR_NULL_ARG);
    EXPECT_EQ(rukCopyTask(&c, nullptr), RUK_ERROR_NULL_ARG);
}

// A rank above the stores' capacity is kept as given while only seven
// entries are stored (the sanitizer build sees any write past them); the
// kernels of any rank refuse it.
TEST(TaskCreate, RankAboveSevenStoresSevenEntries) {
    std::vector<int32_t> big(12, 2);
    std::vector<double> data(4096, 1.0);
    RukTask* t = nullptr;
    ASSERT_EQ(rukNewTaskX(&t, RUK_JOB_CONV, 0, 0, 0, 2, 12, big.data(), big.data(), big.data(), nullptr, big.data()),
              RUK_OK);
    ASSERT_EQ(rukEditTask(t, RUK_EDIT_START, big.data()), RUK_OK);
    ASSERT_EQ(rukEditTask(t, RUK_EDIT_DECIMATION, big.data()), RUK_OK);
    RukTask* c = nullptr;
    ASSERT_EQ(rukCopyTask(&c, t), RUK_OK);
    EXPECT_EQ(rukExec(c, data.data(), nullptr, data.data(), nullptr, data.data(), nullptr), RUK_ALL_ERROR_RANK);
    EXPECT_EQ(rukDeleteTask(&c), RUK_OK);
    EXPECT_EQ(rukDeleteTask(&t), RUK_OK);
}

TEST(TaskEdit, EveryCodeAndANullValue) {
    const int32_t value[3] = {4, 3, 2};
    for (int32_t code = -2; code <= 21; ++code) {
        RukTask* t = new_task();
        const bool settable = code == 3 || code == 4 || code == 5 || code == 6 || code == 9;
        const int32_t expected = settable                           ? RUK_OK
                                 : (code >= 1 && code <= 19)        ? RUK_TASK_ERROR_FIXED_CODE
                                                                    : RUK_TASK_ERROR_BAD_CODE;
        EXPECT_EQ(rukEditTask(t, code, value), expected) << "code " << code;
        EXPECT_EQ(rukccGetStatus(t), expected) << "code " << code;
        // The null test comes first and poisons the task alike.
        RukTask* n = new_task();
        EXPECT_EQ(rukEditTask(n, code, nullptr), RUK_ERROR_NULL_ARG) << "code " << code;
        EXPECT_EQ(rukccGetStatus(n), RUK_ERROR_NULL_ARG);
        EXPECT_EQ(rukDeleteTask(&n), RUK_OK);
        EXPECT_EQ(rukDeleteTask(&t), RUK_OK);
    }
    EXPECT_EQ(rukEditTask(nullptr, RUK_EDIT_METHOD, value), RUK_ERROR_NULL_ARG);
}

// On a poisoned task edit, commit and copy return the status and change
// nothing; rukccSetStatus alone clears it.
TEST(TaskStatus, PoisonSticksUntilCleared) {
    const int32_t one = 1;
    RukTask* t = new_task();
    ASSERT_EQ(rukCommitTask(t), RUK_OK);
    EXPECT_EQ(rukEditTask(t, 7, &one), RUK_TASK_ERROR_FIXED_CODE);
    EXPECT_EQ(rukCommitTask(t), RUK_TASK_ERROR_FIXED_CODE);
    EXPECT_EQ(rukEditTask(t, RUK_EDIT_METHOD, &one), RUK_TASK_ERROR_FIXED_CODE);
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

// Hooks that count their calls and answer `result`.
int deletes = 0, copies = 0, result = 0;
int32_t delete_hook(RukTask*, void*) { return ++deletes, result; }
int32_t copy_hook(RukTask*, void** slot, void* old_block) {
    ++copies;
    if (result != 0) return result;
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

// The copy hook makes the copy's block; a failing hook leaves no task and
// the source as it was.  Delete calls its hook, frees the block, and
// reports a failing (or missing) hook after the task is gone.
TEST(TaskCopy, PrivateDataThroughTheHooks) {
    RukTask* t = task_with_block(true);
    RukTask *c = nullptr, *d = nullptr;
    ASSERT_EQ(rukCopyTask(&c, t), RUK_OK);
    EXPECT_EQ(copies, 1);
    EXPECT_EQ(static_cast<int*>(c->privateData)[0], 42);
    result = 3;
    EXPECT_EQ(rukCopyTask(&d, t), RUK_TASK_ERROR_COPY_HOOK);
    EXPECT_EQ(d, nullptr);
    EXPECT_EQ(static_cast<int*>(t->privateData)[0], 41);
    EXPECT_EQ(rukccGetStatus(t), RUK_OK);
    EXPECT_EQ(rukDeleteTask(&t), RUK_TASK_ERROR_DELETE);
    EXPECT_EQ(t, nullptr);
    result = 0;
    EXPECT_EQ(rukDeleteTask(&c), RUK_OK);
    EXPECT_EQ(deletes, 2);
    // Without hooks a copy cannot duplicate the block and fails as a
    // failed hook does; delete frees the block and reports the missing hook.
    t = task_with_block(false);
    EXPECT_EQ(rukCopyTask(&c, t), RUK_TASK_ERROR_COPY_HOOK);
    EXPECT_EQ(c, nullptr);
    EXPECT_EQ(rukDeleteTask(&t), RUK_TASK_ERROR_DELETE);
}

}  // namespace
