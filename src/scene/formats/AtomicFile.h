#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// A file that appears under its name only when it is whole: bytes go to `<path>.tmp-<process id>` beside it, and
/// commit flushes them to the disk and renames. Without commit nothing is left behind.
class AtomicFile {
public:
    explicit AtomicFile(std::string path);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Makes missing folders and starts the temporary file. False, with one line that names the file, on failure; also
    /// when the name belongs to something that is no regular file.
    bool open(std::string& error);
    /// Appends. The first failure is remembered for commit, which then reports it.
    void write(const void* bytes, size_t count);
    void write(std::string_view text) { write(text.data(), text.size()); }
    uint64_t position() const { return myPosition; } ///< bytes written so far
    bool failed() const { return myErrno != 0; }
    /// Gives the file its name. False, nothing left behind, when anything failed.
    bool commit(std::string& error);

private:
    void flush();
    void writeThrough(const char* bytes, size_t count);
    void discard();
    std::string describe(const char* what, int code) const;

    std::string myPath;
    std::string myTemporary;
    std::vector<char> myBuffer;
    uint64_t myPosition = 0;
    int myFile = -1;
    int myErrno = 0;
};
