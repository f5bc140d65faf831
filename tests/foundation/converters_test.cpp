#include "foundation/converters.h"

#include <gtest/gtest.h>

namespace corvy {
namespace {

using enum Encoding;
using namespace std::string_view_literals;

std::optional<DecodedText> decoded(std::string_view bytes, Encoding encoding) {
    return tryToCreateStringWithEncoding(std::as_bytes(std::span(bytes)), encoding);
}

TEST(Converters, DecodeEveryFamily) {
    struct Case {
        Encoding encoding;
        std::string_view bytes;
        std::u16string_view text;
    };
    static constexpr Case cases[] = {
        {kASCII, "a\x80", u"a\uFFFD"},
        {kUTF8, "\xEF\xBB\xBF\xE2\x82\xAC", u"\uFEFF\u20AC"},
        {kUTF16, "\xFE\xFF\0A"sv, u"A"},
        {kUTF16,
         "\xFF\xFE"
         "A\0"sv,
         u"A"},
        {kUTF16, "\0A\0B"sv, u"AB"},
        {kUTF16, "\0A\0"sv, u"A\uFFFD"},
        {kISO8859_1, "\x80\xE4", u"\u0080\u00E4"},
        {kISO8859_15, "\xA4", u"\u20AC"},
        {kISO8859_16, "\xA5\xFE", u"\u201E\u021B"},
        {kWindows1250, "\xF8", u"\u0159"},
        {kWindows1251, "\xCF\xF0", u"\u041F\u0440"},
        {kWindows1252, "\x80\x93", u"\u20AC\u201C"},
        {kDOS437, "\x84\xE1", u"\u00E4\u00DF"},
        {kDOS437, "\x1A\x1C\x7F\xE6", u"\u001A\u001C\u007F\u00B5"},
        {kDOS852, "\xAA", u"\u00AC"},
        {kDOS866, "\x8F", u"\u041F"},
        {kDOS874, "\xA1", u"\u0E01"},
        {kShiftJIS, "\x93\xFA\x96\x7B\xB1", u"\u65E5\u672C\uFF71"},
        {kShiftJIS, "\x1A\x1C\x7F", u"\u001A\u001C\u007F"},
        {kDOS932, "\x1A\x1C\x7F", u"\u001A\u001C\u007F"},
        {kShiftJIS_X0213, "\x93\xFA", u"\u65E5"},
        {kEUC_JP, "\xC6\xFC\xCB\xDC", u"\u65E5\u672C"},
        {kISO2022JP, "\x1B$BF|K\\\x1B(B!", u"\u65E5\u672C!"},
        {kISO2022JP_3, "\x1B$BF|K\\\x1B(B!", u"\u65E5\u672C!"},
        {kEUC_CN, "\xD6\xD0\xCE\xC4", u"\u4E2D\u6587"},
        {kHZ_GB_2312, "~{VPND~}.", u"\u4E2D\u6587."},
        {kGB18030, "\x81\x30\x81\x30", u"\u0080"},
        {kBig5, "\xA4\xA4\xA4\xE5\xC6\xE7\xFA\x40", u"\u4E2D\u6587\u3041\U00020547"},
        {kEUC_TW, "\xC4\xE3\xC5\xC6", u"\u4E2D\u6587"},
        {kEUC_KR, "\xC7\xD1\xB1\xDB", u"\uD55C\uAE00"},
        {kWindows1361, "\xD0\x65\x8B\x69", u"\uD55C\uAE00"},
        {kKOI8R, "\xF0\xD2", u"\u041F\u0440"},
        {kMacRoman, "\x8A\xDB", u"\u00E4\u20AC"},
        {kMacCentralEuropean, "\xDE", u"\u0159"},
        {kMacIcelandic, "\xDF", u"\u00FE"},
        {kMacHebrew, "\xE0\xA6", u"\u05D0\u20AA"},
        {kMacThai, "\xA1\xD1", u"\u0E01\u0E31"},
        // "Příliš žluťoučký kůň"
        {kKamenicky, "P\xA9\xA1li\xA8 \x91lu\x9Fou\x87k\x98 k\x96\xA4",
         u"P\u0159\u00EDli\u0161 \u017Elu\u0165ou\u010Dk\u00FD k\u016F\u0148"},
        {kKoi8cs2, "P\xD2\xC9li\xD3 \xDAlu\xD4ou\xC3k\xD9 k\xCA\xCE",
         u"P\u0159\u00EDli\u0161 \u017Elu\u0165ou\u010Dk\u00FD k\u016F\u0148"},
        {kKamenicky, "\xB3\xFE\xE1", u"\u2502\u25A0\u00DF"},
    };
    for (const Case& c : cases) {
        const auto result = decoded(c.bytes, c.encoding);
        EXPECT_EQ(result ? result->text : u"none", c.text) << nameOfEncoding(c.encoding);
    }
}

TEST(Converters, CountReplacementsWhereverTheyComeFrom) {
    struct Case {
        const char* name;
        Encoding encoding;
        std::string_view bytes;
        std::size_t count;
    };
    static constexpr Case cases[] = {
        {"ill-formed and genuine", kUTF8, "\xFF\xEF\xBF\xBD\xE2\x82", 3},
        {"genuine in UTF-16", kUTF16, "\xFF\xFD"sv, 1},
        {"lone surrogates", kUTF16, "\xD8\0\0A"sv, 1},
        {"cut at the end", kShiftJIS, "a\x93", 1},
        {"cut at the end, C library", kWindows1361, "a\x88", 1},
        {"lone lead bytes, C library", kWindows1361, "\xFF\xFF\xFF", 3},
        {"holes of a code page", kKoi8cs2,
         "\xA1\xFF"
         "A",
         2},
        {"control characters of ICU's tables", kWindows1252, "\x81", 0},
    };
    for (const Case& c : cases) {
        const auto result = decoded(c.bytes, c.encoding);
        ASSERT_TRUE(result) << c.name;
        EXPECT_EQ(result->replacements, c.count) << c.name;
    }
}

TEST(Converters, GiveNothingForNothing) {
    EXPECT_FALSE(decoded("", kUTF8));
    EXPECT_FALSE(decoded("abc", kInvalid));
    EXPECT_FALSE(decoded("abc", kMacTibetan));
    EXPECT_FALSE(decoded("\xFE\xFF", kUTF16));  // only a mark
    EXPECT_FALSE(decoded("\x1B(B", kISO2022JP));
}

TEST(Converters, ForgetTheStateOfEarlierConversions) {
    decoded("\x1B$BF|", kISO2022JP);
    EXPECT_EQ(decoded("F|", kISO2022JP)->text, u"F|");
    decoded(
        "\xFF\xFE"
        "A\0"sv,
        kUTF16);
    EXPECT_EQ(decoded("\0A"sv, kUTF16)->text, u"A");
    char16_t two[2];  // ends in the middle, with output waiting inside
    for (const Encoding encoding : {kShiftJIS, kWindows1361, kGB18030}) {
        const Conversion cut =
            convertEncodingToUnicode(std::as_bytes(std::span("abcdef", 6)), encoding, two);
        EXPECT_EQ(cut.written, 2U);
        EXPECT_FALSE(cut.complete);
        EXPECT_EQ(decoded("xy", encoding)->text, u"xy");
    }
}

TEST(Converters, CrossTheSeamsOfLongTexts) {
    // Two bytes and three units a time, so that every seam of the inner buffer is met.
    for (const Encoding encoding : {kShiftJIS, kWindows1361, kUTF8, kUTF16, kKamenicky}) {
        std::u16string text;
        for (int i = 0; i < 9001; ++i) text += i % 3 == 0 ? u'a' : i % 3 == 1 ? u'b' : u'7';
        std::string bytes(text.begin(), text.end());
        if (encoding == kUTF16) bytes = dataUsingEncoding(text, kUTF16).value();
        EXPECT_EQ(decoded(bytes, encoding)->text, text) << nameOfEncoding(encoding);
    }
    std::string kanji;
    for (int i = 0; i < 5000; ++i)
        kanji +=
            "\x93\xFA"
            "a";
    EXPECT_EQ(decoded(kanji, kShiftJIS)->text.size(), 10000U);
    EXPECT_EQ(decoded(kanji, kShiftJIS)->replacements, 0U);
}

TEST(Converters, EncodeWithReferencesForWhatIsLacking) {
    struct Case {
        Encoding encoding;
        std::u16string_view text;
        std::optional<std::string_view> bytes;
    };
    static constexpr Case cases[] = {
        {kISO8859_1, u"\u00E4\u20AC\U0001F600", "\xE4&#8364;&#128512;"},
        {kASCII, u"a\u00E4", "a&#228;"},
        {kUTF8, u"\u20AC\xD800", "\xE2\x82\xAC\xEF\xBF\xBD"},
        {kUTF16, u"A",
         "\xFF\xFE"
         "A\0"sv},
        {kKoi8cs2, u"\u0159\u20AC\uFFFD", "\xD2&#8364;&#65533;"},
        {kShiftJIS, u"\u65E5", "\x93\xFA"},
        {kShiftJIS, u"\u001A\u001C\u007F\u00E4", "\x1A\x1C\x7F&#228;"},
        {kDOS437, u"\u00B5\u007F\u20AC", "\xE6\x7F&#8364;"},
        {kMacTibetan, u"A", std::nullopt},
        {kInvalid, u"A", std::nullopt},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(dataUsingEncoding(c.text, c.encoding), c.bytes) << nameOfEncoding(c.encoding);
    }
}

TEST(Encodings, AreFoundByTheirNames) {
    EXPECT_EQ(encodingNamed("x-mac-ce"), kMacCentralEuropean);
    EXPECT_EQ(encodingNamed("cp437"), kDOS437);
    EXPECT_EQ(encodingNamed("utf-8"), std::nullopt);
    EXPECT_EQ(nameOfEncoding(kKoi8cs2), "Koi8cs2");
    EXPECT_EQ(nameOfEncoding(kInvalid), "");
}

}  // namespace
}  // namespace corvy
