#pragma once

#include <string>

#include "host/ut/UT_ErrorTable.h"

/// A short line, for those who know the numbers: "error FLX 11: /obj/nothing"; the wording stands in for an empty
/// argument.
inline std::string UTerrorBrief(const UT_Error& error) {
    return std::string(UTseverityName(error.severity)) + " " + error.type + " " + std::to_string(error.code) + ": " +
           (error.text.empty() ? UTerrorWording(error.type, error.code) : error.text);
}
