#include "scene/sops/SopNodes.h"

#include "host/node/OP_OperatorTable.h"
#include "scene/sops/SopVariables.h"

namespace {

struct SopRow {
    const char* name;
    const char* label;
    OP_Constructor make;
    int minInputs;
    int maxInputs;
    const OP_VariablePair* variables = nullptr;
};

// clang-format off
constexpr SopRow sopRows[] = {
    {"box",          "Box",              makeSopBox,          0, 0},
    {"sphere",       "Sphere",           makeSopSphere,       0, 0},
    {"grid",         "Grid",             makeSopGrid,         0, 0},
    {"circle",       "Circle",           makeSopCircle,       0, 0},
    {"line",         "Line",             makeSopLine,         0, 0},
    {"tube",         "Tube",             makeSopTube,         0, 0},
    {"torus",        "Torus",            makeSopTorus,        0, 0},
    {"points",       "Points",           makeSopPoints,       0, 0},
    {"metaball",     "Metaball",         makeSopMetaball,     0, 0},
    {"file",         "File",             makeSopFile,         0, 0},
    {"merge",        "Merge",            makeSopMerge,        1, 9999},
    {"xform",        "Transform",        makeSopXform,        1, 1},
    {"attribcreate", "Attribute Create", makeSopAttribCreate, 1, 1, &SopVariables::pair},
    {"measure",      "Measure",          makeSopMeasure,      1, 1},
    {"group",        "Group",            makeSopGroup,        1, 1, &SopVariables::pair},
    {"deform",       "Deform",           makeSopDeform,       1, 1, &SopVariables::pair},
    {"particles",    "Particles",        makeSopParticles,    0, 0},
};
// clang-format on

} // namespace

void registerSops(OP_OperatorTable& table) {
    for (const SopRow& row : sopRows)
        table.addOperator(
            std::make_unique<OP_Operator>(row.name, row.label, row.make, row.minInputs, row.maxInputs, row.variables));
}
