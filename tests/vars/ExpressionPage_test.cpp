// The manual page of expressions: its lists are those of the tables, its examples give what it says.
#include <fstream>
#include <map>
#include <sstream>

#include "core/FLX_Attributes.h"
#include "core/FLX_State.h"
#include "host/expr/EV_Error.h"
#include "host/expr/EV_Expression.h"
#include "host/expr/EV_Function.h"
#include "host/node/OP_NodeScope.h"
#include "support/Network.h"
#include "vars/FLX_GeneratorVariables.h"
#include "vars/FLX_ParticleVariables.h"
#include <fmt/format.h>

namespace {

const char* const PAGE = FLX_SOURCE_DIR "/docs/expressions.md";

std::string readPage() {
    std::ostringstream text;
    text << std::ifstream(PAGE).rdbuf();
    return text.str();
}

const char* const AXES = "xyzw";

std::string componentOf(const char* attribute, int size, int component) {
    return size > 4 ? fmt::format("attribute `{}`, {}", attribute, AXES[component])
                    : fmt::format("attribute `{}`", attribute);
}

std::string meaningOf(const FLX_ParticleVariable& v) {
    const char axis = AXES[v.component & 3];
    switch (v.read) {
    case FLX_VarRead::Attribute:
        return componentOf(FLXattribRow(v.attrib).name, FLXattribRow(v.attrib).size, v.component);
    case FLX_VarRead::Life: return v.component == 0 ? "age in seconds" : "life span in seconds, below 0: for ever";
    case FLX_VarRead::LifeRatio: return "age divided by life span, at most 1";
    case FLX_VarRead::Accel: return fmt::format("acceleration, {}", axis);
    case FLX_VarRead::Velocity: return fmt::format("velocity, {}", axis);
    case FLX_VarRead::StateBit: return fmt::format("1 or 0: state bit {:#x}", v.component);
    case FLX_VarRead::Position: return fmt::format("position, {}", axis);
    case FLX_VarRead::BoundingBox: return fmt::format("place in the box of all particles, 0 to 1, {}", axis);
    case FLX_VarRead::Iteration: return "how many particles the operator has looked at before";
    case FLX_VarRead::PointNumber: return "point number";
    case FLX_VarRead::PointCount: return "number of points";
    case FLX_VarRead::GroupCount: return "number of points in the source group, 0 without one";
    case FLX_VarRead::TimeIncrement: return "time step in seconds";
    case FLX_VarRead::RotationAngle: return "angle of `rot` in degrees";
    case FLX_VarRead::RotationAxis: return fmt::format("axis of `rot`, {}", axis);
    case FLX_VarRead::Speed: return "attribute `speed`, else the length of the velocity";
    case FLX_VarRead::AngularSpeed: return "angular speed in degrees per second";
    }
    return "";
}

std::string meaningOf(const FLX_GeneratorVariable& v) {
    const char axis = AXES[v.component & 3];
    switch (v.read) {
    case FLX_GenRead::Attribute: {
        const FLX_SourceAttribRow& row = FLX_SourceAttribRows[size_t(v.attrib)];
        return componentOf(row.name, row.size, v.component);
    }
    case FLX_GenRead::Normal: return fmt::format("normal, {}", axis);
    case FLX_GenRead::Speed: return "length of the source's velocity";
    case FLX_GenRead::Position: return fmt::format("place of birth, {}", axis);
    case FLX_GenRead::BoundingBox: return fmt::format("place in the box of the source, 0 to 1, {}", axis);
    case FLX_GenRead::Iteration: return "how many samples were looked at before";
    case FLX_GenRead::SourceNumber: return "number of the source point or primitive";
    case FLX_GenRead::U: return "u on the source primitive";
    case FLX_GenRead::V: return "v on the source primitive";
    case FLX_GenRead::ParticleCount: return "number of particles";
    case FLX_GenRead::PointCount: return "number of points of the source";
    case FLX_GenRead::PrimitiveCount: return "number of primitives of the source";
    case FLX_GenRead::GroupCount: return "number of members of the source group";
    case FLX_GenRead::TimeIncrement: return "time step in seconds";
    }
    return "";
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

// FLX_WRITE_TABLE=1 in the environment writes the lists anew.
TEST(ExpressionPage, ListsWhatThereIs) {
    const std::string page = readPage();
    ASSERT_NE(page.find("<!-- generated: names -->"), page.npos);
    ASSERT_NE(page.find("<!-- generated: functions -->"), page.npos);
    const std::string wanted = withSection(withSection(page, "names", names()), "functions", functions());
    if (std::getenv("FLX_WRITE_TABLE")) std::ofstream(PAGE) << wanted;
    EXPECT_EQ(page, wanted) << "run this test with FLX_WRITE_TABLE=1";
}

TEST(ExpressionPage, ItsGlobalsExist) {
    Network net;
    OP_Node& node = net.object();
    for (const auto& [name, meaning] : theGlobals) EXPECT_TRUE(EV_EXPRESSION("$" + name).bind(node.scope())) << name;
}

TEST(ExpressionPage, ExamplesGiveWhatTheySay) {
    Network net;
    std::istringstream page(readPage());
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
