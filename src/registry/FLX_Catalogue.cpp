#include "registry/FLX_Catalogue.h"

#include "host/ut/UT_EnvControl.h"
#include "ops/birth/FLX_Location.h"
#include "ops/birth/FLX_Source.h"
#include "ops/motion/FLX_Acceleration.h"
#include "ops/motion/FLX_AngVelocity.h"
#include "ops/motion/FLX_Force.h"
#include "ops/motion/FLX_Lookat.h"
#include "ops/motion/FLX_Position.h"
#include "ops/motion/FLX_Rotation.h"
#include "ops/motion/FLX_SpeedLimit.h"
#include "ops/motion/FLX_Translation.h"
#include "ops/motion/FLX_Turn.h"
#include "ops/motion/FLX_UpVector.h"
#include "ops/motion/FLX_Velocity.h"
#include "ops/stream/FLX_Collect.h"
#include "ops/stream/FLX_Null.h"
#include "ops/stream/FLX_SubNet.h"
#include "ops/stream/FLX_Switch.h"

namespace {

constexpr unsigned GENERATOR = 2;
constexpr unsigned PLUMBING = 4;
constexpr unsigned SUBNET = 0x22;
constexpr int ANY = 9999;

template <class T> OP_Node* construct(OP_Network* parent, const char* name, OP_Operator* op) {
    return new T(parent, name, op);
}

template <class T> const PRM_TemplateTable* obsoleteOf() {
    if constexpr (requires { T::obsoleteTemplates(); })
        return &T::obsoleteTemplates();
    else
        return nullptr;
}

template <class T> const OP_VariablePair* variablesOf() {
    if constexpr (requires { T::myVariablePair; })
        return &T::myVariablePair;
    else
        return nullptr;
}

template <class T>
FLX_CatalogueRow row(const char* name, const char* label, const char* className, int minInputs, int maxInputs,
                     unsigned flags = 0) {
    return {name, label, className, &construct<T>, minInputs, maxInputs, variablesOf<T>(), flags, &obsoleteOf<T>};
}

} // namespace

#define FLX_ROW(name, label, T, ...) row<T>(name, label, #T, __VA_ARGS__)

std::vector<FLX_CatalogueRow> FLXcatalogue() {
    // The numbered control lets a host that cannot place plumbing nodes freely treat the switch as an ordinary one.
    const unsigned switchFlags = UT_EnvControl::getInt(113) ? 0 : PLUMBING;
    // clang-format off
    return {
        FLX_ROW("acceleration", "Acceleration",     FLX_Acceleration, 1, 1),
        FLX_ROW("angvelocity",  "Angular Velocity", FLX_AngVelocity,  1, 1),
        FLX_ROW("collect",      "Collect",          FLX_Collect,      1, ANY, PLUMBING),
        FLX_ROW("force",        "Force",            FLX_Force,        1, 1),
        FLX_ROW("location",     "Location",         FLX_Location,     0, 0,   GENERATOR),
        FLX_ROW("lookat",       "Lookat",           FLX_Lookat,       1, 1),
        FLX_ROW("null",         "Null",             FLX_Null,         0, 1),
        FLX_ROW("position",     "Position",         FLX_Position,     1, 1),
        FLX_ROW("rotation",     "Rotation",         FLX_Rotation,     1, 1),
        FLX_ROW("source",       "Source",           FLX_Source,       0, 1,   GENERATOR),
        FLX_ROW("speedlimit",   "Speed Limit",      FLX_SpeedLimit,   1, 1),
        FLX_ROW("subnet",       "SubNetwork",       FLX_SubNet,       0, 4,   SUBNET),
        FLX_ROW("switch",       "Switch",           FLX_Switch,       1, ANY, switchFlags),
        FLX_ROW("translation",  "Translation",      FLX_Translation,  1, 1),
        FLX_ROW("turn",         "Turn",             FLX_Turn,         1, 1),
        FLX_ROW("upvector",     "Up Vector",        FLX_UpVector,     1, 1),
        FLX_ROW("velocity",     "Velocity",         FLX_Velocity,     1, 1),
    };
    // clang-format on
}
