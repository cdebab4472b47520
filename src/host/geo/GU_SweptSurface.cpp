#include "host/geo/GU_SweptSurface.h"

#include "host/geo/GEO_PolygonNormal.h"
#include "host/geo/GU_Detail.h"
#include "host/geo/GU_RayPolygon.h"

#include <algorithm>
#include <utility>

namespace {

bool isFinite(const GU_SweptSurface::Place& place) {
    float sum = 0; // of zeros, or of what is no number
    for (const auto& end : place.at)
        for (int k = 0; k < 3; ++k) sum += end[k] - end[k];
    return sum == 0;
}

bool isQuadric(unsigned typeId) { return typeId & (GEOPRIMSPHERE | GEOPRIMTUBE | GEOPRIMCIRCLE); }

bool isFace(const GU_SweepTopology::Face& face) {
    return face.typeId == GEOPRIMPOLY && face.isClosed && face.points.size() >= 3;
}

} // namespace

GU_SweptSurface::GU_SweptSurface(GU_SweepTopology topology, const GU_Detail& begin, const GU_Detail& end)
    : myTopology(std::move(topology)) {
    const std::vector<uint32_t> placeOf = findPoints();
    gather(begin, end, myNext);
    myPlaces.swap(myNext.places);
    myDrift = myNext.drift;
    takeApart(placeOf);
    for (Shape& shape : myShapes) shape.prim = end.primitives()[shape.number];
    myPlaces.resize(myPoints.size() + myFans.size());
    finishFans();
}

bool GU_SweptSurface::follow(const GU_Detail& begin, const GU_Detail& end) {
    if (!myTopology.matches(begin) || (&begin != &end && !myTopology.matches(end))) return false;
    gather(begin, end, myNext);
    if ((!myNext.isFinite || !myLeftOut.empty()) && !leavesOutTheSame(myNext.places)) return false;
    myPlaces.swap(myNext.places);
    myDrift = myNext.drift;
    for (Shape& shape : myShapes) shape.prim = end.primitives()[shape.number];
    finishFans();
    return true;
}

// Fills myPoints; returns the place of every point that has one.
std::vector<uint32_t> GU_SweptSurface::findPoints() {
    std::vector<uint32_t> placeOf(myTopology.points(), NONE);
    myTopology.forEach([&](const Face& face) {
        if (isFace(face) || face.typeId == GEOPRIMMESH)
            for (const uint32_t point : face.points) placeOf[point] = 0;
    });
    for (uint32_t i = 0; i < placeOf.size(); ++i)
        if (placeOf[i] != NONE) {
            placeOf[i] = static_cast<uint32_t>(myPoints.size());
            myPoints.push_back(i);
        }
    return placeOf;
}

void GU_SweptSurface::takeApart(const std::vector<uint32_t>& placeOf) {
    myTopology.forEach([&](const Face& face) {
        const size_t before = myItems.size();
        if (isFace(face))
            addPolygon(face, placeOf);
        else if (face.typeId == GEOPRIMMESH)
            addMesh(face, placeOf);
        else if (isQuadric(face.typeId))
            ++mySkipped;
        if (myItems.size() == before && !myShapes.empty() && myShapes.back().number == face.number) myShapes.pop_back();
    });
}

void GU_SweptSurface::addPolygon(const Face& face, const std::vector<uint32_t>& placeOf) {
    const auto n = static_cast<uint32_t>(face.points.size()), first = static_cast<uint32_t>(myOutlines.size());
    if (!addOutline(face.points.data(), n, placeOf)) return;
    const uint32_t* outline = &myOutlines[first];
    myShapes.push_back({nullptr, face.number, n == 3 ? Shape::TRIANGLE : Shape::FAN, first, n});
    if (n > 3) return addFan(static_cast<uint32_t>(myShapes.size() - 1), 0, n);
    addTriangle(0, outline[0], outline[1], outline[2]);
    myOutlines.resize(first);
}

void GU_SweptSurface::addMesh(const Face& face, const std::vector<uint32_t>& placeOf) {
    const uint32_t rows = face.rows, cols = face.cols;
    if (rows == 0 || cols == 0) return;
    const uint32_t cellRows = rows - !face.wrapV, cellCols = cols - !face.wrapU;
    myShapes.push_back({nullptr, face.number, Shape::MESH, 0, 0});
    const auto point = [&](uint32_t row, uint32_t col) { return face.points[row % rows * cols + col % cols]; };
    for (uint32_t row = 0; row < cellRows; ++row)
        for (uint32_t col = 0; col < cellCols; ++col) {
            const uint32_t points[] = {point(row, col), point(row, col + 1), point(row + 1, col + 1),
                                       point(row + 1, col)};
            if (addOutline(points, 4, placeOf)) addFan(NONE, (row * cellCols + col) * 4, 4);
        }
}

// False, and the outline is noted as left out, when a position of it is not finite.
bool GU_SweptSurface::addOutline(const uint32_t* points, uint32_t n, const std::vector<uint32_t>& placeOf) {
    const auto first = static_cast<uint32_t>(myOutlines.size());
    bool finite = true;
    for (uint32_t i = 0; i < n; ++i) {
        myOutlines.push_back(placeOf[points[i]]);
        finite &= isFinite(myPlaces[myOutlines.back()]);
    }
    if (!finite) myLeftOut.push_back({first, n, NONE});
    return finite;
}

// Triangles about the mean of the last n places of the outlines.
void GU_SweptSurface::addFan(uint32_t shape, uint32_t firstPart, uint32_t n) {
    const auto first = static_cast<uint32_t>(myOutlines.size()) - n;
    const auto mean = static_cast<uint32_t>(myPoints.size() + myFans.size());
    myFans.push_back({first, n, shape});
    for (uint32_t i = 0; i < n; ++i)
        addTriangle(firstPart + i, myOutlines[first + i], myOutlines[first + (i + 1) % n], mean);
}

void GU_SweptSurface::addTriangle(uint32_t part, uint32_t a, uint32_t b, uint32_t c) {
    myCorners.push_back({a, b, c});
    myItems.push_back({static_cast<uint32_t>(myShapes.size() - 1), part});
}

void GU_SweptSurface::gather(const GU_Detail& begin, const GU_Detail& end, Gathered& to) const {
    to.places.resize(myPoints.size() + myFans.size());
    const GEO_PointAccess points[2] = {begin.points().access(), end.points().access()};
    UT_Vector3D sum(0, 0, 0);
    size_t finite = 0;
    for (size_t i = 0; i < myPoints.size(); ++i) {
        Place& place = to.places[i];
        const UT_Vector4& from = points[0](begin.points().slotAt(myPoints[i]))->getPos();
        const UT_Vector4& goal = points[1](end.points().slotAt(myPoints[i]))->getPos();
        place = {{{from.x(), from.y(), from.z(), 0}, {goal.x(), goal.y(), goal.z(), 0}}};
        if (!isFinite(place)) continue;
        sum += UT_Vector3D(UT_Vector3(goal)) - UT_Vector3D(UT_Vector3(from));
        ++finite;
    }
    to.isFinite = finite == myPoints.size();
    to.drift = UT_Vector3(sum / static_cast<double>(std::max<size_t>(finite, 1)));
}

bool GU_SweptSurface::leavesOutTheSame(const Places& places) const {
    const auto finite = [&](uint32_t place) { return place >= myPoints.size() || isFinite(places[place]); };
    for (const auto& corners : myCorners)
        if (!std::all_of(corners.begin(), corners.end(), finite)) return false;
    return std::none_of(myLeftOut.begin(), myLeftOut.end(), [&](const Fan& fan) {
        const uint32_t* outline = &myOutlines[fan.first];
        return std::all_of(outline, outline + fan.count, finite);
    });
}

// Places the means, and tells which polygons their fans cover more than.
void GU_SweptSurface::finishFans() {
    for (size_t f = 0; f < myFans.size(); ++f) {
        const Fan& fan = myFans[f];
        Place& mean = myPlaces[myPoints.size() + f];
        bool star = true;
        for (size_t e = 0; e < 2; ++e) {
            std::vector<UT_Vector3>& rim = myRims[e];
            rim.resize(fan.count);
            for (uint32_t i = 0; i < fan.count; ++i) {
                const float(&at)[4] = myPlaces[myOutlines[fan.first + i]].at[e];
                rim[i] = UT_Vector3(at[0], at[1], at[2]);
            }
            const UT_Vector3 middle = GUmeanOf(rim);
            for (int k = 0; k < 3; ++k) mean.at[e][k] = middle[k];
            mean.at[e][3] = 0;
            if (fan.shape == NONE) continue;
            const auto corner = [&](int i) { return rim[static_cast<size_t>(i)]; };
            star = star && GUisStar(rim, middle, GEOpolygonNormal(static_cast<int>(fan.count), corner));
        }
        if (fan.shape != NONE) myShapes[fan.shape].kind = star ? Shape::FAN : Shape::FOLDED;
    }
}
