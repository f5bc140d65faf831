#include "foundation/text.h"

#include <gtest/gtest.h>

#include <limits>

namespace corvy {
namespace {

TEST(Text, DecodesUtf8ReplacingMaximalIllFormedParts) {
    struct Case {
        const char* name;
        std::string bytes;
        std::u16string text;
    };
    const Case cases[] = {
        {"plain", "abc", u"abc"},
        {"two, three and four bytes", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", u"é€\xD83D\xDE00"},
        {"stray continuation", "a\x80z", u"a\xFFFDz"},
        {"overlong slash", "\xC0\xAF", u"\xFFFD\xFFFD"},
        {"overlong three bytes", "\xE0\x80\x80", u"\xFFFD\xFFFD\xFFFD"},
        {"encoded surrogate", "\xED\xA0\x80", u"\xFFFD\xFFFD\xFFFD"},
        {"past U+10FFFF", "\xF4\x90\x80\x80", u"\xFFFD\xFFFD\xFFFD\xFFFD"},
        {"cut short at the end is one part", "a\xF0\x9F\x98", u"a\xFFFD"},
        {"cut short, then a letter", "\xE2\x82z", u"\xFFFDz"},
        {"last valid character", "\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(fromUtf8(c.bytes), c.text) << c.name;
        const bool clean = c.text.find(u'\xFFFD') == std::u16string::npos;
        EXPECT_EQ(fromStrictUtf8(c.bytes).has_value(), clean) << c.name;
        if (clean) {
            EXPECT_EQ(toUtf8(c.text), c.bytes) << c.name;
        }
    }
    EXPECT_EQ(toUtf8(u"a\xD800z\xDC00"), "a\xEF\xBF\xBDz\xEF\xBF\xBD");
}

TEST(Text, PathsOfAnyBytesSurvive) {
    for (const std::string& path :
         {std::string("/tmp/\xC3\xA9"), std::string("a\xFF\xC3\xED\xA0\x80"),
          std::string("\xF0\x9F"), std::string()}) {
        EXPECT_EQ(bytesOfPath(pathFromBytes(path)), path);
    }
    EXPECT_EQ(pathFromBytes("\xFF"), u"\xDCFF");
    EXPECT_EQ(bytesOfPath(std::u16string(u"a\0b", 3)), std::nullopt);
    EXPECT_EQ(bytesOfPath(u"\xD83D"), "\xEF\xBF\xBD");  // not one of our escapes
}

TEST(Text, PathParts) {
    struct Case {
        const char16_t* path;
        const char16_t* last;
        const char16_t* extension;
    };
    const Case cases[] = {
        {u"/a/b.txt", u"b.txt", u"txt"},
        {u"b.tar.gz", u"b.tar.gz", u"gz"},
        {u"/a.d/b", u"b", u""},
        {u"/a/b.rtfd/", u"b.rtfd", u"rtfd"},
        {u"/.profile", u".profile", u""},
        {u"a.", u"a.", u""},
        {u"/", u"/", u""},
        {u"", u"", u""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(lastPathComponent(c.path), c.last);
        EXPECT_EQ(pathExtension(c.path), c.extension);
    }
}

TEST(Text, ComparesWithoutCase) {
    EXPECT_TRUE(equalNoCase(u"ÄÖ quartz", u"äö QUARTZ"));
    EXPECT_FALSE(equalNoCase(u"ß", u"ss"));
    EXPECT_TRUE(containsNoCase(u"the compart company", u"Compart"));
    EXPECT_TRUE(containsNoCase(u"x", u""));
    EXPECT_FALSE(containsNoCase(u"Compar", u"Compart"));
    EXPECT_TRUE(hasSuffixNoCase(u"System 10 quartz pdfcontext", u"Quartz PDFContext"));
    EXPECT_FALSE(hasSuffixNoCase(u"Quartz PDFContext 2", u"Quartz PDFContext"));
    EXPECT_TRUE(isWellFormed(u"a\xD83D\xDE00"));
    EXPECT_FALSE(isWellFormed(u"\xDE00\xD83D"));
    EXPECT_FALSE(isWellFormed(u"a\xD83D"));
}

TEST(Text, TrimsWhiteAtBothEnds) {
    EXPECT_EQ(trimWhite(u"\uFEFF\u00A0 a b\t\r\n"), u"a b");
    EXPECT_EQ(trimWhite(u" \n"), u"");
    EXPECT_EQ(trimWhite(u"\u200Ba"), u"\u200Ba");
}

TEST(Text, ReadsTheLeadingInteger) {
    struct Case {
        std::u16string_view text;
        std::int64_t value;
    };
    static constexpr Case cases[] = {
        {u"120px", 120},
        {u" \n-5%", -5},
        {u"+7", 7},
        {u"", 0},
        {u"-", 0},
        {u"- 5", 0},
        {u"--5", 0},
        {u"x1", 0},
        {u"0x10", 0},
        {u"\u0663", 0},
        {u"9223372036854775807", 9223372036854775807},
        {u"9223372036854775808", 9223372036854775807},
        {u"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
        {u"-99999999999999999999", std::numeric_limits<std::int64_t>::min()},
    };
    for (const Case& c : cases) EXPECT_EQ(integerValue(c.text), c.value);
}

}  // namespace
}  // namespace corvy
