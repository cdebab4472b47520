#pragma once
#include "host/expr/EV_Expression.h"
#include <string>
#include <string_view>
#include <vector>

// The text of a string parameter with the parts that are computed: `expression` in backticks, $NAME and ${NAME}. Whole
// numbers expand without decimals. \$ and \` stand for the characters themselves; a $ that starts no name, and any
// other backslash, is as typed.
class EV_StringExpand {
public:
    explicit EV_StringExpand(std::string_view text = {});

    void change(std::string_view text);
    const std::string& text() const { return myText; }

    // Nothing to compute: plain() is the text with its escapes resolved.
    bool isPlain() const { return myParts.empty() && !mySyntaxError; }
    const std::string& plain() const { return myTail; }

    // The first error in the text itself (an unclosed ` or ${, an error inside backticks).
    const EV_Error& syntaxError() const { return mySyntaxError; }

    // Writes the text with every part computed. On an error the thread's error number and text are raised, false is
    // returned and the part that failed stands as it was typed.
    bool expand(EV_Scope& scope, double t, int thread, std::string& out);

    // The same for one part after the other: what the text reads, and whether it may fail.
    EV_Analysis analysis(const EV_Scope& scope);

    /// Calls fn(EV_EXPRESSION&) for every part that is computed, in order.
    template <class Fn> void forEachPart(Fn&& fn) {
        for (Part& part : myParts) fn(part.expression);
    }

private:
    struct Part {
        std::string literal; // before the expression
        std::string source;  // the part as typed
        EV_EXPRESSION expression;
    };
    void parse();
    size_t parseTicks(size_t open);
    size_t parseVariable(size_t dollar);
    size_t closingTick(size_t open) const;
    size_t failParse(size_t offset, std::string_view what, int number = EV_ERR_SYNTAX);
    void addPart(size_t first, size_t last, size_t bodyFirst, size_t bodyLast);
    bool expandPart(Part& part, EV_Scope& scope, double t, int thread, std::string& out);

    std::string myText;
    std::shared_ptr<const std::string> myShared; // the text, for the messages of its parts
    std::vector<Part> myParts;
    std::string myTail; // literal text after the last part
    EV_Error mySyntaxError;
};
