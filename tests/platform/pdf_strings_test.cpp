#include "platform/pdf_strings.h"

#include <gtest/gtest.h>

#include "foundation/text.h"

namespace corvy::platform {
namespace {

TEST(PdfStrings, DecodesTheThreeEncodings) {
    struct Case {
        const char* name;
        std::string bytes;
        std::u16string text;
    };
    const Case cases[] = {
        {"empty", "", u""},
        {"ASCII", "Plain (text)", u"Plain (text)"},
        {"Latin-1 part", "M\xFCller", u"M\x00FCller"},
        {"dashes, quotes and the euro", "\x84\x8D\x8E\xA0", u"\x2014\x201C\x201D\x20AC"},
        {"ligature, breve, soft hyphen", "\x93\x18\xAD", u"\xFB01\x02D8\x00AD"},
        {"the undefined code", "a\x9Fz", u"a\xFFFDz"},
        {"UTF-16", std::string("\xFE\xFF\0A\x20\xAC\xD8\x3D\xDE\x00", 10), u"A\x20AC\xD83D\xDE00"},
        {"half a unit at the end", std::string("\xFE\xFF\0A\0", 5), u"A"},
        {"little endian",
         std::string("\xFF\xFE"
                     "A\0\xAC\x20",
                     6),
         u"A\x20AC"},
        {"UTF-8", "\xEF\xBB\xBF\xC3\xA9\xE2\x82\xAC", u"\x00E9\x20AC"},
        {"language mark", std::string("\xFE\xFF\0\x1B\0d\0e\0\x1B\0A", 12), u"A"},
        {"language and country", std::string("\xFE\xFF\0B\0\x1B\0d\0e\0A\0T\0\x1B\0A", 18), u"BA"},
        {"escapes far apart are text",
         std::string("\xEF\xBB\xBF\x1B"
                     "123456\x1B",
                     11),
         u"\x001B"
         u"123456\x001B"},
        {"zeros at the end", std::string("ab\0\0", 4), u"ab"},
    };
    for (const Case& c : cases) EXPECT_EQ(textOfPdfString(c.bytes), c.text) << c.name;
}

TEST(PdfStrings, ReadsDates) {
    struct Case {
        const char16_t* text;
        std::optional<double> seconds;
    };
    const Case cases[] = {
        {u"D:19700101000000Z", 0},
        {u"D:20240229123456+01'00'", 1709206496},
        {u"D:20240229123456+01'00", 1709206496},
        {u"D:20240229123456+0100", 1709206496},
        {u"D:20240229123456-05'30", 1709206496 + 6.5 * 3600},
        {u"D:20240229123456Z00'00'", 1709206496 + 3600},
        {u"20240229123456", 1709206496 + 3600},
        {u"D:202402291234", 1709210040},
        {u"D:2024", 1704067200},
        {u"D:202402 ", 1706745600},
        {u"D:19691231235959Z", -1},
        {u"D:20230229", std::nullopt},  // no leap year
        {u"D:20241301", std::nullopt},
        {u"D:20240101240000", std::nullopt},
        {u"D:2024010", std::nullopt},
        {u"D:20240101000000+01'00'x", std::nullopt},
        {u"D:20240101000000+99'00'", std::nullopt},
        {u"Thu Feb 29 12:34:56 2024", std::nullopt},
        {u"D:", std::nullopt},
        {u"", std::nullopt},
    };
    for (const Case& c : cases) {
        const auto date = dateOfPdfText(c.text);
        const std::u16string name = c.text;
        ASSERT_EQ(date.has_value(), c.seconds.has_value()) << toUtf8(name);
        EXPECT_EQ(date.value_or(Date{}).seconds, c.seconds.value_or(0)) << toUtf8(name);
    }
}

}  // namespace
}  // namespace corvy::platform
