#include "core/FLX_ExpressionStack.h"

#include <array>
#include <deque>
#include <mutex>
#include <vector>

#include "host/ut/UT_Thread.h"

namespace {

using Stack = std::vector<FLX_ContextData*>;

constexpr size_t FIXED_SLOTS = 16;

// A slot belongs to one thread; only finding the slot of a high-numbered thread needs the lock. The deque keeps
// addresses.
Stack& stackOf(int thread) {
    static std::array<Stack, FIXED_SLOTS> fixed;
    static std::deque<Stack> more;
    static std::mutex lock;
    const auto slot = size_t((thread > 0 ? thread : UT_Thread::getMySequentialThreadIndex()) - 1);
    if (slot < FIXED_SLOTS) return fixed[slot];
    const std::lock_guard guard(lock);
    if (more.size() <= slot - FIXED_SLOTS) more.resize(slot - FIXED_SLOTS + 1);
    return more[slot - FIXED_SLOTS];
}

} // namespace

void FLX_ExpressionStack::push(int thread, FLX_ContextData* context) { stackOf(thread).push_back(context); }

void FLX_ExpressionStack::pop(int thread) { stackOf(thread).pop_back(); }

FLX_ContextData* FLX_ExpressionStack::top(int thread) {
    const Stack& stack = stackOf(thread);
    return stack.empty() ? nullptr : stack.back();
}
