#include "host/ut/UT_NearestName.h"

#include <algorithm>
#include <array>

namespace {

// Names longer than this are not mistyped but something else.
constexpr size_t LONGEST = 64;

char lower(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

int changeCost(char a, char b) { return a == b ? 0 : lower(a) == lower(b) ? 1 : 2; }

// Edit distance with swaps of neighbours (optimal string alignment, Damerau 1964), in half edits.
int editDistance(std::string_view a, std::string_view b) {
    std::array<std::array<int, LONGEST + 1>, 3> rows{}; // the last two rows and the one being filled, in turn
    for (size_t j = 0; j <= b.size(); ++j) rows[0][j] = int(2 * j);
    for (size_t i = 1; i <= a.size(); ++i) {
        auto &now = rows[i % 3], &last = rows[(i + 2) % 3], &before = rows[(i + 1) % 3];
        now[0] = int(2 * i);
        for (size_t j = 1; j <= b.size(); ++j) {
            now[j] = std::min({last[j] + 2, now[j - 1] + 2, last[j - 1] + changeCost(a[i - 1], b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                now[j] = std::min(now[j], before[j - 2] + 2);
        }
    }
    return rows[a.size() % 3][b.size()];
}

} // namespace

std::string nearestName(std::string_view word, const std::vector<std::string>& names) {
    if (word.empty() || word.size() > LONGEST) return "";
    // Two thirds of the length in half edits: a third in whole ones.
    int best = std::max(2, int(word.size() * 2 / 3)) + 1;
    const std::string* nearest = nullptr;
    for (const std::string& name : names) {
        if (name.empty() || name.size() > LONGEST) continue;
        const int distance = editDistance(word, name);
        // Replacing every letter is no resemblance, however short the word.
        if (distance < best && distance < int(2 * std::max(word.size(), name.size()))) best = distance, nearest = &name;
    }
    return nearest ? *nearest : "";
}
