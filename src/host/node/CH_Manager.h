#pragma once

class CH_Collection;

/// Per thread: the time and the channel collection that evaluations without a time of their own use. `thread` is the
/// calling thread's number, or 0.
class CH_Manager {
public:
    static float getEvaluateTime(int thread);
    static void setEvaluateTime(int thread, float t);
    static CH_Collection* getEvalCollection(int thread);
    static void setEvalCollection(int thread, CH_Collection* collection);
};

/// Sets time and collection for a scope and restores what was there.
class CH_EvaluateScope {
public:
    CH_EvaluateScope(int thread, float t, CH_Collection* collection);
    ~CH_EvaluateScope();
    CH_EvaluateScope(const CH_EvaluateScope&) = delete;
    CH_EvaluateScope& operator=(const CH_EvaluateScope&) = delete;

private:
    int myThread;
    float myTime;
    CH_Collection* myCollection;
};
