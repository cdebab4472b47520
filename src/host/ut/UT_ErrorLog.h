#pragma once

#include <string>
#include <unordered_set>
#include <vector>

/// How bad a message is; 4 and above stop a cook.
enum UT_ErrorSeverity {
    UT_ERROR_NONE = 0,
    UT_ERROR_MESSAGE = 1,
    UT_ERROR_WARNING = 2,
    UT_ERROR_ABORT = 4,
    UT_ERROR_FATAL = 5
};

struct UT_Error {
    std::string type; ///< whose code it is: "FLX", "OP"
    int code = 0;
    UT_ErrorSeverity severity = UT_ERROR_NONE;
    std::string text; ///< the argument: a path, a name, a group; may be empty

    friend bool operator==(const UT_Error&, const UT_Error&) = default;
};

/// Messages in first-posted order; each (type, code, severity, text) is kept once.
class UT_ErrorList {
public:
    void add(UT_Error error);
    /// Adds all of `other`, in its order.
    void add(const UT_ErrorList& other);
    /// Adds all of `other` and leaves it empty.
    void steal(UT_ErrorList& other);
    void clear();

    /// The worst severity in the list.
    UT_ErrorSeverity severity() const { return mySeverity; }
    bool empty() const { return myErrors.empty(); }
    size_t size() const { return myErrors.size(); }
    const UT_Error& operator[](size_t i) const { return myErrors[i]; }
    auto begin() const { return myErrors.begin(); }
    auto end() const { return myErrors.end(); }

private:
    std::vector<UT_Error> myErrors;
    std::unordered_set<std::string> myKeys;
    UT_ErrorSeverity mySeverity = UT_ERROR_NONE;
};

/// The calling thread's list: what runs now posts here, and whoever started it collects.
UT_ErrorList& UTglobalErrors();

/// Post to the calling thread's list; `message`, the argument, may be null.
void UTaddMessage(const char* type, int code, const char* message);
void UTaddWarning(const char* type, int code, const char* message);
void UTaddError(const char* type, int code, const char* message);
void UTaddFatal(const char* type, int code, const char* message);
