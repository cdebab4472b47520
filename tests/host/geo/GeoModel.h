#pragma once

#include "host/geo/GU_Detail.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <vector>

/// A detail and the simplest thing that could hold the same: points known by an id, kept as an int attribute.
class GeoModel {
public:
    struct Prim {
        unsigned type;
        std::vector<std::pair<int, int>> vertices; ///< ids of points, and the vertex attribute of polygons
        int tag;                                   ///< primitive attribute
    };

    GeoModel() {
        const int none = -7;
        myId = detail.pointAttribs().append("id", 4, GB_ATTRIB_INT, &none);
        myTag = detail.primitiveAttribs().append("tag", 4, GB_ATTRIB_INT);
        myCorner = detail.vertexAttribs().append("corner", 4, GB_ATTRIB_INT);
    }

    GU_Detail detail;
    std::vector<int> points;
    std::vector<Prim> prims;
    std::map<std::string, std::set<int>> groups;
    std::map<std::string, std::set<int>> primGroups; ///< tags
    int nextId = 0;

    int& id(GEO_Point* p) const { return *p->castAttribData<int>(myId); }
    GEO_Point* byId(int id) const {
        const auto it = std::find(points.begin(), points.end(), id);
        return detail.points()(static_cast<size_t>(it - points.begin()));
    }
    void dress(GEO_Point* p) {
        EXPECT_EQ(id(p), -7) << "a new point does not have its default";
        id(p) = nextId;
        p->setPos({static_cast<float>(nextId), 1, 2});
        points.push_back(nextId++);
    }
    void appendPoint() { dress(detail.appendPoint()); }
    void insert(unsigned type) {
        GEO_Primitive* prim = detail.insertPrimitive(type);
        *prim->castAttribData<int>(myTag) = nextId;
        prims.push_back({type, {}, nextId++});
    }
    GEO_PrimParticle* particles(size_t n) const { return static_cast<GEO_PrimParticle*>(detail.primitives()[n]); }
    GEO_PrimPoly* poly(size_t n) const { return static_cast<GEO_PrimPoly*>(detail.primitives()[n]); }
    void addCorner(size_t n, int pointId) {
        GEO_Vertex* vertex = poly(n)->appendVertex(byId(pointId));
        *vertex->castAttribData<int>(myCorner) = nextId;
        prims[n].vertices.emplace_back(pointId, nextId++);
    }

    void forgetPoints(const std::set<int>& gone) {
        std::erase_if(points, [&](int p) { return gone.count(p) != 0; });
        for (auto& [name, members] : groups)
            for (int p : gone) members.erase(p);
    }
    std::set<int> unusedPoints() const {
        std::set<int> unused(points.begin(), points.end());
        for (const Prim& prim : prims)
            for (const auto& [p, corner] : prim.vertices) unused.erase(p);
        return unused;
    }
    void forgetPrim(size_t n) {
        for (auto& [name, members] : primGroups) members.erase(prims[n].tag);
        prims.erase(prims.begin() + static_cast<std::ptrdiff_t>(n));
    }

    void check() const {
        ASSERT_EQ(detail.validate(), "");
        ASSERT_EQ(detail.points().entries(), points.size());
        for (size_t i = 0; i < points.size(); ++i) {
            const GEO_Point* p = detail.points()(i);
            ASSERT_EQ(*p->castAttribData<int>(myId), points[i]) << "point " << i;
            ASSERT_EQ(p->getPos().x(), static_cast<float>(points[i]));
        }
        ASSERT_EQ(detail.primitives().entries(), prims.size());
        for (size_t i = 0; i < prims.size(); ++i) checkPrim(i);
        for (const auto& [name, members] : groups) {
            std::vector<int> expected, found;
            for (int p : points)
                if (members.count(p)) expected.push_back(p);
            detail.points().forEach(detail.pointGroups().find(name), [&](GEO_Point* p) { found.push_back(id(p)); });
            ASSERT_EQ(found, expected) << "group " << name;
            ASSERT_EQ(detail.pointGroups().find(name)->entries(), members.size());
        }
        for (const auto& [name, members] : primGroups) {
            const GB_PrimitiveGroup* group = detail.primitiveGroups().find(name);
            for (size_t i = 0; i < prims.size(); ++i)
                ASSERT_EQ(group->contains(detail.primitives()[i]), members.count(prims[i].tag) != 0);
            ASSERT_EQ(group->entries(), members.size());
        }
    }

private:
    void checkPrim(size_t i) const {
        const GEO_Primitive* prim = detail.primitives()[i];
        ASSERT_EQ(prim->getPrimitiveId(), prims[i].type);
        ASSERT_EQ(*prim->castAttribData<int>(myTag), prims[i].tag);
        ASSERT_EQ(prim->getVertexCount(), static_cast<int>(prims[i].vertices.size()));
        for (int k = 0; const auto& [p, corner] : prims[i].vertices) {
            ASSERT_EQ(id(prim->getVertexPoint(k)), p) << "primitive " << i << " vertex " << k;
            if (corner) {
                ASSERT_EQ(*prim->getVertex(k)->castAttribData<int>(myCorner), corner);
            }
            ++k;
        }
    }
    int myId, myTag, myCorner;
};
