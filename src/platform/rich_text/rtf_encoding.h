// The bytes of RTF text as UTF-16: code pages, the character sets of fonts, symbol fonts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/encoding.h"

namespace corvy::platform {

// kInvalid for a number that stands for no code page.
Encoding encodingOfCodePage(int codePage);
// Of the text in fonts of that character set; kInvalid for sets that say nothing.
Encoding encodingOfFontCharset(int charset);

// Fonts in which letters stand for other characters.
enum class SymbolFont : std::uint8_t { none, symbol, wingdings, other };
SymbolFont symbolFontNamed(std::u16string_view name, bool symbolCharset);
// What a byte means in such a font. Unknown ones are in the private use area from U+F000.
char16_t characterOfSymbolFont(SymbolFont font, std::uint8_t byte);

// Takes bytes one by one and adds the characters that they make.
class RtfByteDecoder {
public:
    void add(std::uint8_t byte, Encoding encoding, std::u16string& out);
    // Whether a character has begun that needs another byte.
    bool isInside() const { return count_ > 0; }
    // What has begun ends here.
    void flush(std::u16string& out);

private:
    char bytes_[4] = {};
    std::uint8_t count_ = 0;
    std::uint8_t wanted_ = 0;
    Encoding encoding_ = Encoding::kInvalid;
};

}  // namespace corvy::platform
