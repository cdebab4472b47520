#include "core/FLX_BlindData.h"

#include "core/FLX_Node.h"

FLX_BlindData::FLX_BlindData(const FLX_Node* owner)
    : myOwnerId(owner ? owner->getUniqueId() : -1) {}

FLX_BlindData::~FLX_BlindData() = default;

int FLX_BlindData::resetSimulation() { return 1; }

FLX_Node* FLX_BlindData::getOwner() const {
    OP_Node* node = OP_Node::lookupNode(myOwnerId);
    return node ? node->castToFLXNode() : nullptr;
}
