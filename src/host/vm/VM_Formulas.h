#pragma once
#include "host/ut/UT_Math.h"
#include "host/vm/VM_Functions.h"
#include <cmath>

// What the operations compute, once for one lane and for columns: X(operation, formula of the doubles a b c d).
// clang-format off
#define VM_FORMULAS_1(X)                                         \
    X(Neg,   -a)                                                 \
    X(Not,   a != 0 ? 0.0 : 1.0)                                 \
    X(Bool,  a != 0 ? 1.0 : 0.0)                                 \
    X(Abs,   std::fabs(a))                                       \
    X(Ceil,  std::ceil(a))                                       \
    X(Floor, std::floor(a))                                      \
    X(Trunc, std::trunc(a))                                      \
    X(Round, std::round(a))                                      \
    X(Frac,  a - std::floor(a))                                  \
    X(Sign,  (a > 0 ? 1.0 : 0.0) - (a < 0 ? 1.0 : 0.0))          \
    X(Sqrt,  std::sqrt(a))                                       \
    X(Deg,   UT_Math::degrees(a))                                \
    X(Rad,   UT_Math::radians(a))                                \
    X(Rand,  VM_rand(a))
#define VM_FORMULAS_2(X)                                         \
    X(Add, a + b)                                                \
    X(Sub, a - b)                                                \
    X(Mul, a * b)                                                \
    X(Div, a / b)                                                \
    X(Mod, std::fmod(a, b))                                      \
    X(Min, b < a ? b : a)                                        \
    X(Max, b > a ? b : a)                                        \
    X(Eq,  a == b ? 1.0 : 0.0)                                   \
    X(Ne,  a != b ? 1.0 : 0.0)                                   \
    X(Lt,  a < b ? 1.0 : 0.0)                                    \
    X(Le,  a <= b ? 1.0 : 0.0)                                   \
    X(Gt,  a > b ? 1.0 : 0.0)                                    \
    X(Ge,  a >= b ? 1.0 : 0.0)                                   \
    X(And, (int(a != 0) & int(b != 0)) != 0 ? 1.0 : 0.0)         \
    X(Or,  (int(a != 0) | int(b != 0)) != 0 ? 1.0 : 0.0)
#define VM_FORMULAS_3(X)                                         \
    X(Select, a != 0 ? b : c)                                    \
    X(Clamp,  a < b ? b : a > c ? c : a)                         \
    X(Fit01,  VM_fit01(a, b, c))                                 \
    X(Lerp,   (1 - c) * a + c * b)                               \
    X(MulAdd, a * b + c)                                         \
    X(MulSub, a * b - c)                                         \
    X(SubMul, c - a * b)                                         \
    X(LtAnd,  (int(a < b) & int(c != 0)) != 0 ? 1.0 : 0.0)       \
    X(LeAnd,  (int(a <= b) & int(c != 0)) != 0 ? 1.0 : 0.0)

// Functions that come with a block form of the same bits: X(operation, function of UT_Math).
#define VM_BLOCKS_1(X)                                           \
    X(Sin, sin) X(Cos, cos) X(Tan, tan)                          \
    X(Asin, asin) X(Acos, acos) X(Atan, atan)                    \
    X(Sinh, sinh) X(Cosh, cosh) X(Tanh, tanh)                    \
    X(Exp, exp) X(Log, log) X(Log10, log10)
#define VM_BLOCKS_2(X) X(Pow, pow) X(Atan2, atan2)
// clang-format on
