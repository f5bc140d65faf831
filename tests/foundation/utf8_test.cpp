#include "foundation/utf8.h"

#include <gtest/gtest.h>
#include <unicode/ustring.h>

#include <random>
#include <string>
#include <vector>

#include "foundation/converters.h"
#include "foundation/text.h"

namespace corvy {
namespace {

struct Decoded {
    std::u16string text;
    std::size_t substitutions = 0;
    friend bool operator==(const Decoded&, const Decoded&) = default;
};

template <typename Blocks>
Decoded decoded(std::string_view bytes) {
    std::u16string text(bytes.size(), u'?');
    const auto* in = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const Utf8Progress end =
        decodeUtf8<Blocks>(in, in + bytes.size(), text.data(), text.data() + text.size());
    EXPECT_EQ(end.in, in + bytes.size());
    text.resize(static_cast<std::size_t>(end.out - text.data()));
    return {text, end.substitutions};
}

Decoded decodedByIcu(std::string_view bytes) {
    std::u16string text(bytes.size() + 1, u'?');
    std::int32_t length = 0, substitutions = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strFromUTF8WithSub(text.data(), static_cast<std::int32_t>(text.size()), &length, bytes.data(),
                         static_cast<std::int32_t>(bytes.size()), 0xFFFD, &substitutions, &error);
    EXPECT_TRUE(U_SUCCESS(error));
    text.resize(static_cast<std::size_t>(length));
    return {text, static_cast<std::size_t>(substitutions)};
}

std::string hex(std::string_view bytes) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string out;
    for (const char byte : bytes) {
        out += kDigits[static_cast<std::uint8_t>(byte) >> 4];
        out += kDigits[byte & 15];
        out += ' ';
    }
    return out;
}

// Both back ends against ICU; false ends a loop at its first difference.
bool agreesWithIcu(std::string_view bytes) {
    const Decoded expected = decodedByIcu(bytes);
    const bool agrees =
        decoded<NativeBlocks>(bytes) == expected && decoded<ScalarBlocks>(bytes) == expected;
    EXPECT_TRUE(agrees) << hex(bytes);
    return agrees;
}

// Bytes at the edges of every range that the rules of UTF-8 name.
constexpr std::string_view kEdges =
    "A\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4\xF5\xFF";

TEST(Utf8, ReplacesAndCountsAsIcuDoes) {
    std::string bytes;
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            bytes = {static_cast<char>(first), static_cast<char>(second)};
            if (!agreesWithIcu(bytes)) return;
        }
    }
    const std::string ascii = "0123456789abcd";
    for (const char a : kEdges) {
        for (const char b : kEdges) {
            for (const char c : kEdges) {
                for (const char d : kEdges) {
                    bytes = ascii;  // so that sequences cross the end of a block
                    bytes += {a, b, c, d};
                    if (!agreesWithIcu(bytes) || !agreesWithIcu(bytes.substr(14))) return;
                }
            }
        }
    }
}

TEST(Utf8, ReplacesAndCountsAsIcuDoesInLongText) {
    std::mt19937 random(20240607);
    for (int round = 0; round < 3000; ++round) {
        std::string bytes;
        while (bytes.size() < 300) {
            // Runs of ASCII, of edges and of well-formed characters.
            const std::size_t run = random() % 40;
            switch (random() % 4) {
                case 0: bytes += kEdges[random() % kEdges.size()]; break;
                case 1: bytes.append(run, 'x'); break;
                case 2: bytes += "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80 \xEF\xBF\xBD"; break;
                default: bytes += static_cast<char>(random()); break;
            }
        }
        if (!agreesWithIcu(bytes)) return;
    }
}

TEST(Utf8, StopsBeforeTheCharacterThatDoesNotFit) {
    // 20 ASCII bytes, then characters of 2, 3 and 4 bytes, an ill-formed one and ASCII again.
    const std::string bytes = "abcdefghijklmnopqrst\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xFFz";
    const std::u16string text = u"abcdefghijklmnopqrst\u00E4\u20AC\U0001F600\uFFFDz";
    struct Case {
        std::size_t room, written, read;
    };
    static constexpr Case cases[] = {{0, 0, 0},    {1, 1, 1},    {16, 16, 16}, {17, 17, 17},
                                     {20, 20, 20}, {21, 21, 22}, {22, 22, 25}, {23, 22, 25},
                                     {24, 24, 29}, {25, 25, 30}, {26, 26, 31}, {99, 26, 31}};
    for (const Case& c : cases) {
        std::u16string out(c.room, u'?');
        const Conversion end = convertUTF8ToUnicode(std::as_bytes(std::span(bytes)), out);
        EXPECT_EQ(end.written, c.written) << c.room;
        EXPECT_EQ(end.read, c.read) << c.room;
        EXPECT_EQ(end.complete, c.room >= 26) << c.room;
        EXPECT_EQ(out.substr(0, end.written), text.substr(0, c.written)) << c.room;
        EXPECT_EQ(out.substr(end.written), std::u16string(c.room - c.written, u'?')) << c.room;
    }
}

TEST(Utf8, EncodesWhatFits) {
    const std::u16string text = u"abcdefghijklmnop\u00E4\u20AC\U0001F600\xD83D!";
    const std::string bytes = "abcdefghijklmnop\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD!";
    for (std::size_t room = 0; room <= bytes.size(); ++room) {
        std::string out(room, '?');
        const Conversion end = convertUnicodeToUTF8(text, std::as_writable_bytes(std::span(out)));
        EXPECT_LE(room - end.written, 3U);
        out.resize(end.written);
        EXPECT_TRUE(bytes.starts_with(out));
        EXPECT_EQ(end.complete, room == bytes.size());
        EXPECT_EQ(fromUtf8(out).size(), end.read);
    }
    EXPECT_EQ(toUtf8(text), bytes);
}

TEST(Utf8, StrictMeansWellFormed) {
    EXPECT_EQ(fromStrictUtf8("a\xEF\xBF\xBD"), u"a\uFFFD");
    EXPECT_EQ(fromStrictUtf8("\xEF\xBB\xBF"), u"\uFEFF");
    EXPECT_EQ(fromStrictUtf8("a run of ASCII longer than a block, \xE2\x82"), std::nullopt);
}

}  // namespace
}  // namespace corvy
