#include "scene/formats/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr size_t BUFFER = size_t{1} << 18;
}

AtomicFile::AtomicFile(std::string path)
    : myPath(std::move(path))
    , myTemporary(fmt::format("{}.tmp-{}", myPath, ::getpid())) {
    myBuffer.reserve(BUFFER);
}

AtomicFile::~AtomicFile() { discard(); }

bool AtomicFile::open(std::string& error) {
    const std::filesystem::path folder = std::filesystem::path(myPath).parent_path();
    std::error_code code;
    if (!folder.empty()) std::filesystem::create_directories(folder, code);
    if (code) {
        error = describe("cannot make the folder", code.value());
        return false;
    }
    struct stat info {};
    if (::stat(myPath.c_str(), &info) == 0 && !S_ISREG(info.st_mode)) {
        error = myPath + ": is no regular file; choose another name";
        return false;
    }
    // A leftover of a dead process that had the same id; O_EXCL below keeps a planted link from being followed.
    ::unlink(myTemporary.c_str());
    myFile = ::open(myTemporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (myFile < 0) error = describe("cannot create the file", errno);
    return myFile >= 0;
}

void AtomicFile::write(const void* bytes, size_t count) {
    myPosition += count;
    if (myBuffer.size() + count > BUFFER) flush();
    const char* from = static_cast<const char*>(bytes);
    if (count > BUFFER)
        writeThrough(from, count);
    else
        myBuffer.insert(myBuffer.end(), from, from + count);
}

void AtomicFile::flush() {
    writeThrough(myBuffer.data(), myBuffer.size());
    myBuffer.clear();
}

void AtomicFile::writeThrough(const char* bytes, size_t count) {
    while (count && !myErrno) {
        const ssize_t n = ::write(myFile, bytes, count);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            myErrno = errno;
            return;
        }
        bytes += n;
        count -= static_cast<size_t>(n);
    }
}

bool AtomicFile::commit(std::string& error) {
    if (myFile < 0) {
        error = myPath + ": was not opened for writing";
        return false;
    }
    flush();
    if (!myErrno && ::fdatasync(myFile) != 0) myErrno = errno;
    if (::close(myFile) != 0 && !myErrno) myErrno = errno;
    myFile = -1;
    if (!myErrno && std::rename(myTemporary.c_str(), myPath.c_str()) == 0) return true;
    error = describe("cannot write the file", myErrno ? myErrno : errno);
    ::unlink(myTemporary.c_str());
    return false;
}

void AtomicFile::discard() {
    if (myFile < 0) return;
    ::close(myFile);
    myFile = -1;
    ::unlink(myTemporary.c_str());
}

std::string AtomicFile::describe(const char* what, int code) const {
    return fmt::format("{}: {}: {}", myPath, what, std::strerror(code));
}
