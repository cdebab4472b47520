// Sweeps over every operator type, present and to come.
#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <set>
#include <sstream>

#include "host/node/OP_OTLDefinition.h"
#include "host/node/PI_ScriptOperator.h"
#include "host/ut/UT_EnvControl.h"
#include "registry/FLX_Catalogue.h"
#include "support/Probe.h"
#include "support/SetParms.h"

namespace {

OP_OperatorTable& table() { return OP_Director::operatorTable("FLX"); }

OP_Operator& typeOf(const FLX_CatalogueRow& row) {
    FLX_Node::buildOperatorTable(table()); // a case may run alone
    return *table().getOperator(row.name);
}

/// A network in which one operator is wired to what it needs: a birth upstream, geometry where it asks for some.
struct Wired {
    Network net;
    FLX_Node* source = nullptr;
    FLX_Node* node = nullptr;

    /// `live`: particles come in; else the inputs hold none.
    Wired(const FLX_CatalogueRow& row, bool live) {
        const std::string ground = net.addGeometry(
            "ground",
            [](GU_Detail& detail, float) {
                detail.cube({-1, -1, -1}, {1, 1, 1});
            },
            true);
        if (row.maxInputs > 0) {
            source = &net.add("location", "upstream");
            source->setFloat("constantrate", 0, live ? 240 : 0);
            source->setFloat("life", 0, 0.2);
            node = &net.add(row.name, "node", {source});
            // A second required input may not carry the same particles.
            for (int i = 1; i < row.minInputs; ++i)
                node->setInput(i, &net.add("null", ("more" + std::to_string(i)).c_str()));
        } else {
            node = &net.add(row.name, "node");
        }
        for (const PRM_Template& parm : typeOf(row).templates().rows)
            if (parm.stringKind == PRM_StringKind::SopPath &&
                std::string(parm.defaults[0].text ? parm.defaults[0].text : "").empty())
                node->setString(parm.token.c_str(), ground.c_str());
        if (!live && node->hasParm("constantrate")) node->setFloat("constantrate", 0, 0);
    }
    std::string run(int steps) {
        net.start(*node, 5);
        net.step(steps);
        EXPECT_EQ(net.detail().validate(), "");
        return net.state();
    }
};

std::set<std::string> words(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

/// Every token that a rule may name.
std::set<std::string> tokensOf(const PRM_TemplateTable& templates) {
    std::set<std::string> tokens;
    for (const PRM_Template& row : templates.rows) {
        tokens.insert(row.token);
        for (const PRM_Template& inner : row.instance) {
            std::string first = inner.token;
            std::replace(first.begin(), first.end(), '#', '1');
            tokens.insert({inner.token, first});
        }
    }
    return tokens;
}

} // namespace

TEST(Catalogue, EveryTypeIsRegisteredOnce) {
    Network net;
    std::set<std::string> names;
    UT_EnvControl::setInt(113, 1);
    for (const FLX_CatalogueRow& row : FLXcatalogue()) {
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
        EXPECT_TRUE(row.name != std::string("switch") || row.flags == 0) << "no plumbing";
    }
    UT_EnvControl::resetInt(113);
}

// Enabled parameters under settings that build on each other.
TEST(Catalogue, ParametersThatDoNotCountAreDisabled) {
    Network net;
    const std::string bounce = "gainnml gaintan finalbehavior bounce enforceorient dohittest ";
    // clang-format off
    struct Case { const char *type, *watched; std::vector<std::pair<const char*, std::string>> settings; };
    const Case cases[] = {
        {"collision", "soppath minimpulse sample hittestattrib donormalstep backstep prevhitnmlattrib normalstep gainnml "
                      "gaintan finalbehavior bounce enforceorient dohittest", {
            {"geohint=0", "soppath "}, {"usecontextgeo=1", ""}, {"behavior=1", bounce},
            {"finalbehavior=2", bounce + "minimpulse "},
            {"geohint=1", "gainnml gaintan finalbehavior sample minimpulse "},
            {"geohint=2", "gainnml gaintan finalbehavior bounce minimpulse "},
            {"geohint=0 finalbehavior=0 dohittest=1", bounce + "hittestattrib donormalstep backstep "},
            {"donormalstep=1", bounce + "hittestattrib donormalstep backstep prevhitnmlattrib normalstep "},
            {"enforceorient=0", "gainnml gaintan finalbehavior bounce enforceorient "}}},
        {"force", "overridemass mass", {{"mass=1", "overridemass "}, {"overridemass=1", "overridemass mass "},
            {"ignoremass=1", ""}}},
        {"position", "pathpath", {{"mswitcher=1", "pathpath "}, {"usecontextgeo=1", ""}}},
        {"lookat", "objpath dir", {{"mode=0", "dir "}, {"reference=2 mode=1", "objpath "}}}};
    // clang-format on
    for (const Case& c : cases) {
        FLX_Node& node = net.add(c.type, c.type);
        for (const auto& [parms, expected] : c.settings) {
            setParms(node, parms);
            node.disableParms();
            EXPECT_EQ(node.disableParms(), 0u) << "nothing changed";
            std::set<std::string> enabled = words(c.watched);
            std::erase_if(enabled, [&](const std::string& parm) { return !node.parms().find(parm)->enabled(); });
            EXPECT_EQ(enabled, words(expected)) << c.type << " " << parms;
        }
    }
}

TEST(Catalogue, OldParametersBecomeNewOnes) {
    Network net;
    // clang-format off
    struct Case { const char *type; std::vector<std::pair<const char*, const char*>> old; const char *parm, *path; };
    const Case cases[] = {
        {"collision", {{"obj", "wall"}, {"sop", "out"}}, "soppath", "../../wall/out"},
        {"force", {{"forceobj", "fan"}}, "forcepath", "../../fan"},
        {"position", {{"pathobj", "track"}, {"sop", "curve"}}, "pathpath", "../../track/curve"},
        {"position", {{"refobj", "anchor"}}, "refpath", "../../anchor"},
        {"lookat", {{"obj", "anchor"}}, "objpath", "../../anchor"}};
    // clang-format on
    for (const Case& c : cases) {
        FLX_Node& node = net.add(c.type, c.parm);
        PRM_ParmList old(node.getOperator()->getObsoleteTemplates());
        for (const auto& [parm, value] : c.old) old.find(parm)->setText(value);
        if (old.find("geomoves")) old.find("geomoves")->setConstant(0, 1);
        node.resolveObsoleteParms(&old);
        UT_String path;
        node.evalString(path, c.parm, 0, 0);
        EXPECT_EQ(path, c.path) << c.type;
        if (!old.find("geomoves")) continue;
        EXPECT_EQ(node.evalInt("geohint", 0, 0), 1);
        EXPECT_EQ(old.find("geomoves")->component(0).constant, 0);
    }
}

TEST(Catalogue, ParameterTablesAreSound) {
    Network net;
    for (const FLX_CatalogueRow& row : FLXcatalogue()) {
        const PRM_TemplateTable& templates = typeOf(row).templates();
        const std::set<std::string> tokens = tokensOf(templates);
        std::set<std::string> seen;
        for (size_t i = 0; i < templates.rows.size(); ++i) {
            const PRM_Template& parm = templates.rows[i];
            SCOPED_TRACE(std::string(row.name) + "." + parm.token);
            EXPECT_TRUE(seen.insert(parm.token).second) << "twice";
            if (parm.type != PRM_Type::Folder) {
                // A vector's expression stands below the menu that chooses it.
                EXPECT_TRUE(!parm.label.empty() || parm.stringKind == PRM_StringKind::VectorExpression);
                EXPECT_EQ(parm.defaults.size(), size_t(parm.size));
            }
            for (const auto* rule : {&parm.enable, &parm.needed})
                for (const std::string& named : rule->tokens)
                    EXPECT_TRUE(tokens.count(named)) << "rule names " << named;
            EXPECT_TRUE(parm.type != PRM_Type::Menu || parm.menu);
            EXPECT_EQ(parm.type == PRM_Type::Folder, !parm.folders.empty());
            if (parm.menu && parm.menu->names()) {
                std::set<std::string> entries;
                for (const PRM_Name* entry = parm.menu->names(); entry->token; ++entry)
                    EXPECT_TRUE(entries.insert(entry->token).second && entry->label && *entry->label) << entry->token;
            }
        }
        // Folder sets come one after the other until the rows end.
        size_t at = 0;
        while (at < templates.rows.size() && templates.rows[at].type != PRM_Type::Folder) ++at;
        while (at < templates.rows.size()) {
            EXPECT_EQ(templates.rows[at].type, PRM_Type::Folder) << row.name << ": rows behind the last folder";
            int count = 1;
            for (const auto& [label, inside] : templates.rows[at].folders) count += inside;
            at += size_t(count);
        }
        EXPECT_EQ(at, templates.rows.size()) << row.name << ": a folder promises more rows than follow";
    }
}

TEST(Catalogue, EveryTypeCooksOnNothingAndOnParticles) {
    for (const FLX_CatalogueRow& row : FLXcatalogue()) {
        for (const bool live : {false, true}) {
            SCOPED_TRACE(std::string(row.name) + (live ? " with particles" : " on nothing"));
            Wired w(row, live);
            w.run(8);
            EXPECT_LT(w.node->error(), UT_ERROR_ABORT) << Network::messages(*w.node);
            EXPECT_EQ(w.net.particles() > 0, live && row.maxInputs + int(row.flags & 2) > 0);
            w.node->setBypass(true);
            w.net.step(2);
            EXPECT_LT(w.node->error(), UT_ERROR_ABORT) << Network::messages(*w.node);
            OP_Context without(0);
            w.node->cook(without);
            EXPECT_EQ(w.net.detail().validate(), "");
        }
        // Nothing wired at all.
        Network net;
        FLX_Node& alone = net.add(row.name, "alone");
        net.start(alone);
        net.step(2);
        EXPECT_EQ(net.detail().validate(), "") << row.name;
    }
}

TEST(Catalogue, AGuideCookChangesNothing) {
    for (const FLX_CatalogueRow& row : FLXcatalogue()) {
        for (const bool wanted : {false, true}) {
            SCOPED_TRACE(std::string(row.name) + (wanted ? " with guides" : ""));
            Wired w(row, true);
            w.run(6);
            w.node->setTemplate(wanted);
            w.net.context().guidesWanted = wanted;
            // Who draws arrows looks for the group also where none are wanted.
            const bool draws = std::string(row.name) == "force" || std::string(row.name) == "acceleration";
            if (!wanted && !draws && row.maxInputs > 0 && w.node->hasParm("source"))
                w.node->setString("source", "missing");
            const std::string before = w.net.state();
            for (int i = 0; i < 2; ++i) {
                OP_Context context(w.net.time());
                w.net.context().cookGuide(context);
            }
            EXPECT_TRUE(w.net.state() == before);
            EXPECT_LT(w.node->error(), UT_ERROR_ABORT) << Network::messages(*w.node);
            if (!wanted) {
                EXPECT_EQ(Network::messages(*w.node), "") << "a group is looked for when it is needed";
            }
        }
    }
}

// Every number, set as a constant and as an expression of the same value that reads a variable: the loop for constants
// and the general one must agree bit for bit.
TEST(Catalogue, ConstantAndVaryingLoopsGiveTheSameBits) {
    int compared = 0;
    for (const FLX_CatalogueRow& row : FLXcatalogue()) {
        if (!row.variables || std::string(row.name) == "null") continue;
        const bool births = row.flags & 2;
        for (const PRM_Template& parm : typeOf(row).templates().rows) {
            const bool number = parm.type == PRM_Type::Float || parm.type == PRM_Type::Int;
            // Activations and rates are read without variables.
            const bool plain = parm.token.find("activate") != std::string::npos ||
                               parm.token.find("rate") != std::string::npos || parm.token == "samplethreshold" ||
                               parm.token == "threshold" || parm.token == "densitymin";
            if (!number || plain || !parm.animated) continue;
            for (int component = 0; component < parm.size; ++component) {
                const double c = parm.type == PRM_Type::Int ? 2 : 0.75;
                const auto run = [&](bool varying) {
                    Wired w(row, true);
                    // Something for the parameter to act on.
                    for (const char* other : {"force", "amp", "turb", "overridemass", "lifevar", "doorigin"})
                        if (w.node->hasParm(other)) w.node->setFloat(other, 0, 1);
                    setParms(*w.node, fmt::format("{}.{}={}{}", parm.token, component, c,
                                                  !varying ? ""
                                                  : births ? "+0*$ITER"
                                                           : "+0*$TX"));
                    std::string state = w.run(10);
                    EXPECT_EQ(Network::messages(*w.node), "");
                    EXPECT_GT(w.net.particles(), 0);
                    return state;
                };
                EXPECT_TRUE(run(false) == run(true)) << row.name << "." << parm.token << " " << component;
                ++compared;
            }
        }
    }
    EXPECT_GT(compared, 30);
}

TEST(Catalogue, ScriptDefinitionsBecomeTypes) {
    Network net;
    OP_OTLDefinition spray;
    spray.name = "spray";
    spray.minInputs = 0;
    spray.maxInputs = 1;
    PRM_Template& rate = spray.parms.rows.emplace_back();
    rate.type = PRM_Type::Float;
    rate.token = "amount";
    rate.defaults = {PRM_Default(48.0)};
    spray.build = [](OP_Network& instance, std::string& error) {
        OP_Node* birth = instance.createNode("location", "birth", error);
        OP_Node* pull = instance.createNode("force", "pull", error);
        if (!birth || !pull) return false;
        birth->setExpression("constantrate", 0, "ch(\"../amount\")");
        pull->setInput(0, birth);
        pull->setFloat("force", 1, -2);
        pull->setRender(true);
        return true;
    };
    std::string error;
    ASSERT_NE(table().addDefinition(spray, error), nullptr) << error;
    FLX_Node& node = net.add("spray", "spray1");
    node.setFloat("amount", 0, 72);
    net.start(node);
    EXPECT_EQ(Network::messages(node), "");
    EXPECT_EQ(net.particles(), 3);
    EXPECT_EQ(net.value("accel", 2, 1), -2);
}
