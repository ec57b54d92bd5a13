// Kernel classes in tests.  CTest runs the vector-math suites once per
// class with XEBRUK_KERNEL_CLASS set; a suite asked for a class this
// machine lacks skips every test.  In one process, ClassInUse switches the
// class (white-box) and puts the chosen one back.
#pragma once

#include <vector>

#include "frame/kernel_class.h"

namespace xt {

using xeb::frame::KernelClass;

// The classes this machine runs, baseline first.
std::vector<KernelClass> machine_classes();

class ClassInUse {
public:
    explicit ClassInUse(KernelClass c);  // c must be one of machine_classes()
    ~ClassInUse();
    ClassInUse(const ClassInUse&) = delete;
    ClassInUse& operator=(const ClassInUse&) = delete;

private:
    KernelClass saved_;
};

}  // namespace xt
