#include "host/node/PRM_EnableRule.h"

#include <algorithm>

#include "host/node/OP_Parameters.h"

namespace {

// Evaluating compiles expressions on demand, which changes nothing a rule can see.
int valueOf(const OP_Parameters& node, const std::string& token) {
    return const_cast<OP_Parameters&>(node).evalInt(token.c_str(), 0, 0);
}

bool isEmpty(const OP_Parameters& node, const std::string& token) {
    UT_String text;
    node.evalStringRaw(text, token.c_str());
    return !text.isstring();
}

PRM_EnableRule oneOf(std::string token, std::vector<int> values, bool wanted) {
    auto test = [token, values = std::move(values), wanted](const OP_Parameters& node) {
        return (std::find(values.begin(), values.end(), valueOf(node, token)) != values.end()) == wanted;
    };
    return {std::move(test), {std::move(token)}};
}

std::vector<std::string> both(std::vector<std::string> a, const std::vector<std::string>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

} // namespace

namespace enable {

PRM_EnableRule on(const char* toggle) { return oneOf(toggle, {0}, false); }
PRM_EnableRule off(const char* toggle) { return oneOf(toggle, {0}, true); }

PRM_EnableRule empty(const char* text) {
    return {[token = std::string(text)](const OP_Parameters& node) { return isEmpty(node, token); }, {text}};
}

PRM_EnableRule notEmpty(const char* text) {
    return {[token = std::string(text)](const OP_Parameters& node) { return !isEmpty(node, token); }, {text}};
}

PRM_EnableRule is(const char* menu, std::initializer_list<int> values) { return oneOf(menu, values, true); }
PRM_EnableRule isNot(const char* menu, std::initializer_list<int> values) { return oneOf(menu, values, false); }

} // namespace enable

PRM_EnableRule operator&&(PRM_EnableRule a, PRM_EnableRule b) {
    std::vector<std::string> tokens = both(std::move(a.tokens), b.tokens);
    auto test = [a = std::move(a.test), b = std::move(b.test)](const OP_Parameters& node) {
        return a(node) && b(node);
    };
    return {std::move(test), std::move(tokens)};
}

PRM_EnableRule operator||(PRM_EnableRule a, PRM_EnableRule b) {
    std::vector<std::string> tokens = both(std::move(a.tokens), b.tokens);
    auto test = [a = std::move(a.test), b = std::move(b.test)](const OP_Parameters& node) {
        return a(node) || b(node);
    };
    return {std::move(test), std::move(tokens)};
}
