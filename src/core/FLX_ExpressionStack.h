#pragma once

class FLX_ContextData;

/// The contexts being cooked, innermost last, one stack per thread; expression functions read the top one.
/// `thread` counts from 1; 0 is the calling thread.
class FLX_ExpressionStack {
public:
    static void push(int thread, FLX_ContextData* context);
    static void pop(int thread);
    static FLX_ContextData* top(int thread);
};

/// Pushes a context for a scope.
class FLX_ExpressionScope {
public:
    FLX_ExpressionScope(int thread, FLX_ContextData* context)
        : myThread(thread) {
        FLX_ExpressionStack::push(thread, context);
    }
    ~FLX_ExpressionScope() { FLX_ExpressionStack::pop(myThread); }
    FLX_ExpressionScope(const FLX_ExpressionScope&) = delete;
    FLX_ExpressionScope& operator=(const FLX_ExpressionScope&) = delete;

private:
    int myThread;
};
