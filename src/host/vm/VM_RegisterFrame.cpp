#include "host/vm/VM_RegisterFrame.h"

struct VM_RegisterFrame::Stack {
    static constexpr size_t SIZE = 4096;
    size_t used = 0;
    double memory[SIZE] = {}; // without a constructor to run, reaching it is cheap
};

VM_RegisterFrame::Stack& VM_RegisterFrame::stack() {
    static constinit thread_local Stack theStack;
    return theStack;
}

VM_RegisterFrame::VM_RegisterFrame(size_t count)
    : myStack(stack())
    , myCount(count <= Stack::SIZE - myStack.used ? count : 0) {
    if (myCount < count) myOwn = std::make_unique<double[]>(count);
    myData = myOwn ? myOwn.get() : myStack.memory + myStack.used;
    myStack.used += myCount;
}

VM_RegisterFrame::~VM_RegisterFrame() { myStack.used -= myCount; }
