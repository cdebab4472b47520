#include "scene/DumpJson.h"

#include "core/FLX_ContextData.h"
#include "host/ut/UT_ErrorTable.h"
#include "scene/JsonStream.h"
#include "scene/ParticleNetwork.h"
#include "scene/StateHash.h"

namespace {

class Dump {
public:
    Dump(ParticleNetwork& network, JsonStream& json)
        : myNetwork(network)
        , myJson(json)
        , myContext(*network.context())
        , myDetail(*network.particleDetail()) {}

    void write(bool guides) {
        myJson.beginObject();
        writeHead();
        writePoints();
        writeAttributes();
        myJson.key("pointcount").integer((long long)(myDetail.points().entries()));
        writePrims();
        writeDetail();
        writeGroups();
        writeEvents();
        writeNodes();
        if (guides) writeGuides();
        myJson.endObject().newline();
    }

private:
    void writeHead() {
        myJson.key("frame").integer(myNetwork.currentFrame());
        myJson.key("time").number(myContext.time);
        myJson.key("hash").text(hashText(myNetwork.stateHash()));
        myJson.key("particles").integer(myNetwork.particleCount()).newline();
    }

    // ---- points
    void writePosition(const GEO_Point* point) {
        myJson.beginArray();
        for (int i = 0; i < 4; ++i) myJson.number(point->getPos()[i]);
        myJson.endArray();
    }
    void writePoints() {
        myJson.key("points").beginObject();
        myJson.key("P").beginArray();
        myDetail.points().forEach(nullptr, [&](const GEO_Point* point) { writePosition(point); });
        myJson.endArray().newline();
        for (const auto& attribute : myDetail.pointAttribs()) {
            if (attribute->getType() == GB_ATTRIB_RAW) continue;
            myJson.key(attribute->getName()).beginArray();
            myDetail.points().forEach(nullptr, [&](const GEO_Point* point) {
                writeValue(*attribute, point->data() + attribute->getOffset());
            });
            myJson.endArray().newline();
        }
        myJson.endObject();
    }
    /// One number, or a list of them when there are several components.
    void writeValue(const GB_Attribute& attribute, const char* data) {
        const int n = attribute.components();
        if (n != 1) myJson.beginArray();
        for (int i = 0; i < n; ++i) writeComponent(attribute, data + 4 * i);
        if (n != 1) myJson.endArray();
    }
    void writeComponent(const GB_Attribute& attribute, const char* data) {
        const int integer = *reinterpret_cast<const int*>(data);
        if (GBisFloatType(attribute.getType()))
            myJson.number(*reinterpret_cast<const float*>(data));
        else if (attribute.getType() == GB_ATTRIB_INT)
            myJson.integer(integer);
        else if (const char* text = attribute.getIndex(integer))
            myJson.text(text);
        else
            myJson.null();
    }

    static const char* typeName(GB_AttribType type) {
        switch (type) {
        case GB_ATTRIB_FLOAT: return "float";
        case GB_ATTRIB_INT: return "int";
        case GB_ATTRIB_INDEX: return "index";
        case GB_ATTRIB_VECTOR: return "vector";
        default: return "raw";
        }
    }
    void writeAttributes() {
        myJson.key("attributes").beginObject();
        for (const auto& attribute : myDetail.pointAttribs()) {
            if (attribute->getType() == GB_ATTRIB_RAW) continue;
            myJson.key(attribute->getName()).beginObject();
            myJson.key("type").text(typeName(attribute->getType()));
            myJson.key("size").integer(attribute->components());
            myJson.key("default").beginArray();
            for (int i = 0; i < attribute->components(); ++i)
                writeComponent(*attribute, attribute->getDefault() + 4 * i);
            myJson.endArray().endObject();
        }
        myJson.endObject().newline();
    }

    // ---- primitives
    static const char* primName(unsigned type) {
        switch (type) {
        case GEOPRIMPOLY: return "poly";
        case GEOPRIMMESH: return "mesh";
        case GEOPRIMCIRCLE: return "circle";
        case GEOPRIMSPHERE: return "sphere";
        case GEOPRIMTUBE: return "tube";
        case GEOPRIMMETABALL: return "metaball";
        default: return "particle";
        }
    }
    void writeVertices(const GU_Detail& detail, const GEO_Primitive& prim) {
        myJson.beginArray();
        for (int v = 0; v < prim.getVertexCount(); ++v)
            myJson.integer(detail.points().numberOfSlot(prim.getVertexPointSlot(v)));
        myJson.endArray();
    }
    void writePrims() {
        const GB_AttributeDict& dict = myDetail.primitiveAttribs();
        const GB_Attribute* generator = dict.find("generator", 4, GB_ATTRIB_INDEX);
        myJson.key("prims").beginArray();
        for (size_t i = 0; i < myDetail.primitives().entries(); ++i) {
            const GEO_Primitive& prim = *myDetail.primitives()[i];
            myJson.beginObject();
            myJson.key("number").integer(prim.getNum());
            myJson.key("type").text(primName(prim.getPrimitiveId()));
            myJson.key("points");
            writeVertices(myDetail, prim);
            myJson.key("generator");
            writeGenerator(generator, prim);
            if (const int born = dict.getOffset("born", 4, GB_ATTRIB_RAW); born >= 0)
                myJson.key("born").number(*prim.castAttribData<float>(born));
            if (const int source = dict.getOffset("source", 4, GB_ATTRIB_RAW); source >= 0)
                myJson.key("source").integer(*prim.castAttribData<int>(source));
            myJson.endObject();
        }
        myJson.endArray().newline();
    }
    void writeGenerator(const GB_Attribute* generator, const GEO_Primitive& prim) {
        if (generator)
            writeComponent(*generator, prim.data() + generator->getOffset());
        else
            myJson.null();
    }

    // ---- the detail itself
    void writeDetail() {
        const int id = myDetail.attribs().getOffset("nextid", 4, GB_ATTRIB_INT);
        myJson.key("detail").beginObject();
        myJson.key("nextid").integer(id < 0 ? 1 : *myDetail.attribs().castAttribData<int>(id));
        myJson.key("seed").integer(myContext.getRandomSeed());
        myJson.endObject().newline();
    }
    void writeGroups() {
        myJson.key("groups").beginObject();
        for (const GB_PointGroup* g = myDetail.pointGroups().head(); g; g = myDetail.pointGroups().next(g)) {
            if (g->getInternal()) continue;
            myJson.key(g->getName()).beginArray();
            myDetail.points().forEach(g,
                                      [&](const GEO_Point* point) { myJson.integer(myDetail.points().number(point)); });
            myJson.endArray();
        }
        myJson.endObject().newline();
    }
    void writeEvents() {
        myJson.key("events").beginArray();
        if (const GB_Attribute* events = myContext.getEventAttr())
            for (const std::string& event : events->indexStrings()) myJson.text(event);
        myJson.endArray().newline();
    }

    // ---- nodes
    void writeMessages(const UT_ErrorList& list) {
        for (const UT_Error& error : list) {
            myJson.beginObject();
            myJson.key("severity").text(UTseverityName(error.severity));
            myJson.key("type").text(error.type);
            myJson.key("code").integer(error.code);
            myJson.key("text").text(error.text);
            myJson.endObject();
        }
    }
    void writeNode(OP_Node& node) {
        OP_Context context(myContext.time);
        context.setData(&myContext);
        std::string info;
        node.getNodeSpecificInfoText(context, 0, info);
        myJson.key(node.getFullPath()).beginObject();
        myJson.key("severity").integer(std::max(node.errors().severity(), node.setupErrors().severity()));
        myJson.key("messages").beginArray();
        writeMessages(node.setupErrors());
        writeMessages(node.errors());
        myJson.endArray();
        myJson.key("info").text(info);
        myJson.endObject().newline();
    }
    void writeNodes() {
        myJson.key("nodes").beginObject();
        for (OP_Node* node : myNetwork.operators()) writeNode(*node);
        myJson.endObject();
    }

    // ---- guides
    void writeGuides() {
        myNetwork.cookGuides();
        myJson.key("guides").beginObject();
        for (size_t i = 0; i < myContext.guideHandles.size(); ++i)
            writeGuide(myContext.guideHandles[i].peekDetail(), myContext.guideOwners[i]);
        writeGuide(myContext.instanceGuide.peekDetail(), myContext.instanceGuideOwner);
        myJson.endObject().newline();
    }
    void writeGuide(const GU_Detail* guide, int ownerId) {
        const OP_Node* owner = guide ? OP_Node::lookupNode(ownerId) : nullptr;
        if (!owner) return;
        myJson.key(owner->getFullPath()).beginObject();
        myJson.key("points").beginArray();
        guide->points().forEach(nullptr, [&](const GEO_Point* point) {
            myJson.beginArray();
            for (int i = 0; i < 3; ++i) myJson.number(point->getPos()[i]);
            myJson.endArray();
        });
        myJson.endArray().key("prims").beginArray();
        for (size_t i = 0; i < guide->primitives().entries(); ++i) writeVertices(*guide, *guide->primitives()[i]);
        myJson.endArray().endObject();
    }

    ParticleNetwork& myNetwork;
    JsonStream& myJson;
    FLX_ContextData& myContext;
    const GU_Detail& myDetail;
};

} // namespace

void dumpJson(ParticleNetwork& network, bool guides, std::ostream& out) {
    if (!network.context()) network.cookFrame(network.STARTFRAME(0) - 1);
    if (!network.context()) return;
    JsonStream json(out);
    Dump(network, json).write(guides);
}
