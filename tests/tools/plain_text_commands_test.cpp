// corvystack text, errorpage and html article as a person runs them.
#include <gtest/gtest.h>

#include "tests/tools/program.h"

namespace corvy::tools {
namespace {

TEST(PlainTextCommands, PrintWhatTheyFind) {
    const TemporaryFolder folder;
    const auto page = [&folder](const char* name, const std::string& content) {
        return folder.write(name, content);
    };
    const std::string html = page("a.html", "<title>t</title><body><p>a<img alt=b><pre>c\nd");
    const std::string german = page("b.html", "<meta charset=gb2312>gr\xC3\xBC\xC3\x9F");
    const std::string chinese = page("c.html", "<meta charset=gb2312>\xC4\xE3");
    const std::string notes = page("d.txt", "1 <2\n\n3>");
    const std::string gone = page("e.html", "<title>404 Not Found</title><body><h1>Not found</h1>");
    std::string words = "word";
    for (int i = 0; i < 120; ++i) words += " word";
    const std::string story = "<h1>A</h1><h2>B</h2>" + words;
    const std::string article =
        page("f.html", "<body><p>menu</p>" + story + "<hr><p>foot</p></body>");
    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string out;
    };
    const Case cases[] = {
        {{"text", html}, 0, "t\n\na b\n\nc d\n"},
        {{"text", "--only-body", "--no-alts", "--reformat", html}, 0, "a\n\nc d\n"},
        {{"text", "--simple", html}, 0, " a c\nd\n"},
        {{"text", german}, 0, "gr\xC3\xBC\xC3\x9F\n"},
        {{"text", chinese}, 0, "\xE4\xBD\xA0\n"},
        {{"text", notes}, 0, "1 <2\n\n3>\n"},
        {{"text", html + ".none"}, 1, ""},
        {{"text"}, 2, ""},
        {{"html", "article", article}, 0, "<body>\n" + story + "\n</body>\n"},
        {{"html", "article", html}, 1, ""},
        {{"html", "article", "--reader", article}, 0, "A\n\nB\n\n" + words + "\n"},
        {{"html", "article", "--reader", page("g.html", "<body> ")}, 1, ""},
        {{"errorpage", gone}, 1, ""},
        {{"errorpage", "--url", "http://a/404.html", gone}, 0, "error page\n"},
        {{"errorpage", "--title", "Home", notes}, 1, ""},
    };
    for (const Case& c : cases) {
        Program program(c.arguments);
        EXPECT_EQ(program.wait(), c.status) << testing::PrintToString(c.arguments);
        EXPECT_EQ(program.out(), c.out) << testing::PrintToString(c.arguments);
    }
}

}  // namespace
}  // namespace corvy::tools
