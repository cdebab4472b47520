#pragma once

#include <string>
#include <string_view>

/// Paths of nodes such as `/obj/ground/grid1`: text only, nothing is looked up.
namespace UT_NodePath {

bool isAbsolute(std::string_view path);

/// Removes `.`, resolves `..`, drops doubled and trailing slashes. An absolute path that climbs above the root names
/// nothing: empty. A relative one keeps its leading `..`; one that ends where it starts is `.`.
std::string collapse(std::string_view path);

/// `path` seen from `base` (absolute), collapsed; an absolute `path` stands for itself. Empty when it climbs above the
/// root or `path` is empty.
std::string join(std::string_view base, std::string_view path);

/// `/obj/ground` of `/obj/ground/grid1`; `/` of `/obj`; empty for `/` and for a bare name.
std::string parent(std::string_view path);

/// `grid1` of `/obj/ground/grid1`; empty for `/`.
std::string_view name(std::string_view path);

/// The shortest relative path that leads from node `from` to node `to` (both absolute): join(from, result) is `to`. The
/// same node is `.`.
std::string getRelativePath(std::string_view from, std::string_view to);

/// A name a node may have: `[A-Za-z_][A-Za-z0-9_]*`.
bool isValidName(std::string_view name);

} // namespace UT_NodePath
