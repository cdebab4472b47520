#pragma once

#include <gtest/gtest.h>

#include "host/ut/UT_Vector3.h"

inline void expectNear(const UT_Vector3& a, const UT_Vector3& b, double tolerance = 2e-6, const char* what = "") {
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(a[k], b[k], tolerance) << what << " component " << k;
}
