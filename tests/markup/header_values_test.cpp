#include "markup/header_values.h"

#include <gtest/gtest.h>

#include "foundation/text.h"

namespace corvy {
namespace {

TEST(HeaderValues, FindTheCharsetOfAContentType) {
    struct Case {
        std::u16string_view header;
        std::optional<std::u16string_view> charset;
    };
    static constexpr Case cases[] = {
        {u"text/html; charset=UTF-8", u"UTF-8"},
        {u"text/html;CHARSET=utf-8;level=1", u"utf-8"},
        {u"text/html; charset = utf-8 ; x", u"utf-8"},
        {u"text/html; charset=\"iso-8859-1; x\"; y", u"iso-8859-1; x"},
        {u"text/html; charset=' gbk '", u"gbk"},
        {u"charset=gbk", u"gbk"},
        {u"text/html; charset=\"utf-8", u"utf-8"},
        {u"text/html; charset=us&#45;ascii", u"us-"},  // ";" ends it
        {u"text/html; charset=\"us&#45;ascii\"", u"us-ascii"},
        {u"charset; charset=x1", u"x1"},
        {u"text/html; charset=", std::nullopt},
        {u"text/html; charset=  ", std::nullopt},
        {u"text/html; charset=;", std::nullopt},
        {u"text/html; charset=\"\"", std::nullopt},
        {u"text/html; charset=\"", std::nullopt},
        {u"text/html; charset=\" ", std::nullopt},
        {u"text/html; charset utf-8", std::nullopt},
        {u"text/html", std::nullopt},
        {u"", std::nullopt},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(headerCharset(c.header), c.charset) << toUtf8(c.header);
    }
    EXPECT_EQ(headerEncoding(u"a; charset=latin1"), Encoding::kISO8859_1);
    EXPECT_EQ(headerEncoding(u"a; charset=x"), Encoding::kInvalid);
    EXPECT_EQ(headerEncoding(u"text/html"), Encoding::kInvalid);
}

TEST(HeaderValues, FindTheTargetOfARefresh) {
    struct Case {
        std::u16string_view header;
        std::optional<std::u16string_view> url;
        std::int64_t interval;
    };
    static constexpr Case cases[] = {
        {u"5; URL=page.html", u"page.html", 5},
        {u"0;url='a b.html' ", u"a b.html", 0},
        {u"3; url = http://a/?x;y&amp;z ", u"http://a/?x;y&amp;z", 3},
        {u" 12.5,URL=\"x", u"x", 12},
        {u"-1", std::nullopt, -1},
        {u"soon; url=", std::nullopt, 0},
        {u"", std::nullopt, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(headerRefresh(c.header), c.url) << toUtf8(c.header);
        EXPECT_EQ(refreshInterval(c.header), c.interval) << toUtf8(c.header);
    }
}

}  // namespace
}  // namespace corvy
