#include "scene/SceneFile.h"

#include "host/node/OP_Director.h"
#include "scene/PathSuggestion.h"
#include "scene/SceneDirectory.h"
#include "scene/SceneError.h"
#include "scene/SceneTypes.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>

namespace {

/// The whole file, or what went wrong. Reads one byte more than a scene may have, so that a larger one is noticed.
bool readFile(const std::string& path, std::string& text, std::string& why) {
    std::error_code code;
    if (std::filesystem::is_directory(path, code)) {
        why = "is a folder";
        return false;
    }
    errno = 0;
    std::ifstream in(path, std::ios::binary);
    const size_t limit = SceneJson::Limits().bytes + 1;
    std::vector<char> block(size_t(1) << 16);
    while (in && text.size() < limit) {
        in.read(block.data(), std::streamsize(std::min(block.size(), limit - text.size())));
        text.append(block.data(), size_t(in.gcount()));
    }
    if (in.is_open() && !in.bad()) return true;
    why = errno ? std::strerror(errno) : "cannot be read";
    return false;
}

std::string describe(const std::string& file, const SceneError& error) {
    if (error.line) return fmt::format("{}:{}: {}", file, error.line, error.what);
    if (error.path.empty()) return fmt::format("{}: {}", file, error.what);
    return fmt::format("{}: {}: {}", file, error.path, error.what);
}

/// The component that ".y" or ".1" names, or -1.
int componentOf(std::string_view name) {
    if (name.size() == 1)
        if (const size_t i = std::string_view("xyzw").find(name[0]); i != std::string_view::npos) return int(i);
    int index = -1;
    const auto end = std::from_chars(name.data(), name.data() + name.size(), index);
    return end.ec == std::errc() && end.ptr == name.data() + name.size() ? index : -1;
}

struct Assignment {
    std::string node, parm, component, value;
};

Assignment split(const std::string& text) {
    const size_t equals = text.find('=');
    const size_t dot = text.find('.');
    if (equals == std::string::npos || dot == std::string::npos || dot > equals)
        throw SceneError{"", 0, fmt::format("\"{}\": expects NODE.PARM=VALUE, for example /obj/fx.seed=3", text)};
    Assignment out{text.substr(0, dot), text.substr(dot + 1, equals - dot - 1), "", text.substr(equals + 1)};
    if (const size_t second = out.parm.find('.'); second != std::string::npos) {
        out.component = out.parm.substr(second + 1);
        out.parm.resize(second);
    }
    return out;
}

SceneJson valueOf(const PRM_Parm& parm, const std::string& text) {
    SceneJson value;
    SceneJson::Failure failure;
    const bool verbatim = parm.row().type == PRM_Type::String;
    if (verbatim || !SceneJson::parse(text, value, failure) || value.isNull()) return SceneJson::makeText(text);
    return value;
}

void apply(const Assignment& assignment) {
    OP_Node* node = OPgetDirector()->findNode(assignment.node.c_str());
    if (!node || assignment.node.front() != '/')
        throw SceneError{
            "", 0,
            fmt::format("there is no node \"{}\"{}", assignment.node, suggestPath(*OPgetDirector(), assignment.node))};
    PRM_Parm& parm = SceneParms::find(*node, assignment.parm);
    const SceneJson value = valueOf(parm, assignment.value);
    if (assignment.component.empty()) return SceneParms::setValue(*node, parm, value);
    const int component = componentOf(assignment.component);
    if (component < 0 || component >= parm.size())
        throw SceneError{node->getFullPath(), 0,
                         fmt::format("\"{}\" has no component \"{}\"", assignment.parm, assignment.component)};
    SceneParms::setComponent(*node, parm, component, value);
}

} // namespace

SceneFile::Status SceneFile::fail(Status status, std::string error) {
    OPresetDirector();
    myError = std::move(error);
    return status;
}

SceneFile::Status SceneFile::load(const std::string& path) {
    std::string text, why;
    if (!readFile(path, text, why)) {
        myName = path;
        return fail(Status::UNREADABLE, fmt::format("{}: {}", path, why));
    }
    return loadText(text, path);
}

SceneFile::Status SceneFile::loadText(std::string_view text, const std::string& name) {
    registerSceneTypes();
    OPresetDirector();
    myName = name;
    myError.clear();
    myObsoleteUses.clear();
    SceneJson scene;
    SceneJson::Failure failure;
    if (!SceneJson::parse(text, scene, failure))
        return fail(Status::BAD, describe(name, {"", failure.line, failure.what}));
    SceneDirectory::set(std::filesystem::path(name).parent_path().string());
    return build(scene);
}

SceneFile::Status SceneFile::build(const SceneJson& scene) {
    try {
        SceneReader reader(*OPgetDirector());
        reader.read(scene);
        myObsoleteUses = reader.obsoleteUses();
        return Status::LOADED;
    } catch (const SceneError& error) {
        return fail(Status::BAD, describe(myName, error));
    }
}

bool SceneFile::assign(const std::string& assignment) {
    try {
        apply(split(assignment));
        return true;
    } catch (const SceneError& error) {
        myError = error.path.empty() ? error.what : fmt::format("{}: {}", error.path, error.what);
        return false;
    }
}
