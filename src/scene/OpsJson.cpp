#include "scene/OpsJson.h"

#include "host/expr/EV_Function.h"
#include "host/node/OP_Director.h"
#include "scene/JsonStream.h"
#include "scene/SceneTypes.h"

#include <fmt/format.h>
#include <set>

namespace {

struct Family {
    const char* name;
    const char* title;
};
constexpr Family families[] = {
    {"FLX", "Particle operators"}, {"SOP", "Geometry nodes"}, {"OBJ", "Objects"}, {"SHOP", "Shaders"}};

const OP_Operator* findType(const std::string& name) {
    registerSceneTypes();
    for (const Family& family : families)
        if (const OP_Operator* found = OP_Director::operatorTable(family.name).getOperator(name)) return found;
    return nullptr;
}

const char* typeName(PRM_Type type) {
    static constexpr const char* names[] = {"float", "int", "toggle", "menu", "string", "button", "folder", "multi"};
    return names[int(type)];
}

const char* kindName(PRM_RangeKind kind) { return kind == PRM_RangeKind::Hard ? "hard" : "slider"; }

std::vector<std::string> variableNames(const OP_Operator& op) {
    std::vector<std::string> out;
    std::set<std::string> seen; // a class may hide a name of its base
    for (const OP_VariablePair* pair = op.variablePair(); pair; pair = pair->base)
        for (const CH_LocalVariable* v = pair->variables; v && v->name; ++v)
            if (seen.insert(v->name).second) out.emplace_back(v->name);
    return out;
}

std::string callText(const EV_FUNCTION& function) { return fmt::format("{}({})", function.name, function.usage); }

// ---- JSON

void writeMenu(JsonStream& json, const PRM_ChoiceList* menu) {
    const PRM_Name* name = menu ? menu->names() : nullptr;
    if (!name) {
        json.null();
        return;
    }
    json.beginArray();
    for (; name->token; ++name) json.beginArray().text(name->token).text(name->label ? name->label : "").endArray();
    json.endArray();
}

void writeDefaults(JsonStream& json, const PRM_Template& row) {
    json.beginArray();
    for (const PRM_Default& def : row.defaults) {
        if (def.text)
            json.text(def.text);
        else if (row.type == PRM_Type::String)
            json.text("");
        else
            json.number(def.value);
    }
    json.endArray();
}

void writeFolders(JsonStream& json, const PRM_Template& row) {
    json.key("folders").beginArray();
    for (const auto& [label, count] : row.folders) json.beginArray().text(label).integer(count).endArray();
    json.endArray();
}

void writeRange(JsonStream& json, const PRM_Template& row) {
    if (row.hasRange) {
        json.key("range").beginArray().number(row.range.min).number(row.range.max).endArray();
        json.key("rangekind")
            .beginArray()
            .text(kindName(row.range.minKind))
            .text(kindName(row.range.maxKind))
            .endArray();
    } else {
        json.key("range").null();
        json.key("rangekind").null();
    }
}

void writeRow(JsonStream& json, const PRM_Template& row) {
    const bool folder = row.type == PRM_Type::Folder;
    json.beginObject();
    if (folder && !row.folderValue) {
        json.key("type").text("folder");
        writeFolders(json, row);
    } else {
        json.key("token").text(row.token);
        json.key("label").text(row.label);
        json.key("type").text(typeName(row.type));
        json.key("size").integer(row.size);
        json.key("default");
        writeDefaults(json, row);
        json.key("menu");
        writeMenu(json, row.menu);
        writeRange(json, row);
        if (folder) writeFolders(json, row);
    }
    json.endObject();
    for (const PRM_Template& instance : row.instance) writeRow(json, instance);
}

void writeOperator(JsonStream& json, const OP_Operator& op) {
    json.beginObject();
    json.key("name").text(op.getName());
    json.key("label").text(op.getLabel());
    json.key("class").text(op.className());
    json.key("inputs").beginArray().integer(op.minInputs()).integer(op.maxInputs()).endArray();
    json.key("flags").integer(op.flags());
    json.key("parms").beginArray();
    for (const PRM_Template& row : op.templates().rows) writeRow(json, row);
    json.endArray();
    json.key("variables").beginArray();
    for (const std::string& name : variableNames(op)) json.text(name);
    json.endArray().endObject().newline();
}

void writeFunction(JsonStream& json, const EV_FUNCTION& function) {
    json.beginObject();
    json.key("name").text(function.name);
    json.key("usage").text(callText(function));
    json.key("help").text(function.help);
    json.endObject();
}

void writeFunctionArray(JsonStream& json) {
    json.key("functions").beginArray();
    for (const EV_FUNCTION* function : EV_listFunctions()) writeFunction(json, *function);
    json.endArray();
}

// ---- text

std::string defaultText(const PRM_Template& row) {
    std::string out;
    for (const PRM_Default& def : row.defaults) {
        if (!out.empty()) out += ' ';
        out += def.text                       ? fmt::format("\"{}\"", def.text)
               : row.type == PRM_Type::String ? "\"\""
                                              : fmt::format("{}", def.value);
    }
    return out;
}

std::string menuText(const PRM_Template& row) {
    std::string out;
    for (const PRM_Name* name = row.menu ? row.menu->names() : nullptr; name && name->token; ++name)
        out += fmt::format("{}{}", out.empty() ? "  one of: " : ", ", name->token);
    return out;
}

std::string rangeText(const PRM_Template& row) {
    std::string out;
    if (row.hasRange && row.range.minKind == PRM_RangeKind::Hard) out += fmt::format("  at least {}", row.range.min);
    if (row.hasRange && row.range.maxKind == PRM_RangeKind::Hard) out += fmt::format("  at most {}", row.range.max);
    return out;
}

void writeRowText(std::ostream& out, const PRM_Template& row) {
    if (row.type == PRM_Type::Folder && !row.folderValue) return;
    const std::string type = row.size > 1 ? fmt::format("{} {}", typeName(row.type), row.size) : typeName(row.type);
    out << fmt::format("  {:<18} {:<9} {:<12} {}{}{}\n", row.token, type, defaultText(row), row.label, menuText(row),
                       rangeText(row));
    for (const PRM_Template& instance : row.instance) writeRowText(out, instance);
}

std::string inputText(const OP_Operator& op) {
    if (op.maxInputs() == 0) return "none";
    if (op.maxInputs() >= 9999) return fmt::format("{} or more", op.minInputs());
    if (op.minInputs() == op.maxInputs()) return fmt::to_string(op.minInputs());
    return fmt::format("{} to {}", op.minInputs(), op.maxInputs());
}

void writeVariables(std::ostream& out, const OP_Operator& op) {
    std::string line;
    const std::vector<std::string> names = variableNames(op);
    if (names.empty()) return;
    out << "variables:\n";
    for (const std::string& name : names) {
        if (line.size() + name.size() > 76) {
            out << ' ' << line << '\n';
            line.clear();
        }
        line += " $" + name;
    }
    out << ' ' << line << '\n';
}

} // namespace

void OpsJson::writeJson(std::ostream& out) {
    registerSceneTypes();
    OPgetDirector(); // adds the functions that look at nodes
    const OP_OperatorTable& table = OP_Director::operatorTable("FLX");
    JsonStream json(out);
    json.beginObject().key("operators").beginArray().newline();
    for (int i = 0; i < table.entries(); ++i) writeOperator(json, table.entry(i));
    json.endArray();
    writeFunctionArray(json);
    json.endObject().newline();
}

bool OpsJson::writeJson(std::ostream& out, const std::string& type) {
    const OP_Operator* op = findType(type);
    if (!op) return false;
    JsonStream json(out);
    writeOperator(json, *op);
    return true;
}

void OpsJson::writeList(std::ostream& out) {
    registerSceneTypes();
    const char* gap = "";
    for (const Family& family : families) {
        out << std::exchange(gap, "\n") << family.title << ":\n";
        const OP_OperatorTable& table = OP_Director::operatorTable(family.name);
        for (int i = 0; i < table.entries(); ++i) {
            const OP_Operator& op = table.entry(i);
            out << fmt::format("  {:<16} {}\n", op.getName(), op.getLabel());
        }
    }
}

bool OpsJson::writeType(std::ostream& out, const std::string& type) {
    const OP_Operator* op = findType(type);
    if (!op) return false;
    out << fmt::format("{} ({})\ninputs: {}\n", op->getName(), op->getLabel(), inputText(*op));
    if (!op->templates().rows.empty()) out << "parameters:\n";
    for (const PRM_Template& row : op->templates().rows) writeRowText(out, row);
    writeVariables(out, *op);
    return true;
}

void OpsJson::writeFunctions(std::ostream& out) {
    registerSceneTypes();
    OPgetDirector();
    for (const EV_FUNCTION* function : EV_listFunctions())
        out << fmt::format("{:<36} {}\n", callText(*function), function->help);
}

void OpsJson::writeFunctionsJson(std::ostream& out) {
    registerSceneTypes();
    OPgetDirector();
    JsonStream json(out);
    json.beginObject();
    writeFunctionArray(json);
    json.endObject().newline();
}

std::vector<std::string> OpsJson::typeNames() {
    registerSceneTypes();
    std::vector<std::string> out;
    for (const Family& family : families)
        for (const std::string& name : OP_Director::operatorTable(family.name).names()) out.push_back(name);
    return out;
}
