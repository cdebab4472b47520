#include "scene/SceneDirectory.h"
#include "scene/formats/Formats.h"
#include "scene/sops/SopBuild.h"
#include "scene/sops/SopNodes.h"

namespace {

using namespace SopBuild;

/// Geometry from a file; the name is relative to the scene's folder.
class SopFile final : public SOP_Node {
public:
    SopFile(OP_Network* parent, const char* name, OP_Operator* op)
        : SOP_Node(parent, name, op) {}

    Text FILE{this, {"file", "Geometry File"}, "", PRM_StringKind::File};

    static const PRM_TemplateTable& obsolete() {
        static const PRM_TemplateTable table = [] {
            PRM_Template row;
            row.type = PRM_Type::String;
            row.token = "path";
            row.label = "Geometry File";
            row.defaults = {PRM_Default("")};
            return PRM_TemplateTable{{row}};
        }();
        return table;
    }
    void resolveObsoleteParms(PRM_ParmList* list) override {
        if (const PRM_Parm* path = list ? list->find("path") : nullptr) setString("file", UT_String(path->text()));
    }

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const std::string file = FILE(context.getTime()).str();
        std::string why;
        if (file.empty()) {
            fail(OP_ERR_BAD_PARM, "file: no file is named");
        } else if (!readGeometry(gdp, SceneDirectory::resolve(file), why)) {
            gdp.stashAll();
            fail(OP_ERR_FILE, why.find(file) == std::string::npos ? file + ": " + why : why);
        }
        return error();
    }
};

/// All inputs, one after the other.
class SopMerge final : public SOP_Node {
public:
    SopMerge(OP_Network* parent, const char* name, OP_Operator* op)
        : SOP_Node(parent, name, op) {}

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        for (int i = 0; i < nInputs(); ++i) {
            if (!getInput(i)) continue;
            const GU_Detail* input = inputDetail(i, context);
            if (input) gdp.merge(*input);
        }
        return error();
    }
};

/// Scales, rotates (x, y, z; degrees), translates, about a pivot.
class SopXform final : public SOP_Node {
public:
    SopXform(OP_Network* parent, const char* name, OP_Operator* op)
        : SOP_Node(parent, name, op) {}

    Floats<3> T{this, PRMtranslateName, {0.0, 0.0, 0.0}};
    Floats<3> R{this, PRMrotateName, {0.0, 0.0, 0.0}};
    Floats<3> S{this, PRMscaleName, {1, 1, 1}};
    Floats<3> P{this, PRMpivotName, {0.0, 0.0, 0.0}};

protected:
    UT_ErrorSeverity cookSop(OP_Context& context, GU_Detail& gdp) override {
        const GU_Detail* input = inputDetail(0, context);
        if (!input) return error();
        const float t = context.getTime();
        gdp.duplicate(*input);
        gdp.transform(UT_Matrix4::fromXform(vector(S, t), vector(R, t), vector(T, t), vector(P, t)));
        return error();
    }
};

} // namespace

OP_Node* makeSopFile(OP_Network* parent, const char* name, OP_Operator* op) {
    if (op) op->setObsoleteTemplates(&SopFile::obsolete());
    return new SopFile(parent, name, op);
}
OP_Node* makeSopMerge(OP_Network* parent, const char* name, OP_Operator* op) { return new SopMerge(parent, name, op); }
OP_Node* makeSopXform(OP_Network* parent, const char* name, OP_Operator* op) { return new SopXform(parent, name, op); }
