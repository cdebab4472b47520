#pragma once

#include <vector>

#include "host/node/OP_Operator.h"

/// One operator type of the library.
struct FLX_CatalogueRow {
    const char* name;
    const char* label;
    const char* className;
    OP_Constructor constructor;
    int minInputs;
    int maxInputs;
    const OP_VariablePair* variables;
    unsigned flags; ///< 2: owns a particle primitive; 4 and 0x22 mark networks' plumbing for the host
    const PRM_TemplateTable* (*obsolete)();
};

/// Every operator type, in the order of registration. An explicit table: nothing registers itself.
std::vector<FLX_CatalogueRow> FLXcatalogue();
