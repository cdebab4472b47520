#include "host/geo/GEO_Primitive.h"

#include "host/geo/GB_AttributeData.h"
#include "host/geo/GEO_Detail.h"

#include <cstring>

GEO_Primitive::GEO_Primitive(GEO_Detail* detail, unsigned typeId)
    : myDetail(detail)
    , myTypeId(typeId) {}
GEO_Primitive::~GEO_Primitive() = default;

char* GEO_Primitive::data() const { return myDetail->primitiveRecords().attribData(mySlot); }

GEO_Point* GEO_Primitive::getVertexPoint(int i) const { return myDetail->points().bySlot(getVertexPointSlot(i)); }

GEO_Vertex* GEO_Primitive::getVertex(int) const { return nullptr; }

UT_Vector3 GEO_Primitive::pos3(int vertex) const { return getVertexPoint(vertex)->getPos(); }

namespace {

// Sum over the vertices that the weights name, of weight * value(vertex), in a fixed order.
template <class T, class Value> T mix(const GEO_Weights& w, int vertexCount, T sum, Value&& value) {
    if (w.mean != 0) {
        T all = sum;
        for (int i = 0; i < vertexCount; ++i) all += value(i);
        sum += all * (w.mean / static_cast<float>(vertexCount));
    }
    for (int k = 0; k < w.count; ++k) sum += value(w.index[k]) * w.weight[k];
    return sum;
}

// The vertex that weighs most, the first of equals; the mean's share counts for everybody.
int heaviest(const GEO_Weights& w) {
    int best = 0;
    float bestWeight = 0;
    for (int k = 0; k < w.count; ++k) {
        float total = 0;
        for (int j = 0; j < w.count; ++j)
            if (w.index[j] == w.index[k]) total += w.weight[j];
        if (total > bestWeight) {
            best = w.index[k];
            bestWeight = total;
        }
    }
    return best;
}

// Mixes one record per vertex, record(i) being its attribute data.
template <class Record>
void mixAttribs(GB_AttributeData& out, const GB_AttributeDict& dict, const GEO_Weights& w, int n, Record&& record) {
    out.resize(dict.recordSize());
    if (!out.size()) return;
    out.copy(record(heaviest(w)));
    for (const auto& attrib : dict) {
        if (!GBisFloatType(attrib->getType())) continue;
        for (int c = 0; c < attrib->components(); ++c) {
            const int offset = attrib->getOffset() + 4 * c;
            *out.castAttribData<float>(offset) =
                mix(w, n, 0.0f, [&](int i) { return *reinterpret_cast<const float*>(record(i) + offset); });
        }
    }
}

} // namespace

int GEO_Primitive::evaluatePosition(float u, float v, UT_Vector4& out) const {
    GEO_Weights w;
    if (!weights(u, v, w)) return 0;
    out = mix(w, getVertexCount(), UT_Vector4(0, 0, 0, 0), [&](int i) { return getVertexPoint(i)->getPos(); });
    return 1;
}

int GEO_Primitive::evaluateNormal(float u, float v, UT_Vector3& out) const {
    out.assign(0, 0, 0);
    GEO_Weights w;
    return weights(u, v, w);
}

int GEO_Primitive::evaluateAttribs(GB_AttributeData& out, float u, float v) const {
    GEO_Weights w;
    if (!weights(u, v, w)) return 0;
    mixAttribs(out, myDetail->pointAttribs(), w, getVertexCount(),
               [&](int i) -> const char* { return getVertexPoint(i)->data(); });
    return 1;
}

int GEO_Primitive::evaluateVertexAttribs(GB_AttributeData& out, float u, float v) const {
    GEO_Weights w;
    if (!getVertexCount() || !getVertex(0) || !weights(u, v, w)) return 0;
    mixAttribs(out, myDetail->vertexAttribs(), w, getVertexCount(),
               [&](int i) -> const char* { return getVertex(i)->data(); });
    return 1;
}

int GEO_Primitive::evaluateFloats(const GB_Attribute& attrib, bool ofVertices, float u, float v, float* out,
                                  int count) const {
    const int n = getVertexCount();
    GEO_Weights w;
    if (!n || (ofVertices && !getVertex(0)) || !weights(u, v, w)) return 0;
    for (int c = 0; c < count; ++c)
        out[c] = mix(w, n, 0.0f, [&](int i) {
            const char* record = ofVertices ? getVertex(i)->data() : getVertexPoint(i)->data();
            return reinterpret_cast<const float*>(record + attrib.getOffset())[c];
        });
    return 1;
}

bool GEO_Primitive::parametric(const UT_Vector3&, float&, float&) const { return false; }

bool GEO_Primitive::enlargeBBox(UT_BoundingBox& box) const {
    const int n = getVertexCount();
    for (int i = 0; i < n; ++i) box.enlargeBounds(pos3(i));
    return n > 0;
}

bool GEO_Primitive::getBBox(UT_BoundingBox& box) const {
    box.initBounds();
    return enlargeBBox(box);
}

UT_Vector3 GEO_Primitive::baryCenter() const {
    const int n = getVertexCount();
    UT_Vector3D sum(0, 0, 0);
    for (int i = 0; i < n; ++i) sum += UT_Vector3D(pos3(i));
    return n ? UT_Vector3(sum / static_cast<double>(n)) : UT_Vector3(0, 0, 0);
}

UT_Vector3 GEO_Primitive::computeNormal() const {
    UT_Vector3 normal(0, 0, 0);
    evaluateNormal(0.5f, 0.5f, normal);
    return normal;
}

void GEO_Primitive::transform(const UT_Matrix4& m) {
    UT_BitSet slots(myDetail->points().slotEnd());
    for (int i = 0, n = getVertexCount(); i < n; ++i) slots.set(getVertexPointSlot(i));
    slots.forEach([&](size_t slot) {
        UT_Vector4& pos = myDetail->points().bySlot(static_cast<uint32_t>(slot))->getPos();
        pos = UT_Vector4(UT_Vector3(pos) * m, pos.w());
    });
    transformShape(m);
    myDetail->bumpChange();
}

std::string GEO_Primitive::validate() const {
    const GB_RecordPool& pool = myDetail->pointRecords();
    for (int i = 0, n = getVertexCount(); i < n; ++i)
        if (!pool.isLive(getVertexPointSlot(i)))
            return "vertex " + std::to_string(i) + " uses free point slot " + std::to_string(getVertexPointSlot(i));
    return {};
}
