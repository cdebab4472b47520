#pragma once
#include "host/expr/EV_Code.h"
#include "host/vm/VM_Builder.h"
#include <span>

// A part of an expression whose code has been written.
struct EV_Term {
    EV_Type type = EV_FLOAT;
    size_t offset = 0;                     // where its text starts
    VM_Builder::Value c[4] = {0, 0, 0, 0}; // numbers and vectors
    bool isConstant = false;               // strings: `text` is the value
    std::string text;
    EV_StringRef string = 0; // strings: the register

    bool isVector() const { return type == EV_VECTOR || type == EV_VECTOR4; }
    int size() const { return EV_typeSize(type); }
};

// Thrown while compiling, caught by EV_compile.
struct EV_Failure {
    EV_Error error;
};

// Writes the code of an expression, folding what is constant. Terms are used up by what is built of them.
class EV_Emitter {
public:
    using Value = VM_Builder::Value;

    // Messages quote `whole`, in which the expression starts at byte `base`; without a scope every variable counts as a
    // local one, by its number in order of appearance. Names are views of the text, which must outlive this.
    EV_Emitter(std::string_view whole, size_t base, const EV_Scope* scope)
        : myWhole(whole)
        , myBase(base)
        , myScope(scope) {}

    [[noreturn]] void fail(int number, size_t offset, std::string_view what, std::string_view advice = {}) const;
    [[noreturn]] void failTypes(size_t offset, std::string_view sign, const EV_Term& left, const EV_Term& right) const;

    // A name that is no function, without a $.
    [[noreturn]] void failBareName(std::string_view name, size_t offset) const;

    std::string quote(size_t offset, size_t length) const; // a piece of the text, for messages

    EV_Term number(double value, size_t offset);
    EV_Term string(std::string text, size_t offset);
    EV_Term variable(std::string_view name, size_t offset);
    EV_Term unary(VM_Op op, EV_Term term, std::string_view sign, size_t offset);
    EV_Term binary(VM_Op op, EV_Term left, EV_Term right, std::string_view sign, size_t signOffset);
    EV_Term component(const EV_Term& vector, int index, size_t offset);
    EV_Term index(const EV_Term& vector, const EV_Term& at);
    EV_Term call(const EV_FUNCTION& function, std::vector<EV_Term>& args, size_t offset);

    // Numbers, for functions that are a few operations.
    Value op(VM_Op op, std::initializer_list<Value> operands);
    Value constant(double value) { return myBuilder.constant(value); }
    bool isConstant(Value value) const { return value < 0; }
    bool isConstant(const EV_Term& term) const;
    double constantValue(Value value) const { return myBuilder.constantValue(value); }
    EV_Term term(std::initializer_list<Value> components, size_t offset) const;

    // The value of a term used as a condition.
    Value condition(const EV_Term& term) const;

    // Code that is run only under a condition. Between enter and leave stands the code; leave(drop) takes it back.
    struct Branch {
        VM_Builder::Mark mark;
        size_t known;
        size_t jump; // to be aimed by the caller
    };
    Branch enter();                            // always run, but perhaps dropped
    Branch enter(VM_Op jump, Value condition); // skipped by the jump
    void leave(const Branch& branch, const EV_Term& result, bool drop);
    size_t jump(VM_Op op, Value condition) { return myBuilder.emitJump(op, condition); }
    void aimHere(size_t jump) { myBuilder.aimHere(jump); }
    EV_Term choose(Value condition, EV_Term yes, EV_Term no);
    // Makes both sides of a condition one type.
    void unify(EV_Term& yes, EV_Term& no) const;

    void finish(EV_Term result, EV_Code& code);
    std::vector<std::string> variableNames() const;

private:
    struct Variable {
        std::string_view name;
        EV_Variable meaning;
        Value value = 0;
        bool isKnown = false; // `value` has been read wherever the code stands now
    };
    size_t resolve(std::string_view name, size_t offset);
    [[noreturn]] void failUnknown(std::string_view name, size_t offset) const;
    std::string nearestVariable(std::string_view name) const; // "did you mean ...?", or empty
    Value host(EV_Site site, const std::vector<Value>& reads);
    EV_Term stringSite(EV_Site site, const std::vector<Value>& reads, std::initializer_list<EV_Term*> operands);
    EV_Term concat(EV_Term left, EV_Term right);
    void widen(EV_Term& term, EV_Type type) const;
    EV_Term compareVectors(VM_Op op, const EV_Term& left, const EV_Term& right);
    EV_Term compareStrings(VM_Op op, EV_Term left, EV_Term right);
    bool fold(const EV_FUNCTION& function, const std::vector<EV_Term>& args, EV_Term& result);
    EV_Value constantOf(const EV_Term& term) const;
    EV_Term termOf(const EV_Value& value, size_t offset);
    EV_StringRef stringOperand(EV_Term& term);
    EV_StringRef takeString();
    void freeString(const EV_Term& term);
    void analyse(EV_Code& code) const;

    std::string_view myWhole;
    size_t myBase;
    const EV_Scope* myScope;
    VM_Builder myBuilder;
    std::vector<EV_Site> mySites;
    std::vector<std::string> myStrings;
    std::vector<EV_StringRef> myFreeStrings;
    int myNumStrings = 0;
    std::vector<Variable> myVariables;     // in order of appearance
    std::vector<size_t> myVariablesByName; // indices of those
    std::vector<size_t> myKnown;           // indices of those that are, in the order they were read
    std::vector<Value> myWritten;          // by the last site
};
