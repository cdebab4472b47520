#include "host/expr/EV_Emitter.h"
#include "host/expr/EV_Function.h"
#include <algorithm>

// Calls of functions through their callbacks, and what is left to do when all code is written.

EV_Value EV_Emitter::constantOf(const EV_Term& term) const {
    EV_Value out;
    out.type = term.type;
    out.s = term.text;
    std::transform(term.c, term.c + term.size(), out.v, [this](Value v) { return constantValue(v); });
    return out;
}

EV_Term EV_Emitter::termOf(const EV_Value& value, size_t offset) {
    if (value.type == EV_STRING) return string(value.s, offset);
    EV_Term out;
    out.type = value.type;
    out.offset = offset;
    std::transform(value.v, value.v + out.size(), out.c, [this](double v) { return constant(v); });
    return out;
}

// A pure function of constants, called now. When it fails the call stays, to fail when it is reached.
bool EV_Emitter::fold(const EV_FUNCTION& function, const std::vector<EV_Term>& args, EV_Term& result) {
    const bool known = std::all_of(args.begin(), args.end(), [this](const EV_Term& arg) { return isConstant(arg); });
    if (!(function.flags & EV_PURE) || !known) return false;
    std::vector<EV_Value> values;
    for (const EV_Term& arg : args) values.push_back(constantOf(arg));
    EV_CallContext context;
    EV_Value value;
    if (!function.callback(context, values.data(), int(values.size()), value)) return false;
    if (value.type != function.resultType || value.s.size() > EV_MAX_STRING) return false;
    result = termOf(value, result.offset);
    return true;
}

EV_Term EV_Emitter::call(const EV_FUNCTION& function, std::vector<EV_Term>& args, size_t offset) {
    EV_Term out;
    out.offset = offset;
    if (fold(function, args, out)) return out;
    EV_Site site;
    site.kind = EV_Site::Call;
    site.function = &function;
    site.resultType = out.type = function.resultType;
    site.offset = offset;
    std::vector<Value> reads;
    for (EV_Term& arg : args) {
        site.argTypes.push_back(arg.type);
        if (arg.type == EV_STRING) site.strings.push_back(stringOperand(arg));
        reads.insert(reads.end(), arg.c, arg.c + arg.size());
    }
    for (EV_Term& arg : args) freeString(arg);
    if (out.type == EV_STRING) site.stringResult = out.string = takeString();
    const Value first = host(std::move(site), reads);
    for (int i = 0; i < out.size(); ++i) out.c[i] = first + i;
    return out;
}

static bool handlesStrings(const EV_Site& site) {
    return site.resultType == EV_STRING ||
           std::any_of(site.strings.begin(), site.strings.end(), [](EV_StringRef ref) { return ref >= 0; });
}

static bool siteCanFail(const EV_Site& site) {
    const bool call = site.kind == EV_Site::Call && !(site.function->flags & EV_NOFAIL);
    return call || site.kind == EV_Site::Index || site.kind == EV_Site::Concat;
}

static void sortUnique(std::vector<int>& ids) {
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
}

void EV_Code::listVariables() {
    analysis.locals.clear();
    analysis.globals.clear();
    for (const EV_Site& site : sites) {
        if (site.kind == EV_Site::Local) analysis.locals.push_back(site.id);
        if (site.kind == EV_Site::Global) analysis.globals.push_back(site.id);
    }
    sortUnique(analysis.locals);
    sortUnique(analysis.globals);
}

void EV_Emitter::analyse(EV_Code& code) const {
    EV_Analysis& out = code.analysis;
    for (const EV_Site& site : mySites) {
        if (site.kind == EV_Site::Call) {
            if (!out.calls(site.function->name)) out.functions.push_back(site.function);
            out.impure = out.impure || !(site.function->flags & EV_PURE);
        }
        out.canFail = out.canFail || siteCanFail(site);
        out.strings = out.strings || handlesStrings(site);
    }
    out.conditional = std::any_of(code.program.code.begin(), code.program.code.end(), [](const VM_Instruction& i) {
        return i.op == VM_Op::JumpNone || i.op == VM_Op::JumpAll;
    });
}

void EV_Emitter::finish(EV_Term result, EV_Code& code) {
    code = EV_Code();
    code.resultType = result.type;
    const bool constant = isConstant(result) && mySites.empty();
    if (constant) code.constant = constantOf(result);
    if (result.type == EV_STRING) code.stringResult = stringOperand(result);
    const std::vector<Value> results(result.c, result.c + result.size());
    if (!myBuilder.finish(results, code.program))
        fail(EV_ERR_LIMIT, 0, "too many values are in use at once", "write it as several expressions");
    analyse(code);
    code.analysis.constant = constant;
    code.sites = std::move(mySites);
    code.listVariables();
    code.strings = std::move(myStrings);
    code.numStringRegisters = myNumStrings;
}
