#pragma once

#include "host/geo/GB_Group.h"
#include "host/geo/GEO_Primitive.h"

#include <memory>
#include <vector>

/// The primitives of a detail in order; a primitive's number is its place here.
class GEO_PrimList {
public:
    GEO_PrimList();
    ~GEO_PrimList();

    size_t entries() const { return myPrims.size(); }
    GEO_Primitive* operator[](size_t number) const { return myPrims[number].get(); }
    GEO_Primitive* operator()(size_t number) const { return myPrims[number].get(); }
    /// First primitive of a kind, or of a family of kinds (a mask of type ids); null when there is none.
    GEO_Primitive* head(unsigned typeMask = GEOPRIMALL) const { return firstFrom(0, typeMask, nullptr); }
    GEO_Primitive* next(const GEO_Primitive* prim, unsigned typeMask = GEOPRIMALL) const {
        return firstFrom(static_cast<size_t>(prim->getNum()) + 1, typeMask, nullptr);
    }
    /// First member of the group (all primitives when null) in primitive order.
    GEO_Primitive* rawHead(const GB_Group* group = nullptr) const { return firstFrom(0, GEOPRIMALL, group); }
    GEO_Primitive* rawNext(const GEO_Primitive* prim, const GB_Group* group = nullptr) const {
        return firstFrom(static_cast<size_t>(prim->getNum()) + 1, GEOPRIMALL, group);
    }
    /// Calls fn(GEO_Primitive*) for the members of the group (all when null) in primitive order.
    template <class Fn> void forEach(const GB_Group* group, Fn&& fn) const {
        for (GEO_Primitive* prim = rawHead(group); prim; prim = rawNext(prim, group)) fn(prim);
    }

private:
    friend class GB_Detail;
    friend class GEO_Detail;
    GEO_Primitive* firstFrom(size_t number, unsigned typeMask, const GB_Group* group) const;
    std::vector<std::unique_ptr<GEO_Primitive>> myPrims;
};
