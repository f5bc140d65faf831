#include "tools/toolkit/toolkit_bridge.h"

#include <gtest/gtest.h>

#include <span>
#include <sstream>

#include "foundation/user_defaults.h"

namespace corvy::tools {
namespace {

struct Case {
    const char* name;
    std::string request;
    std::string reply;
};

void expectReplies(std::span<const Case> cases) {
    for (const Case& c : cases) EXPECT_EQ(replyToRequest(c.request), c.reply) << c.name;
}

TEST(ToolkitBridge, CallsOperations) {
    const Case cases[] = {
        {"string", R"({"id": 7, "op": "stripTag:", "self": "a<b>c</b>", "args": ["B"]})",
         R"({"id": 7, "result": "ac"})"},
        {"any identifier", R"({"op": "htmlTitle", "id": {"a": [1.5, null]}, "self": ""})",
         R"({"id": {"a": [1.5, null]}, "result": ""})"},
        {"none", R"({"id": "x", "op": "htmlFavIcon", "self": "<p>"})",
         R"({"id": "x", "result": null})"},
        {"no identifier", R"({"op": "stripTags", "self": "x", "args": null})",
         R"({"id": null, "result": "x"})"},
        {"lone surrogates both ways, pairs as they are",
         R"({"id": 1, "op": "stripTags", "self": "<b>\ud800x\udc00\ud83d\ude00\u0000"})",
         "{\"id\": 1, \"result\": \"\\ud800x\\udc00\xF0\x9F\x98\x80\\u0000\"}"},
        {"booleans", R"({"id": 1, "op":
            "stringByConvertingEntitiesToCharacters:onlyNumericEntities:nonUmlauted:",
            "self": "&lt;&eacute;", "args": [false, false, true]})",
         R"({"id": 1, "result": "&lt;e"})"},
        {"range in and out", R"({"id": 1, "op":
            "rangeOfAttributeOfTagCharacters:range:withName:",
            "args": ["..<a href='x'>", {"range": [2, 12]}, "HREF"]})",
         R"({"id": 1, "result": {"range": [11, 1]}})"},
        {"no range", R"({"id": 1, "op": "rangeOfAttributeOfTagCharacters:range:withName:",
            "args": ["<a href='x'>", {"range": [9223372036854775807, 9223372036854775807]}, "HREF"]})",
         R"({"id": 1, "result": {"range": [9223372036854775807, 0]}})"},
        {"list", R"({"id": 1, "op": "htmlImages", "self": "<img src=b><img src=a>"})",
         R"({"id": 1, "result": ["a", "b"]})"},
        {"list of strings", R"({"id": 1, "op": "stripTagBodies:except:", "self": "1<b>2</b>",
            "args": [["<i", "<b"], true]})",
         R"({"id": 1, "result": "<b>2</b>\n"})"},
        {"address",
         R"({"id": 1, "op": "URLRelativeTo:", "self": {"url": "http://a/b"}, "args": ["c"]})",
         R"({"id": 1, "result": {"url": "http://a/c"}})"},
        {"out-parameters",
         R"({"id": 1, "op": "getTagWidth:height:", "self": "<img width=3 height=4>"})",
         R"({"id": 1, "result": true, "out": {"width": 3, "height": 4}})"},
        {"calls of the scanner", R"({"id": 1, "op": "GetTagsOfString", "self": "a<b>c"})",
         R"({"id": 1, "result": true, "out": {"calls": [[2, 1, 1, 3, 0, 1], )"
         R"([9223372036854775807, 0, 5, 0, 4, 0]]}})"},
        {"last argument given",
         R"({"id": 1, "op": "GetTagsOfString", "self": "a<b>c", "args": [1]})",
         R"({"id": 1, "result": true, "out": {"calls": [[2, 1, 1, 3, 0, 1]]}})"},
        {"log", R"({"id": 1, "op": "htmlBaseURL", "self": "<base href=/x>"})",
         R"({"id": 1, "result": null, "log": ["Invalid base: /x"]})"},
        {"bytes and encoding", R"({"id": 1, "op": "tryToCreateStringWithEncoding",
            "args": [{"bytes": "5A=="}, "ISO-8859-1"]})",
         "{\"id\": 1, \"result\": \"\xC3\xA4\", \"out\": {\"replacements\": 0}}"},
        {"unit", R"({"id": 1, "op": "umlautsToUpperAscii", "args": [246]})",
         R"({"id": 1, "result": 79})"},
        {"dictionary",
         R"({"id": 1, "op": "htmlMetaAttributes", "self": "<meta name=A content=b>"})",
         R"({"id": 1, "result": {"dict": {"a": "b"}}})"},
        {"dictionaries inside", R"({"id": 1, "op": "getItemsOfFeed:",
            "self": "<rss><item><link>/l</link><enclosure url=u /></item>",
            "args": [{"url": "http://a/"}]})",
         R"({"id": 1, "result": [{"dict": {"title": "", "description": "", "content": "", )"
         R"("author": "", "enclosures": [{"dict": {"url": "u"}}], "date": "", )"
         R"("link": "http://a/l"}}]})"},
        {"a dictionary's own values", R"({"id": 1, "op": "isEmptyFeedItem", "self": {"dict": {
            "calendarDate": {"date": 1.5}, "enclosures": [{"dict": {}}], "content": "x"}}})",
         R"({"id": 1, "result": false})"},
        {"text in capitals", R"({"id": 1, "op": "isMarkupMIMEType", "self": "Text/CSS"})",
         R"({"id": 1, "result": true})"},
        {"RSS in capitals is none",
         R"({"id": 1, "op": "isMarkupMIMEType", "self": "application/RSS"})",
         R"({"id": 1, "result": false})"},
        {"but with XML", R"({"id": 1, "op": "isMarkupMIMEType", "self": "application/RSS+xml"})",
         R"({"id": 1, "result": true})"},
        {"only of applications", R"({"id": 1, "op": "isMarkupMIMEType", "self": "image/svg+xml"})",
         R"({"id": 1, "result": false})"},
        {"types of web archives", R"({"id": 1, "op": "webArchiveFileTypes"})",
         R"({"id": 1, "result": ["webarchive", "WEBARCHIVE"]})"},
        {"no web archive",
         R"({"id": 1, "op": "searchableTextOfFile:baseURL:source:", "args": ["/nowhere"]})",
         R"({"id": 1, "result": null, "out": {"baseURL": null, "source": null}})"},
        {"class by name", R"({"id": 1, "op": "equalStringsNoCaseUsingCharacterSetRep",
            "args": ["404 A-b", "ab", "letters"]})",
         R"({"id": 1, "result": true})"},
    };
    expectReplies(cases);
}

TEST(ToolkitBridge, SaysWhatIsWrong) {
    struct Fault {
        const char* name;
        std::string rest;  // of a request with the identifier 7
        std::string message;
    };
    const Fault faults[] = {
        {"no operation", R"("x": 1)", "no operation is named"},
        {"unknown", R"("op": "foo:")", "unknown operation: foo:"},
        {"too few", R"("op": "stripTag:", "self": "a")", "stripTag: takes (string; string)"},
        {"too many", R"("op": "stripTags", "self": "a", "args": ["b"])",
         "stripTags takes (string)"},
        {"no receiver", R"("op": "stripTag:", "args": ["B"])", "stripTag: takes (string; string)"},
        {"a receiver too many", R"("op": "toLower", "self": "a", "args": [65])",
         "toLower takes (; code unit)"},
        {"arguments not in a list", R"("op": "toLower", "args": 65)",
         "toLower takes (; code unit)"},
        {"no unit", R"("op": "toLower", "args": [65536])", "toLower takes (; code unit)"},
        {"number for a boolean", R"("op": "stripTagBodies:except:", "self": "", "args": [[], 1])",
         "stripTagBodies:except: takes (string; list of strings, boolean)"},
        {"no value", R"("op": "isEmptyFeedItem", "self": {"dict": {"a": {"b": 1}}})",
         "isEmptyFeedItem takes (dictionary)"},
        {"a plain object",
         R"("op": "stringByConvertingItemsToDisplayHTML", "self": [{"link": ""}])",
         "stringByConvertingItemsToDisplayHTML takes (list of dictionaries)"},
        {"list of other things", R"("op": "stripTagBodies:", "self": "", "args": [[1]])",
         "stripTagBodies: takes (string; list of strings)"},
        {"negative range", R"("op": "isTagOpenInRange:", "self": "", "args": [{"range": [-1, 2]}])",
         "isTagOpenInRange: takes (string; range)"},
        {"unknown encoding",
         R"("op": "tryToCreateStringWithEncoding", "args": [{"bytes": ""}, "x"])",
         "tryToCreateStringWithEncoding takes (; bytes, encoding)"},
        {"no encoding", R"("op": "tryToCreateStringWithEncoding", "args": [{"bytes": ""}])",
         "tryToCreateStringWithEncoding takes (; bytes, encoding)"},
        {"broken bytes", R"("op": "tryToCreateStringWithEncoding", "args": [{"bytes": "?"}, null])",
         "tryToCreateStringWithEncoding takes (; bytes, encoding)"},
        {"class by a wrong name",
         R"("op": "hasPrefixNoCaseUsingCharacterSetRep", "args": ["", "", "x"])",
         R"(hasPrefixNoCaseUsingCharacterSetRep: the class is letters or alphanumerics)"},
        {"wrong optional", R"("op": "GetTagsOfString", "self": "", "args": ["1"])",
         "GetTagsOfString takes (string; integer or null)"},
    };
    for (const Fault& f : faults) {
        EXPECT_EQ(replyToRequest("{\"id\": 7, " + f.rest + "}"),
                  R"({"id": 7, "error": ")" + f.message + "\"}")
            << f.name;
    }
    for (const char* line : {"{\"id\": 7", "", "\"\xFF\"", "{} {}"}) {
        EXPECT_EQ(replyToRequest(line), R"({"id": null, "error": "not JSON"})") << line;
    }
    EXPECT_EQ(replyToRequest("[1]"), R"({"id": null, "error": "not a request"})");
}

TEST(ToolkitBridge, AnswersLineByLine) {
    std::istringstream in(
        "{\"id\": 1, \"op\": \"setDefault\", \"args\": [\"bridgeTest\", \"v\"]}\nnonsense\n"
        "{\"id\": 2, \"op\": \"stripTags\", \"self\": \"<b>x\"}");
    std::ostringstream out;
    runToolkitBridge(in, out);
    EXPECT_EQ(out.str(),
              "{\"id\": 1, \"result\": null}\n{\"id\": null, \"error\": \"not JSON\"}\n"
              "{\"id\": 2, \"result\": \"x\"}\n");
    EXPECT_EQ(UserDefaults::standard().stringForKey(u"bridgeTest"), u"v");
    replyToRequest(R"({"op": "setDefault", "args": ["bridgeTest", null]})");
    EXPECT_EQ(UserDefaults::standard().stringForKey(u"bridgeTest"), std::nullopt);
}

}  // namespace
}  // namespace corvy::tools
