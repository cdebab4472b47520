#pragma once

#include "host/geo/GU_Detail.h"
#include "scene/formats/GeoImage.h"

namespace formats {

// What both native writers walk, in the order that native files have.

inline constexpr GB_AttribClass ATTRIB_CLASSES[] = {GB_AttribClass::POINT, GB_AttribClass::VERTEX,
                                                    GB_AttribClass::PRIMITIVE, GB_AttribClass::DETAIL};

/// Elements of a class that have a record of attributes (particles have no vertex records).
size_t elementCount(const GU_Detail& detail, GB_AttribClass cls);

/// Calls fn(const char* attribute data) for every element of the class: points and primitives in order, vertices in the
/// order of their primitives.
template <class Fn> void forEachRecord(const GU_Detail& detail, GB_AttribClass cls, Fn&& fn) {
    switch (cls) {
    case GB_AttribClass::POINT:
        detail.points().forEach(nullptr, [&](const GEO_Point* point) { fn(point->data()); });
        break;
    case GB_AttribClass::PRIMITIVE:
        detail.primitives().forEach(nullptr, [&](const GEO_Primitive* prim) { fn(prim->data()); });
        break;
    case GB_AttribClass::VERTEX:
        detail.primitives().forEach(nullptr, [&](const GEO_Primitive* prim) {
            if (prim->getPrimitiveId() == GEOPRIMPART) return;
            for (int i = 0; i < prim->getVertexCount(); ++i) fn(prim->getVertex(i)->data());
        });
        break;
    case GB_AttribClass::DETAIL: fn(detail.attribData()); break;
    }
}

/// Calls fn(point number) for the vertices of one primitive, or of all in order.
template <class Fn> void forEachVertexPoint(const GU_Detail& detail, const GEO_Primitive& prim, Fn&& fn) {
    for (int i = 0; i < prim.getVertexCount(); ++i) fn(detail.points().numberOfSlot(prim.getVertexPointSlot(i)));
}
template <class Fn> void forEachVertexPoint(const GU_Detail& detail, Fn&& fn) {
    detail.primitives().forEach(nullptr, [&](const GEO_Primitive* prim) { forEachVertexPoint(detail, *prim, fn); });
}

/// Calls fn(element number) for the members of a group in order.
template <class Fn> void forEachMember(const GU_Detail& detail, const GB_PointGroup& group, Fn&& fn) {
    uint32_t number = 0;
    if (group.isEmpty()) return;
    detail.points().forEach(nullptr, [&](const GEO_Point* point) {
        if (group.containsSlot(point->slot())) fn(number);
        ++number;
    });
}
template <class Fn> void forEachMember(const GU_Detail& detail, const GB_PrimitiveGroup& group, Fn&& fn) {
    if (group.isEmpty()) return;
    detail.primitives().forEach(&group, [&](const GEO_Primitive* prim) { fn(static_cast<uint32_t>(prim->getNum())); });
}

/// The 4 bytes of a component as native files have them: a string number without a string becomes -1.
uint32_t storedWord(const GB_Attribute& attribute, const char* value, int component);

/// What a native file says about a primitive; appends to the lists what it adds to them.
PrimImage describe(const GEO_Primitive& prim, std::vector<float>& shapes, std::vector<uint32_t>& dead);

} // namespace formats
