// xebruk: the command-line face of the library.
#include <cstdio>
#include <cstring>
#include <new>

#include "commands.h"

namespace cli {

int usage_error(const std::string& message) {
    std::fprintf(stderr, "xebruk: %s\n", message.c_str());
    return 2;
}

bool wants_help(const Args& args) {
    for (const std::string& a : args)
        if (a == "--help" || a == "-h") return true;
    return false;
}

namespace {

const Command kCommands[] = {
    {"conv", "convolve or correlate two arrays from text, raw or .npy files", conv},
    {"demo", "evaluate kernels, show an event being reported, draw from a random stream", demo},
    {"info", "version, processor features and the kernels this build exports", info},
    {"rng", "draw variates of a law from a random stream into a text, raw or .npy file", rng},
    {"vm", "apply a vector kernel to numbers from a file, standard input or a range", vm},
};

int help() {
    std::printf("usage: xebruk <command> [arguments]\n\ncommands:\n");
    for (const Command& c : kCommands) std::printf("  %-8s %s\n", c.name, c.summary);
    std::printf("\n'xebruk help <command>' or 'xebruk <command> --help' shows a command's usage.\n");
    return 0;
}

}  // namespace
}  // namespace cli

int main(int argc, char** argv) {
    if (argc < 2) {
        cli::help();
        return 2;
    }
    const char* name = argv[1];
    cli::Args args(argv + 2, argv + argc);
    // `xebruk help CMD` is `xebruk CMD --help`.
    if (!std::strcmp(name, "help") && argc == 3) {
        name = argv[2];
        args = {"--help"};
    } else if (!std::strcmp(name, "help") || !std::strcmp(name, "--help") || !std::strcmp(name, "-h")) {
        return cli::help();
    }
    try {
        for (const cli::Command& c : cli::kCommands)
            if (!std::strcmp(c.name, name)) return c.run(args);
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "xebruk: %s: out of memory\n", name);
        return 1;
    }
    return cli::usage_error(std::string("unknown command '") + name + "' (try 'xebruk help')");
}
