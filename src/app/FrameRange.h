#pragma once

#include <string>

/// Frames first to last, both included.
struct FrameRange {
    int first = 1;
    int last = 1;

    int count() const { return last - first + 1; }
    /// "1-48", "-5-10", or one frame. False for anything else, and for frames beyond ten million.
    static bool parse(const std::string& text, FrameRange& range);
    static bool parseFrame(const std::string& text, int& frame);
};
