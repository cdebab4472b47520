#pragma once

#include "core/FLX_ContextData.h"
#include "host/node/OBJ_Node.h"

/// From an object's space into the particles': the space of the network's object, or the world's when there is none.
inline UT_DMatrix4 FLXobjectToParticles(OBJ_Node& object, const FLX_ContextData& context, float t) {
    OP_Context at(t);
    const UT_DMatrix4 world = object.getWorldTransform(at);
    return context.objectNode ? world * context.objectNode->getIWorldTransform(at) : world;
}

/// From the world into the particles' space.
inline UT_DMatrix4 FLXworldToParticles(const FLX_ContextData& context, float t) {
    OP_Context at(t);
    return context.objectNode ? context.objectNode->getIWorldTransform(at) : UT_DMatrix4(1.0);
}
