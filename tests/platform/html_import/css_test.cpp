// Style sheets, by what they do to the text of a page.
#include <gtest/gtest.h>

#include "tests/platform/html_import/page_text.h"

namespace corvy {
namespace {

struct Case {
    const char* name;
    std::string css;
    std::string body;
    std::string expected;
};

void check(std::initializer_list<Case> cases) {
    for (const Case& c : cases) {
        EXPECT_EQ(test::page("<!doctype html><style>" + c.css + "</style>" + c.body), c.expected)
            << c.name;
    }
}

// The letters and digits of the runs that have an attribute.
std::string wordsWith(const std::string& attribute, const std::string& runs) {
    std::string words;
    for (std::size_t at = 0; (at = runs.find('{', at)) != runs.npos; ++at) {
        const std::size_t bar = runs.find('|', at);
        const std::string notes = " " + runs.substr(bar + 1, runs.find('}', bar) - bar - 1) + " ";
        if (notes.find(" " + attribute + " ") == notes.npos) continue;
        for (std::size_t i = at; i < bar; ++i) {
            if (std::isalnum(static_cast<unsigned char>(runs[i]))) words += runs[i];
        }
    }
    return words;
}

TEST(Css, ReadsTokensAndRecovers) {
    check({
        {"a bracket in a prelude swallows the sheet", "<![CDATA[ p{color:red} b{color:red}", "<p>a",
         "a"},
        {"a bad rule takes no good one along", "p:foo(} ) x{color:blue} p{color:red}", "<p>a",
         "{a|#ff0000}"},
        {"comments, also unfinished", "/*}*/p/**/{/*:;*/color/**/:/**/red}/* b{color:blue}", "<p>a",
         "{a|#ff0000}"},
        {"an escaped name", "\\70{c\\6F lor:red}.a\\:b\\31 {font-style:italic}",
         "<p class='a:b1'>a", "{a|i #ff0000}"},
        {"a declaration without colon loses itself only", "p{color;color red;font-style:italic}",
         "<p>a", "{a|i}"},
        {"a semicolon in brackets is no end", "p{x:(;color:blue;);color:red;y:\";\";}", "<p>a",
         "{a|#ff0000}"},
        {"a line break ends a string, and its declaration", "p{x:'a\n;color:red}", "<p>a",
         "{a|#ff0000}"},
        {"what is open at the end is closed", "@media screen{p{color:red", "<p>a", "{a|#ff0000}"},
        {"HTML comments", "<!-- p{color:red} -->", "<p>a", "{a|#ff0000}"},
        {"an unknown at-rule with its block", "@x y{p{color:blue}}@z;p{color:red}", "<p>a",
         "{a|#ff0000}"},
        {"a nested rule, and what stands behind it",
         "div{&.c p{color:red} b{font-style:italic} font-size:8pt}",
         "<div class=c><p>a<b>b</b></div><div><p>c</div>", "{a|8 #ff0000}{b\n|b i 8 #ff0000}{c|8}"},
        {"invalid values do not count",
         "p{color:red;color:#12345;color:rgb(1,2);font-size:-3px;"
         "font-size:7;display:nonsense}",
         "<p>a", "{a|#ff0000}"},
    });
}

TEST(Css, Selects) {
    const std::string list =
        "<ul style='padding:0;margin:0;list-style:none'><li>1<li>2<li>3<li>4"
        "<li>5</ul>";
    struct Selected {
        const char* selector;
        const char* body;
        const char* expected;
    };
    // The words in the elements that the selector matches, which are <i> or <b> in the body.
    constexpr Selected cases[] = {
        {"I", "<i>a</i>", "a"},
        {".A", "<i class=A>a</i><i class=a>b</i>", "a"},
        {"i.x.y", "<i class='y z x'>a</i><i class=x>b</i>", "a"},
        {"#q", "<i id=q>a</i><i id=Q>b</i>", "a"},
        {"p i", "<p><b><i>a</i></b></p><i>b</i>", "a"},
        {"p > i", "<p><i>a</i><b><i>b</i></b>", "a"},
        {"b + i", "<p><i>a</i><b></b> x <i>b</i><i>c</i>", "b"},
        {"b ~ i", "<p><i>a</i><b></b><i>b</i><i>c</i>", "bc"},
        // The nearest candidates lead nowhere: another one must be tried.
        {".x > .y i", "<div class=x><div class=y><p class=y><i>a</i></p></div></div>", "a"},
        {".x .y > .z i", "<p class=x><s class=y><s class=z><s class=z><i>a</i>", "a"},
        {".x + .y ~ i", "<p><s class=x></s><s class=y></s><s class=y></s><i>a</i>", "a"},
        {".x ~ .y .z i", "<div class=x></div><div class=y><p class=z><s class=z><i>a</i>", "a"},
        {"[title]", "<i title>a</i><i>b</i>", "a"},
        {"[title='v w']", "<i title='v w'>a</i><i title=v>b</i>", "a"},
        {"[title~=w]", "<i title='v w'>a</i><i title=vw>b</i>", "a"},
        {"[title|=en]", "<i title=en-US>a</i><i title=en>b</i><i title=eng>c</i>", "ab"},
        {"[title^=a][title$=c][title*=b]", "<i title=abc>a</i><i title=ac>b</i>", "a"},
        {"[title^='']", "<i title=x>a</i>", ""},
        {"[title=V i]", "<i title=v>a</i>", "a"},
        {"[type=A]", "<i type=a>a</i>", "a"},
        {"i:first-child", "<p><i>a</i><i>b</i>", "a"},
        {"i:last-child", "<p><i>a</i>x<i>b</i> y", "b"},
        {"i:only-of-type", "<p><i>a</i><b></b><p><i>b</i><i>c</i>", "a"},
        {"i:nth-of-type(2)", "<p><i>a</i><b></b><i>b</i>", "b"},
        {"i:nth-last-of-type(2)", "<p><i>a</i><b></b><i>b</i>", "a"},
        {"i:nth-child(2 of .x)", "<p><i class=x>a</i><i>b</i><i class=x>c</i>", "c"},
        {"i:not(.x, b i)", "<i class=x>a</i><i>b</i><b><i>c</i></b>", "b"},
        {":is(p, div) > :is(:foo, i)", "<div><i>a</i></div>", "a"},
        {"i:not(:foo)", "<i>a</i>", ""},
        {"i:where(.x)", "<i class=x>a</i>", "a"},
        {"i:empty, i:root, i:hover, i::before", "<i>a</i>", ""},
        {"i:lang(en)", "<p lang=en-GB><i>a</i><i lang=de>b</i>", "a"},
        {"i, b:foo", "<i>a</i>", ""},
        {"*|i", "<i>a</i>", "a"},
        {"i >", "<i>a</i>", ""},
    };
    for (const Selected& c : cases) {
        const std::string text =
            test::page("<!doctype html><style>i,b{font-style:normal;font-weight:400}" +
                       std::string(c.selector) + "{letter-spacing:0;color:#00f}</style>" + c.body);
        EXPECT_EQ(wordsWith("#0000ff", text), c.expected) << c.selector;
    }
    const std::pair<const char*, const char*> formulas[] = {
        {"odd", "135"}, {"even", "24"},   {"3", "3"},    {"2n+1", "135"}, {"-n+2", "12"},
        {"n+4", "45"},  {"3N - 1", "25"}, {"0n+2", "2"}, {"-2n+3", "13"}, {"+n", "12345"},
        {"n+", ""},     {"2 n", "24"},    {"--n", ""},   {"-1", ""},
    };
    for (const auto& [formula, expected] : formulas) {
        const std::string text =
            test::page("<!doctype html><style>li:nth-child(" + std::string(formula) +
                       "){font-weight:bold}</style>" + list);
        EXPECT_EQ(wordsWith("b", text), expected) << formula;
    }
}

TEST(Css, Cascades) {
    check({
        {"the last of equals", "p{color:blue}p{color:red}", "<p>a", "{a|#ff0000}"},
        {"the more specific", ".c{color:red}p{color:blue}", "<p class=c>a", "{a|#ff0000}"},
        {"an ID over many classes", "#i{color:red}.c.c.c.c.c.c.c.c.c.c.c{color:blue}",
         "<p id=i class=c>a", "{a|#ff0000}"},
        {":is counts as its strongest, :where as nothing",
         ":is(#x,p){color:red}p.c{color:blue}:where(#i){font-style:normal}p{font-style:italic}",
         "<p class=c id=i>a", "{a|i #ff0000}"},
        {"important over the attribute over the sheet",
         "p{color:red!important;font-style:normal;font-weight:bold ! IMPORTANT}",
         "<p style='color:blue;font-style:italic'>a", "{a|b i #ff0000}"},
        {"important attribute over important sheet", "p{color:blue!important}",
         "<p style='color:red!important'>a", "{a|#ff0000}"},
        {"the page over hints, hints over our sheet", "font{font-size:20px}",
         "<font size=7 color=red>a</font><font color=chucknorris size=+1>b</font>",
         "{a|15 #ff0000}{b|15 #c00000}"},
        {"layers: the later one, and none over all",
         "@layer b,a;@layer a{p{color:blue;"
         "font-style:italic}}@layer b{p.c{color:lime;font-style:normal}}p{color:red}",
         "<p class=c>a", "{a|i #ff0000}"},
        {"wide keywords",
         "p{color:red;font-style:italic}b{font-weight:initial;color:unset}"
         "em{font-style:revert}s{text-decoration:inherit;margin:inherit}",
         "<p>a<b>b</b><em>c</em><s>d</s>", "{abcd|i #ff0000}"},
        {"conditions",
         "@media print{p{color:blue}}@media (min-width:600px) and (max-width:50em){"
         "p{color:red}}@media (width>=801px){p{color:lime}}@media (400px<width<=800px){"
         "p{font-style:italic}}@media not all and (orientation:portrait){p{font-weight:bold}}"
         "@media (foo){p{color:lime}}@media not (foo){p{color:lime}}"
         "@supports (display:grid) and (not (-x-y:z)){p{font-size:20px}}",
         "<p>a", "{a|b i 15 #ff0000}"},
        {"custom properties",
         ":root{--a:var(--b);--b:red;--c:var(--d);--d:var(--c);--s:10px}"
         "p{--b:blue;color:var(--a);font-style:var(--none,italic);font-weight:var(--c,bold);"
         "font-size:calc(var(--s)*2)}i{color:var(--none);font-size:var(--b)}",
         "<p>a<i>b</i>", "{ab|b i 15 #ff0000}"},
    });
    EXPECT_EQ(test::page("<style>.C{color:red}table{color:red}</style><p class=c style='font-size:"
                         "20'>a<table style='font-size:9px'><tr><td>b</table>"),
              "{a\n|15 #ff0000}{b\n|6.75 #ff0000}")
        << "quirks: class names without case, lengths without units";
    EXPECT_EQ(test::page("<div style='font-size:20px'><table><tr><td>b</table></div>"), "b\n")
        << "quirks: tables do not inherit sizes";
}

TEST(Css, ComputesValues) {
    check({
        {"sizes",
         "p{font-size:20px}b{font:italic 2em/1.5 Arial,serif}i{font-size:smaller}"
         "s{font-size:50%}u{font-size:2rem}",
         "<p><b>a</b><i>b</i><s>c</s><u>d</u>", "{a|i 30 Arial}{b|i 12.5}{c|7.5 s}{d|24 u}"},
        {"units",
         "b{font-size:1in}i{font-size:10mm}s{font-size:3vw}u{font-size:6pc}q{font-size:"
         "12pt}",
         "<b>a</b><i>b</i><s>c</s><u>d</u><q>e</q>", "{a|b 72}{b|i 28.35}{c|18 s}{d|72 u}e"},
        {"calculations",
         "b{font-size:calc(1em + 2*(3px - 1px))}i{font-size:clamp(10px,50%,2em)}"
         "s{font-size:max(1vw,4px,3px)}u{font-size:calc(1px + 2)}",
         "<b>a</b><i>b</i><s>c</s><u>d</u>", "{a|b 15}{b|i 7.5}{c|6 s}{d|u}"},
        {"monospace alone is smaller",
         "s,u{font-family:monospace}u{font-size:20px}q{font-family:"
         "monospace,x}",
         "<code>a</code><s>b</s><u>c</u><q>d</q><p style='font-size:200%'><tt>e",
         "{a|9.75 Courier}{b|9.75 Courier s}{c|15 Courier u}{d\n|Courier}{e|19.5 Courier}"},
        {"but not where a length gave the size",
         "p{font-size:32px}q{font-size:50%}pre{font-size:1em}",
         "<p><code>a</code><q><tt>b</tt></q></p><pre>c</pre>",
         "{a|24 Courier}{b\n|Courier}{c|9.75 Courier}"},
        {"weights", "p{font-weight:300}b{font-weight:bolder}i{font-weight:600}s{font-weight:599}",
         "<p>a<b>b</b><i>c</i><s>d</s>", "ab{c|b i}{d|s}"},
        {"colours",
         "b{color:#0f08}i{color:hsl(120,100%,25%)}s{color:rgb(10% 20 30/50%)}"
         "u{color:rebeccapurple}q{color:oklch(62.8% .2577 29.23)}",
         "<b>a</b><i>b</i><s>c</s><u>d</u><q>e</q>",
         "{a|b #77ff77}{b|i #008000}{c|#8d8a8f s}{d|#663399 u}{e|#ff0000}"},
        {"lines go through to what is inside, but not into boxes",
         "p{text-decoration:underline red}i{text-decoration:none}.b{display:inline-block}",
         "<p><i>a</i><b class=b>b</b><s>c</s>", "{a|i u}{b|b}{c|u s}"},
        {"text is transformed", "p{text-transform:capitalize}b{text-transform:uppercase}",
         "<p>it's a <b>stra&szlig;e &eacute;</b>",
         "It's A {STRA\xC3\x9F"
         "E \xC3\x89|b}"},
        {"what is hidden", "i{display:none}b{visibility:hidden}u{visibility:visible}",
         "a<i>b</i><b>c<u>d</u></b><span hidden>e</span><svg><text>f</text></svg><template>g"
         "</template><math>h</math><select><option>i</select>",
         "a{d|b u}"},
        {"light text keeps its ground", "p{background:#000;color:#fff}", "<p>a",
         "{a|#ffffff on #000000}"},
        {"sub and super", "", "a<sup>b<sub>c</sub></sup>", "a{b|10 super1}{c|8.33}"},
    });
}

}  // namespace
}  // namespace corvy
