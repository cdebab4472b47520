#include "scene/sops/SopBuild.h"
#include "scene/sops/SopNodes.h"
#include "scene/sops/SopVariables.h"

#include <fmt/format.h>

namespace {

using namespace SopBuild;

constexpr PRM_Name kindNames[] = {{"points", "Points"}, {"prims", "Primitives"}, {nullptr, nullptr}};
constexpr PRM_ChoiceList kindMenu(PRM_ChoiceListType::Replace, kindNames);

/// A group of the elements for which a rule is not zero. A group of that name is replaced.
class SopGroup final : public SopPerElement {
public:
    SopGroup(OP_Network* parent, const char* name, OP_Operator* op)
        : SopPerElement(parent, name, op) {}

    Text NAME{this, {"name", "Group Name"}, "group1"};
    Menu KIND{this, {"kind", "Elements"}, 0, &kindMenu};
    Float RULE{this, {"rule", "Rule"}, 1};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const GU_Detail* input = inputDetail(0, context);
        if (!input) return error();
        gdp.duplicate(*input);
        const float t = context.getTime();
        const std::string name = NAME(t).str();
        beginElements(gdp);
        const bool made = KIND(t) == 0 ? selectPoints(gdp, name, t) : selectPrimitives(gdp, name, t);
        if (!made) fail(OP_ERR_BAD_PARM, fmt::format("name: \"{}\" is no group name", name));
        return error();
    }

private:
    bool selectPoints(GU_Detail& gdp, const std::string& name, float t) {
        GB_PointGroup* group = gdp.pointGroups().newGroup(name);
        for (size_t i = 0; group && i < gdp.points().entries(); ++i) {
            atPoint(int(i), gdp.points()[i]);
            if (RULE(t) != 0) group->add(gdp.points()[i]);
            if (i == 0 && failed()) break;
        }
        return group != nullptr;
    }
    bool selectPrimitives(GU_Detail& gdp, const std::string& name, float t) {
        GB_PrimitiveGroup* group = gdp.primitiveGroups().newGroup(name);
        for (size_t i = 0; group && i < gdp.primitives().entries(); ++i) {
            atPrimitive(gdp.primitives()[i]);
            if (RULE(t) != 0) group->add(gdp.primitives()[i]);
            if (i == 0 && failed()) break;
        }
        return group != nullptr;
    }
};

/// Moves points: the same topology at other places.
class SopDeform final : public SopPerElement {
public:
    SopDeform(OP_Network* parent, const char* name, OP_Operator* op)
        : SopPerElement(parent, name, op) {}

    Floats<3> P{this, {"P", "Position"}, {"$TX", "$TY", "$TZ"}};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const GU_Detail* input = inputDetail(0, context);
        if (!input) return error();
        gdp.duplicate(*input);
        const float t = context.getTime();
        beginElements(gdp);
        for (size_t i = 0; i < gdp.points().entries(); ++i) {
            GEO_Point* point = gdp.points()[i];
            atPoint(int(i), point);
            const float p[3] = {P.x(t), P.y(t), P.z(t)};
            point->setPos(UT_Vector4(p[0], p[1], p[2], point->getPos().w()));
            if (i == 0 && failed()) break;
        }
        gdp.bumpChange();
        return error();
    }
};

} // namespace

OP_Node* makeSopGroup(OP_Network* parent, const char* name, OP_Operator* op) { return new SopGroup(parent, name, op); }
OP_Node* makeSopDeform(OP_Network* parent, const char* name, OP_Operator* op) {
    return new SopDeform(parent, name, op);
}
