#pragma once

/// Small numbers for threads, to index tables of per-thread state.
class UT_Thread {
public:
    /// The calling thread's number, from 1: the lowest that no living thread has. It stays the same until the thread
    /// ends.
    static int getMySequentialThreadIndex();
    /// Threads the machine runs at once, at least 1.
    static int getNumProcessors();
};
