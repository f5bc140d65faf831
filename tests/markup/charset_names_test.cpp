#include "markup/charset_names.h"

#include <gtest/gtest.h>

#include "foundation/text.h"

namespace corvy {
namespace {

TEST(CharsetNames, AreUnderstoodAsTheyAreMetInTheWild) {
    struct Case {
        std::u16string_view name;
        std::string_view encoding;
    };
    static constexpr Case cases[] = {
        // By words.
        {u"UTF-8", "UTF-8"},
        {u"utf8", "UTF-8"},
        {u"UTF_8", "UTF-8"},
        {u"x-utf8", "UTF-8"},
        {u"UFT-8", "UTF-8"},
        {u"\"utf-8\"", "UTF-8"},
        {u"utf-08", "UTF-8"},
        {u"utf%2D8", "UTF-8"},
        {u"utf", "UTF-8"},
        {u"utf-9", "UTF-8"},
        {u"unicode", "UTF-8"},
        {u"unicode-1-1", ""},
        {u"UTF-16LE", "UTF-16"},
        {u"utf-7", "US-ASCII"},
        {u"unicode-1-1-utf-7", "US-ASCII"},
        {u"us-ascii", "US-ASCII"},
        {u"ASCII", "US-ASCII"},
        {u"ansi", ""},
        {u"none", "US-ASCII"},
        {u"en", ""},
        {u"en-us", "UTF-8"},
        {u"en-GB", "UTF-8"},
        {u"de-de", ""},
        {u"latin1", "ISO-8859-1"},
        {u"Latin-1", "ISO-8859-1"},
        {u"latin", "ISO-8859-1"},
        {u"latin-10", "ISO-8859-16"},
        {u"latin2", "ISO-8859-2"},
        {u"latin5", "ISO-8859-9"},
        {u"latin6", "ISO-8859-10"},
        {u"latin7", "ISO-8859-13"},
        {u"latin8", "ISO-8859-14"},
        {u"latin9", "ISO-8859-15"},
        {u"latin-greek", ""},
        {u"iso", "ISO-8859-1"},
        {u"visual", "ISO-8859-8"},
        {u"logical", ""},
        {u"x-kam-cs", "Kamenicky"},
        {u"kam-cs", "Kamenicky"},
        {u"kbkam", "Kamenicky"},
        {u"koi8-cs2", "Koi8cs2"},
        {u"CSN_369103", "Koi8cs2"},
        {u"koi8-u", "KOI8-R"},
        {u"koi8-r", "KOI8-R"},
        {u"gb2312", "EUC-CN"},
        {u"x-gb2312-11", "EUC-CN"},
        {u"gbk", "GBK"},
        {u"x-gbk", ""},
        {u"GB18030", "GB18030"},
        {u"Shift_JIS", "Shift_JIS"},
        {u"x-sjis", "Shift_JIS"},
        {u"shift-jisx0213", "Shift_JIS"},
        {u"Big5", "Big5"},
        {u"big5-hkscs", "Big5"},
        {u"euc-kr", "EUC-KR"},
        {u"x-euc-jp", "EUC-JP"},
        {u"euc-cn", "EUC-CN"},
        {u"euc-tw", "EUC-TW"},
        {u"KS_C_5601-1987", "KS_C_5601-1987"},
        {u"ks_c_5601-87", "KS_C_5601-1987"},
        {u"ks_c_5601-92x", "KS_C_5601-1992"},
        {u"klingon", ""},
        {u"ab", ""},
        {u"", ""},
        {u"-- __", ""},
        // By numbers, which come first.
        {u"ISO-8859-1", "ISO-8859-1"},
        {u"8859_1", "ISO-8859-1"},
        {u"ISO8859-1", "ISO-8859-1"},
        {u"iso 8859", "ISO-8859-1"},
        {u"iso-8559-1", "ISO-8859-1"},
        {u"iso-8859-11", "ISO-8859-11"},
        {u"iso-8859-15", "ISO-8859-15"},
        {u"iso-8859-12", ""},
        {u"iso-8859-16", "ISO-8859-16"},
        {u"iso-8859-8-i", "ISO-8859-8"},
        {u"iso-8859-22", ""},
        {u"859-22", "ISO-8859-2"},
        {u"iso-8851-01", "ISO-8859-1"},
        {u"885391", "ISO-8859-1"},
        {u"885392", ""},
        {u"885396", ""},
        {u"885146", "ISO-8859-1"},
        {u"885147", ""},
        {u"895-99", "ISO-8859-9"},
        {u"windows-1252", "windows-1252"},
        {u"cp1251", "windows-1251"},
        {u"x-cp1250", "windows-1250"},
        {u"win-1258", "windows-1258"},
        {u"windows-1259", "windows-1252"},
        {u"windows", "windows-1252"},
        {u"windows-31j", "windows-1252"},
        {u"ms932", "cp932"},
        {u"windows-874", "cp874"},
        {u"IBM437", "cp437"},
        {u"cp858", ""},
        {u"asmo-708", "ISO-8859-6"},
        {u"johab1361", "windows-1361"},
        {u"iso646-us", "EUC-JP"},
        {u"646", "EUC-JP"},
        {u"iso-2022-jp", "ISO-2022-JP"},
        {u"iso-2022-kr", "ISO-2022-JP"},
        {u"iso-2022-jp-1", "ISO-2022-JP-1"},
        {u"ISO-2022-JP-3", "ISO-2022-JP-3"},
        {u"iso-2022-jp-4", "ISO-2022-JP"},
        {u"99999999999999999999", ""},
        {u"utf-8 1252", "UTF-8"},  // the number is 81252
        {u"\u0661\u0662\u0665\u0662", ""},
        // The Mac's.
        {u"x-mac-cyrillic", "x-mac-cyrillic"},
        {u"MacCyrillic", "x-mac-cyrillic"},
        {u"macintosh", "macintosh"},
        {u"x-mac-roman", "macintosh"},
        {u"mac-os-roman", "macintosh"},
        {u"x-mac-ce", "x-mac-ce"},
        {u"x-mac-centraleur", "x-mac-ce"},
        {u"x-mac-unknown", ""},
        {u"x-mac-centraleurroman", ""},
        {u"mac-roman-latin-1", "x-mac-roman-latin1"},
        {u"x-mac-latin1", ""},
        {u"mac-latin1", "ISO-8859-1"},
        {u"x-mac-inuit", "x-mac-inuit"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(nameOfEncoding(CFEncodingFromName(c.name)), c.encoding) << toUtf8(c.name);
    }
}

TEST(CharsetNames, TakeTheRestOfMacNamesExactly) {
    EXPECT_EQ(macEncoding(u"chinesetrad"), Encoding::kMacChineseTrad);
    EXPECT_EQ(macEncoding(u"Cyrillic"), Encoding::kInvalid);
    EXPECT_EQ(macEncoding(u"romanx"), Encoding::kInvalid);
    EXPECT_EQ(macEncoding(u""), Encoding::kInvalid);
}

}  // namespace
}  // namespace corvy
