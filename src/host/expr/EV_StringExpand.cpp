#include "host/expr/EV_StringExpand.h"
#include "host/expr/EV_Lexer.h"
#include <algorithm>
#include <utility>

static constexpr size_t MAX_PARTS = 1000;

EV_StringExpand::EV_StringExpand(std::string_view text) {
    myText = text;
    parse();
}

void EV_StringExpand::change(std::string_view text) {
    if (text == myText) return;
    myText = text;
    parse();
}

void EV_StringExpand::addPart(size_t first, size_t last, size_t bodyFirst, size_t bodyLast) {
    Part part{std::move(myTail), myText.substr(first, last - first), EV_EXPRESSION()};
    myTail.clear();
    part.expression.change(std::string_view(myText).substr(bodyFirst, bodyLast - bodyFirst), myShared, bodyFirst);
    if (!mySyntaxError) mySyntaxError = part.expression.syntaxError();
    myParts.push_back(std::move(part));
}

// The end of the expression whose opening ` stands at `open`; a ` inside quotes or behind a backslash does not end it.
size_t EV_StringExpand::closingTick(size_t open) const {
    char quote = '\0';
    for (size_t i = open + 1; i < myText.size(); ++i) {
        const char c = myText[i];
        if (c == '\\')
            ++i;
        else if (quote != '\0')
            quote = c == quote ? '\0' : quote;
        else if (c == '"' || c == '\'')
            quote = c;
        else if (c == '`')
            return i;
    }
    return std::string::npos;
}

size_t EV_StringExpand::parseTicks(size_t open) {
    const size_t close = closingTick(open);
    if (close == std::string::npos) return failParse(open, "` without its closing `");
    addPart(open, close + 1, open + 1, close);
    return close + 1;
}

size_t EV_StringExpand::parseVariable(size_t dollar) {
    const bool braced = dollar + 1 < myText.size() && myText[dollar + 1] == '{';
    const size_t first = dollar + (braced ? 2 : 1);
    if (!braced && (first >= myText.size() || !EV_startsName(myText[first]))) {
        myTail += '$';
        return first;
    }
    const EV_Token token = EV_Lexer(std::string_view(myText).substr(dollar)).next();
    if (token.kind != EV_Token::Variable) return failParse(dollar, token.text);
    addPart(dollar, dollar + token.length, dollar, dollar + token.length);
    return dollar + token.length;
}

// Keeps the rest of the text as it is.
size_t EV_StringExpand::failParse(size_t offset, std::string_view what, int number) {
    if (!mySyntaxError) mySyntaxError = EV_makeError(number, myText, offset, what);
    myTail += myText.substr(offset);
    return myText.size();
}

void EV_StringExpand::parse() {
    myParts.clear();
    myTail.clear();
    mySyntaxError = EV_Error();
    if (myText.size() > EV_MAX_STRING) {
        mySyntaxError = EV_makeError(EV_ERR_LIMIT, myText, std::string::npos, "string longer than 1 MiB");
        myTail = myText;
        return;
    }
    const bool computes = myText.find_first_of("`$") != std::string::npos;
    myShared = computes ? std::make_shared<const std::string>(myText) : nullptr;
    for (size_t i = 0; i < myText.size();) {
        const char c = myText[i];
        const bool escape = c == '\\' && i + 1 < myText.size() && (myText[i + 1] == '$' || myText[i + 1] == '`');
        if ((c == '`' || c == '$') && myParts.size() == MAX_PARTS) {
            i = failParse(i, "more than " + std::to_string(MAX_PARTS) + " computed parts", EV_ERR_LIMIT);
        } else if (c == '`') {
            i = parseTicks(i);
        } else if (c == '$') {
            i = parseVariable(i);
        } else {
            i += escape ? 1 : 0;
            myTail += myText[i++];
        }
    }
}

bool EV_StringExpand::expandPart(Part& part, EV_Scope& scope, double t, int thread, std::string& out) {
    // An older error is put aside, to see whether this part raises one.
    EV_ThreadError& error = EV_threadError(thread);
    EV_ThreadError before = std::exchange(error, {});
    const std::string value = ev_EvaluateString(part.expression, scope, t, thread);
    const bool done = error.number == EV_ERR_NONE;
    out += done ? value : part.source;
    if (before.number != EV_ERR_NONE) error = std::move(before);
    return done;
}

bool EV_StringExpand::expand(EV_Scope& scope, double t, int thread, std::string& out) {
    out.clear();
    bool done = !mySyntaxError;
    const bool partTells = !done && std::any_of(myParts.begin(), myParts.end(),
                                                [](const Part& part) { return bool(part.expression.syntaxError()); });
    if (!done && !partTells) EV_raise(thread, mySyntaxError.number, mySyntaxError.message);
    for (Part& part : myParts) {
        out += part.literal;
        done = expandPart(part, scope, t, thread, out) && done;
        if (out.size() > EV_MAX_STRING) break;
    }
    out += myTail;
    if (out.size() <= EV_MAX_STRING) return done;
    out = myText;
    const EV_Error error = EV_makeError(EV_ERR_LIMIT, myText, std::string::npos, "string longer than 1 MiB");
    EV_raise(thread, error.number, error.message);
    return false;
}

template <class T> static void merge(std::vector<T>& into, const std::vector<T>& from) {
    for (const T& value : from)
        if (std::find(into.begin(), into.end(), value) == into.end()) into.push_back(value);
}

EV_Analysis EV_StringExpand::analysis(const EV_Scope& scope) {
    EV_Analysis out;
    out.constant = !mySyntaxError;
    out.canFail = bool(mySyntaxError);
    for (Part& part : myParts) {
        const EV_Analysis& one = part.expression.analysis(scope);
        merge(out.locals, one.locals);
        merge(out.globals, one.globals);
        merge(out.functions, one.functions);
        out.constant = out.constant && one.constant;
        out.conditional = out.conditional || one.conditional;
        out.impure = out.impure || one.impure;
        out.canFail = out.canFail || one.canFail;
        out.strings = out.strings || one.strings;
    }
    std::sort(out.locals.begin(), out.locals.end());
    std::sort(out.globals.begin(), out.globals.end());
    return out;
}
