#pragma once
#include <string>
#include <string_view>

// Error numbers of expressions. 10 is also raised by a scope for a variable that it cannot serve.
enum EV_ErrorNumber : int {
    EV_ERR_NONE = 0,
    EV_ERR_SYNTAX = 1,     // the text is no expression
    EV_ERR_FUNCTION = 2,   // unknown function, wrong number or types of arguments
    EV_ERR_TYPE = 3,       // an operator or the place of use needs another type
    EV_ERR_LIMIT = 4,      // text, nesting, argument count or string length over its limit
    EV_ERR_EVALUATION = 5, // a function failed while it was evaluated, an index is out of range
    EV_ERR_VARIABLE = 10,  // no such variable, or none here
};

// The expression error number of a thread: `thread` counts from 1, 0 means the calling thread. It stays until someone
// sets it to 0: an evaluation raises it, never clears it. Each thread's number is touched by that thread alone.
int& EV_errNo(int thread);

// The text of the error that was raised last on that thread, for example
// "$VXX * 2": unknown variable $VXX at column 1; did you mean $VX?  Meaningful while EV_errNo(thread) is not 0; empty
// when a number was set without a text.
const std::string& EV_errText(int thread);

// Sets number and text. The first error stays: a later one does not replace it.
void EV_raise(int thread, int number, std::string text);

// Sets the number to 0 and empties the text.
void EV_clearError(int thread);

// Number and text of a thread together; its address stays.
struct EV_ThreadError {
    int number = EV_ERR_NONE;
    std::string text;
};
EV_ThreadError& EV_threadError(int thread);

// One error in a piece of text: number 0 means none. `message` is whole, as EV_errText gives it.
struct EV_Error {
    int number = EV_ERR_NONE;
    int column = 0; // 1 is the first character
    std::string message;
    explicit operator bool() const { return number != EV_ERR_NONE; }
};

// The common form of all messages: "text": what at column N; advice. Long texts are cut, columns count characters
// (UTF-8), `offset` is in bytes. The advice may be empty.
EV_Error EV_makeError(int number, std::string_view text, size_t offset, std::string_view what,
                      std::string_view advice = {});

namespace EXPR {
// The error numbers by thread index minus one: EXPR::theErrNo[thread - 1].
struct ErrNoTable {
    int& operator[](int slot) const { return EV_errNo(slot + 1); }
};
inline constexpr ErrNoTable theErrNo;
} // namespace EXPR
