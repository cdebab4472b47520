#pragma once

#include <atomic>

/// Lets long operations be stopped and show progress. One object serves the process: a request to stop is seen by every
/// thread until it is cleared.
class UT_Interrupt {
public:
    /// Opens an operation (they nest). Returns 1, or 0 when it must not start: then do not call opEnd. Refused while a
    /// request to stop stands.
    int opStart(const char* label);
    /// To be polled often: 1 when the operation shall stop. `percent` (0 to 100) is progress, -1 unknown.
    int opInterrupt(int percent = -1);
    void opEnd();

    /// Asks to stop; safe in a signal handler and from any thread.
    void interrupt() { myStop.store(true, std::memory_order_relaxed); }
    bool isInterrupted() const { return myStop.load(std::memory_order_relaxed); }
    /// Withdraws the request to stop and what fireAtPoll and refuseStart arranged; the poll count starts again at 0.
    void clear();

    /// Requests the stop by itself at the n-th poll from now (1 = the next); 0 = never.
    void fireAtPoll(long n) { myFireAt.store(n > 0 ? myPolls.load() + n : 0); }
    /// Makes opStart refuse.
    void refuseStart(bool refuse) { myRefuse.store(refuse); }
    long pollCount() const { return myPolls.load(); }
    /// Operations open now.
    int depth() const { return myDepth.load(); }
    int percent() const { return myPercent.load(); }
    /// Label of the operation opened last; null when none is open. Only for the thread that opened it.
    const char* label() const;

private:
    static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<long>::is_always_lock_free);
    std::atomic<bool> myStop{false}, myRefuse{false};
    std::atomic<long> myPolls{0}, myFireAt{0};
    std::atomic<int> myDepth{0}, myPercent{-1};
};

/// The process's interrupt; never null.
UT_Interrupt* UTgetInterrupt();

/// Opens an operation for a scope's duration: `UT_ProgressScope scope("Cooking"); if (!scope) return;`.
class UT_ProgressScope {
public:
    explicit UT_ProgressScope(const char* label)
        : myStarted(UTgetInterrupt()->opStart(label) != 0) {}
    ~UT_ProgressScope() {
        if (myStarted) UTgetInterrupt()->opEnd();
    }
    UT_ProgressScope(const UT_ProgressScope&) = delete;
    UT_ProgressScope& operator=(const UT_ProgressScope&) = delete;

    explicit operator bool() const { return myStarted; }
    bool stopped(int percent = -1) const { return UTgetInterrupt()->opInterrupt(percent) != 0; }

private:
    bool myStarted;
};
