#include "support/Network.h"

#include <functional>

#include "host/node/OP_OperatorTable.h"
#include "host/node/SOP_Node.h"
#include "host/ut/UT_ErrorTable.h"

namespace {

/// Serves what the test wrote.
class TestSop final : public SOP_Node {
public:
    using SOP_Node::SOP_Node;
    std::function<void(GU_Detail&, float)> fill;

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        if (fill) fill(gdp, context.getTime());
        flags().timeDependent = true;
        return error();
    }
};

/// An object that holds geometry.
class TestGeoObject final : public OBJ_Node {
public:
    using OBJ_Node::OBJ_Node;
    const char* getChildType() const override { return "SOP"; }
    OP_OpTypeId getChildTypeID() const override { return SOP_OPTYPE_ID; }
    OP_OperatorTable* childTable() const override { return &OP_Director::operatorTable("SOP"); }
};

template <class T> OP_Node* construct(OP_Network* parent, const char* name, OP_Operator* op) { return new T(parent, name, op); }

template <class T> void registerType(const char* family, const char* name) {
    OP_Director::operatorTable(family).addOperator(
        std::make_unique<OP_Operator>(name, name, &construct<T>, 0, 9999, nullptr, 0u));
}

template <class T> T* create(OP_Network& parent, const char* type, const char* name) {
    std::string problem;
    OP_Node* node = parent.createNode(type, name, problem);
    if (!node) throw std::runtime_error(problem);
    return dynamic_cast<T*>(node);
}

} // namespace

Network::Network(double fps) : myFps(fps) {
    OPresetDirector();
    FLX_Node::buildOperatorTable(OP_Director::operatorTable("FLX"));
    registerType<TestNetworkNode>("OBJ", "testnet");
    registerType<TestGeoObject>("OBJ", "testgeo");
    registerType<TestSop>("SOP", "testsop");
    OPgetDirector()->fps = fps;
    myObject = create<TestNetworkNode>(*OPgetDirector()->objManager(), "testnet", "fx");
    myContext = new FLX_ContextData("test");
}

Network::~Network() {
    myContext->decRef();
    OPresetDirector();
}

FLX_Node& Network::add(const char* type, const char* name, std::initializer_list<OP_Node*> inputs, OP_Network* parent) {
    auto& node = *create<FLX_Node>(parent ? *parent : *myObject, type, name);
    int i = 0;
    for (OP_Node* input : inputs) node.setInput(i++, input);
    return node;
}

void Network::start(FLX_Node& output, unsigned seed, const char* initialState) {
    GU_Detail* old = myContext->getDetail();
    myContext->frameReset();
    myContext->deleteDead = 1;
    myContext->objectNode = myObject;
    myContext->infoEnabled = 1;
    myContext->cookNode = &output;
    myContext->displayNode = &output;
    auto* detail = old ? old : new GU_Detail;
    myContext->reset(&output, detail, initialState, false, seed, false);
    myFrame = 1;
    cook();
}

void Network::step(int n) {
    for (int i = 0; i < n; ++i) {
        ++myFrame;
        cook();
    }
}

void Network::cook() {
    myContext->time = float((myFrame - 1) / myFps);
    myContext->timeStep = float(1 / myFps);
    OP_Context context(myContext->time);
    myContext->cook(context);
}

float Network::value(const char* attrib, int point, int component) {
    const GB_Attribute* found = detail().pointAttribs().find(attrib);
    if (!found) throw std::runtime_error(std::string("no attribute ") + attrib);
    const GEO_Point* p = detail().points()(size_t(point));
    const int offset = found->getOffset() + 4 * component;
    return found->getType() == GB_ATTRIB_INT ? float(*p->castAttribData<int>(offset)) : *p->castAttribData<float>(offset);
}

int Network::intValue(const char* attrib, int point) { return int(value(attrib, point)); }

UT_Vector3 Network::position(int point) {
    const UT_Vector4& p = detail().points()(size_t(point))->getPos();
    return {p.x(), p.y(), p.z()};
}

std::string Network::messages(const FLX_Node& node) {
    std::string text;
    for (const UT_Error& message : node.errors()) {
        if (!text.empty()) text += "\n";
        text += UTerrorBrief(message);
    }
    return text;
}

std::string Network::addGeometry(const char* name, const std::function<void(GU_Detail&, float time)>& fill) {
    auto* object = create<TestGeoObject>(*OPgetDirector()->objManager(), "testgeo", name);
    auto* sop = create<TestSop>(*object, "testsop", "out");
    sop->fill = fill;
    return sop->getFullPath();
}
