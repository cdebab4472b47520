#include "host/expr/EV_StringFunctions.h"
#include "host/expr/EV_Number.h"
#include "host/ut/UT_PatternMatch.h"
#include <algorithm>

static bool startsCharacter(char c) { return (c & 0xc0) != 0x80; }

bool EV_strlen(EV_CallContext&, const EV_Value* args, int, EV_Value& result) {
    result = double(std::count_if(args[0].s.begin(), args[0].s.end(), startsCharacter));
    return true;
}

static void appendText(std::string& out, const EV_Value& value) {
    if (value.type == EV_STRING) out += value.s;
    for (int i = 0; i < EV_typeSize(value.type); ++i) {
        if (i > 0) out += ' ';
        out += EV_numberText(value.v[i]);
    }
}

bool EV_strcat(EV_CallContext& context, const EV_Value* args, int count, EV_Value& result) {
    result = std::string();
    for (int i = 0; i < count; ++i) {
        appendText(result.s, args[i]);
        if (result.s.size() > EV_MAX_STRING) return context.fail("string longer than 1 MiB");
    }
    return true;
}

// The byte at which the character of that number starts; the end when there are fewer.
static size_t byteOf(const std::string& text, double character, size_t from) {
    size_t at = from;
    for (; character >= 1 && at < text.size(); --character)
        while (++at < text.size() && !startsCharacter(text[at])) {
        }
    return at;
}

bool EV_substr(EV_CallContext&, const EV_Value* args, int, EV_Value& result) {
    const std::string& text = args[0].s;
    const size_t first = byteOf(text, args[1].number(), 0);
    const size_t last = byteOf(text, args[2].number(), first);
    result = text.substr(first, last - first);
    return true;
}

bool EV_strmatch(EV_CallContext& context, const EV_Value* args, int, EV_Value& result) {
    constexpr double MOST_STEPS = 1 << 22; // a match takes up to pattern length times text length
    if (double(args[0].s.size()) * double(args[1].s.size()) > MOST_STEPS)
        return context.fail("pattern and string are too long to be matched");
    result = UTglobMatch(args[0].s, args[1].s) ? 1.0 : 0.0;
    return true;
}
