#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

class OP_Parameters;

/// When a parameter can be edited: a predicate over the node's other parameters (read at time 0) and the tokens it
/// names, which a sweep checks against the node's templates. Combine rules with && and ||.
struct PRM_EnableRule {
    std::function<bool(const OP_Parameters&)> test;
    std::vector<std::string> tokens;

    explicit operator bool() const { return bool(test); }
};

namespace enable {
PRM_EnableRule on(const char* toggle);
PRM_EnableRule off(const char* toggle);
/// The string parameter's raw text is empty.
PRM_EnableRule empty(const char* text);
PRM_EnableRule notEmpty(const char* text);
PRM_EnableRule is(const char* menu, std::initializer_list<int> values);
PRM_EnableRule isNot(const char* menu, std::initializer_list<int> values);
} // namespace enable

PRM_EnableRule operator&&(PRM_EnableRule a, PRM_EnableRule b);
PRM_EnableRule operator||(PRM_EnableRule a, PRM_EnableRule b);
