// The table file that comes with the library, and the manual page of expressions: their lists say what the library's
// own tables say, the page's examples give what it says.
#include <fstream>
#include <map>
#include <set>
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

const char* typeOf(GB_AttribType type) { return GBisFloatType(type) ? "float" : "int"; }

const char* const AXES = "xyzw";

std::string componentOf(const char* attribute, int size, int component) {
    return size > 4 ? fmt::format("attribute `{}`, {}", attribute, AXES[component])
                    : fmt::format("attribute `{}`", attribute);
}

/// What the table file and the manual say of a variable.
struct Words {
    std::string access, expression, meaning;
};

// clang-format off
/// Formats, of the component and its axis. Without an access: a default global.
const std::map<FLX_VarRead, Words> theParticleWords = {
    {FLX_VarRead::LifeRatio, {"lvar.life", "flx_liferatio(lvar.life)", "age divided by life span, at most 1"}},
    {FLX_VarRead::Accel, {"lvar.accel", "lvar.accel[{0}]", "acceleration, {1}"}},
    {FLX_VarRead::Velocity, {"lvar.v", "lvar.v[{0}]", "velocity, {1}"}},
    {FLX_VarRead::StateBit, {"lvar.pstate", "(*lvar.pstate & {0}) != 0", "1 or 0: state bit {0:#x}"}},
    {FLX_VarRead::Position, {"lvar.P", "lvar.P[{0}]", "position, {1}"}},
    {FLX_VarRead::BoundingBox, {"lvar.bbox", "lvar.bbox[{0}]", "place in the box of all particles, 0 to 1, {1}"}},
    {FLX_VarRead::Iteration, {"lvar.iter", "*lvar.iter", "how many particles the operator has looked at before"}},
    {FLX_VarRead::PointNumber, {"", "", "point number"}},
    {FLX_VarRead::PointCount, {"lvar.npt", "*lvar.npt", "number of points"}},
    {FLX_VarRead::GroupCount, {"lvar.ngrp", "*lvar.ngrp", "number of points in the source group, 0 without one"}},
    {FLX_VarRead::TimeIncrement, {"", "", "time step in seconds"}},
    {FLX_VarRead::RotationAngle, {"lvar.rot", "flx_rotangle(lvar.rot)", "angle of `rot` in degrees"}},
    {FLX_VarRead::RotationAxis, {"lvar.rot", "flx_rotaxis(lvar.rot, {0})", "axis of `rot`, {1}"}},
    {FLX_VarRead::Speed, {"lvar.v", "flx_speed(lvar.speed, lvar.v)", "attribute `speed`, else the length of the velocity"}},
    {FLX_VarRead::AngularSpeed, {"lvar.w", "flx_degrees(flx_length(lvar.w))", "angular speed in degrees per second"}}};

const std::map<FLX_GenRead, std::string> theGeneratorMeanings = {
    {FLX_GenRead::Normal, "normal, {1}"}, {FLX_GenRead::Speed, "length of the source's velocity"},
    {FLX_GenRead::Position, "place of birth, {1}"}, {FLX_GenRead::Iteration, "how many samples were looked at before"},
    {FLX_GenRead::BoundingBox, "place in the box of the source, 0 to 1, {1}"},
    {FLX_GenRead::SourceNumber, "number of the source point or primitive"},
    {FLX_GenRead::U, "u on the source primitive"}, {FLX_GenRead::V, "v on the source primitive"},
    {FLX_GenRead::ParticleCount, "number of particles"}, {FLX_GenRead::PointCount, "number of points of the source"},
    {FLX_GenRead::PrimitiveCount, "number of primitives of the source"},
    {FLX_GenRead::GroupCount, "number of members of the source group"},
    {FLX_GenRead::TimeIncrement, "time step in seconds"}};
// clang-format on

std::string filled(const std::string& format, int component) {
    return fmt::format(fmt::runtime(format), component, AXES[component & 3]);
}

Words wordsOf(const FLX_ParticleVariable& v) {
    if (v.read == FLX_VarRead::Life)
        return {"lvar.life", filled("lvar.life[{0}]", v.component),
                v.component == 0 ? "age in seconds" : "life span in seconds, below 0: for ever"};
    if (v.read == FLX_VarRead::Attribute) {
        const FLX_AttribRow& row = FLXattribRow(v.attrib);
        const std::string pointer = std::string("lvar.") + row.name;
        return {pointer, filled(pointer + "[{0}]", v.component), componentOf(row.name, row.size, v.component)};
    }
    const Words& words = theParticleWords.at(v.read);
    return {words.access, filled(words.expression, v.component), filled(words.meaning, v.component)};
}

std::string meaningOf(const FLX_ParticleVariable& v) { return wordsOf(v).meaning; }

std::string meaningOf(const FLX_GeneratorVariable& v) {
    if (v.read != FLX_GenRead::Attribute) return filled(theGeneratorMeanings.at(v.read), v.component);
    const FLX_SourceAttribRow& row = FLX_SourceAttribRows[size_t(v.attrib)];
    return componentOf(row.name, row.size, v.component);
}

// ---- the table file

void writeAttributes(std::ostream& out) {
    for (const FLX_AttribRow& row : FLX_AttribRows)
        out << fmt::format("attribute {} add{}Attrib {}\n", row.name, row.stem, row.size / 4);
}

void writeAccess(std::ostream& out) {
    out << "access lvar.P float P getPos 4\n"
           "access lvar.v float v getVelocityOffset 3\n"
           "access lvar.accel float accel getAccelOffset 3\n"
           "access lvar.life float life getLifeOffset 2\n"
           "access lvar.pstate int pstate getStateOffset 1\n"
           "access lvar.bbox float P getBBox 3\n"
           "access lvar.iter int list iteration 1\n"
           "access lvar.npt int points entries 1\n"
           "access lvar.ngrp int group entries 1\n";
    for (const FLX_AttribRow& row : FLX_AttribRows)
        out << fmt::format("access lvar.{} {} {} get{}Offset {}\n", row.name, typeOf(row.type), row.name, row.stem,
                           row.size / 4);
}

void writeVariables(std::ostream& out) {
    for (const FLX_ParticleVariable& v : FLX_ParticleVariables::rows)
        if (const Words words = wordsOf(v); !words.access.empty())
            out << fmt::format("variable {} {} {}\n", v.name, words.access, words.expression);
}

// Functions of numbers alone; the shortest form of each.
void writeFunctions(std::ostream& out) {
    std::set<std::string> seen;
    for (const EV_FUNCTION* function : EV_listFunctions()) {
        bool numbers =
            function->resultType == EV_FLOAT && function->flags & EV_PURE && !(function->flags & EV_VARIADIC);
        for (int i = 0; i < function->numArgs; ++i) numbers = numbers && function->argTypes[i] == EV_FLOAT;
        if (!numbers || !seen.insert(function->name).second) continue;
        std::string words = function->usage;
        std::erase(words, ',');
        out << fmt::format("func {0} flx_{0} {1}\n", function->name, words);
    }
}

std::string tableText() {
    std::ostringstream out;
    out << "# Names for source code written for particle networks; FLX_VariableList reads them.\n"
           "# attribute NAME METHOD [SIZE]\n";
    writeAttributes(out);
    out << "# access NAME TYPE ATTRIBUTE SOURCE [COUNT]\n";
    writeAccess(out);
    out << "# variable NAME ACCESS [EXPRESSION ...]; what an expression reads besides ACCESS counts where it exists "
           "(useSoftAccess)\n";
    writeVariables(out);
    out << "# func NAME TRANSLATION [ARGUMENT ...]\n";
    writeFunctions(out);
    return out.str();
}

// ---- the page

const char* const PAGE = FLX_SOURCE_DIR "/docs/expressions.md";

std::string readFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

template <class Rows> void writeRows(std::ostream& out, const char* title, const Rows& rows) {
    out << fmt::format("### {}\n\n| name | value |\n|---|---|\n", title);
    for (const auto& row : rows) out << fmt::format("| `${}` | {} |\n", row.name, meaningOf(row));
    out << '\n';
}

// clang-format off
const std::map<std::string, const char*> theGlobals = {
    {"F", "frame, rounded"}, {"FF", "frame: time times frames per second, plus 1"}, {"T", "time in seconds"},
    {"FPS", "frames per second"}, {"TSTART", "time of the first frame"}, {"TEND", "time of the last frame"},
    {"FSTART", "first frame"}, {"FEND", "last frame"}, {"PI", "3.14159..."}, {"E", "2.71828..."}};
// clang-format on

std::string names() {
    std::ostringstream out;
    out << "### Everywhere\n\n| name | value |\n|---|---|\n";
    for (const auto& [name, meaning] : theGlobals) out << fmt::format("| `${}` | {} |\n", name, meaning);
    out << '\n';
    writeRows(out, "On particle operators", FLX_ParticleVariables::rows);
    writeRows(out, "On birth operators, about the place of birth", FLX_GeneratorVariables::rows);
    return out.str();
}

std::string functions() {
    FLX_Node::buildOperatorTable(OP_Director::operatorTable("FLX"));
    std::ostringstream out;
    out << "| function | value |\n|---|---|\n";
    for (const EV_FUNCTION* f : EV_listFunctions())
        if (!std::string_view(f->name).starts_with("test"))
            out << fmt::format("| `{}({})` | {} |\n", f->name, f->usage, f->help);
    return out.str();
}

std::string withSection(std::string page, const std::string& name, const std::string& text) {
    const std::string opening = "<!-- generated: " + name + " -->\n";
    const size_t from = page.find(opening) + opening.size();
    return page.replace(from, page.find("<!-- end -->", from) - from, text);
}

} // namespace

// FLX_WRITE_TABLE=1 in the environment writes the file anew.
TEST(VariableTable, IsUpToDate) {
    const std::string file = FLX_SOURCE_DIR "/data/middleware/FLX/varlist.tbl";
    if (std::getenv("FLX_WRITE_TABLE")) std::ofstream(file) << tableText();
    EXPECT_EQ(readFile(file), tableText()) << "run this test with FLX_WRITE_TABLE=1";
}

// Code that names a variable, an attribute and a function of the table gets what they need, and nothing else.
TEST(VariableTable, DeclaresWhatIsUsed) {
    FLX_VariableList list;
    for (const char* name : {"VX", "ID", "DEAD", "VY"}) list.useVariable(name);
    list.useAttribute("Cd");
    list.useAttribute("id");
    const auto written = [](const auto& write) {
        std::ostringstream out;
        write(out);
        return out.str();
    };
    EXPECT_EQ(written([&](std::ostream& out) { list.writeLocalVarClass("spray", out); }),
              "// This class holds the local access variables required\n// by this flx network.\n"
              "class spray_LVAR : public CH_LocalVar\n{\npublic:\n    int ptidx;\n"
              "    float *v;\n    int *pstate, *id;\n};\n\n");
    EXPECT_EQ(written([&](std::ostream& out) { list.writeDeclarations("gdp", out); }),
              "    int DEAD, ID;\n    float VX, VY;\n");
    EXPECT_EQ(written([&](std::ostream& out) { list.writeAttributeInit("gdp", out); }),
              "    gdp->addDiffuseAttrib();\n    gdp->addIDAttrib();\n");
    EXPECT_EQ(list.findVariable("VX")->expression, "lvar.v[0]");
    EXPECT_EQ(list.findVariable("DEAD")->expression, "(*lvar.pstate & 2) != 0");
}

// FLX_WRITE_TABLE=1 in the environment writes the lists anew.
TEST(ExpressionPage, ListsWhatThereIs) {
    const std::string page = readFile(PAGE);
    ASSERT_NE(page.find("<!-- generated: names -->"), page.npos);
    ASSERT_NE(page.find("<!-- generated: functions -->"), page.npos);
    const std::string wanted = withSection(withSection(page, "names", names()), "functions", functions());
    if (std::getenv("FLX_WRITE_TABLE")) std::ofstream(PAGE) << wanted;
    EXPECT_EQ(page, wanted) << "run this test with FLX_WRITE_TABLE=1";
    Network net;
    for (const auto& [name, meaning] : theGlobals)
        EXPECT_TRUE(EV_EXPRESSION("$" + name).bind(net.object().scope())) << name;
}

TEST(ExpressionPage, ExamplesGiveWhatTheySay) {
    Network net;
    std::istringstream page(readFile(PAGE));
    int count = 0;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
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
