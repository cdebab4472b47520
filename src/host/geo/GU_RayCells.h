#pragma once

#include "host/geo/GU_Float4.h"
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
        return isClear(GU_Float4::of(low.x(), low.y(), low.z()), GU_Float4::of(high.x(), high.y(), high.z()));
    }
    /// The same; the fourth lanes do not matter.
    bool isClear(GU_Float4 low, GU_Float4 high) const {
        if (myRows.empty()) return false;
        const Range r = rangeOf(low, high);
        const int rows = r.last[1] - r.first[1], layers = r.last[2] - r.first[2];
        const uint64_t bits = r.bits();
        if (rows <= 2 && layers <= 2) { // most moves, and no loops to be foreseen
            const int i = r.first[1] + (rows >> 1), j = r.first[2] + (layers >> 1);
            const auto along = [&](int layer) { return at(r.first[1], layer) | at(i, layer) | at(r.last[1], layer); };
            return ((along(r.first[2]) | along(j) | along(r.last[2])) & bits) == 0;
        }
        constexpr int MOST_ROWS = 32;
        if ((rows + 1) * (layers + 1) > MOST_ROWS) return false;
        uint64_t met = 0;
        for (int j = r.first[2]; j <= r.last[2]; ++j)
            for (int i = r.first[1]; i <= r.last[1]; ++i) met |= at(i, j);
        return (met & bits) == 0;
    }

private:
    static constexpr int SIZE = 64;
    struct Range { ///< of cells, along the axes in the order of myAxes
        int first[3], last[3];
        uint64_t bits() const { return (~uint64_t(0) >> (63 - (last[0] - first[0]))) << first[0]; }
    };
    static size_t row(int i, int j) { return static_cast<size_t>(j) * SIZE + static_cast<size_t>(i); }
    uint64_t at(int i, int j) const { return myRows[row(i, j)]; }
    // Rounding is monotonous: what overlaps has overlapping ranges.
    void cells(GU_Float4 x, int (&to)[4]) const {
        const GU_Float4 at = (x - GU_Float4::load(myLow)) * GU_Float4::load(myScale);
        min(max(at, GU_Float4::splat(0)), GU_Float4::splat(SIZE - 1)).storeInts(to); // what is no number goes to 0
    }
    Range rangeOf(GU_Float4 low, GU_Float4 high) const {
        int first[4], last[4];
        cells(low, first);
        cells(high, last);
        Range r;
        for (int i = 0; i < 3; ++i) {
            r.first[i] = first[myAxes[i]];
            r.last[i] = last[myAxes[i]];
        }
        return r;
    }

    std::vector<uint64_t> myRows; ///< one word per row along the thinnest axis; empty: not known
    alignas(16) float myLow[4] = {0, 0, 0, 0};
    alignas(16) float myScale[4] = {0, 0, 0, 0};
    int myAxes[3] = {0, 1, 2}; ///< the thinnest one, which most moves cross most cells of, first
};
