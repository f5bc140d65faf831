// Which switch is which argument.
#include <gtest/gtest.h>

#include "tools/toolkit/toolkit_bridge.h"

namespace corvy::tools {
namespace {

TEST(PlainTextOperations, TakeSwitchesInTheirOrder) {
    const std::string page =
        R"("self": "<title>t</title><body>&lt;&uuml;\u00E9<pre>c\n\nd</pre><!--googleoff: all-->)"
        R"(g<!--googleon: all--><img alt=i>")";
    const std::string shortest =
        "stringByConvertingHtml2PlainTextNonUmlauted:reformat:onlyBody:googleTags:";
    const std::string middle = shortest + "imageAlts:";
    const std::string longer =
        "stringByConvertingHtml2PlainTextNonUmlauted:reformat:onlyBody:removeJunk:didRemoveJunk:"
        "googleTags:imageAlts:";
    const std::string longest =
        "stringByConvertingHtml2PlainTextEntities:stdEntities:nonUmlauted:reformat:onlyBody:"
        "removeJunk:didRemoveJunk:googleTags:imageAlts:";
    const std::string kept = R"(, "out": {"didRemoveJunk": false})";
    const struct {
        std::string operation, arguments, result, out;
    } cases[] = {
        {"stringByConvertingHtml2PlainTextNonUmlauted:", "1", R"(t<ue\n\nc dg i)", ""},
        {shortest, "1000", R"(t<ue\n\nc dg i)", ""},
        {shortest, "0100", R"(t<üé\n\nc\n\ndg i)", ""},
        {shortest, "0010", R"(<üé\n\nc dg i)", ""},
        {shortest, "0001", R"(t<üé\n\nc d i)", ""},
        {middle, "00000", R"(t<üé\n\nc dg)", ""},
        {middle, "00001", R"(t<üé\n\nc dg i)", ""},
        {longer, "000000", R"(t<üé\n\nc dg)", kept},
        {longer, "000100", R"(<üé\n\nc dg)", kept},
        {longer, "000010", R"(t<üé\n\nc d)", kept},
        {longest, "00000000", R"(t&lt;&uuml;é\n\nc dg)", kept},
        {longest, "10000000", R"(t&lt;üé\n\nc dg)", kept},
        {longest, "01000000", R"(t<&uuml;é\n\nc dg)", kept},
        {longest, "11100000", R"(t<ue\n\nc dg)", kept},
        {longest, "00010000", R"(t&lt;&uuml;é\n\nc\n\ndg)", kept},
        {longest, "00001000", R"(&lt;&uuml;é\n\nc dg)", kept},
        {longest, "00000100", R"(&lt;&uuml;é\n\nc dg)", kept},
        {longest, "00000010", R"(t&lt;&uuml;é\n\nc d)", kept},
        {longest, "00000001", R"(t&lt;&uuml;é\n\nc dg i)", kept},
    };
    for (const auto& c : cases) {
        std::string arguments;
        for (const char digit : c.arguments) {
            arguments +=
                std::string(arguments.empty() ? "" : ", ") + (digit == '1' ? "true" : "false");
        }
        const std::string request = R"({"id": 1, "op": ")" + c.operation + R"(", )" + page +
                                    R"(, "args": [)" + arguments + "]}";
        EXPECT_EQ(replyToRequest(request),
                  R"({"id": 1, "result": ")" + c.result + '"' + c.out + "}")
            << c.operation << ' ' << c.arguments;
    }
}

}  // namespace
}  // namespace corvy::tools
