#include "host/geo/GU_RayCells.h"

#include <cmath>
#include <utility>

void GU_RayCells::build(const std::vector<UT_BoundingBox>& boxes, const UT_BoundingBox& all) {
    myRows.clear();
    if (boxes.empty()) return;
    int thinnest = 0;
    for (int k = 0; k < 3; ++k) {
        const float extent = all.vmax()[k] - all.vmin()[k];
        myLow[k] = all.vmin()[k];
        myScale[k] = extent > 0 ? float(SIZE) / extent : 0;
        if (!std::isfinite(myScale[k])) return; // too small or too large to be told apart in float
        if (extent < all.vmax()[thinnest] - all.vmin()[thinnest]) thinnest = k;
        myAxes[k] = k;
    }
    std::swap(myAxes[0], myAxes[thinnest]);
    myRows.assign(size_t(SIZE) * SIZE, 0);
    size_t budget = boxes.size() * 16 + size_t(SIZE) * SIZE * 16; // large boxes on top of each other
    for (const UT_BoundingBox& box : boxes) {
        const UT_Vector3 &low = box.vmin(), &high = box.vmax();
        const Range r = rangeOf(GU_Float4::of(low.x(), low.y(), low.z()), GU_Float4::of(high.x(), high.y(), high.z()));
        const size_t rows = size_t(r.last[1] - r.first[1] + 1) * size_t(r.last[2] - r.first[2] + 1);
        if (rows > budget) return myRows.clear();
        budget -= rows;
        for (int j = r.first[2]; j <= r.last[2]; ++j)
            for (int i = r.first[1]; i <= r.last[1]; ++i) myRows[row(i, j)] |= r.bits();
    }
}
