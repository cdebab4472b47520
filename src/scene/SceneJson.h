#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// A JSON value of a scene file with the line it stands in. Small, because point lists hold millions of them.
class SceneJson {
public:
    enum class Kind : uint8_t { Null, Boolean, Number, Text, Array, Object };
    using Member = std::pair<std::string, SceneJson>;

    SceneJson();
    ~SceneJson();
    SceneJson(SceneJson&&) noexcept;
    SceneJson& operator=(SceneJson&&) noexcept;

    static SceneJson makeBoolean(bool value, unsigned line = 0);
    static SceneJson makeNumber(double value, unsigned line = 0);
    static SceneJson makeText(std::string value, unsigned line = 0);
    static SceneJson makeArray(unsigned line = 0);
    static SceneJson makeObject(unsigned line = 0);

    Kind kind() const { return myKind; }
    bool isNull() const { return myKind == Kind::Null; }
    bool isBoolean() const { return myKind == Kind::Boolean; }
    bool isNumber() const { return myKind == Kind::Number; }
    bool isText() const { return myKind == Kind::Text; }
    bool isArray() const { return myKind == Kind::Array; }
    bool isObject() const { return myKind == Kind::Object; }
    unsigned line() const { return myLine; }

    double number() const { return myNumber; } ///< of numbers; a boolean is 0 or 1
    /// True for a number without fraction that an int holds.
    bool isInteger() const;
    int integer() const { return static_cast<int>(myNumber); }
    const std::string& text() const;             ///< empty unless a text
    const std::vector<SceneJson>& items() const; ///< empty unless an array
    std::vector<SceneJson>& items();
    const std::vector<Member>& members() const; ///< in order of the file; empty unless an object
    std::vector<Member>& members();
    /// The member of that key, or null.
    const SceneJson* find(std::string_view key) const;

    /// "a number", "an array", ...: for messages.
    const char* kindName() const;
    /// The value as JSON text that reads back to the same value.
    std::string toText() const;

    struct Limits {
        size_t bytes = size_t(64) << 20;
        int depth = 128;
        size_t nodes = 100000; ///< objects directly in an array under "obj", "shop" or "nodes"
    };
    /// Parses JSON with comments. False with "line: what is wrong" (`where` is the line, 0 for none) when the text is
    /// no JSON, has an object with the same key twice, or goes past a limit; nothing of the size of the text is
    /// allocated for one that goes past a limit before that point.
    struct Failure {
        unsigned line = 0;
        std::string what;
    };
    static bool parse(std::string_view text, SceneJson& out, Failure& failure, const Limits& limits);
    static bool parse(std::string_view text, SceneJson& out, Failure& failure) {
        return parse(text, out, failure, Limits());
    }

private:
    SceneJson(Kind kind, unsigned line)
        : myKind(kind)
        , myLine(line) {}
    void destroy();
    void write(std::string& out) const;

    Kind myKind = Kind::Null;
    unsigned myLine = 0;
    union {
        double myNumber;
        std::string* myText;
        std::vector<SceneJson>* myItems;
        std::vector<Member>* myMembers;
    };
};

static_assert(sizeof(void*) != 8 || sizeof(SceneJson) == 16);
