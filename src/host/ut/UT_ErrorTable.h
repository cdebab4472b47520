#pragma once

#include <string>

#include "host/ut/UT_ErrorLog.h"

/// Codes of the host's own error type "OP".
enum OP_ErrorCodes {
    OP_ERR_UNKNOWN = 0,       ///< argument: what went wrong
    OP_ERR_EXPRESSION = 1,    ///< argument: parameter token, column and reason
    OP_ERR_RECURSION = 2,     ///< a node was asked to cook while it cooks; argument: its path
    OP_ERR_INPUT = 3,         ///< an input did not cook; argument: the input's path
    OP_ERR_MISSING_INPUT = 4, ///< argument: the input's label
    OP_ERR_BAD_PARM = 5,      ///< a parameter value cannot be used; argument: token and reason
    OP_ERR_FILE = 6,          ///< a file cannot be read or written; argument: the file and the reason
    OP_ERR_LIMIT = 7,         ///< a limit or memory ran out; argument: which
    OP_ERR_CHILD_FAILED = 23  ///< a child of a sub-network failed; argument: its path and messages
};

/// The wording of a numbered message, without its argument; a general wording for numbers the table does not know.
const char* UTerrorWording(const std::string& type, int code);

/// "none", "message", "warning", "error", "fatal error".
const char* UTseverityName(UT_ErrorSeverity severity);

/// One full line: "error FLX 11: No object or geometry has this path: /obj/nothing".
std::string UTerrorText(const UT_Error& error);
/// The same where the severity is told otherwise: "FLX 11: No object or geometry has this path: /obj/nothing".
std::string UTerrorTextWithoutSeverity(const UT_Error& error);
