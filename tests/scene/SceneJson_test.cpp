#include "scene/JsonStream.h"
#include "scene/SceneJson.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

std::string failure(const std::string& text, const SceneJson::Limits& limits = {}) {
    SceneJson json;
    SceneJson::Failure why;
    if (SceneJson::parse(text, json, why, limits)) return "";
    EXPECT_TRUE(json.isNull());
    return std::to_string(why.line) + ": " + why.what;
}

} // namespace

TEST(SceneJson, ReadsCommentsAndKeepsOrderAndLines) {
    SceneJson json;
    SceneJson::Failure why;
    ASSERT_TRUE(SceneJson::parse(
        "// head\n{\"b\": [1, -2.5e1, true], /* in\nside */ \"a\": {\"t\": \"x\\u00e9\"},\n\"n\": null}", json, why));
    ASSERT_EQ(json.members().size(), 3u);
    EXPECT_EQ(json.members()[0].first, "b");
    EXPECT_EQ(json.find("b")->items()[1].number(), -25);
    EXPECT_EQ(json.find("a")->find("t")->text(), "x\xc3\xa9");
    EXPECT_EQ(json.find("a")->line(), 3u);
    EXPECT_EQ(json.toText(), "{\"b\":[1,-25,true],\"a\":{\"t\":\"x\xc3\xa9\"},\"n\":null}");
}

TEST(SceneJson, ErrorsNameTheLine) {
    const std::pair<const char*, const char*> cases[] = {
        {"{\n\"a\": 1,\n\"b\" 2}", "3: "},
        {"{\"a\": 1} {", "1: "},
        {"", ""},
        {"{\"a\": \"\xff\"}", ""},
        {"[1,\n1e999]", "2: the number 1e999 is too large"},
        {"[1,\n\n]", "3: unexpected ']'; expected '[', '{', or a literal"},
        {"{\"a\": 1,\n \"b\": {\"a\": 2},\n \"a\": 3}", "3: the key \"a\" stands here twice"},
    };
    for (const auto& [text, start] : cases) {
        EXPECT_TRUE(failure(text).starts_with(start)) << failure(text);
        EXPECT_NE(failure(text), "");
    }
}

TEST(SceneJson, LimitsHold) {
    EXPECT_EQ(failure(std::string(128, '[') + std::string(128, ']')), "");
    EXPECT_EQ(failure(std::string(5000000, '[')), "1: values may be nested at most 128 deep") << "far past any stack";
    SceneJson::Limits small;
    small.bytes = 10;
    EXPECT_EQ(failure("[1,2,3,4,5]", small), "0: the file has 11 bytes; at most 10 are read");
    small = {};
    small.nodes = 3;
    EXPECT_EQ(failure(R"({"obj": [{}, {"nodes": [{}]}]})", small), "");
    EXPECT_EQ(failure("{\"obj\": [{}, {\"nodes\": [{},\n{}]}]}", small), "2: a scene may have at most 3 nodes");
    EXPECT_EQ(failure(R"({"list": [{}, {}, {}, {}, {}]})", small), "");
}

TEST(JsonText, IsAlwaysValidJson) {
    const std::string wild =
        std::string("a\"\\\n\t\x01\x7f\xc3\xa9") + "\xff\xed\xa0\x80\xc0\x80\xf0\x9f\x98\x80\xe2\x82";
    std::string text;
    JsonText::string(text, wild);
    SceneJson json;
    SceneJson::Failure why;
    ASSERT_TRUE(SceneJson::parse(text, json, why)) << text << why.what;
    EXPECT_EQ(json.text().substr(0, 9), "a\"\\\n\t\x01\x7f\xc3\xa9");
    EXPECT_NE(json.text().find("\xf0\x9f\x98\x80"), std::string::npos);
    text.clear();
    JsonText::number(text, std::numeric_limits<float>::quiet_NaN());
    JsonText::number(text, -std::numeric_limits<double>::infinity());
    JsonText::number(text, -0.0f);
    JsonText::number(text, -0.1f);
    EXPECT_EQ(text, "\"nan\"\"-inf\"-0.0-0.1");
}
