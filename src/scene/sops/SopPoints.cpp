#include "scene/SceneJson.h"
#include "scene/StructuredParms.h"
#include "scene/sops/SopBuild.h"
#include "scene/sops/SopNodes.h"

#include <fmt/format.h>
#include <limits>

namespace {

using namespace SopBuild;

/// What is wrong with a value; becomes an error of the node.
struct BadValue {
    std::string what;
};

template <class... Args> [[noreturn]] void refuse(fmt::format_string<Args...> format, Args&&... args) {
    throw BadValue{fmt::format(format, std::forward<Args>(args)...)};
}

int elementNumber(const SceneJson& json, size_t count, const char* what) {
    if (!json.isInteger() || json.integer() < 0 || size_t(json.integer()) >= count)
        refuse("{} {} does not exist, there are {}", what, json.toText(), count);
    return json.integer();
}

/// One attribute as the scene describes it.
class AttribColumn {
public:
    AttribColumn(std::string name, const SceneJson& json, size_t elements)
        : myName(std::move(name))
        , myElements(elements) {
        if (!json.isObject()) refuse("{}: expects an object with \"type\"", myName);
        for (const auto& [key, value] : json.members())
            if (key != "type" && key != "size" && key != "default" && key != "values")
                refuse("{}: unknown key \"{}\"; known are type, size, default, values", myName, key);
        readType(json.find("type"));
        readSize(json.find("size"));
        readDefault(json.find("default"));
        myValues = json.find("values");
        checkValues();
    }

    int append(GB_AttributeDict& dict) const {
        const int offset = dict.append(myName, 4 * mySize, myType, myDefault.data());
        if (offset < 0) refuse("{}: no attribute can be made of this name, type and size", myName);
        return offset;
    }

    /// Writes the values of element `i` at its attribute data.
    void write(GB_AttributeDict& dict, int offset, size_t i, char* data) const {
        if (!myValues) return;
        const std::vector<SceneJson>& items = myValues->items();
        if (myType == GB_ATTRIB_INDEX) {
            const SceneJson& text = items[i];
            const int index = text.isText() ? dict.addIndex(myName, text.text()) : -1;
            *reinterpret_cast<int*>(data + offset) = index;
            return;
        }
        for (int c = 0; c < mySize; ++c) store(data + offset + 4 * c, items[i * size_t(mySize) + size_t(c)].number());
    }

private:
    void readType(const SceneJson* type) {
        const std::string& name = type ? type->text() : std::string();
        if (name == "float")
            myType = GB_ATTRIB_FLOAT;
        else if (name == "int")
            myType = GB_ATTRIB_INT;
        else if (name == "vector")
            myType = GB_ATTRIB_VECTOR;
        else if (name == "string")
            myType = GB_ATTRIB_INDEX;
        else
            refuse("{}: \"type\" is one of \"float\", \"int\", \"vector\", \"string\"", myName);
    }
    void readSize(const SceneJson* size) {
        mySize = myType == GB_ATTRIB_VECTOR ? 3 : 1;
        if (!size) return;
        const bool fixed = myType == GB_ATTRIB_INDEX;
        if (!size->isInteger() || size->integer() < 1 || size->integer() > (fixed ? 1 : 1024))
            refuse("{}: \"size\" is a number of components from 1 to {}", myName, fixed ? 1 : 1024);
        mySize = size->integer();
        if (myType == GB_ATTRIB_VECTOR && mySize % 3 != 0) refuse("{}: a vector has 3 components", myName);
    }
    void readDefault(const SceneJson* value) {
        myDefault.assign(size_t(mySize) * 4, 0);
        if (myType == GB_ATTRIB_INDEX) {
            if (value && !value->isNull()) refuse("{}: a string has no default", myName);
            storeInt(myDefault.data(), -1);
            return;
        }
        if (value && value->isArray() && value->items().size() != size_t(mySize))
            refuse("{}: \"default\" has {} numbers, the attribute {}", myName, value->items().size(), mySize);
        for (int c = 0; value && c < mySize; ++c) {
            const SceneJson& number = value->isArray() ? value->items()[size_t(c)] : *value;
            if (!number.isNumber()) refuse("{}: \"default\" expects a number", myName);
            store(myDefault.data() + 4 * c, number.number());
        }
    }
    void checkValues() const {
        if (!myValues) return;
        if (!myValues->isArray()) refuse("{}: \"values\" expects a list", myName);
        const size_t expected = myElements * size_t(mySize), found = myValues->items().size();
        if (found != expected)
            refuse("{}: \"values\" has {} entries, {} are needed ({} elements of size {})", myName, found, expected,
                   myElements, mySize);
        for (const SceneJson& item : myValues->items()) {
            const bool good = myType == GB_ATTRIB_INDEX ? item.isText() || item.isNull() : item.isNumber();
            if (!good) refuse("{}: \"values\" holds {}", myName, item.kindName());
        }
    }
    void store(char* to, double value) const {
        if (myType == GB_ATTRIB_INT)
            storeInt(to, value >= 2147483647.0    ? std::numeric_limits<int>::max()
                         : value <= -2147483648.0 ? std::numeric_limits<int>::min()
                                                  : int(value));
        else
            *reinterpret_cast<float*>(to) = float(value);
    }
    static void storeInt(char* to, int value) { *reinterpret_cast<int*>(to) = value; }

    std::string myName;
    size_t myElements;
    GB_AttribType myType = GB_ATTRIB_FLOAT;
    int mySize = 1;
    std::vector<char> myDefault;
    const SceneJson* myValues = nullptr;
};

/// Points, primitives, attributes and groups given as numbers. The parameters hold JSON text.
class SopPoints final : public SOP_Node, public StructuredParms {
public:
    SopPoints(OP_Network* parent, const char* name, OP_Operator* op)
        : SOP_Node(parent, name, op) {}

    Text P{this, {"P", "Positions"}, ""};
    Text ATTRIBS{this, {"attribs", "Point Attributes"}, ""};
    Text PRIMS{this, {"prims", "Primitives"}, ""};
    Toggle CLOSED{this, {"closed", "Closed"}, true};
    Text PRIMATTRIBS{this, {"primattribs", "Primitive Attributes"}, ""};
    Text VERTEXATTRIBS{this, {"vertexattribs", "Vertex Attributes"}, ""};
    Text GROUPS{this, {"groups", "Point Groups"}, ""};

    bool holdsJson(std::string_view token) const override {
        return token == "P" || token == "attribs" || token == "prims" || token == "primattribs" ||
               token == "vertexattribs" || token == "groups";
    }

protected:
    UT_ErrorSeverity cookSop(OP_Context&, GU_Detail& gdp) override {
        const PRM_Text* current = nullptr;
        try {
            addPoints(gdp, read(current, P));
            addPrimitives(gdp, read(current, PRIMS));
            addAttribs(gdp, GB_AttribClass::POINT, read(current, ATTRIBS));
            addAttribs(gdp, GB_AttribClass::PRIMITIVE, read(current, PRIMATTRIBS));
            addAttribs(gdp, GB_AttribClass::VERTEX, read(current, VERTEXATTRIBS));
            addGroups(gdp, read(current, GROUPS));
        } catch (const BadValue& bad) {
            gdp.stashAll();
            fail(OP_ERR_BAD_PARM, fmt::format("{}: {}", current->token(), bad.what));
        }
        return error();
    }

private:
    static SceneJson read(const PRM_Text*& current, const PRM_Text& parm) {
        current = &parm;
        const UT_String text = parm.raw();
        SceneJson json;
        SceneJson::Failure failure;
        if (text.isstring() && !SceneJson::parse(text, json, failure)) throw BadValue{failure.what};
        return json;
    }

    static void addPoints(GU_Detail& gdp, const SceneJson& json) {
        if (json.isNull()) return;
        if (!json.isArray()) refuse("expects a list of numbers");
        const std::vector<SceneJson>& values = json.items();
        if (values.size() % 3 != 0) refuse("has {} numbers, which is no multiple of 3", values.size());
        for (const SceneJson& value : values)
            if (!value.isNumber()) refuse("holds {}", value.kindName());
        for (size_t i = 0; i < values.size(); i += 3)
            addPoint(gdp, {float(values[i].number()), float(values[i + 1].number()), float(values[i + 2].number())});
    }

    void addPrimitives(GU_Detail& gdp, const SceneJson& json) {
        if (json.isNull()) return;
        if (!json.isArray()) refuse("expects a list of lists of point numbers");
        const bool closed = CLOSED();
        const size_t points = gdp.points().entries();
        std::vector<uint32_t> slots;
        for (const SceneJson& face : json.items()) {
            if (!face.isArray()) refuse("expects lists of point numbers, found {}", face.kindName());
            slots.clear();
            for (const SceneJson& number : face.items())
                slots.push_back(gdp.points().slotAt(size_t(elementNumber(number, points, "point"))));
            addPolygon(gdp, slots.data(), slots.size(), closed);
        }
    }

    static std::vector<GEO_Vertex*> vertices(GU_Detail& gdp) {
        std::vector<GEO_Vertex*> list;
        for (size_t i = 0; i < gdp.primitives().entries(); ++i)
            for (int v = 0; v < gdp.primitives()[i]->getVertexCount(); ++v)
                list.push_back(gdp.primitives()[i]->getVertex(v));
        return list;
    }
    static size_t elementCount(GU_Detail& gdp, GB_AttribClass cls) {
        if (cls == GB_AttribClass::POINT) return gdp.points().entries();
        return cls == GB_AttribClass::PRIMITIVE ? gdp.primitives().entries() : vertices(gdp).size();
    }

    static void addAttribs(GU_Detail& gdp, GB_AttribClass cls, const SceneJson& json) {
        if (json.isNull()) return;
        if (!json.isObject()) refuse("expects an object of attributes by name");
        const size_t count = elementCount(gdp, cls);
        GB_AttributeDict& dict = gdp.attribs(cls);
        for (const auto& [name, value] : json.members()) {
            if (cls == GB_AttribClass::POINT && name == "P") refuse("P: is the position");
            const AttribColumn column(name, value, count);
            const int offset = column.append(dict); // records may move: elements are looked up after it
            const std::vector<GEO_Vertex*> verts =
                cls == GB_AttribClass::VERTEX ? vertices(gdp) : std::vector<GEO_Vertex*>();
            for (size_t i = 0; i < count; ++i) {
                char* data = cls == GB_AttribClass::POINT       ? gdp.points()[i]->data()
                             : cls == GB_AttribClass::PRIMITIVE ? gdp.primitives()[i]->data()
                                                                : verts[i]->data();
                column.write(dict, offset, i, data);
            }
        }
    }

    static void addGroups(GU_Detail& gdp, const SceneJson& json) {
        if (json.isNull()) return;
        if (!json.isObject()) refuse("expects an object of lists of point numbers by name");
        for (const auto& [name, members] : json.members()) {
            GB_PointGroup* group = gdp.pointGroups().newGroup(name);
            if (!group) refuse("\"{}\" is no group name", name);
            if (!members.isArray()) refuse("{}: expects a list of point numbers", name);
            for (const SceneJson& number : members.items())
                group->add(gdp.points()[size_t(elementNumber(number, gdp.points().entries(), "point"))]);
        }
    }
};

} // namespace

OP_Node* makeSopPoints(OP_Network* parent, const char* name, OP_Operator* op) {
    return new SopPoints(parent, name, op);
}
