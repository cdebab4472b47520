#pragma once
#include <cstdint>

// The operations of the column machine. Numbers are IEEE doubles; comparison and logic give 1 or 0, and any value other
// than 0 is true (NaN too). Operands are named a b c d, the result is lane by lane.
enum class VM_Op : uint16_t {
    End,
    JumpNone, // to `target` when a is false in every lane
    JumpAll,  // to `target` when a is true in every lane
    Host,     // the host's business: call site `target`

    // one operand
    Neg,
    Not,
    Bool,
    Abs,
    Ceil,
    Floor,
    Trunc,
    Round,
    Frac,
    Sign,
    Sqrt,
    Deg,
    Rad,
    Rand,
    Sin,
    Cos,
    Tan,
    Asin,
    Acos,
    Atan,
    Sinh,
    Cosh,
    Tanh,
    Exp,
    Log,
    Log10,
    // two operands
    Add,
    Sub,
    Mul,
    Div,
    Mod,
    Pow,
    Atan2,
    Min,
    Max,
    Eq,
    Ne,
    Lt,
    Le,
    Gt,
    Ge,
    And,
    Or,
    // three operands
    Select, // a ? b : c
    Clamp,  // a in [b, c]
    Fit01,  // where a lies between b and c, 0 to 1, clamped; b == c makes a step there
    Lerp,   // a at c = 0, b at c = 1
    MulAdd, // a * b + c, rounded twice, like the two operations
    MulSub, // a * b - c
    SubMul, // c - a * b
    LtAnd,  // a < b && c
    LeAnd,  // a <= b && c
    Noise,  // coherent noise at (a, b, c), about -1 to 1
    // four operands
    Turb, // d + 1 octaves of Noise at (a, b, c), each of twice the frequency and half the amplitude

    NumOps
};

// How many of a b c d an operation reads.
inline int VM_arity(VM_Op op) {
    if (op == VM_Op::End || op == VM_Op::Host) return 0;
    if (op < VM_Op::Add) return 1;
    if (op < VM_Op::Select) return 2;
    return op < VM_Op::Turb ? 3 : 4;
}
