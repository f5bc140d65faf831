#include "importers/support/decoding.h"

#include <algorithm>
#include <optional>
#include <span>
#include <utility>

#include "foundation/converters.h"
#include "foundation/text.h"
#include "markup/charset_names.h"

namespace corvy {

namespace {

using namespace std::literals;

std::u16string textIn(Encoding encoding, std::string_view bytes) {
    auto decoded = tryToCreateStringWithEncoding(std::as_bytes(std::span(bytes)), encoding);
    return decoded ? std::move(decoded->text) : std::u16string();
}

// The length without the start of a character at the end that is not all there.
std::size_t lengthOfWholeCharacters(std::string_view utf8) {
    for (std::size_t back = 1; back <= std::min<std::size_t>(3, utf8.size()); ++back) {
        const auto byte = static_cast<unsigned char>(utf8[utf8.size() - back]);
        if (byte < 0x80) break;
        if (byte < 0xC0) continue;
        const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
        return length > back ? utf8.size() - back : utf8.size();
    }
    return utf8.size();
}

}  // namespace

Decoded decodedText(std::string_view bytes, bool isPart) {
    constexpr auto kUtf8Mark = "\xEF\xBB\xBF"sv;
    if (bytes.starts_with(kUtf8Mark)) {
        return {fromUtf8(bytes.substr(kUtf8Mark.size())), Encoding::kUTF8};
    }
    if (bytes.starts_with("\xFF\xFE"sv) || bytes.starts_with("\xFE\xFF"sv)) {
        return {textIn(Encoding::kUTF16, bytes), Encoding::kUTF16};
    }
    const std::size_t length = isPart ? lengthOfWholeCharacters(bytes) : bytes.size();
    if (auto text = fromStrictUtf8(bytes.substr(0, length))) {
        return {*std::move(text), Encoding::kUTF8};
    }
    return {textIn(Encoding::kWindows1252, bytes), Encoding::kWindows1252};
}

std::u16string decodedText(std::string_view bytes, std::u16string_view charset) {
    const Encoding encoding = CFEncodingFromName(charset);
    // ASCII is what programs declare that never looked.
    if (encoding == Encoding::kInvalid || encoding == Encoding::kASCII) {
        return decodedText(bytes).text;
    }
    return textIn(encoding, bytes);
}

}  // namespace corvy
