#include "vars/FLX_VariableReader.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include "host/ut/UT_Math.h"

void FLX_VariableReader::setup(const FLX_ContextData& context, const GB_PointGroup* group) {
    myDetail = context.peekDetail();
    myBox.pend(myDetail);
    myPointsCounted = false;
    myGroupCount = group ? int(group->entries()) : 0;
    myTimeIncrement = context.timeStep;
    myCore = context.core();
    for (int i = 0; i < FLX_NUM_ATTRIBS; ++i) {
        const auto attrib = FLX_Attrib(i);
        myOffsets[size_t(i)] = context.offset(attrib) >= 0 ? context.offset(attrib) : context.foundOffset(attrib);
    }
}

bool FLX_VariableReader::isPresent(const FLX_ParticleVariable& variable) const {
    switch (variable.read) {
    case FLX_VarRead::Life:
    case FLX_VarRead::LifeRatio: return myCore.life >= 0;
    case FLX_VarRead::Accel: return myCore.accel >= 0;
    case FLX_VarRead::Velocity: return myCore.velocity >= 0;
    case FLX_VarRead::StateBit: return myCore.state >= 0;
    case FLX_VarRead::Speed: return offset(FLX_Attrib::Speed) >= 0 || myCore.velocity >= 0;
    default: return variable.attrib == FLX_Attrib::Count || offset(variable.attrib) >= 0;
    }
}

bool FLX_VariableReader::field(const FLX_ParticleVariable& variable, VM_Field& field) const {
    const auto is = [&](int attribOffset, VM_Field::Kind kind = VM_Field::Float, uint32_t mask = 0, int i = 0) {
        field.offset = ptrdiff_t(sizeof(GEO_Point)) + attribOffset + 4 * i;
        field.kind = kind;
        field.mask = mask;
        return true;
    };
    const int i = variable.component;
    switch (variable.read) {
    case FLX_VarRead::Attribute: {
        const bool isInt = FLXattribRow(variable.attrib).type == GB_ATTRIB_INT;
        return is(offset(variable.attrib), isInt ? VM_Field::Int : VM_Field::Float, 0, i);
    }
    case FLX_VarRead::Life: return is(myCore.life, VM_Field::Float, 0, i);
    case FLX_VarRead::Accel: return is(myCore.accel, VM_Field::Float, 0, i);
    case FLX_VarRead::Velocity: return is(myCore.velocity, VM_Field::Float, 0, i);
    case FLX_VarRead::StateBit: return is(myCore.state, VM_Field::Bit, uint32_t(i));
    case FLX_VarRead::Position: return is(-int(sizeof(GEO_Point)), VM_Field::Float, 0, i);
    case FLX_VarRead::Speed: return offset(FLX_Attrib::Speed) >= 0 && is(offset(FLX_Attrib::Speed));
    default: return false;
    }
}

namespace {

// Twice the arc cosine of the quaternion's real part, and the scale from radians, in the precision of the attributes.
constexpr float HALF_ANGLE_TO_DEGREES = std::bit_cast<float>(0x42E52EE0u);
constexpr float RADIANS_TO_DEGREES = std::bit_cast<float>(0x42652EE0u);

float halfAngle(float w) { return UT_Math::acos(std::clamp(w, -1.0f, 1.0f)); }

float lifeRatio(float age, float span) {
    if (-0.00001f <= span && span <= 0.00001f) return 0;
    return std::min(age / span, 1.0f);
}

float length3(const float* v) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); }

} // namespace

std::optional<FLX_Bytes> FLX_VariableReader::extent(const FLX_ParticleVariable& variable) const {
    if (variable.read != FLX_VarRead::LifeRatio) return std::nullopt;
    return FLX_Bytes{myCore.life, 2 * int(sizeof(float))};
}

bool FLX_VariableReader::fill(const FLX_ParticleVariable& variable, const VM_Records& records, double* to) const {
    if (variable.read != FLX_VarRead::LifeRatio) return false;
    const ptrdiff_t offset = ptrdiff_t(sizeof(GEO_Point)) + myCore.life;
    const auto ratio = [offset](const char* record) {
        float life[2];
        __builtin_memcpy(life, record + offset, sizeof life);
        return double(lifeRatio(life[0], life[1]));
    };
    const size_t n = size_t(records.count), stride = records.stride;
    const char* record = records.first;
    if (records.pointers)
        for (size_t k = 0; k < n; ++k) to[k] = ratio(records.pointers[k]);
    else
        for (size_t k = 0; k < n; ++k, record += stride) to[k] = ratio(record);
    return true;
}

float FLX_VariableReader::pointCount() {
    if (!std::exchange(myPointsCounted, true)) myPointCount = int(myDetail->points().entries());
    return float(myPointCount);
}

float FLX_VariableReader::value(const FLX_ParticleVariable& variable, const GEO_Point* p, int iteration) {
    const int i = variable.component;
    const auto component = [p](int offset, int k) { return p->castAttribData<float>(offset)[k]; };
    const int at = variable.attrib == FLX_Attrib::Count ? -1 : offset(variable.attrib);
    switch (variable.read) {
    case FLX_VarRead::Attribute:
        if (FLXattribRow(variable.attrib).type == GB_ATTRIB_INT) return float(p->castAttribData<int>(at)[i]);
        return component(at, i);
    case FLX_VarRead::Life: return component(myCore.life, i);
    case FLX_VarRead::LifeRatio: return lifeRatio(component(myCore.life, 0), component(myCore.life, 1));
    case FLX_VarRead::Accel: return component(myCore.accel, i);
    case FLX_VarRead::Velocity: return component(myCore.velocity, i);
    case FLX_VarRead::StateBit: return *p->castAttribData<int>(myCore.state) & i ? 1.0f : 0.0f;
    case FLX_VarRead::Position: return p->getPos()[i];
    case FLX_VarRead::BoundingBox: return myBox.relative(p->getPos()[i], i);
    case FLX_VarRead::Iteration: return float(iteration);
    case FLX_VarRead::PointNumber: return float(myDetail->points().number(p));
    case FLX_VarRead::PointCount: return pointCount();
    case FLX_VarRead::GroupCount: return float(myGroupCount);
    case FLX_VarRead::TimeIncrement: return myTimeIncrement;
    case FLX_VarRead::RotationAngle: return halfAngle(component(at, 3)) * HALF_ANGLE_TO_DEGREES;
    case FLX_VarRead::RotationAxis: {
        const float sine = UT_Math::sin(halfAngle(component(at, 3)));
        return -0.00001f <= sine && sine <= 0.00001f ? 0 : component(at, i) / sine;
    }
    case FLX_VarRead::Speed: return at >= 0 ? component(at, 0) : length3(p->castAttribData<float>(myCore.velocity));
    case FLX_VarRead::AngularSpeed: return length3(p->castAttribData<float>(at)) * RADIANS_TO_DEGREES;
    }
    return 0;
}
