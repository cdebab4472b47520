#include "host/ut/UT_NearestName.h"

#include <algorithm>
#include <array>

namespace {

// Names longer than this are not mistyped but something else.
constexpr size_t LONGEST = 64;

char lower(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

// However many letters differ in case, that is less than one edit.
constexpr int CASE = 1, EDIT = 2 * int(LONGEST);

int changeCost(char a, char b) { return a == b ? 0 : lower(a) == lower(b) ? CASE : EDIT; }

// Edit distance with swaps of neighbours (optimal string alignment, Damerau 1964).
int editDistance(std::string_view a, std::string_view b) {
    std::array<std::array<int, LONGEST + 1>, 3> rows{}; // the last two rows and the one being filled, in turn
    for (size_t j = 0; j <= b.size(); ++j) rows[0][j] = int(j) * EDIT;
    for (size_t i = 1; i <= a.size(); ++i) {
        auto &now = rows[i % 3], &last = rows[(i + 2) % 3], &before = rows[(i + 1) % 3];
        now[0] = int(i) * EDIT;
        for (size_t j = 1; j <= b.size(); ++j) {
            now[j] = std::min({last[j] + EDIT, now[j - 1] + EDIT, last[j - 1] + changeCost(a[i - 1], b[j - 1])});
            if (i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) && lower(a[i - 2]) == lower(b[j - 1]))
                now[j] = std::min(now[j], before[j - 2] + EDIT);
        }
    }
    return rows[a.size() % 3][b.size()];
}

bool startsWith(std::string_view name, std::string_view word) {
    return name.size() >= word.size() &&
           std::equal(word.begin(), word.end(), name.begin(), [](char a, char b) { return lower(a) == lower(b); });
}

} // namespace

std::string nearestName(std::string_view word, const std::vector<std::string>& names) {
    if (word.empty() || word.size() > LONGEST) return "";
    int best = (std::max(1, int(word.size() / 3)) + 1) * EDIT;
    const std::string* nearest = nullptr;
    for (const std::string& name : names) {
        if (name.empty() || name.size() > LONGEST) continue;
        const int distance = editDistance(word, name);
        // Replacing every letter is no resemblance, however short the word.
        if (distance >= EDIT * int(std::max(word.size(), name.size()))) continue;
        const bool continues = nearest && distance == best && startsWith(name, word) && !startsWith(*nearest, word);
        if (distance < best || continues) best = distance, nearest = &name;
    }
    return nearest ? *nearest : "";
}
