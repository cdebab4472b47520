#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace formats {

struct JsonObject;

/// A JSON value as geometry files use it. A list holds numbers only ("nan", "inf", "-inf" count), strings only or
/// objects only, so that long lists cost 8 bytes a number.
struct JsonValue {
    enum Kind { BOOLEAN, NUMBER, STRING, NUMBERS, STRINGS, OBJECTS, EMPTY_LIST, OBJECT } kind = NUMBER;
    double number = 0; ///< also a boolean
    std::string string;
    std::vector<double> numbers; ///< exact for floats and 32-bit integers
    std::vector<std::string> strings;
    std::vector<JsonObject> objects; ///< one for OBJECT
};

struct JsonMember;
struct JsonObject {
    std::vector<JsonMember> members;
    const JsonValue* find(std::string_view key) const;
};

struct JsonMember {
    std::string key;
    JsonValue value;
};

/// Parses a JSON text whose top is an object. Refuses invalid UTF-8, duplicate keys, lists within lists, deep nesting
/// and texts above 1 GiB; throws FormatError with line and column, or the path of keys.
JsonObject parseJson(std::string_view text);

} // namespace formats
