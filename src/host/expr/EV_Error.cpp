#include "host/expr/EV_Error.h"
#include "host/ut/UT_Lock.h"
#include "host/ut/UT_Thread.h"
#include <algorithm>
#include <map>

namespace {

// The first threads find theirs without a lock.
constexpr int NUM_FIXED = 16;
EV_ThreadError theFixed[NUM_FIXED];

EV_ThreadError& lockedSlot(int thread) {
    static UT_Lock theLock;
    static std::map<int, EV_ThreadError> theSlots; // its entries never move
    UT_AutoLock lock(theLock);
    return theSlots[thread];
}

bool continuesCharacter(char c) { return (c & 0xc0) == 0x80; } // UTF-8

// The text in quotes on one line, cut at a whole character when it is long.
std::string quoted(std::string_view text) {
    constexpr size_t LONGEST = 100;
    size_t length = text.size();
    if (length > LONGEST)
        for (length = LONGEST - 3; length > 0 && continuesCharacter(text[length]); --length) {
        }
    std::string out(1, '"');
    out.append(text.substr(0, length)).append(length < text.size() ? "...\"" : "\"");
    std::replace_if(
        out.begin(), out.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
    return out;
}

int columnOf(std::string_view text, size_t offset) {
    const auto end = text.begin() + std::ptrdiff_t(std::min(offset, text.size()));
    return 1 + int(end - text.begin() - std::count_if(text.begin(), end, continuesCharacter));
}

} // namespace

EV_ThreadError& EV_threadError(int thread) {
    static thread_local EV_ThreadError* theMine = nullptr;
    if (thread <= 0) {
        if (!theMine) theMine = &EV_threadError(UT_Thread::getMySequentialThreadIndex());
        return *theMine;
    }
    return thread <= NUM_FIXED ? theFixed[thread - 1] : lockedSlot(thread);
}

int& EV_errNo(int thread) { return EV_threadError(thread).number; }

const std::string& EV_errText(int thread) { return EV_threadError(thread).text; }

void EV_raise(int thread, int number, std::string text) {
    EV_ThreadError& mine = EV_threadError(thread);
    if (mine.number != EV_ERR_NONE) return;
    mine.number = number;
    mine.text = std::move(text);
}

void EV_clearError(int thread) {
    EV_ThreadError& mine = EV_threadError(thread);
    mine.number = EV_ERR_NONE;
    mine.text.clear();
}

EV_Error EV_makeError(int number, std::string_view text, size_t offset, std::string_view what,
                      std::string_view advice) {
    EV_Error error{number, 0, quoted(text) + ": "};
    error.message += what;
    if (offset != std::string_view::npos) {
        error.column = columnOf(text, offset);
        error.message += " at column " + std::to_string(error.column);
    }
    if (!advice.empty()) error.message.append("; ").append(advice);
    return error;
}
