// A file that lives in memory (memfd), reached by a path, for fuzz targets
// that must hand a path to the code under test.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

class MemoryFile {
public:
    explicit MemoryFile(const char* name) : fd_(::memfd_create(name, 0)) {
        path_ = "/proc/self/fd/" + std::to_string(fd_);
    }
    ~MemoryFile() { ::close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    // Replaces the contents.
    void fill(const uint8_t* data, std::size_t size) {
        if (::ftruncate(fd_, 0) != 0) return;
        for (std::size_t done = 0; done < size;) {
            const ssize_t w = ::pwrite(fd_, data + done, size - done, static_cast<off_t>(done));
            if (w <= 0) return;
            done += static_cast<std::size_t>(w);
        }
    }
    const char* path() const { return path_.c_str(); }

private:
    int fd_;
    std::string path_;
};

}  // namespace fuzz
