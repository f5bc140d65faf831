#include "platform/plain_text_file.h"

#include <uchardet.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/converters.h"
#include "foundation/text.h"

namespace corvy::platform {

namespace {

// The statistics see no more than this.
constexpr std::size_t kSample = std::size_t{1} << 16;

std::string_view charsOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The order of the bytes of UTF-16: which of them come first.
enum class Order { big, little };

std::u16string fromUtf16(std::string_view bytes, Order order) {
    std::u16string text(bytes.size() / 2, u'\0');
    const std::size_t high = order == Order::big ? 0 : 1;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byteAt = [&](std::size_t at) {
            return static_cast<unsigned>(static_cast<unsigned char>(bytes[2 * i + at]));
        };
        text[i] = static_cast<char16_t>(byteAt(high) << 8 | byteAt(1 - high));
    }
    if (bytes.size() % 2 != 0) text += u'\xFFFD';
    return text;
}

std::u16string fromUtf32(std::string_view bytes, Order order) {
    std::u16string text;
    text.reserve(bytes.size() / 4);
    for (std::size_t i = 0; i + 4 <= bytes.size(); i += 4) {
        std::uint32_t code = 0;
        for (std::size_t k = 0; k < 4; ++k) {
            const std::size_t at = i + (order == Order::big ? k : 3 - k);
            code = code << 8 | static_cast<unsigned char>(bytes[at]);
        }
        if (code < 0x10000) {
            text += static_cast<char16_t>(code);
        } else if (code < 0x110000) {
            text += static_cast<char16_t>(0xD7C0 + (code >> 10));
            text += static_cast<char16_t>(0xDC00 | (code & 0x3FF));
        } else {
            text += u'\xFFFD';
        }
    }
    if (bytes.size() % 4 != 0) text += u'\xFFFD';
    return text;
}

// A character that text does not have.
bool isControl(char16_t unit) {
    return (unit < 0x20 && !(unit >= u'\t' && unit <= u'\r') && unit != 0x1B) || unit == 0x7F;
}

// UTF-16 without a mark: Latin letters, blanks and line ends have a zero at one side and none at
// the other.
std::optional<Order> orderByZeros(std::string_view bytes) {
    if (bytes.size() < 4 || bytes.size() % 2 != 0) return std::nullopt;
    bytes = bytes.substr(0, kSample);
    std::size_t zeros[2] = {};
    for (std::size_t i = 0; i < bytes.size(); ++i) zeros[i % 2] += bytes[i] == '\0' ? 1 : 0;
    const std::size_t units = bytes.size() / 2;
    for (const Order order : {Order::big, Order::little}) {
        const std::size_t side = order == Order::big ? 0 : 1;
        if (zeros[side] * 4 >= units && zeros[1 - side] * 100 <= units &&
            std::ranges::none_of(fromUtf16(bytes, order), isControl)) {
            return order;
        }
    }
    return std::nullopt;
}

Encoding guessedEncoding(std::string_view bytes) {
    struct Closer {
        void operator()(uchardet* detector) const { ::uchardet_delete(detector); }
    };
    const std::unique_ptr<uchardet, Closer> detector(::uchardet_new());
    // In one piece, and not cut at a character that the statistics would take amiss.
    const std::string_view sample = bytes.substr(0, kSample);
    if (!detector || ::uchardet_handle_data(detector.get(), sample.data(), sample.size()) != 0) {
        return Encoding::kInvalid;
    }
    ::uchardet_data_end(detector.get());
    std::string_view name = ::uchardet_get_charset(detector.get());
    struct Alias {
        std::string_view theirs, ours;
    };
    // A wider set serves as well, and is what such text is in fact as a rule.
    static constexpr Alias kAliases[] = {
        {"ISO-8859-1", "windows-1252"},
        {"ISO-8859-9", "windows-1254"},
        {"SHIFT_JIS", "cp932"},
        {"BIG5", "cp950"},
        {"UHC", "cp949"},
        {"WINDOWS-1250", "windows-1250"},
        {"WINDOWS-1251", "windows-1251"},
        {"WINDOWS-1252", "windows-1252"},
        {"WINDOWS-1253", "windows-1253"},
        {"WINDOWS-1255", "windows-1255"},
        {"WINDOWS-1256", "windows-1256"},
        {"WINDOWS-1257", "windows-1257"},
        {"WINDOWS-1258", "windows-1258"},
        {"TIS-620", "cp874"},
        {"MAC-CYRILLIC", "x-mac-cyrillic"},
        {"IBM866", "cp866"},
        {"IBM852", "cp852"},
    };
    for (const Alias& alias : kAliases) {
        if (alias.theirs == name) name = alias.ours;
    }
    const auto encoding = encodingNamed(name);
    return encoding && *encoding != Encoding::kUTF8 && *encoding != Encoding::kASCII
               ? *encoding
               : Encoding::kInvalid;
}

}  // namespace

PlainTextFile readPlainText(std::span<const std::byte> data) {
    using namespace std::literals;
    const std::string_view bytes = charsOf(data);
    constexpr auto kUtf8Mark = "\xEF\xBB\xBF"sv;
    if (bytes.starts_with(kUtf8Mark)) {
        return {fromUtf8(bytes.substr(kUtf8Mark.size())), Encoding::kUTF8};
    }
    // UTF-32 first: its mark begins like that of UTF-16.
    if (bytes.starts_with("\xFF\xFE\0\0"sv) || bytes.starts_with("\0\0\xFE\xFF"sv)) {
        const Order order = bytes.front() == '\0' ? Order::big : Order::little;
        return {fromUtf32(bytes.substr(4), order), Encoding::kInvalid};
    }
    if (bytes.starts_with("\xFF\xFE"sv) || bytes.starts_with("\xFE\xFF"sv)) {
        const Order order = bytes.front() == '\xFF' ? Order::little : Order::big;
        return {fromUtf16(bytes.substr(2), order), Encoding::kUTF16};
    }
    // Zeros are no characters of text, though they are UTF-8.
    if (const auto order = orderByZeros(bytes)) {
        return {fromUtf16(bytes, *order), Encoding::kUTF16};
    }
    if (auto text = fromStrictUtf8(bytes)) return {*std::move(text), Encoding::kUTF8};
    if (const Encoding guess = guessedEncoding(bytes); guess != Encoding::kInvalid) {
        auto decoded = tryToCreateStringWithEncoding(data, guess);
        // A guess that leaves much over is none.
        constexpr std::size_t kMostReplaced = 200;  // one unit in so many
        if (decoded && decoded->replacements * kMostReplaced <= decoded->text.size()) {
            return {std::move(decoded->text), guess};
        }
    }
    auto decoded = tryToCreateStringWithEncoding(data, Encoding::kWindows1252);
    return {decoded ? std::move(decoded->text) : std::u16string(), Encoding::kWindows1252};
}

bool looksLikePlainText(std::span<const std::byte> data) {
    std::string_view bytes = charsOf(data);
    using namespace std::literals;
    if (bytes.starts_with("\xFF\xFE"sv) || bytes.starts_with("\xFE\xFF"sv) ||
        bytes.starts_with("\0\0\xFE\xFF"sv) || orderByZeros(bytes)) {
        return true;
    }
    bytes = bytes.substr(0, kSample);
    return std::ranges::none_of(bytes,
                                [](char c) { return isControl(static_cast<unsigned char>(c)); });
}

}  // namespace corvy::platform
