#include "host/ut/UT_String.h"

#include "host/ut/UT_NearestName.h"
#include "host/ut/UT_NodePath.h"
#include "host/ut/UT_PatternMatch.h"
#include <gtest/gtest.h>

namespace {

struct GlobCase {
    const char *pattern, *text;
    bool matches;
};

} // namespace

TEST(UT_PatternMatch, Globs) {
    // clang-format off
    const GlobCase cases[] = {
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
    for (const GlobCase& c : cases)
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
    EXPECT_TRUE(name.multiMatch("P Cd v"));
    EXPECT_FALSE(name.multiMatch("P cd v"));
    EXPECT_TRUE(name.multiMatch("P cd v", false));
    EXPECT_FALSE(name.multiMatch("* ^C*"));
    EXPECT_FALSE(name.multiMatch("* !Cd"));
    EXPECT_TRUE(name.multiMatch("^C* *"));
    EXPECT_TRUE(name.multiMatch("* ^C* Cd"));
    EXPECT_FALSE(name.multiMatch("^P"));
    EXPECT_FALSE(name.multiMatch(""));
    EXPECT_FALSE(name.multiMatch("   "));
    EXPECT_TRUE(name.multiMatch("  P   Cd  ", 1, ' '));
    EXPECT_FALSE(name.multiMatch("P,Cd"));
    EXPECT_TRUE(name.multiMatch("P,Cd", true, ", "));
}

TEST(UT_String, NullIsEmpty) {
    const char* none = nullptr;
    UT_String s(none);
    EXPECT_FALSE(s.isstring());
    EXPECT_STREQ(s.c_str(), "");
    s = "a b";
    s += 'c';
    EXPECT_TRUE(s == "a bc" && s != none);
    UT_String mixed("aZ\xe4_9");
    mixed.toUpper();
    EXPECT_EQ(mixed, "AZ\xe4_9");
}

TEST(UT_String, Words) {
    const UT_String s("  one\ttwo \n three  ");
    EXPECT_EQ(s.words(), (std::vector<std::string>{"one", "two", "three"}));
    EXPECT_EQ(s.words(2), (std::vector<std::string>{"one", "two"}));
    EXPECT_TRUE(s.words(0).empty());
    EXPECT_TRUE(UT_String(" ").words().empty());
}

TEST(UT_NodePath, JoinsAndCollapses) {
    using namespace UT_NodePath;
    EXPECT_EQ(join("/obj/fx/floor", "../../ground/grid1"), "/obj/ground/grid1");
    EXPECT_EQ(join("/obj/fx/floor", "/obj/a"), "/obj/a");
    EXPECT_EQ(join("/obj/fx", "."), "/obj/fx");
    EXPECT_EQ(join("/obj/fx", "../.."), "/");
    EXPECT_EQ(join("/obj/fx", "../../.."), "");
    EXPECT_EQ(join("/", "obj"), "/obj");
    EXPECT_EQ(join("/obj", ""), "");
    EXPECT_EQ(collapse("//obj/./a//b/../c/"), "/obj/a/c");
    EXPECT_EQ(collapse("/"), "/");
    EXPECT_EQ(collapse("/.."), "");
    EXPECT_EQ(collapse("../a/.."), "..");
    EXPECT_EQ(collapse("../../b"), "../../b");
    EXPECT_EQ(collapse("a/.."), ".");
    EXPECT_EQ(collapse("a/../../b"), "../b");
    EXPECT_EQ(parent("/obj/ground/grid1"), "/obj/ground");
    EXPECT_EQ(parent("/obj/"), "/");
    EXPECT_EQ(parent("/"), "");
    EXPECT_EQ(parent("grid1"), "");
    EXPECT_EQ(name("/obj/ground/"), "ground");
    EXPECT_EQ(name("grid1"), "grid1");
    EXPECT_EQ(name("/"), "");
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
    EXPECT_EQ(nearestName("forec", names), "force"); // one swap
    EXPECT_EQ(nearestName("colision", names), "collision");
    EXPECT_EQ(nearestName("SPEEDLIMIT", names), "speedlimit");
    EXPECT_EQ(nearestName("sofltimt", names), "softlimit");
    EXPECT_EQ(nearestName("VXX", names), "VX");
    EXPECT_EQ(nearestName("fna", names), "fan");
    EXPECT_EQ(nearestName("V", names), "v"); // case alone is nearer than another letter
    EXPECT_EQ(nearestName("zz", names), "");
    EXPECT_EQ(nearestName("gravity", names), "");
    EXPECT_EQ(nearestName("", names), "");
    EXPECT_EQ(nearestName("x", {}), "");
    EXPECT_EQ(nearestName(std::string(100000, 'f'), names), "");
    EXPECT_EQ(nearestName("fan", {std::string(100000, 'f'), ""}), "");
    EXPECT_EQ(nearestName("ab", {"abc", "abd"}), "abc"); // the first of equals
}
