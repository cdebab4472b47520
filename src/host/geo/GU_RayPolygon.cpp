#include "host/geo/GU_RayPolygon.h"

#include <algorithm>

UT_Vector3 GUmeanOf(std::span<const UT_Vector3> p) {
    UT_Vector3D sum(0, 0, 0);
    for (const UT_Vector3& q : p) sum += UT_Vector3D(q);
    return UT_Vector3(sum / static_cast<double>(p.size()));
}

bool GUisStar(std::span<const UT_Vector3> p, const UT_Vector3& mean, const UT_Vector3& normal) {
    const UT_Vector3D n(normal);
    if (n == UT_Vector3D(0, 0, 0)) return false;
    for (size_t i = 0; i < p.size(); ++i) {
        const UT_Vector3D area = GUcorner(p[i], p[(i + 1) % p.size()], mean);
        if (dot(area, n) < -1e-9 * area.length()) return false;
    }
    return true;
}

void GUfanParameters(uint32_t i, uint32_t n, double a, double b, GU_RayHit& hit) {
    const double rim = a + b;
    hit.u = static_cast<float>((i + (rim > 0 ? b / rim : 0)) / n);
    hit.v = static_cast<float>(std::max(0.0, n < 5 ? 1 - rim * rim : 1 - rim));
}

void GUtriangleParameters(const float (&b)[3], GU_RayHit& hit) {
    const uint32_t least = b[0] <= b[1] ? (b[0] <= b[2] ? 0 : 2) : (b[1] <= b[2] ? 1 : 2);
    const uint32_t i = (least + 1) % 3, j = (least + 2) % 3;
    GUfanParameters(i, 3, double(b[i]) - b[least], double(b[j]) - b[least], hit);
}
