#include "host/expr/EV_Emitter.h"
#include "host/expr/EV_Function.h"
#include "host/expr/EV_Strings.h"
#include "host/ut/UT_NearestName.h"
#include "host/vm/VM_Machine.h"
#include <algorithm>

using Value = EV_Emitter::Value;

void EV_Emitter::fail(int number, size_t offset, std::string_view what, std::string_view advice) const {
    throw EV_Failure{EV_makeError(number, myWhole, myBase + offset, what, advice)};
}

void EV_Emitter::failTypes(size_t offset, std::string_view sign, const EV_Term& left, const EV_Term& right) const {
    fail(EV_ERR_TYPE, offset,
         std::string(sign) + " cannot take " + EV_typeName(left.type) + " and " + EV_typeName(right.type));
}

std::string EV_Emitter::quote(size_t offset, size_t length) const {
    constexpr size_t LONGEST = 40;
    const std::string_view piece = myWhole.substr(myBase + offset, length);
    std::string out(1, '\'');
    out.append(piece.size() > LONGEST ? "..." : piece);
    return out += '\'';
}

// ---- numbers

Value EV_Emitter::op(VM_Op op, std::initializer_list<Value> operands) {
    if (!std::all_of(operands.begin(), operands.end(), [this](Value v) { return isConstant(v); }))
        return myBuilder.emit(op, operands);
    double a[4] = {0, 0, 0, 0};
    std::transform(operands.begin(), operands.end(), a, [this](Value v) { return constantValue(v); });
    return constant(VM_apply(op, a[0], a[1], a[2], a[3]));
}

EV_Term EV_Emitter::term(std::initializer_list<Value> components, size_t offset) const {
    EV_Term out;
    out.type = components.size() == 1 ? EV_FLOAT : components.size() == 3 ? EV_VECTOR : EV_VECTOR4;
    out.offset = offset;
    std::copy(components.begin(), components.end(), out.c);
    return out;
}

EV_Term EV_Emitter::number(double value, size_t offset) { return term({constant(value)}, offset); }

bool EV_Emitter::isConstant(const EV_Term& term) const {
    if (term.type == EV_STRING) return term.isConstant;
    return std::all_of(term.c, term.c + term.size(), [this](Value v) { return isConstant(v); });
}

void EV_Emitter::widen(EV_Term& term, EV_Type type) const {
    if (term.type == EV_FLOAT) std::fill(term.c + 1, term.c + 4, term.c[0]);
    term.type = type;
}

EV_Term EV_Emitter::unary(VM_Op op, EV_Term term, std::string_view sign, size_t offset) {
    if (term.type == EV_STRING || (op == VM_Op::Not && term.isVector()))
        fail(EV_ERR_TYPE, offset, std::string(sign) + " cannot take " + EV_typeName(term.type));
    for (int i = 0; i < term.size(); ++i) term.c[i] = this->op(op, {term.c[i]});
    term.offset = offset;
    return term;
}

static bool isComparison(VM_Op op) { return op >= VM_Op::Eq && op <= VM_Op::Ge; }

EV_Term EV_Emitter::binary(VM_Op op, EV_Term left, EV_Term right, std::string_view sign, size_t signOffset) {
    if (left.type == EV_STRING && right.type == EV_STRING) {
        if (op == VM_Op::Add) return concat(std::move(left), std::move(right));
        if (isComparison(op)) return compareStrings(op, std::move(left), std::move(right));
    }
    const bool clash = left.isVector() && right.isVector() && left.type != right.type;
    const bool order = isComparison(op) && op != VM_Op::Eq && op != VM_Op::Ne && (left.isVector() || right.isVector());
    if (left.type == EV_STRING || right.type == EV_STRING || clash || order) failTypes(signOffset, sign, left, right);
    const EV_Type type = std::max(left.type, right.type);
    widen(left, type);
    widen(right, type);
    if (type != EV_FLOAT && isComparison(op)) return compareVectors(op, left, right);
    for (int i = 0; i < left.size(); ++i) left.c[i] = this->op(op, {left.c[i], right.c[i]});
    return left;
}

EV_Term EV_Emitter::compareVectors(VM_Op op, const EV_Term& left, const EV_Term& right) {
    Value result = this->op(op, {left.c[0], right.c[0]});
    for (int i = 1; i < left.size(); ++i) {
        const Value next = this->op(op, {left.c[i], right.c[i]});
        result = this->op(op == VM_Op::Eq ? VM_Op::And : VM_Op::Or, {result, next});
    }
    return term({result}, left.offset);
}

EV_Term EV_Emitter::component(const EV_Term& vector, int index, size_t offset) {
    static constexpr std::string_view theNames = "xyzw";
    if (!vector.isVector())
        fail(EV_ERR_TYPE, offset,
             std::string(".").append(theNames.substr(size_t(index), 1)) + " needs a vector, not " +
                 EV_typeName(vector.type) + ",");
    if (index >= vector.size()) fail(EV_ERR_TYPE, offset, ".w needs a vector of four, not a vector,");
    return term({vector.c[index]}, vector.offset);
}

EV_Term EV_Emitter::index(const EV_Term& vector, const EV_Term& at) {
    if (!vector.isVector())
        fail(EV_ERR_TYPE, vector.offset, std::string("[ ] needs a vector, not ") + EV_typeName(vector.type) + ",");
    if (at.type != EV_FLOAT)
        fail(EV_ERR_TYPE, at.offset, std::string("an index must be a number, not ") + EV_typeName(at.type) + ",");
    if (isConstant(at)) {
        const double i = VM_apply(VM_Op::Trunc, constantValue(at.c[0]));
        if (!(i >= 0 && i < vector.size())) fail(EV_ERR_EVALUATION, at.offset, "index outside the vector");
        return term({vector.c[int(i)]}, vector.offset);
    }
    std::vector<Value> reads{at.c[0]};
    reads.insert(reads.end(), vector.c, vector.c + vector.size());
    EV_Site site;
    site.kind = EV_Site::Index;
    site.offset = at.offset;
    return term({host(std::move(site), reads)}, vector.offset);
}

// ---- variables

std::string EV_Emitter::nearestVariable(std::string_view name) const {
    std::vector<std::string> names;
    if (myScope) myScope->variableNames(names);
    const std::string nearest = nearestName(name, names);
    return nearest.empty() ? nearest : "did you mean $" + nearest + "?";
}

void EV_Emitter::failUnknown(std::string_view name, size_t offset) const {
    fail(EV_ERR_VARIABLE, offset, "unknown variable $" + std::string(name), nearestVariable(name));
}

void EV_Emitter::failBareName(std::string_view name, size_t offset) const {
    const std::string nearest = nearestVariable(name);
    fail(EV_ERR_SYNTAX, offset, "unknown name " + std::string(name),
         nearest.empty() ? "variables are written with $" : nearest);
}

// The number of the variable, which is new where its name first appears.
size_t EV_Emitter::resolve(std::string_view name, size_t offset) {
    const auto at = std::lower_bound(myVariablesByName.begin(), myVariablesByName.end(), name,
                                     [this](size_t i, std::string_view n) { return myVariables[i].name < n; });
    if (at != myVariablesByName.end() && myVariables[*at].name == name) return *at;
    const size_t number = myVariables.size();
    myVariablesByName.insert(at, number);
    EV_Variable& meaning = myVariables.emplace_back(Variable{name, {}, 0, false}).meaning;
    if (!myScope)
        meaning = {EV_Variable::Local, int(number), 0};
    else if (!myScope->findVariable(name, meaning))
        failUnknown(name, offset);
    return number;
}

std::vector<std::string> EV_Emitter::variableNames() const {
    std::vector<std::string> out;
    out.reserve(myVariables.size());
    for (const Variable& variable : myVariables) out.emplace_back(variable.name);
    return out;
}

EV_Term EV_Emitter::variable(std::string_view name, size_t offset) {
    const size_t number = resolve(name, offset);
    Variable& variable = myVariables[number];
    if (variable.meaning.kind == EV_Variable::Value) return this->number(variable.meaning.value, offset);
    if (!variable.isKnown) {
        EV_Site site;
        site.mean(variable.meaning);
        site.variable = int(number);
        site.offset = offset;
        variable.value = host(std::move(site), {});
        variable.isKnown = true;
        myKnown.push_back(number);
    }
    return term({variable.value}, offset);
}

Value EV_Emitter::host(EV_Site site, const std::vector<Value>& reads) {
    site.offset += myBase;
    myBuilder.emitHost(reads, EV_typeSize(site.resultType), myWritten);
    mySites.push_back(std::move(site));
    return myWritten.empty() ? 0 : myWritten[0]; // the others follow in order
}

// ---- conditions

Value EV_Emitter::condition(const EV_Term& term) const {
    if (term.type != EV_FLOAT)
        fail(EV_ERR_TYPE, term.offset,
             std::string("a condition must be a number, not ") + EV_typeName(term.type) + ",");
    return term.c[0];
}

EV_Emitter::Branch EV_Emitter::enter() { return {myBuilder.mark(), myKnown.size(), 0}; }

EV_Emitter::Branch EV_Emitter::enter(VM_Op jump, Value condition) {
    return {myBuilder.mark(), myKnown.size(), myBuilder.emitJump(jump, condition)};
}

void EV_Emitter::leave(const Branch& branch, const EV_Term& result, bool drop) {
    for (; myKnown.size() > branch.known; myKnown.pop_back()) myVariables[myKnown.back()].isKnown = false;
    if (!drop) return;
    myBuilder.rewind(branch.mark);
    mySites.resize(branch.mark.sites);
    freeString(result);
}

void EV_Emitter::unify(EV_Term& yes, EV_Term& no) const {
    if (yes.type == no.type) return;
    const bool clash = yes.isVector() && no.isVector();
    if (yes.type == EV_STRING || no.type == EV_STRING || clash)
        failTypes(no.offset, "the sides of a condition", yes, no);
    const EV_Type type = std::max(yes.type, no.type);
    widen(yes, type);
    widen(no, type);
}

EV_Term EV_Emitter::choose(Value condition, EV_Term yes, EV_Term no) {
    if (yes.type != EV_STRING) {
        for (int i = 0; i < yes.size(); ++i) yes.c[i] = op(VM_Op::Select, {condition, yes.c[i], no.c[i]});
        return yes;
    }
    EV_Site site;
    site.kind = EV_Site::Choose;
    site.offset = yes.offset;
    return stringSite(std::move(site), {condition}, {&yes, &no});
}

// ---- strings

EV_Term EV_Emitter::string(std::string text, size_t offset) {
    EV_Term out;
    out.type = EV_STRING;
    out.offset = offset;
    out.isConstant = true;
    out.text = std::move(text);
    return out;
}

EV_StringRef EV_Emitter::stringOperand(EV_Term& term) {
    if (!term.isConstant) return term.string;
    myStrings.push_back(std::move(term.text));
    return -int(myStrings.size());
}

EV_StringRef EV_Emitter::takeString() {
    if (myFreeStrings.empty()) return myNumStrings++;
    const EV_StringRef out = myFreeStrings.back();
    myFreeStrings.pop_back();
    return out;
}

void EV_Emitter::freeString(const EV_Term& term) {
    if (term.type == EV_STRING && !term.isConstant) myFreeStrings.push_back(term.string);
}

EV_Term EV_Emitter::stringSite(EV_Site site, const std::vector<Value>& reads,
                               std::initializer_list<EV_Term*> operands) {
    EV_Term out;
    out.type = site.resultType = EV_STRING;
    out.offset = (*operands.begin())->offset;
    // The result may take over the register of the first operand, so that a chain of + appends in place.
    for (EV_Term* operand : operands) site.strings.push_back(stringOperand(*operand));
    site.stringResult = out.string = site.strings[0] >= 0 ? site.strings[0] : takeString();
    for (EV_Term* operand : operands)
        if (operand->string != out.string) freeString(*operand);
    host(std::move(site), reads);
    return out;
}

EV_Term EV_Emitter::concat(EV_Term left, EV_Term right) {
    if (left.isConstant && right.isConstant) {
        left.text += right.text; // no longer than the text of the expression
        return left;
    }
    EV_Site site;
    site.kind = EV_Site::Concat;
    site.offset = left.offset;
    return stringSite(std::move(site), {}, {&left, &right});
}

EV_Term EV_Emitter::compareStrings(VM_Op op, EV_Term left, EV_Term right) {
    if (left.isConstant && right.isConstant) return number(EV_compareStrings(op, left.text, right.text), left.offset);
    EV_Site site;
    site.kind = EV_Site::Compare;
    site.id = int(op);
    site.offset = left.offset;
    site.strings = {stringOperand(left), stringOperand(right)};
    freeString(left);
    freeString(right);
    return term({host(std::move(site), {})}, left.offset);
}
