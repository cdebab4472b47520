#pragma once

#include "host/node/CH_LocalVariable.h"

/// A node's channel collection: what its expressions see beyond the operator type's own variables.
class CH_Collection {
public:
    /// Installs a table that lives until it is cleared or replaced (null clears). Names it holds resolve for this node
    /// only.
    void setExtraVariables(const CH_LocalVariable* table) {
        if (table != myExtra) ++mySerial;
        myExtra = table;
    }
    const CH_LocalVariable* extraVariables() const { return myExtra; }

    /// Raised when the table's contents changed under the same pointer.
    void variablesChanged() { ++mySerial; }
    unsigned variableSerial() const { return mySerial; }

private:
    const CH_LocalVariable* myExtra = nullptr;
    unsigned mySerial = 0;
};
