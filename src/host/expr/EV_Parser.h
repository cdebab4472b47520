#pragma once
#include "host/expr/EV_Emitter.h"
#include "host/expr/EV_Lexer.h"

// The grammar, by recursive descent; code is written while reading. From loosest to tightest:
//   a ? b : c    ||    &&    == !=    < <= > >=    + -    * / %    - + ! before an operand    ^ (right to left)    [i]
//   .x
// so -2^2 is -4 and 2^-1 is 0.5. Throws EV_Failure.
class EV_Parser {
public:
    EV_Parser(std::string_view text, EV_Emitter& emitter);
    EV_Term parse();

private:
    struct Operator {
        std::string_view sign;
        int level;
        VM_Op op;
    };
    EV_Term expression(); // with ?:
    EV_Term binary(int level);
    EV_Term lazy(const Operator& op, const EV_Term& left);
    EV_Term unary();
    EV_Term power();
    EV_Term postfix();
    EV_Term primary();
    EV_Term named();
    EV_Term call(const EV_Token& name);
    EV_Term ifCall(const EV_Token& name);
    EV_Term dot(const EV_Term& vector);
    template <class Yes, class No> EV_Term conditional(const EV_Term& condition, Yes yes, No no);
    const Operator* binaryOperator(int level) const;

    EV_Token take();
    void expect(std::string_view op);
    [[noreturn]] void failUnexpected(std::string_view advice = {}) const;

    EV_Emitter& myEmitter;
    EV_Lexer myLexer;
    EV_Token myToken;
    int myDepth = 0;
};
