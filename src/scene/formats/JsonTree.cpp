#include "scene/formats/JsonTree.h"

#include "scene/formats/FormatError.h"
#include "scene/formats/TextNumbers.h"

#include <fmt/format.h>
#include <limits>
#include <nlohmann/json.hpp>

namespace formats {
namespace {

constexpr size_t MAX_TEXT = size_t{1} << 30;
constexpr size_t MAX_DEPTH = 8;
constexpr size_t MAX_KEYS = 256; ///< of one object; keeps the search for duplicates short

/// Builds the tree from the events of the parser; every callback returns false to stop.
class TreeBuilder : public nlohmann::json_sax<nlohmann::json> {
public:
    explicit TreeBuilder(std::string_view text)
        : myText(text) {}
    JsonObject take() { return std::move(myRoot.objects.front()); }

    bool null() override { return fail("null has no meaning here"); }
    bool boolean(bool value) override {
        if (inList()) return fail("a list of booleans has no meaning here");
        slot().kind = JsonValue::BOOLEAN;
        slot().number = value;
        return true;
    }
    bool number_integer(number_integer_t value) override { return number(static_cast<double>(value)); }
    bool number_unsigned(number_unsigned_t value) override { return number(static_cast<double>(value)); }
    bool number_float(number_float_t value, const string_t& digits) override {
        // Attributes are floats; rounding to double first could give the neighbour of the nearest one.
        float nearest = 0;
        return number(parseFloat(digits, nearest) ? static_cast<double>(nearest) : value);
    }
    bool string(string_t& value) override {
        if (!inList()) {
            slot().kind = JsonValue::STRING;
            slot().string = std::move(value);
            return true;
        }
        double special = 0;
        if (myKey != "strings" && isSpecial(value, special)) return number(special);
        if (!become(JsonValue::STRINGS)) return false;
        list().strings.push_back(std::move(value));
        return true;
    }
    bool binary(binary_t&) override { return fail("binary data"); }

    bool start_object(std::size_t) override {
        if (myStack.size() == MAX_DEPTH) return fail(fmt::format("nested deeper than {}", MAX_DEPTH));
        JsonValue* holder = &myRoot;
        if (inList()) {
            if (!become(JsonValue::OBJECTS)) return false;
            holder = &list();
        } else if (!myStack.empty()) {
            holder = &slot();
            holder->kind = JsonValue::OBJECT;
        }
        holder->objects.emplace_back();
        myStack.push_back({&holder->objects.back(), nullptr});
        return true;
    }
    bool end_object() override { return pop(); }
    bool start_array(std::size_t) override {
        if (myStack.empty()) return fail("an object expected");
        if (inList()) return fail("a list within a list");
        if (myStack.size() == MAX_DEPTH) return fail(fmt::format("nested deeper than {}", MAX_DEPTH));
        slot().kind = JsonValue::EMPTY_LIST;
        myStack.push_back({nullptr, &slot()});
        return true;
    }
    bool end_array() override { return pop(); }
    bool key(string_t& name) override {
        JsonObject& object = *myStack.back().object;
        if (object.find(name)) return fail(fmt::format("key {} stands there twice", excerpt(name)));
        if (object.members.size() == MAX_KEYS) return fail(fmt::format("an object with more than {} keys", MAX_KEYS));
        myKey = name;
        object.members.push_back({std::move(name), {}});
        return true;
    }
    bool parse_error(std::size_t position, const std::string& token, const nlohmann::detail::exception&) override {
        const size_t at = position ? position - 1 : 0;
        const size_t lineStart = at == 0 ? std::string_view::npos : myText.rfind('\n', at - 1);
        const size_t column = lineStart == std::string_view::npos ? at + 1 : at - lineStart;
        throw FormatError(
            fmt::format("line {}, column {}: no valid JSON at {}", lineOf(myText, at), column, excerpt(token)));
    }

private:
    struct Level {
        JsonObject* object; ///< null inside a list
        JsonValue* list;
    };

    static bool isSpecial(const std::string& text, double& value) {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        value = text == "inf" ? infinity : text == "-inf" ? -infinity : std::numeric_limits<double>::quiet_NaN();
        return text == "nan" || text == "inf" || text == "-inf";
    }
    bool fail(const std::string& text) const { throw FormatError(where() + text); }
    std::string where() const {
        std::string path;
        for (const Level& level : myStack) {
            if (!level.object || level.object->members.empty()) continue;
            path += (path.empty() ? "" : ".") + level.object->members.back().key;
            const JsonValue& value = level.object->members.back().value;
            if (value.kind == JsonValue::OBJECTS) path += fmt::format("[{}]", value.objects.size() - 1);
        }
        return path.empty() ? path : "\"" + path + "\": ";
    }

    bool inList() const { return !myStack.empty() && myStack.back().list; }
    JsonValue& list() { return *myStack.back().list; }
    JsonValue& slot() { return myStack.back().object->members.back().value; }
    bool become(JsonValue::Kind kind) {
        if (list().kind == JsonValue::EMPTY_LIST) list().kind = kind;
        return list().kind == kind || fail("a list of unlike things");
    }
    bool number(double value) {
        if (myStack.empty()) return fail("an object expected");
        if (!inList()) {
            slot().kind = JsonValue::NUMBER;
            slot().number = value;
            return true;
        }
        if (!become(JsonValue::NUMBERS)) return false;
        list().numbers.push_back(value);
        return true;
    }
    bool pop() {
        myStack.pop_back();
        return true;
    }

    std::string_view myText;
    JsonValue myRoot;
    std::vector<Level> myStack;
    std::string myKey; ///< the latest
};

} // namespace

const JsonValue* JsonObject::find(std::string_view key) const {
    for (const JsonMember& member : members)
        if (member.key == key) return &member.value;
    return nullptr;
}

JsonObject parseJson(std::string_view text) {
    if (text.size() > MAX_TEXT)
        throw FormatError(fmt::format("{} bytes of text; the limit is {}, use .bflx for more", text.size(), MAX_TEXT));
    TreeBuilder builder(text);
    nlohmann::json::sax_parse(text.begin(), text.end(), &builder);
    return builder.take();
}

} // namespace formats
