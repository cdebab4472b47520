// Parameters evaluated in columns against the same ones evaluated particle by particle.
#include <cmath>
#include <random>

#include "core/FLX_State.h"
#include "host/expr/EV_Error.h"
#include "host/vm/VM_Kernels.h"
#include "support/SetParms.h"
#include "vars/Reader.h"

namespace {

struct Adding : Reading {
    using Reading::Reading;
    void start() {
        net.start(*op);
        net.context().setDoApplyRules(false);
    }
    /// Everything random, in every attribute; some of it in bits that make odd numbers.
    void randomise(unsigned seed) {
        std::mt19937 random(seed);
        const GB_AttributeDict& dict = net.detail().pointAttribs();
        net.detail().points().forEach(nullptr, [&](GEO_Point* p) {
            for (int i = 0; i < 4; ++i) p->getPos()[i] = float(int(random() % 2000)) / 7 - 100;
            for (size_t k = 0; k < dict.entries(); ++k)
                for (int c = 0; c < dict[k]->components(); ++c) {
                    const float value = float(int(random() % 4000)) / 999 - 1.5f;
                    const int whole = int(random() >> (random() % 32));
                    char* at = p->data() + dict[k]->getOffset() + 4 * c;
                    if (GBisFloatType(dict[k]->getType()))
                        std::memcpy(at, &value, 4);
                    else if (dict[k]->getType() == GB_ATTRIB_INT)
                        std::memcpy(at, &whole, 4);
                }
            net.context().state(p) &= ~FLX_DEAD;
        });
    }
    std::vector<Reader::Row> rows(bool inTurn) {
        op->inTurn = inTurn;
        net.step();
        return op->rows;
    }
    /// Both ways, on the same particles; the node is asked for nothing in columns.
    void expectSame(const char* what) {
        const std::vector<Reader::Row> expected = rows(true);
        const int asked = op->reads;
        EXPECT_EQ(rows(false), expected) << what;
        EXPECT_EQ(op->reads, 0) << what;
        EXPECT_GE(asked, int(expected.size())) << what;
        EXPECT_EQ(Network::messages(*op), "") << what;
    }
};

} // namespace

TEST(ParticleColumns, EveryVariableIsWhatOneParticleReads) {
    constexpr int COUNT = 2500; // over a slab's end
    Adding r(COUNT);
    r.source.attribs = [](Probe&, FLX_ContextData* context) {
        for (int i = 0; i < FLX_NUM_ATTRIBS; ++i) context->addAttrib(FLX_Attrib(i));
        const float one = 1;
        const int two[] = {2, 2};
        context->addUserVariable("heat", 4, GB_ATTRIB_FLOAT, &one, "heat");
        context->addUserVariable("count", 8, GB_ATTRIB_INT, two, "count");
    };
    r.start();
    r.net.context().setDoReap(false);
    r.net.context().setDoPrep(false);
    r.randomise(1);
    std::vector<std::string> names{"HEAT", "COUNT1", "COUNT2"};
    for (const CH_LocalVariable* v = FLX_LocalVar::myVariablePair.variables; v->name; ++v) names.emplace_back(v->name);
    int different = 0;
    for (size_t i = 0; i < names.size(); ++i) {
        const std::string name = "$" + names[i], next = "$" + names[(i + 1) % names.size()];
        if (name == "$NPT" || name == "$NGRP" || name == "$TIMEINC") continue;
        r.op->setExpression("a", 0, name.c_str());
        r.op->setExpression("n", 0, (name + "* 3 + $NPT").c_str());
        r.op->setExpression("vec", 2, (name + " + " + next + " * $TIMEINC").c_str());
        r.expectSame(name.c_str());
        ASSERT_EQ(r.op->rows.size(), size_t(COUNT));
        different += std::abs(r.op->rows[0].a - r.op->rows[COUNT - 1].a) > 0 ? 1 : 0;
    }
    EXPECT_GT(different, 110);
}

TEST(ParticleColumns, ResultsAreRoundedToTheParametersType) {
    Adding r(7, {FLX_Attrib::Mass});
    r.start();
    const float values[] = {2.9f, -2.9f, -7, 3e9f, 1e20f, NAN, 1e-3f};
    for (int i = 0; i < 7; ++i) r.net.setValue("mass", i, {values[i]});
    r.op->setExpression("n", 0, "$MASS");
    r.op->setExpression("a", 0, "1e300 * $MASS * 1e300");
    const int whole[] = {2, -2, -5, 2000000000, 2000000000, 0, 0};
    r.rows(false);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(r.op->rows[size_t(i)].n, whole[i]) << i;
    EXPECT_EQ(r.op->rows[0].a, INFINITY);
    r.expectSame("rounding");
}

TEST(ParticleColumns, WhatIsNoNumberIsToldOfOnceWhicheverWayItIsFound) {
    Adding r(600);
    r.start();
    r.net.setValue("v", 599, {-1, 0, 0});
    const auto expect = [&](const std::string& messages, size_t rows) {
        for (const int way : {0, 1, 2}) {
            r.op->queued = way == 2;
            r.rows(way == 0);
            EXPECT_EQ(Network::messages(*r.op), messages) << way;
            ASSERT_EQ(r.op->rows.size(), rows);
            EXPECT_EQ(r.op->rows.back().h, 3) << "the least that it may be";
        }
    };
    for (const char* text : {"$VX + log(0 - $NPT)", "sqrt($VX)"}) {
        r.op->setExpression("h", 0, text);
        expect("warning OP 5: h: not a number; 3 is used instead", 600);
    }
    r.op->skip = FLX_STOPPED;
    r.net.context().state(r.net.point(599)) |= FLX_STOPPED; // not asked for its value
    expect("", 599);
    r.op->skip = 0;
    setParms(*r.op, "h=3 a=sqrt($VX)"); // nothing takes the place of NaN here
    expect("", 600);
}

TEST(ParticleColumns, MixWithWhatHasToBeEvaluatedInTurn) {
    Adding r(600, {FLX_Attrib::ID});
    r.start();
    setParms(*r.op, "a=$TX+$ITER vec=$ID*2");
    r.op->setExpression("n", 0, "strlen(strcat('a', $ID))"); // a string: not in columns
    const auto inColumns = r.rows(false), inTurn = r.rows(true);
    EXPECT_EQ(inColumns, inTurn);
    ASSERT_EQ(inColumns.size(), 600u);
    EXPECT_EQ(inColumns[500].a, 500);
    EXPECT_EQ(inColumns[500].n, 4);
    EXPECT_EQ(inColumns[500].v.x(), 1002) << "ids count from 1";
}

TEST(ParticleColumns, SkippedParticlesCountAndSourceGroupsAreInPointOrder) {
    Adding r(700);
    r.start();
    for (int i = 0; i < 700; i += 3) r.net.context().state(r.net.point(i)) |= FLX_STOPPED;
    GB_PointGroup* group = r.net.detail().pointGroups().newGroup("odd");
    for (int i = 1; i < 700; i += 2) group->add(r.net.point(i));
    r.op->setExpression("a", 0, "$ITER");
    r.op->setExpression("n", 0, "$PT + $NGRP");
    r.op->skip = FLX_STOPPED;
    r.expectSame("a list");
    ASSERT_EQ(r.op->rows.size(), 466u);
    EXPECT_EQ(r.op->rows[465].a, 698);
    r.op->setString("source", "odd");
    r.expectSame("a group");
    ASSERT_EQ(r.op->rows.size(), 233u);
    EXPECT_EQ(r.op->rows[232].a, 348);
    EXPECT_EQ(r.op->rows[232].n, 697 + 350);
}

// What the formula does at the first meeting is there at the second, also when both stand in the same chunk.
TEST(ParticleColumns, AParticleThatIsMetTwiceReadsWhatWasWritten) {
    for (const bool inTurn : {false, true})
        for (const bool twice : {false, true}) { // the same primitive twice in the list
            Adding r(300);
            r.op->twice = twice;
            r.start();
            GEO_PrimParticle* prim = r.net.context().hasPrimPart(&r.source);
            if (!twice)
                for (const int again : {5, 299, 5}) prim->appendParticle(r.net.point(again));
            for (int i = 0; i < 300; ++i) r.net.setValue("v", i, {float(i + 1), 0, 0});
            setParms(*r.op, "a=$VX n=$ITER"); // doubles it
            r.op->writes = true;
            EXPECT_EQ(r.rows(inTurn).size(), twice ? 600u : 303u);
            EXPECT_EQ(r.net.value("v", 4), twice ? 20 : 10) << inTurn;
            EXPECT_EQ(r.net.value("v", 5), twice ? 24 : 48) << inTurn << ": met three times";
            EXPECT_EQ(r.net.value("v", 299), 1200) << inTurn;
            EXPECT_EQ(r.net.value("v", 5, 1), twice ? 5 + 305 : 5 + 300 + 302);
        }
}

// The box is that of the particles before the formula has moved any, unless nothing has asked for it by then.
TEST(ParticleColumns, TheBoxIsComputedWhenItIsFirstRead) {
    for (const auto& [a, vec] : {std::pair{"$BBX", "$BBX*0+$TX"}, {"$ITER>3?$BBX:1", "0"}}) {
        std::vector<Reader::Row> found[2];
        for (const bool inTurn : {false, true}) {
            Adding r(500);
            r.start();
            for (int i = 0; i < 500; ++i) r.net.point(i)->setPos({float(i), 0, 0, 1});
            setParms(*r.op, std::string("a=") + a + " vec=" + vec);
            r.op->writes = true;
            found[inTurn] = r.rows(inTurn);
        }
        EXPECT_EQ(found[0], found[1]) << a;
        EXPECT_EQ(found[0].size(), 500u);
    }
}

TEST(ParticleColumns, ForcesReadWhatEarlierForcesWrote) {
    Network net;
    Probe& source = Probe::addSource(net, "source", 400);
    source.attribs = [](Probe&, FLX_ContextData* context) { context->addAttrib(FLX_Attrib::ID); };
    FLX_Node& first = net.add("force", "first", {&source});
    FLX_Node& second = net.add("force", "second", {&first});
    setParms(first, "force=$ID*0.5-$TY,2 scale=$ITER<10?1:2");
    setParms(second, "force.1=$AX*3+sqrt($VX*$VX),$AY overridemass=1");
    second.setExpression("mass", 0, "$AX >= 100 ? 4 : 0"); // at least 0.001
    net.start(second);
    std::vector<float> vx(400, 0), y(400, 0), vy(400, 0);
    for (int step = 0; step < 4; ++step) {
        for (int i = 0; i < 400; ++i) {
            const size_t k = size_t(i);
            const float scale = i < 10 ? 1 : 2;
            const float ax = float(double(net.intValue("id", i)) * 0.5 - double(y[k])) * scale, ay = 2 * scale;
            const float mass = ax >= 100 ? 4.0f : 0.001f;
            const float fy = float(double(ax) * 3 + std::sqrt(double(vx[k]) * double(vx[k])));
            EXPECT_EQ(net.value("accel", i, 0), ax) << step << " " << i;
            EXPECT_EQ(net.value("accel", i, 1), ay + fy * (1 / mass)) << step << " " << i;
            EXPECT_EQ(net.value("accel", i, 2), ay * (1 / mass)) << step << " " << i;
            y[k] = net.position(i).y() + net.value("v", i, 1) * net.timeStep();
            vx[k] = net.value("v", i, 0) + net.value("accel", i, 0) * net.timeStep();
        }
        net.step();
    }
}
