#pragma once
#include "host/expr/EV_Error.h"
#include "host/expr/EV_Scope.h"
#include "host/expr/EV_Value.h"
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct EV_Code;
struct EV_FUNCTION;

constexpr size_t EV_MAX_TEXT = 64 * 1024; // bytes of one expression
constexpr int EV_MAX_NESTING = 200;       // brackets, calls, unary operators and ?: inside each other

// What can be said about an expression without evaluating it.
struct EV_Analysis {
    std::vector<int> locals;                   // ids of the local variables it may read, ascending, each once
    std::vector<int> globals;                  // ids of the globals, likewise
    std::vector<const EV_FUNCTION*> functions; // called through a callback, each once, in order of appearance
    bool constant = false;                     // always the same value, never an error
    bool conditional = false;                  // some part is evaluated only under a condition
    bool impure = false;                       // calls a function that reads more than its arguments
    bool canFail = false;                      // could raise an error other than by the reading of a local variable
    bool strings = false;                      // handles strings that are not constant

    bool readsLocal(int id) const;
    bool calls(std::string_view functionName) const;
};

// A compiled expression. Syntax, functions and types are checked when the text is set; names are resolved when it is
// first used in a scope, and again when the scope or its serial changes. Where names then mean other variables, the
// code is given those; it is compiled again only for the sake of a Value, which is folded. One thread at a time.
class EV_EXPRESSION {
public:
    explicit EV_EXPRESSION(std::string_view text = {}, int components = 1);
    ~EV_EXPRESSION();
    EV_EXPRESSION(EV_EXPRESSION&&) noexcept;
    EV_EXPRESSION& operator=(EV_EXPRESSION&&) noexcept;

    // Takes another text; the same text again costs a comparison.
    void change(std::string_view text);
    const std::string& text() const { return myText; }
    int components() const { return myComponents; }

    // The same for an expression that stands inside a larger text, at byte `offset`: errors quote `whole` and count
    // columns from its start.
    void change(std::string_view text, std::shared_ptr<const std::string> whole, size_t offset);

    // The first error in the text itself; number 0: none.
    const EV_Error& syntaxError() const { return mySyntaxError; }

    // The type of the result, EV_FLOAT when the text has an error.
    EV_Type resultType() const { return myResultType; }

    // What is raised where a result of another type is needed.
    EV_Error typeError(EV_Type needed) const;

    // Resolves the names in `scope`. False with bindError() set when the text has an error or a name is unknown; of a
    // text with an error, bindError() may know more than syntaxError().
    bool bind(const EV_Scope& scope);
    const EV_Error& bindError() const { return myBindError; }

    // Of the binding that bind(scope) makes; with an error nothing is known but canFail.
    const EV_Analysis& analysis(const EV_Scope& scope);

    // The names of all variables in the text, without '$', each once, in order of appearance; no scope needed.
    const std::vector<std::string>& variableNames() const { return myVariableNames; }

    // The code of the last bind.
    const EV_Code& code() const { return *myCode; }

    // How often it has been compiled, for tests.
    int numCompilations() const { return myNumCompilations; }

private:
    friend class EV_Evaluation;
    EV_Error compile(const EV_Scope* scope, std::vector<std::string>* names);
    void bindAnew(const EV_Scope& scope);
    void explain(const EV_Scope& scope);
    bool findMeanings(const EV_Scope& scope, std::vector<EV_Variable>& meanings) const;
    bool patch(const std::vector<EV_Variable>& meanings);
    void setCode(std::unique_ptr<EV_Code> code);
    std::string_view whole() const { return myWhole ? *myWhole : myText; }

    std::string myText;
    std::shared_ptr<const std::string> myWhole; // null: myText
    size_t myOffset = 0;
    int myComponents;
    EV_Type myResultType = EV_FLOAT;
    EV_Error mySyntaxError;
    EV_Error myBindError;
    std::vector<std::string> myVariableNames;
    std::vector<EV_Variable> myMeanings; // that myCode was made for, by name; empty: of no scope, or with an error
    std::unique_ptr<EV_Code> myCode;
    int myNumCompilations = 0;
    const EV_Scope* myScope = nullptr;
    unsigned mySerial = 0;
    int myNumRunning = 0; // evaluations under way: a function may evaluate this expression again
    std::vector<std::unique_ptr<EV_Code>> myRetired; // code replaced meanwhile
};

// Create with a number of components that evaluations are meant to yield (1 or 3), give another text, destroy.
EV_EXPRESSION* ev_AllocExpr(int components = 1);
void ev_ChangeExpr(EV_EXPRESSION* expression, const char* text);
void ev_FreeExpr(EV_EXPRESSION* expression);

// Evaluate at time t (seconds) on `thread` (0 = the calling one). On an error of any kind the result is 0 or "", and
// EV_errNo(thread) and EV_errText(thread) say what it was; an error number left from before is kept and does no harm. A
// float evaluation allocates nothing.
//   float:  the expression must yield a number
//   string: a number is written as EV_numberText does; a vector is an error
//   vector: resized to 3 or 4 elements; a number stands in all three; false on an error, elements 0
double ev_EvaluateFloat(EV_EXPRESSION& expression, EV_Scope& scope, double t, int thread);
std::string ev_EvaluateString(EV_EXPRESSION& expression, EV_Scope& scope, double t, int thread);
bool ev_EvaluateVector(EV_EXPRESSION& expression, ev_Vector& result, EV_Scope& scope, double t, int thread);
