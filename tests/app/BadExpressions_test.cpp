// What the tool says of expressions that mean nothing or cannot be evaluated: where, what, and what was meant.
#include "app/ToolFixture.h"

#include <algorithm>
#include <fmt/format.h>

using BadExpressions = ToolTest;

// Every wording is tested where it is made; here, that it reaches the user.
TEST_F(BadExpressions, AreToldByCheckAndByTheRun) {
    put("scene.json", scene(R"j({"name": "birth", "type": "location"}, {"name": "pull", "type": "force",
        "inputs": ["birth"], "parms": {"scale": "1 + flxpointd(1, 'P', 0)"}})j"));
    const std::string told =
        R"j("1 + flxpointd(1, 'P', 0)": unknown function flxpointd at column 5; did you mean flxpoint)j";
    const ToolResult check = flx({"check", "scene.json"}), run = flx({"run", "scene.json", "--quiet"});
    EXPECT_EQ(check.status, 1);
    EXPECT_NE(check.out.find("scene.json: /obj/fx/pull: error: \"scale\": " + told), std::string::npos) << check.out;
    EXPECT_EQ(run.status, 1);
    EXPECT_NE((run.out + run.err).find("/obj/fx/pull: error OP 1: Expression failed: scale: " + told),
              std::string::npos)
        << run.err;
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
