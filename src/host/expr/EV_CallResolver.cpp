#include "host/expr/EV_CallResolver.h"
#include "host/expr/EV_Builtin.h"
#include "host/ut/UT_NearestName.h"
#include <algorithm>

namespace {

// The forms of a function: those of the language's own, or the one that was added.
class Forms {
public:
    explicit Forms(std::string_view name)
        : myBuiltins(EV_findBuiltins(name))
        , myAdded(myBuiltins.empty() ? EV_findFunction(name) : nullptr) {}
    bool areBuiltin() const { return !myBuiltins.empty(); }
    size_t size() const { return myAdded ? 1 : myBuiltins.size(); }
    const EV_FUNCTION& operator[](size_t i) const { return myAdded ? *myAdded : myBuiltins[i]; }

private:
    std::span<const EV_Builtin> myBuiltins;
    const EV_FUNCTION* myAdded;
};

int fewest(const EV_FUNCTION& form) { return form.minArgs < 0 ? form.numArgs : form.minArgs; }

bool takesCount(const EV_FUNCTION& form, size_t count) {
    return int(count) >= fewest(form) && (form.flags & EV_VARIADIC || int(count) <= form.numArgs);
}

EV_Type wanted(const EV_FUNCTION& form, size_t arg) { return form.argTypes[std::min(int(arg), form.numArgs - 1)]; }

// The first argument of a wrong type; count when all are right.
size_t firstMismatch(const EV_FUNCTION& form, const std::vector<EV_Term>& args) {
    size_t i = 0;
    while (i < args.size() && (wanted(form, i) == EV_ANY || wanted(form, i) == args[i].type)) ++i;
    return i;
}

std::string countText(const EV_FUNCTION& form) {
    const std::string low = std::to_string(fewest(form));
    if (form.flags & EV_VARIADIC) return "at least " + low;
    return fewest(form) == form.numArgs ? low : low + " to " + std::to_string(form.numArgs);
}

[[noreturn]] void failCount(const EV_Emitter& emitter, const Forms& forms, size_t count, size_t offset) {
    std::vector<std::string> counts;
    for (size_t i = 0; i < forms.size(); ++i) {
        const std::string text = countText(forms[i]);
        if (std::find(counts.begin(), counts.end(), text) == counts.end()) counts.push_back(text);
    }
    std::string all;
    for (const std::string& text : counts) all += (all.empty() ? "" : " or ") + text;
    const bool one = all == "1" || all == "at least 1";
    emitter.fail(EV_ERR_FUNCTION, offset,
                 std::string(forms[0].name) + " takes " + all + (one ? " argument, " : " arguments, ") +
                     std::to_string(count) + " given,");
}

[[noreturn]] void failUnknown(const EV_Emitter& emitter, std::string_view text, size_t offset) {
    const std::string name(text);
    std::vector<std::string> names{"if"};
    for (const EV_FUNCTION* function : EV_listFunctions()) names.emplace_back(function->name);
    const std::string nearest = nearestName(name, names);
    emitter.fail(EV_ERR_FUNCTION, offset, "unknown function " + name,
                 nearest.empty() ? std::string() : "did you mean " + nearest + "?");
}

// The form that takes these arguments.
const EV_FUNCTION& chooseForm(const EV_Emitter& emitter, const Forms& forms, const std::vector<EV_Term>& args,
                              size_t offset) {
    const EV_FUNCTION* near = nullptr;
    for (size_t i = 0; i < forms.size(); ++i) {
        if (!takesCount(forms[i], args.size())) continue;
        if (firstMismatch(forms[i], args) == args.size()) return forms[i];
        if (!near) near = &forms[i];
    }
    if (!near) failCount(emitter, forms, args.size(), offset);
    const size_t wrong = firstMismatch(*near, args);
    emitter.fail(EV_ERR_FUNCTION, args[wrong].offset,
                 "argument " + std::to_string(wrong + 1) + " of " + near->name + " must be " +
                     EV_typeName(wanted(*near, wrong)) + ", not " + EV_typeName(args[wrong].type) + ",");
}

EV_Term emitBuiltin(EV_Emitter& emitter, const EV_Builtin& form, std::vector<EV_Term>& args, size_t offset) {
    if (form.emit) return form.emit(emitter, args, offset);
    if (form.callback) return emitter.call(form, args, offset);
    EV_Emitter::Value v[3] = {0, 0, 0};
    std::transform(args.begin(), args.end(), v, [](const EV_Term& arg) { return arg.c[0]; });
    if (args.size() == 1) return emitter.term({emitter.op(form.op, {v[0]})}, offset);
    if (args.size() == 2) return emitter.term({emitter.op(form.op, {v[0], v[1]})}, offset);
    return emitter.term({emitter.op(form.op, {v[0], v[1], v[2]})}, offset);
}

} // namespace

EV_Term EV_emitCall(EV_Emitter& emitter, std::string_view name, std::vector<EV_Term>& args, size_t offset) {
    const Forms forms(name);
    if (forms.size() == 0) failUnknown(emitter, name, offset);
    const EV_FUNCTION& form = chooseForm(emitter, forms, args, offset);
    if (!forms.areBuiltin()) return emitter.call(form, args, offset);
    return emitBuiltin(emitter, static_cast<const EV_Builtin&>(form), args, offset);
}
