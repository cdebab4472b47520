#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace formats {

/// The bytes of a regular file, read whole. A copy rather than a mapping: a file that shrinks meanwhile must not
/// take the process down.
class FileBytes {
public:
    /// Throws FormatError when the path is no readable regular file.
    explicit FileBytes(const std::string& path);
    std::string_view view() const { return {myBytes.get(), mySize}; }

private:
    std::unique_ptr<char[]> myBytes;
    size_t mySize = 0;
};

} // namespace formats
