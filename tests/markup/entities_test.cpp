#include "markup/entities.h"

#include <gtest/gtest.h>

#include "foundation/text.h"

namespace corvy {
namespace {

struct Case {
    const char* name;
    std::u16string_view text;
    std::u16string_view expected;
};

constexpr std::u16string_view kNul(u"\0", 1);

TEST(Entities, DecodesAllReferences) {
    static constexpr Case cases[] = {
        {"terminated", u"a&eacute;b", u"aéb"},
        {"another terminator stays", u"&eacute x", u"é x"},
        {"unterminated at the very end", u"x &eacute", u"x &eacute"},
        {"last letter taken for the terminator", u"x&eacutee", u"xée"},
        {"case counts", u"&Eacute;&eacute;&EACUTE;", u"Éé&EACUTE;"},
        {"six letters", u"&frac34;&there4;", u"¾∴"},
        {"names too long", u"&thetasym;&alefsym;", u"&thetasym;&alefsym;"},
        {"two letters", u"&pi;&xi;&x;", u"πξ&x;"},
        {"not in the table", u"&cedil;&fnof;&bogus;", u"&cedil;&fnof;&bogus;"},
        {"angles of the old standard", u"&lang;&rang;", u"\u2329\u232A"},
        {"decimal", u"&#233;&#184;&#8364;", u"é¸€"},
        {"hexadecimal", u"&#xe9;&#XE9;&#x20AC;", u"éé€"},
        {"modulo 65536", u"&#70000;", u"\u1170"},
        {"too many digits", u"&#128512;&#x1F600;", u"&#128512;&#x1F600;"},
        {"number unterminated at the end", u"a &#233", u"a é"},
        {"number ended by a letter", u"&#233x&#xe9g", u"éxég"},
        {"lone ampersands", u"a & b && c&", u"a & b && c&"},
        {"ampersand before a reference", u"&&#65;", u"&A"},
        {"markup", u"&lt;b&gt;&amp;&quot;&apos;", u"<b>&\"'"},
        {"markup without terminator", u"&ltb&gt&ampx&quot.&apos.", u"<b>&x\".'."},
        {"name goes on behind a short form", u"&ampere;&nbspx;", u"&ere;\u00A0x;"},
        {"not decoded twice", u"&amp;lt;", u"&lt;"},
        {"in upper case", u"&AMP;&LT;", u"&AMP;&LT;"},
        {"letters outside ASCII are none of a name", u"&pié;&\u0661\u0662;",
         u"&pié;&\u0661\u0662;"},
        {"three units stay", u"&lt", u"&lt"},
        {"four units", u"&lt;", u"<"},
        {"short forms at the very end", u"x&lt &gt", u"x< >"},
        {"lone surrogates pass", u"\xD83D&amp;\xDE00", u"\xD83D&\xDE00"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(stringByConvertingEntitiesToCharacters(c.text), c.expected) << c.name;
    }
}

TEST(Entities, EmptyNumbersAreU0000) {
    for (const std::u16string_view text :
         {u"a&#;b", u"a&#x;b", u"a&#b", u"a&#0;b", u"a&#65536;b"}) {
        EXPECT_EQ(stringByConvertingEntitiesToCharacters(text), u"a" + std::u16string(kNul) + u"b");
    }
    EXPECT_EQ(stringByConvertingEntitiesToCharacters(u"aaa&#x"), u"aaa" + std::u16string(kNul));
    EXPECT_EQ(stringByConvertingEntitiesToCharacters(u"aaa&#"), u"aaa&#");
}

TEST(Entities, DecodesOnlyWhatTheSwitchesAllow) {
    struct SwitchCase {
        const char* name;
        std::u16string_view text;
        EntityOptions options;
        std::u16string_view expected;
    };
    static constexpr SwitchCase cases[] = {
        {"markup off, named", u"&lt;b&gt;&amp;&quot;", {.markup = false}, u"&lt;b&gt;&amp;&quot;"},
        {"markup off, numeric",
         u"&#60;&#x3e;&#38;&#34;&#39;",
         {.markup = false},
         u"&#60;&#x3e;&#38;&#34;'"},
        {"markup off, the rest", u"&eacute;&apos;&nbsp;", {.markup = false}, u"é'\u00A0"},
        {"numeric only",
         u"&#233;&eacute;&apos;&nbsp;&amp;&quot;",
         {.onlyNumericEntities = true},
         u"é&eacute;'\u00A0&\""},
        {"numeric only, markup off",
         u"&amp;&quot;&apos;&#60;&#65;",
         {.markup = false, .onlyNumericEntities = true},
         u"&amp;&quot;'&#60;A"},
        {"folding", u"ü &Uuml; &#241; ß&amp;é", {.nonUmlauted = true}, u"u U n ß&e"},
        {"kept: folding alone changes nothing", u"Grüße", {.nonUmlauted = true}, u"Grüße"},
        {"kept: nor beside what is no reference",
         u"Grüße & so",
         {.nonUmlauted = true},
         u"Grüße & so"},
    };
    for (const SwitchCase& c : cases) {
        EXPECT_EQ(stringByConvertingEntitiesToCharacters(c.text, c.options), c.expected) << c.name;
    }
    EXPECT_EQ(stringByConvertingEntitiesToCharactersNonUmlauted(u"&eacute;", true), u"e");
    EXPECT_EQ(stringByConvertingEntitiesToCharactersNonUmlauted(u"&eacute;", false), u"é");
}

TEST(Entities, DecodesTheStandardFourStrictly) {
    static constexpr Case cases[] = {
        {"all four", u"&lt;a&gt;&amp;&quot;", u"<a>&\""},
        {"others stay", u"&apos;&nbsp;&#60;", u"&apos;&nbsp;&#60;"},
        {"the semicolon is required", u"&lt a&amp", u"&lt a&amp"},
        {"case counts", u"&LT;&Amp;", u"&LT;&Amp;"},
        {"kept: a semicolon behind selects the longer form", u"&amp;;&lt;;&gt;x;",
         u"&amp;;&lt;;&gt;x;"},
        {"three units stay", u"&lt", u"&lt"},
        {"not decoded twice", u"&amp;lt;", u"&lt;"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(stringByConvertingStandardEntitiesToCharacters(c.text), c.expected) << c.name;
    }
}

TEST(Entities, DecodesInPlace) {
    std::u16string buffer = u"x&lt;&eacute;&auml;y";
    const std::size_t count =
        convertEntitiesToCharacters(buffer, buffer.data(), {.nonUmlauted = true});
    EXPECT_EQ(buffer.substr(0, count), u"x<eay");
    // Fewer than four units, and folding without a reference: the buffer form has no exceptions.
    std::u16string small = u"&lt";
    EXPECT_EQ(convertEntitiesToCharacters(small, small.data()), 1u);
    EXPECT_EQ(small[0], u'<');
    std::u16string umlaut = u"ä";
    EXPECT_EQ(convertEntitiesToCharacters(umlaut, umlaut.data(), {.nonUmlauted = true}), 1u);
    EXPECT_EQ(umlaut, u"a");
    std::u16string standard = u"ab&amp;c";
    EXPECT_EQ(convertStandardEntitiesToCharacters({standard.data() + 1, 7}, standard.data()), 3u);
    EXPECT_EQ(standard.substr(0, 3), u"b&c");
}

TEST(Entities, Encodes) {
    EXPECT_EQ(stringByConvertingCharactersToEntities(u"Grüße €<&"), u"Gr&uuml;&szlig;e &euro;<&");
    // Both ends of the named span, and what has no name though old tables gave it one.
    EXPECT_EQ(stringByConvertingCharactersToEntities(u"\u009F\u00A0\u2666\u2667¸ƒϑℵ"),
              u"&#159;&nbsp;&diams;&#9831;&#184;&#402;&thetasym;&alefsym;");
    EXPECT_EQ(stringByConvertingCharactersToEntities(u"\xD83D\xDE00\x7F"), u"&#55357;&#56832;\x7F");
    EXPECT_EQ(stringByConvertingHighCharactersToEntities(u"é\x7F\x80"), u"&#233;\x7F&#128;");
    EXPECT_EQ(stringByConvertingCharactersToStandardEntities(u"<a \"b\">&'é"),
              u"&lt;a &quot;b&quot;&gt;&amp;'é");
    EXPECT_EQ(stringByConvertingCharactersToJSON(u"\ta/b\\\"\b\n\f\r\x01\x7Fé"),
              u"\\ta\\/b\\\\\\\"\\b\\n\\f\\r\x01\x7Fé");
    for (const auto encode :
         {stringByConvertingCharactersToEntities, stringByConvertingHighCharactersToEntities,
          stringByConvertingCharactersToStandardEntities, stringByConvertingCharactersToJSON}) {
        EXPECT_EQ(encode(u""), u"");
        EXPECT_EQ(encode(u"plain text, nothing to do"), u"plain text, nothing to do");
    }
}

}  // namespace
}  // namespace corvy
