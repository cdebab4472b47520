#pragma once

#include <string_view>

class GU_Detail;

namespace formats {

/// First bytes of a .bflx file: no text, and damaged by transfers that change line ends.
inline constexpr std::string_view BINARY_MAGIC("\x89"
                                               "FLX\r\n\x1a\n",
                                               8);

/// Versions of the two native formats; others are refused.
inline constexpr unsigned NATIVE_VERSION = 1;

/// Read what writeNativeText and writeNativeBinary wrote into an empty detail. Throw FormatError.
void readNativeText(GU_Detail& detail, std::string_view text);
void readNativeBinary(GU_Detail& detail, std::string_view bytes);

} // namespace formats
