// The command line shared by the table generators:
//   <tool> --out <source dir>     writes the table file into the source tree
//   <tool> --check <source dir>   exits 1 if the committed file differs
// The generator writes its text to the FILE* it is given.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

inline int write_or_check(int argc, char** argv, const char* tool, const char* relative_path,
                          void (*generate)(FILE*)) {
    const bool check = argc == 3 && std::strcmp(argv[1], "--check") == 0;
    if (argc != 3 || (!check && std::strcmp(argv[1], "--out") != 0)) {
        std::fprintf(stderr, "usage: %s --out|--check <source dir>\n", tool);
        return 2;
    }
    char* text = nullptr;
    std::size_t length = 0;
    FILE* out = open_memstream(&text, &length);
    generate(out);
    std::fclose(out);
    const std::string generated(text, length);
    std::free(text);
    const std::string path = std::string(argv[2]) + "/" + relative_path;
    if (check) {
        std::ifstream in(path, std::ios::binary);
        std::stringstream committed;
        committed << in.rdbuf();
        if (!in || committed.str() != generated) {
            std::fprintf(stderr, "%s differs from what tools/%s generates\n", path.c_str(), tool);
            return 1;
        }
        return 0;
    }
    std::ofstream file(path, std::ios::binary);
    file << generated;
    return file ? 0 : 1;
}
