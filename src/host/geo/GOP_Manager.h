#pragma once

#include "host/geo/GB_Group.h"

#include <memory>
#include <vector>

class GEO_Detail;

/// Turns group strings into groups and keeps the nameless ones it had to make.
///
/// A string is blank-separated tokens, taken left to right: a group name, a pattern of group names (`*`, `?`, `[]`),
/// an element number, a range `0-9`, or a range with a step `0-9:2`; `!` in front removes instead of adding, and a
/// string that begins with such a token starts from all elements. Patterns see internal groups only when they begin
/// with "__". Numbers past the end select nothing: how many elements there are changes from step to step. A pattern
/// that matches no group and a string of blanks give an empty group. Not parsed (null): an unknown plain name, an
/// unclosed bracket, a lone `!`, a broken range or one that runs backwards (`9-0`), a step below 1.
class GOP_Manager {
public:
    /// The group of the string. One existing name gives that very group; anything else a group this manager owns until
    /// destroyAdhocGroups, which follows the detail's removals of elements. With `strict` 0 unknown names are skipped;
    /// with `numbered` 0 numbers do not parse. The last two are kept for callers that pass them.
    const GB_PointGroup* parsePointGroups(const char* groups, const GEO_Detail* detail, int strict = 1,
                                          int numbered = 1, int = 0, int = 0);
    const GB_PrimitiveGroup* parsePrimitiveGroups(const char* groups, const GEO_Detail* detail, int strict = 1,
                                                  int numbered = 1, int = 0, int = 0);
    /// The same, always a group of its own that the caller may change.
    GB_PointGroup* parsePointGroupsCopy(const char* groups, const GEO_Detail* detail, int strict = 1, int numbered = 1,
                                        int = 0);
    GB_PrimitiveGroup* parsePrimitiveGroupsCopy(const char* groups, const GEO_Detail* detail, int strict = 1,
                                                int numbered = 1, int = 0);
    void destroyAdhocGroups();

private:
    std::vector<std::shared_ptr<GB_PointGroup>> myPointGroups;
    std::vector<std::shared_ptr<GB_PrimitiveGroup>> myPrimGroups;
};
