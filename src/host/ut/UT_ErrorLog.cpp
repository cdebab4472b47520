#include "host/ut/UT_ErrorLog.h"

#include <algorithm>

namespace {

std::string keyOf(const UT_Error& e) {
    return e.type + '\n' + std::to_string(e.code) + '\n' + std::to_string(int(e.severity)) + '\n' + e.text;
}

void post(UT_ErrorSeverity severity, const char* type, int code, const char* message) {
    UTglobalErrors().add({type ? type : "", code, severity, message ? message : ""});
}

} // namespace

void UT_ErrorList::add(UT_Error error) {
    // A loop over particles posts the same message again and again.
    if (!myErrors.empty() && myErrors.back() == error) return;
    mySeverity = std::max(mySeverity, error.severity);
    // Messages that quote a particle's number or value are all different; nobody reads a million of them.
    constexpr size_t MOST_KEPT = 1000;
    if (myErrors.size() >= MOST_KEPT) return;
    if (!myKeys.insert(keyOf(error)).second) return;
    myErrors.push_back(std::move(error));
}

void UT_ErrorList::add(const UT_ErrorList& other) {
    if (&other == this) return;
    for (const UT_Error& error : other) add(error);
}

void UT_ErrorList::steal(UT_ErrorList& other) {
    if (&other == this) return;
    add(other);
    other.clear();
}

void UT_ErrorList::clear() {
    myErrors.clear();
    myKeys.clear();
    mySeverity = UT_ERROR_NONE;
}

UT_ErrorList& UTglobalErrors() {
    thread_local UT_ErrorList errors;
    return errors;
}

void UTaddMessage(const char* type, int code, const char* message) { post(UT_ERROR_MESSAGE, type, code, message); }
void UTaddWarning(const char* type, int code, const char* message) { post(UT_ERROR_WARNING, type, code, message); }
void UTaddError(const char* type, int code, const char* message) { post(UT_ERROR_ABORT, type, code, message); }
void UTaddFatal(const char* type, int code, const char* message) { post(UT_ERROR_FATAL, type, code, message); }
