#include "markup/markup_charset.h"

#include <gtest/gtest.h>

#include "foundation/text.h"

namespace corvy {
namespace {

TEST(MarkupCharset, StandsInTheDeclarationOrAMetaTagOfTheHead) {
    struct Case {
        const char* name;
        std::u16string_view markup, charset;
        Range range;
    };
    static constexpr Case cases[] = {
        {"xml declaration", u"<?xml version=\"1.0\" encoding=\"UTF-8\"?><a>", u"UTF-8", {30, 5}},
        {"any case", u"<?XML ENCODING='x-y'?>", u"x-y", {16, 3}},
        {"references stay in the declaration",
         u"<?xml encoding=\"a&#45;b\"?>",
         u"a&#45;b",
         {16, 7}},
        {"declaration without, then meta",
         u"<?xml version='1'?><meta charset=gbk>",
         u"gbk",
         {33, 3}},
        {"an element named xml", u"<xml encoding='no'><meta charset='yes'>", u"yes", {34, 3}},
        {"another instruction", u"<?php encoding='no'?><meta charset='yes'>", u"yes", {36, 3}},
        {"content type",
         u"<META http-equiv=Content-Type content=\"text/html; charset=big5\">",
         u"big5",
         {58, 4}},
        {"content without media type", u"<meta content='charset=gbk'>", u"gbk", {23, 3}},
        {"content wins", u"<meta charset=a1 content='; charset=b2'>", u"b2", {36, 2}},
        {"content without charset", u"<meta content='text/html' charset=a1>", u"a1", {34, 2}},
        {"content with an empty charset", u"<meta content='charset=' charset=a1>", u"a1", {33, 2}},
        {"references in content",
         u"<meta content='charset=\"us&#45;ascii\"'>",
         u"us-ascii",
         {24, 12}},
        {"references in charset", u"<meta charset='us&#45;ascii'>", u"us-ascii", {15, 12}},
        {"the first meta that has one",
         u"<meta name=a content=b><meta charset=c1><meta charset=c2>",
         u"c1",
         {37, 2}},
        {"empty-element meta", u"<meta charset='gbk'/>", u"gbk", {15, 3}},
        {"end tag of meta", u"</meta charset='gbk'>", u"", kNotFoundRange},
        {"behind body", u"<BODY><meta charset=gbk>", u"", kNotFoundRange},
        {"behind the end of body", u"</body><meta charset=gbk>", u"", kNotFoundRange},
        {"other tags", u"<script charset=a></script><metadata charset=b>", u"", kNotFoundRange},
        {"in a comment", u"<!-- <meta charset=gbk> -->", u"", kNotFoundRange},
        {"in text without an end", u"<meta charset=gbk", u"", kNotFoundRange},
        {"nothing", u"", u"", kNotFoundRange},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(markupCharset(c.markup), c.charset) << c.name;
        EXPECT_EQ(markupCharsetRange(c.markup), c.range) << c.name;
    }
}

TEST(MarkupCharset, DecidesTheEncodingOfAddresses) {
    EXPECT_EQ(defaultURLEncoding(u"<meta charset=latin1>"), Encoding::kISO8859_1);
    EXPECT_EQ(defaultURLEncoding(u"<meta charset=windows-1252>"), Encoding::kUTF8);
    EXPECT_EQ(defaultURLEncoding(u""), Encoding::kUTF8);
    EXPECT_EQ(markupEncoding(u"<meta charset=klingon>"), Encoding::kInvalid);
}

TEST(MarkupData, IsInTheCharsetOfTheMarkup) {
    struct Case {
        std::u16string_view markup;
        std::string_view bytes;
        Encoding encoding;
    };
    static constexpr Case cases[] = {
        {u"<meta charset=utf-8>\u00E4", "<meta charset=utf-8>\xC3\xA4", Encoding::kUTF8},
        {u"<meta charset=latin1>\u00E4\u20AC", "<meta charset=latin1>\xE4&#8364;",
         Encoding::kISO8859_1},
        {u"<meta charset=klingon>\u00E4<", "<meta charset=klingon>&auml;<", Encoding::kASCII},
        {u"<meta charset=x-mac-tibetan>\u0119", "<meta charset=x-mac-tibetan>&#281;",
         Encoding::kASCII},
        {u"\u00E4", "&auml;", Encoding::kASCII},
        {u"", "", Encoding::kASCII},
    };
    for (const Case& c : cases) {
        const MarkupData data = markupData(c.markup);
        EXPECT_EQ(data.bytes, c.bytes);
        EXPECT_EQ(data.encoding, c.encoding) << c.bytes;
    }
}

}  // namespace
}  // namespace corvy
