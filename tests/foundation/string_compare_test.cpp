#include "foundation/string_compare.h"

#include <gtest/gtest.h>

#include "foundation/character_tables.h"

namespace corvy {
namespace {

TEST(StringCompare, SeesOnlyTheClassAndNoCase) {
    struct Case {
        std::u16string_view text, other;
        bool equalLetters, equalAlphaNums, prefixLetters, prefixAlphaNums;
    };
    static constexpr Case cases[] = {
        {u"404 - Not Found!", u"404 Not Found", true, true, true, true},
        {u"404 - Not Found on this server", u"404 Not Found", false, false, true, true},
        {u"Wait 15 seconds", u"wait 20 SECONDS", true, false, true, false},
        {u"404 Not Found", u"Not Found", true, false, true, false},
        {u"Not", u"Not Found", false, false, false, false},
        {u"", u"", true, true, true, true},
        {u"123", u"- 9", true, false, true, false},
        {u"abc", u"...", false, false, true, true},
        {u"...", u"abc", false, false, false, false},
        {u"Stra\u00DFe", u"STRA\u00DFE", true, true, true, true},
        {u"Strasse", u"Stra\u00DFe", false, false, false, false},
        {u"\u00C4rger", u"\u00E4RGER", true, true, true, true},
        {u"Arger", u"\u00C4rger", false, false, false, false},
        {u"a\u0301", u"a", false, false, true, true},  // a mark is of the class
        {u"\u0131x", u"IX", true, true, true, true},   // by the upper-case table
    };
    for (const Case& c : cases) {
        const auto* letters = alphaCharacterSetRep();
        const auto* alphaNums = alphaNumCharacterSetRep();
        const std::string name(c.text.begin(), c.text.end());
        EXPECT_EQ(equalStringsNoCaseUsingCharacterSetRep(c.text, c.other, letters), c.equalLetters)
            << name;
        EXPECT_EQ(equalStringsNoCaseUsingCharacterSetRep(c.other, c.text, letters), c.equalLetters)
            << name;
        EXPECT_EQ(equalStringsNoCaseUsingCharacterSetRep(c.text, c.other, alphaNums),
                  c.equalAlphaNums)
            << name;
        EXPECT_EQ(hasPrefixNoCaseUsingCharacterSetRep(c.text, c.other, letters), c.prefixLetters)
            << name;
        EXPECT_EQ(hasPrefixNoCaseUsingCharacterSetRep(c.text, c.other, alphaNums),
                  c.prefixAlphaNums)
            << name;
    }
}

}  // namespace
}  // namespace corvy
