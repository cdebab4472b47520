#include "host/node/OP_CookMonitor.h"

#include <utility>

namespace {
thread_local OP_CookMonitor* theMonitor = nullptr;
}

OP_CookMonitor* OP_CookMonitor::current() { return theMonitor; }

OP_MonitorScope::OP_MonitorScope(OP_CookMonitor* monitor)
    : myOuter(std::exchange(theMonitor, monitor)) {}

OP_MonitorScope::~OP_MonitorScope() { theMonitor = myOuter; }
