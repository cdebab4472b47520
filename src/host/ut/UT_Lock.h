#pragma once

#include <mutex>

/// Mutual exclusion; not recursive. Hold it with UT_AutoLock.
class UT_Lock {
public:
    void lock() { myMutex.lock(); }
    void unlock() { myMutex.unlock(); }
    bool try_lock() { return myMutex.try_lock(); }

private:
    std::mutex myMutex;
};

using UT_AutoLock = std::lock_guard<UT_Lock>;
