#include "host/node/CH_Channel.h"

#include <algorithm>
#include <cmath>

CH_Channel::CH_Channel(std::vector<std::pair<double, double>> keys)
    : myKeys(std::move(keys)) {
    std::erase_if(myKeys, [](const auto& key) { return !std::isfinite(key.first); });
    std::stable_sort(myKeys.begin(), myKeys.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    // Of equal times the last given stays: unique keeps the first of a run, so run backwards.
    const auto first =
        std::unique(myKeys.rbegin(), myKeys.rend(), [](const auto& a, const auto& b) { return a.first == b.first; });
    myKeys.erase(myKeys.begin(), first.base());
}

double CH_Channel::evaluate(double t) const {
    if (myKeys.empty()) return 0;
    const auto next = std::upper_bound(myKeys.begin(), myKeys.end(), t,
                                       [](double time, const auto& key) { return time < key.first; });
    if (next == myKeys.begin()) return next->second;
    const auto last = next - 1;
    if (next == myKeys.end() || last->first == t) return last->second;
    return last->second + (next->second - last->second) * ((t - last->first) / (next->first - last->first));
}
