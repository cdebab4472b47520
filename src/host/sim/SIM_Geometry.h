#pragma once

#include "host/geo/GU_DetailHandle.h"
#include "host/sim/SIM_Data.h"
#include "host/ut/UT_Matrix4.h"

/// The shape of a simulation object: a detail and a transform of its own, before the object's position.
class SIM_Geometry final : public SIM_Data {
public:
    static constexpr const char* dataType = "SIM_Geometry";
    const char* getDataType() const override { return dataType; }

    const GU_DetailHandle& getGeometry() const { return myDetail; }
    void setGeometry(GU_DetailHandle detail) { myDetail = std::move(detail); }
    void getTransform(UT_DMatrix4& transform) const { transform = myTransform; }
    void setTransform(const UT_DMatrix4& transform) { myTransform = transform; }

private:
    GU_DetailHandle myDetail;
    UT_DMatrix4 myTransform{1.0};
};
