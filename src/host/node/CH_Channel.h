#pragma once

#include <utility>
#include <vector>

/// A key-framed value: linear between keys, held before the first and after the last. Times are seconds.
class CH_Channel {
public:
    CH_Channel() = default;
    explicit CH_Channel(
        std::vector<std::pair<double, double>> keys); ///< sorted by time here; equal times keep the last

    double evaluate(double t) const;
    const std::vector<std::pair<double, double>>& keys() const { return myKeys; }

private:
    std::vector<std::pair<double, double>> myKeys;
};
