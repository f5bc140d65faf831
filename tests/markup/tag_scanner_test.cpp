#include "markup/tag_scanner.h"

#include <gtest/gtest.h>

#include <span>
#include <stdexcept>

#include "foundation/system_log.h"
#include "foundation/text.h"
#include "tests/markup/recorded_calls.h"

namespace corvy {
namespace {

// The calls as one line: the text in front of each, then its kind, name and tag, such as
// "a{1 b <b>}c{0}". A tag is cut to what the string holds.
bool writeCall(const TagCall& call) {
    auto& line = *static_cast<std::u16string*>(call.context);
    line += call.text();
    line += u'{';
    line += static_cast<char16_t>(u'0' + call.tagKind);
    if (call.nameLocation != kNotFound) (line += u' ') += call.name();
    if (call.tagLength != 0) (line += u' ') += call.tag();
    line += u'}';
    return false;
}

std::u16string scanned(std::u16string_view source) {
    std::u16string line;
    GetTagsOfString(source, writeCall, &line);
    return line;
}

std::vector<RecordedCall> calls(std::u16string_view source) {
    return callsOf([](auto string, auto handler,
                      void* context) { return GetTagsOfString(string, handler, context); },
                   source);
}

struct ScanCase {
    const char* name;
    std::u16string source;
    std::u16string line;
};

// Every case also behind texts that move it across the borders of the scanner's windows.
void expectScans(std::span<const ScanCase> cases) {
    for (const ScanCase& c : cases) {
        for (const std::size_t shift : {0, 1, 40, 60, 61, 62, 63, 64, 127, 1000}) {
            const std::u16string text(shift, u'.');
            EXPECT_EQ(toUtf8(scanned(text + c.source)), toUtf8(text + c.line))
                << c.name << ", behind " << shift;
        }
    }
}

TEST(TagScanner, FindsTagsAndTheirNames) {
    const ScanCase cases[] = {
        {"no tag", u"abc", u"abc{0}"},
        {"one tag", u"a<b>c", u"a{1 b <b>}c{0}"},
        {"neighbours", u"<a><b/></a>", u"{1 a <a>}{1 b <b/>}{1 a </a>}{0}"},
        {"a less-than sign is text", u"a < b", u"a < b{0}"},
        {"unless something closes it", u"a < b > c", u"a {1 b < b >} c{0}"},
        {"a tag inside a tag is not one", u"<a <b>c>", u"{1 a <a <b>}c>{0}"},
        {"unterminated tag", u"abc<b", u"abc<b{0}"},
        {"unterminated at its start", u"<", u"<{0}"},
        {"space before the name", u"< br/>", u"{1 br < br/>}{0}"},
        {"end tag", u"</p>", u"{1 p </p>}{0}"},
        {"digits in the name", u"<h1 class=x>", u"{1 h1 <h1 class=x>}{0}"},
        {"prefix", u"<svg:rect>", u"{1 svg:rect <svg:rect>}{0}"},
        {"no name", u"<><123></ ><!>", u"{1 <>}{1 <123>}{1 </ >}{1 <!>}{0}"},
        {"first letter, wherever", u"<1 2x>", u"{1 x <1 2x>}{0}"},
        {"document type", u"<!DOCTYPE html>", u"{1 DOCTYPE <!DOCTYPE html>}{0}"},
        {"instruction", u"<?xml version=\"1.0\"?>", u"{1 xml <?xml version=\"1.0\"?>}{0}"},
        {"letters of all scripts", u"<é1><\x4E2D\x6587>", u"{1 é1 <é1>}{1 中文 <中文>}{0}"},
        {"surrogates are no letters", u"<\xD83D\xDE00z>", u"{1 z <\xD83D\xDE00z>}{0}"},
        {"unusual white space ends a name", u"<a\x00A0x><b\xFEFFx><c\x3x><d\x2028x>",
         u"{1 a <a\x00A0x>}{1 b <b\xFEFFx>}{1 c <c\x3x>}{1 d <d\x2028x>}{0}"},
        {"other controls do not", u"<a\x1x><b\x200Bx>",
         u"{1 a\x1x <a\x1x>}{1 b\x200Bx <b\x200Bx>}{0}"},
        {"white space of ASCII", u"<a\tx><b\nx><c\rx><d\fx><e\vx>",
         u"{1 a <a\tx>}{1 b <b\nx>}{1 c <c\rx>}{1 d <d\fx>}{1 e <e\vx>}{0}"},
        {"long names", u"<abcdefghijklmno><abcdefghijklmnop><abcdefghijklmnopqrst x>",
         u"{1 abcdefghijklmno <abcdefghijklmno>}{1 abcdefghijklmnop <abcdefghijklmnop>}"
         u"{1 abcdefghijklmnopqrst <abcdefghijklmnopqrst x>}{0}"},
        {"low or high byte like a mark", u"\x013C\x3C00\x3C3C<a\x013E\x3E00>",
         u"\x013C\x3C00\x3C3C{1 a\x013E\x3E00 <a\x013E\x3E00>}{0}"},
        {"zero units", std::u16string(u"\0<a\0b>\0", 7),
         std::u16string(u"\0{1 a <a\0b>}\0{0}", 16)},
    };
    expectScans(cases);
}

TEST(TagScanner, QuotesCountOnlyInValues) {
    const ScanCase cases[] = {
        {"in single quotes", u"<p title='a>b'>x", u"{1 p <p title='a>b'>}x{0}"},
        {"in double quotes", u"<p title=\"a>b\" c=\">\">x", u"{1 p <p title=\"a>b\" c=\">\">}x{0}"},
        {"behind no equals sign", u"<p 'a>b'>", u"{1 p <p 'a>}b'>{0}"},
        {"behind no equals sign, double", u"<p \"a>b\">", u"{1 p <p \"a>}b\">{0}"},
        {"the other quote inside", u"<a href='x\"y>'>z", u"{1 a <a href='x\"y>'>}z{0}"},
        {"space before the quote", u"<a b = \">\">c", u"{1 a <a b = \">\">}c{0}"},
        {"an equals sign long before", u"<a b=c d'>e'>f", u"{1 a <a b=c d'>e'>}f{0}"},
        {"used up by the first quote", u"<a b='c'd'>e'>", u"{1 a <a b='c'd'>}e'>{0}"},
        {"not set inside quotes", u"<a b='=' '>'>", u"{1 a <a b='=' '>}'>{0}"},
        {"a stray quote takes nothing away", u"<a 'b=\">\">c", u"{1 a <a 'b=\">\">}c{0}"},
        {"unclosed quote", u"<a b=\"c>d", u"<a b=\"c>d{0}"},
        {"unclosed, then closed by another tag", u"<a b=\"c><d e=\"f>g",
         u"{1 a <a b=\"c><d e=\"f>}g{0}"},
        {"in text they are text", u"='<a>'", u"='{1 a <a>}'{0}"},
        {"flags do not outlive the tag", u"<a =><b '>'>", u"{1 a <a =>}{1 b <b '>}'>{0}"},
        {"equals sign as the name", u"<=\">\">x", u"{1 <=\">\">}x{0}"},
        {"name in a quoted value", u"<1 a=\"x>y\">", u"{1 a=\"x <1 a=\"x>y\">}{0}"},
    };
    expectScans(cases);
    // A value longer than several windows, with every mark in it.
    std::u16string value;
    for (int i = 0; i < 50; ++i) value += u"<x y='>' = > -- ]] ";
    const std::u16string tag = u"<a b=\"" + value + u"\" c='>'>";
    EXPECT_EQ(scanned(tag + u"z"), u"{1 a " + tag + u"}z{0}");
}

TEST(TagScanner, EndsCommentsAndSectionsLeniently) {
    const ScanCase cases[] = {
        {"usual end", u"<!-- a -- > b -->c", u"{2 <!-- a -- > b -->}c{0}"},
        {"with a bang", u"<!-- x --!>y", u"{2 <!-- x --!>}y{0}"},
        {"opening dashes count", u"<!-->a", u"{2 <!-->}a{0}"},
        {"for the bang too", u"<!--!>a", u"{2 <!--!>}a{0}"},
        {"one more dash", u"<!--->a", u"{2 <!--->}a{0}"},
        {"one dash is not enough", u"<!--a->b-->", u"{2 <!--a->b-->}{0}"},
        {"short form", u"<!- x -- y ->z", u"{2 <!- x -- y ->}z{0}"},
        {"short form at once", u"<!->a", u"{2 <!->}a{0}"},
        {"no bang in the short form", u"<!- x !>y->", u"{2 <!- x !>y->}{0}"},
        {"tags and quotes inside", u"<!-- <a b='> -->c", u"{2 <!-- <a b='> -->}c{0}"},
        {"unterminated", u"a<!-- x > y", u"a{2 <!-- x > y}{0}"},
        {"unterminated, short", u"<!-", u"{2 <!-}{0}"},
        {"too close to the end", u"a<!", u"a<!{0}"},
        {"too close to the end, closed", u"<!>", u"{1 <!>}{0}"},
        {"character data", u"<![CDATA[ a > b ]]>c", u"{3 <![CDATA[ a > b ]]>}c{0}"},
        {"one bracket", u"<![if !IE]>a", u"{3 <![if !IE]>}a{0}"},
        {"bracket and dashes", u"<![endif]-->a", u"{3 <![endif]-->}a{0}"},
        {"bracket and one dash", u"<![endif]->a]>", u"{3 <![endif]->a]>}{0}"},
        {"conditional comment", u"<!--[if IE]>a<![endif]-->b",
         u"{2 <!--[if IE]>a<![endif]-->}b{0}"},
        {"unterminated section", u"a<![CDATA[ b > ]", u"a{3 <![CDATA[ b > ]}{0}"},
        {"not a section", u"<! [x]>", u"{1 x] <! [x]>}{0}"},
        {"like a mark in one byte", u"<!\x015B>]>", u"{1 \x015B <!\x015B>}]>{0}"},
    };
    expectScans(cases);
}

TEST(TagScanner, TakesScriptAndStyleWithTheirBodies) {
    const ScanCase cases[] = {
        {"whole element", u"<SCRIPT>if (a<b) x='</p>';</Script >y",
         u"{1 SCRIPT <SCRIPT>if (a<b) x='</p>';</Script >}y{0}"},
        {"style", u"<style a=b>p > a {}</STYLE>y", u"{1 style <style a=b>p > a {}</STYLE>}y{0}"},
        {"the other's end is no end", u"<style></script></style>",
         u"{1 style <style></script></style>}{0}"},
        {"empty element", u"<script src=a.js/><p></script>",
         u"{1 script <script src=a.js/>}{1 p <p>}{1 script </script>}{0}"},
        {"never closed", u"<script><p></scrip>",
         u"{1 script <script>}{1 p <p>}{1 scrip </scrip>}{0}"},
        {"end tag alone", u"</script>a</script>", u"{1 script </script>}a{1 script </script>}{0}"},
        {"names of other lengths", u"<scripts></script><styles></style><scrip></script>",
         u"{1 scripts <scripts>}{1 script </script>}{1 styles <styles>}{1 style </style>}"
         u"{1 scrip <scrip>}{1 script </script>}{0}"},
        {"name behind a mark", u"<?script><p></script>", u"{1 script <?script><p></script>}{0}"},
        {"white space before the end", u"<script\n><p></script\n>a",
         u"{1 script <script\n><p></script\n>}a{0}"},
        {"a longer closing name", u"<script><p></scripture>a",
         u"{1 script <script><p></scripture>}a{0}"},
        {"closing text in the start tag", u"<script a=\"</script\" b>c</script>",
         u"{1 script <script a=\"</script\" b>}c{1 script </script>}{0}"},
        {"closed inside a value of its own", u"<script a=\"</script>\">b</script>",
         u"{1 script <script a=\"</script>}\">b{1 script </script>}{0}"},
        {"commented closing text", u"<script><!-- w('</script>') --></script>x",
         u"{1 script <script><!-- w('</script>') --></script>}x{0}"},
        {"two of them", u"<script><!-- </script> --> <!-- </script> --></script>x",
         u"{1 script <script><!-- </script> --> <!-- </script>} -->{1 script </script>}x{0}"},
        {"comment ended before", u"<script><!-- --></script><p></script>",
         u"{1 script <script><!-- --></script>}{1 p <p>}{1 script </script>}{0}"},
        {"comment never ended", u"<script><!-- </script><p></script>",
         u"{1 script <script><!-- </script>}{1 p <p>}{1 script </script>}{0}"},
        {"nothing closes behind the comment", u"<script><!-- </script> --><p>",
         u"{1 script <script><!-- </script>} -->{1 p <p>}{0}"},
        {"comment opened by one dash", u"<style><!- </style> --></style>",
         u"{1 style <style><!- </style> --></style>}{0}"},
        {"comment ended by its own dashes", u"<style><!--></style>a</style>",
         u"{1 style <style><!--></style>}a{1 style </style>}{0}"},
        {"case of the closing text folds", u"<ſcript></script><script><p></ſCRIPT>",
         u"{1 ſcript <ſcript>}{1 script </script>}{1 script <script><p></ſCRIPT>}{0}"},
    };
    expectScans(cases);
}

TEST(TagScanner, ReportsExactLocations) {
    struct Case {
        const char* name;
        std::u16string_view source;
        std::vector<RecordedCall> calls;
    };
    const Case cases[] = {
        {"a tag", u"a<b>c", {{2, 1, 1, 3, 0, 1}, {kNotFound, 0, 5, 0, 4, 0}}},
        {"an unterminated comment",
         u"ab<!-- x",
         {{kNotFound, 0, 2, 6, 0, 2}, {kNotFound, 0, 8, 0, 8, 0}}},
        {"a closing text without its end is one too long",
         u"<script>x</script",
         {{1, 6, 0, 18, 0, 1}, {kNotFound, 0, 17, 0, 18, 0}}},
        {"so is that of a style",
         u".<style></style x",
         {{2, 5, 1, 17, 0, 1}, {kNotFound, 0, 17, 0, 18, 0}}},
    };
    for (const Case& c : cases) EXPECT_EQ(calls(c.source), c.calls) << c.name;
    EXPECT_EQ(scanned(u"<script>x</script"), u"{1 script <script>x</script}{0}");
}

TEST(TagScanner, StopsWhenTold) {
    const std::u16string source = u"a<b>c<!--d-->e<f>";
    for (const bool copy : {false, true}) {
        for (const std::size_t stopAt : {1U, 2U, 3U, 4U, 9U}) {
            CallRecorder recorder;
            recorder.stopAt = stopAt;
            EXPECT_TRUE(GetTagsOfString(source, CallRecorder::handle, &recorder, copy));
            EXPECT_EQ(recorder.calls.size(), std::min<std::size_t>(stopAt, 4));
        }
    }
    // The answer to an unterminated comment does not count.
    CallRecorder recorder;
    recorder.stopAt = 1;
    EXPECT_TRUE(GetTagsOfString(u"<!-- x", CallRecorder::handle, &recorder));
    EXPECT_EQ(recorder.calls.size(), 2U);
}

TEST(TagScanner, CallsNobodyForNothing) {
    CallRecorder recorder;
    EXPECT_FALSE(GetTagsOfString(u"", CallRecorder::handle, &recorder));
    EXPECT_FALSE(GetTagsOfString({}, CallRecorder::handle, &recorder, true));
    EXPECT_FALSE(parseXmlWithHandler(u"", CallRecorder::handle, &recorder));
    EXPECT_TRUE(recorder.calls.empty());
}

TEST(TagScanner, ScansACopyOfAStringThatChanges) {
    struct Editor {
        std::u16string source = u"<a>1<b>2<c>";
        std::u16string names;
    } editor;
    const TagHandler handler = [](const TagCall& call) {
        auto& self = *static_cast<Editor*>(call.context);
        self.names += call.name();
        self.source.assign(self.source.size(), u'x');
        return false;
    };
    EXPECT_TRUE(GetTagsOfString(editor.source, handler, &editor, true));
    EXPECT_EQ(editor.names, u"abc");
}

TEST(TagScanner, HandlersMayScan) {
    const TagHandler handler = [](const TagCall& call) {
        if (!call.name().empty()) GetTagsOfString(u"<i>x", writeCall, call.context);
        return writeCall(call);
    };
    std::u16string line;
    GetTagsOfString(u"a<b>c<d>", handler, &line);
    EXPECT_EQ(line, u"{1 i <i>}x{0}a{1 b <b>}{1 i <i>}x{0}c{1 d <d>}{0}");
}

TEST(TagScanner, LogsWhatAHandlerThrows) {
    const LogCapture log;
    const TagHandler failing = [](const TagCall&) -> bool { throw std::out_of_range("too far"); };
    EXPECT_FALSE(parseXmlWithHandler(u"<a>", failing, nullptr));
    ASSERT_EQ(log.entries().size(), 1U);
    EXPECT_TRUE(log.entries()[0].starts_with(
        u"parseXmlWithHandler:context:mutable: (NSString):\nstd::out_of_range\ntoo far\n"))
        << toUtf8(log.entries()[0]);
    const TagHandler throwing = [](const TagCall&) -> bool { throw 7; };
    EXPECT_THROW(parseXmlWithHandler(u"<a>", throwing, nullptr, true), int);
    EXPECT_EQ(log.entries().size(), 1U);
}

TEST(TagScanner, TestsTags) {
    struct Case {
        std::u16string_view tag;
        bool open, closed, meta, remark;
    };
    const Case cases[] = {
        {u"<b>", true, false, false, false},     {u"</b>", false, true, false, false},
        {u"<br/>", true, true, false, false},    {u"<b/>", true, true, false, false},
        {u"</>", false, false, false, false},    {u"<>", false, false, false, false},
        {u"", false, false, false, false},       {u"<a b=/>", true, true, false, false},
        {u"<![CDATA", true, false, true, false}, {u"<![abc>", true, false, true, false},
        {u"<![ab>", true, false, false, false},  {u"<!-- ->", true, false, false, true},
        {u"<!-->>", true, false, false, false},  {u"x/y", false, false, false, false},
        {u"<!--->>", true, false, false, true},  {u"<--", true, false, false, false},
    };
    for (const Case& c : cases) {
        const std::u16string inside = u"/" + std::u16string(c.tag) + u"/";
        const Range range = {1, c.tag.size()};
        EXPECT_EQ(isTagOpen(c.tag), c.open) << toUtf8(c.tag);
        EXPECT_EQ(isTagOpenInRange(inside, range), c.open) << toUtf8(c.tag);
        EXPECT_EQ(isTagOpenCharacters(inside, range), c.open) << toUtf8(c.tag);
        EXPECT_EQ(isTagClosed(c.tag), c.closed) << toUtf8(c.tag);
        EXPECT_EQ(isTagClosedInRange(inside, range), c.closed) << toUtf8(c.tag);
        EXPECT_EQ(isTagClosedCharacters(inside, range), c.closed) << toUtf8(c.tag);
        EXPECT_EQ(isMetaTag(c.tag), c.meta) << toUtf8(c.tag);
        EXPECT_EQ(isMetaTagInRange(inside, range), c.meta) << toUtf8(c.tag);
        EXPECT_EQ(isRemarkTag(c.tag), c.remark) << toUtf8(c.tag);
        EXPECT_EQ(isRemarkTagInRange(inside, range), c.remark) << toUtf8(c.tag);
    }
}

TEST(TagScanner, TestsRangesThatReachTooFar) {
    const std::u16string_view script = u"<script>x</script";
    EXPECT_TRUE(isTagOpenCharacters(script, {0, 18}));  // as the scanner reports it
    EXPECT_FALSE(isTagClosedCharacters(script, {0, 18}));
    const Range ranges[] = {
        {kNotFound, 0},         {kNotFound, 9},        {17, 7}, {16, 9}, {18, 3},
        {~std::uint64_t{0}, 5}, {5, ~std::uint64_t{0}}};
    for (const Range& range : ranges) {
        EXPECT_EQ(isTagOpenInRange(script, range), range.location == 5) << range.location;
        EXPECT_FALSE(isTagClosedInRange(script, range)) << range.location;
        EXPECT_FALSE(isMetaTagInRange(script, range)) << range.location;
        EXPECT_FALSE(isRemarkTagInRange(script, range)) << range.location;
        EXPECT_FALSE(isTagOpenCharacters({}, range));
    }
}

TEST(TagScanner, ReadsParsedTags) {
    EXPECT_EQ(xmlTag({{u"Tag", u"p"}, {u"Content", u"x"}}), u"p");
    EXPECT_EQ(xmlTag({}), std::nullopt);
    EXPECT_EQ(xmlContent({{u"Content", u"x"}}), u"x");
    EXPECT_EQ(xmlContent({{u"Tag", u"p"}}), u"");
}

}  // namespace
}  // namespace corvy
