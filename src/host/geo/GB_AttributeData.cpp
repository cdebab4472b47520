#include "host/geo/GB_AttributeData.h"

void GB_AttributeData::addScaleData(const GB_FloatOffsets& offsets, const char* src, float scale) {
    for (const int offset : offsets)
        *castAttribData<float>(offset) += *reinterpret_cast<const float*>(src + offset) * scale;
}

void GB_AttributeData::mulf(const GB_FloatOffsets& offsets, float factor) {
    for (const int offset : offsets) *castAttribData<float>(offset) *= factor;
}
