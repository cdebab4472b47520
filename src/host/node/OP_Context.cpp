#include "host/node/OP_Context.h"

#include <atomic>

unsigned OP_Context::newPass() {
    static std::atomic<unsigned> theLast{0};
    unsigned pass = 0;
    while (pass == 0) pass = ++theLast;
    return pass;
}
