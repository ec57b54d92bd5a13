// Uniform numbers: the generator's own real kernel on the interval from a
// to b, found through the stream's first word.  Every continuous law draws
// through these two functions.
#include "laws/continuous.h"

using namespace xeb::laws;

int32_t rukdRngUniform(int32_t, RukStream* stream, int32_t n, double* r, double a, double b) {
    return row_of(stream).dKernel(stream, n, r, a, b);
}

int32_t ruksRngUniform(int32_t, RukStream* stream, int32_t n, float* r, float a, float b) {
    return row_of(stream).sKernel(stream, n, r, a, b);
}
