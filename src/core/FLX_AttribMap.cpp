#include "core/FLX_AttribMap.h"

#include <cstring>
#include <map>

#include "core/FLX_ContextData.h"

void FLX_AttribMap::build(FLX_ContextData* context, const GU_Detail* src, GU_Detail* dest, const UT_String& pattern,
                          int addVariables) {
    myMappings.clear();
    myFloatOffsets.clear();
    myVectorOffsets.clear();
    myBuffer = std::make_shared<GEO_WorkVertexBuffer>(src, 0, 11);
    myHandles.bind(src);
    myHandles.addAllFloat();
    myPositionHandle = myHandles.find("P");
    myNormalHandle = myHandles.find("N");
    myVelocityHandle = myHandles.find("v");
    myNormalOffset = myVelocityOffset = -1;

    for (const auto& attrib : src->pointAttribs())
        if (UT_String(attrib->getName()).multiMatch(pattern, true, ' '))
            map(context, *attrib, dest, src == dest, addVariables);

    myData = GB_AttributeData(src->pointAttribs().recordSize());
    for (const FLX_AttribMapping& mapping : myMappings)
        std::memcpy(myData.data() + mapping.sourceOffset, mapping.defaults, size_t(mapping.size));
}

void FLX_AttribMap::map(FLX_ContextData* context, const GB_Attribute& attrib, GU_Detail* dest, bool sameDetail,
                        int addVariables) {
    FLX_AttribMapping mapping;
    mapping.sourceOffset = attrib.getOffset();
    if (!dest->pointAttribs().find(attrib.getName())) context->flushPasses(); // the records are laid out anew
    mapping.destOffset =
        dest->pointAttribs().append(attrib.getName(), attrib.getSize(), attrib.getType(), attrib.getDefault());
    if (mapping.destOffset < 0) return; // the particles hold something else under that name
    mapping.size = attrib.getSize();
    mapping.defaults = attrib.getDefault();
    mapping.type = attrib.getType();
    if (mapping.type == GB_ATTRIB_INDEX && !sameDetail)
        prepareIndexAttribRemapping(mapping, attrib, dest->pointAttribs().find(attrib.getName()));

    if (GBisFloatType(mapping.type))
        for (int i = 0; i < mapping.size; i += 4) myFloatOffsets.append(mapping.sourceOffset + i);
    if (mapping.type == GB_ATTRIB_VECTOR)
        for (int i = 0; i < mapping.size; i += 12) myVectorOffsets.append(mapping.sourceOffset + i);

    if (addVariables)
        context->addUserVariable(attrib.getName().c_str(), attrib.getSize(), attrib.getType(), attrib.getDefault(),
                                 nullptr);
    noteSpecialName(context, attrib, mapping.destOffset, dest);
    myMappings.push_back(std::move(mapping));
}

void FLX_AttribMap::noteSpecialName(FLX_ContextData* context, const GB_Attribute& attrib, int destOffset,
                                    GU_Detail* dest) {
    if (!GBisFloatType(attrib.getType())) return;
    static constexpr FLX_Attrib inherited[] = {FLX_Attrib::Mass,   FLX_Attrib::Drag,    FLX_Attrib::Scale,
                                               FLX_Attrib::Scale3, FLX_Attrib::SpringK, FLX_Attrib::Tension};
    const std::string& name = attrib.getName();
    if (attrib.getSize() == 12 && name == "N") myNormalOffset = attrib.getOffset();
    if (attrib.getSize() == 12 && name == "v") myVelocityOffset = attrib.getOffset();
    for (const FLX_Attrib special : inherited) {
        const FLX_AttribRow& row = FLXattribRow(special);
        if (name == row.name && attrib.getSize() == row.size && attrib.getType() == row.type)
            context->setOffset(special, destOffset);
    }
    if (attrib.getSize() == 12 && name == "up") {
        context->setUpOffset(destOffset);
        if (!dest->pointAttribs().find("pv")) context->flushPasses();
        context->setPrevVelOffset(dest->pointAttribs().append("pv", 12, GB_ATTRIB_VECTOR, nullptr));
    }
}

void FLX_AttribMap::prepareIndexAttribRemapping(FLX_AttribMapping& mapping, const GB_Attribute& src,
                                                GB_Attribute* dest) {
    if (!dest) return;
    const std::vector<std::string>& from = src.indexStrings();
    const std::vector<std::string>& to = dest->indexStrings();
    if (from.size() <= to.size() && std::equal(from.begin(), from.end(), to.begin())) return;

    // The same order of new strings as appending all and deleting the doubles gives.
    mapping.indexRemap.clear();
    for (const std::string& text : from) mapping.indexRemap.push_back(dest->addIndex(text));
}

UT_Vector3 FLX_AttribMap::getSrcNormal(const GB_AttributeData* source) const {
    if (myNormalOffset < 0 || !source) return myStoredNormal;
    return *source->castAttribData<UT_Vector3>(myNormalOffset);
}

void FLX_AttribMap::inherit(const GB_AttributeData& source, GEO_Point* particle) const {
    for (const FLX_AttribMapping& mapping : myMappings) {
        if (mapping.type == GB_ATTRIB_INDEX && !mapping.indexRemap.empty())
            *particle->castAttribData<int>(mapping.destOffset) =
                mapping.remapped(*source.castAttribData<int>(mapping.sourceOffset));
        else
            std::memcpy(particle->data() + mapping.destOffset, source.data() + mapping.sourceOffset,
                        size_t(mapping.size));
    }
}
