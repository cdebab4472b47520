#pragma once
#include "host/expr/EV_Expression.h"
#include "host/vm/VM_Program.h"
#include <atomic>
#include <cstdint>

// A string operand: a string register from 0, or the constant -1 - n.
using EV_StringRef = int;

// What a call of the program to its host means.
struct EV_Site {
    enum Kind {
        Local,   // a local variable: id
        Global,  // a global: id
        Call,    // function, its arguments in order
        Index,   // reads: index, components
        Concat,  // two strings
        Compare, // two strings: 1 or 0; id is the VM_Op
        Choose   // reads: condition; one of two strings
    };
    Kind kind = Local;
    int id = 0;
    int variable = -1; // Local, Global: its number in order of appearance
    const EV_FUNCTION* function = nullptr;
    std::vector<EV_Type> argTypes;     // Call: as given, no EV_ANY
    std::vector<EV_StringRef> strings; // operands
    EV_StringRef stringResult = 0;     // a register
    EV_Type resultType = EV_FLOAT;
    size_t offset = 0; // bytes into the text, for messages

    // What a variable is, that is no Value.
    void mean(const EV_Variable& meaning) {
        kind = meaning.kind == EV_Variable::Local ? Local : Global;
        id = meaning.id;
    }
};

// What reading a variable that has no value raises; `offset` is where it stands in `whole`.
EV_Error EV_noValueError(int number, std::string_view whole, size_t offset);

inline uint64_t EV_newSerial() {
    static std::atomic<uint64_t> theLast{0};
    return ++theLast;
}

// What a text compiles to. Only what its variables mean may change later.
struct EV_Code {
    uint64_t serial = EV_newSerial(); // no two have the same
    VM_Program program;               // stays as it was compiled
    std::vector<EV_Site> sites;       // as program.sites
    std::vector<std::string> strings;
    int numStringRegisters = 0;
    EV_Type resultType = EV_FLOAT;
    EV_StringRef stringResult = 0;
    EV_Analysis analysis;
    EV_Value constant; // the result, when analysis.constant

    // Lists in `analysis` what the sites of variables read.
    void listVariables();
};
