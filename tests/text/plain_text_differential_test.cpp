// The conversion against its plain form, on pages made of what means something to it.
#include <gtest/gtest.h>

#include <random>

#include "foundation/text.h"
#include "tests/text/literal_plain_text.h"

namespace corvy {
namespace {

constexpr std::u16string_view kTokens[] = {
    u"a",
    u"Word",
    u"two words",
    u" ",
    u"  ",
    u"\n",
    u"\r\n",
    u"\t",
    u"\u00A0",
    u"\u2028",
    u"\uFEFF",
    u"\u00E9t\u00E9",
    u"\u4E2D\u6587\u3000\u5B57",
    u"&amp;",
    u"&nbsp;",
    u"&lt;",
    u"&eacute",
    u"&#160;&#10;",
    u"&quot;",
    u"&lt;a;",
    u"- item",
    u"/ path",
    u"> quote",
    u"}",
    u"<p>",
    u"</p>",
    u"<br/>",
    u"<li>",
    u"<tr>",
    u"<td>",
    u"</TH>",
    u"<table>",
    u"</table>",
    u"<h1>",
    u"</h3>",
    u"<h>",
    u"<hr>",
    u"<code>",
    u"</cite>",
    u"<div>",
    u"</div>",
    u"<div class=hidden >",
    u"<div style='display: none'>",
    u"<div width=2 height=200>",
    u"<div width=90 height=-1>",
    u"<div style='Position:Absolute; left:-2000px'>",
    u"<div style='visibility:hidden'>",
    u"<b>",
    u"</b>",
    u"<a>",
    u"<a/>",
    u"</a>",
    u"<pre>",
    u"<pre/>",
    u"</pre>",
    u"<PlainText>",
    u"</plaintext>",
    u"<blockquote>",
    u"<img alt=x>",
    u"<img title=' y  &amp; '>",
    u"<img src=z.gif>",
    u"<font color=RED>",
    u"<font style='font-size:2pt'>",
    u"<font style='Font-Size:12pt'>",
    u"<font class=feed_date>",
    u"</font>",
    u"<body bgcolor=red>",
    u"<body>",
    u"</body>",
    u"<body/>",
    u"<head>",
    u"</head>",
    u"<title>",
    u"</title>",
    u"<input>",
    u"<iframe>",
    u"</iframe>",
    u"<noframes>",
    u"</noframes>",
    u"<noscript>",
    u"</noscript>",
    u"<option>",
    u"</option>",
    u"<option selected>",
    u"<select>",
    u"<marquee>",
    u"</marquee>",
    u"<textarea>",
    u"</textarea>",
    u"<script>",
    u"</script",
    u"<!-- c -->",
    u"<!--googleoff: index-->",
    u"<!--googleon: all-->",
    u"<!--GoogleOff: snippet-->",
    u"<>",
    u"<",
    u"<![CDATA[ d ]]>",
};

PlainTextOptions optionsOf(unsigned bits) {
    const auto bit = [bits](unsigned i) { return (bits >> i & 1) != 0; };
    return {bit(0), bit(1), bit(2), bit(3), bit(4), bit(5), bit(6), bit(7)};
}

bool agrees(const std::u16string& html, unsigned optionBits) {
    const PlainTextOptions options = optionsOf(optionBits);
    const literal::PlainText expected = literal::plainText(html, options);
    literal::PlainText found;
    found.text = stringByConvertingHtml2PlainText(html, options, &found.didRemoveJunk);
    EXPECT_EQ(found.text, expected.text) << toUtf8(html) << "\noptions " << optionBits;
    EXPECT_EQ(found.didRemoveJunk, expected.didRemoveJunk) << toUtf8(html) << optionBits;
    return found == expected;
}

TEST(PlainTextDifferential, RandomPages) {
    std::mt19937 random(4);
    for (int page = 0; page < 60000; ++page) {
        std::u16string html;
        const std::size_t count = 1 + random() % 24;
        for (std::size_t i = 0; i < count; ++i) html += kTokens[random() % std::size(kTokens)];
        if (!agrees(html, random() % 256)) return;
    }
}

// Lengths about those that junk is told by, and texts long enough to be copied by blocks.
TEST(PlainTextDifferential, LongRuns) {
    static constexpr std::u16string_view pieces[] = {
        u"word ",  u"longer words, ", u"x",      u"  ", u"\n", u"\r\n\r\n",
        u"&amp; ", u"\u00FC\u2009",   u"\u4E2D",
    };
    static constexpr std::size_t lengths[] = {20,   99,    100,   130,   3500,
                                              3501, 10000, 10001, 20000, 20001};
    static constexpr std::u16string_view tags[] = {
        u"<p>",     u"<pre>", u"</pre>", u"<a>",     u"</a>",
        u"<b>",     u"<td>",  u"<code>", u"<table>", u"<font style='font-size:1pt'>",
        u"</font>",
    };
    std::mt19937 random(5);
    for (int page = 0; page < 600; ++page) {
        std::u16string html;
        const std::size_t runs = 1 + random() % 6;
        for (std::size_t i = 0; i < runs; ++i) {
            html += tags[random() % std::size(tags)];
            const std::size_t end = html.size() + lengths[random() % std::size(lengths)];
            const std::size_t variety = 1 + random() % std::size(pieces);
            while (html.size() < end) html += pieces[random() % variety];
            html.resize(end);
        }
        if (!agrees(html, random() % 256 | (random() % 2 ? 0x20 : 0))) return;
    }
}

}  // namespace
}  // namespace corvy
