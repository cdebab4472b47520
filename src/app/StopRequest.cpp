#include "app/StopRequest.h"

#include "host/ut/UT_Interrupt.h"

#include <csignal>

void StopRequest::install() {
    UTgetInterrupt(); // made here rather than in the handler
    struct sigaction action {};
    action.sa_handler = [](int) { UTgetInterrupt()->interrupt(); };
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
}

bool StopRequest::raised() { return UTgetInterrupt()->isInterrupted(); }
