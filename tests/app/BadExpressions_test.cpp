// What the tool says of expressions that mean nothing or cannot be evaluated: where, what, and what was meant.
#include "app/ToolFixture.h"

#include <algorithm>
#include <fmt/format.h>

using BadExpressions = ToolTest;

namespace {

struct Bad {
    const char* expression;
    const char* message; // after `"scale": `
};

// Each as check prints it.
// clang-format off
const Bad theCompileErrors[] = {
    {"$VXX * 2", R"j("$VXX * 2": unknown variable $VXX at column 1; did you mean $VX?)j"},
    {"1 + sqr(2)", R"j("1 + sqr(2)": unknown function sqr at column 5; did you mean sqrt?)j"},
    {"flxpointd(1, 'P', 0)", R"j(unknown function flxpointd at column 1; did you mean flxpoint)j"},
    {"sin(1, 2)", R"j("sin(1, 2)": sin takes 1 argument, 2 given, at column 1)j"},
    {"flxpoint(1, 'P')", R"j("flxpoint(1, 'P')": flxpoint takes 3 arguments, 2 given, at column 1)j"},
    {"flxevent(3)", R"j(argument 1 of flxevent must be a string, not a number, at column 10)j"},
    {"flxpointnum('3')", R"j(argument 1 of flxpointnum must be a number, not a string, at column 13)j"},
    {"2 * (3 + ", R"j("2 * (3 + ": )j"},
    {"'open", R"j("'open": )j"},
    {"ch('../birth/lif')", R"j(did you mean "life"?)j"},
    {"ch('scale')", R"j(in a circle by ch)j"},
    {"vector3(1, 2, 3)", R"j("vector3(1, 2, 3)": a number is needed, this is a vector)j"},
    {"$TX > 0 ? 'a' : 'b'", R"j(a number is needed, this is a string)j"},
};
// clang-format on

} // namespace

TEST_F(BadExpressions, AreToldByCheckAndByTheRun) {
    for (const Bad& bad : theCompileErrors) {
        put("scene.json",
            scene(R"({"name": "birth", "type": "location"}, {"name": "pull", "type": "force", "inputs": ["birth"],
            "parms": {"scale": )" +
                  nlohmann::json(bad.expression).dump() + "}}"));
        const ToolResult check = flx({"check", "scene.json"});
        EXPECT_EQ(check.status, 1) << bad.expression;
        EXPECT_NE(check.out.find("scene.json: /obj/fx/pull: error: \"scale\": "), std::string::npos) << check.out;
        EXPECT_NE(check.out.find(bad.message), std::string::npos) << check.out << "\n" << bad.message;
        const ToolResult run = flx({"run", "scene.json", "--quiet"});
        EXPECT_EQ(run.status, 1) << bad.expression;
        EXPECT_NE((run.out + run.err).find("/obj/fx/pull"), std::string::npos) << bad.expression << run.err;
        EXPECT_NE((run.out + run.err).find("scale"), std::string::npos) << bad.expression << run.err;
    }
}

TEST_F(BadExpressions, InStringsAreToldToo) {
    put("scene.json",
        scene(R"({"name": "birth", "type": "location", "parms": {"group": "a`1 +`b", "attribname": "x"}})"));
    EXPECT_EQ(flx({"check", "scene.json"}).status, 3); // no such parameter
    put("scene.json", scene(R"({"name": "birth", "type": "location", "parms": {"group": "a$NOPE"}})"));
    const ToolResult check = flx({"check", "scene.json"});
    EXPECT_EQ(check.status, 1);
    EXPECT_NE(check.out.find("/obj/fx/birth: error: \"group\": \"a$NOPE\": unknown variable $NOPE at column 2"),
              std::string::npos)
        << check.out;
}

// The run's message without the quotes around the token is what check says.
TEST_F(BadExpressions, RefusedVariablesAndLostPathsAreToldInTheSameWords) {
    const std::pair<const char*, const char*> bad[] = {
        {"constantrate", "10 + $TX"},     {"impulserate", "$NPART"},     {"constantactivate", "$MASS * 2"},
        {"life", "npoints('/obj/none')"}, {"life", "opdigits('../no')"}, {"life", "1 + point('no', 0, 'P', 0)"},
    };
    for (const auto& [parm, text] : bad) {
        nlohmann::json parms = {{"impulserate", 1}};
        parms[parm] = text;
        put("scene.json", scene(R"({"name": "birth", "type": "location", "parms": )" + parms.dump() + "}"));
        const std::string check = flx({"check", "scene.json"}).out;
        const std::string start = std::string("/obj/fx/birth: error: \"") + parm + "\": ";
        const size_t at = check.find(start);
        ASSERT_NE(at, std::string::npos) << check;
        std::string message = check.substr(at + start.size());
        message = message.substr(0, std::min(message.find('\n'), message.find("; did you mean")));
        const ToolResult run = flx({"run", "scene.json", "--quiet"});
        EXPECT_NE((run.out + run.err).find(parm + (": " + message)), std::string::npos)
            << message << run.out << run.err;
    }
}

TEST_F(BadExpressions, FunctionsAreListedInBothForms) {
    const ToolResult text = flx({"ops", "--functions"}), json = flx({"ops", "--functions", "--json"});
    EXPECT_EQ(text.status, 0);
    const nlohmann::json all = nlohmann::json::parse(json.out);
    EXPECT_EQ(all.size(), 1u);
    for (const char* name :
         {"flxevent", "flxeventtime", "flxpoint", "flxpointid", "flxpointnum", "flxcontextgeo", "ch", "turb"}) {
        EXPECT_NE(text.out.find(std::string("\n") + name + "("), std::string::npos) << name;
        EXPECT_TRUE(std::any_of(all["functions"].begin(), all["functions"].end(), [&](const nlohmann::json& f) {
            return f["name"] == name && !f["help"].empty() && !f["usage"].empty();
        })) << name;
    }
}

TEST_F(BadExpressions, LongChainsAreRefusedByCheckAsByTheRun) {
    const auto chain = [&](int count) {
        std::string nodes = R"({"name": "birth", "type": "location"})";
        for (int i = 0; i < count; ++i)
            nodes += fmt::format(
                R"j(, {{"name": "g{}x", "type": "force", "inputs": ["birth"], "parms": {{"force": ["{}", 0, 0]}}}})j",
                i, i + 1 < count ? fmt::format("ch('../g{}x/forcex')", i + 1) : "2 * 1");
        return scene(nodes);
    };
    constexpr const char* wanted = "more than 64 parameters read each other by ch";
    for (const int count : {60, 100, 3000}) {
        put("scene.json", chain(count));
        EXPECT_EQ(flx({"check", "scene.json"}).out.find(wanted) != std::string::npos, count > 64) << count;
    }
}
