#include "host/vm/VM_RegisterFrame.h"

struct VM_RegisterFrame::Stack {
    static constexpr size_t SIZE = 8192;
    std::unique_ptr<double[]> memory = std::make_unique<double[]>(SIZE);
    size_t used = 0;
};

VM_RegisterFrame::Stack& VM_RegisterFrame::stack() {
    static thread_local Stack theStack;
    return theStack;
}

VM_RegisterFrame::VM_RegisterFrame(size_t count)
    : myStack(stack())
    , myCount(count <= Stack::SIZE - myStack.used ? count : 0) {
    if (myCount < count) myOwn = std::make_unique<double[]>(count);
    myData = myOwn ? myOwn.get() : myStack.memory.get() + myStack.used;
    myStack.used += myCount;
}

VM_RegisterFrame::~VM_RegisterFrame() { myStack.used -= myCount; }
