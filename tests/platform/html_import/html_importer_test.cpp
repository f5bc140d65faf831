#include "platform/html_import/html_importer.h"

#include <gtest/gtest.h>

#include "foundation/big_endian.h"
#include "platform/html_import/nesting_guard.h"
#include "tests/platform/html_import/page_text.h"

namespace corvy {
namespace {

using platform::AttributedText;
using platform::ParagraphStyle;

std::string textOf(std::string_view html) {
    return toUtf8(test::pageText("<!doctype html>" + std::string(html)).string());
}

TEST(HtmlImporter, BreaksLinesAndParagraphs) {
    struct Case {
        const char* name;
        const char* html;
        const char* text;
    };
    constexpr Case cases[] = {
        {"nothing", "", ""},
        {"white space is joined across elements", " a <b> b</b> \n <i>\tc </i><p> d ", "a b c\nd"},
        {"none at the start and end of lines", "<p> a <br> b <br></p> c",
         "a\xE2\x80\xA8"
         "b\nc"},
        {"a break at the end adds nothing, a second one does", "a<br><br><div>b<br></div>c",
         "a\xE2\x80\xA8\nb\nc"},
        {"breaks alone are lines", "<div>a</div><br><br>b",
         "a\n\xE2\x80\xA8\xE2\x80\xA8"
         "b"},
        {"empty blocks are nothing", "<div><p></p><p> </p></div>a<div></div>b", "a\nb"},
        {"pre keeps lines, but not the first and last", "<pre>\n a\tb\n\n c\n</pre>d",
         " a\tb\n\n c\nd"},
        {"pre-line keeps lines alone", "<p style='white-space:pre-line'>a  b \n  c\n</p>d",
         "a b\nc\nd"},
        {"spaces that do not break", "a&nbsp; &nbsp;b",
         "a\xC2\xA0 \xC2\xA0"
         "b"},
        {"characters with a meaning of their own are dropped", "a&#xFFFC;b&#x2028;c&#1;d&#x2029;",
         "abcd"},
        {"flex items are boxes, inline blocks are not",
         "<div style='display:flex'><a>a</a><a>b</a></div><b style='display:inline-block'>c</b>d",
         "a\nb\ncd"},
        {"headers break, links do not", "a<h2>b</h2><a href=x>c</a>d", "a\nb\ncd"},
        {"tables end paragraphs even when they are empty",
         "<table><tr><td>a<td><tr><th>b<td>c</table>d", "a\n\nb\nc\nd"},
        {"an empty cell is a paragraph", "<table><tr><td>", "\n"},
        {"text of no size is hidden", "a<b style='font-size:0'>b</b>c", "ac"},
        {"only scripts would show it", "<style>html{display:none}</style><p>a<i hidden>b", "a"},
        {"nothing is shown at all", "<div style='display:none'>a<script>b</script></div>", "a"},
        {"ruby, wbr, noscript and forms",
         "<ruby>a<rp>(</rp><rt>b</rt></ruby>c<wbr>d<noscript>e"
         "</noscript><button>f</button><textarea>g</textarea><input value=h>",
         "abcdefg"},
    };
    for (const Case& c : cases) EXPECT_EQ(textOf(c.html), c.text) << c.name;
}

TEST(HtmlImporter, MarksListItems) {
    struct Case {
        const char* html;
        const char* text;
    };
    constexpr Case cases[] = {
        {"<ul><li>a<ul><li>b<p>c</ul><li>d</ul>",
         "\t\xE2\x80\xA2\ta\n\t\xE2\x97\xA6\tb\nc\n\t\xE2\x80\xA2\td"},
        {"<ol start=3><li>a<li value=9>b<li>c</ol>", "\t3.\ta\n\t9.\tb\n\t10.\tc"},
        {"<ol reversed type=a><li>a<li>b</ol>", "\tb.\ta\n\ta.\tb"},
        {"<ol type=I start=1999><li>a</ol><ol type=i start=0><li>b</ol>", "\tMCMXCIX.\ta\n\t0.\tb"},
        {"<ol type=A start=26><li>a<li>b</ol>", "\tZ.\ta\n\tAA.\tb"},
        {"<ul style='list-style:none'><li>a</ul>", "a"},
        {"<ul style=\"list-style-type:'->'\"><li>a</ul>", "\t->\ta"},
        {"<ul><li><ul><li>a</ul></ul>", "\t\xE2\x97\xA6\ta"},
        {"<ul><li></li><li>a</ul>", "\t\xE2\x80\xA2\ta"},
        {"<p style='display:list-item'>a", "\t\xE2\x80\xA2\ta"},
    };
    for (const Case& c : cases) EXPECT_EQ(textOf(c.html), c.text) << c.html;

    const AttributedText text =
        test::pageText("<!doctype html><ol><li>a<ul><li>b</ul></ol><ul><li>c</ul>");
    ASSERT_EQ(text.lists().size(), 3U);
    EXPECT_EQ(text.lists()[0].markerFormat, u"{decimal}.");
    EXPECT_EQ(text.lists()[1].markerFormat, u"{circle}");
    const ParagraphStyle& inner = text.paragraphStyleAt(text.string().find(u'b'));
    EXPECT_EQ(inner.lists, (std::vector<std::uint32_t>{0, 1}));
    EXPECT_EQ(inner.headIndent, 60);
    EXPECT_EQ(inner.firstLineIndent, 30);
    EXPECT_EQ(inner.tabs, (std::vector<platform::TabStop>{{41, platform::TabKind::left},
                                                          {60, platform::TabKind::left}}));
    EXPECT_EQ(text.paragraphStyleAt(text.length() - 1).lists, std::vector<std::uint32_t>{2});
}

TEST(HtmlImporter, StylesParagraphs) {
    const AttributedText text = test::pageText(
        "<!doctype html><h1 align=center>h</h1><p style='margin:4px 8px 20px;text-indent:12px'>p"
        "<blockquote dir=rtl style='text-align:end'>q</blockquote>"
        "<pre style='margin:8px 0'>x\ny\nz</pre><div>d</div>");
    const auto styleOf = [&](char16_t c) -> const ParagraphStyle& {
        return text.paragraphStyleAt(text.string().find(c));
    };
    EXPECT_EQ(styleOf(u'h').alignment, platform::TextAlignment::center);
    EXPECT_EQ(styleOf(u'h').headerLevel, 1);
    EXPECT_NEAR(styleOf(u'h').spacingAfter, 16.08, 0.001) << "the larger of the two margins";
    EXPECT_EQ(styleOf(u'p').headIndent, 6);
    EXPECT_EQ(styleOf(u'p').tailIndent, 6);
    EXPECT_EQ(styleOf(u'p').firstLineIndent, 15);
    EXPECT_EQ(styleOf(u'p').spacingAfter, 15);
    EXPECT_EQ(styleOf(u'q').direction, platform::WritingDirection::rightToLeft);
    EXPECT_EQ(styleOf(u'q').alignment, platform::TextAlignment::left);
    EXPECT_EQ(styleOf(u'q').headIndent, 30);
    EXPECT_EQ(styleOf(u'x').spacingAfter, 0);
    EXPECT_EQ(styleOf(u'y').spacingAfter, 0);
    EXPECT_EQ(styleOf(u'z').spacingAfter, 6);
    EXPECT_EQ(styleOf(u'd').spacingAfter, 0);
}

TEST(HtmlImporter, PlacesCells) {
    const AttributedText text = test::pageText(
        "<!doctype html><p>0</p><table border=2 cellpadding=4 width='50%' bgcolor=lime>"
        "<caption>k</caption>"
        "<tr><td rowspan=2 style='background:#ff0;width:40px;vertical-align:bottom'>a"
        "<td colspan=2>b<tr><td>c<td><table><tr><td>d</table></table><p>z");
    struct Case {
        char16_t character;
        std::size_t depth;
        std::uint32_t row, column, rowSpan, columnSpan;
    };
    constexpr Case cases[] = {
        {u'a', 1, 0, 0, 2, 1}, {u'b', 1, 0, 1, 1, 2}, {u'c', 1, 1, 1, 1, 1}, {u'd', 2, 0, 0, 1, 1}};
    for (const Case& c : cases) {
        const auto& cells = text.paragraphStyleAt(text.string().find(c.character)).cells;
        ASSERT_EQ(cells.size(), c.depth);
        const platform::TableCell& cell = cells.back();
        EXPECT_EQ(std::tie(cell.row, cell.column, cell.rowSpan, cell.columnSpan),
                  std::tie(c.row, c.column, c.rowSpan, c.columnSpan))
            << static_cast<char>(c.character);
    }
    const platform::TableCell& first =
        text.paragraphStyleAt(text.string().find(u'a')).cells.front();
    EXPECT_EQ(first.background, (platform::RgbColor{255, 255, 0}));
    EXPECT_EQ(first.width, (platform::TextLength{30, false}));
    EXPECT_EQ(first.padding.left, 3);
    EXPECT_EQ(first.borderWidth.top, 0.75);
    EXPECT_EQ(first.alignment, platform::VerticalAlignment::bottom);
    ASSERT_EQ(text.tables().size(), 2U);
    EXPECT_EQ(text.tables()[0].columns, 3U);
    EXPECT_EQ(text.tables()[0].width, (platform::TextLength{50, true}));
    EXPECT_TRUE(text.paragraphStyleAt(text.string().find(u'k')).cells.empty());
    const ParagraphStyle& behind = text.paragraphStyleAt(text.string().find(u'z'));
    EXPECT_TRUE(behind.cells.empty());
    EXPECT_EQ(behind.spacingBefore, 12) << "no paragraph in front of it can hold the gap";
}

std::string png(std::uint32_t width, std::uint32_t height) {
    std::string bytes = "\x89PNG\r\n\x1A\n....IHDR";
    appendBigEndian(bytes, width, 4);
    appendBigEndian(bytes, height, 4);
    return bytes;
}

TEST(HtmlImporter, TakesWhatItsLoaderGives) {
    test::MemoryLoader loader;
    loader.resources = {
        {u"http://h/b/s.css",
         "@import 'i.css';@import url(no.css) print;@import url(\"gone.css\");"
         "p{color:red}@import 'late.css';"},
        {u"http://h/b/i.css", "p{font-style:italic;color:blue}@import 's.css'"},
        {u"http://h/b/a%20b.x.png", png(40, 20)},
        {u"http://h/b/wide.gif", std::string("GIF89a\x20\x03\x10\x00", 10)},
        {u"http://h/b/page", "<p>not a picture"},
        {u"http://h/b/f", "<base href=/c/><p>frame <a href=x>x</a>"},
    };
    const AttributedText text = test::pageText(
        "<!doctype html><base href='/b/'><link rel=stylesheet href=s.css>"
        "<link rel='alternate stylesheet' href=no.css><link rel=stylesheet media=print href=no.css>"
        "<p>a<img src='a b.x.png' width=20><img src=wide.gif style='max-width:100px'>"
        "<img src=page><img src=gone.png alt=x><img src=a%20b.x.png height=1 width=1>"
        "<img srcset='a%20b.x.png 2x, no.png 3x' style='width:200%'><i hidden><img src=no.png></i>"
        "</p><iframe src=f></iframe><iframe srcdoc='<b>d'></iframe>"
        "<a href=#t>t</a><a href='javascript:x()'>j</a>",
        &loader);
    EXPECT_EQ(test::runsOf(text),
              "{a\xEF\xBF\xBC\xEF\xBF\xBC\xEF\xBF\xBC\n|i #ff0000}frame "
              "{x\n|#0000ee u link=http://h/c/x}{d\n|b}{t|#0000ee u link=http://h/b/#t}"
              "{j|#0000ee u}");
    EXPECT_EQ(loader.asked,
              (std::vector<std::u16string>{
                  u"http://h/b/s.css", u"http://h/b/i.css", u"http://h/b/gone.css",
                  u"http://h/b/a%20b.x.png", u"http://h/b/wide.gif", u"http://h/b/page",
                  u"http://h/b/gone.png", u"http://h/b/a%20b.x.png", u"http://h/b/f"}));
    ASSERT_EQ(text.attachments().size(), 3U);
    EXPECT_EQ(text.attachments()[0].file.name, u"a20b.x.png");
    EXPECT_EQ(text.attachments()[0].size, (Size{15, 7.5}));
    EXPECT_EQ(text.attachments()[1].file.name, u"wide.gif");
    EXPECT_EQ(text.attachments()[1].size, (Size{75, 1.5}));
    EXPECT_EQ(text.attachments()[2].size, (Size{30, 15})) << "a share of an unknown width";
}

// Each is more than a browser would bear in a time that counts; all of them have to end.
TEST(HtmlImporter, BearsHostilePages) {
    const auto repeated = [](std::string_view text, int times) {
        std::string all;
        for (int i = 0; i < times; ++i) all += text;
        return all;
    };
    std::string rules, fonts, attributes;
    for (int i = 0; i < 30000; ++i) {
        rules += ".a .b" + std::to_string(i) + " > p, * + * ~ i {color:red}";
        if (i < 3000) fonts += "<font x" + std::to_string(i) + "><p>";
        attributes += " a" + std::to_string(i);
    }
    struct Case {
        const char* name;
        std::string html;
        std::u16string end;
    };
    const Case cases[] = {
        {"nested elements", repeated("<div>", 100000) + "x", u"x"},
        {"nested and ended elements", repeated("<b>", 5000) + "x" + repeated("</b>", 5000) + "y",
         u"xy"},
        {"nested tables", repeated("<table><tr><td>", 3000) + "x", u"x\n"},
        {"formatting opened again and again", fonts + "x", u"x"},
        {"a rule for every element",
         "<style>" + rules + "</style>" + repeated("<p class=a><i>x</i></p>", 4500), u"x"},
        {"a long attribute", "<p class='" + repeated("k ", 500000) + "'>x", u"x"},
        {"many attributes", "<p" + attributes + ">x", u"x"},
        {"variables that double",
         "<style>p{--a:x x;" +
             [] {
                 std::string all;
                 for (int i = 1; i < 64; ++i) {
                     const std::string before = i == 1 ? "a" : "a" + std::to_string(i - 1);
                     all +=
                         "--a" + std::to_string(i) + ":var(--" + before + ")var(--" + before + ");";
                 }
                 return all + "color:var(--a63)}</style><p>x";
             }(),
         u"x"},
        {"nested rules", "<style>" + repeated("a{&,& &{", 2000) + "</style><p>x", u"x"},
        {"nested functions", "<style>p{width:" + repeated("calc(", 50000) + "</style><p>x", u"x"},
        {"spans", "<table>" + repeated("<tr><td colspan=99999 rowspan=99999>x", 300), u"x\n"},
    };
    for (const Case& c : cases) {
        const std::u16string text = test::pageText(c.html).string();
        EXPECT_TRUE(text.ends_with(c.end)) << c.name << " " << text.size();
    }
}

TEST(NestingGuard, DropsOnlyWhatIsTooDeep) {
    const auto repeated = [](std::string_view text, std::size_t times) {
        std::string all;
        for (std::size_t i = 0; i < times; ++i) all += text;
        return all;
    };
    constexpr std::size_t kMany = 2 * platform::kDeepestElement;
    const std::string untouched[] = {
        repeated("<p>x", kMany),
        repeated("<li><b>x</b>", kMany),
        "<table>" + repeated("<tr><td>x", kMany),
        repeated("<br><img src='>'>", kMany),
        "<script>" + repeated("<div>", kMany) + "</script>",
        "<!--" + repeated("<div>", kMany) + "-->",
        repeated("<i title='</i>'>x</i>", kMany),
        "<dl>" + repeated("<dt>x<dd>y", kMany),
        "<",
        "<a",
        "</",
        "<!--",
        "<a b='",
        "<script>",
        "<a b",
        "<!",
    };
    for (const std::string& html : untouched) {
        EXPECT_FALSE(platform::withoutExcess(html)) << html.substr(0, 20);
    }
    EXPECT_EQ(platform::withoutExcess(repeated("<div>", platform::kDeepestElement) +
                                      "<p a='>'>x</p><b>y</b></div></div>z"),
              repeated("<div>", platform::kDeepestElement) + "xy</div></div>z");
    EXPECT_EQ(platform::withoutExcess("<a" + repeated(" b=c", platform::kMostAttributes) + " d>x"),
              "<a" + repeated(" b=c", platform::kMostAttributes) + " >x");
}

}  // namespace
}  // namespace corvy
