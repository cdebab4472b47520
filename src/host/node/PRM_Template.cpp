#include "host/node/PRM_Template.h"

#include <set>

#include "host/ut/UT_Lock.h"

int PRM_TemplateTable::find(const std::string& token) const {
    for (size_t i = 0; i < rows.size(); ++i)
        if (rows[i].token == token) return int(i);
    return -1;
}

const char* PRMpermanentText(std::string_view text) {
    static UT_Lock theLock;
    static std::set<std::string, std::less<>> theTexts;
    UT_AutoLock lock(theLock);
    auto found = theTexts.find(text);
    if (found == theTexts.end()) found = theTexts.emplace(text).first;
    return found->c_str();
}

PRM_TemplateTable PRMstringTable(std::initializer_list<PRM_Name> names) {
    PRM_TemplateTable table;
    for (const PRM_Name& name : names) {
        PRM_Template& row = table.rows.emplace_back();
        row.type = PRM_Type::String;
        row.token = name.token;
        row.label = name.label;
        row.defaults.assign(1, PRM_Default(""));
        row.animated = false;
    }
    return table;
}
