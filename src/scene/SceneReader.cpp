#include "scene/SceneReader.h"

#include "host/node/OBJ_Node.h"
#include "host/node/OP_Director.h"
#include "host/ut/UT_NodePath.h"
#include "scene/SceneError.h"
#include "scene/SceneWiring.h"

#include <algorithm>
#include <fmt/format.h>
#include <set>

namespace {

const std::vector<std::string> sceneKeys = {"flx", "fps", "frames", "variables", "obj", "shop"};
const std::vector<std::string> reservedKeys = {"definitions", "sim", "camera"};
const std::vector<std::string> nodeKeys = {"name", "type", "inputs", "parms", "flags", "nodes", "spare", "comment"};
const std::vector<std::string> flagNames = {"display", "render", "bypass", "template"};

constexpr int maxFrame = 10000000;

template <class... Args>
[[noreturn]] void refuse(std::string path, fmt::format_string<Args...> format, Args&&... args) {
    throw SceneError{std::move(path), 0, fmt::format(format, std::forward<Args>(args)...)};
}

bool contains(const std::vector<std::string>& list, const std::string& word) {
    return std::find(list.begin(), list.end(), word) != list.end();
}

void checkKeys(const SceneJson& json, const std::string& path, const std::vector<std::string>& known) {
    for (const auto& [key, value] : json.members())
        if (!contains(known, key)) refuse(path, "unknown key \"{}\"{}", key, didYouMean(key, known));
}

std::string childPath(const OP_Network& network, const std::string& name) {
    return UT_NodePath::join(network.getFullPath(), name);
}

const std::string& requiredText(const SceneJson& json, const char* key, const std::string& path) {
    const SceneJson* value = json.find(key);
    if (!value) refuse(path, "\"{}\" is missing", key);
    if (!value->isText()) refuse(path, "\"{}\" expects a text, found {}", key, value->kindName());
    return value->text();
}

} // namespace

void SceneReader::read(const SceneJson& scene) {
    if (!scene.isObject()) refuse("", "a scene is an object, found {}", scene.kindName());
    readVersion(scene);
    for (const std::string& key : reservedKeys)
        if (scene.find(key)) refuse("", "\"{}\" is reserved for a later format version", key);
    checkKeys(scene, "", sceneKeys);
    readClock(scene);
    if (const SceneJson* variables = scene.find("variables")) readVariables(*variables);
    if (const SceneJson* obj = scene.find("obj")) readChildren(*myDirector.objManager(), "obj", *obj);
    if (const SceneJson* shop = scene.find("shop")) readChildren(*myDirector.shopManager(), "shop", *shop);
    for (const Pending& pending : myPending) resolveObsolete(pending);
    checkParents();
}

// An object that follows itself, by however many others, is nowhere.
void SceneReader::checkParents() const {
    std::set<const OBJ_Node*> sound;
    OP_Network& objects = *myDirector.objManager();
    for (int i = 0; i < objects.getNchildren(); ++i) {
        std::set<const OBJ_Node*> chain;
        for (OBJ_Node* object = objects.getChild(i)->castToOBJNode(); object && !sound.contains(object);) {
            if (!chain.insert(object).second) refuse(object->getFullPath(), "the parents form a cycle");
            const UT_String parent = object->PARENT.raw();
            object = parent.isstring() ? object->findOBJNode(parent.c_str()) : nullptr;
        }
        sound.merge(chain);
    }
}

void SceneReader::readVersion(const SceneJson& scene) const {
    const SceneJson* version = scene.find("flx");
    if (!version) refuse("", "\"flx\" is missing: a scene says its format version, \"flx\": 1");
    if (!version->isInteger() || version->integer() != 1)
        refuse("", "\"flx\" is {}: this program reads format version 1", version->toText());
}

void SceneReader::readClock(const SceneJson& scene) {
    if (const SceneJson* fps = scene.find("fps")) {
        if (!fps->isNumber() || !(fps->number() > 0) || fps->number() > 1e6)
            refuse("", "\"fps\" expects a number above 0 and up to 1000000, found {}", fps->toText());
        myDirector.fps = fps->number();
    }
    const SceneJson* frames = scene.find("frames");
    if (!frames) return;
    const std::vector<SceneJson>& ends = frames->items();
    const auto isFrame = [](const SceneJson& json) { return json.isInteger() && std::abs(json.number()) <= maxFrame; };
    if (ends.size() != 2 || !isFrame(ends[0]) || !isFrame(ends[1]) || ends[0].integer() > ends[1].integer())
        refuse("", "\"frames\" expects [first, last], found {}", frames->toText());
    myDirector.startFrame = ends[0].integer();
    myDirector.endFrame = ends[1].integer();
}

void SceneReader::readVariables(const SceneJson& variables) {
    if (!variables.isObject()) refuse("", "\"variables\" expects an object, found {}", variables.kindName());
    for (const auto& [name, value] : variables.members()) {
        if (!UT_NodePath::isValidName(name)) refuse("", "variable \"{}\": a name has letters, digits and _ only", name);
        if (!value.isNumber()) refuse("", "variable \"{}\" expects a number, found {}", name, value.kindName());
        myDirector.variables[name] = value.number();
    }
    myDirector.variablesChanged();
}

void SceneReader::readChildren(OP_Network& network, const char* key, const SceneJson& nodes) {
    if (!nodes.isArray())
        refuse(network.getFullPath(), "\"{}\" expects an array of nodes, found {}", key, nodes.kindName());
    if (!nodes.items().empty() && !network.childTable())
        refuse(network.getFullPath(), "type \"{}\" holds no nodes", network.getOperator()->getName());
    SceneWiring wiring(network);
    for (size_t i = 0; i < nodes.items().size(); ++i) {
        const SceneJson& json = nodes.items()[i];
        OP_Node* node = createNode(network, json, i);
        wiring.add(node, json.find("inputs"));
        readNode(*node, json);
    }
    wiring.connect();
}

OP_Node* SceneReader::createNode(OP_Network& network, const SceneJson& json, size_t index) {
    const std::string place = fmt::format("{}: node {}", network.getFullPath(), index + 1);
    if (!json.isObject()) refuse(place, "expects an object, found {}", json.kindName());
    const std::string& name = requiredText(json, "name", place);
    if (!UT_NodePath::isValidName(name))
        refuse(place, "\"{}\" is no node name: letters, digits and _ only, no digit first", name);
    const std::string path = childPath(network, name);
    checkKeys(json, path, nodeKeys);
    const std::string& type = requiredText(json, "type", path);
    const OP_OperatorTable& table = *network.childTable();
    if (!table.getOperator(type)) refuse(path, "unknown type \"{}\"{}", type, didYouMean(type, table.names()));
    if (network.findChild(name)) refuse(path, "another node here has this name");
    std::string error;
    OP_Node* node = network.createNode(type.c_str(), name.c_str(), error);
    if (!node) refuse(path, "{}", error);
    return node;
}

void SceneReader::readNode(OP_Node& node, const SceneJson& json) {
    if (json.find("comment")) node.comment = requiredText(json, "comment", node.getFullPath());
    if (const SceneJson* flags = json.find("flags")) readFlags(node, *flags);
    if (const SceneJson* spare = json.find("spare")) SceneParms::addSpare(node, *spare);
    if (const SceneJson* parms = json.find("parms"))
        if (auto obsolete = SceneParms::read(node, *parms)) myPending.push_back({&node, std::move(obsolete)});
    const SceneJson* nodes = json.find("nodes");
    if (!nodes) return;
    OP_Network* inside = node.castToNetwork();
    if (!inside) refuse(node.getFullPath(), "type \"{}\" holds no nodes", node.getOperator()->getName());
    readChildren(*inside, "nodes", *nodes);
}

void SceneReader::readFlags(OP_Node& node, const SceneJson& flags) {
    if (!flags.isArray()) refuse(node.getFullPath(), "\"flags\" expects an array, found {}", flags.kindName());
    for (const SceneJson& flag : flags.items()) {
        const bool on = !flag.text().starts_with('!');
        const std::string name = flag.text().substr(on ? 0 : 1);
        if (!contains(flagNames, name))
            refuse(node.getFullPath(), "unknown flag {}{}", flag.toText(), didYouMean(name, flagNames));
        if (name == "display") node.setDisplay(on);
        if (name == "render") node.setRender(on);
        if (name == "bypass") node.setBypass(on);
        if (name == "template") node.setTemplate(on);
    }
}

void SceneReader::resolveObsolete(const Pending& pending) {
    const auto texts = [&] {
        std::vector<std::string> out;
        out.reserve(size_t(pending.node->parms().entries()));
        for (int i = 0; i < pending.node->parms().entries(); ++i) out.push_back(pending.node->evalStringRaw(i).str());
        return out;
    };
    const std::vector<std::string> before = texts();
    std::vector<std::string> tokens;
    for (const PRM_Template& row : pending.parms->rows.rows) tokens.push_back(row.token);
    pending.node->resolveObsoleteParms(pending.parms->values.get());
    const std::vector<std::string> after = texts();
    std::vector<std::string> replacements;
    for (size_t i = 0; i < after.size(); ++i)
        if (after[i] != before[i]) replacements.push_back(pending.node->parmTemplate(int(i)).token);
    for (const std::string& token : tokens)
        myObsoleteUses.push_back({pending.node->getFullPath(), token, replacements});
}
