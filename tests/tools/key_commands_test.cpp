// Dates, keys of addresses and resources, by the bridge and as a person asks for them.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/tools/program.h"
#include "tools/toolkit/toolkit_bridge.h"

namespace corvy::tools {
namespace {

TEST(KeyOperations, AnswerByTheBridge) {
    const TemporaryFolder folder;
    const auto onFile = [&folder](const std::string& operation, const std::string& rest) {
        return R"({"id": 1, "op": "resourceFork.)" + operation + R"(", "args": [")" +
               folder.path("file") + "\", " + rest + "]}";
    };
    struct Case {
        std::string request;
        std::string result;
    };
    const Case cases[] = {
        {R"({"id": 1, "op": "date", "self": "2003-12-13T18:30:02.5Z"})",
         R"({"date": 1071340202.5})"},
        {R"({"id": 1, "op": "date", "self": "Tue [x]"})",
         R"(null, "log": ["Unknown date: Tue [x]"])"},
        {R"({"id": 1, "op": "date", "self": null})", "null"},
        {R"({"id": 1, "op": "dateFromHTTPHeaderValue", "self":
            "Thu, 15 Jan 2009 10:20:30 GMT"})",
         R"({"date": 1232014830})"},
        {R"({"id": 1, "op": "dateFromHTTPHeaderValue", "self": "2009"})", "null"},
        // The switches in their order: each but one is on.
        {R"({"id": 1, "op":
            "simplifiedStringURLByRemovingSessionIDs:analytics:indexPages:emptyParams:anchors:",
            "self": "http://a/?sessid=1&utm_term=2&x=#y/index.php",
            "args": [false, true, true, true, true]})",
         R"("http://a/?sessid=1")"},
        {R"({"id": 1, "op":
            "simplifiedStringURLByRemovingSessionIDs:analytics:indexPages:emptyParams:anchors:",
            "self": "http://a/?sessid=1&utm_term=2&x=#y/index.php",
            "args": [true, true, false, true, false]})",
         R"("http://a/?x=#y/index.php")"},
        {R"({"id": 1, "op": "isEqualToStringURL:", "self": "a", "args": ["A/"]})", "true"},
        {R"({"id": 1, "op": "isEqualToStringURL:", "self": "a", "args": [null]})", "false"},
        {R"({"id": 1, "op": "stringByTrimmingSuffixCharacter:", "self": "a//", "args": [47]})",
         R"("a")"},
        {onFile("dataForType:ID:", R"("TEXT", 1)"), "null"},
        {onFile("addData:type:ID:", R"({"bytes": "AAE="}, "TEXT", -1)"), "true"},
        {onFile("addData:type:ID:", R"(null, "TEXT", -1)"), "false"},
        {onFile("addData:type:ID:", R"({"bytes": ""}, "TEXT", 32768)"), "false"},
        {onFile("addString:type:ID:", R"("ab", "STR ", 7)"), "true"},
        {onFile("dataForType:ID:", R"("TEXT", -1)"), R"({"bytes": "AAE="})"},
        {onFile("dataForType:ID:", R"("STR ", 7)"), R"({"bytes": "AmFi"})"},
        {onFile("dataForType:ID:", R"("STR", 7)"), "null"},
        {onFile("removeType:ID:", R"("TEXT", -1)"), "true"},
        {onFile("removeType:ID:", R"("TEXT", -1)"), "true"},
        {onFile("dataForType:ID:", R"("TEXT", -1)"), "null"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(replyToRequest(c.request), R"({"id": 1, "result": )" + c.result + "}")
            << c.request;
    }
}

TEST(KeyCommands, AnswerAndTellByTheirExitStatus) {
    const TemporaryFolder folder;
    const std::string file = folder.path("file");
    const std::string data = folder.write("data", std::string("a\0b", 3));
    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string out;
    };
    const Case cases[] = {
        {{"date", "2023-08-29T19:59:32.672Z", "1 Jan 2009 00:00 GMT"},
         0,
         "2023-08-29T19:59:32.672Z\n2009-01-01T00:00:00Z\n"},
        {{"date", "foo", "1969-12-31T23:59:59.9996Z"}, 1, "\n1970-01-01T00:00:00Z\n"},
        {{"date", "--seconds", "2003-12-13T18:30:02.5Z"}, 0, "1071340202.5\n"},
        {{"date", "--http", "2003-12-13T18:30:02Z"}, 1, "\n"},
        {{"url", "simplify", "https://WWW.a.org/?utm_term=1&fbclid=2"},
         0,
         "http://a.org/?fbclid=2\n"},
        {{"url", "simplify", "--tracking", "--keep-index", "http://a/index.html?fbclid=2"},
         0,
         "http://a/index.html\n"},
        {{"url", "equal", "http://a/#x", "HTTP://A"}, 0, ""},
        {{"url", "equal", "http://a", "https://a"}, 1, ""},
        {{"rsrc", "list", file}, 1, ""},
        {{"rsrc", "remove", file, "TEXT", "1"}, 1, ""},
        {{"rsrc", "set", file, "TEXT", "-1", data}, 0, ""},
        {{"rsrc", "set", file, "\xC2\xA9TR ", "2", "--text", "ab"}, 0, ""},
        {{"rsrc", "get", file, "TEXT", "-1"}, 0, std::string("a\0b", 3)},
        {{"rsrc", "list", file}, 0, "TEXT\t-1\t3\n\xC2\xA9TR \t2\t3\n"},
        {{"rsrc", "remove", file, "TEXT", "-1"}, 0, ""},
        {{"rsrc", "get", file, "TEXT", "-1"}, 1, ""},
        {{"rsrc", "get", file, "TEX", "1"}, 2, ""},
        {{"rsrc", "get", file, "TEXT", "32768"}, 2, ""},
        {{"rsrc", "set", file, "TEXT", "1", folder.path("missing")}, 1, ""},
    };
    for (const Case& c : cases) {
        Program program(c.arguments);
        const std::string name = testing::PrintToString(c.arguments);
        EXPECT_EQ(program.wait(), c.status) << name;
        EXPECT_EQ(program.out(), c.out) << name;
        EXPECT_EQ(program.err().empty(), c.status == 0 || c.arguments[1] == "equal") << name;
    }
}

TEST(KeyCommands, LeaveReadOnlyFilesAlone) {
    const TemporaryFolder folder;
    ::chmod(folder.path().c_str(), 0755);
    const std::string file = folder.write("file", "x");
    const auto isRefused = [&file] {
        Program program({"rsrc", "set", file, "TEXT", "1", "--text", "x"}, {.unprivileged = true});
        return program.wait() == 1;
    };
    ::chmod(file.c_str(), 0444);
    EXPECT_TRUE(isRefused());
    // A folder in which no sidecar can be made.
    ::chmod(file.c_str(), 0666);
    ::chmod(folder.path().c_str(), 0555);
    EXPECT_TRUE(isRefused());
    ::chmod(folder.path().c_str(), 0755);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

}  // namespace
}  // namespace corvy::tools
