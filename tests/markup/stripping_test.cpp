#include "markup/stripping.h"

#include <gtest/gtest.h>

namespace corvy {
namespace {

struct Case {
    const char* name;
    std::u16string_view html;
    std::u16string_view expected;
};

TEST(Stripping, StripsTags) {
    static constexpr Case cases[] = {
        {"texts are kept apart", u"a<b>c</b> d", u"a c  d"},
        {"no blank in front", u"<p>Hello</p><p>World</p>", u"Hello World"},
        {"comment", u"x<!-- c -->y", u"x y"},
        {"section", u"x<![CDATA[z]]>y", u"x y"},
        {"white space ends the first text", u"a\u00A0<b>c\n</b>d", u"a\u00A0c\nd"},
        {"script and style go with their content", u"a<script>if (a<b) c</script>b<style>x</style>",
         u"a b"},
        {"no tags", u"1 < 2", u"1 < 2"},
        {"unterminated tag is text", u"a<b>c <i", u"a c <i"},
        {"unterminated comment", u"a<!-- b", u"a"},
        {"script whose closing text has no end", u"a<script>x</script", u"a"},
        {"only tags", u"<p></p>", u""},
        {"empty", u"", u""},
    };
    for (const Case& c : cases) EXPECT_EQ(stripTags(c.html), c.expected) << c.name;
}

TEST(Stripping, StripsOneTag) {
    struct NamedCase {
        const char* name;
        std::u16string_view html, tag, expected;
    };
    static constexpr NamedCase cases[] = {
        {"any case, other names stay", u"a<b>bold</B>c<br>", u"B", u"aboldc<br>"},
        {"what comes before stays", u"<!-- x --><p>1<b>2</b><p>3", u"B", u"<!-- x --><p>12<p>3"},
        {"what comes behind stays", u"<b>1</b><!-- x --> <i>2", u"B", u"1<!-- x --> <i>2"},
        {"names are given in upper case", u"<b>1</b>", u"b", u"<b>1</b>"},
        {"no name", u"<b>1</b><>", u"", u"<b>1</b><>"},
        {"does not occur", u"<i>1</i>", u"B", u"<i>1</i>"},
        {"script goes as a whole", u"1<script>x</script>2", u"SCRIPT", u"12"},
        {"script without an end", u"1<script>x</script", u"SCRIPT", u"1"},
    };
    for (const NamedCase& c : cases) EXPECT_EQ(stripTag(c.html, c.tag), c.expected) << c.name;
}

TEST(Stripping, StripsAttributes) {
    static constexpr Case cases[] = {
        {"link target stays", u"<a class=x href='u.html' target=_blank>t</a>",
         u"<A HREF=\"u.html\">t</A>"},
        {"empty element with target", u"<a href=\"u\" />x", u"<A HREF=\"u\"/>x"},
        {"source", u"<a src=p.gif alt=x>", u"<A SRC=\"p.gif\">"},
        {"target before source", u"<a src=p href=u>", u"<A HREF=\"u\">"},
        {"neither", u"1<a name=x>2</a>3", u"1<A>2</A>3"},
        {"kept: empty element without either", u"1<a name='x'/>2", u"12"},
        {"end tag with attributes", u"</a href=x >", u"</A>"},
        {"other tags", u"<b x=1>1</b>", u"<b x=1>1</b>"},
    };
    for (const Case& c : cases) EXPECT_EQ(stripAttributesOfTag(c.html, u"A"), c.expected) << c.name;
    EXPECT_EQ(stripAttributesOfTag(u"<a x=1>", u""), u"<a x=1>");
}

TEST(Stripping, StripsLinks) {
    static constexpr Case cases[] = {
        {"both blanks stay", u"x <a href=u>y</a> z", u"x  z"},
        {"tags inside stay", u"1<A href=u>2<b>3</b>4</A>5", u"1<b></b>5"},
        {"never closed", u"1<a href=u>2<b>3</b>4<!-- c -->5", u"1<b></b><!-- c -->"},
        {"empty element ends a link", u"1<a>2<a/>3", u"13"},
        {"end tag alone", u"1</a>2", u"12"},
        {"link tags go", u"1<link rel=x>2<LINK/>3</link>", u"123"},
        {"other names stay", u"<abbr>1</abbr>", u"<abbr>1</abbr>"},
        {"script without an end inside", u"<a>1<script>2</script", u"<script>2</script"},
        {"empty", u"", u""},
    };
    for (const Case& c : cases) EXPECT_EQ(stripLinks(c.html), c.expected) << c.name;
}

TEST(Stripping, RemovesElements) {
    struct BodyCase {
        const char* name;
        std::u16string_view html;
        std::vector<std::u16string> prefixes;
        std::u16string_view expected;
    };
    const BodyCase cases[] = {
        {"nested", u"1<div>2<div>3</div>4</div>5", {u"<div"}, u"15"},
        {"prefix with an attribute",
         u"<DIV CLASS=\"AD\">1</DIV><div>2</div>",
         {u"<div class=\"ad\""},
         u"<div>2</div>"},
        {"prefix of another name", u"<blockquote>1</blockquote><b>2</b>3", {u"<b"}, u"3"},
        {"other names inside do not count", u"<div>1<p>2</p></span>3</div>4", {u"<div"}, u"4"},
        {"never closed", u"1<div>2<div>3</div>4", {u"<div"}, u"1"},
        {"empty element closes", u"1<div>2<div/>3", {u"<div"}, u"13"},
        {"empty element opens nothing", u"1<br/>2", {u"<br"}, u"1<br/>2"},
        {"end tag opens nothing", u"1</div>2", {u"</div"}, u"1</div>2"},
        {"comments neither open nor close",
         u"<!-- 1 --><div><!-- </div> -->2</div>3",
         {u"<!--", u"<div"},
         u"<!-- 1 -->3"},
        {"second prefix, empty ones ignored",
         u"<i>1</i><u>2</u>3",
         {u"", u"<x", u"<u"},
         u"<i>1</i>3"},
        {"no usable prefix", u"<i>1</i>", {u"", u""}, u"<i>1</i>"},
        {"prefix longer than the tag", u"<i>1</i>", {u"<i class"}, u"<i>1</i>"},
        {"kept: script counts as opened", u"1<script>2</script>3", {u"<script"}, u"1"},
        {"everything", u"<i>1</i>", {u"<i"}, u""},
    };
    for (const BodyCase& c : cases) {
        EXPECT_EQ(stripTagBodies(c.html, c.prefixes), c.expected) << c.name;
    }
}

TEST(Stripping, KeepsElements) {
    using Prefixes = std::vector<std::u16string>;
    EXPECT_EQ(stripTagBodiesExcept(u"a<pre>x</pre>b<pre>y</pre>", Prefixes{u"<pre"}),
              u"<pre>x</pre>\n<pre>y</pre>\n");
    EXPECT_EQ(stripTagBodiesExcept(u"1<b>2<i>3<b>4</b>5</i></B>6", Prefixes{u"<i", u"<b"}),
              u"<b>2<i>3<b>4</b>5</i></B>\n");
    EXPECT_EQ(stripTagBodiesExcept(u"1<b>2<i>3", Prefixes{u"<b"}), u"<b>2<i>3");
    EXPECT_EQ(stripTagBodiesExcept(u"1<b>2</b>", Prefixes{u"<i"}), std::nullopt);
    EXPECT_EQ(stripTagBodiesExcept(u"1<b>2</b>", Prefixes{u""}), std::nullopt);
    EXPECT_EQ(stripTagBodiesExcept(u"", Prefixes{u"<b"}), std::nullopt);
}

TEST(Stripping, StripsObjects) {
    static constexpr Case cases[] = {
        {"elements with their content", u"1<object data=x><param name=y>2</object>3<VIDEO></VIDEO>",
         u"13"},
        {"nested", u"1<object>2<object>3</object><video>4</object>5</video>6", u"156"},
        {"never closed", u"1<iframe>2<img src=a.gif>3<embed src=b>4", u"12<img src=a.gif>34"},
        {"scripts and single tags", u"1<script>a</script>2<embed src=x>3<bgsound src=y/>4",
         u"1234"},
        {"images of advertising",
         u"1<img src='http://ads2.example.org/x.gif'>2"
         u"<img src=//www.AdServer.example.org/y.gif>3",
         u"123"},
        {"other images", u"<img src=http://radar.example.org/ad/x.gif><img src=ads.gif>",
         u"<img src=http://radar.example.org/ad/x.gif><img src=ads.gif>"},
        {"invisible images", u"1<img src=a.gif width=1 height=1>2<img src=a.gif width=1>",
         u"12<img src=a.gif width=1>"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(stripObjectsAndReplaceImages(c.html, false), c.expected) << c.name;
    }
    EXPECT_EQ(stripObjectsAndReplaceImages(u"1<img alt='A &amp; B' src=a>2<img src=b>3", true),
              u"1[A &amp; B]23");
}

}  // namespace
}  // namespace corvy
