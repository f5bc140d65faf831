#include "text/plain_text.h"

#include <gtest/gtest.h>

#include <span>

#include "foundation/character_tables.h"
#include "foundation/text.h"

namespace corvy {
namespace {

struct Case {
    const char* name;
    std::u16string_view html, text;
};

void expectTexts(std::span<const Case> cases, const PlainTextOptions& options = {}) {
    for (const Case& c : cases) {
        const std::u16string text = stringByConvertingHtml2PlainText(c.html, options);
        EXPECT_EQ(text, c.text) << c.name << ": " << toUtf8(text);
    }
}

TEST(PlainText, BreaksLines) {
    static constexpr Case cases[] = {
        {"nothing", u"", u""},
        {"only tags", u"<b></b>", u""},
        {"paragraphs", u"<p>a</p><p>b</p>", u"a\n\nb\n\n"},
        {"only the first break counts", u"a<br><br>b", u"a\nb"},
        {"lists", u"<ul><li>a<li>b</ul>c", u"a\nb\nc"},
        {"definitions", u"<dl><dt>a<dd>b<dt>c</dl>", u"a\nb\nc\n"},
        {"headings, any digit", u"a<h0>b</h0>c<H9>d</H9>", u"a\n\nb\n\nc\n\nd\n\n"},
        {"no heading", u"a<h>b<hx>c<h10>d", u"abcd"},
        {"rules, blocks and quotations", u"a<hr/>b<DIV>c</DIV>d<BlockQuote>e",
         u"a\n\nb\n\nc\n\nd\n\ne"},
        {"inline tags write nothing", u"a<b>b</b><span>c</span>d", u"abcd"},
        {"no text on the line yet", u" <p> <br> a", u"a"},
        {"code and citations", u"<code>a</code>b<cite>c</cite> d", u"a b c  d"},
        {"links are set apart", u"a<a href=x>b</a>c", u"a b c"},
        {"fields are set apart", u"a<input>b<input> <input>c", u"a b  c"},
        {"folding is ASCII only", u"a<\u0131mg alt=x>b<bloc\u212Aquote>c", u"abc"},
    };
    expectTexts(cases);
}

TEST(PlainText, LaysOutTables) {
    static constexpr Case cases[] = {
        {"cells, rows, table", u"<table><tr><td>a</td><td>b</td></tr><tr><td>c</td></tr></table>",
         u"a b \nc \n\n"},
        {"empty cells leave one space", u"<tr><td>a<td><td><td>b", u"a b"},
        {"cell behind a break", u"a<br><td>b", u"a\nb"},
        {"cell at the start", u"<td>a", u"a"},
        {"table behind text", u"a <table>b", u"a\n\nb"},
        {"table behind one line", u"ab<br><table>c", u"ab\n\nc"},
        {"table behind a paragraph", u"a<p><table>b", u"a\n\nb"},
        {"too little written for a blank line", u"<pre></pre>", u"\n\n"},
        {"row behind a cell", u"<td>a</td></tr></tr>", u"a \n"},
    };
    expectTexts(cases);
}

TEST(PlainText, CollapsesWhiteSpace) {
    static constexpr Case cases[] = {
        {"ends are trimmed", u" \n a \t ", u"a"},
        {"indentation and a short word", u"x<b>\n        ab", u"x ab"},
        {"runs inside", u"a \n\u2009\u3000 b", u"a b"},
        {"across tags", u"a <b> b</b> c", u"a b c"},
        {"white text between tags", u"a<b> </b>c", u"a c"},
        {"decoded white space", u"x&nbsp; y", u"x y"},
        {"decoded at the border", u"x<b>&#160;y&#32;</b>z", u"x y z"},
        {"less than four units are not decoded", u"&lt<b>&lt;", u"&lt<"},
        {"odd white units", u"a\uFEFFb\uFFFCc\u0003d", u"a b c d"},
        {"space owed at the start of a line", u"a<br> <b> b", u"a\nb"},
        {"references", u"&lt;p&gt; &amp; &eacute;&#8364;", u"<p> & \u00E9\u20AC"},
        {"no tag in a decoded one", u"&lt;br&gt;a", u"<br>a"},
    };
    expectTexts(cases);
}

TEST(PlainText, KnowsEveryWhiteUnit) {
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const char16_t c = static_cast<char16_t>(unit);
        if (c == u'<' || c == u'&') continue;
        // Behind the first block that is copied at once, and in the middle of it.
        const std::u16string page = u"0123456789" + std::u16string(1, c) + u"abcdefghijklmnop";
        std::u16string expected = page;
        if (isWhite(c)) expected[10] = u' ';
        ASSERT_EQ(stringByConvertingHtml2PlainText(page), expected) << unit;
    }
}

// Runs are copied by vectors of units where nothing in them changes.
TEST(PlainText, FindsWhatChangesAnywhereInARun) {
    static constexpr std::pair<std::u16string_view, std::u16string_view> kChanges[] = {
        {u"  ", u" "}, {u" \n", u" "}, {u"\n", u" "},    {u"&amp;", u"&"},  {u" &lt; ", u" < "},
        {u"&", u"&"},  {u" ", u" "},   {u"&#32;", u" "}, {u"\u3000", u" "}, {u"\u4E2D", u"\u4E2D"}};
    for (const auto& [change, text] : kChanges) {
        for (std::size_t before = 1; before < 28; ++before) {
            for (std::size_t behind = 2; behind < 28; ++behind) {
                const std::u16string white(before % 11, behind % 2 ? u' ' : u'\t');
                const std::u16string_view space = white.empty() ? u"" : u" ";
                std::u16string page = u"x<b>", expected = u"x";
                page.append(white).append(before, u'a').append(change).append(behind, u'b');
                page.append(white).append(u"</b>y");
                expected.append(space).append(before, u'a').append(text).append(behind, u'b');
                expected.append(space).append(u"y");
                ASSERT_EQ(stringByConvertingHtml2PlainText(page), expected) << toUtf8(page);
            }
        }
    }
}

TEST(PlainText, KeepsPreformattedText) {
    static constexpr Case cases[] = {
        {"two line feeds, breaks collapse", u"<pre>line one\nline two\n\nnext</pre>",
         u"\n\nline one line two next"},
        {"white space at the end", u"<pre>a \n</pre>b", u"\n\na \n b"},
        {"white space at both sides of a tag", u"<pre>a\t<b> b", u"\n\na \t  b"},
        {"only white space", u"a<pre>b<b>\n</b>c", u"a\n\nb  \n c"},
        {"empty and closing ones", u"a <pre/> </pre> b", u"a b"},
        {"plaintext", u"a<plaintext>b\n", u"a\n\nb \n"},
    };
    expectTexts(cases);
    static constexpr Case reflowed[] = {
        {"paragraphs stay, lines are joined", u"<pre>line one\nline two\n\nnext</pre>",
         u"\n\nline one line two\n\nnext"},
        {"many breaks are two", u"<pre>a\r\n\r\n\r\nb\n\n", u"\n\na\n\nb\n\n"},
        {"one CRLF is one break", u"<pre>a\r\nb\rc", u"\n\na b c"},
        {"own lines", u"<pre>a\n- b\n  c\n/d\n>e\n}\nf\n\tg", u"\n\na\n- b\n c\n/d\n>e\n} f  g"},
        {"a break at the end is nothing", u"<pre>a\n</pre>b", u"\n\nab"},
        {"a break at the start is no space", u"<pre>\na", u"\n\na"},
        {"spaces of a line", u"<pre>a \t b ", u"\n\na b "},
        {"no line with text, so no break", u"<pre>a</pre><p>b", u"\n\nab"},
        {"a space owed stays owed", u"<pre>a<b> b</b>c", u"\n\na  b c"},
        {"outside as ever", u"a\n\nb", u"a b"},
    };
    expectTexts(reflowed, {.reformat = true});
    EXPECT_EQ(stringByConvertingHtml2ReformattedPlainText(u"<pre>a\nb\n\nc"), u"\n\na b\n\nc");
}

TEST(PlainText, LeavesOutWhatIsHidden) {
    static constexpr Case cases[] = {
        {"scripts and styles", u"a<script>b</script>c<STYLE>d</STYLE>e", u"ace"},
        {"comments and sections", u"a<!-- b -->c<![CDATA[d]]>e", u"ace"},
        {"display", u"<div style=\"display: none\">a</div>b", u"b"},
        {"visibility", u"<div style=visibility:hidden>a<div>b</div>", u"b\n\n"},
        {"with case", u"<div style=\"Display: none\">a</div>", u"a\n\n"},
        {"the words in their order", u"<div x=none y=display:>a</div>", u"a\n\n"},
        {"class", u"<div class=\"Hidden\">a</div>b<div class=\"hidden x\">c", u"b\n\nc"},
        {"tags that are too short", u"<div class=x w=2>a<div width='2'>b<div  width='2'>c",
         u"a\n\nb\n\n"},
        {"height alone does not count", u"<div class=x height=2>a", u"a"},
        {"tiny height", u"<div width=50 height=2>a<div width=50 height=4>b", u"b"},
        {"negative height", u"<div width=50 height=-4>a", u""},
        {"wide enough", u"<div class=x width=200>a<div class=x width=4>b", u"a\n\nb"},
        {"moved away", u"<div style='position:absolute;top:-1001px'>a</div>b", u"b"},
        {"not far enough", u"<div style='position:absolute;left:-1000px'>a</div>", u"a\n\n"},
        {"not absolute", u"<div style='position:relative;left:-2000px'>a</div>", u"a\n\n"},
        {"choices", u"a<select><option>b</option>c<option selected>d</select>e", u"ace"},
        {"hidden up to the body", u"<option>a<body>b", u"b"},
        {"option that is never closed", u"<option>a<div>b", u"b"},
        {"frames", u"a<iframe>b</iframe>c<noframes>d</noframes>e<noscript>f</noscript>g", u"aceg"},
        {"not nested", u"<marquee>a<marquee>b</marquee>c</marquee>d", u"cd"},
        {"closed by blocks", u"<textarea>a<p>b<h1>c</h1><marquee>d<table>e", u"c\n\ne"},
        {"alternative texts of hidden images", u"<div class=hidden >a<img alt=b>c</div>d",
         u"b\n\nd"},
        {"empty elements hide nothing", u"<textarea/>a<iframe/>b<option/>c", u"abc"},
    };
    expectTexts(cases);
}

TEST(PlainText, LeavesFieldsThatAreNeverClosed) {
    for (const std::u16string_view field : {u"<textarea>", u"<marquee>"}) {
        for (const std::u16string_view tag : {u"<div>", u"<h3>", u"<pre>", u"<body>", u"<input>",
                                              u"<select>", u"<option/>", u"x<table>"}) {
            std::u16string page = u"xy";
            page.append(field).append(u"a").append(tag).append(u"b");
            EXPECT_TRUE(stringByConvertingHtml2PlainText(page).ends_with(u"b")) << toUtf8(page);
        }
    }
}

TEST(PlainText, FindsWhatHidesAnywhereInATag) {
    for (const std::u16string_view sign :
         {u"WIDTH=2", u"style='width:2px'", u"style='left:-1001px;position:absolute'",
          u"x='display:' y=none", u"x=visibility y=hidden"}) {
        for (std::size_t length = 8; length < 30; ++length) {
            const std::u16string tag =
                u"<DIV x=" + std::u16string(length, u'z') + u' ' + std::u16string(sign) + u'>';
            EXPECT_EQ(stringByConvertingHtml2PlainText(tag + u"a<div>b"), u"b") << toUtf8(tag);
        }
    }
}

TEST(PlainText, WritesAlternativeTexts) {
    static constexpr Case cases[] = {
        {"alt before title", u"a<img title=t alt='x  &amp; y'>b", u"a x & y b"},
        {"title", u"<img alt='' title=t>", u"t"},
        {"neither", u"a<img src=x>b", u"a b"},
        {"white alternative text", u"a<img alt='&nbsp;'>b", u"a b"},
    };
    expectTexts(cases);
    EXPECT_EQ(stringByConvertingHtml2PlainText(u"a<img alt=x>b", {.imageAlts = false}), u"ab");
}

TEST(PlainText, ConvertsOnlyTheBody) {
    static constexpr Case cases[] = {
        {"title and rest", u"<html><head><title>t</title></head><body>a</body>b</html>", u"a"},
        {"no body", u"<title>t</title>a", u"ta"},
        {"empty body", u"t<body></body>u", u""},
        {"empty element is none", u"t<body/>u", u"tu"},
        {"nested", u"<body>a<body>b</body>c</body>d", u"abc"},
        {"body inside a head", u"<head><body>a</body></head>b", u"ab"},
        {"closing head alone begins it", u"t</head>a", u"a"},
        {"frame fallback", u"t<noframes>a<body>b</body></noframes>c<p>", u"c\n\n"},
        {"noscript in front", u"<noscript>a</noscript>b<body>c", u"bc"},
    };
    expectTexts(cases, {.onlyBody = true});
    EXPECT_EQ(stringByConvertingHtml2PlainText(u"<title>t</title><body>a"), u"ta");
}

TEST(PlainText, ObeysDirectivesOfIndexers) {
    static constexpr Case cases[] = {
        {"index", u"a<!--googleoff: index-->b<!--googleon: index-->c", u"ac"},
        {"all", u"a<!--GOOGLEOFF: ALL-->b<!--googleon: snippet-->c", u"a"},
        {"anchor changes nothing", u"a<!--googleoff: anchor-->b", u"ab"},
        {"on before off", u"<!--googleoff: index-->a<!--googleoff: googleon: index-->b", u"b"},
        {"shortest", u"a<!-googleoff:all->b<!-googleoff: all->c", u"ab"},
        {"feed dates", u"a<font class=feed_date>b</font>c<font class=Feed_Date>d", u"acd"},
    };
    expectTexts(cases, {.googleTags = true});
    EXPECT_EQ(stringByConvertingHtml2PlainText(cases[0].html), u"abc");
    EXPECT_EQ(
        stringByConvertingHtml2PlainText(u"<!--googleoff: index--><body>a<!--googleon: all-->b",
                                         {.onlyBody = true, .googleTags = true}),
        u"b");
}

std::u16string repeated(std::u16string_view piece, int times) {
    std::u16string text;
    while (times-- > 0) text += piece;
    return text;
}

// 154 letters and digits, and 21 separators inside.
const std::u16string kProse = repeated(u"seven77 ", 22);

TEST(PlainText, RemovesJunk) {
    struct JunkCase {
        const char* name;
        std::u16string html, text;
        bool removed;
    };
    const std::u16string tiny = u"<font style='font-size:2pt'>", end = u"</font>";
    const auto x = [](std::size_t n) { return std::u16string(n, u'x'); };
    const JunkCase cases[] = {
        {"nothing to remove", u"a<b>b", u"ab", false},
        {"title and what stands before it", u"a<title>b</title>c", u"c", false},
        {"invisible", u"<body bgcolor=white><font color=WHITE>words</font>a", u"a", false},
        {"visible", u"<body bgcolor=white><font color=black>words</font>a", u"wordsa", false},
        {"tiny", tiny + u"words</font>a", u"a", false},
        {"not tiny", u"<font style='font-size:12pt'>a<font style='font-size:5pt'>b", u"ab", false},
        {"the first size counts", u"<font style='padding:1px;font-size:9pt;x:2pt'>a", u"a", false},
        {"tiny prose", tiny + kProse + end + u"a", u"a", true},
        {"tiny, but no prose", tiny + x(200) + end + u"a", u"a", false},
        {"tiny, but words too short", tiny + repeated(u"five5 ", 30) + end + u"a", u"a", false},
        {"longest run", x(10000), x(10000), false},
        {"longer run", u"a" + x(10000) + u"<b>b", u"b", true},
        {"longest link", u"<a>" + x(3500) + u"</a>", x(3500), false},
        {"longer link", u"<a>" + x(3501) + u"</a>b", u"b", true},
        {"longer heading", u"<h1>" + x(3501) + u"</h1>b", u"b", true},
        {"links closed before", u"</a></a><a>" + x(3501) + u"</a>b", u"b", true},
        {"empty link opens", u"<a/>" + x(3501) + u"<b>b", u"b", true},
        {"longest line", x(10000) + u"<b>" + x(10000), x(20000), false},
        {"longer line", u"a<br>" + x(10000) + u"<b>" + x(10000) + u"<b>y", u"a\n", true},
        {"long preformatted run", u"<pre>" + x(20000), u"\n\n" + x(20000), false},
        {"longer preformatted run", u"<pre>" + x(20001), u"\n\n", true},
    };
    for (const JunkCase& c : cases) {
        bool removed = !c.removed;
        EXPECT_EQ(stringByConvertingHtml2PlainText(c.html, {.removeJunk = true}, &removed), c.text)
            << c.name;
        EXPECT_EQ(removed, c.removed) << c.name;
    }
    // A run that a marquee hides is measured as well.
    bool removed = false;
    stringByConvertingHtml2PlainText(tiny + u"<marquee>" + kProse, {}, &removed);
    EXPECT_TRUE(removed);
    EXPECT_EQ(stringByConvertingHtml2PlainText(u"<pre>" + x(20001) + u"\n\nb",
                                               {.reformat = true, .removeJunk = true}),
              u"\n\nb");
}

TEST(PlainText, DecodesAsAsked) {
    constexpr std::u16string_view page = u"\u00FC&uuml; &lt;&amp;&quot;&gt; &LT;a; &lt;a;";
    struct DecodeCase {
        PlainTextOptions options;
        std::u16string_view text;
    };
    const DecodeCase cases[] = {
        {{}, u"\u00FC\u00FC <&\"> &LT;a; <a;"},
        {{.nonUmlauted = true}, u"uu <&\"> &LT;a; <a;"},
        {{.stdEntities = false}, u"\u00FC\u00FC &lt;&amp;&quot;&gt; &LT;a; &lt;a;"},
        {{.entities = false}, u"\u00FC&uuml; <&\"> &LT;a; &lt;a;"},
        {{.entities = false, .nonUmlauted = true}, u"\u00FC&uuml; <&\"> &LT;a; &lt;a;"},
        {{.entities = false, .stdEntities = false}, page},
    };
    for (const DecodeCase& c : cases) {
        EXPECT_EQ(stringByConvertingHtml2PlainText(page, c.options), c.text);
    }
    EXPECT_EQ(stringByConvertingHtml2PlainTextNonUmlauted(u"\u00E9t\u00E9s", true), u"etes");
    // kept: less than four units keep their accents, too.
    EXPECT_EQ(stringByConvertingHtml2PlainTextNonUmlauted(u"\u00E9t\u00E9", true),
              u"\u00E9t\u00E9");
}

TEST(PlainText, Simplified) {
    static constexpr Case cases[] = {
        {"a space before every run", u"<b>a</b>b", u" a b"},
        {"white space as it stands", u" a\n <p>b&amp;c</p>", u"  a\n  b&c"},
        {"no text", u"<img src=x>", u"<img src=x>"},
        {"nothing", u"", u""},
        {"only the body", u"<title>t</title><body>a<div class=hidden >b</body>c", u" a b"},
        {"body without text", u"t<body></body>", u" t"},
        {"head inside", u"<body>a<head>b</head>c", u" a c"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(stringByConvertingHtml2SimplifiedPlainText(c.html), c.text) << c.name;
    }
}

TEST(PlainText, TakesAnything) {
    std::u16string page;
    for (int i = 0; i < 100000; ++i) page += u"<div>";
    EXPECT_EQ(stringByConvertingHtml2PlainText(page + u"a"), u"a");
    // Each tag writes as much as it can.
    page.clear();
    std::u16string expected;
    for (int i = 0; i < 10000; ++i) page += u"<pre> ", expected += u"\n\n  ";
    EXPECT_EQ(stringByConvertingHtml2PlainText(page), expected);
    EXPECT_EQ(stringByConvertingHtml2PlainText(u"a<script>b</script"), u"a");
    EXPECT_EQ(stringByConvertingHtml2PlainText(u"a < b <c"), u"a < b <c");
}

}  // namespace
}  // namespace corvy
