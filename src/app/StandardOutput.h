#pragma once

#include <string_view>

/// Data for the reader of the program's output; messages go to standard error.
namespace StandardOutput {

void write(std::string_view text);
/// Hands over what was written, through write or std::cout. Throws Failure when it could not all be, a full disk for
/// example.
void flush();

} // namespace StandardOutput
