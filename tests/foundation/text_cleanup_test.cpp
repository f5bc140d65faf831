#include "foundation/text_cleanup.h"

#include <gtest/gtest.h>

namespace corvy {
namespace {

TEST(TextCleanup, ReplacesAndComposes) {
    struct Case {
        const char* name;
        std::u16string text;
        std::u16string fixed;
    };
    const Case cases[] = {
        {"nothing to do", u"abc \x00FC\x2014\n", u"abc \x00FC\x2014\n"},
        {"empty", u"", u""},
        {"a pair becomes two blanks", u"a\xD83D\xDE00z", u"a  z"},
        {"lone halves as well", u"\xDC00-\xDBFF", u" - "},
        {"zero", std::u16string(u"a\0b", 3), u"a b"},
        {"first and last surrogate and their neighbours", u"\xD7FF\xD800\xDFFF\xE000",
         u"\xD7FF  \xE000"},
        {"the private use area from F400 to F8FF", u"\xF3FF\xF400\xF8FF\xF900", u"\xF3FF  \x8C48"},
        {"composes", u"e\x0301", u"\x00E9"},
        {"composes where something was replaced", u"\xF8FF e\x0301", u"  \x00E9"},
        {"composes behind text that is composed", u"\x00E4\x0416 x a\x0308!",
         u"\x00E4\x0416 x \x00E4!"},
        {"puts marks in order", u"q\x0307\x0323", u"q\x0323\x0307"},
        {"what a replaced unit parted stays apart", u"e\xD800\x0301", u"e \x0301"},
        {"Hangul", u"\x1112\x1161\x11AB", u"\xD55C"},
        {"characters that are longer composed", u"\x0958\xFB2C", u"\x0915\x093C\x05E9\x05BC\x05C1"},
        {"a mark after the last character of the quick part", u"\x02FF\x0300", u"\x02FF\x0300"},
    };
    for (const Case& c : cases) {
        std::u16string text = c.text;
        fixAndNormalizeString(text);
        EXPECT_EQ(text, c.fixed) << c.name;
        EXPECT_EQ(fixedAndNormalizedString(c.text), c.fixed) << c.name;
    }
}

TEST(TextCleanup, LongTextKeepsEveryOtherUnit) {
    // Every block of the scan has a unit at its edge that must not be missed.
    std::u16string text;
    std::u16string expected;
    for (int i = 0; i < 3000; ++i) {
        text += i % 7 == 0 ? u"\xD83D\xDE00" : i % 5 == 0 ? u"u\x0308" : u"n";
        expected += i % 7 == 0 ? u"  " : i % 5 == 0 ? u"\x00FC" : u"n";
    }
    fixAndNormalizeString(text);
    EXPECT_EQ(text, expected);
}

TEST(TextCleanup, LeavesItsBufferAloneWhenNothingChanges) {
    std::u16string text(1000, u'\x4E2D');
    const char16_t* before = text.data();
    fixAndNormalizeString(text);
    EXPECT_EQ(text.data(), before);
    EXPECT_EQ(text, std::u16string(1000, u'\x4E2D'));
}

}  // namespace
}  // namespace corvy
