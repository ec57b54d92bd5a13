#include "output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace cli {

Output::~Output() { abandon(); }

std::string Output::describe(const char* what, int err) const {
    return std::string(what) + " '" + (path_.empty() ? "standard output" : path_) + "': " + std::strerror(err);
}

std::string Output::open(const std::string& path, bool binary) {
    path_ = path;
    if (path.empty()) {
        f_ = stdout;
        return "";
    }
    struct stat st;
    if (::stat(path.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) {
        f_ = std::fopen(path.c_str(), binary ? "wb" : "w");
        return f_ ? "" : describe("cannot open", errno);
    }
    // The temporary file beside the target, so that the rename stays
    // within one file system; it gets the permissions a new file would.
    std::vector<char> name(path.begin(), path.end());
    for (char c : std::string(".tmpXXXXXX")) name.push_back(c);
    name.push_back('\0');
    const int fd = ::mkstemp(name.data());
    if (fd < 0) return describe("cannot open", errno);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(fd, 0666 & ~mask);
    temp_ = name.data();
    f_ = ::fdopen(fd, binary ? "wb" : "w");
    if (!f_) {
        const int err = errno;
        ::close(fd);
        abandon();
        return describe("cannot open", err);
    }
    return "";
}

bool Output::write(const void* data, std::size_t bytes) {
    return bytes == 0 || std::fwrite(data, 1, bytes, f_) == bytes;
}

std::string Output::commit() {
    std::string err;
    errno = 0;
    if (std::fflush(f_) != 0 || std::ferror(f_)) err = describe("cannot write", errno ? errno : EIO);
    if (f_ != stdout) {
        errno = 0;
        if (std::fclose(f_) != 0 && err.empty()) err = describe("cannot write", errno ? errno : EIO);
        f_ = nullptr;
    }
    if (err.empty() && !temp_.empty() && std::rename(temp_.c_str(), path_.c_str()) != 0)
        err = describe("cannot write", errno);
    if (err.empty()) temp_.clear();
    abandon();
    return err;
}

void Output::abandon() {
    if (f_ && f_ != stdout) std::fclose(f_);
    f_ = nullptr;
    if (!temp_.empty()) std::remove(temp_.c_str());
    temp_.clear();
}

}  // namespace cli
