// The variables that describe what is about to be born.
#include "host/expr/EV_Error.h"
#include "support/Network.h"
#include "vars/FLX_GenVar.h"

namespace {

std::map<std::string, int> ids() {
    std::map<std::string, int> found;
    for (const CH_LocalVariable* v = FLX_GenVar::myVariablePair.variables; v->name; ++v) found[v->name] = v->id;
    return found;
}

struct Sampling {
    Network net;
    FLX_GenVar& op;
    std::map<std::string, int> id = ids();
    UT_Vector4 position{1, 2, 3, 4};
    GU_Detail source;

    Sampling()
        : op(dynamic_cast<FLX_GenVar&>(net.add("location", "birth"))) {
        op.setFloat("constantrate", 0, 0);
        net.start(op);
    }
    float get(const std::string& name) { return op.getVariableValue(id.at(name), 0); }
    /// Value and warning of one read.
    std::string read(const std::string& name) {
        op.clearErrors();
        UTglobalErrors().clear();
        const float value = get(name);
        op.stealGlobalErrors();
        return std::to_string(int(value)) + (op.errors().empty() ? "" : " " + Network::messages(op));
    }
};

} // namespace

TEST(GeneratorVariables, MissingDataIsReplacedWithAWarning) {
    Sampling s;
    s.op.setupVars(&s.net.context(), nullptr, nullptr);
    s.op.clearSample();
    const std::set<std::string> ones = {"DRAG", "MASS", "PSCALE", "SPRINGK", "TENSION"};
    const std::set<std::string> silent = {"ITER", "NPART", "NPT", "NPRIM", "NGRP", "TIMEINC", "U", "V"};
    for (const auto& [name, number] : s.id) {
        const std::string value = ones.count(name) ? "1" : "0";
        const std::string warning = silent.count(name) ? "" : " warning FLX 1: $" + name + " = " + value;
        EXPECT_EQ(s.read(name), value + warning);
    }
    for (const int none : {399, 439, 600}) EXPECT_EQ(s.op.getVariableValue(none, 0), 0);
}

TEST(GeneratorVariables, EachReadsTheSample) {
    Sampling s;
    // clang-format off
    struct Attrib { const char* name; int size; GB_AttribType type; std::vector<const char*> variables; };
    const Attrib attribs[] = {
        {"Alpha", 4, GB_ATTRIB_FLOAT, {"CA"}}, {"Cd", 12, GB_ATTRIB_FLOAT, {"CR", "CG", "CB"}},
        {"dist", 4, GB_ATTRIB_FLOAT, {"DIST"}}, {"drag", 4, GB_ATTRIB_FLOAT, {"DRAG"}},
        {"mass", 4, GB_ATTRIB_FLOAT, {"MASS"}}, {"N", 12, GB_ATTRIB_VECTOR, {"NX", "NY", "NZ"}},
        {"pscale", 4, GB_ATTRIB_FLOAT, {"PSCALE"}}, {"springk", 4, GB_ATTRIB_FLOAT, {"SPRINGK"}},
        {"tension", 4, GB_ATTRIB_FLOAT, {"TENSION"}}, {"uv", 12, GB_ATTRIB_FLOAT, {"MAPU", "MAPV", "MAPW"}},
        {"up", 12, GB_ATTRIB_VECTOR, {"UPX", "UPY", "UPZ"}}, {"v", 12, GB_ATTRIB_VECTOR, {"VX", "VY", "VZ"}}};
    // clang-format on
    for (const Attrib& a : attribs) s.source.pointAttribs().append(a.name, a.size, a.type);
    for (const float x : {0.0f, 4.0f}) s.source.appendPoint()->setPos({x, 1, 2 * x, 1});
    s.source.insertPrimitive(GEOPRIMPOLY);
    GB_AttributeData data(s.source.pointAttribs().recordSize());
    for (int i = 0; i < data.size() / 4; ++i) *data.castAttribData<float>(4 * i) = float(100 + i);
    GB_PointGroup* group = s.source.pointGroups().newGroup("one");
    group->add(s.source.points()(1));

    s.op.setupVars(&s.net.context(), &s.source, group);
    EXPECT_TRUE(s.op.hasSourceAttributeVars());
    const UT_Vector3 normal(7, 8, 9);
    s.op.sample() = {&s.position, &data, &normal, 5, 0.25f, 0.75f};
    s.op.setIteration(2);
    s.op.countIteration();
    for (const Attrib& a : attribs) {
        const int offset = s.source.pointAttribs().find(a.name)->getOffset();
        for (size_t c = 0; c < a.variables.size(); ++c)
            EXPECT_EQ(s.get(a.variables[c]), *data.castAttribData<float>(offset + 4 * int(c))) << a.variables[c];
    }
    const float* v = data.castAttribData<float>(s.source.pointAttribs().find("v")->getOffset());
    EXPECT_FLOAT_EQ(s.get("SPEED"), std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]));
    const std::pair<const char*, float> values[] = {
        {"TX", 1},      {"TY", 2},    {"TZ", 3},       {"WEIGHT", 4},
        {"P", 5},       {"U", 0.25f}, {"V", 0.75f},    {"ITER", 3},
        {"NPT", 2},     {"NPRIM", 1}, {"NGRP", 1},     {"NPART", 0},
        {"BBX", 0.25f}, {"BBY", 0},   {"BBZ", 0.375f}, {"TIMEINC", s.net.timeStep()}};
    for (const auto& [name, value] : values) EXPECT_EQ(s.get(name), value) << name;

    s.op.sample().attribs = nullptr;
    EXPECT_EQ(s.get("NY"), 8) << "the normal that the emission gives";
    s.op.setupVars(&s.net.context(), nullptr, nullptr);
    EXPECT_EQ(s.get("BBX"), 0.25f) << "without a source the box stays as it was";
    EXPECT_TRUE(s.op.hasSourceAttributeVars());
    GU_Detail bare;
    s.op.refreshSourceAttributeVars(&bare);
    EXPECT_FALSE(s.op.hasSourceAttributeVars());
}

TEST(GeneratorVariables, TheDependencyTest) {
    Sampling s;
    s.op.setupVars(&s.net.context(), nullptr, nullptr);
    using Found = std::pair<bool, int>; // whether it varies, and the error number
    const Found once(false, EV_ERR_NONE), perParticle(true, EV_ERR_NONE), withoutValue(true, EV_ERR_VARIABLE);
    const auto test = [&](const char* expression) {
        s.op.clearErrors();
        s.op.setExpression("life", 0, expression);
        int i = 0;
        while (&s.op.parms().parm(i) != s.op.parms().find("life")) ++i;
        OP_Parameters* owner = &s.op;
        PRM_FloatComponent component{owner, i, 0};
        const bool varies = s.op.isVarDependent(&s.net.detail(), FLX_ParmRef(component), 0, 0);
        EXPECT_TRUE(s.op.errors().empty()) << "a test posts nothing";
        return Found(varies, EV_errNo(0));
    };
    for (const char* constant : {"3", "$NPT", "$TIMEINC + $NPART + $NPRIM + $NGRP", "0 ? $TX : 2"})
        EXPECT_EQ(test(constant), once) << constant;
    for (const char* own : {"$TX", "$ITER", "$U + $V", "$P", "$WEIGHT", "$BBX"})
        EXPECT_EQ(test(own), perParticle) << own;
    for (const char* missing : {"$MASS", "$NX", "$SPEED"}) EXPECT_EQ(test(missing), withoutValue) << missing;
    EXPECT_FALSE(s.op.isVarTest());
}

TEST(GeneratorVariables, VectorTransforms) {
    UT_Matrix4 m(1.0f), shear(1.0f);
    m(0, 0) = 2, m(1, 1) = 4, m(2, 2) = -0.25f; // determinant -2
    m(3, 0) = 9;
    UT_Matrix3 out;
    FLX_GenVar::buildVectorTransform(out, m);
    EXPECT_EQ(UT_Vector3(out(0, 0), out(1, 1), out(2, 2)), UT_Vector3(-0.5f, -0.25f, 4));
    shear(0, 1) = 3; // x takes y along: (x, y + 3x)
    FLX_GenVar::buildVectorTransform(out, shear);
    // A normal stays normal to what moves: (0,1,0) was normal to x, which now runs along (1,3,0).
    const UT_Vector3 n = UT_Vector3(0, 1, 0) * out, along = UT_Vector3(1, 0, 0) * shear.upper3();
    EXPECT_NEAR(dot(n, along), 0, 1e-6);
}
