#include "host/node/CH_Manager.h"

namespace {

// A thread number names the calling thread: nobody reads another thread's state.
struct State {
    float time = 0;
    CH_Collection* collection = nullptr;
};

State& state() {
    thread_local State theState;
    return theState;
}

} // namespace

float CH_Manager::getEvaluateTime(int) { return state().time; }
void CH_Manager::setEvaluateTime(int, float t) { state().time = t; }
CH_Collection* CH_Manager::getEvalCollection(int) { return state().collection; }
void CH_Manager::setEvalCollection(int, CH_Collection* collection) { state().collection = collection; }

CH_EvaluateScope::CH_EvaluateScope(int thread, float t, CH_Collection* collection)
    : myThread(thread)
    , myTime(CH_Manager::getEvaluateTime(thread))
    , myCollection(CH_Manager::getEvalCollection(thread)) {
    CH_Manager::setEvaluateTime(thread, t);
    CH_Manager::setEvalCollection(thread, collection);
}

CH_EvaluateScope::~CH_EvaluateScope() {
    CH_Manager::setEvaluateTime(myThread, myTime);
    CH_Manager::setEvalCollection(myThread, myCollection);
}
