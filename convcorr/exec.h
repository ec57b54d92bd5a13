// The execution driver's choice of kernel, exposed for white-box tests.
#pragma once

#include <string>

#include "convcorr/direct.h"
#include "convcorr/task.h"

namespace xeb::convcorr {

// How a kernel is called: the FFT form of eighteen words, the direct forms
// of one dimension with and without decimation, the direct form of any rank.
enum class Form { None, Fft, Direct1DDec, Direct1DNodec, DirectAll };

// Element type and precision of the sums.  DS (double data, single sums)
// has no kernel of its own.
enum class Types { SS, SD, DD, DS };

struct Selection {
    Form form;
    Types types;
    Job job;
};

// The kernel rukExec runs for a task: by job, rank, method, whether a
// decimation is set, and the two types.
Selection select_kernel(const RukTask& task);

// Exported name of the selected kernel ("rukConvSSFft1D_nodec"); empty
// when there is none.
std::string kernel_name(const Selection& s);

}  // namespace xeb::convcorr
