#include "tools/import/plain_text.h"

namespace corvy::tools {

TEST(PlainText, ChoosesTheCharacterSet) {
    using namespace std::literals;
    struct Case {
        const char* name;
        std::string_view bytes;
        std::u16string_view text;
    };
    static constexpr Case cases[] = {
        {"empty", "", u""},
        {"ASCII", "a\r\nb", u"a\r\nb"},
        {"UTF-8", "\xC3\xA4\xF0\x9F\x98\x80", u"ä😀"},
        {"UTF-8 by its mark, broken inside", "\xEF\xBB\xBF\x61\xE4", u"a\uFFFD"},
        {"windows-1252", "\x80 \xE4", u"€ ä"},
        {"an unassigned byte stays", "\x81\xE4", u"\u0081ä"},
        {"UTF-16, little first", "\xFF\xFE\x61\0\x3D\xD8\0\xDE"sv, u"a😀"},
        {"UTF-16, big first", "\xFE\xFF\0\x61"sv, u"a"},
        {"UTF-16 with a byte too few", "\xFF\xFE\x61\0\x62"sv, u"a\uFFFD"},
        {"UTF-32", "\xFF\xFE\0\0\x61\0\0\0"sv, u"a"},
        {"UTF-32, big first", "\0\0\xFE\xFF\0\x01\xF6\0"sv, u"😀"},
        {"the mark alone", "\xFE\xFF", u""},
    };
    for (const Case& c : cases) EXPECT_EQ(plainText(c.bytes), c.text) << c.name;
}

TEST(PlainText, ConvertsLongTextsInPieces) {
    std::string bytes(100'000, '\xE4');
    bytes[8191] = 'b';
    bytes[8192] = 'c';
    const std::u16string text = plainText(bytes);
    ASSERT_EQ(text.size(), 100'000U);
    EXPECT_EQ(text.substr(8190, 4), u"äbcä");
    EXPECT_EQ(text.back(), u'ä');
}

}  // namespace corvy::tools
