#pragma once

#include <iosfwd>
#include <string>
#include <vector>

/// What the program tells about its operator types and expression functions.
namespace OpsJson {

/// Every particle operator in registration order and every expression function, as one JSON object.
void writeJson(std::ostream& out);
/// The JSON of one operator type alone; false when there is no such type.
bool writeJson(std::ostream& out, const std::string& type);

/// One line per operator type, by family.
void writeList(std::ostream& out);
/// One type's inputs, parameters and variables; false when there is no such type. Particle operators come before
/// geometry nodes, objects and shaders of the same name.
bool writeType(std::ostream& out, const std::string& type);
/// The expression functions with one line of help each.
void writeFunctions(std::ostream& out);
/// The same as {"functions": [...]}.
void writeFunctionsJson(std::ostream& out);

/// All names that writeType knows, for "did you mean".
std::vector<std::string> typeNames();

} // namespace OpsJson
