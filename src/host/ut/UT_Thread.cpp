#include "host/ut/UT_Thread.h"

#include <algorithm>
#include <thread>

#include "host/ut/UT_BitSet.h"
#include "host/ut/UT_Lock.h"

namespace {

struct FreeIndices {
    UT_Lock lock;
    UT_BitSet free; // slot i: index i + 1 was given out and has come back

    int take() {
        UT_AutoLock held(lock);
        size_t slot = free.findFrom();
        if (slot == UT_BitSet::NONE) {
            slot = free.size();
            free.resize(slot + 1);
        } else {
            free.clear(slot);
        }
        return int(slot) + 1;
    }
    void giveBack(int index) {
        UT_AutoLock held(lock);
        free.set(size_t(index - 1));
    }
};

FreeIndices& freeIndices() {
    // Never destroyed: threads may end after the main program's statics are gone.
    static FreeIndices* table = new FreeIndices;
    return *table;
}

struct ThreadIndex {
    const int value = freeIndices().take();
    ~ThreadIndex() { freeIndices().giveBack(value); }
};

} // namespace

int UT_Thread::getMySequentialThreadIndex() {
    thread_local const ThreadIndex index;
    return index.value;
}

int UT_Thread::getNumProcessors() { return std::max(1, int(std::thread::hardware_concurrency())); }
