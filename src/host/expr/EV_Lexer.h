#pragma once
#include <string>
#include <string_view>

struct EV_Token {
    enum Kind {
        End,
        Number,   // number
        String,   // text: between the quotes, escapes as written (EV_resolveEscapes)
        Variable, // text: the name without '$'
        Name,     // text
        Operator, // text: one or two characters
        Bad       // text: what is wrong, when there is more to say than that the character is unexpected
    };
    Kind kind = End;
    size_t offset = 0; // in bytes
    size_t length = 0;
    double number = 0;
    std::string_view text; // a piece of the expression, but for Bad

    bool is(std::string_view op) const { return kind == Operator && text == op; }
};

bool EV_startsName(char c); // A-Z a-z _
bool EV_inName(char c);     // and 0-9

// The characters that a string token stands for.
std::string EV_resolveEscapes(std::string_view text);

// Cuts the text of an expression into tokens. In strings \" \' \\ \n \t are escapes, other backslashes stand for
// themselves.
class EV_Lexer {
public:
    explicit EV_Lexer(std::string_view text)
        : myText(text) {}
    EV_Token next();

private:
    char at(size_t i) const { return i < myText.size() ? myText[i] : '\0'; }
    EV_Token& cut(EV_Token& token, size_t end);
    EV_Token& bad(EV_Token& token, std::string_view what);
    EV_Token& string(EV_Token& token);
    EV_Token& variable(EV_Token& token);
    EV_Token& op(EV_Token& token);
    size_t nameEnd(size_t from) const;

    std::string_view myText;
    size_t myAt = 0;
};
