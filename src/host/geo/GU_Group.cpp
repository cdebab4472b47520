#include "host/geo/GU_Group.h"

#include "host/geo/GEO_Detail.h"

namespace {

UT_BitSet operand(const GB_RecordPool& pool, const GB_Group& group, bool negate) {
    if (!negate) return group.slots();
    UT_BitSet all(pool.slotEnd());
    pool.forEachLive([&](uint32_t slot) { all.set(slot); });
    all -= group.slots();
    return all;
}

void apply(const GB_RecordPool& pool, GB_Group& target, const GB_Group& a, bool not1, GU_GroupBoolOp op,
           const GB_Group& b, bool not2) {
    const UT_BitSet first = operand(pool, a, not1), second = operand(pool, b, not2);
    target.setSlots(first);
    target.combine(op, second);
}

} // namespace

void GU_Group::boolean(const GEO_Detail& detail, GB_PointGroup& target, const GB_PointGroup& a, bool not1,
                       GU_GroupBoolOp op, const GB_PointGroup& b, bool not2) {
    apply(detail.pointRecords(), target, a, not1, op, b, not2);
}

void GU_Group::boolean(const GEO_Detail& detail, GB_PrimitiveGroup& target, const GB_PrimitiveGroup& a, bool not1,
                       GU_GroupBoolOp op, const GB_PrimitiveGroup& b, bool not2) {
    apply(detail.primitiveRecords(), target, a, not1, op, b, not2);
}
