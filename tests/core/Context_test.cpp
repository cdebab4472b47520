// The state of one simulation: reset and copies, ids, random numbers, events, user variables, private data.
#include <cstring>
#include <map>
#include <thread>

#include "host/expr/EV_Error.h"
#include "support/Probe.h"
#include "support/RandomModel.h"
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

TEST(Context, RandomSequencesFollowTheSharedState) {
    Network net;
    Probe& probe = Probe::add(net, "probe");
    for (const unsigned seed : {0u, 1u, 123456789u, 0xffffffffu}) {
        net.start(probe, seed);
        RandomModel model{seed};
        for (int i = 0; i < 300; ++i) {
            const bool sample = i % 3 == 1;
            const float drawn = sample ? net.context().randomSample() : net.context().random();
            ASSERT_EQ(drawn, sample ? model.sample() : model.random()) << "seed " << seed << " draw " << i;
            ASSERT_GE(drawn, 0);
            ASSERT_LT(drawn, 1);
            ASSERT_EQ(net.context().getRandomSeed(), model.seed);
        }
    }
}

TEST(Context, IdsCountFromOneAndAreNeverReused) {
    Network net;
    Probe& probe = Probe::add(net, "probe");
    net.start(probe);
    for (int i = 1; i <= 5; ++i) ASSERT_EQ(net.context().nextID(), i);
    net.step();
    EXPECT_EQ(net.context().nextID(), 6);
    GU_Detail other;
    FLX_ContextData context("bare");
    context.setRefDetail(&net.detail());
    EXPECT_EQ(context.nextID(), 7) << "the counter belongs to the detail";
    context.setRefDetail(&other);
    EXPECT_EQ(context.nextID(), 1);
    EXPECT_EQ(context.nextID(), 2);
    net.start(probe);
    EXPECT_EQ(net.context().nextID(), 1) << "a fresh simulation counts afresh";
}

TEST(Context, EventsAreRaisedWithdrawnAndRaisedAgain) {
    Network net;
    Probe& probe = Probe::add(net, "probe");
    net.start(probe);
    UT_String both("bang  boom"), bang("bang"), boo("boo");
    net.context().addEvent(both, 2);
    EXPECT_EQ(events(net), (std::vector<std::string>{"bang:2.000000", "boom:2.000000"}));
    net.context().removeEvent(boo);
    EXPECT_EQ(events(net)[1], "boom:2.000000") << "the beginning of a name is another name";
    net.context().removeEvent(bang);
    EXPECT_EQ(events(net), (std::vector<std::string>{"bang+2.000000", "boom:2.000000"}));
    net.context().addEvent(bang, 3);
    net.context().addEvent(bang, 0.125f);
    net.context().removeEvent(bang);
    EXPECT_EQ(events(net), (std::vector<std::string>{"boom:2.000000", "bang+3.000000", "bang+0.125000"}));
    net.context().addEvent(bang, 4);
    EXPECT_EQ(events(net), (std::vector<std::string>{"boom:2.000000", "bang:4.000000"}));
    net.context().clearAllEvents();
    EXPECT_TRUE(events(net).empty());

    std::string many;
    for (int i = 0; i < 70; ++i) many += " e" + std::to_string(i);
    UT_String names(many);
    net.context().addEvent(names, 1);
    ASSERT_EQ(events(net).size(), 64u);
    EXPECT_EQ(events(net).back(), "e63:1.000000");
}

TEST(Context, UserVariablesRegisterNamesPerComponent) {
    Network net;
    Probe& probe = Probe::add(net, "probe");
    net.start(probe);
    FLX_ContextData& context = net.context();
    const float two[] = {7, 8};
    const int three = 3;
    const int heat = context.addUserVariable("heat", 4, GB_ATTRIB_FLOAT, nullptr, nullptr);
    ASSERT_GE(heat, 0);
    ASSERT_GE(context.addUserVariable("pair", 8, GB_ATTRIB_FLOAT, two, "Duo"), 0);
    ASSERT_GE(context.addUserVariable("wind", 12, GB_ATTRIB_VECTOR, nullptr, ""), 0);
    ASSERT_GE(context.addUserVariable("count", 4, GB_ATTRIB_INT, &three, nullptr), 0);
    auto names = variables(context);
    std::string list;
    for (const auto& [name, id] : names) list += name + " ";
    EXPECT_EQ(list, "COUNT COUNT1 DUO1 DUO2 HEAT HEAT1 WINDX WINDY WINDZ ");
    for (const auto& [name, id] : names) EXPECT_TRUE(FLX_ContextData::isUserVariable(id)) << name;
    EXPECT_FALSE(FLX_ContextData::isUserVariable(599));

    EXPECT_EQ(context.addUserVariable("heat", 4, GB_ATTRIB_FLOAT, nullptr, nullptr), heat);
    EXPECT_EQ(context.addUserVariable("heat", 8, GB_ATTRIB_FLOAT, nullptr, nullptr), -1) << "another size";
    EXPECT_EQ(context.addUserVariable("heat", 4, GB_ATTRIB_INT, nullptr, nullptr), -1) << "another type";
    EXPECT_EQ(context.addUserVariable("glow", 4, GB_ATTRIB_FLOAT, nullptr, "Heat"), -1) << "another attribute";
    EXPECT_EQ(context.addUserVariable("path", 4, GB_ATTRIB_INDEX, nullptr, nullptr), -1);
    EXPECT_EQ(context.addUserVariable("blob", 4, GB_ATTRIB_RAW, nullptr, nullptr), -1);
    EXPECT_EQ(variables(context), names) << "what was refused or known changes nothing";

    GEO_Point* p = net.detail().appendPoint();
    float* wind = p->castAttribData<float>(net.detail().pointAttribs().find("wind")->getOffset());
    wind[0] = 1.5f, wind[1] = 2.5f, wind[2] = 3.5f;
    EV_clearError(0);
    EXPECT_EQ(context.getUserVariableValue(p, names["WINDY"], 0), 2.5f);
    EXPECT_EQ(context.getUserVariableValue(p, names["DUO2"], 0), 8);
    EXPECT_EQ(context.getUserVariableValue(p, names["COUNT1"], 0), 3);
    EXPECT_EQ(EV_errNo(0), EV_ERR_NONE);
    EXPECT_EQ(context.getUserVariableValue(p, 599999, 0), 0);
    EXPECT_EQ(EV_errNo(0), EV_ERR_VARIABLE);
    EV_clearError(0);

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

    net.context().maxParticles = 10;
    for (const auto& [count, allowed] : {std::pair{9, true}, {10, false}, {11, false}}) {
        net.context().bumpNumParticles(count - net.particles());
        EXPECT_EQ(net.context().allowBirth(), allowed) << count;
    }
    for (const int unlimited : {0, -3}) {
        net.context().maxParticles = unlimited;
        EXPECT_TRUE(net.context().allowBirth());
    }
    net.start(probe, 0, "/nonexistent/state.flx");
    EXPECT_NE(net.context().loadError(), "");
    EXPECT_EQ(net.particles(), 0);
}

TEST(Context, OffsetsFollowTheDetailExceptForThreeThatOnlyTheirAdderKnows) {
    Network net;
    Probe& probe = Probe::add(net, "probe");
    net.start(probe);
    FLX_ContextData& context = net.context();
    EXPECT_EQ(context.getMassOffset(), -1);
    const float mass = 2;
    net.detail().pointAttribs().append("mass", 4, GB_ATTRIB_FLOAT, &mass);
    net.detail().pointAttribs().append("drag", 4, GB_ATTRIB_INT); // not what the catalogue means by it
    const int none = -1;
    net.detail().pointAttribs().append("nearest", 4, GB_ATTRIB_INT, &none);
    context.recacheOffset();
    EXPECT_GE(context.getMassOffset(), 0);
    EXPECT_EQ(context.getDragOffset(), -1);
    EXPECT_EQ(context.getNearestOffset(), -1);
    EXPECT_EQ(context.addAttrib(FLX_Attrib::Drag), -1) << "the name is taken";
    EXPECT_GE(context.addAttrib(FLX_Attrib::Nearest), 0);
    const int nearest = context.getNearestOffset();
    context.recacheOffset();
    EXPECT_EQ(context.getNearestOffset(), nearest);

    for (int i = 0; i < FLX_NUM_ATTRIBS; ++i) context.addAttrib(FLX_Attrib(i));
    const GEO_Point* p = net.detail().appendPoint();
    EXPECT_EQ(*p->castAttribData<float>(context.getMassOffset()), 2) << "it was there before";
    EXPECT_EQ(p->castAttribData<float>(context.getRotOffset())[3], 1);

    FLX_ContextData copy("copy");
    copy.copyFrom(context, new GU_Detail);
    const std::string lost = "nearest nearestdist numproximity oaxis ocenter orbit oradius ospeed ";
    std::string missing;
    for (int i = 0; i < FLX_NUM_ATTRIBS; ++i) {
        const auto attrib = FLX_Attrib(i);
        if (copy.offset(attrib) == -1 && attrib != FLX_Attrib::Drag)
            missing += std::string(FLXattribRow(attrib).name) + " ";
        else
            EXPECT_EQ(copy.offset(attrib), context.offset(attrib)) << FLXattribRow(attrib).name;
    }
    EXPECT_EQ(missing, lost);
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
        ASSERT_EQ(copy->getNumParticles(), net.particles());
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
    EXPECT_EQ(context.getBlindData(&a), nullptr);
    EXPECT_EQ(context.addBlindData(new Note(&a, 1, true)), 1);
    EXPECT_EQ(context.addBlindData(new Note(&b, 2, false)), 1);
    EXPECT_EQ(context.addBlindData(new Note(&c, 3, false, false)), 1);
    auto* second = new Note(&a, 4, true);
    EXPECT_EQ(context.addBlindData(second), 0);
    delete second;
    EXPECT_EQ(context.getBlindData(&a)->getOwner(), &a);

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
    context->incRef();
    context->decRef();
    EXPECT_EQ(second.get(), context);
    second.set(nullptr);
    second.set(context);
    context->decRef();
    for (const auto* handle : {&first, &second, &third}) EXPECT_EQ(handle->get(), nullptr);
    auto* later = new FLX_ContextData("later");
    third.set(later);
    const FLX_ContextDataHandle& itself = third;
    third = itself;
    EXPECT_EQ(third.get(), later);
    later->decRef();
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
