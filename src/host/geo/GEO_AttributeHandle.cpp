#include "host/geo/GEO_AttributeHandle.h"

#include "host/geo/GEO_Detail.h"

GEO_AttributeHandleList& GEO_AttributeHandleList::operator=(const GEO_AttributeHandleList& src) {
    if (this == &src) return *this;
    myDetail = src.myDetail;
    myHandles.clear();
    for (const auto& handle : src.myHandles) myHandles.push_back(std::make_unique<GEO_AttributeHandle>(*handle));
    return *this;
}

void GEO_AttributeHandleList::bind(const GEO_Detail* detail) {
    clear();
    myDetail = detail;
}

void GEO_AttributeHandleList::addAllFloat() {
    if (!myDetail) return;
    add("P");
    for (const auto& attrib : myDetail->pointAttribs())
        if (GBisFloatType(attrib->getType())) add(attrib->getName());
}

GEO_AttributeHandle* GEO_AttributeHandleList::add(std::string_view name) {
    if (GEO_AttributeHandle* existing = find(name)) return existing;
    if (!myDetail) return nullptr;
    if (name == "P") {
        myHandles.push_back(std::make_unique<GEO_AttributeHandle>("P", 16, GB_AttribType::FLOAT, -1));
        return myHandles.back().get();
    }
    const GB_Attribute* attrib = myDetail->pointAttribs().find(name);
    if (!attrib || !GBisFloatType(attrib->getType())) return nullptr;
    myHandles.push_back(std::make_unique<GEO_AttributeHandle>(attrib->getName(), attrib->getSize(), attrib->getType(),
                                                              attrib->getOffset()));
    return myHandles.back().get();
}

GEO_AttributeHandle* GEO_AttributeHandleList::find(std::string_view name) const {
    for (const auto& handle : myHandles)
        if (handle->getName() == name) return handle.get();
    return nullptr;
}
