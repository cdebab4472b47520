#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/node/PRM_Name.h"

/// The tokens that a menu's callback writes for a node into so much room, one blank behind each.
template <class Build, class Node> std::string menuOf(Build build, Node* node, int size) {
    std::vector<PRM_Name> names(size_t(size) + 1, PRM_Name{"unwritten", "unwritten"});
    build(node, names.data(), size, nullptr, nullptr);
    EXPECT_STREQ(names[size_t(size)].token, "unwritten") << "wrote past the menu's size";
    std::string tokens;
    for (const PRM_Name* name = names.data(); name->token; ++name) tokens += std::string(name->token) + " ";
    return tokens;
}
