// Bytes in any encoding, and markup that names its own. The first byte chooses the encoding, the
// second the room of a buffer; the rest is decoded, and read as markup and as a header.
#include <unicode/ustring.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "foundation/converters.h"
#include "foundation/text.h"
#include "foundation/utf8.h"
#include "markup/charset_names.h"
#include "markup/header_values.h"
#include "markup/markup_charset.h"
#include "markup/markup_decoding.h"

using namespace corvy;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

template <typename Blocks>
void requireIcusText(std::string_view bytes, std::u16string_view text, std::size_t substitutions) {
    std::vector<char16_t> out(bytes.size());
    const auto* in = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const Utf8Progress end =
        decodeUtf8<Blocks>(in, in + bytes.size(), out.data(), out.data() + out.size());
    require(std::u16string_view(out.data(), end.out) == text);
    require(end.substitutions == substitutions);
    require(end.substitutions + end.genuine ==
            static_cast<std::size_t>(std::ranges::count(text, u'\uFFFD')));
}

void checkUtf8(std::string_view bytes) {
    std::vector<char16_t> text(bytes.size() + 1);
    std::int32_t length = 0, substitutions = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strFromUTF8WithSub(text.data(), static_cast<std::int32_t>(text.size()), &length, bytes.data(),
                         static_cast<std::int32_t>(bytes.size()), 0xFFFD, &substitutions, &error);
    const std::u16string_view expected(text.data(), static_cast<std::size_t>(length));
    requireIcusText<NativeBlocks>(bytes, expected, static_cast<std::size_t>(substitutions));
    requireIcusText<ScalarBlocks>(bytes, expected, static_cast<std::size_t>(substitutions));
    require(fromUtf8(bytes) == expected);
    const std::string back = toUtf8(expected);
    require(fromStrictUtf8(back) == expected);
    std::vector<std::byte> out(back.size());
    const Conversion encoded = convertUnicodeToUTF8(expected, out);
    require(encoded.complete && encoded.written == back.size());
}

void checkEncoding(std::span<const std::byte> bytes, Encoding encoding, std::size_t room) {
    const auto decoded = tryToCreateStringWithEncoding(bytes, encoding);
    std::vector<char16_t> out(room);
    const Conversion part = convertEncodingToUnicode(bytes, encoding, out);
    require(part.written <= room && part.read <= bytes.size());
    if (!decoded) {
        require(part.written == 0);
        return;
    }
    require(std::u16string_view(decoded->text).starts_with({out.data(), part.written}));
    // In a buffer that is just full a converter may not know yet that nothing more will come.
    if (part.complete) require(part.written == decoded->text.size());
    if (room > decoded->text.size()) require(part.complete);
    require(decoded->replacements ==
            static_cast<std::size_t>(std::ranges::count(decoded->text, u'\uFFFD')));
    require(decoded->text.size() <= 2 * bytes.size() + 2);
    dataUsingEncoding(decoded->text, encoding);
}

void checkMarkup(std::u16string_view text) {
    const Range range = markupCharsetRange(text);
    const std::u16string charset = markupCharset(text);
    require(range.found() == !charset.empty());
    require(!range.found() || (range.length > 0 && range.location + range.length <= text.size()));
    const Encoding encoding = CFEncodingFromName(charset);
    require(encoding == Encoding::kInvalid || !nameOfEncoding(encoding).empty());
    const Range parameter = rangeOfHeaderParameter(text, u"CHARSET", u";");
    require(!parameter.found() || parameter.location + parameter.length <= text.size());
    headerRefresh(text);
    CFEncodingFromName(text.substr(0, 40));
    const MarkupData data = markupData(text);
    require(data.encoding == Encoding::kASCII || data.encoding == encoding);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const auto encoding = static_cast<Encoding>(data[0]);
    const std::size_t room = data[1];
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 2, size - 2);
    const auto span = std::as_bytes(std::span(bytes));
    checkUtf8(bytes);
    checkEncoding(span, encoding, room);
    checkMarkup(fromUtf8(bytes));
    const std::u16string name = fromUtf8(nameOfEncoding(encoding));
    // UTF-8 makes something of everything.
    require(stringWithMarkupData(span).has_value());
    stringWithMarkupData(span, {.encodingName = name});
    stringWithMarkupData(span, {.defaultEncoding = encoding});
    return 0;
}
