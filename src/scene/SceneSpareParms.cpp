// Spare parameters: rows that a scene adds to one node.
#include "scene/SceneParms.h"

#include "host/node/OP_Node.h"
#include "scene/SceneError.h"

#include <fmt/format.h>
#include <map>
#include <mutex>

namespace {

const std::vector<std::string> rowKeys = {"token", "label", "type",  "size",     "default",
                                          "menu",  "range", "value", "rangekind"};
constexpr int maxSpareSize = 16;

struct TypeName {
    const char* name;
    PRM_Type type;
};
constexpr TypeName typeNames[] = {{"float", PRM_Type::Float},
                                  {"int", PRM_Type::Int},
                                  {"toggle", PRM_Type::Toggle},
                                  {"menu", PRM_Type::Menu},
                                  {"string", PRM_Type::String}};

/// Menus live as long as the process; the same entries give the same menu.
const PRM_ChoiceList* permanentMenu(const std::vector<std::pair<std::string, std::string>>& entries) {
    struct Menu {
        std::vector<PRM_Name> names;
        std::unique_ptr<PRM_ChoiceList> list;
    };
    static std::mutex lock;
    static std::map<std::vector<std::pair<std::string, std::string>>, Menu> menus;
    const std::lock_guard guard(lock);
    Menu& menu = menus[entries];
    if (menu.list) return menu.list.get();
    for (const auto& [token, label] : entries) menu.names.push_back({PRMpermanentText(token), PRMpermanentText(label)});
    menu.names.push_back({nullptr, nullptr});
    menu.list = std::make_unique<PRM_ChoiceList>(PRM_ChoiceListType::Replace, menu.names.data());
    return menu.list.get();
}

class SpareRow {
public:
    SpareRow(const OP_Node& node, const SceneJson& json)
        : myNode(node)
        , myJson(json) {
        if (!json.isObject()) refuse("\"spare\" expects objects, found {}", json.kindName());
        for (const auto& [key, value] : json.members())
            if (std::find(rowKeys.begin(), rowKeys.end(), key) == rowKeys.end())
                refuse("unknown key \"{}\" in \"spare\"{}", key, didYouMean(key, rowKeys));
        readNames();
        readType();
        readMenu();
        readRange();
        readDefaults();
    }
    const PRM_Template& row() const { return myRow; }

private:
    template <class... Args> [[noreturn]] void refuse(fmt::format_string<Args...> format, Args&&... args) const {
        throw SceneError{myNode.getFullPath(), 0, fmt::format(format, std::forward<Args>(args)...)};
    }

    void readNames() {
        const SceneJson* token = myJson.find("token");
        if (!token || token->text().empty()) refuse("a spare parameter needs a \"token\"");
        myRow.token = token->text();
        const SceneJson* label = myJson.find("label");
        myRow.label = label ? label->text() : myRow.token;
    }

    void readType() {
        const SceneJson* type = myJson.find("type");
        const SceneJson* size = myJson.find("size");
        const TypeName* found = nullptr;
        for (const TypeName& name : typeNames)
            if (type && type->text() == name.name) found = &name;
        if (!found) refuse("spare \"{}\": \"type\" is one of float, int, toggle, menu, string", myRow.token);
        myRow.type = found->type;
        if (!size) return;
        if (!size->isInteger() || size->integer() < 1 || size->integer() > maxSpareSize)
            refuse("spare \"{}\": \"size\" is a number from 1 to {}", myRow.token, maxSpareSize);
        myRow.size = size->integer();
    }

    void readMenu() {
        const SceneJson* menu = myJson.find("menu");
        if (!menu || menu->isNull()) return;
        std::vector<std::pair<std::string, std::string>> entries;
        for (const SceneJson& entry : menu->items()) {
            if (entry.items().size() != 2 || !entry.items()[0].isText() || !entry.items()[1].isText())
                refuse("spare \"{}\": a menu entry is [token, label]", myRow.token);
            entries.emplace_back(entry.items()[0].text(), entry.items()[1].text());
        }
        myRow.menu = permanentMenu(entries);
    }

    static PRM_RangeKind kindOf(const SceneJson* kinds, size_t i) {
        const bool hard = kinds && i < kinds->items().size() && kinds->items()[i].text() == "hard";
        return hard ? PRM_RangeKind::Hard : PRM_RangeKind::Slider;
    }
    void readRange() {
        const SceneJson* range = myJson.find("range");
        if (!range || range->isNull()) return;
        const std::vector<SceneJson>& ends = range->items();
        if (ends.size() != 2 || !ends[0].isNumber() || !ends[1].isNumber())
            refuse("spare \"{}\": \"range\" is [low, high]", myRow.token);
        const SceneJson* kinds = myJson.find("rangekind");
        myRow.range = {kindOf(kinds, 0), kindOf(kinds, 1), ends[0].number(), ends[1].number()};
        myRow.hasRange = true;
    }

    void readDefaults() {
        const SceneJson* value = myJson.find("default");
        myRow.defaults.assign(size_t(myRow.size), myRow.type == PRM_Type::String ? PRM_Default("") : PRM_Default(0.0));
        if (!value || value->isNull()) return;
        const size_t given = value->isArray() ? value->items().size() : 1;
        if (given > myRow.defaults.size())
            refuse("spare \"{}\" has {} components, its default {}", myRow.token, myRow.size, given);
        for (size_t i = 0; i < given; ++i)
            myRow.defaults[i] = readDefault(value->isArray() ? value->items()[i] : *value);
    }
    PRM_Default readDefault(const SceneJson& value) const {
        if (value.isText()) return PRM_Default(PRMpermanentText(value.text()));
        if (myRow.type == PRM_Type::String || !(value.isNumber() || value.isBoolean()))
            refuse("spare \"{}\": {} is no default of this type", myRow.token, value.toText());
        return PRM_Default(value.number());
    }

    const OP_Node& myNode;
    const SceneJson& myJson;
    PRM_Template myRow;
};

} // namespace

void SceneParms::addSpare(OP_Node& node, const SceneJson& rows) {
    if (!rows.isArray()) throw SceneError{node.getFullPath(), 0, "\"spare\" expects an array"};
    for (const SceneJson& json : rows.items()) {
        const SpareRow spare(node, json);
        const std::string& token = spare.row().token;
        const int index = node.parms().addSpare(spare.row());
        if (index < 0)
            throw SceneError{node.getFullPath(), 0,
                             fmt::format("spare \"{}\": the node has this parameter already", token)};
        if (const SceneJson* value = json.find("value")) setValue(node, node.parms().parm(index), *value);
    }
}
