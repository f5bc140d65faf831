#include "tools/call_values.h"

#include <stdexcept>

#include "client/im_export.h"
#include "foundation/text.h"
#include "tests/support/temporary_folder.h"

namespace corvy::tools {

namespace {

using test::TemporaryFolder;

const RemoteArgument kObject{"value", RemoteType::object};
const RemoteArgument kFlag{"flag", RemoteType::flag};
const RemoteArgument kSize{"size", RemoteType::size};

std::vector<RemoteValue> argumentsFor(std::string_view selector, std::vector<std::string> texts) {
    return argumentsOf(*CorvyImExport().methodForSelector(selector), texts);
}

}  // namespace

TEST(CallValues, ReadsArguments) {
    const TemporaryFolder folder;
    const std::string file = folder.write("doc", "%PDF");
    struct Case {
        std::string text;
        RemoteValue value;
    };
    const Case cases[] = {
        {"null", std::nullopt},
        {"true", PropertyList(true)},
        {"-7", PropertyList(std::int64_t{-7})},
        {"9223372036854775807", PropertyList(std::int64_t{INT64_MAX})},
        {"9223372036854775808", PropertyList(u"9223372036854775808")},
        {"7x", PropertyList(u"7x")},
        {"", PropertyList(u"")},
        {"True", PropertyList(u"True")},
        {"str:true", PropertyList(u"true")},
        {"str:", PropertyList(u"")},
        {"str:@x", PropertyList(u"@x")},
        {"n\xC3\xA4\xFF", PropertyList(u"nä\xDCFF")},
        {"url:http://a/b", PropertyList(Url{u"http://a/b"})},
        {"@" + file, PropertyList(Bytes::copyOf(std::string_view("%PDF")))},
    };
    for (const Case& c : cases) EXPECT_EQ(argumentOf(c.text, kObject), c.value) << c.text;

    EXPECT_EQ(argumentOf("false", kFlag), PropertyList(false));
    EXPECT_EQ(argumentOf("0", kSize), PropertyList(std::int64_t{0}));
    EXPECT_THROW(argumentOf("0", kFlag), std::invalid_argument);
    EXPECT_THROW(argumentOf("null", kFlag), std::invalid_argument);
    EXPECT_THROW(argumentOf("true", kSize), std::invalid_argument);
    EXPECT_THROW(argumentOf("@" + folder.path("missing"), kObject), std::runtime_error);
}

TEST(CallValues, CompletesRelativePathsOnly) {
    const auto here = std::filesystem::current_path().string();
    struct Case {
        std::string text;
        std::string path;
    };
    const Case cases[] = {{"a b.pdf", here + "/a b.pdf"}, {"/a", "/a"}, {"str:a", "a"}, {"", ""}};
    for (const Case& c : cases) {
        EXPECT_EQ(argumentsFor("supportsFile:", {c.text})[0], PropertyList(fromUtf8(c.path)))
            << c.text;
    }
    EXPECT_EQ(argumentsFor("supportsFile:", {"null"})[0], std::nullopt);
    EXPECT_EQ(argumentsFor("RTFDWithHTML:baseURL:allowRemoteRequest:charset:",
                           {"null", "url:http://h/", "false", "utf-8"})[3],
              PropertyList(u"utf-8"));
    EXPECT_THROW(argumentsFor("supportsFile:", {}), std::invalid_argument);
    EXPECT_THROW(argumentsFor("supportsFile:", {"a", "b"}), std::invalid_argument);
}

TEST(CallValues, WritesResults) {
    EXPECT_EQ(jsonOfResult(std::nullopt, {}), "null");
    EXPECT_EQ(jsonOfResult(PropertyList(true), {}), "true");
    const auto bytes = [](std::string_view text) { return PropertyList(Bytes::copyOf(text)); };
    const PropertyList result(Dictionary{
        {u"String", u"x"},
        {u"Thumb/nail", bytes(std::string_view("II*\0rest", 8))},
        {u"Inner", Dictionary{{u"Thumb/nail", bytes("%PDF-1")}}},
        {u"List", Array{bytes("?"), bytes("")}},
    });
    EXPECT_EQ(jsonOfResult(Dictionary{{u"B", bytes("abc")}}, {}),
              R"({"dict": {"B": {"bytes": "YWJj"}}})");

    const TemporaryFolder folder;
    EXPECT_EQ(
        jsonOfResult(result, {.outFolder = folder.path()}),
        R"({"dict": {"String": "x", "Thumb/nail": {"file": "Thumb_nail.tiff", "length": 8}, )"
        R"("Inner": {"dict": {"Thumb/nail": {"file": "Thumb_nail-2.pdf", "length": 6}}}, )"
        R"("List": [{"file": "List.bin", "length": 1}, {"file": "List-2.bin", "length": 0}]}})");
    EXPECT_EQ(folder.read("Thumb_nail-2.pdf"), "%PDF-1");
    EXPECT_EQ(jsonOfResult(bytes("{\\rtf1}"), {.outFolder = folder.path()}),
              R"({"file": "result.rtf", "length": 7})");
    EXPECT_THROW(jsonOfResult(bytes("x"), {.outFolder = folder.path("missing")}),
                 std::runtime_error);
}

}  // namespace corvy::tools
