#include "support/RandomNetwork.h"

#include <iterator>

#include "host/node/OP_Operator.h"
#include "host/ut/UT_Interrupt.h"
#include "support/TestOperators.h"

namespace {

void setNumber(FLX_Node& node, const char* parm, int component, Dice& dice, double low, double high) {
    // clang-format off
    static constexpr const char* expressions[] = {
        "$AGE * 2", "$TX * 0.3 - $VY", "$BBX - $BBZ", "$NPT * 0.001", "$NPT * 0.001 + $AGE", "$ITER * 0.01",
        "$PT * 0.02", "rand($ID)", "$MASS + 1", "$LIFE", "$T * 3", "sin($TY * 5) * $T", "$NGRP * 0.1 + $SPEED",
        "$VX + $CHARGE", "flxpoint(3, \"P\", 1) * 0.2", "flxpointnum($ID) * 0.01 + $AZ", "$BBY > 0.5 ? $AGE : $UPX",
        "$NUMHIT * 0.2 + $JUSTHIT"};
    // clang-format on
    if (dice.chance(35))
        node.setExpression(parm, component, expressions[dice.below(int(std::size(expressions)))]);
    else
        node.setFloat(parm, component, dice.between(low, high));
}

void setCommon(FLX_Node& node, Dice& dice) {
    if (dice.chance(10)) node.setExpression("activate", 0, "$T < 0.2 || $T > 0.35");
    if (dice.chance(12))
        node.setString("source", dice.pick({"newborn", "0-40", "!joined", "newborn 3-600:7", "nothing*", "hitters"}));
}

void setForce(FLX_Node& node, Dice& dice) {
    setCommon(node, dice);
    for (int i = 0; i < 3; ++i)
        if (dice.chance(60)) setNumber(node, "force", i, dice, -10, 10);
    if (dice.chance(30)) setNumber(node, "scale", 0, dice, 0, 2);
    if (dice.chance(30)) node.setFloat("amp", dice.below(3), dice.between(0, 3));
    if (dice.chance(15)) node.setExpression("ignoremass", 0, "$AGE > 0.1");
    if (dice.chance(15)) node.setFloat("overridemass", 0, 1);
    if (dice.chance(20)) setNumber(node, "mass", 0, dice, 0.5, 2);
}

void setMover(FLX_Node& node, Dice& dice) {
    setCommon(node, dice);
    node.setFloat("deed", 0, dice.below(TestMover::Count));
    setNumber(node, "amount", 0, dice, 0.2, 2);
}

void setAsker(FLX_Node& node, Dice& dice) { node.setFloat("question", 0, dice.below(TestAsker::Count)); }

void setHandler(FLX_Node& node, Dice& dice) {
    const int deed = dice.below(TestHandler::Count);
    node.setFloat("deed", 0, deed);
    node.setFloat("from", 0, dice.between(0, 0.3));
    node.setFloat("until", 0, deed == TestHandler::Fail ? 0.4 : dice.between(0.3, 1));
}

void setNothing(FLX_Node&, Dice&) {}

constexpr const char *SWELLING = "/obj/box/out", *STILL = "/obj/still/out", *SWAYING = "/obj/swaying/out";

void setCollision(FLX_Node& node, Dice& dice) {
    setCommon(node, dice);
    node.setString("soppath", dice.pick({SWELLING, STILL, STILL, SWAYING, SWAYING, "/obj/nowhere"}));
    node.setFloat("geohint", 0, dice.below(3));
    node.setFloat("sample", 0, 1 + dice.below(3));
    node.setFloat("behavior", 0, dice.chance(50) ? 1 : dice.below(6));
    if (dice.chance(30)) node.setFloat("finalbehavior", 0, dice.below(5));
    if (dice.chance(30)) setNumber(node, "minimpulse", 0, dice, 0, 3);
    if (dice.chance(20)) setNumber(node, "tolerance", 0, dice, 0, 0.1);
    if (dice.chance(40)) setNumber(node, "gainnml", 0, dice, 0, 1.2);
    if (dice.chance(40)) setNumber(node, "gaintan", 0, dice, 0, 1);
    if (dice.chance(20)) node.setExpression("hitindex", 0, dice.pick({"$NUMHIT", "$PT", "$ITER + $HITID"}));
    if (dice.chance(25)) node.setString("group", "hitters");
    if (dice.chance(25)) node.setString("event", "bang");
    for (const char* toggle : {"preservegroup", "hituse", "enforceorient", "dohittest", "donormalstep", "donumhit",
                               "dohitid", "dohittime", "dohitpos", "dohitposuv", "dohitnormal", "dohitdiff", "dohituv"})
        node.setFloat(toggle, 0, dice.chance(50));
    node.setFloat("dodistance", 0, dice.chance(15));
}

/// Some parameters, whatever they mean.
void setAnything(FLX_Node& node, Dice& dice) {
    setCommon(node, dice);
    for (const PRM_Template& row : node.getOperator()->templates().rows) {
        if (row.token == "activate" || !dice.chance(40)) continue;
        if (row.type == PRM_Type::Toggle || row.type == PRM_Type::Menu)
            node.setFloat(row.token.c_str(), 0, dice.below(2));
        for (int i = 0; row.type == PRM_Type::Float && i < row.size; ++i)
            setNumber(node, row.token.c_str(), i, dice, -3, 3);
    }
}

// ---- a new operator type is a row here

struct OperatorRow {
    const char* type;
    int weight;
    void (*setUp)(FLX_Node&, Dice&);
};

constexpr OperatorRow operatorRows[] = {
    {"force", 8, setForce},          {"null", 1, setNothing},         {"testmover", 8, setMover},
    {"testasker", 2, setAsker},      {"testhandler", 3, setHandler},  {"acceleration", 1, setAnything},
    {"collision", 6, setCollision},  {"angvelocity", 1, setAnything}, {"lookat", 1, setAnything},
    {"position", 1, setAnything},    {"rotation", 1, setAnything},    {"speedlimit", 1, setAnything},
    {"translation", 1, setAnything}, {"turn", 1, setAnything},        {"upvector", 1, setAnything},
    {"velocity", 1, setAnything},
};

const OperatorRow& pickRow(Dice& dice) {
    int total = 0;
    for (const OperatorRow& row : operatorRows) total += row.weight;
    int left = dice.below(total);
    for (const OperatorRow& row : operatorRows)
        if ((left -= row.weight) < 0) return row;
    return operatorRows[0];
}

void registerTestOperators() {
    Network::registerOperator<TestMover>("testmover", &FLX_LocalVar::myVariablePair);
    Network::registerOperator<TestAsker>("testasker", &FLX_LocalVar::myVariablePair);
    Network::registerOperator<TestHandler>("testhandler");
}

// Geometry that asks the particle network.
void addBox(GU_Detail& detail, float time) {
    const FLX_ContextData* context = FLX_ContextData::getExpressionData(0);
    const float count = context && context->getDetail() ? float(context->getDetail()->points().entries()) : 0;
    detail.cube({-1 - time - 0.001f * count, -1, -1}, {1, 1, 1});
    const int mass = detail.pointAttribs().append("mass", 4, GB_ATTRIB_FLOAT, nullptr);
    detail.points().forEach(nullptr,
                            [&](GEO_Point* p) { *p->castAttribData<float>(mass) = 1.5f + p->getPos().x() * 0.2f; });
}

/// Walls around and below the box, of triangles, with something to read at a hit.
void addWalls(GU_Detail& detail, float shift) {
    constexpr int CELLS = 6;
    GEO_Point* corners[CELLS + 1][CELLS + 1];
    const int diffuse = detail.pointAttribs().append("Cd", 12, GB_ATTRIB_VECTOR, nullptr);
    for (int i = 0; i <= CELLS; ++i)
        for (int k = 0; k <= CELLS; ++k) {
            const float x = float(i) - 0.5f * CELLS, z = float(k) - 0.5f * CELLS;
            corners[i][k] = detail.appendPoint();
            corners[i][k]->setPos(UT_Vector4(x + shift, 0.2f * (x * x + z * z) - 1.2f + 0.5f * shift, z, 1));
            corners[i][k]->castAttribData<UT_Vector3>(diffuse)->assign(x, z, 0.5f);
        }
    for (int i = 0; i < CELLS; ++i)
        for (int k = 0; k < CELLS; ++k) {
            GEO_Point* const low[] = {corners[i][k], corners[i][k + 1], corners[i + 1][k + 1]};
            GEO_Point* const high[] = {corners[i][k], corners[i + 1][k + 1], corners[i + 1][k]};
            GU_PrimPoly::build(&detail, low);
            GU_PrimPoly::build(&detail, high);
        }
}

} // namespace

RandomNetwork::RandomNetwork(unsigned seed, FLX_CookOrder order)
    : myDice(seed) {
    registerTestOperators();
    myGeometry = myNet.addGeometry("box", addBox);
    myNet.addGeometry(
        "still", [](GU_Detail& detail, float) { addWalls(detail, 0); }, true);
    myNet.addGeometry("swaying", [](GU_Detail& detail, float time) { addWalls(detail, 2 * time); });
    std::vector<FLX_Node*> branches;
    for (int i = 0, n = 1 + myDice.below(3); i < n; ++i)
        branches.push_back(myDice.chance(15) ? &addSubNetwork() : &addRow(addGenerator(), 2));
    FLX_Node& output = addRow(branches.size() > 1 ? join(branches) : *branches.front(), 6);
    for (FLX_Node* node : myNodes) {
        if (myDice.chance(4)) node->setBypass(true);
        if (myDice.chance(15)) node->setTemplate(true);
    }
    myNet.context().setCookOrder(order);
    chooseSwitches();
    myNet.start(output, seed);
    FLX_ContextData& context = myNet.context();
    context.deleteDead = myDice.chance(80);
    if (myDice.chance(25)) context.displayNode = myNodes[size_t(myDice.below(int(myNodes.size())))];
    if (myDice.chance(20)) context.maxParticles = 20 + myDice.below(600);
    context.guidesWanted = myDice.chance(25);
    context.infoEnabled = myDice.chance(90);
    if (myDice.chance(30)) myInterruptedStep = myDice.below(12);
}

void RandomNetwork::chooseSwitches() {
    FLX_ContextData& context = myNet.context();
    context.setDoCookFirst(myDice.chance(15));
    if (myDice.chance(8)) context.setDoReap(false);
    if (myDice.chance(8)) context.setDoPrep(false);
    if (myDice.chance(10)) context.setRuleSuppression(myDice.pick<int>({FLX_SUPPRESS_POS, FLX_SUPPRESS_AGE}));
}

FLX_Node& RandomNetwork::addNode(const char* type, std::initializer_list<OP_Node*> inputs, OP_Network* parent) {
    const std::string name = type + std::to_string(myNodes.size());
    FLX_Node& node = myNet.add(type, name.c_str(), inputs, parent);
    myNodes.push_back(&node);
    myDescription += " " + name;
    return node;
}

FLX_Node& RandomNetwork::addGenerator() {
    const bool source = myDice.chance(35);
    FLX_Node& node = addNode(source ? "source" : "location", {});
    node.setFloat("constantrate", 0, myDice.chance(25) ? 0 : myDice.between(100, 6000));
    if (myDice.chance(30)) node.setExpression("impulserate", 0, "$F == 3 ? 300 : 0");
    node.setFloat("life", 0, myDice.between(0.1, 0.8));
    if (myDice.chance(20)) node.setExpression("life", 0, "0.1 + $NPART * 0.0004");
    node.setFloat("lifevar", 0, myDice.between(0, 0.2));
    node.setFloat("doid", 0, myDice.chance(90));
    node.setFloat("dospeed", 0, myDice.chance(20));
    node.setFloat("doorigin", 0, myDice.chance(20));
    if (myDice.chance(35)) node.setString("group", "newborn");
    node.setFloat("preservegroup", 0, myDice.chance(50));
    for (int i = 0; i < 3; ++i) node.setFloat("vel", i, myDice.between(-1, 3));
    if (source) {
        node.setString("soppath", myGeometry.c_str());
        node.setFloat("emittype", 0, myDice.below(11));
        node.setFloat("accuratebirths", 0, myDice.chance(10));
        node.setFloat("initvel", 0, myDice.below(3));
    } else if (myDice.chance(20)) {
        node.setExpression("loc", 0, "$NPART * 0.001");
    }
    return node;
}

FLX_Node& RandomNetwork::addOperator(FLX_Node& input) {
    const OperatorRow& row = pickRow(myDice);
    FLX_Node& node = addNode(row.type, {&input});
    row.setUp(node, myDice);
    if (node.hasParm("path")) node.setString("path", myGeometry.c_str());
    // The same particles twice, which only one that takes nothing over can have.
    if (node.hasParm("refers") && myDice.chance(10)) {
        node.setFloat("refers", 0, 1);
        node.setInput(1, &input);
    }
    return node;
}

FLX_Node& RandomNetwork::addRow(FLX_Node& input, int most) {
    FLX_Node* last = &input;
    for (int i = myDice.below(most + 1); i > 0; --i) last = &addOperator(*last);
    return *last;
}

FLX_Node& RandomNetwork::join(std::vector<FLX_Node*> branches) {
    if (myDice.chance(50)) std::swap(branches.front(), branches.back());
    FLX_Node& node = addNode(myDice.chance(75) ? "collect" : "switch", {});
    for (size_t i = 0; i < branches.size(); ++i) node.setInput(int(i), branches[i]);
    if (node.hasParm("input")) node.setExpression("input", 0, "floor($T * 7) % 3");
    return node;
}

FLX_Node& RandomNetwork::addSubNetwork() {
    FLX_Node& sub = addNode("subnet", {});
    FLX_Node& birth = addNode("location", {}, &sub);
    birth.setFloat("life", 0, 0.3);
    birth.setFloat("constantrate", 0, myDice.between(100, 3000));
    FLX_Node& force = addNode("force", {&birth}, &sub);
    setForce(force, myDice);
    force.setRender(true);
    return sub;
}

std::string RandomNetwork::step() {
    const bool interrupted = myStep++ == myInterruptedStep;
    if (interrupted) UTgetInterrupt()->fireAtPoll(1 + myDice.below(8));
    myNet.step();
    if (interrupted) UTgetInterrupt()->clear();
    return seen();
}

std::string RandomNetwork::seen() {
    std::string out = myNet.state();
    if (const GU_Detail* shown = myNet.context().getDisplayDetail())
        shown->points().forEach(nullptr, [&](GEO_Point* p) {
            out.append(reinterpret_cast<const char*>(&p->getPos()), sizeof p->getPos());
            out.append(p->data(), size_t(shown->pointAttribs().recordSize()));
        });
    OP_Context context(myNet.time());
    for (FLX_Node* node : myNodes) {
        out += std::string(node->getName()) + ": " + Network::messages(*node) + "\n";
        node->getNodeSpecificInfoText(context, 1, out);
    }
    for (const GU_DetailHandle& guide : myNet.context().guideHandles)
        if (const GU_Detail* lines = guide.peekDetail())
            out += std::to_string(lines->points().entries()) + " guide points\n";
    return out;
}
