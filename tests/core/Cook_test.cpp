// One cook of a network: traversal, ownership of particles, bypass, display, guides, info texts and menus.
#include "host/ut/UT_CRC.h"
#include "support/Info.h"
#include "support/MenuOf.h"
#include "support/Probe.h"

namespace {

std::vector<std::string> visited;

/// Names in the order in which the operators' attributes are asked for: what a pseudocook visits.
std::vector<std::string> visits(Network& net, FLX_Node& output, std::initializer_list<Probe*> probes) {
    visited.clear();
    for (Probe* probe : probes)
        probe->attribs = [](Probe& self, FLX_ContextData*) { visited.push_back(self.getName()); };
    output.addAllAttribs(&net.context());
    return visited;
}

std::vector<int> numbers(const FLX_ParticleList& list) {
    std::vector<int> found;
    for (int i = 0; i < list.entries(); ++i) found.push_back(list.entry(i).prim->getNum());
    return found;
}

using Names = std::vector<std::string>;

} // namespace

TEST(Cook, PseudocookVisitsInputsFirstAndEachNodeOnce) {
    Network net;
    Probe& a = Probe::add(net, "a");
    Probe& b = Probe::add(net, "b", {&a});
    Probe& c = Probe::add(net, "c", {&a});
    FLX_Node& sub = net.add("subnet", "sub", {&a});
    Probe& d = Probe::add(net, "d", {&b, nullptr, &c, &b, &sub});
    Probe& loose = Probe::add(net, "loose");
    auto& in = static_cast<Probe&>(net.add("probe", "in", {}, &sub));
    auto& out = static_cast<Probe&>(net.add("probe", "out", {&in}, &sub));
    in.setIndirectInput(0, 0);
    out.setRender(true);
    net.start(d);
    EXPECT_EQ(visits(net, d, {&a, &b, &c, &d, &loose, &in, &out}), (Names{"a", "b", "c", "in", "out", "d"}));
    b.setBypass(true);
    sub.setBypass(true);
    EXPECT_EQ(visits(net, d, {}), (Names{"a", "c", "d"})) << "bypassed: its inputs still count";
    EXPECT_EQ(visits(net, c, {}), (Names{"a", "c"}));
    d.setInput(0, nullptr), d.setInput(2, nullptr), d.setInput(3, nullptr);
    EXPECT_EQ(visits(net, d, {}), (Names{"d"})) << "a bypassed sub-network hides what is in it and its inputs";
}

TEST(Cook, TheChecksumIsOfTheSerialsThatCount) {
    Network net;
    FLX_Node& birth = net.add("location", "birth");
    FLX_Node& pull = net.add("force", "pull", {&birth});
    FLX_Node& loose = net.add("null", "loose");
    net.start(pull);
    const unsigned before = pull.computeNetChecksum();
    net.step(3);
    loose.setFloat("nothing", 0, 1);
    EXPECT_EQ(pull.computeNetChecksum(), before) << "cooking changes nothing";
    birth.setFloat("life", 0, 3);
    for (const int first : {0, 1}) {
        birth.setBypass(first == 1); // then it does not count
        const uint32_t serials[] = {birth.getChangeSerial(), pull.getChangeSerial()};
        unsigned crc = 0;
        UT_CRC::updateCRC(crc, serials + first, size_t(8 - 4 * first));
        EXPECT_EQ(pull.computeNetChecksum(), crc);
        EXPECT_NE(crc, before);
    }
}

TEST(Cook, ParticleListsRunBackwardsAndKnowPrimitivesByNumber) {
    Network net;
    Probe& a = Probe::add(net, "a");
    Probe& b = Probe::add(net, "b");
    net.start(a);
    auto* first = net.context().getPrimPart(&a);
    auto* second = net.context().getPrimPart(&b);
    FLX_ParticleList list, moved, none;
    EXPECT_EQ(list.add(nullptr, &a), nullptr);
    list.add(first, &a);
    list.add(second, &b);
    EXPECT_EQ(list.iterateInit(), second);
    EXPECT_EQ(list.iterateNext(), first);
    EXPECT_EQ(list.iterateNext(), nullptr);

    GU_Detail copy, empty;
    copy.duplicate(net.detail(), 1);
    moved.copyNewGdp(list, &copy);
    EXPECT_EQ(numbers(moved), (std::vector<int>{0, 1})) << "each addition goes to the front";
    EXPECT_EQ(moved.find(second)->prim, copy.primitives()(1));
    moved.merge(&list);
    EXPECT_EQ(moved.entries(), 2) << "the same numbers are the same primitives";
    none.copyNewGdp(list, &empty);
    EXPECT_TRUE(none.isEmpty());
    list.add(first, nullptr);
    EXPECT_EQ(list.find(first)->owner, nullptr) << "the newest entry is found";
}

TEST(Cook, AParticlePrimitiveFlowsDownOneBranch) {
    Network net;
    Probe& a = Probe::addSource(net, "a", 2);
    Probe& b = Probe::add(net, "b", {&a});
    Probe& c = Probe::add(net, "c", {&a});
    Probe& d = Probe::add(net, "d", {&b, &c});
    net.start(d);
    EXPECT_EQ(Network::messages(b), "");
    EXPECT_EQ(Network::messages(c), "error FLX 12: a");
    EXPECT_TRUE(c.getParticleList()->isEmpty());
    EXPECT_NE(d.error(), UT_ERROR_NONE);
    EXPECT_EQ(net.context().getParticleList()->entry(0).owner, &b);

    c.refersToInputs = b.refersToInputs = true;
    d.setInput(0, &b);
    d.setInput(1, nullptr);
    net.start(d);
    EXPECT_EQ(Network::messages(d), "error FLX 12: b") << "b only refers: a is still the owner";
    b.refersToInputs = false;
    net.start(d);
    EXPECT_EQ(Network::messages(d), "");
    EXPECT_EQ(net.context().getParticleList()->entry(0).owner, &d);
}

TEST(Cook, TheSamePrimitiveTwiceIsAnErrorWhenAsked) {
    Network net;
    Probe& a = Probe::addSource(net, "a", 1);
    Probe& b = Probe::add(net, "b", {&a, &a});
    // The first input's claim makes b the owner, so only a referring operator meets it twice.
    b.refersToInputs = true;
    net.start(b);
    EXPECT_EQ(Network::messages(b), "");
    EXPECT_EQ(numbers(*b.getParticleList()), (std::vector<int>{0, 0}));
    b.checkDuplicates = 1;
    net.start(b);
    EXPECT_EQ(Network::messages(b), "error FLX 3: The same particles arrive twice in one list");
    EXPECT_TRUE(b.getParticleList()->isEmpty());

    // The array form claims nothing.
    std::vector<FLX_ParticleList*> lists;
    for (const int check : {0, 1}) {
        b.work = [&lists, check](Probe& self, OP_Context& context) {
            int count = -1;
            lists.clear();
            self.buildParticleListArray(lists, count, context, check);
        };
        net.start(b);
        EXPECT_EQ(lists.size(), 2u);
        EXPECT_EQ(b.error() >= UT_ERROR_ABORT, check == 1);
        EXPECT_EQ(net.context().getParticleList()->entry(0).owner, &a);
    }
}

TEST(Cook, BypassPassesTheInputOnAndAGeneratorItsOwnPrimitive) {
    Network net;
    Probe& a = Probe::addSource(net, "a", 3);
    Probe& b = Probe::add(net, "b", {&a, nullptr});
    FLX_Node& birth = net.add("location", "birth");
    FLX_Node& all = net.add("collect", "all", {&b, &birth});
    b.setBypass(true);
    birth.setBypass(true);
    net.start(all);
    net.step(2);
    EXPECT_EQ(b.cooks, 0);
    EXPECT_EQ(numbers(*b.getParticleList()), (std::vector<int>{0}));
    EXPECT_EQ(net.context().getGenerator(birth.getParticleList()->entry(0).prim), &birth);
    EXPECT_EQ(all.getParticleList()->entries(), 2);
    EXPECT_EQ(net.detail().primitives().entries(), 2u);
    EXPECT_EQ(net.particles(), 3);
    EXPECT_NE(info(net, b).find("FLX is bypassed"), std::string::npos);
}

TEST(Cook, ADisplayOperatorThatGaveNothingIsWarnedAboutOnce) {
    Network net;
    Probe& a = Probe::addSource(net, "a", 1);
    Probe& b = Probe::add(net, "b", {&a});
    Probe& other = Probe::add(net, "other");
    net.start(b);
    EXPECT_EQ(net.context().getDisplayDetail(), &net.detail());
    EXPECT_EQ(net.detail().getNotifyCode(), 4);
    net.context().displayNode = &other;
    net.step();
    EXPECT_EQ(other.errors().size(), 0u) << "the network has no display operator";
    other.setDisplay(true);
    net.step(3);
    EXPECT_EQ(Network::messages(other), "warning FLX 8: The display node gave no geometry");
    other.unwarnDisplayFlag();
    EXPECT_EQ(Network::messages(other), "");

    net.context().displayNode = &a; // what is shown is what a saw, not what b makes of it
    b.work = [](Probe& self, OP_Context& context) {
        self.buildParticleList(context, 0);
        Probe::contextOf(context).getDetail()->points()(0)->setPos({5, 5, 5, 1});
    };
    const uint64_t before = net.detail().getChangeCount();
    net.step();
    GU_Detail* shown = net.context().getDisplayDetail();
    ASSERT_NE(shown, nullptr);
    EXPECT_NE(shown, &net.detail());
    EXPECT_EQ(shown->points()(0)->getPos().x(), 0);
    EXPECT_EQ(net.position(0).x(), 5);
    EXPECT_EQ(net.detail().getChangeCount(), before) << "the particles themselves were not shown";
}

TEST(Cook, AGuideCookClaimsNothingAndTellsWhoseGuidesItFound) {
    Network net;
    Probe& a = Probe::addSource(net, "a", 2);
    Probe& b = Probe::add(net, "b", {&a});
    net.start(b);
    net.step();
    b.work = [&](Probe& self, OP_Context& context) {
        self.buildParticleList(context, 0);
        net.context().appendGuide(&self, self.guideHandle());
        net.context().appendGuide(nullptr, self.guideHandle());
    };
    OP_Context context(net.time());
    net.context().cookGuide(context);
    EXPECT_EQ(net.context().getParticleList()->entry(0).owner, &b);
    EXPECT_EQ(net.context().guideOwners, (std::vector<int>{b.getUniqueId(), -1}));
    EXPECT_EQ(net.context().guideHandles.size(), 2u);
    net.step();
    EXPECT_EQ(net.detail().getNotifyCode(), 7) << "guides came with it";
    net.context().cookNode = nullptr;
    net.context().cookGuide(context);
    EXPECT_EQ(net.context().isGuideOnly(), false) << "without a cook node nothing is done";

    net.context().cookNode = &b;
    b.work = nullptr;
    const GU_Detail& guide = b.giveGuide();
    for (const bool wanted : {false, true}) {
        b.addAccelGuide(net.point(0), 3, 0, 4, 2, 1);
        net.context().guidesWanted = wanted;
        net.step();
        EXPECT_EQ(guide.primitives().entries(), wanted ? 0u : 1u) << "emptied before a cook that wants them";
    }
}

TEST(Cook, TheStepComesBeforeTheCookWithTheTimeThatPassedOrAfterIt) {
    Network net;
    Probe& a = Probe::addSource(net, "a", 1);
    net.start(a);
    net.setValue("v", 0, {1, 0, 0});
    const float dt = net.timeStep();
    FLX_ContextData& context = net.context();
    const auto cook = [&](float step) {
        context.timeStep = step;
        OP_Context opContext(context.time);
        context.cook(opContext);
    };
    cook(0.5f);
    EXPECT_EQ(net.position(0).x(), dt) << "the interval that passed, not the one to come";
    EXPECT_EQ(context.timeStep, 0.5f);
    cook(0.25f);

    context.setDoCookFirst(true);
    float seen = -1;
    int bits = -1;
    a.work = [&](Probe& self, OP_Context& opContext) {
        self.initParticleList(opContext, context.getPrimPart(&self));
        seen = net.position(0).x();
        bits = context.state(net.point(0));
        context.state(net.point(0)) |= FLX_SUPPRESS_AGE;
    };
    const float age = net.value("life", 0);
    context.state(net.point(0)) |= FLX_SUPPRESS_POS;
    cook(0.125f);
    EXPECT_EQ(seen, dt + 0.5f) << "the cook came first";
    EXPECT_EQ(bits, 0) << "preparation came before it";
    EXPECT_EQ(net.position(0).x(), dt + 0.5f + 0.125f) << "the step is the coming one";
    EXPECT_EQ(net.value("life", 0), age) << "what the cook suppressed holds for the step right after it";
    EXPECT_EQ(context.state(net.point(0)), FLX_SUPPRESS_AGE);
    EXPECT_TRUE(context.shouldDoPrep());
}

TEST(Cook, AnInitialStateIsCarriedUntilAnOperatorClaimsIt) {
    Network net;
    Probe& a = Probe::add(net, "a");
    const auto fill = [](GU_Detail& detail) {
        const int none = -1;
        const int offset = detail.primitiveAttribs().append("generator", 4, GB_ATTRIB_INDEX, &none);
        const float immortal[] = {0, -1};
        detail.pointAttribs().append("v", 12, GB_ATTRIB_VECTOR);
        detail.pointAttribs().append("life", 8, GB_ATTRIB_FLOAT, immortal);
        for (const char* path : {"/obj/fx/a", "/obj/gone"}) {
            auto* prim = static_cast<GEO_PrimParticle*>(detail.insertPrimitive(GEOPRIMPART));
            *prim->castAttribData<int>(offset) = detail.primitiveAttribs().addIndex("generator", path);
            prim->birthPoint();
            prim->birthPoint();
        }
        detail.points().forEach(nullptr, [&](GEO_Point* p) { *p->castAttribData<UT_Vector3>(0) = {1, 0, 0}; });
    };
    for (const bool pending : {true, false}) {
        net.startOn(a, fill, pending);
        EXPECT_EQ(net.particles(), 4);
        EXPECT_EQ(net.detail().primitives().entries(), 2u) << "a's primitive is the one that carries its path";
        EXPECT_EQ(net.context().getPrimPart(&a)->getNum(), 0);
        const float dt = net.timeStep();
        // With a pending reset the first step already moves them, by the step to come.
        for (int i = 0; i < 4; ++i) EXPECT_EQ(net.position(i).x(), pending ? dt : 0) << pending << i;
        EXPECT_EQ(net.context().getParticleList()->entries(), 2);
        net.step();
        for (int i = 0; i < 4; ++i) EXPECT_EQ(net.position(i).x(), pending ? dt + dt : dt) << pending << i;
        EXPECT_EQ(net.context().getParticleList()->find(net.context().getPrimPart(&a))->owner, &a);
    }
}

TEST(Cook, InfoTextsSayWhatTheNodeHolds) {
    Network net;
    Probe& a = Probe::addSource(net, "a", 2);
    Probe& b = Probe::add(net, "b", {&a});
    b.attribs = [](Probe& self, FLX_ContextData* context) { self.addMassAttrib(context); };
    net.start(b);
    UT_String event("bang");
    net.context().addEvent(event, 1);
    net.detail().pointGroups().newGroup("__hidden");
    net.detail().pointGroups().newGroup("some")->add(net.point(1));
    net.step();
    const std::string sep = OP_Node::OP_INFO_SEPARATOR_STRING;
    const std::string head = "Primitive 0 (2 points)\nGenerated by /obj/fx/a" + sep;
    EXPECT_EQ(info(net, b), head + "Events:\n  bang:1.000000 " + sep + "Point Groups:\n  1 points in some" + sep +
                                "Attributes:\n  v accel life pstate mass \n  " + sep + "\nCooked by test");
    for (int i = 0; i < 16; ++i) net.detail().pointGroups().newGroup("g" + std::to_string(i));
    net.step();
    const std::string text = info(net, b);
    EXPECT_NE(text.find("\n  0 points in g14\n  ..." + sep + "Attributes"), std::string::npos) << text;

    b.work = [&](Probe& self, OP_Context& context) {
        self.initParticleList(context, net.context().getPrimPart(&a));
        auto* stray = static_cast<GEO_PrimParticle*>(net.detail().insertPrimitive(GEOPRIMPART));
        self.addToParticleList(context, stray, -1); // to the front
    };
    net.step();
    EXPECT_EQ(info(net, b), "Info unavailable until next cook") << "particles without a generator";
    net.context().infoEnabled = 0;
    net.step();
    EXPECT_EQ(info(net, b), "The info text can be enabled using the Edit/Preferences dialog.");
    net.context().infoEnabled = 1;
    b.work = [](Probe& self, OP_Context&) { self.addError(FLX_ERR_GEOMETRY); };
    net.step();
    EXPECT_EQ(info(net, b), "");
}

TEST(Cook, MenusListWhatTheInputHolds) {
    Network net;
    Probe& a = Probe::addSource(net, "a", 1);
    FLX_Node& birth = net.add("location", "birth");
    FLX_Node& all = net.add("collect", "all", {&a, &birth});
    net.start(all);
    for (const char* name : {"one", "__two", "three", "four"}) net.detail().pointGroups().newGroup(name);
    Probe& fresh = Probe::add(net, "fresh", {&a}); // knows its input's detail; a has no input
    const struct {
        decltype(&FLX_Node::buildPointGroupMenu) build;
        OP_Node* node;
        int size;
        const char* tokens;
    } menus[] = {{&FLX_Node::buildPointGroupMenu, &all, 10, "one three four "},
                 {&FLX_Node::buildPointGroupMenu, &fresh, 10, "one three four "},
                 {&FLX_Node::buildPointGroupMenu, &a, 10, ""},
                 {&FLX_Node::buildPointGroupMenu, &all, 3, "one three "},
                 {&FLX_Node::buildPointGroupMenu, &all, 1, ""},
                 {&FLX_Node::buildGeneratorMenu, &all, 10, "/obj/fx/birth /obj/fx/a "},
                 {&FLX_Node::buildGeneratorMenu, &a, 10, ""}};
    EXPECT_EQ(fresh.getPrevContextData(), &net.context()) << "its input was cooked by it";
    for (const auto& m : menus) EXPECT_EQ(menuOf(m.build, m.node, m.size), m.tokens) << m.node->getName() << m.size;
}

TEST(Cook, ActivationCountsAboveZero) {
    Network net;
    FLX_Node& pull = net.add("force", "pull", {&net.addBirths(1)});
    pull.setFloat("force", 1, 1);
    for (const auto& [value, active] : {std::pair{0.0, false}, {-1.0, false}, {1e-6, true}}) {
        pull.setFloat("activate", 0, value);
        net.start(pull);
        ASSERT_EQ(net.particles(), 1) << "the particles pass either way";
        EXPECT_EQ(net.value("accel", 0, 1), active ? 1 : 0) << value;
    }
}
