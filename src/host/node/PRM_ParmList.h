#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/node/PRM_Parm.h"

/// A node's parameters: the rows of its class by index, then spare ones of its own.
class PRM_ParmList {
public:
    PRM_ParmList() = default;
    explicit PRM_ParmList(const PRM_TemplateTable* table);

    int entries() const { return int(myParms.size()); }
    PRM_Parm& parm(int index) { return *myParms[size_t(index)]; }
    const PRM_Parm& parm(int index) const { return *myParms[size_t(index)]; }

    /// The parameter of a token: a row's, a spare one's, or a multi-instance's ("enable2"). Null when there is none.
    PRM_Parm* find(const std::string& token);
    const PRM_Parm* find(const std::string& token) const { return const_cast<PRM_ParmList*>(this)->find(token); }

    /// Adds a parameter to this node alone; returns its index, or -1 when the token is taken.
    int addSpare(const PRM_Template& row);
    int firstSpare() const { return myTableRows; }

    /// Every token that `find` answers, for "did you mean".
    std::vector<std::string> tokens() const;

private:
    int myTableRows = 0;
    std::vector<std::unique_ptr<PRM_Parm>> myParms;
    std::vector<std::unique_ptr<PRM_Template>> mySpareRows;
};
