#include "foundation/json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace corvy {
namespace {

using namespace std::string_literals;

TEST(Json, WritesEveryKindInItsForm) {
    struct Case {
        const char* name;
        PropertyList value;
        const char* json;
    };
    const Case cases[] = {
        {"null", Null(), "null"},
        {"true", true, "true"},
        {"32-bit integer", std::int32_t{-7}, "-7"},
        {"largest 64-bit integer", std::numeric_limits<std::int64_t>::max(), "9223372036854775807"},
        {"float keeps its own shortest form", 0.1F, "0.1"},
        {"double", 2.5, "2.5"},
        {"not a number", std::nan(""), "null"},
        {"quotes, backslash, controls", u"a\"\\\n\x01", R"("a\"\\\n\u0001")"},
        {"U+0000 inside", std::u16string(u"a\0b", 3), R"("a\u0000b")"},
        {"pair stays, lone halves escape", u"\xD83D\xDE00 \xD83D x\xDE00",
         "\"\xF0\x9F\x98\x80 \\ud83d x\\ude00\""},
        {"bytes", Bytes::copyOf("\xFF\x00\x10"s), R"({"bytes": "/wAQ"})"},
        {"date", Date{1.5}, R"({"date": 1.5})"},
        {"url", Url{u"http://x/"}, R"({"url": "http://x/"})"},
        {"dictionary", Dictionary{{u"b", Array{Null(), true}}, {u"a", Dictionary{}}},
         R"({"dict": {"b": [null, true], "a": {"dict": {}}}})"},
    };
    for (const Case& c : cases) EXPECT_EQ(jsonOf(c.value), c.json) << c.name;
    EXPECT_EQ(jsonOf(Dictionary{{u"a", Array{std::int32_t{1}, std::int32_t{2}}}},
                     {.pretty = true, .plainDictionaries = true}),
              "{\n  \"a\": [\n    1,\n    2\n  ]\n}");
}

TEST(Json, ReadsWhatItWroteAndRejectsTheRest) {
    const char* good[] = {
        R"({"a": [1, -2, 3.5, true, false, null, "x"], "b": {}})",
        R"(["\ud83d", "\udc80x", "\ud83d\ude00", "\u0000"])",
        "[]",
        "-0.5",
    };
    for (const char* json : good) {
        const auto value = propertyListOfJson(json);
        ASSERT_TRUE(value) << json;
        EXPECT_EQ(propertyListOfJson(jsonOf(*value, {.plainDictionaries = true})), value) << json;
    }
    EXPECT_EQ(propertyListOfJson(R"("\ud83d\u0041")"), PropertyList(u"\xD83D\x0041"));
    EXPECT_EQ(propertyListOfJson("18446744073709551616"), PropertyList(18446744073709551616.0));

    const std::string deep(100'000, '[');
    const std::string bad[] = {
        "",         "{",         "[1,]", "{\"a\":}", "{\"a\" 1}", "nul",
        "01",       "+1",        ".5",   "1.",       "1.e5",      "-",
        "\"\\x\"",  "\"\\u12\"", "\"a",  "1 2",      "\"\xFF\"",  "\"\xED\xA0\x80\"",
        "\"a\nb\"", "{1: 2}",    deep};
    for (const std::string& json : bad) {
        EXPECT_FALSE(propertyListOfJson(json)) << json.substr(0, 20);
    }
}

TEST(Json, Base64BothWays) {
    struct Case {
        std::string bytes;
        const char* text;
    };
    const Case cases[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"\xFB\xFF", "+/8="}};
    for (const Case& c : cases) {
        EXPECT_EQ(base64Of(c.bytes), c.text);
        EXPECT_EQ(bytesOfBase64(c.text), c.bytes);
    }
    EXPECT_EQ(bytesOfBase64("Zm\n9v "), "foo");
    for (const char* bad : {"Z", "Zg=", "Zg=a", "Z*==", "====", "Zm9v="}) {
        EXPECT_FALSE(bytesOfBase64(bad)) << bad;
    }
}

}  // namespace
}  // namespace corvy
