#pragma once
#include <cstddef>
#include <memory>

// Registers for one run of a program on the calling thread, from a stack that the thread keeps: no allocation unless
// runs are nested very deep or are very large. Frames end in the reverse order of their beginning. The memory is
// initialised, its contents are not.
class VM_RegisterFrame {
public:
    explicit VM_RegisterFrame(size_t count);
    ~VM_RegisterFrame();
    VM_RegisterFrame(const VM_RegisterFrame&) = delete;
    VM_RegisterFrame& operator=(const VM_RegisterFrame&) = delete;
    double* data() { return myData; }
    const double* data() const { return myData; }

private:
    struct Stack;
    static Stack& stack();

    Stack& myStack;
    size_t myCount; // taken from the stack; 0 when the frame has memory of its own
    std::unique_ptr<double[]> myOwn;
    double* myData;
};
