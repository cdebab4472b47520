#include "host/expr/EV_Builtin.h"
#include "host/expr/EV_Emitter.h"
#include "host/expr/EV_StringFunctions.h"
#include <algorithm>

namespace {

using Value = EV_Emitter::Value;
using Terms = std::vector<EV_Term>;

constexpr EV_Type F[] = {EV_FLOAT, EV_FLOAT, EV_FLOAT, EV_FLOAT, EV_FLOAT};
constexpr EV_Type V[] = {EV_VECTOR, EV_VECTOR};
constexpr EV_Type V4[] = {EV_VECTOR4, EV_VECTOR4};
constexpr EV_Type VF[] = {EV_VECTOR, EV_FLOAT};
constexpr EV_Type S[] = {EV_STRING, EV_STRING};
constexpr EV_Type SFF[] = {EV_STRING, EV_FLOAT, EV_FLOAT};
constexpr EV_Type ANY[] = {EV_ANY};

Value dot(EV_Emitter& e, const EV_Term& a, const EV_Term& b) {
    Value sum = e.op(VM_Op::Mul, {a.c[0], b.c[0]});
    for (int i = 1; i < a.size(); ++i) {
        const Value product = e.op(VM_Op::Mul, {a.c[i], b.c[i]});
        sum = e.op(VM_Op::Add, {sum, product});
    }
    return sum;
}

EV_Term emitDot(EV_Emitter& e, Terms& args, size_t offset) { return e.term({dot(e, args[0], args[1])}, offset); }

EV_Term emitLength(EV_Emitter& e, Terms& args, size_t offset) {
    return e.term({e.op(VM_Op::Sqrt, {dot(e, args[0], args[0])})}, offset);
}

EV_Term emitNormalize(EV_Emitter& e, Terms& args, size_t offset) {
    EV_Term out = args[0];
    out.offset = offset;
    const Value length = e.op(VM_Op::Sqrt, {dot(e, out, out)});
    for (int i = 0; i < out.size(); ++i) {
        const Value scaled = e.op(VM_Op::Div, {out.c[i], length});
        out.c[i] = e.op(VM_Op::Select, {length, scaled, e.constant(0)});
    }
    return out;
}

EV_Term emitCross(EV_Emitter& e, Terms& args, size_t offset) {
    const EV_Term &a = args[0], &b = args[1];
    Value c[3];
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3, k = (i + 2) % 3;
        const Value left = e.op(VM_Op::Mul, {a.c[j], b.c[k]});
        const Value right = e.op(VM_Op::Mul, {a.c[k], b.c[j]});
        c[i] = e.op(VM_Op::Sub, {left, right});
    }
    return e.term({c[0], c[1], c[2]}, offset);
}

EV_Term emitVector3(EV_Emitter& e, Terms& args, size_t offset) {
    return e.term({args[0].c[0], args[1].c[0], args[2].c[0]}, offset);
}

EV_Term emitVector4(EV_Emitter& e, Terms& args, size_t offset) {
    return e.term({args[0].c[0], args[1].c[0], args[2].c[0], args[3].c[0]}, offset);
}

EV_Term emitFit(EV_Emitter& e, Terms& args, size_t offset) {
    const Value t = e.op(VM_Op::Fit01, {args[0].c[0], args[1].c[0], args[2].c[0]});
    return e.term({e.op(VM_Op::Lerp, {args[3].c[0], args[4].c[0], t})}, offset);
}

// t * t * (3 - 2 * t)
EV_Term emitSmooth(EV_Emitter& e, Terms& args, size_t offset) {
    const Value t = e.op(VM_Op::Fit01, {args[2].c[0], args[0].c[0], args[1].c[0]});
    const Value twice = e.op(VM_Op::Mul, {e.constant(2), t});
    const Value slope = e.op(VM_Op::Sub, {e.constant(3), twice});
    const Value square = e.op(VM_Op::Mul, {t, t});
    return e.term({e.op(VM_Op::Mul, {square, slope})}, offset);
}

EV_Term emitRepeated(EV_Emitter& e, Terms& args, size_t offset, VM_Op op) {
    Value out = args[0].c[0];
    for (size_t i = 1; i < args.size(); ++i) out = e.op(op, {out, args[i].c[0]});
    return e.term({out}, offset);
}

EV_Term emitMin(EV_Emitter& e, Terms& args, size_t offset) { return emitRepeated(e, args, offset, VM_Op::Min); }
EV_Term emitMax(EV_Emitter& e, Terms& args, size_t offset) { return emitRepeated(e, args, offset, VM_Op::Max); }

EV_Term emitNoise(EV_Emitter& e, Terms& args, size_t offset) {
    return e.term({e.op(VM_Op::Noise, {args[0].c[0], args[0].c[1], args[0].c[2]})}, offset);
}

EV_Term emitTurb(EV_Emitter& e, Terms& args, size_t offset) {
    return e.term({e.op(VM_Op::Turb, {args[0].c[0], args[0].c[1], args[0].c[2], args[1].c[0]})}, offset);
}

EV_Term emitTurb4(EV_Emitter& e, Terms& args, size_t offset) {
    return e.term({e.op(VM_Op::Turb, {args[0].c[0], args[1].c[0], args[2].c[0], args[3].c[0]})}, offset);
}

using Emit = EV_Term (*)(EV_Emitter&, Terms&, size_t);

constexpr EV_Builtin one(const char* name, VM_Op op, int count, const char* usage, const char* help) {
    return {{EV_PURE | EV_NOFAIL, name, count, EV_FLOAT, F, nullptr, help, usage}, op, nullptr};
}

constexpr EV_Builtin made(const char* name, Emit emit, EV_Type result, int count, const EV_Type* types,
                          const char* usage, const char* help, int flags = 0) {
    return {{EV_PURE | EV_NOFAIL | flags, name, count, result, types, nullptr, help, usage}, VM_Op::End, emit};
}

constexpr EV_Builtin text(const char* name, EV_Callback callback, EV_Type result, int count, const EV_Type* types,
                          const char* usage, const char* help, int flags = EV_PURE) {
    return {{flags, name, count, result, types, callback, help, usage}, VM_Op::End, nullptr};
}

// Ordered by name. `if` is part of the grammar and stands here for its help.
// clang-format off
constexpr EV_Builtin theBuiltins[] = {
    one("abs", VM_Op::Abs, 1, "x", "the size of x without its sign"),
    one("acos", VM_Op::Acos, 1, "x", "arc cosine in radians"),
    one("asin", VM_Op::Asin, 1, "x", "arc sine in radians"),
    one("atan", VM_Op::Atan, 1, "x", "arc tangent in radians"),
    one("atan2", VM_Op::Atan2, 2, "y, x", "angle of the point (x, y) in radians"),
    one("ceil", VM_Op::Ceil, 1, "x", "the next whole number at or above x"),
    one("clamp", VM_Op::Clamp, 3, "x, low, high", "x, but not below low and not above high"),
    one("cos", VM_Op::Cos, 1, "angle", "cosine of an angle in radians"),
    one("cosh", VM_Op::Cosh, 1, "x", "hyperbolic cosine"),
    made("cross", emitCross, EV_VECTOR, 2, V, "a, b", "cross product of two vectors"),
    one("deg", VM_Op::Deg, 1, "radians", "radians as degrees"),
    made("dot", emitDot, EV_FLOAT, 2, V, "a, b", "dot product of two vectors"),
    made("dot", emitDot, EV_FLOAT, 2, V4, "a, b", "dot product of two vectors of four"),
    one("exp", VM_Op::Exp, 1, "x", "e to the power of x"),
    made("fit", emitFit, EV_FLOAT, 5, F, "x, oldmin, oldmax, newmin, newmax", "x moved from one range to another, clamped at its ends"),
    one("floor", VM_Op::Floor, 1, "x", "the next whole number at or below x"),
    one("frac", VM_Op::Frac, 1, "x", "x - floor(x)"),
    {{EV_PURE | EV_NOFAIL, "if", 3, EV_ANY, ANY, nullptr, "yes when the condition is not 0, else no; only that one is evaluated", "condition, yes, no"}, VM_Op::End, nullptr},
    one("int", VM_Op::Trunc, 1, "x", "x without its decimals (toward 0)"),
    made("length", emitLength, EV_FLOAT, 1, V, "v", "length of a vector"),
    made("length", emitLength, EV_FLOAT, 1, V4, "v", "length of a vector of four"),
    one("log", VM_Op::Log, 1, "x", "natural logarithm"),
    one("log10", VM_Op::Log10, 1, "x", "logarithm to base 10"),
    made("max", emitMax, EV_FLOAT, 2, F, "a, b, ...", "the largest", EV_VARIADIC),
    made("min", emitMin, EV_FLOAT, 2, F, "a, b, ...", "the smallest", EV_VARIADIC),
    made("noise", emitNoise, EV_FLOAT, 1, V, "v", "coherent noise at a place, about -1 to 1"),
    one("noise", VM_Op::Noise, 3, "x, y, z", "coherent noise at a place, about -1 to 1"),
    made("normalize", emitNormalize, EV_VECTOR, 1, V, "v", "the vector at length 1; a zero vector stays"),
    made("normalize", emitNormalize, EV_VECTOR4, 1, V4, "v", "the vector of four at length 1; a zero vector stays"),
    one("pow", VM_Op::Pow, 2, "x, y", "x to the power of y, as x ^ y"),
    one("rad", VM_Op::Rad, 1, "degrees", "degrees as radians"),
    one("rand", VM_Op::Rand, 1, "x", "a random number in [0, 1) that belongs to x"),
    one("round", VM_Op::Round, 1, "x", "the nearest whole number, halves away from 0"),
    one("sign", VM_Op::Sign, 1, "x", "-1, 0 or 1"),
    one("sin", VM_Op::Sin, 1, "angle", "sine of an angle in radians"),
    one("sinh", VM_Op::Sinh, 1, "x", "hyperbolic sine"),
    made("smooth", emitSmooth, EV_FLOAT, 3, F, "low, high, x", "0 below low, 1 above high, a smooth ramp between"),
    one("sqrt", VM_Op::Sqrt, 1, "x", "square root"),
    text("strcat", EV_strcat, EV_STRING, 1, ANY, "a, b, ...", "all arguments in one string, numbers as text", EV_PURE | EV_VARIADIC),
    text("strlen", EV_strlen, EV_FLOAT, 1, S, "s", "number of characters", EV_PURE | EV_NOFAIL),
    text("strmatch", EV_strmatch, EV_FLOAT, 2, S, "pattern, s", "1 when the string matches a pattern of * ? [a-z], else 0"),
    text("substr", EV_substr, EV_STRING, 3, SFF, "s, start, count", "count characters of s from start, the first being 0", EV_PURE | EV_NOFAIL),
    one("tan", VM_Op::Tan, 1, "angle", "tangent of an angle in radians"),
    one("tanh", VM_Op::Tanh, 1, "x", "hyperbolic tangent"),
    one("trunc", VM_Op::Trunc, 1, "x", "x without its decimals (toward 0)"),
    made("turb", emitTurb, EV_FLOAT, 2, VF, "v, depth", "noise plus depth finer and weaker layers of it (at most 15)"),
    made("turb", emitTurb4, EV_FLOAT, 4, F, "x, y, z, depth", "noise plus depth finer and weaker layers of it (at most 15)"),
    made("vector3", emitVector3, EV_VECTOR, 3, F, "x, y, z", "a vector"),
    made("vector4", emitVector4, EV_VECTOR4, 4, F, "x, y, z, w", "a vector of four"),
};
// clang-format on

struct ByName {
    bool operator()(const EV_Builtin& a, std::string_view b) const { return a.name < b; }
    bool operator()(std::string_view a, const EV_Builtin& b) const { return a < b.name; }
};

} // namespace

std::span<const EV_Builtin> EV_builtins() { return theBuiltins; }

std::span<const EV_Builtin> EV_findBuiltins(std::string_view name) {
    const auto [first, last] = std::equal_range(std::begin(theBuiltins), std::end(theBuiltins), name, ByName());
    return {first, last};
}
