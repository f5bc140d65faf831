#include "markup/tag_attributes.h"

#include <gtest/gtest.h>

#include "foundation/text.h"

namespace corvy {
namespace {

std::string shown(const std::optional<std::u16string>& value) {
    return value ? toUtf8(*value) : "(absent)";
}

// An absent value is written as null.
struct LookupCase {
    std::u16string_view tag, name;
    const char16_t* value;

    std::optional<std::u16string> expected() const {
        return value ? std::optional<std::u16string>(value) : std::nullopt;
    }
};

// In the middle of a longer text the same value is found, where it lies.
void expectOfCharacters(const LookupCase& c, bool tolerant) {
    const std::u16string text = u"x='" + std::u16string(c.tag) + u"' y=1>";
    const Range inside = {3, c.tag.size()};
    const auto found = attributeOfTagCharacters(text, inside, c.name, tolerant);
    EXPECT_EQ(shown(found), shown(c.expected())) << toUtf8(c.tag) << " " << toUtf8(c.name);
    const Range range = rangeOfAttributeOfTagCharacters(text, inside, c.name, tolerant);
    if (found) {
        EXPECT_EQ(text.substr(range.location, range.length), *found) << toUtf8(c.tag);
    } else {
        EXPECT_EQ(range, kNotFoundRange) << toUtf8(c.tag);
    }
}

void expectOfTag(const LookupCase& c) {
    EXPECT_EQ(shown(attributeOfTagWithName(c.tag, c.name)), shown(c.expected())) << toUtf8(c.tag);
    const std::u16string text = u"x='" + std::u16string(c.tag) + u"' y=1>";
    EXPECT_EQ(shown(attributeOfTagInRange(text, {3, c.tag.size()}, c.name)), shown(c.expected()))
        << toUtf8(c.tag);
}

// What all look-ups in tags have in common.
TEST(TagAttributes, FindsValues) {
    static constexpr LookupCase cases[] = {
        {u"<a HREF = 'x.html'>", u"HREF", u"x.html"},
        {u"<a href=x.html>", u"HREF", u"x.html"},
        {u"<a HREF=\"x.html\">", u"href", u"x.html"},
        {u"<a\nhref\t=\n\"x y\"\n>", u"HREF", u"x y"},
        {u"<a href\x00A0=\xFEFFx>", u"HREF", u"x"},
        {u"<a title='href=y' href=z>", u"HREF", u"z"},
        {u"<a title=\"it's href=y\" href=z>", u"HREF", u"z"},
        {u"<a title='href=y>", u"HREF", nullptr},
        {u"<a 'b' href=z 'c>", u"HREF", u"z"},
        {u"<div data-width=5 width=7>", u"WIDTH", u"7"},
        {u"<div xwidth=5 1width=6 éwidth=7>", u"WIDTH", nullptr},
        {u"<div.width=5>", u"WIDTH", u"5"},
        {u"<div widths=5 width=6>", u"WIDTH", u"6"},
        {u"<div width width =6>", u"WIDTH", u"6"},
        {u"<p ÄÖ=grün>", u"äö", u"grün"},
        {u"<img src=a.gif/>", u"SRC", u"a.gif/"},
        {u"<img src=a'b\"c>", u"SRC", u"a'b\"c"},
        {u"<img src=a", u"SRC", u"a"},
        {u"<img src='a b", u"SRC", u"a b"},
        {u"<img src='a\"b>c", u"SRC", u"a\"b"},
        {u"<img alt='a'b'>", u"ALT", u"a"},
        {u"<p title='a>b'>", u"TITLE", u"a"},
        // Empty values are absent, and nothing is looked for behind them.
        {u"<img alt=''>", u"ALT", nullptr},
        {u"<img alt='' alt=b>", u"ALT", nullptr},
        {u"<img alt= >", u"ALT", nullptr},
        {u"<img alt=\" \x00A0\x3 \">", u"ALT", nullptr},
        {u"<img alt=>", u"ALT", nullptr},
        {u"<img x alt=", u"ALT", nullptr},
        {u"<img x alt='", u"ALT", nullptr},
        {u"<img x alt= ", u"ALT", nullptr},
        {u"<img alt=' x '>", u"ALT", u" x"},
        {u"<img alt='x\xFEFF\n'>", u"ALT", u"x"},
        // The least length: the name and six more units.
        {u"<a b=c>", u"B", u"c"},
        {u"<a b=>", u"B", nullptr},
        {u" b=cde", u"B", nullptr},
        {u" b=cdef", u"B", u"cdef"},
        {u"xb=cdef", u"B", nullptr},
        // Lone surrogates and zero units are units as others.
        {u"<a b=\xDC00\xD800>", u"B", u"\xDC00\xD800"},
        {std::u16string_view(u"<a b=x\0y>", 9), u"B", u"x"},
        {u"<a b=c>", u"", nullptr},
        {u"", u"", nullptr},
        {u"", u"B", nullptr},
        {u"<a b=c>", u"an attribute name that is longer than its tag", nullptr},
    };
    for (const LookupCase& c : cases) {
        expectOfCharacters(c, false);
        expectOfTag(c);
    }
}

TEST(TagAttributes, LookupsDifferOnPurpose) {
    struct Case {
        std::u16string_view tag, name;
        const char16_t* ofCharacters;
        const char16_t* ofTag;
    };
    static constexpr Case cases[] = {
        {u"<div max_width=5 width=7>", u"WIDTH", u"7", u"5"},
        {u"<div max-width=5 width=7>", u"WIDTH", u"7", u"7"},
        {u"<a b==c d>", u"B", u"c", u"=c"},
        {u"<a b=== 'c' d>", u"B", u"c", u"=="},
        {u"<a b= =c d>", u"B", u"=c", u"=c"},
    };
    for (const Case& c : cases) {
        expectOfCharacters({c.tag, c.name, c.ofCharacters}, false);
        expectOfTag({c.tag, c.name, c.ofTag});
    }
}

TEST(TagAttributes, TolerantValuesMayHoldMarkup) {
    static constexpr LookupCase cases[] = {
        {u"<meta content='a<b>c' name=x>", u"CONTENT", u"a<b>c"},
        {u"<meta content='a<b><c>d</c></b>e' name=x>", u"CONTENT", u"a<b><c>d</c></b>e"},
        {u"<meta content='abc<meta name=y>", u"CONTENT", u"abc"},
        {u"<meta content='abc<MeTa' name=y>", u"CONTENT", u"abc"},
        {u"<meta content='abc<met' name=y>", u"CONTENT", u"abc<met"},
        {u"<meta content='abc<met", u"CONTENT", u"abc<met"},
        {u"<meta content='abc<meta", u"CONTENT", u"abc"},
        {u"<meta content='<meta x'>", u"CONTENT", nullptr},
        {u"<meta content='a>b'>", u"CONTENT", u"a"},
        {u"<meta content='>a>b'>", u"CONTENT", u">a"},
        {u"<meta content='>>a'>", u"CONTENT", u">"},
        {u"<meta content='a<b'>", u"CONTENT", u"a<b"},
        {u"<meta content='a<'>", u"CONTENT", u"a"},
        {u"<meta content='a</'>", u"CONTENT", u"a"},
        {u"<meta content='a<b</'>", u"CONTENT", u"a<b</"},
        {u"<meta content='a<b><'>", u"CONTENT", u"a<b>"},
        {u"<meta content='a< '>", u"CONTENT", u"a<"},
        {u"<meta content='<'>", u"CONTENT", nullptr},
        {u"<meta content='</'>", u"CONTENT", nullptr},
        {u"<meta content='/'>", u"CONTENT", u"/"},
        {u"<meta content='a \"b\" c '>", u"CONTENT", u"a \"b\" c"},
        {u"<meta content=a<b>c>", u"CONTENT", u"a<b"},
        {u"<meta content='a<b", u"CONTENT", u"a<b"},
    };
    for (const LookupCase& c : cases) expectOfCharacters(c, true);
    expectOfCharacters({u"<meta content='a<b>c' name=x>", u"CONTENT", u"a<b"}, false);
}

TEST(TagAttributes, ReadsStyleProperties) {
    static constexpr LookupCase cases[] = {
        {u"width: 120px; height:40px", u"HEIGHT", u"40px"},
        {u"width: 120px; height:40px", u"WIDTH", u"120px"},
        {u"max-width:1px;width:2px", u"WIDTH", u"2px"},
        {u"max_width:1px;width:2px", u"WIDTH", u"1px"},
        {u"font: bold 12px", u"FONT", u"bold"},
        {u"font-family: 'a b; c' , d", u"FONT-FAMILY", u"a b"},
        {u"font-family: 'a: b', c; a: d", u"A", u"d"},
        {u"color:;width:1", u"COLOR", nullptr},
        {u"color::red", u"COLOR", u":red"},
        {u"color=red", u"COLOR", nullptr},
        {u"a:b>c;", u"A", u"b>c"},
        {u"a:b", u"A", u"b"},
        {u"a:", u"A", nullptr},
    };
    for (const LookupCase& c : cases) {
        EXPECT_EQ(shown(attributeOfStyleWithName(c.tag, c.name)), shown(c.expected()))
            << toUtf8(c.tag);
        const std::u16string text = u"'" + std::u16string(c.tag) + u"!";
        EXPECT_EQ(shown(attributeOfStyleInRange(text, {1, c.tag.size()}, c.name)),
                  shown(c.expected()))
            << toUtf8(c.tag);
    }
}

TEST(TagAttributes, CutsRanges) {
    const std::u16string_view tag = u"<a b=cd>";
    EXPECT_EQ(attributeOfTagCharacters(tag, {0, 7}, u"B"), u"cd");
    EXPECT_EQ(attributeOfTagInRange(tag, {0, ~std::uint64_t{0}}, u"B"), u"cd");
    EXPECT_EQ(attributeOfTagInRange(tag, {2, 6}, u"B"), std::nullopt);  // too short
    for (const std::uint64_t location : {std::uint64_t{8}, std::uint64_t{9}, kNotFound}) {
        EXPECT_EQ(attributeOfTagCharacters(tag, {location, 9}, u"B"), std::nullopt);
        EXPECT_EQ(attributeOfStyleInRange(tag, {location, 9}, u"B"), std::nullopt);
        EXPECT_EQ(getTagWidth(tag, {location, 99}), TagSize());
        EXPECT_EQ(backgroundStyleURLOfTagCharacters(tag, {location, 99}), std::nullopt);
    }
}

TEST(TagAttributes, ReadsSizes) {
    struct Case {
        std::u16string_view tag;
        TagSize size;
        bool found;
    };
    constexpr std::int64_t kMost = 9223372036854775807;
    const Case cases[] = {
        {u"<img width=120px height=' 50%'>", {120, 50}, true},
        {u"<img width=120 height=0 heigh=7>", {120, 7}, true},
        {u"<img width=120 heigh=+7>", {120, 7}, true},
        {u"<img width=5>", {5, 0}, true},
        {u"<img style='width:100px;height:50px'>", {100, 50}, true},
        {u"<img width=auto height=3 style='width:100px'>", {100, 0}, true},
        {u"<img style='width:0;height:50px'>", {0, 0}, false},
        {u"<img width=0 height=9>", {0, 0}, false},
        {u"<img width=-5 height=9>", {-5, 9}, false},
        {u"<img width=3 style='height:9px'>", {3, 0}, true},
        {u"<a width=5>", {5, 0}, true},
        {u"<width=5>", {0, 0}, false},
        {u"<a width=5", {0, 0}, false},
        {u"<img width=99999999999999999999 height=-99999999999999999999>",
         {kMost, -kMost - 1},
         true},
        {u"<img width=9223372036854775807 height=-9223372036854775808>", {kMost, -kMost - 1}, true},
        {u"<img width='- 5'>", {0, 0}, false},
    };
    for (const Case& c : cases) {
        const TagSize size = getTagWidth(c.tag);
        EXPECT_EQ(size.width, c.size.width) << toUtf8(c.tag);
        EXPECT_EQ(size.height, c.size.height) << toUtf8(c.tag);
        EXPECT_EQ(size.found(), c.found) << toUtf8(c.tag);
    }
}

TEST(TagAttributes, FindsBackgroundImages) {
    static constexpr LookupCase cases[] = {
        {u"<p style=\"background: url(a.png) no-repeat\">", u"", u"a.png"},
        {u"<p style=\"BACKGROUND-IMAGE:URL('a.png');x:No-Repeat\">", u"", u"a.png"},
        {u"<p style=\"background:no-repeat url(''a'')\">", u"", u"a"},
        {u"<p style=\"background:no-repeat url( 'a')\">", u"", u" 'a'"},
        {u"<p style='background:no-repeat url(\"a\")'>", u"", u"\"a\""},
        {u"<p style=\"background:no-repeat url(a) url(b)\">", u"", u"a"},
        {u"<p style=\"background:no-repeat url(')\">", u"", nullptr},
        {u"<p style=\"background:no-repeat url('')\">", u"", nullptr},
        {u"<p style=\"background:no-repeat url()\">", u"", nullptr},
        {u"<p style=\"background:no-repeat url('ab)\">", u"", u"a"},
        {u"<p style=\"background:no-repeat url(a\">", u"", nullptr},
        {u"<p style=\"background:no-repeat a)\">", u"", nullptr},
        {u"<p style=\"background:url(a.png)\">", u"", nullptr},
        {u"<p style=\"background-color:x no-repeat url(a.png)\">", u"", nullptr},
        {u"</p style=\"background: url(a.png) no-repeat\">", u"", nullptr},
        {u"<p title=\"background: url(a.png) no-repeat\">", u"", nullptr},
        {u"", u"", nullptr},
    };
    for (const LookupCase& c : cases) {
        EXPECT_EQ(shown(backgroundStyleURLOfTagCharacters(c.tag, {0, c.tag.size()})),
                  shown(c.expected()))
            << toUtf8(c.tag);
    }
}

TEST(TagAttributes, LongTags) {
    const std::u16string filler(10'000'000, u'a');
    const std::u16string quotes(10'000'000, u'"');
    EXPECT_EQ(attributeOfTagWithName(u"<a b='" + filler + u"' c=d>", u"C"), u"d");
    EXPECT_EQ(attributeOfTagWithName(u"<" + filler + u" c=d>", u"AAAAAAAA"), std::nullopt);
    EXPECT_EQ(attributeOfTagWithName(u"<a " + quotes + u" c=d>", u"C"), u"d");
    EXPECT_EQ(attributeOfTagWithName(u"<a \"" + quotes + u" c=d>", u"C"), std::nullopt);
    EXPECT_EQ(attributeOfTagWithName(u"<a c='" + filler, u"C"), filler);
}

}  // namespace
}  // namespace corvy
