#include "host/ut/UT_Interrupt.h"

#include <vector>

namespace {

std::vector<const char*>& openLabels() {
    thread_local std::vector<const char*> labels;
    return labels;
}

} // namespace

int UT_Interrupt::opStart(const char* label) {
    if (myRefuse || isInterrupted()) return 0;
    openLabels().push_back(label ? label : "");
    if (myDepth.fetch_add(1) == 0) myPercent = -1;
    return 1;
}

int UT_Interrupt::opInterrupt(int percent) {
    const long poll = myPolls.fetch_add(1, std::memory_order_relaxed) + 1;
    const long fireAt = myFireAt.load(std::memory_order_relaxed);
    if (fireAt && poll >= fireAt) interrupt();
    if (percent >= 0) myPercent.store(percent < 100 ? percent : 100, std::memory_order_relaxed);
    return isInterrupted();
}

void UT_Interrupt::opEnd() {
    // One that was never opened is ignored.
    if (openLabels().empty()) return;
    openLabels().pop_back();
    myDepth.fetch_sub(1);
}

const char* UT_Interrupt::label() const { return openLabels().empty() ? nullptr : openLabels().back(); }

void UT_Interrupt::clear() {
    myFireAt = 0;
    myPolls = 0;
    myRefuse = false;
    myStop = false;
}

UT_Interrupt* UTgetInterrupt() {
    // Constant-initialised, so that a signal handler may ask for it at any time.
    static constinit UT_Interrupt interrupt;
    return &interrupt;
}
