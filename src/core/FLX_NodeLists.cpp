// How operators gather the particle primitives of their inputs. A primitive flows down one branch only: it is taken
// from an input only while that input's node owns it, and taking it makes the taker the owner.
#include "core/FLX_Node.h"

namespace {

FLX_Node* flxInput(const OP_Node& node, int i) {
    OP_Node* input = i >= 0 && i < node.nInputs() ? node.getInput(i) : nullptr;
    return input ? input->castToFLXNode() : nullptr;
}

} // namespace

bool FLX_Node::ownsPrimitive(FLX_ContextData* context, GEO_PrimParticle* prim, const FLX_Node* owner,
                             FLX_ParticleList& dest) {
    if (context->isGuideOnly()) return true;
    const FLX_ParticleNode* entry = context->peekParticleList()->find(prim);
    if (!entry || entry->owner == owner) return true;
    dest.clear();
    addError(FLX_ERR_NOT_OWNER, owner->getName().c_str());
    return false;
}

FLX_ParticleList* FLX_Node::getInputParticleList(int input, OP_Context& context) {
    FLX_Node* node = flxInput(*this, input);
    if (!node) return nullptr;
    cookInput(*node, context);
    return &node->myParticleList;
}

UT_ErrorSeverity FLX_Node::addListToParticleList(FLX_ParticleList& dest, FLX_ParticleList& src, const FLX_Node* srcNode,
                                                 int input, OP_Context& opContext, int checkDuplicates) {
    FLX_ContextData* context = contextOf(opContext);
    for (int i = 0; i < src.entries(); ++i) {
        GEO_PrimParticle* prim = src.entry(i).prim;
        if (!ownsPrimitive(context, prim, srcNode, dest)) return error();
        if (checkDuplicates && dest.find(prim)) {
            dest.clear();
            addError(FLX_ERR_DUPLICATE_PARTICLES);
            return error();
        }
        dest.add(prim, nullptr);
        if (!context->isGuideOnly()) context->addToParticleList(prim, this, input);
    }
    return error();
}

UT_ErrorSeverity FLX_Node::buildParticleList(OP_Context& context, int checkDuplicates) {
    return buildParticleList(myParticleList, context, checkDuplicates);
}

UT_ErrorSeverity FLX_Node::buildParticleList(FLX_ParticleList& list, OP_Context& context, int checkDuplicates) {
    list.clear();
    for (int i = 0; i < nInputs(); ++i) {
        FLX_Node* input = flxInput(*this, i);
        if (!input) continue;
        cookInput(*input, context);
        const UT_ErrorSeverity result =
            addListToParticleList(list, input->myParticleList, input, i, context, checkDuplicates);
        if (result >= UT_ERROR_ABORT) break;
    }
    return error();
}

UT_ErrorSeverity FLX_Node::buildInputParticleList(int input, OP_Context& context) {
    return buildInputParticleList(myParticleList, input, context);
}

UT_ErrorSeverity FLX_Node::buildInputParticleList(FLX_ParticleList& list, int i, OP_Context& context) {
    list.clear();
    FLX_Node* input = flxInput(*this, i);
    if (!input) return error();
    cookInput(*input, context);
    return addListToParticleList(list, input->myParticleList, input, i, context, 0);
}

UT_ErrorSeverity FLX_Node::buildParticleListArray(std::vector<FLX_ParticleList*>& lists, int& count,
                                                  OP_Context& opContext, int checkDuplicates) {
    FLX_ContextData* context = contextOf(opContext);
    FLX_ParticleList seen;
    count = nInputs();
    for (int i = 0; i < count; ++i) {
        FLX_Node* input = flxInput(*this, i);
        if (input) cookInput(*input, opContext);
        lists.push_back(input ? &input->myParticleList : nullptr);
        for (int k = 0; input && k < input->myParticleList.entries(); ++k) {
            GEO_PrimParticle* prim = input->myParticleList.entry(k).prim;
            if (!ownsPrimitive(context, prim, input, seen)) {
                lists.clear();
                return error();
            }
            if (!checkDuplicates) continue;
            if (seen.find(prim)) {
                addError(FLX_ERR_DUPLICATE_PARTICLES);
                count = i + 1;
                return error();
            }
            seen.add(prim, nullptr);
        }
    }
    return error();
}

void FLX_Node::initParticleList(OP_Context& opContext, GEO_PrimParticle* prim) {
    FLX_ContextData* context = contextOf(opContext);
    myParticleList.clear();
    myParticleList.add(prim, nullptr);
    if (prim && !context->isGuideOnly()) context->addToParticleList(prim, this, -1);
}

int FLX_Node::addToParticleList(OP_Context& opContext, GEO_PrimParticle* prim, int input) {
    FLX_ContextData* context = contextOf(opContext);
    if (myParticleList.find(prim)) return 0;
    myParticleList.add(prim, nullptr);
    if (!context->isGuideOnly()) context->addToParticleList(prim, this, input);
    return 1;
}
