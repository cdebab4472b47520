#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/geo/GB_AttributeDict.h"
#include "host/geo/GEO_Point.h"
#include "host/node/CH_LocalVariable.h"

/// Point attributes that expressions read under names of their own. Ids count from 600 in one table that all contexts
/// share, so a name means the same id everywhere.
class FLX_UserVariables {
public:
    static constexpr int FIRST_ID = 600;

    FLX_UserVariables() = default;
    FLX_UserVariables(const FLX_UserVariables& src) { *this = src; }
    FLX_UserVariables& operator=(const FLX_UserVariables& src);

    /// See FLX_ContextData::addUserVariable; appends the attribute to `attribs`.
    int add(GB_AttributeDict& attribs, const char* name, int size, GB_AttribType type, const void* def,
            const char* varname);
    /// Looks every record's offset up again.
    void recache(const GB_AttributeDict& attribs);
    void clear();

    /// The names and ids, ended by a null name; null while there are none. Adding variables replaces it; the tables
    /// before it hold what they held, until `clear`.
    CH_LocalVariable* table() const {
        return myTables.empty() ? nullptr : const_cast<CH_LocalVariable*>(myTables.back().data());
    }
    /// Where in the attribute data the value stands, an int or a float. False when no record has the id.
    bool place(int id, int& offset, bool& isInt) const;
    bool value(const GEO_Point* point, int id, float& out) const;

private:
    struct Record {
        std::string attrib;
        int size = 0;
        GB_AttribType type = GB_ATTRIB_FLOAT;
        int offset = -1;
    };
    struct Component {
        const Record* record;
        int index;
    };

    struct Name {
        std::string text;
        int component;
    };

    static std::vector<Name> namesOf(const std::string& variable, int size, GB_AttribType type);
    void registerNames(const std::vector<Name>& names, const Record& record);
    static int idOf(const std::string& name);

    std::map<std::string, std::unique_ptr<Record>> myRecords; // by upper-case variable name
    std::vector<Component> myComponents;                      // by id - FIRST_ID; null record: not ours
    std::vector<std::unique_ptr<std::string>> myNames;
    std::vector<std::vector<CH_LocalVariable>> myTables; // the last one counts; a node may still hold an older one
};
