#include "markup/markup_decoding.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "foundation/text.h"

namespace corvy {
namespace {

using enum Encoding;
using namespace std::string_literals;

std::optional<std::u16string> decoded(const std::string& bytes, const MarkupDataOptions& options) {
    return stringWithMarkupData(std::as_bytes(std::span(bytes)), options);
}

const std::string kMeta = "<meta charset=";

// The last unit of the text tells which guess won.
TEST(MarkupDecoding, WeighsWhatIsDeclaredAgainstTheMarkup) {
    struct Case {
        const char* name;
        std::optional<std::u16string_view> declared;
        Encoding assumed;
        std::string bytes;
        std::optional<std::u16string> end;  // what the text ends with
    };
    const Case cases[] = {
        {"nothing named", {}, kISO8859_1, "\xE4", u"\u00E4"},
        {"declared only", u"koi8-r", kUTF8, "\xD2", u"\u0440"},
        {"unknown declaration", u"klingon", kISO8859_1, "\xE4", u"\u00E4"},
        {"markup agrees", u"utf-8", kISO8859_1, kMeta + "utf-8>\xC3\xA4", u"\u00E4"},
        {"markup says ASCII", u"latin1", kUTF8, kMeta + "us-ascii>\xE4", u"\u00E4"},
        {"markup is unknown", u"latin1", kUTF8, kMeta + "klingon>\xE4", u"\u00E4"},
        {"markup over default", {}, kISO8859_1, kMeta + "utf-8>\xC3\xA4", u">\u00E4"},
        {"markup over declared", u"latin1", kUTF8, kMeta + "utf-8>\xC3\xA4", u">\u00E4"},
        {"markup has more replacements", u"latin1", kUTF8, kMeta + "utf-8>\xE4 ", u">\u00E4 "},
        {"the same, but not declared", {}, kISO8859_1, kMeta + "utf-8>\xE4 ", u">\uFFFD "},
        {"replacements in both, fewer in the markup's", u"utf-8", kISO8859_1,
         kMeta + "gbk>\xD6\xD0\xCE\xC4\xD6", u">\u4E2D\u6587\uFFFD"},
        {"as many in both", u"utf-8", kUTF8, kMeta + "gbk>\xC3\xA4\xD6", u">\u76F2\uFFFD"},
        {"declared UTF-8, markup Latin 1: shorter wins", u"utf-8", kUTF8,
         kMeta + "iso-8859-1>\xC3\xA4", u">\u00E4"},
        {"the same, not declared", {}, kUTF8, kMeta + "iso-8859-1>\xC3\xA4", u"\u00C3\u00A4"},
        {"the same, ill-formed UTF-8", u"utf-8", kUTF8, kMeta + "iso-8859-1>\xE4", u">\u00E4"},
        {"declared UTF-8, markup windows-1251: shorter wins", u"utf-8", kUTF8,
         kMeta + "windows-1251>\xD0\x9F", u">\u041F"},
        {"declared UTF-8, another markup", u"utf-8", kUTF8, kMeta + "windows-1252>\xC3\xA4",
         u"\u00C3\u00A4"},
        {"windows-1251 over all else", u"latin1", kUTF8, kMeta + "windows-1251>\xCF", u">\u041F"},
        {"Big5 over all else", u"utf-8", kUTF8, kMeta + "big5>\xC3\x80.", u">\uFFFD."},
        {"own sets are trusted", u"latin1", kUTF8, kMeta + "koi8-cs2>\xD2\xA1", u">\u0159\uFFFD"},
        {"Kamenicky", {}, kUTF8, kMeta + "x-kam-cs>\xA9", u">\u0159"},
        {"no converter for the markup's", u"latin1", kUTF8, kMeta + "x-mac-tibetan>\xE4",
         u">\u00E4"},
        {"no converter for the declared", u"x-mac-tibetan", kUTF8, "a", std::nullopt},
        {"no default", {}, kInvalid, "a", std::nullopt},
        {"no bytes", {}, kInvalid, "", u""},
        {"byte-order mark stays", {}, kUTF8, "\xEF\xBB\xBF", u"\uFEFF"},
    };
    for (const Case& c : cases) {
        const auto text =
            decoded(c.bytes, {.encodingName = c.declared, .defaultEncoding = c.assumed});
        ASSERT_EQ(text.has_value(), c.end.has_value()) << c.name;
        EXPECT_TRUE(!text || text->ends_with(*c.end)) << c.name << ": " << toUtf8(*text);
    }
}

TEST(MarkupDecoding, TakesTheNameBeforeTheContentType) {
    EXPECT_EQ(decoded("\xD2", {.contentType = u"text/html; charset=koi8-r"}), u"\u0440");
    EXPECT_EQ(decoded("\xE4", {.encodingName = u"latin1", .contentType = u"; charset=koi8-r"}),
              u"\u00E4");
    EXPECT_EQ(decoded("\xE4", {.contentType = u"text/html", .defaultEncoding = kISO8859_1}),
              u"\u00E4");
}

TEST(MarkupDecoding, ReadsFiles) {
    const std::string folder = ::testing::TempDir() + "markup_decoding/";
    std::filesystem::create_directories(folder);
    const auto write = [&folder](const char* name, const std::string& bytes) {
        std::ofstream(folder + name, std::ios::binary) << bytes;
        return fromUtf8(folder + name);
    };
    EXPECT_EQ(stringWithMarkupContentsOfFile(write("latin", kMeta + "latin1>\xE4\0"s)),
              u"<meta charset=latin1>\u00E4\0"s);
    EXPECT_EQ(stringWithMarkupContentsOfFile(write("default", "\xE4"), kISO8859_1), u"\u00E4");
    EXPECT_EQ(stringWithMarkupContentsOfFile(write("empty", "")), u"");
    EXPECT_EQ(stringWithMarkupContentsOfFile(write("plist", "bplist00\xD0")), std::nullopt);
    EXPECT_EQ(stringWithMarkupContentsOfFile(fromUtf8(folder)), std::nullopt);
    EXPECT_EQ(stringWithMarkupContentsOfFile(u"/nowhere/at/all"), std::nullopt);
    EXPECT_EQ(stringWithMarkupContentsOfFile(u"a\0b"s), std::nullopt);
    const std::string pipe = folder + "pipe";
    mkfifo(pipe.c_str(), 0600);
    EXPECT_EQ(stringWithMarkupContentsOfFile(fromUtf8(pipe)), std::nullopt);
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace corvy
