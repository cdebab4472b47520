#include "host/node/PRM_ParmList.h"

#include <charconv>
#include <string_view>

namespace {

// The number that stands for the '#' of `pattern` in `token`, or 0 when the token is none of the pattern's.
int instanceNumber(std::string_view pattern, std::string_view token) {
    const size_t mark = pattern.find('#');
    if (mark == std::string_view::npos || token.size() < pattern.size()) return 0;
    const std::string_view before = pattern.substr(0, mark), after = pattern.substr(mark + 1);
    if (!token.starts_with(before) || !token.ends_with(after)) return 0;
    const std::string_view digits = token.substr(mark, token.size() - before.size() - after.size());
    if (digits[0] < '1' || digits[0] > '9') return 0;
    int number = 0;
    const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return end.ec == std::errc() && end.ptr == digits.data() + digits.size() ? number : 0;
}

PRM_Parm* findInstance(PRM_Parm& multi, const std::string& token) {
    const std::vector<PRM_Template>& rows = multi.row().instance;
    for (size_t j = 0; j < rows.size(); ++j) {
        const int number = instanceNumber(rows[j].token, token);
        if (number > 0 && number <= int(multi.instances().size())) return &multi.instances()[size_t(number) - 1][j];
    }
    return nullptr;
}

} // namespace

PRM_ParmList::PRM_ParmList(const PRM_TemplateTable* table) {
    if (!table) return;
    myTableRows = int(table->rows.size());
    myParms.reserve(table->rows.size());
    for (const PRM_Template& row : table->rows) myParms.push_back(std::make_unique<PRM_Parm>(row));
}

PRM_Parm* PRM_ParmList::find(const std::string& token) {
    for (const auto& parm : myParms)
        if (parm->row().token == token) return parm.get();
    for (const auto& parm : myParms) {
        if (parm->row().type != PRM_Type::Multi) continue;
        if (PRM_Parm* found = findInstance(*parm, token)) return found;
    }
    return nullptr;
}

int PRM_ParmList::addSpare(const PRM_Template& row) {
    if (find(row.token)) return -1;
    auto& own = mySpareRows.emplace_back(std::make_unique<PRM_Template>(row));
    for (PRM_Default& def : own->defaults)
        if (def.text) def.text = PRMpermanentText(def.text);
    myParms.push_back(std::make_unique<PRM_Parm>(*own));
    return entries() - 1;
}

std::vector<std::string> PRM_ParmList::tokens() const {
    std::vector<std::string> out;
    for (const auto& parm : myParms) out.push_back(parm->row().token);
    for (const auto& parm : myParms)
        for (const std::vector<PRM_Parm>& instance : parm->instances())
            for (const PRM_Parm& entry : instance) out.push_back(entry.row().token);
    return out;
}
