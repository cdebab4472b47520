#pragma once

class OP_Network;
class OP_Node;
class OP_Operator;
class OP_OperatorTable;

/// Makers of the geometry nodes; each node's parameters stand in the file that defines its maker.
// clang-format off
#define SCENE_SOPS(X)                                                                          \
    X(Box) X(Sphere) X(Grid) X(Circle) X(Line) X(Tube) X(Torus) X(Points) X(Metaball) X(File)  \
    X(Merge) X(Xform) X(AttribCreate) X(Measure) X(Group) X(Deform) X(Particles)
// clang-format on

#define SCENE_SOP_MAKER(NAME) OP_Node* makeSop##NAME(OP_Network* parent, const char* name, OP_Operator* op);
SCENE_SOPS(SCENE_SOP_MAKER)
#undef SCENE_SOP_MAKER

/// Adds every geometry node type to the table.
void registerSops(OP_OperatorTable& table);
