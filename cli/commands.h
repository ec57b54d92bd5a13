// Subcommands of the xebruk tool.  Each takes the arguments after its name
// and returns the process exit code.
#pragma once

#include <string>
#include <vector>

namespace cli {

using Args = std::vector<std::string>;

struct Command {
    const char* name;
    const char* summary;
    int (*run)(const Args& args);
};

int conv(const Args& args);
int demo(const Args& args);
int info(const Args& args);
int rng(const Args& args);
int vm(const Args& args);

// Sections of the demo that live in their own files; each returns 0 or an
// exit code.
int demo_streams();

// Reports a usage error on stderr (one line) and returns the exit code 2.
int usage_error(const std::string& message);

// Whether the arguments ask for the command's usage (--help or -h).
bool wants_help(const Args& args);

}  // namespace cli
