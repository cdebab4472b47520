#pragma once

#include <memory>
#include <vector>

#include "core/FLX_Node.h"
#include "host/geo/GU_RayIntersect.h"
#include "ops/collision/FLX_SurfaceAttrib.h"

/// How a collider moves: the order of the "geohint" menu.
enum class FLX_GeoHint { Static, Translating, Deforming };

/// The geometry that particles collide with, at the moments of a step that its motion asks for, with the ray structures
/// over it. Everything is kept as long as what it was made from is the same, whether or not the look-up says "changed".
class FLX_Collider {
public:
    struct Request {
        const FLX_ContextData* context;
        float time, timeStep;
        FLX_GeoHint hint;
        int parts; ///< of the step, for translating geometry
        int ignoreTransform;
    };

    /// Fetches the geometry. Static: at the time of the cook; translating: at both ends of every part of the step;
    /// deforming: at both ends of the step.
    void fetch(FLX_Node& node, const Request& request);
    /// Makes what rays need. False when deforming geometry changed its topology during the step.
    bool prepare();
    void clear() { myMoments.clear(); }

    /// The newest geometry; null when there is none.
    const GU_Detail* current() const { return myMoments.empty() ? nullptr : myMoments.back()->detail; }
    /// The geometry at the start of part k; null past the end.
    const GU_Detail* detail(int k) const {
        return k >= 0 && size_t(k) < myMoments.size() ? myMoments[size_t(k)]->detail : nullptr;
    }
    /// What part k of the step is tested against; null without geometry.
    const GU_RayIntersect* rays(int k = 0) const {
        return k >= 0 && size_t(k) < myMoments.size() ? myMoments[size_t(k)]->rays : nullptr;
    }
    UT_Vector3 velocity(int k) const { return myMoments[size_t(k)]->velocity; }
    /// Whether translating geometry has another topology at the end of a part of the step: numbers of primitives, by
    /// which surfaces are followed, may then name others.
    bool changesTopology() const;
    /// What hits in part k read from the surface; deforming geometry names primitives of the end of the step.
    const FLX_SurfaceAttrib& texture(int k) const { return hitMoment(k).texture; }
    const FLX_SurfaceAttrib& diffuse(int k) const { return hitMoment(k).diffuse; }
    /// Where anything can be hit during the step.
    const UT_BoundingBox& reach() const { return myReach; }
    /// How often a ray structure was made or brought up to date.
    int updates() const { return myUpdates; }
    const OP_Node* sop() const { return myMoments.empty() ? nullptr : myMoments.back()->lookup.lastSop; }

private:
    /// What a detail was when something was made from it.
    struct Version {
        Version() = default;
        explicit Version(const GU_Detail& d)
            : dataId(d.dataId())
            , changes(d.getChangeCount())
            , layout(d.layoutSerial()) {}
        friend bool operator==(const Version&, const Version&) = default;

        uint64_t dataId = 0, changes = 0, layout = 0;
    };
    struct Moment {
        GU_Detail own; ///< a transformed or kept copy
        FLX_GeoLookup lookup;
        const GU_Detail* detail = nullptr;
        Version version;                       ///< deforming: that the rays were made for
        const GU_RayIntersect* rays = nullptr; ///< one of the two below
        std::shared_ptr<const GU_RayIntersect> shared;
        std::unique_ptr<GU_RayIntersect> following;
        UT_Vector3 velocity{0, 0, 0}; ///< until the next moment
        FLX_SurfaceAttrib texture, diffuse;
    };
    const Moment& hitMoment(int k) const {
        return myHint == FLX_GeoHint::Deforming ? *myMoments.back() : *myMoments[size_t(k)];
    }
    static void fetchMoment(Moment& moment, FLX_Node& node, const Request& request, float t, bool last);
    void prepareStatic();
    void prepareTranslating();
    bool prepareDeforming();
    void follow(Moment& moment);

    FLX_GeoHint myHint = FLX_GeoHint::Static;
    float mySpan = 0; ///< between two moments
    int myUpdates = 0;
    std::vector<std::unique_ptr<Moment>> myMoments;
    UT_BoundingBox myReach;
};
