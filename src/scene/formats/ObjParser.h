#pragma once

#include "scene/formats/ObjData.h"

#include <string_view>
#include <unordered_map>

namespace formats {

/// Turns the text of an OBJ file into its statements.
class ObjParser {
public:
    explicit ObjParser(std::string_view text)
        : myText(text) {}
    /// Throws FormatError with the line.
    ObjData parse();

private:
    using Words = std::vector<std::string_view>;
    bool nextLine(std::string_view& line);
    void statement(const Words& words);
    void position(const Words& words);
    void element(const Words& words, bool closed);
    void setGroups(const Words& words, std::vector<size_t>& kind);
    size_t groupNumber(std::string_view name);
    size_t currentGroupSet();
    ObjCorner corner(std::string_view word) const;
    int64_t reference(std::string_view word, size_t count, const char* what) const;
    float number(std::string_view word) const;
    UT_Vector3 triple(const Words& words, size_t least) const;
    [[noreturn]] void fail(const std::string& text) const;

    std::string_view myText;
    size_t myAt = 0;
    size_t myLine = 0; ///< of the statement at hand, 1-based
    size_t myLinesRead = 0;
    std::string myJoined; ///< a statement that was continued over several lines
    ObjData myData;
    std::unordered_map<std::string, size_t> myGroupNumbers; ///< only asked, never walked
    std::vector<size_t> myNamed;                            ///< groups that g named last
    std::vector<size_t> myObject;                           ///< group that o named last
    bool myGroupsChanged = false;
};

} // namespace formats
