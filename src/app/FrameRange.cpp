#include "app/FrameRange.h"

#include <charconv>
#include <cstdlib>

namespace {
constexpr int MAX_FRAME = 10000000;
}

bool FrameRange::parseFrame(const std::string& text, int& frame) {
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, frame);
    return result.ec == std::errc() && result.ptr == end && std::abs(frame) <= MAX_FRAME;
}

bool FrameRange::parse(const std::string& text, FrameRange& range) {
    if (parseFrame(text, range.first)) {
        range.last = range.first;
        return true;
    }
    const size_t dash = text.find('-', 1); // a dash in front is a sign
    if (dash == std::string::npos) return false;
    return parseFrame(text.substr(0, dash), range.first) && parseFrame(text.substr(dash + 1), range.last) &&
           range.first <= range.last;
}
