// The state of one simulation: reset and copies, events, user variables, private data.
#include <cstring>
#include <map>
#include <thread>

#include "host/expr/EV_Error.h"
#include "support/Probe.h"
#include "support/SetParms.h"

namespace {

std::vector<std::string> events(Network& net) { return net.context().getEventAttr()->indexStrings(); }

std::map<std::string, int> variables(FLX_ContextData& context) {
    std::map<std::string, int> found;
    for (const CH_LocalVariable* v = context.getUserVariables(); v && v->name; ++v) found[v->name] = v->id;
    return found;
}

struct Note final : FLX_BlindData {
    Note(const FLX_Node* owner, int v, bool drop, bool copies = true)
        : FLX_BlindData(owner)
        , value(v)
        , dropped(drop)
        , copyable(copies) {}
    FLX_BlindData* duplicate(const FLX_ContextData&) override { return copyable ? new Note(*this) : nullptr; }
    int resetSimulation() override { return dropped; }
    int value;
    bool dropped, copyable;
};

} // namespace

TEST(Context, EventsAreRaisedWithdrawnAndRaisedAgain) {
    Network net;
    net.start(Probe::add(net, "probe"));
    FLX_ContextData& context = net.context();
    UT_String both("bang  boom"), bang("bang"), boo("boo");
    context.addEvent(both, 2);
    context.removeEvent(boo); // the beginning of a name is another name
    EXPECT_EQ(events(net), (std::vector<std::string>{"bang:2.000000", "boom:2.000000"}));
    context.removeEvent(bang);
    EXPECT_EQ(events(net), (std::vector<std::string>{"bang+2.000000", "boom:2.000000"}));
    context.addEvent(bang, 3);
    context.addEvent(bang, 0.125f);
    context.removeEvent(bang);
    EXPECT_EQ(events(net), (std::vector<std::string>{"boom:2.000000", "bang+3.000000", "bang+0.125000"}));
    context.addEvent(bang, 4);
    EXPECT_EQ(events(net), (std::vector<std::string>{"boom:2.000000", "bang:4.000000"}));

    context.clearAllEvents();
    std::string many;
    for (int i = 0; i < 70; ++i) many += " e" + std::to_string(i);
    UT_String names(many);
    context.addEvent(names, 1);
    ASSERT_EQ(events(net).size(), 64u);
    EXPECT_EQ(events(net).back(), "e63:1.000000");
}

TEST(Context, UserVariablesRegisterNamesPerComponent) {
    Network net;
    net.start(Probe::add(net, "probe"));
    FLX_ContextData& context = net.context();
    const float two[] = {7, 8};
    const int heat = context.addUserVariable("heat", 4, GB_ATTRIB_FLOAT, nullptr, nullptr);
    ASSERT_GE(context.addUserVariable("pair", 8, GB_ATTRIB_FLOAT, two, "Duo"), 0);
    ASSERT_GE(context.addUserVariable("wind", 12, GB_ATTRIB_VECTOR, nullptr, ""), 0);
    ASSERT_GE(context.addUserVariable("count", 4, GB_ATTRIB_INT, nullptr, nullptr), 0);
    auto names = variables(context);
    std::string list;
    for (const auto& [name, id] : names) list += name + " ";
    EXPECT_EQ(list, "COUNT COUNT1 DUO1 DUO2 HEAT HEAT1 WINDX WINDY WINDZ ");

    EXPECT_EQ(context.addUserVariable("heat", 4, GB_ATTRIB_FLOAT, nullptr, nullptr), heat);
    EXPECT_EQ(context.addUserVariable("heat", 8, GB_ATTRIB_FLOAT, nullptr, nullptr), -1) << "another size";
    EXPECT_EQ(context.addUserVariable("heat", 4, GB_ATTRIB_INT, nullptr, nullptr), -1) << "another type";
    EXPECT_EQ(context.addUserVariable("glow", 4, GB_ATTRIB_FLOAT, nullptr, "Heat"), -1) << "another attribute";
    EXPECT_EQ(context.addUserVariable("path", 4, GB_ATTRIB_INDEX, nullptr, nullptr), -1);
    EXPECT_EQ(variables(context), names) << "what was refused or known changes nothing";

    const GEO_Point* p = net.detail().appendPoint();
    EXPECT_EQ(context.getUserVariableValue(p, names["DUO2"], 0), 8);

    FLX_ContextData other("other");
    other.reset(nullptr, new GU_Detail, "", false, 0, false);
    other.addUserVariable("count", 4, GB_ATTRIB_INT, nullptr, nullptr);
    EXPECT_EQ(variables(other)["COUNT"], names["COUNT"]) << "a name means one id in every context";
    EV_clearError(0);
    other.getUserVariableValue(p, names["HEAT"], 0);
    EXPECT_EQ(EV_errNo(0), EV_ERR_VARIABLE) << "an id that only another context knows";
    EV_clearError(0);
    delete other.getDetail();

    context.offsetReset();
    EXPECT_TRUE(variables(context).empty());
}

TEST(Context, ResetStartsFromNothingOrFromWhatIsKept) {
    Network net;
    Probe& probe = Probe::addSource(net, "probe", 4);
    net.start(probe, 9);
    const auto keep = [&](bool kept, unsigned seed) {
        net.context().reset(&probe, net.context().getDetail(), "", kept, seed, false);
    };
    keep(true, 5);
    EXPECT_EQ(net.particles(), 4);
    EXPECT_EQ(net.context().getRandomSeed(), 5u);
    EXPECT_TRUE(net.context().getParticleList()->isEmpty());
    EXPECT_EQ(net.context().getDisplayDetail(), nullptr);
    ASSERT_NE(net.context().hasPrimPart(&probe), nullptr) << "found by the path that the primitive carries";
    EXPECT_EQ(net.context().getGenerator(net.context().hasPrimPart(&probe)), nullptr) << "looking claims nothing";
    EXPECT_EQ(net.context().getGenerator(net.context().getPrimPart(&probe)), &probe);
    EXPECT_EQ(net.detail().primitives().entries(), 1u);
    keep(false, 6);
    EXPECT_EQ(net.particles(), 0);
    EXPECT_EQ(net.detail().points().entries(), 0u);
    EXPECT_EQ(net.context().hasPrimPart(&probe), nullptr);
    EXPECT_EQ(net.detail().validate(), "");
}

TEST(Context, OffsetsFollowTheDetailExceptForThreeThatOnlyTheirAdderKnows) {
    Network net;
    net.start(Probe::add(net, "probe"));
    FLX_ContextData& context = net.context();
    const float mass = 2;
    net.detail().pointAttribs().append("mass", 4, GB_ATTRIB_FLOAT, &mass);
    net.detail().pointAttribs().append("drag", 4, GB_ATTRIB_INT); // not what the catalogue means by it
    const int none = -1;
    net.detail().pointAttribs().append("nearest", 4, GB_ATTRIB_INT, &none);
    context.recacheOffset();
    EXPECT_EQ(context.getDragOffset(), -1);
    EXPECT_EQ(context.getNearestOffset(), -1);
    EXPECT_EQ(context.addAttrib(FLX_Attrib::Drag), -1) << "the name is taken";
    const int nearest = context.addAttrib(FLX_Attrib::Nearest);
    EXPECT_GE(nearest, 0);
    context.recacheOffset();
    EXPECT_EQ(context.getNearestOffset(), nearest);

    for (int i = 0; i < FLX_NUM_ATTRIBS; ++i) context.addAttrib(FLX_Attrib(i));
    const GEO_Point* p = net.detail().appendPoint();
    EXPECT_EQ(*p->castAttribData<float>(context.getMassOffset()), 2) << "it was there before";
    EXPECT_EQ(p->castAttribData<float>(context.getRotOffset())[3], 1);

    FLX_ContextData copy("copy");
    copy.copyFrom(context, new GU_Detail);
    std::string missing;
    for (int i = 0; i < FLX_NUM_ATTRIBS; ++i) {
        const auto attrib = FLX_Attrib(i);
        if (copy.offset(attrib) != context.offset(attrib)) missing += std::string(FLXattribRow(attrib).name) + " ";
    }
    EXPECT_EQ(missing, "nearest nearestdist numproximity oaxis ocenter orbit oradius ospeed ");
    EXPECT_GE(copy.addAttrib(FLX_Attrib::OrbitSpeed), 0) << "the adder finds it again";
    delete copy.getDetail();
}

TEST(Context, ACopyGoesOnLikeItsOriginal) {
    Network net;
    FLX_Node& birth = net.add("location", "birth");
    FLX_Node& pull = net.add("force", "pull", {&birth});
    setParms(birth, "lifevar=0.1+0*$ITER life=0.3 dogen=1");
    birth.setString("group", "young");
    pull.setFloat("amp", 0, 3);
    net.start(pull, 17);
    net.step(12);
    net.context().addUserVariable("heat", 4, GB_ATTRIB_FLOAT, nullptr, nullptr);
    UT_String event("bang");
    net.context().addEvent(event, 1);
    net.context().setRuleSuppression(FLX_SUPPRESS_UP);
    net.context().setInputGeo("/obj/a", 2);

    auto* copy = new FLX_ContextData("copy");
    copy->copyFrom(net.context(), new GU_Detail);
    EXPECT_EQ(copy->getDetail()->validate(), "");
    EXPECT_EQ(variables(*copy), variables(net.context()));
    UT_String path;
    copy->getInputGeo(path, 2);
    EXPECT_EQ(path, "/obj/a");
    EXPECT_EQ(copy->getRuleSuppression(), FLX_SUPPRESS_UP);
    EXPECT_EQ(copy->getDisplayDetail(), nullptr);
    ASSERT_FALSE(copy->getParticleList()->isEmpty());
    EXPECT_EQ(copy->getParticleList()->entry(0).prim->getParent(), copy->getDetail());
    EXPECT_EQ(copy->getParticleList()->entry(0).owner, &pull);

    for (int frame = 0; frame < 6; ++frame) {
        net.step();
        copy->time = net.time();
        OP_Context context(copy->time);
        copy->cook(context);
        ASSERT_EQ(copy->getRandomSeed(), net.context().getRandomSeed());
        ASSERT_EQ(copy->getDetail()->points().entries(), net.detail().points().entries());
        const size_t bytes = size_t(net.detail().pointAttribs().recordSize());
        for (int i = 0; i < net.particles(); ++i)
            ASSERT_EQ(std::memcmp(copy->getDetail()->points()(size_t(i))->data(), net.point(i)->data(), bytes), 0)
                << "frame " << frame << " particle " << i;
    }
    copy->decRef();
}

TEST(Context, PrivateDataIsKeptPerOperatorCopiedAndDroppedAtReset) {
    Network net;
    Probe& a = Probe::add(net, "a");
    Probe& b = Probe::add(net, "b");
    Probe& c = Probe::add(net, "c");
    net.start(a);
    FLX_ContextData& context = net.context();
    context.addBlindData(new Note(&a, 1, true));
    context.addBlindData(new Note(&b, 2, false));
    context.addBlindData(new Note(&c, 3, false, false));
    Note second(&a, 4, true);
    EXPECT_EQ(context.addBlindData(&second), 0);

    FLX_ContextData copy("copy");
    testing::internal::CaptureStderr();
    copy.copyFrom(context, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Programming Error: c BlindData duplicate failed\n");
    EXPECT_EQ(static_cast<Note*>(copy.getBlindData(&b))->value, 2);
    EXPECT_NE(copy.getBlindData(&b), context.getBlindData(&b));
    EXPECT_EQ(copy.getBlindData(&c), nullptr);

    context.offsetReset();
    EXPECT_EQ(context.getBlindData(&a), nullptr);
    ASSERT_NE(context.getBlindData(&b), nullptr);
    const std::unique_ptr<FLX_BlindData> stolen(context.stealBlindData(&b));
    EXPECT_EQ(static_cast<Note*>(stolen.get())->value, 2);
    EXPECT_EQ(context.stealBlindData(&b), nullptr);
}

TEST(Context, HandlesOutliveTheContext) {
    auto* context = new FLX_ContextData("short");
    FLX_ContextDataHandle first(context), second, third(first);
    second = third;
    second.set(nullptr);
    second.set(context);
    context->incRef();
    context->decRef();
    EXPECT_EQ(second.get(), context);
    const FLX_ContextDataHandle& itself = third;
    third = itself;
    context->decRef();
    for (const auto* handle : {&first, &second, &third}) EXPECT_EQ(handle->get(), nullptr);
}

TEST(Context, TheExpressionContextIsTheInnermostOfTheThread) {
    Network net;
    Probe& probe = Probe::add(net, "probe");
    FLX_ContextData inner("inner");
    std::vector<FLX_ContextData*> seen;
    probe.work = [&](Probe&, OP_Context&) {
        seen.push_back(FLX_ContextData::getExpressionData(0));
        OP_Context nested(0);
        inner.cook(nested);
        seen.push_back(FLX_ContextData::getExpressionData(0));
        std::thread([&] { seen.push_back(FLX_ContextData::getExpressionData(0)); }).join();
    };
    net.start(probe);
    EXPECT_EQ(seen, (std::vector<FLX_ContextData*>{&net.context(), &net.context(), nullptr}));
    EXPECT_EQ(FLX_ContextData::getExpressionData(0), nullptr);
}
