#include "core/FLX_ContextDataHandle.h"

#include "core/FLX_ContextData.h"

FLX_ContextDataHandle& FLX_ContextDataHandle::operator=(const FLX_ContextDataHandle& src) {
    if (this == &src || myRef == src.myRef) return *this;
    release();
    bind(src.myRef);
    return *this;
}

void FLX_ContextDataHandle::set(FLX_ContextData* context) {
    if (context == get() && (context || !myRef)) return;
    release();
    if (context) bind(context->getIndirectHandle());
}

void FLX_ContextDataHandle::bind(flx_ContextDataHandleRef* ref) {
    myRef = ref;
    if (myRef) ++myRef->count;
}

void FLX_ContextDataHandle::release() {
    if (myRef && --myRef->count == 0) delete myRef;
    myRef = nullptr;
}
