// Bytes to UTF-16 and back, in every encoding.
//
// UTF-8 is a routine of our own, the other encodings are ICU's converters, own code pages, or the C
// library's converters where ICU has none. A converter is opened on first use and kept for its
// thread; there is nothing to initialise.
//
// Bytes that no character belongs to become U+FFFD and do not stop a conversion. The byte-order
// mark of UTF-8 stays in the text; that of UTF-16 decides its order (big-endian without one) and is
// dropped.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "foundation/encoding.h"

namespace corvy {

struct Conversion {
    std::size_t read = 0;          // bytes or units that were taken
    std::size_t written = 0;       // units or bytes that were made of them
    std::size_t replacements = 0;  // ill-formed parts of the input that became U+FFFD
    bool complete = false;         // all of the input was converted
};

// As much as fits; characters are not cut.
Conversion convertUTF8ToUnicode(std::span<const std::byte> bytes, std::span<char16_t> out);
Conversion convertUnicodeToUTF8(std::u16string_view text, std::span<std::byte> out);
// Nothing is written when there is no converter for the encoding. `replacements` counts the U+FFFD
// of the output here, those that stood in the bytes too. `read` is exact for complete conversions
// only: a converter may hold bytes back.
Conversion convertEncodingToUnicode(std::span<const std::byte> bytes, Encoding encoding,
                                    std::span<char16_t> out);

struct DecodedText {
    std::u16string text;
    std::size_t replacements = 0;  // the U+FFFD in the text
};
// The text of the bytes; none when nothing comes out of them, and for encodings without a
// converter.
std::optional<DecodedText> tryToCreateStringWithEncoding(std::span<const std::byte> bytes,
                                                         Encoding encoding);

// The bytes of the text. Characters that the encoding lacks are written as decimal references
// ("&#8364;"); lone surrogates as U+FFFD in UTF-8. None when nothing converts to the encoding.
std::optional<std::string> dataUsingEncoding(std::u16string_view text, Encoding encoding);

}  // namespace corvy
