#pragma once

#include <stdexcept>
#include <string>

namespace formats {

/// Why a file cannot be read or written: place, what was found, what to do. Never leaves readGeometry and
/// writeGeometry, which put the path in front.
class FormatError : public std::runtime_error {
public:
    explicit FormatError(const std::string& text)
        : std::runtime_error(text) {}
};

} // namespace formats
