#pragma once

#include "host/ut/UT_String.h"

/// A flag and what it was before: bit 0 is the current state, the bits above are the saved ones.
class FLX_FlagStack {
public:
    bool isSet() const { return myBits & 1u; }
    void set() { myBits |= 1u; }
    void clear() { myBits &= ~1u; }
    void clearAll() { myBits = 0; }
    void push() { myBits <<= 1; }
    void pop() { myBits >>= 1; }

private:
    unsigned myBits = 0;
};

/// A pointer through which generated code reaches particle data.
struct FLX_AccessEntry {
    UT_String name; ///< members of the local variable class begin with "lvar."
    UT_String thirdField;
    UT_String secondField;
    UT_String type;
    int count = 1;
    int extra = 0;
    FLX_FlagStack usedAtAll;
};

/// A variable of expressions and what reads it in generated code.
struct FLX_VariableEntry {
    UT_String name;
    UT_String access; ///< name of an access entry
    UT_String expression;
    UT_String type = "float";
    FLX_FlagStack used;
    int flag = 0; ///< as given; 1 from a table file
    FLX_FlagStack usedAtAll;
};

struct FLX_StreamEntry {
    UT_String name;
    int cook = 1;
    int display = 1;
};

/// A name with a fixed expression.
struct FLX_GlobalEntry {
    UT_String name;
    UT_String expression;
    int first = 0;
    int second = 0;
};

/// A point attribute of generated code. Without a method its size creates it, and code keeps its index.
struct FLX_AttributeEntry {
    UT_String name;
    int size = 1;
    UT_String method;
    FLX_FlagStack used;
};

/// What a function of expressions is called in generated code.
struct FLX_FuncEntry {
    UT_String name;
    UT_String translation;
    UT_String arguments; ///< separated by ", "
};
