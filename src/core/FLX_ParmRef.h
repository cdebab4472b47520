#pragma once

#include "host/node/PRM_Handle.h"

/// Names one component of one parameter of a node: what a dependency test evaluates.
struct FLX_ParmRef {
    enum Kind { Float, Int, String };

    int parm;
    int component;
    Kind kind;

    FLX_ParmRef(const PRM_Float& p)
        : parm(p.index())
        , component(0)
        , kind(Float) {}
    FLX_ParmRef(const PRM_FloatComponent& p)
        : parm(p.parm)
        , component(p.component)
        , kind(Float) {}
    FLX_ParmRef(const PRM_Int& p)
        : parm(p.index())
        , component(0)
        , kind(Int) {}
    FLX_ParmRef(const PRM_Text& p)
        : parm(p.index())
        , component(0)
        , kind(String) {}
};
