// The commands on markup, as a person runs them.
#include <gtest/gtest.h>

#include "tests/tools/program.h"

namespace corvy::tools {
namespace {

TEST(MarkupCommands, AnswerAndTellByTheirExitStatus) {
    const TemporaryFolder folder;
    const std::string page = folder.write(
        "page.html",
        "<html><head><meta charset=latin1><title> A &amp; \xE4 </title><meta name=Keywords "
        "content='a,&#10;b'><base href=http://example.org/x><link rel=canonical href=/c>"
        "<link rel='Shortcut icon' href=i.ico></head><body><img src=p.png>text <b>more</b></body>");
    const std::string bare = folder.write("bare.html", "no markup \xE4");
    const std::string feed = folder.write(
        "feed", "<rss><title>\xC3\xA9</title><item><link>/l</link><title>t</title></item>");
    const std::string wideFeed = folder.write(
        "wide", {"\xFE\xFF\0<\0r\0s\0s\0>\0<\0i\0t\0e\0m\0>\0<\0i\0t\0e\0m\0/\0>", 38});
    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string out;
    };
    const Case cases[] = {
        {{"html", "title", page}, 0, "A & \xC3\xA4\n"},
        {{"html", "title", "--raw", page}, 0, " A &amp; \xC3\xA4 \n"},
        {{"html", "title", bare}, 1, ""},
        {{"html", "meta", page}, 0, "keywords: a, b\n"},
        {{"html", "meta", "--name", "KEYWORDS", page}, 0, "a,&#10;b\n"},
        {{"html", "meta", bare}, 1, ""},
        {{"html", "images", page}, 0, "i.ico\np.png\n"},
        {{"html", "icon", page}, 0, "i.ico\n"},
        {{"html", "base", page}, 0, "http://example.org/x\n"},
        {{"html", "base", bare}, 1, ""},
        {{"html", "canonical", page}, 0, "/c\n"},
        {{"html", "strip", "--bodies", "head", "--bodies", "<b>", page},
         0,
         "<html><body><img src=p.png>text </body>\n"},
        {{"html", "strip", "--except", "b", page}, 0, "<base"},
        {{"html", "tags", "--charset", "latin1", bare}, 0, "        no markup \xC3\xA4\n"},
        {{"html", "title", folder.path() + "/missing"}, 1, ""},
        {{"html", "title"}, 2, ""},
        {{"html", "strip", "--tag", "b", "--links", page}, 2, ""},
        {{"feed", "items", "--url", "http://a/b", feed},
         0,
         "{\"title\": \"t\", \"description\": \"\", \"content\": \"\", \"author\": \"\", "
         "\"date\": \"\", \"link\": \"http://a/l\"}\n"},
        {{"feed", "html", "--style", bare, feed}, 0, "<html>\n<head>\n<meta "},
        {{"feed", "items", wideFeed}, 0, "{\"title\": \"\", "},
        {{"feed", "items", page}, 1, ""},
        {{"feed", feed}, 2, ""},
        {{"charset", "detect", page}, 0, "ISO-8859-1\n"},
        {{"charset", "detect", bare}, 1, ""},
        {{"charset", "decode", "--charset", "latin1", bare}, 0, "no markup \xC3\xA4"},
        {{"charset", "name", "utf8", "nonsense"}, 1, "UTF-8\n"},
        {{"entities", "encode", "--standard", folder.write("t", "a<b")}, 0, "a&lt;b"},
        {{"entities", "decode", folder.write("e", "&lt;&eacute;")}, 0, "<\xC3\xA9"},
    };
    for (const Case& c : cases) {
        Program program(c.arguments);
        const int status = program.wait();
        const std::string name = testing::PrintToString(c.arguments);
        EXPECT_EQ(status, c.status) << name;
        // Of long results only the beginning is expected.
        EXPECT_EQ(program.out().substr(0, c.out.size()), c.out) << name;
        EXPECT_EQ(program.out().empty(), c.out.empty()) << name;
    }
}

TEST(MarkupCommands, ServeTheBridge) {
    const TemporaryFolder folder;
    const std::string requests = folder.write(
        "requests", "{\"id\": 1, \"op\": \"stripTags\", \"self\": \"<b>x\"}\nnonsense\n");
    Program program({"toolkit"}, {.input = requests});
    EXPECT_EQ(program.wait(), 0);
    EXPECT_EQ(program.out(),
              "{\"id\": 1, \"result\": \"x\"}\n{\"id\": null, \"error\": \"not JSON\"}\n");
}

}  // namespace
}  // namespace corvy::tools
