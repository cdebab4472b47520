#include "host/expr/EV_ColumnList.h"
#include "host/expr/EV_Code.h"
#include <algorithm>

namespace {

// Bounds the memory for the columns of an operator: 2 KiB each.
constexpr size_t MAX_SIZE = 1000;

bool readsVariablesOnly(const EV_Code& code) {
    return std::all_of(code.sites.begin(), code.sites.end(),
                       [](const EV_Site& site) { return site.kind == EV_Site::Local || site.kind == EV_Site::Global; });
}

} // namespace

bool EV_ColumnList::addVariables(const EV_Code& code, EV_Scope& scope, double t, const Locals& locals) {
    const size_t first = myKey.variables.size();
    for (size_t i = 0; i < code.sites.size(); ++i) {
        const EV_Site& site = code.sites[i];
        const auto known = std::find_if(code.sites.begin(), code.sites.begin() + std::ptrdiff_t(i),
                                        [&](const EV_Site& s) { return s.kind == site.kind && s.id == site.id; });
        if (const size_t k = size_t(known - code.sites.begin()); k < i) {
            myKey.variables.push_back(Variable(myKey.variables[first + k]));
            continue;
        }
        double number = 0;
        Local meaning = Local::Number;
        if (site.kind == EV_Site::Global)
            number = scope.globalValue(site.id, t);
        else
            meaning = locals(site.id, number);
        if (meaning == Local::Refused) return false;
        const bool isInput = meaning == Local::Input;
        myKey.variables.push_back({isInput ? site.id : -1, isInput ? 0 : std::bit_cast<uint64_t>(number)});
    }
    return true;
}

int EV_ColumnList::add(EV_EXPRESSION& expression, EV_Scope& scope, double t, const Locals& locals) {
    if (!expression.bind(scope)) return -1;
    const EV_Code& code = expression.code();
    if (code.resultType != EV_FLOAT || code.analysis.canFail || !readsVariablesOnly(code)) return -1;
    const size_t size = code.program.code.size() + code.program.constants.size();
    if (mySize + size > MAX_SIZE) return -1;
    const size_t numVariables = myKey.variables.size();
    if (!addVariables(code, scope, t, locals)) {
        myKey.variables.resize(numVariables);
        return -1;
    }
    mySize += size;
    myKey.codes.push_back(code.serial);
    myCodes.push_back(&code);
    return int(myCodes.size()) - 1;
}
