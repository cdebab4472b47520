#include "host/node/PRM_Parm.h"

#include <algorithm>

#include "host/expr/EV_Number.h"

namespace {

bool holdsNumbers(const PRM_Template& row) {
    return row.type != PRM_Type::String && row.type != PRM_Type::Button &&
           (row.type != PRM_Type::Folder || row.folderValue);
}

std::string numbered(const std::string& text, int number) {
    const size_t mark = text.find('#');
    if (mark == std::string::npos) return text;
    return text.substr(0, mark) + std::to_string(number) + text.substr(mark + 1);
}

PRM_ParmValue::Component copied(const PRM_Parm::Component& from) {
    PRM_ParmValue::Component to{from.kind, from.constant, from.text, {}};
    if (from.keys) to.keys = from.keys->keys();
    return to;
}

} // namespace

EV_EXPRESSION* PRM_Parm::Component::expression() {
    if (kind != Expression) return nullptr;
    if (!compiled) compiled = std::make_unique<EV_EXPRESSION>(text);
    return compiled.get();
}

std::string PRM_Parm::componentName(int i) const {
    if (size() < 2) return row().token;
    return row().token + '.' + (i < 4 ? std::string(1, "xyzw"[i]) : std::to_string(i));
}

PRM_Parm::PRM_Parm(const PRM_Template& row)
    : myRow(&row)
    , myComponents(holdsNumbers(row) ? size_t(std::max(row.size, 1)) : 0) {
    if (row.type == PRM_Type::String && !row.defaults.empty() && row.defaults[0].text) myText = row.defaults[0].text;
    for (int i = 0; i < std::min(size(), int(row.defaults.size())); ++i) {
        const PRM_Default& def = row.defaults[size_t(i)];
        if (def.text)
            setExpression(i, def.text);
        else
            setConstant(i, def.value);
    }
}

PRM_Parm::Component& PRM_Parm::reset(int i) {
    Component& c = component(i);
    c.kind = Component::Constant;
    c.constant = 0;
    c.text.clear();
    c.keys.reset();
    c.compiled.reset();
    return c;
}

void PRM_Parm::setConstant(int i, double value) {
    reset(i).constant = value;
    if (myRow->type == PRM_Type::Multi) setInstanceCount(EV_toInt(value));
}

void PRM_Parm::setExpression(int i, std::string text) {
    const int ordinal = myRow->type == PRM_Type::Menu && myRow->menu ? myRow->menu->indexOf(text.c_str()) : -1;
    if (ordinal >= 0) return setConstant(i, ordinal);
    Component& c = reset(i);
    c.kind = Component::Expression;
    c.text = std::move(text);
}

void PRM_Parm::setKeys(int i, CH_Channel channel) {
    Component& c = reset(i);
    c.kind = Component::Keys;
    c.keys = std::make_unique<CH_Channel>(std::move(channel));
}

void PRM_Parm::setText(std::string text, bool literal) {
    myText = std::move(text);
    myLiteral = literal;
    myExpansion.reset();
}

EV_StringExpand* PRM_Parm::expansion() {
    if (myLiteral || (!myExpansion && myText.find_first_of("$`\\") == std::string::npos)) return nullptr;
    if (!myExpansion) myExpansion = std::make_unique<EV_StringExpand>(myText);
    return myExpansion.get();
}

bool PRM_Parm::setEnabled(bool on) {
    const bool changed = on != myEnabled;
    myEnabled = on;
    return changed;
}

void PRM_Parm::setInstanceCount(int count) {
    const size_t wanted = size_t(std::clamp(count, 0, maxInstances));
    while (myInstances.size() < wanted) appendInstance();
    myInstances.resize(wanted);
    myInstanceRows.resize(wanted * myRow->instance.size());
    component(0).constant = double(wanted);
}

void PRM_Parm::appendInstance() {
    const int number = int(myInstances.size()) + 1;
    std::vector<PRM_Parm>& parms = myInstances.emplace_back();
    parms.reserve(myRow->instance.size());
    for (const PRM_Template& source : myRow->instance) {
        auto& row = myInstanceRows.emplace_back(std::make_unique<PRM_Template>(source));
        row->token = numbered(source.token, number);
        row->label = numbered(source.label, number);
        parms.emplace_back(*row);
    }
}

PRM_ParmValue PRM_Parm::value() const {
    PRM_ParmValue out{{}, myText, myLiteral, {}};
    for (const Component& c : myComponents) out.components.push_back(copied(c));
    for (const std::vector<PRM_Parm>& instance : myInstances) {
        auto& values = out.instances.emplace_back();
        for (const PRM_Parm& parm : instance) values.push_back(parm.value());
    }
    return out;
}

void PRM_Parm::setValue(const PRM_ParmValue& value) {
    setText(value.text, value.literal);
    for (int i = 0; i < std::min(size(), int(value.components.size())); ++i) {
        const PRM_ParmValue::Component& from = value.components[size_t(i)];
        if (from.kind == Component::Expression)
            setExpression(i, from.text);
        else if (from.kind == Component::Keys)
            setKeys(i, CH_Channel(from.keys));
        else
            setConstant(i, from.constant);
    }
    if (myRow->type == PRM_Type::Multi) setInstanceCount(int(value.instances.size()));
    for (size_t k = 0; k < myInstances.size(); ++k)
        for (size_t j = 0; j < std::min(myInstances[k].size(), value.instances[k].size()); ++j)
            myInstances[k][j].setValue(value.instances[k][j]);
}
