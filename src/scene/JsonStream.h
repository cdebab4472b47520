#pragma once

#include "scene/JsonText.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

/// Writes JSON piece by piece: commas, quotes and nesting are taken care of, memory stays small however long the text.
///
///     json.beginObject();
///     json.key("frame").integer(24);
///     json.key("points").beginArray() ... json.endArray();
///     json.endObject();
class JsonStream {
public:
    explicit JsonStream(std::ostream& out)
        : myOut(out) {}
    ~JsonStream() { flush(); }
    JsonStream(const JsonStream&) = delete;
    JsonStream& operator=(const JsonStream&) = delete;

    JsonStream& key(std::string_view name);
    JsonStream& beginObject() { return begin('{'); }
    JsonStream& endObject() { return end('}'); }
    JsonStream& beginArray() { return begin('['); }
    JsonStream& endArray() { return end(']'); }
    JsonStream& number(float value) {
        return item([=](std::string& out) { JsonText::number(out, value); });
    }
    JsonStream& number(double value) {
        return item([=](std::string& out) { JsonText::number(out, value); });
    }
    JsonStream& integer(long long value) {
        return item([=](std::string& out) { JsonText::integer(out, value); });
    }
    JsonStream& text(std::string_view value) {
        return item([=](std::string& out) { JsonText::string(out, value); });
    }
    JsonStream& null() {
        return item([](std::string& out) { out += "null"; });
    }
    /// A line end, for readers of long texts.
    JsonStream& newline();
    void flush();

private:
    template <class Write> JsonStream& item(const Write& write) {
        separate();
        write(myBuffer);
        if (myBuffer.size() > FLUSH_AT) flush();
        return *this;
    }
    void separate();
    JsonStream& begin(char bracket);
    JsonStream& end(char bracket);

    static constexpr size_t FLUSH_AT = size_t(1) << 16;
    std::ostream& myOut;
    std::string myBuffer;
    std::vector<bool> myStarted; ///< per open bracket: it holds something
    bool myAfterKey = false;
};
