#include "scene/profile/ProfileTable.h"

#include "scene/profile/CookProfile.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>

namespace {

using Line = std::array<std::string, 11>;
constexpr size_t LEFT = 2; // columns that start at their left edge, as the last one does

std::string passesOf(const ProfileRow& row) {
    std::string text;
    if (row.queued)
        text = fmt::format("{} queued, {:.1f} ns per particle", row.queued,
                           double(row.passTime) / double(std::max(row.handled, 1LL)));
    for (const auto& [reason, count] : row.notQueued)
        text += fmt::format("{}{} at once: {}", text.empty() ? "" : "; ", count, reason);
    return text;
}

std::string milliseconds(uint64_t nanoseconds) { return fmt::format("{:.3f}", double(nanoseconds) * 1e-6); }

Line lineOf(const ProfileRow& row, uint64_t all) {
    const double share = all ? 100 * double(row.own) / double(all) : 0;
    const auto orDash = [](bool there, auto value) { return there ? fmt::format("{}", value) : "-"; };
    return {row.path,
            row.type,
            fmt::format("{}", row.cooks),
            orDash(row.handled > 0, row.particles),
            orDash(row.births > 0, row.births),
            orDash(row.deaths > 0, row.deaths),
            milliseconds(row.total),
            milliseconds(row.own),
            fmt::format("{:.1f}", share),
            row.handled ? fmt::format("{:.1f}", double(row.own) / double(row.handled)) : "-",
            passesOf(row)};
}

std::string join(const Line& line, const std::array<size_t, 11>& widths) {
    std::string out;
    for (size_t i = 0; i < line.size(); ++i) {
        const bool left = i < LEFT || i + 1 == line.size();
        out += left ? fmt::format("{:<{}}  ", line[i], widths[i]) : fmt::format("{:>{}}  ", line[i], widths[i]);
    }
    out.erase(out.find_last_not_of(' ') + 1);
    return out;
}

} // namespace

std::string profileTable(const CookProfile& profile) {
    const std::vector<const ProfileRow*> rows = profile.sorted();
    ProfileRow sum;
    for (const ProfileRow* row : rows) {
        sum.own += row->own;
        sum.births += row->births;
        sum.deaths += row->deaths;
    }
    std::vector<Line> lines{{"node", "type", "cooks", "particles", "births", "deaths", "total ms", "own ms", "share %",
                             "ns/particle", "passes"}};
    for (const ProfileRow* row : rows) lines.push_back(lineOf(*row, sum.own));
    Line last = lineOf(sum, sum.own);
    last[0] = "all";
    last[2] = last[3] = last[6] = last[9] = "";
    lines.push_back(last);

    std::array<size_t, 11> widths{};
    for (const Line& line : lines)
        for (size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], line[i].size());
    std::string out;
    for (const Line& line : lines) out += (out.empty() ? "" : "\n") + join(line, widths);
    return out;
}
