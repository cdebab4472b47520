#include "app/Progress.h"

#include "app/StandardOutput.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fmt/format.h>
#include <unistd.h>

namespace {

constexpr int WIDTH = 30;

std::string timeText(double seconds) {
    const auto whole = std::llround(seconds);
    if (whole < 60) return fmt::format("{} s", whole);
    return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

} // namespace

Progress::Style Progress::styleFor(bool quiet) {
    if (quiet) return Style::None;
    return isatty(STDOUT_FILENO) ? Style::Bar : Style::Lines;
}

Progress::Progress(Style style, FrameRange range)
    : myStyle(style)
    , myRange(range) {}

void Progress::update(int frame, const std::string& net, long long particles) {
    if (myStyle == Style::Bar) draw(frame, particles);
    if (myStyle == Style::Lines) line(fmt::format("{} frame {}: {} particles\n", net, frame, particles));
}

void Progress::leadIn(int frame, const std::string& net, long long particles) {
    if (myStyle == Style::Bar) draw(frame, particles);
    if (myStyle != Style::Lines || Clock::now() - myDrawn < std::chrono::seconds(2)) return;
    line(fmt::format("{} frame {}: {} particles, on the way\n", net, frame, particles));
}

void Progress::line(const std::string& text) {
    myDrawn = Clock::now();
    StandardOutput::write(text);
    StandardOutput::flush();
}

void Progress::draw(int frame, long long particles) {
    const Clock::time_point now = Clock::now();
    if (myShown && now - myDrawn < std::chrono::milliseconds(100) && frame < myRange.last) return;
    myDrawn = now;
    myShown = true;
    const double seconds = std::max(std::chrono::duration<double>(now - myStart).count(), 1e-6);
    const double done = double(frame) - myRange.first + 1, all = double(myRange.last) - myRange.first + 1;
    const double rate = done / seconds;
    const int filled = int(WIDTH * done / all);
    StandardOutput::write(fmt::format("\r[{:=<{}}{:{}}] frame {} of {}  {} particles  {:.1f} fps  {} left\x1b[K", "",
                                      filled, "", WIDTH - filled, frame, myRange.last, particles, rate,
                                      timeText((all - done) / rate)));
    StandardOutput::flush();
}

void Progress::clear() {
    if (!myShown) return;
    std::fputs("\r\x1b[K", stdout);
    std::fflush(stdout);
    myShown = false;
}

void Progress::message(const std::string& line) {
    clear();
    fmt::print(stderr, "{}\n", line);
}

void Progress::finish(const std::string& line) {
    if (myStyle == Style::None) return;
    if (myShown) StandardOutput::write("\n"); // the full bar stays
    myShown = false;
    if (!line.empty()) StandardOutput::write(line + '\n');
    StandardOutput::flush();
}
