#include "platform/rich_text/rtf_writer.h"

#include <gtest/gtest.h>

#include "platform/rich_text/flat_rtfd.h"

namespace corvy::platform {
namespace {

TEST(RtfWriter, WritesTheWholeDocument) {
    AttributedText text;
    text.append(u"A {b}\\\n", {.font = u"Times-Bold", .size = 18, .bold = true});
    text.append(u"\x20AC\x00E9 \xD83D\xDE00\t", {.size = 9.96, .italic = true});
    text.append(u"red", {.size = 9.96, .italic = true, .color = RgbColor{255, 0, 51}});
    text.append(u"end", {.font = u"Times-Bold", .size = 9.96, .color = RgbColor{255, 0, 51}});
    EXPECT_EQ(rtfOf(text),
              "{\\rtf1\\ansi\\ansicpg1252\\cocoartf2822\n"
              "\\cocoatextscaling0\\cocoaplatform0{\\fonttbl\\f0\\froman\\fcharset0 Times-Bold;\n"
              "\\f1\\fswiss\\fcharset0 Helvetica;}\n"
              "{\\colortbl;\\red255\\green255\\blue255;\\red255\\green0\\blue51;}\n"
              "{\\*\\expandedcolortbl;;\\cssrgb\\c100000\\c0\\c20000;}\n"
              "\\pard\\pardirnatural\\partightenfactor0\n"
              "\n\\f0\\b\\fs36 \\cf0 A \\{b\\}\\\\\\\n"
              "\n\\f1\\i\\b0\\fs20 \\uc0\\u8364 \\uc0\\u233  \\uc0\\u-10179 \\u-8704 \\tab "
              "\n\\cf2 red"
              "\n\\f0\\i0 end}");
}

TEST(RtfWriter, KeepsForeignNamesAndSizesInsideTheFormat) {
    AttributedText text;
    text.append(std::u16string(u"a\0\x0007\x007Fz", 5), {.font = u"A;B}\\\x00E9 C", .size = 1e9});
    const std::string rtf = rtfOf(text);
    EXPECT_NE(rtf.find("\\fcharset0 A-B----C;}"), std::string::npos);
    EXPECT_NE(rtf.find("\\fs8000 \\cf0 az}"), std::string::npos);
    EXPECT_NE(rtfOf(AttributedText()).find("\\fonttbl\\f0\\fswiss\\fcharset0 Helvetica;"),
              std::string::npos);
}

TEST(Rtfd, HasTheFlatLayoutByteForByte) {
    using namespace std::string_literals;
    EXPECT_EQ(flatRtfdOf("{\\rtf1}", {}, 0x68844313),
              "rtfd\0\0\0\0\3\0\0\0"
              "\2\0\0\0\7\0\0\0TXT.rtf\1\0\0\0."
              "\x0F\0\0\0\x2B\0\0\0"
              "\1\0\0\0\7\0\0\0{\\rtf1}"
              "\1\0\0\0\x23\0\0\0"
              "\1\0\0\0\7\0\0\0TXT.rtf\x10\0\0\0\x13\x43\x84\x68\xB6\1\0\0\0\0\0\0\0\0\0\0"s);
    EXPECT_EQ(flatRtfdOf("R", {{"a.png", "xyz"}}, 1),
              "rtfd\0\0\0\0\3\0\0\0"
              "\3\0\0\0\7\0\0\0TXT.rtf\5\0\0\0a.png\1\0\0\0."
              "\x09\0\0\0\x0B\0\0\0\x48\0\0\0"
              "\1\0\0\0\1\0\0\0R"
              "\1\0\0\0\3\0\0\0xyz"
              "\1\0\0\0\x40\0\0\0"
              "\2\0\0\0\7\0\0\0TXT.rtf\x10\0\0\0\1\0\0\0\xB6\1\0\0\0\0\0\0\0\0\0\0"
              "\5\0\0\0a.png\x10\0\0\0\1\0\0\0\xB6\1\0\0\0\0\0\0\0\0\0\0"s);
    // The size of a real one with an RTF of 356 bytes.
    EXPECT_EQ(flatRtfdOf(std::string(356, ' ')).size(), 447U);
}

}  // namespace
}  // namespace corvy::platform
