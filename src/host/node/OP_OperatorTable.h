#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/node/OP_Operator.h"

class OP_OTLDefinition;
class OP_ScriptOperator;

using OP_ScriptCreator = OP_ScriptOperator* (*)(const OP_OTLDefinition& definition);

/// Where scripts of one kind are indexed; kept for interfaces that list them.
struct OP_ScriptIndexFile {
    std::string kind;
    std::string file;
    std::string className;
    const char* path;
    int minInputs;
    int maxInputs;
    bool isNetwork;
    bool isHidden;
};

/// The operator types of one family, in registration order.
class OP_OperatorTable {
public:
    explicit OP_OperatorTable(const char* family)
        : myFamily(family) {}

    const std::string& family() const { return myFamily; }
    /// False (and nothing added) when the name is taken.
    bool addOperator(std::unique_ptr<OP_Operator> op);
    OP_Operator* getOperator(const std::string& name) const;
    int entries() const { return int(myOperators.size()); }
    OP_Operator& entry(int i) const { return *myOperators[size_t(i)]; }
    std::vector<std::string> names() const;

    void setDefaultType(const char* name) { myDefault = name; }
    const std::string& defaultType() const { return myDefault; }

    void setScriptCreator(OP_ScriptCreator creator) { myScriptCreator = creator; }
    /// Adds the type that a definition describes; null with a message when the definition is unsound or the name is
    /// taken.
    OP_Operator* addDefinition(const OP_OTLDefinition& definition, std::string& error);
    void addScriptIndexFile(const char* kind, const char* file, const char* className, const char* path, int minInputs,
                            int maxInputs, bool isNetwork, bool isHidden);
    const std::vector<OP_ScriptIndexFile>& scriptIndexFiles() const { return myScriptFiles; }

private:
    std::string myFamily;
    std::string myDefault;
    std::vector<std::unique_ptr<OP_Operator>> myOperators;
    OP_ScriptCreator myScriptCreator = nullptr;
    std::vector<OP_ScriptIndexFile> myScriptFiles;
};
