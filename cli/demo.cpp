// xebruk demo: a short tour that shows what a call does, in plain words.
#include <cmath>
#include <cstdio>

#include "commands.h"
#include "xebruk/xebruk.h"

namespace cli {

namespace {

int32_t print_event(XebErrorRecord* r) {
    std::printf("  callback: event %d (%s) at index %d, a=%g, result %g\n", r->code,
                r->code == XEB_STATUS_POLE ? "pole" : "other", r->index, r->a, r->y);
    return 0;  // go on: reports and write-back as the mode says
}

void show(const char* label, const double* v, int n) {
    std::printf("  %-6s", label);
    for (int i = 0; i < n; ++i) std::printf(" %12.6g", v[i]);
    std::printf("\n");
}

}  // namespace

int demo(const Args& args) {
    if (wants_help(args)) {
        std::puts("usage: xebruk demo\n  evaluates kernels on a few arrays, shows an event being reported and\n"
                  "  draws from a random stream; takes no arguments");
        return 0;
    }
    if (!args.empty()) return usage_error("demo takes no arguments");
    std::printf("xebruk demo\n\n");
    const int n = 6;
    const double a[n] = {1.0, 3.0, -0.5, 7.0, 1e-3, 2.5};
    const double b[n] = {4.0, 2.0, 8.0, 0.0, 3.0, -5.0};
    double r[n];

    std::printf("Reciprocal of six doubles with xebdInv_HA (one division serves four):\n");
    show("a", a, n);
    xebdInv_HA(n, a, r);
    show("1/a", r, n);

    std::printf("\nDivision a/b with xebdDiv_HA; b[3] is zero, which is a pole event.\n");
    std::printf("A callback is installed, so the event is shown as it happens:\n");
    xebClearErrStatus();
    XebErrorCallBack old = xebSetErrorCallBack(print_event);
    xebdDiv_HA(n, a, b, r);
    xebSetErrorCallBack(old);
    show("b", b, n);
    show("a/b", r, n);
    std::printf("  status word after the call: %d (XEB_STATUS_POLE is %d)\n", xebGetErrStatus(),
                XEB_STATUS_POLE);

    std::printf("\nThe same call with stderr reports on (mode 0x%04X):\n",
                XEB_REPORT_STDERR | XEB_REPORT_ERRNO);
    std::fflush(stdout);
    uint32_t mode = xebSetMode(XEB_REPORT_STDERR | XEB_REPORT_ERRNO);
    xebdDiv_HA(n, a, b, r);
    std::fflush(stderr);
    xebSetMode(mode);
    std::printf("  (the two lines above came from the library on stderr)\n");

    const float fa[4] = {2.0f, -4.0f, 0.25f, 10.0f};
    float fr[4];
    xebsInv_HA(4, fa, fr);
    std::printf("\nSingle precision, xebsInv_HA of {2, -4, 0.25, 10}: {%g, %g, %g, %g}\n", fr[0],
                fr[1], fr[2], fr[3]);
    xebClearErrStatus();
    if (int rc = demo_streams()) return rc;
    std::printf("\nDone: the status word was cleared again.\n");
    return 0;
}

}  // namespace cli
