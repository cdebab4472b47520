#pragma once

#include <algorithm>
#include <sstream>
#include <string>

#include "host/node/OP_Parameters.h"

/// Parameters in one text: "life=0.3 vel=1,2,$ITER force.1=-9.8" (a component alone). What is no number is an
/// expression, which has no blanks and no commas.
inline void setParms(OP_Parameters& node, const std::string& text) {
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const size_t sign = word.find('='), dot = std::min(word.find('.'), sign);
        const std::string token = word.substr(0, dot);
        int component = dot < sign ? std::stoi(word.substr(dot + 1)) : 0;
        std::istringstream values(word.substr(sign + 1));
        for (std::string value; std::getline(values, value, ','); ++component) {
            size_t used = 0;
            const bool isNumber = value.find_first_not_of("-.0123456789e") == std::string::npos;
            const double number = isNumber ? std::stod(value, &used) : 0;
            if (used == value.size())
                node.setFloat(token.c_str(), component, number);
            else
                node.setExpression(token.c_str(), component, value.c_str());
        }
    }
}
