/* The public headers are plain C: this program includes them all, calls a
 * kernel and reads the status word, draws from a stream and runs a
 * convolution task. */
#include <stdio.h>

#include "xebruk/xebruk.h"

int main(void) {
    double a[5] = {1.0, 2.0, 4.0, 0.0, 8.0};
    double r[5];
    uint32_t old = xebSetMode(XEB_REPORT_NONE);
    xebClearErrStatus();
    xebdInv_HA(5, a, r);
    int32_t status = xebGetErrStatus();
    xebSetMode(old);
    if (r[0] != 1.0 || r[1] != 0.5 || r[2] != 0.25 || r[4] != 0.125 || status != XEB_STATUS_POLE) {
        printf("unexpected: %g %g %g %g status %d\n", r[0], r[1], r[2], r[4], (int)status);
        return 1;
    }
    printf("C interface works: 1/a and pole status %d\n", (int)status);

    RukStream *stream = NULL;
    uint32_t seed = 1, words[2];
    if (rukNewStreamEx(&stream, RUK_BRNG_MCG31M1, 1, &seed) != RUK_OK) return 1;
    rukiBRngMCG31M1(stream, 2, words);
    rukDeleteStream(&stream);
    if (words[0] != 1 || words[1] != 1132489760u || stream != NULL || __RegBrngs[0].streamSize != 24) {
        printf("unexpected stream words %u %u\n", (unsigned)words[0], (unsigned)words[1]);
        return 1;
    }
    printf("C interface works: MCG31M1 stream\n");

    /* The convolution of the README. */
    float x[5] = {1, 2, 3, 4, 5}, y[3] = {1, 0, -1}, z[7];
    int32_t nx = 5, ny = 3, nz = 7;
    RukTask *task = NULL;
    rukNewTask(&task, RUK_JOB_CONV, 0, RUK_METHOD_AUTO, 0, RUK_TYPE_SINGLE, 1, &nx, &ny, &nz);
    status = rukExec(task, x, NULL, y, NULL, z, NULL);
    rukDeleteTask(&task);
    const float want[7] = {1, 2, 2, 2, 2, -4, -5};
    for (int k = 0; k < 7; ++k)
        if (status != RUK_OK || z[k] != want[k]) {
            printf("unexpected convolution: status %d, z[%d] = %g\n", (int)status, k, z[k]);
            return 1;
        }
    printf("C interface works: convolution task\n");
    return 0;
}
