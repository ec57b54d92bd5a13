// Prints the export name of every row of the vector kernel catalogue, one a
// line, for check_exports.cmake; exits 1 if a row's function is not the
// library's export of that name (a row naming the wrong kernel).
#include <dlfcn.h>

#include <cstdio>

#include "catalogue/vector_kernels.h"

int main() {
    int wrong = 0;
    for (const xeb::catalogue::VectorKernel& k : xeb::catalogue::vector_kernels()) {
        void* exported = dlsym(RTLD_DEFAULT, k.name.c_str());
        if (exported != reinterpret_cast<void*>(k.function)) {
            std::fprintf(stderr, "catalogue row %s holds another function than the export of that name\n",
                         k.name.c_str());
            ++wrong;
        }
        std::printf("%s\n", k.name.c_str());
    }
    return wrong == 0 ? 0 : 1;
}
