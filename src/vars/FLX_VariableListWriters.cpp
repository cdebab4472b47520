#include <functional>
#include <ostream>

#include "core/FLX_Node.h"
#include "vars/FLX_VariableList.h"

namespace {

constexpr std::string_view LOCAL = "lvar.";
constexpr int NAMES_PER_LINE = 7;

bool isLocal(const FLX_AccessEntry& entry) { return std::string_view(entry.name).starts_with(LOCAL); }

/// Declarations of names with types: neighbours of one type share a line.
class Declarations {
public:
    /// `lead` stands before every name ("*").
    Declarations(std::ostream& os, const char* lead)
        : myOs(os)
        , myLead(lead) {}
    ~Declarations() { end(); }
    Declarations(const Declarations&) = delete;
    Declarations& operator=(const Declarations&) = delete;

    void add(const std::string& type, std::string_view name) {
        if (myCount == NAMES_PER_LINE || (myCount > 0 && type != myType)) end();
        if (myCount == 0) {
            OP_Node::writeIndent(myOs, 1);
            myOs << type << ' ';
        } else {
            myOs << ", ";
        }
        myOs << myLead << name;
        myType = type;
        ++myCount;
    }

private:
    void end() {
        if (myCount > 0) myOs << ";\n";
        myCount = 0;
    }
    std::ostream& myOs;
    const char* myLead;
    std::string myType;
    int myCount = 0;
};

} // namespace

void FLX_VariableList::writeLocalVarClass(const char* name, std::ostream& os) const {
    os << "// This class holds the local access variables required\n"
          "// by this flx network.\n"
       << "class " << name << "_LVAR : public CH_LocalVar\n{\npublic:\n";
    OP_Node::writeIndent(os, 1);
    os << "int ptidx;\n";
    {
        Declarations members(os, "*");
        for (const auto& entry : myAccesses)
            if (entry->usedAtAll.isSet() && isLocal(*entry))
                members.add(entry->type.str(), std::string_view(entry->name).substr(LOCAL.size()));
    }
    os << "};\n\n";
}

void FLX_VariableList::writeDeclarations(const char* detail, std::ostream& os) const {
    {
        Declarations pointers(os, "*");
        for (const auto& entry : myAccesses)
            if (entry->usedAtAll.isSet() && !isLocal(*entry)) pointers.add(entry->type.str(), entry->name);
    }
    writeVariableDeclarations(os);
    for (const auto& entry : myAttributes) {
        if (!entry->used.isSet() || entry->method.isstring()) continue;
        OP_Node::writeIndent(os, 1);
        os << "int " << entry->name.str() << "_idx = " << detail << "->findAttrib(\"" << entry->name.str() << "\");\n";
    }
}

void FLX_VariableList::writeVariableDeclarations(std::ostream& os) const {
    Declarations variables(os, "");
    for (const auto& entry : myVariables)
        if (entry->used.isSet()) variables.add(entry->type.str(), entry->name);
}

void FLX_VariableList::writeAttributeInit(const char* detail, std::ostream& os) const {
    for (const auto& entry : myAttributes) {
        if (!entry->used.isSet()) continue;
        OP_Node::writeIndent(os, 1);
        os << detail << "->";
        if (entry->method.isstring())
            os << entry->method.str() << "();\n";
        else
            os << "addAttrib(\"" << entry->name.str() << "\", " << entry->size << ");\n";
    }
}
