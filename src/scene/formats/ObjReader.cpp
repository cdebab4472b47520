#include "scene/formats/ObjReader.h"

#include "host/geo/GU_Detail.h"
#include "scene/formats/FormatError.h"
#include "scene/formats/GroupNames.h"
#include "scene/formats/ObjParser.h"

#include <fmt/format.h>

namespace formats {
namespace {

/// Texture coordinates or normals on their way to a point attribute and, where corners disagree, a vertex attribute.
class CornerValues {
public:
    CornerValues(const std::vector<UT_Vector3>& values, int64_t ObjCorner::*number, size_t points)
        : myValues(values)
        , myNumber(number)
        , myOfPoint(points, -1) {}

    void meet(const ObjCorner& corner) {
        const int64_t number = corner.*myNumber;
        if (number < 0) return;
        int64_t& first = myOfPoint[static_cast<size_t>(corner.point)];
        if (first < 0) first = number;
        myUsed = true;
        myDisagree = myDisagree || (first != number && value(first) != value(number));
    }
    void assignInOrder() {
        for (size_t i = 0; i < myOfPoint.size(); ++i) myOfPoint[i] = static_cast<int64_t>(i);
        myUsed = true;
    }
    void declare(GU_Detail& detail, const char* name, GB_AttribType type) {
        if (myUsed) myPointOffset = detail.pointAttribs().append(name, 12, type);
        if (myDisagree) myVertexOffset = detail.vertexAttribs().append(name, 12, type);
    }
    void fill(GEO_Point& point, size_t number) const {
        if (myPointOffset >= 0 && myOfPoint[number] >= 0)
            *point.castAttribData<UT_Vector3>(myPointOffset) = value(myOfPoint[number]);
    }
    void fill(GEO_Vertex& vertex, const ObjCorner& corner) const {
        if (myVertexOffset < 0) return;
        const int64_t own = corner.*myNumber;
        const int64_t number = own >= 0 ? own : myOfPoint[static_cast<size_t>(corner.point)];
        if (number >= 0) *vertex.castAttribData<UT_Vector3>(myVertexOffset) = value(number);
    }

private:
    const UT_Vector3& value(int64_t number) const { return myValues[static_cast<size_t>(number)]; }

    const std::vector<UT_Vector3>& myValues;
    int64_t ObjCorner::*myNumber;
    std::vector<int64_t> myOfPoint; ///< number of the first value seen, -1 for none
    bool myUsed = false;
    bool myDisagree = false;
    int myPointOffset = -1;
    int myVertexOffset = -1;
};

void checkNumber(int64_t number, size_t count, const char* what, size_t line) {
    if (number >= static_cast<int64_t>(count))
        throw FormatError(
            fmt::format("line {}: {} number {}, but the file has only {}", line, what, number + 1, count));
}

void checkReferences(const ObjData& data) {
    for (const ObjElement& element : data.elements)
        for (size_t i = element.first; i < element.first + element.count; ++i) {
            checkNumber(data.corners[i].point, data.points.size(), "v", element.line);
            checkNumber(data.corners[i].uv, data.uvs.size(), "vt", element.line);
            checkNumber(data.corners[i].normal, data.normals.size(), "vn", element.line);
        }
}

void addPoints(GU_Detail& detail, const ObjData& data, const CornerValues& uv, const CornerValues& normal) {
    const float white[3] = {1, 1, 1};
    const int colour = data.colours.empty() ? -1 : detail.pointAttribs().append("Cd", 12, GB_ATTRIB_FLOAT, white);
    for (size_t i = 0; i < data.points.size(); ++i) {
        GEO_Point* point = detail.appendPoint();
        point->setPos(UT_Vector4(data.points[i]));
        if (colour >= 0) *point->castAttribData<UT_Vector3>(colour) = data.colours[i];
        uv.fill(*point, i);
        normal.fill(*point, i);
    }
}

void addElement(GU_Detail& detail, const ObjData& data, const ObjElement& element, const CornerValues& uv,
                const CornerValues& normal) {
    auto* poly = static_cast<GEO_PrimPoly*>(detail.insertPrimitive(GEOPRIMPOLY));
    if (!element.closed) poly->open();
    for (size_t i = element.first; i < element.first + element.count; ++i) {
        const ObjCorner& corner = data.corners[i];
        GEO_Vertex* vertex = poly->appendVertex(detail.points()(static_cast<size_t>(corner.point)));
        uv.fill(*vertex, corner);
        normal.fill(*vertex, corner);
    }
}

/// Each group first learns its last member and is charged for it.
void addGroups(GU_Detail& detail, const ObjData& data, size_t fileBytes) {
    std::vector<size_t> end(data.groups.size(), 0);
    for (size_t i = 0; i < data.elements.size(); ++i)
        for (const size_t group : data.groupSets[data.elements[i].groupSet]) end[group] = i + 1;
    GroupBudget budget(fileBytes);
    for (size_t g = 0; g < end.size(); ++g) {
        budget.take(end[g]);
        detail.primitiveGroups().newGroup(data.groups[g]);
    }
    std::vector<GB_PrimitiveGroup*> groups;
    for (const std::string& name : data.groups) groups.push_back(detail.primitiveGroups().find(name));
    for (size_t i = 0; i < data.elements.size(); ++i)
        for (const size_t group : data.groupSets[data.elements[i].groupSet]) groups[group]->add(detail.primitives()(i));
}

} // namespace

void readObj(GU_Detail& detail, std::string_view text) {
    const ObjData data = ObjParser(text).parse();
    checkReferences(data);
    CornerValues uv(data.uvs, &ObjCorner::uv, data.points.size());
    CornerValues normal(data.normals, &ObjCorner::normal, data.points.size());
    for (const ObjCorner& corner : data.corners) {
        uv.meet(corner);
        normal.meet(corner);
    }
    if (data.elements.empty() && data.normals.size() == data.points.size()) normal.assignInOrder();
    normal.declare(detail, "N", GB_ATTRIB_VECTOR);
    uv.declare(detail, "uv", GB_ATTRIB_FLOAT);
    addPoints(detail, data, uv, normal);
    for (const ObjElement& element : data.elements) addElement(detail, data, element, uv, normal);
    addGroups(detail, data, text.size());
}

} // namespace formats
