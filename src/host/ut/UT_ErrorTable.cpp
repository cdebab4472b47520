#include "host/ut/UT_ErrorTable.h"

#include <string_view>

namespace {

struct Wording {
    std::string_view type;
    int code;
    const char* text;
};

// clang-format off
constexpr Wording theWordings[] = {
    {"FLX",  1, "Variable has no value here and was replaced"},
    {"FLX",  2, "Invalid group or name"},
    {"FLX",  3, "The same particles arrive twice in one list"},
    {"FLX",  4, "No input has this index"},
    {"FLX",  6, "The geometry could not be cooked"},
    {"FLX",  8, "The display node gave no geometry"},
    {"FLX",  9, "The attribute could not be created"},
    {"FLX", 10, "Invalid attribute or variable name"},
    {"FLX", 11, "No object or geometry has this path"},
    {"FLX", 12, "Particles belong to another operator than this input"},
    {"FLX", 13, "Script problem"},
    {"FLX", 14, "Invalid drag setting"},
    {"FLX", 16, "Float attribute not found"},
    {"FLX", 18, "Nothing to fetch at this path"},
    {"FLX", 19, "No shader node has this path"},
    {"FLX", 20, "The shader gave no shader string"},
    {"FLX", 21, "Attribute cannot be transferred"},
    {"FLX", 22, "The deforming geometry changes its topology"},
    {"FLX", 23, "The operator fetches itself"},
    {"FLX", 24, "The particles could not be sampled or the code compiled"},
    {"FLX", 25, "Too few points were found to give birth at; raise the threshold or check the distribution"},

    {"OP", OP_ERR_UNKNOWN,       "Something went wrong"},
    {"OP", OP_ERR_EXPRESSION,    "Expression failed"},
    {"OP", OP_ERR_RECURSION,     "The node needs its own result to cook"},
    {"OP", OP_ERR_INPUT,         "The input failed"},
    {"OP", OP_ERR_MISSING_INPUT, "An input must be connected"},
    {"OP", OP_ERR_BAD_PARM,      "Invalid parameter value"},
    {"OP", OP_ERR_FILE,          "File problem"},
    {"OP", OP_ERR_LIMIT,         "A limit was reached"},
    {"OP", OP_ERR_CHILD_FAILED,  "A node inside the network failed"},
};
// clang-format on

} // namespace

const char* UTerrorWording(const std::string& type, int code) {
    for (const Wording& w : theWordings)
        if (w.type == type && w.code == code) return w.text;
    return "Unknown message number";
}

const char* UTseverityName(UT_ErrorSeverity severity) {
    switch (severity) {
    case UT_ERROR_NONE: return "none";
    case UT_ERROR_MESSAGE: return "message";
    case UT_ERROR_WARNING: return "warning";
    case UT_ERROR_ABORT: return "error";
    case UT_ERROR_FATAL: break;
    }
    return "fatal error";
}

std::string UTerrorTextWithoutSeverity(const UT_Error& error) {
    const std::string line =
        error.type + ' ' + std::to_string(error.code) + ": " + UTerrorWording(error.type, error.code);
    return error.text.empty() ? line : line + ": " + error.text;
}

std::string UTerrorText(const UT_Error& error) {
    return std::string(UTseverityName(error.severity)) + ' ' + UTerrorTextWithoutSeverity(error);
}
