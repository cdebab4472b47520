#pragma once

class FLX_ContextData;

/// The cell that handles share; data is null once the context is gone.
struct flx_ContextDataHandleRef {
    FLX_ContextData* data = nullptr;
    int count = 0;
};

/// A weak reference to a context: it outlives the context and then yields null. One thread at a time.
class FLX_ContextDataHandle {
public:
    FLX_ContextDataHandle() = default;
    explicit FLX_ContextDataHandle(FLX_ContextData* context) { set(context); }
    FLX_ContextDataHandle(const FLX_ContextDataHandle& src) { bind(src.myRef); }
    FLX_ContextDataHandle& operator=(const FLX_ContextDataHandle& src);
    ~FLX_ContextDataHandle() { release(); }

    void set(FLX_ContextData* context);
    FLX_ContextData* get() const { return myRef ? myRef->data : nullptr; }

private:
    void bind(flx_ContextDataHandleRef* ref);
    void release();

    flx_ContextDataHandleRef* myRef = nullptr;
};
