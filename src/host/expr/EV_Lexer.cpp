#include "host/expr/EV_Lexer.h"
#include "host/expr/EV_Number.h"

bool EV_startsName(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool EV_inName(char c) { return EV_startsName(c) || (c >= '0' && c <= '9'); }

EV_Token& EV_Lexer::cut(EV_Token& token, size_t end) {
    token.length = end - token.offset;
    myAt = end;
    return token;
}

EV_Token& EV_Lexer::bad(EV_Token& token, std::string_view what) {
    token.kind = EV_Token::Bad;
    token.text = what;
    return cut(token, myText.size());
}

size_t EV_Lexer::nameEnd(size_t from) const {
    while (EV_inName(at(from))) ++from;
    return from;
}

static char escaped(char c) {
    switch (c) {
    case 'n': return '\n';
    case 't': return '\t';
    case '"':
    case '\'':
    case '\\': return c;
    default: return '\0';
    }
}

EV_Token& EV_Lexer::string(EV_Token& token) {
    const char quote = at(myAt);
    token.kind = EV_Token::String;
    for (size_t i = myAt + 1; i < myText.size(); ++i) {
        const char c = myText[i];
        if (c == quote) {
            token.text = myText.substr(myAt + 1, i - myAt - 1);
            return cut(token, i + 1);
        }
        if (c == '\\' && escaped(at(i + 1))) ++i;
    }
    return bad(token, quote == '"' ? "string without its closing \"" : "string without its closing '");
}

std::string EV_resolveEscapes(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const bool mayEscape = text[i] == '\\' && i + 1 < text.size();
        const char plain = mayEscape ? escaped(text[i + 1]) : '\0';
        out += plain ? plain : text[i];
        if (plain) ++i;
    }
    return out;
}

EV_Token& EV_Lexer::variable(EV_Token& token) {
    const bool braced = at(myAt + 1) == '{';
    const size_t first = myAt + (braced ? 2 : 1);
    const size_t end = nameEnd(first);
    if (end == first || !EV_startsName(at(first))) return bad(token, "$ without a name");
    if (braced && at(end) != '}') return bad(token, "${ without its closing }");
    token.kind = EV_Token::Variable;
    token.text = myText.substr(first, end - first);
    return cut(token, end + (braced ? 1 : 0));
}

EV_Token& EV_Lexer::op(EV_Token& token) {
    static constexpr std::string_view theDoubles[] = {"==", "!=", "<=", ">=", "&&", "||"};
    const std::string_view two = myText.substr(myAt, 2);
    for (std::string_view candidate : theDoubles)
        if (two == candidate) {
            token.kind = EV_Token::Operator;
            token.text = two;
            return cut(token, myAt + 2);
        }
    if (std::string_view("+-*/%^<>!?:()[],.").find(at(myAt)) == std::string_view::npos) {
        size_t end = myAt + 1;
        while ((at(end) & 0xc0) == 0x80) ++end; // the rest of a UTF-8 character
        token.kind = EV_Token::Bad;
        return cut(token, end);
    }
    token.kind = EV_Token::Operator;
    token.text = two.substr(0, 1);
    return cut(token, myAt + 1);
}

EV_Token EV_Lexer::next() {
    while (myAt < myText.size() && std::string_view(" \t\r\n").find(myText[myAt]) != std::string_view::npos) ++myAt;
    EV_Token token;
    token.offset = myAt;
    if (myAt >= myText.size()) return token;
    const char c = myText[myAt];
    if (c == '"' || c == '\'') return string(token);
    if (c == '$') return variable(token);
    if (const size_t length = EV_parseNumber(myText.substr(myAt), token.number)) {
        token.kind = EV_Token::Number;
        return cut(token, myAt + length);
    }
    if (!EV_startsName(c)) return op(token);
    token.kind = EV_Token::Name;
    const size_t end = nameEnd(myAt);
    token.text = myText.substr(myAt, end - myAt);
    return cut(token, end);
}
