#include "platform/plain_text_file.h"

namespace corvy::platform {
namespace {

PlainTextFile readChars(std::string_view bytes) {
    return readPlainText(std::as_bytes(std::span(bytes)));
}

TEST(PlainTextFile, ChoosesTheEncoding) {
    using namespace std::literals;
    struct Case {
        const char* name;
        std::string_view bytes;
        std::u16string_view text;
        Encoding encoding;
    };
    static constexpr Case cases[] = {
        {"empty", "", u"", Encoding::kUTF8},
        {"ASCII", "a\r\nb", u"a\r\nb", Encoding::kUTF8},
        {"UTF-8", "\xC3\xA4\xF0\x9F\x98\x80", u"ä😀", Encoding::kUTF8},
        {"UTF-8 by its mark, broken inside", "\xEF\xBB\xBF\x61\xE4", u"a\uFFFD", Encoding::kUTF8},
        {"UTF-16, little first", "\xFF\xFE\x61\0\x3D\xD8\0\xDE"sv, u"a😀", Encoding::kUTF16},
        {"UTF-16, big first", "\xFE\xFF\0\x61"sv, u"a", Encoding::kUTF16},
        {"UTF-16 with a byte too few", "\xFF\xFE\x61\0\x62"sv, u"a\uFFFD", Encoding::kUTF16},
        {"UTF-16 without a mark", "a\0b\0c\0"sv, u"abc", Encoding::kUTF16},
        {"UTF-16 without a mark, big first", "\0a\0b\x20\xAC"sv, u"ab€", Encoding::kUTF16},
        {"UTF-32", "\xFF\xFE\0\0\x61\0\0\0"sv, u"a", Encoding::kInvalid},
        {"UTF-32, big first", "\0\0\xFE\xFF\0\x01\xF6\0"sv, u"😀", Encoding::kInvalid},
        {"the mark alone", "\xFE\xFF", u"", Encoding::kUTF16},
        {"Cyrillic, by its statistics",
         "\xCF\xF0\xE8\xE2\xE5\xF2, \xEA\xE0\xEA \xE4\xE5\xEB\xE0? \xDD\xF2\xEE "
         "\xF2\xE5\xEA\xF1\xF2 \xED\xE0 \xF0\xF3\xF1\xF1\xEA\xEE\xEC \xFF\xE7\xFB\xEA\xE5.",
         u"Привет, как дела? Это текст на русском языке.", Encoding::kWindows1251},
    };
    for (const Case& c : cases) {
        const PlainTextFile file = readChars(c.bytes);
        EXPECT_EQ(file.text, c.text) << c.name;
        EXPECT_EQ(file.encoding, c.encoding) << c.name;
    }
}

TEST(PlainTextFile, TellsTextFromData) {
    using namespace std::literals;
    EXPECT_TRUE(looksLikePlainText(std::as_bytes(std::span("a\tb\n\x1B[0m"sv))));
    EXPECT_TRUE(looksLikePlainText(std::as_bytes(std::span("\xE4\x80"sv))));
    EXPECT_TRUE(looksLikePlainText(std::as_bytes(std::span("a\0b\0"sv))));
    EXPECT_FALSE(looksLikePlainText(std::as_bytes(std::span("GIF89a\x01\0\x01\0\x80\0"sv))));
}

}  // namespace
}  // namespace corvy::platform
