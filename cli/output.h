// Where the tool writes a result.  A regular file is written under a
// temporary name in its own directory and renamed over the name asked for
// only when every write and the close have succeeded, so a failure (a full
// disk, a draw refused half way) leaves no partial file, and an existing
// file is replaced whole or not at all.  Standard output, and names that
// are not regular files (/dev/full, a pipe), are written in place; there
// too every write, the flush and the close are checked.
#pragma once

#include <cstdio>
#include <string>

namespace cli {

class Output {
public:
    Output() = default;
    ~Output();  // an output neither committed nor failed is abandoned
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // An empty path is standard output.  Returns an empty string or what
    // was wrong.
    std::string open(const std::string& path, bool binary);
    std::FILE* file() const { return f_; }
    // Writes bytes; false after the first failure.
    bool write(const void* data, std::size_t bytes);
    // Flushes, closes and renames into place; empty or what was wrong (the
    // temporary file is removed then).
    std::string commit();
    // Removes the temporary file (nothing for standard output or devices).
    void abandon();

private:
    std::string describe(const char* what, int err) const;
    std::string path_, temp_;
    std::FILE* f_ = nullptr;
};

}  // namespace cli
