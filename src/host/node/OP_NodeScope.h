#pragma once

#include "host/expr/EV_Scope.h"

class OP_Director;
class OP_Parameters;

/// What expressions on a node see: the operator type's variables, those of the node's channel collection, the scene's,
/// and the globals F FF T FPS TSTART TEND FSTART FEND PI E. F and FF count frames from 1 at time 0; F is the nearest
/// whole number.
class OP_NodeScope final : public EV_Scope {
public:
    explicit OP_NodeScope(OP_Parameters& owner)
        : myOwner(owner) {}

    bool findVariable(std::string_view name, EV_Variable& out) const override;
    unsigned variableSerial() const override;
    float localValue(int id, int thread) override;
    double globalValue(int id, double t) override;
    void variableNames(std::vector<std::string>& out) const override;
    OP_Parameters* node() override { return &myOwner; }

private:
    OP_Parameters& myOwner;
    // What the serial was given out for; any difference raises it.
    mutable unsigned mySerial = 1;
    mutable unsigned myCollectionSerial = 0;
    mutable unsigned mySceneSerial = 0;
};
