// Which particle primitive belongs to which operator, and what is displayed after a cook.
#include "core/FLX_ContextData.h"
#include "core/FLX_Node.h"

GEO_PrimParticle* FLX_ContextData::particlePrim(int number) const {
    if (number < 0 || size_t(number) >= myDetail->primitives().entries()) return nullptr;
    return dynamic_cast<GEO_PrimParticle*>(myDetail->primitives()(size_t(number)));
}

GEO_PrimParticle* FLX_ContextData::getPrimPart(FLX_Node* node) { return primPart(node, true); }
GEO_PrimParticle* FLX_ContextData::hasPrimPart(FLX_Node* node) { return primPart(node, false); }

GEO_PrimParticle* FLX_ContextData::primPart(FLX_Node* node, bool create) {
    if (node->passUse() == FLX_PassUse::Barrier) flushPasses();
    if (!myDetail || !myNodeToPrim) return nullptr;
    const int id = node->getUniqueId();
    if (const auto known = myNodeToPrim->find(id); known != myNodeToPrim->end()) return particlePrim(known->second);

    UT_String path;
    node->getPathWithSubnet(path);
    GEO_PrimParticle* prim = nullptr;
    if (myGeneratorPaths) {
        const auto carried = myGeneratorPaths->find(path.str());
        if (carried != myGeneratorPaths->end()) prim = particlePrim(carried->second);
    }
    if (!create) return prim;
    if (!prim) {
        prim = static_cast<GEO_PrimParticle*>(myDetail->insertPrimitive(GEOPRIMPART));
        prim->deleteLists();
    }
    if (GB_Attribute* generator = myDetail->primitiveAttribs().find("generator", 4, GB_ATTRIB_INDEX))
        *prim->castAttribData<int>(myCore.generator) = generator->addIndex(path.c_str());
    (*myPrimToNode)[prim->getNum()] = id;
    (*myNodeToPrim)[id] = prim->getNum();
    return prim;
}

FLX_Node* FLX_ContextData::getGenerator(const GEO_PrimParticle* prim) const {
    if (!myPrimToNode) return nullptr;
    const auto found = myPrimToNode->find(prim->getNum());
    if (found == myPrimToNode->end()) return nullptr;
    OP_Node* node = OP_Node::lookupNode(found->second);
    return node ? node->castToFLXNode() : nullptr;
}

void FLX_ContextData::addToParticleList(GEO_PrimParticle* prim, FLX_Node* node, int input) {
    FLX_ParticleNode* entry = myParticleList.find(prim);
    if (!entry) entry = myParticleList.add(prim, nullptr);
    if (!entry || (input >= 0 && node->isRefInput(unsigned(input)))) return;
    entry->owner = node;
}

void FLX_ContextData::cacheDetail(FLX_Node* node) {
    if (node == displayNode && node != cookNode) {
        if (!myDetail) return;
        myDisplayCopy.duplicate(*getDetail(), 1);
        myDisplayDetail = &myDisplayCopy;
    } else if (node == cookNode && (!displayNode || displayNode == cookNode)) {
        myDisplayDetail = myDetail;
    }
}
