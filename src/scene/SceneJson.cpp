#include "scene/SceneJson.h"

#include "scene/JsonText.h"

#include <cmath>
#include <fmt/format.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <unordered_set>

namespace {

/// Hands bytes to the parser and counts the lines it has seen.
class CountingIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* at, unsigned* lines)
        : myAt(at)
        , myLines(lines) {}
    reference operator*() const { return *myAt; }
    CountingIterator& operator++() {
        if (*myAt++ == '\n') ++*myLines;
        return *this;
    }
    CountingIterator operator++(int) {
        CountingIterator before = *this;
        ++*this;
        return before;
    }
    friend bool operator==(const CountingIterator& a, const CountingIterator& b) { return a.myAt == b.myAt; }
    friend bool operator!=(const CountingIterator& a, const CountingIterator& b) { return !(a == b); }

private:
    const char* myAt;
    unsigned* myLines;
};

/// Builds the tree while the parser reads and refuses what goes past a limit at the moment it does.
class TreeBuilder final : public nlohmann::json_sax<nlohmann::json> {
public:
    TreeBuilder(SceneJson& root, SceneJson::Failure& failure, const SceneJson::Limits& limits, const unsigned& line)
        : myRoot(root)
        , myFailure(failure)
        , myLimits(limits)
        , myLine(line) {}

    bool null() override { return put(SceneJson()); }
    bool boolean(bool value) override { return put(SceneJson::makeBoolean(value, myLine)); }
    bool number_integer(number_integer_t value) override { return number(double(value)); }
    bool number_unsigned(number_unsigned_t value) override { return number(double(value)); }
    bool number_float(number_float_t value, const string_t&) override { return number(value); }
    bool string(string_t& value) override { return put(SceneJson::makeText(std::move(value), myLine)); }
    bool binary(binary_t&) override { return refuse("binary data"); }

    bool start_object(std::size_t) override {
        if (!myStack.empty() && myStack.back().holdsNodes && ++myNodes > myLimits.nodes)
            return refuse(fmt::format("a scene may have at most {} nodes", myLimits.nodes));
        return open(SceneJson::makeObject(myLine));
    }
    bool key(string_t& value) override {
        Level& level = myStack.back();
        if (!level.keys.insert(value).second) return refuse(fmt::format("the key \"{}\" stands here twice", value));
        level.key = value;
        return true;
    }
    bool start_array(std::size_t) override { return open(SceneJson::makeArray(myLine)); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool parse_error(std::size_t, const std::string& token, const nlohmann::detail::exception& error) override {
        return refuse(describe(token, error.what()));
    }

private:
    struct Level {
        SceneJson value;
        std::string key; ///< of the member being read
        std::unordered_set<std::string> keys;
        bool holdsNodes = false;
    };

    bool number(double value) { return put(SceneJson::makeNumber(value, myLine)); }

    bool open(SceneJson value) {
        if (int(myStack.size()) >= myLimits.depth)
            return refuse(fmt::format("values may be nested at most {} deep", myLimits.depth));
        const bool nodes = value.isArray() && !myStack.empty() && isNodeKey(myStack.back().key);
        myStack.push_back({std::move(value), {}, {}, nodes});
        return true;
    }
    static bool isNodeKey(const std::string& key) { return key == "nodes" || key == "obj" || key == "shop"; }

    bool close() {
        SceneJson value = std::move(myStack.back().value);
        myStack.pop_back();
        return put(std::move(value));
    }

    bool put(SceneJson value) {
        if (myStack.empty()) {
            myRoot = std::move(value);
            return true;
        }
        Level& level = myStack.back();
        if (level.value.isArray())
            level.value.items().push_back(std::move(value));
        else
            level.value.members().emplace_back(std::move(level.key), std::move(value));
        return true;
    }

    bool refuse(std::string what) {
        myFailure = {myLine, std::move(what)};
        return false;
    }

    // The parser's message is "[json.exception...] parse error at line 3, column 4: syntax error while ... - what".
    static std::string describe(const std::string& token, const std::string& what) {
        const size_t dash = what.rfind("; last read");
        const size_t reason = what.find(" - ");
        if (what.find("number overflow") != std::string::npos) return fmt::format("the number {} is too large", token);
        if (reason == std::string::npos)
            return what.substr(what.find(": ") == std::string::npos ? 0 : what.find(": ") + 2);
        std::string text = what.substr(reason + 3, dash == std::string::npos ? dash : dash - reason - 3);
        if (dash != std::string::npos) text += ", found " + what.substr(dash + 12);
        return text;
    }

    SceneJson& myRoot;
    SceneJson::Failure& myFailure;
    const SceneJson::Limits& myLimits;
    const unsigned& myLine;
    std::vector<Level> myStack;
    size_t myNodes = 0;
};

} // namespace

SceneJson::SceneJson()
    : myNumber(0) {}
SceneJson::~SceneJson() { destroy(); }

SceneJson::SceneJson(SceneJson&& other) noexcept
    : myKind(other.myKind)
    , myLine(other.myLine)
    , myNumber(0) {
    if (isText())
        myText = other.myText;
    else if (isArray())
        myItems = other.myItems;
    else if (isObject())
        myMembers = other.myMembers;
    else
        myNumber = other.myNumber;
    other.myKind = Kind::Null;
}

SceneJson& SceneJson::operator=(SceneJson&& other) noexcept {
    if (this == &other) return *this;
    destroy();
    return *new (this) SceneJson(std::move(other));
}

void SceneJson::destroy() {
    if (isText()) delete myText;
    if (isArray()) delete myItems;
    if (isObject()) delete myMembers;
    myKind = Kind::Null;
}

SceneJson SceneJson::makeBoolean(bool value, unsigned line) {
    SceneJson json(Kind::Boolean, line);
    json.myNumber = value ? 1 : 0;
    return json;
}
SceneJson SceneJson::makeNumber(double value, unsigned line) {
    SceneJson json(Kind::Number, line);
    json.myNumber = value;
    return json;
}
SceneJson SceneJson::makeText(std::string value, unsigned line) {
    SceneJson json(Kind::Null, line);
    json.myText = new std::string(std::move(value));
    json.myKind = Kind::Text;
    return json;
}
SceneJson SceneJson::makeArray(unsigned line) {
    SceneJson json(Kind::Null, line);
    json.myItems = new std::vector<SceneJson>();
    json.myKind = Kind::Array;
    return json;
}
SceneJson SceneJson::makeObject(unsigned line) {
    SceneJson json(Kind::Null, line);
    json.myMembers = new std::vector<Member>();
    json.myKind = Kind::Object;
    return json;
}

bool SceneJson::isInteger() const {
    return isNumber() && myNumber == std::floor(myNumber) && myNumber >= std::numeric_limits<int>::min() &&
           myNumber <= std::numeric_limits<int>::max();
}

const std::string& SceneJson::text() const {
    static const std::string none;
    return isText() ? *myText : none;
}
const std::vector<SceneJson>& SceneJson::items() const {
    static const std::vector<SceneJson> none;
    return isArray() ? *myItems : none;
}
std::vector<SceneJson>& SceneJson::items() { return *myItems; }
const std::vector<SceneJson::Member>& SceneJson::members() const {
    static const std::vector<Member> none;
    return isObject() ? *myMembers : none;
}
std::vector<SceneJson::Member>& SceneJson::members() { return *myMembers; }

const SceneJson* SceneJson::find(std::string_view key) const {
    for (const Member& member : members())
        if (member.first == key) return &member.second;
    return nullptr;
}

const char* SceneJson::kindName() const {
    static constexpr const char* names[] = {"null", "a boolean", "a number", "a text", "an array", "an object"};
    return names[int(myKind)];
}

void SceneJson::write(std::string& out) const {
    const char* separator = "";
    switch (myKind) {
    case Kind::Null: out += "null"; break;
    case Kind::Boolean: out += myNumber != 0 ? "true" : "false"; break;
    case Kind::Number: JsonText::number(out, myNumber); break;
    case Kind::Text: JsonText::string(out, *myText); break;
    case Kind::Array:
        out += '[';
        for (const SceneJson& item : items()) {
            out += std::exchange(separator, ",");
            item.write(out);
        }
        out += ']';
        break;
    case Kind::Object:
        out += '{';
        for (const Member& member : members()) {
            out += std::exchange(separator, ",");
            JsonText::string(out, member.first);
            out += ':';
            member.second.write(out);
        }
        out += '}';
        break;
    }
}

std::string SceneJson::toText() const {
    std::string out;
    write(out);
    return out;
}

bool SceneJson::parse(std::string_view text, SceneJson& out, Failure& failure, const Limits& limits) {
    out = SceneJson();
    failure = {};
    if (text.size() > limits.bytes) {
        failure.what = fmt::format("the file has {} bytes; at most {} are read", text.size(), limits.bytes);
        return false;
    }
    unsigned line = 1;
    TreeBuilder builder(out, failure, limits, line);
    const char* begin = text.data();
    const bool ok =
        nlohmann::json::sax_parse(CountingIterator(begin, &line), CountingIterator(begin + text.size(), &line),
                                  &builder, nlohmann::json::input_format_t::json, true, true);
    if (!ok) out = SceneJson();
    return ok;
}
