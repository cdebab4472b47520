#include "host/geo/GU_Detail.h"
#include "scene/formats/FormatError.h"
#include "scene/formats/GeoImage.h"
#include "scene/formats/GroupNames.h"
#include "scene/formats/LittleEndian.h"
#include "scene/formats/TextNumbers.h"

#include <climits>
#include <fmt/format.h>

namespace formats {
namespace {

constexpr uint64_t MAX_POINTS = 0xffff0000u; ///< slots are 32-bit numbers
constexpr size_t MAX_RECORD = 256 << 10;     ///< bytes of attributes per element; records come 2048 at a time

template <class... Args> [[noreturn]] void fail(fmt::format_string<Args...> text, Args&&... args) {
    throw FormatError(fmt::format(text, std::forward<Args>(args)...));
}

/// Copies 4-byte numbers that are stored lowest byte first.
void copyNumbers(char* to, const char* from, size_t count) {
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(to, from, count * 4);
    } else {
        for (size_t i = 0; i < count; ++i) {
            const uint32_t word = readLittle<uint32_t>(from + 4 * i);
            std::memcpy(to + 4 * i, &word, 4);
        }
    }
}

class Builder {
public:
    Builder(GU_Detail& detail, const GeoImage& image)
        : myDetail(detail)
        , myImage(image)
        , myBudget(image.fileBytes) {}

    void build() {
        for (const GB_AttribClass cls : CLASSES) declare(cls);
        addPoints();
        checkVertexTotal();
        for (size_t i = 0; i < myImage.prims.size(); ++i) addPrimitive(i, myImage.prims[i]);
        if (myShape != myImage.shapes.size())
            fail("{} numbers of primitive shapes too many", myImage.shapes.size() - myShape);
        if (myDead != myImage.dead.size()) fail("{} dead marks too many", myImage.dead.size() - myDead);
        for (const GB_AttribClass cls : CLASSES) fillAttributes(cls);
        addGroups();
    }

private:
    static constexpr GB_AttribClass CLASSES[] = {GB_AttribClass::POINT, GB_AttribClass::VERTEX,
                                                 GB_AttribClass::PRIMITIVE, GB_AttribClass::DETAIL};

    const std::vector<AttribImage>& images(GB_AttribClass cls) const {
        return myImage.attribs[static_cast<size_t>(cls)];
    }

    void declare(GB_AttribClass cls) {
        GB_AttributeDict& dict = myDetail.attribs(cls);
        size_t record = 0;
        for (const AttribImage& image : images(cls)) {
            const char* where = attribClassName(cls);
            record += image.size;
            if (record > MAX_RECORD) fail("more than {} bytes of {} attributes", MAX_RECORD, where);
            if (cls == GB_AttribClass::POINT && image.name == "P") fail("point attribute P is the position");
            if (dict.find(image.name)) fail("{} attribute {} stands there twice", where, excerpt(image.name));
            if (image.defaults.size() != image.size)
                fail("{} attribute {} has a default of another size", where, excerpt(image.name));
            std::string defaults = image.defaults;
            if (image.type != GB_ATTRIB_RAW) copyNumbers(defaults.data(), image.defaults.data(), image.size / 4);
            if (dict.append(image.name, static_cast<int>(image.size), image.type, defaults.data()) < 0)
                fail("{} attribute {} cannot be of type {} with {} bytes", where, excerpt(image.name),
                     attribTypeName(image.type), image.size);
            if (!image.strings.empty() && image.type != GB_ATTRIB_INDEX)
                fail("{} attribute {} has strings but is not of type string", where, excerpt(image.name));
            if (image.type == GB_ATTRIB_INDEX) {
                checkIndex(image, defaults.data(), where);
                dict.find(image.name)->setIndexStrings(image.strings);
            }
        }
    }

    void addPoints() {
        if (myImage.points > MAX_POINTS) fail("{} points; the limit is {}", myImage.points, MAX_POINTS);
        if (myImage.positions.size() != myImage.points * 16)
            fail("{} points, but {} bytes of positions", myImage.points, myImage.positions.size());
        for (size_t i = 0; i < myImage.points; ++i)
            copyNumbers(reinterpret_cast<char*>(myDetail.appendPoint()->getPos().data()),
                        myImage.positions.data() + 16 * i, 4);
    }

    void checkVertexTotal() const {
        uint64_t total = 0;
        for (const PrimImage& prim : myImage.prims) total += prim.vertices;
        if (total != myImage.vertices.size())
            fail("the primitives claim {} vertices, but {} are there", total, myImage.vertices.size());
    }

    GEO_Point* pointOfVertex(size_t number, size_t prim) const {
        const uint32_t point = myImage.vertices[number];
        if (point >= myImage.points)
            fail("primitive {}: point number {}, but there are only {} points", prim, point, myImage.points);
        return myDetail.points()(point);
    }

    void addPrimitive(size_t number, const PrimImage& image) {
        if (!primKindName(image.kind)) fail("primitive {} is of the unknown kind {}", number, image.kind);
        if (image.vertices > INT_MAX)
            fail("primitive {} has {} vertices; the limit is {}", number, image.vertices, INT_MAX);
        if (image.kind == GEOPRIMPART)
            addParticles(number, image);
        else if (image.kind == GEOPRIMMESH)
            addMesh(number, image);
        else
            addVertices(number, image, static_cast<GEO_VertexPrimitive*>(myDetail.insertPrimitive(image.kind)));
        GEO_Primitive* prim = myDetail.primitives()(number);
        prim->setFlags(image.flags);
        if (image.kind == GEOPRIMPOLY && !(image.bits & PrimImage::CLOSED)) static_cast<GEO_PrimPoly*>(prim)->open();
        if (shapeSize(image.kind)) setShape(number, image, static_cast<GEO_PrimQuadric*>(prim));
    }

    void addParticles(size_t number, const PrimImage& image) {
        auto* prim = static_cast<GEO_PrimParticle*>(myDetail.insertPrimitive(GEOPRIMPART));
        for (uint32_t i = 0; i < image.vertices; ++i) prim->appendParticle(pointOfVertex(myVertex++, number));
        for (uint32_t i = 0; i < image.cols; ++i) {
            if (myDead == myImage.dead.size()) fail("primitive {}: marks of dead particles are missing", number);
            const uint32_t place = myImage.dead[myDead++];
            if (place >= image.vertices)
                fail("primitive {}: particle {} is marked dead but does not exist", number, place);
            prim->deadParticle(place);
        }
    }

    void addMesh(size_t number, const PrimImage& image) {
        if (uint64_t{image.rows} * image.cols != image.vertices || (image.vertices == 0 && (image.rows || image.cols)))
            fail("primitive {}: a mesh of {} x {} with {} vertices", number, image.rows, image.cols, image.vertices);
        if (image.vertices == 0) {
            myDetail.insertPrimitive(GEOPRIMMESH);
            return;
        }
        std::vector<uint32_t> slots;
        for (uint32_t i = 0; i < image.vertices; ++i) slots.push_back(pointOfVertex(myVertex++, number)->slot());
        GEO_PrimMesh::build(&myDetail, static_cast<int>(image.rows), static_cast<int>(image.cols),
                            image.bits & PrimImage::WRAP_U, image.bits & PrimImage::WRAP_V, slots.data());
    }

    void addVertices(size_t number, const PrimImage& image, GEO_VertexPrimitive* prim) {
        if (shapeSize(image.kind) && image.vertices > 1)
            fail("primitive {}: a {} with {} vertices; it has one", number, primKindName(image.kind), image.vertices);
        for (uint32_t i = 0; i < image.vertices; ++i) prim->appendVertex(pointOfVertex(myVertex++, number));
    }

    void setShape(size_t number, const PrimImage& image, GEO_PrimQuadric* prim) {
        const size_t size = shapeSize(image.kind);
        if (myImage.shapes.size() - myShape < size) fail("primitive {}: its shape is missing", number);
        const float* from = myImage.shapes.data() + myShape;
        myShape += size;
        UT_Matrix3 frame(1);
        std::copy(from, from + 9, frame.data());
        prim->setXform(frame);
        if (image.kind == GEOPRIMTUBE) static_cast<GEO_PrimTube*>(prim)->setTaper(from[9]);
        if (image.kind != GEOPRIMMETABALL) return;
        auto* ball = static_cast<GEO_PrimMetaball*>(prim);
        ball->setWeight(from[9]);
        ball->setKernel(static_cast<int>(image.rows));
    }

    static void checkIndex(const AttribImage& image, const char* value, const char* where) {
        int index;
        std::memcpy(&index, value, sizeof index);
        if (index < -1 || index >= static_cast<int>(image.strings.size()))
            fail("{} attribute {}: string number {}, but there are only {} strings", where, excerpt(image.name), index,
                 image.strings.size());
    }

    void fillAttributes(GB_AttribClass cls) {
        size_t elements = cls == GB_AttribClass::POINT       ? myDetail.points().entries()
                          : cls == GB_AttribClass::PRIMITIVE ? myDetail.primitives().entries()
                          : cls == GB_AttribClass::VERTEX    ? myDetail.vertexRecords().live()
                                                             : 1;
        for (const AttribImage& image : images(cls))
            if (image.values().size() / image.size != elements || image.values().size() % image.size)
                fail("{} attribute {}: {} bytes of values for {} elements of {} bytes", attribClassName(cls),
                     excerpt(image.name), image.values().size(), elements, image.size);
        for (const AttribImage& image : images(cls)) fillColumn(cls, image);
    }

    void fillColumn(GB_AttribClass cls, const AttribImage& image) {
        const int offset = myDetail.attribs(cls).find(image.name)->getOffset();
        const char* from = image.values().data();
        const auto fill = [&](char* record) {
            char* to = record + offset;
            if (image.type == GB_ATTRIB_RAW)
                std::memcpy(to, from, image.size);
            else
                copyNumbers(to, from, image.size / 4);
            if (image.type == GB_ATTRIB_INDEX) checkIndex(image, to, attribClassName(cls));
            from += image.size;
        };
        switch (cls) {
        case GB_AttribClass::POINT: myDetail.points().forEach(nullptr, [&](GEO_Point* p) { fill(p->data()); }); break;
        case GB_AttribClass::PRIMITIVE:
            myDetail.primitives().forEach(nullptr, [&](GEO_Primitive* p) { fill(p->data()); });
            break;
        case GB_AttribClass::VERTEX:
            myDetail.primitives().forEach(nullptr, [&](GEO_Primitive* p) {
                if (p->getPrimitiveId() == GEOPRIMPART) return;
                for (int i = 0; i < p->getVertexCount(); ++i) fill(p->getVertex(i)->data());
            });
            break;
        case GB_AttribClass::DETAIL: fill(myDetail.attribData()); break;
        }
    }

    template <class List, class Add>
    void addGroups(const std::vector<GroupImage>& images, List& list, size_t elements, const char* what, Add&& add) {
        for (const GroupImage& image : images) {
            if (list.find(image.name)) fail("{} group {} stands there twice", what, excerpt(image.name));
            for (const uint32_t member : image.members)
                if (member >= elements)
                    fail("{} group {}: member {}, but there are only {}", what, excerpt(image.name), member, elements);
            uint32_t last = 0;
            for (const uint32_t member : image.members) last = std::max(last, member);
            myBudget.take(last);
            auto* group = list.newGroup(image.name, image.internal);
            if (!group) fail("{} group: {} is no name a group may have", what, excerpt(image.name));
            group->setFlags(image.flags);
            for (const uint32_t member : image.members) add(*group, member);
        }
    }

    void addGroups() {
        addGroups(myImage.pointGroups, myDetail.pointGroups(), myDetail.points().entries(), "point",
                  [&](GB_PointGroup& group, uint32_t i) { group.add(myDetail.points()(i)); });
        addGroups(myImage.primGroups, myDetail.primitiveGroups(), myDetail.primitives().entries(), "primitive",
                  [&](GB_PrimitiveGroup& group, uint32_t i) { group.add(myDetail.primitives()(i)); });
    }

    GU_Detail& myDetail;
    const GeoImage& myImage;
    GroupBudget myBudget;
    size_t myVertex = 0;
    size_t myShape = 0;
    size_t myDead = 0;
};

} // namespace

void buildDetail(GU_Detail& detail, const GeoImage& image) { Builder(detail, image).build(); }

} // namespace formats
