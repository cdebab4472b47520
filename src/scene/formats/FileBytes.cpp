#include "scene/formats/FileBytes.h"

#include "scene/formats/FormatError.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace formats {
namespace {

struct Descriptor {
    int fd;
    ~Descriptor() {
        if (fd >= 0) ::close(fd);
    }
};

[[noreturn]] void failWithErrno(const char* what) {
    throw FormatError(fmt::format("cannot {} the file: {}", what, std::strerror(errno)));
}

size_t sizeOfRegular(int fd) {
    struct stat info {};
    if (::fstat(fd, &info) != 0) failWithErrno("examine");
    if (S_ISDIR(info.st_mode)) throw FormatError("is a folder; name a geometry file in it");
    if (!S_ISREG(info.st_mode)) throw FormatError("is no regular file; copy its content into one first");
    return static_cast<size_t>(info.st_size);
}

} // namespace

FileBytes::FileBytes(const std::string& path) {
    // Without O_NONBLOCK, opening a pipe that nobody writes would wait for ever.
    const Descriptor file{::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)};
    if (file.fd < 0) failWithErrno("open");
    const size_t size = sizeOfRegular(file.fd);
    myBytes = std::make_unique_for_overwrite<char[]>(size);
    while (mySize < size) {
        const ssize_t n = ::read(file.fd, myBytes.get() + mySize, size - mySize);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) failWithErrno("read");
        if (n == 0) break;
        mySize += static_cast<size_t>(n);
    }
}

} // namespace formats
