#pragma once

#include <cmath>

#include "host/ut/UT_Interrupt.h"
#include "vars/FLX_Emission.h"

/// What every emission routine does around its samples: progress, interrupts, the bookkeeping of births and misses.
class FLX_EmissionLoop {
public:
    explicit FLX_EmissionLoop(FLX_Emission& emission)
        : e(emission)
        , myScope("Birthing particles")
        , myStep(1.0f / std::floor(*e.born + 0.5f)) {}

    bool started() const { return bool(myScope); }
    bool wantsMore() const { return *e.born > 0.5f; }
    int births() const { return myBirths; }

    /// Asks the interrupt every 512 passes; true: stop.
    bool stopped() {
        if (mySamples++ < POLL_INTERVAL) return false;
        mySamples = 0;
        return UTgetInterrupt()->opInterrupt(-1) != 0;
    }

    /// Accurate births: fetches the source at a random moment of the step's share of this birth. False: it failed.
    bool refetch() {
        const float u = e.context->random();
        e.refetch((u + float(myBirths)) * myStep);
        return e.generator->error() < UT_ERROR_ABORT && e.source != nullptr;
    }

    /// Counts a sample that gave nothing; true, with warning 25, when there were too many.
    bool miss() {
        ++myMissesInRow;
        ++myMisses;
        if (myMissesInRow < e.sampleThreshold || double(myMisses) <= double(myHits) * e.sampleThreshold) return false;
        UTaddWarning("FLX", FLX_ERR_BIRTH_MISSES, nullptr);
        return true;
    }
    void hit() {
        myMissesInRow = 0;
        ++myHits;
    }

    /// One birth at the sample; false when it was refused.
    bool give(const UT_Vector4& position, const GB_AttributeData* source, int originAdd) {
        e.birth.position = position;
        e.birth.map = e.map;
        e.birth.source = source;
        e.birth.originAdd = originAdd;
        GEO_Point* point = e.generator->give(e.context, e.birth);
        if (!point) return false;
        *e.born -= 1;
        ++myBirths;
        if (e.birthGroup) e.birthGroup->add(point);
        e.generator->countIteration();
        return true;
    }

    /// The sample in the particles' space.
    UT_Vector4 placed(const UT_Vector4& p) const {
        if (!e.positionTransform) return p;
        const UT_Vector3 moved = rowVecMult(UT_Vector3(p.x(), p.y(), p.z()), *e.positionTransform);
        return {moved.x(), moved.y(), moved.z(), p.w()};
    }

    /// Turns the vectors of a source record when a transform was given.
    void turnVectors(GB_AttributeData& data) const {
        if (!e.vectorTransform || !e.map) return;
        for (const int offset : e.map->getVectorOffsets()) {
            auto* v = data.castAttribData<UT_Vector3>(offset);
            *v = *v * *e.vectorTransform;
        }
    }

private:
    static constexpr int POLL_INTERVAL = 512;

    FLX_Emission& e;
    UT_ProgressScope myScope;
    float myStep;
    int mySamples = 0;
    int myBirths = 0;
    int myMissesInRow = 0;
    long myMisses = 0;
    long myHits = 0;
};
