#include "support/Network.h"

#include <functional>

#include "host/node/OP_OperatorTable.h"
#include "host/node/SOP_Node.h"

namespace {

/// Serves what the test wrote.
class TestSop final : public SOP_Node {
public:
    using SOP_Node::SOP_Node;
    std::function<void(GU_Detail&, float)> fill;
    bool still = false;

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        if (fill) fill(gdp, context.getTime());
        if (!still) flags().timeDependent = true;
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

template <class T> T* create(OP_Network& parent, const char* type, const char* name) {
    std::string problem;
    OP_Node* node = parent.createNode(type, name, problem);
    if (!node) throw std::runtime_error(problem);
    return dynamic_cast<T*>(node);
}

} // namespace

Network::Network(double fps)
    : myFps(fps) {
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

FLX_Node& Network::addBirths(double each) {
    FLX_Node& birth = add("location", "birth");
    birth.setFloat("constantrate", 0, 0);
    birth.setFloat("impulserate", 0, each);
    return birth;
}

void Network::prepare(FLX_Node& output) {
    myContext->frameReset();
    myContext->deleteDead = 1;
    myContext->objectNode = myObject;
    myContext->infoEnabled = 1;
    myContext->cookNode = &output;
    myContext->displayNode = &output;
    myFrame = 1;
}

void Network::start(FLX_Node& output, unsigned seed, const char* initialState) {
    GU_Detail* old = myContext->getDetail();
    prepare(output);
    myContext->reset(&output, old ? old : new GU_Detail, initialState, false, seed, false);
    cook();
}

void Network::startOn(FLX_Node& output, const std::function<void(GU_Detail&)>& fill, bool resetPending) {
    GU_Detail* detail = myContext->getDetail() ? myContext->getDetail() : new GU_Detail;
    detail->stashAll();
    fill(*detail);
    prepare(output);
    myContext->reset(&output, detail, "", true, 0, resetPending);
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

const GB_Attribute& Network::attrib(const char* name) {
    const GB_Attribute* found = detail().pointAttribs().find(name);
    if (!found) throw std::runtime_error(std::string("no attribute ") + name);
    return *found;
}

float Network::value(const char* name, int i, int component) {
    const GB_Attribute& found = attrib(name);
    const int offset = found.getOffset() + 4 * component;
    const bool number = found.getType() == GB_ATTRIB_INT || found.getType() == GB_ATTRIB_INDEX;
    return number ? float(*point(i)->castAttribData<int>(offset)) : *point(i)->castAttribData<float>(offset);
}

void Network::setValue(const char* name, int i, std::initializer_list<float> values) {
    auto* at = point(i)->castAttribData<float>(attrib(name).getOffset());
    for (const float value : values) *at++ = value;
}

void Network::setInt(const char* name, int i, int value) {
    *point(i)->castAttribData<int>(attrib(name).getOffset()) = value;
}

namespace {

template <class T> void append(std::string& out, const T& value) {
    out.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void appendStrings(std::string& out, const GB_AttributeDict& attribs) {
    for (const auto& attrib : attribs) {
        out += attrib->getName() + ";";
        append(out, attrib->getSize());
        for (const std::string& text : attrib->indexStrings()) out += text + ";";
    }
}

} // namespace

std::string Network::state() {
    std::string out;
    GU_Detail& d = detail();
    appendStrings(out, d.pointAttribs());
    appendStrings(out, d.primitiveAttribs());
    appendStrings(out, d.attribs());
    out.append(d.attribData(), size_t(d.attribs().recordSize()));
    d.points().forEach(nullptr, [&](GEO_Point* p) {
        append(out, p->getPos());
        out.append(p->data(), size_t(d.pointAttribs().recordSize()));
    });
    for (size_t i = 0; i < d.primitives().entries(); ++i) {
        const GEO_Primitive& prim = *d.primitives()(i);
        append(out, prim.getPrimitiveId());
        out.append(prim.data(), size_t(d.primitiveAttribs().recordSize()));
        for (int k = 0; k < prim.getVertexCount(); ++k) append(out, d.points().number(prim.getVertexPoint(k)));
    }
    for (const GB_PointGroup* g = d.pointGroups().head(); g; g = d.pointGroups().next(g)) {
        out += g->getName() + ";";
        d.points().forEach(g, [&](GEO_Point* p) { append(out, d.points().number(p)); });
    }
    append(out, myContext->getRandomSeed());
    append(out, myContext->getNumParticles());
    return out;
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

OBJ_Node& Network::addObject(const char* name) {
    return *create<TestGeoObject>(*OPgetDirector()->objManager(), "testgeo", name);
}

std::string Network::addGeometry(const char* name, const std::function<void(GU_Detail&, float time)>& fill,
                                 bool still) {
    auto* object = create<TestGeoObject>(*OPgetDirector()->objManager(), "testgeo", name);
    auto* sop = create<TestSop>(*object, "testsop", "out");
    sop->fill = fill;
    sop->still = still;
    return sop->getFullPath();
}
