#include "platform/rich_text/rtf_writer.h"

#include <gtest/gtest.h>

namespace corvy::platform {
namespace {

namespace attribute = document_attribute;

TEST(RtfWriter, WritesTheWholeDocument) {
    RichDocument document;
    AttributedText& text = document.text;
    const TextStyle red{.size = 9.96, .italic = true, .color = RgbColor{255, 0, 51}};
    TextStyle link = red;
    link.link = u"http://a.b/\"c\\";
    text.append(u"A {b}\\\n", {.font = u"Times", .size = 18, .bold = true});
    text.append(u"\x20AC\x00E9 \xD83D\xDE00\t", {.size = 9.96, .italic = true});
    text.append(u"red", red);
    text.append(u"link", link);
    text.append(u"\x2028.", red);
    document.attributes = {{attribute::kTitle, u"T\x00E9"},
                           {attribute::kKeywords, Array{u"a", u"b"}},
                           {attribute::kPaperSize, u"{612, 792}"},
                           {attribute::kLeftMargin, 72.0}};
    EXPECT_EQ(rtfOf(document),
              "{\\rtf1\\ansi\\ansicpg1252\\cocoartf2822\n"
              "\\cocoatextscaling0\\cocoaplatform0{\\fonttbl\\f0\\froman\\fcharset0 Times-Bold;\n"
              "\\f1\\fswiss\\fcharset0 Helvetica-Oblique;}\n"
              "{\\colortbl;\\red255\\green255\\blue255;\\red255\\green0\\blue51;}\n"
              "{\\*\\expandedcolortbl;;\\cssrgb\\c100000\\c0\\c20000;}\n"
              "{\\info\n{\\title T\\uc0\\u233 }{\\keywords a, b}}\n"
              "\\paperw12240\\paperh15840\\margl1440\n"
              "\\pard\\pardirnatural\\partightenfactor0\n"
              "\n\\f0\\b\\fs36 \\cf0 A \\{b\\}\\\\\\\n"
              "\n\\f1\\i\\b0\\fs20 \\uc0\\u8364 \\uc0\\u233  \\uc0\\u-10179 \\u-8704 \\tab "
              "\n\\cf2 red{\\field{\\*\\fldinst{HYPERLINK \"http://a.b/\\\\\"c\\\\\\\\\"}}"
              "{\\fldrslt link}}\\line .}");
}

TEST(RtfWriter, KeepsForeignNamesAndNumbersInsideTheFormat) {
    RichDocument document;
    document.text.append(std::u16string(u"a\0\x0007\x007Fz", 5),
                         {.font = u"A;B}\\C", .size = 1e9, .kern = -1e300});
    document.text.setParagraphStyle({.headIndent = 1e300, .lineHeightMultiple = 1e9});
    document.attributes = {{attribute::kViewZoom, 1e300}, {attribute::kLeftMargin, -1e300}};
    const std::string rtf = rtfOf(document);
    for (const char* part :
         {"\\fcharset0 A-B--C;}", "\\fs8000", "\\expndtw-1000000 \\cf0 az}",
          "\\li1000000\\fi-1000000\\sl240000\\slmult1", "\\viewscale10000", "\\margl-1000000"}) {
        EXPECT_NE(rtf.find(part), std::string::npos) << part << "\n" << rtf;
    }
    EXPECT_NE(rtfOf({}).find("\\fonttbl\\f0\\fswiss\\fcharset0 Helvetica;"), std::string::npos);
}

}  // namespace
}  // namespace corvy::platform
