#include "scene/SceneParms.h"

#include "host/node/OP_Node.h"
#include "host/node/OP_Operator.h"
#include "scene/SceneError.h"
#include "scene/StructuredParms.h"

#include <algorithm>
#include <fmt/format.h>

namespace {

template <class... Args>
[[noreturn]] void refuse(const OP_Node& node, fmt::format_string<Args...> format, Args&&... args) {
    throw SceneError{node.getFullPath(), 0, fmt::format(format, std::forward<Args>(args)...)};
}

std::vector<std::string> menuTokens(const PRM_ChoiceList* menu) {
    std::vector<std::string> out;
    for (const PRM_Name* name = menu ? menu->names() : nullptr; name && name->token; ++name)
        out.emplace_back(name->token);
    return out;
}

CH_Channel readKeys(const OP_Node& node, const std::string& token, const SceneJson& value) {
    const SceneJson* keys = value.find("keys");
    if (!keys || value.members().size() != 1 || !keys->isArray() || keys->items().empty())
        refuse(node, "\"{}\": key frames are written {{\"keys\": [[time, value], ...]}}", token);
    std::vector<std::pair<double, double>> out;
    for (const SceneJson& key : keys->items()) {
        const std::vector<SceneJson>& pair = key.items();
        if (pair.size() != 2 || !pair[0].isNumber() || !pair[1].isNumber())
            refuse(node, "\"{}\": a key is [time, value], found {}", token, key.toText());
        out.emplace_back(pair[0].number(), pair[1].number());
    }
    return CH_Channel(std::move(out));
}

bool holdsValue(const PRM_Template& row) {
    return row.type != PRM_Type::Button && (row.type != PRM_Type::Folder || row.folderValue);
}

/// A menu takes one of its tokens; any other text has to be an expression.
void checkMenuText(const OP_Node& node, const PRM_Template& row, const std::string& text) {
    if (row.type != PRM_Type::Menu || (row.menu && row.menu->indexOf(text.c_str()) >= 0)) return;
    if (!EV_EXPRESSION(text).syntaxError()) return;
    refuse(node, "\"{}\": unknown menu token \"{}\"{}", row.token, text, didYouMean(text, menuTokens(row.menu)));
}

void setInstances(const OP_Node& node, PRM_Parm& parm, const SceneJson& value) {
    if (!value.isInteger() || value.integer() < 0 || value.integer() > PRM_Parm::maxInstances)
        refuse(node, "\"{}\" is a number of entries: expects 0 to {}, found {}", parm.row().token,
               PRM_Parm::maxInstances, value.toText());
    parm.setConstant(0, value.number());
}

void setText(const OP_Node& node, PRM_Parm& parm, const SceneJson& value) {
    const auto* structured = dynamic_cast<const StructuredParms*>(&node);
    if (value.isText())
        parm.setText(value.text());
    else if (structured && structured->holdsJson(parm.row().token))
        parm.setText(value.toText(), true);
    else
        refuse(node, "\"{}\" expects a text, found {}", parm.row().token, value.kindName());
}

void setNumber(const OP_Node& node, PRM_Parm& parm, int component, const SceneJson& value) {
    const std::string& token = parm.row().token;
    if (parm.row().type == PRM_Type::Multi) return setInstances(node, parm, value);
    switch (value.kind()) {
    case SceneJson::Kind::Number:
    case SceneJson::Kind::Boolean: parm.setConstant(component, value.number()); break;
    case SceneJson::Kind::Text:
        checkMenuText(node, parm.row(), value.text());
        parm.setExpression(component, value.text());
        break;
    case SceneJson::Kind::Object: parm.setKeys(component, readKeys(node, token, value)); break;
    default: refuse(node, "\"{}\" expects a number, an expression or key frames, found {}", token, value.kindName());
    }
}

void setParm(const OP_Node& node, PRM_Parm& parm, const SceneJson& value) {
    const PRM_Template& row = parm.row();
    if (!holdsValue(row)) refuse(node, "\"{}\" takes no value", row.token);
    const bool asText = row.type == PRM_Type::String;
    if (!value.isArray() || (asText && dynamic_cast<const StructuredParms*>(&node)))
        return asText ? setText(node, parm, value) : setNumber(node, parm, 0, value);

    const std::vector<SceneJson>& items = value.items();
    const int size = asText ? 1 : parm.size();
    if (int(items.size()) != size)
        refuse(node, "\"{}\" has {} component{}, found {}", row.token, size, size == 1 ? "" : "s", items.size());
    for (int i = 0; i < size; ++i) asText ? setText(node, parm, items[0]) : setNumber(node, parm, i, items[size_t(i)]);
}

/// The multi-parameter that has instances of this token, or null.
const PRM_Parm* multiOf(const OP_Node& node, const std::string& token) {
    for (int i = 0; i < node.parms().entries(); ++i)
        for (const PRM_Template& row : node.parms().parm(i).row().instance) {
            const size_t mark = row.token.find('#'), tail = row.token.size() - mark - 1;
            if (mark == std::string::npos || token.size() <= mark + tail) continue;
            const std::string_view digits = std::string_view(token).substr(mark, token.size() - mark - tail);
            if (token.starts_with(row.token.substr(0, mark)) && token.ends_with(row.token.substr(mark + 1)) &&
                std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
                return &node.parms().parm(i);
        }
    return nullptr;
}

[[noreturn]] void refuseToken(const OP_Node& node, const std::string& token) {
    if (const PRM_Parm* multi = multiOf(node, token))
        refuse(node, "\"{}\" is past the count: \"{}\" is {}", token, multi->row().token, multi->instances().size());
    refuse(node, "unknown parameter \"{}\"{}", token, didYouMean(token, node.parms().tokens()));
}

const PRM_Template* obsoleteRow(const OP_Node& node, const std::string& token) {
    const PRM_TemplateTable* table = node.getOperator() ? node.getOperator()->getObsoleteTemplates() : nullptr;
    const int index = table ? table->find(token) : -1;
    return index < 0 ? nullptr : &table->rows[size_t(index)];
}

std::unique_ptr<SceneParms::Obsolete> readObsolete(const OP_Node& node,
                                                   const std::vector<const SceneJson::Member*>& given) {
    if (given.empty()) return nullptr;
    auto out = std::make_unique<SceneParms::Obsolete>();
    for (const SceneJson::Member* member : given) out->rows.rows.push_back(*obsoleteRow(node, member->first));
    out->values = std::make_unique<PRM_ParmList>(&out->rows);
    for (const SceneJson::Member* member : given) setParm(node, *out->values->find(member->first), member->second);
    return out;
}

} // namespace

PRM_Parm& SceneParms::find(OP_Node& node, const std::string& token) {
    PRM_Parm* parm = node.parms().find(token);
    if (!parm) refuseToken(node, token);
    return *parm;
}

void SceneParms::setValue(OP_Node& node, PRM_Parm& parm, const SceneJson& value) {
    setParm(node, parm, value);
    node.parmChanged(parm);
}

void SceneParms::setComponent(OP_Node& node, PRM_Parm& parm, int component, const SceneJson& value) {
    if (component < 0 || component >= parm.size() || parm.row().type == PRM_Type::Multi)
        refuse(node, "\"{}\" has no component {}", parm.row().token, component);
    setNumber(node, parm, component, value);
    node.parmChanged(parm);
}

std::unique_ptr<SceneParms::Obsolete> SceneParms::read(OP_Node& node, const SceneJson& parms) {
    if (!parms.isObject()) refuse(node, "\"parms\" expects an object, found {}", parms.kindName());
    // Counts first: their entries exist only then, wherever they stand.
    for (const auto& [token, value] : parms.members())
        if (PRM_Parm* parm = node.parms().find(token); parm && parm->row().type == PRM_Type::Multi)
            setValue(node, *parm, value);
    std::vector<const SceneJson::Member*> obsolete;
    for (const SceneJson::Member& member : parms.members()) {
        PRM_Parm* parm = node.parms().find(member.first);
        if (!parm && obsoleteRow(node, member.first))
            obsolete.push_back(&member);
        else if (!parm)
            refuseToken(node, member.first);
        else if (parm->row().type != PRM_Type::Multi)
            setValue(node, *parm, member.second);
    }
    return readObsolete(node, obsolete);
}
