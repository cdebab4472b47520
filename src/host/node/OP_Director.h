#pragma once

#include <map>
#include <memory>
#include <string>

#include "host/node/OP_Network.h"
#include "host/node/OP_OperatorTable.h"

/// The root of all nodes ("/"), with the managers "obj" and "shop", the operator tables, the clock and the scene's
/// variables. A director is created on demand and can be replaced by a fresh one between scenes (one at a time per
/// process).
class OP_Director final : public OP_Network {
public:
    OP_Director();
    ~OP_Director() override;

    double fps = 24;
    int startFrame = 1;
    int endFrame = 240;
    /// The scene's global variables, by name without '$'.
    std::map<std::string, double, std::less<>> variables;
    /// To be called after changing them.
    void variablesChanged();
    unsigned variableSerial() const { return myVariableSerial; }

    OP_Network* objManager() const { return myObj; }
    OP_Network* shopManager() const { return myShop; }

    const char* getOpType() const override { return "ROOT"; }
    OP_OpTypeId getOpTypeID() const override { return OP_ROOT_TYPE; }
    const char* getChildType() const override { return "MANAGER"; }
    OP_OpTypeId getChildTypeID() const override { return OP_ROOT_TYPE; }

    /// Operator types by family ("OBJ", "SOP", "FLX", "SHOP"); made on demand, kept for the process.
    static OP_OperatorTable& operatorTable(const char* family);

protected:
    UT_ErrorSeverity cookMe(OP_Context&) override { return UT_ERROR_NONE; }
    UT_ErrorSeverity bypassMe(OP_Context&, int&) override { return UT_ERROR_NONE; }

private:
    OP_Network* myObj = nullptr;
    OP_Network* myShop = nullptr;
    unsigned myVariableSerial = 0;
};

/// The current director, created when there is none. Its first call adds the expression functions of nodes.
OP_Director* OPgetDirector();
/// Destroys the current director and all its nodes; the next OPgetDirector() starts afresh.
void OPresetDirector();
