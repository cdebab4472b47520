#include "host/expr/EV_Compiler.h"
#include "host/expr/EV_Parser.h"

EV_CompileResult EV_compile(std::string_view text, std::string_view whole, size_t base, const EV_Scope* scope,
                            EV_Code& code) {
    EV_CompileResult out;
    EV_Emitter emitter(whole, base, scope);
    try {
        if (text.size() > EV_MAX_TEXT)
            emitter.fail(EV_ERR_LIMIT, std::string_view::npos - base,
                         "the expression has " + std::to_string(text.size()) + " bytes, the limit is " +
                             std::to_string(EV_MAX_TEXT));
        emitter.finish(EV_Parser(text, emitter).parse(), code);
    } catch (const EV_Failure& failure) {
        out.error = failure.error;
        code = EV_Code();
    }
    out.variableNames = emitter.variableNames();
    return out;
}
