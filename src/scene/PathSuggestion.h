#pragma once

#include <string>

class OP_Node;

/// `; did you mean "/obj/fx"?` for a path that leads nowhere, seen from a node: its first part that does not exist,
/// corrected. Or nothing.
std::string suggestPath(OP_Node& from, const std::string& path);
