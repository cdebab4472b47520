#pragma once

#include <cmath>
#include <fmt/format.h>
#include <functional>
#include <map>
#include <random>
#include <string>

/// Random expressions, evaluated while they are written: plain C++ arithmetic on the values of the variables.
class ExpressionWriter {
public:
    struct Piece {
        std::string text;
        double value;
        int level; ///< how tightly it binds: 0 is ?:, 8 needs no brackets anywhere
    };
    /// `every` asks for all functions, whose values are then not known.
    ExpressionWriter(unsigned seed, const std::map<std::string, float>& variables, bool every = false)
        : myRandom(seed)
        , myVariables(variables)
        , myEvery(every) {}

    Piece expression(int depth) {
        if (depth <= 0) return leaf();
        switch (pick(9)) {
        case 0: return conditional(depth);
        case 1: return logic(depth);
        case 2: return unary(depth);
        case 3: return function(depth);
        case 4: return vector(depth);
        default: return arithmetic(depth);
        }
    }

private:
    unsigned pick(unsigned n) { return unsigned(myRandom() % n); }

    // The text as an operand of something that binds at `level`: in brackets where they are needed, and sometimes where
    // not.
    std::string operand(const Piece& piece, int level) {
        const bool brackets = piece.level < level || piece.text.size() % 8 == 0;
        return brackets ? fmt::format("({})", piece.text) : piece.text;
    }

    Piece leaf() {
        if (pick(2)) {
            const auto at = std::next(myVariables.begin(), pick(unsigned(myVariables.size())));
            return {pick(2) ? fmt::format("${}", at->first) : fmt::format("${{{}}}", at->first), double(at->second), 8};
        }
        const double part = pick(2) ? 1 : 64, value = double(pick(2000)) / part;
        return {fmt::format("{}", value), value, 8};
    }

    Piece unary(int depth) {
        const Piece a = expression(depth - 1);
        if (pick(2)) return {fmt::format("-{}", operand(a, 7)), -a.value, 7};
        return {fmt::format("!{}", operand(a, 7)), a.value != 0 ? 0.0 : 1.0, 7};
    }

    Piece conditional(int depth) {
        const Piece c = expression(depth - 1), a = expression(depth - 1), b = expression(depth - 1);
        const double value = c.value != 0 ? a.value : b.value;
        if (pick(2)) return {fmt::format("if({}, {}, {})", c.text, a.text, b.text), value, 8};
        return {fmt::format("{} ? {} : {}", operand(c, 1), a.text, b.text), value, 0};
    }

    Piece logic(int depth) {
        const Piece a = expression(depth - 1), b = expression(depth - 1);
        if (pick(2))
            return {fmt::format("{} || {}", operand(a, 1), operand(b, 2)), a.value != 0 || b.value != 0 ? 1.0 : 0.0, 1};
        return {fmt::format("{}&&{}", operand(a, 2), operand(b, 3)), a.value != 0 && b.value != 0 ? 1.0 : 0.0, 2};
    }

    Piece arithmetic(int depth) {
        struct Op {
            const char* sign;
            int level;
            std::function<double(double, double)> f;
        };
        static const Op theOps[] = {
            {"+", 5, std::plus<>()},
            {"-", 5, std::minus<>()},
            {"*", 6, std::multiplies<>()},
            {"/", 6, std::divides<>()},
            {"%", 6, [](double a, double b) { return std::fmod(a, b); }},
            {"==", 3, std::equal_to<>()},
            {"!=", 3, std::not_equal_to<>()},
            {"<", 4, std::less<>()},
            {"<=", 4, std::less_equal<>()},
            {">", 4, std::greater<>()},
            {">=", 4, std::greater_equal<>()},
        };
        const Op& op = theOps[pick(11)];
        const Piece a = expression(depth - 1), b = expression(depth - 1);
        return {fmt::format("{} {} {}", operand(a, op.level), op.sign, operand(b, op.level + 1)),
                op.f(a.value, b.value), op.level};
    }

    Piece function(int depth) {
        const Piece a = expression(depth - 1), b = expression(depth - 1), c = expression(depth - 1);
        const double x = a.value, y = b.value, z = c.value;
        if (myEvery && pick(4)) return {anyFunction(a.text, b.text, c.text), NAN, 8};
        switch (pick(8)) {
        case 0: return {fmt::format("floor({})", a.text), std::floor(x), 8};
        case 1: return {fmt::format("abs( {} )", a.text), std::abs(x), 8};
        case 2: return {fmt::format("sqrt({})", a.text), std::sqrt(x), 8};
        case 3: return {fmt::format("min({}, {}, {})", a.text, b.text, c.text), least(least(x, y), z), 8};
        case 4: return {fmt::format("clamp({},{},{})", a.text, b.text, c.text), x < y ? y : x > z ? z : x, 8};
        case 5: return {fmt::format("trunc({})", a.text), std::trunc(x), 8};
        case 6: return {fmt::format("frac({})", a.text), x - std::floor(x), 8};
        default: return {fmt::format("max({}, {})", a.text, b.text), y > x ? y : x, 8};
        }
    }

    std::string anyFunction(const std::string& a, const std::string& b, const std::string& c) {
        static constexpr const char* ofOne[] = {"acos", "asin", "atan", "ceil", "cos",   "cosh", "deg",
                                                "exp",  "int",  "log",  "rad",  "log10", "rand", "sin",
                                                "sinh", "sign", "tan",  "tanh", "round", "trunc"};
        static constexpr const char* ofMore[] = {
            "fit({0}, {1}, {2}, 2, {0})",
            "smooth({0}, {1}, {2})",
            "noise({0}, {1}, {2})",
            "turb({0}, {1}, {2}, 2)",
            "turb({0}, {1}, {2}, {0})",
            "atan2({0}, {1})",
            "dot(vector3({0}, {1}, {2}), normalize(vector3({1}, 1, {0})))",
            "(({0}) ^ ({1}))",
        };
        if (pick(2)) return fmt::format("{}({})", ofOne[pick(unsigned(std::size(ofOne)))], a);
        return fmt::format(fmt::runtime(ofMore[pick(unsigned(std::size(ofMore)))]), a, b, c);
    }

    static double least(double a, double b) { return b < a ? b : a; }

    Piece vector(int depth) {
        const Piece a = expression(depth - 1), b = expression(depth - 1), c = expression(depth - 1);
        const double values[] = {a.value, b.value, c.value};
        const std::string text = fmt::format("vector3({}, {}, {})", a.text, b.text, c.text);
        const unsigned i = pick(3);
        switch (pick(4)) {
        case 0: return {fmt::format("{}.{}", text, "xyz"[i]), values[i], 8};
        case 1: return {fmt::format("{}[{}]", text, i), values[i], 8};
        case 2: return {fmt::format("(2 * {} - 1)[{}]", text, i), 2 * values[i] - 1, 8};
        default:
            return {fmt::format("length({})", text),
                    std::sqrt(a.value * a.value + b.value * b.value + c.value * c.value), 8};
        }
    }

    std::mt19937 myRandom;
    const std::map<std::string, float>& myVariables;
    bool myEvery;
};
