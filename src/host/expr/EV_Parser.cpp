#include "host/expr/EV_Parser.h"
#include "host/expr/EV_CallResolver.h"
#include "host/expr/EV_Function.h"
#include <iterator>

namespace {

constexpr size_t MAX_ARGS = 256;

// Counts how deep the grammar has gone.
class Nesting {
public:
    Nesting(int& depth, const EV_Emitter& emitter, size_t offset)
        : myDepth(depth) {
        if (myDepth > EV_MAX_NESTING) // the whole expression is not inside anything
            emitter.fail(EV_ERR_LIMIT, offset, "nested deeper than " + std::to_string(EV_MAX_NESTING));
        ++myDepth;
    }
    ~Nesting() { --myDepth; }

private:
    int& myDepth;
};

} // namespace

EV_Parser::EV_Parser(std::string_view text, EV_Emitter& emitter)
    : myEmitter(emitter)
    , myLexer(text)
    , myToken(myLexer.next()) {}

EV_Token EV_Parser::take() {
    const EV_Token out = myToken;
    myToken = myLexer.next();
    return out;
}

void EV_Parser::failUnexpected(std::string_view advice) const {
    std::string what = "unexpected end of expression";
    if (myToken.kind == EV_Token::Bad && !myToken.text.empty())
        what = myToken.text;
    else if (myToken.kind != EV_Token::End)
        what = "unexpected " + myEmitter.quote(myToken.offset, myToken.length);
    myEmitter.fail(EV_ERR_SYNTAX, myToken.offset, what, advice);
}

void EV_Parser::expect(std::string_view op) {
    if (!myToken.is(op)) failUnexpected(std::string(op) + " is missing");
    take();
}

EV_Term EV_Parser::parse() {
    EV_Term out = expression();
    if (myToken.kind != EV_Token::End) failUnexpected();
    return out;
}

// One of two parts, of which only one is run. With a constant condition the code of the other is dropped.
template <class Yes, class No> EV_Term EV_Parser::conditional(const EV_Term& condition, Yes yes, No no) {
    const EV_Emitter::Value c = myEmitter.condition(condition);
    if (myEmitter.isConstant(c)) {
        const bool isTrue = myEmitter.constantValue(c) != 0;
        const auto first = myEmitter.enter();
        EV_Term a = yes();
        myEmitter.leave(first, a, !isTrue);
        const auto second = myEmitter.enter();
        EV_Term b = no();
        myEmitter.leave(second, b, isTrue);
        myEmitter.unify(a, b);
        return isTrue ? a : b;
    }
    const auto first = myEmitter.enter(VM_Op::JumpNone, c);
    EV_Term a = yes();
    myEmitter.leave(first, a, false);
    const size_t skip = myEmitter.jump(VM_Op::JumpAll, c);
    myEmitter.aimHere(first.jump);
    const auto second = myEmitter.enter();
    EV_Term b = no();
    myEmitter.leave(second, b, false);
    myEmitter.aimHere(skip);
    myEmitter.unify(a, b);
    return myEmitter.choose(c, std::move(a), std::move(b));
}

EV_Term EV_Parser::expression() {
    const Nesting nesting(myDepth, myEmitter, myToken.offset);
    EV_Term condition = binary(0);
    if (!myToken.is("?")) return condition;
    take();
    const auto yes = [this] { return expression(); };
    const auto no = [this] {
        expect(":");
        return expression();
    };
    return conditional(condition, yes, no);
}

const EV_Parser::Operator* EV_Parser::binaryOperator(int level) const {
    static constexpr Operator theOperators[] = {
        {"||", 0, VM_Op::Or}, {"&&", 1, VM_Op::And}, {"==", 2, VM_Op::Eq}, {"!=", 2, VM_Op::Ne}, {"<", 3, VM_Op::Lt},
        {"<=", 3, VM_Op::Le}, {">", 3, VM_Op::Gt},   {">=", 3, VM_Op::Ge}, {"+", 4, VM_Op::Add}, {"-", 4, VM_Op::Sub},
        {"*", 5, VM_Op::Mul}, {"/", 5, VM_Op::Div},  {"%", 5, VM_Op::Mod},
    };
    if (myToken.kind != EV_Token::Operator) return nullptr;
    for (const Operator& op : theOperators)
        if (op.level >= level && op.sign == myToken.text) return &op;
    return nullptr;
}

EV_Term EV_Parser::binary(int level) {
    EV_Term left = unary();
    while (const Operator* op = binaryOperator(level)) {
        const EV_Token sign = take();
        if (op->level < 2) {
            left = lazy(*op, left);
        } else {
            EV_Term right = binary(op->level + 1);
            left = myEmitter.binary(op->op, std::move(left), std::move(right), op->sign, sign.offset);
        }
    }
    return left;
}

// && and ||: the right side is run only when the left one does not settle the result.
EV_Term EV_Parser::lazy(const Operator& op, const EV_Term& left) {
    const EV_Emitter::Value a = myEmitter.condition(left);
    const bool isAnd = op.op == VM_Op::And;
    const bool known = myEmitter.isConstant(a);
    const bool settled = known && (myEmitter.constantValue(a) != 0) != isAnd;
    const auto branch = known ? myEmitter.enter() : myEmitter.enter(isAnd ? VM_Op::JumpNone : VM_Op::JumpAll, a);
    const EV_Term right = binary(op.level + 1);
    const EV_Emitter::Value b = myEmitter.condition(right);
    myEmitter.leave(branch, right, settled);
    if (settled) return myEmitter.number(isAnd ? 0 : 1, left.offset);
    if (!known) myEmitter.aimHere(branch.jump);
    return myEmitter.term({myEmitter.op(op.op, {a, b})}, left.offset);
}

EV_Term EV_Parser::unary() {
    const bool minus = myToken.is("-"), plus = myToken.is("+"), isNot = myToken.is("!");
    if (!minus && !plus && !isNot) return power();
    const Nesting nesting(myDepth, myEmitter, myToken.offset);
    const EV_Token sign = take();
    EV_Term term = unary();
    if (plus && term.type != EV_STRING) return term;
    return myEmitter.unary(isNot ? VM_Op::Not : VM_Op::Neg, std::move(term), sign.text, sign.offset);
}

EV_Term EV_Parser::power() {
    EV_Term base = postfix();
    if (!myToken.is("^")) return base;
    const Nesting nesting(myDepth, myEmitter, myToken.offset);
    const EV_Token sign = take();
    EV_Term exponent = unary();
    return myEmitter.binary(VM_Op::Pow, std::move(base), std::move(exponent), "^", sign.offset);
}

EV_Term EV_Parser::dot(const EV_Term& vector) {
    const EV_Token sign = take();
    const size_t index = myToken.length == 1 ? std::string_view("xyzw").find(myToken.text) : std::string_view::npos;
    if (myToken.kind != EV_Token::Name || index == std::string_view::npos)
        failUnexpected("a component is .x, .y, .z or .w");
    take();
    return myEmitter.component(vector, int(index), sign.offset);
}

EV_Term EV_Parser::postfix() {
    EV_Term term = primary();
    for (;;) {
        if (myToken.is(".")) {
            term = dot(term);
        } else if (myToken.is("[")) {
            take();
            const EV_Term at = expression();
            expect("]");
            term = myEmitter.index(term, at);
        } else {
            return term;
        }
    }
}

EV_Term EV_Parser::primary() {
    if (myToken.kind == EV_Token::Name) return named();
    if (myToken.is("(")) {
        take();
        EV_Term inner = expression();
        expect(")");
        return inner;
    }
    if (myToken.kind == EV_Token::End || myToken.kind == EV_Token::Operator || myToken.kind == EV_Token::Bad)
        failUnexpected();
    const EV_Token token = take();
    if (token.kind == EV_Token::Number) return myEmitter.number(token.number, token.offset);
    if (token.kind == EV_Token::String) return myEmitter.string(EV_resolveEscapes(token.text), token.offset);
    return myEmitter.variable(token.text, token.offset);
}

EV_Term EV_Parser::named() {
    const EV_Token name = take();
    if (myToken.is("(")) return name.text == "if" ? ifCall(name) : call(name);
    if (name.text != "if" && !EV_findFunction(name.text)) myEmitter.failBareName(name.text, name.offset);
    myEmitter.fail(EV_ERR_SYNTAX, name.offset, "unexpected name " + std::string(name.text),
                   "a function has its arguments in ( )");
}

EV_Term EV_Parser::call(const EV_Token& name) {
    take();
    constexpr size_t FEW = 4;
    std::vector<EV_Term> args;
    args.reserve(FEW);
    while (!myToken.is(")")) {
        if (!args.empty()) {
            if (!myToken.is(",")) failUnexpected(") is missing");
            take();
        }
        if (args.size() == MAX_ARGS)
            myEmitter.fail(EV_ERR_LIMIT, myToken.offset, "more than " + std::to_string(MAX_ARGS) + " arguments");
        args.push_back(expression());
    }
    take();
    return EV_emitCall(myEmitter, name.text, args, name.offset);
}

EV_Term EV_Parser::ifCall(const EV_Token& name) {
    size_t count = 0;
    // Every argument but the first follows a comma; too few or too many are told by their number.
    const auto wrongCount = [&] {
        for (; myToken.is(","); ++count) {
            take();
            expression();
        }
        expect(")");
        myEmitter.fail(EV_ERR_FUNCTION, name.offset, "if takes 3 arguments, " + std::to_string(count) + " given,");
    };
    const auto argument = [&] {
        if (count > 0 && !myToken.is(",")) wrongCount();
        take();
        if (count == 0 && myToken.is(")")) wrongCount();
        EV_Term out = expression();
        ++count;
        return out;
    };
    EV_Term condition = argument();
    EV_Term out = conditional(condition, argument, argument);
    if (!myToken.is(")")) wrongCount();
    take();
    return out;
}
