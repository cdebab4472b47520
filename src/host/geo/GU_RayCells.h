#pragma once

#include "host/ut/UT_BoundingBox.h"
#include "host/ut/UT_Vector3.h"

#include <cstdint>
#include <vector>

/// Which cells of a coarse grid hold something: tells at the price of a few words that a short stretch is nowhere near
/// a surface, before any tree is walked. One bit per cell, 64 along each axis of the box around everything.
class GU_RayCells {
public:
    /// `all` encloses the boxes.
    void build(const std::vector<UT_BoundingBox>& boxes, const UT_BoundingBox& all);

    /// True when no box meets the one between `low` and `high`. False says nothing: where that takes long to find out
    /// it is not tried.
    bool isClear(const UT_Vector3& low, const UT_Vector3& high) const {
        if (myRows.empty()) return false;
        const Range r = rangeOf(low, high);
        constexpr int MOST_ROWS = 32;
        if ((r.last[1] - r.first[1] + 1) * (r.last[2] - r.first[2] + 1) > MOST_ROWS) return false;
        const uint64_t bits = r.bits();
        uint64_t met = 0;
        for (int j = r.first[2]; j <= r.last[2]; ++j)
            for (int i = r.first[1]; i <= r.last[1]; ++i) met |= myRows[row(i, j)];
        return (met & bits) == 0;
    }

private:
    static constexpr int SIZE = 64;
    struct Range { ///< of cells, along the axes in the order of myAxes
        int first[3], last[3];
        uint64_t bits() const { return (~uint64_t(0) >> (63 - (last[0] - first[0]))) << first[0]; }
    };
    static size_t row(int i, int j) { return static_cast<size_t>(j) * SIZE + static_cast<size_t>(i); }
    // Rounding is monotonous: what overlaps has overlapping ranges.
    int cell(float x, int k) const {
        const float at = (x - myLow[k]) * myScale[k];
        return static_cast<int>(at > 0 ? (at < SIZE - 1 ? at : SIZE - 1) : 0);
    }
    Range rangeOf(const UT_Vector3& low, const UT_Vector3& high) const {
        Range r;
        for (int i = 0; i < 3; ++i) {
            const int k = myAxes[i];
            r.first[i] = cell(low[k], k);
            r.last[i] = cell(high[k], k);
        }
        return r;
    }

    std::vector<uint64_t> myRows; ///< one word per row along the thinnest axis; empty: not known
    float myLow[3] = {0, 0, 0}, myScale[3] = {0, 0, 0};
    int myAxes[3] = {0, 1, 2}; ///< the thinnest one, which most moves cross most cells of, first
};
