#include "platform/rich_text/rtf_font_table.h"

#include "foundation/text.h"

namespace corvy::platform {

namespace {

bool isDoubleByte(Encoding encoding) {
    return encoding == Encoding::kDOS932 || encoding == Encoding::kDOS936 ||
           encoding == Encoding::kDOS949 || encoding == Encoding::kDOS950;
}

}  // namespace

void RtfFontTable::applyHeaderWord(RtfWord word, std::int32_t value) {
    switch (word) {
        case RtfWord::ansi: encoding_ = Encoding::kWindows1252; break;
        case RtfWord::mac: encoding_ = Encoding::kMacRoman; break;
        case RtfWord::pc: encoding_ = Encoding::kDOS437; break;
        case RtfWord::pca: encoding_ = Encoding::kDOS850; break;
        case RtfWord::ansicpg:
            if (const Encoding page = encodingOfCodePage(value); page != Encoding::kInvalid) {
                encoding_ = page;
            }
            break;
        default:  // \deff
            resources_.defaultFont = value;
            known_ = kNoFont;
            break;
    }
}

void RtfFontTable::applyFontWord(RtfWord word, std::int32_t value) {
    RtfFont& font = resources_.fonts[entry_];
    if (word == RtfWord::cpg) {
        font.encoding = encodingOfCodePage(value);
        return;
    }
    constexpr std::int32_t kAnsi = 0, kSymbols = 2;
    font.symbolCharset = value == kSymbols;
    // The Latin set of a document in an East Asian code page is Latin all the same; otherwise
    // writers mean the document's.
    const bool isOwn = value != kAnsi || isDoubleByte(encoding_);
    font.encoding = isOwn ? encodingOfFontCharset(value) : Encoding::kInvalid;
}

void RtfFontTable::endEntry(std::u16string_view name) {
    RtfFont& font = resources_.fonts[entry_];
    if (const auto trimmed = trimWhite(name); !trimmed.empty() && font.name.empty()) {
        font.name = trimmed;
    }
    font.symbols = symbolFontNamed(font.name, font.symbolCharset);
    known_ = kNoFont;
}

Encoding RtfFontTable::entryEncoding() const {
    const auto font = resources_.fonts.find(entry_);
    const bool isOwn =
        font != resources_.fonts.end() && font->second.encoding != Encoding::kInvalid;
    return isOwn ? font->second.encoding : encoding_;
}

Encoding RtfFontTable::encodingOf(const RtfCharacters& characters) {
    lookUp(characters);
    return knownEncoding_ != Encoding::kInvalid ? knownEncoding_ : encoding_;
}

SymbolFont RtfFontTable::symbolsOf(const RtfCharacters& characters) {
    lookUp(characters);
    return knownSymbols_;
}

void RtfFontTable::lookUp(const RtfCharacters& characters) {
    const bool usesOther = characters.doubleByte && characters.doubleByteFont >= 0;
    const std::int32_t number = usesOther ? characters.doubleByteFont : characters.font;
    if (number == known_) return;
    const RtfFont* font = resources_.fontWithNumber(number);
    known_ = number;
    knownEncoding_ = font != nullptr ? font->encoding : Encoding::kInvalid;
    knownSymbols_ = font != nullptr ? font->symbols : SymbolFont::none;
}

}  // namespace corvy::platform
