#pragma once

#include "app/FrameRange.h"

#include <chrono>
#include <string>

/// What `run` tells while it works: a bar on a terminal, else a line per network and frame, or nothing.
class Progress {
public:
    enum class Style { Bar, Lines, None };

    /// The style for standard output as it is.
    static Style styleFor(bool quiet);

    /// `range` is what is simulated: frames that lead in to the wanted ones included.
    Progress(Style style, FrameRange range);
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// A network has finished a frame.
    void update(int frame, const std::string& net, long long particles);
    /// A network has finished a frame before the wanted ones. Lines tell of it every other second, no more.
    void leadIn(int frame, const std::string& net, long long particles);
    /// A line for standard error.
    void message(const std::string& line);
    /// Everything is done; the line, when there is one, closes.
    void finish(const std::string& line);

private:
    using Clock = std::chrono::steady_clock;
    void line(const std::string& text);
    void draw(int frame, long long particles);
    void clear();

    Style myStyle;
    FrameRange myRange;
    bool myShown = false;
    Clock::time_point myStart = Clock::now();
    Clock::time_point myDrawn = myStart; ///< the bar, or a line
};
