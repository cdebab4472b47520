#pragma once
#include "host/vm/VM_Builder.h"

// Gives the values of a VM_Builder their registers. Jumps go forward only, so a value lives from the instruction that
// writes it to the last one that reads it in the order of the code, whichever way a run takes.
class VM_Packer {
public:
    explicit VM_Packer(const VM_Builder& builder);
    bool pack(const std::vector<VM_Builder::Value>& results, VM_Program& out);

private:
    using Value = VM_Builder::Value;
    template <class F> void eachRead(const VM_Builder::Raw& raw, F f) const;
    template <class F> void eachWrite(const VM_Builder::Raw& raw, F f) const;
    void findLastReads(const std::vector<Value>& results);
    void numberConstants(VM_Program& out);
    uint16_t registerOf(Value value) const;
    void take(Value value);
    void freeOperands(const VM_Builder::Raw& raw, size_t at);
    void packHost(size_t at, VM_Program& out);
    void packOperation(size_t at, VM_Program& out);

    const VM_Builder& myBuilder;
    std::vector<size_t> myLastRead;     // of each value
    std::vector<bool> myConstantUsed;   // of each constant
    std::vector<int> myConstantNumbers; // registers of the constants
    std::vector<int> myRegisters;       // of each value
    std::vector<int> myFree;            // registers free for reuse, the last freed first
    int myNumRegisters = 0;
};
