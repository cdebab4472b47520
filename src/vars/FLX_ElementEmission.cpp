// Births from points and from primitives: one walk over the elements, in order or at random, several births per element
// when its probability is above 1.
#include <algorithm>
#include <vector>

#include "host/ut/UT_RandomSequence.h"
#include "vars/FLX_EmissionLoop.h"

namespace {

/// One place to be born from.
struct Sample {
    UT_Vector4 position{0, 0, 0, 1};
    UT_Vector3 normal{0, 0, 0};
    bool hasNormal = false;
    float u = 0;
    float v = 0;
};

// ---- the two kinds of elements

class PointElements {
public:
    explicit PointElements(FLX_Emission& emission)
        : e(emission) {}

    int entries() const { return int(e.source->points().entries()); }
    bool inGroup(int i) const { return !e.group || e.group->containsSlot(e.source->points().slotAt(size_t(i))); }

    bool sample(int i, Sample& sample, GB_AttributeData* attribs) const {
        const GEO_Point* point = e.source->points()(size_t(i));
        sample.position = point->getPos();
        if (attribs) attribs->copy(point->data());
        return true;
    }

private:
    FLX_Emission& e;
};

class PrimElements {
public:
    PrimElements(FLX_Emission& emission, FLX_PrimSampling mode)
        : e(emission)
        , myMode(mode) {}

    int entries() const { return int(e.source->primitives().entries()); }
    bool inGroup(int i) const { return !e.group || e.group->containsSlot(e.source->primitives()(size_t(i))->slot()); }

    bool sample(int i, Sample& sample, GB_AttributeData* attribs) const {
        const GEO_Primitive& prim = *e.source->primitives()(size_t(i));
        if (myMode == FLX_PrimSampling::Center) return sampleCenter(prim, sample, attribs);
        drawUV(prim, sample.u, sample.v);
        if (!prim.evaluatePosition(sample.u, sample.v, sample.position)) return false;
        return !attribs || prim.evaluateAttribs(*attribs, sample.u, sample.v);
    }

private:
    bool sampleCenter(const GEO_Primitive& prim, Sample& sample, GB_AttributeData* attribs) const {
        if (prim.getVertexCount() == 0) return false;
        const UT_Vector3 center = prim.baryCenter();
        sample.position = {center.x(), center.y(), center.z(), 1};
        sample.normal = prim.computeNormal();
        sample.hasNormal = true;
        if (e.map) e.map->setSrcNormal(sample.normal);
        // (u, v) of the centre: where a polygon's v runs to, and the middle of everything else.
        const bool polygon = prim.getPrimitiveId() & GEOPRIMPOLY && prim.isClosed();
        return !attribs || prim.evaluateAttribs(*attribs, polygon ? 0 : 0.5f, polygon ? 1 : 0.5f);
    }

    void drawUV(const GEO_Primitive& prim, float& u, float& v) const {
        if (myMode == FLX_PrimSampling::Surface)
            drawSurface(prim, u, v);
        else
            drawEdge(prim.getPrimitiveId(), u, v);
    }

    static constexpr unsigned CURVES = GEOPRIMPART | 0xF; // a parameter along the curve alone
    static constexpr unsigned OUTLINED = CURVES | GEOPRIMCIRCLE;

    void drawSurface(const GEO_Primitive& prim, float& u, float& v) const {
        const unsigned type = prim.getPrimitiveId();
        if (type & GEOPRIMPOLY || type & ~CURVES) {
            u = e.context->randomSample();
            v = e.context->randomSample();
            if (type & GEOPRIMPOLY && prim.getVertexCount() >= 5) fold(u, v);
            return;
        }
        u = e.context->random();
        v = 0;
    }

    // Two uniform numbers to an angle and a radius: uniform over a disc.
    static void fold(float& u, float& v) {
        if (v < u) std::swap(u, v);
        if (v != 0) u /= v;
        v = 1 - v;
    }

    void drawEdge(unsigned type, float& u, float& v) const {
        u = v = 0;
        if (type == 0) return;
        const float r = e.context->random();
        if (type & OUTLINED) {
            u = r;
        } else if (type & GEOPRIMTUBE) {
            u = r < 0.5f ? 2 * r : 2 * (r - 0.5f);
            v = r < 0.5f ? 0.0f : 1.0f;
        } else if (r < 0.25f) {
            u = 4 * r;
        } else if (r < 0.5f) {
            v = 4 * (r - 0.25f);
        } else if (r < 0.75f) {
            u = 4 * (r - 0.5f);
            v = 1;
        } else {
            u = 1;
            v = 4 * (r - 0.75f);
        }
    }

    FLX_Emission& e;
    FLX_PrimSampling myMode;
};

// ---- how the walk moves on. Each sets the element to the next one of the group; false: there is none.

template <class Elements> class OrderedSteps {
public:
    explicit OrderedSteps(const Elements& elements)
        : myElements(elements) {}
    bool next(int& element) {
        const int n = myElements.entries();
        for (int tried = 0; tried < n; ++tried) {
            element = element + 1 < n ? element + 1 : 0;
            if (myElements.inGroup(element)) return true;
        }
        return false;
    }

private:
    const Elements& myElements;
};

template <class Elements> class RandomSteps {
public:
    RandomSteps(const Elements& elements, unsigned seed)
        : myElements(elements)
        , mySeed(seed)
        , mySequence(seed, elements.entries()) {}
    bool next(int& element) {
        // The geometry may have changed since the sequence was sized: a larger one needs a larger sequence, and of a
        // smaller one numbers past the end are drawn again.
        const int n = myElements.entries();
        if (n > mySequence.size()) mySequence.construct(++mySeed, n);
        for (;;) {
            const int drawn = mySequence.next();
            if (drawn < 0) return false;
            if (drawn < n && myElements.inGroup(drawn)) {
                element = drawn;
                return true;
            }
            if (++myDraws % 65536 == 0 && UTgetInterrupt()->opInterrupt(-1)) return false;
        }
    }

private:
    const Elements& myElements;
    unsigned mySeed;
    UT_RandomSequence mySequence;
    long myDraws = 0;
};

class WeightedSteps {
public:
    WeightedSteps(FLX_Emission& emission, const PrimElements& elements, const char* weightAttrib)
        : e(emission)
        , myElements(elements)
        , myAttrib(weightAttrib) {
        build();
    }
    bool isEmpty() const { return mySums.empty(); }
    bool next(int& element) {
        if (e.source->dataId() != myDataId || e.source->getChangeCount() != myChanges) build();
        if (mySums.empty()) return false;
        const double target = double(e.context->random()) * mySums.back();
        const auto found = std::lower_bound(mySums.begin(), mySums.end(), target);
        element = myNumbers[size_t(found - mySums.begin())];
        return true;
    }

private:
    void build() {
        constexpr float SMALLEST = 0.00001f;
        mySums.clear();
        myNumbers.clear();
        myDataId = e.source->dataId();
        myChanges = e.source->getChangeCount();
        const int offset = e.source->primitiveAttribs().getOffset(myAttrib, 4, GB_ATTRIB_FLOAT);
        double sum = 0;
        for (int i = 0; i < myElements.entries(); ++i) {
            if (!myElements.inGroup(i)) continue;
            const float weight = offset < 0 ? 1 : *e.source->primitives()(size_t(i))->castAttribData<float>(offset);
            if (!(weight > SMALLEST) || !std::isfinite(weight)) continue;
            mySums.push_back(sum += double(weight));
            myNumbers.push_back(i);
        }
    }

    FLX_Emission& e;
    const PrimElements& myElements;
    const char* myAttrib;
    std::vector<double> mySums;
    std::vector<int> myNumbers;
    uint64_t myDataId = 0;
    uint64_t myChanges = 0;
};

// ---- the walk

bool hasElements(const FLX_Emission& e, int entries) { return entries > 0 && !(e.group && e.group->isEmpty()); }

template <class Elements, class Steps> void walk(FLX_Emission& e, Elements& elements, Steps& steps) {
    int& element = *e.element;
    if (element >= elements.entries() || element < 0) {
        element = elements.entries() - 1;
        if (!steps.next(element)) return;
    }
    if (e.updateVars) e.generator->setIteration(0);
    FLX_EmissionLoop loop(e);
    if (!loop.started()) return;

    bool finished = false, evaluate = true, unusable = false;
    float probability = 0;
    while (loop.wantsMore()) {
        if (loop.stopped()) break;
        if (e.refetch) {
            if (!loop.refetch() || !hasElements(e, elements.entries())) {
                unusable = true;
                break;
            }
            finished = finished || element >= elements.entries();
        }
        if (finished && !steps.next(element)) break;

        GB_AttributeData* attribs = e.map ? &e.map->getAttributeData() : nullptr;
        Sample sample;
        const bool sampled = elements.sample(element, sample, attribs);
        const GB_AttributeData* source = e.extra ? e.extra : attribs;
        if (attribs) loop.turnVectors(*attribs);
        const UT_Vector4 position = loop.placed(sample.position);
        if (e.updateVars)
            e.generator->sample() = {&position, source,   sample.hasNormal ? &sample.normal : nullptr,
                                     element,   sample.u, sample.v};

        if (evaluate || finished) probability = e.probability();
        evaluate = finished = false;
        if (!sampled || !(probability > 0)) {
            finished = true;
            if (loop.miss()) break;
            continue;
        }
        loop.hit();
        const bool wanted = probability > 1 || e.context->random() <= probability;
        if (wanted && !loop.give(position, source, element)) break;
        probability -= 1;
        finished = probability < 0;
    }
    e.generator->clearSample();
    // The next cook starts at the next element.
    if (loop.births() > 0 && !unusable) steps.next(element);
}

template <class Elements> void walkInOrderOrAtRandom(FLX_Emission& e, Elements& elements) {
    if (!hasElements(e, elements.entries())) return;
    if (e.random) {
        RandomSteps<Elements> steps(elements, unsigned(*e.element) + 1);
        walk(e, elements, steps);
    } else {
        OrderedSteps<Elements> steps(elements);
        walk(e, elements, steps);
    }
}

} // namespace

void FLXbirthFromPoints(FLX_Emission& emission) {
    PointElements elements(emission);
    walkInOrderOrAtRandom(emission, elements);
}

void FLXbirthFromPrimitives(FLX_Emission& emission, FLX_PrimSampling mode) {
    PrimElements elements(emission, mode);
    walkInOrderOrAtRandom(emission, elements);
}

void FLXbirthNonUniformlyFromRandomPrimitives(FLX_Emission& emission, FLX_PrimSampling mode, const char* weightAttrib) {
    PrimElements elements(emission, mode);
    if (!hasElements(emission, elements.entries())) return;
    WeightedSteps steps(emission, elements, weightAttrib);
    if (steps.isEmpty()) return;
    walk(emission, elements, steps);
}
