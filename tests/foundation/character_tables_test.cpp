#include "foundation/character_tables.h"

#include <gtest/gtest.h>

#include <string_view>

namespace corvy {
namespace {

TEST(CharacterTables, WhiteAndSpaceHoldTheirExtraUnits) {
    constexpr std::u16string_view both = u" \t\u1680\u2000\u200A\u202F\u205F\u3000\u00A0";
    constexpr std::u16string_view whiteOnly = u"\n\v\f\r\u0003\u0085\u2028\u2029\uFEFF\uFFFC";
    constexpr std::u16string_view neither =
        u"x0_\u0001\u0002\u0004\u001F\u007F\u00AD\u180E\u200B\u2060\uFFFD\uFFFF";
    for (const char16_t c : both) EXPECT_TRUE(isSpace(c) && isWhite(c)) << +c;
    for (const char16_t c : whiteOnly) EXPECT_TRUE(!isSpace(c) && isWhite(c)) << +c;
    for (const char16_t c : neither) EXPECT_FALSE(isSpace(c) || isWhite(c)) << +c;
    EXPECT_TRUE(isSpace(0) && isWhite(0));
}

TEST(CharacterTables, ClassesFollowTheGeneralCategories) {
    struct Case {
        const char* name;
        char16_t unit;
        std::string_view classes;
    };
    static constexpr Case cases[] = {
        {"lower letter", u'a', "a n l"},
        {"upper letter", u'Z', "a n u"},
        {"title-case letter", 0x01C5, "a n u"},
        {"letter without case", 0x05D0, "a n"},
        {"modifier letter", 0x02B0, "a n"},
        {"combining acute", 0x0301, "a n"},
        {"enclosing mark", 0x20DD, "a n"},
        {"digit", u'0', "n d"},
        {"Arabic digit", 0x0665, "n d"},
        {"vulgar fraction", 0x00BD, "n"},
        {"Roman numeral", 0x2167, "n"},
        {"superscript two", 0x00B2, "n"},
        {"ordinal letter", 0x00AA, "a n"},
        {"underscore", u'_', ""},
        {"at sign", u'@', ""},
        {"bracket after Z", u'[', ""},
        {"high surrogate", 0xD835, ""},
        {"low surrogate", 0xDC00, ""},
        {"private use", 0xE000, ""},
        {"non-character", 0xFFFF, ""},
    };
    for (const Case& c : cases) {
        const auto says = [&c](char letter) { return c.classes.find(letter) != c.classes.npos; };
        EXPECT_EQ(isAlpha(c.unit), says('a')) << c.name;
        EXPECT_EQ(isAlphaNum(c.unit), says('n')) << c.name;
        EXPECT_EQ(isDigit(c.unit), says('d')) << c.name;
        EXPECT_EQ(isLower(c.unit), says('l')) << c.name;
        EXPECT_EQ(isUpper(c.unit), says('u')) << c.name;
        EXPECT_FALSE(isMember(emptyCharacterSetRep(), c.unit)) << c.name;
    }
    // "A" is unit 65: bit 1 of byte 8.
    EXPECT_EQ(upperCharacterSetRep()[8] & 0x03, 0x02);
    EXPECT_EQ(firstAlphaCharacter(), u'A');
    EXPECT_EQ(lastAlphaCharacter(), 0xFFDC);
}

TEST(CharacterTables, ConvertsOneUnitToOneUnit) {
    struct Case {
        const char* name;
        char16_t unit, lower, upper, umlaut;
    };
    static constexpr Case cases[] = {
        {"ASCII upper", u'Q', u'q', u'Q', u'Q'},
        {"digit", u'7', u'7', u'7', u'7'},
        {"A with diaeresis", u'Ä', u'ä', u'Ä', u'A'},
        {"a with ring", u'å', u'å', u'Å', u'a'},
        {"sharp s", u'ß', u'ß', u'ß', u'ß'},
        {"capital sharp s", 0x1E9E, u'ß', 0x1E9E, 0x1E9E},
        {"I with dot: two units below", 0x0130, 0x0130, 0x0130, u'I'},
        {"dotless i", 0x0131, 0x0131, u'I', 0x0131},
        {"n after apostrophe", 0x0149, 0x0149, 0x0149, 0x0149},
        {"ae", u'æ', u'æ', u'Æ', u'æ'},
        {"ae with acute", 0x01FD, 0x01FD, 0x01FC, u'æ'},
        {"o with stroke", u'ø', u'ø', u'Ø', u'ø'},
        {"l with stroke", 0x0142, 0x0142, 0x0141, 0x0142},
        {"D with stroke", 0x0110, 0x0111, 0x0110, 0x0110},
        {"y with diaeresis", 0x00FF, 0x00FF, 0x0178, u'y'},
        {"micro sign", 0x00B5, 0x00B5, 0x039C, 0x00B5},
        {"title-case letter", 0x01C5, 0x01C6, 0x01C5, 0x01C5},
        {"two marks", 0x1EAD, 0x1EAD, 0x1EAC, u'a'},
        {"long s", 0x017F, 0x017F, u'S', 0x017F},
        {"capital sigma", 0x03A3, 0x03C3, 0x03A3, 0x03A3},
        {"alpha with iota below: two units above", 0x1FB3, 0x1FB3, 0x1FB3, 0x03B1},
        {"Greek omega with tonos", 0x03CE, 0x03CE, 0x038F, 0x03C9},
        {"Cyrillic short i", 0x0439, 0x0439, 0x0419, 0x0438},
        {"Kelvin sign", 0x212A, u'k', 0x212A, u'K'},
        {"lone combining mark", 0x0301, 0x0301, 0x0301, 0x0301},
        {"mark that is two marks", 0x0344, 0x0344, 0x0344, 0x0344},
        {"voiced kana is another letter", 0x304C, 0x304C, 0x304C, 0x304C},
        {"Hangul syllable", 0xAC00, 0xAC00, 0xAC00, 0xAC00},
        {"Arabic alef with madda", 0x0622, 0x0622, 0x0622, 0x0622},
        {"circled letter is a symbol", 0x24B6, 0x24B6, 0x24B6, 0x24B6},
        {"surrogate", 0xD801, 0xD801, 0xD801, 0xD801},
        {"last unit", 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(toLower(c.unit), c.lower) << c.name;
        EXPECT_EQ(toUpper(c.unit), c.upper) << c.name;
        EXPECT_EQ(umlautsToAscii(c.unit), c.umlaut) << c.name;
    }
}

TEST(CharacterTables, FoldsCaseAndAccentsTogether) {
    struct Case {
        char16_t unit, ascii, lowerAscii, upperAscii, lowerUmlaut, upperUmlaut;
    };
    static constexpr Case cases[] = {
        {u'é', u'e', u'e', u'E', u'e', u'E'},       {u'Ö', u'O', u'o', u'O', u'o', u'O'},
        {u'ß', u' ', u' ', u' ', u'ß', u'ß'},       {u'Ø', u' ', u' ', u' ', u'ø', u'Ø'},
        {0x0130, u'I', u'i', u'I', u'i', u'I'},     {0x0131, u' ', u' ', u' ', 0x0131, u'I'},
        {u'[', u'[', u'[', u'[', u'[', u'['},       {0, 0, 0, 0, 0, 0},
        {0x00A0, u' ', u' ', u' ', 0x00A0, 0x00A0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(toAscii(c.unit), c.ascii) << +c.unit;
        EXPECT_EQ(toLowerAscii(c.unit), c.lowerAscii) << +c.unit;
        EXPECT_EQ(toUpperAscii(c.unit), c.upperAscii) << +c.unit;
        EXPECT_EQ(umlautsToLowerAscii(c.unit), c.lowerUmlaut) << +c.unit;
        EXPECT_EQ(umlautsToUpperAscii(c.unit), c.upperUmlaut) << +c.unit;
    }
}

}  // namespace
}  // namespace corvy
