#pragma once

#include "host/sim/SIM_Data.h"
#include "host/ut/UT_Matrix4.h"

/// Where a simulation object is: its transform as a row-vector matrix.
class SIM_Position final : public SIM_Data {
public:
    static constexpr const char* dataType = "SIM_Position";
    const char* getDataType() const override { return dataType; }

    void getTransform(UT_DMatrix4& transform) const { transform = myTransform; }
    void setTransform(const UT_DMatrix4& transform) { myTransform = transform; }

private:
    UT_DMatrix4 myTransform{1.0};
};
