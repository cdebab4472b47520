// The table file that comes with the library says what the library's own tables say.
#include <fstream>
#include <set>
#include <sstream>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "core/FLX_Attributes.h"
#include "core/FLX_State.h"
#include "host/expr/EV_Function.h"
#include "vars/FLX_ParticleVariables.h"
#include "vars/FLX_VariableList.h"

namespace {

const char* typeOf(GB_AttribType type) { return GBisFloatType(type) ? "float" : "int"; }

struct Read {
    std::string access, expression;
};

Read readOf(const FLX_ParticleVariable& v) {
    const std::string name = v.attrib == FLX_Attrib::Count ? "" : FLXattribRow(v.attrib).name;
    const auto item = [](const std::string& pointer, int i) {
        return Read{pointer, fmt::format("{}[{}]", pointer, i)};
    };
    switch (v.read) {
    case FLX_VarRead::Attribute: return item("lvar." + name, v.component);
    case FLX_VarRead::Life: return item("lvar.life", v.component);
    case FLX_VarRead::LifeRatio: return {"lvar.life", "flx_liferatio(lvar.life)"};
    case FLX_VarRead::Accel: return item("lvar.accel", v.component);
    case FLX_VarRead::Velocity: return item("lvar.v", v.component);
    case FLX_VarRead::StateBit: return {"lvar.pstate", fmt::format("(*lvar.pstate & {}) != 0", v.component)};
    case FLX_VarRead::Position: return item("lvar.P", v.component);
    case FLX_VarRead::BoundingBox: return item("lvar.bbox", v.component);
    case FLX_VarRead::Iteration: return {"lvar.iter", "*lvar.iter"};
    case FLX_VarRead::PointCount: return {"lvar.npt", "*lvar.npt"};
    case FLX_VarRead::GroupCount: return {"lvar.ngrp", "*lvar.ngrp"};
    case FLX_VarRead::RotationAngle: return {"lvar.rot", "flx_rotangle(lvar.rot)"};
    case FLX_VarRead::RotationAxis: return {"lvar.rot", fmt::format("flx_rotaxis(lvar.rot, {})", v.component)};
    case FLX_VarRead::Speed: return {"lvar.v", "flx_length(lvar.v)"};
    case FLX_VarRead::AngularSpeed: return {"lvar.w", "flx_degrees(flx_length(lvar.w))"};
    case FLX_VarRead::PointNumber:
    case FLX_VarRead::TimeIncrement: break; // default globals
    }
    return {};
}

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
        if (const Read read = readOf(v); !read.access.empty())
            out << fmt::format("variable {} {} {}\n", v.name, read.access, read.expression);
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
    out << "# variable NAME ACCESS [EXPRESSION ...]\n";
    writeVariables(out);
    out << "# func NAME TRANSLATION [ARGUMENT ...]\n";
    writeFunctions(out);
    return out.str();
}

} // namespace

// FLX_WRITE_TABLE=1 in the environment writes the file anew.
TEST(VariableTable, IsUpToDate) {
    const std::string file = FLX_SOURCE_DIR "/data/middleware/FLX/varlist.tbl";
    if (std::getenv("FLX_WRITE_TABLE")) std::ofstream(file) << tableText();
    std::ostringstream found;
    found << std::ifstream(file).rdbuf();
    EXPECT_EQ(found.str(), tableText()) << "run this test with FLX_WRITE_TABLE=1";
}

// As it is found on the search path, whole.
TEST(VariableTable, IsFoundAndNamesEveryVariable) {
    FLX_VariableList list;
    EXPECT_EQ(list.numattribs(), FLX_NUM_ATTRIBS);
    for (const FLX_ParticleVariable& v : FLX_ParticleVariables::rows) {
        const FLX_VariableEntry* entry = list.findVariable(v.name);
        EXPECT_TRUE(entry || list.findGlobal(v.name)) << v.name;
        EXPECT_TRUE(!entry || list.findAccess(entry->access.c_str())) << v.name;
    }
    for (const char* name : {"TX", "VY", "ID", "STUCK", "MASS", "LIFE"}) list.useVariable(name);
    std::ostringstream out;
    list.writeLocalVarClass("net", out);
    list.writeVariableDeclarations(out);
    const std::string text = out.str();
    EXPECT_EQ(text.substr(text.find("    int ptidx")),
              "    int ptidx;\n    float *P, *v, *life;\n    int *pstate, *id;\n    float *mass;\n};\n\n"
              "    int ID;\n    float LIFE, MASS;\n    int STUCK;\n    float TX, VY;\n");
}
