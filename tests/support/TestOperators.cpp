#include "support/TestOperators.h"

#include "host/ut/UT_BoundingBox.h"

// ---- loops that wait

void TestMover::addAttrib(void* data) {
    auto* context = static_cast<FLX_ContextData*>(data);
    addIDAttrib(context);
    context->getDetail()->pointAttribs().append("note", 4, GB_ATTRIB_INDEX, nullptr);
}

UT_ErrorSeverity TestMover::cookFlx(OP_Context& opContext) {
    return cookParticles(opContext, [&](FLX_ParticleCook& cook) {
        const auto amount = cook.choose(AMOUNT);
        if (!mayRun() || cook.guideOnly()) return;
        FLX_ContextData& context = cook.context();
        const int v = context.getVelocityOffset(), state = context.getStateOffset(), id = context.getIDOffset();
        const int life = context.getLifeOffset();
        const float dt = context.timeStep;
        const auto intAt = [](GEO_Point* p, int offset) -> int& { return *p->castAttribData<int>(offset); };
        const auto each = [&](int without, auto work) { cook.each(without, work, amount); };
        switch (DEED(0)) {
        case Move:
            return each(FLX_DEAD,
                        [=](GEO_Point* p, float a) { p->getPos().x() += a * p->castAttribData<float>(v)[1] * dt; });
        case Kill:
            return each(0, [=](GEO_Point* p, float a) {
                if (p->castAttribData<float>(life)[0] > 0.3f * a) intAt(p, state) |= FLX_DEAD;
            });
        case Suppress:
            return each(0, [=](GEO_Point* p, float a) {
                constexpr int bits[] = {FLX_STOPPED, FLX_SUPPRESS_POS, FLX_SUPPRESS_AGE, FLX_SUPPRESS_REAP, 0};
                intAt(p, state) |= bits[unsigned(intAt(p, id)) % 5u] * (a > 0);
            });
        case Swirl:
            return each(FLX_DEAD | FLX_STOPPED, [=](GEO_Point* p, float a) {
                auto& velocity = *p->castAttribData<UT_Vector3>(v);
                velocity = UT_Vector3(velocity.y() * a + 0.1f, velocity.z(), -velocity.x());
            });
        case JoinGroup: {
            context.settleGroupCounts();
            GB_PointGroup* group = context.peekDetail()->pointGroups().newGroup("joined");
            return each(0, [=](GEO_Point* p, float a) {
                if (p->getPos().x() > 0.02f * a) group->add(p);
            });
        }
        case Note: {
            GB_Attribute* note = context.peekDetail()->pointAttribs().find("note");
            return each(0, [=, at = note->getOffset()](GEO_Point* p, float) {
                intAt(p, at) = note->addIndex(std::to_string(intAt(p, id) % 7).c_str());
            });
        }
        default: break;
        }
    });
}

UT_ErrorSeverity TestAsker::cookFlx(OP_Context& opContext) {
    return cookParticles(opContext, [&](FLX_ParticleCook& cook) {
        if (!mayRun() || cook.guideOnly()) return;
        const int accel = cook.context().getAccelOffset();
        const FLX_Constant<float> value(answer(cook.context()));
        cook.each(
            FLX_DEAD, [=](GEO_Point* p, float a) { p->castAttribData<float>(accel)[2] += a; }, value);
    });
}

float TestAsker::answer(FLX_ContextData& context) {
    switch (QUESTION(0)) {
    case HowMany: return float(context.getNumParticles()) * 0.001f;
    case Box: {
        UT_BoundingBox box;
        return context.getDetail()->getBBox(box) ? box.vmax()[0] - box.vmin()[1] : 0;
    }
    default: {
        GU_Detail& detail = *context.getDetail();
        return detail.points().entries() ? context.life(detail.points()(0))[0] : 0;
    }
    }
}

// ---- no loops that wait

void TestHandler::addAttrib(void* data) {
    if (DEED(0) != Stick) return;
    auto* context = static_cast<FLX_ContextData*>(data);
    addPosPathAttrib(context);
    addPosPrimAttrib(context);
    addPosUVAttrib(context);
}

UT_ErrorSeverity TestHandler::cookFlx(OP_Context& opContext) {
    if (lockInputs(opContext) >= UT_ERROR_ABORT) return error();
    FLX_ContextData& context = *contextOf(opContext);
    const float t = opContext.getTime();
    if (buildParticleList(opContext, 0) < UT_ERROR_ABORT && !context.isGuideOnly() && t >= FROM(t) && t < UNTIL(t))
        act(context, t);
    unlockInputs();
    return error();
}

template <class Work> void TestHandler::forEachParticle(const Work& work) {
    for (int i = 0; i < myParticleList.entries(); ++i) {
        const GEO_PrimParticle& prim = *myParticleList.entry(i).prim;
        for (size_t k = 0, n = prim.particleCount(); k < n; ++k) work(prim.particle(k));
    }
}

void TestHandler::act(FLX_ContextData& context, float t) {
    switch (DEED(0)) {
    case Gather: return gather(context);
    case AddAttribute: {
        const int charge = addChargeAttrib(&context);
        return forEachParticle([&](GEO_Point* p) { *p->castAttribData<float>(charge) += p->getPos().y(); });
    }
    case AddVariable: {
        const int heat = addUserVariable(&context, "heat", 4, GB_ATTRIB_FLOAT, nullptr, "HEAT");
        return forEachParticle([&](GEO_Point* p) { *p->castAttribData<float>(heat) += context.life(p)[0]; });
    }
    case Fail: return addError(FLX_ERR_GEOMETRY, "as told");
    case Raise: {
        const std::string count = "count" + std::to_string(context.getNumParticles());
        UT_String name(count);
        context.addEvent(name, t);
        return addWarning(FLX_ERR_INDEX_RANGE, count.c_str());
    }
    case Stick: return stick(context);
    case Bear: return bear(context);
    default: return;
    }
}

// Draws every particle to the middle of all.
void TestHandler::gather(FLX_ContextData& context) {
    UT_Vector3 sum(0, 0, 0);
    float n = 0;
    forEachParticle([&](GEO_Point* p) {
        sum += UT_Vector3(p->getPos().x(), p->getPos().y(), p->getPos().z());
        ++n;
    });
    forEachParticle([&](GEO_Point* p) { context.accel(p) += sum * (1 / n); });
}

void TestHandler::stick(FLX_ContextData& context) {
    GB_Attribute* paths = context.getDetail()->pointAttribs().find("pospath");
    const int path = paths->addIndex(PATH(0).c_str());
    int turn = 0;
    forEachParticle([&](GEO_Point* p) {
        *p->castAttribData<int>(context.getPosPathOffset()) = path;
        *p->castAttribData<int>(context.getPosPrimOffset()) = turn % 6;
        p->castAttribData<float>(context.getPosUVOffset())[0] = 0.25f;
        p->castAttribData<float>(context.getPosUVOffset())[1] = 0.5f;
        constexpr int bits[] = {0, FLX_STUCK, FLX_SLIDING};
        context.state(p) |= bits[turn++ % 3];
    });
}

// Each tenth particle has a child.
void TestHandler::bear(FLX_ContextData& context) {
    const auto life = [] { return 0.2f; };
    const auto origin = [] { return 0; };
    for (int i = 0; i < myParticleList.entries(); ++i) {
        GEO_PrimParticle* prim = myParticleList.entry(i).prim;
        for (size_t k = 0, n = prim->particleCount(); k < n && n < 2000; k += 10) {
            FLX_Birth birth;
            birth.prim = prim;
            birth.position = prim->particle(k)->getPos();
            birth.life = life;
            birth.origin = origin;
            if (!birthParticle(&context, birth)) return;
        }
    }
}
