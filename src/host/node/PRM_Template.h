#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/node/PRM_ChoiceList.h"
#include "host/node/PRM_Default.h"
#include "host/node/PRM_EnableRule.h"
#include "host/node/PRM_Name.h"
#include "host/node/PRM_Range.h"

class OP_Node;

/// A copy of `text` that lives as long as the process, for rows whose texts are no literals. The same text gives the
/// same pointer.
const char* PRMpermanentText(std::string_view text);

enum class PRM_Type { Float, Int, Toggle, Menu, String, Button, Folder, Multi };

/// What a string parameter's text refers to, so that interfaces can offer a chooser and `check` can resolve it.
enum class PRM_StringKind {
    Plain,
    SopPath,
    ObjectPath,
    ShopPath,
    FlxPath,
    File,
    PointGroup,
    NewPointGroup, ///< the name of one that the operator makes
    PrimitiveGroup,
    VectorExpression
};

/// What a parameter's expressions find in the local variables.
enum class PRM_Variables {
    PerElement,  ///< their values, where it is read for a particle (a point, ...)
    OncePerCook, ///< mostly 0: its operator reads it once, for all. `check` warns
    Refused,     ///< reading one is an error
};

struct PRM_SpareData {
    const char* key = nullptr;
    const char* value = nullptr;
};

/// Called when the user presses a button or edits the parameter it is attached to.
using PRM_Callback = int (*)(OP_Node* node, int index, float t);

/// One row of an operator's parameter table: everything the host knows about a parameter. Rows are recorded once per
/// class from the handle declarations (see PRM_Handle.h); nothing else lists an operator's parameters.
struct PRM_Template {
    PRM_Type type = PRM_Type::Float;
    int size = 1;
    std::string token;
    std::string label;
    std::vector<PRM_Default> defaults; ///< one per component
    const PRM_ChoiceList* menu = nullptr;
    PRM_Range range{};
    bool hasRange = false;
    PRM_StringKind stringKind = PRM_StringKind::Plain;
    PRM_EnableRule enable{};
    PRM_EnableRule needed{}; ///< when a string may not be empty
    PRM_Callback callback = nullptr;
    bool animated = true; ///< false: its operator reads it at time 0 only
    PRM_Variables variables = PRM_Variables::PerElement;
    std::vector<std::pair<std::string, int>> folders{}; ///< Folder: label and number of rows that follow, per folder
    bool folderValue = false;                           ///< Folder whose choice is a value (set by ordinal)
    std::vector<PRM_Template> instance{};               ///< Multi: the rows of one instance, tokens with '#'

    /// What a value is as this parameter's: whole unless it is a float, within the hard bounds.
    double number(double value) const;
    /// The same for n values, as float and as int. True when a hard bound took the place of a NaN.
    bool numbers(const double* values, float* out, int n) const;
    bool numbers(const double* values, int* out, int n) const;
    /// Whether a hard bound takes the place of this value because it is no number.
    bool replacesNaN(double value) const;
};

/// A class's rows in declaration order; a token's index never changes within a class.
struct PRM_TemplateTable {
    std::vector<PRM_Template> rows;

    /// Row of a token, or -1. `#` instances are not rows of the table.
    int find(const std::string& token) const;
};

/// A table of plain string parameters with empty defaults: what most obsolete lists are.
PRM_TemplateTable PRMstringTable(std::initializer_list<PRM_Name> names);
