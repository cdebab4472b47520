// The table file that comes with the library, and the manual page of expressions: they tell of all that the library's
// own tables hold, and the page's examples give what it says.
#include <fstream>
#include <sstream>

#include <fmt/format.h>

#include "core/FLX_Attributes.h"
#include "host/expr/EV_Error.h"
#include "host/expr/EV_Expression.h"
#include "host/expr/EV_Function.h"
#include "host/node/OP_NodeScope.h"
#include "support/Network.h"
#include "vars/FLX_GeneratorVariables.h"
#include "vars/FLX_ParticleVariables.h"
#include "vars/FLX_VariableList.h"

namespace {

/// The lines of the manual page.
std::vector<std::string> pageLines() {
    std::ifstream page(FLX_SOURCE_DIR "/docs/expressions.md");
    std::vector<std::string> lines;
    for (std::string line; std::getline(page, line);) lines.push_back(line);
    return lines;
}

/// The rows of the table below a title, between "| " and " |" of the first column.
std::vector<std::string> rowsBelow(const std::string& title) {
    std::vector<std::string> rows;
    bool inside = false;
    for (const std::string& line : pageLines()) {
        if (line.starts_with("#")) inside = line == title;
        if (inside && line.starts_with("| `")) rows.push_back(line.substr(3, line.find('`', 3) - 3));
    }
    return rows;
}

template <class Rows> std::vector<std::string> namesOf(const Rows& rows) {
    std::vector<std::string> names;
    for (const auto& row : rows) names.push_back(std::string("$") + row.name);
    return names;
}

/// A function of numbers alone, which code can be written for.
bool takesNumbers(const EV_FUNCTION& f) {
    bool numbers = f.resultType == EV_FLOAT && f.flags & EV_PURE && !(f.flags & EV_VARIADIC);
    for (int i = 0; i < f.numArgs; ++i) numbers = numbers && f.argTypes[i] == EV_FLOAT;
    return numbers;
}

} // namespace

// What the expressions of its variables read is tested with the particle variables.
TEST(VariableTable, IsFoundAndNamesEverything) {
    FLX_VariableList list;
    EXPECT_EQ(list.numattribs(), FLX_NUM_ATTRIBS);
    for (const FLX_AttribRow& row : FLX_AttribRows) {
        SCOPED_TRACE(row.name);
        const FLX_AttributeEntry* attribute = list.findAttribute(row.name);
        const FLX_AccessEntry* access = list.findAccess(("lvar." + std::string(row.name)).c_str());
        ASSERT_TRUE(attribute && access);
        EXPECT_EQ(attribute->method, fmt::format("add{}Attrib", row.stem));
        EXPECT_EQ(attribute->size, row.size / 4);
        EXPECT_EQ(access->type, GBisFloatType(row.type) ? "float" : "int");
        EXPECT_EQ(access->thirdField, fmt::format("get{}Offset", row.stem));
        EXPECT_EQ(access->count, row.size / 4);
    }
    for (const FLX_ParticleVariable& v : FLX_ParticleVariables::rows) {
        const FLX_VariableEntry* entry = list.findVariable(v.name);
        EXPECT_TRUE(entry || list.findGlobal(v.name)) << v.name;
        EXPECT_TRUE(!entry || list.findAccess(entry->access.c_str())) << v.name;
    }
    for (const EV_FUNCTION* f : EV_listFunctions()) {
        if (!takesNumbers(*f)) continue;
        const FLX_FuncEntry* translated = list.findFuncXlate(f->name);
        ASSERT_NE(translated, nullptr) << f->name;
        EXPECT_EQ(translated->translation, std::string("flx_") + f->name);
    }
}

TEST(ExpressionPage, ListsWhatThereIs) {
    Network net;
    EXPECT_EQ(rowsBelow("### On particle operators"), namesOf(FLX_ParticleVariables::rows));
    EXPECT_EQ(rowsBelow("### On birth operators, about the place of birth"), namesOf(FLX_GeneratorVariables::rows));
    const std::vector<std::string> globals = rowsBelow("### Everywhere"), lines = pageLines();
    EXPECT_EQ(globals.size(), 10u);
    for (const std::string& name : globals) EXPECT_TRUE(EV_EXPRESSION(name).bind(net.object().scope())) << name;
    for (const EV_FUNCTION* f : EV_listFunctions()) {
        const std::string row = fmt::format("| `{}({})` | {} |", f->name, f->usage, f->help);
        EXPECT_TRUE(row.starts_with("| `test") || std::count(lines.begin(), lines.end(), row) == 1) << row;
    }
}

TEST(ExpressionPage, ExamplesGiveWhatTheySay) {
    Network net;
    int count = 0;
    bool inside = false;
    for (const std::string& line : pageLines()) {
        if (line.starts_with("```")) inside = line == "```expression";
        const size_t sign = line.rfind(" = ");
        if (!inside || sign == line.npos) continue;
        ++count;
        EV_EXPRESSION expression(line.substr(0, sign));
        EV_clearError(0);
        EXPECT_EQ(ev_EvaluateString(expression, net.object().scope(), 0, 0), line.substr(sign + 3)) << line;
        EXPECT_EQ(EV_errText(0), "") << line;
    }
    EXPECT_GE(count, 10);
}
