#include "platform/property_list_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>

#include "foundation/text.h"
#include "platform/property_list_writer.h"
#include "tests/support/processes.h"

namespace corvy::platform {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

std::optional<PropertyList> read(std::string_view file) {
    return readPropertyList(Bytes::copyOf(file));
}

std::string bigEndian(std::uint64_t number, std::size_t size) {
    std::string bytes;
    for (std::size_t i = size; i-- > 0;) {
        bytes += i < sizeof number ? static_cast<char>(number >> (8 * i)) : '\0';
    }
    return bytes;
}

struct Trailer {
    std::uint64_t offsetSize = 2, referenceSize = 1, top = 0;
    std::optional<std::uint64_t> count = {}, table = {};
};

// A binary list of these objects, in the order of their numbers.
std::string binary(const std::vector<std::string>& objects, const Trailer& trailer = {}) {
    std::string file = "bplist00", offsets;
    for (const std::string& object : objects) {
        offsets += bigEndian(file.size(), trailer.offsetSize);
        file += object;
    }
    const std::uint64_t table = file.size();
    return file + offsets + std::string(6, '\0') + bigEndian(trailer.offsetSize, 1) +
           bigEndian(trailer.referenceSize, 1) +
           bigEndian(trailer.count.value_or(objects.size()), 8) + bigEndian(trailer.top, 8) +
           bigEndian(trailer.table.value_or(table), 8);
}

PropertyList integer(std::int64_t value) {
    return value;
}

TEST(PropertyListReader, ReadsBinary) {
    struct Case {
        const char* name;
        std::vector<std::string> objects;
        PropertyList value;
    };
    const Case cases[] = {
        {"null", {"\0"s}, Null()},
        {"booleans", {"\xA2\1\2", "\x09", "\x08"}, Array{true, false}},
        {"a byte has no sign", {"\x10\xFF"}, integer(255)},
        {"nor have four", {"\x12\xFF\xFF\xFF\xFE"}, integer(4294967294)},
        {"eight have", {"\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE"}, integer(-2)},
        {"sixteen", {"\x14"s + bigEndian(~0ULL, 8) + bigEndian(-7ULL, 8)}, integer(-7)},
        {"past 64 bits with a sign",
         {"\x14"s + bigEndian(0, 8) + bigEndian(1ULL << 63, 8)},
         std::ldexp(1.0, 63)},
        {"float", {"\x22\x3F\xC0\0\0"s}, 1.5F},
        {"double", {"\x23\xC0\x04\0\0\0\0\0\0"s}, -2.5},
        {"date", {"\x33\0\0\0\0\0\0\0\0"s}, Date{978307200}},
        {"bytes", {"\x42\0\xFF"s}, Bytes::copyOf("\0\xFF"s)},
        {"length of its own", {"\x4F\x11\0\2ab"s}, Bytes::copyOf("ab")},
        {"ASCII", {"\x52hi"}, u"hi"},
        {"which may be UTF-8", {"\x52\xC3\xA4"}, u"\xE4"},
        {"units, halves too", {"\x62\x20\xAC\xD8\0"s}, std::u16string(u"\x20AC\xD800")},
        {"reference", {"\x81\1\2"}, Dictionary{{u"CF$UID", std::int64_t{258}}}},
        {"empty collections", {"\xA2\1\2", "\xA0", "\xD0"}, Array{Array{}, Dictionary{}}},
        {"dictionary: keys, then values",
         {"\xD2\1\2\2\3",
          "\x51"
          "a",
          "\x51"
          "b",
          "\x09"},
         Dictionary{{u"a", u"b"}, {u"b", true}}},
        {"shared", {"\xA2\1\1", "\xA1\2", "\x10\1"}, Array{Array{integer(1)}, Array{integer(1)}}},
    };
    for (const Case& c : cases) EXPECT_EQ(read(binary(c.objects)), c.value) << c.name;
    EXPECT_EQ(read(binary({"\x08", "\x09"}, {.offsetSize = 8, .referenceSize = 8, .top = 1})),
              PropertyList(true));

    const Bytes file = Bytes::copyOf(binary({"\x43xyz"}));
    EXPECT_EQ(readPropertyList(file)->bytes()->data(), file.data() + 9) << "no copy";
}

TEST(PropertyListReader, RefusesBrokenBinary) {
    const auto count = std::numeric_limits<std::uint64_t>::max();
    struct Case {
        const char* name;
        std::string file;
    };
    const Case cases[] = {
        {"nothing but a header", "bplist00"},
        {"no objects", binary({})},
        {"unknown marker", binary({"\x70"})},
        {"unknown constant", binary({"\x0F"})},
        {"root beyond the objects", binary({"\x09"}, {.top = 1})},
        {"more objects than offsets", binary({"\x09"}, {.count = 2})},
        {"as many as a number counts", binary({"\x09"}, {.count = count})},
        {"table beyond the file", binary({"\x09"}, {.table = 1000})},
        {"table nowhere", binary({"\x09"}, {.table = count})},
        {"table in the header", binary({"\x09"}, {.table = 4})},
        {"offsets of no size", binary({"\x09"}, {.offsetSize = 0})},
        {"references of no size", binary({"\xA0"}, {.referenceSize = 0})},
        {"offsets of nine bytes", binary({"\x09"}, {.offsetSize = 9})},
        {"offset beyond the file",
         "bplist00\x09\xFF"s + binary({"\x09"}, {.offsetSize = 1, .table = 9}).substr(10)},
        {"offset into the table",
         "bplist00\x09\x09"s + binary({"\x09"}, {.offsetSize = 1, .table = 9}).substr(10)},
        {"offset into the header",
         "bplist00\x09\x07"s + binary({"\x09"}, {.offsetSize = 1, .table = 9}).substr(10)},
        {"reference beyond the objects", binary({"\xA1\1"})},
        {"references beyond the objects' bytes", binary({"\xA5\1\1"})},
        {"huge array", binary({"\xAF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"})},
        {"huge dictionary", binary({"\xDF\x13\x80\0\0\0\0\0\0\0"s})},
        {"huge bytes", binary({"\x4F\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"})},
        {"huge text", binary({"\x6F\x13\x80\0\0\0\0\0\0\1"s})},
        {"length that is no integer", binary({"\x5F\x23\0\0\0\0\0\0\0\0"s})},
        {"length cut off", binary({"\x5F\x13\0"s})},
        {"number cut off", binary({"\x13\0"s})},
        {"integer of 32 bytes", binary({"\x15" + std::string(32, '\0')})},
        {"key that is no text", binary({"\xD1\1\1", "\x09"})},
        {"date that is no number", binary({"\x33\x7F\xF8\0\0\0\0\0\0"s})},
        {"itself", binary({"\xA1\0"s})},
        {"itself, many times over", binary({"\xA3\0\0\0"s})},
        {"itself, by way of another", binary({"\xD1\1\2",
                                              "\x51"
                                              "a",
                                              "\xA1\0"s})},
    };
    for (const Case& c : cases) EXPECT_EQ(read(c.file), std::nullopt) << c.name;
    const std::string whole = binary({"\xD1\1\2", "\x53key", "\x55value"});
    ASSERT_TRUE(read(whole));
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(read(whole.substr(0, length)) && length > 7) << length;
    }
}

TEST(PropertyListReader, ReadsXml) {
    struct Case {
        std::string_view file;
        PropertyList value;
    };
    const Case cases[] = {
        {"<plist version=\"1.0\"><true/></plist>\n", true},
        {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist PUBLIC \"-//A//DTD > 1.0//EN\" \"x\" [<!ENTITY a \"b\">]>\n"
         "<!-- <array> -->\n<plist version='>'><false/></plist>",
         false},
        {"\xEF\xBB\xBF <string>without a wrapper</string>", u"without a wrapper"},
        {"<plist><string/></plist>", u""},
        {"<string> a &lt;&amp;&#228;&#x1F600;&quot;&apos;&gt;&#xD800;<!-- b --><![CDATA[<&c>]]>\n"
         "</string>",
         u" a <&\xE4\xD83D\xDE00\"'>\xFFFD<&c>\n"},
        {"<string>\xC3\xA4\xFF</string>", u"\xE4\xFFFD"},
        {"<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><string>\xE4</string>", u"\xE4"},
        {"\xFF\xFE<\0s\0t\0r\0i\0n\0g\0>\0\xAC\x20<\0/\0s\0t\0r\0i\0n\0g\0>\0"sv, u"\x20AC"},
        {"\0<\0t\0r\0u\0e\0/\0>"sv, true},
        {"<\0t\0r\0u\0e\0/\0>\0"sv, true},
        {"<integer> -42 </integer>", integer(-42)},
        {"<integer>+0x1f</integer>", integer(31)},
        {"<integer>-9223372036854775808</integer>", std::numeric_limits<std::int64_t>::min()},
        {"<integer>9223372036854775808</integer>", std::ldexp(1.0, 63)},
        {"<real>1.5e3</real>", 1500.0},
        {"<real>+infinity</real>", std::numeric_limits<double>::infinity()},
        {"<date>2001-01-01T00:00:01Z</date>", Date{978307201}},
        {"<date>2024-02-29T23:59:59Z</date>", Date{1709251199}},
        {"<date>1969-12-31T23:59:59Z</date>", Date{-1}},
        {"<date>-0001-03-01T00:00:00Z</date>", Date{-62193657600}},
        {"<data>\n\taGVsbG\n\t8=\n</data>", Bytes::copyOf("hello")},
        {"<array><array/><dict/>\n<data></data></array>", Array{Array{}, Dictionary{}, Bytes()}},
        {"<dict><key>b</key><true/><key>a&amp;</key><array/><key>b</key><false/></dict>",
         Dictionary{{u"b", false}, {u"a&", Array{}}}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(read(c.file), c.value) << c.file;
        EXPECT_EQ(propertyListFormat(std::as_bytes(std::span(c.file))), PropertyListFormat::xml);
    }
}

TEST(PropertyListReader, RefusesBrokenXml) {
    for (const std::string_view file : {
             "<plist>",
             "<plist/>",
             "<plist></plist>",
             "<plist><true/>",
             "<plist><true/><true/></plist>",
             "<plist><true></plist>",
             "<plist>text<true/></plist>",
             "<plist><plist><true/></plist></plist>",
             "<array><true/>",
             "<array></dict>",
             "<array><key>a</key></array>",
             "<dict><true/></dict>",
             "<dict><key>a</key></dict>",
             "<dict><key>a</key><key>b</key></dict>",
             "<string>a",
             "<string>a</key>",
             "<string>a<b/></string>",
             "<string>&nbsp;</string>",
             "<string>a&b</string>",
             "<string>&#;</string>",
             "<string><![CDATA[</string>",
             "<integer/>",
             "<integer>1.5</integer>",
             "<integer>--1</integer>",
             "<integer>18446744073709551616</integer>",
             "<real>1,5</real>",
             "<real></real>",
             "<date>2024-02-29</date>",
             "<date>2024-13-01T00:00:00Z</date>",
             "<date>2024-02-29T23:59:59+01:00</date>",
             "<date>2024-02-2-T23:59:59Z</date>",
             "<data>aGVs*</data>",
             "<true>1</true>",
             "<string",
             "<!DOCTYPE plist [",
             "<!-- <true/>",
             "<?xml version=\"1.0\"?>",
             "<dictionary/>",
         }) {
        EXPECT_EQ(read(file), std::nullopt) << file;
    }
}

TEST(PropertyListReader, ReadsOldText) {
    struct Case {
        std::string_view file;
        PropertyList value;
    };
    const Case cases[] = {
        {"word", u"word"},
        {" \"a b\" // and a comment", u"a b"},
        {"'it \"is\"'", u"it \"is\""},
        {R"("\n\t\"\\\U20ac\ud83d\ude00\331\12\q")", u"\n\t\"\\\x20AC\xD83D\xDE00\xE4\nq"},
        {"\"gr\xC3\xBCn\"", u"gr\xFCn"},
        {"<0fA0 01\n>", Bytes::copyOf("\x0F\xA0\1")},
        {"< dada >", Bytes::copyOf("\xDA\xDA")},
        {"( a, \"b\", (), )", Array{u"a", u"b", Array{}}},
        {"{ /* x */ a = 1; \"b c\" = { d = ( ); } }",
         Dictionary{{u"a", u"1"}, {u"b c", Dictionary{{u"d", Array{}}}}}},
        {"/* strings */\n\"key\" = \"value\";\nother = $(VAR);"sv.substr(0, 31),
         Dictionary{{u"key", u"value"}}},
        {"a = b;\nc = /usr/bin:x-1;", Dictionary{{u"a", u"b"}, {u"c", u"/usr/bin:x-1"}}},
    };
    for (const Case& c : cases) {
        const auto value = read(c.file);
        EXPECT_EQ(value, c.value) << c.file;
        EXPECT_EQ(propertyListFormat(std::as_bytes(std::span(c.file))), PropertyListFormat::text);
    }
    for (const std::string_view file :
         {"",       "  ",     "/* a",    "a b",      "(a b)", "(a,", "(,)",
          "{a = b", "{a b;}", "{a = ;}", "{a;}",     "<0f",   "<0>", "<0g>",
          "\"a",    "\"a\\",  "\"\\U\"", "a = b; }", "= b;",  "}",   "% x"}) {
        EXPECT_EQ(read(file), std::nullopt) << file;
    }
}

TEST(PropertyListReader, BoundsWhatAFileMakesOfItself) {
    const auto repeated = [](std::string_view text, std::size_t count) {
        std::string all;
        for (std::size_t i = 0; i < count; ++i) all += text;
        return all;
    };
    for (const std::size_t depth : {kMaxPropertyListDepth, kMaxPropertyListDepth + 1, 100'000UL}) {
        std::vector<std::string> arrays;
        for (std::size_t i = 1; i <= depth; ++i) arrays.push_back("\xA1" + bigEndian(i, 4));
        arrays.back() = "\xA0";
        const bool isRead = depth == kMaxPropertyListDepth;
        const Trailer wide{.offsetSize = 4, .referenceSize = 4};
        EXPECT_EQ(read(binary(arrays, wide)).has_value(), isRead);
        EXPECT_EQ(read(repeated("<array>", depth) + repeated("</array>", depth)).has_value(),
                  isRead);
        EXPECT_EQ(read(repeated("<dict><key/>", depth)), std::nullopt);
        EXPECT_EQ(read(repeated("(", depth) + repeated(")", depth)).has_value(), isRead);
        EXPECT_EQ(read(repeated("{a=", depth)), std::nullopt);
    }
    // Each array holds the next one twice, or eight times.
    std::vector<std::string> doubling, texts;
    for (int i = 1; i < 60; ++i) doubling.push_back("\xA2" + std::string(2, static_cast<char>(i)));
    doubling.push_back("\x09");
    EXPECT_EQ(read(binary(doubling)), std::nullopt);
    // A text of a megabyte, a thousand times.
    texts = {"\xAF\x11\x03\xE8" + std::string(1000, '\1'),
             "\x5F\x12\0\x10\0\0"s + std::string(1 << 20, 'x')};
    EXPECT_EQ(read(binary(texts, {.offsetSize = 4})), std::nullopt);
    // Bytes cost nothing, however often they are named.
    texts[1][0] = '\x4F';
    EXPECT_TRUE(read(binary(texts, {.offsetSize = 4})));
    EXPECT_EQ(read("<array>" + repeated("<true/>", kMaxPropertyListValues) + "</array>"),
              std::nullopt);
}

TEST(PropertyListReader, ReadsFiles) {
    const test::TemporaryFolder folder;
    std::ofstream(folder.path("a.plist")) << "<plist><string>x</string></plist>";
    std::ofstream(folder.path("empty"));
    EXPECT_EQ(readPropertyListFile(fromUtf8(folder.path("a.plist"))), PropertyList(u"x"));
    for (const std::string& path : {folder.path("empty"), folder.path("missing"), folder.path(""),
                                    "/dev/zero"s, ""s, "a\0b"s}) {
        EXPECT_EQ(readPropertyListFile(fromUtf8(path)), std::nullopt) << path;
    }
}

}  // namespace
}  // namespace corvy::platform
