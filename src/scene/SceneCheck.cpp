#include "scene/SceneCheck.h"

#include "core/FLX_ContextData.h"
#include "core/FLX_ExpressionStack.h"
#include "core/FLX_Node.h"
#include "host/expr/EV_Code.h"
#include "host/expr/EV_StringExpand.h"
#include "host/node/OBJ_Node.h"
#include "host/node/OP_Director.h"
#include "host/node/SHOP_Node.h"
#include "host/node/SOP_Node.h"
#include "host/ut/UT_ErrorTable.h"
#include "host/ut/UT_NodePath.h"
#include "scene/ChannelCheck.h"
#include "scene/GroupCheck.h"
#include "scene/ParticleNetwork.h"
#include "scene/PathSuggestion.h"
#include "scene/SceneDirectory.h"
#include "scene/SceneError.h"
#include "scene/StreamCheck.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>

namespace {

/// Lets a node's expressions see the variables that the network's operators create, for a scope.
class UserVariables {
public:
    UserVariables(OP_Node& node, const CH_LocalVariable* table)
        : myCollection(*node.getCollection())
        , myOuter(myCollection.extraVariables()) {
        if (table) myCollection.setExtraVariables(table);
    }
    ~UserVariables() { myCollection.setExtraVariables(myOuter); }
    UserVariables(const UserVariables&) = delete;
    UserVariables& operator=(const UserVariables&) = delete;

private:
    CH_Collection& myCollection;
    const CH_LocalVariable* myOuter;
};

class Checker {
public:
    std::vector<SceneFinding> findings;

    void checkNetwork(OP_Network& network, const CH_LocalVariable* variables) {
        for (int i = 0; i < network.getNchildren(); ++i) checkNode(*network.getChild(i), variables);
    }

private:
    void add(bool error, std::string text) { findings.push_back({error, myNode->getFullPath(), std::move(text)}); }

    void checkNode(OP_Node& node, const CH_LocalVariable* variables) {
        myNode = &node;
        {
            const UserVariables visible(node, variables);
            for (int i = 0; i < node.parms().entries(); ++i) checkParm(node.parms().parm(i));
        }
        if (auto* particles = dynamic_cast<ParticleNetwork*>(&node)) return checkParticles(*particles);
        if (OP_Network* inside = node.castToNetwork()) checkNetwork(*inside, variables);
    }

    void checkParticles(ParticleNetwork& network) {
        const CH_LocalVariable* variables = resetNetwork(network);
        const FLX_ExpressionScope asked(0, network.context()); // flxcontextgeo has its paths
        checkNetwork(network, variables);
        myGroups.leave();
    }

    /// The variables that the network's operators create; what went wrong while they did is reported.
    const CH_LocalVariable* resetNetwork(ParticleNetwork& network) {
        network.resetSimulation();
        report(network);
        for (const OP_Node* node : network.operators()) report(*node);
        checkStreams(network);
        myGroups.enter(network, startTime());
        return network.context()->getUserVariables();
    }
    void checkStreams(const ParticleNetwork& network) {
        const OP_Node* output = network.cookNode();
        if (!output) return;
        for (const StreamCheck::Finding& found : StreamCheck::check(*output))
            findings.push_back({found.error, found.node->getFullPath(), found.text});
    }
    void report(const OP_Node& node) {
        for (const UT_Error& error : node.setupErrors())
            findings.push_back(
                {error.severity >= UT_ERROR_ABORT, node.getFullPath(), UTerrorTextWithoutSeverity(error)});
    }

    void checkParm(PRM_Parm& parm) {
        myParm = &parm;
        for (int i = 0; i < parm.size(); ++i) checkComponent(i);
        bool readsWell = true;
        for (int i = 0; i < std::max(parm.size(), 1); ++i) readsWell = checkReads(i) && readsWell;
        myComponent = 0;
        if (parm.row().type == PRM_Type::String && readsWell) checkText(parm);
        for (std::vector<PRM_Parm>& instance : parm.instances())
            for (PRM_Parm& entry : instance) checkParm(entry);
    }

    std::string place() const { return fmt::format("\"{}\"", myParm->componentName(myComponent)); }

    void checkComponent(int number) {
        myComponent = number;
        PRM_Parm::Component& component = myParm->component(number);
        const PRM_Template& row = myParm->row();
        const bool keys = component.kind == PRM_Parm::Component::Keys;
        if (keys && !row.animated) add(false, place() + " is animated in vain: it is read at time 0 only");
        if (EV_EXPRESSION* expression = component.expression()) {
            if (!expression->bind(myNode->scope()))
                addExpressionError(expression->bindError());
            else if (row.type != PRM_Type::String && expression->resultType() != EV_FLOAT)
                addExpressionError(expression->typeError(EV_FLOAT));
            else if (row.variables != PRM_Variables::PerElement)
                checkVariables(*expression, expression->text());
        } else if (!keys) {
            checkOrdinal(row, component.constant);
        }
    }
    /// Local variables where they are refused: an error, or a warning when a condition stands before the first. Where
    /// they just have no value: a warning.
    void checkVariables(const EV_EXPRESSION& expression, const std::string& whole) {
        const EV_Code& code = expression.code();
        const auto jump = std::find_if(code.program.code.begin(), code.program.code.end(), [](const VM_Instruction& i) {
            return i.op == VM_Op::JumpNone || i.op == VM_Op::JumpAll;
        });
        const auto reads = [&](const VM_Instruction& i) {
            return i.op == VM_Op::Host && code.sites[i.target].kind == EV_Site::Local;
        };
        const auto read = std::find_if(code.program.code.begin(), code.program.code.end(), reads);
        if (read == code.program.code.end()) return;
        const EV_Error error = EV_noValueError(EV_ERR_VARIABLE, whole, code.sites[read->target].offset);
        const bool refused = myParm->row().variables == PRM_Variables::Refused;
        add(refused && read < jump,
            fmt::format("{}: {}{}", place(), error.message, refused ? "" : "; it is read once per cook, for all"));
    }
    void addExpressionError(const EV_Error& error) { add(true, fmt::format("{}: {}", place(), error.message)); }
    /// False when evaluating would fail, and that has been said.
    bool checkReads(int component) {
        myComponent = component;
        const std::vector<ChannelCheck::Finding> found = myChannels.check({myNode, myParm, component});
        for (const ChannelCheck::Finding& finding : found)
            add(finding.error, fmt::format("{}: {}", place(), finding.text));
        return std::none_of(found.begin(), found.end(), [](const auto& finding) { return finding.error; });
    }
    static int entriesOf(const PRM_Template& row) {
        if (row.type == PRM_Type::Folder) return row.folderValue ? int(row.folders.size()) : 0;
        if (row.type != PRM_Type::Menu || !row.menu || !row.menu->names()) return 0;
        int count = 0;
        while (row.menu->names()[count].token) ++count;
        return count;
    }
    void checkOrdinal(const PRM_Template& row, double value) {
        const int count = entriesOf(row);
        if (count > 0 && !(value >= 0 && value < count))
            add(false, fmt::format("\"{}\": {} names no entry of the menu, there are {}", row.token, value, count));
    }

    void checkVectorExpression(const std::string& text) {
        EV_EXPRESSION expression(text, 3);
        if (!expression.bind(myNode->scope()))
            addExpressionError(expression.bindError());
        else if (expression.resultType() == EV_STRING)
            addExpressionError(expression.typeError(EV_VECTOR));
    }

    void checkText(PRM_Parm& parm) {
        if (parm.row().stringKind == PRM_StringKind::VectorExpression) return checkVectorExpression(parm.text());
        EV_StringExpand* expansion = parm.expansion();
        std::string text = parm.text();
        if (expansion) {
            if (parm.row().variables != PRM_Variables::PerElement)
                expansion->forEachPart([&](EV_EXPRESSION& part) {
                    if (part.bind(myNode->scope())) checkVariables(part, parm.text());
                });
            EV_clearError(0);
            if (!expansion->expand(myNode->scope(), startTime(), 0, text)) {
                add(true, fmt::format("\"{}\": {}", parm.row().token, EV_errText(0)));
                EV_clearError(0);
                return;
            }
        }
        if (!text.empty())
            checkReference(parm.row(), text);
        else if (parm.row().needed && parm.row().needed.test(*myNode) && !myNode->getBypass())
            add(true, fmt::format("\"{}\": a path is needed here", parm.row().token));
    }

    void checkReference(const PRM_Template& row, const std::string& text) {
        switch (row.stringKind) {
        case PRM_StringKind::SopPath: require(myNode->getSOPNode(text.c_str()), row, text, "geometry"); break;
        case PRM_StringKind::ObjectPath: require(myNode->findOBJNode(text.c_str()), row, text, "object"); break;
        case PRM_StringKind::ShopPath: require(myNode->findSHOPNode(text.c_str()), row, text, "shader"); break;
        case PRM_StringKind::FlxPath: {
            OP_Node* node = myNode->findNode(text.c_str());
            require(node && node->castToFLXNode(), row, text, "particle operator");
            break;
        }
        case PRM_StringKind::File: requireFile(row, text); break;
        case PRM_StringKind::PointGroup: requireGroup(row, text); break;
        default: break;
        }
    }
    void require(bool found, const PRM_Template& row, const std::string& path, const char* what) {
        if (!found)
            add(true, fmt::format("\"{}\": no {} at \"{}\"{}", row.token, what, path, suggestPath(*myNode, path)));
    }
    void requireFile(const PRM_Template& row, const std::string& file) {
        std::error_code code;
        if (!std::filesystem::is_regular_file(SceneDirectory::resolve(file), code))
            add(true, fmt::format("\"{}\": there is no file \"{}\"", row.token, file));
    }

    void requireGroup(const PRM_Template& row, const std::string& text) {
        const GroupCheck::Missing missing = myGroups.missing(*myNode, text);
        if (missing != GroupCheck::Missing::No)
            add(missing == GroupCheck::Missing::Yes,
                fmt::format("\"{}\": \"{}\": no operator of the network makes such a group", row.token, text));
    }
    static double startTime() {
        const OP_Director& director = *OPgetDirector();
        return (director.startFrame - 1) / director.fps;
    }

    OP_Node* myNode = nullptr;
    PRM_Parm* myParm = nullptr;
    int myComponent = 0; ///< of myParm
    ChannelCheck myChannels;
    GroupCheck myGroups;
};

std::string replacementText(const std::vector<std::string>& names) {
    std::string out;
    for (const std::string& name : names) out += (out.empty() ? "\"" : ", \"") + name + "\"";
    return out.empty() ? "is out of date" : "is now called " + out;
}

} // namespace

std::vector<SceneFinding> checkScene(const SceneFile& scene) {
    Checker checker;
    OP_Director& director = *OPgetDirector();
    checker.checkNetwork(*director.objManager(), nullptr);
    checker.checkNetwork(*director.shopManager(), nullptr);
    for (const SceneObsoleteUse& use : scene.obsoleteUses())
        checker.findings.push_back(
            {false, use.path, fmt::format("parameter \"{}\" {}", use.token, replacementText(use.replacements))});
    return checker.findings;
}
