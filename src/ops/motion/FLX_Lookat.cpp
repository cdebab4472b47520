#include "ops/motion/FLX_Lookat.h"

#include "host/ut/UT_Quaternion.h"
#include "ops/motion/FLX_ObjectSpace.h"

namespace {

constexpr PRM_Name modeNames[] = {{"plane", "Lookat plane"}, {"point", "Lookat point"}, {nullptr, nullptr}};
constexpr PRM_Name referenceNames[] = {
    {"world", "World Space"}, {"local", "This Object"}, {"object", "Referenced Object"}, {nullptr, nullptr}};

/// Offsets of what turns a particle; those of "up" and "trans" may be -1.
struct Facing {
    int v, up, trans, rot;

    explicit Facing(const FLX_ContextData& context)
        : v(context.getVelocityOffset())
        , up(context.getUpOffset())
        , trans(context.getTransOffset())
        , rot(context.getRotOffset()) {}

    /// Where the particle's instance stands.
    UT_Vector3 place(const GEO_Point* p) const {
        const UT_Vector3 at(p->getPos());
        return trans >= 0 ? at + *p->castAttribData<UT_Vector3>(trans) : at;
    }
    /// Turns the velocity axis onto `d`; when that leaves the way open, half about the frame's upward axis.
    void turn(GEO_Point* p, const UT_Vector3& d) const {
        constexpr float HALF_TURN = 3.14159274f;
        UT_Matrix3 frame, rotation;
        frame.orient(*p->castAttribData<UT_Vector3>(v), 1, nullptr,
                     up >= 0 ? p->castAttribData<UT_Vector3>(up) : nullptr, nullptr);
        if (rotation.dihedral(frame.row(2), d, 1) != 0) rotation = UT_Matrix3::rotationMat(frame.row(1), HALF_TURN);
        p->castAttribData<UT_Quaternion>(rot)->updateFromRotationMatrix(rotation);
    }
};

} // namespace

const PRM_ChoiceList FLX_Lookat::modeMenu(PRM_ChoiceListType::Replace, modeNames);
const PRM_ChoiceList FLX_Lookat::referenceMenu(PRM_ChoiceListType::Replace, referenceNames);

const PRM_TemplateTable& FLX_Lookat::obsoleteTemplates() {
    static const PRM_TemplateTable table = PRMstringTable({{"obj", "Object"}});
    return table;
}

void FLX_Lookat::resolveObsoleteParms(PRM_ParmList* obsolete) {
    applyBackwardsPathCompatibility(obsolete, "obj", "", "objpath", 1);
}

bool FLX_Lookat::findReference(const FLX_ParticleCook& cook, UT_DMatrix4& matrix) {
    const int reference = REFERENCE();
    matrix.identity();
    if (reference == World) matrix = FLXworldToParticles(cook.context(), cook.time());
    if (reference != Object) return true;
    OBJ_Node* object = findObject(OBJPATH());
    if (!object) return false;
    matrix = FLXobjectToParticles(*object, cook.context(), cook.time());
    return true;
}

UT_ErrorSeverity FLX_Lookat::cookFlx(OP_Context& context) {
    return cookUnlessGuide(context, [&](FLX_ParticleCook& cook) {
        UT_DMatrix4 reference;
        if (!findReference(cook, reference)) return;
        const FLX_ChosenVector dir = cook.choose(DIR);
        const Facing facing(cook.context());
        if (!mayRun() || facing.rot < 0) return;

        const UT_Vector3 target(reference.translation());
        // In single precision, so that a constant direction and one per particle give the same bits.
        const auto fromReference = [m = UT_Matrix4(reference)](const UT_Vector3& d) { return rowVecMult3(d, m); };
        const auto turn = [=](GEO_Point* p, const UT_Vector3& d) { facing.turn(p, d); };
        if (MODE() == Plane) return eachDerived(cook, FLX_UNMOVED, fromReference, turn, dir);
        // A direction per particle says, in both modes, that what particles face stands in the reference's space.
        const bool transform = dir.varies();
        cook.each(FLX_UNMOVED, [=](GEO_Point* p) {
            const UT_Vector3 d = target - facing.place(p);
            facing.turn(p, transform ? fromReference(d) : d);
        });
    });
}
