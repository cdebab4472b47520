#include "host/ut/UT_String.h"

#include "host/ut/UT_NearestName.h"
#include "host/ut/UT_NodePath.h"
#include "host/ut/UT_PatternMatch.h"
#include <gtest/gtest.h>

TEST(UT_PatternMatch, Globs) {
    // clang-format off
    const struct { const char *pattern, *text; bool matches; } cases[] = {
        {"", "", true}, {"", "a", false}, {"*", "", true}, {"**", "abc", true}, {"a*c", "abbbc", true},
        {"a*c", "abbb", false}, {"*.obj", "a.obj.obj", true}, {"a*b*c", "a-c-b-c", true}, {"a*b*c", "a-c-c-b", false},
        {"?", "", false}, {"???", "abc", true}, {"geo?*", "geo", false}, {"[a-c]x", "bx", true},
        {"[a-c]x", "dx", false}, {"[!a-c]x", "dx", true}, {"[^a-c]x", "ax", false}, {"[]]", "]", true},
        {"[!]]", "]", false}, {"[!]]", "a", true}, {"[a-]", "-", true}, {"[-a]", "-", true},
        {"[c-a]", "b", false}, /* an empty range */ {"[abc", "[abc", true}, /* never closed */ {"[abc", "a", false},
        {"[", "[", true}, {"[]", "[]", true}, {"[!", "[!", true}, {"*[0-9]", "grid12", true},
        {"*[0-9]", "grid", false}, {"Grid*", "grid1", false}, {"a\xff*", "a\xff\x80", true},
    };
    // clang-format on
    for (const auto& c : cases)
        EXPECT_EQ(UTglobMatch(c.pattern, c.text), c.matches) << c.pattern << " against " << c.text;
    EXPECT_TRUE(UTglobMatch("GRID[a-c]*", "gridB7", false));
    EXPECT_TRUE(UTglobMatch("grid[A-C]*", "gridb7", false));
}

TEST(UT_PatternMatch, ManyStarsStayFast) {
    // A backtracking matcher needs more than the age of the universe here.
    std::string pattern;
    for (int i = 0; i < 500; ++i) pattern += "a*";
    const std::string text(5000, 'a');
    EXPECT_TRUE(UTglobMatch(pattern, text));
    EXPECT_FALSE(UTglobMatch(pattern + "b", text));
    EXPECT_FALSE(UTglobMatch(std::string(100000, '['), std::string(50000, '[')));
}

TEST(UT_String, PatternListsSelectLeftToRight) {
    const UT_String name("Cd");
    for (const char* list : {"P Cd v", "^C* *", "* ^C* Cd"}) EXPECT_TRUE(name.multiMatch(list)) << list;
    for (const char* list : {"P cd v", "* ^C*", "* !Cd", "^P", "", "   ", "P,Cd"})
        EXPECT_FALSE(name.multiMatch(list)) << list;
    EXPECT_TRUE(name.multiMatch("P cd v", false) && name.multiMatch("P,Cd", true, ", "));
}

TEST(UT_String, NullIsEmptyAndWordsAreSplit) {
    const char* none = nullptr;
    UT_String s(none);
    EXPECT_STREQ(s.c_str(), "");
    EXPECT_FALSE(s.isstring());
    const UT_String words("  one\ttwo \n three  ");
    EXPECT_EQ(words.words(), (std::vector<std::string>{"one", "two", "three"}));
    EXPECT_EQ(words.words(2), (std::vector<std::string>{"one", "two"}));
    EXPECT_TRUE(words != none && words.words(0).empty() && UT_String(" ").words().empty());
}

TEST(UT_NodePath, JoinsAndCollapses) {
    using namespace UT_NodePath;
    // clang-format off
    const char* const joined[][3] = {
        {"/obj/fx/floor", "../../ground/grid1", "/obj/ground/grid1"}, {"/obj/fx/floor", "/obj/a", "/obj/a"},
        {"/obj/fx", ".", "/obj/fx"}, {"/obj/fx", "../..", "/"}, {"/obj/fx", "../../..", ""}, {"/", "obj", "/obj"}, {"/obj", "", ""}};
    const char* const collapsed[][2] = {
        {"//obj/./a//b/../c/", "/obj/a/c"}, {"/", "/"}, {"/..", ""}, {"../a/..", ".."}, {"../../b", "../../b"}, {"a/..", "."},
        {"a/../../b", "../b"}};
    const char* const parents[][3] = {
        {"/obj/ground/grid1", "/obj/ground", "grid1"}, {"/obj/", "/", "obj"}, {"/", "", ""}, {"grid1", "", "grid1"},
        {"/obj/ground/", "/obj", "ground"}};
    // clang-format on
    for (const auto& [base, path, result] : joined) EXPECT_EQ(join(base, path), result) << base << " " << path;
    for (const auto& [path, result] : collapsed) EXPECT_EQ(collapse(path), result) << path;
    for (const auto& [path, above, last] : parents) {
        EXPECT_EQ(parent(path), above) << path;
        EXPECT_EQ(name(path), last) << path;
    }
    EXPECT_TRUE(isValidName("_a9"));
    for (const char* bad : {"", "9a", "a b", "a/b", "..", "\xe4"}) EXPECT_FALSE(isValidName(bad)) << bad;
}

TEST(UT_NodePath, RelativePathsLeadBack) {
    using namespace UT_NodePath;
    EXPECT_EQ(getRelativePath("/obj/fx/floor", "/obj/ground/grid1"), "../../ground/grid1");
    EXPECT_EQ(getRelativePath("/obj/a", "/obj/a"), ".");
    EXPECT_EQ(getRelativePath("/obj/a", "/obj/ab"), "../ab"); // not a prefix of names
    EXPECT_EQ(getRelativePath("a", "/b"), "");
    const char* paths[] = {"/", "/obj", "/obj/a", "/obj/a/b/c", "/shop/s", "/obj/ab"};
    for (const char* from : paths)
        for (const char* to : paths) EXPECT_EQ(join(from, getRelativePath(from, to)), to) << "from " << from;
}

TEST(UT_NearestName, SuggestsWhatWasMeant) {
    const std::vector<std::string> names = {"force", "fan", "collision", "speedlimit", "softlimit", "VX", "v"};
    // clang-format off
    const char* const meant[][2] = {
        {"forec", "force"}, {"colision", "collision"}, {"SPEEDLIMIT", "speedlimit"}, {"sofltimt", "softlimit"},
        {"VXX", "VX"}, {"fna", "fan"}, {"V", "v"}, /* case alone is nearer than another letter */ {"zz", ""},
        {"gravity", ""}, {"", ""}};
    // clang-format on
    for (const auto& [typed, name] : meant) EXPECT_EQ(nearestName(typed, names), name) << typed;
    EXPECT_EQ(nearestName(std::string(100000, 'f'), names), "");
    EXPECT_EQ(nearestName("fan", {std::string(100000, 'f'), ""}), "");
    EXPECT_EQ(nearestName("ab", {"abc", "abd"}), "abc");   // the first of equals
    EXPECT_EQ(nearestName("V", {"HV", "VX", "VY"}), "VX"); // that go on from what was typed
}
